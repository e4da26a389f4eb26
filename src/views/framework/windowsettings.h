// Ids and texts of the settings that a window keeps in the session, and the old names windows had.
#pragma once
#include <QString>
#include <QStringList>

/// Session settings that every window has. Windows add ids of their own from USER_SETTING_OWN on.
enum USER_SETTINGS : int {
    USER_SETTING_OPEN_WINDOW = 0,
    USER_SETTING_DOCK_AREA = 1,
    USER_SETTING_X = 2,
    USER_SETTING_Y = 3,
    USER_SETTING_W = 4,
    USER_SETTING_H = 5,
    USER_SETTING_FILTER_BAR_SHOWN = 6,
    USER_SETTING_EXEC_COUNTERS_SHOWN = 7,
    USER_SETTING_DISPLAY_FORMAT = 12,
    USER_SETTING_OWN = 20,
    NUM_USER_SETTINGS = 100,
};

/// Dock areas as sessions number them; floating windows have a code of their own.
enum DOCK_AREAS : int {
    DOCK_AREA_NONE = 0,
    DOCK_AREA_LEFT = 1,
    DOCK_AREA_RIGHT = 2,
    DOCK_AREA_BOTTOM = 8,
    DOCK_AREA_FLOATING = 22
};

QString GetDockAreaText(int Area);       ///< "LEFT", "RIGHT", "BOTTOM", "FLOATING"; empty for others
int ParseDockArea(const QString& sText); ///< by containment, ignoring case; DOCK_AREA_NONE for no match
QString
MapWindowAlias(const QString& sName); ///< the current name of an old window name; the name itself otherwise
QStringList GetWindowAliases(const QString& sName); ///< all old names of a current name

/// Splits a session line "key=value, key=value" outside quotes; keys and values are trimmed, values keep
/// quotes.
QList<QPair<QString, QString>> SplitSessionLine(const QString& sLine);
QString Unquote(const QString& sText); ///< trims and takes off one pair of double quotes
