// The dialogs of the connection: what can be entered, the state texts and the commands that they give, and what saving
// does to the project and to the configuration of the device.
#include "projectrig.h"

#include "device/queue/device.h"
#include "device/target/devicetarget.h"
#include "project/file/deviceparams.h"
#include "project/settings/appearance.h"
#include "project/wizard/bryllosettingsdialog.h"
#include "project/wizard/hostinterfacedialog.h"
#include "project/wizard/statetext.h"
#include "project/wizard/targetinterfacedialog.h"
#include "views/framework/messagebox.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QToolButton>

namespace {
bool CanAccept(const QDialog& Dialog)
{
    return Dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled();
}

template <typename T> T* Child(const QWidget& Parent, const char* sName)
{
    return Parent.findChild<T*>(QLatin1String(sName));
}

void Type(QLineEdit* pEdit, const char* sText)
{
    pEdit->selectAll();
    QTest::keyClicks(pEdit, sText);
}

QString State(const TARGET_DEVICE_STATE& Device, const HOST_INTERFACE_STATE& Host, const TARGET_INTERFACE_STATE& Target)
{
    return WriteState(Device) + WriteState(Host) + WriteState(Target);
}
} // namespace

class tst_bryllosettings : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { CDevice::Get().Shutdown(); }
    void HostInterface();
    void TargetInterface();
    void Commands_data();
    void Commands();
    void SaveChangesProjectAndDevice();
    void WhatSavingLeaves();
    void WithoutAUser();
    void LockedInASession();
};

void tst_bryllosettings::initTestCase()
{
    InitSysVars();
    InitColorsAndFonts(QApplication::font());
    DEVICE_RegisterTarget();
    CDevice::Get().CreateEventWorker(this);
}

void tst_bryllosettings::HostInterface()
{
    CHostInterfaceDialog Dialog({});
    Dialog.show();
    auto* pSerial = Child<QLineEdit>(Dialog, "editBoxSerialNo");
    auto* pHost = Child<QLineEdit>(Dialog, "editBoxHostName");
    QVERIFY(!pSerial->isEnabled() && !pHost->isEnabled() && CanAccept(Dialog));
    QCOMPARE(Dialog.GetSummary(), QString("USB"));
    Child<QCheckBox>(Dialog, "checkBoxUseSerialNo")->click();
    QVERIFY(pSerial->isEnabled() && !CanAccept(Dialog)); // a serial number selects, and none is given
    Type(pSerial, "60x");
    QVERIFY(!CanAccept(Dialog));
    Type(pSerial, "600100001");
    QVERIFY(CanAccept(Dialog));
    QCOMPARE(Dialog.GetSummary(), QString("USB: SN=600100001"));
    Child<QRadioButton>(Dialog, "radioButtonTCPIP")->click();
    QVERIFY(!pSerial->isEnabled() && pHost->isEnabled() && !CanAccept(Dialog));
    QTest::keyClick(&Dialog, Qt::Key_Return);
    QVERIFY(Dialog.isVisible());
    Type(pHost, "board:3333");
    QCOMPARE(Dialog.GetSummary(), QString("TCP/IP: board:3333"));
    QTest::keyClick(pHost, Qt::Key_Return);
    QVERIFY(!Dialog.isVisible() && Dialog.result() == QDialog::Accepted);

    CHostInterfaceDialog Again(Dialog.GetStateText()); // what isn't in use is kept
    Child<QRadioButton>(Again, "radioButtonUSB")->click();
    QCOMPARE(Again.GetSummary(), QString("USB: SN=600100001"));
}

