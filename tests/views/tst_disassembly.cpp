// The disassembly window over a made-up program of 2 and 4 byte instructions: decoding at both ends, following the
// PC, margin, text.
#include "fakeprogram.h"
#include "project/settings/sysvars.h"
#include "views/debug/asmview.h"
#include "views/debug/disassemblywindow.h"
#include "views/framework/sidebar.h"
#include "viewsenv.h"

#include <QAction>
#include <QClipboard>
#include <QScrollBar>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

class tst_disassembly : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void rangeLimits();
    void emptyTexts();
    void pcRowAndText();
    void scrollingGrowsTheBlock();
    void endsOfTheAddressSpace();
    void marginClickSetsBreakpoint();
    void keysMoveTheSelection();
    void selectionFromOutside();
    void pictures();

private:
    void Halt(U32 PC);
    void Settle() { QTRY_VERIFY(!m_pWindow->IsUpdatePending()); }
    QPoint GetRowPos(int Row) const { return QPoint(6, (Row - m_pWindow->GetView()->GetTopRow()) * m_pWindow->GetView()->GetRowHeight() + 4); }

    std::unique_ptr<CFakeProgram> m_pProgram;
    std::unique_ptr<CDisassemblyWindow> m_pWindow;
    QTemporaryDir m_Dir;
};

void tst_disassembly::initTestCase()
{
    QCoreApplication::setOrganizationName(QStringLiteral("VantrelTest"));
    QCoreApplication::setApplicationName(QStringLiteral("tst_disassembly"));
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_Dir.path());
    InitViewsForTest();
}

void tst_disassembly::init()
{
    for (int VarID : {PREF_SHOW_ASM_SOURCE, PREF_SHOW_ASM_LABELS, PREF_SHOW_ENCODINGS_ASM}) SetVar(VarID, 1, false);
    m_pProgram = std::make_unique<CFakeProgram>();
    m_pProgram->Install();
    m_pProgram->SetFrames();
    m_pWindow = std::make_unique<CDisassemblyWindow>();
    m_pWindow->resize(640, 460);
    m_pWindow->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_pWindow.get()));
}

void tst_disassembly::cleanup() { m_pWindow.reset(); }

void tst_disassembly::Halt(U32 PC)
{
    m_pProgram->Connected = m_pProgram->Halted = true;
    m_pProgram->PC = PC;
    m_pWindow->OnDeviceHaltDone(PC, HR_BREAKPOINT);
    Settle();
}

void tst_disassembly::rangeLimits()
{
    QList<U32> Addrs;
    QVERIFY(!CAsmBlock::GetInstAddrs(0x100, 0x100, 10, Addrs));
    QVERIFY(CAsmBlock::GetInstAddrs(0x101, 0x110, 10, Addrs));
    QCOMPARE(Addrs, (QList<U32>{0x100, 0x102, 0x104, 0x108, 0x10A, 0x10C}));
    QVERIFY(CAsmBlock::GetInstAddrs(0, ASM_MAX_RANGE - 1, 3, Addrs));
    QCOMPARE(Addrs.size(), 3);
    QVERIFY(!CAsmBlock::GetInstAddrs(0, ASM_MAX_RANGE, 3, Addrs));
    DEBUG_VIEW_HOOKS Hooks = GetDebugViewHooks();
    U32 Safe = 0;
    Hooks.GetSafeStartAddr = [&](U32) { return Safe; };
    SetDebugViewHooks(Hooks);
    QCOMPARE(CAsmBlock::GetSafeStartAddr(10000), 0u);
    QCOMPARE(CAsmBlock::GetSafeStartAddr(10002), 10002u);
    Safe = 0x200; // an answer behind the address is of no use
    QCOMPARE(CAsmBlock::GetSafeStartAddr(0x100), 0x100u);
}

