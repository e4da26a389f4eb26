// Symbols: lists, names, facts and the look-up by name.
#include "program/tables/progtables.h"

#include <algorithm>

namespace {

constexpr U32 ATTR_DECL_FILE = 0x3A, ATTR_DECL_LINE = 0x3B, ATTR_DECL_COLUMN = 0x39;
constexpr U32 ATTR_CALL_COLUMN = 0x57, ATTR_CALL_FILE = 0x58, ATTR_CALL_LINE = 0x59;
constexpr U32 ATTR_SPECIFICATION = 0x47;
constexpr int MAX_SCOPES = 64;

QString PlainName(PROG_TABLES& Tab, ELF_SYM_HANDLE hSym)
{
    const auto it = Tab.aNames[PROG_NAME_PLAIN].constFind(hSym);
    if (it != Tab.aNames[PROG_NAME_PLAIN].constEnd()) return it.value();
    const QString sName = QString::fromUtf8(ELF_GetSymName(hSym));
    Tab.aNames[PROG_NAME_PLAIN].insert(hSym, sName);
    return sName;
}

/// The symbol whose place in the scopes counts: a definition outside of its class belongs to the class.
ELF_SYM_HANDLE ScopeSymbol(ELF_SYM_HANDLE hSym)
{
    for (int i = 0; i < 5; i++) {
        bool Found = false;
        const ELF_HANDLE hFile = ELF_GetSymFile(hSym);
        const U64 Target = ELF_GetSymAttr(hSym, ATTR_SPECIFICATION, &Found);
        if (Found && hFile) return (hSym & ~0xFFFFFFFFull) | static_cast<U32>(Target);
        const ELF_SYM_HANDLE hOrigin = ELF_GetSymOrigin(hSym);
        if (!hOrigin) break;
        hSym = hOrigin;
    }
    return hSym;
}

QString QualifiedName(PROG_TABLES& Tab, ELF_SYM_HANDLE hSym)
{
    const auto it = Tab.aNames[PROG_NAME_QUALIFIED].constFind(hSym);
    if (it != Tab.aNames[PROG_NAME_QUALIFIED].constEnd()) return it.value();
    QString sName = PlainName(Tab, hSym);
    if (!ELF_SymIsElf(hSym)) {
        bool HasScope = false;
        ELF_SYM_HANDLE hScope = ELF_GetSymParent(ScopeSymbol(hSym));
        for (int i = 0; hScope && i < MAX_SCOPES; i++, hScope = ELF_GetSymParent(hScope)) {
            const U32 Tag = ELF_GetSymTag(hScope);
            if (Tag == ELF_TAG_CLASS || Tag == ELF_TAG_NAMESPACE || Tag == ELF_TAG_STRUCT || Tag == ELF_TAG_UNION) {
                const QString sScope = PlainName(Tab, hScope);
                if (sScope.isEmpty()) continue;
                sName = sScope + QStringLiteral("::") + sName;
                HasScope = true;
            } else if (Tag == ELF_TAG_COMPILE_UNIT && !HasScope && Tag != ELF_GetSymTag(hSym)) {
                const QString sUnit = ProgNormalizePath(PlainName(Tab, hScope));
                sName = sUnit.mid(sUnit.lastIndexOf(QLatin1Char('/')) + 1) + QStringLiteral("::") + sName;
            }
        }
    }
    Tab.aNames[PROG_NAME_QUALIFIED].insert(hSym, sName);
    return sName;
}

void BuildNames(PROG_TABLES& Tab, const ELF_SYM_LIST& aSym, QHash<QString, ELF_SYM_LIST>& Names, bool& Has)
{
    if (Has) return;
    Has = true;
    for (const ELF_SYM_HANDLE hSym : aSym) {
        const QString sName = QString::fromUtf8(ELF_GetSymName(hSym));
        if (sName.isEmpty()) continue;
        ELF_SYM_LIST& aEntry = Names[sName];
        if (!aEntry.contains(hSym)) aEntry.append(hSym);
    }
    (void)Tab;
}

/// Appends the symbols of a plain or qualified name.
void AppendNamed(PROG_TABLES& Tab, const QHash<QString, ELF_SYM_LIST>& Names, const QString& sName, ELF_SYM_LIST& aOut)
{
    const qsizetype Pos = sName.lastIndexOf(QLatin1String("::"));
    const auto it = Names.constFind(Pos < 0 ? sName : sName.mid(Pos + 2));
    if (it == Names.constEnd()) return;
    for (const ELF_SYM_HANDLE hSym : it.value()) {
        if (Pos >= 0) {
            const QString sFull = QualifiedName(Tab, hSym);
            if (sFull != sName && !sFull.endsWith(QStringLiteral("::") + sName)) continue;
        }
        if (!aOut.contains(hSym)) aOut.append(hSym);
    }
}

ELF_SYM_LIST ElfList(const PROG_TABLES& Tab)
{
    ELF_SYM_LIST aSym;
    const U32 Count = ELF_GetSymbolCount(Tab.hFile);
    for (U32 i = 1; i < Count; i++) {
        // Mapping symbols and the names of files and sections are no symbols of the program.
        const char First = *ELF_GetSymbolName(Tab.hFile, i);
        const U32 Type = ELF_GetSymbolType(Tab.hFile, i);
        if (First == 0 || First == '$' || Type == 3 || Type == 4 || ELF_GetSymbolSection(Tab.hFile, i) == 0) continue;
        aSym.append(ELF_GetSymbolHandle(Tab.hFile, i));
    }
    return aSym;
}

/// The object that `this` names in the current function, 0 if it is no member function.
ELF_SYM_HANDLE ThisOfCurrent(const PROG_TABLES& Tab)
{
    for (const ELF_SYM_HANDLE hSym : Tab.aCurrentLocal) {
        if (qstrcmp(ELF_GetSymName(hSym), "this") == 0) return hSym;
    }
    return ELF_GetSymThis(Tab.hCurrentFunction);
}

ELF_SYM_LIST Sorted(const ELF_SYM_LIST& aSym)
{
    ELF_SYM_LIST aInlined, aDebug, aElf;
    for (const ELF_SYM_HANDLE hSym : aSym) {
        if (ELF_SymIsElf(hSym)) aElf.append(hSym);
        else if (ELF_GetSymTag(hSym) == ELF_TAG_INLINED_SUBROUTINE) aInlined.prepend(hSym);
        else aDebug.append(hSym);
    }
    return aInlined + aDebug + aElf;
}

CSrcLoc SymSrcLoc(PROG_TABLES& Tab, ELF_SYM_HANDLE hSym)
{
    const auto it = Tab.SrcLocs.constFind(hSym);
    if (it != Tab.SrcLocs.constEnd()) return it.value();
    CSrcLoc Loc;
    if (!ELF_SymIsElf(hSym)) {
        const bool IsCall = ELF_GetSymTag(hSym) == ELF_TAG_INLINED_SUBROUTINE;
        const QString sPath = QString::fromUtf8(ELF_GetSymDeclFile(hSym, IsCall ? ATTR_CALL_FILE : ATTR_DECL_FILE));
        const U32 File = sPath.isEmpty() ? 0xFFFFFFFFu : ProgFileOfPath(Tab, sPath);
        if (File != 0xFFFFFFFFu) {
            Loc = CSrcLoc(File, static_cast<U32>(ELF_GetSymAttr(hSym, IsCall ? ATTR_CALL_LINE : ATTR_DECL_LINE, nullptr)),
                          static_cast<U32>(ELF_GetSymAttr(hSym, IsCall ? ATTR_CALL_COLUMN : ATTR_DECL_COLUMN, nullptr)));
        }
    }
    Tab.SrcLocs.insert(hSym, Loc);
    return Loc;
}

} // namespace

