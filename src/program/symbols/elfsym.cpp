// Facts about symbols by handle.
#include "program/symbols/elfsym.h"
#include "program/symbols/diemodel.h"
#include "program/symbols/symcache.h"

#include <algorithm>
#include <cstring>
#include <elf.h>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace {

constexpr U32 MAX_BLOCK_SIZE = 10000000;
constexpr U32 BINDING_DEBUG_SYMBOL = 16;
constexpr size_t MAX_BLOCK_RANGES = 1000000; ///< entries of range lists that the blocks of a function are looked for in

bool IsType(U32 Tag)
{
    switch (Tag) {
    case DW_TAG_base_type:
    case DW_TAG_array_type:
    case DW_TAG_class_type:
    case DW_TAG_structure_type:
    case DW_TAG_enumeration_type:
    case DW_TAG_union_type:
    case DW_TAG_interface_type:
    case DW_TAG_ptr_to_member_type:
    case DW_TAG_pointer_type:
    case DW_TAG_reference_type:
    case DW_TAG_rvalue_reference_type:
    case DW_TAG_subroutine_type:
    case DW_TAG_unspecified_type:
    case DW_TAG_subprogram: return true;
    default: return false;
    }
}

ELF_SYM_HANDLE TargetHandle(ELF_SYM_HANDLE hSym, U32 Attr)
{
    DIE_REF Ref;
    DWARF_DIE Target;
    return DieFind(hSym, Ref) && DieTarget(*Ref.pFile, Ref.Die, Attr, Target) ? Ref.pFile->DebugHandle(Target.Id) : 0;
}

bool HasNegative(const ELF_FILE& File, const DWARF_DIE& Enum)
{
    DWARF_DIE Child, Next;
    for (bool Has = File.FirstChild(Enum, Child); Has; Child = Next) {
        const DWARF_VALUE Value = File.Info.GetAttr(Child, DW_AT_const_value);
        if (Value.Class == DWARF_CLASS::SIGNED && static_cast<I64>(Value.Value) < 0) return true;
        Has = File.NextSibling(Child, Next);
    }
    return false;
}

/// GCC takes members of classes for public by default in the oldest version, and leaves out what is the default.
bool IsPublicByDefault(const ELF_FILE& File, const DWARF_DIE& Member)
{
    DWARF_DIE Root;
    if (Member.pUnit->Version > 2 || Member.Tag() == DW_TAG_inheritance) return false;
    return File.Info.ReadDie(*Member.pUnit, Member.pUnit->DieOffset, Root) && std::strncmp(File.Info.GetText(Root, DW_AT_producer), "GNU", 3) == 0;
}

ELF_SYM_HANDLE ListItem(const std::vector<U32>* pList, ELF_SYM_HANDLE hSym, U32 Index)
{
    return pList && Index < pList->size() ? ElfFindSym(hSym)->DebugHandle((*pList)[Index]) : 0;
}

/// Which blocks of a function are at a PC.
class CBlocksAt {
public:
    CBlocksAt(const ELF_FILE& File, U32 LinkPC) : m_File(File), m_LinkPC(LinkPC) {}

    /// Number of blocks of its function that a scope lies in, itself included; -1 if one of them isn't at the PC.
    int GetDepth(const DWARF_SCOPE* pScope)
    {
        std::vector<const DWARF_SCOPE*> apInner; // outer ones decide first: where one isn't at the PC, what is in it isn't asked
        int Depth = 0;
        for (; pScope && !IsFunctionDieTag(pScope->Tag); pScope = ELF_FILE::ParentOf(pScope)) {
            if (const auto it = m_Depth.find(pScope); it != m_Depth.end()) {
                Depth = it->second;
                break;
            }
            apInner.push_back(pScope);
        }
        while (!apInner.empty()) {
            Depth = Depth >= 0 && _IsHere(*apInner.back()) ? Depth + 1 : -1;
            m_Depth[apInner.back()] = Depth;
            apInner.pop_back();
        }
        return Depth;
    }

private:
    bool _IsHere(const DWARF_SCOPE& Scope)
    {
        DWARF_DIE Block;
        if (m_LinkPC == 0xFFFFFFFFu || !m_File.ReadDie(Scope.Id, Block) || Block.IsNull()) return true;
        // A block without code of its own has nothing but names.
        if (!m_File.Info.HasAttr(Block, DW_AT_low_pc) && !m_File.Info.HasAttr(Block, DW_AT_ranges)) return true;
        if (m_NumRanges > MAX_BLOCK_RANGES) return false; // many blocks may name the same long list in a damaged file
        std::vector<std::pair<U32, U32>> aRange;
        DieRanges(m_File, Block, aRange);
        m_NumRanges += aRange.size();
        return std::any_of(aRange.begin(), aRange.end(), [this](const auto& Range) { return Range.first <= m_LinkPC && m_LinkPC < Range.second; });
    }

