// What the user does with an item window: keys, clicks, menus, scrolling, unfolding; and the content as text.
#include "project/settings/sysvars.h"
#include "views/framework/dockwindow.h"
#include "views/framework/filterheaderview.h"
#include "views/framework/modelviewwindow.h"
#include "views/framework/messagebox.h"
#include "views/framework/sortfilter.h"
#include "views/framework/tableexport.h"
#include "views/framework/tableheader.h"
#include "views/framework/treeview.h"

#include <QAction>
#include <QClipboard>
#include <QFileDialog>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>

namespace {
constexpr int MAX_ROWS_TO_EXPAND = 20; ///< from here on unfolding everything would bury the window in rows

/// The format that an entry of the item's menu stands for; -1 for the window's own.
int GetItemFormat(const QAction* pAction)
{
    static const QHash<QString, int> s_Formats{
        {QStringLiteral("actionDisplayAsBinary"), DISPLAY_FORMAT_BINARY},
        {QStringLiteral("actionDisplayAsDec"), DISPLAY_FORMAT_DEC},
        {QStringLiteral("actionDisplayAsHex"), DISPLAY_FORMAT_HEX},
        {QStringLiteral("actionDisplayAsChar"), DISPLAY_FORMAT_CHAR}};
    return s_Formats.value(pAction->objectName(), -1);
}
} // namespace

void CModelViewWindow::OnContentChanged()
{
    CWindow::OnContentChanged();
    OnFlagChanged(WF_FILTER_BAR, TestFlag(WF_FILTER_BAR));
}

void CModelViewWindow::OnFlagChanged(WINDOW_FLAGS Flag, bool Value)
{
    CWindow::OnFlagChanged(Flag, Value);
    if (Flag != WF_FILTER_BAR) return;
    const bool Shown = Value && m_pFilterView && !IsEmpty() && GetVarValue(PREF_FILTER_BARS_DISABLED) == 0;
    if (m_pFilterView && m_pFilterView->IsBarShown() != Shown) m_pFilterView->SetBarShown(Shown);
    m_pActionToggleFilterBar->setChecked(Value);
}

void CModelViewWindow::OnActivationChanged(bool)
{
    Repaint();
}

void CModelViewWindow::OnFocusChanged(bool HasFocus)
{
    CWindow::OnFocusChanged(HasFocus);
    Repaint();
}

void CModelViewWindow::UpdateActions()
{
    CWindow::UpdateActions();
    if (!m_pActionToggleFilterBar) return; // the base's constructor runs before this one's
    const bool Tree = m_pModel && IsTreeModel();
    m_pActionExpandAll->setEnabled(Tree && GetNumRows() < MAX_ROWS_TO_EXPAND);
    m_pActionCollapseAll->setEnabled(Tree);
    m_pActionRefreshItem->setEnabled(IsTargetConnected() && GetCurrentItem().isValid());
    m_pActionRefreshAll->setEnabled(IsTargetConnected() && !IsEmpty());
    m_pActionToggleFilterBar->setVisible(m_pFilterView != nullptr);
}

bool CModelViewWindow::IsTreeModel() const
{
    if (m_Indentation == 0) return false;
    for (int i = 0; i < m_pModel->rowCount(); i++)
        if (m_pModel->hasChildren(m_pModel->index(i, 0))) return true;
    return false;
}

// ---- Actions ---------------------------------------------------------------------------------------------

void CModelViewWindow::OnActionExpandAllTriggered()
{
    if (PerformWindowCommand(QStringLiteral("Window.ExpandAll"), {GetName()}) < 0) ExpandAll();
}

void CModelViewWindow::OnActionCollapseAllTriggered()
{
    if (PerformWindowCommand(QStringLiteral("Window.CollapseAll"), {GetName()}) < 0) CollapseAll();
}