ELF_SYM_LIST PROG_FindSymbols(const QString& sName, bool Functions, bool Variables, bool Types, bool ElfSymbols, bool Sort)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    ELF_SYM_LIST aFound;
    if (!Tab.Loaded || sName.isEmpty()) return aFound;
    if (Variables) {
        if (sName == QLatin1String("this")) {
            if (const ELF_SYM_HANDLE hThis = ThisOfCurrent(Tab)) return {hThis};
        }
        // Inner blocks stand behind outer ones: the last local of a name hides the others.
        for (auto it = Tab.aCurrentLocal.crbegin(); it != Tab.aCurrentLocal.crend(); ++it) {
            if (sName == QString::fromUtf8(ELF_GetSymName(*it))) aFound.append(*it);
        }
        BuildNames(Tab, Tab.aGlobal, Tab.VariableNames, Tab.HasVariableNames);
        AppendNamed(Tab, Tab.VariableNames, sName, aFound);
    }
    if (Functions) {
        if (!Tab.HasFunctionNames) BuildNames(Tab, Tab.aFunction + Tab.aInlined, Tab.FunctionNames, Tab.HasFunctionNames);
        AppendNamed(Tab, Tab.FunctionNames, sName, aFound);
    }
    if (Types) {
        BuildNames(Tab, Tab.aType, Tab.TypeNames, Tab.HasTypeNames);
        AppendNamed(Tab, Tab.TypeNames, sName, aFound);
    }
    if (ElfSymbols) {
        if (!Tab.HasElfNames) BuildNames(Tab, ElfList(Tab), Tab.ElfNames, Tab.HasElfNames);
        const auto it = Tab.ElfNames.constFind(sName);
        if (it != Tab.ElfNames.constEnd()) {
            for (const ELF_SYM_HANDLE hSym : it.value()) {
                if (!aFound.contains(hSym)) aFound.append(hSym);
            }
        }
    }
    return Sort ? Sorted(aFound) : aFound;
}

