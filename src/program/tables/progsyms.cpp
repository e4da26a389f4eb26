// Symbols: lists, names, facts and the look-up by name.
#include "program/tables/progtables.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <tuple>

namespace {

constexpr U32 ATTR_DECL_FILE = 0x3A, ATTR_DECL_LINE = 0x3B, ATTR_DECL_COLUMN = 0x39;
constexpr U32 ATTR_CALL_COLUMN = 0x57, ATTR_CALL_FILE = 0x58, ATTR_CALL_LINE = 0x59;
constexpr U32 ATTR_SPECIFICATION = 0x47;
constexpr int MAX_SCOPES = 64;
constexpr size_t MAX_MACRO_NAME = 1024; ///< with the parameters
constexpr qsizetype MAX_KEPT_CHARS = 32 * 1024 * 1024; ///< of names that were asked for; a damaged file may have much longer ones
constexpr qsizetype MAX_KEPT_LOCS = 100000; ///< a long session asks for the same symbols at ever new PCs

void KeepName(PROG_TABLES& Tab, int Mode, ELF_SYM_HANDLE hSym, const QString& sName)
{
    Tab.NumNameChars += sName.size();
    if (Tab.NumNameChars > MAX_KEPT_CHARS) {
        for (auto& Names : Tab.aNames) Names.clear();
        Tab.NumNameChars = sName.size();
    }
    Tab.aNames[Mode].insert(hSym, sName);
}

QString PlainName(PROG_TABLES& Tab, ELF_SYM_HANDLE hSym)
{
    const auto it = Tab.aNames[PROG_NAME_PLAIN].constFind(hSym);
    if (it != Tab.aNames[PROG_NAME_PLAIN].constEnd()) return it.value();
    const QString sName = QString::fromUtf8(ELF_GetSymName(hSym));
    KeepName(Tab, PROG_NAME_PLAIN, hSym, sName);
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
    KeepName(Tab, PROG_NAME_QUALIFIED, hSym, sName);
    return sName;
}

/// The name of a symbol as its place in the file's own bytes: no type of a base type has a name that is asked for.
void AddNames(CNameIndex& Names, const ELF_SYM_LIST& aSym)
{
    for (const ELF_SYM_HANDLE hSym : aSym) Names.Add(ELF_GetSymName(hSym), hSym);
    Names.Build();
}

/// Names of the functions, and behind them the expansions by the names of what they expand. One that stands for its
/// function in the list of functions is there already.
void BuildFunctionNames(PROG_TABLES& Tab)
{
    std::vector<ELF_SYM_HANDLE> ahListed;
    for (const ELF_SYM_HANDLE hFunc : std::as_const(Tab.aFunction)) {
        Tab.FunctionNames.Add(ELF_GetSymName(hFunc), hFunc);
        if (!ELF_SymIsElf(hFunc) && ELF_GetSymTag(hFunc) == ELF_TAG_INLINED_SUBROUTINE) ahListed.push_back(hFunc);
    }
    std::sort(ahListed.begin(), ahListed.end());
    struct NAMED {
        ELF_SYM_HANDLE hInst;
        const char* sName;
    };
    std::vector<NAMED> aNamed;
    ELF_SYM_HANDLE hPrev = 0;
    const char* sName = "";
    for (const PROG_INSTANCE& Inst : Tab.aInstance) {
        if (Inst.hOrigin != hPrev) sName = ELF_GetSymName(Inst.hOrigin);
        hPrev = Inst.hOrigin;
        if (!std::binary_search(ahListed.begin(), ahListed.end(), Inst.hInst)) aNamed.push_back({Inst.hInst, sName});
    }
    // In the order of the debug information, whatever functions of the same name they expand.
    std::sort(aNamed.begin(), aNamed.end(), [](const NAMED& a, const NAMED& b) { return a.hInst < b.hInst; });
    for (const NAMED& Named : aNamed) Tab.FunctionNames.Add(Named.sName, Named.hInst);
    Tab.FunctionNames.Build();
}

/// Where the last "::" of a name stands that isn't part of template arguments or parameters, -1 if there is none.
qsizetype LastScopeOperator(const QString& sName)
{
    if (!sName.contains(QLatin1Char(':'))) return -1; // a search for one character takes many of them at once
    int Depth = 0; // below 0 behind "operator<" and the like
    for (qsizetype i = sName.size() - 1; i > 0; i--) {
        const QChar c = sName[i];
        if (c == QLatin1Char('>') || c == QLatin1Char(')') || c == QLatin1Char(']')) Depth++;
        else if (c == QLatin1Char('<') || c == QLatin1Char('(') || c == QLatin1Char('[')) Depth--;
        else if (Depth <= 0 && c == QLatin1Char(':') && sName[i - 1] == c) return i - 1;
    }
    return -1;
}

/// A name that is looked for: its last part, and the whole if it is qualified.
struct SOUGHT {
    explicit SOUGHT(const QString& sName)
    {
        const qsizetype Pos = LastScopeOperator(sName);
        if (Pos >= 0) sFull = sName;
        Plain = (Pos < 0 ? sName : sName.mid(Pos + 2)).toUtf8();
    }
    QByteArray Plain;
    QString sFull;
    bool Fits(PROG_TABLES& Tab, ELF_SYM_HANDLE hSym) const
    {
        if (sFull.isEmpty()) return true;
        // Expansions are many, what they expand are few: the name that is kept is that of the latter.
        const ELF_SYM_HANDLE hOrigin = ELF_GetSymOrigin(hSym);
        const QString sOwn = QualifiedName(Tab, hOrigin ? hOrigin : hSym);
        return sOwn == sFull || sOwn.endsWith(QStringLiteral("::") + sFull);
    }
};

void AppendNamed(PROG_TABLES& Tab, const CNameIndex& Names, const SOUGHT& Name, ELF_SYM_LIST& aOut)
{
    const std::span<const ELF_SYM_HANDLE> ahSym = Names.Find(Name.Plain.constData());
    aOut.reserve(aOut.size() + static_cast<qsizetype>(ahSym.size()));
    for (const ELF_SYM_HANDLE hSym : ahSym) {
        if (Name.Fits(Tab, hSym)) aOut.append(hSym);
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
    const SOUGHT Name(sName);
    const QByteArray Utf8 = Name.sFull.isEmpty() ? Name.Plain : sName.toUtf8();
    if (Variables) {
        if (sName == QLatin1String("this")) {
            if (const ELF_SYM_HANDLE hThis = ThisOfCurrent(Tab)) return {hThis};
        }
        // Inner blocks stand behind outer ones: the last local of a name hides the others.
        for (auto it = Tab.aCurrentLocal.crbegin(); it != Tab.aCurrentLocal.crend(); ++it) {
            if (std::strcmp(ELF_GetSymName(*it), Utf8.constData()) == 0) aFound.append(*it);
        }
        if (!Tab.VariableNames.IsBuilt()) AddNames(Tab.VariableNames, Tab.aGlobal);
        const QSet<ELF_SYM_HANDLE> Locals(aFound.cbegin(), aFound.cend());
        const qsizetype NumLocals = aFound.size();
        AppendNamed(Tab, Tab.VariableNames, Name, aFound);
        // A static variable of the current function is in both lists.
        aFound.erase(std::remove_if(aFound.begin() + NumLocals, aFound.end(), [&Locals](ELF_SYM_HANDLE h) { return Locals.contains(h); }), aFound.end());
    }
    if (Functions) {
        if (!Tab.FunctionNames.IsBuilt()) BuildFunctionNames(Tab);
        AppendNamed(Tab, Tab.FunctionNames, Name, aFound);
    }
    if (Types) {
        if (!Tab.TypeNames.IsBuilt()) AddNames(Tab.TypeNames, Tab.aType);
        AppendNamed(Tab, Tab.TypeNames, Name, aFound);
    }
    if (ElfSymbols) {
        if (!Tab.ElfNames.IsBuilt()) AddNames(Tab.ElfNames, ElfList(Tab));
        const QSet<ELF_SYM_HANDLE> Known(aFound.cbegin(), aFound.cend());
        for (const ELF_SYM_HANDLE hSym : Tab.ElfNames.Find(Utf8.constData())) {
            if (!Known.contains(hSym)) aFound.append(hSym);
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
            const auto [pFirst, pLast] = ProgInstances(Tab, hOrigin ? hOrigin : hFunc);
            const QSet<ELF_SYM_HANDLE> Known(aFound.cbegin(), aFound.cend());
            for (const PROG_INSTANCE* p = pFirst; p != pLast; p++) {
                if (!Known.contains(p->hInst)) aFound.append(p->hInst);
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
    auto [pFirst, pLast] = ProgInstances(Tab, hFunc);
    if (pFirst == pLast) std::tie(pFirst, pLast) = ProgInstances(Tab, ELF_GetSymOrigin(hFunc));
    ELF_SYM_LIST aInst;
    for (; pFirst != pLast; pFirst++) aInst.append(pFirst->hInst);
    return aInst;
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
    for (ELF_SYM_HANDLE h = hFunc; h && !ELF_SymIsElf(h) && aChain.size() < MAX_SCOPES; h = ELF_GetSymParent(h)) {
        if (ProgIsFunction(h)) aChain.prepend(h);
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
    if (Tab.Locs.size() >= MAX_KEPT_LOCS) Tab.Locs.clear();
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
            const char* sText = ELF_GetMacroText(Tab.hFile, i);
            const size_t Length = strnlen(sText, MAX_MACRO_NAME);
            const void* pBlank = std::memchr(sText, ' ', Length);
            const size_t NameLength = pBlank ? static_cast<size_t>(static_cast<const char*>(pBlank) - sText) : Length;
            if (NameLength == MAX_MACRO_NAME) continue; // longer than any name that somebody asks for
            Tab.Macros.insert(QByteArrayView(sText, static_cast<qsizetype>(NameLength)), pBlank ? sText + NameLength + 1 : "");
        }
    }
    return QString::fromUtf8(Tab.Macros.value(sName.toUtf8(), ""));
}
