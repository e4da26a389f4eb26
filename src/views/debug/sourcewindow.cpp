#include "views/debug/sourcewindow.h"

#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"
#include "views/debug/findbar.h"
#include "views/debug/srcdocument.h"
#include "views/framework/sidebar.h"
#include "views/theme/icons.h"
#include "views/theme/theme.h"

#include <QAction>
#include <QComboBox>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QScrollBar>
#include <QStackedWidget>
#include <QTabBar>
#include <QToolTip>
#include <QVBoxLayout>

namespace {
constexpr int HEADER_UPDATE_MS = 200;
constexpr int MAX_HISTORY = 100;
} // namespace

CSourceWindow::CSourceWindow(QWidget* pParent) : CWindow(pParent, QStringLiteral("Source"))
{
    for (WINDOW_FLAGS Flag : {WF_CLEAR_ON_HIDE, WF_CLEAR_ON_DISCONNECT}) SetFlag(Flag, false);
    SetUpdateMode(WIN_UPDATE_ALWAYS); // the location of the PC stays known while the window is hidden
    CreateWidgets();
    CreateActions();
    m_HeaderTimer.setSingleShot(true);
    m_HeaderTimer.setInterval(HEADER_UPDATE_MS);
    m_TooltipTimer.setSingleShot(true);
    connect(&m_HeaderTimer, SIGNAL(timeout()), this, SLOT(OnHeaderBarUpdateTimerTimeout()));
    connect(&m_TooltipTimer, SIGNAL(timeout()), this, SLOT(OnTooltipDelayTimerTimeout()));
    connect(&CTheme::Get(), &CTheme::SchemeChanged, this, [this] { Repaint(); });
    SetActive(true); // source steps until the user turns to the disassembly
    LinkWindowActions();
    OnContentChanged();
    emit Initialized();
}

CSourceWindow::~CSourceWindow()
{
    m_pEditor->SetDocument(nullptr);
}

