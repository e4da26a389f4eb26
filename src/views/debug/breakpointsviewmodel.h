// The rows of the break and tracepoints window: one for each record, with the derived breakpoints of a source
// breakpoint below it. The rows are copies; a change goes out as a request and comes back as a new list.
#pragma once
#include "views/debug/debugviewhooks.h"
#include "views/framework/tablemodel.h"

enum BREAKPOINT_COLUMNS : int { BP_COLUMN_STATE, BP_COLUMN_TYPE, BP_COLUMN_LOCATION, BP_COLUMN_EXTRAS, NUM_BP_COLUMNS };

class CBreakpointsViewModel : public CTableModel {
    Q_OBJECT

public:
    explicit CBreakpointsViewModel(QObject* pParent = nullptr);

    QModelIndex index(int Row, int Column, const QModelIndex& Parent = {}) const override;
    QModelIndex parent(const QModelIndex& Index) const override;
    int rowCount(const QModelIndex& Parent = {}) const override;
    QVariant data(const QModelIndex& Index, int Role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& Index, const QVariant& Value, int Role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& Index) const override;
    QString GetItemText(const QModelIndex& Index) const override;
    QIcon GetIcon(const QModelIndex& Index) const override;
    U32 GetItemKey(const QModelIndex& Index) const override;

    /// Takes new rows. Rows that stayed in place only change their cells; false if the model was reset instead.
    bool SetRows(const QList<VIEW_BREAKPOINT>& Rows);
    /// True if SetRows() with these rows needs no reset.
    bool HasSamePlaces(const QList<VIEW_BREAKPOINT>& Rows) const;
    const VIEW_BREAKPOINT* GetRow(const QModelIndex& Index) const; ///< null for an invalid index
    /// First top-level row for which Matches() says so, else the first such child; invalid if there is none.
    QModelIndex Find(const std::function<bool(const VIEW_BREAKPOINT&)>& Matches) const;

signals:
    /// The check box of a row was clicked; the row changes when the list comes back changed.
    void StateRequested(const VIEW_BREAKPOINT& Row, bool Enabled);

private:
    void NotifyRow(int Row, const QModelIndex& Parent);

    QList<VIEW_BREAKPOINT> m_Rows;
};
