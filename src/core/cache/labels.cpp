// Names of addresses, and of what a word in the code points to.
#include "core/cache/core.h"
#include "core/cache/regions.h"
#include "core/host/corehost.h"
#include "program/tables/prog.h"

#include <cstring>

namespace Core {

namespace {

constexpr int TYPE_OBJECT = 1;
constexpr int TYPE_FUNC = 2;
constexpr int TYPE_THUMB_FUNC = 13;
constexpr int TYPE_ANY = -1;

bool IsUsableName(const char* sName) {
    return sName && *sName && std::strncmp(sName, ".L", 2) != 0 && sName[0] != '$' && sName[0] != '?';
}

U32 AlignDown(U32 Addr) {
    return Addr - Addr % Core_GetStaticInfo().InstAlignment;
}

/// Function symbol at or, with Exact off, nearest below the address.
int FindFunction(ELF_HANDLE hFile, U32 Addr, bool Exact) {
    const int Symbol = ELF_FindFunctionSymbol(hFile, Addr, false);
    if (Symbol < 0 || !Exact) return Symbol;
    return AlignDown(ELF_GetSymbolValue(hFile, static_cast<U32>(Symbol))) == Addr ? Symbol : -1;
}

/// Object symbol whose section holds the address.
int FindObject(ELF_HANDLE hFile, U32 Addr, bool Exact) {
    const int Symbol = ELF_FindSymbolByAddr(hFile, Addr, Exact, TYPE_OBJECT);
    if (Symbol < 0) return -1;
    const int Section = ELF_FindSectionContaining(hFile, Addr, -1);
    return Section >= 0 && ELF_GetSymbolSection(hFile, static_cast<U32>(Symbol)) == static_cast<U32>(Section) ? Symbol : -1;
}

/// A word of the program in the file's byte order; false if the program doesn't hold it.
bool ReadWord(U64 Addr, U64* pValue) {
    const U32 Size = Core_GetStaticInfo().DataWordSize;
    U8 ab[8] = {};
    if (Size == 0 || Size > sizeof ab || Addr > 0xFFFFFFFFu) return false;
    if (ReadSection(Addr, Size, ab) != 0 && PROG_ReadBytes(static_cast<U32>(Addr), Size, ab) != static_cast<int>(Size)) return false;
    const bool IsBig = PROG_GetByteOrder() == ELF_BIG_ENDIAN;
    *pValue = 0;
    for (U32 i = 0; i < Size; i++) *pValue |= static_cast<U64>(ab[IsBig ? Size - 1 - i : i]) << (8 * i);
    return true;
}

} // namespace

U32 GetLabelAt(U64 Addr, bool Exact, U32 Type, const char** psName, U64* pAddr, U64* pEnd) {
    if (Addr >= 0xFFFFFFFFu) return LABEL_NONE;
    const U32 FileAddr = static_cast<U32>(ToFileAddr(Addr));
    const ELF_HANDLE hFile = GetBoundFile(); // the current file of the ELF layer may be one that is only read
    CProgLock Lock;
    const bool IsAny = Type == LABEL_ANY;
    int Symbol = -1;
    bool IsFunction = false;
    if (IsAny || Type == TYPE_FUNC || Type == TYPE_THUMB_FUNC) {
        Symbol = FindFunction(hFile, FileAddr, Exact);
        IsFunction = Symbol >= 0;
    }
    if (Symbol < 0 && (IsAny || Type == TYPE_OBJECT)) Symbol = FindObject(hFile, FileAddr, Exact);
    if (Symbol < 0 && (IsAny || Type == 0)) Symbol = ELF_FindSymbolByAddr(hFile, FileAddr, Exact, TYPE_ANY);
    if (Symbol < 0) return LABEL_NONE;
    const U32 Index = static_cast<U32>(Symbol);
    const char* sName = ELF_GetSymbolName(hFile, Index);
    if (!IsUsableName(sName)) return LABEL_NONE;
    const U32 Value = ELF_GetSymbolValue(hFile, Index);
    const U64 Start = ELF_ToRuntimeAddr(IsFunction ? AlignDown(Value) : Value, 1, 0);
    if (psName) *psName = sName;
    if (pAddr) *pAddr = Start;
    if (pEnd) *pEnd = Start + ELF_GetSymbolSize(hFile, Index);
    return Index;
}

U32 GetPointerLabelAt(U64 Addr, bool Exact, U32 Type, const char** psName, U64* pValue, U64* pEnd) {
    const char* sName = nullptr;
    U64 Start = 0;
    U64 End = 0;
    U32 Label = GetLabelAt(Addr, Exact, Type, &sName, &Start, &End);
    if (Label == LABEL_NONE || Label == 0 || Start != Addr) {
        U64 Value = 0;
        if (!ReadWord(Addr, &Value)) return LABEL_NONE;
        if (Value == 0) return 0;
        Label = GetLabelAt(Value, true, Type, &sName, &Start, &End);
        // A pointer to a function carries the mode bit, which its address doesn't.
        if (Label == LABEL_NONE) Label = GetLabelAt(Value - Value % Core_GetStaticInfo().InstAlignment, true, TYPE_FUNC, &sName, &Start, &End);
        const bool IsExact = Start == Value || Start == Value - Value % Core_GetStaticInfo().InstAlignment;
        if (Label == LABEL_NONE || Label == 0 || !IsExact) return LABEL_NONE;
    }
    if (psName) *psName = sName;
    if (pValue) *pValue = Start;
    if (pEnd) *pEnd = End;
    return Label;
}

} // namespace Core