void tst_bryllosettings::TargetInterface()
{
    TARGET_INTERFACE_STATE Begin;
    Begin.TargetIF = 0;
    Begin.UseMaxSpeed = true;
    Begin.Speed = 0;
    CTargetInterfaceDialog Dialog(WriteState(Begin));
    Dialog.show();
    QCOMPARE(Dialog.GetSummary(), QString("JTAG, auto"));
    auto* pSpeed = Child<QComboBox>(Dialog, "comboBoxSpeed");
    QVERIFY(!pSpeed->isEnabled());
    Child<QRadioButton>(Dialog, "radioButtonAdaptive")->click();
    QCOMPARE(Dialog.GetSummary(), QString("JTAG, adaptive"));
    Child<QRadioButton>(Dialog, "radioButtonFixed")->click();
    QCOMPARE(Dialog.GetSummary(), QString("JTAG, 4 MHz"));
    for (const char* sWrong : {"", "fast", "-3", "auto", "adaptive"}) {
        Type(pSpeed->lineEdit(), sWrong);
        if (!*sWrong) pSpeed->clearEditText();
        QVERIFY2(!CanAccept(Dialog), sWrong);
    }
    Type(pSpeed->lineEdit(), "1234"); // a bare number is kHz
    QVERIFY(CanAccept(Dialog));
    QCOMPARE(Dialog.GetSummary(), QString("JTAG, 1234 kHz"));
    pSpeed->setCurrentText("12 MHz");

    auto* pChain = Child<QGroupBox>(Dialog, "groupBoxScanChain");
    auto* pIRPre = Child<QLineEdit>(Dialog, "editBoxIRPre");
    pChain->setChecked(true);
    Child<QComboBox>(Dialog, "comboBoxDRPre")->setCurrentText("2");
    QCOMPARE(pIRPre->text(), QString("8")); // two neighbours of ARM
    Type(pIRPre, "9x");
    QVERIFY(!CanAccept(Dialog));
    Type(pIRPre, "9");
    QCOMPARE(Dialog.GetSummary(), QString("JTAG, 12 MHz, position 2, IRPre 9"));
    TARGET_INTERFACE_STATE End;
    QVERIFY(ReadState(Dialog.GetStateText(), &End));
    QCOMPARE(End.Speed, 12000u);
    QVERIFY(End.MultipleTargets && !End.UseMaxSpeed && !End.UseAdaptive);

    Child<QComboBox>(Dialog, "comboBoxTargetInterface")->setCurrentText("SWD"); // which has no chain
    QVERIFY(!pChain->isEnabled());
    QCOMPARE(Dialog.GetSummary(), QString("SWD, 12 MHz"));
}

void tst_bryllosettings::Commands_data()
{
    QTest::addColumn<QString>("StateText");
    QTest::addColumn<QStringList>("Expected");
    HOST_INTERFACE_STATE Usb, Serial, Ip;
    Serial.UseSerialNo = true;
    Serial.USBSerialNo = 42;
    Ip.ConnectMode = HOST_CONNECT_TCPIP;
    Ip.sHostName = "10.0.0.2:3333";
    TARGET_INTERFACE_STATE Swd, Chain, Auto;
    Chain = {0, 1, 4, true, 1000, false, false};
    Auto = {7, 0, 0, false, 0, false, true};
    QTest::newRow("plain") << State({0, 0, "VS4F-512"}, Usb, Swd)
                           << QStringList{"Project.SetDevice (\"VS4F-512\");", "Project.SetHostIF (\"USB\", \"\");",
                                          "Project.SetTargetIF (\"SWD\");", "Project.SetTIFSpeed (\"4 MHz\");"};
    QTest::newRow("all") << State({0, 1, "VS3-512-BE"}, Serial, Chain)
                         << QStringList{"Project.SetDevice (\"VS3-512-BE\");", "Target.SetEndianess (1);",
                                        "Project.SetHostIF (\"USB\", \"42\");", "Project.SetTargetIF (\"JTAG\");",
                                        "Project.SetTIFSpeed (\"1 MHz\");", "Project.SetJTAGConfig (1, 4);"};
    QTest::newRow("no device") << State({}, Ip, Auto)
                               << QStringList{"Project.SetHostIF (\"IP\", \"10.0.0.2:3333\");",
                                              "Project.SetTargetIF (\"cJTAG\");", "Project.SetTIFSpeed (\"auto\");"};
}

