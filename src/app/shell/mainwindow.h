// CMainWindow: the controller of the debug session, and the frame that owns all windows.
//
// The device carries out jobs and reports; what follows a report is decided here, as a chain of handlers on
// the main thread: each starts the next job and returns. The decisions themselves are pure functions
// (sessiondecisions.h). The code lies in one file a concern: mainwindow_form.cpp builds menus, tool bars and
// docks, _perspective.cpp keeps their layout over the runs, _session.cpp holds connect, reset, download and disconnect,
// _run.cpp running and stepping, _file.cpp opening files, _windows.cpp showing and finding windows, _state.cpp the
// enabled state of the commands, _keys.cpp the dispatch of keys.
#pragma once
#include "app/shell/mainwindow_layout.h"
#include "views/framework/window.h"

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QPointer>
#include <array>
#include <functional>

class CBreakpointWindow;
class CCallStackWindow;
class CConsoleWindow;
class CDisassemblyWindow;
class CLocalsWindow;
class CRegisterWindow;
class CSourceWindow;
class CToolBar;
class CDockTabs;
class QCloseEvent;
class QDockWidget;
class QMenu;
class QToolButton;

/// What the next disconnect report is to do.
enum PENDING_ACTIONS { PENDING_NOTHING = 0, PENDING_OPEN_PROJECT = 2, PENDING_CLOSE = 3 };

/// Arrangements of the windows. Nothing switches them; all debugging is done in the second.
enum PERSPECTIVES : int { PERSPECTIVE_EDIT = 0, PERSPECTIVE_DEBUG = 1 };

/// How the file that is being opened came here; bits.
enum OPEN_FLAGS { OPEN_FLAG_INTERACTIVE = 1, OPEN_FLAG_RELOAD = 2 };

/// The session's own fields. Everything else is read from CDevice and the system variables.
struct SESSION_STATE {
    DOWNLOAD_MODES DownloadMode = DM_PROGRAM; ///< of the file now being opened
    U32 OpenFlags = 0;                        ///< OPEN_FLAGS
    bool Closing = false;                     ///< the application closes; script functions no longer run
    PENDING_ACTIONS PendingAction = PENDING_NOTHING;
    QString sStoredProject;                   ///< for PENDING_OPEN_PROJECT
    I64 LoadAddr = -1;                        ///< start address for a binary file, -1 if none was chosen
    QElapsedTimer OpenTime;                   ///< since the file opening began
    QString sProgramPath;                     ///< the file last opened
    bool AskingReload = false;                ///< the box about a changed program file is open
};

/// The windows by kind, null until built. Owned by their docks, the source window by the main window.
struct SESSION_WINDOWS {
    CSourceWindow* pSource = nullptr;
    CConsoleWindow* pConsole = nullptr;
    CCallStackWindow* pCallStack = nullptr;
    CRegisterWindow* pRegisters = nullptr;
    CDisassemblyWindow* pDisassembly = nullptr;
    CBreakpointWindow* pBreakpoints = nullptr;
    CLocalsWindow* pLocals = nullptr;
};

/// Windows of which the user can open several. The first one is there from the start, the others come as they are asked for
/// and go when they are closed; one always stays.
struct WINDOW_FAMILY {
    QString sKind; ///< "Registers"; its windows are "Registers 1", "Registers 2", ...
    Qt::DockWidgetArea Area;
    QList<CWindow*> Windows;
    std::function<CWindow*(const QString& sName)> Make;
};

class CMainWindow : public CWindow {
    Q_OBJECT

public:
    static CMainWindow& Get(); ///< created on first use
    static bool Exists();
    static void Destroy();     ///< at the end of the application
    ~CMainWindow() override;

    using CWindow::Connect;
    using CWindow::Disconnect;
    using CWindow::OnWindowClosed;

    /// \name The session's operations
    ///@{
    void Start();                    ///< Debug.Start
    void Connect(CONNECT_MODES Mode);
    void Disconnect();
    void Reset(RESET_MODES Mode);
    void Download(const QString& sPath, const QString& sZone, DOWNLOAD_MODES Mode);
    void Continue();
    void StepInto();
    void StepOver();
    void StepOut();
    /// Follows the trace users: starts or stops the instruction trace as their windows ask for it.
    void OnSideBarStateChanged();
    void StartDebugSession();
    ///@}

    /// \name Files
    ///@{
    /// The error word of a file that isn't there or lacks an address; empty when it was opened, or the log has the reason.
    QString OpenFile(const QString& sPath, U32 Flags);
    void OpenProject(const QString& sPath);
    QString OpenDataFile(const QString& sPath);     ///< as OpenFile(); an empty path only closes the program
    void NewProject();
    bool SaveModifiedDocuments();                   ///< false: the user called it off, or one could not be saved
    void CheckProjectFileChanged(); ///< a script that was changed on the disk is loaded anew
    /// The place that a line of the console names in the source window; nothing happens if there is no such file.
    void ShowMessagePlace(const QString& sText);
    void ShowScriptError();         ///< the line of the script's error, if there is one, in the source window
    /// The folder that file dialogs begin in, which follows the user's choices.
    const QString& GetDefaultDir(bool Save) const { return Save ? m_sDefaultDirSave : m_sDefaultDirOpen; }
    void SetDefaultDirOf(bool Save, const QString& sFile);
    ///@}