void CSourceWindow::CreateWidgets()
{
    auto* pCentral = new QWidget(this);
    auto* pLayout = new QVBoxLayout(pCentral);
    pLayout->setContentsMargins(0, 0, 0, 0);
    pLayout->setSpacing(0);

    m_pTabBar = new QTabBar(pCentral);
    m_pTabBar->setObjectName(QStringLiteral("docTabBar"));
    m_pTabBar->setAccessibleName(QStringLiteral("Documents"));
    m_pTabBar->setAccessibleName(QStringLiteral("Documents"));
    m_pTabBar->setTabsClosable(true);
    m_pTabBar->setMovable(true);
    m_pTabBar->setDocumentMode(true);
    m_pTabBar->setExpanding(false);
    m_pTabBar->setUsesScrollButtons(true);
    m_pTabBar->setFocusPolicy(Qt::NoFocus);
    m_pTabBar->setContextMenuPolicy(Qt::CustomContextMenu);
    pLayout->addWidget(m_pTabBar);

    m_pHeaderBar = new QWidget(pCentral);
    auto* pHeaderLayout = new QHBoxLayout(m_pHeaderBar);
    pHeaderLayout->setContentsMargins(4, 3, 4, 3);
    pHeaderLayout->setSpacing(4);
    auto AddCombo = [&](const char* sName, const QString& sAccessibleName, int Stretch) {
        auto* pCombo = new QComboBox(m_pHeaderBar);
        pCombo->setObjectName(QLatin1String(sName));
        pCombo->setAccessibleName(sAccessibleName);
        pCombo->setFocusPolicy(Qt::ClickFocus);
        pCombo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        pCombo->setMinimumContentsLength(12);
        pHeaderLayout->addWidget(pCombo, Stretch);
        return pCombo;
    };
    m_pComboScope = AddCombo("comboBoxScope", QStringLiteral("Scope"), 1);
    m_pComboSymbols = AddCombo("comboBoxSymbols", QStringLiteral("Function"), 2);
    pLayout->addWidget(m_pHeaderBar);

    auto* pTextArea = new QWidget(pCentral);
    auto* pTextLayout = new QHBoxLayout(pTextArea);
    pTextLayout->setContentsMargins(0, 0, 0, 0);
    pTextLayout->setSpacing(0);
    m_pSideBar = new CSideBar(pTextArea);
    m_pEditor = new CSourceEditor(pTextArea);
    pTextLayout->addWidget(m_pSideBar);
    pTextLayout->addWidget(m_pEditor, 1);
    m_pLabelNotFound = new QLabel(pCentral);
    m_pLabelNotFound->setObjectName(QStringLiteral("labelNotFound"));
    m_pLabelNotFound->setAlignment(Qt::AlignCenter);
    m_pLabelNotFound->setWordWrap(true);
    m_pLabelNotFound->setForegroundRole(QPalette::PlaceholderText);
    m_pStack = new QStackedWidget(pCentral);
    m_pStack->addWidget(pTextArea);
    m_pStack->addWidget(m_pLabelNotFound);
    pLayout->addWidget(m_pStack, 1);

    m_pFindBar = new CFindBar(pCentral);
    m_pFindBar->hide();
    pLayout->addWidget(m_pFindBar);
    setCentralWidget(pCentral);
    setFocusProxy(m_pEditor);
    m_pSideBar->SetFonts(::GetFont(FONT_LINE_NUMBERS), ::GetFont(FONT_EXEC_COUNTERS));
    m_pSideBar->setVisible(GetVarValue(PREF_SHOW_SIDEBAR_SRC) != 0);
    m_pEditor->SetEditGuard([this] { return ConfirmEdit(); });

    connect(m_pTabBar, SIGNAL(currentChanged(int)), this, SLOT(OnTabChanged(int)));
    connect(m_pTabBar, SIGNAL(tabCloseRequested(int)), this, SLOT(OnTabCloseRequested(int)));
    connect(m_pTabBar, SIGNAL(customContextMenuRequested(QPoint)), this,
            SLOT(OnTabContextMenuRequested(QPoint)));
    connect(m_pTabBar, &QTabBar::tabMoved, this, [this](int From, int To) { m_TabFiles.move(From, To); });
    connect(m_pSideBar, SIGNAL(MouseClicked(int, int)), this, SLOT(OnSidebarClicked(int, int)));
    connect(m_pEditor, SIGNAL(CursorPositionChanged(QPoint)), this, SLOT(OnCursorPositionChanged(QPoint)));
    connect(m_pEditor, SIGNAL(DocumentEdited()), this, SLOT(OnDocumentEdited()));
    connect(m_pEditor, &CSourceEditor::ViewChanged, this, [this] {
        UpdateSidebar();
        UpdateSidebarIcons();
    });
    connect(m_pEditor, &CSourceEditor::LineExpansionStateToggled, this, [this] { Repaint(); });
    connect(m_pEditor, &CSourceEditor::Clicked, this, [this](int Row) {
        const SRC_ROW& Clicked = m_pEditor->GetRow(Row);
        m_IsSelecting = true;
        if (Clicked.IsInst)
            emit InstSelected(I64(Clicked.Addr));
        else
            emit SrcLocSelected(GetCursorLoc());
        m_IsSelecting = false;
    });
    connect(m_pEditor, &CSourceEditor::MouseHovered, this, [this](QPoint Pos) {
        m_TooltipPos = Pos;
        if (GetVarValue(PREF_SHOW_TOOLTIPS)) m_TooltipTimer.start(QToolTip::isVisible() ? 50 : 200);
    });
    connect(m_pEditor, &CSourceEditor::MouseLeft, this, [this] { m_TooltipTimer.stop(); });
    connect(m_pComboScope, SIGNAL(activated(int)), this, SLOT(OnComboBoxScopeIndexChanged(int)));
    connect(m_pComboSymbols, SIGNAL(activated(int)), this, SLOT(OnComboBoxSymbolsIndexChanged(int)));
    connect(m_pFindBar, &CFindBar::FindRequested, this, [this](bool Forward) { FindNext(Forward); });
    connect(m_pFindBar, &CFindBar::PatternChanged, this, [this] { UpdateFindMatches(); });
    connect(m_pFindBar, &CFindBar::Closed, this, &CSourceWindow::CloseFindBar);
}

