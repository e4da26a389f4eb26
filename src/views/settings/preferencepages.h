// Which preference stands on which page of the preferences dialog, in which group. Data only.
#pragma once
#include "project/settings/settingids.h"

enum PREFERENCE_PAGES : int {
    PAGE_GENERAL, ///< head of the pages below; shows the first of them
    PAGE_APPLICATION,
    PAGE_CALLSTACK,
    PAGE_CALLGRAPH,
    PAGE_CONSOLE,
    PAGE_DISASSEMBLY,
    PAGE_FUNCTIONS,
    PAGE_INST_TRACE,
    PAGE_POWER_GRAPH,
    PAGE_SOURCE,
    PAGE_TABLES,
    PAGE_TERMINAL,
    PAGE_TIMELINE,
    PAGE_APPEARANCE, ///< head of the pages below
    PAGE_FONTS,
    PAGE_COLORS,
    NUM_PREFERENCE_PAGES,
};

struct PREFERENCE_PAGE {
    int ID;
    int Parent;        ///< page of the head, -1 at the top
    const char* Title; ///< entry of the tree
};

/// A control of a page. Rows with the same page and group follow each other.
struct PREFERENCE_ROW {
    int Page;
    const char* Group; ///< title of the group box
    int VarID;
};

/// NUM_PREFERENCE_PAGES rows, a row at its id.
const PREFERENCE_PAGE* GetPreferencePages();
/// One row a preference, NUM_PREFERENCE_ROWS in all.
const PREFERENCE_ROW* GetPreferenceRows();
inline constexpr int NUM_PREFERENCE_ROWS = NUM_SYS_VARS - FIRST_PREFERENCE;
