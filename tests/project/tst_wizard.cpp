// The project wizard and the device table: filter and order of the rows, the three pages, the commands they give.
#include "projectrig.h"

#include "app/services/settingsstore.h"
#include "device/queue/device.h"
#include "device/queue/deviceeventworker.h"
#include "device/target/devicetarget.h"
#include "project/settings/appearance.h"
#include "project/wizard/devicedataproxymodel.h"
#include "project/wizard/deviceselectiondialog.h"
#include "project/wizard/projectwizard.h"
#include "project/wizard/statetext.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableView>
#include <QTest>
#include <QToolButton>

namespace {
DEVICE_ENTRY Device(const char* sManu, const char* sName, const char* sCore, U32 Core, U32 Flash)
{
    DEVICE_ENTRY Entry;
    Entry.sManu = sManu;
    Entry.sName = sName;
    Entry.sCore = sCore;
    Entry.Core = Core;
    Entry.FlashSize = Flash;
    Entry.RAMSize = 20 * 1024;
    return Entry;
}

const QList<DEVICE_ENTRY> TABLE = {
    Device("Maker B", "STM32F407", "Cortex-M4", 0x0E0000FF, 1024 * 1024),
    Device("Maker A", "LPC1768", "Cortex-M3", 0x030000FF, 512 * 1024),
    Device("Maker B", "XSTM32", "Cortex-M3", 0x030000FF, 0),
    Device("Maker C", "Odd", "Other", 0x050000FF, 1000),
};

QStringList ShownNames(const QAbstractItemModel& Model)
{
    QStringList Names;
    for (int i = 0; i < Model.rowCount(); i++) Names << Model.index(i, DEVICE_COL_NAME).data().toString();
    return Names;
}
} // namespace

class tst_wizard : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup() { CSettingsStore::Get().Clear(); }
    void cleanupTestCase() { CDevice::Get().Shutdown(); }
    void StateTexts();
    void DamagedStateTexts();
    void Filters_data();
    void Filters();
    void FilterRowStaysOnTop();
    void DeviceDialog();
    void Pages();
    void HostOption();
    void Commands();
    void InputIsOfferedAgain();
};

void tst_wizard::initTestCase()
{
    InitColorsAndFonts(QApplication::font());
    DEVICE_RegisterTarget();
    CDevice::Get().CreateEventWorker(this);
}

void tst_wizard::StateTexts()
{
    TARGET_DEVICE_STATE Target{1, 1, "A<&'B"};
    QCOMPARE(WriteState(TARGET_DEVICE_STATE{0, 0, "DEV"}), QString("<TargetDevice><CoreIndex>0x0</CoreIndex>"
             "<Endian>0x0</Endian><DeviceName>&quot;DEV&quot;</DeviceName></TargetDevice>"));
    HOST_INTERFACE_STATE Host;
    Host.USBSerialNo = 600100001;
    Host.UseSerialNo = true;
    TARGET_INTERFACE_STATE Interface;
    Interface.Speed = 10000;
    QString s = WriteState(Target) + WriteState(Host) + WriteState(Interface);
    QVERIFY(s.contains("<USBSerialNo>0x23c4cca1</USBSerialNo>"));
    // One element is replaced, the others stay.
    Host.ConnectMode = HOST_CONNECT_TCPIP;
    Host.sHostName = "board:3333";
    ReplaceState(&s, WriteState(Host));
    TARGET_DEVICE_STATE Target2;
    HOST_INTERFACE_STATE Host2;
    TARGET_INTERFACE_STATE Interface2;
    QVERIFY(ReadState(s, &Target2) && ReadState(s, &Host2) && ReadState(s, &Interface2));
    QCOMPARE(Target2.sDeviceName, QString("A<&B")); // quotes of both kinds go
    QCOMPARE(Target2.CoreIndex, 1u);
    QCOMPARE(Host2.sHostName, QString("board:3333"));
    QCOMPARE(Host2.ConnectMode, U32(HOST_CONNECT_TCPIP));
    QCOMPARE(Host2.USBSerialNo, 600100001u);
    QCOMPARE(Interface2.Speed, 10000u);
    QCOMPARE(GetTargetIFName(7), QString("cJTAG"));
    QVERIFY(GetTargetIFName(2).isEmpty());
}