void tst_bryllosettings::Commands()
{
    QFETCH(QString, StateText);
    QFETCH(QStringList, Expected);
    CProjectRig Rig;
    CBrylloSettingsDialog Dialog;
    Dialog.SetStateText(StateText);
    QCOMPARE(Dialog.GetCommands(), Expected);
    const bool Complains = Rig.Console.join('\n').contains("In function BrylloSettingsDialog::GetTargetDeviceSettings: "
                                                           "invalid device name");
    QCOMPARE(Complains, !Expected[0].startsWith("Project.SetDevice"));
    // What the dialog hands to the device is what the commands say.
    CDeviceConfig::XML_VALUES Values;
    QCOMPARE(CDeviceConfig::ParseXml(GetConfigXml(StateText), &Values), 0);
    QCOMPARE(Values.HasDeviceName, !Complains);
    TARGET_INTERFACE_STATE Target;
    QVERIFY(ReadState(StateText, &Target));
    QCOMPARE(U32(Values.aInt[DCP_TARGET_IF]), Target.TargetIF);
    QCOMPARE(Values.aInt[DCP_SPEED], int(Target.Speed) * 1000);
    QCOMPARE(Values.aInt[DCP_MULTIPLE_TARGETS] != 0, Target.MultipleTargets);
    QCOMPARE(Values.aInt[DCP_USE_MAX_SPEED] != 0, Target.UseMaxSpeed);
}

void tst_bryllosettings::SaveChangesProjectAndDevice()
{
    CProjectRig Rig;
    const QByteArray Before = "void OnProjectLoad (void) {\n"
                              "  //\n  // Dialog-generated settings\n  //\n"
                              "  Project.SetCorePlugin (\"CorePluginARM\");\n"
                              "  Project.SetDevice (\"VS0-32\");\n"
                              "  Project.SetJTAGConfig (1, 4);\n"
                              "  Target.SetEndianess (1);\n"
                              "  //\n  // User settings\n  //\n"
                              "  Util.Log (\"mine\"); // stays\n"
                              "}\n";
    const QString sPath = Rig.Put("p.bdebug", Before);
    QCOMPARE(BScript::Load(sPath), 0);
    QCOMPARE(BScript::RunEvent(EVENT_ON_PROJECT_LOAD), 0);
    CProject::Get().SetCorePluginFile("CorePluginARM");
    CBrylloSettingsDialog Dialog;
    HOST_INTERFACE_STATE Host;
    Host.ConnectMode = HOST_CONNECT_TCPIP;
    Host.sHostName = "board";
    Dialog.SetStateText(State({1, 0, "VS0P-2CORE"}, Host, {}));
    QCOMPARE(Child<QLabel>(Dialog, "labelDevice")->text(), QString("VS0P-2CORE, Core #1"));
    Dialog.OnButtonSaveClicked();
    QCOMPARE(Dialog.result(), int(QDialog::Accepted));
    const QByteArray After = Rig.Bytes("p.bdebug");
    for (const char* sLine : {"Project.SetCorePlugin (\"CorePluginARM\");", "Project.SetDevice (\"VS0P-2CORE\");",
                              "Project.SetHostIF (\"IP\", \"board\");", "Project.SetTargetIF (\"SWD\");",
                              "Project.SetTIFSpeed (\"4 MHz\");", "Util.Log (\"mine\"); // stays"})
        QCOMPARE(After.count(sLine), 1);
    QVERIFY(!After.contains("SetJTAGConfig") && !After.contains("SetEndianess") && !After.contains("VS0-32"));
    // The commands ran, and the configuration of the device has what no command says.
    QCOMPARE(Rig.Texts[DEVICE_PARAM_NAME], QString("VS0P-2CORE"));
    const CDeviceConfig& Config = CDeviceTarget::Get().Config;
    QTRY_COMPARE(Config.GetInt(DCP_CORE_INDEX), 1);
    QTRY_COMPARE(Config.GetString(DCP_DEVICE_NAME), QString("VS0P-2CORE"));
    QCOMPARE(Config.GetString(DCP_HOST_NAME), QString("board"));
    QCOMPARE(CBrylloSettingsDialog().GetSummary(),
             QString("Target Device: VS0P-2CORE, Core #1\nTarget Interface: SWD, 4 MHz\nHost Interface: TCP/IP: board"));
}

