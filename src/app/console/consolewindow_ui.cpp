// Widgets, fonts and menus of the console.
#include "app/console/consolewindow.h"

#include "app/console/completionpopup.h"
#include "project/settings/appearance.h"
#include "project/settings/settingsnotifier.h"
#include "project/settings/sysvars.h"
#include "views/theme/icons.h"
#include "views/theme/theme.h"

#include <QAction>
#include <QEvent>
#include <QFrame>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QPalette>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QStyle>
#include <QTextBlock>
#include <QTextOption>
#include <QVBoxLayout>
#include <memory>

namespace {
constexpr int SIDEBAR_MARGIN = 10;
constexpr int PROMPT_SIZE = 12;
constexpr int PROMPT_MARGIN = 6;

/// The mark in front of the input line; painted, so that it follows the colours of the desktop.
class CPrompt : public QWidget {
public:
    explicit CPrompt(QWidget* pParent) : QWidget(pParent) { setFixedWidth(PROMPT_SIZE + 2 * PROMPT_MARGIN); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter Painter(this);
        const QRectF Rect(PROMPT_MARGIN, (height() - PROMPT_SIZE) / 2.0, PROMPT_SIZE, PROMPT_SIZE);
        PaintIcon(Painter, QStringLiteral("node-expand"), Rect, palette().color(QPalette::Link));
    }
};

/// Lines of one height whatever font and script they are in, so that the two columns stay aligned.
class CLineLayout : public QPlainTextDocumentLayout {
public:
    using QPlainTextDocumentLayout::QPlainTextDocumentLayout;
    int LineHeight = 1; ///< pixels

    QRectF blockBoundingRect(const QTextBlock& Block) const override
    {
        QRectF Rect = QPlainTextDocumentLayout::blockBoundingRect(Block);
        if (Rect.isValid()) Rect.setHeight(LineHeight);
        return Rect;
    }
};

/// A plain text keeps no pixel position of a line: what comes below and goes above costs nothing for the lines between.
QPlainTextEdit* MakeTextEdit(QWidget* pParent, const char* sName)
{
    auto* pEdit = new QPlainTextEdit(pParent);
    auto* pDocument = new QTextDocument(pEdit);
    pDocument->setDocumentLayout(new CLineLayout(pDocument));
    pEdit->setDocument(pDocument);
    pEdit->setObjectName(sName);
    pEdit->setReadOnly(true);
    pEdit->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    pEdit->setTabChangesFocus(true);
    pEdit->setUndoRedoEnabled(false);
    pEdit->setFrameShape(QFrame::NoFrame);
    pEdit->setLineWrapMode(QPlainTextEdit::NoWrap);
    pEdit->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    pEdit->setContextMenuPolicy(Qt::CustomContextMenu);
    return pEdit;
}

QHBoxLayout* MakeRow(QWidget* pWidget)
{
    auto* pRow = new QHBoxLayout(pWidget);
    pRow->setContentsMargins(0, 0, 0, 0);
    pRow->setSpacing(0);
    return pRow;
}
} // namespace

