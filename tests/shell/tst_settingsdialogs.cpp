// The settings dialogs in the main window, through keys and clicks: every change is a command that is echoed,
// acts in the open windows, and can be taken back.
#include "app/actions/actions.h"
#include "project/settings/appearance.h"
#include "project/settings/settingspersist.h"
#include "project/settings/sysvars.h"
#include "tests/shell/mainwindowtest.h"
#include "views/debug/sourceeditor.h"
#include "views/settings/preferencesdialog.h"
#include "views/settings/sysvarseditor.h"

#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFontComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

class tst_settingsdialogs : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void everyPreferenceHasAControl();
    void controlsPerformCommands();
    void cancel();
    void okAndApply();
    void restoreDefaults();
    void recentPage();
    void search();
    void resetDialogMemory();
    void colors();
    void colorDialog();
    void fonts();
    void keyboardReachesEverything();
    void textsFit_data();
    void textsFit();
    void commandErrors_data();
    void commandErrors();
    void sysVars();
    void sysVarsByKeys();

private:
    CPreferencesDialog* Open(int Page = PAGE_APPLICATION)
    {
        ::PerformAction(ACT_TOOLS_PREFERENCES);
        TakeLines();
        auto* pDialog = CMainWindow::Get().findChild<CPreferencesDialog*>();
        if (!pDialog || !QTest::qWaitFor([pDialog] { return QApplication::activeWindow() == pDialog; }))
            return nullptr;
        pDialog->ShowPage(Page);
        return pDialog;
    }
    static void Press(CPreferencesDialog* pDialog, QDialogButtonBox::StandardButton Button)
    {
        QTest::mouseClick(pDialog->findChild<QDialogButtonBox*>("buttonBox")->button(Button), Qt::LeftButton);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    QStringList TakeLines() { return m_Main.TakeLines(); }

    CMainWindowTest m_Main;
};

void tst_settingsdialogs::initTestCase()
{
    QVERIFY(m_Main.Start());
}

void tst_settingsdialogs::cleanupTestCase()
{
    m_Main.Stop();
}

void tst_settingsdialogs::init()
{
    for (QDialog* pDialog : CMainWindow::Get().findChildren<QDialog*>()) pDialog->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    InitSysVars();
    InitColorsAndFonts(QApplication::font());
    TakeLines();
}

void tst_settingsdialogs::everyPreferenceHasAControl()
{
    CPreferencesDialog* pDialog = Open();
    QVERIFY(pDialog);
    for (int i = FIRST_PREFERENCE; i < NUM_SYS_VARS; i++) {
        const auto* pControl = pDialog->findChild<QWidget*>(GetVar(i)->Name);
        QVERIFY2(pControl, GetVar(i)->Name);
        QCOMPARE(pControl->accessibleName(), QString(GetVar(i)->Label));
    }
    QStringList Titles;
    const auto* pTree = pDialog->findChild<QTreeWidget*>("treePages");
    for (QTreeWidgetItemIterator it(const_cast<QTreeWidget*>(pTree)); *it; ++it)
        Titles.append((*it)->text(0));
    QCOMPARE(Titles.join(';'),
             "General;Application;Callstack Window;Callgraph Window;Console Window;Disassembly Window;"
             "Functions Window;Instruction Trace Window;Power Graph Window;Source Viewer;Table Windows;"
             "Terminal Window;Timeline Window;Appearance;Fonts;Colors");
}

