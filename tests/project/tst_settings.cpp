// Variables, preferences, colours and fonts: ranges, texts, the three values of a row, the store.
#include "app/services/settingsstore.h"
#include "project/settings/appearance.h"
#include "project/settings/settingsnotifier.h"
#include "project/settings/settingspersist.h"
#include "project/settings/sysvars.h"

#include <QFile>
#include <QGuiApplication>
#include <QPalette>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <atomic>
#include <thread>

namespace {
/// A few words of the shared constant table, as the script host provides them.
bool FindTestConstant(const QString& sName, I64* pValue)
{
    static const QMap<QString, I64> Names{{"rm_reset_halt", 0}, {"yes", 1},
                                          {"off", 0},           {"freq_4_mhz", 4000000},
                                          {"aw_word", 4},       {"disable_save_any", 4294967295},
                                          {"tp_op_stop", 1}};
    const auto it = Names.find(sName.toLower());
    *pValue = it == Names.end() ? 0 : *it;
    return it != Names.end();
}
I64 ParseTestFreq(const QString& sText)
{
    return sText.endsWith(QLatin1String("kHz")) ? sText.chopped(3).trimmed().toLongLong() * 1000 : -1;
}
std::atomic<I64> s_Field{0};

/// A reference table: its records without the head, fields separated by tabs.
QList<QStringList> ReadTable(const char* sName)
{
    QFile File(QStringLiteral(VANTREL_SOURCE_DIR "/tests/project/data/") + sName);
    QList<QStringList> Rows;
    if (!File.open(QIODevice::ReadOnly)) return Rows;
    QStringList Lines = QString::fromUtf8(File.readAll()).split('\n', Qt::SkipEmptyParts);
    for (const QString& sLine : Lines.mid(1)) Rows.append(sLine.split('\t'));
    return Rows;
}
} // namespace

class tst_settings : public QObject {
    Q_OBJECT
private slots:
    void init();
    void VariableTable();
    void ColorTable();
    void FontTable();
    void Parse_data();
    void Parse();
    void Texts_data();
    void Texts();
    void ParseText_data();
    void ParseText();
    void ThreeValues();
    void SetMarks();
    void NotifierTellsChanges();
    void BoundRow();
    void DefaultsAreValid();
    void StoreRoundTrip();
    void BadStoreEntries();
    void EntriesOfAnotherVersion();
    void Colors();
    void Fonts_data();
    void Fonts();
    void ReadsFromOtherThreads();
};

void tst_settings::init()
{
    SETTINGS_HOOKS Hooks;
    Hooks.pfFindConstant = FindTestConstant;
    Hooks.pfParseFreq = ParseTestFreq;
    SetSettingsHooks(Hooks);
    InitSysVars();
    InitColorsAndFonts(QFont("Sans", 8));
    CSettingsStore::Get().Clear();
}

void tst_settings::VariableTable()
{
    const QMap<QString, QPair<int, QString>> Types{{"selection", {SVT_SELECTION, "string selection"}},
                                                   {"unsigned int", {SVT_UINT, "unsigned int"}},
                                                   {"signed int", {SVT_INT, "signed int"}},
                                                   {"frequency", {SVT_FREQ, "unsigned int"}},
                                                   {"string", {SVT_STRING, "string"}},
                                                   {"unsigned long long", {SVT_ULONGLONG, "unsigned long long"}}};
    const QList<QStringList> Rows = ReadTable("variables.tsv");
    QCOMPARE(int(Rows.size()), int(NUM_SYS_VARS));
    for (int i = 0; i < Rows.size(); i++) {
        const QStringList& Expected = Rows[i];
        const SYS_VAR& Row = *GetVar(i);
        const QString sDefault = IsStringVar(i) ? GetVarString(i) : QString::number(GetVarDefault(i));
        QCOMPARE((QStringList{QString::number(Row.Index), Row.Name, Row.Label, Row.Key, sDefault, Row.Range,
                              QString::number(Row.Editable)}),
                 (QStringList{Expected[0], Expected[1], Expected[2], Expected[3], Expected[5], Expected[6], Expected[7]}));
        QVERIFY2(Types.contains(Expected[4]), qPrintable(Expected[4]));
        QCOMPARE(int(Row.Type), Types[Expected[4]].first);
        QCOMPARE(QString(GetVarTypeName(i)), Types[Expected[4]].second);
        // The three values begin alike, and a row is found by its name and its number.
        if (!IsStringVar(i)) {
            QCOMPARE(GetVarValue(i), GetVarDefault(i));
            QCOMPARE(GetVarStored(i), GetVarDefault(i));
        }
        QCOMPARE(FindVar(QString(Row.Name).toLower()), &Row);
        QCOMPARE(FindVar(QString::number(i)), &Row);
        QVERIFY(!IsVarChanged(i) && !IsVarSet(i));
    }
}