ELF_SYM_LIST PROG_FindSymbolsAtSrcLoc(const CSrcLoc& Loc)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    ELF_SYM_LIST aFound;
    if (!Tab.Loaded) return aFound;
    if (!Tab.HasFunctionsAtLoc) {
        Tab.HasFunctionsAtLoc = true;
        for (const ELF_SYM_HANDLE hFunc : std::as_const(Tab.aFunction)) {
            // An expansion counts where its function is declared, not where it was called.
            const bool IsInlined = ELF_GetSymTag(hFunc) == ELF_TAG_INLINED_SUBROUTINE;
            const CSrcLoc Decl = SymSrcLoc(Tab, IsInlined ? ELF_GetSymOrigin(hFunc) : hFunc);
            if (Decl.IsValid()) Tab.FunctionsAtLoc[CSrcLoc(Decl.File, Decl.Line)].append(hFunc);
        }
    }
    aFound = Tab.FunctionsAtLoc.value(CSrcLoc(Loc.File, Loc.Line));
    CSrcLoc Code = PROG_GetPrevLineWithCode(Loc);
    for (int Tries = 0; Tries < 2 && Code.IsValid(); Tries++) {
        const I64 Addr = PROG_GetFirstAddr(Code);
        const ELF_SYM_HANDLE hFunc = Addr < 0 ? 0 : ProgFunctionAt(Tab, static_cast<U32>(Addr), false);
        if (hFunc) {
            if (!aFound.contains(hFunc)) aFound.append(hFunc);
            const ELF_SYM_HANDLE hOrigin = ELF_GetSymOrigin(hFunc);
            for (const ELF_SYM_HANDLE hInst : Tab.Instances.value(hOrigin ? hOrigin : hFunc)) {
                if (!aFound.contains(hInst)) aFound.append(hInst);
            }
            break;
        }
        if (Code.Line == 0) break;
        Code = PROG_GetPrevLineWithCode(CSrcLoc(Code.File, Code.Line - 1));
    }
    return aFound;
}

