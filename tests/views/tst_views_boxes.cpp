// Message boxes, status bar and icons, without a window around them.
#include "project/settings/sysvars.h"
#include "views/framework/messagebox.h"
#include "views/framework/statusbar.h"
#include "views/theme/icons.h"
#include "viewsenv.h"

#include <QCheckBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QToolButton>

class tst_views_boxes : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void messageBoxInterceptor();
    void messageBoxWithLongText();
    void messageBoxMemory();
    void statusBarProgress();
    void iconsFollowScheme();
};

void tst_views_boxes::initTestCase()
{
    QCoreApplication::setOrganizationName(QStringLiteral("VantrelTest"));
    QCoreApplication::setApplicationName(QStringLiteral("tst_views"));
    InitViewsForTest();
}

void tst_views_boxes::init()
{
    CMessageBox::SetInterceptor({});
    CMessageBox::ResetMemory();
}

void tst_views_boxes::messageBoxInterceptor()
{
    QString sSeen;
    int Answer = QDialogButtonBox::No;
    CMessageBox::SetInterceptor(
        [&](const QString& sTitle, const QString& sText, CMessageBox::BUTTONS Buttons) {
            sSeen = sTitle + u'|' + sText + u'|' + CMessageBox::GetButtonNames(Buttons).join(u',');
            return Answer;
        });
    QCOMPARE(CMessageBox::Ask(MSGBOX_STOP_DEBUGGING), QDialogButtonBox::No);
    QCOMPARE(sSeen, QStringLiteral("Stop Debugging|Close this Session?|Yes,No"));
    Answer = 0;
    QCOMPARE(CMessageBox::Ask(MSGBOX_SAVE_DOCUMENT, QStringLiteral("main.c")), QDialogButtonBox::Yes);
    QCOMPARE(sSeen, QStringLiteral("Save Document Changes?|main.c is modified. Save changes?|Yes,No,Cancel"));
    Answer = QDialogButtonBox::Abort; // not offered: the default stands
    QCOMPARE(CMessageBox::Ask(MSGBOX_SAVE_PROJECT), QDialogButtonBox::Yes);
    Answer = QDialogButtonBox::RestoreDefaults;
    QCOMPARE(CMessageBox::AskWithThird(MSGBOX_SOURCES_MODIFIED), 1);
    CMessageBox::Ask(MSGBOX_CLEAR, QStringLiteral("Breakpoints"), QStringLiteral("&Clear All"));
    QCOMPARE(sSeen, QStringLiteral("Clear All|Clear all Breakpoints? |Yes,No"));
    CMessageBox::Ask(MSGBOX_CLEAR, {}, QStringLiteral("C&lear"));
    QCOMPARE(sSeen, QStringLiteral("Clear|Clear?|Yes,No"));
    CMessageBox::Ask(MSGBOX_CLEAR);
    QCOMPARE(sSeen, QStringLiteral("Clear|Clear?|Yes,No"));
    QCOMPARE(
        CMessageBox::FindButton(QStringLiteral("&cancel"), QDialogButtonBox::Cancel | QDialogButtonBox::Yes),
        int(QDialogButtonBox::Cancel));
    QCOMPARE(CMessageBox::FindButton(QStringLiteral("No"), QDialogButtonBox::Yes), 0);
}

void tst_views_boxes::messageBoxWithLongText()
{
    const QString sPath = QStringLiteral("/home/someone/projects") + QStringLiteral("/a_folder_of_a_program").repeated(20);
    for (const QString& sText : {QStringLiteral("Project settings could not be saved: %1").arg(sPath), QStringLiteral("word ").repeated(200)}) {
        CMessageBox Box(QStringLiteral("Project Warning"), sText, QString(), QDialogButtonBox::Ok, MSGBOX_MODE_NONE);
        Box.show();
        QVERIFY2(Box.width() < 760, qPrintable(QString::number(Box.width())));
        const auto* pLabel = Box.findChild<QLabel*>(QStringLiteral("labelText"));
        QVERIFY(pLabel->height() >= pLabel->heightForWidth(pLabel->width())); // all of it shows
        QVERIFY(pLabel->height() > 2 * pLabel->fontMetrics().height());
    }
}

