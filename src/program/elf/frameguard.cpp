// Limits for call frame records.
#include "program/elf/frameguard.h"

#include <algorithm>
#include <libdwarf/dwarf.h>
#include <unordered_map>

namespace {

/// Steps through the list of heads: half a second of them. A program of ten thousand source files takes a
/// quarter.
constexpr U64 MAX_STEPS = 200'000'000;
/// Compilers restore a state before they remember the next one.
constexpr U32 MAX_STATES = 64;

} // namespace

bool FrameListIsBearable(const ELF_BYTES& Section, bool EhFrame, bool BigEndian)
{
    std::unordered_map<U64, U64> IndexOfHead; // by offset
    CByteCursor Cur(Section.pData, Section.Size, BigEndian);
    U64 Steps = 0, LastHead = ~0ull;
    while (!Cur.AtEnd()) {
        const U64 Start = Cur.Pos();
        U64 Length = Cur.GetU32();
        const U32 OffsetSize = Length == 0xFFFFFFFFu ? 8 : 4;
        if (OffsetSize == 8) Length = Cur.GetU64();
        if (!Cur.IsOk() || Length > Cur.Remaining()) return true;
        const U64 IdPos = Cur.Pos(), End = IdPos + Length;
        if (Length >= OffsetSize) {
            const U64 Id = Cur.GetUnsigned(OffsetSize);
            const U64 HeadId = EhFrame ? 0 : OffsetSize == 8 ? ~0ull : 0xFFFFFFFFu;
            const U64 Head = Id == HeadId ? Start : EhFrame ? IdPos - Id : Id;
            if (Head != LastHead) {
                // A record whose head stands behind it makes it known as well.
                const auto [it, IsNew] = IndexOfHead.try_emplace(Head, IndexOfHead.size());
                Steps += it->second + 1;
                LastHead = Head;
            }
            if (Steps > MAX_STEPS) return false;
        }
        Cur.Seek(End);
    }
    return true;
}

bool FrameStatesAreBearable(const U8* pBytes, U64 Size, bool BigEndian, U32& Depth)
{
    CByteCursor Cur(pBytes, Size, BigEndian);
    while (!Cur.AtEnd()) {
        const U32 Op = Cur.GetU8();
        if ((Op & 0xC0) == DW_CFA_offset) Cur.SkipLeb();
        if ((Op & 0xC0) != 0) continue;
        if (Op == DW_CFA_set_loc) {
            // How long its address is depends on the head; from here on each byte may be an instruction.
            Depth += static_cast<U32>(
                std::count(Cur.Ptr(), Cur.Ptr() + Cur.Remaining(), U8(DW_CFA_remember_state)));
            return Depth <= MAX_STATES;
        }
        // What is not known here is not known to the library either, which ends there.
        if (!SkipFrameOperands(Cur, Op)) break;
        if (Op == DW_CFA_remember_state && ++Depth > MAX_STATES) return false;
        if (Op == DW_CFA_restore_state && Depth > 0) Depth--;
    }
    return true;
}

bool SkipFrameOperands(CByteCursor& Cur, U32 Op)
{
    switch (Op) {
    case DW_CFA_nop:
    case DW_CFA_remember_state:
    case DW_CFA_restore_state:
    case DW_CFA_GNU_window_save:
        break;
    case DW_CFA_set_loc:
        Cur.Skip(4);
        break;
    case DW_CFA_advance_loc1:
        Cur.Skip(1);
        break;
    case DW_CFA_advance_loc2:
        Cur.Skip(2);
        break;
    case DW_CFA_advance_loc4:
        Cur.Skip(4);
        break;
    case DW_CFA_MIPS_advance_loc8:
        Cur.Skip(8);
        break;
    case DW_CFA_offset_extended:
    case DW_CFA_register:
    case DW_CFA_offset_extended_sf:
    case DW_CFA_val_offset:
    case DW_CFA_val_offset_sf:
    case DW_CFA_def_cfa:
    case DW_CFA_def_cfa_sf:
    case DW_CFA_GNU_negative_offset_extended:
        Cur.SkipLeb();
        Cur.SkipLeb();
        break;
    case DW_CFA_restore_extended:
    case DW_CFA_undefined:
    case DW_CFA_same_value:
    case DW_CFA_def_cfa_register:
    case DW_CFA_def_cfa_offset:
    case DW_CFA_def_cfa_offset_sf:
    case DW_CFA_METAWARE_info:
    case DW_CFA_GNU_args_size:
        Cur.SkipLeb();
        break;
    case DW_CFA_def_cfa_expression:
        Cur.Skip(Cur.GetULeb());
        break;
    case DW_CFA_expression:
    case DW_CFA_val_expression:
        Cur.SkipLeb();
        Cur.Skip(Cur.GetULeb());
        break;
    default:
        return false;
    }
    return true;
}
