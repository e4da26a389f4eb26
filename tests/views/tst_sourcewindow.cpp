// The source window with a made-up program: following the PC, margin, editing, finding, documents, session.
#include "fakeprogram.h"
#include "project/settings/sysvars.h"
#include "views/debug/cppsyntax.h"
#include "views/debug/findbar.h"
#include "views/debug/sourcewindow.h"
#include "views/debug/srcdocument.h"
#include "views/framework/messagebox.h"
#include "views/framework/sidebar.h"
#include "viewsenv.h"

#include <QAction>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QSettings>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>

class tst_sourcewindow : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void pcShowsInTextAndMargin();
    void clickInMarginTogglesBreakpoint();
    void lineUnfoldsIntoInstructions();
    void lineNumberFrequency();
    void selectionGoesRoundOnce();
    void historyOfLocations();
    void typingAndUndo();
    void lineEndsSurviveSaving_data();
    void lineEndsSurviveSaving();
    void unsavedTextIsKept();
    void editingIsGuarded();
    void closingAsksAboutChanges();
    void missingFileSaysSo();
    void headerBarFollowsUnlessLocked();
    void findGoesAround();
    void sessionLines();
    void syntax_data();
    void syntax();
    void erasedCommentsKeepPositions();
    void wordsAndIncludes();
    void longLinesAndTabs();

private:
    void Halt(U32 Line);
    QPoint GetRowPos(int Row) const
    {
        return QPoint(6, (Row - m_pWindow->GetEditor()->GetFirstVisibleRow()) *
                                 m_pWindow->GetEditor()->GetRowHeight() +
                             4);
    }
    int RowOf(U32 Line) const { return m_pWindow->GetEditor()->GetRowOfLine(Line); }

    std::unique_ptr<CFakeProgram> m_pProgram;
    std::unique_ptr<CSourceWindow> m_pWindow;
    QTemporaryDir m_Dir;
};

void tst_sourcewindow::initTestCase()
{
    QCoreApplication::setOrganizationName(QStringLiteral("VantrelTest"));
    QCoreApplication::setApplicationName(QStringLiteral("tst_sourcewindow"));
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_Dir.path());
    InitViewsForTest();
}

void tst_sourcewindow::init()
{
    m_pProgram = std::make_unique<CFakeProgram>();
    m_pProgram->Install();
    m_pProgram->SetFrames();
    m_pWindow = std::make_unique<CSourceWindow>();
    m_pWindow->resize(700, 560);
    m_pWindow->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_pWindow.get()));
}

void tst_sourcewindow::cleanup()
{
    CMessageBox::SetInterceptor({});
    m_pWindow.reset();
}

void tst_sourcewindow::Halt(U32 Line)
{
    m_pProgram->Connected = m_pProgram->Halted = true;
    m_pProgram->PC = CFakeProgram::GetAddr(Line);
    m_pWindow->OnDeviceHaltDone(m_pProgram->PC, HR_BREAKPOINT);
}

void tst_sourcewindow::pcShowsInTextAndMargin()
{
    QVERIFY(m_pWindow->IsEmpty());
    Halt(30); // opens the file by itself
    QCOMPARE(m_pWindow->GetActiveFileNo(), CFakeProgram::FILE_NO);
    CSourceEditor* pEditor = m_pWindow->GetEditor();
    QCOMPARE(pEditor->GetHighlight(RowOf(30)), CTheme::GetColor(COLOR_PC_ACTIVE));
    QCOMPARE(m_pWindow->GetSideBar()->GetRightSymbol(RowOf(30)), int(SIDEBAR_PC));
    QCOMPARE(m_pWindow->GetSideBar()->GetLeftSymbol(RowOf(30)), int(SIDEBAR_HAS_CODE));
    QCOMPARE(m_pWindow->GetSideBar()->GetLeftSymbol(RowOf(32)), int(SIDEBAR_NONE));
    QCOMPARE(m_pWindow->GetStatusText(), QStringLiteral("Ln 30  Ch 1"));
    m_pWindow->SetActive(false); // instruction steps are taken elsewhere
    QCOMPARE(pEditor->GetHighlight(RowOf(30)), CTheme::GetColor(COLOR_PC_INACTIVE));
    Halt(41);
    QVERIFY(!pEditor->GetHighlight(RowOf(30)).isValid());
    QVERIFY(pEditor->GetHighlight(RowOf(41)).isValid());
    QVERIFY(RowOf(41) < pEditor->GetFirstVisibleRow() + pEditor->GetNumVisibleRows()); // scrolled into view
    // Outer frames mark their call sites.
    Halt(30);
    m_pProgram->NumUnwound = 2;
    m_pWindow->OnCallStackUnwinded();
    QCOMPARE(pEditor->GetHighlight(RowOf(41)), CTheme::GetColor(COLOR_CALL_SITE_INACTIVE));
    QCOMPARE(m_pWindow->GetSideBar()->GetRightSymbol(RowOf(41)), int(SIDEBAR_CALL_SITE));
    // A PC without source leaves the document as it is.
    m_pProgram->PC = 0x1000;
    m_pWindow->OnDeviceHaltDone(0x1000, HR_HALT);
    QCOMPARE(m_pWindow->GetSideBar()->GetRightSymbol(RowOf(30)), int(SIDEBAR_NONE));
    QCOMPARE(m_pWindow->GetActiveFileNo(), CFakeProgram::FILE_NO);
    Halt(30);
    m_pProgram->Halted = false;
    m_pWindow->OnDeviceResumeDone(RESUME_NORMAL);
    QVERIFY(!pEditor->GetHighlight(RowOf(30)).isValid());
    QCOMPARE(m_pWindow->GetSideBar()->GetRightSymbol(RowOf(30)), int(SIDEBAR_NONE));
}

