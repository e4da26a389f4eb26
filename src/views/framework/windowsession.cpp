// What a window keeps in the session: its place, its size and the settings that subclasses add.
#include "project/settings/sysvars.h"
#include "views/framework/dockwindow.h"
#include "views/framework/window.h"

#include <algorithm>
#include <iterator>

namespace {

struct SETTING_ROW {
    int ID;
    const char* sName;
};
constexpr SETTING_ROW aSettings[] = {
    {USER_SETTING_OPEN_WINDOW, "OpenWindow"},
    {USER_SETTING_DOCK_AREA, "DockArea"},
    {USER_SETTING_X, "x"},
    {USER_SETTING_Y, "y"},
    {USER_SETTING_W, "w"},
    {USER_SETTING_H, "h"},
    {USER_SETTING_FILTER_BAR_SHOWN, "FilterBarShown"},
    {USER_SETTING_EXEC_COUNTERS_SHOWN, "ExecCountersShown"},
    {USER_SETTING_DISPLAY_FORMAT, "DisplayFormat"},
};

constexpr I64 DISABLE_SAVE_WINDOW_LAYOUT = 1;

/// The rectangle that a dock takes; one that lies under another tab has none of its own, its visible sibling
/// has.
QRect GetDockRect(const QMainWindow* pMainWindow, CDockWindow* pDock)
{
    const QRect Rect = pDock->geometry();
    if (Rect.x() >= 0 && Rect.y() >= 0) return Rect;
    for (QDockWidget* pSibling : pMainWindow->tabifiedDockWidgets(pDock))
        if (pSibling->geometry().x() >= 0 && pSibling->geometry().y() >= 0) return pSibling->geometry();
    return Rect;
}

/// Place of a docked window in its area as (column, row): rows are counted from the top, columns within a
/// row.
QPoint GetGridPos(const QMainWindow* pMainWindow, CDockWindow* pDock)
{
    const Qt::DockWidgetArea Area = pMainWindow->dockWidgetArea(pDock);
    const QRect Own = GetDockRect(pMainWindow, pDock);
    QList<int> Tops;
    QList<int> Lefts;
    for (CDockWindow* pOther : pMainWindow->findChildren<CDockWindow*>()) {
        if (pOther->isFloating() || pOther->isHidden() || pMainWindow->dockWidgetArea(pOther) != Area)
            continue;
        const QRect Rect = GetDockRect(pMainWindow, pOther);
        if (Rect.top() <= Own.top() && !Tops.contains(Rect.top())) Tops.append(Rect.top());
        if (Rect.top() == Own.top() && Rect.left() <= Own.left() && !Lefts.contains(Rect.left()))
            Lefts.append(Rect.left());
    }
    return QPoint(std::max(0, int(Lefts.size()) - 1), std::max(0, int(Tops.size()) - 1));
}

int GetLiveArea(const CWindow* pWindow)
{
    CDockWindow* pDock = pWindow->GetDock();
    if (!pDock || !pWindow->IsOpen()) return DOCK_AREA_NONE;
    if (pDock->isFloating()) return DOCK_AREA_FLOATING;
    auto* pMainWindow = qobject_cast<QMainWindow*>(pDock->parentWidget());
    return pMainWindow ? int(pMainWindow->dockWidgetArea(pDock)) : int(DOCK_AREA_NONE);
}

} // namespace

QList<int> CWindow::GetUserSettings() const
{
    QList<int> Settings;
    for (int i = USER_SETTING_OPEN_WINDOW; i <= USER_SETTING_FILTER_BAR_SHOWN; i++) Settings.append(i);
    return Settings;
}

int CWindow::GetUserSetting(QString sName) const
{
    for (const SETTING_ROW& Row : aSettings)
        if (sName == QLatin1String(Row.sName)) return Row.ID;
    return -1;
}

QString CWindow::GetUserSettingName(int Setting) const
{
    for (const SETTING_ROW& Row : aSettings)
        if (Row.ID == Setting) return QString::fromLatin1(Row.sName);
    return QString();
}

QString CWindow::GetUserSettingValueStr(int Setting) const
{
    if (Setting == USER_SETTING_OPEN_WINDOW) return u'"' + GetName() + u'"';
    // A window that isn't open keeps the place it had.
    const int Value = GetUserSettingValue(Setting, !IsOpen() && Setting <= USER_SETTING_H);
    if (Setting == USER_SETTING_DOCK_AREA) return GetDockAreaText(Value);
    if (Setting == USER_SETTING_DISPLAY_FORMAT) return GetDisplayFormatName(Value);
    return QString::number(Value);
}

