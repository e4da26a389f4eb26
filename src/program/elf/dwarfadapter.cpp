// libdwarf behind an object interface of our own.
#include "program/elf/dwarfadapter.h"
#include "program/elf/frameguard.h"

#include <algorithm>
#include <libdwarf/dwarf.h>
#include <libdwarf/libdwarf.h>

namespace {

/// More than any register of the supported cores has a number for, and below the library's special values.
constexpr U32 RULE_TABLE_SIZE = 1000;

struct SECTION {
    const char* sName;
    ELF_BYTES Bytes;
    U64 Addr;
};

/// What the library sees as the object file.
struct OBJECT {
    std::vector<SECTION> aSection;
    bool BigEndian = false;
};

int GetSectionInfo(void* pObj, Dwarf_Half Index, Dwarf_Obj_Access_Section* pSec, int*)
{
    const OBJECT& Obj = *static_cast<OBJECT*>(pObj);
    if (Index >= Obj.aSection.size()) return DW_DLV_NO_ENTRY;
    *pSec = {};
    pSec->addr = Obj.aSection[Index].Addr;
    pSec->type = Index ? 1 : 0;
    pSec->size = Obj.aSection[Index].Bytes.Size;
    pSec->name = Obj.aSection[Index].sName;
    return DW_DLV_OK;
}

Dwarf_Endianness GetByteOrder(void* pObj)
{
    return static_cast<OBJECT*>(pObj)->BigEndian ? DW_OBJECT_MSB : DW_OBJECT_LSB;
}

Dwarf_Small GetFourBytes(void*) { return 4; }

Dwarf_Unsigned GetSectionCount(void* pObj) { return static_cast<OBJECT*>(pObj)->aSection.size(); }

int LoadSection(void* pObj, Dwarf_Half Index, Dwarf_Small** ppData, int*)
{
    const OBJECT& Obj = *static_cast<OBJECT*>(pObj);
    if (Index >= Obj.aSection.size() || !Obj.aSection[Index].Bytes.pData) return DW_DLV_NO_ENTRY;
    // The library only reads; its interface isn't const.
    *ppData = const_cast<Dwarf_Small*>(Obj.aSection[Index].Bytes.pData);
    return DW_DLV_OK;
}

DWARF_FRAME_RULE ToRule(const Dwarf_Regtable_Entry3& Entry)
{
    DWARF_FRAME_RULE Rule;
    Rule.OffsetRelevant = Entry.dw_offset_relevant != 0;
    Rule.ValueType = Entry.dw_value_type;
    Rule.Reg = Entry.dw_regnum;
    Rule.Offset = static_cast<I64>(Entry.dw_offset_or_block_len);
    return Rule;
}

} // namespace

struct CDwarfAdapter::CIE_INFO {
    I64 DataAlign;
    U32 RaColumn;
    const U8* pInst; ///< instructions that all its records begin with
    U64 InstSize;
};

struct CDwarfAdapter::IMPL {
    OBJECT Object;
    Dwarf_Obj_Access_Methods Methods{GetSectionInfo, GetByteOrder,    GetFourBytes, GetFourBytes,
                                     GetSectionCount, LoadSection, nullptr};
    Dwarf_Obj_Access_Interface Interface{&Object, &Methods};
    Dwarf_Debug Dbg = nullptr;
    struct LIST {
        Dwarf_Cie* paCie = nullptr;
        Dwarf_Signed NumCies = 0;
        Dwarf_Fde* paFde = nullptr;
        Dwarf_Signed NumFdes = 0;
    } aList[2]; ///< .debug_frame, .eh_frame
    std::vector<Dwarf_Regtable_Entry3> aRule;

    ~IMPL()
    {
        if (!Dbg) return;
        for (LIST& List : aList) {
            if (List.paFde) dwarf_fde_cie_list_dealloc(Dbg, List.paCie, List.NumCies, List.paFde, List.NumFdes);
        }
        Dwarf_Error Error = nullptr;
        dwarf_object_finish(Dbg, &Error);
    }
    /// Frees the error of a failed call and tells whether the call was good.
    bool IsGood(int Result, Dwarf_Error Error) const
    {
        if (Result == DW_DLV_ERROR && Error) dwarf_dealloc(Dbg, Error, DW_DLA_ERROR);
        return Result == DW_DLV_OK;
    }
    bool ReadCie(Dwarf_Cie pCie, CIE_INFO& Info) const
    {
        // All of the results must be asked for.
        Dwarf_Unsigned Size = 0, CodeAlign = 0, InitialSize = 0;
        Dwarf_Small Version = 0;
        char* sAugmentation = nullptr;
        Dwarf_Signed DataAlign = 1;
        Dwarf_Half RaColumn = 0, OffsetSize = 0;
        Dwarf_Ptr pInitial = nullptr;
        Dwarf_Error Error = nullptr;
        if (!IsGood(dwarf_get_cie_info_b(pCie, &Size, &Version, &sAugmentation, &CodeAlign, &DataAlign, &RaColumn,
                                         &pInitial, &InitialSize, &OffsetSize, &Error),
                    Error)) {
            return false;
        }
        Info = {DataAlign, RaColumn, static_cast<const U8*>(pInitial), InitialSize};
        return true;
    }
    Dwarf_Fde Fde(const DWARF_FDE& Record) const { return aList[Record.InEhFrame].paFde[Record.Index]; }
};

