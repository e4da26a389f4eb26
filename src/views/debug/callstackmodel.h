// CCallStackDataModel, the rows of the call stack window: a row for each frame, innermost first, and a closing row
// that says why the unwinding stopped. It holds copies, so that a half-built stack never shows.
#pragma once
#include "views/debug/debugviewhooks.h"
#include "views/framework/tablemodel.h"

class CCallStackDataModel : public CTableModel {
    Q_OBJECT

public:
    explicit CCallStackDataModel(QObject* pParent);

    void Clear();
    void AppendFrame(const VIEW_FRAME& Frame);
    void SetStack(const QList<VIEW_FRAME>& Frames, const QString& sStopText); ///< the whole stack at once
    int GetNumFrames() const { return int(m_Frames.size()); }
    VIEW_FRAME GetFrame(int Row) const; ///< an empty frame outside
    bool IsClosingRow(const QModelIndex& Index) const;
    void SetSelectedFrame(int Index);
    int GetSelectedFrame() const { return m_SelectedFrame; }

    int rowCount(const QModelIndex& Parent = {}) const override;
    QVariant data(const QModelIndex& Index, int Role = Qt::DisplayRole) const override;
    QString GetItemText(const QModelIndex& Index) const override;
    QIcon GetIcon(const QModelIndex& Index) const override;
    U32 GetItemKey(const QModelIndex& Index) const override;

private:
    QString GetStackInfo(const VIEW_FRAME& Frame) const;

    QList<VIEW_FRAME> m_Frames;
    QString m_sStopText;
    int m_SelectedFrame = 0;
};
