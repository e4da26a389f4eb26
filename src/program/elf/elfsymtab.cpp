// The ELF symbol array made usable: sizes for symbols that have none, the list of functions, the lookups.
#include "program/elf/elffile.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <elf.h>

namespace {

/// A size above this comes from a gap between sections, not from a symbol.
constexpr U32 MAX_SYMBOL_SIZE = 10000000;
constexpr U32 MAX_OBJECT_LOOKAHEAD = 9;

U32 CheckedSize(U32 Addr, U32 Size)
{
    if (Size <= MAX_SYMBOL_SIZE) return Size;
    char acText[80];
    std::snprintf(acText, sizeof(acText), "Symbol at %X: did not pass allocation size sanity check", Addr);
    ElfReport(0, 9, acText);
    return 0;
}

/// Names that compilers and assemblers make up: never a function, never shown when there is another name.
bool IsInternalName(const char* sName)
{
    return *sName == '$' || *sName == '?';
}
bool IsLocalLabel(const char* sName)
{
    return IsInternalName(sName) || (sName[0] == '.' && sName[1] == 'L');
}

} // namespace

void ELF_FILE::CleanUpSymbols()
{
    std::vector<ELF_SYMBOL>& aSym = Image.Symbols();
    aByValue.resize(aSym.size());
    for (U32 i = 0; i < aByValue.size(); i++) aByValue[i] = i;
    std::sort(aByValue.begin(), aByValue.end(), [&aSym](U32 a, U32 b) {
        return aSym[a].Value != aSym[b].Value ? aSym[a].Value < aSym[b].Value : a < b;
    });
    auto SectionEnd = [this](const ELF_SYMBOL& Sym, U64& End) {
        if (Sym.Section == SHN_UNDEF || Sym.Section >= Image.Sections().size()) return false;
        const ELF_SECTION& Sec = Image.Sections()[Sym.Section];
        End = static_cast<U64>(Sec.Addr) + Sec.Size;
        return Sym.Value >= Sec.Addr && Sym.Value <= End;
    };
    for (size_t i = 0; i < aByValue.size(); i++) {
        ELF_SYMBOL& Sym = aSym[aByValue[i]];
        U64 End;
        if (Sym.Type() != STT_OBJECT || Sym.Size != 0 || !SectionEnd(Sym, End)) continue;
        const size_t Last = std::min(aByValue.size(), i + 1 + MAX_OBJECT_LOOKAHEAD);
        for (size_t n = i + 1; n < Last; n++) {
            const U32 Next = aSym[aByValue[n]].Value;
            if (Next <= Sym.Value) continue;
            if (Next <= End) Sym.Size = CheckedSize(Sym.Value, Next - Sym.Value);
            break;
        }
    }
    // Bit 0 of an ARM function's value tells the instruction set, also before a core says how code is aligned.
    const U32 ValueMask = Image.Machine() == EM_ARM ? ~1u : ~0u;
    // Backwards, so that the next function with a greater value is always known.
    U64 NextValue = ~0ull, PrevValue = ~0ull;
    for (size_t i = aByValue.size(); i-- > 0;) {
        ELF_SYMBOL& Sym = aSym[aByValue[i]];
        if (!Sym.IsFunction()) continue;
        if (Sym.Value != PrevValue) {
            NextValue = PrevValue;
            PrevValue = Sym.Value;
        }
        U64 End;
        if (Sym.Size != 0 || !SectionEnd(Sym, End)) continue;
        const U32 Start = ElfAlignCode(Sym.Value & ValueMask);
        End = End > 0xFFFFFFFFull ? 0xFFFFFFFFull : ElfAlignCode(static_cast<U32>(End));
        if (NextValue != ~0ull) End = std::min<U64>(End, ElfAlignCode(static_cast<U32>(NextValue) & ValueMask));
        if (End > Start) Sym.Size = CheckedSize(Sym.Value, static_cast<U32>(End - Start));
    }
    for (const U32 Index : aByValue) {
        const ELF_SYMBOL& Sym = aSym[Index];
        if (!Sym.IsFunction() || Sym.Value < 2 || IsInternalName(Sym.sName)) continue;
        if (aFunctions.empty() || aSym[aFunctions.back()].Value != Sym.Value) {
            aFunctions.push_back(Index);
            continue;
        }
        const ELF_SYMBOL& Accepted = aSym[aFunctions.back()];
        if (Sym.Size > Accepted.Size || (Sym.Size == Accepted.Size && Index < aFunctions.back())) {
            aFunctions.back() = Index;
        }
    }
    SymLow = 0xFFFFFFFFu;
    for (const ELF_SYMBOL& Sym : aSym) {
        SymLow = std::min(SymLow, Sym.Value);
        const U64 End = static_cast<U64>(Sym.Value) + Sym.Size;
        SymHigh = std::max(SymHigh, static_cast<U32>(std::min<U64>(End, 0xFFFFFFFFu)));
    }
}

