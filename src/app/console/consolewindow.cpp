// Writing to the console and showing what was written.
#include "app/console/consolewindow.h"

#include "app/actions/actions.h"
#include "app/services/log.h"
#include "app/services/logfile.h"
#include "app/services/mainthread.h"
#include "app/services/timetext.h"
#include "project/settings/appearance.h"
#include "views/theme/theme.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <algorithm>

namespace {
constexpr int UPDATE_INTERVAL_MS = 100;
constexpr int MAX_MESSAGES_PER_UPDATE = 100;
constexpr int PASTE_INTERVAL_MS = 10; ///< between two looks whether the next pasted line may run
constexpr int PROPERTY_COLOR_ID = QTextFormat::UserProperty + 1; ///< of a text in a colour of the colour table

CConsoleWindow* pInstance = nullptr;

/// Appends a text, in a paragraph of its own if asked.
void AppendText(QPlainTextEdit* pEdit, const QString& sText, const QTextCharFormat& Format, bool NewParagraph)
{
    QTextCursor Cursor(pEdit->document());
    Cursor.movePosition(QTextCursor::End);
    if (NewParagraph) Cursor.insertBlock(QTextBlockFormat(), Format);
    Cursor.insertText(sText, Format);
}

/// Takes the oldest lines out. A view that is held stays on its text.
void RemoveFirstLines(QPlainTextEdit* pEdit, int NumLines)
{
    QScrollBar* pBar = pEdit->verticalScrollBar();
    const int TopLine = pBar->value();
    QTextCursor Cursor(pEdit->document());
    Cursor.setPosition(pEdit->document()->findBlockByNumber(NumLines).position(), QTextCursor::KeepAnchor);
    Cursor.removeSelectedText();
    pBar->setValue(std::max(0, TopLine - NumLines));
}

QStringList GetLinesOf(const QPlainTextEdit* pEdit)
{
    QStringList Lines;
    for (QTextBlock b = pEdit->document()->begin(); b.isValid(); b = b.next()) Lines.append(b.text());
    return Lines;
}
} // namespace

CConsoleWindow& CConsoleWindow::Get()
{
    if (!pInstance) {
        AssertMainThread("CConsoleWindow");
        pInstance = new CConsoleWindow;
    }
    return *pInstance;
}

bool CConsoleWindow::Exists()
{
    return pInstance != nullptr;
}

CConsoleWindow::CConsoleWindow(QWidget* pParent) : CWindow(pParent, QStringLiteral("Console"))
{
    m_Clock.start();
    m_UpdateTimer.setInterval(UPDATE_INTERVAL_MS);
    m_UpdateTimer.setSingleShot(true);
    connect(&m_UpdateTimer, &QTimer::timeout, this, &CConsoleWindow::OnUpdateTimerTimeout);
    m_PasteTimer.setInterval(PASTE_INTERVAL_MS);
    connect(&m_PasteTimer, &QTimer::timeout, this, &CConsoleWindow::_RunPastedLine);
    SetFlag(WF_CONTENTS_MODIFIABLE, true);
    SetFlag(WF_CLEAR_ON_HIDE, false);
    SetFlag(WF_CLEAR_ON_DISCONNECT, false);
    _BuildWidgets();
    _BuildActions();
    _UpdateColors();
    _ApplyFont();
    AddCommandListener(this);
    SetLogConsoleSink([this](const QString& sText, U32 Flags) { _OnLogged(sText, Flags); });
    LinkWindowActions();
}

CConsoleWindow::~CConsoleWindow()
{
    SetLogConsoleSink(nullptr);
    CloseLogFile(LOG_SLOT_CONSOLE);
    pInstance = nullptr;
}

// ---- Writing, any thread
// -----------------------------------------------------------------------------------

void CConsoleWindow::_Write(const QString& sText, const CONSOLE_LOOK& Look)
{
    if (!m_Ring.Write(sText, Look, m_Clock.nsecsElapsed() / 1000)) return;
    // One pending call serves all messages up to it: a flood doesn't fill the event queue.
    if (m_IsUpdatePosted.exchange(true)) return;
    QMetaObject::invokeMethod(this, qOverload<>(&CConsoleWindow::Update), Qt::QueuedConnection);
}

