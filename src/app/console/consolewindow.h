// The console: shows what is logged, echoes every action as the text of a command, and takes commands.
//
//   CConsoleWindow::Get().PrintInColor("Connected to target", COLOR_LOGGING_BRYLLO);
//   CConsoleWindow::Get().AddCommandListener(pWindow);     // echo the window's actions
//   CConsoleWindow::Get().ExecuteCommand("Debug.Halt");
//
// Print functions may be called from any thread: they write to a ring that a timer drains on the main
// thread. Everything else belongs to the main thread.
#pragma once
#include "app/console/commandcompletion.h"
#include "app/console/commandhistory.h"
#include "app/console/consolering.h"
#include "views/framework/window.h"

#include <QColor>
#include <QElapsedTimer>
#include <QPointer>
#include <QTextCharFormat>
#include <QTimer>
#include <atomic>
#include <functional>

/// The console keeps this many lines; older ones go. The log file has them all.
inline constexpr int CONSOLE_MAX_LINES = 20'000;

class CCompletionPopup;
class QFrame;
class QKeyEvent;
class QLineEdit;
class QPlainTextEdit;
class QScrollBar;

class CConsoleWindow : public CWindow {
    Q_OBJECT
public:
    /// The one console, made at the first call on the main thread. The dock that it is put into owns it.
    static CConsoleWindow& Get();
    /// True while the console exists; Get() makes a new one otherwise.
    static bool Exists();

    ~CConsoleWindow() override;

    // --- Printing, any thread ---

    /// One message; an empty text does nothing. Qt::transparent stands for the palette's text colour.
    void Print(const QString& sText, const QColor& Color = Qt::transparent, bool Fixed = false);
    /// One message in a colour of the colour table.
    void PrintInColor(const QString& sText, int ColorID, bool Fixed = false);
    /// Each line of the list as a message in the fixed font; empty lines are kept.
    void PrintLines(const QStringList& Lines, const QColor& Color = Qt::transparent);
    /// Text of a command, in the colour of commands.
    void PrintCommand(const QString& sText);
    /// The line "text: error" in the error colour; only the error if the text is empty.
    void PrintError(const QString& sText, const QString& sError);

    // --- Batch mode ---

    /// Receives each message when it is drained; an empty function ends it.
    using TRANSCRIPT_SINK = std::function<void(const QString& sText, bool IsError)>;
    void SetTranscriptSink(TRANSCRIPT_SINK Sink) { m_TranscriptSink = std::move(Sink); }
    /// Drains everything that was printed up to now.
    void Flush();
    /// Error lines of commands printed since the start. Any thread.
    U64 GetErrorCount() const { return m_NumErrors.load(std::memory_order_relaxed); }
    /// Errors that were logged since the start. Any thread.
    U64 GetLogErrorCount() const { return m_NumLogErrors.load(std::memory_order_relaxed); }

    /// Tells whether what the line before has set off is still under way; lines that were pasted together wait for its
    /// end. Without a function each follows at once.
    void SetBusyCheck(std::function<bool()> IsBusy) { m_IsBusy = std::move(IsBusy); }

    // --- CWindow ---

    using CWindow::OnActionPerformed;
    using CWindow::OnActionTriggered;
    using CWindow::Update;
    void Clear() override;
    void SetFont(int FontID, QFont& Font) override;
    void SetPreference(int SysVarID, I64 Value) override;
    QStringList GetText(int Depth = -1) override; ///< the lines on the screen
    bool IsUpdatePending() const override;
    bool IsEscKeyOpActive() const override; ///< Esc closes the list of completions

