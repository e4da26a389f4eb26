// Relocation of symbols: code that runs at another address than it was linked for keeps its debug information.
#include "program/elf/elffile.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t MAX_SPEC_LENGTH = 63;

std::vector<ELF_RELOC>& Relocs()
{
    static std::vector<ELF_RELOC> aReloc;
    return aReloc;
}

/// The records that count on this thread: those that a private file has taken along, else the ones of all.
const std::vector<ELF_RELOC>& Active()
{
    const ELF_FILE* pPrivate = ElfPrivate();
    return pPrivate ? pPrivate->aReloc : Relocs();
}

bool Resolve(ELF_RELOC& Rel)
{
    const char* sSpec = Rel.sSpec.c_str();
    if (std::strcmp(sSpec, "*") == 0) {
        Rel.Low = 0;
        Rel.High = 0xFFFFFFFEu;
        return true;
    }
    if (const char* sDash = std::strchr(sSpec, '-')) {
        Rel.Low = static_cast<U32>(std::strtoul(sSpec, nullptr, 0));
        Rel.High = static_cast<U32>(std::strtoul(sDash + 1, nullptr, 0));
        if (Rel.Low != 0 || Rel.High != 0) return true; // else it may be a name
    }
    const ELF_HANDLE hFile = ELF_GetCurrentFile();
    if (const int Section = ELF_FindSection(hFile, sSpec); Section >= 0) {
        Rel.Low = ELF_GetSectionAddr(hFile, static_cast<U32>(Section));
        Rel.High = Rel.Low + ELF_GetSectionSize(hFile, static_cast<U32>(Section));
        return true;
    }
    const int Symbol = ELF_FindSymbolByName(hFile, sSpec);
    if (Symbol < 0) return false;
    Rel.Low = ELF_GetSymbolValue(hFile, static_cast<U32>(Symbol));
    Rel.High = Rel.Low + ELF_GetSymbolSize(hFile, static_cast<U32>(Symbol));
    const U32 Type = ELF_GetSymbolType(hFile, static_cast<U32>(Symbol));
    if (Type == 2 || Type == 13) {
        Rel.Low = ElfAlignCode(Rel.Low);
        Rel.High = ElfAlignCode(Rel.High);
    }
    return true;
}

/// The address moved by Offset if it lies in (Low - LowSlack, High + HighSlack) and stays within 32 bits.
bool Apply(I64 Low, I64 High, I64 Offset, U32& Addr, U32 LowSlack, U32 HighSlack)
{
    if (!(Low < static_cast<I64>(Addr) + LowSlack && static_cast<I64>(Addr) < High + HighSlack)) return false;
    const I64 Moved = static_cast<I64>(Addr) + Offset;
    if (Moved < 0 || Moved > 0xFFFFFFFFll) return false;
    Addr = static_cast<U32>(Moved);
    return true;
}

} // namespace

void ElfEvalRelocations()
{
    for (ELF_RELOC& Rel : Relocs()) Rel.Resolved = Resolve(Rel);
    if (ELF_FILE* pPrivate = ElfPrivate()) pPrivate->aReloc = Relocs();
}

int ELF_AddRelocation(const char* sSpec, I32 Offset)
{
    if (!sSpec || !*sSpec) return -1;
    ELF_RELOC Rel;
    Rel.sSpec = std::string(sSpec).substr(0, MAX_SPEC_LENGTH);
    Rel.Offset = Offset;
    Rel.Resolved = Resolve(Rel);
    Relocs().push_back(Rel);
    return Rel.Resolved ? 0 : -1;
}

void ELF_ClearRelocations()
{
    Relocs().clear();
}

bool ELF_HasRelocations()
{
    for (const ELF_RELOC& Rel : Active()) {
        if (Rel.Resolved) return true;
    }
    return false;
}

U32 ELF_ToRuntimeAddr(U32 Addr, U32 LowSlack, U32 HighSlack)
{
    for (const ELF_RELOC& Rel : Active()) {
        if (Rel.Resolved && Apply(Rel.Low, Rel.High, Rel.Offset, Addr, LowSlack, HighSlack)) break;
    }
    return Addr;
}

U32 ELF_FromRuntimeAddr(U32 Addr, U32 LowSlack, U32 HighSlack)
{
    for (const ELF_RELOC& Rel : Active()) {
        if (!Rel.Resolved) continue;
        const I64 Low = static_cast<I64>(Rel.Low) + Rel.Offset;
        const I64 High = static_cast<I64>(Rel.High) + Rel.Offset;
        if (Apply(Low, High, -static_cast<I64>(Rel.Offset), Addr, LowSlack, HighSlack)) break;
    }
    return Addr;
}
