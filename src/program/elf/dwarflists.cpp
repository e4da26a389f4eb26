// Range lists and location lists of both generations (.debug_ranges, .debug_loc and .debug_rnglists,
// .debug_loclists). Damaged lists end where they stop making sense; what was read before stays.
#include "program/elf/dwarfinfo.h"

#include <libdwarf/dwarf.h>

namespace {

/// No list of a real program comes near; a damaged one can't keep the reader busy.
constexpr size_t MAX_LIST_ENTRIES = 100000;
/// Where the first expression of a list must stand, when only that is asked for.
constexpr size_t MAX_FIRST_ENTRIES = 64;

/// Offset of a list given by its index in the unit's offset table.
bool ListOffset(const ELF_BYTES& Section, const DWARF_UNIT& Unit, bool BigEndian, U64 Base, U64 Index, U64& Offset)
{
    if (Index > Section.Size) return false;
    CByteCursor Cur(Section.pData, Section.Size, BigEndian, Base);
    Cur.Skip(Index * Unit.OffsetSize);
    Offset = Base + Cur.GetUnsigned(Unit.OffsetSize);
    return Cur.IsOk();
}

U64 BaseSelector(U32 AddrSize)
{
    return AddrSize == 8 ? ~0ull : (1ull << (8 * AddrSize)) - 1;
}

bool ReadLoc2(const DWARF_SECTIONS& Sec, const DWARF_UNIT& Unit, U64 Offset, std::vector<DWARF_LOC_ENTRY>& aEntry, bool FirstOnly)
{
    CByteCursor Cur(Sec.Loc.pData, Sec.Loc.Size, Sec.BigEndian, Offset);
    U64 Base = Unit.LowPc;
    for (size_t n = FirstOnly ? MAX_FIRST_ENTRIES : MAX_LIST_ENTRIES; n > 0; n--) {
        const U64 Low = Cur.GetUnsigned(Unit.AddrSize);
        const U64 High = Cur.GetUnsigned(Unit.AddrSize);
        if (!Cur.IsOk()) return !aEntry.empty();
        if (Low == 0 && High == 0) return true;
        if (Low == BaseSelector(Unit.AddrSize)) {
            Base = High;
            continue;
        }
        const U32 Size = Cur.GetU16();
        const U8* pExpr = Cur.GetBytes(Size);
        if (!Cur.IsOk()) return !aEntry.empty();
        if (FirstOnly && !Size) continue;
        aEntry.push_back({Base + Low, Base + High, pExpr, Size});
        if (FirstOnly) return true;
    }
    return true;
}

bool ReadLoc5(const CDwarfInfo& Info, const DWARF_UNIT& Unit, U64 Offset, std::vector<DWARF_LOC_ENTRY>& aEntry, bool FirstOnly)
{
    const DWARF_SECTIONS& Sec = Info.Sections();
    CByteCursor Cur(Sec.Loclists.pData, Sec.Loclists.Size, Sec.BigEndian, Offset);
    U64 Base = Unit.LowPc;
    auto Indexed = [&](U64 Index) {
        U32 Addr = 0;
        if (!Info.GetIndexedAddr(Unit, Index, Addr)) Cur.Fail();
        return static_cast<U64>(Addr);
    };
    for (size_t n = FirstOnly ? MAX_FIRST_ENTRIES : MAX_LIST_ENTRIES; n > 0; n--) {
        U64 Low = 0, High = 0;
        bool HasExpr = true;
        switch (Cur.GetU8()) {
        case DW_LLE_end_of_list: return Cur.IsOk() || !aEntry.empty();
        case DW_LLE_base_addressx: Base = Indexed(Cur.GetULeb()), HasExpr = false; break;
        case DW_LLE_startx_endx: Low = Indexed(Cur.GetULeb()), High = Indexed(Cur.GetULeb()); break;
        case DW_LLE_startx_length: Low = Indexed(Cur.GetULeb()), High = Low + Cur.GetULeb(); break;
        case DW_LLE_offset_pair: Low = Base + Cur.GetULeb(), High = Base + Cur.GetULeb(); break;
        case DW_LLE_default_location: Low = 0, High = 0x100000000ull; break;
        case DW_LLE_base_address: Base = Cur.GetUnsigned(Unit.AddrSize), HasExpr = false; break;
        case DW_LLE_start_end: Low = Cur.GetUnsigned(Unit.AddrSize), High = Cur.GetUnsigned(Unit.AddrSize); break;
        case DW_LLE_start_length: Low = Cur.GetUnsigned(Unit.AddrSize), High = Low + Cur.GetULeb(); break;
        case 0x09: Cur.SkipLeb(), Cur.SkipLeb(), HasExpr = false; break; // pair of views, no location
        default: return !aEntry.empty();
        }
        if (HasExpr) {
            const U64 Size = Cur.GetULeb();
            const U8* pExpr = Cur.GetBytes(Size);
            if (Cur.IsOk() && (Size || !FirstOnly)) aEntry.push_back({Low, High, pExpr, static_cast<U32>(Size)});
            if (FirstOnly && !aEntry.empty()) return true;
        }
        if (!Cur.IsOk()) return !aEntry.empty();
    }
    return true;
}

} // namespace

