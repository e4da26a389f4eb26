// Colours and fonts: tables, current and stored values, and the text form of a font.
#include "project/settings/appearance.h"

#include "project/settings/settingsnotifier.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QGuiApplication>
#include <QPalette>
#include <QStringList>
#include <array>

namespace {
constexpr COLOR_ROW s_aColors[] = {
    {COLOR_SELECTION_HIGHLIGHT, "COLOR_SELECTION_HIGHLIGHT", "Selection Background", 0xFF000003u},
    {COLOR_SELECTION_HIGHLIGHT_TEXT, "COLOR_SELECTION_HIGHLIGHT_TEXT", "Selection Foreground", 0xFF000004u},
    {COLOR_CHANGE_LEVEL_1_BG, "COLOR_CHANGE_LEVEL_1_BG", "Change Level 1 Fill Color", 0xFF000001u},
    {COLOR_CHANGE_LEVEL_2_BG, "COLOR_CHANGE_LEVEL_2_BG", "Change Level 2 Fill Color", 0xFF000001u},
    {COLOR_CHANGE_LEVEL_3_BG, "COLOR_CHANGE_LEVEL_3_BG", "Change Level 3 Fill Color", 0xFF000001u},
    {COLOR_CHANGE_LEVEL_1_FG, "COLOR_CHANGE_LEVEL_1_FG", "Change Level 1 Text Color", 0xFFFF0000u},
    {COLOR_CHANGE_LEVEL_2_FG, "COLOR_CHANGE_LEVEL_2_FG", "Change Level 2 Text Color", 0xFFAA0000u},
    {COLOR_CHANGE_LEVEL_3_FG, "COLOR_CHANGE_LEVEL_3_FG", "Change Level 3 Text Color", 0xFF770000u},
    {COLOR_PC_ACTIVE, "COLOR_PC_ACTIVE", "PC Row Active", 0xFF77FF6Du},
    {COLOR_PC_INACTIVE, "COLOR_PC_INACTIVE", "PC Row Inactive", 0xFFE3FFC1u},
    {COLOR_PC_BACKTRACE, "COLOR_PC_BACKTRACE", "PC Backtrace Highlight", 0xFFFFFF00u},
    {COLOR_CALL_SITE_ACTIVE, "COLOR_CALL_SITE_ACTIVE", "Callsite Row Active", 0xFFFFFCD6u},
    {COLOR_CALL_SITE_INACTIVE, "COLOR_CALL_SITE_INACTIVE", "Callsite Row Inactive", 0xFFFFFCD6u},
    {COLOR_TABLE_GRID_LINES, "COLOR_TABLE_GRID_LINES", "Table Grid Lines", 0xFF000005u},
    {COLOR_SYNTAX_REGISTER, "COLOR_SYNTAX_REGISTER", "Syntax Register", 0xFF00008Bu},
    {COLOR_SYNTAX_LABEL, "COLOR_SYNTAX_LABEL", "Syntax Label", 0xFF000000u},
    {COLOR_SYNTAX_MNEMONIC, "COLOR_SYNTAX_MNEMONIC", "Syntax Mnemonic", 0xFF8B008Bu},
    {COLOR_SYNTAX_IMMEDIATE, "COLOR_SYNTAX_IMMEDIATE", "Syntax Immediate", 0xFF8B0000u},
    {COLOR_SYNTAX_KEYWORD, "COLOR_SYNTAX_KEYWORD", "Syntax Keyword", 0xFF0000FAu},
    {COLOR_SYNTAX_DIRECTIVE, "COLOR_SYNTAX_DIRECTIVE", "Syntax Directive", 0xFF0000FAu},
    {COLOR_SYNTAX_STRING, "COLOR_SYNTAX_STRING", "Syntax String", 0xFFB22222u},
    {COLOR_SYNTAX_COMMENT, "COLOR_SYNTAX_COMMENT", "Syntax Comment", 0xFF008000u},
    {COLOR_SYNTAX_TEXT, "COLOR_SYNTAX_TEXT", "Syntax Text", 0xFF000000u},
    {COLOR_LOGGING_SCRIPT, "COLOR_LOGGING_SCRIPT", "Console Text (Script)", 0xFF009900u},
    {COLOR_LOGGING_USER, "COLOR_LOGGING_USER", "Console Text (User)", 0xFF000002u},
    {COLOR_LOGGING_ERROR, "COLOR_LOGGING_ERROR", "Console Text (Error)", 0xFFB22222u},
    {COLOR_LOGGING_BRYLLO, "COLOR_LOGGING_BRYLLO", "Console Text (Bryllo)", 0xFF00008Bu},
    {COLOR_PROGRESS_BAR_PROGRESS, "COLOR_PROGRESS_BAR_PROGRESS", "Progress Bar Progress", 0xFFF7FFE4u},
    {COLOR_PROGRESS_BAR_REMAINING, "COLOR_PROGRESS_BAR_REMAINING", "Progress Bar Remaining", 0xFF000001u},
    {COLOR_SYMBOL_GLOBAL_VAR, "COLOR_SYMBOL_GLOBAL_VAR", "Symbol Icon Global Variable", 0xFF64005Cu},
    {COLOR_SYMBOL_LOCAL_VAR, "COLOR_SYMBOL_LOCAL_VAR", "Symbol Icon Local Variable", 0xFF64005Cu},
    {COLOR_SYMBOL_CONSTANT, "COLOR_SYMBOL_CONSTANT", "Symbol Icon Constant", 0xFF000000u},
    {COLOR_SYMBOL_MEMBER, "COLOR_SYMBOL_MEMBER", "Symbol Icon Member", 0xFF000000u},
    {COLOR_SYMBOL_FUNCTION, "COLOR_SYMBOL_FUNCTION", "Symbol Icon Function", 0xFF000000u},
    {COLOR_ASM_LABEL_BACKG, "COLOR_ASM_LABEL_BACKG", "Label Background", 0xFFE5F1FFu},
    {COLOR_ASM_BACKG, "COLOR_ASM_BACKG", "Background Color", 0xFFF8FFFFu},
    {COLOR_EXEC_PROFILE_GOOD_INSTR, "COLOR_EXEC_PROFILE_GOOD_INSTR", "Execution Profile - good instruction",
     0xFFE3FFC1u},
    {COLOR_EXEC_PROFILE_BAD_INSTR, "COLOR_EXEC_PROFILE_BAD_INSTR", "Execution Profile - bad instruction",
     0xFFFFD700u},
    {COLOR_TABLE_FILTER_MATCH, "COLOR_TABLE_FILTER_MATCH", "Text Filter Match", 0xFFCC0000u},
};

constexpr FONT_ROW s_aFonts[] = {
    {FONT_APP, "FONT_APP", "Text", "Default Font used to display text"},
    {FONT_APP_MONO, "FONT_APP_MONO", "Value", "Default Font used to display text"},
    {FONT_ITEM_NAME, "FONT_ITEM_NAME", "Text", "Table text font"},
    {FONT_ITEM_VALUE, "FONT_ITEM_VALUE", "Value", "Table value text font"},
    {FONT_TABLE_HEADER, "FONT_TABLE_HEADER", "Text", "Table header font"},
    {FONT_SRC_CODE, "FONT_SRC_CODE", "Text", "Source code font as used by the source viewer"},
    {FONT_SRC_ASM_CODE, "FONT_SRC_ASM_CODE", "Assembly Code", "Font used for inline disassembly"},
    {FONT_ASM_CODE, "FONT_ASM_CODE", "Text",
     "Assembly code font as used by the disassembly and instruction trace windows"},
    {FONT_CONSOLE, "FONT_CONSOLE", "Text", "Console window font"},
    {FONT_LINE_NUMBERS, "FONT_LINE_NUMBERS", "Line Numbers", "Font used for line numbers"},
    {FONT_EXEC_COUNTERS, "FONT_EXEC_COUNTERS", "Execution Counters", "Font used for execution counters"},
};

template <typename T, std::size_t N> constexpr bool IdsAreIndexes(const T (&aRows)[N])
{
    for (std::size_t i = 0; i < N; ++i) {
        if (aRows[i].ID != static_cast<int>(i)) {
            return false;
        }
    }
    return true;
}
static_assert(sizeof(s_aColors) / sizeof(s_aColors[0]) == NUM_COLORS && IdsAreIndexes(s_aColors));
static_assert(sizeof(s_aFonts) / sizeof(s_aFonts[0]) == NUM_FONTS && IdsAreIndexes(s_aFonts));

constexpr int MIN_FONT_SIZE = 1;
constexpr int MAX_FONT_SIZE = 59;
constexpr int DARKER_FACTOR = 40;

struct APPEARANCE {
    std::array<U32, NUM_COLORS> aColor;
    std::array<U32, NUM_COLORS> aStoredColor;
    std::array<QFont, NUM_FONTS> aFont;
    std::array<QFont, NUM_FONTS> aStoredFont;
    std::array<QFont, NUM_FONTS> aDefaultFont;

