// Menus, tool bars and window places of the main window as tables. An entry is an action id, the separator
// or the end; sub-menus are menus of their own, named by the entry that opens them.
#pragma once
#include "app/actions/actionids.h"

inline constexpr int MENU_SEPARATOR = -1;
inline constexpr int MENU_SUBMENU = -1000; ///< minus the index of the sub-menu in MENUS

enum MENU_INDEX : int {
    MENU_FILE,
    MENU_FILE_NEW,
    MENU_RECENT_PROJECTS,
    MENU_RECENT_PROGRAMS,
    MENU_EXPORT,
    MENU_VIEW,
    MENU_TOOLBARS,
    MENU_FIND,
    MENU_DEBUG,
    MENU_CONNECT,
    MENU_RESET,
    MENU_TOOLS,
    MENU_WINDOW,
    MENU_HELP,
    NUM_MENUS,
};

constexpr int SubMenu(MENU_INDEX Index)
{
    return MENU_SUBMENU - Index;
}

struct MENU_LAYOUT {
    MENU_INDEX Index;
    const char* ObjectName;
    const char* Text;
    bool OnBar;            ///< stands on the menu bar, in this table's order
    const int* aEntries;
    int NumEntries;
};

inline constexpr int MENU_ENTRIES_FILE[] = {
    SubMenu(MENU_FILE_NEW), ACT_FILE_OPEN, MENU_SEPARATOR,
    ACT_FILE_SAVE, ACT_FILE_SAVE_PROJECT_AS, ACT_FILE_SAVE_ALL, MENU_SEPARATOR,
    SubMenu(MENU_RECENT_PROJECTS), SubMenu(MENU_RECENT_PROGRAMS), MENU_SEPARATOR,
    SubMenu(MENU_EXPORT), MENU_SEPARATOR, ACT_FILE_EXIT};
inline constexpr int MENU_ENTRIES_FILE_NEW[] = {ACT_FILE_NEW_PROJECT, MENU_SEPARATOR, ACT_FILE_NEW_PROJECT_WIZARD};
inline constexpr int MENU_ENTRIES_EXPORT[] = {ACT_FILE_EXPORT_DISASSEMBLY};
inline constexpr int MENU_ENTRIES_VIEW[] = {
    MENU_SEPARATOR, ACT_WINDOW_SHOW_BREAKPOINTS, ACT_WINDOW_SHOW_CALL_STACK, ACT_WINDOW_SHOW_DISASSEMBLY,
    ACT_WINDOW_SHOW_GLOBAL_DATA, ACT_WINDOW_SHOW_LOCAL_DATA, ACT_WINDOW_SHOW_MEMORY,
    ACT_WINDOW_SHOW_REGISTERS, ACT_WINDOW_SHOW_TERMINAL, ACT_WINDOW_SHOW_WATCHED_DATA, MENU_SEPARATOR,
    ACT_WINDOW_SHOW_CODE_PROFILE, ACT_WINDOW_SHOW_DATA_GRAPH, ACT_WINDOW_SHOW_INSTR_TRACE,
    ACT_WINDOW_SHOW_POWER_GRAPH, ACT_WINDOW_SHOW_TIMELINE, MENU_SEPARATOR,
    ACT_WINDOW_SHOW_CALL_GRAPH, ACT_WINDOW_SHOW_FIND_RESULTS, ACT_WINDOW_SHOW_FUNCTIONS,
    ACT_WINDOW_SHOW_MEMORY_USAGE, ACT_WINDOW_SHOW_SRC_FILES, MENU_SEPARATOR,
    ACT_WINDOW_SHOW_CONSOLE, ACT_WINDOW_SHOW_BRYLLO_WEB_CONTROL, MENU_SEPARATOR,
    SubMenu(MENU_TOOLBARS), ACT_WINDOW_SHOW_FULL_SCREEN};
