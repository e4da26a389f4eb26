// Ways through the tree of DIEs, by the table of scopes of each unit.
#include "program/elf/elffile.h"

#include <algorithm>

namespace {

U32 FindPair(const std::vector<std::pair<U32, U32>>& aPair, U32 Key)
{
    const auto it = std::lower_bound(aPair.begin(), aPair.end(), std::pair<U32, U32>(Key, 0));
    return it != aPair.end() && it->first == Key ? it->second : DIE_ID_NONE;
}

/// The scopes of the unit that holds the DIE.
const DWARF_SCOPES& ScopesOf(const ELF_FILE& File, U32 Id)
{
    static const DWARF_SCOPES NONE;
    const DWARF_UNIT* pUnit = File.Info.FindUnit(Id);
    if (!pUnit) return NONE;
    if (File.aScopes.empty()) File.aScopes.resize(File.Info.Units().size());
    DWARF_SCOPES& Scopes = File.aScopes[File.Info.IndexOf(*pUnit)];
    if (Scopes.aScope.empty()) Scopes = DwarfReadScopes(File.Info, *pUnit);
    return Scopes;
}

/// First scope that is at or behind the DIE.
std::vector<DWARF_SCOPE>::const_iterator LowerBound(const std::vector<DWARF_SCOPE>& aScope, U32 Id)
{
    return std::lower_bound(aScope.begin(), aScope.end(), Id, [](const DWARF_SCOPE& Scope, U32 Key) { return Scope.Id < Key; });
}

} // namespace

U32 ELF_FILE::FindDefinition(U32 Id) const { return FindPair(aDefinition, Id); }
U32 ELF_FILE::FindExtension(U32 Id) const { return FindPair(aExtension, Id); }

const DWARF_SCOPE* ELF_FILE::FindScope(U32 Id) const
{
    const std::vector<DWARF_SCOPE>& aScope = ScopesOf(*this, Id).aScope;
    const auto it = LowerBound(aScope, Id);
    return it != aScope.end() && it->Id == Id ? &*it : nullptr;
}

const DWARF_SCOPE* ELF_FILE::FindParentScope(U32 Id) const
{
    const DWARF_SCOPES& Scopes = ScopesOf(*this, Id);
    const std::vector<DWARF_SCOPE>& aScope = Scopes.aScope;
    const auto it = LowerBound(aScope, Id);
    if (it == aScope.begin()) return nullptr;
    const DWARF_SCOPE* pScope = &*(it - 1);
    if (pScope->End > Id) return pScope;
    // The scope before has ended, and so have those around it up to the last that ends at or before the DIE: what is
    // around that one is still open. A walk up from scope to scope would take as long as they are nested.
    const auto itOpen = std::upper_bound(Scopes.aByEnd.begin(), Scopes.aByEnd.end(), Id, [&aScope](U32 Key, U32 Index) { return Key < aScope[Index].End; });
    return ParentOf(&aScope[*(itOpen - 1)]);
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
        const DWARF_SCOPE* pScope = FindScope(Die.Id);
        Offset = pScope ? pScope->End & ~DIE_ID_TYPES : 0;
    } else {
        Offset = Info.EndOfDie(Die);
    }
    // Offsets only rise, so that no damage can make a walk run in a circle.
    if (Offset <= (Die.Id & ~DIE_ID_TYPES)) return false;
    return Info.ReadDie(*Die.pUnit, Offset, Next) && !Next.IsNull();
}