void CConsoleWindow::_BuildWidgets()
{
    auto* pCentral = new QWidget(this);
    auto* pColumn = new QVBoxLayout(pCentral);
    pColumn->setContentsMargins(0, 0, 0, 0);
    pColumn->setSpacing(0);

    auto* pFrame = new QFrame(pCentral);
    auto* pTextRow = MakeRow(pFrame);
    m_pSidebar = MakeTextEdit(pFrame, "textEditSidebar");
    m_pSidebar->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // Aligned to the right edge of the widget, so the text has its width, yet no stamp is broken.
    m_pSidebar->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    m_pSidebar->setWordWrapMode(QTextOption::NoWrap);
    QTextOption Option = m_pSidebar->document()->defaultTextOption();
    Option.setAlignment(Qt::AlignRight);
    m_pSidebar->document()->setDefaultTextOption(Option);
    m_pSidebarLine = new QFrame(pFrame);
    m_pSidebarLine->setFrameShape(QFrame::VLine);
    m_pSidebarLine->setFrameShadow(QFrame::Plain);
    m_pText = MakeTextEdit(pFrame, "textEditConsole");
    m_pText->setAccessibleName(QStringLiteral("Messages"));
    m_pSidebar->setAccessibleName(QStringLiteral("Time stamps"));
    m_pSidebar->setFocusPolicy(Qt::ClickFocus);
    pTextRow->addWidget(m_pSidebar);
    pTextRow->addWidget(m_pSidebarLine);
    pTextRow->addWidget(m_pText, 1);
    pColumn->addWidget(pFrame, 1);

    m_pHorzBarLine = new QWidget(pCentral);
    auto* pBarRow = MakeRow(m_pHorzBarLine);
    m_pHorzBar = new QScrollBar(Qt::Horizontal, m_pHorzBarLine);
    auto* pCorner = new QWidget(m_pHorzBarLine);
    pCorner->setFixedWidth(style()->pixelMetric(QStyle::PM_ScrollBarExtent));
    pBarRow->addWidget(m_pHorzBar, 1);
    pBarRow->addWidget(pCorner);
    pColumn->addWidget(m_pHorzBarLine);

    auto* pInputLine = new QWidget(pCentral);
    auto* pInputRow = MakeRow(pInputLine);
    auto* pPrompt = new CPrompt(pInputLine);
    m_pInput = new QLineEdit(pInputLine);
    m_pInput->setObjectName("lineEditInput");
    m_pInput->setFrame(false);
    m_pInput->setAccessibleName(QStringLiteral("Command"));
    m_pInput->setPlaceholderText(QStringLiteral("Enter a command, ? lists all"));
    m_pInput->installEventFilter(this);
    m_pText->installEventFilter(this);
    m_pText->viewport()->installEventFilter(this);
    m_pPopup = new CCompletionPopup(m_pInput);
    connect(m_pInput, &QLineEdit::textEdited, this, [this](const QString& sText) {
        if (sText.contains('\n') || sText.contains('\r'))
            _TakePastedLines(sText);
        else
            _UpdateCompletion(false);
    });
    connect(m_pInput, &QLineEdit::cursorPositionChanged, this, [this] {
        if (m_pPopup->isVisible()) _UpdateCompletion(m_IsListRequested);
    });
    connect(m_pPopup, &CCompletionPopup::Accepted, this, &CConsoleWindow::_AcceptChoice);
    pInputRow->addWidget(pPrompt);
    pInputRow->setContentsMargins(0, 3, 4, 3);
    pInputRow->addWidget(m_pInput, 1);
    pColumn->addWidget(pInputLine);

    setCentralWidget(pCentral);
    setFocusProxy(m_pInput);

    // A hidden column has another height, so its bar ends elsewhere and must not hold the other one back.
    const auto Couple = [this](QScrollBar* pFrom, QScrollBar* pTo) {
        connect(pFrom, &QScrollBar::valueChanged, this, [this, pTo](int Value) {
            if (!m_pSidebar->isHidden()) pTo->setValue(Value);
        });
    };
    Couple(m_pText->verticalScrollBar(), m_pSidebar->verticalScrollBar());
    Couple(m_pSidebar->verticalScrollBar(), m_pText->verticalScrollBar());
    connect(m_pText->horizontalScrollBar(), &QScrollBar::rangeChanged, this, &CConsoleWindow::_UpdateHorzBar);
    connect(m_pText->horizontalScrollBar(), &QScrollBar::valueChanged, m_pHorzBar, &QScrollBar::setValue);
    connect(m_pHorzBar, &QScrollBar::valueChanged, m_pText->horizontalScrollBar(), &QScrollBar::setValue);
    connect(m_pText, &QWidget::customContextMenuRequested, this,
            &CConsoleWindow::OnEditorContextMenuRequested);
    connect(m_pSidebar, &QWidget::customContextMenuRequested, this,
            &CConsoleWindow::OnSidebarContextMenuRequested);
    SetSidebarVisible(GetVarValue(PREF_SHOW_TIMESTAMPS_CONSOLE) != 0);
    _UpdateHorzBar();
}

