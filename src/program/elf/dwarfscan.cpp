// One linear pass over the entries of a unit.
#include "program/elf/dwarfscan.h"

#include <algorithm>
#include <cstring>
#include <libdwarf/dwarf.h>

namespace {

bool IsFunctionTag(U32 Tag)
{
    return Tag == DW_TAG_subprogram || Tag == DW_TAG_inlined_subroutine;
}

bool IsRecord(U32 Tag)
{
    return Tag == DW_TAG_class_type || Tag == DW_TAG_structure_type || Tag == DW_TAG_union_type || Tag == DW_TAG_interface_type;
}

/// Calls Visit(Die, offset of the next entry) for each entry of a unit, null entries included, until it gives false.
/// False if the entries end in damage.
template <typename VISIT> bool WalkEntries(const CDwarfInfo& Info, const DWARF_UNIT& Unit, VISIT Visit)
{
    const U8* pBase = Info.SectionData(Unit.InTypes);
    const U8* p = pBase + Unit.DieOffset;
    const U8* pEnd = pBase + Unit.End;
    const DWARF_ABBREV_TABLE& Table = *Unit.pAbbrevs;
    const DWARF_SIZES Sizes = Unit.Sizes();
    const bool BigEndian = Info.Sections().BigEndian;
    DWARF_DIE Die;
    Die.pUnit = &Unit;
    while (p < pEnd) {
        Die.Id = static_cast<U32>(p - pBase) | (Unit.InTypes ? DIE_ID_TYPES : 0);
        U64 Code;
        if (!DwarfGetULeb(p, pEnd, Code)) return false;
        Die.pAbbrev = Code ? Table.Find(Code) : nullptr;
        if (Code && !Die.pAbbrev) return false;
        Die.AttrOffset = static_cast<U32>(p - pBase);
        if (Code) {
            const DWARF_ABBREV& Abbrev = *Die.pAbbrev;
            p = DwarfSkipAttrs(Table.aSkip.data() + Abbrev.FirstSkip, Abbrev.NumSkips, p, pEnd, Sizes, BigEndian);
            if (!p) return false;
        }
        if (!Visit(Die, static_cast<U32>(p - pBase))) return true;
    }
    return true;
}

class CScanner {
public:
    CScanner(const CDwarfInfo& Info, const DWARF_UNIT& Unit, DWARF_SCAN& Scan) : m_Info(Info), m_Unit(Unit), m_Scan(Scan) {}
    bool Run();

private:
    void _Offer(const DWARF_DIE& Die);
    bool _IsSymbol(const DWARF_ABBREV& Abbrev) const;
    void _Code(const DWARF_DIE& Die, std::vector<DWARF_CODE>& aCode);
    bool _IsStatic(const DWARF_DIE& Die);
    bool _IsUsersCode(const DWARF_DIE& Die) const;
    U32 _Reference(const DWARF_DIE& Die, U32 Attr)
    {
        const DWARF_VALUE Value = m_Info.GetAttr(Die, Attr);
        return Value.Class == DWARF_CLASS::REFERENCE ? static_cast<U32>(Value.Value) : DIE_ID_NONE;
    }

