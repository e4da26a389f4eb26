// CRegistersDataModel, the tree of the register window: groups of registers with their last read values.
#pragma once
#include "views/debug/debugviewhooks.h"
#include "views/framework/tablemodel.h"

#include <QHash>

class CRegistersDataModel : public CTableModel {
    Q_OBJECT

public:
    explicit CRegistersDataModel(QObject* pParent);

    void SetGroups(const QList<VIEW_REG_GROUP>& Groups); ///< values of registers that stay are kept
    bool HasGroups() const { return !m_Groups.isEmpty(); }
    bool ShowsCPUMode() const; ///< a group holds the registers of the CPU's present mode
    void Invalidate(); ///< drops all values
    /// Stores a batch of values; a register that couldn't be read loses its value.
    void SetRegValues(const QList<U32>& RegIdxs, const QList<U64>& Values, const QList<bool>& Valid);
    bool GetValue(const QModelIndex& Index, U64& Value) const; ///< false if it isn't known
    const VIEW_REG* GetReg(const QModelIndex& Index) const;    ///< null for a group
    QModelIndex FindReg(U32 RegIdx) const;

    int rowCount(const QModelIndex& Parent = {}) const override;
    QModelIndex index(int Row, int Column, const QModelIndex& Parent = {}) const override;
    QModelIndex parent(const QModelIndex& Index) const override;
    QVariant data(const QModelIndex& Index, int Role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& Index, const QVariant& Value, int Role = Qt::EditRole) override;
    QString GetItemText(const QModelIndex& Index) const override;
    QIcon GetIcon(const QModelIndex& Index) const override;
    bool UpdateItem(const QModelIndex& Index) override; ///< reads the whole group of the register at once

private:
    QString GetValueText(const QModelIndex& Index) const;

    QList<VIEW_REG_GROUP> m_Groups;
    QHash<U32, U64> m_Values;
};