void CSourceWindow::CloseFindBar()
{
    m_pFindBar->hide();
    m_pEditor->SetMatches(QString(), false);
    m_pEditor->setFocus();
}

QString CSourceWindow::GetEmptyWindowText(DEBUG_STATES) const
{
    return QStringLiteral("No document open");
}
void CSourceWindow::Clear()
{
    emit ContentChanged();
}
bool CSourceWindow::IsEscKeyOpActive() const
{
    // What stands in the code must not keep the key from leading there out of another window.
    return HasFocus() && (m_pFindBar->isVisible() || (m_pEditor->hasFocus() && m_pEditor->HasSelection()));
}

void CSourceWindow::keyPressEvent(QKeyEvent* pEvent)
{
    if (pEvent->key() != Qt::Key_Escape || !IsEscKeyOpActive()) return CWindow::keyPressEvent(pEvent);
    if (m_pFindBar->isVisible())
        CloseFindBar();
    else
        m_pEditor->Unselect();
}

void CSourceWindow::OnContentChanged()
{
    CWindow::OnContentChanged();
    if (!m_pTabBar) return;
    InitHeaderBar();
    Repaint();
}

// ---- Following the PC ------------------------------------------------------------------------------------

void CSourceWindow::Update(U32 NewPC)
{
    m_PC = NewPC;
    m_PCLoc = NewPC == ADDR_NONE ? CSrcLoc() : AskHook(GetDebugViewHooks().GetSrcLoc, CSrcLoc(), NewPC);
    UpdateReadOnly();
    if (IsPCShown()) SelectPcLine();
    Repaint();
}

bool CSourceWindow::IsPCShown() const
{
    return IsTargetHalted() && m_PCLoc.IsValid();
}

void CSourceWindow::SelectPcLine()
{
    if (!m_PCLoc.IsValid() || !SelectLocation(m_PCLoc)) return;
    if (m_AutoExpandPcLine) m_pEditor->SetLineExpanded(m_PCLoc.Line, true);
    const int InstRow = m_pEditor->GetRowOfInst(AlignToInst(m_PC));
    m_pEditor->EnsureRowVisible(InstRow >= 0 ? InstRow : m_pEditor->GetRowOfLine(m_PCLoc.Line), true);
}

void CSourceWindow::ClearPC()
{
    m_PC = ADDR_NONE;
    m_PCLoc = CSrcLoc();
    Repaint();
}

void CSourceWindow::ViewPC()
{
    Update(GetTargetPC());
    if (m_PCLoc.IsValid()) m_pEditor->ScrollToRow(m_pEditor->GetRowOfLine(m_PCLoc.Line), true);
}

void CSourceWindow::OnDeviceHaltDone(U32 NewPC, HALT_REASONS Reason)
{
    CWindow::OnDeviceHaltDone(NewPC, Reason);
}

void CSourceWindow::OnDeviceResumeDone(RESUME_MODES Mode)
{
    CWindow::OnDeviceResumeDone(Mode);
    UpdateReadOnly();
    // A step resumes for an instant; its marks go only when it doesn't come back soon.
    if (Mode == RESUME_NORMAL)
        ClearPC();
    else
        StartDeactivateTimer(500);
}

void CSourceWindow::OnDeactivateTimerTimeout()
{
    if (!IsTargetHalted()) ClearPC();
}

void CSourceWindow::OnDeviceDisconnectDone()
{
    CWindow::OnDeviceDisconnectDone();
    UpdateReadOnly();
    ClearPC();
}

void CSourceWindow::OnDeviceBPStateChanged()
{
    UpdateSidebarIcons();
}
void CSourceWindow::OnDeviceTPStateChanged()
{
    UpdateSidebarIcons();
}
void CSourceWindow::OnCallFrameEvaluated(int)
{
    Repaint();
}
void CSourceWindow::OnCallStackUnwinded()
{
    Repaint();
}
void CSourceWindow::OnActivationChanged(bool)
{
    Repaint();
}