void ELF_FILE::FindCodeAtZero()
{
    auto IsCode = [](const ELF_SECTION& Sec) { return (Sec.Flags & (SHF_ALLOC | SHF_EXECINSTR)) == (SHF_ALLOC | SHF_EXECINSTR) && Sec.Size; };
    const std::vector<ELF_SECTION>& aSec = Image.Sections();
    const U32 ValueMask = Image.Machine() == EM_ARM ? ~1u : ~0u;
    for (const ELF_SYMBOL& Sym : Image.Symbols()) {
        if (!Sym.IsFunction() || (Sym.Value & ValueMask) != 0 || Sym.Section == SHN_UNDEF) continue;
        if (Sym.Section >= aSec.size() || !IsCode(aSec[Sym.Section])) continue;
        Zero.asName.emplace_back(Sym.sName);
        Zero.End = std::max(Zero.End, Sym.Size);
    }
    std::sort(Zero.asName.begin(), Zero.asName.end());
}

bool ELF_HasFunctionAtZero(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile && !pFile->Zero.asName.empty();
}

bool ELF_IsFunctionAtZero(ELF_SYM_HANDLE hFunc)
{
    const ELF_FILE* pFile = ElfFindSym(hFunc);
    if (!pFile) return false;
    const U32 Id = static_cast<U32>(hFunc);
    if (((hFunc >> 32) & 7) == ELF_SYM_KIND_ELF) return pFile->Zero.IsName(pFile->Image.Symbols()[Id].sName);
    DWARF_DIE Die;
    return pFile->ReadDie(Id, Die) && !Die.IsNull() && pFile->Info.IsFunctionAtZero(Die);
}

U32 ELF_GetSymbolCount(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? static_cast<U32>(pFile->Image.Symbols().size()) : 0;
}

U32 ELF_GetFunctionSymbolCount(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? static_cast<U32>(pFile->aFunctions.size()) : 0;
}

ELF_SYM_HANDLE ELF_GetSymbolHandle(ELF_HANDLE hFile, U32 Index)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile && Index < pFile->Image.Symbols().size() ? MakeSymHandle(pFile->Slot, ELF_SYM_KIND_ELF, Index) : 0;
}

int ELF_GetFunctionSymbol(ELF_HANDLE hFile, U32 Pos)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile && Pos < pFile->aFunctions.size() ? static_cast<int>(pFile->aFunctions[Pos]) : -1;
}

int ELF_FindFunctionSymbol(ELF_HANDLE hFile, U32 Addr, bool Strict)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    if (!pFile) return -1;
    const std::vector<ELF_SYMBOL>& aSym = pFile->Image.Symbols();
    // Thumb symbols carry bit 0; with it in the key a function is found from its first address on.
    const U32 Key = Addr | 1;
    auto it = std::upper_bound(pFile->aFunctions.begin(), pFile->aFunctions.end(), Key,
                               [&aSym](U32 Value, U32 Index) { return Value < aSym[Index].Value; });
    if (it == pFile->aFunctions.begin()) return -1;
    const U32 Index = *--it;
    const bool Covers = static_cast<U64>(aSym[Index].Value) + aSym[Index].Size > Key;
    return Covers || !Strict ? static_cast<int>(Index) : -1;
}