void tst_settings::ColorTable()
{
    const QList<QStringList> Rows = ReadTable("colors.tsv");
    QCOMPARE(int(Rows.size()), int(NUM_COLORS));
    for (int i = 0; i < Rows.size(); i++) {
        const COLOR_ROW& Row = *GetColorRow(i);
        const QString sDefault = QString("0x%1").arg(Row.Default, 8, 16, QChar('0'));
        QCOMPARE((QStringList{QString::number(Row.ID), Row.Name, Row.Label, sDefault.toUpper()}),
                 (QStringList{Rows[i][0], Rows[i][1], Rows[i][2], Rows[i][3].toUpper()}));
        QCOMPARE(FindColor(QString(Row.Name).toLower()), i);
        QCOMPARE(GetColorValue(i), Row.Default);
        QVERIFY(GetColor(i).isValid());
    }
}

void tst_settings::FontTable()
{
    const QList<QStringList> Rows = ReadTable("fonts.tsv");
    QCOMPARE(int(Rows.size()), int(NUM_FONTS));
    for (int i = 0; i < Rows.size(); i++) {
        const FONT_ROW& Row = *GetFontRow(i);
        QCOMPARE((QStringList{QString::number(Row.ID), Row.Name, Row.Label, Row.Description}), Rows[i]);
        QCOMPARE(FindFont(QString(Row.Name).toLower()), i);
    }
}

void tst_settings::Parse_data()
{
    QTest::addColumn<int>("VarID");
    QTest::addColumn<QString>("Text");
    QTest::addColumn<bool>("Ok");
    QTest::addColumn<qint64>("Value");
    const auto Row = [](int VarID, const char* sText, qint64 Value) {
        QTest::addRow("%s %s", GetVar(VarID)->Name, sText) << VarID << QString(sText) << true << Value;
    };
    const auto Bad = [](int VarID, const char* sText) {
        QTest::addRow("%s %s", GetVar(VarID)->Name, sText) << VarID << QString(sText) << false << qint64(0);
    };
    Row(VAR_RESET_MODE, "Reset & Halt", 0);
    Row(VAR_RESET_MODE, "reset & BREAK at symbol", 1);
    Row(VAR_RESET_MODE, "\"Reset & Run\"", 2);
    Row(VAR_RESET_MODE, "RM_RESET_HALT", 0);
    Row(VAR_RESET_MODE, "2", 2);
    Row(VAR_RESET_MODE, "0x2", 2);
    Bad(VAR_RESET_MODE, "3");
    Bad(VAR_RESET_MODE, "-1");
    Bad(VAR_RESET_MODE, "AW_WORD"); // a known name whose value isn't in the list
    Bad(VAR_RESET_MODE, "");
    Bad(VAR_RESET_MODE, "nonsense");
    Row(VAR_VERIFY_DOWNLOAD, "no", 0);
    Row(VAR_VERIFY_DOWNLOAD, "YES", 1);
    Row(VAR_VERIFY_DOWNLOAD, "off", 0);
    Row(VAR_TIF_SPEED, "Adaptive Speed", 0xFFFF);
    Row(VAR_TIF_SPEED, "4 MHz", 4000000);
    Row(VAR_HSS_SPEED, "max", 0);
    Row(VAR_POWER_SAMPLING_SPEED, "33.3 kHz", 33333);
    Row(VAR_TIF_SCAN_CHAIN_POS, "7", 7);
    Bad(VAR_TIF_SCAN_CHAIN_POS, "8");
    Row(VAR_TIF_SCAN_CHAIN_LEN, "1000000000", 1000000000);
    Bad(VAR_TIF_SCAN_CHAIN_LEN, "1000000001");
    Bad(VAR_TIF_SCAN_CHAIN_LEN, "-1");
    Row(VAR_TRACE_PORT_DELAY_0, "-100000", -100000);
    Row(VAR_TRACE_PORT_DELAY_3, "100000", 100000);
    Bad(VAR_TRACE_PORT_DELAY_0, "-100001");
    Bad(VAR_TRACE_PORT_DELAY_0, "100001");
    Row(VAR_SWO_SPEED, "2000 kHz", 2000000);
    Row(VAR_SWO_SPEED, "2000000000", 2000000000);
    Bad(VAR_SWO_SPEED, "2000000001");
    Bad(VAR_SWO_SPEED, "quick");
    Row(VAR_TRACE_CORE_CLOCK, "18446744073709551615", -1); // the full 64 bits
    Row(VAR_TRACE_CORE_CLOCK, "0xFFFFFFFFFFFFFFFF", -1);
    Bad(VAR_TRACE_CORE_CLOCK, "18446744073709551616");
    Row(PREF_MAX_SYMBOL_MEMBERS, "100000", 100000);
    Bad(PREF_MAX_SYMBOL_MEMBERS, "100001");
    Row(PREF_SESSION_SAVE_FLAGS, "DISABLE_SAVE_ANY", 4294967295);
    Bad(VAR_BREAK_AT_THIS_SYMBOL, "1"); // no number lives there
}

