// The type of a symbol as text.
#include "program/symbols/elfsym.h"
#include "program/symbols/symcache.h"
#include "program/symbols/typenames.h"

namespace {

constexpr U32 MAX_TYPE_LINKS = 25;
constexpr U32 MAX_PARAMETER_NESTING = 5; ///< function types within parameters of function types

std::string BuildText(const ELF_FILE& File, const DWARF_DIE& Symbol, U32 Nesting);

std::string ParameterTexts(const ELF_FILE& File, const DWARF_DIE& Function, U32 Nesting)
{
    std::string sText = "(";
    if (Nesting >= MAX_PARAMETER_NESTING) {
        ElfReport(ELF_ERR_RECURSION, 28);
        return "()";
    }
    DWARF_DIE Child, Next;
    // The parameters of an expansion stand with its origin in full.
    DWARF_DIE Place = Function;
    if (DWARF_DIE Origin; DieTarget(File, Function, DW_AT_abstract_origin, Origin)) Place = Origin;
    for (bool Has = File.FirstChild(Place, Child); Has && sText.size() < TEXT_BUFFER_SIZE; Child = Next) {
        if (Child.Tag() == DW_TAG_formal_parameter && !DieFlag(File, Child, DW_AT_artificial)) {
            if (sText.size() > 1) sText += ", ";
            sText += BuildText(File, Child, Nesting + 1);
        }
        Has = File.NextSibling(Child, Next);
    }
    return sText + ")";
}

bool IsNamed(U32 Tag)
{
    return Tag == DW_TAG_base_type || Tag == DW_TAG_unspecified_type || Tag == DW_TAG_typedef;
}

const char* Keyword(U32 Tag)
{
    switch (Tag) {
    case DW_TAG_union_type: return "union ";
    case DW_TAG_class_type: return "class ";
    case DW_TAG_enumeration_type: return "enum ";
    default: return "struct ";
    }
}

std::string BuildText(const ELF_FILE& File, const DWARF_DIE& Symbol, U32 Nesting)
{
    std::string sText, sQualifiers, sTypedef;
    bool IsVoid = false; // the chain ends without a type that has a name
    auto AddQualifier = [&sQualifiers](const char* sWord) {
        // A constant pointer to constant data needs the word only once.
        if (sQualifiers.find(sWord) == std::string::npos) sQualifiers = sWord + sQualifiers;
    };
    DWARF_DIE Die = Symbol;
    for (U32 i = 0; i < MAX_TYPE_LINKS && sText.size() < TEXT_BUFFER_SIZE; i++) {
        bool IsEnd = false;
        DWARF_DIE Next;
        const bool HasNext = DieTarget(File, Die, DW_AT_type, Next);
        switch (Die.Tag()) {
        case DW_TAG_array_type: {
            ELF_ARRAY_INFO Info;
            DieArray(File, Die, Info);
            std::string sDims;
            for (U32 d = 0; d < Info.NumDims; d++) sDims += "[" + std::to_string(Info.aDim[d]) + "]";
            sText = sDims + sText;
            break;
        }
        case DW_TAG_pointer_type: sText = "*" + sText; break;
        case DW_TAG_reference_type: sText = "&" + sText; break;
        case DW_TAG_rvalue_reference_type: sText = "&&" + sText; break;
        case DW_TAG_ptr_to_member_type: {
            DWARF_DIE Class;
            const bool Has = DieTarget(File, Die, DW_AT_containing_type, Class);
            sText = (Has ? " " + std::string(DieName(File, Class)) + "::*" : std::string("*")) + sText;
            break;
        }
        case DW_TAG_structure_type:
        case DW_TAG_union_type:
        case DW_TAG_class_type:
        case DW_TAG_interface_type:
        case DW_TAG_enumeration_type: {
            const std::string sName = DieName(File, Die);
            sText = Keyword(Die.Tag()) + (sName.empty() ? sTypedef : sName) + sText;
            // The type below an enumeration is how it is stored, not what it is.
            IsEnd = true;
            break;
        }
        case DW_TAG_subroutine_type:
        case DW_TAG_subprogram:
        case DW_TAG_inlined_subroutine:
            sText = ParameterTexts(File, Die, Nesting) + sText;
            if (!HasNext) {
                sText = "void" + sText;
                IsEnd = true;
            }
            break;
        case DW_TAG_typedef: sTypedef = DieName(File, Die); break;
        case DW_TAG_base_type:
        case DW_TAG_unspecified_type: sText = DieName(File, Die) + sText; break;
        case DW_TAG_const_type: AddQualifier("const "); break;
        case DW_TAG_volatile_type: AddQualifier("volatile "); break;
        default: break;
        }
        if (IsEnd || !HasNext) {
            IsVoid = !IsEnd && !IsNamed(Die.Tag());
            break;
        }
        Die = Next;
    }
    if (sText.find_first_not_of('*') == std::string::npos) {
        if (!sTypedef.empty()) sText = sTypedef + sText;
        else sText = "void" + (sText.empty() ? "*" : sText);
    } else if (IsVoid) {
        sText = "void" + sText;
    }
    return sQualifiers + sText;
}

} // namespace

bool ELF_SymIsStatic(ELF_SYM_HANDLE hSym)
{
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return false;
    const U32 Tag = Ref.Die.Tag();
    if (Tag == DW_TAG_member || Tag == DW_TAG_enumerator) return DieFlag(*Ref.pFile, Ref.Die, DW_AT_external);
    if (Tag == DW_TAG_subroutine_type) return !DieAttr(*Ref.pFile, Ref.Die, DW_AT_object_pointer);
    const DWARF_SCOPE* pScope = Ref.pFile->FindParentScope(Ref.Die.Id);
    for (U32 i = 0; pScope && !IsFunctionDieTag(pScope->Tag); i++) pScope = i < ELF_FILE::MAX_SCOPES ? ELF_FILE::ParentOf(pScope) : nullptr;
    if (!pScope) return false;
    const ELF_SYM_LOC Loc = ELF_GetSymLoc(hSym, 0);
    return ELF_LocIsMemory(Loc) && ELF_LocIsValid(Loc);
}

const char* ELF_GetSymTypeText(ELF_SYM_HANDLE hSym)
{
    DIE_REF Ref;
    if (!DieFind(hSym, Ref)) return "";
    if (const std::string* pText = SymFindTypeText(*Ref.pFile, Ref.Die.Id)) return pText->c_str();
    std::string sText = BuildText(*Ref.pFile, Ref.Die, 0);
    if (ELF_SymIsStatic(hSym)) sText = "static " + sText;
    if (ELF_GetSymVirtuality(hSym)) sText = "virtual " + sText;
    if (sText.size() >= TEXT_BUFFER_SIZE) sText.resize(TEXT_BUFFER_SIZE - 1);
    return SymKeepTypeText(*Ref.pFile, Ref.Die.Id, std::move(sText)).c_str();
}