CONSOLE_LOOK CConsoleWindow::_GetLook(const QColor& Color, bool Fixed) const
{
    CONSOLE_LOOK Look;
    const bool IsDefault = Color == QColor(Qt::transparent);
    Look.Color = IsDefault ? m_DefaultColor.load(std::memory_order_relaxed) : Color.rgba();
    Look.Fixed = Fixed;
    return Look;
}

void CConsoleWindow::Print(const QString& sText, const QColor& Color, bool Fixed)
{
    if (!sText.isEmpty()) _Write(sText, _GetLook(Color, Fixed));
}

void CConsoleWindow::PrintInColor(const QString& sText, int ColorID, bool Fixed)
{
    if (sText.isEmpty()) return;
    CONSOLE_LOOK Look = _GetLook(Qt::transparent, Fixed);
    Look.ColorID = ColorID;
    _Write(sText, Look);
}

void CConsoleWindow::PrintLines(const QStringList& Lines, const QColor& Color)
{
    for (const QString& sLine : Lines) _Write(sLine, _GetLook(Color, true));
}

void CConsoleWindow::PrintCommand(const QString& sText)
{
    PrintInColor(sText, COLOR_LOGGING_USER);
}

void CConsoleWindow::PrintError(const QString& sText, const QString& sError)
{
    m_NumErrors.fetch_add(1, std::memory_order_relaxed);
    CONSOLE_LOOK Look = _GetLook(Qt::transparent, false);
    Look.ColorID = COLOR_LOGGING_ERROR;
    Look.IsError = true;
    _Write(sText.isEmpty() ? sError : sText + ": " + sError, Look);
}

void CConsoleWindow::_OnLogged(const QString& sText, U32 Flags)
{
    if (sText.isEmpty()) return;
    CONSOLE_LOOK Look = _GetLook(Qt::transparent, false);
    if (Flags & (MSG_ERROR | MSG_WARNING))
        Look.ColorID = COLOR_LOGGING_ERROR;
    else if (Flags & MSG_DARK)
        Look.ColorID = COLOR_LOGGING_BRYLLO;
    Look.IsError = Flags & MSG_ERROR;
    if (Look.IsError) m_NumLogErrors.fetch_add(1, std::memory_order_relaxed);
    _Write(sText, Look);
}

// ---- Draining, main thread
// ---------------------------------------------------------------------------------

void CConsoleWindow::Update()
{
    m_IsUpdatePosted = false;
    if (!m_UpdateTimer.isActive()) m_UpdateTimer.start();
}

void CConsoleWindow::OnUpdateTimerTimeout()
{
    if (_Drain(MAX_MESSAGES_PER_UPDATE) == 0) return;
    _ShowEndOfText();
    m_UpdateTimer.start();
}

void CConsoleWindow::Flush()
{
    if (_Drain(-1) > 0) _ShowEndOfText();
}

int CConsoleWindow::_Drain(int MaxMessages)
{
    CONSOLE_MESSAGE Message;
    if (m_Ring.IsEmpty()) return 0;
    // One edit for the whole run: each column is laid out once, not once a message.
    QTextCursor Text(m_pText->document());
    QTextCursor Sidebar(m_pSidebar->document());
    Text.beginEditBlock();
    Sidebar.beginEditBlock();
    int n = 0;
    while (n != MaxMessages && m_Ring.Read(&Message)) {
        _ShowMessage(Message);
        n++;
    }
    Sidebar.endEditBlock();
    Text.endEditBlock();
    // Both columns have the same lines, so both lose the same.
    if (const int NumExtra = m_pText->document()->blockCount() - CONSOLE_MAX_LINES; NumExtra > 0)
        for (QPlainTextEdit* pEdit : {m_pText, m_pSidebar}) RemoveFirstLines(pEdit, NumExtra);
    ResizeSidebarToOptWidth();
    return n;
}