    const CDwarfInfo& m_Info;
    const DWARF_UNIT& m_Unit;
    DWARF_SCAN& m_Scan;
    std::vector<U32> m_aTag;   ///< tags of the entries around the present one
    U32 m_NumFunctions = 0;    ///< how many of them are functions
    size_t m_DeadLevel = ~0ull; ///< entries around a function that the linker has dropped; what lies deeper has no code
    std::vector<std::pair<U32, U32>> m_aRange;
    std::vector<DWARF_LOC_ENTRY> m_aEntry;
    bool m_HasTooManyRanges = false;
};

void CScanner::_Code(const DWARF_DIE& Die, std::vector<DWARF_CODE>& aCode)
{
    m_aRange.clear();
    if (Die.pAbbrev->HasCode) {
        if (m_Info.CountRanges(0)) DwarfGetDieRanges(m_Info, Die, m_aRange);
        if (!m_Info.CountRanges(m_aRange.size())) m_HasTooManyRanges = true;
    }
    DWARF_CODE Code{Die.Id, DIE_ID_NONE, 0xFFFFFFFFu, 0, static_cast<U32>(m_aRange.size())};
    for (const auto& [Low, High] : m_aRange) {
        Code.Low = std::min(Code.Low, Low);
        Code.High = std::max(Code.High, High);
    }
    // The linker leaves dropped functions at address 0, and their expansions at the addresses of other code.
    if (Die.Tag() == DW_TAG_subprogram && Code.Low == 0 && !m_Info.IsFunctionAtZero(Die)) m_DeadLevel = std::min(m_DeadLevel, m_aTag.size());
    if (Die.Tag() == DW_TAG_inlined_subroutine && m_aTag.size() > m_DeadLevel) Code = {Die.Id, DIE_ID_NONE, 0xFFFFFFFFu, 0, 0};
    if (Die.Tag() == DW_TAG_inlined_subroutine || !Die.pAbbrev->HasName) Code.Origin = _Reference(Die, DW_AT_abstract_origin);
    aCode.push_back(Code);
}

bool CScanner::_IsStatic(const DWARF_DIE& Die)
{
    const DWARF_VALUE Value = m_Info.GetAttr(Die, DW_AT_location);
    const U8* pExpr = Value.pBlock;
    U32 Size = Value.BlockSize;
    if (Value && Value.Class != DWARF_CLASS::EXPRESSION && Value.Class != DWARF_CLASS::BLOCK) {
        m_aEntry.clear();
        DwarfReadLocList(m_Info, m_Unit, Value, m_aEntry, true);
        if (m_aEntry.empty()) return false;
        pExpr = m_aEntry[0].pExpr;
        Size = m_aEntry[0].ExprSize;
    }
    if (!pExpr || !Size) return false;
    const bool IsAddr = pExpr[0] == DW_OP_addr || pExpr[0] == DW_OP_addrx || pExpr[0] == DW_OP_GNU_addr_index;
    return IsAddr && pExpr[Size - 1] != DW_OP_stack_value;
}

/// The code of a lambda, or of a coroutine, counts as made by the compiler for some of them; it is the user's.
bool CScanner::_IsUsersCode(const DWARF_DIE& Die) const
{
    if (!Die.pAbbrev->HasName || Die.pAbbrev->HasDeclaration) return false;
    const char* sName = m_Info.GetText(Die, DW_AT_name);
    constexpr size_t CALL_LENGTH = 10;
    if (!m_aTag.empty() && IsRecord(m_aTag.back()) && std::strncmp(sName, "operator()", CALL_LENGTH) == 0)
        return sName[CALL_LENGTH] == 0 || sName[CALL_LENGTH] == '<'; // the call of a generic one has arguments of its template
    // What runs a coroutine takes the record of its state.
    DWARF_DIE First;
    const U32 Next = Die.pAbbrev->HasChildren ? m_Info.EndOfDie(Die) : 0;
    return Next && m_Info.ReadDie(m_Unit, Next, First) && !First.IsNull() && First.Tag() == DW_TAG_formal_parameter &&
           std::strcmp(m_Info.GetText(First, DW_AT_name), "frame_ptr") == 0;
}

void CScanner::_Offer(const DWARF_DIE& Die)
{
    const DWARF_ABBREV& Abbrev = *Die.pAbbrev;
    const bool IsOwn = !Abbrev.HasDeclaration && !Abbrev.HasArtificial;
    const bool IsTypeUnit = m_Unit.IsTypeUnit();
    if (Abbrev.HasSpecification) {
        const U32 Target = _Reference(Die, DW_AT_specification);
        if (Target != DIE_ID_NONE) m_Scan.aDefinition.emplace_back(Target, Die.Id);
    }
    switch (Abbrev.Tag) {
    case DW_TAG_variable:
        // A static data member is a variable among the members; its definition stands elsewhere.
        if (IsTypeUnit || !IsOwn || (!m_aTag.empty() && IsRecord(m_aTag.back()))) break;
        if (m_NumFunctions && (!Abbrev.HasLocation || !_IsStatic(Die))) break;
        m_Scan.aVariable.push_back(Die.Id);
        // Optimisation at link time tells name and type in one entry and the place in another, which is the variable then.
        if (!Abbrev.HasName)
            if (const U32 Origin = _Reference(Die, DW_AT_abstract_origin); Origin != DIE_ID_NONE) m_Scan.aAbstract.push_back(Origin);
        break;
    case DW_TAG_subprogram:
        // One that has neither code nor a name nor belongs to another is nothing that could be shown.
        if (IsTypeUnit || !Abbrev.HasUse || !(IsOwn || _IsUsersCode(Die))) break;
        _Code(Die, m_Scan.aFunction);
        if (Abbrev.IsMain && m_Scan.MainById == DIE_ID_NONE) m_Scan.MainById = Die.Id;
        if (Abbrev.HasName && m_Scan.MainByName == DIE_ID_NONE && std::strcmp(m_Info.GetText(Die, DW_AT_name), "main") == 0) {
            m_Scan.MainByName = Die.Id;
        }
        break;
    case DW_TAG_inlined_subroutine:
        if (!IsTypeUnit && IsOwn && Abbrev.HasUse) _Code(Die, m_Scan.aInlined);
        break;
    case DW_TAG_typedef: m_Scan.aType.push_back(Die.Id); break;
    case DW_TAG_class_type:
    case DW_TAG_structure_type:
    case DW_TAG_interface_type:
    case DW_TAG_union_type:
    case DW_TAG_enumeration_type:
        if (IsOwn && Abbrev.HasByteSize) m_Scan.aType.push_back(Die.Id);
        break;
    case DW_TAG_namespace: {
        if (IsTypeUnit) break;
        m_Scan.aNamespace.push_back(Die.Id);
        const U32 Target = _Reference(Die, DW_AT_extension);
        if (Target != DIE_ID_NONE) m_Scan.aExtension.emplace_back(Target, Die.Id);
        break;
    }
    default: break;
    }
}

/// The unit itself, code, variables, types, namespaces, members and bases count; what only serves their description doesn't.
bool CScanner::_IsSymbol(const DWARF_ABBREV& Abbrev) const
{
    if (m_aTag.empty()) return true;
    const bool IsOwn = !Abbrev.HasDeclaration && !Abbrev.HasArtificial;
    const bool IsMember = !Abbrev.HasArtificial && (IsRecord(m_aTag.back()) || m_aTag.back() == DW_TAG_enumeration_type);
    switch (Abbrev.Tag) {
    case DW_TAG_typedef: return true;
    case DW_TAG_class_type:
    case DW_TAG_structure_type:
    case DW_TAG_interface_type:
    case DW_TAG_union_type:
    case DW_TAG_enumeration_type: return IsOwn && Abbrev.HasByteSize;
    case DW_TAG_member:
    case DW_TAG_enumerator: return IsMember;
    case DW_TAG_inheritance: return !Abbrev.HasArtificial;
    case DW_TAG_subprogram: return IsMember || (IsOwn && !m_Unit.IsTypeUnit());
    default: break;
    }
    if (m_Unit.IsTypeUnit()) return false;
    switch (Abbrev.Tag) {
    case DW_TAG_namespace: return true;
    case DW_TAG_inlined_subroutine: return IsOwn;
    case DW_TAG_variable: return m_NumFunctions ? !Abbrev.HasDeclaration : IsOwn;
    case DW_TAG_formal_parameter: return m_NumFunctions && !Abbrev.HasDeclaration;
    default: return false;
    }
}

bool CScanner::Run()
{
    const bool IsWhole = WalkEntries(m_Info, m_Unit, [this](const DWARF_DIE& Die, U32) {
        if (Die.IsNull()) {
            if (!m_aTag.empty()) {
                if (IsFunctionTag(m_aTag.back())) m_NumFunctions--;
                m_aTag.pop_back();
            }
            return !m_aTag.empty();
        }
        m_Scan.NumSymbols += _IsSymbol(*Die.pAbbrev);
        if (m_aTag.size() <= m_DeadLevel) m_DeadLevel = ~0ull;
        _Offer(Die);
        if (!Die.pAbbrev->HasChildren) return !m_aTag.empty();
        m_aTag.push_back(Die.Tag());
        if (IsFunctionTag(Die.Tag())) m_NumFunctions++;
        return true;
    });
    return IsWhole && !m_HasTooManyRanges;
}

} // namespace

