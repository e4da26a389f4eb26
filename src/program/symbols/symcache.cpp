// The caches of the symbol model, one a slot of the open table.
#include "program/symbols/symcache.h"

#include <unordered_map>

namespace {

struct CACHE {
    U64 Serial = 0;
    std::unordered_map<U32, std::vector<U32>> Locals, Members, Bases;
    std::unordered_map<U32, std::string> TypeTexts;
    std::vector<SYM_EXPRESSION> aExpr;
    std::unordered_map<const U8*, U32> ExprNumbers;
    U32 RangesOf = DIE_ID_NONE;
    std::vector<std::pair<U32, U32>> aRange;
};

/// The cache of a file; what was kept for an earlier file in the same slot is dropped.
CACHE& CacheOf(const ELF_FILE& File)
{
    static CACHE s_aCache[ELF_MAX_OPEN_FILES];
    CACHE& Cache = s_aCache[File.Slot];
    if (Cache.Serial != File.Serial) {
        Cache = CACHE();
        Cache.Serial = File.Serial;
    }
    return Cache;
}

void CollectLocals(const ELF_FILE& File, const DWARF_DIE& Function, std::vector<U32>& aLocal)
{
    const DWARF_SCOPE* pFuncScope = File.FindScope(Function.Id);
    if (!pFuncScope) return;
    const DWARF_UNIT& Unit = *Function.pUnit;
    const U32 Section = Unit.InTypes ? DIE_ID_TYPES : 0;
    const U32 End = pFuncScope->End & ~DIE_ID_TYPES;
    U32 Offset = File.Info.EndOfDie(Function);
    while (Offset && Offset < End) {
        DWARF_DIE Die;
        if (!File.Info.ReadDie(Unit, Offset, Die)) break;
        U32 Next = File.Info.EndOfDie(Die);
        const U32 Tag = Die.Tag();
        if (Tag == DW_TAG_variable || Tag == DW_TAG_formal_parameter) {
            // The bound of a variable length array is a variable that nobody wrote.
            const bool IsHidden = Tag == DW_TAG_variable && Die.pAbbrev->HasArtificial && !Die.pAbbrev->HasName;
            if (!Die.pAbbrev->HasDeclaration && !IsHidden) aLocal.push_back(Die.Id);
        } else if (Tag != DW_TAG_lexical_block && Tag != DW_TAG_try_block && Tag != DW_TAG_catch_block &&
                   !Die.IsNull() && Die.pAbbrev->HasChildren) {
            // Functions keep their own locals, types their members.
            if (const DWARF_SCOPE* pScope = File.FindScope(Offset | Section)) Next = pScope->End & ~DIE_ID_TYPES;
        }
        if (Next <= Offset) break;
        Offset = Next;
    }
}

template <typename ACCEPT>
void CollectChildren(const ELF_FILE& File, const DWARF_DIE& Type, std::vector<U32>& aChild, ACCEPT Accept)
{
    DWARF_DIE Child, Next;
    for (bool Has = File.FirstChild(Type, Child); Has; Child = Next) {
        if (!Child.pAbbrev->HasArtificial && Accept(Child.Tag())) aChild.push_back(DieDefinition(File, Child).Id);
        Has = File.NextSibling(Child, Next);
    }
}

} // namespace

const std::vector<U32>* SymLocals(ELF_SYM_HANDLE hSym)
{
    DIE_REF Ref;
    if (!DieFind(hSym, Ref) || !IsFunctionDieTag(Ref.Die.Tag())) return nullptr;
    const auto [it, IsNew] = CacheOf(*Ref.pFile).Locals.try_emplace(Ref.Die.Id);
    if (IsNew) CollectLocals(*Ref.pFile, DieDefinition(*Ref.pFile, Ref.Die), it->second);
    return &it->second;
}

const std::vector<U32>* SymMembers(ELF_SYM_HANDLE hSym)
{
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return nullptr;
    if (!IsRecordTag(Ref.Die.Tag()) && Ref.Die.Tag() != DW_TAG_enumeration_type) return nullptr;
    const auto [it, IsNew] = CacheOf(*Ref.pFile).Members.try_emplace(Ref.Die.Id);
    if (IsNew) {
        CollectChildren(*Ref.pFile, DieDefinition(*Ref.pFile, Ref.Die), it->second, [](U32 Tag) {
            return Tag == DW_TAG_member || Tag == DW_TAG_subprogram || Tag == DW_TAG_enumerator ||
                   Tag == DW_TAG_variable;
        });
    }
    return &it->second;
}

const std::vector<U32>* SymBases(ELF_SYM_HANDLE hSym)
{
    DIE_REF Ref;
    if (!DieFind(hSym, Ref) || !IsRecordTag(Ref.Die.Tag())) return nullptr;
    const auto [it, IsNew] = CacheOf(*Ref.pFile).Bases.try_emplace(Ref.Die.Id);
    if (IsNew) {
        CollectChildren(*Ref.pFile, DieDefinition(*Ref.pFile, Ref.Die), it->second,
                        [](U32 Tag) { return Tag == DW_TAG_inheritance; });
    }
    return &it->second;
}

const std::vector<std::pair<U32, U32>>& SymRanges(ELF_SYM_HANDLE hSym)
{
    static const std::vector<std::pair<U32, U32>> NONE;
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return NONE;
    CACHE& Cache = CacheOf(*Ref.pFile);
    if (Cache.RangesOf != Ref.Die.Id) {
        Cache.aRange.clear();
        DieRanges(*Ref.pFile, Ref.Die, Cache.aRange);
        Cache.RangesOf = Ref.Die.Id;
    }
    return Cache.aRange;
}

const std::string* SymFindTypeText(const ELF_FILE& File, U32 Id)
{
    const auto& Texts = CacheOf(File).TypeTexts;
    const auto it = Texts.find(Id);
    return it != Texts.end() ? &it->second : nullptr;
}

const std::string& SymKeepTypeText(const ELF_FILE& File, U32 Id, std::string sText)
{
    return CacheOf(File).TypeTexts[Id] = std::move(sText);
}

ELF_SYM_LOC SymKeepExpression(const ELF_FILE& File, const SYM_EXPRESSION& Expr)
{
    CACHE& Cache = CacheOf(File);
    const auto [it, IsNew] = Cache.ExprNumbers.try_emplace(Expr.pBytes, static_cast<U32>(Cache.aExpr.size()));
    if (IsNew) Cache.aExpr.push_back(Expr);
    ELF_SYM_LOC Loc{};
    Loc.NumParts = 1;
    Loc.aPart[0].Type = ELF_LOC_COMPUTED;
    Loc.aPart[0].NestedType = SYM_NESTED_EXPRESSION;
    Loc.aPart[0].NestedAddr = it->second;
    Loc.aPart[0].NestedReg = File.Slot;
    return Loc;
}

const SYM_EXPRESSION* SymFindExpression(const ELF_FILE& File, U32 Number)
{
    const CACHE& Cache = CacheOf(File);
    return Number < Cache.aExpr.size() ? &Cache.aExpr[Number] : nullptr;
}
