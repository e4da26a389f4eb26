#include "views/settings/preferencepages.h"

namespace {
constexpr PREFERENCE_PAGE s_aPages[] = {
    {PAGE_GENERAL, -1, "General"},
    {PAGE_APPLICATION, PAGE_GENERAL, "Application"},
    {PAGE_CALLSTACK, PAGE_GENERAL, "Callstack Window"},
    {PAGE_CALLGRAPH, PAGE_GENERAL, "Callgraph Window"},
    {PAGE_CONSOLE, PAGE_GENERAL, "Console Window"},
    {PAGE_DISASSEMBLY, PAGE_GENERAL, "Disassembly Window"},
    {PAGE_FUNCTIONS, PAGE_GENERAL, "Functions Window"},
    {PAGE_INST_TRACE, PAGE_GENERAL, "Instruction Trace Window"},
    {PAGE_POWER_GRAPH, PAGE_GENERAL, "Power Graph Window"},
    {PAGE_SOURCE, PAGE_GENERAL, "Source Viewer"},
    {PAGE_TABLES, PAGE_GENERAL, "Table Windows"},
    {PAGE_TERMINAL, PAGE_GENERAL, "Terminal Window"},
    {PAGE_TIMELINE, PAGE_GENERAL, "Timeline Window"},
    {PAGE_APPEARANCE, -1, "Appearance"},
    {PAGE_FONTS, PAGE_APPEARANCE, "Fonts"},
    {PAGE_COLORS, PAGE_APPEARANCE, "Colors"},
};

constexpr PREFERENCE_ROW s_aRows[] = {
    {PAGE_APPLICATION, "Startup", PREF_START_WITH_MOST_RECENT_PROJ},
    {PAGE_APPLICATION, "Startup", PREF_SHOW_PROJECT_WARNINGS_DIALOG},
    {PAGE_APPLICATION, "Dialogs", PREF_DIALOG_SHOW_DNSA},
    {PAGE_APPLICATION, "Dialogs", PREF_RESET_DIALOG_DNSA},
    {PAGE_APPLICATION, "Status Bar", PREF_SHOW_PROGBAR_WHILE_RUNNING},
    {PAGE_APPLICATION, "Numbers", PREF_SHOW_HEX_BLOCKS},
    {PAGE_APPLICATION, "Numbers", PREF_HEX_BLOCK_SEPARATOR},
    {PAGE_APPLICATION, "Numbers", PREF_DEC_BLOCK_SEPARATOR},
    {PAGE_APPLICATION, "Numbers", PREF_BIN_BLOCK_SEPARATOR},
    {PAGE_APPLICATION, "Session", PREF_SESSION_SAVE_FLAGS},
    {PAGE_CALLSTACK, "Call Stack", PREF_CALLSTACK_LAYOUT},
    {PAGE_CALLSTACK, "Call Stack", PREF_CALLSTACK_DEPTH_LIMIT},
    {PAGE_CALLGRAPH, "Call Graph", PREF_CG_GROUP_BY_ROOT_FUNCS},
    {PAGE_CONSOLE, "Console", PREF_SHOW_TIMESTAMPS_CONSOLE},
    {PAGE_DISASSEMBLY, "Content", PREF_SHOW_ASM_SOURCE},
    {PAGE_DISASSEMBLY, "Content", PREF_SHOW_ASM_LABELS},
    {PAGE_DISASSEMBLY, "Content", PREF_SHOW_ENCODINGS_ASM},
    {PAGE_DISASSEMBLY, "Margin", PREF_SHOW_SIDEBAR_ASM},
    {PAGE_DISASSEMBLY, "Margin", PREF_SHOW_ASM_CODE_PROFILE},
    {PAGE_FUNCTIONS, "Names", PREF_PREPEND_FUNC_CLASS_NAMES},
    {PAGE_INST_TRACE, "Instructions", PREF_SHOW_ENCODINGS_ITRACE},
    {PAGE_INST_TRACE, "Instructions", PREF_TIMESTAMP_FORMAT},
    {PAGE_POWER_GRAPH, "Samples", PREF_MAX_POWER_SAMPLES},
    {PAGE_SOURCE, "Editor", PREF_TAB_SPACING},
    {PAGE_SOURCE, "Editor", PREF_RESTRICT_SRC_EDIT},
    {PAGE_SOURCE, "Editor", PREF_SHOW_TOOLTIPS},
    {PAGE_SOURCE, "Editor", PREF_LOCK_HEADER_BAR},
    {PAGE_SOURCE, "Margin", PREF_SHOW_SIDEBAR_SRC},
    {PAGE_SOURCE, "Margin", PREF_LINE_NUMBER_FREQ},
    {PAGE_SOURCE, "Margin", PREF_SHOW_EXPANSION_BAR},
    {PAGE_SOURCE, "Margin", PREF_SHOW_SRC_CODE_PROFILE},
    {PAGE_SOURCE, "Inline Assembly", PREF_INDENT_INLINE_ASSEMBLY},
    {PAGE_SOURCE, "Inline Assembly", PREF_SHOW_ENCODINGS_SRC},
    {PAGE_TABLES, "Rows and Columns", PREF_SHOW_SYMBOL_ICONS},
    {PAGE_TABLES, "Rows and Columns", PREF_RESIZE_COL_ON_EXPAND},
    {PAGE_TABLES, "Rows and Columns", PREF_RESIZE_COL_ON_COLLAPSE},
    {PAGE_TABLES, "Rows and Columns", PREF_FILTER_BARS_DISABLED},
    {PAGE_TABLES, "Rows and Columns", PREF_MAX_SYMBOL_MEMBERS},
    {PAGE_TABLES, "Show Text Value for", PREF_SHOW_CHAR_TEXT},
    {PAGE_TABLES, "Show Text Value for", PREF_SHOW_SHORT_TEXT},
    {PAGE_TABLES, "Show Text Value for", PREF_SHOW_INT_TEXT},
    {PAGE_TABLES, "Show Text Value for", PREF_SHOW_CHAR_PTR_TEXT},
    {PAGE_TABLES, "Show Text Value for", PREF_SHOW_SHORT_PTR_TEXT},
    {PAGE_TABLES, "Show Text Value for", PREF_SHOW_INT_PTR_TEXT},
    {PAGE_TERMINAL, "Input", PREF_TERMINAL_EOL_FORMAT},
    {PAGE_TERMINAL, "Input", PREF_TERMINAL_ECHO_INPUT},
    {PAGE_TERMINAL, "Input", PREF_TERMINAL_ZERO_TERM_INPUT},
    {PAGE_TERMINAL, "Output", PREF_TERMINAL_NO_CONTROL_CHARS},
    {PAGE_TERMINAL, "Output", PREF_TERMINAL_CLEAR_ON_RESET},
    {PAGE_TERMINAL, "Output", PREF_TERMINAL_CAPTURE_SIZE_LIMIT},
    {PAGE_TIMELINE, "Timeline", PREF_TIMELINE_TOOLTIPS},
};

constexpr bool PagesAreInOrder()
{
    for (int i = 0; i < NUM_PREFERENCE_PAGES; i++)
        if (s_aPages[i].ID != i || s_aPages[i].Parent >= i) return false;
    return true;
}
constexpr bool EveryPreferenceHasItsRow()
{
    for (int VarID = FIRST_PREFERENCE; VarID < NUM_SYS_VARS; VarID++) {
        int Count = 0;
        for (const PREFERENCE_ROW& Row : s_aRows) Count += Row.VarID == VarID;
        if (Count != 1) return false;
    }
    return true;
}
static_assert(sizeof(s_aPages) / sizeof(s_aPages[0]) == NUM_PREFERENCE_PAGES && PagesAreInOrder());
static_assert(sizeof(s_aRows) / sizeof(s_aRows[0]) == NUM_PREFERENCE_ROWS && EveryPreferenceHasItsRow());
} // namespace

const PREFERENCE_PAGE* GetPreferencePages()
{
    return s_aPages;
}

const PREFERENCE_ROW* GetPreferenceRows()
{
    return s_aRows;
}