int CWindow::GetUserSettingValue(int Setting, bool FromStore) const
{
    if (Setting < 0 || Setting >= NUM_USER_SETTINGS) return 0;
    if (FromStore) return m_aUserSettings[size_t(Setting)];
    if (Setting == USER_SETTING_OPEN_WINDOW) return int(qHash(GetName()));
    if (Setting == USER_SETTING_FILTER_BAR_SHOWN) return TestFlag(WF_FILTER_BAR);
    if (Setting == USER_SETTING_DISPLAY_FORMAT) return GetDisplayFormat();
    CDockWindow* pDock = GetDock();
    if (!pDock || Setting > USER_SETTING_H) return 0;
    if (Setting == USER_SETTING_DOCK_AREA) return GetLiveArea(this);
    auto* pMainWindow = qobject_cast<QMainWindow*>(pDock->parentWidget());
    const bool Docked = !pDock->isFloating() && pMainWindow;
    const QRect Rect = Docked ? GetDockRect(pMainWindow, pDock) : pDock->frameGeometry();
    const QPoint Pos = Docked ? GetGridPos(pMainWindow, pDock) : Rect.topLeft();
    switch (Setting) {
    case USER_SETTING_X:
        return Pos.x();
    case USER_SETTING_Y:
        return Pos.y();
    case USER_SETTING_W:
        return Rect.width();
    default:
        return Rect.height();
    }
}

bool CWindow::IsUserSettingStored(int Setting) const
{
    if (Setting < USER_SETTING_DOCK_AREA || Setting > USER_SETTING_H) return false;
    return (GetVarValue(PREF_SESSION_SAVE_FLAGS) & DISABLE_SAVE_WINDOW_LAYOUT) != 0;
}

bool CWindow::SetUserSetting(QString sName, QString sValue)
{
    const int Setting = GetUserSetting(sName);
    if (Setting < 0 || Setting >= NUM_USER_SETTINGS) return false;
    m_aUserSettings[size_t(Setting)] = ParseUserSettingValue(Setting, sValue);
    if (Setting == USER_SETTING_FILTER_BAR_SHOWN)
        SetFlag(WF_FILTER_BAR, m_aUserSettings[size_t(Setting)] != 0);
    if (Setting == USER_SETTING_DISPLAY_FORMAT) SetDisplayFormat(m_aUserSettings[size_t(Setting)]);
    return true;
}

int CWindow::ParseUserSettingValue(int Setting, QString sValue) const
{
    const QString sPlain = Unquote(sValue);
    switch (Setting) {
    case USER_SETTING_OPEN_WINDOW:
        return int(qHash(sPlain));
    case USER_SETTING_DOCK_AREA:
        return ParseDockArea(sPlain);
    case USER_SETTING_FILTER_BAR_SHOWN:
        return sPlain.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 || sPlain.toInt() != 0;
    case USER_SETTING_DISPLAY_FORMAT:
        return std::max(0, FindDisplayFormat(sPlain));
    default:
        return sPlain.toInt();
    }
}

void CWindow::ClearUserSettings()
{
    m_aUserSettings.fill(0);
}

int CWindow::FindSessionLine(const QStringList& Lines) const
{
    const QStringList Aliases = GetAliasNames();
    for (int i = 0; i < Lines.size(); i++) {
        const auto Items = SplitSessionLine(Lines[i]);
        if (Items.isEmpty() || Items.first().first != GetUserSettingName(USER_SETTING_OPEN_WINDOW)) continue;
        const QString sName = Unquote(Items.first().second);
        if (sName == GetName() || Aliases.contains(sName)) return i;
    }
    return -1;
}

int CWindow::ApplySessionLine(const QStringList& Lines)
{
    const int Line = FindSessionLine(Lines);
    if (Line < 0) return -1;
    int NumApplied = 0;
    for (const auto& Item : SplitSessionLine(Lines[Line]))
        NumApplied += SetUserSetting(Item.first, Item.second);
    return NumApplied;
}

QString CWindow::MakeSessionLine(const QStringList& OldLines) const
{
    QMap<QString, QString> OldValues;
    if (const int Line = FindSessionLine(OldLines); Line >= 0)
        for (const auto& Item : SplitSessionLine(OldLines[Line])) OldValues.insert(Item.first, Item.second);
    QStringList Items;
    for (int Setting : GetUserSettings()) {
        const QString sName = GetUserSettingName(Setting);
        const bool Frozen = IsUserSettingStored(Setting) && OldValues.contains(sName);
        Items.append(sName + u'=' + (Frozen ? OldValues.value(sName) : GetUserSettingValueStr(Setting)));
    }
    return Items.join(QStringLiteral(", "));
}

QSize CWindow::sizeHint() const
{
    const int w = GetUserSettingValue(USER_SETTING_W, true);
    const int h = GetUserSettingValue(USER_SETTING_H, true);
    return w >= 1 && h >= 1 ? QSize(w, h) : QSize(300, 300);
}