static ELF_SYM_LIST CopyList(ELF_SYM_LIST PROG_TABLES::*pList)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    return Tab.Loaded ? Tab.*pList : ELF_SYM_LIST();
}

ELF_SYM_LIST PROG_GetFunctions() { return CopyList(&PROG_TABLES::aFunction); }
ELF_SYM_LIST PROG_GetGlobals() { return CopyList(&PROG_TABLES::aGlobal); }
ELF_SYM_LIST PROG_GetTypes() { return CopyList(&PROG_TABLES::aType); }
ELF_SYM_LIST PROG_GetCompilationUnits() { return CopyList(&PROG_TABLES::aCu); }
ELF_SYM_LIST PROG_GetFunctionsWithoutFile() { return CopyList(&PROG_TABLES::aFunctionWithoutFile); }
ELF_SYM_LIST PROG_GetCurrentLocals() { return CopyList(&PROG_TABLES::aCurrentLocal); }

ELF_SYM_LIST PROG_GetInlineInstances(ELF_SYM_HANDLE hFunc)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded) return {};
    // An instance or the out-of-line copy asks for its function as well.
    const auto it = Tab.Instances.constFind(hFunc);
    if (it != Tab.Instances.constEnd()) return it.value();
    return Tab.Instances.value(ELF_GetSymOrigin(hFunc));
}

ELF_SYM_LIST PROG_GetChildren(ELF_SYM_HANDLE hScope, U32 Filter)
{
    const CProgLock Lock;
    return PROG_Tables(Lock).Loaded ? ELF_GetSymChildren(hScope, Filter) : ELF_SYM_LIST();
}

ELF_SYM_LIST PROG_GetElfSymbolsAt(U32 Addr)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    ELF_SYM_LIST aSym;
    if (!Tab.Loaded) return aSym;
    auto it = std::lower_bound(Tab.aElfSym.begin(), Tab.aElfSym.end(), Addr, [](const PROG_ELF_ROW& Row, U32 Key) { return Row.Addr < Key; });
    for (; it != Tab.aElfSym.end() && it->Addr == Addr; ++it) aSym.append(it->hSym);
    return aSym;
}

void PROG_SetCurrentFunction(ELF_SYM_HANDLE hFunc)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded || Tab.hCurrentFunction == hFunc) return;
    Tab.hCurrentFunction = hFunc;
    Tab.aCurrentLocal.clear();
    ELF_SYM_LIST aChain;
    // Variables of the functions that an expansion lies in are visible as well, behind its own.
    for (ELF_SYM_HANDLE h = hFunc; h && aChain.size() < MAX_SCOPES; h = ELF_GetSymParent(h)) {
        if (!ELF_SymIsElf(h) && ProgIsFunction(h)) aChain.prepend(h);
        if (ELF_GetSymTag(h) == ELF_TAG_SUBPROGRAM) break;
    }
    for (const ELF_SYM_HANDLE h : std::as_const(aChain)) {
        for (U32 i = 0; i < ELF_GetSymLocalCount(h); i++) Tab.aCurrentLocal.append(ELF_GetSymLocal(h, i));
    }
}

ELF_SYM_HANDLE PROG_GetCurrentFunction()
{
    const CProgLock Lock;
    return PROG_Tables(Lock).hCurrentFunction;
}

QString PROG_GetSymName(ELF_SYM_HANDLE hSym, int Mode)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded) return {};
    return Mode == PROG_NAME_QUALIFIED ? QualifiedName(Tab, hSym) : PlainName(Tab, hSym);
}

