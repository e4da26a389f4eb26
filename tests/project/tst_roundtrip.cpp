// Projects with odd formatting, edited as the dialogs do: open, change one setting, write, compare. Every line of the
// file that has nothing to do with the setting keeps its bytes, its end included.
#include "projectrig.h"

#include "app/actions/commandtext.h"
#include "device/queue/device.h"
#include "device/target/devicetarget.h"
#include "project/file/deviceparams.h"
#include "project/settings/appearance.h"
#include "project/wizard/bryllosettingsdialog.h"
#include "project/wizard/statetext.h"
#include "script/host/textfile.h"

#include <QApplication>
#include <QDir>
#include <QStringConverter>
#include <QTest>

namespace {

/// Lines with their ends. A file of another encoding is taken apart as UTF-8.
QByteArrayList SplitRaw(QByteArray Bytes)
{
    if (Bytes.startsWith("\xFF\xFE")) {
        QStringDecoder Decoder(QStringConverter::Utf16LE, QStringConverter::Flag::Stateless);
        Bytes = QString(Decoder(Bytes.mid(2))).toUtf8();
    }
    QByteArrayList Lines;
    qsizetype Begin = 0;
    for (qsizetype i = 0; i < Bytes.size(); i++) {
        const bool IsEnd = Bytes[i] == '\n' || (Bytes[i] == '\r' && (i + 1 == Bytes.size() || Bytes[i + 1] != '\n'));
        if (!IsEnd) continue;
        Lines << Bytes.mid(Begin, i + 1 - Begin);
        Begin = i + 1;
    }
    Lines << Bytes.mid(Begin);
    return Lines;
}

QByteArray End(const QByteArray& Line)
{
    return Line.endsWith("\r\n") ? "\r\n" : Line.endsWith('\n') ? "\n" : Line.endsWith('\r') ? "\r" : "";
}

/// Compares two files line by line. Old lines may only go if they hold one of the names, new ones only come if they are
/// one of the commands, and a line may only be indented anew. Empty, or what is wrong.
QString Compare(const QByteArray& Before, const QByteArray& After, const QStringList& Names, QStringList Commands)
{
    const QByteArrayList Old = SplitRaw(Before), New = SplitRaw(After);
    QList<QByteArray> Ends;
    for (const QByteArray& Line : Old) Ends << End(Line);
    const auto MayGo = [&Names](const QByteArray& Line) {
        return std::any_of(Names.begin(), Names.end(), [&](const QString& s) { return Line.contains(s.toUtf8()); });
    };
    qsizetype i = 0;
    for (const QByteArray& Line : New) {
        for (;;) {
            const bool HasOld = i < Old.size();
            if (HasOld && Line == Old[i]) {
                i++;
                break;
            }
            if (HasOld && Line == "  " + Old[i].trimmed() + End(Old[i])) {
                i++;
                break;
            }
            if (const qsizetype n = Commands.indexOf(QString::fromUtf8(Line).trimmed()); n >= 0) {
                if (!Line.startsWith("  ") || !Ends.contains(End(Line))) return "form of the new line " + Line;
                Commands.removeAt(n);
                break;
            }
            if (!HasOld || !MayGo(Old[i])) return "unexpected line: " + Line + (HasOld ? " instead of " + Old[i] : "");
            i++;
        }
    }
    for (; i < Old.size(); i++)
        if (!MayGo(Old[i])) return "lost line: " + Old[i];
    return Commands.isEmpty() ? QString() : "not written: " + Commands.join(' ');
}

struct SETTING {
    const char* Name;
    int Command;             ///< of the probe settings; -1: see Var
    QStringList Params = {};
    int Var = -1;            ///< a system variable
    QString Value = {};
};

const SETTING SETTINGS[] = {
    {"device", ACT_PROJECT_SET_DEVICE, {"VS7F-1024"}},
    {"serial number", ACT_PROJECT_SET_HOST_IF, {"USB", "600100001"}},
    {"address", ACT_PROJECT_SET_HOST_IF, {"IP", "10.0.0.2"}},
    {"interface", ACT_PROJECT_SET_TARGET_IF, {"JTAG"}},
    {"speed", ACT_PROJECT_SET_TIF_SPEED, {"10 MHz"}},
    {"scan chain", ACT_PROJECT_SET_JTAG_CONFIG, {"1", "4"}},
    {"byte order", ACT_TARGET_SET_ENDIANESS, {"1"}},
    {"nothing", -1, {}},
    {"access width", -1, {}, VAR_ACCESS_WIDTH, "Word"},
    {"breakpoint type", -1, {}, VAR_BREAKPOINT_TYPE, "Hardware"},
    {"break symbol", -1, {}, VAR_BREAK_AT_THIS_SYMBOL, "start"},
    {"target power", -1, {}, VAR_TARGET_POWER_ON, "Yes"},
    {"zone", -1, {}, VAR_MEM_ZONE_RUNNING, "AHB"},
};

QStringList Live(const QByteArray& Bytes, const QString& sName)
{
    QStringList Found;
    for (const QByteArray& Line : SplitRaw(Bytes))
        if (const QString s = QString::fromUtf8(Line).trimmed(); s.startsWith(sName)) Found << s;
    return Found;
}

} // namespace