void tst_wizard::DamagedStateTexts()
{
    TARGET_DEVICE_STATE State{3, 1, "KEPT"};
    for (const char* sText : {"", "<", "<TargetDevice>", "<TargetDevice><CoreIndex>0x1</TargetDevice>", "no xml at all"})
        QVERIFY2(!ReadState(QString(sText), &State), sText);
    QCOMPARE(State.sDeviceName, QString("KEPT"));
    QVERIFY(ReadState(QString("<TargetDevice><CoreIndex>many</CoreIndex></TargetDevice>"), &State));
    QCOMPARE(State.CoreIndex, 3u);
}

void tst_wizard::Filters_data()
{
    QTest::addColumn<int>("Column");
    QTest::addColumn<QString>("Filter");
    QTest::addColumn<QStringList>("Names");
    QTest::newRow("none") << 1 << "" << QStringList{"STM32F407", "LPC1768", "XSTM32"};
    QTest::newRow("ends") << 1 << "*32" << QStringList{"XSTM32"};
    QTest::newRow("begins") << 1 << "STM*" << QStringList{"STM32F407"};
    QTest::newRow("contains") << 1 << "f4" << QStringList{"STM32F407"};
    QTest::newRow("only a star") << 1 << "*" << QStringList{"STM32F407", "LPC1768", "XSTM32"};
    QTest::newRow("manufacturer") << 0 << "maker b" << QStringList{"STM32F407", "XSTM32"};
    QTest::newRow("flash") << 4 << "512 KB" << QStringList{"LPC1768"};
    QTest::newRow("nothing") << 2 << "M9" << QStringList{};
}

void tst_wizard::Filters()
{
    QFETCH(int, Column);
    QFETCH(QString, Filter);
    QFETCH(QStringList, Names);
    CDeviceDataModel Model;
    Model.SetDevices(TABLE, {3, 14}); // a family that isn't allowed isn't in the table
    QAbstractItemModelTester Tester(&Model);
    CDeviceDataProxyModel Proxy(&Model, nullptr);
    QVERIFY(Model.setData(Model.index(0, Column), Filter, Qt::EditRole));
    Proxy.UpdateFilter();
    const QString sRow0 = Column == DEVICE_COL_NAME && !Filter.isEmpty() ? Filter : QString("*");
    QCOMPARE(ShownNames(Proxy), QStringList{sRow0} + Names);
}

void tst_wizard::FilterRowStaysOnTop()
{
    CDeviceDataModel Model;
    Model.SetDevices(TABLE, {3, 14});
    CDeviceDataProxyModel Proxy(&Model, nullptr);
    Proxy.sort(DEVICE_COL_NAME, Qt::AscendingOrder);
    QCOMPARE(ShownNames(Proxy), (QStringList{"*", "LPC1768", "STM32F407", "XSTM32"}));
    Proxy.sort(DEVICE_COL_NAME, Qt::DescendingOrder);
    QCOMPARE(ShownNames(Proxy), (QStringList{"*", "XSTM32", "STM32F407", "LPC1768"}));
    QCOMPARE(Model.GetValueList(DEVICE_COL_MANUFACTURER), (QStringList{"Maker A", "Maker B"}));
    QVERIFY(Model.GetValueList(DEVICE_COL_NAME).isEmpty());
}