void CConsoleWindow::_BuildActions()
{
    m_pActionHelp = AddAction("actionConsoleHelp", QStringLiteral("&List Commands"), "",
                              QStringLiteral("Display Command List"));
    m_pActionHelp->setToolTip(QStringLiteral("List Commands"));
    m_pActionShowSidebar = AddAction("actionConsoleShowSidebar", QStringLiteral("Ti&meStamps"));
    m_pActionShowSidebar->setToolTip(QStringLiteral("Show TimeStamps"));
    m_pActionShowSidebar->setCheckable(true);
    m_pActionShowSidebar->setChecked(GetVarValue(PREF_SHOW_TIMESTAMPS_CONSOLE) != 0);
    Connect(m_pActionHelp, SIGNAL(triggered()), this, SLOT(OnActionHelpTriggered()));
    Connect(m_pActionShowSidebar, SIGNAL(triggered()), this, SLOT(OnActionShowSidebarTriggered()));

    CSettingsNotifier& Notifier = CSettingsNotifier::Get();
    connect(&Notifier, &CSettingsNotifier::VarChanged, this, &CConsoleWindow::SetPreference);
    connect(&Notifier, &CSettingsNotifier::FontChanged, this, [this](int FontID) {
        if (FontID == FONT_CONSOLE) _ApplyFont();
    });
    connect(&Notifier, &CSettingsNotifier::ColorChanged, this, &CConsoleWindow::_RestyleText);
    connect(&CTheme::Get(), &CTheme::SchemeChanged, this, [this] {
        _UpdateColors();
        _RestyleText();
    });
}

// ---- Look
// --------------------------------------------------------------------------------------------------

void CConsoleWindow::_UpdateColors()
{
    m_DefaultColor = palette().color(QPalette::Text).rgba();
    if (!m_pSidebar) return;
    QPalette Palette = m_pSidebar->palette();
    Palette.setColor(QPalette::Base, CTheme::GetMarginColor());
    Palette.setColor(QPalette::Text, CTheme::GetWeakTextColor());
    m_pSidebar->setPalette(Palette);
    Palette.setColor(QPalette::WindowText, CTheme::GetBorderColor());
    m_pSidebarLine->setPalette(Palette);
}

void CConsoleWindow::_ApplyFont()
{
    m_Font = GetFont(FONT_CONSOLE);
    m_FixedFont = GetFixedFont(m_Font);
    // The next message builds its format from the new fonts.
    m_IsFixed = false;
    m_Format = QTextCharFormat();
    for (QPlainTextEdit* pEdit : {m_pText, m_pSidebar}) {
        static_cast<CLineLayout*>(pEdit->document()->documentLayout())->LineHeight = _GetLineHeight();
        pEdit->setFont(m_Font);
        pEdit->document()->setDefaultFont(m_Font);
    }
    _RestyleText();
    m_pInput->setFont(m_Font);
    ResizeSidebarToOptWidth();
}

void CConsoleWindow::SetFont(int FontID, QFont&)
{
    if (FontID == FONT_CONSOLE) _ApplyFont();
}

void CConsoleWindow::changeEvent(QEvent* pEvent)
{
    CWindow::changeEvent(pEvent);
    if (pEvent->type() == QEvent::PaletteChange) _UpdateColors();
}

/// One height for all lines in both columns, so that they stay aligned whatever font a message has.
int CConsoleWindow::_GetLineHeight() const
{
    return qMax(1, qMax(QFontMetrics(m_Font).lineSpacing(), QFontMetrics(m_FixedFont).lineSpacing()));
}