void tst_sourcewindow::clickInMarginTogglesBreakpoint()
{
    m_pWindow->Open(m_pProgram->sPath);
    QSignalSpy Selected(m_pWindow.get(), SIGNAL(SrcLocSelected(CSrcLoc, int)));
    QTest::mouseClick(m_pWindow->GetSideBar(), Qt::LeftButton, {}, GetRowPos(RowOf(25)));
    QCOMPARE(Selected.size(), 1);
    QCOMPARE(Selected[0][0].value<CSrcLoc>(), CSrcLoc(CFakeProgram::FILE_NO, 25));
    const QStringList Location{QStringLiteral("blinky.c:25")};
    QCOMPARE(m_pProgram->Commands.last(),
             (QPair<QString, QStringList>(QStringLiteral("Break.SetOnSrc"), Location)));
    m_pProgram->Breakpoints.insert(25, BP_STATE_ON);
    m_pWindow->OnDeviceBPStateChanged();
    QCOMPARE(m_pWindow->GetSideBar()->GetLeftSymbol(RowOf(25)), int(SIDEBAR_BP_ON));
    QTest::mouseClick(m_pWindow->GetSideBar(), Qt::LeftButton, Qt::ShiftModifier, GetRowPos(RowOf(25)));
    QCOMPARE(m_pProgram->Commands.last(),
             (QPair<QString, QStringList>(QStringLiteral("Break.DisableOnSrc"), Location)));
    m_pProgram->Breakpoints.insert(25, BP_STATE_DISABLED);
    m_pWindow->OnDeviceBPStateChanged();
    QCOMPARE(m_pWindow->GetSideBar()->GetLeftSymbol(RowOf(25)), int(SIDEBAR_BP_OFF));
    m_pProgram->Commands.clear();
    QTest::mouseClick(m_pWindow->GetSideBar(), Qt::LeftButton, {}, GetRowPos(RowOf(25)));
    QCOMPARE(m_pProgram->Commands.last().first, QStringLiteral("Break.ClearOnSrc"));
    m_pProgram->Commands.clear();
    QTest::mouseClick(m_pWindow->GetSideBar(), Qt::RightButton, {}, GetRowPos(RowOf(26)));
    QVERIFY(m_pProgram->Commands.isEmpty()); // a right click only selects
    QCOMPARE(m_pWindow->GetCursorLoc().Line, 26u);
    // A click far below the text does nothing.
    m_pWindow->GetSideBar()->MouseClicked(1000, Qt::LeftButton);
    QVERIFY(m_pProgram->Commands.isEmpty());
}