/// Each kind of control, by the keys and clicks of a user.
void tst_settingsdialogs::controlsPerformCommands()
{
    CPreferencesDialog* pDialog = Open(PAGE_CONSOLE);
    auto* pStamps = pDialog->findChild<QCheckBox*>("PREF_SHOW_TIMESTAMPS_CONSOLE");
    pStamps->setFocus();
    QTest::keyClick(pStamps, Qt::Key_Space);
    QCOMPARE(TakeLines(), QStringList{"Edit.Preference (PREF_SHOW_TIMESTAMPS_CONSOLE, YES);"});
    QCOMPARE(GetVarStored(PREF_SHOW_TIMESTAMPS_CONSOLE), 1);
    QVERIFY(!CConsoleWindow::Get().findChild<QWidget*>("textEditSidebar")->isHidden());

    pDialog->ShowPage(PAGE_SOURCE);
    auto* pTabs = pDialog->findChild<QComboBox*>("PREF_TAB_SPACING");
    pTabs->setFocus();
    QTest::keyClick(pTabs, Qt::Key_Down);
    QCOMPARE(TakeLines(), QStringList{"Edit.Preference (PREF_TAB_SPACING, 3);"});
    QCOMPARE(GetVarStored(PREF_TAB_SPACING), 3);

    pDialog->ShowPage(PAGE_CALLSTACK);
    auto* pDepth = pDialog->findChild<QDoubleSpinBox*>("PREF_CALLSTACK_DEPTH_LIMIT");
    pDepth->setFocus();
    pDepth->selectAll();
    QTest::keyClicks(pDepth, "77");
    QCOMPARE(TakeLines(), QStringList()); // not while it is typed
    QTest::keyClick(pDepth, Qt::Key_Tab);
    QCOMPARE(TakeLines(), QStringList{"Edit.Preference (PREF_CALLSTACK_DEPTH_LIMIT, 77);"});

    pDialog->ShowPage(PAGE_POWER_GRAPH);
    auto* pSamples = pDialog->findChild<QLineEdit*>("PREF_MAX_POWER_SAMPLES");
    pSamples->setFocus();
    pSamples->selectAll();
    QTest::keyClicks(pSamples, "18446744073709551615");
    QTest::keyClick(pSamples, Qt::Key_Tab);
    QCOMPARE(TakeLines(), QStringList{"Edit.Preference (PREF_MAX_POWER_SAMPLES, 18446744073709551615);"});
    QCOMPARE(GetVarValue(PREF_MAX_POWER_SAMPLES), I64(-1));
    // A number that the row can't hold is refused, and the field shows again what holds.
    pSamples->setFocus();
    pSamples->selectAll();
    QTest::keyClicks(pSamples, "18446744073709551616");
    QTest::keyClick(pSamples, Qt::Key_Tab);
    QVERIFY(TakeLines().last().endsWith("invalid parameter: 18446744073709551616"));
    QCOMPARE(pSamples->text(), "18446744073709551615");

    pDialog->ShowPage(PAGE_APPLICATION);
    for (const char* sFlag : {"DISABLE_SAVE_OPEN_FILES", "DISABLE_SAVE_SELECTED_REGS"}) {
        auto* pFlag = pDialog->findChild<QCheckBox*>(sFlag);
        QVERIFY(pFlag);
        QTest::mouseClick(pFlag, Qt::LeftButton, {}, QPoint(6, pFlag->height() / 2));
    }
    QCOMPARE(GetVarStored(PREF_SESSION_SAVE_FLAGS), 4 | 32);
    // What is set elsewhere shows.
    TakeLines();
    Press(pDialog, QDialogButtonBox::Ok);
    QVERIFY(!CMainWindow::Get().findChild<CPreferencesDialog*>());
    QCOMPARE(TakeLines(), QStringList());
}

void tst_settingsdialogs::cancel()
{
    SetVar(PREF_TAB_SPACING, 4, false); // as a project has it; what is stored is 2
    SetColor(COLOR_PC_ACTIVE, 0xFF101010, true);
    CPreferencesDialog* pDialog = Open(PAGE_SOURCE);
    const QFont Font = GetFont(FONT_CONSOLE);
    QVERIFY(EditPreference(PREF_TAB_SPACING, I64(8)));
    QVERIFY(EditPreference(PREF_SHOW_SIDEBAR_SRC, I64(0)));
    QVERIFY(EditColor(COLOR_PC_ACTIVE, 0xFFABCDEF));
    QVERIFY(EditFont(FONT_CONSOLE, QFont("Sans", 20)));
    CTheme::SetScheme(CTheme::IsDark() ? THEME_LIGHT : THEME_DARK);
    TakeLines();
    QTest::keyClick(pDialog, Qt::Key_Escape);
    QCOMPARE(GetVarValue(PREF_TAB_SPACING), 4);
    QCOMPARE(GetVarStored(PREF_TAB_SPACING), 2);
    QCOMPARE(GetVarStored(PREF_SHOW_SIDEBAR_SRC), 1);
    QCOMPARE(GetColorValue(COLOR_PC_ACTIVE), 0xFF101010u);
    QCOMPARE(GetColorStored(COLOR_PC_ACTIVE), 0xFF101010u);
    QCOMPARE(FontToText(GetFont(FONT_CONSOLE)), FontToText(Font));
    QCOMPARE(int(CTheme::GetScheme()), int(THEME_AUTO));
    const QStringList Lines = TakeLines();
    QVERIFY(Lines.contains("Edit.Preference (PREF_TAB_SPACING, 4);")); // the way back is told as well
    QVERIFY(Lines.contains("Edit.Color (COLOR_PC_ACTIVE, \"0xff101010\");"));
}

