// The values of attributes, form by form.
#include "program/elf/dwarfinfo.h"

#include <libdwarf/dwarf.h>

namespace {

/// Size and class of the forms that are plain numbers; size 0: not in the table.
struct FORM_ROW {
    U16 Form;
    U8 Size;
    DWARF_CLASS Class;
};
constexpr FORM_ROW PLAIN_FORMS[] = {
    {DW_FORM_data1, 1, DWARF_CLASS::CONSTANT},   {DW_FORM_data2, 2, DWARF_CLASS::CONSTANT},
    {DW_FORM_data4, 4, DWARF_CLASS::CONSTANT},   {DW_FORM_data8, 8, DWARF_CLASS::CONSTANT},
    {DW_FORM_flag, 1, DWARF_CLASS::FLAG},        {DW_FORM_ref1, 1, DWARF_CLASS::REFERENCE},
    {DW_FORM_ref2, 2, DWARF_CLASS::REFERENCE},   {DW_FORM_ref4, 4, DWARF_CLASS::REFERENCE},
    {DW_FORM_ref8, 8, DWARF_CLASS::REFERENCE},   {DW_FORM_ref_sig8, 8, DWARF_CLASS::SIGNATURE},
    {DW_FORM_strx1, 1, DWARF_CLASS::TEXT},       {DW_FORM_strx2, 2, DWARF_CLASS::TEXT},
    {DW_FORM_strx3, 3, DWARF_CLASS::TEXT},       {DW_FORM_strx4, 4, DWARF_CLASS::TEXT},
    {DW_FORM_addrx1, 1, DWARF_CLASS::ADDRESS},   {DW_FORM_addrx2, 2, DWARF_CLASS::ADDRESS},
    {DW_FORM_addrx3, 3, DWARF_CLASS::ADDRESS},   {DW_FORM_addrx4, 4, DWARF_CLASS::ADDRESS},
};

const FORM_ROW* FindPlain(U32 Form)
{
    for (const FORM_ROW& Row : PLAIN_FORMS) {
        if (Row.Form == Form) return &Row;
    }
    return nullptr;
}

} // namespace