    /// All lines of the main text.
    QStringList GetLines() const;
    /// All lines of the time stamp text.
    QStringList GetSidebarLines() const;
    const QStringList& GetHistory() const { return m_History.GetLines(); }

public slots:
    /// Starts the update timer if it isn't running.
    void Update();
    /// Opens the console log file; an empty path closes it.
    void SetLogFile(QString sPath);
    void SetSidebarVisible(bool Visible);
    /// Runs a line as typed, "? Name" and "help Name" included. 1 done, 0 unknown command, 2 command disabled.
    int ExecuteCommand(QString sText);
    void AddCommandListener(CWindow* pWindow);
    void RemoveCommandListener(CWindow* pWindow);
    void PrintCommandHelp();
    void PrintCommandDisabled(QString sName);
    void ResizeSidebarToOptWidth();
    void OnInputFieldKeyPressed(QKeyEvent* pEvent);
    void OnCommandEntered(QString sText);
    void OnContextMenuRequested(QPoint Pos) override;
    void OnEditorContextMenuRequested(QPoint Pos);
    void OnSidebarContextMenuRequested(QPoint Pos);
    void OnUpdateTimerTimeout();
    void OnActionHelpTriggered();
    void OnActionShowSidebarTriggered();
    void OnActionTriggered(QAction* pAction);
    void OnActionPerformed(QAction* pAction);

signals:
    /// A line of the text was double-clicked, or Return was pressed on it.
    void LineActivated(QString sLine);

protected:
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;
    void changeEvent(QEvent* pEvent) override;

private:
    explicit CConsoleWindow(QWidget* pParent = nullptr);

    void _BuildWidgets();
    void _BuildActions();
    void _ApplyFont();
    void _UpdateColors();
    void _Write(const QString& sText, const CONSOLE_LOOK& Look);
    CONSOLE_LOOK _GetLook(const QColor& Color, bool Fixed) const;
    void _OnLogged(const QString& sText, U32 Flags);
    int _Drain(int MaxMessages); ///< number of messages taken
    void _ShowMessage(const CONSOLE_MESSAGE& Message);
    void _ShowEndOfText();
    bool _IsViewHeld() const; ///< somebody selects text: new lines must not move it away
    void _RestyleText();      ///< gives what is shown the colours and the fixed font as they are now
    void _UpdateHorzBar();
    int _GetLineHeight() const;

    bool _IsActivation(QObject* pObject, QEvent* pEvent) const; ///< of the line with the text cursor
    bool _TypeIntoInput(QKeyEvent* pEvent); ///< a key that came to the text; true if the input line has taken it
    void _TakePastedLines(const QString& sText); ///< runs all lines but the last, which stays in the input line
    void _RunPastedLine();

    // Completion of the input line.
    bool _HandleCompletionKey(QKeyEvent* pEvent); ///< true if the key was one of the list's
    void _CompleteInput();                        ///< what Tab does
    void _AcceptChoice();
    void _ReplaceWord(const COMPLETION& Completion, const QString& sText);
    void _UpdateCompletion(bool IsRequested); ///< list and hint for the text in front of the cursor
    void _HideCompletion();

    QPlainTextEdit* m_pText = nullptr;
    QPlainTextEdit* m_pSidebar = nullptr;
    QFrame* m_pSidebarLine = nullptr;
    QWidget* m_pHorzBarLine = nullptr;
    QScrollBar* m_pHorzBar = nullptr;
    QLineEdit* m_pInput = nullptr;
    CCompletionPopup* m_pPopup = nullptr;
    bool m_IsListRequested = false; ///< the user asked for the list, so that all arrows move in it
    bool m_IsHintClosed = false;    ///< Esc closed the hint; it comes back with the next command
    QAction* m_pActionHelp = nullptr;
    QAction* m_pActionShowSidebar = nullptr;

    CConsoleRing m_Ring;
    QElapsedTimer m_Clock;
    QTimer m_UpdateTimer;
    std::atomic<bool> m_IsUpdatePosted{false};
    std::atomic<U32> m_DefaultColor{0xFF000000u}; ///< the palette's text colour, as writers may read it
    std::atomic<U64> m_NumErrors{0};
    std::atomic<U64> m_NumLogErrors{0};

    QFont m_Font;
    QFont m_FixedFont;
    bool m_HasText = false; ///< something was shown since the last Clear(); a first empty line counts
    bool m_IsFixed = false; ///< the text format is that of the fixed font
    QTextCharFormat m_Format;
    CCommandHistory m_History;
    QStringList m_PastedLines; ///< not yet run
    QTimer m_PasteTimer;
    int m_NumIdleLooks = 0; ///< since the last pasted line
    std::function<bool()> m_IsBusy;
    QList<QPointer<CWindow>> m_Listeners;
    TRANSCRIPT_SINK m_TranscriptSink;
};
