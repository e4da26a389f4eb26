// Every window and dialog of the program, looked at as somebody does who has no mouse or no screen: each control has a
// name that a screen reader can say, can be reached by keys, and has the room that its text needs.
// With VANTREL_PICTURES set to a folder each dialog leaves its picture there; VANTREL_SCHEME=dark makes dark ones.
#include "mainwindowtest.h"
#include "app/actions/actions.h"
#include "app/services/cmdline.h"
#include "app/services/mainthread.h"
#include "app/services/messages.h"
#include "app/services/settingsstore.h"
#include "app/shell/aboutbox.h"
#include "app/shell/breakpointdialog.h"
#include "app/shell/mainwindow.h"
#include "app/shell/pluginfiledialog.h"
#include "app/shell/warningsdialog.h"
#include "app/shell/welcomescreen.h"
#include "device/breakpoints/breakpoint.h"
#include "project/wizard/bryllosettingsdialog.h"
#include "project/wizard/deviceselectiondialog.h"
#include "project/wizard/hostinterfacedialog.h"
#include "project/wizard/projectwizard.h"
#include "project/wizard/targetinterfacedialog.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/dockwindow.h"
#include "views/framework/filterheaderview.h"
#include "views/framework/messagebox.h"
#include "views/settings/preferencepages.h"
#include "views/settings/preferencesdialog.h"
#include "views/settings/sysvarseditor.h"
#include "views/theme/theme.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QTimer>
#include <QToolBar>
#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>

namespace {

bool IsControl(const QWidget* pWidget)
{
    // What a control is made of belongs to it.
    if (pWidget->objectName().startsWith(QLatin1String("qt_")) && !qobject_cast<const QAbstractButton*>(pWidget)) return false;
    for (const QWidget* p = pWidget->parentWidget(); p; p = p->parentWidget())
        if (qobject_cast<const QComboBox*>(p) || qobject_cast<const QAbstractSpinBox*>(p) || qobject_cast<const QTabBar*>(p) ||
            p->inherits("QHeaderView") || qobject_cast<const QAbstractItemView*>(p) || qobject_cast<const QLineEdit*>(p))
            return false;
    // The button of an empty window comes with its text when there is something to do.
    for (const QWidget* p = pWidget->parentWidget(); p; p = p->parentWidget())
        if (p->inherits("CEmptyOverlay") && !pWidget->isVisible()) return false;
    if (qobject_cast<const QScrollBar*>(pWidget) || pWidget->inherits("QHeaderView")) return false;
    return qobject_cast<const QAbstractButton*>(pWidget) || qobject_cast<const QLineEdit*>(pWidget) ||
           qobject_cast<const QComboBox*>(pWidget) || qobject_cast<const QAbstractSpinBox*>(pWidget) ||
           qobject_cast<const QAbstractItemView*>(pWidget) || qobject_cast<const QPlainTextEdit*>(pWidget) ||
           qobject_cast<const QTextEdit*>(pWidget) || qobject_cast<const QAbstractSlider*>(pWidget) ||
           qobject_cast<const QTabBar*>(pWidget);
}

/// Whether the keyboard needs no way to the control itself, because a command with a menu entry or a key does the same.
bool HasCommand(const QWidget* pWidget)
{
    for (const QWidget* p = pWidget->parentWidget(); p; p = p->parentWidget())
        if (qobject_cast<const QToolBar*>(p) || p->inherits("CDockTitleBar")) return true;
    // Of a group of radio buttons the Tab key reaches the checked one, and the arrow keys go on from there.
    const auto* pRadio = qobject_cast<const QRadioButton*>(pWidget);
    if (pRadio && pRadio->autoExclusive()) return true;
    return pWidget->objectName() == QLatin1String("buttonCancel") || qobject_cast<const QTabBar*>(pWidget);
}

QString Describe(const QWidget* pWidget)
{
    return QStringLiteral("%1 \"%2\" of %3").arg(QLatin1String(pWidget->metaObject()->className()), pWidget->objectName(),
                                                  QLatin1String(pWidget->parentWidget()->metaObject()->className()));
}

/// Goes the way of a screen reader, which knows no widgets: what can have the focus has something to say.
void InspectSpoken(QAccessibleInterface* pItem, const QString& sPath, QStringList& Faults)
{
    if (!pItem || !pItem->isValid() || pItem->state().invisible) return;
    const QAccessible::Role Role = pItem->role();
    // Cells say their text, and an empty cell has none.
    constexpr QAccessible::Role CELLS[] = {QAccessible::Cell, QAccessible::TreeItem, QAccessible::ListItem};
    if (std::find(std::begin(CELLS), std::end(CELLS), Role) != std::end(CELLS)) return;
    const QString sName = pItem->text(QAccessible::Name).trimmed();
    const QString sClass = pItem->object() ? QLatin1String(pItem->object()->metaObject()->className()) : QStringLiteral("?");
    const QString sHere = QStringLiteral("%1/%2:%3").arg(sPath, sClass, sName);
    const auto* pWidget = qobject_cast<QWidget*>(pItem->object());
    // A frame that only hands the focus on to its content is never where the focus is.
    const bool HandsOn = pWidget && pWidget->focusProxy();
    const bool IsControl = pItem->state().focusable || Role == QAccessible::Button || Role == QAccessible::MenuItem;
    if (IsControl && sName.isEmpty() && !HandsOn && Role != QAccessible::Separator && Role != QAccessible::ScrollBar)
        Faults += QStringLiteral("%1 (role %2) says nothing").arg(sHere).arg(int(Role));
    for (int i = 0; i < pItem->childCount(); i++) InspectSpoken(pItem->child(i), sHere, Faults);
}

/// Where the Tab key leads from the first control on, until it comes round. What keeps the key ends the round.
QList<QWidget*> WalkByTab(QDialog& Dialog)
{
    constexpr int MAX_STEPS = 300;
    QList<QWidget*> Round;
    for (int i = 0; i < MAX_STEPS; i++) {
        QWidget* pFocus = Dialog.focusWidget();
        if (!pFocus || Round.contains(pFocus)) break;
        Round.append(pFocus);
        QTest::keyClick(pFocus, Qt::Key_Tab);
    }
    return Round;
}

/// Whether the focus jumps back, as a reader of the dialog sees it: upwards, or to the left in one line.
bool IsJumpBack(const QWidget* pFrom, const QWidget* pTo, const QDialog& Dialog)
{
    const auto GetRect = [&Dialog](const QWidget* p) { return QRect(p->mapTo(&Dialog, QPoint()), p->size()); };
    const QRect From = GetRect(pFrom), To = GetRect(pTo);
    const bool IsRight = To.left() >= From.right();
    if (To.bottom() < From.top()) return !IsRight; // the head of a column further right is a step forward
    return To.right() < From.left() && To.top() <= From.center().y();
}

} // namespace