void tst_wizard::DeviceDialog()
{
    CDeviceSelectionDialog Dialog(WriteState(TARGET_DEVICE_STATE{0, 1, "vs4f-512"}), true, "VS0-32");
    Dialog.show();
    QCOMPARE(Dialog.GetSelection().sDeviceName, QString("VS4F-512"));
    QVERIFY(Dialog.GetSelection().BigEndian && !Dialog.GetSelection().Accepted);
    auto* pTable = Dialog.findChild<QTableView*>();
    // Typing into the filter row narrows the table and leaves the choice.
    auto* pFilter = qobject_cast<QLineEdit*>(pTable->indexWidget(pTable->model()->index(0, DEVICE_COL_NAME)));
    QVERIFY(pFilter);
    // The Tab key leads through the row, and the chosen device stays marked.
    QVERIFY(QTest::qWaitForWindowActive(&Dialog));
    QTest::keyClick(pTable, Qt::Key_Tab);
    QTest::keyClick(Dialog.focusWidget(), Qt::Key_Tab);
    QVERIFY(pFilter->hasFocus());
    const QModelIndexList Marked = pTable->selectionModel()->selectedRows(DEVICE_COL_NAME);
    QCOMPARE(Marked.size(), 1);
    QCOMPARE(Marked[0].data().toString(), QString("VS4F-512"));
    pFilter->setFocus();
    pFilter->selectAll();
    QTest::keyClicks(pFilter, "vs0*");
    QTRY_COMPARE(ShownNames(*pTable->model()), (QStringList{"vs0*", "VS0-32", "VS0-64-HI", "VS0P-128", "VS0P-256-LP",
                                                           "VS0P-2CORE"}));
    QCOMPARE(Dialog.GetSelection().sDeviceName, QString("VS4F-512"));
    const QPoint Pos = pTable->visualRect(pTable->model()->index(1, DEVICE_COL_NAME)).center();
    QTest::mouseClick(pTable->viewport(), Qt::LeftButton, {}, Pos);
    QCOMPARE(Dialog.findChild<QLabel*>("labelSelectedDevice")->text(), QString("VS0-32"));
    QTest::mouseDClick(pTable->viewport(), Qt::LeftButton, {}, Pos);
    QVERIFY(!Dialog.isVisible());
    const DEVICE_SELECTION Choice = Dialog.GetSelection();
    QVERIFY(Choice.Accepted);
    QCOMPARE(Choice.CoreId, 0x060000FFu);
    QVERIFY(Choice.sStateText.contains("VS0-32"));
    CDeviceSelectionDialog None({}, true, {});
    QVERIFY(None.GetSelection().DeviceIndex < 0);
    None.OnButtonAcceptClicked();
    QVERIFY(!None.GetSelection().Accepted);
}

void tst_wizard::Pages()
{
    CProjectWizard Wizard;
    Wizard.show();
    auto* pNext = Wizard.findChild<QPushButton*>("buttonNext");
    auto* pBack = Wizard.findChild<QPushButton*>("buttonBack");
    auto* pPages = Wizard.findChild<QStackedWidget*>();
    QVERIFY(!pNext->isEnabled() && !pBack->isEnabled());
    Wizard.findChild<QLineEdit*>("editBoxTargetDevice")->setText("VS3-512-BE (Big Endian)");
    QCOMPARE(Wizard.GetDeviceName(), QString("VS3-512-BE"));
    QVERIFY(pNext->isEnabled());
    pNext->click();
    QCOMPARE(pPages->currentWidget()->objectName(), QString("pageConnectionSettings"));
    QVERIFY(pBack->isEnabled());
    pNext->click();
    QCOMPARE(pNext->text(), QString("&Finish"));
    QCOMPARE(Wizard.findChild<QLabel*>("labelTitle")->text(), QString("Program File"));
    pBack->click();
    pBack->click();
    QCOMPARE(pPages->currentIndex(), 0);
    QVERIFY(!pBack->isEnabled());
}

