#include "views/theme/theme.h"

#include "project/settings/appearance.h"
#include "views/theme/icons.h"

#include <QApplication>
#include <QEvent>
#include <QFontDatabase>
#include <QProxyStyle>
#include <QStyle>
#include <QStyleFactory>
#include <array>
#include <memory>

namespace {

constexpr QRgb NO_DARK_COLOR = 0;

/// Counterparts on a dark ground of the colour table's defaults; 0 keeps the default, which then follows the
/// palette.
constexpr std::array<QRgb, NUM_COLORS> aDarkColors{
    NO_DARK_COLOR, // COLOR_SELECTION_HIGHLIGHT
    NO_DARK_COLOR, // COLOR_SELECTION_HIGHLIGHT_TEXT
    NO_DARK_COLOR, // COLOR_CHANGE_LEVEL_1_BG
    NO_DARK_COLOR, // COLOR_CHANGE_LEVEL_2_BG
    NO_DARK_COLOR, // COLOR_CHANGE_LEVEL_3_BG
    0xFFFF6B68,    // COLOR_CHANGE_LEVEL_1_FG
    0xFFE08A87,    // COLOR_CHANGE_LEVEL_2_FG
    0xFFC9A3A1,    // COLOR_CHANGE_LEVEL_3_FG
    0xFF2C5A36,    // COLOR_PC_ACTIVE
    0xFF2B3D2F,    // COLOR_PC_INACTIVE
    0xFF5C561F,    // COLOR_PC_BACKTRACE
    0xFF3A3824,    // COLOR_CALL_SITE_ACTIVE
    0xFF32312A,    // COLOR_CALL_SITE_INACTIVE
    0xFF33373D,    // COLOR_TABLE_GRID_LINES
    0xFF8FB4F5,    // COLOR_SYNTAX_REGISTER
    0xFFD7DAE0,    // COLOR_SYNTAX_LABEL
    0xFFC89BE8,    // COLOR_SYNTAX_MNEMONIC
    0xFFF0A37C,    // COLOR_SYNTAX_IMMEDIATE
    0xFF7AABF0,    // COLOR_SYNTAX_KEYWORD
    0xFF9FB6D8,    // COLOR_SYNTAX_DIRECTIVE
    0xFFE39C82,    // COLOR_SYNTAX_STRING
    0xFF76B37A,    // COLOR_SYNTAX_COMMENT
    0xFFD7DAE0,    // COLOR_SYNTAX_TEXT
    0xFF6CC777,    // COLOR_LOGGING_SCRIPT
    NO_DARK_COLOR, // COLOR_LOGGING_USER
    0xFFFF7B72,    // COLOR_LOGGING_ERROR
    0xFF8FB4F5,    // COLOR_LOGGING_BRYLLO
    0xFF2C5A36,    // COLOR_PROGRESS_BAR_PROGRESS
    NO_DARK_COLOR, // COLOR_PROGRESS_BAR_REMAINING
    0xFFD79BD0,    // COLOR_SYMBOL_GLOBAL_VAR
    0xFFD79BD0,    // COLOR_SYMBOL_LOCAL_VAR
    0xFFD7DAE0,    // COLOR_SYMBOL_CONSTANT
    0xFFD7DAE0,    // COLOR_SYMBOL_MEMBER
    0xFFD7DAE0,    // COLOR_SYMBOL_FUNCTION
    0xFF25303D,    // COLOR_ASM_LABEL_BACKG
    0xFF1C1F23,    // COLOR_ASM_BACKG
    0xFF2B4530,    // COLOR_EXEC_PROFILE_GOOD_INSTR
    0xFF5A4B16,    // COLOR_EXEC_PROFILE_BAD_INSTR
    0xFFFF7B72,    // COLOR_TABLE_FILTER_MATCH
};

struct PALETTE_ROW {
    QPalette::ColorRole Role;
    QRgb Light;
    QRgb Dark;
};
constexpr PALETTE_ROW aPalette[] = {
    {QPalette::Window, 0xFFF3F4F6, 0xFF24272C},
    {QPalette::WindowText, 0xFF1F2328, 0xFFD7DAE0},
    {QPalette::Base, 0xFFFFFFFF, 0xFF1C1F23},
    {QPalette::AlternateBase, 0xFFF8F9FA, 0xFF202328},
    {QPalette::Text, 0xFF1F2328, 0xFFD7DAE0},
    {QPalette::Button, 0xFFF3F4F6, 0xFF2B2F35},
    {QPalette::ButtonText, 0xFF353B44, 0xFFC9CED6},
    {QPalette::BrightText, 0xFFFFFFFF, 0xFFFFFFFF},
    {QPalette::Light, 0xFFFFFFFF, 0xFF383D45},
    {QPalette::Midlight, 0xFFE9EBEF, 0xFF30343A},
    {QPalette::Mid, 0xFFCDD2D9, 0xFF3A3F47},
    {QPalette::Dark, 0xFFA9B0BA, 0xFF17191C},
    {QPalette::Shadow, 0xFF6B727C, 0xFF0E0F11},
    {QPalette::Highlight, 0xFF2F6FD6, 0xFF3565A8},
    {QPalette::HighlightedText, 0xFFFFFFFF, 0xFFFFFFFF},
    {QPalette::Link, 0xFF2560C4, 0xFF7AABF0},
    {QPalette::LinkVisited, 0xFF6A48B0, 0xFFB08CE6},
    {QPalette::ToolTipBase, 0xFFFFFFFF, 0xFF2F343B},
    {QPalette::ToolTipText, 0xFF1F2328, 0xFFD7DAE0},
    {QPalette::PlaceholderText, 0xFF8A919B, 0xFF7B838F},
};

const char* const sStyleTemplate = R"(
QMainWindow::separator { background: @window; width: 5px; height: 5px; }
QMainWindow::separator:hover { background: @highlight; }
QToolTip { color: @text; background: @tip; border: 1px solid @border; padding: 4px 6px; }
QMenuBar { background: @window; padding: 2px 4px; }
QMenuBar::item { padding: 4px 9px; border-radius: 4px; background: transparent; }
QMenuBar::item:selected { background: @hover; }
QMenu { background: @base; border: 1px solid @border; padding: 4px; }
QMenu::item { padding: 5px 24px 5px 10px; border-radius: 4px; }
QMenu::icon { padding-left: 6px; }
QMenu::item:selected { background: @highlight; color: @highlighttext; }
QMenu::item:disabled { color: @weak; background: transparent; }
QMenu::separator { height: 1px; background: @line; margin: 4px 6px; }
QToolBar { background: @window; border: none; padding: 3px 6px; spacing: 2px; }
QToolBar::handle:horizontal { width: 6px; margin: 7px 2px 7px 0; border-left: 2px dotted @border; }
QToolBar::handle:vertical { height: 6px; margin: 0 7px 2px 7px; border-top: 2px dotted @border; }
QToolBar::separator { background: @border; width: 1px; margin: 5px 5px; }
QToolBar QToolButton, QFrame#FindBar QToolButton { border: 1px solid transparent; border-radius: 5px; padding: 4px; }
QToolBar QToolButton[popupMode="1"] { padding-right: 17px; }
QToolBar QToolButton::menu-button { border: none; border-left: 1px solid transparent; width: 14px;
    border-top-right-radius: 5px; border-bottom-right-radius: 5px; }
QToolBar QToolButton::menu-button:hover { background: @pressed; }
QToolButton::menu-arrow { image: url(:/Resources/Icons/chevron-down@scheme.svg); width: 10px; height: 10px; }
QToolButton::menu-arrow:disabled { image: url(:/Resources/Icons/chevron-down-weak.svg); }
QToolBar QToolButton:hover, QFrame#FindBar QToolButton:hover { background: @hover; }
QFrame#FindBar QToolButton:focus { border-color: @highlight; }
QToolBar QToolButton:pressed, QToolBar QToolButton:checked, QFrame#FindBar QToolButton:checked { background: @pressed; }
QStatusBar { background: @window; border-top: 1px solid @line; }
QStatusBar::item { border: none; }
QHeaderView { background: @window; border: none; }
QHeaderView::section { background: @window; color: @button; border: none; border-right: 1px solid @line;
    border-bottom: 1px solid @line; padding: 2px 6px; }
QTreeView, QTableView, QPlainTextEdit { border: none; background: @base; }
QTabBar { qproperty-drawBase: 0; }
QTabBar::tab { background: transparent; color: @button; padding: 3px 12px 0px 12px; min-height: 23px; border: none;
    border-bottom: 2px solid transparent; }
QTabBar::tab:hover { background: @hover; }
QTabBar::tab:selected { color: @text; background: @base; border-bottom: 2px solid @highlight; }
QTabBar::tab:bottom, QTabBar::tab:south { padding: 0px 12px 3px 12px; border-bottom: none; border-top: 2px solid transparent; }
QScrollBar:vertical { background: transparent; width: 12px; margin: 0; }
QScrollBar:horizontal { background: transparent; height: 12px; margin: 0; }
QScrollBar::handle { background: @scroll; border-radius: 4px; margin: 2px; }
QScrollBar::handle:vertical { min-height: 28px; }
QScrollBar::handle:horizontal { min-width: 28px; }
QScrollBar::handle:hover { background: @scrollhover; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }
QAbstractScrollArea::corner { background: transparent; }
QLineEdit { background: @base; border: 1px solid @border; border-radius: 4px; padding: 3px 6px;
    selection-background-color: @highlight; selection-color: @highlighttext; }
QLineEdit:focus { border-color: @highlight; }
QPushButton { background: @base; color: @text; border: 1px solid @border; border-radius: 5px; padding: 5px 14px; }
QPushButton:hover { background: @hover; }
QPushButton:pressed { background: @pressed; }
QPushButton:default { background: @highlight; border-color: @highlight; color: @highlighttext; }
QPushButton:focus { border-color: @highlight; }
QPushButton:disabled { color: @weak; background: @window; border-color: @line; }
QComboBox { background: @base; border: 1px solid @border; border-radius: 4px; padding: 2px 6px; }
QComboBox:hover { border-color: @weak; }
QComboBox::drop-down { border: none; width: 18px; }
QComboBox::down-arrow { image: url(:/Resources/Icons/chevron-down@scheme.svg); width: 12px; height: 12px; }
QComboBox QAbstractItemView { background: @base; border: 1px solid @border; selection-background-color: @highlight;
    selection-color: @highlighttext; }
QTabBar::close-button { image: url(:/Resources/Icons/cross-small@scheme.svg); subcontrol-position: right; border-radius: 3px;
    width: 12px; height: 12px; }
QTabBar::close-button:hover { background: @pressed; }
QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 0; }
QDialog QGroupBox { background: @base; border: 1px solid @line; border-radius: 6px; margin-top: 24px; padding: 4px; }
QDialog QGroupBox::title { subcontrol-origin: margin; subcontrol-position: top left; padding: 4px 2px; color: @button; }
QDialog QLabel[valueField="true"] { background: @base; border: 1px solid @line; border-radius: 4px; padding: 3px 6px; }
QDialog QTreeWidget, QDialog QTableWidget, QDialog QListWidget { border: 1px solid @line; border-radius: 6px; padding: 2px; }
QDialog QTreeWidget { outline: 0; show-decoration-selected: 1; }
QDialog QTreeWidget::item { padding: 3px 0; }
QCheckBox::indicator, QRadioButton::indicator, QGroupBox::indicator { width: 13px; height: 13px; border: 1px solid @weak; background: @base; }
QCheckBox::indicator, QGroupBox::indicator { border-radius: 3px; }
QRadioButton::indicator { border-radius: 7px; }
QCheckBox::indicator:hover, QGroupBox::indicator:hover, QRadioButton::indicator:hover, QCheckBox::indicator:focus, QRadioButton::indicator:focus {
    border-color: @highlight; }
