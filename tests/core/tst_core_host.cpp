// The plug-in host: choice of the file, every way in which a plug-in can fail with its message,
// reconfiguring, the neutral results without a plug-in, and the debugger's functions for the plug-in.
#include "app/services/log.h"
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "core/host/debuggerapi.h"
#include "fakeprobe.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <cstring>
#include <thread>

namespace {

constexpr int CORTEX_M4 = 0x0E0000FF;

QStringList asConsole;

/// A text as the console shows it: it begins with a capital.
QString Shown(QString s) {
    s[0] = s[0].toUpper();
    return s;
}

} // namespace

class tst_core_host : public QObject {
    Q_OBJECT
    QTemporaryDir Dir;
    QString sProjectPath;
    int NumAsked = 0;

    QString Plugin(const char* sName) { return QStringLiteral(CORE_TEST_PLUGINS "/%1.so").arg(QLatin1String(sName)); }

    /// Loads a plug-in named by the project; the console lines of the load are in asConsole.
    int Load(const QString& sPath, int CoreId = CORTEX_M4) {
        asConsole.clear();
        sProjectPath = sPath;
        return Core_Load(CoreId);
    }

private slots:
    void init() {
        qunsetenv("CORE_TEST_FAULT");
        SetLogConsoleSink([](const QString& sText, U32) { asConsole << sText; });
        Core_GetHooks() = CORE_HOOKS();
        CORE_HOOKS& Hooks = Core_GetHooks();
        Hooks.GetProjectPluginPath = [this] { return sProjectPath; };
        Hooks.SetProjectPluginPath = [this](const QString& s) { sProjectPath = s; };
        Hooks.GetAppDir = [this] { return Dir.path(); };
        sProjectPath.clear();
        NumAsked = 0;
    }

    void cleanup() {
        Core_Unload();
    }

    void DefaultPath_data() {
        QTest::addColumn<int>("Family");
        QTest::addColumn<QString>("Name");
        for (int Family = 1; Family < 24; Family++) {
            const bool IsARM = Family == 3 || (Family >= 6 && Family <= 12) || Family == 14 || Family == 15;
            const QString sName = IsARM ? "CorePluginARM" : Family == 19 ? "CorePluginRISCV" : "";
            QTest::addRow("family %d", Family) << Family << sName;
        }
    }

    void DefaultPath() {
        QFETCH(int, Family);
        QFETCH(QString, Name);
        QString sPath = "x";
        QCOMPARE(Core_GetPluginPath(Family << 24 | 0xFF, &sPath), Name.isEmpty() ? -1 : 0);
        QCOMPARE(sPath, Name.isEmpty() ? QString() : Dir.path() + "/Core/" + Name + ".so");
    }

    void ProjectPathThatIsTheDefaultIsCleared() {
        const QString sDefault = Dir.path() + "/Core/CorePluginARM.so";
        QString sPath;
        sProjectPath = sDefault;
        QCOMPARE(Core_GetPluginPath(CORTEX_M4, &sPath), 0);
        QCOMPARE(sPath, sDefault);
        QVERIFY(sProjectPath.isEmpty());
        sProjectPath = "/elsewhere.so";
        QCOMPARE(Core_GetPluginPath(CORTEX_M4, &sPath), 0);
        QCOMPARE(sPath, QString("/elsewhere.so"));
    }

    void MissingFileIsAskedFor() {
        CORE_HOOKS& Hooks = Core_GetHooks();
        QString sAnswer;
        QString sTitle;
        QString sText;
        Hooks.IsInteractive = [] { return true; };
        Hooks.AskPluginPath = [&](const QString& sT, const QString& s) {
            NumAsked++;
            sTitle = sT;
            sText = s;
            return sAnswer;
        };
        QString sPath;
        QCOMPARE(Core_GetPluginPath(CORTEX_M4, &sPath), -1);
        QVERIFY(sPath.isEmpty() && sProjectPath.isEmpty());
        QCOMPARE(sTitle, QString("Project Warning"));
        QCOMPARE(sText, QString("Vantrel could not locate the target core support plugin for the selected device.\n"
                                "Please specify the file location manually."));
        sAnswer = Plugin("faulty");
        QCOMPARE(Core_GetPluginPath(CORTEX_M4, &sPath), 0);
        QCOMPARE(sPath, sAnswer);
        QCOMPARE(sProjectPath, sAnswer);
        QCOMPARE(NumAsked, 2);
    }