class tst_roundtrip : public QObject {
    Q_OBJECT

private slots:
    void Change_data();
    void Change();
    void initTestCase();
    void cleanupTestCase() { CDevice::Get().Shutdown(); }
    void ConnectionDialog_data();
    void ConnectionDialog();
    void Groups_data();
    void Groups();
    void SaveOfAnOpenProject_data();
    void SaveOfAnOpenProject();
    void Render_data();
    void Render();
};

static void AddProjects()
{
    QTest::addColumn<QString>("Path");
    const QDir Dir(QStringLiteral(VANTREL_SOURCE_DIR "/tests/project/data"));
    for (const QString& s : Dir.entryList({"*.bdebug"})) QTest::newRow(qPrintable(s)) << Dir.filePath(s);
}

void tst_roundtrip::Change_data()
{
    AddProjects();
}

void tst_roundtrip::Change()
{
    QFETCH(QString, Path);
    QFile Source(Path);
    QVERIFY(Source.open(QIODevice::ReadOnly));
    const QByteArray Before = Source.readAll();
    for (const SETTING& Setting : SETTINGS) {
        CProjectRig Rig;
        CProject& Project = CProject::Get();
        const QString sPath = Rig.Put("p.bdebug", Before);
        QCOMPARE(BScript::Load(sPath), 0);
        QCOMPARE(BScript::RunEvent(EVENT_ON_PROJECT_LOAD), 0);

        // The dialog of the probe settings gives all of its commands, the changed one among them.
        QStringList Given, Changed, Names;
        if (Setting.Var >= 0) {
            if (Setting.Var == VAR_BREAK_AT_THIS_SYMBOL || Setting.Var == VAR_MEM_ZONE_RUNNING) {
                SetVarString(Setting.Var, Setting.Value, false);
            } else {
                bool Ok = false;
                SetVar(Setting.Var, ParseVar(Setting.Var, Setting.Value, &Ok), false);
                QVERIFY(Ok);
            }
            QVERIFY2(Project.WriteSystemSettings(), Setting.Name);
            const QString sVar = QLatin1String(GetVar(Setting.Var)->Name);
            // What is written for one variable is known by its name alone.
            QFile File(sPath);
            QVERIFY(File.open(QIODevice::ReadOnly));
            for (const QByteArray& Line : SplitRaw(File.readAll())) {
                const QString s = QString::fromUtf8(Line).trimmed();
                if (!Before.contains(Line.trimmed()) && !SplitRaw(Before).join().contains(Line.trimmed())) Changed << s;
            }
            QCOMPARE(Changed.size(), 1);
            Names << sVar << GetNameOfCommandText(Changed[0]);
            if (Changed[0].startsWith("Edit.SysVar")) Names.removeLast();
        } else {
            for (const int Id : {ACT_PROJECT_SET_DEVICE, ACT_TARGET_SET_ENDIANESS, ACT_PROJECT_SET_HOST_IF,
                                 ACT_PROJECT_SET_TARGET_IF, ACT_PROJECT_SET_TIF_SPEED, ACT_PROJECT_SET_JTAG_CONFIG}) {
                const QStringList Lines = Live(Before.contains('\0') ? SplitRaw(Before).join() : Before, GetCommandName(Id));
                const bool IsChanged = Id == Setting.Command;
                if (IsChanged) Given << FormatCommand(Id, Setting.Params);
                else if (!Lines.isEmpty()) Given << FormatCommand(Id, SplitCommandArgs(Lines.last().section("//", 0, 0)));
                if (IsChanged || Lines.size() > 1) {
                    Names << GetCommandName(Id); // a command that stands twice can't be left as it is
                    Changed << Given.last();
                }
            }
            QVERIFY2(Project.WriteBrylloSettings(Given), Setting.Name);
        }
        const QByteArray After = Rig.Bytes("p.bdebug");
        const QString sWrong = Compare(Before, After, Names, Changed);
        QVERIFY2(sWrong.isEmpty(), qPrintable(QString("%1: %2\n%3").arg(Setting.Name, sWrong, QString::fromUtf8(After))));
        if (Before.startsWith("\xEF\xBB\xBF") || Before.startsWith("\xFF\xFE")) QVERIFY(After.left(2) == Before.left(2));

        // The file loads, the setting is what was chosen, and writing it once more changes nothing.
        Rig.Numbers.clear();
        Rig.Texts.clear();
        QCOMPARE(BScript::Load(sPath), 0);
        QCOMPARE(BScript::RunEvent(EVENT_ON_PROJECT_LOAD), 0);
        QCOMPARE(Rig.Errors, QStringList());
        if (Setting.Command == ACT_PROJECT_SET_DEVICE) QCOMPARE(Rig.Texts[DEVICE_PARAM_NAME], Setting.Params[0]);
        if (Setting.Command == ACT_PROJECT_SET_TIF_SPEED) QCOMPARE(Rig.Numbers[DEVICE_PARAM_SPEED], I64(10'000'000));
        if (Setting.Var >= 0)
            QVERIFY(Project.WriteSystemSettings());
        else
            QVERIFY(Project.WriteBrylloSettings(Given));
        QCOMPARE(Rig.Bytes("p.bdebug"), After);
    }
}