void tst_settings::Parse()
{
    QFETCH(int, VarID);
    QFETCH(QString, Text);
    QFETCH(bool, Ok);
    QFETCH(qint64, Value);
    bool WasOk = !Ok;
    QCOMPARE(ParseVar(VarID, Text, &WasOk), Value);
    QCOMPARE(WasOk, Ok);
}

void tst_settings::Texts_data()
{
    QTest::addColumn<int>("VarID");
    QTest::addColumn<qint64>("Value");
    QTest::addColumn<int>("Result");
    QTest::addColumn<QString>("Text");
    QTest::newRow("list") << int(VAR_CONNECT_MODE) << qint64(2) << 0 << "Attach & Halt Program";
    QTest::newRow("not in the list") << int(VAR_CONNECT_MODE) << qint64(3) << -2 << "";
    QTest::newRow("hexadecimal list value") << int(VAR_TIF_SPEED) << qint64(65535) << 0 << "Adaptive Speed";
    QTest::newRow("unsigned") << int(PREF_CALLSTACK_DEPTH_LIMIT) << qint64(50) << 0 << "50";
    QTest::newRow("above") << int(PREF_CALLSTACK_DEPTH_LIMIT) << qint64(100001) << -3
                           << "Value 100001 is out of range (Min: 0, Max: 100000)";
    QTest::newRow("signed") << int(VAR_TRACE_PORT_DELAY_1) << qint64(-2000) << 0 << "-2000";
    QTest::newRow("below") << int(VAR_TRACE_PORT_DELAY_1) << qint64(-100001) << -3
                           << "Value -100001 is out of range (Min: -100000, Max: 100000)";
    QTest::newRow("64 bits") << int(VAR_TRACE_MAX_INST_CNT) << qint64(-2) << 0 << "18446744073709551614";
    QTest::newRow("current value") << int(VAR_TRACE_FILE_MAX_SIZE) << qint64(-1) << 0 << "4000000000";
    QTest::newRow("string") << int(VAR_MEM_ZONE_RUNNING) << qint64(-1) << 0 << "Default";
}

void tst_settings::Texts()
{
    QFETCH(int, VarID);
    QFETCH(qint64, Value);
    QFETCH(int, Result);
    QFETCH(QString, Text);
    char ac[200];
    QCOMPARE(VarToTextBuffer(VarID, Value, ac, sizeof(ac)), Result);
    QCOMPARE(QString(ac), Text);
    QCOMPARE(VarToText(VarID, Value), Text);
    if (!Text.isEmpty()) {
        QCOMPARE(VarToTextBuffer(VarID, Value, ac, static_cast<int>(Text.size())), -1); // no room for the end
    }
}