void tst_settingsdialogs::okAndApply()
{
    CPreferencesDialog* pDialog = Open(PAGE_DISASSEMBLY);
    const auto* pApply = pDialog->findChild<QDialogButtonBox*>("buttonBox")->button(QDialogButtonBox::Apply);
    QVERIFY(!pApply->isEnabled());
    auto* pLabels = pDialog->findChild<QCheckBox*>("PREF_SHOW_ASM_LABELS");
    QTest::keyClick(pLabels, Qt::Key_Space);
    QVERIFY(pApply->isEnabled());
    Press(pDialog, QDialogButtonBox::Apply);
    QVERIFY(!pApply->isEnabled() && pDialog->isVisible());
    QTest::keyClick(pDialog->findChild<QCheckBox*>("PREF_SHOW_ASM_SOURCE"), Qt::Key_Space);
    Press(pDialog, QDialogButtonBox::Cancel);
    QCOMPARE(GetVarStored(PREF_SHOW_ASM_LABELS), 0);
    QCOMPARE(GetVarStored(PREF_SHOW_ASM_SOURCE), 1);
    // What was kept outlives the program.
    SavePreferences();
    QVERIFY(CSettingsStore::Get().Save());
    InitSysVars();
    CSettingsStore::Get().Load();
    LoadPreferences();
    QCOMPARE(GetVarValue(PREF_SHOW_ASM_LABELS), 0);
}

void tst_settingsdialogs::restoreDefaults()
{
    SetVar(PREF_TERMINAL_ECHO_INPUT, 1, true);
    SetVar(PREF_TERMINAL_CAPTURE_SIZE_LIMIT, 5, true);
    SetVar(PREF_TAB_SPACING, 8, true);
    CPreferencesDialog* pDialog = Open(PAGE_TERMINAL);
    Press(pDialog, QDialogButtonBox::RestoreDefaults);
    QCOMPARE(GetVarStored(PREF_TERMINAL_ECHO_INPUT), 0);
    QCOMPARE(pDialog->findChild<QDoubleSpinBox*>("PREF_TERMINAL_CAPTURE_SIZE_LIMIT")->value(), 10000.0);
    QCOMPARE(GetVarStored(PREF_TAB_SPACING), 8); // another page
    QCOMPARE(TakeLines().size(), 2);
}

void tst_settingsdialogs::recentPage()
{
    CPreferencesDialog* pDialog = Open(PAGE_TIMELINE);
    ::PerformAction(ACT_TOOLS_PREFERENCES); // a second one doesn't open
    QCOMPARE(CMainWindow::Get().findChildren<CPreferencesDialog*>().size(), 1);
    QCOMPARE(CMainWindow::Get().findChild<CPreferencesDialog*>(), pDialog);
    Press(pDialog, QDialogButtonBox::Ok);
    QCOMPARE(CSettingsStore::Get().Read("AppData/PreferencesDialog/RecentPageID").toInt(),
             int(PAGE_TIMELINE));
    ::PerformAction(ACT_TOOLS_PREFERENCES);
    QCOMPARE(CMainWindow::Get().findChild<CPreferencesDialog*>()->GetPage(), int(PAGE_TIMELINE));
    // A page that this version doesn't have.
    CMainWindow::Get().findChild<CPreferencesDialog*>()->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    CSettingsStore::Get().Write("AppData/PreferencesDialog/RecentPageID", 99);
    ::PerformAction(ACT_TOOLS_PREFERENCES);
    QCOMPARE(CMainWindow::Get().findChild<CPreferencesDialog*>()->GetPage(), int(PAGE_APPLICATION));
}

