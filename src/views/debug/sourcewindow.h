// CSourceWindow, the program's source files in tabs: text with margin, header bar and find bar. It follows
// the PC, shows breakpoints and call sites, and is where the user sets breakpoints and edits.
//
// Documents are known by their file number; texts of locations come from the program tables. Every change of
// breakpoints or of the target goes through a command.
#pragma once
#include "views/debug/debugviewhooks.h"
#include "views/debug/sourceeditor.h"
#include "views/framework/window.h"

#include <QHash>
#include <memory>

class CBreakpointActions;
class CFindBar;
class CSideBar;
class CSrcDocument;
class QComboBox;
class QLabel;
class QStackedWidget;
class QTabBar;

enum DOC_OPEN_MODES : int {
    DOC_OPEN_CURRENT = 0,    ///< opens the file and makes it current
    DOC_OPEN_BACKGROUND = 1, ///< opens the file behind the current one
};

class CSourceWindow : public CWindow {
    Q_OBJECT

public:
    explicit CSourceWindow(QWidget* pParent = nullptr);
    ~CSourceWindow() override;

    /// \name Files. Paths may be those of the program file; lines and columns count from 0.
    ///@{
    bool Open(const QString& sPath, DOC_OPEN_MODES Mode = DOC_OPEN_CURRENT, int Line = -1,
              QPoint CursorPos = QPoint(-1, -1));
    bool Close(const QString& sPath); ///< false when the user keeps the modified document open
    bool CloseAll();
    bool CloseAllButThis();
    void CloseAllUneditedDocuments();
    bool Save(const QString& sPath);
    bool SaveAll();
    bool SaveDocument(U32 FileNo);
    void ReopenResolvedDocuments(); ///< loads files that were not found when they were opened
    bool IsOpen(const QString& sPath) const;
    using CWindow::IsOpen;
    bool IsDocumentModified(U32 FileNo) const;
    bool HasModifiedDocument() const;
    bool HasDocumentWithUnsavedChanges() const { return HasModifiedDocument(); }
    QStringList GetDocsWithUnsavedChangesFileNames() const;
    bool NotifyUserCloseAll(); ///< asks about unsaved changes; false for cancel
    bool NotifyUserClose(const QString& sPath);
    int GetFileCount() const { return int(m_TabFiles.size()); }
    QStringList GetFilePaths() const; ///< in tab order
    QString GetActiveFile() const;    ///< path; empty without a document
    U32 GetActiveFileNo() const;      ///< 0 without a document
    QString GetTabFile(int Tab) const;
    int GetTabNumber(const QString& sPath) const; ///< -1 for none
    void SetCurrentTab(int Tab);
    QString GetDocText(const QString& sPath) const;
    bool HasDocument(U32 FileNo) const { return GetDocument(FileNo) != nullptr; } ///< the file is open
    QString GetActiveDocTextLine(CSrcLoc Loc) const;
    void ReloadChangedDocuments(); ///< files changed by other programs, unless edited here
    ///@}

    /// \name Position
    ///@{
    void ViewPC();
    bool SelectLocation(CSrcLoc Loc, bool Focus = false); ///< false when the file is unknown
    void SelectPcLine();                                  ///< nothing happens when the PC has no line
    void SelectNextObsvPoint();
    void SelectPrevObsvPoint();
    void SelectText(const QString& sPath, QPoint Pos, int Length);
    void GotoLine(int Line); ///< 1-based; clamped to the document
    CSrcLoc GetPcLoc() const { return m_PCLoc; }
    CSrcLoc GetCursorLoc() const; ///< file and 1-based line; invalid without a document
    QString GetCursorInfoStr() const;
    QString GetSelectedTextOrWordUnderCursor() const;
    QString GetFileNameUnderCursor() const; ///< of an include line
    CSourceEditor* GetEditor() const { return m_pEditor; }
    CSideBar* GetSideBar() const { return m_pSideBar; }
    ///@}

    /// \name Update
    ///@{
    void Clear() override;
    void Update(U32 NewPC) override;
    using QMainWindow::update;
    void Repaint() override;
    QStringList GetText(int Depth = -1) override; ///< line number, margin marks, text
    void UpdateSidebar();
    void UpdateSidebarIcons();
    void HighlightPcLine();
    void HighlightCallSites();
    void ClearPC();
    void SetAutoExpandPcLine(bool Expand) { m_AutoExpandPcLine = Expand; }
    void SetShowDocOutOfDateNotifications(bool Show) { m_ShowOutOfDate = Show; }
    void NotifyOutOfDate(U32 FileNo); ///< the file no longer matches the program; told once a document
    ///@}

    /// \name Session: one line a document, and one for the tab on top
    ///@{
    QString MakeSessionLine(const QStringList& OldLines) const override;
    void ApplyDocumentLines(const QStringList& Lines);
    ///@}

    /// \name Find bar
    ///@{
    void OpenFindBar(const QString& sText = {});
    bool FindNext(bool Forward); ///< from the cursor, around the ends; false if there is none
    ///@}

    bool IsEmpty() const override { return m_TabFiles.isEmpty(); }
    QString GetEmptyWindowText(DEBUG_STATES State) const override;
    QString GetStatusText() const override { return GetCursorInfoStr(); }
    bool IsEscKeyOpActive() const override;
    void SetFont(int FontID, QFont& Font) override;
    void SetPreference(int SysVarID, I64 Value) override;
    void ShowContextMenu(QPoint Pos) override;
    QPoint GetContextMenuPos(int Reason) const override;
    void ScrollBy(int dx, int dy) override;
    void ExpandAll() override;
    void CollapseAll() override;