CDwarfAdapter::CDwarfAdapter() = default;
CDwarfAdapter::~CDwarfAdapter() = default;

bool CDwarfAdapter::Init(const DWARF_SECTIONS& Sections, U32 EhFrameAddr, const DWARF_ZERO& Zero)
{
    if (!Sections.Frame.Size && !Sections.EhFrame.Size) return true;
    m_p = std::make_unique<IMPL>();
    OBJECT& Obj = m_p->Object;
    Obj.BigEndian = Sections.BigEndian;
    // Frames need nothing else; the two mandatory sections of debug information go along because the library
    // takes an object without them for one that has no DWARF.
    Obj.aSection = {{"", {}, 0},
                    {".debug_info", Sections.Info, 0},
                    {".debug_abbrev", Sections.Abbrev, 0},
                    {".debug_frame", Sections.Frame, 0},
                    {".eh_frame", Sections.EhFrame, EhFrameAddr}};
    Obj.aSection.erase(std::remove_if(Obj.aSection.begin() + 1, Obj.aSection.end(),
                                      [](const SECTION& Sec) { return Sec.Bytes.Size == 0; }),
                       Obj.aSection.end());
    Dwarf_Error Error = nullptr;
    if (dwarf_object_init_b(&m_p->Interface, nullptr, nullptr, DW_GROUPNUMBER_ANY, &m_p->Dbg, &Error) != DW_DLV_OK) {
        m_p->Dbg = nullptr;
        m_p.reset();
        return false;
    }
    dwarf_set_frame_rule_table_size(m_p->Dbg, RULE_TABLE_SIZE);
    dwarf_set_frame_rule_initial_value(m_p->Dbg, DW_FRAME_SAME_VAL);
    dwarf_set_frame_same_value(m_p->Dbg, DW_FRAME_SAME_VAL);
    dwarf_set_frame_undefined_value(m_p->Dbg, DW_FRAME_UNDEFINED_VAL);
    dwarf_set_frame_cfa_value(m_p->Dbg, DW_FRAME_CFA_COL3);
    auto Load = [&](const ELF_BYTES& Bytes, bool EhFrame) {
        return !Bytes.Size || (FrameListIsBearable(Bytes, EhFrame, Sections.BigEndian) && _LoadList(EhFrame));
    };
    const bool FrameGood = Load(Sections.Frame, false);
    const bool EhGood = Load(Sections.EhFrame, true);
    _SortFdes(Zero);
    return FrameGood && EhGood;
}

void CDwarfAdapter::_SortFdes(const DWARF_ZERO& Zero)
{
    // Of the records at address 0 one at most is that of code there; the others would answer for whatever has none.
    auto Mismatch = [&](const DWARF_FDE& Fde) { return Fde.High > Zero.End ? Fde.High - Zero.End : Zero.End - Fde.High; };
    U32 BestAtZero = 0xFFFFFFFFu;
    for (U32 i = 0; !Zero.asName.empty() && i < m_aFde.size(); i++) {
        if (m_aFde[i].Low == 0 && (BestAtZero == 0xFFFFFFFFu || Mismatch(m_aFde[i]) < Mismatch(m_aFde[BestAtZero]))) BestAtZero = i;
    }
    for (U32 i = 0; i < m_aFde.size(); i++) {
        if (m_aFde[i].Low != 0 || i == BestAtZero) m_aSorted.push_back(i);
    }
    // Records of .debug_frame come first in m_aFde, and so for equal addresses here as well.
    std::stable_sort(m_aSorted.begin(), m_aSorted.end(),
                     [this](U32 a, U32 b) { return m_aFde[a].Low < m_aFde[b].Low; });
}

bool CDwarfAdapter::_LoadList(bool EhFrame)
{
    IMPL::LIST& List = m_p->aList[EhFrame];
    Dwarf_Error Error = nullptr;
    const int Result = EhFrame ? dwarf_get_fde_list_eh(m_p->Dbg, &List.paCie, &List.NumCies, &List.paFde,
                                                       &List.NumFdes, &Error)
                               : dwarf_get_fde_list(m_p->Dbg, &List.paCie, &List.NumCies, &List.paFde,
                                                    &List.NumFdes, &Error);
    if (Result == DW_DLV_NO_ENTRY) return true;
    if (!m_p->IsGood(Result, Error)) {
        List = {};
        return false;
    }
    for (Dwarf_Signed i = 0; i < List.NumFdes; i++) {
        Dwarf_Addr Low = 0;
        Dwarf_Unsigned Length = 0;
        Dwarf_Unsigned ByteLength = 0;
        Dwarf_Ptr pBytes = nullptr;
        Dwarf_Off CieOffset = 0, FdeOffset = 0;
        Dwarf_Signed CieIndex = 0;
        Error = nullptr;
        if (!m_p->IsGood(dwarf_get_fde_range(List.paFde[i], &Low, &Length, &pBytes, &ByteLength, &CieOffset,
                                             &CieIndex, &FdeOffset, &Error),
                         Error)) {
            continue;
        }
        const U64 High = (Low & 0xFFFFFFFFu) + Length;
        if (High > 0xFFFFFFFFu) continue;
        m_aFde.push_back({static_cast<U32>(Low), static_cast<U32>(High), static_cast<U32>(i), EhFrame});
    }
    if (m_NumCies == 0 && List.NumCies > 0) {
        CIE_INFO Cie;
        if (m_p->ReadCie(List.paCie[0], Cie)) m_RaColumn = Cie.RaColumn;
    }
    m_NumCies += static_cast<U32>(List.NumCies);
    return true;
}