    const ELF_FILE& m_File;
    U32 m_LinkPC;
    size_t m_NumRanges = 0;
    std::unordered_map<const DWARF_SCOPE*, int> m_Depth;
};

} // namespace

ELF_HANDLE ELF_GetSymFile(ELF_SYM_HANDLE hSym) { return ElfFindSym(hSym); }

bool ELF_SymIsValid(ELF_SYM_HANDLE hSym) { return ELF_GetSymTag(hSym) != ELF_BAD_TAG; }

U32 ELF_GetSymTag(ELF_SYM_HANDLE hSym)
{
    if (const ELF_SYMBOL* pSym = ElfSymFind(hSym)) return pSym->Type();
    DIE_REF Ref;
    return DieFind(hSym, Ref) ? Ref.Die.Tag() : ELF_BAD_TAG;
}

U32 ELF_GetSymBinding(ELF_SYM_HANDLE hSym)
{
    const ELF_SYMBOL* pSym = ElfSymFind(hSym);
    return pSym ? pSym->Binding() : ElfFindSym(hSym) ? BINDING_DEBUG_SYMBOL : 0;
}

U32 ELF_GetSymValue(ELF_SYM_HANDLE hSym)
{
    const ELF_SYMBOL* pSym = ElfSymFind(hSym);
    return pSym ? pSym->Value : 0;
}

const char* ELF_GetSymName(ELF_SYM_HANDLE hSym)
{
    if (const ELF_SYMBOL* pSym = ElfSymFind(hSym)) return pSym->sName;
    DIE_REF Ref;
    return DieFind(hSym, Ref) ? DieName(*Ref.pFile, Ref.Die) : "";
}

const char* ELF_GetSymLinkageName(ELF_SYM_HANDLE hSym)
{
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return "";
    const char* sName = DieAttr(*Ref.pFile, Ref.Die, DW_AT_linkage_name).sText;
    return *sName ? sName : DieAttr(*Ref.pFile, Ref.Die, DW_AT_MIPS_linkage_name).sText;
}

U32 ELF_GetSymRangeCount(ELF_SYM_HANDLE hSym)
{
    if (ElfSymFind(hSym)) return 1;
    return static_cast<U32>(SymRanges(hSym).size());
}

U32 ELF_GetSymRangeLow(ELF_SYM_HANDLE hSym, U32 Index)
{
    if (const ELF_SYMBOL* pSym = ElfSymFind(hSym)) return ELF_ToRuntimeAddr(pSym->Value, 1, 0);
    const auto& aRange = SymRanges(hSym);
    return Index < aRange.size() ? ELF_ToRuntimeAddr(aRange[Index].first, 1, 0) : 0xFFFFFFFFu;
}

U32 ELF_GetSymRangeHigh(ELF_SYM_HANDLE hSym, U32 Index)
{
    if (const ELF_SYMBOL* pSym = ElfSymFind(hSym)) {
        const U64 End = static_cast<U64>(pSym->Value) + pSym->Size;
        return ELF_ToRuntimeAddr(End > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<U32>(End), 0, 1);
    }
    const auto& aRange = SymRanges(hSym);
    return Index < aRange.size() ? ELF_ToRuntimeAddr(aRange[Index].second, 0, 1) : 0;
}