void CSourceWindow::OnDataFileOpened(QString)
{
    // Numbers and addresses are those of the new program.
    for (auto& pDocument : m_Documents) pDocument->m_IsOutOfDateReported = false;
    m_pEditor->ForgetAddresses();
    InitHeaderBar();
    Repaint();
}

void CSourceWindow::OnPluginLoaded(QString, int)
{
    m_pEditor->ForgetAddresses();
    Repaint();
}

// ---- Look ------------------------------------------------------------------------------------------------

void CSourceWindow::Repaint()
{
    CWindow::Repaint();
    m_pEditor->viewport()->update();
    UpdateSidebar();
    UpdateSidebarIcons();
    HighlightCallSites();
    HighlightPcLine();
}

void CSourceWindow::HighlightPcLine()
{
    const QColor Active = CTheme::GetColor(COLOR_PC_ACTIVE);
    const QColor Inactive = CTheme::GetColor(COLOR_PC_INACTIVE);
    m_pEditor->ClearHighlights(Active);
    m_pEditor->ClearHighlights(Inactive);
    if (!IsPCShown() || m_PCLoc.File != GetActiveFileNo()) return;
    const int InstRow = m_pEditor->GetRowOfInst(AlignToInst(m_PC));
    m_pEditor->SetHighlight(InstRow >= 0 ? InstRow : m_pEditor->GetRowOfLine(m_PCLoc.Line),
                            IsActive() ? Active : Inactive);
}

void CSourceWindow::HighlightCallSites()
{
    const QColor Active = CTheme::GetColor(COLOR_CALL_SITE_ACTIVE);
    const QColor Inactive = CTheme::GetColor(COLOR_CALL_SITE_INACTIVE);
    const QColor Selected = CTheme::GetColor(COLOR_PC_BACKTRACE);
    for (const QColor& Color : {Active, Inactive, Selected}) m_pEditor->ClearHighlights(Color);
    if (!IsTargetHalted()) return;
    const auto& Hooks = GetDebugViewHooks();
    for (const CSrcLoc& Loc : AskHook(Hooks.GetCallSites, QList<CSrcLoc>()))
        if (Loc.File == GetActiveFileNo())
            m_pEditor->SetHighlight(m_pEditor->GetRowOfLine(Loc.Line), IsActive() ? Active : Inactive);
    const int Frame = AskHook(Hooks.GetSelectedFrame, 0);
    if (Frame <= 0 || !Hooks.GetFrame) return;
    const CSrcLoc Loc = Hooks.GetFrame(Frame).Loc;
    if (Loc.IsValid() && Loc.File == GetActiveFileNo())
        m_pEditor->SetHighlight(m_pEditor->GetRowOfLine(Loc.Line), Selected);
}

void CSourceWindow::SetFont(int FontID, QFont& Font)
{
    if (FontID == FONT_SRC_CODE || FontID == FONT_SRC_ASM_CODE) m_pEditor->UpdateFonts();
    if (FontID == FONT_LINE_NUMBERS || FontID == FONT_EXEC_COUNTERS)
        m_pSideBar->SetFonts(::GetFont(FONT_LINE_NUMBERS), ::GetFont(FONT_EXEC_COUNTERS));
    CWindow::SetFont(FontID, Font);
}

void CSourceWindow::SetPreference(int SysVarID, I64 Value)
{
    switch (SysVarID) {
    case PREF_SHOW_SIDEBAR_SRC:
        m_pSideBar->setVisible(Value != 0);
        break;
    case PREF_TAB_SPACING:
    case PREF_SHOW_EXPANSION_BAR:
        m_pEditor->UpdateFonts();
        break;
    case PREF_SHOW_ENCODINGS_SRC:
        m_pEditor->ForgetAddresses();
        break;
    case PREF_RESTRICT_SRC_EDIT:
        UpdateReadOnly();
        break;
    case PREF_LOCK_HEADER_BAR:
        m_HeaderTimer.start();
        break;
    default:
        break;
    }
    UpdateActions();
    Repaint();
}

