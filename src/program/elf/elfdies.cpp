// Ways through the tree of DIEs, by the table of scopes that the first pass made.
#include "program/elf/elffile.h"

#include <algorithm>

U32 ELF_FILE::FindScope(U32 Id) const
{
    const auto it = std::lower_bound(aScope.begin(), aScope.end(), Id,
                                     [](const ELF_SCOPE& Scope, U32 Key) { return Scope.Id < Key; });
    return it != aScope.end() && it->Id == Id ? static_cast<U32>(it - aScope.begin()) : 0xFFFFFFFFu;
}

U32 ELF_FILE::FindParentScope(U32 Id) const
{
    const auto it = std::lower_bound(aScope.begin(), aScope.end(), Id,
                                     [](const ELF_SCOPE& Scope, U32 Key) { return Scope.Id < Key; });
    if (it == aScope.begin()) return 0xFFFFFFFFu;
    U32 Index = static_cast<U32>(it - aScope.begin()) - 1;
    while (Index != 0xFFFFFFFFu && aScope[Index].End <= Id) Index = aScope[Index].Parent;
    return Index;
}

bool ELF_FILE::FirstChild(const DWARF_DIE& Die, DWARF_DIE& Child) const
{
    if (Die.IsNull() || !Die.pAbbrev->HasChildren) return false;
    const U32 Next = Info.EndOfDie(Die);
    return Next && Info.ReadDie(*Die.pUnit, Next, Child) && !Child.IsNull();
}

bool ELF_FILE::NextSibling(const DWARF_DIE& Die, DWARF_DIE& Next) const
{
    if (Die.IsNull()) return false;
    U32 Offset;
    if (Die.pAbbrev->HasChildren) {
        const U32 Scope = FindScope(Die.Id);
        Offset = Scope != 0xFFFFFFFFu ? aScope[Scope].End & ~DIE_ID_TYPES : 0;
    } else {
        Offset = Info.EndOfDie(Die);
    }
    // Offsets only rise, so that no damage can make a walk run in a circle.
    if (Offset <= (Die.Id & ~DIE_ID_TYPES)) return false;
    return Info.ReadDie(*Die.pUnit, Offset, Next) && !Next.IsNull();
}
