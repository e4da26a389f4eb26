// CSortFilter, the proxy between a window's model and its view: sorting by the rules of the columns, one
// filter a column, and the hook by which a row that is being painted asks for its value.
#pragma once
#include "views/framework/itemroles.h"
#include "views/framework/sortkeys.h"
#include "views/framework/textmatch.h"

#include <QMap>
#include <QSortFilterProxyModel>

class CItemDelegate;
class CModelViewWindow;
class CTableModel;

/// Filter of one column. Text "*" means no filter.
struct COLUMN_FILTER {
    QString sText = QStringLiteral("*"); ///< of a text column; "*" at an end is a wildcard
    bool HasRange = false;               ///< of a numeric column
    double Min = 0;
    double Max = 0;
    CTextMatch Match;                    ///< of sText
    bool IsActive() const { return HasRange || sText != QLatin1String("*"); }
};

class CSortFilter : public QSortFilterProxyModel {
    Q_OBJECT

public:
    CSortFilter(CModelViewWindow* pWindow, CItemDelegate* pDelegate);

    void SetFilterText(int Column, const QString& sText); ///< empty or "*" removes the filter
    void SetFilterRange(int Column, double Min, double Max);
    void ClearFilter(int Column);
    void ClearAllFilters();
    COLUMN_FILTER GetFilter(int Column) const { return m_Filters.value(Column); }
    bool HasFilters() const;
    void SetSortingEnabled(bool Enabled) { m_SortingEnabled = Enabled; }
    /// Where the filter of its column matches the text of a cell of this model; -1 if no filter tests the cell.
    int GetMatch(const QModelIndex& Index, int& Length) const;

    void setSourceModel(QAbstractItemModel* pModel) override;
    void sort(int Column, Qt::SortOrder Order = Qt::AscendingOrder) override;
    QModelIndex index(int Row, int Column, const QModelIndex& Parent = {}) const override;
    bool hasChildren(const QModelIndex& Parent = {}) const override;
    Qt::ItemFlags flags(const QModelIndex& Index) const override;
    QVariant data(const QModelIndex& Index, int Role = Qt::DisplayRole) const override;
    QVariant headerData(int Section, Qt::Orientation Orientation, int Role) const override;

protected:
    bool lessThan(const QModelIndex& Left, const QModelIndex& Right) const override;
    bool filterAcceptsRow(int Row, const QModelIndex& Parent) const override;

    CTableModel* GetTableModel() const;
    CModelViewWindow* GetWindow() const { return m_pWindow; }
    /// Text order of two cells, "greater" deciding as the plain order does.
    bool IsTextLess(const QModelIndex& Left, const QModelIndex& Right) const;
    bool IsNumberLess(const QModelIndex& Left, const QModelIndex& Right) const;

private:
    bool AcceptsCell(const QModelIndex& Cell, const COLUMN_FILTER& Filter) const;
    bool IsTested(const QModelIndex& SourceCell, const COLUMN_FILTER& Filter) const;
    QString GetFilterText(const QModelIndex& SourceCell) const;
    void SetFilter(int Column, const COLUMN_FILTER& Filter);
    void ApplyFilters();
    void DropSortKeys(bool MayBuild);
    bool HasSortKeys(int Column) const; ///< builds them for a large table if that pays

    CModelViewWindow* m_pWindow;
    QMap<int, COLUMN_FILTER> m_Filters;
    bool m_SortingEnabled = false;
    /// What all top-level indexes share, and their number; the view of a flat table asks for a million of them when it
    /// lays itself out. Forgotten at every signal around which the base makes its tables anew.
    mutable void* m_pTopLevel = nullptr;
    mutable int m_NumTopLevel = 0;
    mutable CSortKeys m_SortKeys;
    /// Keys serve a sort of the whole table; after a change of single rows they would cost more than they save.
    mutable bool m_MayBuildSortKeys = false;
};