QCheckBox::indicator:checked, QGroupBox::indicator:checked { background: @highlight; border-color: @highlight;
    image: url(:/Resources/Icons/tick-white.svg); }
QRadioButton::indicator:checked { width: 7px; height: 7px; border: 4px solid @highlight; background: #ffffff; }
QCheckBox::indicator:disabled, QGroupBox::indicator:disabled, QRadioButton::indicator:disabled { border-color: @border; background: @window; }
QCheckBox::indicator:checked:disabled, QGroupBox::indicator:checked:disabled { background: @scroll; border-color: @scroll; }
QAbstractSpinBox { background: @base; border: 1px solid @border; border-radius: 4px; padding: 2px 20px 2px 4px; }
QAbstractSpinBox:focus { border-color: @highlight; }
QAbstractSpinBox::up-button, QAbstractSpinBox::down-button { border: none; width: 18px; background: transparent; }
QAbstractSpinBox::up-button:hover, QAbstractSpinBox::down-button:hover { background: @hover; }
QAbstractSpinBox::up-arrow { image: url(:/Resources/Icons/chevron-up@scheme.svg); width: 10px; height: 10px; }
QAbstractSpinBox::down-arrow { image: url(:/Resources/Icons/chevron-down@scheme.svg); width: 10px; height: 10px; }
QDialog QTreeWidget::item:selected { background: @highlight; color: @highlighttext; }
QProgressBar { background: @hover; border: none; border-radius: 3px; text-align: center; }
QProgressBar::chunk { background: @highlight; border-radius: 3px; }
)";