U32 ELF_GetSymSection(ELF_SYM_HANDLE hSym)
{
    if (const ELF_SYMBOL* pSym = ElfSymFind(hSym)) return pSym->Section;
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return 0;
    const int Index = Ref.pFile->Image.FindSection(Ref.Die.pUnit->InTypes ? ".debug_types" : ".debug_info");
    return Index >= 0 ? static_cast<U32>(Index) : 0;
}

U32 ELF_GetSymSize(ELF_SYM_HANDLE hSym)
{
    if (const ELF_SYMBOL* pSym = ElfSymFind(hSym)) return pSym->Size;
    DIE_REF Ref;
    return DieFind(hSym, Ref) ? static_cast<U32>(DieSize(*Ref.pFile, Ref.Die)) : 0;
}

ELF_SYM_HANDLE ELF_GetSymParent(ELF_SYM_HANDLE hSym)
{
    const ELF_FILE* pFile = ElfFindSym(hSym);
    if (!pFile) return 0;
    U32 Id = static_cast<U32>(hSym);
    if (!ELF_SymIsElf(hSym)) {
        const DWARF_SCOPE* pScope = pFile->FindParentScope(Id);
        return pScope ? pFile->DebugHandle(pScope->Id) : 0;
    }
    // A file symbol stands before the local symbols of the file; it has no parent itself.
    if (pFile->Image.Symbols()[Id].Type() == STT_FILE) return 0;
    while (Id-- > 0) {
        if (pFile->Image.Symbols()[Id].Type() == STT_FILE) return MakeSymHandle(pFile->Slot, ELF_SYM_KIND_ELF, Id);
    }
    return 0;
}

ELF_SYM_LIST ELF_GetSymChildren(ELF_SYM_HANDLE hSym, U32 Tag)
{
    ELF_SYM_LIST aChild;
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return aChild;
    DWARF_DIE Child, Next;
    for (bool Has = Ref.pFile->FirstChild(Ref.Die, Child); Has; Child = Next) {
        if (Tag == 0 || Child.Tag() == Tag) aChild.append(Ref.pFile->DebugHandle(Child.Id));
        Has = Ref.pFile->NextSibling(Child, Next);
    }
    return aChild;
}

U32 ELF_GetSymLocalCount(ELF_SYM_HANDLE hSym)
{
    const std::vector<U32>* pList = SymLocals(hSym);
    return pList ? static_cast<U32>(pList->size()) : 0;
}
ELF_SYM_HANDLE ELF_GetSymLocal(ELF_SYM_HANDLE hSym, U32 Index) { return ListItem(SymLocals(hSym), hSym, Index); }
ELF_SYM_LIST ELF_GetSymLocalsAt(ELF_SYM_HANDLE hFunc, U32 PC)
{
    const std::vector<U32>* pLocals = SymLocals(hFunc);
    if (!pLocals) return {};
    struct SEEN {
        int Depth; ///< blocks around it in the function; -1 for a parameter
        ELF_SYM_HANDLE hSym;
    };
    const ELF_FILE& File = *ElfFindSym(hFunc);
    const U32 LinkPC = PC == 0xFFFFFFFFu ? PC : ELF_FromRuntimeAddr(PC, 1, 0);
    std::vector<SEEN> aSeen;
    CBlocksAt Blocks(File, LinkPC);
    for (const U32 Id : *pLocals) {
        DWARF_DIE Die;
        const int Depth = Blocks.GetDepth(File.FindParentScope(Id));
        if (Depth < 0 || !File.ReadDie(Id, Die) || !*DieName(File, Die)) continue;
        aSeen.push_back({Die.Tag() == DW_TAG_formal_parameter ? -1 : Depth, File.DebugHandle(Id)});
    }
    std::stable_sort(aSeen.begin(), aSeen.end(), [](const SEEN& a, const SEEN& b) { return a.Depth > b.Depth; });
    ELF_SYM_LIST aSym;
    std::unordered_set<std::string_view> Names;
    for (const SEEN& Seen : aSeen) {
        if (Names.insert(ELF_GetSymName(Seen.hSym)).second) aSym.append(Seen.hSym);
    }
    return aSym;
}