void CModelViewWindow::ExpandAll()
{
    if (!m_pView) return;
    m_pView->setUpdatesEnabled(false);
    for (QModelIndex Index = m_pSortFilter->index(0, 0); Index.isValid();
         Index = Index.siblingAtRow(Index.row() + 1))
        m_pView->SetExpanded(Index, true);
    m_pView->setUpdatesEnabled(true);
}

void CModelViewWindow::CollapseAll()
{
    if (!m_pView) return;
    m_pView->collapseAll();
    if (m_pModel) m_pModel->ClearRole(ROLE_EXPANDED);
}

void CModelViewWindow::OnActionRefreshItemTriggered()
{
    const QModelIndex Index = GetCurrentItem();
    if (!Index.isValid()) return;
    m_pModel->ForgetItem(Index);
    if (m_pModel->UpdateItem(Index))
        m_pModel->NotifyItemChanged(Index.siblingAtColumn(0), Index.siblingAtColumn(GetNumColumns() - 1));
}

void CModelViewWindow::OnActionRefreshAllTriggered()
{
    m_pModel->ClearRole(ROLE_READ_STATE);
    Update(GetTargetPC());
}

void CModelViewWindow::OnActionToggleFilterBarTriggered()
{
    SetFlag(WF_FILTER_BAR, !TestFlag(WF_FILTER_BAR));
}

void CModelViewWindow::OnItemDisplayFormatActionTriggered()
{
    const QModelIndex Index = GetCurrentItem();
    auto* pAction = qobject_cast<QAction*>(sender());
    if (!Index.isValid() || !pAction) return;
    if (const int Format = GetItemFormat(pAction); Format < 0)
        m_pModel->RemoveRoleEntry(Index, ROLE_DISPLAY_FORMAT);
    else
        m_pModel->SetRole(Index, ROLE_DISPLAY_FORMAT, U32(Format), false, true);
    Repaint();
}

// ---- Keys and mouse --------------------------------------------------------------------------------------

void CModelViewWindow::OnKeyPressed(QKeyEvent* pEvent)
{
    if (pEvent->modifiers() & ~(Qt::KeypadModifier | Qt::ShiftModifier)) return;
    switch (pEvent->key()) {
    case Qt::Key_Plus:
        OnKeyPlusPressed();
        break;
    case Qt::Key_Minus:
        OnKeyMinusPressed();
        break;
    case Qt::Key_PageUp:
        ScrollBy(0, -GetNumVisibleRows());
        break;
    case Qt::Key_PageDown:
        ScrollBy(0, GetNumVisibleRows());
        break;
    case Qt::Key_Space: {
        const QModelIndex Index = GetCurrentItem().siblingAtColumn(0);
        const QVariant Check = Index.data(Qt::CheckStateRole);
        if (!Check.isValid()) return;
        m_pModel->setData(Index, Check.toInt() == Qt::Checked ? Qt::Unchecked : Qt::Checked,
                          Qt::CheckStateRole);
        break;
    }
    case Qt::Key_Up:
    case Qt::Key_Down:
        m_LastArrowKey = pEvent->key();
        return;
    default:
        return;
    }
    pEvent->accept();
}

void CModelViewWindow::OnKeyPlusPressed()
{
    m_pView->SetExpanded(m_pView->currentIndex().siblingAtColumn(0), true);
}
void CModelViewWindow::OnKeyMinusPressed()
{
    m_pView->SetExpanded(m_pView->currentIndex().siblingAtColumn(0), false);
}
void CModelViewWindow::OnMouseMoved(QMouseEvent*) {}
void CModelViewWindow::OnContentAreaClicked(QMouseEvent*) {}
void CModelViewWindow::OnTableAreaDoubleClicked(QMouseEvent*) {}
void CModelViewWindow::OnItemClicked(QModelIndex) {}
void CModelViewWindow::OnItemDoubleClicked(QModelIndex) {}
void CModelViewWindow::OnItemAboutToExpand(QModelIndex ViewIndex)
{
    m_pModel->SetRole(MapToSource(ViewIndex), ROLE_EXPANDED, 1, true, true);
}
void CModelViewWindow::OnItemAboutToCollapse(QModelIndex) {}

