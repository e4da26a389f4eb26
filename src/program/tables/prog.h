// The tables of the loaded program: functions, variables, source files and the relation of code addresses and
// source lines. Windows, stepping and the evaluator ask here.
//
//   if (PROG_Load("/home/me/blinky.elf") == 0) {
//       CSrcLoc Loc = PROG_GetFirstSrcLoc(PC);                  // address to source
//       U32 Addr = U32(PROG_GetFirstAddr(CSrcLoc(Loc.File, 12))); // source to address
//   }
//
// Every operation takes the one recursive program table mutex, so any thread may call (exceptions are named).
// While no file is loaded each gives its neutral result: an empty list, a zero location, 0 or -1. Handles and
// addresses die with PROG_Unload; file numbers stay the same for the same path text.
#pragma once
#include "program/datafiles/rawblocks.h"
#include "program/elf/elf.h"
#include "program/symbols/elfsym.h"
#include "program/tables/addrrange.h"
#include "program/tables/srcloc.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

/// Holds the program table mutex; for callers that make several ELF_ calls belong together, or keep texts.
class CProgLock {
public:
    CProgLock();
    ~CProgLock();
    CProgLock(const CProgLock&) = delete;
    CProgLock& operator=(const CProgLock&) = delete;
};

/// One loadable block of the program file; the data live until PROG_Unload.
using PROG_BLOCK = BFile::RAW_BLOCK;

/// What lies above this layer and is reached from it; set once at start, each may be empty.
struct PROG_HOOKS {
    std::function<int(ELF_HANDLE)> BindCore;                 ///< 0, or -1 when the file doesn't fit the core
    std::function<void()> UnbindCore;                        ///< before the file is closed
    std::function<void(const PROG_BLOCK*, U32)> SetBlocks;   ///< the program's blocks, at load
    std::function<bool(U32)> IsInstStart;                    ///< an instruction starts at the address
    std::function<bool(U32)> IsData;                         ///< the address lies in a data region of the code
    std::function<U32(const QList<CAddrRange>&)> CountInsts; ///< instructions in ranges; main thread
};
void PROG_SetHooks(const PROG_HOOKS& Hooks);

// ---- Load and identity ---------------------------------------------------------------------------------

int PROG_Load(const QString& sPath); ///< 0, or -1 if the file can't be opened or bound to the core
void PROG_Unload();

struct PROG_TABLES;
/// A message that waits for the main thread.
struct PROG_MESSAGE {
    QString sText;
    U32 Flags;   ///< MSG_FLAGS
    bool Always; ///< also when the text was shown for this program before
    bool operator==(const PROG_MESSAGE&) const = default;
};
/// A load in parts, so that the long ones can run on a thread of their own while everybody else works on: until
/// Publish the program that is being loaded is known to nobody. The parts run in the order of their declaration, each
/// once and one at a time; all but the first are left out after a failure.
class CProgLoad {
public:
    explicit CProgLoad(const QString& sPath);
    ~CProgLoad(); ///< drops what was not published
    CProgLoad(const CProgLoad&) = delete;
    CProgLoad& operator=(const CProgLoad&) = delete;

    bool ReadFile();    ///< any thread, without the mutex. False if the file can't be opened or after a cancel
    bool BindCore();    ///< main thread, nothing loaded. False if the file doesn't fit the core; reports what ReadFile met
    bool BuildTables(); ///< any thread, without the mutex. False after a cancel
    int Publish();      ///< main thread, nothing loaded: the program is loaded. 0, or -1 if a part before has failed
    ELF_PROGRESS& Progress() { return m_Progress; } ///< any thread
    ELF_HANDLE GetFile() const { return m_hFile; }  ///< for CElfPrivate, between BindCore and Publish; else null

private:
    void _Report();

