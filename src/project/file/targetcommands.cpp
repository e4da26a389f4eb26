// Commands that say how the target is reached.
#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/actions/constants.h"
#include "project/file/deviceparams.h"
#include "project/file/project.h"
#include "project/file/projectcommands.h"
#include "project/settings/sysvars.h"

#include <limits>

namespace {
constexpr I64 SPEED_AUTO = 0;
constexpr I64 SPEED_ADAPTIVE = 65535;
constexpr I64 HZ_PER_KHZ = 1000;

void SetParam(int ParamId, I64 Value)
{
    if (CProject::Get().GetHooks().SetDeviceParam) {
        CProject::Get().GetHooks().SetDeviceParam(ParamId, Value);
    }
}
void SetParamText(int ParamId, const QString& sValue)
{
    if (CProject::Get().GetHooks().SetDeviceParamText) {
        CProject::Get().GetHooks().SetDeviceParamText(ParamId, sValue);
    }
}

void SetDevice(int Id)
{
    QString sDevice = GetActionParam(Id);
    if (!GetActionError(Id).isEmpty()) {
        return;
    }
    if (!HasActionParams(Id)) {
        sDevice =
            CProject::Get().GetHooks().SelectDevice ? CProject::Get().GetHooks().SelectDevice() : QString();
        if (sDevice.isEmpty()) {
            SetActionSilent(Id);
            return;
        }
        SetActionParams(Id, sDevice);
    }
    SetParamText(DEVICE_PARAM_NAME, sDevice);
}

void SetHostIF(int Id)
{
    if (!CheckParamCount(Id, 1)) {
        return;
    }
    const QStringList Params = GetActionParams(Id);
    const QString sIdent = Params.value(1);
    const QString sHostIF = GetCanonicalConstantName(Params[0]);
    const bool IsUSB = sHostIF == QLatin1String("USB");
    if (!IsUSB && sHostIF != QLatin1String("IP")) {
        SetActionError(Id, QLatin1String(ERR_INVALID_PARAM), Params[0]);
        return;
    }
    SetParam(DEVICE_PARAM_HOST_IF, IsUSB ? HOST_IF_USB : HOST_IF_IP);
    if (!IsUSB) {
        // A saved project doesn't name the default address, and must not take that of the project before it.
        SetParamText(DEVICE_PARAM_HOST_NAME, sIdent.isEmpty() ? QLatin1String(DEFAULT_HOST_NAME) : sIdent);
        return;
    }
    bool Ok = false;
    const U32 SerialNo = sIdent.trimmed().toUInt(&Ok, 0);
    SetParam(DEVICE_PARAM_USB_SERIAL, Ok ? SerialNo : 0);
    SetParam(DEVICE_PARAM_USE_SERIAL, Ok ? 1 : 0);
    if (!Ok && !sIdent.trimmed().isEmpty()) {
        SetActionError(Id, QLatin1String(ERR_INVALID_PARAM), sIdent);
    }
}

void SetTargetIF(int Id)
{
    if (!CheckParamCount(Id)) {
        return;
    }
    const QString sName = GetCanonicalConstantName(GetActionParam(Id));
    I64 Value = 0;
    for (const char* sKnown : {"JTAG", "cJTAG", "FINE", "SWD"}) {
        if (sName == QLatin1String(sKnown) && GetConstantValue(sName, &Value)) {
            SetParam(DEVICE_PARAM_TARGET_IF, Value);
            return;
        }
    }
    SetActionError(Id, QLatin1String(ERR_UNKNOWN_TARGET_IF));
}

void SetTIFSpeed(int Id)
{
    if (!CheckParamCount(Id)) {
        return;
    }
    const I64 Hz = ParseTIFSpeed(GetActionParam(Id));
    if (Hz < 0) {
        SetActionError(Id, QLatin1String(ERR_INVALID_NUMBER));
        return;
    }
    SetVar(VAR_TIF_SPEED, Hz, false);
    SetParam(DEVICE_PARAM_SPEED, Hz);
}

void SetJTAGConfig(int Id)
{
    if (!CheckParamCount(Id)) {
        return;
    }
    const QStringList Params = GetActionParams(Id);
    bool PosOk = false;
    bool LenOk = false;
    const I64 DRPre = ParseVar(VAR_TIF_SCAN_CHAIN_POS, Params[0], &PosOk);
    const I64 IRPre = ParseVar(VAR_TIF_SCAN_CHAIN_LEN, Params[1], &LenOk);
    if (!PosOk || !LenOk) {
        SetActionError(Id, QLatin1String(ERR_INVALID_PARAM), PosOk ? Params[1] : Params[0]);
        return;
    }
    SetVar(VAR_TIF_SCAN_CHAIN_POS, DRPre, false);
    SetVar(VAR_TIF_SCAN_CHAIN_LEN, IRPre, false);
    SetParam(DEVICE_PARAM_DR_PRE, DRPre);
    SetParam(DEVICE_PARAM_IR_PRE, IRPre);
    SetParam(DEVICE_PARAM_MULTIPLE_TARGETS, DRPre != 0 ? 1 : 0);
}
} // namespace

I64 ParseTIFSpeed(const QString& sText)
{
    const QString s = QString(sText).remove(QLatin1Char('"')).trimmed();
    bool Ok = false;
    const U32 Khz = s.toUInt(&Ok, 0);
    I64 Hz = Ok ? static_cast<I64>(Khz) * HZ_PER_KHZ : ParseFrequency(s);
    if (Hz < 0 || Hz > std::numeric_limits<I32>::max()) {
        return -1;
    }
    if (Hz == SPEED_AUTO || (Hz == SPEED_ADAPTIVE && !Ok)) {
        return Hz;
    }
    if (Hz < HZ_PER_KHZ) {
        return HZ_PER_KHZ;
    }
    const I64 Rest = Hz % HZ_PER_KHZ;
    return Hz - Rest + (Rest > HZ_PER_KHZ / 2 ? HZ_PER_KHZ : 0);
}

bool HandleTargetSetting(int ActionId)
{
    switch (ActionId) {
    case ACT_PROJECT_SET_DEVICE:
        SetDevice(ActionId);
        return true;
    case ACT_PROJECT_SET_HOST_IF:
        SetHostIF(ActionId);
        return true;
    case ACT_PROJECT_SET_TARGET_IF:
        SetTargetIF(ActionId);
        return true;
    case ACT_PROJECT_SET_TIF_SPEED:
        SetTIFSpeed(ActionId);
        return true;
    case ACT_PROJECT_SET_JTAG_CONFIG:
        SetJTAGConfig(ActionId);
        return true;
    default:
        return false;
    }
}
