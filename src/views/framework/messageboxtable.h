// Titles, texts, buttons and memory modes of the standard boxes, a row a box in the order of MSGBOX_IDS.
#pragma once
#include "views/framework/messagebox.h"

#include <array>

inline constexpr const char* PRODUCT_TITLE = "Vantrel - The Bryllo Debugger";

struct MSGBOX_ROW {
    MSGBOX_IDS ID;
    const char* sTitle; ///< empty = the caller's title
    const char* sText;  ///< "%1" stands for the caller's text
    const char* sIcon;
    int Buttons;
    int Mode;
    bool HasThird; ///< offers "Yes and do not show again" as a third button
};

inline constexpr int BUTTONS_YES_NO = int(QDialogButtonBox::Yes) | int(QDialogButtonBox::No);
inline constexpr int BUTTONS_YES_NO_CANCEL = BUTTONS_YES_NO | int(QDialogButtonBox::Cancel);
inline constexpr int BUTTONS_OK = int(QDialogButtonBox::Ok);

inline constexpr std::array<MSGBOX_ROW, NUM_MSGBOXES> aMsgBoxes{{
    {MSGBOX_RESET_CODE_PROFILE, "Reset Code Profile", "Reset Execution Counters and Profiling Data?", "",
     BUTTONS_YES_NO, MSGBOX_MODE_REMEMBER, false},
    {MSGBOX_INST_CACHE_NOT_INITIALIZED, "Instruction Cache not Initialized",
     "The Bryllo firmware reports that its instruction cache is not initialized.\n"
     "This is probably due to the fact that no program file was specified.\n\n"
     "An uninitialized cache will lead to inaccuarate instruction trace data.\n\n"
     "Please use command \"Debug.ReadIntoInstCache\" to initialize the cache manually",
     "", BUTTONS_OK, MSGBOX_MODE_REMEMBER, false},
    {MSGBOX_SETTING_LOCKED, "", "This setting cannot be edited while debugging", "", BUTTONS_OK,
     MSGBOX_MODE_NONE, false},
    {MSGBOX_RELOAD_PROGRAM, "Reload Program File",
     "The program file has been modified by another application.<br>Do you want to reload it?", "",
     BUTTONS_YES_NO, MSGBOX_MODE_REMEMBER, false},
    {MSGBOX_STOP_DEBUGGING, "Stop Debugging", "Close this Session?", "control-power-red.png", BUTTONS_YES_NO,
     MSGBOX_MODE_NONE, false},
    {MSGBOX_SOURCE_OUT_OF_DATE, PRODUCT_TITLE,
     "This source file has changed. It no longer matches the version of\n the file used to build the "
     "application beeing debugged.",
     "", BUTTONS_OK, MSGBOX_MODE_NONE, false},
    {MSGBOX_DOWNLOAD_PROGRAM, PRODUCT_TITLE, "Program file opened. Download to target?", "", BUTTONS_YES_NO,
     MSGBOX_MODE_NONE, false},
    {MSGBOX_SOURCES_MODIFIED, PRODUCT_TITLE,
     "Source files have been modified and might not match the files used to build the application.\nStart "
     "debugging?",
     "", BUTTONS_YES_NO, MSGBOX_MODE_NONE, true},
    {MSGBOX_EDIT_DOCUMENT, PRODUCT_TITLE,
     "You are about to edit this document. Note that edited documents might not match\n"
     "the debug information until the application is recompiled and programmed.\nContinue editing?",
     "document--pencil.png", BUTTONS_YES_NO, MSGBOX_MODE_NONE, true},
    {MSGBOX_CONNECTION_LOST, "Target Connection Lost", "Failed to read target status. Abort Debug Session?",
     "control-power-red.png", BUTTONS_YES_NO, MSGBOX_MODE_NONE, false},
    {MSGBOX_SAVE_PROJECT, "Save Project Changes?", "The current project was modified. Save changes?",
     "document--pencil.png", BUTTONS_YES_NO_CANCEL, MSGBOX_MODE_NONE, false},
    {MSGBOX_SAVE_DOCUMENT, "Save Document Changes?", "%1 is modified. Save changes?", "document--pencil.png",
     BUTTONS_YES_NO_CANCEL, MSGBOX_MODE_NONE, false},
    {MSGBOX_SAVE_DOCUMENTS, "Save Document Changes?",
     "The following documents are modified:\n\n%1\n\nSave all changes before closing?",
     "document--pencil.png", BUTTONS_YES_NO_CANCEL, MSGBOX_MODE_NONE, false},
    {MSGBOX_PROJECT_NOT_SAVED, "Project Warning", "Project settings could not be saved: %1",
     "document--exclamation.png", BUTTONS_OK, MSGBOX_MODE_NONE, false},
    {MSGBOX_BREAK_SYMBOL_UNKNOWN, "Break at Symbol",
     "Symbol %1 is unknown. Program halts at first instruction.", "", BUTTONS_OK, MSGBOX_MODE_REMEMBER,
     false},
    {MSGBOX_CLEAR, "", "", "broom.png", BUTTONS_YES_NO, MSGBOX_MODE_REMEMBER, false},
}};

constexpr bool AreMsgBoxIdsInOrder()
{
    for (int i = 0; i < NUM_MSGBOXES; i++)
        if (aMsgBoxes[size_t(i)].ID != i) return false;
    return true;
}
static_assert(AreMsgBoxIdsInOrder());