void tst_sourcewindow::lineUnfoldsIntoInstructions()
{
    Halt(30);
    CSourceEditor* pEditor = m_pWindow->GetEditor();
    const int NumRows = pEditor->GetNumRows();
    m_pWindow->findChild<QAction*>(QStringLiteral("actionSrcExpandLine"))->trigger();
    QCOMPARE(pEditor->GetNumRows(), NumRows + 3); // 2 + 2 + 4 bytes
    const int Row = RowOf(30);
    QVERIFY(pEditor->GetRow(Row + 1).IsInst);
    QCOMPARE(pEditor->GetRow(Row + 2).Addr, U64(CFakeProgram::GetAddr(30) + 2));
    QCOMPARE(RowOf(31), Row + 4);
    // The instruction carries the arrow now.
    QCOMPARE(m_pWindow->GetSideBar()->GetRightSymbol(Row + 1), int(SIDEBAR_PC));
    QCOMPARE(m_pWindow->GetSideBar()->GetRightSymbol(Row), int(SIDEBAR_NONE));
    QVERIFY(pEditor->GetHighlight(Row + 1).isValid());
    QVERIFY(!pEditor->GetHighlight(Row).isValid());
    // A click on its margin sets an instruction breakpoint.
    QTest::mouseClick(m_pWindow->GetSideBar(), Qt::LeftButton, {}, GetRowPos(Row + 2));
    QCOMPARE(m_pProgram->Commands.last().first, QStringLiteral("Break.Set"));
    QCOMPARE(m_pProgram->Commands.last().second, QStringList{QStringLiteral("0x080001E2")});
    QVERIFY(m_pWindow->GetText().join(u'\n').contains(QLatin1String("080001E2\tADDS R3, #1")));
    // Lines without code stay folded; the expansion is kept for the document.
    pEditor->SetLineExpanded(32, true);
    QCOMPARE(pEditor->GetNumRows(), NumRows + 3);
    QTest::mouseClick(pEditor->viewport(), Qt::LeftButton, {}, GetRowPos(RowOf(30)));
    QCOMPARE(pEditor->GetNumRows(), NumRows);
    m_pWindow->SetAutoExpandPcLine(true);
    Halt(41);
    QVERIFY(pEditor->IsLineExpanded(41));
}

void tst_sourcewindow::lineNumberFrequency()
{
    m_pWindow->Open(m_pProgram->sPath);
    SetVar(PREF_LINE_NUMBER_FREQ, 3, false);
    m_pWindow->SetPreference(PREF_LINE_NUMBER_FREQ, 3);
    m_pWindow->GetEditor()->SetLineExpanded(24, true);
    m_pWindow->Repaint();
    // The picture of the margin must differ between a numbered and an unnumbered row only in the number's
    // column.
    auto HasNumber = [this](int Row) {
        const QImage Image = m_pWindow->GetSideBar()->grab().toImage();
        const int y =
            (Row - m_pWindow->GetEditor()->GetFirstVisibleRow()) * m_pWindow->GetEditor()->GetRowHeight();
        for (int i = y; i < y + m_pWindow->GetEditor()->GetRowHeight(); i++)
            for (int x = m_pWindow->GetSideBar()->GetSymbolStripWidth() + 4; x < Image.width() - 4; x++)
                if (Image.pixelColor(x, i).lightness() < 200) return true;
        return false;
    };
    QVERIFY(HasNumber(RowOf(5)));
    QVERIFY(HasNumber(RowOf(25)));
    QVERIFY(!HasNumber(RowOf(24)));
    QVERIFY(!HasNumber(RowOf(24) + 1)); // nor do instruction rows have one
    SetVar(PREF_LINE_NUMBER_FREQ, 2, false);
}

void tst_sourcewindow::selectionGoesRoundOnce()
{
    m_pWindow->Open(m_pProgram->sPath);
    // The main window sends every selection back to its sender as well.
    connect(m_pWindow.get(), SIGNAL(SrcLocSelected(CSrcLoc, int)), m_pWindow.get(),
            SLOT(OnSrcLocSelected(CSrcLoc, int)));
    QSignalSpy Spy(m_pWindow.get(), SIGNAL(SrcLocSelected(CSrcLoc, int)));
    const QPoint Pos = m_pWindow->GetEditor()->GetViewportPos(QPoint(4, 20)) + QPoint(2, 4);
    QTest::mouseClick(m_pWindow->GetEditor()->viewport(), Qt::LeftButton, {}, Pos);
    QCOMPARE(Spy.size(), 1);
    QCOMPARE(m_pWindow->GetEditor()->GetCursor(), QPoint(4, 20)); // the echo doesn't move the caret
    m_pWindow->OnInstSelected(CFakeProgram::GetAddr(41));
    QCOMPARE(m_pWindow->GetCursorLoc().Line, 41u);
    m_pWindow->OnInstSelected(-1);
    m_pWindow->OnFuncSelected(3);
    QCOMPARE(m_pWindow->GetCursorLoc().Line, 28u);
    QCOMPARE(Spy.size(), 1);
}