bool DwarfReadLocList(const CDwarfInfo& Info, const DWARF_UNIT& Unit, const DWARF_VALUE& Value,
                      std::vector<DWARF_LOC_ENTRY>& aEntry, bool FirstOnly)
{
    U64 Offset = Value.Value;
    if (Value.Class == DWARF_CLASS::INDEX) {
        if (!ListOffset(Info.Sections().Loclists, Unit, Info.Sections().BigEndian, Unit.LoclistsBase, Value.Value, Offset))
            return false;
    } else if (Value.Class != DWARF_CLASS::OFFSET && Value.Class != DWARF_CLASS::CONSTANT) {
        return false;
    }
    return Unit.Version >= 5 ? ReadLoc5(Info, Unit, Offset, aEntry, FirstOnly) : ReadLoc2(Info.Sections(), Unit, Offset, aEntry, FirstOnly);
}

bool CDwarfInfo::GetRanges(const DWARF_UNIT& Unit, const DWARF_VALUE& Value,
                           std::vector<std::pair<U32, U32>>& aRange) const
{
    U64 Offset = Value.Value;
    if (Value.Class == DWARF_CLASS::INDEX &&
        !ListOffset(m_Sec.Rnglists, Unit, m_Sec.BigEndian, Unit.RnglistsBase, Value.Value, Offset)) {
        return false;
    }
    return Unit.Version >= 5 ? _GetRanges5(Unit, Offset, aRange) : _GetRanges2(Unit, Offset, aRange);
}

bool CDwarfInfo::_GetRanges2(const DWARF_UNIT& Unit, U64 Offset, std::vector<std::pair<U32, U32>>& aRange) const
{
    CByteCursor Cur(m_Sec.Ranges.pData, m_Sec.Ranges.Size, m_Sec.BigEndian, Offset);
    U64 Base = Unit.LowPc;
    for (size_t n = 0; n < MAX_LIST_ENTRIES; n++) {
        const U64 Low = Cur.GetUnsigned(Unit.AddrSize);
        const U64 High = Cur.GetUnsigned(Unit.AddrSize);
        if (!Cur.IsOk()) return !aRange.empty();
        if (Low == 0 && High == 0) return true;
        if (Low == BaseSelector(Unit.AddrSize)) Base = High;
        else if (High > Low) aRange.emplace_back(static_cast<U32>(Base + Low), static_cast<U32>(Base + High));
    }
    return true;
}

bool CDwarfInfo::_GetRanges5(const DWARF_UNIT& Unit, U64 Offset, std::vector<std::pair<U32, U32>>& aRange) const
{
    CByteCursor Cur(m_Sec.Rnglists.pData, m_Sec.Rnglists.Size, m_Sec.BigEndian, Offset);
    U64 Base = Unit.LowPc;
    auto Indexed = [&](U64 Index) {
        U32 Addr = 0;
        if (!GetIndexedAddr(Unit, Index, Addr)) Cur.Fail();
        return static_cast<U64>(Addr);
    };
    for (size_t n = 0; n < MAX_LIST_ENTRIES; n++) {
        U64 Low = 0, High = 0;
        switch (Cur.GetU8()) {
        case DW_RLE_end_of_list: return Cur.IsOk() || !aRange.empty();
        case DW_RLE_base_addressx: Base = Indexed(Cur.GetULeb()); break;
        case DW_RLE_startx_endx: Low = Indexed(Cur.GetULeb()), High = Indexed(Cur.GetULeb()); break;
        case DW_RLE_startx_length: Low = Indexed(Cur.GetULeb()), High = Low + Cur.GetULeb(); break;
        case DW_RLE_offset_pair: Low = Base + Cur.GetULeb(), High = Base + Cur.GetULeb(); break;
        case DW_RLE_base_address: Base = Cur.GetUnsigned(Unit.AddrSize); break;
        case DW_RLE_start_end: Low = Cur.GetUnsigned(Unit.AddrSize), High = Cur.GetUnsigned(Unit.AddrSize); break;
        case DW_RLE_start_length: Low = Cur.GetUnsigned(Unit.AddrSize), High = Low + Cur.GetULeb(); break;
        default: return !aRange.empty();
        }
        if (!Cur.IsOk()) return !aRange.empty();
        if (High > Low) aRange.emplace_back(static_cast<U32>(Low), static_cast<U32>(High));
    }
    return true;
}