// ---- Selection -------------------------------------------------------------------------------------------

CSrcLoc CSourceWindow::GetCursorLoc() const
{
    const U32 FileNo = GetActiveFileNo();
    return FileNo ? CSrcLoc(FileNo, U32(m_pEditor->GetCursor().y() + 1)) : CSrcLoc();
}

QString CSourceWindow::GetCursorInfoStr() const
{
    const QPoint Pos = m_pEditor->GetCursor();
    return QStringLiteral("Ln %1  Ch %2").arg(Pos.y() + 1).arg(Pos.x() + 1);
}

bool CSourceWindow::SelectLocation(CSrcLoc Loc, bool Focus)
{
    if (!Loc.IsValid()) return false;
    if (!GetDocument(Loc.File)) {
        const QString sPath = AskHook(GetDebugViewHooks().GetFilePath, QString(), Loc.File);
        if (sPath.isEmpty() || !Open(sPath)) return false;
    }
    if (Loc.File != GetActiveFileNo()) SetCurrentTab(int(m_TabFiles.indexOf(Loc.File)));
    RememberLocation(Loc);
    const int Line = int(Loc.Line) - 1;
    if (m_pEditor->GetCursor().y() != Line) m_pEditor->SetCursorTextPos(QPoint(0, Line));
    m_pEditor->EnsureRowVisible(m_pEditor->GetRowOfLine(Loc.Line), true);
    ShowFuncInHeaderBar(Loc.Line);
    if (Focus) m_pEditor->setFocus();
    return true;
}

void CSourceWindow::RememberLocation(CSrcLoc Loc)
{
    if (m_HistoryPos >= 0 && m_History[m_HistoryPos].IsSameLine(Loc)) return;
    m_History.resize(m_HistoryPos + 1);
    m_History.append(Loc);
    if (m_History.size() > MAX_HISTORY) m_History.removeFirst();
    m_HistoryPos = int(m_History.size()) - 1;
}

void CSourceWindow::SelectNextObsvPoint()
{
    if (m_HistoryPos + 1 >= m_History.size()) return;
    m_HistoryPos++;
    SelectLocation(m_History[m_HistoryPos]);
}

void CSourceWindow::SelectPrevObsvPoint()
{
    if (m_HistoryPos <= 0) return;
    m_HistoryPos--;
    SelectLocation(m_History[m_HistoryPos]);
}

void CSourceWindow::GotoLine(int Line)
{
    if (const U32 FileNo = GetActiveFileNo())
        SelectLocation(CSrcLoc(FileNo, U32(qBound(1, Line, GetCurrentDocument()->GetNumLines()))));
}

void CSourceWindow::SelectText(const QString& sPath, QPoint Pos, int Length)
{
    if (Open(sPath)) m_pEditor->SelectText(Pos, Length);
}

void CSourceWindow::OnSrcLocSelected(CSrcLoc Loc, int)
{
    if (!m_IsSelecting) SelectLocation(Loc);
}

void CSourceWindow::OnInstSelected(I64 Addr)
{
    if (m_IsSelecting || Addr < 0) return;
    const CSrcLoc Loc = AskHook(GetDebugViewHooks().GetSrcLoc, CSrcLoc(), U32(Addr));
    if (!SelectLocation(Loc)) return;
    const int Row = m_pEditor->GetRowOfInst(U32(Addr));
    if (Row >= 0) m_pEditor->SetSelectedInstRow(Row);
}

void CSourceWindow::OnFuncSelected(ELF_SYM_HANDLE hFunc)
{
    for (const VIEW_FUNC& Func : std::as_const(m_Funcs))
        if (Func.hFunc == hFunc && hFunc) GotoLine(int(Func.Line));
}

void CSourceWindow::OnCursorPositionChanged(QPoint Pos)
{
    m_pSideBar->SetCurrentRow(m_pEditor->GetRowOfLine(U32(Pos.y() + 1)));
    if (GetVarValue(PREF_LINE_NUMBER_FREQ) == 1) UpdateSidebar();
    m_HeaderTimer.start();
    UpdateActions();
    emit StatusTextChanged();
}

