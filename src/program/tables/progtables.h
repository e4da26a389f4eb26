// The tables behind program/tables/prog.h. Internal to program_tables; everything runs under the program table
// mutex, which whoever reaches the tables proves by the lock object that PROG_Tables() takes.
//
// The address mapping is an array of plain rows by address instead of hashes: a large program has millions of rows.
// What only some sessions ask for (addresses of a line, names, texts) is made when first asked.
#pragma once
#include "program/tables/addrindex.h"
#include "program/tables/functionmap.h"
#include "program/tables/innermostmap.h"
#include "program/tables/nameindex.h"
#include "program/tables/prog.h"

#include <QHash>
#include <QSet>
#include <vector>

struct PROG_MAP_ROW {
    U32 Addr;
    CSrcLoc Loc;
};

struct PROG_LOC_ROW {
    U32 File, Line, Addr;
    auto operator<=>(const PROG_LOC_ROW&) const = default;
};

struct PROG_FILE {
    U32 Number = 0;
    QString sPath, sNormPath, sOverride;
    bool Exists = false;
    U32 LowAddr = 0xFFFFFFFFu, HighAddr = 0; ///< lowest and highest mapped address
    CAddrRange Range;                        ///< zero if there is none
    ELF_SYM_LIST aFunction;
};

struct PROG_ELF_ROW {
    U32 Addr;
    bool IsFunction;
    ELF_SYM_HANDLE hSym;
};

/// An inline expansion under the function that it expands.
struct PROG_INSTANCE {
    ELF_SYM_HANDLE hOrigin, hInst; ///< hOrigin is hInst itself if the origin is missing
    auto operator<=>(const PROG_INSTANCE&) const = default;
};

struct PROG_FDE_ROW {
    U32 Low, High;
};

struct PROG_TABLES {
    bool Loaded = false;
    QString sPath;
    ELF_HANDLE hFile = nullptr;
    ELF_SRC_LANG Lang = ELF_SRC_LANG_C;
    QList<PROG_BLOCK> aBlock;

    CBigVector<PROG_MAP_ROW> aMap;    ///< by address, then the order of CSrcLoc
    CAddrIndex<2> CodeIndex;           ///< of aMap and of the stretches of FunctionMap
    CBigVector<PROG_LOC_ROW> aByLoc;  ///< by file, line, address; through ProgRowsByLoc

    QList<U32> aFile;                  ///< file numbers in the order in which they were met
    QHash<U32, PROG_FILE> Files;
    std::vector<U32> aFileOfSrc;       ///< ELF source file index to file number
    QHash<QString, U32> FileByPath;    ///< lower-case path and normalised path to file number
    QHash<QString, U32> FileByOverride;
    QMultiHash<QString, U32> FileByName; ///< lower-case bare file name to file number

    ELF_SYM_LIST aGlobal, aCu, aType;
    std::vector<PROG_INSTANCE> aInstance; ///< sorted
    std::vector<PROG_ELF_ROW> aElfSym; ///< kept ELF symbols by address, a function first
    ELF_SYM_LIST aFunction, aFunctionWithoutFile;
    // Of the elements of aFunction, only during the load; the range of an expansion that stands for its function is empty.
    std::vector<CAddrRange> aFunctionRange;
    std::vector<U32> aFunctionStart;
    CFunctionMap FunctionMap;
    CInnermostMap FileMap;
    std::vector<PROG_FDE_ROW> aFde;    ///< by low PC, one a low PC
    U32 LowLimit = 0;

    ELF_SYM_HANDLE hCurrentFunction = 0, hControlBlock = 0;
    ELF_SYM_LIST aCurrentLocal;

    // Filled on first use
    QHash<ELF_SYM_HANDLE, QString> aNames[2];
    qsizetype NumNameChars = 0; ///< in aNames
    QHash<ELF_SYM_HANDLE, QString> TypeTexts;
    QHash<ELF_SYM_HANDLE, QList<CAddrRange>> Ranges;
    QHash<ELF_SYM_HANDLE, CAddrRange> Range;
    QHash<ELF_SYM_HANDLE, CSrcLoc> SrcLocs;
    QHash<ELF_SYM_HANDLE, U32> Sizes;
    QHash<QPair<ELF_SYM_HANDLE, U32>, ELF_SYM_LOC> Locs;
    CNameIndex FunctionNames, VariableNames, TypeNames, ElfNames;
    QHash<QByteArrayView, const char*> Macros; ///< name to text, both in the file's own bytes
    bool HasMacros = false;
    QHash<CSrcLoc, ELF_SYM_LIST> FunctionsAtLoc;
    bool HasFunctionsAtLoc = false;
    QHash<U32, U32> FileInstCounts;
    QHash<CAddrRange, U32> LineCounts;
};

