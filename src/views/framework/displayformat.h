// The radix in which windows show values, and the five actions that choose it.
//
//   CDisplayFormatActions Actions(this);          // actionWinSetDisplayFormatHex and its four kin
//   Actions.AddMenu(pContextMenu);                // "Display &All As"
#pragma once
#include "app/services/types.h"

#include <QString>
#include <array>
#include <cstddef>

class QAction;
class QActionGroup;
class QMenu;
class QObject;

/// How values are written; the number is the radix where it has one.
enum DISPLAY_FORMATS : int {
    DISPLAY_FORMAT_AUTO = 0,
    DISPLAY_FORMAT_BINARY = 2,
    DISPLAY_FORMAT_CHAR = 8,
    DISPLAY_FORMAT_DEC = 10,
    DISPLAY_FORMAT_HEX = 16,
};

/// One display format: its number, its names and the looks of its action.
struct DISPLAY_FORMAT_ROW {
    int Format;
    const char* sName;       ///< literal name, as commands and sessions write it
    const char* sObjectName; ///< object name of the window's action
    const char* sText;
    const char* sShortcut;
    const char* sStatusTip;
};

/// The five formats in menu order.
inline constexpr std::array<DISPLAY_FORMAT_ROW, 5> aDisplayFormats{{
    {DISPLAY_FORMAT_AUTO, "DISPLAY_FORMAT_AUTO", "actionWinSetDisplayFormatAuto", "&Auto", "Alt+1",
     "Show Values in Data Type-Dependent Representation"},
    {DISPLAY_FORMAT_BINARY, "DISPLAY_FORMAT_BINARY", "actionWinSetDisplayFormatBinary", "&Binary", "Alt+4",
     "Show Values in Binary Representation"},
    {DISPLAY_FORMAT_DEC, "DISPLAY_FORMAT_DEC", "actionWinSetDisplayFormatDec", "&Decimal", "Alt+3",
     "Show Values in Decimal Representation"},
    {DISPLAY_FORMAT_HEX, "DISPLAY_FORMAT_HEX", "actionWinSetDisplayFormatHex", "&Hexadecimal", "Alt+2",
     "Show Values in Hexadecimal Representation"},
    {DISPLAY_FORMAT_CHAR, "DISPLAY_FORMAT_CHAR", "actionWinSetDisplayFormatChar", "Charac&ter", "Alt+5",
     "Show Values in Charachter Representation"},
}};

/// The literal name of a format ("DISPLAY_FORMAT_HEX"); empty for a number that is no format.
QString GetDisplayFormatName(int Format);
/// The format of a literal name, ignoring case and quotes; -1 for none.
int FindDisplayFormat(const QString& sName);

/// An unsigned number in a radix, with its prefix ("0x", "0b" or none), padded to NumDigits digits (0 = no
/// padding). DISPLAY_FORMAT_CHAR shows a printable byte as 'c' and others as a decimal number; AUTO counts as
/// hexadecimal.
QString FormatValue(U64 Value, int Format, int NumDigits = 0);

/// The five checkable actions of a window, one exclusive group. Owned by the parent given.
class CDisplayFormatActions {
public:
    explicit CDisplayFormatActions(QObject* pParent);
    QAction* GetAction(int Format) const; ///< null for a number that is no format
    QAction* GetActionAt(size_t Index) const { return m_aActions[Index]; }
    int GetFormat(const QAction* pAction) const; ///< -1 for an action that is none of the five
    void SetChecked(int Format);
    void AddMenu(QMenu* pMenu) const; ///< appends the submenu "Display &All As"

private:
    std::array<QAction*, aDisplayFormats.size()> m_aActions{};
};