constexpr char BASE_STYLE[] = "Fusion";
constexpr int OVERFLOW_EXTENT = 26; ///< of the button behind which a tool bar keeps what has no room; a button's width

/// The toolkit's own pictures, in its file and message dialogs, are drawings of this program's set.
struct STANDARD_ICON {
    QStyle::StandardPixmap Standard;
    const char* sName;
};
constexpr STANDARD_ICON aStandardIcons[] = {
    {QStyle::SP_MessageBoxInformation, "information"},
    {QStyle::SP_MessageBoxWarning, "exclamation"},
    {QStyle::SP_MessageBoxCritical, "error"},
    {QStyle::SP_MessageBoxQuestion, "question"},
    {QStyle::SP_ArrowBack, "arrow-left"},
    {QStyle::SP_ArrowForward, "arrow-right"},
    {QStyle::SP_FileDialogBack, "arrow-left"},
    {QStyle::SP_FileDialogToParent, "arrow-up"},
    {QStyle::SP_FileDialogNewFolder, "folder-new"},
    {QStyle::SP_FileDialogListView, "view-icons"},
    {QStyle::SP_FileDialogDetailedView, "view-rows"},
    {QStyle::SP_DirIcon, "folder-small-horizontal"},
    {QStyle::SP_DirClosedIcon, "folder-small-horizontal"},
    {QStyle::SP_DirOpenIcon, "folder-open"},
    {QStyle::SP_DirHomeIcon, "folder-open"},
    {QStyle::SP_DirLinkIcon, "folder-small-horizontal"},
    {QStyle::SP_FileIcon, "document-empty"},
    {QStyle::SP_FileLinkIcon, "document-empty"},
    {QStyle::SP_ComputerIcon, "computer"},
    {QStyle::SP_DesktopIcon, "computer"},
    {QStyle::SP_DriveHDIcon, "drive"},
    {QStyle::SP_LineEditClearButton, "cross-small"},
};