QString CSourceWindow::GetSelectedTextOrWordUnderCursor() const
{
    return m_pEditor->HasSelection() ? m_pEditor->GetSelectedText() : m_pEditor->GetWordUnderCursor();
}

QString CSourceWindow::GetFileNameUnderCursor() const
{
    const CSrcDocument* pDocument = GetCurrentDocument();
    return pDocument ? GetIncludedFile(pDocument->GetLine(m_pEditor->GetCursor().y())) : QString();
}

// ---- Tool tips -------------------------------------------------------------------------------------------

void CSourceWindow::OnTooltipDelayTimerTimeout()
{
    CSrcDocument* pDocument = GetCurrentDocument();
    const QPoint Pos = m_pEditor->GetTextPosAt(m_TooltipPos);
    if (!pDocument || !m_pEditor->viewport()->underMouse()) return QToolTip::hideText();
    QString sExpression = m_pEditor->GetSelectedText();
    if (sExpression.isEmpty() || sExpression.contains(u'\n'))
        sExpression =
            Pos.y() < 0 ? QString() : GetWordAt(pDocument->GetLineWithoutComments(Pos.y()), Pos.x(), true);
    if (sExpression.isEmpty()) return QToolTip::hideText();
    QPoint GlobalPos = m_pEditor->viewport()->mapToGlobal(m_TooltipPos);
    emit SymbolTooltipRequest(GlobalPos, sExpression, Pos.y() + 1);
    const QString sTip = AskHook(GetDebugViewHooks().GetTooltip, QString(), sExpression,
                                 CSrcLoc(pDocument->GetFileNo(), U32(qMax(0, Pos.y()) + 1)));
    if (sTip.isEmpty())
        QToolTip::hideText();
    else
        QToolTip::showText(GlobalPos, sTip, m_pEditor);
}

// ---- Header bar ------------------------------------------------------------------------------------------

void CSourceWindow::InitHeaderBar()
{
    const U32 FileNo = GetActiveFileNo();
    m_Funcs =
        FileNo ? AskHook(GetDebugViewHooks().GetFileFuncs, QList<VIEW_FUNC>(), FileNo) : QList<VIEW_FUNC>();
    m_pHeaderBar->setVisible(!m_Funcs.isEmpty());
    m_pComboScope->clear();
    m_pComboScope->addItem(GetIcon(QStringLiteral("document-text")), QStringLiteral("File Scope"));
    for (const VIEW_FUNC& Func : std::as_const(m_Funcs))
        if (!Func.sScope.isEmpty() && m_pComboScope->findText(Func.sScope) < 0)
            m_pComboScope->addItem(Func.sScope);
    ShowFuncInHeaderBar(U32(m_pEditor->GetCursor().y() + 1));
}

void CSourceWindow::OnHeaderBarUpdateTimerTimeout()
{
    // A locked bar keeps to the function of the PC, or of the last place jumped to, wherever the cursor goes.
    if (GetVarValue(PREF_LOCK_HEADER_BAR) == 0) ShowFuncInHeaderBar(U32(m_pEditor->GetCursor().y() + 1));
}

void CSourceWindow::ShowFuncInHeaderBar(U32 Line)
{
    if (m_Funcs.isEmpty()) return;
    // The function of a line is the last that starts at or above it.
    const VIEW_FUNC* pCurrent = nullptr;
    for (const VIEW_FUNC& Func : std::as_const(m_Funcs))
        if (Func.Line <= Line && (!pCurrent || Func.Line >= pCurrent->Line)) pCurrent = &Func;
    const QString sScope = pCurrent ? pCurrent->sScope : QString();
    m_pComboScope->setCurrentIndex(qMax(0, m_pComboScope->findText(sScope)));
    OnComboBoxScopeIndexChanged(m_pComboScope->currentIndex());
    m_pComboSymbols->setCurrentIndex(pCurrent ? m_pComboSymbols->findText(pCurrent->sName) : -1);
}