void CModelViewWindow::OnItemExpanded(QModelIndex ViewIndex)
{
    m_pModel->SetRole(MapToSource(ViewIndex), ROLE_EXPANDED, 1, false, true);
    if (GetVarValue(PREF_RESIZE_COL_ON_EXPAND)) m_pView->resizeColumnToContents(0);
    Update(GetTargetPC());
}

void CModelViewWindow::OnItemCollapsed(QModelIndex ViewIndex)
{
    m_pModel->SetRole(MapToSource(ViewIndex), ROLE_EXPANDED, 0, false, true);
    if (GetVarValue(PREF_RESIZE_COL_ON_COLLAPSE)) m_pView->resizeColumnToContents(0);
}

void CModelViewWindow::OnSelectionChanged(QModelIndex, QModelIndex)
{
    UpdateActions();
    emit StatusTextChanged();
}

void CModelViewWindow::OnHeaderContextMenuRequested(QPoint Pos)
{
    QMenu Menu(this);
    m_pHeader->AddColumnMenu(&Menu);
    connect(&Menu, &QMenu::triggered, this, &CModelViewWindow::OnHeaderContextMenuActionTriggered);
    if (!Menu.isEmpty()) Menu.exec(m_pHeader->mapToGlobal(Pos));
}

void CModelViewWindow::OnHeaderContextMenuActionTriggered()
{
    if (m_pFilterView) m_pFilterView->UpdateEditors();
}

bool CModelViewWindow::IsEscKeyOpActive() const
{
    return (m_pView && m_pView->IsEditing()) || (m_pFilterView && m_pFilterView->HasEditFocus());
}

void CModelViewWindow::OnDragEnter(QDragEnterEvent* pEvent)
{
    if (m_pView && m_pView->dragDropMode() != QAbstractItemView::NoDragDrop) CWindow::OnDragEnter(pEvent);
}

void CModelViewWindow::OnColumnResized(int)
{
    if (m_pFilterView) m_pFilterView->UpdateEditors();
}

void CModelViewWindow::OnSortIndicatorChanged(int, Qt::SortOrder) {}
void CModelViewWindow::OnTableHeaderColDividerDoubleClicked(int Column)
{
    m_pView->resizeColumnToContents(Column);
}

// ---- Menus -----------------------------------------------------------------------------------------------

QPoint CModelViewWindow::GetContextMenuPos(int Reason) const
{
    if (!m_pView || !m_pView->currentIndex().isValid()) return CWindow::GetContextMenuPos(Reason);
    const QRect Rect = m_pView->visualRect(m_pView->currentIndex());
    return m_pView->viewport()->mapTo(this, QPoint(Rect.x() + 10, Rect.center().y()));
}

void CModelViewWindow::ShowContextMenu(QPoint Pos)
{
    if (!m_pView || m_pView->IsEditing()) return;
    if (m_pHeader->isVisible() && m_pHeader->rect().contains(m_pHeader->mapFrom(this, Pos)))
        return OnHeaderContextMenuRequested(m_pHeader->mapFrom(this, Pos));
    const QModelIndex ViewIndex = m_pView->indexAt(m_pView->viewport()->mapFrom(this, Pos));
    if (ViewIndex.isValid()) m_pView->setCurrentIndex(ViewIndex);
    QMenu Menu(this);
    FillContextMenu(&Menu, MapToSource(ViewIndex));
    if (!Menu.isEmpty()) Menu.exec(mapToGlobal(Pos));
}

void CModelViewWindow::FillContextMenu(QMenu* pMenu, const QModelIndex& SourceIndex)
{
    AddCommonMenuEntries(pMenu, SourceIndex);
}

