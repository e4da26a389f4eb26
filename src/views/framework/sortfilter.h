// CSortFilter, the proxy between a window's model and its view: sorting by the rules of the columns, one
// filter a column, and the hook by which a row that is being painted asks for its value.
#pragma once
#include "views/framework/itemroles.h"

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
    /// Position at which a cell text matches a filter text, and the length of the match; -1 for no match.
    static int FindMatch(const QString& sCell, const QString& sFilter, int& Length);

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
    void ApplyFilters();

    CModelViewWindow* m_pWindow;
    CItemDelegate* m_pDelegate;
    QMap<int, COLUMN_FILTER> m_Filters;
    bool m_SortingEnabled = false;
};
