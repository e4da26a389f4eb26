#include "app/actions/actions.h"
#include "app/actions/actionstate.h"

#include <QHash>
#include <QKeySequence>
#include <QSet>
#include <QWidget>

namespace {
struct LINK {
    int Id = -1;
    U64 Order = 0; ///< a later link has a higher number
};

/// Linked actions. Those that died are taken out by their destroyed signal.
QHash<const QAction*, LINK>& Links()
{
    // Kept to the end of the process: actions die after the statics of this file.
    static auto& Instance = *new QHash<const QAction*, LINK>;
    return Instance;
}

/// Takes an action out. Its row goes over to the window of the same kind that was linked last of those that are left.
void Unlink(const QAction* pAction)
{
    const LINK Gone = Links().take(pAction);
    if (Gone.Id < 0) return;
    ACTION_STATE& State = GetActionState(Gone.Id);
    if (State.pAction && State.pAction != pAction) return; // the row follows a newer window
    const QAction* pHeir = nullptr;
    U64 Order = 0;
    for (auto it = Links().cbegin(); it != Links().cend(); ++it) {
        if (it->Id != Gone.Id || it->Order < Order) continue;
        pHeir = it.key();
        Order = it->Order;
    }
    State.pAction = const_cast<QAction*>(pHeir);
    if (pHeir && GetCommandName(Gone.Id).isEmpty()) State.CommandEnabled = pHeir->isEnabled();
}

QSet<QString>& UnknownNames()
{
    static QSet<QString> Instance;
    return Instance;
}

int FindRowByObjectName(const QString& sName)
{
    static const QHash<QString, int> Ids = [] {
        QHash<QString, int> h;
        // The first row of a name wins.
        for (int i = NUM_ACTIONS - 1; i >= 0; i--)
            h.insert(QString::fromLatin1(GetActionRow(i)->ObjectName).toLower(), i);
        return h;
    }();
    return Ids.value(sName.toLower(), -1);
}

void Link(QAction* pAction, int Id)
{
    const ACTION_ROW& Row = *GetActionRow(Id);
    const QString sHotKey = QString::fromLatin1(Row.HotKey);
    QString sToolTip = QString::fromLatin1(GetActionToolTip(Row));
    if (!sHotKey.isEmpty()) {
        pAction->setShortcut(QKeySequence(sHotKey));
        sToolTip += " (" + pAction->shortcut().toString(QKeySequence::NativeText) + ')';
    }
    pAction->setStatusTip(QString::fromLatin1(Row.Description));
    pAction->setToolTip(sToolTip);
    ACTION_STATE& State = GetActionState(Id);
    State.pAction = pAction;
    State.CommandEnabled = pAction->isEnabled();
    static U64 s_Order = 0;
    if (!Links().contains(pAction)) {
        QObject::connect(pAction, &QObject::destroyed, [pAction] { Unlink(pAction); });
        // A window switches its own actions by QAction alone; only commands have a state apart from the menus.
        if (GetCommandName(Id).isEmpty())
            QObject::connect(pAction, &QAction::enabledChanged, pAction, [pAction, Id](bool Enabled) {
                if (GetAction(Id) == pAction) GetActionState(Id).CommandEnabled = Enabled;
            });
    }
    Links().insert(pAction, {Id, ++s_Order});
}
} // namespace

void LinkActions(QWidget* pWindow)
{
    for (QAction* pAction : pWindow->findChildren<QAction*>()) {
        const QString sName = pAction->objectName();
        // Qt's own widgets bring actions with names of this kind.
        if (sName.isEmpty() || sName.startsWith(QLatin1String("_q_"))) continue;
        const int Id = FindRowByObjectName(sName);
        if (Id < 0)
            UnknownNames().insert(sName);
        else
            Link(pAction, Id);
    }
}

void UnlinkActions(QWidget* pWindow)
{
    for (const QAction* pAction : pWindow->findChildren<QAction*>()) Unlink(pAction);
}

QStringList GetUnknownActionNames()
{
    QStringList Names = UnknownNames().values();
    Names.sort();
    return Names;
}

QAction* GetAction(int Id)
{
    const ACTION_STATE* p = FindActionState(Id);
    return p ? p->pAction.data() : nullptr;
}

QString GetActionTitle(int Id)
{
    const QString sName = GetCommandName(Id);
    const QAction* pAction = GetAction(Id);
    if (!sName.isEmpty() || !pAction) return sName;
    QString sText = pAction->text().remove("...");
    return sText.replace("&&", "\n").remove('&').replace('\n', '&').trimmed();
}

int GetActionId(const QAction* pAction)
{
    return Links().value(pAction).Id;
}