    void BadSelections() {
        QCOMPARE(Load(Plugin("faulty"), 0), -1);
        QCOMPARE(asConsole, QStringList{"Project Warning: unknown target device specified."});
        QCOMPARE(Load(QString(), 0x050000FF), -1);
        QCOMPARE(asConsole, QStringList{"Project Warning: target core support plugin not specified and could not determine default."});
        QCOMPARE(Load("/no/such/file.so"), -1);
        QCOMPARE(asConsole, QStringList{"Project Warning: target core support plugin not found at /no/such/file.so"});
        QCOMPARE(Load(Dir.path()), -1); // a folder isn't a file
        QCOMPARE(asConsole, QStringList{"Project Warning: target core support plugin not found at " + Dir.path()});
    }

    void BadSelectionUnloads() {
        QCOMPARE(Load(Plugin("faulty")), 0);
        QVERIFY(Core_IsLoaded());
        QCOMPARE(Load("/no/such/file.so"), -1);
        QVERIFY(!Core_IsLoaded());
    }

    void NotALibrary() {
        QFile File(Dir.filePath("text.so"));
        QVERIFY(File.open(QIODevice::WriteOnly));
        File.write("no library");
        File.close();
        QCOMPARE(Load(File.fileName()), -1);
        QCOMPARE(asConsole, QStringList{"Failed to load library at " + File.fileName()});
    }

    void MissingExportsAreAllNamed() {
        QCOMPARE(Load(Plugin("faulty_noexports")), -1);
        const QString sText = "Invalid target core support plugin: required function '%1' not found.";
        QCOMPARE(asConsole, (QStringList{sText.arg("CORE_PLUGIN_GetAPI"), sText.arg("CORE_PLUGIN_GetVersion"), sText.arg("CORE_PLUGIN_GetName")}));
        QVERIFY(!Core_IsLoaded());
    }

    void Faults_data() {
        QTest::addColumn<QString>("Text");
        const auto Row = [](const char* sFault, const char* sText) { QTest::newRow(sFault) << QString(sText); };
        Row("getapi", "Target core support plugin initialization failed: incompatible plugin API");
        Row("setapi", "Target core support plugin initialization failed: incompatible debugger API");
        Row("noinit", "Target core support plugin initialization failed: plugin API is missing init function");
        Row("init", "Target core support plugin initialization failed: plugin API function 'Init' returned error code 42");
        Row("info", "Error reading static core information from plugin");
        Row("noinfo", "Error reading static core information from plugin");
        Row("minlen", "invalid minimum instruction length.");
        Row("minabovemax", "invalid minimum instruction length.");
        Row("mnemonic", "invalid maximum mnemonic length");
        Row("align", "invalid instruction alignment");
        Row("regcount", "invalid register count");
        Row("regsize", "invalid register size");
        Row("regsize9", "Warning: register sizes > 64 bit are not yet supported");
        Row("spsize", "Error: SP register is larger than 64 bit. This is not supported. Check core plugin compatibility.");
        Row("pcsize", "Warning: PC register is larger than 64 bit. This is not yet supported");
        Row("sp", "invalid SP register index");
        Row("pc", "invalid PC register index");
        Row("lr", "invalid LR register index");
        Row("cfa", "invalid CFA register index");
        Row("ra", "invalid RA register index");
        Row("unwind", "invalid maximum unwindable register index");
    }

    void Faults() {
        QFETCH(QString, Text);
        qputenv("CORE_TEST_FAULT", QTest::currentDataTag());
        QCOMPARE(Load(Plugin("faulty")), -1);
        QCOMPARE(asConsole, QStringList{Shown(Text)});
        QVERIFY(!Core_IsLoaded());
        QCOMPARE(Core_GetStaticInfo().InstAlignment, 2u);
        QCOMPARE(Core_GetStaticInfo().NumRegs, 0u);
    }

    void SecondLoadReconfigures() {
        int NumCleared = 0;
        int NumUnbound = 0;
        U32 DataOrder = 0;
        CORE_HOOKS& Hooks = Core_GetHooks();
        Hooks.ClearInstCache = [&] { NumCleared++; };
        Hooks.UnbindProgram = [&] { NumUnbound++; };
        Hooks.GetByteOrders = [&](U32* pData, U32* pInst) { *pData = DataOrder, *pInst = 0; };
        QCOMPARE(Load(Plugin("faulty")), 0);
        DataOrder = 1;
        QCOMPARE(Load(Plugin("faulty")), 2);
        QCOMPARE(NumCleared, 1);
        QCOMPARE(NumUnbound, 0);
        QCOMPARE(Core_GetConfig().DataByteOrder, 1u);
        qputenv("CORE_TEST_FAULT", "kept");
        QCOMPARE(Load(Plugin("faulty")), 1);
        qputenv("CORE_TEST_FAULT", "reconfigure");
        QCOMPARE(Load(Plugin("faulty")), -1);
        QVERIFY2(Core_IsLoaded(), "a failed call never unloads the plug-in");
        qunsetenv("CORE_TEST_FAULT");
        QCOMPARE(Load(Plugin("faulty_copy")), 0); // another path: unloaded first
        QCOMPARE(NumUnbound, 1);
        QCOMPARE(Core_GetCurrentPath(), Plugin("faulty_copy"));
    }