I64 PROG_GetSymAddr(ELF_SYM_HANDLE hSym)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded || !hSym) return -1;
    if (ProgIsFunction(hSym)) {
        if (ELF_SymIsElf(hSym)) return static_cast<I64>(ProgAlign(ELF_GetSymRangeLow(hSym, 0)));
        const U32 Low = ELF_GetSymRangeLow(hSym, 0);
        return Low == 0xFFFFFFFFu ? -1 : static_cast<I64>(ProgAlign(Low));
    }
    const ELF_SYM_LOC Loc = ELF_GetSymLoc(hSym, 0);
    const bool IsFixed = Loc.NumParts && (Loc.aPart[0].Type == ELF_LOC_MEM_FIXED || Loc.aPart[0].Type == ELF_LOC_MEM_ADDR_OFFSET);
    return IsFixed ? static_cast<I64>(Loc.aPart[0].Addr) : -1;
}

ELF_SYM_LOC PROG_GetSymLoc(ELF_SYM_HANDLE hSym, U32 PC)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded) return {};
    const QPair<ELF_SYM_HANDLE, U32> Key(hSym, PC);
    const auto it = Tab.Locs.constFind(Key);
    if (it != Tab.Locs.constEnd()) return it.value();
    return *Tab.Locs.insert(Key, ELF_GetSymLoc(hSym, PC));
}

CSrcLoc PROG_GetSymSrcLoc(ELF_SYM_HANDLE hSym)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    return Tab.Loaded ? SymSrcLoc(Tab, hSym) : CSrcLoc();
}

U32 PROG_GetSymTag(ELF_SYM_HANDLE hSym)
{
    const CProgLock Lock;
    return ELF_GetSymTag(hSym);
}

U32 PROG_GetSymSize(ELF_SYM_HANDLE hSym)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded) return 0;
    const auto it = Tab.Sizes.constFind(hSym);
    return it != Tab.Sizes.constEnd() ? it.value() : *Tab.Sizes.insert(hSym, ELF_GetSymSize(hSym));
}

U32 PROG_GetSymAccess(ELF_SYM_HANDLE hSym)
{
    const CProgLock Lock;
    return ELF_GetSymAccess(hSym);
}

QString PROG_GetSymTypeText(ELF_SYM_HANDLE hSym)
{
    const CProgLock Lock;
    return QString::fromUtf8(ELF_GetSymTypeText(hSym));
}

ELF_SYM_HANDLE PROG_GetMainFunction()
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded) return 0;
    if (const ELF_SYM_HANDLE hMain = ELF_GetMainFunction(Tab.hFile)) return hMain;
    const ELF_SYM_LIST aMain = PROG_FindSymbols(QStringLiteral("main"), true, false, false, true, false);
    return aMain.isEmpty() ? 0 : aMain.first();
}

CSrcLoc PROG_GetMainSrcLoc()
{
    const CProgLock Lock;
    const ELF_SYM_HANDLE hMain = PROG_GetMainFunction();
    const I64 Addr = PROG_GetSymAddr(hMain);
    const CSrcLoc Loc = Addr >= 0 ? PROG_GetFirstSrcLoc(static_cast<U32>(Addr)) : CSrcLoc();
    return Loc.IsValid() ? Loc : PROG_GetSymSrcLoc(hMain);
}

ELF_SYM_HANDLE PROG_GetControlBlockSymbol()
{
    const CProgLock Lock;
    return PROG_Tables(Lock).hControlBlock;
}

QString PROG_GetMacroText(const QString& sName)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    if (!Tab.Loaded) return {};
    if (!Tab.HasMacros) {
        Tab.HasMacros = true;
        const U32 Count = ELF_GetMacroCount(Tab.hFile);
        for (U32 i = 0; i < Count; i++) {
            const QString sText = QString::fromUtf8(ELF_GetMacroText(Tab.hFile, i));
            const qsizetype Blank = sText.indexOf(QLatin1Char(' '));
            Tab.Macros.insert(Blank < 0 ? sText : sText.left(Blank), Blank < 0 ? QString() : sText.mid(Blank + 1));
        }
    }
    return Tab.Macros.value(sName);
}
