#include "app/actions/actions.h"
#include "app/actions/actionstate.h"
#include "app/actions/commandtext.h"
#include "app/services/log.h"

#include <QActionGroup>

namespace {
constexpr char UNKNOWN_COMMAND_HINT[] = "Type ? or help for a list of available commands.";

ACTION_HOOKS Hooks;

void PrintError(const QString& sText, const QString& sError)
{
    if (Hooks.PrintError) Hooks.PrintError(sText, sError);
}
/// QAction::trigger() does nothing while the action is grey in the menus, but here only the command's own
/// state counts.
void Trigger(QAction* pAction)
{
    if (pAction->isEnabled()) {
        pAction->trigger();
        return;
    }
    if (pAction->isCheckable()) {
        const QActionGroup* pGroup = pAction->actionGroup();
        const bool IsKept = pAction->isChecked() && pGroup && pGroup->isExclusive();
        if (!IsKept) pAction->setChecked(!pAction->isChecked());
    }
    emit pAction->triggered(pAction->isChecked());
}
} // namespace

void SetActionHooks(const ACTION_HOOKS& NewHooks)
{
    Hooks = NewHooks;
}

const ACTION_HOOKS& GetActionHooks()
{
    return Hooks;
}

int PerformAction(int Id)
{
    ACTION_STATE* p = FindActionState(Id);
    if (!p) return -1;
    if (!IsCommandEnabled(Id)) {
        NoteActionFailure();
        PrintError(GetActionTitle(Id), ERR_COMMAND_DISABLED);
        return -1;
    }
    if (!p->pAction) {
        NoteActionFailure();
        LogDebug("Action is not linked: " + QString::fromLatin1(GetActionRow(Id)->ObjectName));
        return -1;
    }
    p->Failed = false;
    if (p->HasParams && Hooks.CanonicalizeParams) Hooks.CanonicalizeParams(Id);
    Trigger(p->pAction);
    return 0;
}

I64 PerformActionList(int Id, const QStringList& Params)
{
    SetActionParamList(Id, Params);
    if (PerformAction(Id) < 0) {
        ClearAction(Id);
        return -1;
    }
    return GetActionResult(Id);
}

I64 PerformAction(int Id, const QVariant& P1, const QVariant& P2, const QVariant& P3, const QVariant& P4,
                  const QVariant& P5, const QVariant& P6, const QVariant& P7, const QVariant& P8)
{
    QStringList Params;
    for (const QVariant* p : {&P1, &P2, &P3, &P4, &P5, &P6, &P7, &P8})
        if (p->isValid()) Params.append(p->toString());
    return PerformActionList(Id, Params);
}

int ExecuteCommand(const QString& sText)
{
    const QString sLine = sText.trimmed();
    if (sLine == "?" || sLine.compare("help", Qt::CaseInsensitive) == 0) {
        PerformAction(ACT_HELP_COMMANDS);
        return EXECUTE_DONE;
    }
    const PARSED_COMMAND Command = ParseCommand(sLine);
    if (Command.Id < 0) {
        NoteActionFailure();
        PrintError(sLine, QString(ERR_UNKNOWN_COMMAND) + ". " + UNKNOWN_COMMAND_HINT);
        return EXECUTE_UNKNOWN;
    }
    if (!IsCommandEnabled(Command.Id)) {
        NoteActionFailure();
        PrintError(GetActionTitle(Command.Id), ERR_COMMAND_DISABLED);
        return EXECUTE_DISABLED;
    }
    SetActionParamList(Command.Id, Command.Params);
    if (PerformAction(Command.Id) < 0) ClearAction(Command.Id);
    return EXECUTE_DONE;
}
