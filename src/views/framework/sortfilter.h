// CSortFilter, the proxy between a window's model and its view: sorting by the rules of the columns, one
// filter a column, and the hook by which a row that is being painted asks for its value.
//
// Trees go the way of the base class. A flat table may have a million rows, for which the base's tables take
// longer than everything else until the first rows are on the screen: there the order is kept in CFlatRows
// (sortfilterflat.cpp).
#pragma once
#include "views/framework/flatrows.h"
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
    void SetFlat(bool Flat); ///< the model has top-level rows only; views of this model start anew
    int GetSortColumn() const { return m_SortColumn; } ///< -1 = none
    Qt::SortOrder GetSortOrder() const { return m_SortOrder; }
    /// Where the filter of its column matches the text of a cell of this model; -1 if no filter tests the cell.
    int GetMatch(const QModelIndex& Index, int& Length) const;

    void setSourceModel(QAbstractItemModel* pModel) override;
    void sort(int Column, Qt::SortOrder Order = Qt::AscendingOrder) override;
    int rowCount(const QModelIndex& Parent = {}) const override;
    int columnCount(const QModelIndex& Parent = {}) const override;
    QModelIndex index(int Row, int Column, const QModelIndex& Parent = {}) const override;
    QModelIndex parent(const QModelIndex& Index) const override;
    QModelIndex sibling(int Row, int Column, const QModelIndex& Index) const override;
    QModelIndex mapToSource(const QModelIndex& Index) const override;
    QModelIndex mapFromSource(const QModelIndex& SourceIndex) const override;
    bool hasChildren(const QModelIndex& Parent = {}) const override;
    Qt::ItemFlags flags(const QModelIndex& Index) const override;
    QVariant data(const QModelIndex& Index, int Role = Qt::DisplayRole) const override;
    QVariant headerData(int Section, Qt::Orientation Orientation, int Role) const override;

protected:
    bool lessThan(const QModelIndex& Left, const QModelIndex& Right) const override;
    bool filterAcceptsRow(int Row, const QModelIndex& Parent) const override;
    /// False if filterAcceptsRow() is true for all rows; a subclass with a filter of its own has to say so.
    virtual bool IsFiltering() const { return HasFilters(); }

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
    bool BuildSortKeys(int Column) const;

    /// \name Flat tables
    ///@{
    struct LAYOUT { ///< the view's places, kept over a change of the order
        QModelIndexList Places;
        QList<QPersistentModelIndex> SourceCells;
    };
    void ConnectFlat(QAbstractItemModel* pModel);
    bool IsSorted() const;
    void BuildOrder();
    void SortRows(std::vector<int>& Rows) const;
    bool IsLess(int SourceRow,
                int OtherSourceRow) const; ///< in the present direction; neither of two equal rows is
    bool IsAhead(int SourceRow,
                 int OtherSourceRow) const;      ///< in the present order; of two rows always one is
    bool IsOrderKept(int First, int Last) const; ///< after a change of these rows of the model
    LAYOUT BeginLayout();
    void EndLayout(const LAYOUT& Layout);
    void ApplyOrder();
    void OnSourceDataChanged(const QModelIndex& First, const QModelIndex& Last, const QList<int>& Roles);
    void OnSourceRowsAboutToBeInserted(const QModelIndex& Parent, int First, int Last);
    void OnSourceRowsInserted(const QModelIndex& Parent, int First, int Last);
    void OnSourceRowsAboutToBeRemoved(const QModelIndex& Parent, int First, int Last);
    void OnSourceRowsRemoved(const QModelIndex& Parent, int First, int Last);
    ///@}

    CModelViewWindow* m_pWindow;
    QMap<int, COLUMN_FILTER> m_Filters;
    bool m_SortingEnabled = false;
    int m_SortColumn = -1;
    Qt::SortOrder m_SortOrder = Qt::AscendingOrder;
    bool m_IsFlat = false;
    CFlatRows m_Rows; ///< of a flat table
    LAYOUT m_Layout;  ///< while the model of a flat table changes its layout
    mutable CSortKeys m_SortKeys;
    /// Keys serve a sort of the whole table; after a change of single rows they would cost more than they save.
    mutable bool m_MayBuildSortKeys = false;
};