void tst_settings::ParseText_data()
{
    QTest::addColumn<int>("VarID");
    QTest::addColumn<QString>("Text");
    QTest::addColumn<QString>("Error"); ///< "ok" for none
    QTest::newRow("decimal") << int(PREF_MAX_SYMBOL_MEMBERS) << "  77"
                             << "ok";
    QTest::newRow("hexadecimal") << int(PREF_MAX_SYMBOL_MEMBERS) << "0x4D"
                                 << "ok";
    QTest::newRow("no decimal") << int(PREF_MAX_SYMBOL_MEMBERS) << "7x"
                                << "  ***ERROR: Expected a dec value\n\n";
    QTest::newRow("no hexadecimal") << int(PREF_MAX_SYMBOL_MEMBERS) << "0xG"
                                    << "  ***ERROR: Expected a hex value\n\n";
    QTest::newRow("range") << int(PREF_MAX_SYMBOL_MEMBERS) << "100001"
                           << "  ***ERROR: The value is out of range (Min: 0, Max: 100000)\n\n";
    QTest::newRow("signed range") << int(VAR_TRACE_PORT_DELAY_0) << "-0x186A1"
                                  << "  ***ERROR: The value is out of range (Min: -100000, Max: 100000)\n\n";
    QTest::newRow("wraps") << int(VAR_TRACE_PORT_DELAY_0) << "-18446744073709551615"
                           << "  ***ERROR: The value is out of range (Min: -100000, Max: 100000)\n\n";
    QTest::newRow("100 characters") << int(VAR_BREAK_AT_THIS_SYMBOL) << QString(100, 'x') << "ok";
    QTest::newRow("101 characters") << int(VAR_BREAK_AT_THIS_SYMBOL) << QString(101, 'x') << "";
}

void tst_settings::ParseText()
{
    QFETCH(int, VarID);
    QFETCH(QString, Text);
    QFETCH(QString, Error);
    QString sError;
    const QString sOld = VarToText(VarID);
    const int Result = ParseVarText(VarID, 0, Text, &sError);
    QCOMPARE(Result, Error == "ok" ? 0 : -1);
    QCOMPARE(sError, Error == "ok" ? QString() : Error);
    QCOMPARE(VarToText(VarID) == sOld, Error != "ok"); // a bad value changes nothing
}

void tst_settings::ThreeValues()
{
    QCOMPARE(GetVarValue(VAR_RESET_MODE), 1);
    QVERIFY(!IsVarChanged(VAR_RESET_MODE));
    SetVar(VAR_RESET_MODE, 2, false); // as a project does
    QCOMPARE(GetVarValue(VAR_RESET_MODE), 2);
    QCOMPARE(GetVarStored(VAR_RESET_MODE), 1);
    QVERIFY(IsVarChanged(VAR_RESET_MODE));
    SetVar(VAR_RESET_MODE, 0, true); // as a dialog does
    QCOMPARE(GetVarStored(VAR_RESET_MODE), 0);
    QCOMPARE(GetVarDefault(VAR_RESET_MODE), 1);
    SetVarString(VAR_BREAK_AT_THIS_SYMBOL, "reset", false);
    QCOMPARE(GetVarString(VAR_BREAK_AT_THIS_SYMBOL), QString("reset"));
    QCOMPARE(GetVarStoredString(VAR_BREAK_AT_THIS_SYMBOL), QString("main"));
    QVERIFY(IsVarChanged(VAR_BREAK_AT_THIS_SYMBOL));
    // Widths: 4 bytes are cut, a signed row keeps its sign.
    SetVar(PREF_SESSION_SAVE_FLAGS, -1, false);
    QCOMPARE(GetVarValue(PREF_SESSION_SAVE_FLAGS), I64(4294967295));
    SetVar(VAR_TRACE_PORT_DELAY_2, 0xFFFFFFFF, false);
    QCOMPARE(GetVarValue(VAR_TRACE_PORT_DELAY_2), I64(-1));
    // Outside the table.
    SetVar(NUM_SYS_VARS, 1, true);
    SetVar(-1, 1, true);
    QCOMPARE(GetVarValue(NUM_SYS_VARS), I64(0));
    QVERIFY(!GetVar(-1) && !FindVar("84") && FindVar("83") && FindVar("pref_session_SAVE_flags"));
    QCOMPARE(GetVarIndex("var_tif_speed"), int(VAR_TIF_SPEED));
    QCOMPARE(GetVarIndex("3"), -1);
}