void tst_roundtrip::initTestCase()
{
    InitSysVars();
    InitColorsAndFonts(QApplication::font());
    DEVICE_RegisterTarget();
    CDevice::Get().CreateEventWorker(this);
}

void tst_roundtrip::ConnectionDialog_data()
{
    AddProjects();
}

namespace {
/// One change that a user makes in the dialog of the connection.
struct CHOICE {
    const char* Name;
    QList<int> Commands; ///< that the change sets anew
    void (*pfChange)(TARGET_STATE& State);
};
const CHOICE CHOICES[] = {
    {"nothing", {}, [](TARGET_STATE&) {}},
    {"device", {ACT_PROJECT_SET_DEVICE}, [](TARGET_STATE& s) { s.Device.sDeviceName = "VS7F-1024"; }},
    {"byte order", {ACT_TARGET_SET_ENDIANESS}, [](TARGET_STATE& s) { s.Device.Endian = !s.Device.Endian; }},
    {"serial number", {ACT_PROJECT_SET_HOST_IF}, [](TARGET_STATE& s) { s.Host = {HOST_CONNECT_USB, 600100001, "", true}; }},
    {"address", {ACT_PROJECT_SET_HOST_IF}, [](TARGET_STATE& s) { s.Host = {HOST_CONNECT_TCPIP, 0, "10.0.0.2:3333", false}; }},
    {"interface", {ACT_PROJECT_SET_TARGET_IF}, [](TARGET_STATE& s) { s.Interface.TargetIF = 7; }},
    {"speed", {ACT_PROJECT_SET_TIF_SPEED}, [](TARGET_STATE& s) {
         s.Interface.Speed = 12345;
         s.Interface.UseMaxSpeed = s.Interface.UseAdaptive = false;
     }},
    {"scan chain", {ACT_PROJECT_SET_JTAG_CONFIG}, [](TARGET_STATE& s) {
         s.Interface.DRPre = 3;
         s.Interface.IRPre = 13;
         s.Interface.MultipleTargets = true;
     }},
};
constexpr int PROBE_COMMANDS[] = {ACT_PROJECT_SET_CORE_PLUGIN, ACT_PROJECT_SET_DEVICE,    ACT_TARGET_SET_ENDIANESS,
                                  ACT_PROJECT_SET_HOST_IF,     ACT_PROJECT_SET_TARGET_IF, ACT_PROJECT_SET_TIF_SPEED,
                                  ACT_PROJECT_SET_JTAG_CONFIG};

bool WaitForDevice()
{
    return QTest::qWaitFor([] { return CDevice::Get().IsIdle(); });
}

/// The device is configured as the script of a project has asked for.
void ConfigureAs(const CProjectRig& Rig, const QStringList& EndianLines)
{
    CDeviceConfig& Config = CDeviceTarget::Get().Config;
    Config.Reset();
    for (auto It = Rig.Numbers.begin(); It != Rig.Numbers.end(); ++It) Config.SetInt(U32(It.key()), int(It.value()));
    for (auto It = Rig.Texts.begin(); It != Rig.Texts.end(); ++It) Config.SetString(U32(It.key()), It.value());
    if (!EndianLines.isEmpty()) Config.SetInt(DCP_ENDIAN, SplitCommandArgs(EndianLines.last()).value(0) == "1");
}
} // namespace