    void WithoutReconfigureAChangeReloads() {
        qputenv("CORE_TEST_FAULT", "noreconfigure");
        QCOMPARE(Load(Plugin("faulty")), 0);
        QCOMPARE(Load(Plugin("faulty")), 1);
        QCOMPARE(Load(Plugin("faulty"), 0x030000FF), 0);
        QCOMPARE(Core_GetConfig().CoreId, 0x030000FF);
    }

    void DependentsAreSizedUnderTheDeviceMutex() {
        int Depth = 0;
        QList<U32> aSize;
        CORE_HOOKS& Hooks = Core_GetHooks();
        Hooks.LockDevice = [&] { Depth++; };
        Hooks.UnlockDevice = [&] { Depth--; };
        Hooks.SizeFrameRegs = [&](U32 Count) { aSize << Count; QVERIFY(Depth > 0); };
        Hooks.SizeRegCache = [&](U32 Count) { aSize << Count; QVERIFY(Depth > 0); };
        QCOMPARE(Load(Plugin("faulty")), 0);
        QCOMPARE(aSize, (QList<U32>{17, 31}));
        QCOMPARE(Core_GetLiveRegs().aStatus.size(), size_t(20));
        QCOMPARE(int(Core_GetLiveRegs().aStatus[19]), 3);
        QCOMPARE(Depth, 0);
        QCOMPARE(Core_Unload(), 0);
        QCOMPARE(aSize.last(), 0u);
        QVERIFY(Core_GetScratchRegs().aRule.empty());
        QCOMPARE(Depth, 0);
    }

    void NeutralResultsWithoutAPlugin() {
        U64 Value = 5;
        CORE_INST_INFO Info;
        char acText[16] = "x";
        QCOMPARE(Core_ReadReg(0, &Value), -1);
        QCOMPARE(Core_ReadCPReg("VTOR", &Value), 0);
        QCOMPARE(Value, U64(0));
        QVERIFY(Core_AnalyzeInst(0, &Info) < 0);
        QCOMPARE(Info.Length, 0);
        QCOMPARE(Core_DisassembleInst(0, 4, acText, sizeof acText), -1);
        QCOMPARE(acText[0], '\0');
        QCOMPARE(Core_GetRegId(0), 0xFFFFFFFFu);
        QCOMPARE(Core_GetBPMode(0), 0u);
        QCOMPARE(Core_GetCallFrameSize(0), -1);
        QVERIFY(Core_GetCPUModeName(0).isEmpty());
        QVERIFY(Core_GetMapSymPrefix().isEmpty());
        QCOMPARE(Core_SetResetState(), 0);
        U32 Op = 0;
        QCOMPARE(Core_HandleSemihosting(0, &Op, &Value), int(CORE_SEMIHOST_NO));
        const U8 abHeader[52] = {};
        QCOMPARE(Core_CheckProgram(abHeader), 0u);
    }

    void UnterminatedTextIsCut() {
        QCOMPARE(Load(Plugin("faulty")), 0);
        QCOMPARE(Core_GetCPUModeName(0), QString(63, 'x'));
    }

    void ProgramCheck() {
        QCOMPARE(Load(QStringLiteral(CORE_PLUGIN_ARM)), 0);
        U8 abHeader[52] = {0x7F, 'E', 'L', 'F', 1, 1, 1};
        abHeader[18] = 40;
        QCOMPARE(Core_CheckProgram(abHeader), 0u);
        abHeader[18] = 243; // RISC-V
        QCOMPARE(Core_CheckProgram(abHeader), U32(CORE_PROGRAM_NOT_EXECUTABLE));
        U8 abBig[52] = {0x7F, 'E', 'L', 'F', 1, 2, 1};
        abBig[19] = 40;
        QCOMPARE(Core_CheckProgram(abBig), U32(CORE_PROGRAM_DATA_ORDER | CORE_PROGRAM_INST_ORDER));
        abBig[37] = 0x80; // BE8: code stays little-endian
        QCOMPARE(Core_CheckProgram(abBig), U32(CORE_PROGRAM_DATA_ORDER));
        abBig[0] = 0;
        QCOMPARE(Core_CheckProgram(abBig), U32(CORE_PROGRAM_NOT_EXECUTABLE));
    }

