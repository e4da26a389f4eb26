// The rows of the variable table: names, texts, types, defaults and ranges. Data only.
#include "project/settings/sysvartable.h"

namespace {
constexpr const char* RANGE_YES_NO = "no=0,yes=1";
constexpr const char* RANGE_STRING = "SysVarMin=0,SysVarMax=0xFFFFFFFF";
constexpr const char* RANGE_SEPARATOR = "Half Space=0,Space=1,Comma=2,Colon=3";
constexpr const char* RANGE_TIF_SPEED =
    "Auto Speed=0,Adaptive Speed=0xFFFF,1 kHz=1000,2 kHz=2000,5 kHz=5000,10 kHz=10000,20 kHz=20000,"
    "50 kHz=50000,100 kHz=100000,200 kHz=200000,500 kHz=500000,1 MHz=1000000,2 MHz=2000000,"
    "3 MHz=3000000,4 MHz=4000000,5 MHz=5000000,8 MHz=8000000,10 MHz=10000000,12 MHz=12000000,"
    "15 MHz=15000000,20 MHz=20000000,25 MHz=25000000,50 MHz=50000000";
constexpr const char* RANGE_HSS_SPEED =
    "1 Hz=1,2 Hz=2,5 Hz=5,10 Hz=10,20 Hz=20,50 Hz=50,100 Hz=100,200 Hz=200,500 Hz=500,"
    "1 kHz=1000,2 kHz=2000,5 kHz=5000,10 kHz=10000,max=0";
constexpr const char* RANGE_POWER_SPEED =
    "1 kHz=1000,2 kHz=2000,4 kHz=4000,5 kHz=5000,10 kHz=10000,12.5 kHz=12500,20 kHz=20000,"
    "25 kHz=25000,33.3 kHz=33333,50 kHz=50000,100 kHz=100000";

constexpr SYS_VAR s_aRows[] = {
    {VAR_RESET_MODE, "VAR_RESET_MODE", "Reset mode", "ResetMode", SVT_SELECTION, 1, "",
     "Reset & Halt=0,Reset & Break At Symbol=1,Reset & Run=2", false},
    {VAR_CONNECT_MODE, "VAR_CONNECT_MODE", "Connection mode", "ConnectMode", SVT_SELECTION, 0, "",
     "Download & Reset Program=0,Attach to Running Program=1,Attach & Halt Program=2", false},
    {VAR_SEMIHOSTING_ENABLED, "VAR_SEMIHOSTING_ENABLED", "Enable / Disable semihosting io",
     "SemihostingEnabled", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {VAR_MEMLANE_ENABLED, "VAR_MEMLANE_ENABLED", "Enable / Disable Memlane", "MemlaneEnabled", SVT_SELECTION,
     0, "", RANGE_YES_NO, false},
    {VAR_TIF_SPEED, "VAR_TIF_SPEED", "Target interface speed", "TIFSpeedHZ", SVT_SELECTION, 0, "",
     RANGE_TIF_SPEED, false},
    {VAR_TIF_SCAN_CHAIN_POS, "VAR_TIF_SCAN_CHAIN_POS", "JTAG scan-chain position", "ScanChainPosition",
     SVT_SELECTION, 0, "", "0=0,1=1,2=2,3=3,4=4,5=5,6=6,7=7", false},
    {VAR_TIF_SCAN_CHAIN_LEN, "VAR_TIF_SCAN_CHAIN_LEN", "JTAG scan-chain length", "ScanChainLength", SVT_UINT,
     0, "", "SysVarMin=0,SysVarMax=1000000000", false},
    {VAR_SWO_CPU_SPEED, "VAR_SWO_CPU_SPEED", "SWO cpu frequency parameter", "SWOCpuSpeed", SVT_FREQ, 0, "",
     "SysVarMin=0,SysVarMax=2000000000", false},
    {VAR_SWO_SPEED, "VAR_SWO_SPEED", "SWO data transmission speed", "SWOSpeed", SVT_FREQ, 0, "",
     "SysVarMin=0,SysVarMax=2000000000", false},
    {VAR_ACCESS_WIDTH, "VAR_ACCESS_WIDTH", "Default memory access width", "MemoryAccessWidth", SVT_SELECTION,
     0, "", "Auto Access=0,Byte=1,HalfWord=2,Word=4", true},
    {VAR_BREAKPOINT_TYPE, "VAR_BREAKPOINT_TYPE", "Permitted breakpoint implementation type", "BreakpointType",
     SVT_SELECTION, 0, "", "Any=0,Hardware=1,Software=2", true},
    {VAR_VERIFY_DOWNLOAD, "VAR_VERIFY_DOWNLOAD", "Verify download of program images", "VerifyDownload",
     SVT_SELECTION, 1, "", RANGE_YES_NO, true},
    {VAR_BREAK_AT_THIS_SYMBOL, "VAR_BREAK_AT_THIS_SYMBOL", "Break at this symbol on debug session start",
     "BreakAtThisSymbol", SVT_STRING, 0, "main", RANGE_STRING, true},
    {VAR_HSS_SPEED, "VAR_HSS_SPEED", "Data graph sampling speed", "HSSSpeed", SVT_SELECTION, 1000, "",
     RANGE_HSS_SPEED, false},
    {VAR_POWER_SAMPLING_SPEED, "VAR_POWER_SAMPLING_SPEED", "Power sampling speed", "Power sampling speed",
     SVT_SELECTION, 10000, "", RANGE_POWER_SPEED, false},
    {VAR_ALLOW_BMA_EMULATION, "VAR_ALLOW_BMA_EMULATION", "Allow background memory access emulation",
     "AllowEmulationOfBMA", SVT_SELECTION, 0, "", RANGE_YES_NO, true},
    {VAR_MEM_ZONE_RUNNING, "VAR_MEM_ZONE_RUNNING", "Default memory zone accessed when the program is running",
     "MemZoneRunning", SVT_STRING, 0, "Default", RANGE_STRING, true},
    {VAR_TARGET_POWER_ON, "VAR_TARGET_POWER_ON", "Bryllo supplies power to the target", "TargetPowerOn",
     SVT_SELECTION, 0, "", RANGE_YES_NO, true},
    {VAR_TRACE_SOURCE, "VAR_TRACE_SOURCE", "Trace source", "TraceSource", SVT_SELECTION, 0, "",
     "None=0,Trace Pins=1,Trace Buffer=2,SWO=3", false},
    {VAR_TRACE_PORT_WIDTH, "VAR_TRACE_PORT_WIDTH", "Trace port width", "TracePortWidth", SVT_SELECTION, 4, "",
     "1 bit=1,2 bit=2,4 bit=4", false},
    {VAR_TRACE_OVERRIDE_TIMINGS, "VAR_TRACE_OVERRIDE_TIMINGS", "Override trace timings",
     "TraceOverrideTimings", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {VAR_TRACE_PORT_DELAY_0, "VAR_TRACE_PORT_DELAY_0", "Trace port data line 0 delay [ps]", "TracePortDelay0",
     SVT_INT, 2000, "", "SysVarMin=-100000,SysVarMax=100000", false},
    {VAR_TRACE_PORT_DELAY_1, "VAR_TRACE_PORT_DELAY_1", "Trace port data line 1 delay [ps]", "TracePortDelay1",
     SVT_INT, 2000, "", "SysVarMin=-100000,SysVarMax=100000", false},
    {VAR_TRACE_PORT_DELAY_2, "VAR_TRACE_PORT_DELAY_2", "Trace port data line 2 delay [ps]", "TracePortDelay2",
     SVT_INT, 2000, "", "SysVarMin=-100000,SysVarMax=100000", false},
    {VAR_TRACE_PORT_DELAY_3, "VAR_TRACE_PORT_DELAY_3", "Trace port data line 3 delay [ps]", "TracePortDelay3",
     SVT_INT, 2000, "", "SysVarMin=-100000,SysVarMax=100000", false},
    {VAR_TRACE_INIT_ON_ATTACH, "VAR_TRACE_INIT_ON_ATTACH",
     "Explicitly initialize trace cache on program attach", "TraceInitOnAttach", SVT_SELECTION, 1, "",
     RANGE_YES_NO, false},
    {VAR_TRACE_MAX_INST_CNT, "VAR_TRACE_MAX_INST_CNT", "Maximum number of traced instructions",
     "TraceMaxInstCnt", SVT_ULONGLONG, 10000000, "", "SysVarMin=0,SysVarMax=0xFFFFFFFFFFFFFFFF", false},
    {VAR_TRACE_FILE_ENABLED, "VAR_TRACE_FILE_ENABLED", "Enable / Disable trace file", "TraceFileEnabled",
     SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {VAR_TRACE_FILE_PATH, "VAR_TRACE_FILE_PATH", "Trace file path", "TraceFilePath", SVT_STRING, 0, "",
     RANGE_STRING, false},
    {VAR_TRACE_FILE_MAX_SIZE, "VAR_TRACE_FILE_MAX_SIZE", "Maximum trace file size (bytes)",
     "TraceFileMaxSize", SVT_ULONGLONG, 4000000000, "", "SysVarMin=0,SysVarMax=0xFFFFFFFFFFFFFFFF", false},
    {VAR_TRACE_FILE_KEEP_START, "VAR_TRACE_FILE_KEEP_START", "Stop recording when file size reached",
     "TraceFileKeepStart", SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {VAR_TRACE_TIMESTAMPS_ENABLED, "VAR_TRACE_TIMESTAMPS_ENABLED", "Enable / Disable ITM timestamps",
     "TraceTimeStampsEnabled", SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {VAR_TRACE_CORE_CLOCK, "VAR_TRACE_CORE_CLOCK", "CPU Clock [Hz]", "TraceCoreClock", SVT_ULONGLONG,
     100000000, "", "SysVarMin=0,SysVarMax=0xFFFFFFFFFFFFFFFF", false},
    {PREF_SHOW_EXPANSION_BAR, "PREF_SHOW_EXPANSION_BAR", "Show line expansion indicators",
     "Show line expansion bar", SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {PREF_SHOW_SIDEBAR_SRC, "PREF_SHOW_SIDEBAR_SRC", "Show sidebar in source viewer", "Show sidebar",
     SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {PREF_SHOW_SIDEBAR_ASM, "PREF_SHOW_SIDEBAR_ASM", "Show sidebar in disassembly window", "Show sidebar",
     SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {PREF_SHOW_SRC_CODE_PROFILE, "PREF_SHOW_SRC_CODE_PROFILE", "Show code profile in source viewer",
     "Show code profile", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_SHOW_ASM_CODE_PROFILE, "PREF_SHOW_ASM_CODE_PROFILE", "Show code profile in disassembly window",
     "Show code profile", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_SHOW_SYMBOL_ICONS, "PREF_SHOW_SYMBOL_ICONS", "Show symbol icons", "Show symbol icons",
     SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_SHOW_PROJECT_WARNINGS_DIALOG, "PREF_SHOW_PROJECT_WARNINGS_DIALOG",
     "Show a popup dialog when project settings are erroneous",
     "Show a popup dialog when project settings are erroneous", SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {PREF_INDENT_INLINE_ASSEMBLY, "PREF_INDENT_INLINE_ASSEMBLY", "Indent inline assembly code",
     "Indent inline assembly code", SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {PREF_LINE_NUMBER_FREQ, "PREF_LINE_NUMBER_FREQ", "Line number frequency", "Line number frequency",
     SVT_SELECTION, 2, "", "Off=0,Current Line=1,All Lines=2,Every 5 Lines=3,Every 10 Lines=4", false},
    {PREF_LOCK_HEADER_BAR, "PREF_LOCK_HEADER_BAR", "Lock header bar", "Lock header bar", SVT_SELECTION, 1, "",
     RANGE_YES_NO, false},
    {PREF_SHOW_ASM_SOURCE, "PREF_SHOW_ASM_SOURCE", "Show source code in disassembly", "Show source",
     SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {PREF_SHOW_ASM_LABELS, "PREF_SHOW_ASM_LABELS", "Show labels in disassembly", "Show labels", SVT_SELECTION,
     1, "", RANGE_YES_NO, false},
    {PREF_TAB_SPACING, "PREF_TAB_SPACING", "Source viewer tab spacing", "Tab spacing", SVT_SELECTION, 2, "",
     "0=0,1=1,2=2,3=3,4=4,5=5,6=6,7=7,8=8", false},
    {PREF_START_WITH_MOST_RECENT_PROJ, "PREF_START_WITH_MOST_RECENT_PROJ",
     "Open the most recent poject on startup", "Open the most recent project on startup", SVT_SELECTION, 0,
     "", RANGE_YES_NO, false},
    {PREF_PREPEND_FUNC_CLASS_NAMES, "PREF_PREPEND_FUNC_CLASS_NAMES", "Prepend class names to function names",
     "Prepend class names to function names", SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {PREF_SHOW_PROGBAR_WHILE_RUNNING, "PREF_SHOW_PROGBAR_WHILE_RUNNING", "Show progress bar while running",
     "Show progress bar while running", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_SHOW_CHAR_TEXT, "PREF_SHOW_CHAR_TEXT", "Show text value for (u)char", "(unsigned) char",
     SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {PREF_SHOW_SHORT_TEXT, "PREF_SHOW_SHORT_TEXT", "Show text value for (u)short", "(unsigned) short",
     SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_SHOW_INT_TEXT, "PREF_SHOW_INT_TEXT", "Show text value for (u)int", "(unsigned) int", SVT_SELECTION,
     0, "", RANGE_YES_NO, false},
    {PREF_SHOW_CHAR_PTR_TEXT, "PREF_SHOW_CHAR_PTR_TEXT", "Show text value for (u)char*", "(unsigned) char*",
     SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {PREF_SHOW_SHORT_PTR_TEXT, "PREF_SHOW_SHORT_PTR_TEXT", "Show text value for (u)short*",
     "(unsigned) short*", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_SHOW_INT_PTR_TEXT, "PREF_SHOW_INT_PTR_TEXT", "Show text value for (u)int*", "(unsigned) int*",
     SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_DIALOG_SHOW_DNSA, "PREF_DIALOG_SHOW_DNSA", "Show dialog option \"do not show again\"",
     "Show dialog option \"do not show again\"", SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {PREF_SHOW_HEX_BLOCKS, "PREF_SHOW_HEX_BLOCKS", "Divide big hexadecimal numbers into blocks",
     "Divide big hexadecimal numbers into blocks", SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {PREF_SHOW_TOOLTIPS, "PREF_SHOW_TOOLTIPS", "Show symbol tooltips", "Show symbol tooltips", SVT_SELECTION,
     1, "", RANGE_YES_NO, false},
    {PREF_RESIZE_COL_ON_EXPAND, "PREF_RESIZE_COL_ON_EXPAND", "Resize column when item is expanded",
     "Resize column when item is expanded", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_RESIZE_COL_ON_COLLAPSE, "PREF_RESIZE_COL_ON_COLLAPSE", "Resize column when item is collapsed",
     "Resize column when item is collapsed", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_FILTER_BARS_DISABLED, "PREF_FILTER_BARS_DISABLED", "Globally hide filter bars",
     "Globally hide filter bars", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_MAX_SYMBOL_MEMBERS, "PREF_MAX_SYMBOL_MEMBERS", "Symbol member count display limit",
     "Symbol member count display limit", SVT_UINT, 512, "", "SysVarMin=0,SysVarMax=100000", false},
    {PREF_SHOW_ENCODINGS_SRC, "PREF_SHOW_ENCODINGS_SRC", "Show instruction encodings in source viewer",
     "Show instruction encodings", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_SHOW_ENCODINGS_ASM, "PREF_SHOW_ENCODINGS_ASM", "Show instruction encodings in disassembly window",
     "Show instruction encodings", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_SHOW_ENCODINGS_ITRACE, "PREF_SHOW_ENCODINGS_ITRACE",
     "Show instruction encodings in instruction trace window", "Show instruction encodings", SVT_SELECTION, 0,
     "", RANGE_YES_NO, false},
    {PREF_TIMESTAMP_FORMAT, "PREF_TIMESTAMP_FORMAT", "Timestamps/Timescale", "Timestamps/Timescale",
     SVT_SELECTION, 3, "", "Off=0,Instruction Count=1,Cycles=2,Time=3", false},
    {PREF_RESTRICT_SRC_EDIT, "PREF_RESTRICT_SRC_EDIT", "Document editing restriction",
     "Document editing restriction", SVT_SELECTION, 0, "",
     "no restriction=0,not while debugging=1,never allow editing=2", false},
    {PREF_TERMINAL_EOL_FORMAT, "PREF_TERMINAL_EOL_FORMAT", "Terminal window newline input termination format",
     "Newline input termination format", SVT_SELECTION, 1, "",
     "Windows format (CR+LF)=0,Unix format (LF)=1,Mac format (CR)=2,None=3", false},
    {PREF_TERMINAL_ECHO_INPUT, "PREF_TERMINAL_ECHO_INPUT", "Terminal window echo input", "Echo input",
     SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_TERMINAL_ZERO_TERM_INPUT, "PREF_TERMINAL_ZERO_TERM_INPUT", "Terminal zero terminate input",
     "Zero-terminate input", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_TERMINAL_NO_CONTROL_CHARS, "PREF_TERMINAL_NO_CONTROL_CHARS",
     "Suppress control characters in terminal window", "Supress control characters", SVT_SELECTION, 1, "",
     RANGE_YES_NO, false},
    {PREF_TERMINAL_CLEAR_ON_RESET, "PREF_TERMINAL_CLEAR_ON_RESET", "Clear window when program is reset",
     "Clear on reset", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_TERMINAL_CAPTURE_SIZE_LIMIT, "PREF_TERMINAL_CAPTURE_SIZE_LIMIT",
     "Terminal window capture size limit", "Data limit (KB)", SVT_UINT, 10000, "",
     "SysVarMin=0,SysVarMax=0xFFFFFFFF", false},
    {PREF_SHOW_TIMESTAMPS_CONSOLE, "PREF_SHOW_TIMESTAMPS_CONSOLE", "Show timestamps in console window",
     "Show timestamps", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_RESET_DIALOG_DNSA, "PREF_RESET_DIALOG_DNSA", "Reset all dialog options \"do not show again\"",
     "Reset all dialog options \"do not show again\"", SVT_SELECTION, 0, "", RANGE_YES_NO, false},
    {PREF_SESSION_SAVE_FLAGS, "PREF_SESSION_SAVE_FLAGS", "Session information not to be saved",
     "Session information not to be safed", SVT_UINT, 0, "", "SysVarMin=0,SysVarMax=0xFFFFFFFF", false},
    {PREF_TIMELINE_TOOLTIPS, "PREF_TIMELINE_TOOLTIPS", "Tooltips", "Tooltips", SVT_SELECTION, 7, "",
     "None=0,Only Sample Cursor=1,Only Hover Cursor=2,Sample + Hover Cursor=3,Only Reference Cursor=4,Sample "
     "+ Reference Cursor=5,Hover + Reference Cursor=6,All=7",
     false},
    {PREF_CALLSTACK_LAYOUT, "PREF_CALLSTACK_LAYOUT", "Callstack Layout", "Callstack Layout", SVT_SELECTION, 0,
     "", "Current Frame at Top=0,Current Frame at Bottom=1", false},
    {PREF_CALLSTACK_DEPTH_LIMIT, "PREF_CALLSTACK_DEPTH_LIMIT", "Callstack Depth Limit",
     "Callstack Depth Limit", SVT_UINT, 50, "", "SysVarMin=0,SysVarMax=100000", false},
    {PREF_CG_GROUP_BY_ROOT_FUNCS, "PREF_CG_GROUP_BY_ROOT_FUNCS", "Group by root functions",
     "Group by root functions", SVT_SELECTION, 1, "", RANGE_YES_NO, false},
    {PREF_MAX_POWER_SAMPLES, "PREF_MAX_POWER_SAMPLES", "Maximum sample count", "Maximum sample count",
     SVT_ULONGLONG, 1000000, "", "SysVarMin=0,SysVarMax=0xFFFFFFFFFFFFFFFF", false},
    {PREF_HEX_BLOCK_SEPARATOR, "PREF_HEX_BLOCK_SEPARATOR", "Hexadecimal block separator",
     "Hexadecimal block separator", SVT_SELECTION, 0, "", RANGE_SEPARATOR, false},
    {PREF_DEC_BLOCK_SEPARATOR, "PREF_DEC_BLOCK_SEPARATOR", "Decimal block separator",
     "Decimal block separator", SVT_SELECTION, 0, "", RANGE_SEPARATOR, false},
    {PREF_BIN_BLOCK_SEPARATOR, "PREF_BIN_BLOCK_SEPARATOR", "Binary block separator", "Binary block separator",
     SVT_SELECTION, 0, "", RANGE_SEPARATOR, false},
};

constexpr bool SameText(const char* a, const char* b)
{
    for (; *a && *a == *b; ++a, ++b) {
    }
    return *a == *b;
}
constexpr bool RowsAreInOrder()
{
    for (int i = 0; i < NUM_SYS_VARS; ++i) {
        if (s_aRows[i].Index != i) {
            return false;
        }
        for (int k = 0; k < i; ++k) {
            if (SameText(s_aRows[i].Name, s_aRows[k].Name)) {
                return false;
            }
        }
    }
    return true;
}
static_assert(sizeof(s_aRows) / sizeof(s_aRows[0]) == NUM_SYS_VARS);
static_assert(RowsAreInOrder(), "a row stands at its index, and names are unique");
} // namespace

const SYS_VAR* GetSysVarRows()
{
    return s_aRows;
}