void tst_disassembly::emptyTexts()
{
    DEBUG_VIEW_HOOKS Hooks;
    SetDebugViewHooks(Hooks);
    QVERIFY(m_pWindow->IsEmpty());
    QCOMPARE(m_pWindow->GetText(), QStringList{QStringLiteral("Target core support plugin not loaded")});
    Hooks.HasCore = [] { return true; };
    SetDebugViewHooks(Hooks);
    QCOMPARE(m_pWindow->GetText(), QStringList{QStringLiteral("No program data")});
    Halt(0x08000000); // nothing is decoded
    QVERIFY(m_pWindow->GetRowOf(0x08000000) < 0);
}

void tst_disassembly::pcRowAndText()
{
    const U32 PC = CFakeProgram::GetAddr(28) + 2;
    Halt(PC);
    QStringList Text = m_pWindow->GetText();
    QVERIFY(Text.contains(QStringLiteral("> 080001C2\t3301\tADDS R3, #1")));
    QCOMPARE(Text.filter(QStringLiteral("> ")).size(), 1);
    m_pWindow->ScrollBy(0, -3);
    Settle();
    Text = m_pWindow->GetText();
    const int Label = int(Text.indexOf(QStringLiteral("_Toggle")));
    QVERIFY(Label >= 0);
    QCOMPARE(Text[Label + 1], QStringLiteral("    source line 28;"));
    QCOMPARE(Text[Label + 2], QStringLiteral("  080001C0\t4B07\tLDR R3, [PC, #0x1C] ; =_Led"));
    QCOMPARE(Text[Label + 4], QStringLiteral("  080001C4\tF7FF FFE4\tBL 0x08000190 ; _IsDue"));
    QCOMPARE(m_pWindow->GetSideBar()->GetRightSymbol(m_pWindow->GetRowOf(PC)), int(SIDEBAR_PC));
    m_pWindow->SetActive(true);
    QCOMPARE(m_pWindow->GetView()->GetRowGround(m_pWindow->GetRowOf(PC)), CTheme::GetColor(COLOR_PC_ACTIVE));
    m_pWindow->SetActive(false);
    QCOMPARE(m_pWindow->GetView()->GetRowGround(m_pWindow->GetRowOf(PC)), CTheme::GetColor(COLOR_PC_INACTIVE));
    // Rows and columns go with their preferences.
    for (int VarID : {PREF_SHOW_ASM_SOURCE, PREF_SHOW_ASM_LABELS, PREF_SHOW_ENCODINGS_ASM}) {
        SetVar(VarID, 0, false);
        m_pWindow->SetPreference(VarID, 0);
        Settle();
    }
    Text = m_pWindow->GetText();
    QVERIFY(Text.contains(QStringLiteral("> 080001C2\tADDS R3, #1")));
    QVERIFY(!Text.contains(QStringLiteral("_Toggle")));
    QVERIFY(Text.filter(QStringLiteral("source line")).isEmpty());
    m_pProgram->Halted = false;
    m_pWindow->OnDeviceResumeDone(RESUME_NORMAL);
    QVERIFY(m_pWindow->GetText().filter(QStringLiteral("> ")).isEmpty());
}

void tst_disassembly::scrollingGrowsTheBlock()
{
    const U32 PC = CFakeProgram::GetAddr(28);
    Halt(PC);
    U32 Start = PC;
    for (int i = 0; i < 30; i++) {
        const QString sOldTop = m_pWindow->GetText().first();
        m_pWindow->GetView()->verticalScrollBar()->triggerAction(QAbstractSlider::SliderSingleStepSub);
        Settle();
        const QStringList Text = m_pWindow->GetText();
        QCOMPARE(Text[1], sOldTop); // one row at a time, without a jump
        QVERIFY(m_pWindow->GetView()->GetTopRow() >= 0);
    }
    // All instructions between are there, each once.
    for (int Page = 0; Page < 6; Page++) {
        m_pWindow->ScrollBy(0, m_pWindow->GetView()->GetNumVisibleRows());
        Settle();
    }
    while (m_pWindow->GetRowOf(Start - 8) >= 0) Start -= 8;
    QVERIFY(Start < PC - 0x20);
    int Row = m_pWindow->GetRowOf(Start);
    for (U32 Addr = Start; Addr < PC + 0x80; Addr += Addr % 8 == 4 ? 4 : 2) {
        QVERIFY2(m_pWindow->GetRowOf(Addr) >= Row, qPrintable(FormatAddr(Addr)));
        Row = m_pWindow->GetRowOf(Addr) + 1;
        QVERIFY(Addr % 8 != 4 || m_pWindow->GetRowOf(Addr + 2) < 0);
    }
    // The next halt outside of the screen brings its row back.
    Halt(PC);
    QVERIFY(m_pWindow->GetText().join(u'\n').contains(QLatin1String("> 080001C0")));
}