bool DwarfScanUnit(const CDwarfInfo& Info, const DWARF_UNIT& Unit, DWARF_SCAN& Scan)
{
    CScanner Scanner(Info, Unit, Scan);
    return Scanner.Run();
}

DWARF_SCOPES DwarfReadScopes(const CDwarfInfo& Info, const DWARF_UNIT& Unit)
{
    DWARF_SCOPES Scopes;
    std::vector<DWARF_SCOPE>& aScope = Scopes.aScope;
    std::vector<U32> aOpen; // scopes around the present entry, innermost last
    const U32 Section = Unit.InTypes ? DIE_ID_TYPES : 0;
    WalkEntries(Info, Unit, [&](const DWARF_DIE& Die, U32 Next) {
        if (Die.IsNull()) {
            if (!aOpen.empty()) {
                aScope[aOpen.back()].End = Next | Section;
                Scopes.aByEnd.push_back(aOpen.back());
                aOpen.pop_back();
            }
            return !aOpen.empty();
        }
        if (!Die.pAbbrev->HasChildren) return !aOpen.empty();
        const U32 Index = static_cast<U32>(aScope.size());
        aScope.push_back({Die.Id, Unit.End | Section, aOpen.empty() ? 0 : Index - aOpen.back(), Die.Tag()});
        aOpen.push_back(Index);
        return true;
    });
    // What damage leaves open ends with the unit.
    Scopes.aByEnd.insert(Scopes.aByEnd.end(), aOpen.rbegin(), aOpen.rend());
    return Scopes;
}

void DwarfGetDieRanges(const CDwarfInfo& Info, const DWARF_DIE& Die, std::vector<std::pair<U32, U32>>& aRange)
{
    if (const DWARF_VALUE Ranges = Info.GetAttr(Die, DW_AT_ranges)) {
        Info.GetRanges(*Die.pUnit, Ranges, aRange);
        return;
    }
    const DWARF_VALUE Low = Info.GetAttr(Die, DW_AT_low_pc);
    if (Low.Class != DWARF_CLASS::ADDRESS) return;
    const DWARF_VALUE High = Info.GetAttr(Die, DW_AT_high_pc);
    if (!High) return;
    const U64 End = High.Class == DWARF_CLASS::ADDRESS ? High.Value : Low.Value + High.Value;
    if (End > Low.Value && End <= 0xFFFFFFFFu) aRange.emplace_back(static_cast<U32>(Low.Value), static_cast<U32>(End));
}