class tst_Controls : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void Windows();
    void Menus();
    void Dialogs_data();
    void Dialogs();

private:
    QStringList Inspect(QWidget* pTop) const;
    QStringList InspectTabOrder(QDialog& Dialog) const;
    void InspectDialog(QDialog& Dialog) const;

    QTemporaryDir m_Dir;
};

void tst_Controls::initTestCase()
{
    PrepareMainWindow(m_Dir.path(), QDialogButtonBox::No);
    CTheme::SetScheme(qgetenv("VANTREL_SCHEME") == "dark" ? THEME_DARK : THEME_LIGHT);
    CSettingsStore::Get().Write("AppData/Appearance", "Scheme", int(CTheme::GetScheme()));
    CMainWindow::Get().show();
    QVERIFY(QTest::qWaitForWindowActive(&CMainWindow::Get()));
    QTest::qWait(50);
}

void tst_Controls::cleanupTestCase()
{
    CMainWindow::Get().close();
    CMainWindow::Destroy();
}

/// The faults of a window's controls.
QStringList tst_Controls::Inspect(QWidget* pTop) const
{
    QStringList Faults;
    InspectSpoken(QAccessible::queryAccessibleInterface(pTop), {}, Faults);
    for (QWidget* pWidget : pTop->findChildren<QWidget*>()) {
        if (const auto* pLabel = qobject_cast<QLabel*>(pWidget)) {
            if (pLabel->isVisible() && !pLabel->wordWrap() && pLabel->pixmap(Qt::ReturnByValue).isNull() &&
                pLabel->sizePolicy().horizontalPolicy() != QSizePolicy::Ignored && pLabel->sizeHint().width() > pLabel->width())
                Faults += Describe(pLabel) + QStringLiteral(" is too narrow for ") + pLabel->text();
            continue;
        }
        if (!IsControl(pWidget) || (qobject_cast<QTabBar*>(pWidget) && pWidget->isHidden())) continue; // Qt keeps spare ones
        // Also of what isn't shown yet, such as the table of an empty window.
        QAccessibleInterface* pSpoken = QAccessible::queryAccessibleInterface(pWidget);
        if (!pSpoken || pSpoken->text(QAccessible::Name).trimmed().isEmpty()) Faults += Describe(pWidget) + QStringLiteral(" has no name");
        if (!pWidget->isVisible() || !pWidget->isEnabled()) continue;
        if (!(pWidget->focusPolicy() & Qt::TabFocus) && !HasCommand(pWidget))
            Faults += Describe(pWidget) + QStringLiteral(" can't be reached by keys");
        const auto* pButton = qobject_cast<QAbstractButton*>(pWidget);
        if (pButton && !pButton->text().isEmpty() && !HasCommand(pWidget) && pButton->sizeHint().width() > pButton->width() + 1)
            Faults += Describe(pWidget) + QStringLiteral(" is too narrow for ") + pButton->text();
    }
    return Faults;
}

