#include "app/actions/actions.h"
#include "app/actions/actionstate.h"

#include <QHash>
#include <QKeySequence>
#include <QSet>
#include <QWidget>

namespace {
/// Ids of linked actions. Actions that died are taken out by their destroyed signal.
QHash<const QAction*, int>& LinkedIds()
{
    // Kept to the end of the process: actions die after the statics of this file.
    static auto& Instance = *new QHash<const QAction*, int>;
    return Instance;
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
    if (!LinkedIds().contains(pAction)) {
        QObject::connect(pAction, &QObject::destroyed, [pAction] { LinkedIds().remove(pAction); });
        // A window switches its own actions by QAction alone; only commands have a state apart from the menus.
        if (GetCommandName(Id).isEmpty())
            QObject::connect(pAction, &QAction::enabledChanged, pAction, [pAction, Id](bool Enabled) {
                if (GetAction(Id) == pAction) GetActionState(Id).CommandEnabled = Enabled;
            });
    }
    LinkedIds().insert(pAction, Id);
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
    for (QAction* pAction : pWindow->findChildren<QAction*>()) {
        const int Id = GetActionId(pAction);
        if (Id < 0) continue;
        // A row that follows a newer window keeps that window's action.
        if (GetActionState(Id).pAction == pAction) GetActionState(Id).pAction = nullptr;
        LinkedIds().remove(pAction);
    }
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
    return LinkedIds().value(pAction, -1);
}