    APPEARANCE()
    {
        for (int i = 0; i < NUM_COLORS; ++i) {
            aColor[i] = aStoredColor[i] = s_aColors[i].Default;
        }
    }
};

APPEARANCE& Values()
{
    static APPEARANCE Instance;
    return Instance;
}

bool IsColor(int ColorID)
{
    return ColorID >= 0 && ColorID < NUM_COLORS;
}
bool IsFont(int FontID)
{
    return FontID >= 0 && FontID < NUM_FONTS;
}

QColor ResolvePalette(U32 Value)
{
    const QPalette Palette = QGuiApplication::palette();
    switch (Value) {
    case PALETTE_BASE:
        return Palette.color(QPalette::Base);
    case PALETTE_TEXT:
        return Palette.color(QPalette::Text);
    case PALETTE_HIGHLIGHT:
        return Palette.color(QPalette::Highlight);
    case PALETTE_HIGHLIGHTED_TEXT:
        return Palette.color(QPalette::HighlightedText);
    case PALETTE_BASE_DARKER:
        return Palette.color(QPalette::Base).darker(100 + DARKER_FACTOR);
    default:
        return QColor::fromRgba(Value);
    }
}

/// Code and values are read in columns, so they start with a fixed pitch.
bool IsFixedByDefault(int FontID)
{
    switch (FontID) {
    case FONT_APP_MONO:
    case FONT_ITEM_VALUE:
    case FONT_SRC_CODE:
    case FONT_SRC_ASM_CODE:
    case FONT_ASM_CODE:
    case FONT_LINE_NUMBERS:
    case FONT_EXEC_COUNTERS:
        return true;
    default:
        return false;
    }
}

template <typename T, std::size_t N> int FindRow(const T (&aRows)[N], const QString& sName)
{
    const QString sTrimmed = sName.trimmed();
    for (const T& Row : aRows) {
        if (sTrimmed.compare(QLatin1String(Row.Name), Qt::CaseInsensitive) == 0) {
            return Row.ID;
        }
    }
    bool Ok = false;
    const int Id = sTrimmed.toInt(&Ok);
    return Ok && Id >= 0 && Id < static_cast<int>(N) ? Id : -1;
}
} // namespace

