// The commands that read and write the target (Target.*), ask the program (Elf.*) and help scripts (Util.*).
#include "app/actions/actions.h"
#include "app/console/consolewindow.h"
#include "app/services/log.h"
#include "app/shell/commandtable.h"
#include "app/shell/mainwindow.h"
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "device/queue/device.h"
#include "device/target/datamanager.h"
#include "device/target/instcacheread.h"
#include "program/eval/expression.h"
#include "program/tables/prog.h"
#include "project/file/project.h"
#include "project/finder/filefinder.h"
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"
#include "registers/svd/cpuregisters.h"
#include "script/host/bscript.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QSaveFile>
#include <QThread>

namespace {

constexpr char ERR_MEM_NOT_CONNECTED[] = "cannot access target memory: target not connected";
constexpr char ERR_MEM_RUNNING[] =
    "cannot access target memory: target not halted and background memory access not supported";
constexpr char ERR_REG_NOT_CONNECTED[] = "cannot access target registers: target not connected";
constexpr char ERR_REG_RUNNING[] = "cannot access target registers: target not halted";
constexpr char ERR_MEM_READ[] = "could not read target memory";
constexpr U32 MAX_FILE_BYTES = 256u << 20; ///< largest block that Target.SaveMemory and LoadMemory take
constexpr int MAX_SLEEP_MS = 360'000;

bool RequireMemory(int Id)
{
    const CDevice& Dev = CDevice::Get();
    if (!Dev.IsConnected())
        SetActionError(Id, QLatin1String(ERR_MEM_NOT_CONNECTED));
    else if (!Dev.IsHalted() && Dev.GetCapability(CAP_BACKGROUND_MEM_ACCESS) == 0)
        SetActionError(Id, QLatin1String(ERR_MEM_RUNNING));
    else
        return true;
    return false;
}

/// Writes are jobs, which a script doesn't wait for, and a read goes past their queue: it is to find what was written
/// before it.
void FinishWrites()
{
    if (CDevice::Get().HasPendingJob(BT_WRITE_MEM)) CDevice::Get().WaitUntilDone(BT_WRITE_MEM, false);
}

bool RequireRegisters(int Id)
{
    const CDevice& Dev = CDevice::Get();
    if (!Dev.IsConnected())
        SetActionError(Id, QLatin1String(ERR_REG_NOT_CONNECTED));
    else if (!Dev.IsHalted())
        SetActionError(Id, QLatin1String(ERR_REG_RUNNING));
    else
        return true;
    return false;
}

bool ParseAddr(int Id, const QString& sText, U32* pAddr)
{
    return ParseAddrParam(Id, sText, pAddr, ERR_NOT_A_NUMBER);
}

bool ParseNumber(int Id, const QString& sText, I64* pValue)
{
    return ParseNumberParam(Id, sText, pValue, ERR_NOT_A_NUMBER);
}

/// A number that a field of so many bytes holds, as a signed or as an unsigned one.
bool ParseValue(int Id, const QString& sText, U32 NumBytes, I64* pValue)
{
    if (!ParseNumber(Id, sText, pValue)) return false;
    const I64 Range = NumBytes < 8 ? I64(1) << (8 * NumBytes) : 0;
    if (Range == 0 || (*pValue >= -Range / 2 && *pValue < Range)) return true;
    SetActionError(Id, ERR_INVALID_PARAM, sText);
    return false;
}

U64 FromTargetOrder(const U8* pData, U32 Size)
{
    const bool Big = CDevice::Get().State.DataEndian == ENDIAN_BIG;
    U64 Value = 0;
    for (U32 i = 0; i < Size; i++) Value |= U64(pData[Big ? Size - 1 - i : i]) << (8 * i);
    return Value;
}

void ToTargetOrder(U64 Value, U8* pData, U32 Size)
{
    const bool Big = CDevice::Get().State.DataEndian == ENDIAN_BIG;
    for (U32 i = 0; i < Size; i++) pData[Big ? Size - 1 - i : i] = U8(Value >> (8 * i));
}

template <U32 SIZE> void OnWrite(int Id)
{
    if (!CheckParamCount(Id)) return;
    U32 Addr = 0;
    I64 Value = 0;
    const QStringList Params = GetActionParams(Id);
    if (!ParseAddr(Id, Params[0], &Addr) || !ParseValue(Id, Params[1], SIZE, &Value) || !RequireMemory(Id)) return;
    U8 ac[SIZE];
    ToTargetOrder(U64(Value), ac, SIZE);
    CDevice::Get().WriteMemAsync(Addr, SIZE, 0, SIZE <= 4 ? SIZE : 0, 0, ac, nullptr);
}

template <U32 SIZE> void OnRead(int Id)
{
    if (!CheckParamCount(Id)) return;
    U32 Addr = 0;
    if (!ParseAddr(Id, GetActionParam(Id), &Addr) || !RequireMemory(Id)) return SetActionResult(Id, -1);
    U8 ac[SIZE];
    FinishWrites();
    if (CDeviceDataManager::Get().ReadMemBlocking(Addr, SIZE, ac) != 0) {
        SetActionError(Id, QLatin1String(ERR_MEM_READ));
        SetActionResult(Id, -1);
        return;
    }
    SetActionResult(Id, I64(FromTargetOrder(ac, SIZE)));
}

/// The number of a core register for the device by the name that a user writes; 0xFFFFFFFF for any other register.
U32 FindRegId(const QString& sName)
{
    const int Index = FindCpuRegister(sName);
    return Index < 0 ? 0xFFFFFFFFu : Core_GetRegId(U32(Index));
}

void OnSetReg(int Id)
{
    if (!CheckParamCount(Id) || !RequireRegisters(Id)) return;
    const QStringList Params = GetActionParams(Id);
    I64 Value = 0;
    const U32 RegId = FindRegId(Params[0]);
    // A core register takes 32 bits; how wide another one is only the plug-in knows.
    if (!(RegId != 0xFFFFFFFFu ? ParseValue(Id, Params[1], 4, &Value) : ParseNumber(Id, Params[1], &Value))) return;
    // A register that can't be read isn't one: the write would only fail in the probe, without a word here.
    U64 Present = 0;
    if (RegId == 0xFFFFFFFFu && Core_ReadCPReg(Params[0].toUtf8().constData(), &Present) != 0)
        return SetActionError(Id, ERR_INVALID_PARAM, Params[0]);
    CDeviceDataManager::Get().Invalidate();
    if (RegId != 0xFFFFFFFFu)
        CDevice::Get().WriteRegAsync(RegId, U64(Value) & 0xFFFFFFFFu);
    else
        CDevice::Get().WriteCPRegAsync(Params[0].toUtf8().constData(), U64(Value));
}

void OnGetReg(int Id)
{
    if (!CheckParamCount(Id) || !RequireRegisters(Id)) return SetActionResult(Id, -1);
    const QString sName = GetActionParam(Id);
    const U32 RegId = FindRegId(sName);
    U64 Value = 0;
    const bool Read = RegId != 0xFFFFFFFFu
                          ? CDeviceDataManager::Get().ReadRegBlocking(nullptr, RegId, &Value) == 0
                          : Core_ReadCPReg(sName.toUtf8().constData(), &Value) == 0;
    if (!Read) {
        SetActionError(Id, ERR_INVALID_PARAM, sName);
        SetActionResult(Id, -1);
        return;
    }
    SetActionResult(Id, I64(Value));
    // A script gets the value; whoever types the command wants to see it.
    CConsoleWindow::Get().Print(sName + QStringLiteral(" = 0x%1").arg(Value, 8, 16, QLatin1Char('0')),
                                GetColor(COLOR_LOGGING_BRYLLO), false);
}

void OnFillMemory(int Id)
{
    if (!CheckParamCount(Id) || !RequireMemory(Id)) return;
    const QStringList Params = GetActionParams(Id);
    U32 Addr = 0;
    I64 Size = 0, Value = 0;
    if (!ParseAddr(Id, Params[0], &Addr) || !ParseNumber(Id, Params[1], &Size) ||
        !ParseValue(Id, Params[2], 1, &Value))
        return;
    if (Size <= 0 || Size > I64(MAX_FILE_BYTES)) return SetActionError(Id, ERR_INVALID_PARAM);
    const QByteArray Bytes = QByteArray(qsizetype(Size), char(Value));
    CDevice::Get().WriteMemAsync(Addr, U32(Size), 0x10000, 0, MEM_FLAG_DOWNLOAD, Bytes.constData(), nullptr);
}

void OnSaveMemory(int Id)
{
    if (!CheckParamCount(Id) || !RequireMemory(Id)) return;
    const QStringList Params = GetActionParams(Id);
    U32 Addr = 0;
    I64 Size = 0;
    if (!ParseAddr(Id, Params[1], &Addr) || !ParseNumber(Id, Params[2], &Size)) return;
    if (Size <= 0 || Size > I64(MAX_FILE_BYTES)) return SetActionError(Id, ERR_INVALID_PARAM);
    QByteArray Bytes = QByteArray(qsizetype(Size), '\0');
    constexpr I64 CHUNK = 4096;
    FinishWrites();
    for (I64 Pos = 0; Pos < Size; Pos += CHUNK) {
        const U32 n = U32(std::min(CHUNK, Size - Pos));
        if (CDeviceDataManager::Get().ReadMemBlocking(Addr + U32(Pos), n, reinterpret_cast<U8*>(Bytes.data() + Pos)) != 0)
            return SetActionError(Id, QLatin1String(ERR_MEM_READ));
    }
    QSaveFile File(CFileFinder::Get().Expand(Params[0]));
    if (!File.open(QIODevice::WriteOnly) || File.write(Bytes) != Bytes.size() || !File.flush() || !File.commit())
        SetActionError(Id, ERR_INVALID_FILENAME, Params[0]);
}

void OnLoadMemory(int Id)
{
    if (!CheckParamCount(Id) || !RequireMemory(Id)) return;
    const QStringList Params = GetActionParams(Id);
    U32 Addr = 0;
    if (!ParseAddr(Id, Params[1], &Addr)) return;
    QFile File(CFileFinder::Get().Resolve(Params[0]));
    if (!File.open(QIODevice::ReadOnly) || File.size() > I64(MAX_FILE_BYTES))
        return SetActionError(Id, ERR_FILE_NOT_FOUND, Params[0]);
    const QByteArray Bytes = File.readAll();
    if (Bytes.isEmpty()) return SetActionError(Id, ERR_INVALID_PARAM, Params[0]);
    CDevice::Get().WriteMemAsync(Addr, U32(Bytes.size()), 0x10000, 0, MEM_FLAG_DOWNLOAD, Bytes.constData(), nullptr);
}

void OnSetAccessWidth(int Id)
{
    I64 Width = 0;
    if (!CheckParamCount(Id) || !ParseNumberParam(Id, GetActionParam(Id), &Width)) return;
    if (Width != 0 && Width != 1 && Width != 2 && Width != 4) return SetActionError(Id, ERR_INVALID_PARAM);
    SetVar(VAR_ACCESS_WIDTH, Width, false);
}

/// The one parameter of a switch.
bool ParseSwitch(int Id, I64* pOn)
{
    if (!CheckParamCount(Id) || !ParseNumberParam(Id, GetActionParam(Id), pOn)) return false;
    if (*pOn == 0 || *pOn == 1) return true;
    SetActionError(Id, ERR_INVALID_PARAM);
    return false;
}

void OnSetEndianess(int Id)
{
    I64 Big = 0;
    if (!ParseSwitch(Id, &Big)) return;
    CProject::Get().GetHooks().SetDeviceParam(DCP_ENDIAN, Big != 0);
}

void OnPowerOn(int Id)
{
    I64 On = 0;
    if (!ParseSwitch(Id, &On)) return;
    SetVar(VAR_TARGET_POWER_ON, On != 0, false);
    if (CDevice::Get().IsConnected()) CDevice::Get().ExecBrylloCmdAsync(On ? "SupplyPower=1" : "SupplyPower=0");
}

// ---- Program -------------------------------------------------------------------------------------------

void OnGetBaseAddr(int Id)
{
    if (!CheckParamCount(Id)) return;
    U64 aRange[3] = {~0ull, ~0ull, ~0ull};
    const auto& GetRange = Core_GetHooks().GetProgramRange;
    if (GetRange) GetRange(aRange);
    SetActionResult(Id, I64(U32(aRange[1])));
}

void OnGetEntryPointPC(int Id)
{
    if (CheckParamCount(Id)) SetActionResult(Id, I64(PROG_GetEntryPoint()));
}

void OnGetEntryFuncPC(int Id)
{
    if (!CheckParamCount(Id)) return;
    const ELF_SYM_HANDLE hMain = PROG_GetMainFunction();
    SetActionResult(Id, hMain ? PROG_GetSymAddr(hMain) : -1);
}

void OnGetExprValue(int Id)
{
    if (!CheckParamCount(Id)) return;
    I64 Value = 0;
    QString sError;
    FinishWrites();
    if (EVAL_GetInteger(GetActionParam(Id), &Value, &sError)) {
        SetActionResult(Id, Value);
        return;
    }
    SetActionError(Id, sError.isEmpty() ? QString::fromLatin1(ERR_INVALID_PARAM) : sError);
    SetActionResult(Id, -1);
}

void OnGetEndianess(int Id)
{
    if (CheckParamCount(Id)) SetActionResult(Id, PROG_GetByteOrder());
}

void OnReadIntoInstCache(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QStringList Params = GetActionParams(Id);
    I64 Addr = 0, Size = 0;
    if (!ParseNumberParam(Id, Params[0], &Addr) || !ParseNumberParam(Id, Params[1], &Size) || !RequireMemory(Id)) return;
    const bool Fits = Addr >= 0 && Addr <= 0xFFFFFFFF && Size > 0 && Size <= 0xFFFFFFFF;
    if (!Fits || DEVICE_ReadIntoInstCache(U32(Addr), U32(Size)) < 0) SetActionError(Id, ERR_INVALID_PARAM);
}

// ---- Script helpers ------------------------------------------------------------------------------------

void OnUtilSleep(int Id)
{
    I64 Ms = 0;
    if (!CheckParamCount(Id) || !ParseNumber(Id, GetActionParam(Id), &Ms)) return;
    Ms = std::clamp<I64>(Ms, 0, MAX_SLEEP_MS);
    QElapsedTimer Time;
    Time.start();
    while (Time.elapsed() < Ms && !BScript::IsAborted() && !CMainWindow::Get().GetSession().Closing) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
}

void OnUtilLog(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QString sText = GetActionParam(Id);
    CConsoleWindow::Get().PrintInColor(sText, COLOR_LOGGING_SCRIPT);
    Log(sText, MSG_INFO | MSG_FILE);
}

void OnUtilLogHex(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QStringList Params = GetActionParams(Id);
    I64 Value = 0;
    if (!ParseValue(Id, Params[1], 4, &Value)) return;
    const QString sText = Params[0] + QStringLiteral(" 0x%1").arg(U32(Value), 8, 16, QLatin1Char('0'));
    CConsoleWindow::Get().PrintInColor(sText, COLOR_LOGGING_SCRIPT);
    Log(sText, MSG_INFO | MSG_FILE);
}

} // namespace