/// The dialog of the connection gives all of its commands; only those that were changed or never said change the file.
void tst_roundtrip::ConnectionDialog()
{
    QFETCH(QString, Path);
    QFile Source(Path);
    QVERIFY(Source.open(QIODevice::ReadOnly));
    const QByteArray Before = Source.readAll();
    const QByteArray Plain = Before.contains('\0') ? SplitRaw(Before).join() : Before;
    for (const CHOICE& Choice : CHOICES) {
        CProjectRig Rig;
        const QString sPath = Rig.Put("p.bdebug", Before);
        QCOMPARE(BScript::Load(sPath), 0);
        QCOMPARE(BScript::RunEvent(EVENT_ON_PROJECT_LOAD), 0);
        QVERIFY(WaitForDevice()); // what the script has set reaches the configuration a second time
        ConfigureAs(Rig, Live(Plain, "Target.SetEndianess"));
        CBrylloSettingsDialog Dialog;
        TARGET_STATE State(Dialog.GetStateText());
        Choice.pfChange(State);
        Dialog.SetStateText(WriteState(State.Device) + WriteState(State.Host) + WriteState(State.Interface));
        const QStringList Given = Dialog.GetCommands();
        QStringList Names, Written;
        for (const int Id : PROBE_COMMANDS) {
            const QString sName = GetCommandName(Id);
            const QStringList Mine = Given.filter(sName);
            const qsizetype NumLines = Live(Plain, sName).size();
            const bool IsChanged = Choice.Commands.contains(Id);
            if (!IsChanged && (NumLines == 1 || Mine.isEmpty())) continue; // stays as it is, to the byte
            Names << sName;
            Written << Mine;
        }
        Dialog.OnButtonSaveClicked();
        QVERIFY(WaitForDevice());
        QVERIFY2(Dialog.result() == QDialog::Accepted, Choice.Name);
        const QByteArray After = Rig.Bytes("p.bdebug");
        const QString sWrong = Compare(Before, After, Names, Written);
        QVERIFY2(sWrong.isEmpty(), qPrintable(QString("%1: %2\n%3").arg(Choice.Name, sWrong, QString::fromUtf8(After))));
        CBrylloSettingsDialog Again;
        Again.OnButtonSaveClicked();
        QVERIFY(WaitForDevice()); // or it would set the next choice's device anew
        QCOMPARE(Rig.Bytes("p.bdebug"), After);
    }
}

