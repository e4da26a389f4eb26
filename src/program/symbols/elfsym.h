// The meaning of symbols: names, types, scopes, ranges and data locations.
//
//   ELF_SYM_HANDLE hFunc = ELF_GetFunction(hFile, 0);
//   for (U32 i = 0; i < ELF_GetSymLocalCount(hFunc); i++) {
//       ELF_SYM_HANDLE hVar = ELF_GetSymLocal(hFunc, i);
//       Show(ELF_GetSymName(hVar), ELF_GetSymTypeText(hVar), ELF_GetSymLoc(hVar, PC));
//   }
//
// All functions take any value as a handle: one that names no symbol of an open file gives the neutral result
// (0, an empty text, a location without parts). They run under the program table mutex (CProgLock).
// Texts are valid until the next call of a function that gives a text.
#pragma once
#include "program/elf/elf.h"
#include "program/symbols/elfsymloc.h"

#include <QList>

using ELF_SYM_LIST = QList<ELF_SYM_HANDLE>;

inline constexpr U32 ELF_BAD_TAG = 65535;

/// DW_TAG values that callers ask for.
enum ELF_TAG : U32 {
    ELF_TAG_ARRAY = 0x01,
    ELF_TAG_CLASS = 0x02,
    ELF_TAG_ENUM = 0x04,
    ELF_TAG_FORMAL_PARAMETER = 0x05,
    ELF_TAG_LEXICAL_BLOCK = 0x0B,
    ELF_TAG_MEMBER = 0x0D,
    ELF_TAG_POINTER = 0x0F,
    ELF_TAG_REFERENCE = 0x10,
    ELF_TAG_COMPILE_UNIT = 0x11,
    ELF_TAG_STRUCT = 0x13,
    ELF_TAG_SUBROUTINE_TYPE = 0x15,
    ELF_TAG_TYPEDEF = 0x16,
    ELF_TAG_UNION = 0x17,
    ELF_TAG_INHERITANCE = 0x1C,
    ELF_TAG_INLINED_SUBROUTINE = 0x1D,
    ELF_TAG_BASE_TYPE = 0x24,
    ELF_TAG_CONST = 0x26,
    ELF_TAG_ENUMERATOR = 0x28,
    ELF_TAG_SUBPROGRAM = 0x2E,
    ELF_TAG_VARIABLE = 0x34,
    ELF_TAG_VOLATILE = 0x35,
    ELF_TAG_NAMESPACE = 0x39,
    ELF_TAG_RVALUE_REFERENCE = 0x42,
};

// ---- Handles -------------------------------------------------------------------------------------------

inline bool ELF_SymIsElf(ELF_SYM_HANDLE h) { return ((h >> 32) & 7) == ELF_SYM_KIND_ELF; }
inline U32 ELF_GetSymId(ELF_SYM_HANDLE h) { return static_cast<U32>(h); }
ELF_HANDLE ELF_GetSymFile(ELF_SYM_HANDLE hSym);      ///< null unless the handle's file is open
bool ELF_SymIsValid(ELF_SYM_HANDLE hSym);

// ---- Facts ---------------------------------------------------------------------------------------------

