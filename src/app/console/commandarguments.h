// What the parameters of commands take, as far as the console can offer values for them.
#pragma once
#include <QString>

enum ARGUMENT_KINDS : int {
    ARG_PLAIN,       ///< a number or free text: nothing to offer but named constants
    ARG_TEXT,        ///< free text: nothing to offer
    ARG_FILE,        ///< path of a file
    ARG_FOLDER,      ///< path of a folder
    ARG_EXPRESSION,  ///< symbols, inside an expression
    ARG_FUNCTION,    ///< functions of the program
    ARG_LOCATION,    ///< symbols and source files
    ARG_WINDOW,      ///< names of windows
    ARG_TOOLBAR,     ///< names of tool bars
    ARG_REGISTER,    ///< names of registers
    ARG_SCRIPT_FUNC, ///< functions of the project script
    ARG_CONSTANT,    ///< named constants with the prefix that Words gives
    ARG_WORDS,       ///< the words that Words gives
    ARG_SYS_VAR,     ///< names of system variables
    ARG_PREFERENCE,  ///< names of preferences
    ARG_VAR_VALUE,   ///< values of the variable that the parameter before names
    ARG_COLOR_ID,    ///< names of the colour table
    ARG_COLOR,       ///< colours by name
    ARG_FONT_ID,     ///< names of the font table
};

struct ARGUMENT_INFO {
    ARGUMENT_KINDS Kind = ARG_PLAIN;
    const char* Words = ""; ///< prefix of constants, or words separated by blanks
};

/// What a parameter of a command takes. Index counts from 0; outside the prototype it is ARG_PLAIN.
ARGUMENT_INFO GetArgumentInfo(int ActionId, int Index);
/// The name of a parameter in the prototype ("sFileName"); empty outside the list.
QString GetArgumentName(int ActionId, int Index);
