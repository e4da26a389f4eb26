// The commands on documents: opening recent ones, closing, searching in them; the clipboard and the user
// guide.
#include "app/actions/actions.h"
#include "app/services/appdirs.h"
#include "app/shell/askpath.h"
#include "app/shell/commandtable.h"
#include "app/shell/documentsearch.h"
#include "app/shell/mainwindow.h"
#include "project/finder/filefinder.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/messagebox.h"
#include "views/framework/statusbar.h"

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QFileInfo>
#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QTreeView>
#include <QUrl>

namespace {

constexpr char ERR_NO_DOCUMENT[] = "no document is open";

CSourceWindow& Source()
{
    return *CMainWindow::Get().GetSessionWindows().pSource;
}

CDocumentSearch& Search()
{
    static CDocumentSearch Instance;
    return Instance;
}

// ---- Documents -----------------------------------------------------------------------------------------

void OnOpenRecent(int Id)
{
    I64 Index = 0;
    if (!CheckParamCount(Id) || !ParseNumberParam(Id, GetActionParam(Id), &Index, ERR_NOT_A_NUMBER)) return;
    const QStringList& Recent = CMainWindow::Get().GetRecentPrograms();
    if (Index < 0 || Index >= Recent.size()) return SetActionError(Id, ERR_INVALID_PARAM);
    // Opening moves the entry to the head of the list.
    const QString sPath = Recent[qsizetype(Index)];
    const QString sError = CMainWindow::Get().OpenFile(sPath, OPEN_FLAG_INTERACTIVE);
    if (!sError.isEmpty()) SetActionError(Id, sError);
}

void OnCloseAllButThis(int Id)
{
    if (CheckParamCount(Id)) Source().CloseAllButThis();
}

/// An include file is looked for beside the document that names it, and then wherever files of the program
/// are.
void OnOpenIncludeFile(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QString sName = GetActionParam(Id);
    const QFileInfo Beside(QFileInfo(Source().GetActiveFile()).absolutePath() + '/' + sName);
    const QString sPath = Beside.isFile() ? Beside.absoluteFilePath() : CFileFinder::Get().Resolve(sName);
    if (sName.isEmpty() || !QFileInfo(sPath).isFile()) return SetActionError(Id, ERR_FILE_NOT_FOUND);
    ::PerformAction(ACT_FILE_OPEN, sPath);
}

// ---- Search --------------------------------------------------------------------------------------------

void ShowMatch(bool Forward)
{
    const SEARCH_MATCH Match =
        Search().Step(Forward, [](const QString& sPath) { return Source().GetDocText(sPath); });
    if (Match.sPath.isEmpty())
        CStatusBar::Get().SetStatusMessage(
            QStringLiteral("no occurence of \"%1\" found.").arg(Search().GetText()));
    else
        Source().SelectText(Match.sPath, Match.Pos, Match.Length);
}

void StartSearch(const QString& sText, const QStringList& Documents)
{
    Search().Start(sText, Documents, Source().GetActiveFile(), Source().GetEditor()->GetCursor());
    ShowMatch(true);
}

/// Without a text the bar below the source text asks for it.
void OnFindText(int Id)
{
    if (!CheckParamCount(Id, 0)) return;
    if (Source().IsEmpty()) return SetActionError(Id, QLatin1String(ERR_NO_DOCUMENT));
    const QString sText = GetActionParam(Id);
    Source().OpenFindBar(sText);
    if (!sText.isEmpty()) StartSearch(sText, {Source().GetActiveFile()});
}

void OnFileFind(int Id)
{
    if (!CheckParamCount(Id, 0)) return;
    if (Source().IsEmpty()) return SetActionError(Id, QLatin1String(ERR_NO_DOCUMENT));
    QString sText = GetActionParam(Id);
    if (sText.isEmpty())
        sText = AskName(QStringLiteral("Find Text"), QStringLiteral("Find what:"), {Search().GetText()});
    if (sText.isEmpty()) return SetActionSilent(Id);
    SetActionParams(Id, sText);
    StartSearch(sText, Source().GetFilePaths());
}

template <bool FORWARD> void OnViewResult(int Id)
{
    if (!CheckParamCount(Id)) return;
    if (Source().IsEmpty()) return SetActionError(Id, QLatin1String(ERR_NO_DOCUMENT));
    if (!Search().GetText().isEmpty())
        ShowMatch(FORWARD);
    else
        Source().FindNext(FORWARD); // what the bar below the text looks for
}

// ---- Clipboard -----------------------------------------------------------------------------------------

/// The selected rows of a table as lines, columns separated by tabs; the current row if none is selected.
QString GetRowsText(const QTreeView* pView)
{
    const QAbstractItemModel* pModel = pView->model();
    if (!pModel || !pView->selectionModel()) return {};
    QModelIndexList Rows = pView->selectionModel()->selectedRows();
    if (Rows.isEmpty() && pView->currentIndex().isValid()) Rows = {pView->currentIndex().siblingAtColumn(0)};
    QStringList Lines;
    for (const QModelIndex& Row : Rows) {
        QStringList Cells;
        for (int Column = 0; Column < pModel->columnCount(Row.parent()); Column++)
            if (!pView->isColumnHidden(Column)) Cells << Row.siblingAtColumn(Column).data().toString();
        Lines << Cells.join('\t');
    }
    return Lines.join('\n');
}

/// Lets the widget with the focus copy what is selected in it: each knows its own key for that.
void CopySelection()
{
    QWidget* pFocus = QApplication::focusWidget();
    if (!pFocus) return;
    if (const auto* pView = qobject_cast<const QTreeView*>(pFocus)) {
        if (const QString sText = GetRowsText(pView); !sText.isEmpty())
            QApplication::clipboard()->setText(sText);
        return;
    }
    QKeyEvent Key(QEvent::KeyPress, Qt::Key_C, Qt::ControlModifier);
    QCoreApplication::sendEvent(pFocus, &Key);
}

void OnCopy(int Id)
{
    if (!CheckParamCount(Id, 0)) return;
    if (HasActionParams(Id))
        QApplication::clipboard()->setText(GetRawActionParams(Id).first());
    else
        CopySelection();
}

// ---- Help ----------------------------------------------------------------------------------------------

void OnUserGuide(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QString sPath = GetDocDir() + QStringLiteral("/UserGuide.html");
    if (!QFileInfo(sPath).isFile()) return SetActionError(Id, ERR_FILE_NOT_FOUND);
    if (CMessageBox::GetInterceptor()) return; // nobody is there to read it
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(sPath)))
        SetActionError(Id, QStringLiteral("no program can show ") + sPath);
}

} // namespace

void RegisterDocumentCommands()
{
    SetCommandHandler(ACT_FILE_OPEN_RECENT, OnOpenRecent);
    SetCommandHandler(ACT_FILE_CLOSE_ALL_BUT_THIS, OnCloseAllButThis);
    SetCommandHandler(ACT_FILE_CLOSE_ALL_UNEDITED, [](int) { Source().CloseAllUneditedDocuments(); });
    SetCommandHandler(ACT_SOURCE_OPEN_INCLUDE_FILE, OnOpenIncludeFile);
    SetCommandHandler(ACT_FIND_TEXT, OnFindText);
    SetCommandHandler(ACT_FILE_FIND, OnFileFind);
    SetCommandHandler(ACT_VIEW_NEXT_RESULT, OnViewResult<true>);
    SetCommandHandler(ACT_VIEW_PREV_RESULT, OnViewResult<false>);
    SetCommandHandler(ACT_EDIT_COPY, OnCopy);
    SetCommandHandler(ACT_HELP_USER_GUIDE, OnUserGuide);
}
