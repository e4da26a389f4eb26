// Fills a new script with constants, variable names and the commands of the action table.
#include "script/host/scriptinstance.h"

#include "app/actions/actions.h"
#include "app/actions/constants.h"
#include "app/services/log.h"
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"

#include <cstdlib>
#include <cstring>

namespace {
void AddName(SCRIPT_INSTANCE* pScript, const QByteArray& Name, I64 Value)
{
    pScript->Names.push_back(Name);
    const QByteArray& Kept = pScript->Names.back();
    Script::RegisterConstant(pScript->pCtx, Kept.constData(), static_cast<std::size_t>(Kept.size()), Value);
}

void AddConstants(SCRIPT_INSTANCE* pScript)
{
    for (const CONSTANT& Row : GetConstants()) {
        AddName(pScript, Row.Name.toUtf8(), Row.Value);
        if (!Row.DisplayName.isEmpty()) {
            AddName(pScript, Row.DisplayName.toUtf8(), Row.Value);
        }
    }
    // Older names that projects in the field still use.
    for (const char* sName : {"RM_BREAK_AT_MAIN", "AW_AUTO"}) {
        I64 Value = 0;
        if (GetConstantValue(QLatin1String(sName), &Value)) {
            AddName(pScript, sName, Value);
        }
    }
    for (int i = 0; i < NUM_SYS_VARS; ++i) {
        AddName(pScript, GetVar(i)->Name, i);
    }
    for (int i = 0; i < NUM_COLORS; ++i) {
        AddName(pScript, GetColorRow(i)->Name, i);
    }
    for (int i = 0; i < NUM_FONTS; ++i) {
        AddName(pScript, GetFontRow(i)->Name, i);
    }
}

void AddFunction(SCRIPT_INSTANCE* pScript, const QByteArray& Prototype, SCRIPT_HOST_FUNC pfEntry,
                 int ActionId)
{
    if (Script::RegisterFunction(pScript->pCtx, Prototype.constData(), pfEntry, ActionId) < 0) {
        LogError(QStringLiteral("Error registering API function ") + QString::fromUtf8(Prototype));
        pScript->pCtx->Error = 0; // the others can still be used
    }
}

void AddCommands(SCRIPT_INSTANCE* pScript)
{
    for (int Id = 0; Id < NUM_ACTIONS; ++Id) {
        const ACTION_ROW* pRow = GetActionRow(Id);
        if (!pRow || !pRow->ScriptEntry) {
            continue;
        }
        AddFunction(pScript, pRow->Prototype, pRow->ScriptEntry, Id);
        const QString sAlias = GetAliasPrototype(Id);
        if (!sAlias.isEmpty()) {
            AddFunction(pScript, sAlias.toUtf8(), pRow->ScriptEntry, Id);
        }
    }
}
} // namespace

std::shared_ptr<SCRIPT_INSTANCE> CreateInstance(const QByteArray& Text)
{
    auto pScript = std::make_shared<SCRIPT_INSTANCE>();
    pScript->Text = Text;
    pScript->pBlock = {std::calloc(1, SCRIPT_HEAP_SIZE), &std::free};
    pScript->pCtx = Script::Create(pScript->pBlock.get(), SCRIPT_HEAP_SIZE, pScript->Text.constData());
    if (!pScript->pCtx) {
        return nullptr;
    }
    AddConstants(pScript.get());
    AddCommands(pScript.get());
    return pScript;
}

void EnterConstant(SCRIPT_INSTANCE* pScript, const QString& sName, I64 Value)
{
    const QByteArray Name = sName.toUtf8();
    SCRIPT_SYM* pSym = Script::FindSymbol(pScript->pCtx, Name.constData());
    if (pSym && pSym->Kind == SYM_CONSTANT) {
        pSym->Value = static_cast<I32>(static_cast<U32>(Value));
    } else if (!pSym) {
        AddName(pScript, Name, Value);
    }
}
