#include "views/debug/disassemblywindow.h"

#include "app/services/log.h"
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"
#include "views/debug/asmview.h"
#include "views/debug/debugviewhooks.h"
#include "views/debug/insttext.h"
#include "views/framework/sidebar.h"
#include "views/theme/theme.h"

#include <QHBoxLayout>
#include <QScrollBar>
#include <algorithm>

namespace {
constexpr int WORK_INTERVAL_MS = 5;
} // namespace

CDisassemblyWindow::CDisassemblyWindow(QWidget* pParent) : CWindow(pParent, QStringLiteral("Disassembly"))
{
    for (WINDOW_FLAGS Flag : {WF_CLEAR_ON_HIDE, WF_CLEAR_ON_DISCONNECT}) SetFlag(Flag, false);
    CreateWidgets();
    m_WorkTimer.setInterval(WORK_INTERVAL_MS);
    connect(&m_WorkTimer, SIGNAL(timeout()), this, SLOT(OnDoWorkTimerTimeout()));
    connect(&CTheme::Get(), &CTheme::SchemeChanged, this, [this] { Repaint(); });
    CreateActions();
    LinkWindowActions();
    OnContentChanged();
}

void CDisassemblyWindow::CreateWidgets()
{
    auto* pCentral = new QWidget(this);
    auto* pLayout = new QHBoxLayout(pCentral);
    pLayout->setContentsMargins(0, 0, 0, 0);
    pLayout->setSpacing(0);
    m_pSideBar = new CSideBar(pCentral);
    m_pView = new CAsmView(m_Block, pCentral);
    pLayout->addWidget(m_pSideBar);
    pLayout->addWidget(m_pView, 1);
    setCentralWidget(pCentral);
    setFocusProxy(m_pView);
    m_pSideBar->SetFonts(::GetFont(FONT_LINE_NUMBERS), ::GetFont(FONT_EXEC_COUNTERS));
    m_pSideBar->setVisible(GetVarValue(PREF_SHOW_SIDEBAR_ASM) != 0);
    m_pView->SetEncodingsShown(GetVarValue(PREF_SHOW_ENCODINGS_ASM) != 0);
    connect(m_pSideBar, SIGNAL(MouseClicked(int, int)), this, SLOT(OnSidebarClicked(int, int)));
    connect(m_pView, SIGNAL(RowClicked(int, int)), this, SLOT(OnEditorClicked(int, int)));
    connect(m_pView, SIGNAL(KeyPressed(QKeyEvent*)), this, SLOT(OnKeyPressed(QKeyEvent*)));
    connect(m_pView, &CAsmView::Scrolled, this, [this](int Rows) { ScrollBy(0, Rows); });
    connect(m_pView, &CAsmView::Resized, this, [this] { Repaint(); });
    connect(m_pView->verticalScrollBar(), SIGNAL(actionTriggered(int)), this, SLOT(OnVertScrollbarActionTriggered(int)));
}

bool CDisassemblyWindow::IsEmpty() const
{
    const auto& Hooks = GetDebugViewHooks();
    return !AskHook(Hooks.HasCore, false) || !AskHook(Hooks.HasProgram, false);
}

QString CDisassemblyWindow::GetEmptyWindowText(DEBUG_STATES) const
{
    return AskHook(GetDebugViewHooks().HasCore, false) ? QStringLiteral("No program data") : QStringLiteral("Target core support plugin not loaded");
}

// ---- The block -------------------------------------------------------------------------------------------

void CDisassemblyWindow::Clear()
{
    DropBlock();
    m_PC = ADDR_NONE;
    emit ContentChanged();
}

void CDisassemblyWindow::DropBlock()
{
    if (!m_Block.IsEmpty()) m_TopAddr = m_Block.GetRow(std::clamp(m_pView->GetTopRow(), 0, m_Block.GetNumRows() - 1)).Addr;
    m_Block.Clear();
    m_IsFirstReached = m_IsLastReached = false;
    m_pView->SetSelectedRow(ASM_NO_ROW);
    m_pView->SetTopRow(0);
    m_pSideBar->Clear();
}

void CDisassemblyWindow::ScheduleRepaintAll()
{
    const U32 Selected = GetSelectedAddr();
    DropBlock();
    if (!IsEmpty() && IsVisible() && m_TopAddr != ADDR_NONE && GoToAddr(m_TopAddr) && Selected != ADDR_NONE && m_Block.FindInstRow(Selected) >= 0)
        m_pView->SetSelectedRow(m_Block.FindInstRow(Selected));
    Repaint();
}