/// What a style sheet can't set.
class CThemeStyle : public QProxyStyle {
public:
    CThemeStyle() : QProxyStyle(QLatin1String(BASE_STYLE)) {}
    int pixelMetric(PixelMetric Metric, const QStyleOption* pOption, const QWidget* pWidget) const override
    {
        if (Metric == PM_ToolBarExtensionExtent) return OVERFLOW_EXTENT;
        return QProxyStyle::pixelMetric(Metric, pOption, pWidget);
    }
    QIcon standardIcon(StandardPixmap Standard, const QStyleOption* pOption, const QWidget* pWidget) const override
    {
        for (const STANDARD_ICON& Icon : aStandardIcons)
            if (Icon.Standard == Standard) return GetIcon(QLatin1String(Icon.sName));
        return QProxyStyle::standardIcon(Standard, pOption, pWidget);
    }
};

QString ColorText(QRgb Color)
{
    return QColor(Color).name();
}

} // namespace

CTheme& CTheme::Get()
{
    static CTheme s_Theme;
    return s_Theme;
}

void CTheme::Init(QApplication& App)
{
    CTheme& Theme = Get();
    Theme.m_pApp = &App;
    InitIconResources();
    App.setStyle(new CThemeStyle);
    if (QFontDatabase::families().contains(QStringLiteral("DejaVu Sans")) && App.font().family().isEmpty())
        App.setFont(QFont(QStringLiteral("DejaVu Sans"), 9));
    App.installEventFilter(&Theme);
    Theme.Apply();
}

void CTheme::SetScheme(THEME_SCHEMES Scheme)
{
    Get().m_Scheme = Scheme;
    Get().Apply();
}

THEME_SCHEMES CTheme::GetScheme()
{
    return Get().m_Scheme;
}

bool CTheme::IsDark()
{
    return Get().m_Dark;
}

bool CTheme::IsDesktopDark()
{
    const QByteArray sGtkTheme = qgetenv("GTK_THEME").toLower();
    if (sGtkTheme.endsWith(":dark") || sGtkTheme.endsWith("-dark")) return true;
    // A fresh style asks the desktop, whatever palette the application has set meanwhile.
    const std::unique_ptr<QStyle> pStyle(QStyleFactory::create(QLatin1String(BASE_STYLE)));
    const QPalette Palette = pStyle->standardPalette();
    return Palette.color(QPalette::WindowText).lightness() > Palette.color(QPalette::Window).lightness();
}