void CSourceWindow::OnComboBoxScopeIndexChanged(int Index)
{
    const QString sScope = Index <= 0 ? QString() : m_pComboScope->itemText(Index);
    m_pComboSymbols->clear();
    for (const VIEW_FUNC& Func : std::as_const(m_Funcs))
        if (Func.sScope == sScope)
            m_pComboSymbols->addItem(GetIcon(QStringLiteral("function-single")), Func.sName, Func.Line);
}

void CSourceWindow::OnComboBoxSymbolsIndexChanged(int Index)
{
    if (Index < 0) return;
    GotoLine(m_pComboSymbols->itemData(Index).toInt());
    m_pEditor->setFocus();
}

// ---- Find bar --------------------------------------------------------------------------------------------

void CSourceWindow::OpenFindBar(const QString& sText)
{
    m_pFindBar->Open(sText.isEmpty() && !m_pEditor->GetSelectedText().contains(u'\n')
                         ? m_pEditor->GetSelectedText()
                         : sText);
    UpdateFindMatches();
}

void CSourceWindow::UpdateFindMatches()
{
    m_pEditor->SetMatches(m_pFindBar->isVisible() ? m_pFindBar->GetText() : QString(),
                          m_pFindBar->IsMatchCase());
    int NumMatches = 0;
    const QString sPattern = m_pFindBar->GetText();
    const auto Case = m_pFindBar->IsMatchCase() ? Qt::CaseSensitive : Qt::CaseInsensitive;
    if (const CSrcDocument* pDocument = GetCurrentDocument(); pDocument && !sPattern.isEmpty())
        for (const QString& sLine : pDocument->GetLines()) NumMatches += int(sLine.count(sPattern, Case));
    m_pFindBar->SetResult(0, NumMatches);
}

bool CSourceWindow::FindNext(bool Forward)
{
    const CSrcDocument* pDocument = GetCurrentDocument();
    const QString sPattern = m_pFindBar->GetText();
    if (!pDocument || sPattern.isEmpty()) return false;
    const auto Case = m_pFindBar->IsMatchCase() ? Qt::CaseSensitive : Qt::CaseInsensitive;
    QList<QPoint> Matches;
    auto IsWord = [](const QString& sLine, qsizetype Pos) {
        return Pos >= 0 && Pos < sLine.size() && (sLine[Pos].isLetterOrNumber() || sLine[Pos] == u'_');
    };
    for (int Line = 0; Line < pDocument->GetNumLines(); Line++) {
        const QString& sLine = pDocument->GetLine(Line);
        for (qsizetype Pos = sLine.indexOf(sPattern, 0, Case); Pos >= 0;
             Pos = sLine.indexOf(sPattern, Pos + sPattern.size(), Case))
            if (!m_pFindBar->IsWholeWord() ||
                (!IsWord(sLine, Pos - 1) && !IsWord(sLine, Pos + sPattern.size())))
                Matches.append(QPoint(int(Pos), Line));
    }
    if (Matches.isEmpty()) {
        m_pFindBar->SetResult(0, 0);
        return false;
    }
    // A match under the cursor is left first: the cursor stands behind it.
    const QPoint Cursor = m_pEditor->GetCursor();
    auto IsBefore = [](QPoint A, QPoint B) { return A.y() < B.y() || (A.y() == B.y() && A.x() < B.x()); };
    int Index = 0;
    if (Forward) {
        while (Index < Matches.size() && IsBefore(Matches[Index], Cursor)) Index++;
        if (Index == Matches.size()) Index = 0;
    } else {
        const QPoint Start =
            m_pEditor->HasSelection() ? QPoint(Cursor.x() - int(sPattern.size()), Cursor.y()) : Cursor;
        Index = int(Matches.size()) - 1;
        while (Index >= 0 && !IsBefore(Matches[Index], Start)) Index--;
        if (Index < 0) Index = int(Matches.size()) - 1;
    }
    m_pEditor->SelectText(Matches[Index], int(sPattern.size()));
    m_pFindBar->SetResult(Index + 1, int(Matches.size()));
    return true;
}

#include "moc_sourcewindow.cpp"