/// The faults of the Tab key's way through a dialog.
QStringList tst_Controls::InspectTabOrder(QDialog& Dialog) const
{
    QStringList Faults;
    const QList<QWidget*> Round = WalkByTab(Dialog);
    for (const QWidget* pWidget : Dialog.findChildren<QWidget*>()) {
        if (!IsControl(pWidget) || !pWidget->isVisible() || !pWidget->isEnabled() || HasCommand(pWidget)) continue;
        if (!Round.contains(pWidget)) Faults += Describe(pWidget) + QStringLiteral(" is not on the way of the Tab key");
    }
    // The round begins where the dialog puts the focus, so that one step back to the top belongs to it.
    QStringList Jumps;
    for (qsizetype i = 0; i < Round.size(); i++) {
        const QWidget* pNext = Round[(i + 1) % Round.size()];
        if (pNext != Round[i] && IsJumpBack(Round[i], pNext, Dialog)) Jumps += Describe(Round[i]) + QStringLiteral(" -> ") + Describe(pNext);
    }
    if (Jumps.size() > 1) Faults += Jumps;
    QHash<QString, QString> Letters;
    for (const QWidget* pWidget : Dialog.findChildren<QWidget*>()) {
        const auto* pButton = qobject_cast<const QAbstractButton*>(pWidget);
        const auto* pLabel = qobject_cast<const QLabel*>(pWidget);
        if (!pWidget->isVisible() || (!pButton && !(pLabel && pLabel->buddy()))) continue;
        const QString sText = pButton ? pButton->text() : pLabel->text(), sLetter = QKeySequence::mnemonic(sText).toString();
        if (!sLetter.isEmpty() && Letters.contains(sLetter)) Faults += QStringLiteral("%1 and %2 share %3").arg(Letters[sLetter], sText, sLetter);
        Letters.insert(sLetter, sText);
    }
    return Faults;
}

void tst_Controls::Windows()
{
    CMainWindow& Main = CMainWindow::Get();
    for (const char* sBar : {"File", "View", "Breakpoints"}) Main.ShowToolBar(QLatin1String(sBar), true);
    QFile Source(m_Dir.filePath("main.c"));
    QVERIFY(Source.open(QIODevice::WriteOnly) && Source.write("int main(void) { return 0; }\n") > 0);
    Source.close();
    ::PerformAction(ACT_FILE_OPEN, Source.fileName());
    Main.GetSessionWindows().pSource->OpenFindBar();
    for (CWindow* pWindow : Main.GetWindows()) Main.ShowWindow(pWindow->GetName());
    for (const QSize Size : {QSize(1280, 800), QSize(1920, 1080)}) {
        Main.resize(Size);
        QTest::qWait(250); // the tab bars are dressed by a timer
        const QStringList Faults = Inspect(&Main);
        QVERIFY2(Faults.isEmpty(), qPrintable(Faults.join(QLatin1Char('\n'))));
    }
}

void tst_Controls::Menus()
{
    QList<QWidget*> Menus{CMainWindow::Get().menuBar()};
    for (QMenu* pMenu : CMainWindow::Get().findChildren<QMenu*>(QRegularExpression(QStringLiteral("^menu")))) {
        QVERIFY2(!pMenu->title().isEmpty(), qPrintable(pMenu->objectName()));
        emit pMenu->aboutToShow(); // some are filled by it
        Menus.append(pMenu);
    }
    QStringList Faults;
    for (const QWidget* pMenu : std::as_const(Menus)) {
        QHash<QString, QString> Letters; ///< of the entries, each of which is to run at once
        for (const QAction* pAction : pMenu->actions()) {
            if (pAction->isSeparator()) continue;
            if (pAction->text().isEmpty()) Faults += pMenu->objectName() + QStringLiteral(" has an entry without a text");
            const QString sLetter = QKeySequence::mnemonic(pAction->text()).toString();
            if (!sLetter.isEmpty() && Letters.contains(sLetter))
                Faults += QStringLiteral("%1: %2 and %3 share %4").arg(pMenu->objectName(), Letters[sLetter], pAction->text(), sLetter);
            Letters.insert(sLetter, pAction->text());
        }
    }
    QVERIFY2(Faults.isEmpty(), qPrintable(Faults.join(QLatin1Char('\n'))));
}