void InitColorsAndFonts(const QFont& AppFont)
{
    APPEARANCE& V = Values();
    for (int i = 0; i < NUM_COLORS; ++i) {
        V.aColor[i] = V.aStoredColor[i] = s_aColors[i].Default;
    }
    for (int i = 0; i < NUM_FONTS; ++i) {
        V.aDefaultFont[i] = IsFixedByDefault(i) ? GetFixedFont(AppFont) : AppFont;
        V.aFont[i] = V.aStoredFont[i] = V.aDefaultFont[i];
    }
}

QFont GetFixedFont(const QFont& Font)
{
    QFont Fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (Font.pointSize() > 0) {
        Fixed.setPointSize(Font.pointSize());
    }
    Fixed.setWeight(Font.weight());
    Fixed.setItalic(Font.italic());
    return Fixed;
}

const COLOR_ROW* GetColorRow(int ColorID)
{
    return IsColor(ColorID) ? &s_aColors[ColorID] : nullptr;
}
QColor GetColor(int ColorID)
{
    return IsColor(ColorID) ? ResolvePalette(Values().aColor[ColorID]) : QColor();
}
U32 GetColorValue(int ColorID)
{
    return IsColor(ColorID) ? Values().aColor[ColorID] : 0;
}
U32 GetColorStored(int ColorID)
{
    return IsColor(ColorID) ? Values().aStoredColor[ColorID] : 0;
}