void tst_settingsdialogs::search()
{
    CPreferencesDialog* pDialog = Open(PAGE_APPLICATION);
    auto* pTree = pDialog->findChild<QTreeWidget*>("treePages");
    const auto GetShown = [pTree] {
        QStringList Titles;
        for (QTreeWidgetItemIterator it(pTree, QTreeWidgetItemIterator::NotHidden); *it; ++it)
            if ((*it)->parent()) Titles.append((*it)->text(0));
        return Titles;
    };
    m_Main.Press("Ctrl+F", pDialog);
    auto* pFilter = pDialog->findChild<QLineEdit*>("lineEditFilter");
    QVERIFY(pFilter->hasFocus());
    QTest::keyClicks(pFilter, "TAB spac");
    QCOMPARE(GetShown(), QStringList{"Source Viewer"});
    QCOMPARE(pDialog->GetPage(), int(PAGE_SOURCE));
    pFilter->clear();
    QTest::keyClicks(pFilter, "syntax");
    QCOMPARE(GetShown(), QStringList{"Colors"});
    pFilter->clear();
    QTest::keyClicks(pFilter, "no such thing");
    QCOMPARE(GetShown(), QStringList());
    pFilter->clear();
    QCOMPARE(GetShown().size(), 14);
}

void tst_settingsdialogs::resetDialogMemory()
{
    CSettingsStore& Store = CSettingsStore::Get();
    Store.Write("AppData/MessageTimeouts/1", 1);
    CPreferencesDialog* pDialog = Open(PAGE_APPLICATION);
    QTest::keyClick(pDialog->findChild<QCheckBox*>("PREF_RESET_DIALOG_DNSA"), Qt::Key_Space);
    QCOMPARE(GetVarValue(PREF_RESET_DIALOG_DNSA), 1);
    Press(pDialog, QDialogButtonBox::Cancel);
    QVERIFY(Store.Contains("AppData/MessageTimeouts/1"));
    pDialog = Open(PAGE_APPLICATION);
    QTest::keyClick(pDialog->findChild<QCheckBox*>("PREF_RESET_DIALOG_DNSA"), Qt::Key_Space);
    Press(pDialog, QDialogButtonBox::Ok);
    QVERIFY(!Store.Contains("AppData/MessageTimeouts/1"));
    QCOMPARE(GetVarStored(PREF_RESET_DIALOG_DNSA), 0);
}

void tst_settingsdialogs::colors()
{
    CPreferencesDialog* pDialog = Open(PAGE_COLORS);
    auto* pList = pDialog->findChild<QTreeWidget*>("treeColors");
    const auto Found = pList->findItems("Console Text (Error)", Qt::MatchExactly | Qt::MatchRecursive);
    QCOMPARE(Found.size(), 1);
    pList->setCurrentItem(Found[0]);
    auto* pValue = pDialog->findChild<QLineEdit*>("lineEditColor");
    pValue->setFocus();
    pValue->selectAll();
    QTest::keyClicks(pValue, "#12ab34");
    QTest::keyClick(pValue, Qt::Key_Tab);
    QCOMPARE(TakeLines(), QStringList{"Edit.Color (COLOR_LOGGING_ERROR, \"0xff12ab34\");"});
    QCOMPARE(GetColorStored(COLOR_LOGGING_ERROR), 0xFF12AB34u);
    QCOMPARE(Found[0]->text(1), "#12ab34");
    QCOMPARE(pDialog->findChild<QLabel*>("labelColorSample")->isVisible(), true);
    // The echo can be used again as it stands.
    SetColor(COLOR_LOGGING_ERROR, 0xFF000000, false);
    CConsoleWindow::Get().ExecuteCommand("Edit.Color (COLOR_LOGGING_ERROR, \"0xff12ab34\");");
    QCOMPARE(GetColorValue(COLOR_LOGGING_ERROR), 0xFF12AB34u);
    // No colour: what holds is shown again.
    pValue->setFocus();
    pValue->selectAll();
    QTest::keyClicks(pValue, "nonsense");
    QTest::keyClick(pValue, Qt::Key_Tab);
    QCOMPARE(pValue->text(), "#12ab34");
    QTest::mouseClick(pDialog->findChild<QPushButton*>("pushButtonColorDefault"), Qt::LeftButton);
    QCOMPARE(GetColorValue(COLOR_LOGGING_ERROR), 0xFFB22222u);
    pList->setCurrentItem(pList->topLevelItem(0)); // the head of a group has no colour
    QVERIFY(!pValue->isEnabled());
}