    QString m_sPath;
    ELF_PROGRESS m_Progress;
    ELF_HANDLE m_hFile = nullptr;
    ELF_OPEN_ERROR m_Error;
    std::unique_ptr<PROG_TABLES> m_pTab;
    QList<PROG_MESSAGE> m_aHeld; ///< what other threads had to report
    qint64 m_StartNs = 0;
    bool m_IsBound = false;
};
QString PROG_GetPath();              ///< empty if none
bool PROG_IsLoaded();
int PROG_GetByteOrder();             ///< ELF_BYTE_ORDER; 2 if none
U32 PROG_GetEntryPoint();            ///< relocated; 0xFFFFFFFF if none
ELF_HANDLE PROG_GetFileHandle();     ///< use under CProgLock; null if none
ELF_SRC_LANG PROG_GetSrcLang();
QList<PROG_BLOCK> PROG_GetBlocks();
/// Bytes out of the program data, by load address and else by virtual address. Returns the count read, which ends at the first gap; -1 if
/// the address is in no block. pBuffer may be null for a test of the range.
int PROG_ReadBytes(U32 Addr, U32 Size, void* pBuffer);

// ---- Address to source ---------------------------------------------------------------------------------

QList<CSrcLoc> PROG_GetSrcLocs(U32 Addr);  ///< with the fallback to at most 256 bytes below; sorted
CSrcLoc PROG_GetFirstSrcLoc(U32 Addr);
CSrcLoc PROG_GetLastSrcLoc(U32 Addr);
CSrcLoc PROG_GetExactSrcLoc(U32 Addr);     ///< without the fallback
bool PROG_HasSrcLoc(U32 Addr);             ///< with the fallback
bool PROG_HasExactSrcLoc(U32 Addr);
I64 PROG_GetNextMappedAddr(U32 Addr);      ///< smallest above, -1 if none
I64 PROG_GetPrevMappedAddr(U32 Addr);      ///< largest below, -1 if none
/// Next address, within 1000 bytes, on another line. 0 and *pNext, or -1.
int PROG_GetNextLineAddr(U32 Addr, U32* pNext);
U32 PROG_GetFileOfAddr(U32 Addr);          ///< file number, 0xFFFFFFFF if none

// ---- Source to address ---------------------------------------------------------------------------------

QList<U32> PROG_GetAddrs(const CSrcLoc& Loc); ///< ascending
I64 PROG_GetFirstAddr(const CSrcLoc& Loc);    ///< -1 if none
QList<U32> PROG_GetAddrsInRange(const CSrcLoc& Loc, U32 Start, U32 End);
CSrcLoc PROG_GetNextLineWithCode(const CSrcLoc& Loc); ///< at or after, at most 1000 lines on; zero if none
CSrcLoc PROG_GetPrevLineWithCode(const CSrcLoc& Loc); ///< at or before; zero if none

enum PROG_LOCATION_KIND : int {
    PROG_LOCATION_NONE = -1,
    PROG_LOCATION_ADDRESS = 0,
    PROG_LOCATION_SOURCE = 1,
    PROG_LOCATION_SYMBOL = 2,
    PROG_LOCATION_DECLARATION = 3,
};
/// The place that a text names: hexadecimal address, symbol name or source location. pKind may be null.
CAddrRange PROG_ResolveLocationText(const QString& sText, int* pKind);
/// "file:line" or "file:line:column" to a location; the zero location if the text names none.
CSrcLoc PROG_ParseSrcLoc(const QString& sText);
/// The text form: "main.c:12", with the column if there is one; the whole path when the bare file name is not
/// unique. Empty for a location that is not valid or of no known file.
QString PROG_GetSrcLocText(const CSrcLoc& Loc);

// ---- Symbols -------------------------------------------------------------------------------------------

/// Function at an address, 0 if none. PreferOuter 0: the innermost inline expansion; else the real function.
ELF_SYM_HANDLE PROG_GetFunctionAt(U32 Addr, int PreferOuter);
ELF_SYM_LIST PROG_FindSymbols(const QString& sName, bool Functions, bool Variables, bool Types, bool ElfSymbols,
                              bool Sort);