void tst_sourcewindow::historyOfLocations()
{
    for (U32 Line : {20u, 25u, 41u}) m_pWindow->SelectLocation(CSrcLoc(CFakeProgram::FILE_NO, Line));
    auto* pPrev = m_pWindow->findChild<QAction*>(QStringLiteral("actionSrcViewPrevObsvPoint"));
    auto* pNext = m_pWindow->findChild<QAction*>(QStringLiteral("actionSrcViewNextObsvPoint"));
    pPrev->trigger();
    pPrev->trigger();
    QCOMPARE(m_pWindow->GetCursorLoc().Line, 20u);
    QVERIFY(!pPrev->isEnabled());
    pNext->trigger();
    QCOMPARE(m_pWindow->GetCursorLoc().Line, 25u);
    m_pWindow->SelectLocation(CSrcLoc(CFakeProgram::FILE_NO, 30)); // a new place cuts the rest off
    QVERIFY(!pNext->isEnabled());
    QVERIFY(!m_pWindow->SelectLocation(CSrcLoc(12345, 1)));
    QCOMPARE(m_pWindow->GetCursorLoc().Line, 30u);
}

void tst_sourcewindow::typingAndUndo()
{
    QFile File(m_Dir.filePath(QStringLiteral("edit.c")));
    QVERIFY(File.open(QIODevice::WriteOnly));
    File.write("int a;\n    int b;\n");
    File.close();
    m_pWindow->Open(File.fileName());
    CSourceEditor* pEditor = m_pWindow->GetEditor();
    pEditor->setFocus();
    auto GetAll = [&] { return m_pWindow->GetDocText(File.fileName()); };
    const QString sStart = GetAll();
    pEditor->SetCursorTextPos(QPoint(10, 1));
    QTest::keyClick(pEditor, Qt::Key_Return); // keeps the indentation
    QTest::keyClicks(pEditor, QStringLiteral("int c;"));
    QCOMPARE(GetAll(), QStringLiteral("int a;\n    int b;\n    int c;\n"));
    QCOMPARE(pEditor->GetCursor(), QPoint(10, 2));
    QVERIFY(m_pWindow->findChild<QTabBar*>(QStringLiteral("docTabBar"))->tabText(0).endsWith(u'*'));
    QTest::keyClick(pEditor, Qt::Key_Up, Qt::ShiftModifier);
    QTest::keyClick(pEditor, Qt::Key_Backspace);
    QCOMPARE(GetAll(), QStringLiteral("int a;\n    int b;\n"));
    while (GetAll() != sStart || m_pWindow->HasModifiedDocument()) {
        const QString sBefore = GetAll();
        pEditor->Undo();
        QVERIFY2(GetAll() != sBefore || !m_pWindow->HasModifiedDocument(), "undo must lead back to the file");
    }
    QVERIFY(!m_pWindow->findChild<QTabBar*>(QStringLiteral("docTabBar"))->tabText(0).endsWith(u'*'));
    for (int i = 0; i < 20; i++) pEditor->Redo();
    QCOMPARE(GetAll(), QStringLiteral("int a;\n    int b;\n"));
    pEditor->SetCursorTextPos(QPoint(0, 0));
    QTest::keyClick(pEditor, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(pEditor, Qt::Key_X, Qt::ControlModifier);
    QCOMPARE(GetAll(), QString());
    QTest::keyClick(pEditor, Qt::Key_Backspace); // at the start there is nothing to take away
    QTest::keyClick(pEditor, Qt::Key_Delete);
    QTest::keyClick(pEditor, Qt::Key_V, Qt::ControlModifier);
    QCOMPARE(GetAll(), QStringLiteral("int a;\n    int b;\n"));
    pEditor->SetCursorTextPos(QPoint(0, 0));
    QTest::keyClick(pEditor, Qt::Key_Delete, Qt::ControlModifier);
    QTest::keyClick(pEditor, Qt::Key_Right, Qt::ControlModifier);
    QCOMPARE(pEditor->GetCursor(), QPoint(4, 0));
}

void tst_sourcewindow::lineEndsSurviveSaving_data()
{
    QTest::addColumn<QByteArray>("Bytes");
    QTest::newRow("unix") << QByteArray("a\nb\n");
    QTest::newRow("windows") << QByteArray("a\r\nb\r\n");
    QTest::newRow("mac") << QByteArray("a\rb\r");
    QTest::newRow("no end") << QByteArray("a\nb");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("unicode") << QByteArray("// \xC3\xA4\xE2\x82\xAC\r\nx\r\n");
}

void tst_sourcewindow::lineEndsSurviveSaving()
{
    QFETCH(QByteArray, Bytes);
    const QString sPath = m_Dir.filePath(QStringLiteral("eol.c"));
    QFile File(sPath);
    QVERIFY(File.open(QIODevice::WriteOnly));
    File.write(Bytes);
    File.close();
    m_pWindow->Open(sPath);
    CSourceEditor* pEditor = m_pWindow->GetEditor();
    pEditor->SetCursorTextPos(QPoint(0, 0));
    pEditor->InsertText(QStringLiteral("Z"));
    QVERIFY(m_pWindow->Save(sPath));
    QVERIFY(!m_pWindow->HasModifiedDocument());
    QVERIFY(File.open(QIODevice::ReadOnly));
    QCOMPARE(File.readAll(), "Z" + Bytes);
}

/// A text that can't be written stays, whatever wanted it saved, and the reason is told each time.
void tst_sourcewindow::unsavedTextIsKept()
{
    QStringList Boxes;
    CMessageBox::SetInterceptor([&](const QString& sTitle, const QString&, CMessageBox::BUTTONS Buttons) {
        Boxes.append(sTitle);
        return int(CMessageBox::GetDefaultButton(Buttons)); // Yes where it is asked
    });
    const QString sFolder = m_Dir.filePath(QStringLiteral("gone"));
    const QString sPath = sFolder + QStringLiteral("/unsaved.c");
    QVERIFY(QDir().mkpath(sFolder));
    QFile File(sPath);
    QVERIFY(File.open(QIODevice::WriteOnly));
    File.close();
    m_pWindow->Open(sPath);
    m_pWindow->GetEditor()->SetCursorTextPos(QPoint(0, 0));
    m_pWindow->GetEditor()->InsertText(QStringLiteral("Z"));
    QVERIFY(QDir(sFolder).removeRecursively());
    const QString sBox = QStringLiteral("Save Document");
    QVERIFY(!m_pWindow->Save(sPath));
    QCOMPARE(Boxes, QStringList{sBox});
    QVERIFY(!m_pWindow->SaveAll());
    QVERIFY(!m_pWindow->Close(sPath));
    QCOMPARE(Boxes.count(sBox), 3);
    QVERIFY(m_pWindow->IsOpen(sPath));
    QVERIFY(m_pWindow->HasDocumentWithUnsavedChanges());
    QCOMPARE(m_pWindow->GetDocText(sPath), QStringLiteral("Z"));
}

void tst_sourcewindow::editingIsGuarded()
{
    QStringList Asked;
    int Answer = QDialogButtonBox::No;
    CMessageBox::SetInterceptor([&](const QString&, const QString& sText, CMessageBox::BUTTONS) {
        Asked.append(sText);
        return Answer;
    });
    Halt(30); // debugging a program whose source this is
    CSourceEditor* pEditor = m_pWindow->GetEditor();
    const QString sStart = m_pWindow->GetDocText(m_pProgram->sPath);
    QTest::keyClicks(pEditor, QStringLiteral("x"));
    QCOMPARE(Asked.size(), 1);
    QVERIFY(Asked[0].startsWith(QLatin1String("You are about to edit this document.")));
    QCOMPARE(m_pWindow->GetDocText(m_pProgram->sPath), sStart);
    Answer = QDialogButtonBox::Yes;
    QTest::keyClicks(pEditor, QStringLiteral("xy"));
    QCOMPARE(Asked.size(), 2); // asked once a document
    QVERIFY(m_pWindow->HasModifiedDocument());
    pEditor->Undo();
    SetVar(PREF_RESTRICT_SRC_EDIT, 1, false);
    m_pWindow->SetPreference(PREF_RESTRICT_SRC_EDIT, 1);
    QVERIFY(pEditor->IsReadOnly());
    QTest::keyClicks(pEditor, QStringLiteral("z"));
    QCOMPARE(m_pWindow->GetDocText(m_pProgram->sPath), sStart);
    m_pProgram->Connected = false;
    m_pWindow->OnDeviceDisconnectDone();
    QVERIFY(!pEditor->IsReadOnly());
    SetVar(PREF_RESTRICT_SRC_EDIT, 0, false);
    // A source that changed is told of once.
    Asked.clear();
    m_pWindow->NotifyOutOfDate(CFakeProgram::FILE_NO);
    m_pWindow->NotifyOutOfDate(CFakeProgram::FILE_NO);
    QCOMPARE(Asked.size(), 1);
}

void tst_sourcewindow::closingAsksAboutChanges()
{
    int Answer = QDialogButtonBox::Cancel;
    CMessageBox::SetInterceptor([&](const QString&, const QString&, CMessageBox::BUTTONS) { return Answer; });
    const QString sA = m_Dir.filePath(QStringLiteral("close_a.c"));
    const QString sB = m_Dir.filePath(QStringLiteral("close_b.c"));
    for (const QString& sPath : {sA, sB}) {
        QFile File(sPath);
        QVERIFY(File.open(QIODevice::WriteOnly));
        File.write("one\n");
        File.close();
        m_pWindow->Open(sPath);
    }
    QCOMPARE(m_pWindow->GetFileCount(), 2);
    m_pWindow->Open(sA); // no second tab
    QCOMPARE(m_pWindow->GetFileCount(), 2);
    m_pWindow->GetEditor()->InsertText(QStringLiteral("new "));
    QVERIFY(!m_pWindow->Close(sA));
    QVERIFY(m_pWindow->IsOpen(sA));
    m_pWindow->CloseAllUneditedDocuments();
    QCOMPARE(m_pWindow->GetFilePaths(), QStringList{sA});
    Answer = QDialogButtonBox::Yes;
    QVERIFY(m_pWindow->CloseAll());
    QVERIFY(m_pWindow->IsEmpty());
    QFile File(sA);
    QVERIFY(File.open(QIODevice::ReadOnly));
    QCOMPARE(File.readAll(), QByteArray("new one\n"));
    QCOMPARE(m_pWindow->GetText(), QStringList{QStringLiteral("No document open")});
}

void tst_sourcewindow::missingFileSaysSo()
{
    const QString sPath = m_Dir.filePath(QStringLiteral("gone.c"));
    m_pWindow->Open(sPath);
    auto* pLabel = m_pWindow->findChild<QLabel*>(QStringLiteral("labelNotFound"));
    QVERIFY(pLabel->isVisible());
    QCOMPARE(pLabel->text(),
             QStringLiteral(
                 "File not found:\n\n%1\n\nPlease use the source files window to locate the file manually")
                 .arg(sPath));
    QVERIFY(m_pWindow->GetEditor()->IsReadOnly());
    QFile File(sPath);
    QVERIFY(File.open(QIODevice::WriteOnly));
    File.write("int Found;\n");
    File.close();
    DEBUG_VIEW_HOOKS Hooks = GetDebugViewHooks();
    Hooks.ResolvePath = [](const QString& sAsked) { return sAsked; };
    SetDebugViewHooks(Hooks);
    m_pWindow->ReopenResolvedDocuments();
    QVERIFY(!pLabel->isVisible());
    QCOMPARE(m_pWindow->GetDocText(sPath), QStringLiteral("int Found;\n"));
}

void tst_sourcewindow::headerBarFollowsUnlessLocked()
{
    Halt(30);
    auto* pSymbols = m_pWindow->findChild<QComboBox*>(QStringLiteral("comboBoxSymbols"));
    QCOMPARE(pSymbols->currentText(), QStringLiteral("_Toggle"));
    SetVar(PREF_LOCK_HEADER_BAR, 0, false);
    m_pWindow->SetPreference(PREF_LOCK_HEADER_BAR, 0);
    m_pWindow->GetEditor()->SetCursorTextPos(QPoint(0, 20));
    QTRY_COMPARE(pSymbols->currentText(), QStringLiteral("SysTick_Handler"));
    SetVar(PREF_LOCK_HEADER_BAR, 1, false);
    m_pWindow->SetPreference(PREF_LOCK_HEADER_BAR, 1);
    m_pWindow->GetEditor()->SetCursorTextPos(QPoint(0, 24));
    QTest::qWait(600); // longer than the bar takes to follow
    QCOMPARE(pSymbols->currentText(), QStringLiteral("SysTick_Handler"));
    Halt(41); // the PC moves it also then
    QCOMPARE(pSymbols->currentText(), QStringLiteral("main"));
    m_pWindow->GotoLine(21); // and so does a jump
    QCOMPARE(pSymbols->currentText(), QStringLiteral("SysTick_Handler"));
}

void tst_sourcewindow::findGoesAround()
{
    m_pWindow->Open(m_pProgram->sPath);
    CSourceEditor* pEditor = m_pWindow->GetEditor();
    m_pWindow->OpenFindBar(QStringLiteral("_led"));
    QList<int> Lines;
    for (int i = 0; i < 8; i++) {
        QVERIFY(m_pWindow->FindNext(true));
        QCOMPARE(pEditor->GetSelectedText().toLower(), QStringLiteral("_led"));
        Lines.append(pEditor->GetCursor().y() + 1);
    }
    QCOMPARE(Lines, (QList<int>{17, 25, 30, 31, 32, 33, 33, 17}));
    QVERIFY(m_pWindow->FindNext(false));
    QCOMPARE(pEditor->GetCursor().y() + 1, 33);
    m_pWindow->OpenFindBar(QStringLiteral("no such text"));
    QVERIFY(!m_pWindow->FindNext(true));
    QCOMPARE(m_pWindow->findChild<QLabel*>(QStringLiteral("labelResult"))->text(),
             QStringLiteral("Not found"));
    QTest::keyClick(m_pWindow->findChild<CFindBar*>(), Qt::Key_Escape);
    QVERIFY(m_pWindow->findChild<CFindBar*>()->isHidden());
}

void tst_sourcewindow::sessionLines()
{
    const QString sOther = m_Dir.filePath(QStringLiteral("with, comma.c"));
    QFile File(sOther);
    QVERIFY(File.open(QIODevice::WriteOnly));
    File.write("a\nb\nc\n");
    File.close();
    m_pWindow->Open(sOther, DOC_OPEN_CURRENT, 2);
    m_pWindow->Open(m_pProgram->sPath, DOC_OPEN_CURRENT, 24);
    const QStringList Lines = m_pWindow->MakeSessionLine({}).split(u'\n');
    QCOMPARE(Lines.size(), 4);
    QCOMPARE(Lines[1], QStringLiteral("OpenDocument=\"with, comma.c\", FilePath=\"%1\", Line=2").arg(sOther));
    QCOMPARE(Lines[3], QStringLiteral("VisibleTab=\"blinky.c\""));
    CSourceWindow Other;
    Other.ApplyDocumentLines(Lines);
    QCOMPARE(Other.GetFilePaths(), (QStringList{sOther, m_pProgram->sPath}));
    QCOMPARE(Other.GetCursorLoc().Line, 25u);
    SetVar(PREF_SESSION_SAVE_FLAGS, 4, false);
    QCOMPARE(m_pWindow->MakeSessionLine({QStringLiteral("OpenDocument=\"old.c\"")}).split(u'\n').mid(1),
             QStringList{QStringLiteral("OpenDocument=\"old.c\"")});
    SetVar(PREF_SESSION_SAVE_FLAGS, 0, false);
    Other.ApplyDocumentLines(
        {QStringLiteral("OpenDocument"), QStringLiteral("OpenDocument=, Line=-5"), QString()});
    QCOMPARE(Other.GetFileCount(), 2);
}

void tst_sourcewindow::syntax_data()
{
    QTest::addColumn<QString>("sLine");
    QTest::addColumn<int>("State");
    QTest::addColumn<QString>(
        "sMap"); ///< a letter for each character: k keyword, d directive, s string, c comment
    QTest::addColumn<int>("Next");
    QTest::newRow("keywords") << "int x = return1;" << 0 << "kkk............." << 0;
    QTest::newRow("string with escape") << "f(\"a\\\"//b\");" << 0 << "..ssssssss.." << 0;
    QTest::newRow("char") << "c = '\"'; // x" << 0 << "....sss..cccc" << 0;
    QTest::newRow("digit separator") << "x = 1'000'000; if" << 0 << "...............kk" << 0;
    QTest::newRow("block ends") << "a */ int" << 1 << "cccc.kkk" << 0;
    QTest::newRow("block goes on") << "int /* a" << 0 << "kkk.cccc" << 1;
    QTest::newRow("carried on") << "// a \\" << 0 << "cccccc" << 2;
    QTest::newRow("directive") << "  # if defined X" << 0 << "..dddddddddddd.." << 0;
    QTest::newRow("include") << "#include <a.h>" << 0 << "dddddddd.sssss" << 0;
    QTest::newRow("no directive within") << "a #define" << 0 << "........." << 0;
    QTest::newRow("unfinished string") << "\"abc" << 0 << "ssss" << 0;
    QTest::newRow("backslash at end of string") << "\"a\\" << 0 << "sss" << 0;
}

void tst_sourcewindow::syntax()
{
    QFETCH(QString, sLine);
    QFETCH(int, State);
    QFETCH(QString, sMap);
    QFETCH(int, Next);
    QList<SYNTAX_SPAN> Spans;
    QCOMPARE(int(ScanSyntax(sLine, SYNTAX_STATE(State), &Spans)), Next);
    QString sFound(sLine.size(), u'.');
    for (const SYNTAX_SPAN& Span : Spans)
        for (int i = Span.Pos; i < Span.Pos + Span.Length; i++) sFound[i] = QLatin1Char(".kdsc"[Span.Class]);
    QCOMPARE(sFound, sMap);
}

void tst_sourcewindow::erasedCommentsKeepPositions()
{
    const QStringList Lines{QStringLiteral("a /* b"), QStringLiteral("c */ d // e"),
                            QStringLiteral("\"/*\" f")};
    QCOMPARE(EraseComments(Lines), (QStringList{QStringLiteral("a     "), QStringLiteral("     d     "),
                                                QStringLiteral("\"/*\" f")}));
}

void tst_sourcewindow::wordsAndIncludes()
{
    const QString sLine = QStringLiteral("  x = pList->aItem[3].Value + 12;");
    QCOMPARE(GetWordAt(sLine, 23, true), QStringLiteral("pList->aItem[3].Value"));
    QCOMPARE(GetWordAt(sLine, 23, false), QStringLiteral("Value"));
    QCOMPARE(GetWordAt(sLine, 8, true), QStringLiteral("pList"));
    QCOMPARE(GetWordAt(sLine, 31, true), QString()); // a number is no word
    QCOMPARE(GetWordAt(sLine, 500, true), QString());
    QCOMPARE(GetWordAt(QString(), 0, true), QString());
    QCOMPARE(GetIncludedFile(QStringLiteral(" #  include \"a b.h\" // x")), QStringLiteral("a b.h"));
    QCOMPARE(GetIncludedFile(QStringLiteral("#include <sys/x.h>")), QStringLiteral("sys/x.h"));
    QCOMPARE(GetIncludedFile(QStringLiteral("#include \"open")), QString());
    QCOMPARE(GetIncludedFile(QStringLiteral("include \"a.h\"")), QString());
}

void tst_sourcewindow::longLinesAndTabs()
{
    const QString sPath = m_Dir.filePath(QStringLiteral("long.c"));
    QFile File(sPath);
    QVERIFY(File.open(QIODevice::WriteOnly));
    File.write("\t\tx;\n" + QByteArray(5000, 'y') + "\n");
    for (int i = 0; i < 300; i++) File.write("line\n");
    File.close();
    m_pWindow->Open(sPath);
    CSourceEditor* pEditor = m_pWindow->GetEditor();
    const int TwoTabs = pEditor->GetViewportPos(QPoint(2, 0)).x() - pEditor->GetViewportPos(QPoint(0, 0)).x();
    SetVar(PREF_TAB_SPACING, 8, false);
    m_pWindow->SetPreference(PREF_TAB_SPACING, 8);
    QVERIFY(pEditor->GetViewportPos(QPoint(2, 0)).x() - pEditor->GetViewportPos(QPoint(0, 0)).x() >
            3 * TwoTabs);
    SetVar(PREF_TAB_SPACING, 2, false);
    m_pWindow->SetPreference(PREF_TAB_SPACING, 2);
    pEditor->setFocus();
    pEditor->SetCursorTextPos(QPoint(0, 1));
    QTest::keyClick(pEditor, Qt::Key_End);
    const QPoint Caret = pEditor->GetViewportPos(pEditor->GetCursor());
    QVERIFY2(Caret.x() > 0 && Caret.x() < pEditor->viewport()->width(), "the caret must stay in sight");
    m_pWindow->GotoLine(100000);
    QCOMPARE(pEditor->GetCursor().y(), 302);
    QTest::keyClick(pEditor, Qt::Key_PageUp);
    QVERIFY(pEditor->GetCursor().y() < 302);
    // Every position maps to a pixel and back.
    pEditor->SetCursorTextPos(QPoint(0, 0));
    pEditor->EnsureRowVisible(0, false);
    QTest::keyClick(pEditor, Qt::Key_Home);
    for (int Col : {0, 1, 2, 3})
        QCOMPARE(pEditor->GetTextPosAt(pEditor->GetViewportPos(QPoint(Col, 0)) + QPoint(1, 3)),
                 QPoint(Col, 0));
}

QTEST_MAIN(tst_sourcewindow)
#include "tst_sourcewindow.moc"