/// The tables; the lock object is the proof that the caller holds the mutex.
PROG_TABLES& PROG_Tables(const CProgLock& Lock);
const PROG_HOOKS& PROG_Hooks();

/// The mapped rows at exactly this address.
struct PROG_MAP_SPAN {
    const PROG_MAP_ROW* pFirst;
    const PROG_MAP_ROW* pLast;
    bool IsEmpty() const { return pFirst == pLast; }
};
PROG_MAP_SPAN ProgRowsAt(const PROG_TABLES& Tab, U32 Addr);
/// The rows that answer for an address, the fallback to lower addresses of the same function included.
PROG_MAP_SPAN ProgRowsFor(const PROG_TABLES& Tab, U32 Addr);
/// The rows by location, sorted at the first call.
const CBigVector<PROG_LOC_ROW>& ProgRowsByLoc(PROG_TABLES& Tab);
/// The functions around an address, null if there are none.
const CFunctionMap::STRETCH* ProgStretchAt(const PROG_TABLES& Tab, U32 Addr);
ELF_SYM_HANDLE ProgFunctionAt(const PROG_TABLES& Tab, U32 Addr, bool PreferOuter);
/// The instances of an abstract function.
std::pair<const PROG_INSTANCE*, const PROG_INSTANCE*> ProgInstances(const PROG_TABLES& Tab, ELF_SYM_HANDLE hOrigin);
CAddrRange ProgSymRange(PROG_TABLES& Tab, ELF_SYM_HANDLE hSym);
const QList<CAddrRange>& ProgSymRanges(PROG_TABLES& Tab, ELF_SYM_HANDLE hSym);
/// Calls Visit(low, high) for each range of code where it lies at run time; High is exclusive.
template <typename VISIT> void ProgForEachRange(const ELF_CODE& Code, VISIT Visit)
{
    if (Code.NumRanges == 1) {
        const U32 Low = ELF_ToRuntimeAddr(Code.Low, 1, 0), High = ELF_ToRuntimeAddr(Code.High, 0, 1);
        if (High > Low) Visit(Low, High);
        return;
    }
    for (U32 i = 0; i < Code.NumRanges; i++) {
        const U32 Low = ELF_GetSymRangeLow(Code.hSym, i), High = ELF_GetSymRangeHigh(Code.hSym, i);
        if (High > Low) Visit(Low, High);
    }
}
/// Lowest address and span of a function's code, as ProgSymRange.
CAddrRange ProgCodeRange(const ELF_CODE& Code);
bool ProgIsFunction(ELF_SYM_HANDLE hSym);
/// File number of a path as the debug information holds it, 0xFFFFFFFF if none.
U32 ProgFileOfPath(const PROG_TABLES& Tab, const QString& sPath);
QString ProgNormalizePath(const QString& sPath);
U32 ProgAlign(U32 Addr);

// Steps of the load, in their order
void ProgLoadBlocks(PROG_TABLES& Tab);
void ProgLoadLineFiles(PROG_TABLES& Tab);
void ProgLoadUnitFiles(PROG_TABLES& Tab);
void ProgLoadExists(PROG_TABLES& Tab);
void ProgLoadMapping(PROG_TABLES& Tab);
void ProgLoadFileRanges(PROG_TABLES& Tab);
void ProgCleanMapping(PROG_TABLES& Tab);
void ProgLoadSymbolLists(PROG_TABLES& Tab);
void ProgLoadInlines(PROG_TABLES& Tab);
void ProgSortMapping(PROG_TABLES& Tab);
void ProgLoadElfSymbols(PROG_TABLES& Tab);
void ProgLoadFunctions(PROG_TABLES& Tab);
void ProgLoadFunctionTree(PROG_TABLES& Tab);
void ProgLoadFileTree(PROG_TABLES& Tab);
void ProgLoadFileFunctions(PROG_TABLES& Tab);
void ProgLoadFrames(PROG_TABLES& Tab);

/// Receiver of the diagnostics of the ELF layer.
void ProgDiag(const ELF_DIAG* pDiag);
/// While it is not null, what this thread has to report goes there instead of to the log.
extern thread_local QList<PROG_MESSAGE>* g_paHeldMessages;
/// Logs a message of the ELF layer, on the main thread only the first time that it comes for a program.
void ProgLogMessage(const PROG_MESSAGE& Message);