void tst_roundtrip::Groups_data()
{
    AddProjects();
}

/// The settings of the other dialogs: trace, memory segments, and single variables.
void tst_roundtrip::Groups()
{
    QFETCH(QString, Path);
    QFile Source(Path);
    QVERIFY(Source.open(QIODevice::ReadOnly));
    const QByteArray Before = Source.readAll();
    struct GROUP {
        const char* Name;
        bool (CProject::*pfWrite)(const QStringList&);
        QStringList Commands;
        QStringList MayGo;
    };
    const GROUP GROUPS[] = {
        {"trace", &CProject::WriteTraceSettings,
         {"Project.SetTraceSource (\"Trace Pins\");", "Project.SetTracePortWidth (2);",
          "Edit.SysVar (VAR_TRACE_CORE_CLOCK, \"100 MHz\");"},
         {"Project.SetTraceSource", "Project.SetTraceTiming", "Project.SetTraceFile", "Project.SetTracePortWidth",
          "Project.ConfigSWO", "VAR_TRACE_INIT_ON_ATTACH", "VAR_TRACE_TIMESTAMPS_ENABLED", "VAR_TRACE_CORE_CLOCK"}},
        {"segments", &CProject::WriteProjectSettings,
         {"Target.AddMemorySegment (\"RAM1\", 0x20000000, 0x1000, 0);",
          "Target.AddMemorySegment (\"RAM2\", 0x20040000, 0x1000, 0);"},
         {"Target.AddMemorySegment"}},
        {"paths", &CProject::WriteProjectSettings,
         {"Project.AddPathSubstitute (\"C:/a b\", \"$(ProjectDir)\");"}, {"Project.AddPathSubstitute"}},
    };
    for (const GROUP& Group : GROUPS) {
        CProjectRig Rig;
        const QString sPath = Rig.Put("p.bdebug", Before);
        QCOMPARE(BScript::Load(sPath), 0);
        QCOMPARE(BScript::RunEvent(EVENT_ON_PROJECT_LOAD), 0);
        QVERIFY2((CProject::Get().*Group.pfWrite)(Group.Commands), Group.Name);
        const QByteArray After = Rig.Bytes("p.bdebug");
        const QString sWrong = Compare(Before, After, Group.MayGo, Group.Commands);
        QVERIFY2(sWrong.isEmpty(), qPrintable(QString("%1: %2").arg(Group.Name, sWrong)));
        QVERIFY2((CProject::Get().*Group.pfWrite)(Group.Commands), Group.Name);
        QCOMPARE(Rig.Bytes("p.bdebug"), After);
    }
    for (const int VarID : {PREF_TIMESTAMP_FORMAT, VAR_ALLOW_BMA_EMULATION}) {
        CProjectRig Rig;
        const QString sPath = Rig.Put("p.bdebug", Before);
        QCOMPARE(BScript::Load(sPath), 0);
        QCOMPARE(BScript::RunEvent(EVENT_ON_PROJECT_LOAD), 0);
        const I64 Default = GetVar(VarID)->Default;
        const QString sName = QLatin1String(GetVar(VarID)->Name);
        QVERIFY(CProject::Get().WriteVar(sPath, VarID, QString::number(Default ? 0 : 1)));
        const QByteArrayList Lines = SplitRaw(Rig.Bytes("p.bdebug"));
        QStringList Written;
        for (const QByteArray& Line : Lines)
            if (Line.contains(sName.toLatin1())) Written << QString::fromUtf8(Line).trimmed();
        QCOMPARE(Written.size(), 1);
        QString sWrong = Compare(Before, Rig.Bytes("p.bdebug"), {sName}, Written);
        QVERIFY2(sWrong.isEmpty(), qPrintable(sName + ": " + sWrong));
        QVERIFY(CProject::Get().WriteVar(sPath, VarID, QString::number(Default)));
        QVERIFY(!Rig.Bytes("p.bdebug").contains(sName.toLatin1()));
        sWrong = Compare(Before, Rig.Bytes("p.bdebug"), {sName}, {});
        QVERIFY2(sWrong.isEmpty(), qPrintable(sName + ": " + sWrong));
    }
}