bool CDisassemblyWindow::NeedsRows() const
{
    if (IsEmpty()) return false;
    if (m_Block.IsEmpty()) return true;
    const int Top = m_pView->GetTopRow();
    return (Top < 0 && !m_IsFirstReached) || (Top + m_pView->GetNumVisibleRows() >= m_Block.GetNumRows() && !m_IsLastReached);
}

void CDisassemblyWindow::ClampTopRow()
{
    const int Last = m_Block.GetNumRows() - m_pView->GetNumVisibleRows();
    int Top = m_pView->GetTopRow();
    if (m_IsLastReached) Top = std::min(Top, Last);
    // Over an end that may still move, the top may lie outside for as long as the work timer runs.
    if (Top < 0 && (m_IsFirstReached || m_Block.IsEmpty())) Top = 0;
    if (Top != m_pView->GetTopRow()) m_pView->SetTopRow(Top);
}

bool CDisassemblyWindow::PrependRows()
{
    const U64 Bytes = U64(-m_pView->GetTopRow()) * CAsmBlock::GetMaxInstSize();
    const U32 First = m_Block.GetStart();
    const U32 Start = CAsmBlock::GetSafeStartAddr(First - U32(std::min<U64>(First, Bytes)));
    const int NumNew = m_Block.Decode(Start, First);
    if (NumNew <= 0) return false;
    if (m_pView->GetSelectedRow() != ASM_NO_ROW) m_pView->SetSelectedRow(m_pView->GetSelectedRow() + NumNew);
    m_pView->SetTopRow(m_pView->GetTopRow() + NumNew);
    return true;
}

bool CDisassemblyWindow::AppendRows()
{
    const int NumMissing = m_pView->GetTopRow() + m_pView->GetNumVisibleRows() - m_Block.GetNumRows() + 1;
    const U32 LastAddr = m_Block.GetRow(m_Block.GetNumRows() - 1).Addr;
    const U32 Start = std::max(CAsmBlock::GetSafeStartAddr(LastAddr), m_Block.GetStart());
    return m_Block.Decode(Start, m_Block.GetEnd() + U64(std::max(0, NumMissing) + 1) * CAsmBlock::GetMaxInstSize()) > 0;
}

void CDisassemblyWindow::OnDoWorkTimerTimeout()
{
    if (!NeedsRows() || !IsVisible()) {
        m_WorkTimer.stop();
        return;
    }
    if (m_Block.IsEmpty()) {
        // Without a PC the window shows where the user was, else where the program starts.
        U32 Addr = m_TopAddr != ADDR_NONE ? m_TopAddr : IsPCShown() ? m_PC : AskHook(GetDebugViewHooks().GetEntryPoint, ADDR_NONE);
        if (Addr == ADDR_NONE) Addr = 0;
        if (!GoToAddr(Addr)) m_WorkTimer.stop();
        return;
    }
    if (m_pView->GetTopRow() < 0)
        m_IsFirstReached = !PrependRows();
    else
        m_IsLastReached = !AppendRows();
    ClampTopRow();
    m_pView->UpdateScrollBars();
    Repaint();
    if (!NeedsRows()) m_WorkTimer.stop();
}

// ---- Position --------------------------------------------------------------------------------------------

bool CDisassemblyWindow::GoToAddr(U32 Addr)
{
    if (IsEmpty() || Addr == ADDR_NONE) return false;
    Addr = AlignToInst(Addr);
    const int NumVisible = m_pView->GetNumVisibleRows();
    CAsmBlock Block;
    Block.SetShown(GetVarValue(PREF_SHOW_ASM_LABELS) != 0, GetVarValue(PREF_SHOW_ASM_SOURCE) != 0);
    if (Block.Decode(CAsmBlock::GetSafeStartAddr(Addr), U64(Addr) + U64(NumVisible) * CAsmBlock::GetMaxInstSize()) < 0) return false;
    DropBlock();
    m_Block = Block;
    m_pView->horizontalScrollBar()->setValue(0);
    const int Row = m_Block.FindInstRow(Addr);
    const int Group = m_Block.FindGroupRow(Addr);
    // Labels and source of the address stay above it, as far as the window has room for them.
    SetTopRow(Row < 0 ? 0 : Row - Group < NumVisible ? Group : Row - NumVisible + 1);
    return true;
}