void CModelViewWindow::AddCommonMenuEntries(QMenu* pMenu, const QModelIndex& SourceIndex)
{
    if (!pMenu->isEmpty()) pMenu->addSeparator();
    if (SourceIndex.isValid() &&
        (GetColumnFlags(SourceIndex.column()) & COLUMN_NUMERIC || IsChangeHighlighted(1))) {
        QMenu* pSubMenu = pMenu->addMenu(QStringLiteral("Displa&y As"));
        const QVariant Own = m_pModel->GetStoredRole(SourceIndex, ROLE_DISPLAY_FORMAT);
        for (QAction* pAction : std::as_const(m_ItemFormatActions)) {
            pAction->setChecked(GetItemFormat(pAction) == (Own.isValid() ? Own.toInt() : -1));
            pSubMenu->addAction(pAction);
        }
        AddDisplayFormatMenu(pMenu);
        pMenu->addSeparator();
    }
    if (IsTreeModel()) {
        if (GetNumRows() < MAX_ROWS_TO_EXPAND) pMenu->addAction(m_pActionExpandAll);
        pMenu->addAction(m_pActionCollapseAll);
    }
    if (m_pFilterView) pMenu->addAction(m_pActionToggleFilterBar);
    // The header's own menu is reached by the mouse alone.
    if (!m_pHeader->isHidden()) m_pHeader->AddColumnMenu(pMenu->addMenu(QStringLiteral("Col&umns")));
    if (SourceIndex.isValid()) pMenu->addAction(m_pActionCopyRow);
    pMenu->addAction(m_pActionCopyTable);
    pMenu->addAction(m_pActionExport);
    if (IsContentsModifiable() && m_pActionClear->isVisible()) pMenu->addAction(m_pActionClear);
}

// ---- Scrolling and state ---------------------------------------------------------------------------------

void CModelViewWindow::ScrollToTop()
{
    m_pView->verticalScrollBar()->setValue(m_pView->verticalScrollBar()->minimum());
}
void CModelViewWindow::ScrollToBottom()
{
    m_pView->verticalScrollBar()->setValue(m_pView->verticalScrollBar()->maximum());
}
void CModelViewWindow::ScrollToLeft()
{
    m_pView->horizontalScrollBar()->setValue(m_pView->horizontalScrollBar()->minimum());
}
void CModelViewWindow::ScrollToRight()
{
    m_pView->horizontalScrollBar()->setValue(m_pView->horizontalScrollBar()->maximum());
}

void CModelViewWindow::ScrollBy(int dx, int dy)
{
    m_pView->horizontalScrollBar()->setValue(m_pView->horizontalScrollBar()->value() + dx);
    m_pView->verticalScrollBar()->setValue(m_pView->verticalScrollBar()->value() + dy);
}

void CModelViewWindow::ClearStateBackup()
{
    m_StateBackups.clear();
}

void CModelViewWindow::CollectExpanded(const QModelIndex& Parent, QList<U32>& Keys) const
{
    const int NumRows = m_pSortFilter->rowCount(Parent);
    for (int i = 0; i < NumRows; i++) {
        const QModelIndex Index = m_pSortFilter->index(i, 0, Parent);
        if (!m_pView->isExpanded(Index)) continue;
        Keys.append(Index.data(ROLE_ITEM_KEY).toUInt());
        CollectExpanded(Index, Keys);
    }
}

void CModelViewWindow::RestoreExpansion(const QModelIndex& Parent, const QList<U32>& Keys)
{
    for (int i = 0; i < m_pSortFilter->rowCount(Parent); i++) {
        const QModelIndex Index = m_pSortFilter->index(i, 0, Parent);
        if (!Keys.contains(Index.data(ROLE_ITEM_KEY).toUInt())) continue;
        m_pView->SetExpanded(Index, true);
        RestoreExpansion(Index, Keys);
    }
}

