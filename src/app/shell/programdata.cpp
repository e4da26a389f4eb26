#include "app/shell/programdata.h"

#include "core/cache/core.h"
#include "device/queue/device.h"
#include "program/datafiles/filetypes.h"
#include "program/datafiles/fileworker.h"
#include "program/elf/elf.h"
#include "program/tables/prog.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <mutex>

namespace {

PROGRAM_DATA s_Other;    ///< of the loaded data file that is no program
QString s_sOtherPath;

PROGRAM_DATA ReadElf(const QString& sPath)
{
    PROGRAM_DATA Data;
    const CProgLock Lock;
    const ELF_HANDLE hSession = PROG_GetFileHandle();
    const ELF_HANDLE hFile = ELF_Open(QFile::encodeName(sPath).constData(), false);
    if (!hFile) {
        Data.sError = QStringLiteral("File could not be opened: ") + sPath;
        return Data;
    }
    constexpr U32 PT_LOAD_TYPE = 1;
    for (U32 i = 0; i < ELF_GetSegmentCount(hFile); i++) {
        const U8* pBytes = ELF_GetSegmentData(hFile, i);
        if (ELF_GetSegmentType(hFile, i) != PT_LOAD_TYPE || !pBytes) continue;
        const U32 Gap = std::min(ELF_GetSegmentHeaderGap(hFile, i), ELF_GetSegmentFileSize(hFile, i));
        Data.Blocks.append({ELF_GetSegmentPhysAddr(hFile, i) + Gap,
                            QByteArray(reinterpret_cast<const char*>(pBytes + Gap), ELF_GetSegmentFileSize(hFile, i) - Gap)});
    }
    ELF_Close(hFile);
    ELF_SetCurrentFile(hSession);
    return Data;
}

/// Data of a file as it is now.
PROGRAM_DATA ReadData(const QString& sPath, U32 BinAddr)
{
    if (IsElfProgram(sPath)) return ReadElf(sPath);
    PROGRAM_DATA Data;
    const bool Binary = QFileInfo(sPath).suffix().compare("bin", Qt::CaseInsensitive) == 0;
    for (const CFileBlock& Block : BFile::CFileWorker::Instance().ReadFile(sPath, Binary ? I64(BinAddr) : -1))
        Data.Blocks.append({Block.LoadAddr, Block.Data});
    // The reader has told the reason where it knows one.
    if (Data.Blocks.isEmpty()) Data.sError = QStringLiteral("no data in file ") + sPath;
    return Data;
}

void Sort(PROGRAM_DATA& Data)
{
    std::sort(Data.Blocks.begin(), Data.Blocks.end(),
              [](const PROGRAM_DATA_BLOCK& a, const PROGRAM_DATA_BLOCK& b) { return a.Addr < b.Addr; });
}

} // namespace

bool IsElfProgram(const QString& sPath)
{
    if (BFile::IsElfFile(sPath)) return true;
    QFile File(sPath);
    if (!File.open(QIODevice::ReadOnly)) return false;
    const QByteArray Head = File.read(5);
    return Head.startsWith("\x7F" "ELF") && Head.size() == 5 && (Head[4] == 1 || Head[4] == 2);
}

PROGRAM_DATA GetProgramData(const QString& sPath, U32 BinAddr)
{
    PROGRAM_DATA Data;
    if (PROG_IsLoaded() && sPath == PROG_GetPath()) {
        for (const PROG_BLOCK& Block : PROG_GetBlocks())
            if (Block.Size)
                Data.Blocks.append({U32(Block.LoadAddr), QByteArray(reinterpret_cast<const char*>(Block.pData), Block.Size)});
    } else if (!s_sOtherPath.isEmpty() && sPath == s_sOtherPath) {
        Data = s_Other;
    } else {
        Data = ReadData(sPath, BinAddr);
    }
    Sort(Data);
    return Data;
}

QString LoadOtherProgramData(const QString& sPath, U32 BinAddr)
{
    // From the file, also when it is the one that is loaded: it may have been built anew.
    PROGRAM_DATA Data = ReadData(sPath, BinAddr);
    if (!Data.sError.isEmpty()) return Data.sError;
    Sort(Data);
    ClearProgramData();
    s_Other = Data;
    s_sOtherPath = sPath;
    return {};
}

void BindOtherProgramData()
{
    QList<BFile::RAW_BLOCK> aBlock;
    for (const PROGRAM_DATA_BLOCK& Block : std::as_const(s_Other.Blocks))
        aBlock.append({Block.Addr, Block.Addr, static_cast<U32>(Block.Bytes.size()), reinterpret_cast<const U8*>(Block.Bytes.constData())});
    Core::SetBlocks(aBlock.constData(), static_cast<U32>(aBlock.size()));
}

void ClearProgramData()
{
    if (!s_Other.Blocks.isEmpty()) {
        const std::lock_guard Lock(CDevice::Get().GetDeviceMutex());
        Core::SetBlocks(nullptr, 0); // their bytes go
    }
    s_Other = {};
    s_sOtherPath.clear();
}