void SetColor(int ColorID, U32 Value, bool Store)
{
    if (!IsColor(ColorID)) {
        return;
    }
    APPEARANCE& V = Values();
    if (Store) {
        V.aStoredColor[ColorID] = Value;
    }
    if (V.aColor[ColorID] != Value) {
        V.aColor[ColorID] = Value;
        emit CSettingsNotifier::Get().ColorChanged(ColorID);
    }
}

int FindColor(const QString& sName)
{
    return FindRow(s_aColors, sName);
}

void ResetColor(int ColorID)
{
    if (IsColor(ColorID)) {
        SetColor(ColorID, s_aColors[ColorID].Default, true);
    }
}

const FONT_ROW* GetFontRow(int FontID)
{
    return IsFont(FontID) ? &s_aFonts[FontID] : nullptr;
}
QFont GetFont(int FontID)
{
    return IsFont(FontID) ? Values().aFont[FontID] : QFont();
}
QFont GetFontStored(int FontID)
{
    return IsFont(FontID) ? Values().aStoredFont[FontID] : QFont();
}
QFont GetFontDefault(int FontID)
{
    return IsFont(FontID) ? Values().aDefaultFont[FontID] : QFont();
}

void SetFont(int FontID, const QFont& Font, bool Store)
{
    if (!IsFont(FontID)) {
        return;
    }
    APPEARANCE& V = Values();
    if (Store) {
        V.aStoredFont[FontID] = Font;
    }
    if (V.aFont[FontID] != Font) {
        V.aFont[FontID] = Font;
        emit CSettingsNotifier::Get().FontChanged(FontID);
    }
}

int FindFont(const QString& sName)
{
    return FindRow(s_aFonts, sName);
}

QString FontToText(const QFont& Font)
{
    const bool Bold = Font.weight() > QFont::Normal;
    const char* sStyle =
        Bold ? (Font.italic() ? "Bold Italic" : "Bold") : (Font.italic() ? "Italic" : "Normal");
    const int Size = Font.pointSize() > 0 ? Font.pointSize() : QFontInfo(Font).pointSize();
    return QStringLiteral("%1,  %2pt,  %3").arg(Font.family()).arg(Size).arg(QLatin1String(sStyle));
}

bool ParseFont(const QString& sText, QFont* pFont)
{
    QStringList Entries = sText.split(QLatin1Char(','));
    if (Entries.size() != 3) {
        return false;
    }
    for (QString& sEntry : Entries) {
        sEntry = sEntry.remove(QLatin1Char('"')).trimmed();
    }
    bool Ok = false;
    const int Size =
        QString(Entries[1]).remove(QLatin1String("pt"), Qt::CaseInsensitive).trimmed().toInt(&Ok);
    if (!Ok || Size < MIN_FONT_SIZE || Size > MAX_FONT_SIZE || Entries[0].isEmpty()) {
        return false;
    }
    const QString& sStyle = Entries[2];
    const auto Has = [&sStyle](const char* sWord) {
        return sStyle.contains(QLatin1String(sWord), Qt::CaseInsensitive);
    };
    QFont Font(Entries[0], Size);
    if (Has("Bold") || Has("Black") || Has("Dark")) {
        Font.setWeight(QFont::Bold);
    } else if (Has("Medium")) {
        Font.setWeight(QFont::DemiBold);
    } else if (Has("Light")) {
        Font.setWeight(QFont::Light);
    } else {
        Font.setWeight(QFont::Normal);
    }
    Font.setItalic(Has("Italic") || Has("Oblique"));
    *pFont = Font;
    return true;
}
