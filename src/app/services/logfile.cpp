#include "app/services/logfile.h"

#include <QFile>
#include <array>
#include <atomic>
#include <memory>
#include <mutex>

namespace {
struct LOG_SLOT {
    std::unique_ptr<QFile> pFile;
    std::atomic<bool> Open{false};
};

struct LOG_FILES {
    std::mutex Mutex;
    std::array<LOG_SLOT, NUM_LOG_SLOTS> aSlot;
};

LOG_FILES& Files()
{
    static LOG_FILES Instance;
    return Instance;
}

bool IsSlot(int Slot)
{
    return Slot >= 0 && Slot < NUM_LOG_SLOTS;
}
} // namespace

bool OpenLogFile(int Slot, const QString& sPath)
{
    if (!IsSlot(Slot) || sPath.isEmpty()) return false;
    LOG_FILES& Log = Files();
    const std::lock_guard Lock(Log.Mutex);
    LOG_SLOT& s = Log.aSlot[Slot];
    s.Open = false;
    s.pFile = std::make_unique<QFile>(sPath);
    const bool Ok = s.pFile->open(QIODevice::ReadWrite | QIODevice::Truncate | QIODevice::Text);
    s.Open = Ok;
    return Ok;
}

void CloseLogFile(int Slot)
{
    if (!IsSlot(Slot)) return;
    LOG_FILES& Log = Files();
    const std::lock_guard Lock(Log.Mutex);
    Log.aSlot[Slot].Open = false;
    Log.aSlot[Slot].pFile.reset();
}

bool IsLogFileOpen(int Slot)
{
    return IsSlot(Slot) && Files().aSlot[Slot].Open.load(std::memory_order_relaxed);
}

QString GetLogFilePath(int Slot)
{
    if (!IsSlot(Slot)) return {};
    LOG_FILES& Log = Files();
    const std::lock_guard Lock(Log.Mutex);
    const auto& pFile = Log.aSlot[Slot].pFile;
    return pFile ? pFile->fileName() : QString();
}

bool WriteLogFile(int Slot, const QByteArray& Data)
{
    if (!IsSlot(Slot)) return false;
    LOG_FILES& Log = Files();
    const std::lock_guard Lock(Log.Mutex);
    QFile* pFile = Log.aSlot[Slot].pFile.get();
    if (!pFile || !pFile->isOpen()) return false;
    if (pFile->size() > LOG_FILE_MAX_SIZE) {
        pFile->resize(LOG_FILE_KEEP_SIZE);
        pFile->seek(LOG_FILE_KEEP_SIZE);
    }
    return pFile->write(Data) == Data.size() && pFile->flush();
}