void RegisterTargetCommands()
{
    SetCommandHandler(ACT_TARGET_SET_REG, OnSetReg);
    SetCommandHandler(ACT_TARGET_GET_REG, OnGetReg);
    SetCommandHandler(ACT_TARGET_WRITE_U64, OnWrite<8>);
    SetCommandHandler(ACT_TARGET_WRITE_U32, OnWrite<4>);
    SetCommandHandler(ACT_TARGET_WRITE_U16, OnWrite<2>);
    SetCommandHandler(ACT_TARGET_WRITE_U8, OnWrite<1>);
    SetCommandHandler(ACT_TARGET_READ_U32, OnRead<4>);
    SetCommandHandler(ACT_TARGET_READ_U16, OnRead<2>);
    SetCommandHandler(ACT_TARGET_READ_U8, OnRead<1>);
    SetCommandHandler(ACT_TARGET_FILL_MEMORY, OnFillMemory);
    SetCommandHandler(ACT_TARGET_SAVE_MEMORY, OnSaveMemory);
    SetCommandHandler(ACT_TARGET_LOAD_MEMORY, OnLoadMemory);
    SetCommandHandler(ACT_TARGET_SET_ACCESS_WIDTH, OnSetAccessWidth);
    SetCommandHandler(ACT_TARGET_SET_ENDIANESS, OnSetEndianess);
    SetCommandHandler(ACT_TARGET_POWER_ON, OnPowerOn);
    SetCommandHandler(ACT_DEBUG_READ_INTO_INST_CACHE, OnReadIntoInstCache);
    SetCommandHandler(ACT_ELF_GET_BASE_ADDR, OnGetBaseAddr);
    SetCommandHandler(ACT_ELF_GET_ENTRY_POINT_PC, OnGetEntryPointPC);
    SetCommandHandler(ACT_ELF_GET_ENTRY_FUNC_PC, OnGetEntryFuncPC);
    SetCommandHandler(ACT_ELF_GET_EXPR_VALUE, OnGetExprValue);
    SetCommandHandler(ACT_ELF_GET_ENDIANESS, OnGetEndianess);
    SetCommandHandler(ACT_UTIL_SLEEP, OnUtilSleep);
    SetCommandHandler(ACT_UTIL_LOG, OnUtilLog);
    SetCommandHandler(ACT_UTIL_LOG_HEX, OnUtilLogHex);
}