inline constexpr int MENU_ENTRIES_TOOLBARS[] = {ACT_TOOLBAR_SHOW_BREAKPOINTS, ACT_TOOLBAR_SHOW_DEBUG,
                                                ACT_TOOLBAR_SHOW_FILE, ACT_TOOLBAR_SHOW_VIEWS};
inline constexpr int MENU_ENTRIES_FIND[] = {ACT_FIND_TEXT, ACT_FIND_FUNC, ACT_FIND_GLOBAL_DATA};
inline constexpr int MENU_ENTRIES_DEBUG[] = {
    SubMenu(MENU_CONNECT), ACT_DEBUG_STOP, ACT_DEBUG_CONTINUE, ACT_DEBUG_HALT, SubMenu(MENU_RESET), MENU_SEPARATOR,
    ACT_DEBUG_STEP_OVER, ACT_DEBUG_STEP_INTO, ACT_DEBUG_STEP_OUT};
inline constexpr int MENU_ENTRIES_CONNECT[] = {ACT_DEBUG_DOWNLOAD_RESET, ACT_DEBUG_ATTACH, ACT_DEBUG_ATTACH_HALT};
inline constexpr int MENU_ENTRIES_RESET[] = {ACT_DEBUG_RESET_BREAK_AT_SYMBOL, ACT_DEBUG_RESET_HALT,
                                             ACT_DEBUG_RESET_RUN};
inline constexpr int MENU_ENTRIES_TOOLS[] = {ACT_TOOLS_BRYLLO_SETTINGS, ACT_TOOLS_TRACE_SETTINGS,
                                             ACT_TOOLS_PREFERENCES, ACT_TOOLS_SYS_VARS};
inline constexpr int MENU_ENTRIES_HELP[] = {ACT_HELP_USER_GUIDE, ACT_HELP_COMMANDS, MENU_SEPARATOR, ACT_HELP_ABOUT};

template <int N> constexpr MENU_LAYOUT MakeMenu(MENU_INDEX Index, const char* sName, const char* sText, bool OnBar,
                                                const int (&aEntries)[N])
{
    return {Index, sName, sText, OnBar, aEntries, N};
}

inline constexpr MENU_LAYOUT MENUS[] = {
    MakeMenu(MENU_FILE, "menuFile", "&File", true, MENU_ENTRIES_FILE),
    MakeMenu(MENU_FILE_NEW, "menuFileNew", "&New", false, MENU_ENTRIES_FILE_NEW),
    {MENU_RECENT_PROJECTS, "menuFileRecentProjects", "&Recent Projects", false, nullptr, 0},
    {MENU_RECENT_PROGRAMS, "menuFileRecentPrograms", "Re&cent Programs", false, nullptr, 0},
    MakeMenu(MENU_EXPORT, "menuExport", "&Export", false, MENU_ENTRIES_EXPORT),
    MakeMenu(MENU_VIEW, "menuView", "&View", true, MENU_ENTRIES_VIEW),
    MakeMenu(MENU_TOOLBARS, "menuViewToolbars", "Toolbars", false, MENU_ENTRIES_TOOLBARS),
    MakeMenu(MENU_FIND, "menuFind", "Fi&nd", true, MENU_ENTRIES_FIND),
    MakeMenu(MENU_DEBUG, "menu_Debug", "&Debug", true, MENU_ENTRIES_DEBUG),
    MakeMenu(MENU_CONNECT, "menuConnect", "&Start Debugging", false, MENU_ENTRIES_CONNECT),
    MakeMenu(MENU_RESET, "menuReset", "&Reset", false, MENU_ENTRIES_RESET),
    MakeMenu(MENU_TOOLS, "menuTools", "&Tools", true, MENU_ENTRIES_TOOLS),
    {MENU_WINDOW, "menuWindow", "&Window", true, nullptr, 0},
    MakeMenu(MENU_HELP, "menu_Help", "&Help", true, MENU_ENTRIES_HELP),
};
static_assert(sizeof(MENUS) / sizeof(MENUS[0]) == NUM_MENUS);

