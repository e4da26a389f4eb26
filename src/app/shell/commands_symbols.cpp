// The commands on symbols in windows: adding and removing them, and how single ones are shown and read.
#include "app/actions/actions.h"
#include "app/shell/commandtable.h"
#include "app/shell/mainwindow.h"
#include "program/eval/expression.h"
#include "views/debug/localswindow.h"
#include "views/framework/itemroles.h"

namespace {

/// Window.Add, Window.Insert and Window.Remove: no window of this program takes symbols from the user.
void OnWindowSymbol(int Id)
{
    if (!CheckParamCount(Id)) return;
    const bool Known = CMainWindow::Get().FindWindow(GetActionParams(Id).value(0), false) != nullptr;
    SetActionError(Id, Known ? ERR_INVALID_PARAM : ERR_UNKNOWN_WINDOW);
}

/// "p->next[2]" and "p.next[2]" name the same row.
QString MakePlainName(QString sName)
{
    return sName.replace(QLatin1String("->"), QLatin1String(".")).remove(u' ');
}

/// The row of a symbol by its full name; an invalid index if it isn't shown. Unfolds nothing: what stands
/// under a folded row has no row yet.
QModelIndex FindSymbolRow(const CTableModel& Model, const QString& sName, const QModelIndex& Parent,
                          const QString& sParent)
{
    for (int Row = 0; Row < Model.rowCount(Parent); Row++) {
        const QModelIndex Index = Model.index(Row, 0, Parent);
        const QString sOwn = MakePlainName(Model.GetItemText(Index));
        const bool IsWhole = sParent.isEmpty() || sOwn.startsWith(sParent);
        const QString sFull = IsWhole ? sOwn : sOwn.startsWith(u'[') ? sParent + sOwn : sParent + u'.' + sOwn;
        if (sFull == sName) return Index;
        if (!sName.startsWith(sFull)) continue;
        if (const QModelIndex Found = FindSymbolRow(Model, sName, Index, sFull); Found.isValid())
            return Found;
    }
    return {};
}

bool IsDisplayFormat(I64 Format)
{
    return Format == DISPLAY_FORMAT_AUTO || Format == DISPLAY_FORMAT_BINARY ||
           Format == DISPLAY_FORMAT_CHAR || Format == DISPLAY_FORMAT_DEC || Format == DISPLAY_FORMAT_HEX;
}

void OnEditDisplayFormat(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QStringList Params = GetActionParams(Id);
    I64 Format = 0;
    if (!ParseNumberParam(Id, Params[1], &Format)) return;
    if (!IsDisplayFormat(Format)) return SetActionError(Id, ERR_INVALID_PARAM);
    CModelViewWindow* pWindow = CMainWindow::Get().GetSessionWindows().pLocals;
    CTableModel& Model = *pWindow->GetModel();
    const QModelIndex Index = FindSymbolRow(Model, MakePlainName(Params[0]), {}, {});
    if (!Index.isValid()) return SetActionError(Id, ERR_UNKNOWN_SYMBOL);
    if (Format == DISPLAY_FORMAT_AUTO)
        Model.RemoveRoleEntry(Index, ROLE_DISPLAY_FORMAT);
    else
        Model.SetRole(Index, ROLE_DISPLAY_FORMAT, U32(Format), false, true);
    pWindow->Repaint();
}

bool RequireSymbol(int Id, const QString& sExpr)
{
    if (CExpression(sExpr).Evaluate() >= 0) return true;
    SetActionError(Id, ERR_INVALID_PARAM);
    return false;
}

/// Only watched symbols are read while the program runs, and their window isn't part of this program.
void OnEditRefreshRate(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QStringList Params = GetActionParams(Id);
    I64 Rate = 0;
    if (!ParseNumberParam(Id, Params[1], &Rate)) return;
    if (Rate != 0 && Rate != 1 && Rate != 2 && Rate != 5) return SetActionError(Id, ERR_INVALID_PARAM);
    if (RequireSymbol(Id, Params[0])) SetActionError(Id, ERR_UNKNOWN_WINDOW);
}

void OnEditMemZone(int Id)
{
    if (CheckParamCount(Id) && RequireSymbol(Id, GetActionParams(Id).value(0)))
        SetActionError(Id, ERR_UNKNOWN_WINDOW);
}

} // namespace

void RegisterSymbolCommands()
{
    for (const int Id : {ACT_WINDOW_ADD, ACT_WINDOW_INSERT, ACT_WINDOW_REMOVE})
        SetCommandHandler(Id, OnWindowSymbol);
    SetCommandHandler(ACT_EDIT_DISPLAY_FORMAT, OnEditDisplayFormat);
    SetCommandHandler(ACT_EDIT_REFRESH_RATE, OnEditRefreshRate);
    SetCommandHandler(ACT_EDIT_MEM_ZONE, OnEditMemZone);
}