U32 ELF_GetSymTag(ELF_SYM_HANDLE hSym);              ///< DW_TAG; STT_ value of an ELF symbol; 65535 if bad
U32 ELF_GetSymBinding(ELF_SYM_HANDLE hSym);          ///< STB_ value; 16 for a debug symbol
U32 ELF_GetSymValue(ELF_SYM_HANDLE hSym);            ///< st_value; 0 for a debug symbol
const char* ELF_GetSymName(ELF_SYM_HANDLE hSym);
const char* ELF_GetSymLinkageName(ELF_SYM_HANDLE hSym); ///< mangled name, empty if there is none
U32 ELF_GetSymRangeCount(ELF_SYM_HANDLE hSym);
U32 ELF_GetSymRangeLow(ELF_SYM_HANDLE hSym, U32 Index);  ///< relocated; 0xFFFFFFFF if none
U32 ELF_GetSymRangeHigh(ELF_SYM_HANDLE hSym, U32 Index); ///< relocated, exclusive; 0 if none
U32 ELF_GetSymSection(ELF_SYM_HANDLE hSym);
U32 ELF_GetSymSize(ELF_SYM_HANDLE hSym);             ///< bytes
ELF_SYM_HANDLE ELF_GetSymParent(ELF_SYM_HANDLE hSym);
/// Direct children of a debug symbol with a tag, 0 for all.
ELF_SYM_LIST ELF_GetSymChildren(ELF_SYM_HANDLE hSym, U32 Tag);
U32 ELF_GetSymLocalCount(ELF_SYM_HANDLE hSym);
ELF_SYM_HANDLE ELF_GetSymLocal(ELF_SYM_HANDLE hSym, U32 Index);
/// The locals of a function that its source sees at a PC (0xFFFFFFFF: wherever it is): variables of inner blocks first,
/// parameters last; those without a name, of other blocks or hidden by an inner one of the same name are left out.
ELF_SYM_LIST ELF_GetSymLocalsAt(ELF_SYM_HANDLE hFunc, U32 PC);
U32 ELF_GetSymMemberCount(ELF_SYM_HANDLE hSym);
ELF_SYM_HANDLE ELF_GetSymMember(ELF_SYM_HANDLE hSym, U32 Index);
U32 ELF_GetSymBaseCount(ELF_SYM_HANDLE hSym);
ELF_SYM_HANDLE ELF_GetSymBase(ELF_SYM_HANDLE hSym, U32 Index);
/// Resolved type, through typedefs and qualifiers. Self: a type symbol answers itself or its definition.
ELF_SYM_HANDLE ELF_GetSymType(ELF_SYM_HANDLE hSym, bool Self = false);
ELF_SYM_HANDLE ELF_GetSymOrigin(ELF_SYM_HANDLE hSym);///< target of DW_AT_abstract_origin
ELF_SYM_HANDLE ELF_GetSymThis(ELF_SYM_HANDLE hSym);  ///< target of DW_AT_object_pointer
/// Path of the file that an attribute (DW_AT_decl_file, DW_AT_call_file) names; empty if none.
const char* ELF_GetSymDeclFile(ELF_SYM_HANDLE hSym, U32 Attr);
/// Value of an attribute, *pFound tells whether it is there (pFound may be null).
U64 ELF_GetSymAttr(ELF_SYM_HANDLE hSym, U32 Attr, bool* pFound);
/// Bytes of a block attribute, null and 0 if there is none; they live until the file is closed.
const U8* ELF_GetSymBlock(ELF_SYM_HANDLE hSym, U32 Attr, U32* pSize);
const char* ELF_GetSymTypeText(ELF_SYM_HANDLE hSym);
U32 ELF_GetSymAccess(ELF_SYM_HANDLE hSym);           ///< 0 none, 1 public, 2 protected, 3 private
U32 ELF_GetSymVirtuality(ELF_SYM_HANDLE hSym);       ///< 0 none, 1 virtual, 2 pure
bool ELF_SymIsSigned(ELF_SYM_HANDLE hSym);
bool ELF_SymIsStatic(ELF_SYM_HANDLE hSym);
U32 ELF_GetSymBitOffset(ELF_SYM_HANDLE hSym);        ///< bits from the least significant bit
U32 ELF_GetSymBitSize(ELF_SYM_HANDLE hSym);          ///< bits; 0 if it is no bit-field
const char* ELF_GetProducer();                       ///< of the current file; empty if none

inline constexpr U32 ELF_MAX_ARRAY_DIMS = 10;
struct ELF_ARRAY_INFO {
    U32 TotalSize;  ///< bytes
    U32 ElemSize;   ///< bytes
    U32 NumElems;
    U32 NumDims;
    U32 aDim[ELF_MAX_ARRAY_DIMS];
};
/// 0, or -1 (and zeros) when the symbol's type is no array.
int ELF_GetArrayInfo(ELF_SYM_HANDLE hSym, ELF_ARRAY_INFO* pInfo);

// ---- Locations -----------------------------------------------------------------------------------------

/// Where the symbol's data lies at a PC; PC 0 or 0xFFFFFFFF takes the first location there is.
ELF_SYM_LOC ELF_GetSymLoc(ELF_SYM_HANDLE hSym, U32 PC);
/// Where the number lies from which a dimension of an array gets its length in a function, when the length is only known
/// at run time: that number and *pAdd. No parts when it is fixed or not known at this PC.
ELF_SYM_LOC ELF_GetArrayBoundLoc(ELF_SYM_HANDLE hSym, U32 Dim, U32 PC, I64* pAdd);
bool ELF_IsMemPart(U32 LocType); ///< an evaluated part of this type names bytes in memory
bool ELF_IsRegPart(U32 LocType); ///< ... a register
bool ELF_LocIsValid(const ELF_SYM_LOC& Loc);
bool ELF_LocIsMixed(const ELF_SYM_LOC& Loc);
bool ELF_LocIsRegister(const ELF_SYM_LOC& Loc);
bool ELF_LocIsMemory(const ELF_SYM_LOC& Loc);
bool ELF_LocIsSingle(const ELF_SYM_LOC& Loc);
bool ELF_LocIsEqual(const ELF_SYM_LOC& A, const ELF_SYM_LOC& B);
/// Text of one part, at most 63 characters.
const char* ELF_GetLocText(const ELF_SYM_LOC& Loc, U32 Part);

// ---- Frames, of the current file -----------------------------------------------------------------------

/// Unwind rules of the registers 0 to NumRegs - 1 at a PC. Returns the count written, 0 without a record.
U32 ELF_GetFrameRules(U32 PC, U32 NumRegs, ELF_SYM_LOC* paRule);
/// Location of the CFA at a PC; no parts without a record.
ELF_SYM_LOC ELF_GetCfa(U32 PC);