struct TOOLBAR_LAYOUT {
    const char* ObjectName;
    const char* Title;
    const char* SettingsKey;
    bool ShownAtFirst;
    int ToggleAction;
    const int* aEntries;
    int NumEntries;
};

inline constexpr int TOOLBAR_ENTRIES_FILE[] = {ACT_FILE_NEW_PROJECT, ACT_FILE_OPEN, ACT_FILE_SAVE_ALL};
inline constexpr int TOOLBAR_ENTRIES_DEBUG[] = {ACT_DEBUG_START, ACT_DEBUG_STOP, ACT_DEBUG_CONTINUE, ACT_DEBUG_HALT,
                                                ACT_DEBUG_RESET, ACT_DEBUG_STEP_OVER,
                                                ACT_DEBUG_STEP_INTO, ACT_DEBUG_STEP_OUT};
inline constexpr int TOOLBAR_ENTRIES_BREAK[] = {ACT_BREAK_SET_ON_SRC, ACT_BREAK_CLEAR_ALL,
                                                ACT_BREAK_SET_ON_DATA, ACT_BREAK_CLEAR_ALL_ON_DATA,
                                                ACT_TRACE_SET_POINT, ACT_TRACE_CLEAR_ALL_POINTS};
/// The window actions of the view menu; its first separator and the tail (tool bars, full screen) are left out.
inline constexpr int NUM_VIEW_TOOLBAR_ENTRIES = sizeof(MENU_ENTRIES_VIEW) / sizeof(int) - 4;

enum TOOLBAR_INDEX : int { TOOLBAR_FILE, TOOLBAR_VIEW, TOOLBAR_DEBUG, TOOLBAR_BREAKPOINTS, NUM_TOOLBARS };
inline constexpr TOOLBAR_LAYOUT TOOLBARS[] = {
    {"toolBarFile", "File", "ToolbarFileState", false, ACT_TOOLBAR_SHOW_FILE, TOOLBAR_ENTRIES_FILE, 3},
    {"toolBarView", "View", "ToolbarWindowState", false, ACT_TOOLBAR_SHOW_VIEWS, MENU_ENTRIES_VIEW + 1,
     NUM_VIEW_TOOLBAR_ENTRIES},
    {"toolBarDebug", "Debug", "ToolbarDebugState", true, ACT_TOOLBAR_SHOW_DEBUG, TOOLBAR_ENTRIES_DEBUG, 8},
    {"toolBarBreakpoints", "Breakpoints", "ToolbarBreakpointState", false, ACT_TOOLBAR_SHOW_BREAKPOINTS,
     TOOLBAR_ENTRIES_BREAK, 6},
};
static_assert(sizeof(TOOLBARS) / sizeof(TOOLBARS[0]) == NUM_TOOLBARS);

/// The window that a show action shows, by the name that Window.Show takes.
struct SHOW_ACTION {
    int ID;
    const char* Window;
};
inline constexpr SHOW_ACTION SHOW_ACTIONS[] = {
    {ACT_WINDOW_SHOW_REGISTERS, "Registers"},
    {ACT_WINDOW_SHOW_DISASSEMBLY, "Disassembly"},
    {ACT_WINDOW_SHOW_FIND_RESULTS, "Find Results"},
    {ACT_WINDOW_SHOW_FUNCTIONS, "Functions"},
    {ACT_WINDOW_SHOW_CALL_GRAPH, "Call Graph"},
    {ACT_WINDOW_SHOW_CODE_PROFILE, "Code Profile"},
    {ACT_WINDOW_SHOW_DATA_GRAPH, "Data Graph"},
    {ACT_WINDOW_SHOW_INSTR_TRACE, "Instruction Trace"},
    {ACT_WINDOW_SHOW_MEMORY, "Memory"},
    {ACT_WINDOW_SHOW_MEMORY_USAGE, "Memory Usage"},
    {ACT_WINDOW_SHOW_BREAKPOINTS, "Break & Tracepoints"},
    {ACT_WINDOW_SHOW_CONSOLE, "Console"},
    {ACT_WINDOW_SHOW_TERMINAL, "Terminal"},
    {ACT_WINDOW_SHOW_TIMELINE, "Timeline"},
    {ACT_WINDOW_SHOW_SRC_FILES, "Source Files"},
    {ACT_WINDOW_SHOW_CALL_STACK, "Call Stack"},
    {ACT_WINDOW_SHOW_WATCHED_DATA, "Watched Data"},
    {ACT_WINDOW_SHOW_GLOBAL_DATA, "Global Data"},
    {ACT_WINDOW_SHOW_LOCAL_DATA, "Local Data"},
    {ACT_WINDOW_SHOW_BRYLLO_WEB_CONTROL, "Bryllo Control Panel"},
    {ACT_WINDOW_SHOW_POWER_GRAPH, "Power Graph"},
};

