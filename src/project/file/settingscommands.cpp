// The commands that edit variables, preferences, colours and fonts.
#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/actions/constants.h"
#include "project/file/project.h"
#include "project/file/projectcommands.h"
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"
#include "script/host/bscript.h"

namespace {
/// An optional yes or no behind the declared parameters. False, with the error set, for anything else.
bool ReadSwitch(int Id, const QStringList& Params, int Index, bool* pOn)
{
    I64 Value = 0;
    if (Index >= Params.size()) {
        return true;
    }
    if (!ParseNumberOrConstant(Params[Index], &Value) || (Value != 0 && Value != 1)) {
        SetActionError(Id, QLatin1String(ERR_INVALID_PARAM), Params[Index]);
        return false;
    }
    *pOn = Value != 0;
    return true;
}

/// At least the prototype's parameters; further ones are options.
bool HasParams(int Id, const QStringList& Params)
{
    if (Params.size() >= GetParamCount(Id)) {
        return true;
    }
    SetActionError(Id, QLatin1String(ERR_WRONG_PARAM_COUNT));
    return false;
}

/// The value of a string variable. The prototype declares a number, so a script's text arrives as its
/// address in the script's block.
QString ReadText(const QString& sParam)
{
    bool Ok = false;
    const I64 Address = sParam.toLongLong(&Ok, 10);
    const QString sText = Ok ? BScript::ReadStringArg(Address) : QString();
    return sText.isNull() ? sParam : sText;
}

void Tell(int VarID)
{
    const PROJECT_HOOKS& Hooks = CProject::Get().GetHooks();
    const I64 Value = GetVarValue(VarID);
    if (VarID < FIRST_PREFERENCE && Hooks.SysVarChanged) {
        Hooks.SysVarChanged(VarID, Value);
    } else if (VarID >= FIRST_PREFERENCE && Hooks.PreferenceChanged) {
        Hooks.PreferenceChanged(VarID, Value);
    }
}

/// The value as the echo shows it. A text that is rounded ("33.3 kHz") would be read back as another value, and the
/// number stands for it.
QString GetEchoText(int VarID)
{
    const QString sText = VarToText(VarID);
    const I64 Frequency = IsStringVar(VarID) ? -1 : ParseFrequency(sText);
    return Frequency > 0 && Frequency != GetVarValue(VarID) && HasValueList(VarID) ? QString::number(GetVarValue(VarID))
                                                                                  : sText;
}

/// Sets a row from a parameter and puts the canonical form into the echo.
void EditVar(int Id, const char* sUnknown, bool Store, bool Echo)
{
    const QStringList Params = GetActionParams(Id);
    const SYS_VAR* pRow = FindVar(Params[0]);
    if (!pRow) {
        SetActionError(Id, QLatin1String(sUnknown), Params[0]);
        return;
    }
    const int VarID = pRow->Index;
    bool Ok = false;
    if (IsStringVar(VarID)) {
        Ok = ParseVarText(VarID, Store ? 1 : 0, ReadText(Params[1])) == 0;
    } else {
        const I64 Value = ParseVar(VarID, Params[1], &Ok);
        if (Ok) {
            SetVar(VarID, Value, Store);
        }
    }
    if (!Ok) {
        SetActionError(Id, QLatin1String(ERR_INVALID_PARAM), Params[1]);
        return;
    }
    Tell(VarID);
    SetActionParams(Id, QString::fromLatin1(pRow->Name), GetEchoText(VarID));
    if (!Echo) {
        SetActionSilent(Id);
    }
}

bool ParseColor(const QString& sText, U32* pValue)
{
    const QString sColor = sText.trimmed();
    bool Ok = QColor::isValidColor(sColor);
    *pValue = Ok ? QColor(sColor).rgba() : sColor.toUInt(&Ok, 0);
    return Ok;
}

void EditColor(int Id, const QStringList& Params)
{
    const int ColorID = FindColor(Params[0]);
    if (ColorID < 0) {
        SetActionError(Id, QLatin1String(ERR_UNKNOWN_COLOR), Params[0]);
        return;
    }
    U32 Value = 0;
    if (!ParseColor(Params[1], &Value)) {
        SetActionError(Id, QLatin1String(ERR_INVALID_PARAM), Params[1]);
        return;
    }
    bool Store = false;
    if (ReadSwitch(Id, Params, 2, &Store)) {
        SetColor(ColorID, Value, Store);
    }
}

void EditFont(int Id, const QStringList& Params)
{
    const int FontID = FindFont(Params[0]);
    if (FontID < 0) {
        SetActionError(Id, QLatin1String(ERR_UNKNOWN_FONT), Params[0]);
        return;
    }
    QFont Font;
    if (!ParseFont(Params[1], &Font)) {
        SetActionError(Id, QLatin1String(ERR_INVALID_PARAM), Params[1]);
        return;
    }
    bool Store = false;
    if (!ReadSwitch(Id, Params, 2, &Store)) {
        return;
    }
    SetFont(FontID, Font, Store);
}
} // namespace

