// CTableModel, the base of all item models. Attributes of items (change marks, formats, expansion, read
// state) live here in hash tables by item key, so that they survive a reset of the model and a rebuild of its
// tree.
//
// A model implements rowCount(), columnCount() and GetItemText(); a tree also index(), parent() and
// hasChildren(). UpdateItem() starts the read of one item and tells whether its value is valid at once.
#pragma once
#include "app/services/types.h"
#include "views/framework/itemroles.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QMap>
#include <QStringList>

class CModelViewWindow;

/// One column as it stands before the user changes anything.
struct TABLE_COLUMN {
    const char* sTitle;
    int Flags; ///< COLUMN_FLAGS
    int Width; ///< pixels at 100 %
    const char* sToolTip = "";
};

class CTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    explicit CTableModel(QObject* pParent = nullptr, const QString& sName = {});

    void SetWindow(CModelViewWindow* pWindow) { m_pWindow = pWindow; }
    CModelViewWindow* GetWindow() const { return m_pWindow; }
    void SetColumns(const TABLE_COLUMN* paColumns, int NumColumns); ///< the rows are copied

    /// \name Item-model interface
    ///@{
    int columnCount(const QModelIndex& Parent = {}) const override;
    QVariant data(const QModelIndex& Index, int Role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& Index, const QVariant& Value, int Role = Qt::EditRole) override;
    QVariant headerData(int Section, Qt::Orientation Orientation, int Role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& Index) const override;
    bool hasChildren(const QModelIndex& Parent = {})
        const override; ///< rowCount() decides; trees that build lazily say more
    QModelIndex sibling(int Row, int Column, const QModelIndex& Index) const override;
    ///@}

    /// \name Resets
    ///@{
    virtual void Reset();         ///< begin and end of a model reset; attributes stay
    virtual void ResetKeepView(); ///< the same with the view's state put back afterwards
    virtual void BeginReset();
    virtual void EndReset();
    ///@}

    /// \name Attributes
    ///@{
    virtual void RemoveItemAttributes(const QModelIndex& Index, bool Recurse, bool WithChildren);
    virtual void ForgetItem(const QModelIndex& Index); ///< drops the read state of one item
    virtual void ClearRole(int Role);                  ///< drops the role of all items
    virtual void RemoveRoleValue(int Role, U32 Value); ///< drops the entries of a role that hold Value
    virtual void BackupAttributes();                   ///< refresh rates, display formats, memory zones
    virtual void RestoreAttributes();
    /// Stores Value for the item; Always false keeps an entry that exists; Recurse goes on into the children.
    virtual void SetRole(const QModelIndex& Index, int Role, U32 Value, bool Recurse, bool Always);
    void RemoveRoleEntry(const QModelIndex& Index, int Role);
    void SetRoleText(const QModelIndex& Index, int Role, const QString& sText);
    virtual void AgeChangeLevels(int Role = ROLE_CHANGE_LEVEL); ///< adds 1 to every entry, in 8 bits
    QVariant GetStoredRole(const QModelIndex& Index,
                           int Role) const; ///< the item's own entry; invalid if it has none
    bool HasRoleEntries(int Role) const { return !m_Attributes.value(Role).isEmpty(); }
    ///@}

    /// \name Values
    ///@{
    virtual bool
    UpdateItem(const QModelIndex& Index); ///< starts the item's read; true if its value is now valid
    virtual void RefreshItem(const QModelIndex& Index); ///< UpdateItem() if the window says that it is needed
    virtual void NotifyItemChanged(const QModelIndex& First, const QModelIndex& Last);
    virtual int GetRadix(const QString& sText) const; ///< of a number text by its prefix: 16, 2 or 10
    /// Reads a number text in any radix, ignoring block separators; false leaves Value alone.
    virtual bool ParseValue(const QString& sText, int Radix, U64& Value) const;
    virtual U32 GetItemKey(const QModelIndex& Index) const;
    virtual QString MakeToolTip(const QModelIndex& Index) const;
    virtual QString GetItemText(const QModelIndex& Index) const;
    virtual int GetItemDepth(const QModelIndex& Index) const; ///< 0 for top-level rows
    virtual QIcon GetIcon(const QModelIndex& Index) const;
    ///@}

    int GetColumnFlags(int Column) const;
    void SetColumnFlags(int Column, int Flags);
    int GetColumnWidth(int Column) const; ///< first width in pixels, 0 for an unknown column
    QString GetColumnName(int Column) const;

protected:
    /// A role's value from the attribute tables, with the rules for missing entries.
    QVariant GetAttribute(const QModelIndex& Index, int Role) const;
    U32 GetCachedKey(const QModelIndex& Index) const;

private:
    struct COLUMN {
        QString sTitle;
        int Flags = 0;
        int Width = 0;
        QString sToolTip;
    };
    using ATTRIBUTES = QHash<int, QHash<U32, QVariant>>;

    QList<COLUMN> m_Columns;
    ATTRIBUTES m_Attributes;
    ATTRIBUTES m_Backup;
    mutable QHash<quintptr, U32> m_KeyCache;
    CModelViewWindow* m_pWindow = nullptr;
};