/// Text and icon of the main window's actions in menus and tool bars; every other action shows its command's name.
/// The window menu has the letters of the view menu for its windows, which leaves few for its commands.
struct ACTION_LOOK {
    int ID;
    const char* Text;
    const char* Icon; ///< name without folder and extension, empty for none
};
inline constexpr ACTION_LOOK ACTION_LOOKS[] = {
    {ACT_FILE_NEW_PROJECT, "&New Project", "document-new"},
    {ACT_FILE_NEW_PROJECT_WIZARD, "New Project &Wizard...", "document-import"},
    {ACT_FILE_OPEN, "&Open...", "folder-open"},
    {ACT_FILE_SAVE, "&Save", "disk"},
    {ACT_FILE_SAVE_PROJECT_AS, "Save Project &As...", ""},
    {ACT_FILE_SAVE_ALL, "Save A&ll", "disks"},
    {ACT_FILE_EXPORT_DISASSEMBLY, "&Disassembly...", ""},
    {ACT_FILE_EXIT, "E&xit", ""},
    {ACT_FILE_CLOSE, "Close Document", ""},
    {ACT_FILE_CLOSE_ALL, "Close All Documents", ""},
    {ACT_FILE_CLOSE_ALL_UNEDITED, "Close All Unedited", ""},
    {ACT_FIND_TEXT, "Find &Text", "magnifier"},
    {ACT_FIND_FUNC, "Find &Function", "function-single"},
    {ACT_FIND_GLOBAL_DATA, "Find &Global Data", "window-globals"},
    {ACT_DEBUG_START, "&Start Debug Session", "control-power-green"},
    {ACT_DEBUG_STOP, "St&op Debug Session", "control-power-red"},
    {ACT_DEBUG_CONTINUE, "&Continue", "control"},
    {ACT_DEBUG_HALT, "&Halt", "control-pause"},
    {ACT_DEBUG_RESET, "&Reset", "reset"},
    {ACT_DEBUG_STEP_INTO, "Step &Into", "arrow-step"},
    {ACT_DEBUG_STEP_OVER, "Step O&ver", "arrow-step-over"},
    {ACT_DEBUG_STEP_OUT, "Step O&ut", "arrow-step-out"},
    {ACT_DEBUG_DOWNLOAD_RESET, "&Download && Reset Program", "control-power-green"},
    {ACT_DEBUG_ATTACH, "&Attach to Running Program", "control-green"},
    {ACT_DEBUG_ATTACH_HALT, "Attach && &Halt Program", "control-cursor-green"},
    {ACT_DEBUG_RESET_BREAK_AT_SYMBOL, "Reset && &Break at Symbol", "arrow-stop-180"},
    {ACT_DEBUG_RESET_HALT, "Reset && &Halt", "reset"},
    {ACT_DEBUG_RESET_RUN, "Reset && &Run", "reset-program"},
    {ACT_TOOLS_BRYLLO_SETTINGS, "&Bryllo Settings...", ""},
    {ACT_TOOLS_TRACE_SETTINGS, "&Trace Settings...", ""},
    {ACT_TOOLS_PREFERENCES, "&Preferences...", "gear"},
    {ACT_TOOLS_SYS_VARS, "&System Variables...", "edit-mathematics"},
    {ACT_HELP_USER_GUIDE, "&User Guide", "help"},
    {ACT_HELP_COMMANDS, "&Commands", ""},
    {ACT_HELP_ABOUT, "&About", ""},
    {ACT_WINDOW_SHOW_BREAKPOINTS, "&Break && Tracepoints", "window-breakpoints"},
    {ACT_WINDOW_SHOW_CALL_STACK, "Call Stac&k", "window-callstack"},
    {ACT_WINDOW_SHOW_DISASSEMBLY, "&Disassembly", "window-disassembly"},
    {ACT_WINDOW_SHOW_GLOBAL_DATA, "&Global Data", "window-globals"},
    {ACT_WINDOW_SHOW_LOCAL_DATA, "&Local Data", "window-locals"},
    {ACT_WINDOW_SHOW_MEMORY, "&Memory", "window-memory"},
    {ACT_WINDOW_SHOW_REGISTERS, "&Registers", "window-registers"},
    {ACT_WINDOW_SHOW_TERMINAL, "&Terminal", "window-terminal"},
    {ACT_WINDOW_SHOW_WATCHED_DATA, "&Watched Data", "window-watches"},
    {ACT_WINDOW_SHOW_CODE_PROFILE, "Code &Profile", "window-codeprofile"},
    {ACT_WINDOW_SHOW_DATA_GRAPH, "Data Graph", "window-datagraph"},
    {ACT_WINDOW_SHOW_INSTR_TRACE, "&Instruction Trace", "window-instrtrace"},
    {ACT_WINDOW_SHOW_POWER_GRAPH, "Power Gr&aph", "window-powergraph"},
    {ACT_WINDOW_SHOW_TIMELINE, "Timeli&ne", "window-timeline"},
    {ACT_WINDOW_SHOW_CALL_GRAPH, "Call Grap&h", "window-callgraph"},
    {ACT_WINDOW_SHOW_FIND_RESULTS, "Find R&esults", "window-findresults"},
    {ACT_WINDOW_SHOW_FUNCTIONS, "&Functions", "window-functions"},
    {ACT_WINDOW_SHOW_MEMORY_USAGE, "Memory &Usage", "window-memusage"},
    {ACT_WINDOW_SHOW_SRC_FILES, "S&ource Files", "window-srcfiles"},
    {ACT_WINDOW_SHOW_CONSOLE, "&Console", "window-console"},
    {ACT_WINDOW_SHOW_BRYLLO_WEB_CONTROL, "Bryllo Control Panel", "window-control-panel"},
    {ACT_WINDOW_SHOW_FULL_SCREEN, "Full &Screen", "window-source"},
    {ACT_WINDOW_CLOSE, "Clo&se Window", ""},
    {ACT_WINDOW_CLOSE_ALL, "Close All Windows", ""},
    {ACT_WINDOW_DOCK, "Dock", ""},
    {ACT_WINDOW_UNDOCK, "Undock", ""},
    {ACT_TOOLBAR_SHOW_FILE, "&File", ""},
    {ACT_TOOLBAR_SHOW_DEBUG, "&Debug", ""},
    {ACT_TOOLBAR_SHOW_VIEWS, "&View", ""},
    {ACT_TOOLBAR_SHOW_BREAKPOINTS, "&Breakpoints", ""},
    {ACT_BREAK_SET_ON_SRC, "Set &Breakpoint", "breakpoint-set"},
    {ACT_BREAK_CLEAR_ALL, "Clear All Breakpoints", "breakpoint-clear-all"},
    {ACT_BREAK_SET_ON_DATA, "Set &Data Breakpoint", "watchpoint-set"},
    {ACT_BREAK_CLEAR_ALL_ON_DATA, "Clear All Data Breakpoints", "watchpoint-clear-all"},
    {ACT_TRACE_SET_POINT, "Set &Tracepoint", "tracepoint-set"},
    {ACT_TRACE_CLEAR_ALL_POINTS, "Clear All Tracepoints", "tracepoint-clear-all"},
};
