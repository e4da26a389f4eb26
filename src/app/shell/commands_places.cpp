// The commands that lead to a place of the program: View.*, Find.Func and Find.GlobalData.
#include "app/actions/actions.h"
#include "app/shell/askpath.h"
#include "app/shell/commandtable.h"
#include "app/shell/mainwindow.h"
#include "program/eval/evalhooks.h"
#include "program/eval/expression.h"
#include "program/tables/prog.h"
#include "project/finder/filefinder.h"
#include "views/debug/disassemblywindow.h"
#include "views/debug/sourcewindow.h"

#include <QFileInfo>
#include <algorithm>

namespace {

CMainWindow& Main()
{
    return CMainWindow::Get();
}

void Fail(int Id, const char* sError)
{
    SetActionError(Id, QLatin1String(sError));
    SetActionResult(Id, -1);
}

/// What a location text stands for: an address, a symbol, a source location or an expression.
struct PLACE {
    I64 Addr = -1;
    CSrcLoc Loc;
};

PLACE FindPlace(const QString& sText)
{
    int Kind = PROG_LOCATION_NONE;
    const CAddrRange Range = PROG_ResolveLocationText(sText, &Kind);
    PLACE Place;
    Place.Loc = PROG_ParseSrcLoc(sText);
    Place.Addr = Kind != PROG_LOCATION_NONE ? I64(Range.Start) : EVAL_GetAddress(sText);
    return Place;
}

/// Where a variable of the selected frame is declared: its name hides whatever else is called so, a hexadecimal number
/// like "a" included.
CSrcLoc GetLocalDeclaration(const QString& sText)
{
    for (const ELF_SYM_HANDLE h : EVAL_GetFrameLocals())
        if (PROG_GetSymName(h, PROG_NAME_PLAIN) == sText) return PROG_GetSymSrcLoc(h);
    return {};
}

/// Where a symbol is declared, for those whose address has no line.
CSrcLoc GetDeclaration(const QString& sText)
{
    for (const ELF_SYM_HANDLE h : PROG_FindSymbols(sText, true, true, false, false, true))
        if (const CSrcLoc Loc = PROG_GetSymSrcLoc(h); Loc.IsValid()) return Loc;
    return {};
}

// ---- View ----------------------------------------------------------------------------------------------

void OnViewSource(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QString sText = GetActionParam(Id);
    PLACE Place;
    Place.Loc = GetLocalDeclaration(sText);
    if (!Place.Loc.IsValid()) Place = FindPlace(sText);
    if (!Place.Loc.IsValid() && Place.Addr >= 0) Place.Loc = PROG_GetFirstSrcLoc(U32(Place.Addr));
    if (!Place.Loc.IsValid()) Place.Loc = GetDeclaration(sText);
    if (!Place.Loc.IsValid()) return Fail(Id, ERR_INVALID_PARAM);
    Main().GetSessionWindows().pSource->SelectLocation(Place.Loc, true);
    SetActionResult(Id, 0);
}

void OnViewDisassembly(int Id)
{
    if (!CheckParamCount(Id)) return;
    PLACE Place = FindPlace(GetActionParam(Id));
    // A line without code means the next one that has some, as it does for a breakpoint.
    if (Place.Addr < 0 && Place.Loc.IsValid()) Place.Addr = PROG_GetFirstAddr(PROG_GetNextLineWithCode(Place.Loc));
    if (Place.Addr < 0) return Fail(Id, ERR_INVALID_PARAM);
    Main().ShowWindow(QStringLiteral("Disassembly"));
    Main().GetSessionWindows().pDisassembly->ViewAddr(U32(Place.Addr));
    SetActionResult(Id, 0);
}

void OnViewLine(int Id)
{
    if (!CheckParamCount(Id)) return;
    bool Ok = false;
    const int Line = GetActionParam(Id).toInt(&Ok, 0);
    CSourceWindow& Source = *Main().GetSessionWindows().pSource;
    const auto NumLines = Source.GetDocText(Source.GetActiveFile()).count('\n') + 1;
    if (!Ok) return Fail(Id, ERR_NOT_A_NUMBER);
    if (Line < 1 || Line > NumLines) return Fail(Id, ERR_INVALID_PARAM);
    Source.GotoLine(Line);
    SetActionResult(Id, 0);
}

void OnViewPC(int Id)
{
    if (!CheckParamCount(Id)) return;
    Main().ShowWindow(QStringLiteral("Disassembly"));
    Main().GetSessionWindows().pDisassembly->ViewPC();
}

void OnViewPCLine(int Id)
{
    if (CheckParamCount(Id)) Main().GetSessionWindows().pSource->ViewPC();
}

/// A place in a window that isn't part of this program: the place is judged all the same.
void OnViewElsewhere(int Id)
{
    if (!CheckParamCount(Id)) return;
    const PLACE Place = FindPlace(GetActionParam(Id));
    Fail(Id, Place.Addr < 0 && !Place.Loc.IsValid() ? ERR_INVALID_PARAM : ERR_UNKNOWN_WINDOW);
}

/// Segments of the target's memory are what the memory map shows; its window isn't part of this program.
void OnLoadMemoryMap(int Id)
{
    if (!CheckParamCount(Id)) return;
    const QString sPath = CFileFinder::Get().Resolve(GetActionParam(Id));
    Fail(Id, QFileInfo(sPath).isFile() ? ERR_UNKNOWN_WINDOW : ERR_FILE_NOT_FOUND);
}

// ---- Find ----------------------------------------------------------------------------------------------

QStringList GetNames(const ELF_SYM_LIST& Symbols)
{
    QStringList Names;
    for (const ELF_SYM_HANDLE h : Symbols) Names << PROG_GetSymName(h, PROG_NAME_QUALIFIED);
    Names.removeAll(QString());
    Names.sort(Qt::CaseInsensitive);
    Names.removeDuplicates();
    return Names;
}

/// The name that a command asks for, from a list if it has none. Empty when the user called it off.
QString TakeName(int Id, const QString& sTitle, const ELF_SYM_LIST& Symbols)
{
    if (HasActionParams(Id)) return GetActionParam(Id);
    const QString sName = AskName(sTitle, QStringLiteral("Name:"), GetNames(Symbols));
    if (sName.isEmpty())
        SetActionSilent(Id);
    else
        SetActionParams(Id, sName);
    return sName;
}

void OnFindFunc(int Id)
{
    if (!CheckParamCount(Id, 0)) return;
    const QString sName = TakeName(Id, QStringLiteral("Find Function"), PROG_GetFunctions());
    if (IsActionSilent(Id)) return;
    const ELF_SYM_LIST Functions = PROG_FindSymbols(sName, true, false, false, true, true);
    const auto it = std::find_if(Functions.begin(), Functions.end(),
                                 [](ELF_SYM_HANDLE h) { return PROG_GetSymAddr(h) >= 0; });
    if (it == Functions.end()) return Fail(Id, ERR_UNKNOWN_SYMBOL);
    const bool HasSource = PROG_HasExactSrcLoc(U32(PROG_GetSymAddr(*it)));
    SetActionResult(Id, ::PerformAction(HasSource ? ACT_VIEW_SOURCE : ACT_VIEW_DISASSEMBLY, sName));
}

/// The window of global data isn't part of this program; the declaration tells what the symbol is.
void OnFindGlobalData(int Id)
{
    if (!CheckParamCount(Id, 0)) return;
    const QString sName = TakeName(Id, QStringLiteral("Find Global Data"), PROG_GetGlobals());
    if (IsActionSilent(Id)) return;
    const ELF_SYM_LIST Symbols = PROG_FindSymbols(sName, false, true, false, true, true);
    const auto it = std::find_if(Symbols.begin(), Symbols.end(),
                                 [](ELF_SYM_HANDLE h) { return PROG_GetSymAddr(h) >= 0; });
    if (it == Symbols.end()) return Fail(Id, ERR_UNKNOWN_SYMBOL);
    SetActionResult(
        Id, ::PerformAction(GetDeclaration(sName).IsValid() ? ACT_VIEW_SOURCE : ACT_VIEW_DATA, sName));
}

} // namespace

void RegisterPlaceCommands()
{
    SetCommandHandler(ACT_VIEW_SOURCE, OnViewSource);
    SetCommandHandler(ACT_VIEW_DISASSEMBLY, OnViewDisassembly);
    SetCommandHandler(ACT_VIEW_LINE, OnViewLine);
    SetCommandHandler(ACT_VIEW_PC, OnViewPC);
    SetCommandHandler(ACT_VIEW_PC_LINE, OnViewPCLine);
    for (const int Id : {ACT_VIEW_DATA, ACT_VIEW_MEMORY_MAP, ACT_VIEW_CALL_GRAPH})
        SetCommandHandler(Id, OnViewElsewhere);
    SetCommandHandler(ACT_TARGET_LOAD_MEMORY_MAP, OnLoadMemoryMap);
    SetCommandHandler(ACT_FIND_FUNC, OnFindFunc);
    SetCommandHandler(ACT_FIND_GLOBAL_DATA, OnFindGlobalData);
}
