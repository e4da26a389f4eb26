// The tables behind program/tables/prog.h. Internal to program_tables; everything runs under the program table
// mutex, which whoever reaches the tables proves by the lock object that PROG_Tables() takes.
//
// The address mapping is two sorted arrays of plain rows instead of hashes: a large program has a million rows,
// and every question about them is a binary search.
#pragma once
#include "program/tables/intervaltree.h"
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
    friend bool operator<(const PROG_LOC_ROW& a, const PROG_LOC_ROW& b)
    {
        if (a.File != b.File) return a.File < b.File;
        if (a.Line != b.Line) return a.Line < b.Line;
        return a.Addr < b.Addr;
    }
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
    ELF_SYM_HANDLE hSym;
};

struct PROG_FDE_ROW {
    U32 Low, High;
};

struct PROG_FUNC_HITS {
    ELF_SYM_LIST aHit;
};

struct PROG_TABLES {
    bool Loading = false, Loaded = false, Unloading = false;
    QString sPath;
    ELF_HANDLE hFile = nullptr;
    ELF_SRC_LANG Lang = ELF_SRC_LANG_C;
    QList<PROG_BLOCK> aBlock;

    std::vector<PROG_MAP_ROW> aMap;    ///< by address, then the order of CSrcLoc
    std::vector<PROG_LOC_ROW> aByLoc;  ///< by file, line, address
    std::vector<U32> aMapped;          ///< distinct addresses of aMap

    QList<U32> aFile;                  ///< file numbers in the order in which they were met
    QHash<U32, PROG_FILE> Files;
    std::vector<U32> aFileOfSrc;       ///< ELF source file index to file number
    QHash<QString, U32> FileByPath;    ///< lower-case path and normalised path to file number
    QHash<QString, U32> FileByOverride;
    QMultiHash<QString, U32> FileByName; ///< lower-case bare file name to file number

    ELF_SYM_LIST aInlined, aDwarfFunction, aGlobal, aNamespace, aCu, aType;
    QHash<ELF_SYM_HANDLE, ELF_SYM_LIST> Instances;
    std::vector<PROG_ELF_ROW> aElfSym; ///< kept ELF symbols by address, a function first
    ELF_SYM_LIST aElfFunction;
    ELF_SYM_LIST aFunction, aFunctionWithoutFile;
    CIntervalTree FunctionTree, FileTree;
    std::vector<PROG_FDE_ROW> aFde;    ///< by low PC, one a low PC
    U32 LowLimit = 0;

    ELF_SYM_HANDLE hCurrentFunction = 0, hControlBlock = 0;
    ELF_SYM_LIST aCurrentLocal;

    // Filled on first use
    QHash<U32, ELF_SYM_LIST> FunctionHits;
    QHash<ELF_SYM_HANDLE, QString> aNames[2];
    QHash<ELF_SYM_HANDLE, QString> TypeTexts;
    QHash<ELF_SYM_HANDLE, QList<CAddrRange>> Ranges;
    QHash<ELF_SYM_HANDLE, CAddrRange> Range;
    QHash<ELF_SYM_HANDLE, CSrcLoc> SrcLocs;
    QHash<ELF_SYM_HANDLE, U32> Sizes;
    QHash<QPair<ELF_SYM_HANDLE, U32>, ELF_SYM_LOC> Locs;
    QHash<QString, ELF_SYM_LIST> FunctionNames, VariableNames, TypeNames, ElfNames;
    bool HasFunctionNames = false, HasVariableNames = false, HasTypeNames = false, HasElfNames = false;
    QHash<QString, QString> Macros;
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
PROG_MAP_SPAN ProgRowsFor(PROG_TABLES& Tab, U32 Addr);
/// Functions around an address, outer first.
const ELF_SYM_LIST& ProgFunctionsAt(PROG_TABLES& Tab, U32 Addr);
ELF_SYM_HANDLE ProgFunctionAt(PROG_TABLES& Tab, U32 Addr, bool PreferOuter);
CAddrRange ProgSymRange(PROG_TABLES& Tab, ELF_SYM_HANDLE hSym);
const QList<CAddrRange>& ProgSymRanges(PROG_TABLES& Tab, ELF_SYM_HANDLE hSym);
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
void ProgSortRows(PROG_TABLES& Tab);

/// Receiver of the diagnostics of the ELF layer.
void ProgDiag(const ELF_DIAG* pDiag);