void CModelViewWindow::BackupState(int StateID)
{
    if (!m_pModel || !IsOpen()) return;
    STATE_BACKUP Backup;
    CollectExpanded(QModelIndex(), Backup.Expanded);
    Backup.CurrentColumn = m_pView->currentIndex().column();
    for (QModelIndex Index = m_pView->currentIndex().siblingAtColumn(0); Index.isValid();
         Index = Index.parent())
        Backup.CurrentPath.prepend(Index.data(ROLE_ITEM_KEY).toUInt());
    if (!IsEmpty())
        for (int i = 0; i < m_pHeader->count(); i++) Backup.Widths.append(m_pHeader->sectionSize(i));
    Backup.ScrollX = m_pView->horizontalScrollBar()->value();
    Backup.ScrollY = m_pView->verticalScrollBar()->value();
    Backup.SortColumn = m_pSortFilter->GetSortColumn();
    Backup.SortOrder = m_pSortFilter->GetSortOrder();
    m_StateBackups.insert(StateID, Backup);
    m_pModel->BackupAttributes();
}

void CModelViewWindow::RestoreState(int StateID, U32 DoNotRestoreFlags)
{
    if (!m_pModel || !m_StateBackups.contains(StateID)) return;
    const STATE_BACKUP Backup = m_StateBackups.value(StateID);
    m_pModel->RestoreAttributes();
    if (!(DoNotRestoreFlags & DNR_SORT) && Backup.SortColumn >= 0)
        SetSortColumn(Backup.SortColumn, Backup.SortOrder);
    if (!(DoNotRestoreFlags & DNR_EXPANSION)) {
        m_pView->setUpdatesEnabled(false);
        RestoreExpansion(QModelIndex(), Backup.Expanded);
        m_pView->setUpdatesEnabled(true);
    }
    if (!(DoNotRestoreFlags & DNR_COLUMN_WIDTHS))
        for (int i = 0; i < qMin(int(Backup.Widths.size()), m_pHeader->count()); i++)
            if (Backup.Widths[i] > 0 && !m_pHeader->isSectionHidden(i))
                m_pHeader->resizeSection(i, Backup.Widths[i]);
    if (!(DoNotRestoreFlags & DNR_CURRENT_ITEM)) {
        QModelIndex Current;
        for (U32 Key : Backup.CurrentPath) {
            QModelIndex Next;
            for (int i = 0; i < m_pSortFilter->rowCount(Current) && !Next.isValid(); i++)
                if (m_pSortFilter->index(i, 0, Current).data(ROLE_ITEM_KEY).toUInt() == Key)
                    Next = m_pSortFilter->index(i, 0, Current);
            if (!Next.isValid()) break;
            Current = Next;
        }
        if (Current.isValid())
            m_pView->setCurrentIndex(Current.siblingAtColumn(qMax(0, Backup.CurrentColumn)));
    }
    if (!(DoNotRestoreFlags & DNR_SCROLL_BARS)) {
        m_pView->horizontalScrollBar()->setValue(Backup.ScrollX);
        m_pView->verticalScrollBar()->setValue(Backup.ScrollY);
    }
}

// ---- Text ------------------------------------------------------------------------------------------------

QStringList CModelViewWindow::GetShownTitles() const
{
    QStringList Titles;
    for (int i = 0; i < m_pHeader->count(); i++)
        if (const int Column = m_pHeader->logicalIndex(i); !m_pHeader->isSectionHidden(Column))
            Titles.append(GetColumnName(Column));
    return Titles;
}

QStringList CModelViewWindow::GetShownCells(const QModelIndex& ViewIndex) const
{
    QStringList Cells;
    for (int i = 0; i < m_pHeader->count(); i++) {
        const int Column = m_pHeader->logicalIndex(i);
        if (m_pHeader->isSectionHidden(Column)) continue;
        const QModelIndex Cell = ViewIndex.siblingAtColumn(Column);
        const QVariant Check = Cell.data(Qt::CheckStateRole);
        QString sText = Cell.data().toString();
        if (Check.isValid())
            sText.prepend(Check.toInt() == Qt::Checked ? QStringLiteral("[x]") : QStringLiteral("[ ]"));
        Cells.append(sText.replace(u'\t', u' ').replace(u'\n', u' '));
    }
    return Cells;
}