void tst_roundtrip::SaveOfAnOpenProject_data()
{
    AddProjects();
}

/// Saving a project that nobody changed leaves its file alone but for what the file never said.
void tst_roundtrip::SaveOfAnOpenProject()
{
    QFETCH(QString, Path);
    QFile Source(Path);
    QVERIFY(Source.open(QIODevice::ReadOnly));
    const QByteArray Before = Source.readAll();
    CProjectRig Rig;
    const QString sPath = Rig.Put("p.bdebug", Before);
    QCOMPARE(BScript::Load(sPath), 0);
    QCOMPARE(BScript::RunEvent(EVENT_ON_PROJECT_LOAD), 0);
    QVERIFY(CProject::Get().Save(sPath));
    const QString sWrong = Compare(Before, Rig.Bytes("p.bdebug"), {},
                                   Path.endsWith("nouser.bdebug") || Path.endsWith("swapped.bdebug")
                                       ? QStringList(CProject::Get().GetCommandsFromSettings()).filter("TIFSpeed")
                                       : QStringList());
    if (!Path.endsWith("nouser.bdebug") && !Path.endsWith("swapped.bdebug")) QVERIFY2(sWrong.isEmpty(), qPrintable(sWrong));
    QVERIFY(CProject::Get().Save(Rig.In("copy.bdebug")));
    QCOMPARE(Rig.Bytes("copy.bdebug"), Rig.Bytes("p.bdebug")); // in the form of the file that it came from
}

void tst_roundtrip::Render_data()
{
    QTest::addColumn<QByteArray>("Old");
    QTest::addColumn<QString>("Text");
    QTest::addColumn<QByteArray>("New");
    QTest::newRow("new file") << QByteArray() << "a\nb\n" << QByteArray("a\r\nb\r\n");
    QTest::newRow("the same") << QByteArray("a\r\nb\nc\rd") << "a\nb\nc\nd" << QByteArray("a\r\nb\nc\rd");
    QTest::newRow("a line more takes its neighbour's end")
        << QByteArray("a\r\nb\nc\n") << "a\nnew\nb\nc\n" << QByteArray("a\r\nnew\r\nb\nc\n");
    QTest::newRow("a line less") << QByteArray("a\nb\nc\n") << "a\nc\n" << QByteArray("a\nc\n");
    QTest::newRow("first line") << QByteArray("b\n") << "a\nb\n" << QByteArray("a\nb\n");
    QTest::newRow("bytes that are no text") << QByteArray("\xE4\xFF\nb\n") << QString::fromUtf8("\xE4\xFF\nx\n")
                                            << QByteArray("\xE4\xFF\nx\n");
    QTest::newRow("mark") << QByteArray("\xEF\xBB\xBF" "a\n") << "b\n" << QByteArray("\xEF\xBB\xBF" "b\n");
    QTest::newRow("nothing left") << QByteArray("a\n") << "" << QByteArray("");
}

void tst_roundtrip::Render()
{
    QFETCH(QByteArray, Old);
    QFETCH(QString, Text);
    QTEST(RenderText(Old, Text), "New");
}

QTEST_MAIN(tst_roundtrip)
#include "tst_roundtrip.moc"
