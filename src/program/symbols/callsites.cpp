// What a caller passes in registers, as the debug information of its call tells it.
#include "program/symbols/locexpr.h"
#include "program/symbols/diemodel.h"
#include "program/symbols/symcache.h"

namespace {

/// The register that a parameter of a call is passed in, 0xFFFFFFFF if it isn't in one.
U32 RegisterOf(const ELF_FILE& File, const DWARF_DIE& Parameter)
{
    const DWARF_VALUE Place = File.Info.GetAttr(Parameter, DW_AT_location);
    CByteCursor Cur(Place.pBlock, Place.BlockSize, File.Info.Sections().BigEndian);
    const U32 Op = Cur.GetU8();
    U32 Reg = 0xFFFFFFFFu;
    if (Op == DW_OP_regx) Reg = static_cast<U32>(Cur.GetULeb());
    else if (Op >= DW_OP_reg0 && Op <= DW_OP_reg31) Reg = Op - DW_OP_reg0;
    return Cur.IsOk() && Cur.AtEnd() ? Reg : 0xFFFFFFFFu;
}

bool IsCallSite(U32 Tag) { return Tag == DW_TAG_call_site || Tag == DW_TAG_GNU_call_site; }

/// Address behind the call, as linked. Before version 5 it stood in another attribute.
bool ReturnsTo(const ELF_FILE& File, const DWARF_DIE& Site, U32 Addr)
{
    DWARF_VALUE Value = File.Info.GetAttr(Site, DW_AT_call_return_pc);
    if (!Value) Value = File.Info.GetAttr(Site, DW_AT_low_pc);
    return Value.Class == DWARF_CLASS::ADDRESS && Value.Value == Addr;
}

/// The function that an entry is an instance or the definition of.
U32 RootOf(const ELF_FILE& File, DWARF_DIE Die)
{
    constexpr int MAX_LINKS = 4;
    DWARF_DIE Next;
    for (int i = 0; i < MAX_LINKS; i++) {
        if (!DieTarget(File, Die, DW_AT_abstract_origin, Next) && !DieTarget(File, Die, DW_AT_specification, Next)) break;
        Die = Next;
    }
    return Die.Id;
}

/// The call is one of this function, as far as it is told: behind a tail call, another function runs than the one called.
bool Calls(const ELF_FILE& File, const DWARF_DIE& Site, const DWARF_DIE& Callee)
{
    DWARF_DIE Target;
    const bool Has = DieTarget(File, Site, DW_AT_call_origin, Target) || DieTarget(File, Site, DW_AT_abstract_origin, Target);
    return !Has || RootOf(File, DieDefinition(File, Target)) == RootOf(File, Callee);
}

} // namespace

bool ELF_FindCallValue(ELF_SYM_HANDLE hCaller, ELF_SYM_HANDLE hCallee, U32 ReturnAddr, U32 Reg, ELF_SYM_LOC* pLoc)
{
    *pLoc = {};
    DIE_REF Caller, Callee;
    if (!DieFind(hCaller, Caller) || !DieFind(hCallee, Callee) || Caller.pFile != Callee.pFile) return false;
    const ELF_FILE& File = *Caller.pFile;
    const DWARF_SCOPE* pScope = File.FindScope(Caller.Die.Id);
    if (!pScope) return false;
    const U32 Addr = ELF_FromRuntimeAddr(ReturnAddr, 1, 0), End = pScope->End & ~DIE_ID_TYPES;
    bool IsInSite = false;
    DWARF_DIE Die;
    for (U32 Offset = File.Info.EndOfDie(Caller.Die); Offset && Offset < End && File.Info.ReadDie(*Caller.Die.pUnit, Offset, Die);) {
        if (IsCallSite(Die.Tag())) {
            if (IsInSite) return true;
            IsInSite = ReturnsTo(File, Die, Addr);
            if (IsInSite && (!Calls(File, Die, Callee.Die) || !Die.pAbbrev->HasChildren)) return true;
        } else if (IsInSite && Die.IsNull()) {
            return true; // the call says nothing of this register
        } else if (IsInSite && RegisterOf(File, Die) == Reg) {
            DWARF_VALUE Value = File.Info.GetAttr(Die, DW_AT_call_value);
            if (!Value) Value = File.Info.GetAttr(Die, DW_AT_GNU_call_site_value);
            if (Value.pBlock) *pLoc = SymKeepExpression(File, {Value.pBlock, Value.BlockSize, Die.pUnit, true});
            return true;
        }
        const U32 Next = File.Info.EndOfDie(Die);
        if (Next <= Offset) break;
        Offset = Next;
    }
    return IsInSite;
}