    void OnDeviceResumeDone(RESUME_MODES Mode) override;
    void OnDeviceDisconnectDone() override;
    void OnDeviceHaltDone(U32 NewPC, HALT_REASONS Reason) override;
    void OnDeviceBPStateChanged() override;
    void OnDeviceTPStateChanged() override;

signals:
    void Initialized();
    void ResetExecCounters();
    void SymbolTooltipRequest(QPoint& GlobalPos, QString& sExpression, int Line);
    void DocumentStateChanged(U32 FileNo, bool Modified);
    void DocumentListChanged();

public slots:
    void OnSrcLocSelected(CSrcLoc Loc, int Type = 0) override;
    void OnInstSelected(I64 Addr) override;
    void OnFuncSelected(ELF_SYM_HANDLE hFunc) override;
    void OnCallFrameEvaluated(int Index) override;
    void OnCallStackUnwinded() override;
    void OnDataFileOpened(QString sFilePath) override;
    void OnPluginLoaded(QString sFilePath, int Type) override;
    void OnActivationChanged(bool Active) override;
    void OnContentChanged() override;
    void OnDeactivateTimerTimeout() override;
    void OnSidebarClicked(int Row, int Button);
    void OnTabChanged(int Tab);
    void OnTabCloseRequested(int Tab);
    void OnTabContextMenuRequested(QPoint Pos);
    void OnCursorPositionChanged(QPoint Pos);
    void OnDocumentEdited();
    void OnHeaderBarUpdateTimerTimeout();
    void OnComboBoxScopeIndexChanged(int Index);
    void OnComboBoxSymbolsIndexChanged(int Index);
    void OnTooltipDelayTimerTimeout();
    void OnActionViewPCTriggered();
    void OnActionViewLineTriggered();
    void OnActionFindNextTriggered();
    void OnActionFindPrevTriggered();
    void OnActionFindUnderCursorTriggered();
    void OnActionNextDocumentTriggered();
    void OnActionSetNextStmntTriggered();
    void OnActionSetNextPCTriggered();
    void OnActionRunToCursorTriggered();
    void OnActionExpandLineTriggered();
    void OnActionCollapseLineTriggered();
    void OnActionExpandAllTriggered();
    void OnActionCollapseAllTriggered();
    void OnActionNextObsvPointTriggered();
    void OnActionPrevObsvPointTriggered();
    void OnActionShowCodeProfileTriggered();
    void OnActionResetCodeProfileTriggered();
    void OnActionShowEncodingsTriggered();
    void OnActionLockHeaderBarTriggered();
    void OnActionLineNumbersTriggered();

protected:
    void UpdateActions() override;
    void keyPressEvent(QKeyEvent* pEvent) override;

private:
    struct ROW_MARKS {
        int Left = 0;
        int Right = 0;
    };

    void CreateWidgets();
    void CloseFindBar();
    void CreateActions();
    CSrcDocument* GetDocument(U32 FileNo) const; ///< null for none
    CSrcDocument* GetCurrentDocument() const;
    CSrcDocument* FindDocument(const QString& sPath) const;
    void ShowDocument(CSrcDocument* pDocument);
    void RemoveDocument(U32 FileNo);
    bool CloseDocument(U32 FileNo);
    void UpdateDocTabBarTexts();
    bool IsPCShown() const; ///< connected, halted, and the PC's location is known
    ROW_MARKS GetRowMarks(int Row);
    VIEW_POINT GetBreakpointOfRow(const SRC_ROW& Row) const;
    QString GetCursorCodeLocText() const;
    int GetCursorRow() const; ///< of the selected instruction, else of the line; -1 without a document
    void RunBreakpointCommand(int Row, bool ToggleState);
    void UpdateReadOnly();
    bool ConfirmEdit();
    void RememberLocation(CSrcLoc Loc);
    void UpdateFindMatches();
    void InitHeaderBar();
    void ShowFuncInHeaderBar(U32 Line);  ///< one-based line of the active document
    QString GetRowLocationText(int Row); ///< "main.c:12" or an address, as commands take it
    QAction* FindAction(const char* sName) const;

    QTabBar* m_pTabBar = nullptr;
    QWidget* m_pHeaderBar = nullptr;
    QComboBox* m_pComboScope = nullptr;
    QComboBox* m_pComboSymbols = nullptr;
    QStackedWidget* m_pStack = nullptr;
    QLabel* m_pLabelNotFound = nullptr;
    CBreakpointActions* m_pBreakpointActions = nullptr;
    CSideBar* m_pSideBar = nullptr;
    CSourceEditor* m_pEditor = nullptr;
    CFindBar* m_pFindBar = nullptr;

    std::vector<std::unique_ptr<CSrcDocument>> m_Documents;
    QList<U32> m_TabFiles; ///< file number of each tab
    QList<VIEW_FUNC> m_Funcs;
    U32 m_PC = ADDR_NONE;
    CSrcLoc m_PCLoc;
    QList<CSrcLoc> m_History;
    int m_HistoryPos = -1;
    bool m_IsSelecting = false; ///< a selection of our own is on its way round
    bool m_AutoExpandPcLine = false;
    bool m_ShowOutOfDate = true;
    bool m_EditConfirmedForAll = false;
    QTimer m_HeaderTimer;
    QTimer m_TooltipTimer;
    QPoint m_TooltipPos;
    QString m_sLastTooltip;
};