ELF_SYM_LIST PROG_FindSymbolsAtSrcLoc(const CSrcLoc& Loc);
ELF_SYM_LIST PROG_GetFunctions();
ELF_SYM_LIST PROG_GetGlobals();
ELF_SYM_LIST PROG_GetTypes();
ELF_SYM_LIST PROG_GetCompilationUnits();
ELF_SYM_LIST PROG_GetFunctionsWithoutFile();
ELF_SYM_LIST PROG_GetInlineInstances(ELF_SYM_HANDLE hFunc);
/// Symbols in a scope. Filter: a DW_TAG value, 0 for all.
ELF_SYM_LIST PROG_GetChildren(ELF_SYM_HANDLE hScope, U32 Filter);
/// ELF symbols at an address (after the Thumb bit is dropped), a function symbol first.
ELF_SYM_LIST PROG_GetElfSymbolsAt(U32 Addr);
void PROG_SetCurrentFunction(ELF_SYM_HANDLE hFunc);
ELF_SYM_HANDLE PROG_GetCurrentFunction();
/// Locals and parameters of the current function, those of the outer function included for an inlined one.
ELF_SYM_LIST PROG_GetCurrentLocals();

enum PROG_NAME_MODE : int { PROG_NAME_PLAIN = 0, PROG_NAME_QUALIFIED = 1 };
QString PROG_GetSymName(ELF_SYM_HANDLE hSym, int Mode);
I64 PROG_GetSymAddr(ELF_SYM_HANDLE hSym);             ///< -1 if the symbol is not in memory
CAddrRange PROG_GetSymRange(ELF_SYM_HANDLE hSym);     ///< lowest low and span, code-aligned
QList<CAddrRange> PROG_GetSymRanges(ELF_SYM_HANDLE hSym);
ELF_SYM_LOC PROG_GetSymLoc(ELF_SYM_HANDLE hSym, U32 PC);
CSrcLoc PROG_GetSymSrcLoc(ELF_SYM_HANDLE hSym);       ///< declaration; call site of an inline expansion
U32 PROG_GetSymTag(ELF_SYM_HANDLE hSym);              ///< as ELF_GetSymTag
U32 PROG_GetSymSize(ELF_SYM_HANDLE hSym);
U32 PROG_GetSymAccess(ELF_SYM_HANDLE hSym);
QString PROG_GetSymTypeText(ELF_SYM_HANDLE hSym);
bool PROG_IsFunction(ELF_SYM_HANDLE hSym);
ELF_SYM_HANDLE PROG_GetMainFunction();
CSrcLoc PROG_GetMainSrcLoc();
QString PROG_GetMacroText(const QString& sName);      ///< empty if there is none
ELF_SYM_HANDLE PROG_GetControlBlockSymbol();          ///< `_TARVEX_MEMLANE`, 0 if none
/// The address has call frame information.
bool PROG_HasFrameInfo(U32 Addr);

// ---- Source files --------------------------------------------------------------------------------------

U32 PROG_GetFile(const QString& sName);               ///< file number, 0xFFFFFFFF if unknown
QStringList PROG_GetFilePaths();
QList<U32> PROG_GetFiles();
QString PROG_GetFilePath(U32 File);                   ///< override first, then the path of the table
QString PROG_GetOrigFilePath(U32 File);               ///< as the debug information holds it
bool PROG_GetFileExists(U32 File);
void PROG_SetFilePath(U32 File, const QString& sPath);///< an empty path takes the override away
QList<CAddrRange> PROG_GetFileRanges(U32 File);
ELF_SYM_LIST PROG_GetFileFunctions(U32 File);

// ---- Lines and instructions ----------------------------------------------------------------------------

QMap<U32, CAddrRange> PROG_GetFunctionLines(const CAddrRange& Range);
QList<CAddrRange> PROG_GetLineInstructions(U32 Line, const CAddrRange& Range);
QList<CAddrRange> PROG_GetSymbolSections(const CAddrRange& Range);
QList<CAddrRange> PROG_GetRangeGaps(const CAddrRange& Range);
U32 PROG_GetLineCount(const CAddrRange& Range);
U32 PROG_GetFileInstructionCount(U32 File);           ///< 0 off the main thread unless already counted
U32 PROG_GetFileCodeSize(U32 File);