void tst_Controls::Dialogs_data()
{
    QTest::addColumn<std::function<QDialog*()>>("Make"); ///< null: the dialog comes up by itself
    const auto Row = [](const char* sName, const std::function<QDialog*()>& Make) { QTest::newRow(sName) << Make; };
    Row("welcome", [] { return new CWelcomeScreen({"/home/me/blinky/blinky.bdebug", "/home/me/motor.bdebug"}); });
    Row("welcome-first", [] { return new CWelcomeScreen({}); });
    Row("wizard", [] { return new CProjectWizard(&CMainWindow::Get()); });
    Row("bryllo-settings", [] { return new CBrylloSettingsDialog(); });
    Row("host-interface", [] { return new CHostInterfaceDialog({}); });
    Row("target-interface", [] { return new CTargetInterfaceDialog({}); });
    Row("device", [] { return new CDeviceSelectionDialog({}, true, "VS4F-512"); });
    Row("breakpoint", [] { return new CBreakpointDialog(CBreakpoint(), "main.c:20"); });
    Row("plugin", [] { return new CPluginFileDialog(nullptr, "Select Core Plugin", "No plugin supports this core."); });
    Row("filter", [] { return new CFilterHeaderDialog("Value", true, nullptr); });
    Row("preferences", [] { return new CPreferencesDialog(); });
    Row("sysvars", [] { return new CSysVarsEditor([] { return false; }); });
    Row("question", [] {
        return new CMessageBox("Reset Code Profile", "Reset Execution Counters and Profiling Data?", {},
                               QDialogButtonBox::Yes | QDialogButtonBox::No, MSGBOX_MODE_REMEMBER);
    });
    Row("warnings", {});
    Row("about", {});
}

void tst_Controls::InspectDialog(QDialog& Dialog) const
{
    QVERIFY(!Dialog.windowTitle().trimmed().isEmpty());
    // A dialog of several pages is looked at page by page.
    auto* pPages = qobject_cast<CPreferencesDialog*>(&Dialog);
    for (int Page = 0; Page < (pPages ? int(NUM_PREFERENCE_PAGES) : 1); Page++) {
        if (pPages) pPages->ShowPage(Page);
        QTest::qWait(20);
        const QStringList Faults = Inspect(&Dialog) + InspectTabOrder(Dialog);
        QVERIFY2(Faults.isEmpty(), qPrintable(QStringLiteral("page %1: ").arg(Page) + Faults.join(QLatin1Char('\n'))));
    }
    QVERIFY(Dialog.focusWidget()); // keys go somewhere from the start
    QVERIFY(Dialog.height() <= 760 && Dialog.width() <= 1240); // of a screen of 1280x800, with its bars
    if (const QString sFolder = qEnvironmentVariable("VANTREL_PICTURES"); !sFolder.isEmpty())
        QVERIFY(Dialog.grab().save(QDir(sFolder).filePath(QStringLiteral("dialog-%1.png").arg(QLatin1String(QTest::currentDataTag())))));
}

void tst_Controls::Dialogs()
{
    QFETCH(std::function<QDialog*()>, Make);
    if (Make) {
        const std::unique_ptr<QDialog> pDialog(Make());
        pDialog->show();
        QVERIFY(QTest::qWaitForWindowActive(pDialog.get()));
        InspectDialog(*pDialog);
        return;
    }
    const auto Interceptor = CMessageBox::GetInterceptor();
    CMessageBox::SetInterceptor({});
    bool Seen = false;
    QTimer::singleShot(100, this, [this, &Seen] {
        auto* pDialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!pDialog) return;
        Seen = true;
        InspectDialog(*pDialog);
        pDialog->reject();
    });
    if (qstrcmp(QTest::currentDataTag(), "about") == 0)
        ShowAboutBox(&CMainWindow::Get());
    else
        CWarningsDialog::Ask({"Project.SetDevice: unknown device", "Project.AddSvdFile: file not found"}, "/a/b.bdebug", nullptr);
    CMessageBox::SetInterceptor(Interceptor);
    QVERIFY(Seen);
}

QTEST_MAIN(tst_Controls)
#include "tst_controls.moc"
