// Colours and fonts of the GUI: numbered tables with a current and a stored value each.
//
//   painter.setPen(GetColor(COLOR_SYNTAX_KEYWORD));
//   setFont(GetFont(FONT_CONSOLE));
//
// Main thread only. A change is told by CSettingsNotifier.
#pragma once
#include "app/services/types.h"
#include "project/settings/settingids.h"

#include <QColor>
#include <QFont>
#include <QString>

/// Colour values that stand for a colour of the application's palette; GetColor turns them into
/// the real colour at each call, so that they follow a change of style.
enum PALETTE_COLORS : U32 {
    PALETTE_BASE = 0xFF000001u,
    PALETTE_TEXT = 0xFF000002u,
    PALETTE_HIGHLIGHT = 0xFF000003u,
    PALETTE_HIGHLIGHTED_TEXT = 0xFF000004u,
    PALETTE_BASE_DARKER = 0xFF000005u, ///< the base colour, darker by the factor 40
};

struct COLOR_ROW {
    int ID;
    const char* Name;
    const char* Label;
    U32 Default; ///< ARGB, or one of PALETTE_COLORS
};

struct FONT_ROW {
    int ID;
    const char* Name;
    const char* Label;
    const char* Description;
};

/// Puts all colours and fonts to their defaults, current and stored. Fonts start from AppFont:
/// the value fonts and the code fonts take the system's fixed family in its size.
void InitColorsAndFonts(const QFont& AppFont);

const COLOR_ROW* GetColorRow(int ColorID); ///< null outside the table
QColor GetColor(int ColorID);              ///< resolved against the palette; invalid outside the table
U32 GetColorValue(int ColorID);            ///< the ARGB value as held; 0 outside the table
U32 GetColorStored(int ColorID);
void SetColor(int ColorID, U32 Value, bool Store = false);
int FindColor(const QString& sName); ///< by name ignoring case or by decimal id; -1 if unknown
void ResetColor(int ColorID);        ///< current and stored value back to the default

const FONT_ROW* GetFontRow(int FontID); ///< null outside the table
QFont GetFont(int FontID);
QFont GetFontStored(int FontID);
QFont GetFontDefault(int FontID);
void SetFont(int FontID, const QFont& Font, bool Store);
int FindFont(const QString& sName); ///< by name ignoring case or by decimal id; -1 if unknown

/// The font's size, weight and slant in the system's fixed pitch family.
QFont GetFixedFont(const QFont& Font);

/// "Family,  10pt,  Bold Italic".
QString FontToText(const QFont& Font);
/// The font of such a text; false if it has not exactly three entries or a size outside 1 to 59.
bool ParseFont(const QString& sText, QFont* pFont);