int CDwarfAdapter::FindFde(U32 PC) const
{
    auto it = std::upper_bound(m_aSorted.begin(), m_aSorted.end(), PC,
                               [this](U32 Addr, U32 i) { return Addr < m_aFde[i].Low; });
    // Records of removed code share low addresses and may be longer than their neighbours; look back a little.
    int Found = -1;
    for (U32 Tries = 0; it != m_aSorted.begin() && Tries < 64; Tries++) {
        --it;
        const DWARF_FDE& Fde = m_aFde[*it];
        if (Found >= 0 && Fde.Low != m_aFde[static_cast<U32>(Found)].Low) break;
        if (PC < Fde.High) Found = static_cast<int>(*it);
    }
    return Found;
}

bool CDwarfAdapter::GetRules(int Fde, U32 PC, U32 NumRegs, DWARF_FRAME_RULE* paRule, DWARF_FRAME_RULE* pCfa)
{
    if (!m_p || Fde < 0 || static_cast<size_t>(Fde) >= m_aFde.size()) return false;
    if (!_IsBearable(Fde)) return false;
    m_p->aRule.resize(RULE_TABLE_SIZE);
    Dwarf_Regtable3 Table{};
    Table.rt3_reg_table_size = static_cast<Dwarf_Half>(RULE_TABLE_SIZE);
    Table.rt3_rules = m_p->aRule.data();
    Dwarf_Addr RowPC = 0;
    Dwarf_Error Error = nullptr;
    if (!m_p->IsGood(dwarf_get_fde_info_for_all_regs3(m_p->Fde(m_aFde[static_cast<size_t>(Fde)]), PC, &Table,
                                                      &RowPC, &Error),
                     Error)) {
        return false;
    }
    for (U32 i = 0; i < NumRegs; i++) {
        if (i < RULE_TABLE_SIZE) {
            paRule[i] = ToRule(Table.rt3_rules[i]);
        } else {
            paRule[i] = DWARF_FRAME_RULE();
            paRule[i].Reg = DW_FRAME_SAME_VAL;
        }
    }
    *pCfa = ToRule(Table.rt3_cfa_rule);
    return true;
}

bool CDwarfAdapter::_IsBearable(int Fde)
{
    if (m_BearableFde == Fde) return m_IsBearable;
    const U8* pBytes;
    U32 Size;
    CIE_INFO Cie;
    U32 Depth = 0;
    m_BearableFde = Fde;
    m_IsBearable = _GetInstructions(Fde, pBytes, Size, Cie) &&
                   FrameStatesAreBearable(Cie.pInst, Cie.InstSize, m_p->Object.BigEndian, Depth) &&
                   FrameStatesAreBearable(pBytes, Size, m_p->Object.BigEndian, Depth);
    return m_IsBearable;
}

bool CDwarfAdapter::GetInstructions(int Fde, const U8*& pBytes, U32& Size, I64& DataAlign)
{
    CIE_INFO Cie;
    if (!_GetInstructions(Fde, pBytes, Size, Cie)) return false;
    DataAlign = Cie.DataAlign;
    return true;
}

bool CDwarfAdapter::_GetInstructions(int Fde, const U8*& pBytes, U32& Size, CIE_INFO& Cie)
{
    if (!m_p || Fde < 0 || static_cast<size_t>(Fde) >= m_aFde.size()) return false;
    const Dwarf_Fde pFde = m_p->Fde(m_aFde[static_cast<size_t>(Fde)]);
    Dwarf_Ptr pInst = nullptr;
    Dwarf_Unsigned Length = 0;
    Dwarf_Error Error = nullptr;
    if (!m_p->IsGood(dwarf_get_fde_instr_bytes(pFde, &pInst, &Length, &Error), Error)) return false;
    Cie = {1, 0, nullptr, 0};
    Dwarf_Cie pCie = nullptr;
    Error = nullptr;
    if (m_p->IsGood(dwarf_get_cie_of_fde(pFde, &pCie, &Error), Error)) m_p->ReadCie(pCie, Cie);
    pBytes = static_cast<const U8*>(pInst);
    Size = static_cast<U32>(Length);
    return true;
}