void CModelViewWindow::CopyRow()
{
    const QModelIndex Current = m_pView ? m_pView->currentIndex() : QModelIndex();
    if (Current.isValid()) QGuiApplication::clipboard()->setText(GetShownCells(Current).join(u'\t'));
}

void CModelViewWindow::CopyTable()
{
    if (!m_pView) return;
    QStringList Lines{GetShownTitles().join(u'\t')};
    AddTextLines(QModelIndex(), 0, -1, Lines);
    QGuiApplication::clipboard()->setText(Lines.join(u'\n'));
}

void CModelViewWindow::OnActionExportTriggered()
{
    QString sName = GetName();
    const QString sPath = QFileDialog::getSaveFileName(this, QStringLiteral("Export Table"), sName.remove(u'/') + QStringLiteral(".csv"),
                                                       QStringLiteral("Comma-separated Values (*.csv);;All Files (*)"));
    QString sError;
    if (!sPath.isEmpty() && !ExportCsv(*this, sPath, &sError))
        CMessageBox::ShowInfo(QStringLiteral("Export Table"), QStringLiteral("%1 could not be written: %2").arg(sPath, sError));
}

void CModelViewWindow::AddTextLines(const QModelIndex& Parent, int Level, int Depth, QStringList& Lines) const
{
    for (int Row = 0; Row < m_pSortFilter->rowCount(Parent); Row++) {
        const QModelIndex First = m_pSortFilter->index(Row, 0, Parent);
        Lines.append(QString(2 * Level, u' ') + GetShownCells(First).join(u'\t'));
        const bool GoesOn = Depth < 0 ? m_pView->isExpanded(First) : Level < Depth;
        if (GoesOn && m_pSortFilter->hasChildren(First)) AddTextLines(First, Level + 1, Depth, Lines);
    }
}

QStringList CModelViewWindow::GetText(int Depth)
{
    if (IsEmpty() || !m_pView) return CWindow::GetText(Depth);
    QStringList Lines;
    AddTextLines(QModelIndex(), 0, Depth, Lines);
    return Lines;
}

bool CModelViewWindow::PrepareRows(const QModelIndex& Parent, int Level, int Depth)
{
    bool Started = false;
    for (int Row = 0; Row < m_pSortFilter->rowCount(Parent); Row++) {
        const QModelIndex ViewIndex = m_pSortFilter->index(Row, 0, Parent);
        const QModelIndex Index = MapToSource(ViewIndex);
        if (m_pModel->data(Index, ROLE_READ_STATE).toInt() == READ_STATE_NONE) {
            if (m_pModel->UpdateItem(Index))
                m_pModel->NotifyItemChanged(Index, Index.siblingAtColumn(GetNumColumns() - 1));
        }
        if (m_pModel->data(Index, ROLE_READ_STATE).toInt() == READ_STATE_PENDING) Started = true;
        const bool GoesOn = Depth < 0 ? m_pView->isExpanded(ViewIndex) : Level < Depth;
        if (!GoesOn || !m_pSortFilter->hasChildren(ViewIndex)) continue;
        if (Depth >= 0)
            m_pModel->SetRole(Index, ROLE_EXPANDED, 1, false,
                              true); // models build children of unfolded rows only
        Started = PrepareRows(ViewIndex, Level + 1, Depth) || Started;
    }
    return Started;
}

bool CModelViewWindow::PrepareText(int Depth)
{
    return m_pModel && m_pView && PrepareRows(QModelIndex(), 0, Depth);
}
