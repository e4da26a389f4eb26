#include "devicerig.h"
#include "core/cache/core.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "device/stepping/devicestepping.h"
#include "device/target/datamanager.h"
#include "device/target/targetdownload.h"
#include "platform/probe/bryllo.h"
#include "program/tables/prog.h"
#include "project/settings/sysvars.h"

#include <QElapsedTimer>
#include <QFile>
#include <thread>

CDeviceRig& CDeviceRig::Get()
{
    static auto* pRig = new CDeviceRig;
    return *pRig;
}

bool CDeviceRig::SetUp()
{
    if (pReports) return true;
    DEVICE_RegisterTarget();
    DEVICE_RegisterStepping();
    Core::RegisterHooks();
    CORE_HOOKS& Hooks = Core_GetHooks();
    Hooks.GetAppDir = [] { return QString(VANTREL_BINARY_DIR "/bin"); };
    Hooks.LockDevice = [] { CDevice::Get().GetDeviceMutex().lock(); };
    Hooks.UnlockDevice = [] { CDevice::Get().GetDeviceMutex().unlock(); };
    Hooks.CanReadTarget = [] { return CDevice::Get().IsConnected() && CDevice::Get().State.HaltedRaw; };
    Hooks.ReadTarget = [](U64 Addr, U32 Size, void* p) {
        return CDeviceTarget::Get().ReadMemBlocking(U32(Addr), nullptr, Size, p, nullptr);
    };
    Hooks.ReadProgramData = [](U64 Addr, U32 Size, void* p) {
        return PROG_ReadBytes(U32(Addr), Size, p) == int(Size) ? int(Size) : -1;
    };
    Hooks.SizeRegCache = [](U32 Num) { CDeviceDataManager::Get().InitRegCache(Num); };
    pReports = new CReports;
    Sim("Sim.SetSpeed max");
    Dev().SetConfigParamAsync(DCP_DEVICE_NAME, "VS4F-512");
    Dev().SetConfigParamAsync(DCP_TARGET_IF, 1);
    if (!WaitSettled()) return false;
    if (Core_Load(int(Target().GetInfo().CoreId)) != 0) return false;
    if (PROG_Load(STEPS_ELF) != 0) return false;
    std::lock_guard Lock(Dev().GetDeviceMutex());
    Core::ClearCache();
    return Core::AnalyzeProgram() > 0;
}

bool CDeviceRig::Sim(const char* sCmd)
{
    char sAnswer[256] = {};
    return BRYLLOARM_ExecCommand(sCmd, sAnswer, sizeof sAnswer) >= 0;
}

bool CDeviceRig::WaitFor(const std::function<bool()>& Cond)
{
    QElapsedTimer Timer;
    Timer.start();
    while (!Cond()) {
        if (Timer.elapsed() > 30'000) return false;
        if (Dev().DispatchEvents(100) == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

bool CDeviceRig::WaitSettled()
{
    return WaitFor([this] { return Dev().IsIdle(); });
}

bool CDeviceRig::WaitHalted()
{
    return WaitFor([this] { return Dev().IsHalted() && Dev().IsIdle(); });
}

bool CDeviceRig::Connect()
{
    if (!SetUp()) return false;
    Sim("Sim.ClearFaults");
    Sim("Sim.Restore");
    Dev().ConnectAsync(CM_DOWNLOAD_RESET);
    Dev().ResetAsync(RM_RESET_BEFORE_DOWNLOAD);
    if (!WaitSettled() || !Dev().IsConnected()) return false;
    QList<CMemBlock> Blocks;
    for (const PROG_BLOCK& Block : PROG_GetBlocks()) {
        CMemBlock Mem;
        Mem.Addr = U32(Block.LoadAddr);
        Mem.Data = QByteArray(reinterpret_cast<const char*>(Block.pData), qsizetype(Block.Size));
        Blocks << Mem;
    }
    DEVICE_ScheduleDownload(Blocks, STEPS_ELF, DM_PROGRAM, nullptr, nullptr);
    Dev().ResetAsync(RM_RESET_HALT);
    if (!WaitHalted()) return false;
    Target().StartDebugSession();
    WaitSettled();
    pReports->Take();
    pReports->Faults.clear();
    return true;
}

void CDeviceRig::Disconnect()
{
    Sim("Sim.ClearFaults");
    Sim("Sim.Restore");
    Dev().ClearAllBreakpointsAsync();
    Dev().ClearAllWatchpointsAsync();
    Dev().DisconnectAsync();
    WaitSettled();
    pReports->Take();
    pReports->Faults.clear();
}

bool CDeviceRig::RunTo(U32 Addr)
{
    Dev().RunToAsync(Addr);
    return WaitHalted() && Dev().GetPC() == Addr;
}

U32 CDeviceRig::Line(const char* sMarker)
{
    QFile File(STEPS_SRC);
    if (!File.open(QIODevice::ReadOnly)) return 0;
    const QByteArray sWanted = QByteArray("@") + sMarker + " ";
    for (U32 n = 1; !File.atEnd(); n++)
        if (File.readLine().contains(sWanted)) return n;
    return 0;
}

CSrcLoc CDeviceRig::Loc(const char* sMarker)
{
    return CSrcLoc(PROG_GetFile(STEPS_SRC), Line(sMarker));
}

U32 CDeviceRig::AddrOf(const char* sMarker)
{
    return U32(PROG_GetFirstAddr(Loc(sMarker)));
}

U32 CDeviceRig::Func(const char* sName)
{
    const ELF_SYM_LIST Syms = PROG_FindSymbols(sName, true, false, false, true, false);
    return Syms.isEmpty() ? ADDR_NONE : U32(PROG_GetSymAddr(Syms.first()));
}

U32 CDeviceRig::CurrentLine()
{
    return PROG_GetFirstSrcLoc(Dev().GetPC()).Line;
}

U32 CDeviceRig::ReadWord(U32 Addr)
{
    U32 Value = 0;
    Target().ReadWord(Addr, &Value);
    return Value;
}

U32 CDeviceRig::VarAddr(const char* sName)
{
    const ELF_SYM_LIST Syms = PROG_FindSymbols(sName, false, true, false, false, false);
    return Syms.isEmpty() ? ADDR_NONE : U32(PROG_GetSymAddr(Syms.first()));
}

U32 CDeviceRig::Var(const char* sName)
{
    return ReadWord(VarAddr(sName));
}