bool CDisassemblyWindow::ViewAddr(U32 Addr, bool Select, bool KeepTop)
{
    if (IsEmpty() || Addr == ADDR_NONE) return false;
    const U32 Aligned = AlignToInst(Addr);
    if (Aligned != Addr)
        Log(QStringLiteral("Disassembly: input address %1 does not point to start of an instruction or data item. Readjusted to %2").arg(FormatAddr(Addr), FormatAddr(Aligned)), MSG_INFO | MSG_CONSOLE);
    if (KeepTop && m_Block.FindInstRow(Aligned) >= 0)
        EnsureRowVisible(m_Block.FindInstRow(Aligned));
    else if (!GoToAddr(Aligned))
        return false;
    const int Row = m_Block.FindInstRow(Aligned);
    if (Select && Row >= 0) SelectRow(Row, false);
    Repaint();
    return true;
}

void CDisassemblyWindow::ViewPC()
{
    const U32 PC = GetTargetPC();
    if (PC == ADDR_NONE) return;
    m_PC = AlignToInst(PC);
    ViewAddr(m_PC, false);
}

void CDisassemblyWindow::Update(U32 NewPC)
{
    if (!IsVisible() || !IsEnabled()) return;
    if (IsTargetConnected()) SetPC(NewPC);
    Repaint();
}

void CDisassemblyWindow::SetPC(U32 PC)
{
    m_PC = AlignToInst(PC);
    m_pView->SetSelectedRow(ASM_NO_ROW);
    if (m_PC == ADDR_NONE || IsEmpty()) return;
    const int Row = m_Block.FindInstRow(m_PC);
    // A PC between two decoded rows tells that the rows are wrong there; then decoding starts anew too.
    if (Row >= 0) EnsureRowVisible(Row);
    else GoToAddr(m_PC);
}

void CDisassemblyWindow::EnsureRowVisible(int Row)
{
    const int NumVisible = m_pView->GetNumVisibleRows();
    const int Top = m_pView->GetTopRow();
    if (Row >= Top && Row < Top + NumVisible) return;
    SetTopRow(m_Block.FindGroupRow(m_Block.GetRow(Row).Addr) > Row - NumVisible ? m_Block.FindGroupRow(m_Block.GetRow(Row).Addr) : Row);
}

void CDisassemblyWindow::SetTopRow(int Row)
{
    m_pView->SetTopRow(Row);
    ClampTopRow();
    Repaint();
}

void CDisassemblyWindow::ScrollToTop() { SetTopRow(0); }
void CDisassemblyWindow::ScrollToBottom() { SetTopRow(std::max(0, m_Block.GetNumRows() - m_pView->GetNumVisibleRows())); }

void CDisassemblyWindow::ScrollBy(int dx, int dy)
{
    if (dx) m_pView->horizontalScrollBar()->setValue(m_pView->horizontalScrollBar()->value() + dx);
    if (dy && !m_Block.IsEmpty()) SetTopRow(m_pView->GetTopRow() + dy);
}

void CDisassemblyWindow::OnVertScrollbarActionTriggered(int Action)
{
    int Top = m_pView->GetTopRow();
    switch (Action) {
    case QAbstractSlider::SliderSingleStepAdd: Top++; break;
    case QAbstractSlider::SliderSingleStepSub: Top--; break;
    case QAbstractSlider::SliderPageStepAdd: Top += m_pView->GetNumVisibleRows(); break;
    case QAbstractSlider::SliderPageStepSub: Top -= m_pView->GetNumVisibleRows(); break;
    default: Top = m_pView->verticalScrollBar()->sliderPosition(); break;
    }
    SetTopRow(Top);
}

// ---- Selection -------------------------------------------------------------------------------------------

U32 CDisassemblyWindow::GetSelectedAddr() const
{
    const int Row = m_pView->GetSelectedRow();
    return Row >= 0 && Row < m_Block.GetNumRows() ? m_Block.GetRow(Row).Addr : ADDR_NONE;
}

void CDisassemblyWindow::SelectRow(int Row, bool Tell)
{
    if (Row < 0 || Row >= m_Block.GetNumRows()) return;
    m_pView->SetSelectedRow(Row);
    UpdateActions();
    if (!Tell) return;
    m_IsSelecting = true;
    emit InstSelected(I64(m_Block.GetRow(Row).Addr));
    m_IsSelecting = false;
}

void CDisassemblyWindow::OnInstSelected(I64 Addr)
{
    if (!m_IsSelecting && Addr >= 0 && Addr < I64(ADDR_NONE)) ViewAddr(U32(Addr));
}

void CDisassemblyWindow::OnEditorClicked(int Row, int) { SelectRow(Row, true); }

// ---- Look ------------------------------------------------------------------------------------------------

