#include "app/shell/commandtable.h"

#include "app/actions/actions.h"
#include "app/actions/constants.h"

#include <array>

namespace {
std::array<COMMAND_HANDLER, NUM_ACTIONS> s_aHandler{};

void OnAbsentCommand(int Id)
{
    if (CheckParams(Id)) SetActionError(Id, ERR_UNKNOWN_WINDOW);
    SetActionResult(Id, -1);
}
} // namespace

void SetCommandHandler(int ActionId, COMMAND_HANDLER pfHandler)
{
    s_aHandler.at(size_t(ActionId)) = pfHandler;
}

COMMAND_HANDLER GetCommandHandler(int ActionId)
{
    return ActionId >= 0 && ActionId < NUM_ACTIONS ? s_aHandler[size_t(ActionId)] : nullptr;
}

void RegisterAbsentCommands()
{
    for (int Id = 0; Id < NUM_ACTIONS; Id++)
        if (!GetCommandName(Id).isEmpty() && !GetCommandHandler(Id)) SetCommandHandler(Id, OnAbsentCommand);
}

bool IsCommandAbsent(int ActionId)
{
    return GetCommandHandler(ActionId) == OnAbsentCommand;
}

bool CheckParams(int ActionId, int Min)
{
    if (!CheckParamCount(ActionId, Min)) return false;
    const QStringList Params = GetActionParams(ActionId);
    for (int i = 0; i < int(Params.size()); i++) {
        if (IsStringParam(ActionId, i)) continue;
        const QString sDecl = GetParamDecl(ActionId, i);
        U32 Addr = 0;
        I64 Value = 0;
        const bool IsAddr =
            sDecl.endsWith(QLatin1String(" Addr")) || sDecl.endsWith(QLatin1String(" Address"));
        if (!(IsAddr ? ParseAddrParam(ActionId, Params[i], &Addr, ERR_NOT_A_NUMBER)
                     : ParseNumberParam(ActionId, Params[i], &Value, ERR_NOT_A_NUMBER)))
            return false;
    }
    return true;
}

bool ParseAddrParam(int ActionId, const QString& sText, U32* pAddr, const char* sError)
{
    bool Ok = false;
    const U32 Addr = sText.trimmed().toUInt(&Ok, 16);
    if (!Ok) SetActionError(ActionId, QLatin1String(sError));
    *pAddr = Addr;
    return Ok;
}

bool ParseNumberParam(int ActionId, const QString& sText, I64* pValue, const char* sError)
{
    if (ParseNumberOrConstant(sText, pValue)) return true;
    SetActionError(ActionId, QLatin1String(sError));
    return false;
}