void tst_settings::SetMarks()
{
    QVERIFY(!IsVarSet(VAR_ALLOW_BMA_EMULATION));
    RestoreVar(VAR_ALLOW_BMA_EMULATION, 1); // from the store: nobody has decided in this run
    QCOMPARE(GetVarValue(VAR_ALLOW_BMA_EMULATION), 1);
    QVERIFY(!IsVarSet(VAR_ALLOW_BMA_EMULATION));
    SetVar(VAR_ALLOW_BMA_EMULATION, 1, false);
    QVERIFY(IsVarSet(VAR_ALLOW_BMA_EMULATION));
    RestoreVar(VAR_RESET_MODE, 99);
    QCOMPARE(GetVarValue(VAR_RESET_MODE), 1);
}

void tst_settings::NotifierTellsChanges()
{
    QSignalSpy Vars(&CSettingsNotifier::Get(), &CSettingsNotifier::VarChanged);
    SetVar(VAR_RESET_MODE, 1, false); // no change
    SetVar(VAR_RESET_MODE, 2, false);
    SetVarString(VAR_BREAK_AT_THIS_SYMBOL, "main", true);
    SetVarString(VAR_BREAK_AT_THIS_SYMBOL, "x", true);
    QCOMPARE(Vars.size(), 2);
    QCOMPARE(Vars[0][0].toInt(), int(VAR_RESET_MODE));
    QCOMPARE(Vars[1][0].toInt(), int(VAR_BREAK_AT_THIS_SYMBOL));
}

void tst_settings::BoundRow()
{
    s_Field = 5;
    BindVar(
        VAR_TIF_SCAN_CHAIN_POS, [] { return s_Field.load(); }, [](I64 v) { s_Field = v; });
    QCOMPARE(GetVarValue(VAR_TIF_SCAN_CHAIN_POS), I64(5));
    QSignalSpy Vars(&CSettingsNotifier::Get(), &CSettingsNotifier::VarChanged);
    SetVar(VAR_TIF_SCAN_CHAIN_POS, 5, false); // equal to the field, whatever the row held before
    QCOMPARE(Vars.size(), 0);
    SetVar(VAR_TIF_SCAN_CHAIN_POS, 7, false);
    QCOMPARE(s_Field.load(), I64(7));
    InitSysVars();
    QCOMPARE(s_Field.load(), I64(0));
    BindVar(VAR_TIF_SCAN_CHAIN_POS, nullptr, nullptr);
}

void tst_settings::DefaultsAreValid()
{
    int Lists = 0;
    for (int i = 0; i < NUM_SYS_VARS; ++i) {
        if (IsStringVar(i)) {
            continue;
        }
        QVERIFY2(IsVarValueValid(i, GetVarDefault(i)), GetVar(i)->Name);
        QCOMPARE(GetValueTexts(i).size(), GetValues(i).size());
        QCOMPARE(HasValueList(i), GetVar(i)->Type == SVT_SELECTION);
        Lists += HasValueList(i);
        for (const I64 Value : GetValues(i)) { // every entry's text leads back to its value
            bool Ok = false;
            QCOMPARE(ParseVar(i, VarToText(i, Value), &Ok), Value);
            QVERIFY(Ok);
        }
    }
    QCOMPARE(Lists, 66);
}

