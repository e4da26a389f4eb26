// The program file as the rest of the debugger sees it: an executable ELF32 file and its DWARF lists.
//
//   ELF_HANDLE hFile = ELF_Open("blinky.elf", true);
//   for (U32 i = 0; i < ELF_GetSegmentCount(hFile); i++) Load(ELF_GetSegmentPhysAddr(hFile, i), ...);
//   ELF_Close(hFile);
//
// At most three files are open at a time. Every function looks its handle up first: an unknown or null
// handle gives the function's neutral result (0, -1, null or an empty text). Functions without a handle work
// on the current file, the one opened last. Nothing here locks: callers other than the load hold the program
// table mutex (CProgLock in program/tables/prog.h). Texts are valid until the file is closed unless said
// otherwise. What concerns the meaning of a debug symbol is in program/symbols/elfsym.h.
#pragma once
#include "app/services/types.h"

#include <atomic>

/// Names one open program file; null means none.
using ELF_HANDLE = struct ELF_FILE*;

/// Names a symbol of an open file by value; 0 means no symbol. A handle of a closed file fails every lookup.
/// Bits 63-40 tag 0xE0FE0F, 37-35 slot of the file, 34-32 kind, 31-0 id.
using ELF_SYM_HANDLE = U64;

enum ELF_SYM_KIND : U32 { ELF_SYM_KIND_NONE = 0, ELF_SYM_KIND_DEBUG = 1, ELF_SYM_KIND_ELF = 2 };

enum ELF_SRC_LANG : U32 { ELF_SRC_LANG_C = 1, ELF_SRC_LANG_CPP = 2 };

enum ELF_BYTE_ORDER : int { ELF_LITTLE_ENDIAN = 0, ELF_BIG_ENDIAN = 1, ELF_UNKNOWN_ENDIAN = 2 };

/// Numbers of the diagnostics that this layer reports itself; 1 to 34 are those of the DWARF library.
enum ELF_ERROR : U32 {
    ELF_ERR_LIB_NO_DEBUG_INFO = 7,
    ELF_ERR_BAD_HANDLE = 100,
    ELF_ERR_RECURSION = 101,
    ELF_ERR_CONST_SIZE = 102,
    ELF_ERR_IMPLICIT_VALUE_SIZE = 103,
    ELF_ERR_ENTRY_VALUE = 104,
    ELF_ERR_TOO_MANY_PARTS = 105,
    ELF_ERR_BIT_PIECE = 106,
    ELF_ERR_LOC_ELEMENT = 107,
    ELF_ERR_TYPE_UNIT = 108,
    ELF_ERR_COMP_UNIT = 109,
    ELF_ERR_SRC_FILES = 110,
    ELF_ERR_SRC_LINES = 111,
    ELF_ERR_MACROS = 112,
    ELF_ERR_CALL_FRAMES = 113,
    ELF_ERR_NAME_INDEX = 114,
    ELF_ERR_CFI_EXPRESSION = 115,
    ELF_ERR_CFI_VAL_EXPRESSION = 116,
    ELF_ERR_CFI_VALUE_TYPE = 117,
    ELF_ERR_MAGIC = 118,
    ELF_ERR_NOT_EXECUTABLE = 119,
    ELF_ERR_CLASS_NONE = 120,
    ELF_ERR_DATA_NONE = 121,
    ELF_ERR_HEADER_VERSION = 122,
    ELF_ERR_FILE_VERSION = 123,
    ELF_ERR_TOO_MANY_FILES = 124,
    ELF_ERR_OPEN = 125,
    ELF_ERR_FILE_SIZE = 126,
    ELF_ERR_MEMORY = 127,
    ELF_ERR_READ = 128,
    ELF_ERR_DEBUG_SYMBOLS = 133,
};

/// One diagnostic. Flags are those of app/services/log.h. The texts live only during the call.
struct ELF_DIAG {
    U32 Code;               ///< ELF_ERROR
    U32 Flags;              ///< MSG_FLAGS
    U32 SrcLine;            ///< line of the reporting function, 0 if unknown
    U32 NumArgs;            ///< 0 to 4
    const char* asArg[4];   ///< arguments of the message
    const char* sText;      ///< ready-made text; null if the message table supplies it
    const char* sFuncName;  ///< reporting function, may be null
};
using ELF_DIAG_FUNC = void (*)(const ELF_DIAG* pDiag);