/// What could not be written stays in the dialog; a device without a name leaves the project's; another architecture
/// gets no core support of the old one.
void tst_bryllosettings::WhatSavingLeaves()
{
    CProjectRig Rig;
    const QByteArray Before = "void OnProjectLoad (void) {\n  Project.SetCorePlugin (\"CorePluginARM\");\n"
                              "  Project.SetDevice (\"VS0-32\");\n  Project.SetTIFSpeed (\"1 MHz\");\n}\n";
    const QString sPath = Rig.Put("p.bdebug", Before);
    QCOMPARE(BScript::Load(sPath), 0);
    CDeviceTarget::Get().Config.Reset();
    CBrylloSettingsDialog NoDevice;
    NoDevice.OnButtonSaveClicked();
    QVERIFY(Rig.Bytes("p.bdebug").contains("Project.SetDevice (\"VS0-32\");"));

    CDeviceTarget::Get().Config.SetString(DCP_DEVICE_NAME, "VS0-32");
    CBrylloSettingsDialog Dialog;
    Dialog.SetStateText(State({0, 0, "VSRV32-256"}, {}, {}));
    Rig.Put("p.bdebug", "no function of that name\n");
    Dialog.show();
    Dialog.OnButtonSaveClicked();
    QVERIFY(Dialog.isVisible() && Rig.Boxes.size() == 1);
    QCOMPARE(Rig.Bytes("p.bdebug"), QByteArray("no function of that name\n"));
    Rig.Put("p.bdebug", Before);
    Dialog.OnButtonSaveClicked();
    QVERIFY(!Dialog.isVisible());
    QVERIFY(!Rig.Bytes("p.bdebug").contains("SetCorePlugin"));
    QVERIFY(Rig.Bytes("p.bdebug").contains("VSRV32-256"));
    QTRY_VERIFY(!CDevice::Get().HasPendingJob(BT_CONFIGURE)); // also one that the worker has just taken
}

void tst_bryllosettings::WithoutAUser()
{
    QStringList Boxes;
    int Answer = QDialogButtonBox::Cancel;
    CMessageBox::SetInterceptor([&](const QString& sTitle, const QString& sText, CMessageBox::BUTTONS) {
        Boxes << sTitle + ": " + sText;
        return Answer;
    });
    CBrylloSettingsDialog Dialog;
    Dialog.SetStateText(State({0, 0, "VS4F-512"}, {}, {}));
    const QString sBefore = Dialog.GetStateText();
    for (const char* sButton : {"buttonSelectDevice", "buttonSelectTargetInterface", "buttonSelectHostInterface"}) {
        auto* pButton = Child<QToolButton>(Dialog, sButton);
        QVERIFY(!pButton->accessibleName().isEmpty());
        pButton->click();
    }
    CMessageBox::SetInterceptor({});
    QCOMPARE(Boxes.size(), 3);
    QVERIFY(Boxes[0].startsWith("Target Device Settings: "));
    QCOMPARE(Boxes[1], QString("Target Interface Settings: SWD, 4 MHz"));
    QVERIFY(Boxes[2].startsWith("Host Interface Settings: "));
    QCOMPARE(Dialog.GetStateText(), sBefore);
}

void tst_bryllosettings::LockedInASession()
{
    CProjectRig Rig;
    CDeviceTarget::Get().Config.Reset();
    CDevice::Get().SetConfigParamAsync(DCP_DEVICE_NAME, "VS4F-512");
    CDevice::Get().SetConfigParamAsync(DCP_TARGET_IF, 1);
    QVERIFY(CDevice::Get().ConnectAsync(CM_ATTACH) >= 0);
    QTRY_VERIFY(CDevice::Get().IsConnected());
    QStringList Boxes;
    CMessageBox::SetInterceptor([&](const QString& sTitle, const QString& sText, CMessageBox::BUTTONS) {
        Boxes << sTitle + ": " + sText;
        return int(QDialogButtonBox::Ok);
    });
    CBrylloSettingsDialog Dialog;
    for (const char* sButton : {"buttonSelectDevice", "buttonSelectTargetInterface", "buttonSelectHostInterface"})
        Child<QToolButton>(Dialog, sButton)->click();
    CMessageBox::SetInterceptor({});
    const QString sLocked = ": This setting cannot be edited while debugging";
    QCOMPARE(Boxes, (QStringList{"Target Device" + sLocked, "Target Interface" + sLocked, "Host Interface" + sLocked}));
    QVERIFY(Child<QLabel>(Dialog, "labelModel")->text().contains("simulated"));
    CDevice::Get().DisconnectAsync();
    QTRY_VERIFY(!CDevice::Get().IsConnected());
}

QTEST_MAIN(tst_bryllosettings)
#include "tst_bryllosettings.moc"