    /// \name Windows
    ///@{
    /// The window that answers to a name; hidden ones first, or only visible ones. Null if none.
    CWindow* FindWindow(const QString& sName, bool OnlyVisible) const;
    CWindow* GetFocusedWindow() const;              ///< null if none has the focus
    const QList<CWindow*>& GetWindows() const { return m_Windows; }
    bool IsMessageBoxPending() const { return m_MessageBoxTimer.isActive(); } ///< "Break at Symbol" is to be shown
    const SESSION_WINDOWS& GetSessionWindows() const { return m_W; }
    bool ShowWindow(const QString& sName);          ///< false: unknown window
    bool CloseWindow(const QString& sName);         ///< empty: the focused one; false: unknown window
    void CloseAllWindows();
    bool ShowToolBar(const QString& sTitle, bool Shown);
    void ShowFullScreen(bool On);
    bool IsFullScreenShown() const { return windowState().testFlag(Qt::WindowFullScreen); }
    CToolBar* GetToolBar(TOOLBAR_INDEX Index) const { return m_apToolBar[Index]; }
    ///@}

    SESSION_STATE& GetSession() { return m_S; }
    const QStringList& GetRecentPrograms() const { return m_RecentPrograms; } ///< newest first
    void UpdateActions() override;
    void ShowContextMenu(QPoint Pos) override; ///< of a dock's tab, else of the tool bars
    void UpdateTitle();
    bool IsTargetUsable() const; ///< a core support plug-in is loaded

    /// \name Device events
    ///@{
    void OnDeviceConnectDone(CONNECT_MODES Mode) override;
    void OnDeviceConnectFailed(CONNECT_MODES Mode) override;
    void OnDeviceConnectCanceled(CONNECT_MODES Mode) override;
    void OnDeviceDisconnectDone() override;
    void OnDeviceResetDone(U32 NewPC, RESET_MODES Mode) override;
    void OnDeviceEndianessChanged(int DataEndian, int InstEndian) override;
    void OnDeviceHaltDone(U32 NewPC, HALT_REASONS Reason) override;
    void OnDeviceStepped(U32 NewPC) override;
    void OnDeviceAboutToDisconnect() override;
    void OnDeviceAboutToResume(RESUME_MODES Mode) override;
    void OnDeviceResumeDone(RESUME_MODES Mode) override;
    void OnDeviceRunToSymbolDone(U32 NewPC) override;
    void OnDeviceEndDownloadDone(const char* sFilePath, DOWNLOAD_MODES Mode) override;
    void OnDeviceEndDownloadFailed(const char* sFilePath, DOWNLOAD_MODES Mode, int BrylloErrCode) override;
    void OnDeviceConnectionLost() override;
    void OnDeviceExecCmdDone(const char* sBrylloCmd) override;
    void OnDeviceWriteMemFailed(U32 Addr, U32 nBytes, U8* paData) override;
    void OnDeviceLogMsg(const char* sMsg, U32 Flags) override;
    void OnDeviceSetStatusMsg(const char* sMsg) override;
    void OnDeviceSetProgressMsg(const char* sMsg) override;
    void OnDeviceStartProgress(int Min, int Max) override;
    void OnDeviceEndProgress() override;
    void OnDeviceSetProgressValue(int Value) override;
    void OnDeviceBPStateChanged() override;
    void OnDeviceWPStateChanged() override;
    void OnDeviceTPStateChanged() override;
    ///@}

signals:
    void InitComplete();
    void SysVarEdited(int VarID, I64 Value);
    void WindowOpened(CWindow* pWindow);
    void WindowClosed(CWindow* pWindow);
    void DataFileOpened(QString sFilePath);
    void DataFileAboutToDownload(QString sFilePath);
    void DataFileDownloaded(QString sFilePath);

public slots:
    void OnWindowShown();
    void ApplyCmdLine();             ///< opens or makes the project of the command line, else what a start begins with
    bool CreateProjectFromCmdLine(); ///< whether a project was made
    bool CreateProject(const QString& sPath, const QStringList& Commands, bool Ask);
    void OnWindowClosed(QCloseEvent* pEvent);
    void OnActionCommandTriggered(); ///< any command of this window: its registered handler runs
    void OnTargetHaltedAndTOElapsed();
    void OnMessageBoxTimerTimeout();
    void OnPeriodicUpdateTimerTimeout();
    void OnTabBarUpdateTimerTimeout();
    void OnWindowStatusTextChanged();
    void OnDataFileOpened(QString sFilePath) override;
    void OnProjectFileOpened(QString sFileName) override;
    void OnProjectFileClosed(QString sFileName) override;
    void OnVarChanged(int VarID, I64 Value);
    void CheckMemZoneRunning(int VarID, I64 Value);
    void OnCallSiteSelected(int CallStackIdx); ///< the frame becomes the selected one and shows its call site
    void UpdateWindowMenu();
    void OnWindowMenuActionTriggered(QAction* pAction);
    void OnRecentMenuActionTriggered(QAction* pAction);

protected:
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;
    void closeEvent(QCloseEvent* pEvent) override;
    bool event(QEvent* pEvent) override;

private:
    CMainWindow();