/// The one recursive program table mutex, which guards this layer and all tables above it. Callers use CProgLock
/// (program/tables/prog.h) or, below the tables, CElfLock.
void ELF_Lock();
void ELF_Unlock();
class CElfLock {
public:
    CElfLock() { ELF_Lock(); }
    ~CElfLock() { ELF_Unlock(); }
    CElfLock(const CElfLock&) = delete;
    CElfLock& operator=(const CElfLock&) = delete;
};

/// Sets the one receiver of diagnostics; null drops them all. Set before the first open.
void ELF_SetDiagCallback(ELF_DIAG_FUNC pfDiag);

// ---- Life cycle ----------------------------------------------------------------------------------------

/// Shared by an open under way and whoever watches it.
struct ELF_PROGRESS {
    std::atomic<U32> Permille{0};     ///< how far it is, 0 to 1000
    std::atomic<bool> Cancel{false};  ///< set by the watcher: the open gives up soon
};

/// Reads and parses a file (UTF-8 path) and makes it the current file. Null on failure, after one diagnostic.
/// A failure to parse the debug information is reported, but the file stays open without it.
ELF_HANDLE ELF_Open(const char* sPath, bool ParseDebugInfo);
/// Why a file could not be opened.
struct ELF_OPEN_ERROR {
    U32 Code = 0;          ///< ELF_ERROR, 0 if the open was cancelled
    char acWhat[96] = "";  ///< what the file is, if that is the reason; else empty
};

/// The first half of an open, for a thread of its own and without the mutex: the file that comes back is known to
/// nobody but threads that hold a CElfPrivate for it, one at a time. *pError tells of a failure, which is not reported.
/// End it with ELF_Publish or ELF_Discard.
ELF_HANDLE ELF_OpenPrivate(const char* sPath, bool ParseDebugInfo, ELF_PROGRESS* pProgress, ELF_OPEN_ERROR* pError);
/// Reports why a file could not be opened, as ELF_Open does.
void ELF_ReportOpenError(const ELF_OPEN_ERROR& Error);
/// Makes a private file known to all and the current one. Under the mutex.
void ELF_Publish(ELF_HANDLE hFile);
/// Frees a private file.
void ELF_Discard(ELF_HANDLE hFile);
/// While it lives, the private file counts as open and current on this thread.
class CElfPrivate {
public:
    explicit CElfPrivate(ELF_HANDLE hFile);
    ~CElfPrivate();
    CElfPrivate(const CElfPrivate&) = delete;
    CElfPrivate& operator=(const CElfPrivate&) = delete;

private:
    ELF_HANDLE m_hPrev;
};
/// Frees everything of the file; ignored while an open or close is under way. All handles of it die.
void ELF_Close(ELF_HANDLE hFile);
/// Text of a diagnostic number from 100 on; the empty text for any other.
const char* ELF_GetErrorText(U32 Code);
/// Set when a core plug-in is bound. CodeAlign in bytes (a power of two; 0 counts as 1), SPColumn is the DWARF
/// register number of the stack pointer.
void ELF_SetCoreParameters(U32 CodeAlign, U32 SPColumn);
U32 ELF_GetCodeAlign();
U32 ELF_GetSPColumn();
ELF_HANDLE ELF_GetCurrentFile();
/// Makes an open file the current one; used to return to the session's file. 0, or -1 for a bad handle.
int ELF_SetCurrentFile(ELF_HANDLE hFile);
/// Index 0 to 2 of the file in the open table, -1 for a bad handle.
int ELF_GetSlot(ELF_HANDLE hFile);
/// File in a slot, null if none.
ELF_HANDLE ELF_GetFileInSlot(U32 Slot);
/// Path as it was given to ELF_Open; the empty text for a bad handle.
const char* ELF_GetPath(ELF_HANDLE hFile);
/// Clock value in milliseconds taken at the open; differs between two opens. 0 for a bad handle.
U64 ELF_GetOpenTime(ELF_HANDLE hFile);

// ---- Header, segments, sections ------------------------------------------------------------------------

