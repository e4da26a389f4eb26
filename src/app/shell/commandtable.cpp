#include "app/shell/commandtable.h"

#include "app/actions/actions.h"
#include "app/actions/constants.h"

#include <array>

namespace {
std::array<COMMAND_HANDLER, NUM_ACTIONS> s_aHandler{};
}

void SetCommandHandler(int ActionId, COMMAND_HANDLER pfHandler)
{
    s_aHandler.at(size_t(ActionId)) = pfHandler;
}

COMMAND_HANDLER GetCommandHandler(int ActionId)
{
    return ActionId >= 0 && ActionId < NUM_ACTIONS ? s_aHandler[size_t(ActionId)] : nullptr;
}

bool ParseAddrParam(int ActionId, const QString& sText, U32* pAddr)
{
    bool Ok = false;
    const U32 Addr = sText.trimmed().toUInt(&Ok, 16);
    if (!Ok) SetActionError(ActionId, ERR_INVALID_PARAM);
    *pAddr = Addr;
    return Ok;
}

bool ParseNumberParam(int ActionId, const QString& sText, I64* pValue)
{
    if (ParseNumberOrConstant(sText, pValue)) return true;
    SetActionError(ActionId, ERR_INVALID_PARAM);
    return false;
}