void tst_settings::StoreRoundTrip()
{
    QTemporaryDir Dir;
    CSettingsStore& Store = CSettingsStore::Get();
    Store.SetDir(Dir.path());
    Store.Load();
    SetVar(VAR_RESET_MODE, 2, false); // a project's value stays out of the store
    SetVar(PREF_TAB_SPACING, 8, true);
    SetVar(VAR_TRACE_CORE_CLOCK, -1, true);
    SetVar(VAR_TRACE_PORT_DELAY_0, -5, true);
    SetVarString(VAR_MEM_ZONE_RUNNING, "AHB", true);
    SetColor(COLOR_SYNTAX_KEYWORD, 0xFF123456, true);
    SetColor(COLOR_SYNTAX_LABEL, 0xFF123456, false);
    SetFont(FONT_CONSOLE, QFont("Sans", 13), true);
    SavePreferences();
    SaveColorsAndFonts();
    QVERIFY(Store.Save());
    QVERIFY(!Store.Contains("AppData/Preferences/Colors/COLOR_SYNTAX_LABEL"));
    QCOMPARE(Store.GetKeys("AppData/Preferences/Preferences").size(), int(NUM_SYS_VARS));

    init();
    Store.SetDir(Dir.path());
    Store.Load();
    LoadPreferences();
    LoadColorsAndFonts();
    QCOMPARE(GetVarValue(VAR_RESET_MODE), 1);
    QCOMPARE(GetVarValue(PREF_TAB_SPACING), 8);
    QCOMPARE(GetVarValue(VAR_TRACE_CORE_CLOCK), I64(-1));
    QCOMPARE(GetVarValue(VAR_TRACE_PORT_DELAY_0), I64(-5));
    QCOMPARE(GetVarString(VAR_MEM_ZONE_RUNNING), QString("AHB"));
    QCOMPARE(GetColorValue(COLOR_SYNTAX_KEYWORD), 0xFF123456u);
    QCOMPARE(GetColorValue(COLOR_SYNTAX_LABEL), 0xFF000000u);
    QCOMPARE(GetFont(FONT_CONSOLE).pointSize(), 13);
    // Back at the default, the key goes.
    ResetColor(COLOR_SYNTAX_KEYWORD);
    SaveColorsAndFonts();
    QVERIFY(!Store.Contains("AppData/Preferences/Colors/COLOR_SYNTAX_KEYWORD"));
    QVERIFY(Store.Contains("AppData/Preferences/Fonts/FONT_CONSOLE"));
}

void tst_settings::BadStoreEntries()
{
    CSettingsStore& Store = CSettingsStore::Get();
    Store.Write("AppData/Preferences/Preferences/VAR_RESET_MODE", "rubbish");
    Store.Write("AppData/Preferences/Preferences/VAR_CONNECT_MODE", 17);
    Store.Write("AppData/Preferences/Preferences/VAR_BREAK_AT_THIS_SYMBOL", QString(500, 'y'));
    Store.Write("AppData/Preferences/Colors/COLOR_PC_ACTIVE", "no colour");
    Store.Write("AppData/Preferences/Colors/COLOR_NONE", "#ffffff");
    Store.Write("AppData/Preferences/Fonts/FONT_CONSOLE", "Sans,  0pt,  Bold");
    LoadPreferences();
    LoadColorsAndFonts();
    QCOMPARE(GetVarValue(VAR_RESET_MODE), 1);
    QCOMPARE(GetVarValue(VAR_CONNECT_MODE), 0);
    QCOMPARE(GetVarString(VAR_BREAK_AT_THIS_SYMBOL), QString("main"));
    QCOMPARE(GetColorValue(COLOR_PC_ACTIVE), 0xFF77FF6Du);
    QCOMPARE(GetFont(FONT_CONSOLE), GetFontDefault(FONT_CONSOLE));
}

void tst_settings::EntriesOfAnotherVersion()
{
    CSettingsStore& Store = CSettingsStore::Get();
    const QString sMode = "AppData/Preferences/Preferences/VAR_CONNECT_MODE";
    const QString sDepth = "AppData/Preferences/Preferences/PREF_CALLSTACK_DEPTH_LIMIT";
    Store.Write(sMode, 17); // a mode that a later version has
    Store.Write(sDepth, 500000);
    Store.Write("AppData/Preferences/Preferences/PREF_OF_LATER", 3);
    LoadPreferences();
    SetVar(PREF_CALLSTACK_DEPTH_LIMIT, 40, true); // the user has decided anew
    SavePreferences();
    QCOMPARE(Store.Read(sMode).toInt(), 17);
    QCOMPARE(Store.Read(sDepth).toInt(), 40);
    QCOMPARE(Store.Read("AppData/Preferences/Preferences/PREF_OF_LATER").toInt(), 3);
    QCOMPARE(Store.Read("AppData/Preferences/Preferences/PREF_TAB_SPACING").toInt(), 2);
}