void tst_disassembly::endsOfTheAddressSpace()
{
    QVERIFY(m_pWindow->ViewAddr(4));
    m_pWindow->ScrollBy(0, -50);
    Settle();
    QCOMPARE(m_pWindow->GetView()->GetTopRow(), 0);
    QVERIFY(m_pWindow->GetText().first().startsWith(QLatin1String("  00000000")));
    QVERIFY(m_pWindow->ViewAddr(0xFFFFFFF0u));
    Settle();
    m_pWindow->ScrollBy(0, 500);
    Settle();
    QVERIFY(m_pWindow->GetText().last().startsWith(QLatin1String("  FFFFFFFC")));
    QCOMPARE(int(m_pWindow->GetText().size()), m_pWindow->GetView()->GetNumVisibleRows()); // no blank page behind the end
}

void tst_disassembly::marginClickSetsBreakpoint()
{
    const U32 Addr = CFakeProgram::GetAddr(28) + 4;
    Halt(CFakeProgram::GetAddr(28));
    QSignalSpy Selected(m_pWindow.get(), SIGNAL(InstSelected(I64)));
    auto Click = [&](Qt::MouseButton Button, Qt::KeyboardModifiers Modifiers = {}) {
        m_pProgram->Commands.clear();
        QTest::mouseClick(m_pWindow->GetSideBar(), Button, Modifiers, GetRowPos(m_pWindow->GetRowOf(Addr)));
        return m_pProgram->Commands.isEmpty() ? QString() : m_pProgram->Commands.last().first + u' ' + m_pProgram->Commands.last().second.join(u',');
    };
    QCOMPARE(Click(Qt::LeftButton), QStringLiteral("Break.Set 0x080001C4"));
    QCOMPARE(Selected.last()[0].toLongLong(), qint64(Addr));
    QCOMPARE(Click(Qt::RightButton), QString());
    m_pProgram->InstBreakpoints.insert(Addr, BP_STATE_ON);
    m_pWindow->OnDeviceBPStateChanged();
    QCOMPARE(m_pWindow->GetSideBar()->GetLeftSymbol(m_pWindow->GetRowOf(Addr)), int(SIDEBAR_BP_ON));
    QCOMPARE(Click(Qt::LeftButton, Qt::ShiftModifier), QStringLiteral("Break.Disable 0x080001C4"));
    QCOMPARE(Click(Qt::LeftButton), QStringLiteral("Break.Clear 0x080001C4"));
    // Label and source rows have no breakpoint of their own, and there is nothing below the last row.
    m_pProgram->Commands.clear();
    emit m_pWindow->GetSideBar()->MouseClicked(m_pWindow->GetRowOf(CFakeProgram::GetAddr(28)) - 1, Qt::LeftButton);
    emit m_pWindow->GetSideBar()->MouseClicked(100000, Qt::LeftButton);
    QVERIFY(m_pProgram->Commands.isEmpty());
}

