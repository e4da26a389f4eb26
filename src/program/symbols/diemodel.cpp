// Attributes with inheritance, definitions, sizes and ranges.
#include "program/symbols/diemodel.h"
#include "program/symbols/typenames.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr U32 ATTR_LEVELS = 5;           ///< origins that an attribute is inherited through
constexpr U32 MAX_ARRAY_CHILDREN = 100;
constexpr U32 MAX_NAMESAKES = 1000;      ///< definitions of one name that are looked at
constexpr U64 MAX_SYMBOL_SIZE = 10000000;

bool IsInheritable(U32 Attr)
{
    return Attr != DW_AT_specification && Attr != DW_AT_abstract_origin && Attr != DW_AT_declaration &&
           Attr != DW_AT_extension;
}

const std::vector<std::pair<U32, U32>>* NameIndexFor(const ELF_FILE& File, U32 Tag)
{
    if (!File.HasNameIndex) File.BuildNameIndex();
    if (IsRecordTag(Tag) || Tag == DW_TAG_enumeration_type) return &File.aTypeByName;
    if (Tag == DW_TAG_variable || Tag == DW_TAG_member) return &File.aVarByName;
    return Tag == DW_TAG_subprogram ? &File.aFuncByName : nullptr;
}

/// The entry that tells where a definition belongs: what it specifies, else itself.
DWARF_DIE Declared(const ELF_FILE& File, const DWARF_DIE& Die)
{
    DWARF_DIE Target;
    if (!Die.pAbbrev->HasSpecification) return Die;
    const DWARF_VALUE Value = File.Info.GetAttr(Die, DW_AT_specification);
    const bool Has = Value.Class == DWARF_CLASS::REFERENCE && File.ReadDie(static_cast<U32>(Value.Value), Target) && !Target.IsNull();
    return Has ? Target : Die;
}

/// Name of the class or namespace around an entry; empty at the level of the unit.
const char* ScopeName(const ELF_FILE& File, const DWARF_DIE& Die)
{
    const DWARF_SCOPE* pScope = File.FindParentScope(Die.Id);
    DWARF_DIE Scope;
    if (!pScope || (!IsRecordTag(pScope->Tag) && pScope->Tag != DW_TAG_namespace) || !File.ReadDie(pScope->Id, Scope)) return "";
    return File.Info.GetText(Scope, DW_AT_name);
}

/// The definition that has the name of a declaration. One in the same class or namespace goes first; for a type, any of
/// the name is better than none.
bool FindByName(const ELF_FILE& File, const DWARF_DIE& Die, DWARF_DIE& Found)
{
    const char* sName = File.Info.GetText(Die, DW_AT_name);
    const auto* pIndex = *sName ? NameIndexFor(File, Die.Tag()) : nullptr;
    if (!pIndex) return false;
    const char* sScope = ScopeName(File, Die);
    const U32 Hash = ElfHash(sName);
    bool HasAny = false;
    auto it = std::lower_bound(pIndex->begin(), pIndex->end(), std::pair<U32, U32>(Hash, 0));
    for (U32 Tries = 0; it != pIndex->end() && it->first == Hash && Tries < MAX_NAMESAKES; ++it, Tries++) {
        DWARF_DIE Other;
        if (it->second == Die.Id || !File.ReadDie(it->second, Other) || Other.IsNull()) continue;
        // The hash alone could lead to a stranger of another name.
        const DWARF_DIE Place = Declared(File, Other);
        if (std::strcmp(File.Info.GetText(Place, DW_AT_name), sName) != 0) continue;
        const bool IsSameScope = std::strcmp(ScopeName(File, Place), sScope) == 0;
        if (IsSameScope || !HasAny) Found = Other;
        HasAny = true;
        if (IsSameScope) return true;
    }
    return HasAny && (IsRecordTag(Die.Tag()) || Die.Tag() == DW_TAG_enumeration_type);
}

} // namespace

bool DieFind(ELF_SYM_HANDLE hSym, DIE_REF& Ref)
{
    Ref.pFile = ElfFindSym(hSym);
    return Ref.pFile && ((hSym >> 32) & 7) == ELF_SYM_KIND_DEBUG &&
           Ref.pFile->ReadDie(static_cast<U32>(hSym), Ref.Die) && !Ref.Die.IsNull();
}

const ELF_SYMBOL* ElfSymFind(ELF_SYM_HANDLE hSym)
{
    const ELF_FILE* pFile = ElfFindSym(hSym);
    return pFile && ELF_SymIsElf(hSym) ? &pFile->Image.Symbols()[static_cast<U32>(hSym)] : nullptr;
}