void CConsoleWindow::_ShowMessage(const CONSOLE_MESSAGE& Message)
{
    const CONSOLE_LOOK& Look = Message.Look;
    if (Look.Fixed != m_IsFixed) {
        m_IsFixed = Look.Fixed;
        m_Format = QTextCharFormat();
        if (m_IsFixed) m_Format.setFont(m_FixedFont);
    }
    // The default colour isn't written into the text, so that old lines follow a change of the style.
    m_Format.clearForeground();
    m_Format.clearProperty(PROPERTY_COLOR_ID);
    if (Look.ColorID >= 0 && Look.ColorID < NUM_COLORS) {
        m_Format.setForeground(CTheme::GetColor(Look.ColorID));
        m_Format.setProperty(PROPERTY_COLOR_ID, Look.ColorID);
    } else if (Look.ColorID < 0 && Look.Color != m_DefaultColor)
        m_Format.setForeground(QColor::fromRgba(Look.Color));

    AppendText(m_pText, Message.Text, m_Format, Look.NewLine && m_HasText);
    if (IsLogFileOpen(LOG_SLOT_CONSOLE)) WriteLogFile(LOG_SLOT_CONSOLE, Message.Text.toUtf8() + '\n');
    if (m_TranscriptSink) m_TranscriptSink(Message.Text, Look.IsError);

    const QString sTime = FormatTimeUs(Message.Time_us);
    // A message that goes on in the last line brings a stamp only for the lines that it adds.
    const int NumStamps = Look.NewLine || !m_HasText ? Message.NumLines : Message.NumLines - 1;
    if (NumStamps > 0) AppendText(m_pSidebar, QStringList(NumStamps, sTime).join('\n'), {}, m_HasText);
    m_HasText = true;
}

void CConsoleWindow::_RestyleText()
{
    struct STRETCH {
        int Pos;
        int Length;
        QTextCharFormat Format;
    };
    QList<STRETCH> Stretches;
    for (QTextBlock Block = m_pText->document()->begin(); Block.isValid(); Block = Block.next()) {
        for (auto it = Block.begin(); !it.atEnd(); ++it) {
            const QTextFragment Fragment = it.fragment();
            const QTextCharFormat Old = Fragment.charFormat();
            QTextCharFormat New;
            if (Old.hasProperty(PROPERTY_COLOR_ID)) New.setForeground(CTheme::GetColor(Old.intProperty(PROPERTY_COLOR_ID)));
            if (Old.hasProperty(QTextFormat::FontFamilies)) New.setFont(m_FixedFont);
            if (!New.isEmpty()) Stretches.append({Fragment.position(), Fragment.length(), New});
        }
    }
    QTextCursor Cursor(m_pText->document());
    Cursor.beginEditBlock();
    for (const STRETCH& Stretch : Stretches) {
        Cursor.setPosition(Stretch.Pos);
        Cursor.setPosition(Stretch.Pos + Stretch.Length, QTextCursor::KeepAnchor);
        Cursor.mergeCharFormat(Stretch.Format);
    }
    Cursor.endEditBlock();
}

void CConsoleWindow::Clear()
{
    m_pInput->clear();
    m_PastedLines.clear();
    m_Ring.Clear();
    m_pText->clear();
    m_pSidebar->clear();
    m_HasText = false;
    _UpdateHorzBar();
    ResizeSidebarToOptWidth();
}

void CConsoleWindow::SetLogFile(QString sPath)
{
    if (sPath.isEmpty())
        CloseLogFile(LOG_SLOT_CONSOLE);
    else
        OpenLogFile(LOG_SLOT_CONSOLE, sPath);
}

bool CConsoleWindow::IsUpdatePending() const
{
    return !m_Ring.IsEmpty() || !m_PastedLines.isEmpty(); // the timer runs on for a while after the last message
}

// ---- Text
// --------------------------------------------------------------------------------------------------

QStringList CConsoleWindow::GetLines() const
{
    return m_HasText ? GetLinesOf(m_pText) : QStringList();
}

QStringList CConsoleWindow::GetSidebarLines() const
{
    return m_HasText ? GetLinesOf(m_pSidebar) : QStringList();
}

QStringList CConsoleWindow::GetText(int)
{
    return GetLines().mid(m_pText->verticalScrollBar()->value(),
                          qMax(1, m_pText->viewport()->height() / _GetLineHeight()));
}
#include "moc_consolewindow.cpp"