void CDisassemblyWindow::Repaint()
{
    CWindow::Repaint();
    m_pView->SetMarks(IsPCShown() ? m_PC : ADDR_NONE, IsActive());
    UpdateSidebar();
    if (NeedsRows() && IsVisible() && !m_WorkTimer.isActive()) m_WorkTimer.start();
}

void CDisassemblyWindow::SetFont(int FontID, QFont& Font)
{
    if (FontID == FONT_ASM_CODE) m_pView->UpdateFonts();
    if (FontID == FONT_LINE_NUMBERS || FontID == FONT_EXEC_COUNTERS) m_pSideBar->SetFonts(::GetFont(FONT_LINE_NUMBERS), ::GetFont(FONT_EXEC_COUNTERS));
    CWindow::SetFont(FontID, Font);
}

void CDisassemblyWindow::SetPreference(int SysVarID, I64 Value)
{
    switch (SysVarID) {
    case PREF_SHOW_SIDEBAR_ASM: m_pSideBar->setVisible(Value != 0); break;
    case PREF_SHOW_ENCODINGS_ASM: m_pView->SetEncodingsShown(Value != 0); break;
    case PREF_SHOW_ASM_SOURCE:
    case PREF_SHOW_ASM_LABELS: ScheduleRepaintAll(); break;
    default: break;
    }
    UpdateActions();
    Repaint();
}

QStringList CDisassemblyWindow::GetText(int Depth)
{
    if (IsEmpty()) return CWindow::GetText(Depth);
    QStringList Lines;
    const bool WithEncoding = GetVarValue(PREF_SHOW_ENCODINGS_ASM) != 0;
    const int First = std::max(0, m_pView->GetTopRow());
    const int End = std::min(m_pView->GetTopRow() + m_pView->GetNumVisibleRows(), m_Block.GetNumRows());
    for (int Row = First; Row < End; Row++) {
        const ASM_ROW& Found = m_Block.GetRow(Row);
        switch (Found.Kind) {
        case ASM_ROW_LABEL: Lines.append(Found.sText); break;
        case ASM_ROW_SOURCE: Lines.append(QStringLiteral("    ") + Found.sText); break;
        default:
            Lines.append((IsPCShown() && Found.Addr == m_PC ? QStringLiteral("> ") : QStringLiteral("  ")) +
                         GetInstLine(AskHook(GetDebugViewHooks().GetInst, VIEW_INST(), Found.Addr, WithEncoding)));
        }
    }
    return Lines;
}

// ---- Events ----------------------------------------------------------------------------------------------

void CDisassemblyWindow::OnContentChanged()
{
    CWindow::OnContentChanged();
    if (m_pView) Repaint();
}

void CDisassemblyWindow::OnDeviceResumeDone(RESUME_MODES Mode)
{
    CWindow::OnDeviceResumeDone(Mode);
    // A step resumes for an instant; its marks go only when it doesn't come back soon.
    if (Mode == RESUME_NORMAL) Repaint();
    else StartDeactivateTimer(500);
}

void CDisassemblyWindow::OnDeactivateTimerTimeout()
{
    if (!IsTargetHalted()) Repaint();
}

void CDisassemblyWindow::OnDeviceDisconnectDone()
{
    CWindow::OnDeviceDisconnectDone();
    m_PC = ADDR_NONE;
    Repaint();
}

void CDisassemblyWindow::OnDeviceBPStateChanged() { UpdateSidebar(); }
void CDisassemblyWindow::OnDeviceTPStateChanged() { UpdateSidebar(); }
void CDisassemblyWindow::OnCallFrameEvaluated(int) { Repaint(); }
void CDisassemblyWindow::OnCallStackUnwinded() { Repaint(); }
void CDisassemblyWindow::OnActivationChanged(bool) { Repaint(); }

void CDisassemblyWindow::OnPluginLoaded(QString, int)
{
    DropBlock();
    emit ContentChanged();
}
void CDisassemblyWindow::OnPluginUnloaded(QString sFilePath, int Type) { OnPluginLoaded(sFilePath, Type); }
void CDisassemblyWindow::OnPluginReconfigured(QString sFilePath, int Type) { OnPluginLoaded(sFilePath, Type); }

void CDisassemblyWindow::OnDataFileOpened(QString)
{
    DropBlock();
    m_TopAddr = ADDR_NONE; // addresses of the old program mean nothing in the new one
    emit ContentChanged();
}
void CDisassemblyWindow::OnDataFileDownloaded(QString) { ScheduleRepaintAll(); }

#include "moc_disassemblywindow.cpp"