DWARF_VALUE CDwarfInfo::_ReadForm(CByteCursor& Cur, const DWARF_UNIT& Unit, U32 Form, I64 Implicit) const
{
    DWARF_VALUE V;
    if (Form == DW_FORM_indirect) {
        Form = static_cast<U32>(Cur.GetULeb());
        if (Form == DW_FORM_indirect || Form == DW_FORM_implicit_const) return V;
    }
    V.Form = static_cast<U16>(Form);
    auto Block = [&](U64 Size, DWARF_CLASS Class) {
        V.pBlock = Cur.GetBytes(Size);
        V.BlockSize = V.pBlock ? static_cast<U32>(Size) : 0;
        V.Class = Class;
    };
    if (const FORM_ROW* pRow = FindPlain(Form)) {
        V.Value = Cur.GetUnsigned(pRow->Size);
        V.Class = pRow->Class;
    } else {
        switch (Form) {
        case DW_FORM_addr:
            V.Value = static_cast<U32>(Cur.GetUnsigned(Unit.AddrSize));
            V.Class = DWARF_CLASS::ADDRESS;
            break;
        case DW_FORM_udata: V.Value = Cur.GetULeb(), V.Class = DWARF_CLASS::CONSTANT; break;
        case DW_FORM_sdata: V.Value = static_cast<U64>(Cur.GetSLeb()), V.Class = DWARF_CLASS::SIGNED; break;
        case DW_FORM_implicit_const: V.Value = static_cast<U64>(Implicit), V.Class = DWARF_CLASS::SIGNED; break;
        case DW_FORM_flag_present: V.Value = 1, V.Class = DWARF_CLASS::FLAG; break;
        case DW_FORM_sec_offset: V.Value = Cur.GetUnsigned(Unit.OffsetSize), V.Class = DWARF_CLASS::OFFSET; break;
        case DW_FORM_loclistx:
        case DW_FORM_rnglistx: V.Value = Cur.GetULeb(), V.Class = DWARF_CLASS::INDEX; break;
        case DW_FORM_addrx:
        case DW_FORM_GNU_addr_index: V.Value = Cur.GetULeb(), V.Class = DWARF_CLASS::ADDRESS; break;
        case DW_FORM_ref_udata: V.Value = Cur.GetULeb(), V.Class = DWARF_CLASS::REFERENCE; break;
        case DW_FORM_ref_addr:
            V.Value = Cur.GetUnsigned(Unit.Version <= 2 ? Unit.AddrSize : Unit.OffsetSize);
            V.Class = DWARF_CLASS::REFERENCE;
            break;
        case DW_FORM_string:
            // References of a damaged file can lead to each place of one long text.
            if (Cur.Remaining() > DWARF_MAX_TEXT + 1) Cur.Limit(Cur.Pos() + DWARF_MAX_TEXT + 1);
            V.sText = Cur.GetText();
            V.Class = DWARF_CLASS::TEXT;
            break;
        case DW_FORM_strp:
            V.sText = DwarfTextAt(m_Sec.Str, Cur.GetUnsigned(Unit.OffsetSize));
            V.Class = DWARF_CLASS::TEXT;
            break;
        case DW_FORM_line_strp:
            V.sText = DwarfTextAt(m_Sec.LineStr, Cur.GetUnsigned(Unit.OffsetSize));
            V.Class = DWARF_CLASS::TEXT;
            break;
        case DW_FORM_strx:
        case DW_FORM_GNU_str_index: V.Value = Cur.GetULeb(), V.Class = DWARF_CLASS::TEXT; break;
        case DW_FORM_block1: Block(Cur.GetU8(), DWARF_CLASS::BLOCK); break;
        case DW_FORM_block2: Block(Cur.GetU16(), DWARF_CLASS::BLOCK); break;
        case DW_FORM_block4: Block(Cur.GetU32(), DWARF_CLASS::BLOCK); break;
        case DW_FORM_block: Block(Cur.GetULeb(), DWARF_CLASS::BLOCK); break;
        case DW_FORM_exprloc: Block(Cur.GetULeb(), DWARF_CLASS::EXPRESSION); break;
        case DW_FORM_data16: Block(16, DWARF_CLASS::BLOCK); break;
        default: return DWARF_VALUE();
        }
    }
    if (!Cur.IsOk()) return DWARF_VALUE();
    switch (Form) {
    case DW_FORM_strx:
    case DW_FORM_GNU_str_index:
    case DW_FORM_strx1:
    case DW_FORM_strx2:
    case DW_FORM_strx3:
    case DW_FORM_strx4: V.sText = _IndexedText(Unit, V.Value); break;
    case DW_FORM_addrx:
    case DW_FORM_GNU_addr_index:
    case DW_FORM_addrx1:
    case DW_FORM_addrx2:
    case DW_FORM_addrx3:
    case DW_FORM_addrx4: {
        U32 Addr;
        if (!GetIndexedAddr(Unit, V.Value, Addr)) return DWARF_VALUE();
        V.Value = Addr;
        break;
    }
    case DW_FORM_ref_addr:
        if (V.Value > 0x7FFFFFFFu) return DWARF_VALUE();
        break;
    case DW_FORM_ref1:
    case DW_FORM_ref2:
    case DW_FORM_ref4:
    case DW_FORM_ref8:
    case DW_FORM_ref_udata:
        // Unit-relative: the id of the target, as long as it stays within the unit.
        if (V.Value >= Unit.End - Unit.Offset) return DWARF_VALUE();
        V.Value = (V.Value + Unit.Offset) | (Unit.InTypes ? DIE_ID_TYPES : 0);
        break;
    case DW_FORM_ref_sig8:
        if (const DWARF_UNIT* pTarget = FindTypeUnit(V.Value)) {
            V.Class = DWARF_CLASS::REFERENCE;
            V.Value = pTarget->TypeOffset | (pTarget->InTypes ? DIE_ID_TYPES : 0);
        }
        break;
    default: break;
    }
    return V;
}