void CConsoleWindow::SetPreference(int SysVarID, I64 Value)
{
    if (SysVarID != PREF_SHOW_TIMESTAMPS_CONSOLE) return;
    if (m_pActionShowSidebar) m_pActionShowSidebar->setChecked(Value != 0);
    SetSidebarVisible(Value != 0);
}

void CConsoleWindow::SetSidebarVisible(bool Visible)
{
    m_pSidebar->setVisible(Visible);
    m_pSidebarLine->setVisible(Visible);
    ResizeSidebarToOptWidth();
    m_pSidebar->verticalScrollBar()->setValue(m_pText->verticalScrollBar()->value());
}

void CConsoleWindow::ResizeSidebarToOptWidth()
{
    if (m_pSidebar->isHidden()) return;
    int Width = 0;
    if (m_HasText) {
        const int First = m_pSidebar->verticalScrollBar()->value();
        const int NumVisible = m_pSidebar->viewport()->height() / _GetLineHeight();
        const int Last = qMin(First + NumVisible, m_pSidebar->document()->blockCount() - 1);
        const QFontMetrics Metrics(m_Font);
        for (const int i : {First, Last - 1, Last}) {
            const QTextBlock Block = m_pSidebar->document()->findBlockByNumber(i);
            if (Block.isValid()) Width = qMax(Width, Metrics.horizontalAdvance(Block.text()));
        }
        Width += SIDEBAR_MARGIN;
    }
    if (m_pSidebar->width() != Width || m_pSidebar->minimumWidth() != Width) m_pSidebar->setFixedWidth(Width);
}

void CConsoleWindow::_UpdateHorzBar()
{
    const QScrollBar* pBar = m_pText->horizontalScrollBar();
    m_pHorzBar->setPageStep(pBar->pageStep());
    m_pHorzBar->setSingleStep(pBar->singleStep());
    m_pHorzBar->setRange(pBar->minimum(), pBar->maximum());
    m_pHorzBarLine->setVisible(pBar->maximum() > pBar->minimum());
}

bool CConsoleWindow::_IsViewHeld() const
{
    // From the press on: the end of the text would become the start of the selection that is being made.
    const bool IsSelecting = m_pText->hasFocus() && QGuiApplication::mouseButtons().testFlag(Qt::LeftButton);
    return IsSelecting || m_pText->textCursor().hasSelection();
}

void CConsoleWindow::_ShowEndOfText()
{
    if (_IsViewHeld()) return _UpdateHorzBar();
    m_pText->moveCursor(QTextCursor::End);
    m_pText->verticalScrollBar()->setValue(m_pText->verticalScrollBar()->maximum());
    m_pText->horizontalScrollBar()->setValue(m_pText->horizontalScrollBar()->minimum());
    m_pSidebar->verticalScrollBar()->setValue(m_pText->verticalScrollBar()->value());
    _UpdateHorzBar();
}

// ---- Menus
// -------------------------------------------------------------------------------------------------

void CConsoleWindow::OnContextMenuRequested(QPoint Pos)
{
    OnEditorContextMenuRequested(m_pText->viewport()->mapFrom(this, Pos));
}

void CConsoleWindow::OnEditorContextMenuRequested(QPoint Pos)
{
    const std::unique_ptr<QMenu> pMenu(m_pText->createStandardContextMenu(Pos));
    pMenu->addAction(m_pActionClear);
    pMenu->addSeparator();
    pMenu->addAction(m_pActionHelp);
    pMenu->addSeparator();
    pMenu->addAction(m_pActionShowSidebar);
    pMenu->exec(m_pText->viewport()->mapToGlobal(Pos));
}

void CConsoleWindow::OnSidebarContextMenuRequested(QPoint Pos)
{
    QMenu Menu(this);
    Menu.addAction(m_pActionShowSidebar);
    Menu.exec(m_pSidebar->viewport()->mapToGlobal(Pos));
}