const U8* ELF_GetFileImage(ELF_HANDLE hFile);
U32 ELF_GetFileSize(ELF_HANDLE hFile);
U32 ELF_GetClass(ELF_HANDLE hFile);         ///< e_ident[EI_CLASS]; 3 on a bad handle
int ELF_GetByteOrder(ELF_HANDLE hFile);     ///< ELF_BYTE_ORDER
U32 ELF_GetMachine(ELF_HANDLE hFile);       ///< e_machine (40 ARM, 243 RISC-V); 0 on a bad handle
/// Name of a machine (e_machine), such as "ARM"; "machine 99" in the scratch buffer of the thread for an unknown one.
const char* ELF_GetMachineName(U32 Machine);
U32 ELF_GetHeaderFlags(ELF_HANDLE hFile);   ///< e_flags
U32 ELF_GetEntryPoint(ELF_HANDLE hFile);    ///< rounded down to the code alignment; 0xFFFFFFFF stays
I64 ELF_GetLowestCodeAddr(ELF_HANDLE hFile);///< lowest physical address of a non-empty PT_LOAD; -1 if none

U32 ELF_GetSegmentCount(ELF_HANDLE hFile);
U32 ELF_GetSegmentType(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSegmentOffset(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSegmentVirtAddr(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSegmentPhysAddr(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSegmentFileSize(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSegmentMemSize(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSegmentFlags(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSegmentHeaderGap(ELF_HANDLE hFile, U32 Index); ///< bytes before the first allocated section; 0 if none
const U8* ELF_GetSegmentData(ELF_HANDLE hFile, U32 Index);///< null if empty or outside of the file

U32 ELF_GetSectionCount(ELF_HANDLE hFile);
const char* ELF_GetSectionName(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSectionType(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSectionFlags(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSectionAddr(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSectionOffset(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSectionSize(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSectionEntrySize(ELF_HANDLE hFile, U32 Index);
const U8* ELF_GetSectionData(ELF_HANDLE hFile, U32 Index);///< raw bytes; null if not wholly in the file
int ELF_FindSection(ELF_HANDLE hFile, const char* sName); ///< index by exact name, -1 if none
int ELF_FindSectionByInfo(ELF_HANDLE hFile, U32 Info);    ///< first section with that sh_info, -1 if none
int ELF_FindSectionContaining(ELF_HANDLE hFile, U32 Addr, int Type); ///< Type -1: any type; -1 if none
/// One entry of a SHT_REL or SHT_RELA section; zeros for other sections. 0, or -1 for a bad index.
int ELF_GetRelocation(ELF_HANDLE hFile, U32 Section, U32 Entry, U32* pType, U32* pOffset, U32* pSymbol,
                      I32* pAddend);
/// Symbol index and name of the relocation entry at exactly this address; -1 and null if there is none.
int ELF_GetRelocationSymbol(ELF_HANDLE hFile, U32 Addr, const char** psName);

// ---- ELF symbols, by index -----------------------------------------------------------------------------

U32 ELF_GetSymbolCount(ELF_HANDLE hFile);
U32 ELF_GetFunctionSymbolCount(ELF_HANDLE hFile);
ELF_SYM_HANDLE ELF_GetSymbolHandle(ELF_HANDLE hFile, U32 Index);     ///< 0 for a bad index
int ELF_GetFunctionSymbol(ELF_HANDLE hFile, U32 Pos);                ///< symbol index, -1 if none
/// Function that covers the address. Without one: -1 if Strict, else the nearest function below.
int ELF_FindFunctionSymbol(ELF_HANDLE hFile, U32 Addr, bool Strict);
/// Exact: a symbol at the address. Else the nearest below. Type: STT_ value; 0 (exact) or -1 takes any.
int ELF_FindSymbolByAddr(ELF_HANDLE hFile, U32 Addr, bool Exact, int Type);
int ELF_FindSymbolByName(ELF_HANDLE hFile, const char* sName);       ///< exact name; -1 if none
const char* ELF_GetSymbolName(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSymbolValue(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetSymbolSize(ELF_HANDLE hFile, U32 Index);   ///< after the clean-up of zero sizes
U32 ELF_GetSymbolType(ELF_HANDLE hFile, U32 Index);   ///< STT_ value
U32 ELF_GetSymbolBinding(ELF_HANDLE hFile, U32 Index);///< STB_ value
U32 ELF_GetSymbolSection(ELF_HANDLE hFile, U32 Index);///< st_shndx
/// Lowest value and highest end over all symbols. 0 and the symbol count in *pCount; -1 if there are none.
int ELF_GetSymbolSpan(ELF_HANDLE hFile, U32* pLow, U32* pHigh, U32* pCount);

// ---- Debug lists ---------------------------------------------------------------------------------------

enum ELF_LIST : U32 {
    ELF_LIST_GLOBAL_VARS,
    ELF_LIST_NAMESPACES,
    ELF_LIST_NAMESPACE_EXTENSIONS,
    ELF_LIST_TYPES,
    ELF_LIST_COMPILATION_UNITS,
    ELF_LIST_FUNCTIONS,
    ELF_LIST_INLINED,
    ELF_NUM_LISTS,
};
U32 ELF_GetListCount(ELF_HANDLE hFile, ELF_LIST List);
ELF_SYM_HANDLE ELF_GetListItem(ELF_HANDLE hFile, ELF_LIST List, U32 Index); ///< 0 for a bad index

inline U32 ELF_GetGlobalVarCount(ELF_HANDLE h) { return ELF_GetListCount(h, ELF_LIST_GLOBAL_VARS); }
inline ELF_SYM_HANDLE ELF_GetGlobalVar(ELF_HANDLE h, U32 i) { return ELF_GetListItem(h, ELF_LIST_GLOBAL_VARS, i); }
inline U32 ELF_GetNamespaceCount(ELF_HANDLE h) { return ELF_GetListCount(h, ELF_LIST_NAMESPACES); }
inline ELF_SYM_HANDLE ELF_GetNamespace(ELF_HANDLE h, U32 i) { return ELF_GetListItem(h, ELF_LIST_NAMESPACES, i); }
inline U32 ELF_GetTypeCount(ELF_HANDLE h) { return ELF_GetListCount(h, ELF_LIST_TYPES); }
inline ELF_SYM_HANDLE ELF_GetType(ELF_HANDLE h, U32 i) { return ELF_GetListItem(h, ELF_LIST_TYPES, i); }
inline U32 ELF_GetFunctionCount(ELF_HANDLE h) { return ELF_GetListCount(h, ELF_LIST_FUNCTIONS); }
inline ELF_SYM_HANDLE ELF_GetFunction(ELF_HANDLE h, U32 i) { return ELF_GetListItem(h, ELF_LIST_FUNCTIONS, i); }
inline U32 ELF_GetInlinedCount(ELF_HANDLE h) { return ELF_GetListCount(h, ELF_LIST_INLINED); }
inline ELF_SYM_HANDLE ELF_GetInlined(ELF_HANDLE h, U32 i) { return ELF_GetListItem(h, ELF_LIST_INLINED, i); }
inline U32 ELF_GetCuCount(ELF_HANDLE h) { return ELF_GetListCount(h, ELF_LIST_COMPILATION_UNITS); }
inline ELF_SYM_HANDLE ELF_GetCu(ELF_HANDLE h, U32 i) { return ELF_GetListItem(h, ELF_LIST_COMPILATION_UNITS, i); }

ELF_SYM_HANDLE ELF_GetMainFunction(ELF_HANDLE hFile); ///< the entry function of the program, 0 if none
ELF_SRC_LANG ELF_GetSrcLang(ELF_HANDLE hFile);        ///< C++ when any compilation unit is
U32 ELF_GetDwarfVersion(ELF_HANDLE hFile);            ///< highest of all units, 0 without debug information

/// Code of a function or an inline expansion as linked, out of the first pass over the file.
struct ELF_CODE {
    ELF_SYM_HANDLE hSym;
    ELF_SYM_HANDLE hOrigin; ///< function that is expanded or instantiated, 0 if none
    U32 Low, High;          ///< lowest address and highest end; Low is 0xFFFFFFFF if there is no code
    U32 NumRanges;
};
/// Element of ELF_LIST_FUNCTIONS or ELF_LIST_INLINED; zeros and Low 0xFFFFFFFF for anything else.
ELF_CODE ELF_GetCode(ELF_HANDLE hFile, ELF_LIST List, U32 Index);
/// The same by symbol; hSym is 0 if it is in neither list.
ELF_CODE ELF_FindCode(ELF_SYM_HANDLE hSym);

/// Linkers leave the debug information of functions that they drop at address 0. True for one that really lies there: a
/// function symbol of its name is at 0, in a section of code.
bool ELF_IsFunctionAtZero(ELF_SYM_HANDLE hFunc);
/// Some function symbol is at 0, in a section of code.
bool ELF_HasFunctionAtZero(ELF_HANDLE hFile);

/// Line records in file order. All by index 0 to count - 1; 0 for a bad index.
U32 ELF_GetLineCount(ELF_HANDLE hFile);
U32 ELF_GetLineAddr(ELF_HANDLE hFile, U32 Index);       ///< relocated
U32 ELF_GetLineNumber(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetLineColumn(ELF_HANDLE hFile, U32 Index);
const char* ELF_GetLineFile(ELF_HANDLE hFile, U32 Index);///< path as the debug information holds it
U32 ELF_GetLineFileIndex(ELF_HANDLE hFile, U32 Index);  ///< index into the source file names, 0xFFFFFFFF if none
bool ELF_LineIsEndOfSequence(ELF_HANDLE hFile, U32 Index);///< the row only marks the end of the rows before it
bool ELF_LineIsStmt(ELF_HANDLE hFile, U32 Index);

/// The line records as an array, as linked; null and 0 if there are none. Valid until ELF_DropLines.
struct ELF_LINE {
    U32 Addr, Line, File; ///< File: index into the source file names, 0xFFFFFFFF if none
    U16 Col;
    U16 IsStmt : 1, EndSequence : 1;
};
const ELF_LINE* ELF_GetLines(ELF_HANDLE hFile, U32* pCount);
/// Frees the line records; they are read again when one is asked for.
void ELF_DropLines(ELF_HANDLE hFile);

/// Distinct source file names, in the order in which they were met.
U32 ELF_GetSrcFileCount(ELF_HANDLE hFile);
const char* ELF_GetSrcFile(ELF_HANDLE hFile, U32 Index);
/// Index of a source file name, 0xFFFFFFFF if there is none.
U32 ELF_FindSrcFile(ELF_HANDLE hFile, const char* sPath);
/// Compilation units that mention a source file.
U32 ELF_GetFileCuCount(ELF_HANDLE hFile, const char* sPath);
ELF_SYM_HANDLE ELF_GetFileCu(ELF_HANDLE hFile, const char* sPath, U32 Index);
/// Source files of a compilation unit as indices into the source file names; 0 entries for other symbols.
U32 ELF_GetCuFileCount(ELF_SYM_HANDLE hCu);
U32 ELF_GetCuFile(ELF_SYM_HANDLE hCu, U32 Index);

/// Macro definitions, in file order.
U32 ELF_GetMacroCount(ELF_HANDLE hFile);
const char* ELF_GetMacroText(ELF_HANDLE hFile, U32 Index); ///< name, a blank and the definition
U32 ELF_GetMacroLine(ELF_HANDLE hFile, U32 Index);

/// Call frame records (.debug_frame, then .eh_frame), bounds relocated.
U32 ELF_GetFdeCount(ELF_HANDLE hFile);
U32 ELF_GetFdeLowPc(ELF_HANDLE hFile, U32 Index);
U32 ELF_GetFdeHighPc(ELF_HANDLE hFile, U32 Index);       ///< exclusive
U32 ELF_GetReturnAddrColumn(ELF_HANDLE hFile);
/// Largest distance in bytes of the CFA from its base within the function at PC; -1 without a record.
I32 ELF_GetFrameSize(U32 PC);

// ---- Symbol relocation ---------------------------------------------------------------------------------

/// Adds a record: "*", a numeric range "low-high", a section name or a symbol name; Offset in bytes is added
/// to all its addresses. Records outlive the file and are resolved again at each open.
/// 0, or -1 if the text can't be resolved now.
int ELF_AddRelocation(const char* sSpec, I32 Offset);
void ELF_ClearRelocations();
/// Resolves all records against the current file; done by ELF_Open, and by whoever holds a private file, under the mutex.
void ELF_EvalRelocations();
bool ELF_HasRelocations(); ///< some record is in effect
U32 ELF_ToRuntimeAddr(U32 Addr, U32 LowSlack, U32 HighSlack);
U32 ELF_FromRuntimeAddr(U32 Addr, U32 LowSlack, U32 HighSlack);