    void ReadMemSources() {
        CORE_HOOKS& Hooks = Core_GetHooks();
        QStringList asAsked;
        const char* sHolder = "none";
        bool IsHalted = true;
        const auto Ask = [&](const char* sName) {
            asAsked << sName;
            return strcmp(sName, sHolder) == 0;
        };
        Hooks.ReadElfSection = [&](U64, U32, void*) { return Ask("section") ? 0 : -1; };
        Hooks.ReadProgramData = [&](U64, U32 Size, void*) { return Ask("program") ? int(Size) : -1; };
        Hooks.CanReadTarget = [&] { return IsHalted; };
        Hooks.ReadTarget = [&](U64, U32, void*) { return Ask("target") ? 0 : -1; };
        Hooks.ReadTargetCache = [&](U64, U32, void*) { return Ask("cache") ? 0 : -1; };
        const CORE_DEBUGGER_API& API = Core_GetDebuggerAPI();
        std::vector<U8> aBuffer(6000);
        QCOMPARE(API.pfReadMem(0, 4, aBuffer.data()), -1);
        QCOMPARE(asAsked, (QStringList{"section", "program", "target"}));
        asAsked.clear();
        std::thread([&] { API.pfReadMem(0, 4, aBuffer.data()); }).join();
        QCOMPARE(asAsked, (QStringList{"section", "program", "cache", "target"}));
        sHolder = "program";
        asAsked.clear();
        QCOMPARE(API.pfReadMem(0, 4, aBuffer.data()), 0);
        QCOMPARE(asAsked, (QStringList{"section", "program"}));
        sHolder = "target";
        QCOMPARE(API.pfReadMem(0, 5000, aBuffer.data()), 0);
        QCOMPARE(API.pfReadMem(0, 5001, aBuffer.data()), -1);
        IsHalted = false;
        QCOMPARE(API.pfReadMem(0, 4, aBuffer.data()), -1);
        QCOMPARE(API.pfReadMem(0, 0, aBuffer.data()), -1);
        QCOMPARE(API.pfReadProgram(0, 0, aBuffer.data()), 0);
    }

    void SmallDebuggerFunctions() {
        const CORE_DEBUGGER_API& API = Core_GetDebuggerAPI();
        U64 aRange[3] = {1, 2, 3};
        QCOMPARE(API.pfGetProgramRange(nullptr), -1);
        QCOMPARE(API.pfGetProgramRange(aRange), 0);
        QCOMPARE(aRange[2], ~U64(0));
        const CORE_REG_SET* pSet = nullptr;
        QCOMPARE(API.pfGetRegSet(&pSet), -1);
        asConsole.clear();
        QCOMPARE(API.pfLog("warning", 0), 0);
        QCOMPARE(API.pfLog("file only", 1), 0);
        QCOMPARE(API.pfLog("plain", 2), 0);
        QCOMPARE(API.pfLog("what", 3), -1);
        QCOMPARE(asConsole, (QStringList{"Warning", "Plain"}));
    }

    void RegistersThroughTheProbe() {
        QCOMPARE(Load(QStringLiteral(CORE_PLUGIN_ARM), 0x0E0100FF), 0);
        FAKE_PROBE& Probe = GetFakeProbe();
        for (U32 i = 0; i < 66; i++) Probe.aReg[i] = 0x1000 + i;
        CORE_REG_BUFFER& Regs = Core_GetLiveRegs();
        QCOMPARE(Core_ReadAllRegs(Regs), 0);
        for (size_t i = 0; i < Regs.aValue.size(); i++) {
            const bool IsHole = i > BRYLLO_REG_CONTROL && i < BRYLLO_REG_S0; // the core has no stack limits
            QCOMPARE(Regs.aRegId[i], IsHole ? 0xFFFFFFFFu : U32(i));
            QCOMPARE(int(Regs.aStatus[i]), int(IsHole));
            if (!IsHole) QCOMPARE(Regs.aValue[i], U64(0x1000 + i));
        }
        QCOMPARE(Regs.aRegId.back(), U32(BRYLLO_REG_FPSCR));
        QCOMPARE(Core_WriteReg(Core_GetPCRegId(), 0x77), 0);
        QCOMPARE(Probe.aReg[15], U64(0x77));
        Probe.aReg[BRYLLO_REG_XPSR] = 0x0100000F;
        QCOMPARE(Core_GetCPUModeName(Core_GetCPUMode()), QString("Handler"));
        Probe.aReg[BRYLLO_REG_XPSR] = 0x01000000;
        Probe.aReg[BRYLLO_REG_CONTROL] = 1;
        QCOMPARE(Core_GetCPUModeName(Core_GetCPUMode()), QString("Thread, unprivileged"));
        QCOMPARE(Core_GetExecModeName(Core_GetExecMode()), QString("Thumb"));
        QCOMPARE(Core_GetBPMode(0x100), U32(BRYLLO_BP_MODE_THUMB));
        Probe.IsFailing = true;
        QCOMPARE(Core_ReadAllRegs(Regs), -1);
        U64 Value = 0;
        QCOMPARE(Core_ReadReg(0, &Value), -1);
        Probe.IsFailing = false;
    }

