// The tree of the local data window. A level is fetched when its parent is unfolded, and from then on with each
// update; rows whose names stayed keep their place, so that unfolded rows and change marks survive a step.
#pragma once
#include "views/debug/debugviewhooks.h"
#include "views/framework/tablemodel.h"

#include <memory>
#include <vector>

enum LOCALS_COLUMNS : int {
    LOCALS_COLUMN_NAME,
    LOCALS_COLUMN_VALUE,
    LOCALS_COLUMN_LOCATION,
    LOCALS_COLUMN_SIZE,
    LOCALS_COLUMN_TYPE,
    LOCALS_COLUMN_SCOPE,
    NUM_LOCALS_COLUMNS
};

class CLocalsViewModel : public CTableModel {
    Q_OBJECT

public:
    explicit CLocalsViewModel(QObject* pParent = nullptr);
    ~CLocalsViewModel() override;

    QModelIndex index(int Row, int Column, const QModelIndex& Parent = {}) const override;
    QModelIndex parent(const QModelIndex& Index) const override;
    int rowCount(const QModelIndex& Parent = {}) const override;
    bool hasChildren(const QModelIndex& Parent = {}) const override; ///< also before the members are fetched
    bool canFetchMore(const QModelIndex& Parent) const override; ///< a filter above the model shows a fold mark for such rows
    void fetchMore(const QModelIndex& Parent) override { LoadChildren(Parent); }
    QVariant data(const QModelIndex& Index, int Role = Qt::DisplayRole) const override;
    QString GetItemText(const QModelIndex& Index) const override;
    U32 GetItemKey(const QModelIndex& Index) const override;
    /// Marking an item as unfolded fetches its members. Never recurses for that role: pointers may go in circles.
    void SetRole(const QModelIndex& Index, int Role, U32 Value, bool Recurse, bool Always) override;

    /// Drops all rows. Items of different scopes have different keys, even where their names are equal.
    void SetScope(const QString& sScope);
    const QString& GetScope() const { return m_sScope; }
    /// Asks for the values of the top level and of all fetched levels below it.
    void Refresh();
    void LoadChildren(const QModelIndex& Index); ///< nothing if they are there already
    QStringList GetPath(const QModelIndex& Index) const; ///< names from the top; empty for an invalid index

private:
    struct NODE {
        VIEW_SYMBOL Symbol;
        NODE* pParent = nullptr;
        int Row = 0;
        U32 Key = 0;
        bool IsLoaded = false;
        std::vector<std::unique_ptr<NODE>> Children;
    };

    QString GetValueText(const QModelIndex& Index, const VIEW_SYMBOL& Symbol) const;
    NODE* GetNode(const QModelIndex& Index) const;
    QModelIndex GetIndex(const NODE& Node, int Column = 0) const;
    std::unique_ptr<NODE> MakeNode(const VIEW_SYMBOL& Symbol, NODE& Parent, int Row) const;
    QList<VIEW_SYMBOL> Ask(const NODE& Node) const;
    void Merge(NODE& Node, const QList<VIEW_SYMBOL>& Symbols);
    void TakeRow(NODE& Node, const VIEW_SYMBOL& Symbol);
    void RefreshLevel(NODE& Node);

    NODE m_Root;
    QString m_sScope;
};