void tst_wizard::HostOption()
{
    CProjectWizard Wizard;
    auto* pHost = Wizard.findChild<QComboBox*>("comboBoxHostInterface");
    auto* pOption = Wizard.findChild<QLineEdit*>("editBoxHostOption");
    auto* pLabel = Wizard.findChild<QLabel*>("labelHostOption");
    QCOMPARE(Wizard.findChild<QComboBox*>("comboBoxTargetInterface")->currentText(), QString("JTAG"));
    QCOMPARE(Wizard.findChild<QComboBox*>("comboBoxTIFSpeed")->currentText(), QString("1 MHz"));
    QCOMPARE(pHost->currentText(), QString("USB"));
    QCOMPARE(pLabel->text(), QString("Serial No (optional)"));
    pHost->setCurrentText("IP");
    QCOMPARE(pLabel->text() + pOption->text(), QString("IP Address192.168.0.1"));
    pHost->setCurrentText("USB");
    QCOMPARE(pLabel->text() + pOption->text(), QString("Serial No"));
}

void tst_wizard::Commands()
{
    CProjectRig Rig;
    CProjectWizard Wizard;
    QList<QStringList> Given;
    connect(&Wizard, &CProjectWizard::Finished, [&Given](QStringList& s) { Given << s; });
    Wizard.OnButtonFinishPressed(); // without a device nothing happens
    QTest::qWait(50);
    QVERIFY(Given.isEmpty());
    Wizard.findChild<QLineEdit*>("editBoxTargetDevice")->setText("VS4F-512");
    Wizard.OnButtonFinishPressed();
    QTRY_COMPARE(Given.size(), 1);
    QCOMPARE(Given[0], (QStringList{"Project.SetDevice (\"VS4F-512\");", "Project.SetHostIF (\"USB\", \"\");",
                                    "Project.SetTargetIF (\"JTAG\");", "Project.SetTIFSpeed (\"1 MHz\");"}));
    // An unknown device gives its commands all the same, and the optional fields theirs.
    Wizard.findChild<QLineEdit*>("editBoxTargetDevice")->setText("NoSuchDevice (Big Endian)");
    Wizard.findChild<QLineEdit*>("editBoxTargetPeripherals")->setText("my\\own.svd");
    Wizard.findChild<QLineEdit*>("editBoxDataFile")->setText("/p/x.elf");
    Wizard.OnButtonFinishPressed();
    QTRY_COMPARE(Given.size(), 2);
    QCOMPARE(Given[1], (QStringList{"Project.SetDevice (\"NoSuchDevice\");", "Target.SetEndianess (1);",
                                    "Project.SetHostIF (\"USB\", \"\");", "Project.SetTargetIF (\"JTAG\");",
                                    "Project.SetTIFSpeed (\"1 MHz\");", "Project.AddSvdFile (\"my/own.svd\");",
                                    "File.Open (\"/p/x.elf\");"}));
}

void tst_wizard::InputIsOfferedAgain()
{
    {
        CProjectWizard Wizard;
        Wizard.findChild<QLineEdit*>("editBoxTargetDevice")->setText("VS0-32");
        Wizard.findChild<QComboBox*>("comboBoxHostInterface")->setCurrentText("IP");
        Wizard.findChild<QLineEdit*>("editBoxHostOption")->setText("10.0.0.7");
        Wizard.findChild<QComboBox*>("comboBoxTIFSpeed")->setCurrentText("500 kHz");
        Wizard.OnButtonCancelPressed();
    }
    QCOMPARE(CSettingsStore::Get().Read("AppData/ProjectWizard/TifSpeed").toString(), QString("500 kHz"));
    CProjectWizard Wizard;
    QCOMPARE(Wizard.GetSummary(), QString("Device: VS0-32\nPeripherals: \nTarget Interface: JTAG, 500 kHz\n"
                                          "Host Interface: IP 10.0.0.7\nProgram File: "));
    QCOMPARE(Wizard.findChild<QLabel*>("labelHostOption")->text(), QString("IP Address"));
}

QTEST_MAIN(tst_wizard)
#include "tst_wizard.moc"