bool DieTarget(const ELF_FILE& File, const DWARF_DIE& Die, U32 Attr, DWARF_DIE& Target)
{
    const DWARF_VALUE Value = DieAttr(File, Die, Attr);
    return Value.Class == DWARF_CLASS::REFERENCE && static_cast<U32>(Value.Value) != Die.Id &&
           File.ReadDie(static_cast<U32>(Value.Value), Target) && !Target.IsNull();
}

DWARF_VALUE DieAttr(const ELF_FILE& File, const DWARF_DIE& Die, U32 Attr, DWARF_DIE* pOwner)
{
    const CDwarfInfo& Info = File.Info;
    DWARF_DIE Place = Die;
    auto Found = [&](const DWARF_DIE& Owner) {
        if (pOwner) *pOwner = Owner;
        return Info.GetAttr(Owner, Attr);
    };
    for (U32 Level = 0; Level < ATTR_LEVELS; Level++) {
        if (Info.HasAttr(Place, Attr)) return Found(Place);
        if (!IsInheritable(Attr)) return {};
        DWARF_DIE Other;
        if (Place.Tag() == DW_TAG_namespace) {
            const U32 Extension = File.FindExtension(Place.Id);
            if (Extension != DIE_ID_NONE && Extension != Place.Id && File.ReadDie(Extension, Other) && !Other.IsNull() &&
                Info.HasAttr(Other, Attr)) {
                return Found(Other);
            }
        }
        if (Place.pAbbrev->HasSpecification && DieTarget(File, Place, DW_AT_specification, Other) &&
            Info.HasAttr(Other, Attr)) {
            return Found(Other);
        }
        if (!DieTarget(File, Place, DW_AT_abstract_origin, Other)) break;
        Place = Other;
    }
    const DWARF_DIE Definition = DieDefinition(File, Die);
    if (Definition.Id != Die.Id && Info.HasAttr(Definition, Attr)) return Found(Definition);
    return {};
}

bool DieFlag(const ELF_FILE& File, const DWARF_DIE& Die, U32 Attr)
{
    return DieAttr(File, Die, Attr).Value != 0;
}

DWARF_DIE DieDefinition(const ELF_FILE& File, const DWARF_DIE& Die)
{
    const U32 Tag = Die.Tag();
    const bool IsType = IsRecordTag(Tag) || Tag == DW_TAG_enumeration_type;
    if (!Die.pAbbrev->HasDeclaration && !(IsType && !File.Info.HasAttr(Die, DW_AT_byte_size))) return Die;
    DWARF_DIE Other;
    // A declaration that stands for a type unit names it by its signature.
    if (const DWARF_VALUE Sig = File.Info.GetAttr(Die, DW_AT_signature);
        Sig.Class == DWARF_CLASS::REFERENCE && static_cast<U32>(Sig.Value) != Die.Id &&
        File.ReadDie(static_cast<U32>(Sig.Value), Other) && !Other.IsNull()) {
        return Other;
    }
    const U32 Definition = File.FindDefinition(Die.Id);
    if (Definition != DIE_ID_NONE && Definition != Die.Id && File.ReadDie(Definition, Other) && !Other.IsNull()) {
        return Other;
    }
    // Each attribute of a declaration asks for its definition; of one name there may be many.
    const auto [it, IsNew] = File.DefinitionByName.try_emplace(Die.Id, DIE_ID_NONE);
    if (IsNew && FindByName(File, Die, Other)) it->second = Other.Id;
    return it->second != DIE_ID_NONE && File.ReadDie(it->second, Other) ? Other : Die;
}

bool DieArray(const ELF_FILE& File, const DWARF_DIE& Die, ELF_ARRAY_INFO& Info)
{
    Info = {};
    if (Die.Tag() != DW_TAG_array_type) return false;
    U64 NumElems = 1;
    DWARF_DIE Child;
    bool Has = File.FirstChild(Die, Child);
    for (U32 i = 0; Has && i < MAX_ARRAY_CHILDREN && Info.NumDims < ELF_MAX_ARRAY_DIMS; i++) {
        if (Child.Tag() == DW_TAG_subrange_type) {
            U64 Dim;
            if (const DWARF_VALUE Count = File.Info.GetAttr(Child, DW_AT_count)) {
                // A length that is only known at run time counts as none, like an open one.
                Dim = Count.pBlock || Count.Class == DWARF_CLASS::REFERENCE ? 1 : Count.Value;
            } else {
                const DWARF_VALUE Upper = File.Info.GetAttr(Child, DW_AT_upper_bound);
                const DWARF_VALUE Lower = File.Info.GetAttr(Child, DW_AT_lower_bound);
                const bool IsFixed = Upper && !Upper.pBlock && Upper.Class != DWARF_CLASS::REFERENCE;
                Dim = (IsFixed ? Upper.Value : 0) - Lower.Value + 1;
                // A zero-length array has the upper bound -1, in whichever width the producer chose.
                if (IsFixed && static_cast<U32>(Upper.Value) == 0xFFFFFFFFu) Dim = 0;
            }
            Info.aDim[Info.NumDims++] = static_cast<U32>(std::min<U64>(Dim, 0xFFFFFFFFu));
            NumElems = Dim && NumElems > 0xFFFFFFFFull / Dim ? 0xFFFFFFFFull : NumElems * Dim;
        }
        DWARF_DIE Next;
        Has = File.NextSibling(Child, Next);
        Child = Next;
    }
    DWARF_DIE Elem;
    const U64 ElemSize = DieTarget(File, Die, DW_AT_type, Elem) ? DieSize(File, Elem) : 0;
    Info.NumElems = static_cast<U32>(NumElems);
    Info.ElemSize = static_cast<U32>(ElemSize);
    Info.TotalSize = static_cast<U32>(std::min<U64>(NumElems * ElemSize, 0xFFFFFFFFu));
    return true;
}