    void ResetStateAndSemihosting() {
        QCOMPARE(Load(QStringLiteral(CORE_PLUGIN_ARM)), 0);
        FAKE_PROBE& Probe = GetFakeProbe();
        U8 abImage[16] = {0x00, 0x10, 0x00, 0x20, 0x09, 0x00, 0x00, 0x08, 0xAB, 0xBE, 0x00, 0xBF};
        CORE_HOOKS& Hooks = Core_GetHooks();
        Hooks.GetProgramRange = [](U64* pRange) {
            pRange[0] = 0; // a part that runs from zero
            pRange[1] = 0x08000000;
            pRange[2] = 0x0800000C;
            return 0;
        };
        Hooks.ReadElfSection = [&](U64 Addr, U32 Size, void* p) {
            if (Addr < 0x08000000 || Addr + Size > 0x08000010) return -1;
            memcpy(p, abImage + (Addr - 0x08000000), Size);
            return 0;
        };
        Probe.aReg[BRYLLO_REG_XPSR] = 0;
        QCOMPARE(Core_SetResetState(), 0);
        QCOMPARE(Probe.aReg[13], U64(0x20001000));
        QCOMPARE(Probe.aReg[15], U64(0x08000008));
        QCOMPARE(Probe.aReg[16], U64(0x01000000));
        abImage[4] = 8; // no Thumb bit: not a vector table
        QCOMPARE(Core_SetResetState(), 0);
        QCOMPARE(Probe.aReg[15], U64(0x0800000C));

        U32 Op = 0;
        U64 Param = 0;
        Probe.aReg[0] = 4;
        Probe.aReg[1] = 0x20000040;
        QCOMPARE(Core_HandleSemihosting(0x08000008, &Op, &Param), int(CORE_SEMIHOST_NO)); // the PC is elsewhere
        Probe.aReg[15] = 0x08000008;
        QCOMPARE(Core_HandleSemihosting(0x0800000A, &Op, &Param), int(CORE_SEMIHOST_NO));
        QCOMPARE(Core_HandleSemihosting(0x08000008, &Op, &Param), int(CORE_SEMIHOST_SERVE));
        QCOMPARE(Op, 4u);
        QCOMPARE(Param, U64(0x20000040));
        QCOMPARE(Core_FinishSemihosting(-1), 0);
        QCOMPARE(Probe.aReg[0], U64(0xFFFFFFFF));
        QCOMPARE(Probe.aReg[15], U64(0x0800000A));
        QCOMPARE(Core_FinishSemihosting(0), 0); // the PC is elsewhere by now and stays
        QCOMPARE(Probe.aReg[15], U64(0x0800000A));
    }

    void MappingSymbols() {
        QCOMPARE(Load(QStringLiteral(CORE_PLUGIN_ARM)), 0);
        QCOMPARE(Core_GetMapSymPrefix(), QByteArray("$"));
        U32 Kind = 9;
        QCOMPARE(Core_ParseMapSym("$t", &Kind), 0);
        QCOMPARE(Kind & 0xFF, U32(CORE_MAPSYM_CODE));
        QCOMPARE(Core_ParseMapSym("$d.17", &Kind), 0);
        QCOMPARE(Kind & 0xFF, U32(CORE_MAPSYM_DATA));
        QCOMPARE(Core_ParseMapSym("$a", &Kind), 0);
        QCOMPARE(Kind & 0xFF, U32(CORE_MAPSYM_CODE));
        for (const char* s : {"$", "$dx", "$x", "", "main", "$td"}) QCOMPARE(Core_ParseMapSym(s, &Kind), -1);
    }

    void PathIsCut() {
        // A path too long for the record never names a file that exists, so the load fails cleanly.
        QCOMPARE(Load("/" + QString(3000, 'a')), -1);
        QVERIFY(!Core_IsLoaded());
    }
};

QTEST_GUILESS_MAIN(tst_core_host)
#include "tst_core_host.moc"