U32 ELF_GetSymMemberCount(ELF_SYM_HANDLE hSym)
{
    const std::vector<U32>* pList = SymMembers(hSym);
    return pList ? static_cast<U32>(pList->size()) : 0;
}
ELF_SYM_HANDLE ELF_GetSymMember(ELF_SYM_HANDLE hSym, U32 Index) { return ListItem(SymMembers(hSym), hSym, Index); }
U32 ELF_GetSymBaseCount(ELF_SYM_HANDLE hSym)
{
    const std::vector<U32>* pList = SymBases(hSym);
    return pList ? static_cast<U32>(pList->size()) : 0;
}
ELF_SYM_HANDLE ELF_GetSymBase(ELF_SYM_HANDLE hSym, U32 Index) { return ListItem(SymBases(hSym), hSym, Index); }

ELF_SYM_HANDLE ELF_GetSymType(ELF_SYM_HANDLE hSym, bool Self)
{
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return 0;
    DWARF_DIE Die = Ref.Die;
    for (U32 i = 0; i < TYPE_CHAIN_LIMIT; i++) {
        if ((Self || i > 0) && IsType(Die.Tag())) return Ref.pFile->DebugHandle(DieDefinition(*Ref.pFile, Die).Id);
        DWARF_DIE Next;
        if (!DieTarget(*Ref.pFile, Die, DW_AT_type, Next)) return 0;
        Die = Next;
    }
    return 0;
}

ELF_SYM_HANDLE ELF_GetSymOrigin(ELF_SYM_HANDLE hSym) { return TargetHandle(hSym, DW_AT_abstract_origin); }
ELF_SYM_HANDLE ELF_GetSymThis(ELF_SYM_HANDLE hSym) { return TargetHandle(hSym, DW_AT_object_pointer); }

const char* ELF_GetSymDeclFile(ELF_SYM_HANDLE hSym, U32 Attr)
{
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return "";
    DWARF_DIE Owner;
    const DWARF_VALUE Value = DieAttr(*Ref.pFile, Ref.Die, Attr, &Owner);
    const ELF_CU_FILES* pFiles = Value ? Ref.pFile->GetCuFiles(*Owner.pUnit) : nullptr;
    if (!pFiles) return "";
    const U64 Index = Value.Value - pFiles->FileBase;
    if (Index >= pFiles->aFile.size() || pFiles->aFile[Index] == 0xFFFFFFFFu) return "";
    return Ref.pFile->asSrcFile[pFiles->aFile[Index]].c_str();
}

U64 ELF_GetSymAttr(ELF_SYM_HANDLE hSym, U32 Attr, bool* pFound)
{
    DIE_REF Ref;
    const DWARF_VALUE Value = DieFind(hSym, Ref) ? DieAttr(*Ref.pFile, Ref.Die, Attr) : DWARF_VALUE();
    if (pFound) *pFound = static_cast<bool>(Value);
    return Value.Value;
}

const U8* ELF_GetSymBlock(ELF_SYM_HANDLE hSym, U32 Attr, U32* pSize)
{
    *pSize = 0;
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return nullptr;
    const DWARF_VALUE Value = DieAttr(*Ref.pFile, Ref.Die, Attr);
    if (Value.BlockSize > MAX_BLOCK_SIZE) {
        ElfReport(ELF_ERR_CONST_SIZE, 28);
        return nullptr;
    }
    *pSize = Value.BlockSize;
    return Value.pBlock;
}