void CanonicalizeSettingsParams(int ActionId)
{
    if (ActionId != ACT_EDIT_COLOR && ActionId != ACT_EDIT_FONT) {
        return;
    }
    QStringList Params = GetActionParams(ActionId);
    if (Params.size() < GetParamCount(ActionId)) {
        return;
    }
    const int ColorID = ActionId == ACT_EDIT_COLOR ? FindColor(Params[0]) : -1;
    const int FontID = ActionId == ACT_EDIT_FONT ? FindFont(Params[0]) : -1;
    U32 Value = 0;
    QFont Font;
    if (ColorID >= 0 && ParseColor(Params[1], &Value)) {
        Params[0] = QString::fromLatin1(GetColorRow(ColorID)->Name);
        Params[1] = QStringLiteral("0x%1").arg(Value, 8, 16, QLatin1Char('0'));
    } else if (FontID >= 0 && ParseFont(Params[1], &Font)) {
        Params[0] = QString::fromLatin1(GetFontRow(FontID)->Name);
    } else {
        return;
    }
    SetActionParamList(ActionId, Params);
}

bool HandleSettingsCommand(int ActionId)
{
    if (ActionId != ACT_EDIT_SYS_VAR && ActionId != ACT_EDIT_PREFERENCE && ActionId != ACT_EDIT_COLOR &&
        ActionId != ACT_EDIT_FONT) {
        return false;
    }
    const QStringList Params = GetActionParams(ActionId);
    if (!HasParams(ActionId, Params)) {
        return true;
    }
    bool Store = false;
    bool Echo = true;
    if (ActionId == ACT_EDIT_SYS_VAR) {
        if (ReadSwitch(ActionId, Params, 2, &Echo)) {
            EditVar(ActionId, ERR_UNKNOWN_SYSVAR, false, Echo);
        }
    } else if (ActionId == ACT_EDIT_PREFERENCE) {
        if (ReadSwitch(ActionId, Params, 2, &Store) && ReadSwitch(ActionId, Params, 3, &Echo)) {
            EditVar(ActionId, ERR_UNKNOWN_PREFERENCE, Store, Echo);
        }
    } else if (ActionId == ACT_EDIT_COLOR) {
        EditColor(ActionId, Params);
    } else {
        EditFont(ActionId, Params);
    }
    return true;
}

bool CProject::HandleCommand(int ActionId)
{
    if (ActionId == ACT_SCRIPT_EXEC) {
        BScript::OnScriptExec(ActionId);
        return true;
    }
    if (ActionId == ACT_SCRIPT_DEFINE_CONST) {
        BScript::OnScriptDefineConst(ActionId);
        return true;
    }
    return HandleTargetSetting(ActionId) || HandleFileSetting(ActionId) || HandleIOSetting(ActionId) ||
           HandleSettingsCommand(ActionId);
}