/// Nesting of array element types and declarations that a size is looked for through.
static thread_local U32 s_SizeDepth = 0;

U64 DieOwnSize(const ELF_FILE& File, const DWARF_DIE& Die)
{
    switch (Die.Tag()) {
    case DW_TAG_pointer_type:
    case DW_TAG_reference_type:
    case DW_TAG_rvalue_reference_type: return Die.pUnit->AddrSize;
    case DW_TAG_ptr_to_member_type: {
        // A pointer to a member function has an adjustment of the object beside the address.
        DWARF_DIE Target;
        const bool IsFunction = DieTarget(File, Die, DW_AT_type, Target) && Target.Tag() == DW_TAG_subroutine_type;
        return Die.pUnit->AddrSize * (IsFunction ? 2u : 1u);
    }
    case DW_TAG_array_type: {
        ELF_ARRAY_INFO Info;
        DieArray(File, Die, Info);
        return Info.TotalSize;
    }
    default: {
        const DWARF_VALUE Value = DieAttr(File, Die, DW_AT_byte_size);
        return Value.pBlock ? 0 : Value.Value;
    }
    }
}

U64 DieSize(const ELF_FILE& File, const DWARF_DIE& Die)
{
    if (s_SizeDepth >= TYPE_CHAIN_LIMIT) return 0;
    s_SizeDepth++;
    U64 Size = 0;
    const U32 Tag = Die.Tag();
    const bool IsCode = IsFunctionDieTag(Tag) || Tag == DW_TAG_lexical_block || Tag == DW_TAG_compile_unit;
    DWARF_DIE Link = Die;
    for (U32 i = 0; !IsCode && i < TYPE_CHAIN_LIMIT; i++) {
        if (Link.Tag() == DW_TAG_array_type) {
            // An array without elements counts as large as one of them. The size of an element has been looked for
            // already; once more at each link, a chain of such arrays would take twice the time with each of them.
            ELF_ARRAY_INFO Info;
            DieArray(File, Link, Info);
            Size = Info.TotalSize ? Info.TotalSize : Info.ElemSize;
            break;
        }
        Size = DieOwnSize(File, Link);
        DWARF_DIE Next;
        if (Size || !DieTarget(File, Link, DW_AT_type, Next)) break;
        Link = Next;
    }
    if (!Size) {
        std::vector<std::pair<U32, U32>> aRange;
        DieRanges(File, Die, aRange);
        U32 Low = 0xFFFFFFFFu, High = 0;
        for (const auto& [RangeLow, RangeHigh] : aRange) {
            Low = std::min(Low, RangeLow);
            High = std::max(High, RangeHigh);
        }
        if (High > Low) Size = High - Low;
    }
    s_SizeDepth--;
    if (Size > MAX_SYMBOL_SIZE && Tag != DW_TAG_compile_unit) {
        char acText[80];
        std::snprintf(acText, sizeof(acText), "Symbol at %X: did not pass allocation size sanity check", Die.Id);
        ElfReport(0, 9, acText);
        return 0;
    }
    return Size;
}

void DieRanges(const ELF_FILE& File, const DWARF_DIE& Die, std::vector<std::pair<U32, U32>>& aRange)
{
    DWARF_DIE Owner;
    // Ranges belong to one piece of code: an expansion or instance doesn't take them over from its origin.
    const bool Inherit = Die.pAbbrev->HasDeclaration;
    Owner = Inherit ? DieDefinition(File, Die) : Die;
    DwarfGetDieRanges(File.Info, Owner, aRange);
}

const char* DieName(const ELF_FILE& File, const DWARF_DIE& Die)
{
    const char* sName = DieAttr(File, Die, DW_AT_name).sText;
    return Die.Tag() == DW_TAG_base_type ? NormalizeTypeName(sName) : sName;
}