U32 ELF_GetSymAccess(ELF_SYM_HANDLE hSym)
{
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return 0;
    if (const DWARF_VALUE Value = DieAttr(*Ref.pFile, Ref.Die, DW_AT_accessibility)) return static_cast<U32>(Value.Value);
    // A definition outside of its class belongs to where it was declared.
    DWARF_DIE Declared = Ref.Die;
    DieTarget(*Ref.pFile, Ref.Die, DW_AT_specification, Declared);
    const DWARF_SCOPE* pScope = Ref.pFile->FindParentScope(Declared.Id);
    for (U32 i = 0; pScope && i < ELF_FILE::MAX_SCOPES; pScope = ELF_FILE::ParentOf(pScope), i++) {
        switch (pScope->Tag) {
        case DW_TAG_structure_type:
        case DW_TAG_union_type: return 1;
        case DW_TAG_class_type: return IsPublicByDefault(*Ref.pFile, Declared) ? 1 : 3;
        default: break;
        }
    }
    return 0;
}

U32 ELF_GetSymVirtuality(ELF_SYM_HANDLE hSym)
{
    DIE_REF Ref;
    return DieFind(hSym, Ref) ? static_cast<U32>(DieAttr(*Ref.pFile, Ref.Die, DW_AT_virtuality).Value) : 0;
}

bool ELF_SymIsSigned(ELF_SYM_HANDLE hSym)
{
    DIE_REF Ref;
    if (!DieFind(ELF_GetSymType(hSym, true), Ref)) return false;
    DWARF_DIE Die = Ref.Die;
    DWARF_DIE Next;
    if (Die.Tag() == DW_TAG_enumeration_type) {
        // Older versions don't tell how it is stored; one with a negative value must be signed.
        if (!DieTarget(*Ref.pFile, Die, DW_AT_type, Next)) return HasNegative(*Ref.pFile, Die);
        Die = Next;
    }
    if (Die.Tag() != DW_TAG_base_type) return false;
    const U64 Encoding = DieAttr(*Ref.pFile, Die, DW_AT_encoding).Value;
    return Encoding == DW_ATE_signed || Encoding == DW_ATE_signed_char || Encoding == DW_ATE_float;
}

U32 ELF_GetSymBitSize(ELF_SYM_HANDLE hSym)
{
    DIE_REF Ref;
    return DieFind(hSym, Ref) ? static_cast<U32>(DieAttr(*Ref.pFile, Ref.Die, DW_AT_bit_size).Value) : 0;
}

U32 ELF_GetSymBitOffset(ELF_SYM_HANDLE hSym)
{
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return 0;
    if (const DWARF_VALUE Value = DieAttr(*Ref.pFile, Ref.Die, DW_AT_data_bit_offset)) return static_cast<U32>(Value.Value);
    const DWARF_VALUE Offset = DieAttr(*Ref.pFile, Ref.Die, DW_AT_bit_offset);
    const U32 BitSize = ELF_GetSymBitSize(hSym);
    if (!Offset || !BitSize) return static_cast<U32>(Offset.Value);
    // The older attribute counts from the most significant bit of the storage unit.
    U64 Storage = DieAttr(*Ref.pFile, Ref.Die, DW_AT_byte_size).Value;
    if (!Storage) Storage = DieSize(*Ref.pFile, Ref.Die);
    const U64 Used = BitSize + Offset.Value;
    return static_cast<U32>((8 * Storage < Used ? 32 : 8 * Storage) - Used);
}

int ELF_GetArrayInfo(ELF_SYM_HANDLE hSym, ELF_ARRAY_INFO* pInfo)
{
    *pInfo = {};
    DIE_REF Ref;
    return DieFind(ELF_GetSymType(hSym, true), Ref) && DieArray(*Ref.pFile, Ref.Die, *pInfo) ? 0 : -1;
}

const char* ELF_GetProducer()
{
    const ELF_FILE* pFile = ElfCurrent();
    if (!pFile || !pFile->HasDebugInfo) return "";
    for (const DWARF_UNIT& Unit : pFile->Info.Units()) {
        DWARF_DIE Root;
        if (!pFile->Info.ReadDie(Unit, Unit.DieOffset, Root)) continue;
        const char* sText = pFile->Info.GetText(Root, DW_AT_producer);
        if (*sText) return sText;
    }
    return "";
}
