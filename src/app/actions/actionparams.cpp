#include "app/actions/actions.h"
#include "app/actions/actionstate.h"
#include "app/services/mainthread.h"

#include <array>

namespace {
/// Windows put it in as a separator of thousands.
constexpr QChar PUNCTUATION_SPACE(0x2008);

U64 ErrorCount = 0;

QString NormalizeParam(QString sParam)
{
    sParam.remove(PUNCTUATION_SPACE);
    if (sParam.size() >= 2 && sParam.startsWith('"') && sParam.endsWith('"'))
        return sParam.mid(1, sParam.size() - 2);
    return sParam;
}

QString RemoveQuotes(QString s)
{
    return s.remove('"');
}
} // namespace

ACTION_STATE* FindActionState(int Id)
{
    AssertMainThread("action table");
    // Kept to the end of the process: windows die after the statics of this file.
    static auto& States = *new std::array<ACTION_STATE, NUM_ACTIONS>;
    return Id >= 0 && Id < NUM_ACTIONS ? &States[std::size_t(Id)] : nullptr;
}

ACTION_STATE& GetActionState(int Id)
{
    return *FindActionState(Id);
}

void SetActionParamList(int Id, const QStringList& Params)
{
    ACTION_STATE* p = FindActionState(Id);
    if (!p) return;
    p->Silent = false;
    p->Params = Params;
    p->HasParams = !Params.isEmpty();
    if (GetActionRow(Id)->RawParams) return;
    for (QString& s : p->Params) s = NormalizeParam(s);
}

void SetActionParams(int Id, const QVariant& P1, const QVariant& P2, const QVariant& P3, const QVariant& P4,
                     const QVariant& P5, const QVariant& P6, const QVariant& P7, const QVariant& P8)
{
    QStringList Params;
    for (const QVariant* p : {&P1, &P2, &P3, &P4, &P5, &P6, &P7, &P8})
        if (p->isValid()) Params.append(p->toString());
    SetActionParamList(Id, Params);
}

void ClearAction(int Id)
{
    ACTION_STATE* p = FindActionState(Id);
    if (!p) return;
    p->Params.clear();
    p->HasParams = false;
    p->Silent = false;
    p->Error.clear();
}

void SetActionSilent(int Id)
{
    ACTION_STATE* p = FindActionState(Id);
    if (!p) return;
    p->Params.clear();
    p->HasParams = false;
    p->Silent = true;
}

bool IsActionSilent(int Id)
{
    const ACTION_STATE* p = FindActionState(Id);
    return p && p->Silent;
}

bool HasActionParams(int Id)
{
    const ACTION_STATE* p = FindActionState(Id);
    return p && p->HasParams;
}

QStringList GetActionParams(int Id)
{
    QStringList Params = GetRawActionParams(Id);
    for (QString& s : Params) s = RemoveQuotes(s);
    return Params;
}

QStringList GetRawActionParams(int Id)
{
    const ACTION_STATE* p = FindActionState(Id);
    return p ? p->Params : QStringList();
}

QString GetActionParam(int Id)
{
    const ACTION_STATE* p = FindActionState(Id);
    if (!p || !p->HasParams) return {};
    if (p->Params.size() == 1) return p->Params[0];
    SetActionError(Id, ERR_WRONG_PARAM_COUNT);
    return {};
}

bool CheckParamCount(int Id, int Min)
{
    const ACTION_STATE* p = FindActionState(Id);
    if (!p) return false;
    const int Max = GetParamCount(Id);
    const qsizetype n = p->Params.size();
    if (n >= (Min < 0 ? Max : Min) && n <= Max) return true;
    SetActionError(Id, ERR_WRONG_PARAM_COUNT);
    return false;
}

void SetActionError(int Id, const QString& sText, const QString& sDetail)
{
    ACTION_STATE* p = FindActionState(Id);
    if (!p) return;
    p->Error = p->Params.size() > 1 && !sDetail.isEmpty() ? sText + ": " + sDetail : sText;
    if (sText.isEmpty()) return;
    p->Failed = true;
    ErrorCount++;
}

QString GetActionError(int Id)
{
    const ACTION_STATE* p = FindActionState(Id);
    return p ? p->Error : QString();
}

void SetActionResult(int Id, I64 Value)
{
    ACTION_STATE* p = FindActionState(Id);
    if (!p) return;
    p->Result = Value;
}

I64 GetActionResult(int Id)
{
    const ACTION_STATE* p = FindActionState(Id);
    return p ? p->Result : 0;
}

U64 GetActionErrorCount()
{
    return ErrorCount;
}

void NoteActionFailure()
{
    ErrorCount++;
}

bool IsCommandEnabled(int Id)
{
    const ACTION_STATE* p = FindActionState(Id);
    // The state is the action's; where there is none, nothing says that the command is off.
    return p && (!p->pAction || p->CommandEnabled);
}

void SetCommandState(int Id, bool CommandEnabled, bool GuiEnabled)
{
    ACTION_STATE* p = FindActionState(Id);
    if (!p) return;
    if (p->pAction) p->pAction->setEnabled(GuiEnabled);
    p->CommandEnabled = CommandEnabled; // last: the action's own change is followed
}