    // form
    void BuildActions();
    void BuildMenus();
    void BuildToolBars();
    void BuildDropDownButtons();
    void BuildWindows();
    void AddDock(CWindow* pWindow, const char* sDockName, Qt::DockWidgetArea Area, int ShowAction);
    void AdoptWindow(CWindow* pWindow);
    void PlaceWindow(CWindow* pWindow, const char* sDockName, Qt::DockWidgetArea Area);
    void JoinSelections(CWindow* pWindow, const QList<CWindow*>& Others);
    CWindow* FindWindowToShow(const QString& sName);
    void ShowDockMenu(QDockWidget* pDock, const QPoint& GlobalPos);
    QAction* GetDockingAction(const CWindow* pWindow) const; ///< to undock a docked window, to dock a floating one
    CWindow* AddFamilyWindow(WINDOW_FAMILY& Family,
                             const QString& sWantedName = {}); ///< hidden; null if the name is taken
    QStringList GetExtraWindowNames() const; ///< of the windows of a family beyond its first
    void AddExtraWindows(const QStringList& Names);
    bool RemoveFamilyWindow(CWindow* pWindow); ///< false: it isn't one, or the last of its family
    void BringOntoScreen();
    void ConnectWindows();
    void CreateTimers();
    QAction* MakeAction(int ID, QWidget* pOwner);
    void RestoreAppData();
    void RestorePerspective();
    void SaveAppData();
    void ApplyDefaultLayout();
    void RebuildRecentMenus();
    void AddRecent(QStringList& List, const QString& sPath);

    // session
    void WriteProgram(const QString& sPath, DOWNLOAD_MODES Mode);
    void OnDownloadDone(DOWNLOAD_MODES Mode);
    void OnDownloadFailed(DOWNLOAD_MODES Mode, int Code);
    void PerformInitialProgramOperation();
    enum BREAK_SYMBOL_RUN { BREAK_SYMBOL_UNKNOWN, BREAK_SYMBOL_REACHED, BREAK_SYMBOL_RUNNING };
    BREAK_SYMBOL_RUN RunToBreakSymbol(); ///< reached: the target stands there already
    void ResolveBreakSymbol();
    void ClearProgramWindows();
    void UpdateConnectionLabel();
    void UpdateModeButtons();
    void RefreshTraceWindows();
    void RunEventOrDefault(int EventId);
    bool StartSourceStep(int Job); ///< false: not a source step, the caller steps by instruction
    void StepInstruction(bool Over);
    void ShowPC(U32 NewPC);
    void UpdateActionDebugHaltResume();
    void AskBackgroundMemAccess();

    // files
    void OpenElfDataFile(const QString& sPath);
    QString OpenOtherDataFile(const QString& sPath, bool Binary);
    void CloseProgram();
    void CheckProgramFileChanged();
    void LoadDefaultRegisterSet();
    bool ShowProjectWarnings(); ///< false: the user wants no project with such faults

    void ShowWelcomeScreen();
    QString AskProjectPath(); ///< empty if the user called it off

    bool HandleKey(QKeyEvent* pKey);
    void SetDefaultParam(int ID); ///< what a command on a place works on when a key calls it

    SESSION_STATE m_S;
    SESSION_WINDOWS m_W;
    QList<CWindow*> m_Windows;
    QPointer<CWindow> m_pFocusBeforeMenu; ///< the window that the menu bar took the focus from
    int m_Perspective = PERSPECTIVE_DEBUG;
    QList<WINDOW_FAMILY> m_Families;
    QHash<int, CWindow*> m_WindowOfAction;
    CDockTabs* m_pDockTabs = nullptr;
    std::array<QAction*, NUM_ACTIONS> m_apAction{};
    std::array<QMenu*, NUM_MENUS> m_apMenu{};
    std::array<CToolBar*, NUM_TOOLBARS> m_apToolBar{};
    QToolButton* m_pStartButton = nullptr;
    QToolButton* m_pResetButton = nullptr;
    QStringList m_RecentProjects;
    QStringList m_RecentPrograms;
    QString m_sDefaultDirOpen;
    QString m_sDefaultDirSave;
    QTimer m_TargetHaltedTimer;
    QTimer m_MessageBoxTimer;
    QTimer m_PeriodicUpdateTimer;
    QTimer m_TabBarUpdateTimer;
    QTimer m_WindowShownTimer;
    bool m_ShownOnce = false;
};