/// The dialog of the desktop shows its colour in the windows at once; only its answer is a command.
void tst_settingsdialogs::colorDialog()
{
    CPreferencesDialog* pDialog = Open(PAGE_COLORS);
    auto* pList = pDialog->findChild<QTreeWidget*>("treeColors");
    pList->setCurrentItem(pList->findItems("PC Row Active", Qt::MatchExactly | Qt::MatchRecursive)[0]);
    for (const bool Accept : {false, true}) {
        QTest::mouseClick(pDialog->findChild<QPushButton*>("pushButtonChoose"), Qt::LeftButton);
        auto* pColors = pDialog->findChild<QColorDialog*>();
        QVERIFY(pColors);
        pColors->setCurrentColor(QColor(1, 2, 3));
        QCOMPARE(GetColorValue(COLOR_PC_ACTIVE), 0xFF010203u);
        QCOMPARE(GetColorStored(COLOR_PC_ACTIVE), 0xFF77FF6Du);
        QCOMPARE(TakeLines(), QStringList());
        QTest::keyClick(pColors, Accept ? Qt::Key_Return : Qt::Key_Escape);
        QCOMPARE(GetColorValue(COLOR_PC_ACTIVE), Accept ? 0xFF010203u : 0xFF77FF6Du);
        QCOMPARE(TakeLines().size(), Accept ? 1 : 0);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    QCOMPARE(GetColorStored(COLOR_PC_ACTIVE), 0xFF010203u);
}

void tst_settingsdialogs::fonts()
{
    CPreferencesDialog* pDialog = Open(PAGE_FONTS);
    auto* pList = pDialog->findChild<QTreeWidget*>("treeFonts");
    auto* pSize = pDialog->findChild<QSpinBox*>("spinBoxSize");
    pList->setCurrentItem(pList->topLevelItem(FONT_SRC_CODE));
    const QString sFamily = GetFont(FONT_SRC_CODE).family();
    const int RowHeight = CMainWindow::Get().findChild<CSourceEditor*>()->GetRowHeight();
    pSize->setFocus();
    pSize->selectAll();
    QTest::keyClicks(pSize, "17");
    QTest::keyClick(pSize, Qt::Key_Tab);
    QCOMPARE(TakeLines(),
             QStringList{QString("Edit.Font (FONT_SRC_CODE, \"%1,  17pt,  Normal\");").arg(sFamily)});
    QCOMPARE(GetFontStored(FONT_SRC_CODE).pointSize(), 17);
    QCOMPARE(pDialog->findChild<QLabel*>("labelFontSample")->font().pointSize(), 17);
    QVERIFY(CMainWindow::Get().findChild<CSourceEditor*>()->GetRowHeight() > RowHeight);
    // The font of the application reaches this dialog as well, which stays on its page.
    pList->setCurrentItem(pList->topLevelItem(FONT_APP));
    // Qt tells widgets of it only while the application runs.
    QTimer::singleShot(0, pSize, [pSize] {
        pSize->setValue(13);
        QCoreApplication::exit(0); // quit() would close the dialog first
    });
    QApplication::exec();
    QCOMPARE(QApplication::font().pointSize(), 13);
    QCOMPARE(pDialog->font().pointSize(), 13);
    QCOMPARE(pDialog->GetPage(), int(PAGE_FONTS));
    pList->setCurrentItem(pList->topLevelItem(FONT_CONSOLE));
    pSize->setValue(15);
    QCOMPARE(CConsoleWindow::Get().findChild<QWidget*>("textEditConsole")->font().pointSize(), 15);
    Press(pDialog, QDialogButtonBox::RestoreDefaults);
    for (int i = 0; i < NUM_FONTS; i++) QCOMPARE(FontToText(GetFont(i)), FontToText(GetFontDefault(i)));
}

/// Tab goes round through the visible controls of a page and the buttons, and none is without a name.
void tst_settingsdialogs::keyboardReachesEverything()
{
    CPreferencesDialog* pDialog = Open();
    for (int Page = PAGE_APPLICATION; Page < NUM_PREFERENCE_PAGES; Page++) {
        if (Page == PAGE_APPEARANCE) continue;
        pDialog->ShowPage(Page);
        QSet<QWidget*> Wanted;
        for (QWidget* pWidget : pDialog->findChildren<QWidget*>()) {
            const bool IsControl =
                qobject_cast<QAbstractButton*>(pWidget) || qobject_cast<QComboBox*>(pWidget) ||
                qobject_cast<QAbstractSpinBox*>(pWidget) || qobject_cast<QTreeWidget*>(pWidget) ||
                (qobject_cast<QLineEdit*>(pWidget) && !qobject_cast<QAbstractSpinBox*>(pWidget->parent()));
            if (!IsControl || !pWidget->isVisible() || !pWidget->isEnabled() ||
                pWidget->focusPolicy() == Qt::NoFocus)
                continue;
            Wanted.insert(pWidget);
            const auto* pButton = qobject_cast<QAbstractButton*>(pWidget);
            QVERIFY2(!pWidget->accessibleName().isEmpty() || (pButton && !pButton->text().isEmpty()),
                     qPrintable(pWidget->objectName() + pWidget->metaObject()->className()));
        }
        QVERIFY(Wanted.size() >= 6);
        pDialog->findChild<QTreeWidget*>("treePages")->setFocus();
        for (int i = 0; i < 60 && !Wanted.isEmpty(); i++) {
            Wanted.remove(QApplication::focusWidget());
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QVERIFY2(Wanted.isEmpty(), Wanted.isEmpty() ? "" : qPrintable((*Wanted.begin())->objectName()));
    }
}

void tst_settingsdialogs::textsFit_data()
{
    QTest::addColumn<int>("Points");
    QTest::newRow("8") << 8;
    QTest::newRow("14") << 14;
}

/// No text is cut, at the usual size and at a large one.
void tst_settingsdialogs::textsFit()
{
    QFETCH(int, Points);
    QFont Font = GetFont(FONT_APP);
    Font.setPointSize(Points);
    SetFont(FONT_APP, Font, false);
    CPreferencesDialog* pDialog = Open();
    for (int Page = PAGE_APPLICATION; Page < NUM_PREFERENCE_PAGES; Page++) {
        pDialog->ShowPage(Page);
        QTest::qWait(1);
        for (QWidget* pWidget : pDialog->findChildren<QWidget*>()) {
            const bool HasText =
                qobject_cast<QAbstractButton*>(pWidget) || qobject_cast<QComboBox*>(pWidget) ||
                (qobject_cast<QLabel*>(pWidget) && !pWidget->objectName().endsWith("Sample"));
            if (!HasText || !pWidget->isVisible()) continue;
            const QString sWhat = QString("%1: %2 needs %3, has %4").arg(Page).arg(pWidget->objectName());
            QVERIFY2(pWidget->width() >= pWidget->minimumSizeHint().width() &&
                         pWidget->height() >= pWidget->minimumSizeHint().height(),
                     qPrintable(sWhat.arg(pWidget->minimumSizeHint().width()).arg(pWidget->width())));
        }
    }
}

void tst_settingsdialogs::commandErrors_data()
{
    QTest::addColumn<QString>("Line");
    QTest::addColumn<QString>("Error"); ///< what the last line ends with
    const auto Row = [](const char* sLine, const char* sError) { QTest::newRow(sLine) << sLine << sError; };
    Row("Edit.SysVar", "Edit.SysVar(): wrong parameter count");
    Row("Edit.SysVar (VAR_RESET_MODE)", ": wrong parameter count");
    Row("Edit.SysVar (VAR_NOPE, 1)", ": unknown system variable: VAR_NOPE");
    Row("Edit.SysVar (84, 1)", ": unknown system variable: 84");
    Row("Edit.SysVar (VAR_RESET_MODE, 3)", ": invalid parameter: 3");
    Row("Edit.SysVar (VAR_TRACE_PORT_DELAY_0, 100001)", ": invalid parameter: 100001");
    Row("Edit.SysVar (VAR_SWO_SPEED, fast)", ": invalid parameter: fast");
    Row("Edit.SysVar (var_reset_mode, RM_BREAK_AT_MAIN)",
        "Edit.SysVar (VAR_RESET_MODE, RM_BREAK_AT_SYMBOL);");
    Row("Edit.SysVar (0, 2)", "Edit.SysVar (VAR_RESET_MODE, RM_RESET_AND_RUN);");
    Row("Edit.SysVar (VAR_SWO_SPEED, 2 MHz)", "Edit.SysVar (VAR_SWO_SPEED, FREQ_2_MHZ);");
    Row("Edit.SysVar (VAR_TRACE_CORE_CLOCK, 0xFFFFFFFFFFFFFFFF)",
        "Edit.SysVar (VAR_TRACE_CORE_CLOCK, 18446744073709551615);");
    Row("Edit.SysVar (VAR_BREAK_AT_THIS_SYMBOL, _start)", "Edit.SysVar (VAR_BREAK_AT_THIS_SYMBOL, _start);");
    Row("Edit.Preference (PREF_NOPE, 1)", ": unknown preference: PREF_NOPE");
    Row("Edit.Preference (PREF_TAB_SPACING, 9)", ": invalid parameter: 9");
    Row("Edit.Preference (PREF_TAB_SPACING)", ": wrong parameter count");
    Row("Edit.Preference (45, 4)", "Edit.Preference (PREF_TAB_SPACING, 4);");
    Row("Edit.SysVar (VAR_BREAK_AT_THIS_SYMBOL, \"ns::f(int, char)\")",
        "Edit.SysVar (VAR_BREAK_AT_THIS_SYMBOL, \"ns::f(int, char)\");");
    Row("Edit.Color (color_pc_active, red)", "Edit.Color (COLOR_PC_ACTIVE, \"0xffff0000\");");
    Row("Edit.Color (8, #123456)", "Edit.Color (COLOR_PC_ACTIVE, \"0xff123456\");");
    Row("Edit.Color (COLOR_PC_ACTIVE, 4278190083)", "Edit.Color (COLOR_PC_ACTIVE, \"0xff000003\");");
    Row("Edit.Color (COLOR_NOPE, red)", ": unknown color: COLOR_NOPE");
    Row("Edit.Color (COLOR_PC_ACTIVE, reddish)", ": invalid parameter: reddish");
    Row("Edit.Color (COLOR_PC_ACTIVE)", ": wrong parameter count");
    Row("Edit.Font (FONT_NOPE, \"Sans, 9pt, Normal\")", ": unknown font: FONT_NOPE");
    Row("Edit.Font (FONT_CONSOLE, \"Sans, 60pt, Normal\")", ": invalid parameter: Sans, 60pt, Normal");
    Row("Edit.Font (FONT_CONSOLE, Sans)", ": invalid parameter: Sans");
    Row("Edit.Font FONT_CONSOLE", ": wrong parameter count");
    Row("Tools.Preferences (1)", ": wrong parameter count");
}

void tst_settingsdialogs::commandErrors()
{
    QFETCH(QString, Line);
    QFETCH(QString, Error);
    CConsoleWindow::Get().ExecuteCommand(Line);
    const QStringList Lines = TakeLines();
    QVERIFY(!Lines.isEmpty());
    QVERIFY2(Lines.last().endsWith(Error), qPrintable(Lines.join('\n')));
    if (!Error.endsWith(';')) return;
    // An echo can be used again as it stands.
    CConsoleWindow::Get().ExecuteCommand(Lines.last());
    QCOMPARE(TakeLines(), QStringList{Lines.last()});
}

void tst_settingsdialogs::sysVars()
{
    ::PerformAction(ACT_TOOLS_SYS_VARS);
    auto* pEditor = CMainWindow::Get().findChild<CSysVarsEditor*>();
    QVERIFY(pEditor);
    QTRY_COMPARE(QApplication::activeWindow(), pEditor);
    auto* pTable = pEditor->findChild<QTableWidget*>();
    QStringList Names, Head;
    for (int i = 0; i < pTable->rowCount(); i++) Names.append(pTable->item(i, 0)->text());
    QCOMPARE(Names.join(' '),
             "VAR_ACCESS_WIDTH VAR_BREAKPOINT_TYPE VAR_VERIFY_DOWNLOAD VAR_BREAK_AT_THIS_SYMBOL "
             "VAR_ALLOW_BMA_EMULATION VAR_MEM_ZONE_RUNNING VAR_TARGET_POWER_ON");
    for (int i = 0; i < pTable->columnCount(); i++)
        if (!pTable->isColumnHidden(i)) Head.append(pTable->horizontalHeaderItem(i)->text());
    QCOMPARE(Head, (QStringList{"Name", "Value", "Description"}));
    QCOMPARE(pTable->item(3, 3)->text(), "Break at this symbol on debug session start");
    TakeLines();
    // A click on a value with a list opens the list.
    QTest::mouseClick(pTable->viewport(), Qt::LeftButton, {},
                      pTable->visualItemRect(pTable->item(1, 1)).center());
    auto* pMenu = pEditor->findChild<QMenu*>("menuValues");
    QVERIFY(pMenu);
    QStringList Values;
    for (const QAction* pAction : pMenu->actions()) Values.append(pAction->text());
    QCOMPARE(Values, (QStringList{"Any", "Hardware", "Software"}));
    QTest::keyClick(pMenu, Qt::Key_Down);
    QTest::keyClick(pMenu, Qt::Key_Return);
    QCOMPARE(TakeLines(), QStringList{"Edit.SysVar (VAR_BREAKPOINT_TYPE, BP_TYPE_HARD);"});
    QCOMPARE(GetVarValue(VAR_BREAKPOINT_TYPE), 1);
    QCOMPARE(GetVarStored(VAR_BREAKPOINT_TYPE), 0); // as a project does it
    QCOMPARE(pTable->item(1, 1)->text(), "Hardware");
    // One without a list is edited in place; what is refused goes.
    pTable->editItem(pTable->item(3, 1));
    auto* pEdit = pTable->viewport()->findChild<QLineEdit*>();
    QVERIFY(pEdit);
    pEdit->selectAll();
    QTest::keyClicks(pEdit, "Reset_Handler");
    QTest::keyClick(pEdit, Qt::Key_Return);
    QTRY_COMPARE(GetVarString(VAR_BREAK_AT_THIS_SYMBOL), "Reset_Handler");
    QCOMPARE(TakeLines(), QStringList{"Edit.SysVar (VAR_BREAK_AT_THIS_SYMBOL, Reset_Handler);"});
    pTable->item(3, 1)->setText(QString(101, 'x'));
    QCOMPARE(pTable->item(3, 1)->text(), "Reset_Handler");
    QVERIFY(TakeLines().last().contains("invalid parameter"));
    // A change from elsewhere shows.
    SetVar(VAR_VERIFY_DOWNLOAD, 0, false);
    QCOMPARE(pTable->item(2, 1)->text(), "no");
    QTest::mouseClick(pEditor->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Close),
                      Qt::LeftButton);
    QVERIFY(!pEditor->isVisible());
    QCOMPARE(GetVarString(VAR_BREAK_AT_THIS_SYMBOL), "Reset_Handler");
}

void tst_settingsdialogs::sysVarsByKeys()
{
    ::PerformAction(ACT_TOOLS_SYS_VARS);
    auto* pEditor = CMainWindow::Get().findChild<CSysVarsEditor*>();
    QVERIFY(pEditor);
    QTRY_COMPARE(QApplication::activeWindow(), pEditor);
    auto* pTable = pEditor->findChild<QTableWidget*>();
    QVERIFY(pTable->hasFocus());
    QTest::keyClick(pTable, Qt::Key_Return);
    auto* pMenu = pEditor->findChild<QMenu*>("menuValues");
    QVERIFY(pMenu && pMenu->isVisible());
    QTest::keyClick(pMenu, Qt::Key_Down);
    QTest::keyClick(pMenu, Qt::Key_Down);
    QTest::keyClick(pMenu, Qt::Key_Return);
    QCOMPARE(VarToText(VAR_ACCESS_WIDTH), "HalfWord");
    for (int i = 0; i < 3; i++) QTest::keyClick(pTable, Qt::Key_Down);
    QTest::keyClick(pTable, Qt::Key_F2);
    auto* pEdit = pTable->viewport()->findChild<QLineEdit*>();
    QVERIFY(pEdit);
    QTest::keyClick(pEdit, Qt::Key_Escape);
    QTRY_VERIFY(pTable->hasFocus());
    QVERIFY(pEditor->isVisible());
    QTest::keyClick(pTable, Qt::Key_Escape);
    QVERIFY(!pEditor->isVisible());
    QCOMPARE(GetVarString(VAR_BREAK_AT_THIS_SYMBOL), "main");
}

QTEST_MAIN(tst_settingsdialogs)
#include "tst_settingsdialogs.moc"