void tst_disassembly::keysMoveTheSelection()
{
    const U32 PC = CFakeProgram::GetAddr(28);
    Halt(PC);
    QTest::keyClick(m_pWindow->GetView(), Qt::Key_Down); // starts from the PC's row
    QCOMPARE(m_pWindow->GetSelectedAddr(), PC + 2);
    m_pWindow->findChild<QAction*>(QStringLiteral("actionAsmRunToCursor"))->trigger();
    QCOMPARE(m_pProgram->Commands.last(), (QPair<QString, QStringList>(QStringLiteral("Debug.RunTo"), {QStringLiteral("0x080001C2")})));
    QTest::keyClick(m_pWindow->GetView(), Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("080001C2\t3301\tADDS R3, #1"));
    for (int i = 0; i < 60; i++) {
        QTest::keyClick(m_pWindow->GetView(), Qt::Key_Up);
        Settle();
    }
    QVERIFY(m_pWindow->GetSelectedAddr() < PC - 0x40);
    const int Row = m_pWindow->GetView()->GetSelectedRow();
    QVERIFY(Row >= m_pWindow->GetView()->GetTopRow() && Row < m_pWindow->GetView()->GetTopRow() + m_pWindow->GetView()->GetNumVisibleRows());
    const U32 Before = m_pWindow->GetSelectedAddr();
    QTest::keyClick(m_pWindow->GetView(), Qt::Key_PageDown);
    QVERIFY(m_pWindow->GetSelectedAddr() > Before);
    QTest::keyClick(m_pWindow->GetView(), Qt::Key_Home);
    QCOMPARE(m_pWindow->GetView()->GetSelectedRow(), 0);
}

void tst_disassembly::selectionFromOutside()
{
    Halt(CFakeProgram::GetAddr(28));
    QSignalSpy Spy(m_pWindow.get(), SIGNAL(InstSelected(I64)));
    m_pWindow->OnInstSelected(CFakeProgram::GetAddr(600));
    Settle();
    QCOMPARE(m_pWindow->GetSelectedAddr(), CFakeProgram::GetAddr(600));
    m_pWindow->OnInstSelected(-1);
    QCOMPARE(m_pWindow->GetSelectedAddr(), CFakeProgram::GetAddr(600));
    m_pWindow->ViewAddr(CFakeProgram::GetAddr(601) + 1);
    QCOMPARE(m_pWindow->GetSelectedAddr(), CFakeProgram::GetAddr(601));
    QCOMPARE(Spy.size(), 0); // what came from outside isn't sent round again
    // A hidden window decodes nothing until it is shown.
    m_pWindow->hide();
    m_pProgram->PC = CFakeProgram::GetAddr(41);
    m_pWindow->OnDeviceHaltDone(m_pProgram->PC, HR_HALT);
    QVERIFY(m_pWindow->GetRowOf(m_pProgram->PC) < 0);
    m_pWindow->Clear();
    QVERIFY(!m_pWindow->IsUpdatePending());
}

void tst_disassembly::pictures()
{
    const QString sDir = qEnvironmentVariable("VANTREL_PICTURES"); // empty: nobody wants to see them
    QImage aPicture[2];
    m_pProgram->InstBreakpoints.insert(CFakeProgram::GetAddr(29) + 4, BP_STATE_ON);
    m_pProgram->InstBreakpoints.insert(CFakeProgram::GetAddr(30), BP_STATE_DISABLED);
    Halt(CFakeProgram::GetAddr(29));
    m_pWindow->ScrollBy(0, -9);
    Settle();
    m_pWindow->SetActive(true);
    emit m_pWindow->GetView()->RowClicked(m_pWindow->GetRowOf(CFakeProgram::GetAddr(29) + 2), Qt::LeftButton);
    for (THEME_SCHEMES Scheme : {THEME_LIGHT, THEME_DARK}) {
        CTheme::SetScheme(Scheme);
        QTest::qWait(50);
        aPicture[Scheme == THEME_DARK] = m_pWindow->grab().toImage();
        if (!sDir.isEmpty())
            QVERIFY(aPicture[Scheme == THEME_DARK].save(QStringLiteral("%1/disassembly%2.png").arg(sDir).arg(Scheme)));
    }
    QVERIFY(aPicture[0] != aPicture[1]);
    CTheme::SetScheme(THEME_LIGHT);
}

QTEST_MAIN(tst_disassembly)
#include "tst_disassembly.moc"