void CTheme::Apply()
{
    if (!m_pApp || m_Applying) return;
    m_Applying = true;
    const bool Dark = m_Scheme == THEME_DARK || (m_Scheme == THEME_AUTO && IsDesktopDark());
    const bool Changed = Dark != m_Dark;
    m_Dark = Dark;
    m_pApp->setPalette(MakePalette(Dark));
    m_pApp->setStyleSheet(MakeStyleSheet(Dark));
    m_Applying = false;
    if (Changed) emit SchemeChanged(Dark);
}

bool CTheme::eventFilter(QObject* pObject, QEvent* pEvent)
{
    if (pObject == m_pApp && pEvent->type() == QEvent::ThemeChange && m_Scheme == THEME_AUTO) Apply();
    return QObject::eventFilter(pObject, pEvent);
}

QPalette CTheme::MakePalette(bool Dark)
{
    QPalette Palette;
    for (const PALETTE_ROW& Row : aPalette)
        Palette.setColor(Row.Role, QColor::fromRgb(Dark ? Row.Dark : Row.Light));
    const QColor Weak = QColor::fromRgb(Dark ? 0xFF6C737E : 0xFF9AA1AB);
    for (auto Role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        Palette.setColor(QPalette::Disabled, Role, Weak);
    Palette.setColor(QPalette::Disabled, QPalette::Highlight,
                     QColor::fromRgb(Dark ? 0xFF3A3F47 : 0xFFCDD2D9));
    return Palette;
}

QString CTheme::MakeStyleSheet(bool Dark)
{
    struct TOKEN {
        const char* sName;
        QRgb Light;
        QRgb Dark;
    };
    // Longer names first, so that no token is the head of a later one.
    static constexpr TOKEN aTokens[] = {
        {"@highlighttext", 0xFFFFFFFF, 0xFFFFFFFF}, {"@highlight", 0xFF2F6FD6, 0xFF4A82CF},
        {"@scrollhover", 0xFFA9B0BA, 0xFF5A616B},   {"@scroll", 0xFFCDD2D9, 0xFF434952},
        {"@border", 0xFFCDD2D9, 0xFF3F454E},        {"@line", 0xFFE1E4E8, 0xFF32363D},
        {"@hover", 0xFFE6E9EE, 0xFF32373E},         {"@pressed", 0xFFD6DBE3, 0xFF3C424B},
        {"@window", 0xFFF3F4F6, 0xFF24272C},        {"@base", 0xFFFFFFFF, 0xFF1C1F23},
        {"@button", 0xFF4A515C, 0xFFB4BAC4},        {"@text", 0xFF1F2328, 0xFFD7DAE0},
        {"@weak", 0xFF9AA1AB, 0xFF6C737E},          {"@tip", 0xFFFFFFFF, 0xFF2F343B},
    };
    QString sSheet = QString::fromLatin1(sStyleTemplate);
    // Style sheets load drawings as they stand, so the few they need exist in both strokes.
    sSheet.replace(QLatin1String("@scheme"), Dark ? QLatin1String("-dark") : QLatin1String("-light"));
    for (const TOKEN& Token : aTokens)
        sSheet.replace(QLatin1String(Token.sName), ColorText(Dark ? Token.Dark : Token.Light));
    return sSheet;
}

QColor CTheme::GetColor(int ColorID)
{
    const COLOR_ROW* pRow = GetColorRow(ColorID);
    if (!pRow) return QColor();
    const QRgb DarkColor = aDarkColors[static_cast<size_t>(ColorID)];
    if (IsDark() && DarkColor != NO_DARK_COLOR && GetColorValue(ColorID) == pRow->Default)
        return QColor::fromRgba(DarkColor);
    return ::GetColor(ColorID);
}

QColor CTheme::GetBorderColor()
{
    return QColor::fromRgb(IsDark() ? 0xFF32363D : 0xFFE1E4E8);
}
QColor CTheme::GetMarginColor()
{
    return QColor::fromRgb(IsDark() ? 0xFF202328 : 0xFFF5F6F8);
}
QColor CTheme::GetCurrentLineColor()
{
    return QColor::fromRgb(IsDark() ? 0xFF262A30 : 0xFFF1F4F9);
}
QColor CTheme::GetCheckBoxColor()
{
    return QColor::fromRgb(IsDark() ? 0xFF8A929D : 0xFF7A828C);
}
QColor CTheme::GetWeakTextColor()
{
    return QColor::fromRgb(IsDark() ? 0xFF6C737E : 0xFF9AA1AB);
}

#include "moc_theme.cpp"