void tst_views_boxes::messageBoxMemory()
{
    // Ticks the check box and presses a button of a box that is really on the screen.
    auto Press = [](CMessageBox::BUTTON Button, bool Tick) {
        QTimer::singleShot(0, qApp, [Button, Tick] {
            auto* pBox = qobject_cast<CMessageBox*>(qApp->activeModalWidget());
            if (!pBox) return;
            auto* pCheck = pBox->findChild<QCheckBox*>();
            if (Tick) pCheck->setChecked(true);
            QTest::mouseClick(pBox->findChild<QDialogButtonBox*>()->button(Button), Qt::LeftButton);
        });
    };
    const auto YesNo = QDialogButtonBox::Yes | QDialogButtonBox::No;
    auto Show = [YesNo](const char* sText, int Mode) {
        return CMessageBox::ShowBox(QStringLiteral("T"), QLatin1String(sText), YesNo, Mode);
    };
    bool Shown = false;
    auto ShowUnseen = [&](const char* sText, int Mode) {
        Shown = false;
        CMessageBox::SetInterceptor([&Shown](const QString&, const QString&, CMessageBox::BUTTONS) {
            Shown = true;
            return 0;
        });
        const auto Answer = Show(sText, Mode);
        CMessageBox::SetInterceptor({});
        return Answer;
    };
    Press(QDialogButtonBox::No, false);
    QCOMPARE(CMessageBox::AskWithThird(MSGBOX_SOURCES_MODIFIED), 0);
    QTimer::singleShot(0, qApp, [] { QTest::keyClick(qApp->activeModalWidget(), Qt::Key_Escape); });
    QCOMPARE(CMessageBox::AskWithThird(MSGBOX_SOURCES_MODIFIED), 2);
    Press(QDialogButtonBox::No, false);
    QCOMPARE(Show("one", MSGBOX_MODE_REMEMBER), QDialogButtonBox::No);
    ShowUnseen("one", MSGBOX_MODE_REMEMBER);
    QVERIFY(Shown); // not ticked: it asks again
    Press(QDialogButtonBox::Yes, true);
    QCOMPARE(Show("one", MSGBOX_MODE_REMEMBER), QDialogButtonBox::Yes);
    QCOMPARE(ShowUnseen("one", MSGBOX_MODE_REMEMBER), QDialogButtonBox::Yes);
    QVERIFY(!Shown);
    ShowUnseen("two", MSGBOX_MODE_REMEMBER); // another text is another box
    QVERIFY(Shown);
    Press(QDialogButtonBox::Yes, true);
    QCOMPARE(Show("hours", 3), QDialogButtonBox::Yes);
    QCOMPARE(ShowUnseen("hours", 3), QDialogButtonBox::No); // a box with a time answers No while it rests
    QVERIFY(!Shown);
    SetVar(PREF_DIALOG_SHOW_DNSA, 0, false);
    CMessageBox Hidden(QStringLiteral("T"), QStringLiteral("x"), QString(), YesNo, MSGBOX_MODE_REMEMBER);
    QVERIFY(Hidden.findChild<QCheckBox*>()->isHidden());
    SetVar(PREF_DIALOG_SHOW_DNSA, 1, false);
    CMessageBox::ResetMemory();
    ShowUnseen("one", MSGBOX_MODE_REMEMBER);
    QVERIFY(Shown);
}

void tst_views_boxes::statusBarProgress()
{
    CStatusBar Bar;
    Bar.resize(800, 24);
    Bar.show();
    auto* pLabel = Bar.findChild<QLabel*>(QStringLiteral("labelStatus"));
    auto* pFrame = Bar.findChild<QFrame*>(QStringLiteral("frameProgressBar"));
    auto* pCancel = Bar.findChild<QToolButton*>(QStringLiteral("buttonCancel"));
    QCOMPARE(pLabel->text(), QStringLiteral("Ready"));
    QVERIFY(pFrame->isHidden());
    Bar.StartProgress(0, 100);
    Bar.SetProgressMessage(QStringLiteral("Downloading"));
    Bar.SetStatusMessage(QStringLiteral("Halted"));
    QCOMPARE(pLabel->text(), QStringLiteral("Ready")); // setters only store
    QTRY_COMPARE(pLabel->text(), QStringLiteral("Downloading"));
    QVERIFY(pFrame->isVisible());
    Bar.SetProgressValue(40);
    QTRY_COMPARE(Bar.findChild<QProgressBar*>()->value(), 40);
    QSignalSpy Spy(&Bar, &CStatusBar::Canceled);
    QTest::mouseClick(pCancel, Qt::LeftButton);
    QVERIFY(Bar.WasCanceled());
    QTRY_VERIFY(!pCancel->isEnabled());
    QCOMPARE(Spy.size(), 1);
    Bar.EndProgress();
    QTRY_COMPARE(pLabel->text(), QStringLiteral("Halted"));
    QVERIFY(pFrame->isHidden());
    QVERIFY(Bar.WasCanceled()); // stays until the next start
    Bar.StartProgress(0, 0);
    QVERIFY(!Bar.WasCanceled());
    Bar.showMessage(QStringLiteral("Opens a file"));
    Bar.EndProgress();
    QTRY_COMPARE(pLabel->text(), QStringLiteral("Opens a file"));
    QVERIFY(pLabel->isVisible());
}

void tst_views_boxes::iconsFollowScheme()
{
    QVERIFY(GetIcon(QStringLiteral("no-such-icon")).isNull());
    const QIcon Icon = GetIcon(QStringLiteral(":/Resources/Icons/arrow-step-over.png"));
    QVERIFY(!Icon.isNull());
    auto GetLightness = [&Icon] {
        const QImage Image = Icon.pixmap(32, 32).toImage();
        int Lightest = 0;
        for (int y = 0; y < Image.height(); y++)
            for (int x = 0; x < Image.width(); x++)
                if (Image.pixelColor(x, y).alpha() > 200 && Image.pixelColor(x, y).saturation() < 60)
                    Lightest = qMax(Lightest, Image.pixelColor(x, y).lightness());
        return Lightest;
    };
    CTheme::SetScheme(THEME_DARK);
    QVERIFY(GetLightness() > 150);
    QCOMPARE(CTheme::GetColor(COLOR_PC_ACTIVE).lightness() < 100, true);
    SetColor(COLOR_PC_ACTIVE, 0xFF123456); // the user's own colour stays as chosen
    QCOMPARE(CTheme::GetColor(COLOR_PC_ACTIVE), QColor::fromRgb(0x123456));
    ResetColor(COLOR_PC_ACTIVE);
    CTheme::SetScheme(THEME_LIGHT);
    QVERIFY(GetLightness() < 100);
    QCOMPARE(CTheme::GetColor(COLOR_PC_ACTIVE), QColor::fromRgb(0x77FF6D));
}

QTEST_MAIN(tst_views_boxes)
#include "tst_views_boxes.moc"