void tst_settings::Colors()
{
    QPalette Palette = QGuiApplication::palette();
    Palette.setColor(QPalette::Highlight, QColor(1, 2, 3));
    Palette.setColor(QPalette::Base, QColor(140, 140, 140));
    QGuiApplication::setPalette(Palette);
    QCOMPARE(GetColor(COLOR_SELECTION_HIGHLIGHT), QColor(1, 2, 3));
    SetColor(COLOR_PC_ACTIVE, PALETTE_HIGHLIGHT);
    QCOMPARE(GetColor(COLOR_PC_ACTIVE), QColor(1, 2, 3));
    QVERIFY(GetColor(COLOR_TABLE_GRID_LINES).lightness() < 140); // darker than the base
    QCOMPARE(GetColor(COLOR_SYNTAX_STRING), QColor(0xB2, 0x22, 0x22));
    QCOMPARE(FindColor("color_logging_user"), int(COLOR_LOGGING_USER));
    QCOMPARE(FindColor("24"), 24);
    QCOMPARE(FindColor("39"), -1);
    QVERIFY(!GetColor(39).isValid());
}

void tst_settings::Fonts_data()
{
    QTest::addColumn<QString>("Text");
    QTest::addColumn<QString>("Again"); ///< written back; empty if it is no font
    QTest::newRow("plain") << "Sans,  10pt,  Normal"
                           << "Sans,  10pt,  Normal";
    QTest::newRow("quotes and blanks") << " \"Sans\" , 9PT,bold ITALIC "
                                       << "Sans,  9pt,  Bold Italic";
    QTest::newRow("black oblique") << "Sans,12,Black Oblique"
                                   << "Sans,  12pt,  Bold Italic";
    QTest::newRow("medium counts as bold") << "Sans,12,Medium"
                                           << "Sans,  12pt,  Bold";
    QTest::newRow("light") << "Sans,59pt,Light Italic"
                           << "Sans,  59pt,  Italic";
    QTest::newRow("size 60") << "Sans,60pt,Normal"
                             << "";
    QTest::newRow("size 0") << "Sans,0pt,Normal"
                            << "";
    QTest::newRow("two entries") << "Sans,10pt"
                                 << "";
    QTest::newRow("four entries") << "Sans,10pt,Bold,Italic"
                                  << "";
    QTest::newRow("no number") << "Sans,big,Bold"
                               << "";
}

void tst_settings::Fonts()
{
    QFETCH(QString, Text);
    QFETCH(QString, Again);
    QFont Font;
    QCOMPARE(ParseFont(Text, &Font), !Again.isEmpty());
    if (!Again.isEmpty()) {
        QCOMPARE(FontToText(Font), Again);
    }
}

void tst_settings::ReadsFromOtherThreads()
{
    std::atomic<bool> Stop{false};
    std::atomic<int> Torn{0};
    std::thread Reader([&] {
        while (!Stop) {
            const QString s = GetVarString(VAR_BREAK_AT_THIS_SYMBOL);
            Torn += s.count('a') != s.size() && s.count('b') != s.size() && s != "main";
            const I64 v = GetVarValue(VAR_TRACE_CORE_CLOCK);
            Torn += v != 100000000 && v != 0 && v != -1;
        }
    });
    for (int i = 0; i < 2000; ++i) {
        SetVarString(VAR_BREAK_AT_THIS_SYMBOL, QString(i % 100, i % 2 ? 'a' : 'b'), false);
        SetVar(VAR_TRACE_CORE_CLOCK, i % 2 ? -1 : 0, false);
    }
    Stop = true;
    Reader.join();
    QCOMPARE(Torn.load(), 0);
}

QTEST_MAIN(tst_settings)
#include "tst_settings.moc"