int ELF_FindSymbolByAddr(ELF_HANDLE hFile, U32 Addr, bool Exact, int Type)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    if (!pFile) return -1;
    const std::vector<ELF_SYMBOL>& aSym = pFile->Image.Symbols();
    const std::vector<U32>& aIndex = pFile->aByValue;
    const bool IsFunction = Type == STT_FUNC || Type == 13;
    if (Exact) {
        auto Key = [IsFunction](U32 Value) { return IsFunction ? ElfAlignCode(Value) : Value; };
        auto it = std::lower_bound(aIndex.begin(), aIndex.end(), Key(Addr),
                                   [&](U32 Index, U32 Value) { return Key(aSym[Index].Value) < Value; });
        int Fallback = -1;
        for (; it != aIndex.end() && Key(aSym[*it].Value) == Key(Addr); ++it) {
            const ELF_SYMBOL& Sym = aSym[*it];
            if (Type > 0) {
                if (static_cast<int>(Sym.Type()) == Type) return static_cast<int>(*it);
            } else if (Sym.Type() != STT_NOTYPE || !IsLocalLabel(Sym.sName)) {
                return static_cast<int>(*it);
            } else if (Fallback < 0) {
                Fallback = static_cast<int>(*it);
            }
        }
        return Fallback;
    }
    auto it = std::upper_bound(aIndex.begin(), aIndex.end(), Addr,
                               [&aSym](U32 Value, U32 Index) { return Value < aSym[Index].Value; });
    while (it != aIndex.begin()) {
        const ELF_SYMBOL& Sym = aSym[*--it];
        if ((Type < 0 || static_cast<int>(Sym.Type()) == Type) && !IsLocalLabel(Sym.sName)) return static_cast<int>(*it);
    }
    return -1;
}

int ELF_FindSymbolByName(ELF_HANDLE hFile, const char* sName)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    if (!pFile || !sName) return -1;
    const std::vector<ELF_SYMBOL>& aSym = pFile->Image.Symbols();
    for (size_t i = 0; i < aSym.size(); i++) {
        if (std::strcmp(aSym[i].sName, sName) == 0) return static_cast<int>(i);
    }
    return -1;
}

static const ELF_SYMBOL* FindSymbol(ELF_HANDLE hFile, U32 Index)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile && Index < pFile->Image.Symbols().size() ? &pFile->Image.Symbols()[Index] : nullptr;
}

const char* ELF_GetSymbolName(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SYMBOL* pSym = FindSymbol(hFile, Index);
    return pSym ? pSym->sName : "";
}
U32 ELF_GetSymbolValue(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SYMBOL* pSym = FindSymbol(hFile, Index);
    return pSym ? pSym->Value : 0;
}
U32 ELF_GetSymbolSize(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SYMBOL* pSym = FindSymbol(hFile, Index);
    return pSym ? pSym->Size : 0;
}
U32 ELF_GetSymbolType(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SYMBOL* pSym = FindSymbol(hFile, Index);
    return pSym ? pSym->Type() : 0;
}
U32 ELF_GetSymbolBinding(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SYMBOL* pSym = FindSymbol(hFile, Index);
    return pSym ? pSym->Binding() : 0;
}
U32 ELF_GetSymbolSection(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SYMBOL* pSym = FindSymbol(hFile, Index);
    return pSym ? pSym->Section : 0;
}

int ELF_GetSymbolSpan(ELF_HANDLE hFile, U32* pLow, U32* pHigh, U32* pCount)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    if (!pFile || pFile->Image.Symbols().empty()) return -1;
    *pLow = pFile->SymLow;
    *pHigh = pFile->SymHigh;
    *pCount = static_cast<U32>(pFile->Image.Symbols().size());
    return 0;
}
