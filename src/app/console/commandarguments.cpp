#include "app/console/commandarguments.h"

#include "app/actions/actions.h"

namespace {
/// A parameter is known by the command and its name, or by its name alone where all commands mean the same.
struct ARGUMENT_ROW {
    int ActionId; ///< -1 for every command
    const char* Name;
    ARGUMENT_INFO Info;
};

constexpr ARGUMENT_ROW ROWS[] = {
    {ACT_DEBUG_SET_RESET_MODE, "Mode", {ARG_CONSTANT, "RM_"}},
    {ACT_DEBUG_SET_CONNECT_MODE, "Mode", {ARG_CONSTANT, "CM_"}},
    {ACT_EDIT_DISPLAY_FORMAT, "Format", {ARG_CONSTANT, "DISPLAY_FORMAT_"}},
    {ACT_PROFILE_EXPORT_CSV, "Format", {ARG_CONSTANT, "CSV_"}},
    {ACT_PROFILE_EXPORT, "sFilterStr", {ARG_FILE}},
    {ACT_PROFILE_EXPORT_CSV, "sFilterStr", {ARG_FILE}},
    {ACT_TARGET_SET_ACCESS_WIDTH, "Width", {ARG_CONSTANT, "AW_"}},
    {ACT_PROJECT_SET_TRACE_PORT_WIDTH, "Width", {ARG_WORDS, "1 2 4"}},
    {ACT_EDIT_SYS_VAR, "Value", {ARG_VAR_VALUE}},
    {ACT_EDIT_PREFERENCE, "Value", {ARG_VAR_VALUE}},
    {ACT_PROJECT_ADD_PATH_SUBSTITUTE, "sPath", {ARG_FOLDER}},
    {ACT_BREAK_SET_COMMAND, "sFunc", {ARG_SCRIPT_FUNC}},
    {ACT_BREAK_SET_CMD_ON_ADDR, "sFunc", {ARG_SCRIPT_FUNC}},
    {ACT_SCRIPT_EXEC, "sFunc", {ARG_SCRIPT_FUNC}},
    {-1, "sFile", {ARG_FILE}},
    {-1, "sFileName", {ARG_FILE}},
    {-1, "sFilePath", {ARG_FILE}},
    {-1, "sOldPath", {ARG_FILE}},
    {-1, "sNewPath", {ARG_FILE}},
    {-1, "sRootPath", {ARG_FOLDER}},
    {-1, "sSearchPath", {ARG_FOLDER}},
    {-1, "sSubstitute", {ARG_FOLDER}},
    {-1, "sExpr", {ARG_EXPRESSION}},
    {-1, "sExpression", {ARG_EXPRESSION}},
    {-1, "sCondition", {ARG_EXPRESSION}},
    {-1, "sBefore", {ARG_EXPRESSION}},
    {-1, "sSymbol", {ARG_EXPRESSION}},
    {-1, "sSymbolBefore", {ARG_EXPRESSION}},
    {-1, "sSymbolName", {ARG_EXPRESSION}},
    {-1, "sSymbols", {ARG_EXPRESSION}},
    {-1, "sFunction", {ARG_FUNCTION}},
    {-1, "sFuncName", {ARG_FUNCTION}},
    {-1, "sAny", {ARG_LOCATION}},
    {-1, "sLocation", {ARG_LOCATION}},
    {-1, "sWindow", {ARG_WINDOW}},
    {-1, "sToolbar", {ARG_TOOLBAR}},
    {-1, "sRegName", {ARG_REGISTER}},
    {-1, "sHostIF", {ARG_WORDS, "USB IP"}},
    {-1, "sTargetIF", {ARG_WORDS, "SWD JTAG cJTAG FINE"}},
    {-1, "sTIFSpeed", {ARG_CONSTANT, "FREQ_"}},
    {-1, "sSource", {ARG_CONSTANT, "TRACE_SOURCE_"}},
    {-1, "FreqHz", {ARG_CONSTANT, "FREQ_"}},
    {-1, "Base", {ARG_CONSTANT, "DISPLAY_FORMAT_"}},
    {-1, "Type", {ARG_CONSTANT, "BP_TYPE_"}},
    {-1, "AccessType", {ARG_CONSTANT, "AT_"}},
    {-1, "AccessSize", {ARG_CONSTANT, "AW_"}},
    {-1, "Op", {ARG_CONSTANT, "TP_OP_"}},
    {-1, "Flags", {ARG_CONSTANT, "DISABLE_SAVE_"}},
    {-1, "On", {ARG_WORDS, "ON OFF"}},
    {-1, "OnOff", {ARG_WORDS, "ON OFF"}},
    {-1, "Enabled", {ARG_WORDS, "ON OFF"}},
    {-1, "KeepStart", {ARG_WORDS, "YES NO"}},
    {-1, "DoTriggerOnChange", {ARG_WORDS, "YES NO"}},
    {-1, "BigEndian", {ARG_WORDS, "0 1"}},
    {-1, "VarID", {ARG_SYS_VAR}},
    {-1, "SysVarID", {ARG_PREFERENCE}},
    {-1, "ColorID", {ARG_COLOR_ID}},
    {-1, "sColor", {ARG_COLOR}},
    {-1, "FontID", {ARG_FONT_ID}},
};
} // namespace

QString GetArgumentName(int ActionId, int Index)
{
    const QString sDecl = GetParamDecl(ActionId, Index);
    qsizetype Start = sDecl.size();
    while (Start > 0 && (sDecl[Start - 1].isLetterOrNumber() || sDecl[Start - 1] == '_')) Start--;
    return sDecl.mid(Start);
}

ARGUMENT_INFO GetArgumentInfo(int ActionId, int Index)
{
    const QString sName = GetArgumentName(ActionId, Index);
    for (const ARGUMENT_ROW& Row : ROWS)
        if ((Row.ActionId == ActionId || Row.ActionId < 0) && sName == QLatin1String(Row.Name))
            return Row.Info;
    return {IsStringParam(ActionId, Index) ? ARG_TEXT : ARG_PLAIN, ""};
}
