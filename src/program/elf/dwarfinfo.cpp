// Units, abbreviations and entries: what the first pass over a program uses.
#include "program/elf/dwarfinfo.h"

#include <algorithm>
#include <cstring>
#include <libdwarf/dwarf.h>

namespace {

/// A damaged file can give each unit another place in one large table; the total is bounded by this factor. Sound files
/// read a table twice at most, for units of two versions.
constexpr U64 MAX_ABBREV_PASSES = 4;
/// Attributes of one abbreviation; compilers use some twenty. Each look for an attribute goes through them.
constexpr U32 MAX_ATTRS = 200;

/// How to step over one value of a form.
DWARF_SKIP SkipOfForm(U32 Form, const DWARF_SIZES& Sizes)
{
    constexpr auto Fixed = [](U32 Bytes) { return DWARF_SKIP{DWARF_SKIP_OP::FIXED, Bytes}; };
    switch (Form) {
    case DW_FORM_flag_present:
    case DW_FORM_implicit_const: return Fixed(0);
    case DW_FORM_data1:
    case DW_FORM_ref1:
    case DW_FORM_flag:
    case DW_FORM_strx1:
    case DW_FORM_addrx1: return Fixed(1);
    case DW_FORM_data2:
    case DW_FORM_ref2:
    case DW_FORM_strx2:
    case DW_FORM_addrx2: return Fixed(2);
    case DW_FORM_strx3:
    case DW_FORM_addrx3: return Fixed(3);
    case DW_FORM_data4:
    case DW_FORM_ref4:
    case DW_FORM_strx4:
    case DW_FORM_addrx4:
    case DW_FORM_ref_sup4: return Fixed(4);
    case DW_FORM_data8:
    case DW_FORM_ref8:
    case DW_FORM_ref_sig8:
    case DW_FORM_ref_sup8: return Fixed(8);
    case DW_FORM_data16: return Fixed(16);
    case DW_FORM_addr: return Fixed(Sizes.Addr);
    case DW_FORM_ref_addr: return Fixed(Sizes.RefAddr());
    case DW_FORM_strp:
    case DW_FORM_line_strp:
    case DW_FORM_sec_offset:
    case DW_FORM_strp_sup:
    case DW_FORM_GNU_ref_alt:
    case DW_FORM_GNU_strp_alt: return Fixed(Sizes.Offset);
    case DW_FORM_string: return {DWARF_SKIP_OP::TEXT, 0};
    case DW_FORM_block1: return {DWARF_SKIP_OP::BLOCK1, 0};
    case DW_FORM_block2: return {DWARF_SKIP_OP::BLOCK2, 0};
    case DW_FORM_block4: return {DWARF_SKIP_OP::BLOCK4, 0};
    case DW_FORM_block:
    case DW_FORM_exprloc: return {DWARF_SKIP_OP::BLOCK_LEB, 0};
    case DW_FORM_sdata:
    case DW_FORM_udata:
    case DW_FORM_ref_udata:
    case DW_FORM_strx:
    case DW_FORM_addrx:
    case DW_FORM_loclistx:
    case DW_FORM_rnglistx:
    case DW_FORM_GNU_addr_index:
    case DW_FORM_GNU_str_index: return {DWARF_SKIP_OP::LEB, 0};
    case DW_FORM_indirect: return {DWARF_SKIP_OP::INDIRECT, 0};
    default: return {DWARF_SKIP_OP::UNKNOWN, 0};
    }
}

/// Lays out one attribute: where it begins, if that is known, and how to get behind it.
void AddAttr(DWARF_ABBREV_TABLE& Table, DWARF_ABBREV& Abbrev, U32 Name, U32 Form, I64 Implicit, const DWARF_SIZES& Sizes)
{
    Table.aSpec.push_back({static_cast<U16>(Name), static_cast<U16>(Form), Abbrev.IsFixed ? Abbrev.FixedSize : DIE_ID_NONE, Implicit});
    const DWARF_SKIP Skip = SkipOfForm(Form, Sizes);
    const bool IsFixed = Skip.Op == DWARF_SKIP_OP::FIXED;
    if (IsFixed && Abbrev.NumSkips && Table.aSkip.back().Op == DWARF_SKIP_OP::FIXED) {
        Table.aSkip.back().Bytes += Skip.Bytes;
    } else if (!IsFixed || Skip.Bytes) {
        Table.aSkip.push_back(Skip);
        Abbrev.NumSkips++;
    }
    if (IsFixed) Abbrev.FixedSize += Skip.Bytes;
    else Abbrev.IsFixed = false;
    switch (Name) {
    case DW_AT_specification: Abbrev.HasSpecification = Abbrev.HasUse = true; break;
    case DW_AT_abstract_origin:
    case DW_AT_linkage_name:
    case DW_AT_MIPS_linkage_name: Abbrev.HasUse = true; break;
    case DW_AT_declaration: Abbrev.HasDeclaration = true; break;
    case DW_AT_artificial: Abbrev.HasArtificial = true; break;
    case DW_AT_byte_size: Abbrev.HasByteSize = true; break;
    case DW_AT_name: Abbrev.HasName = Abbrev.HasUse = true; break;
    case DW_AT_location: Abbrev.HasLocation = true; break;
    case DW_AT_low_pc:
    case DW_AT_ranges: Abbrev.HasCode = Abbrev.HasUse = true; break;
    case DW_AT_main_subprogram: Abbrev.IsMain = true; break;
    default: break;
    }
}

U64 GetNumber(const U8* p, U32 Size, bool BigEndian)
{
    U64 Value = 0;
    for (U32 i = 0; i < Size; i++) Value |= static_cast<U64>(p[i]) << (8 * (BigEndian ? Size - 1 - i : i));
    return Value;
}

} // namespace

const U8* DwarfSkipAttrs(const DWARF_SKIP* pSkip, U32 NumSkips, const U8* p, const U8* pEnd, const DWARF_SIZES& Sizes,
                         bool BigEndian)
{
    for (const DWARF_SKIP* pLast = pSkip + NumSkips; pSkip != pLast; pSkip++) {
        DWARF_SKIP_OP Op = pSkip->Op;
        U64 Size = pSkip->Bytes;
        if (Op == DWARF_SKIP_OP::INDIRECT) {
            U64 Form;
            if (!DwarfGetULeb(p, pEnd, Form) || Form == DW_FORM_indirect || Form == DW_FORM_implicit_const || Form > 0xFFFF) return nullptr;
            const DWARF_SKIP Actual = SkipOfForm(static_cast<U32>(Form), Sizes);
            Op = Actual.Op;
            Size = Actual.Bytes;
        }
        const U64 Left = static_cast<U64>(pEnd - p);
        U32 Prefix = 0; // bytes of the size in front of a block
        switch (Op) {
        case DWARF_SKIP_OP::FIXED: break;
        case DWARF_SKIP_OP::LEB:
            while (p < pEnd && *p & 0x80) p++;
            if (p == pEnd) return nullptr;
            p++;
            continue;
        case DWARF_SKIP_OP::TEXT: {
            const void* pZero = Left ? std::memchr(p, 0, Left) : nullptr;
            if (!pZero) return nullptr;
            p = static_cast<const U8*>(pZero) + 1;
            continue;
        }
        case DWARF_SKIP_OP::BLOCK1: Prefix = 1; break;
        case DWARF_SKIP_OP::BLOCK2: Prefix = 2; break;
        case DWARF_SKIP_OP::BLOCK4: Prefix = 4; break;
        case DWARF_SKIP_OP::BLOCK_LEB:
            if (!DwarfGetULeb(p, pEnd, Size)) return nullptr;
            break;
        default: return nullptr;
        }
        if (Prefix) {
            if (Left < Prefix) return nullptr;
            Size = GetNumber(p, Prefix, BigEndian);
            p += Prefix;
        }
        if (Size > static_cast<U64>(pEnd - p)) return nullptr;
        p += Size;
    }
    return p;
}

void DwarfSkipForm(CByteCursor& Cur, U32 Form, const DWARF_SIZES& Sizes)
{
    if (!Cur.IsOk()) return;
    const DWARF_SKIP Skip = SkipOfForm(Form, Sizes);
    const U8* pStart = Cur.Ptr();
    const U8* pEnd = DwarfSkipAttrs(&Skip, 1, pStart, pStart + Cur.Remaining(), Sizes, Cur.IsBigEndian());
    if (pEnd) Cur.Skip(static_cast<U64>(pEnd - pStart));
    else Cur.Fail();
}

const DWARF_ABBREV* DWARF_ABBREV_TABLE::Find(U64 Code) const
{
    if (Code - 1 < aDense.size()) {
        const U32 Index = aDense[Code - 1];
        return Index ? &aAbbrev[Index - 1] : nullptr;
    }
    const auto it = Sparse.find(Code);
    return it != Sparse.end() ? &aAbbrev[it->second] : nullptr;
}

bool DWARF_ZERO::IsName(const char* sName) const
{
    if (!*sName) return false;
    const std::string_view Name(sName);
    const auto it = std::lower_bound(asName.begin(), asName.end(), Name);
    if (it == asName.end() || !it->starts_with(Name)) return false;
    // Compilers add ".constprop.0" and the like to the symbols of copies.
    const std::string Copy = std::string(Name) + '.';
    const auto itCopy = std::lower_bound(it, asName.end(), std::string_view(Copy));
    return *it == Name || (itCopy != asName.end() && itCopy->starts_with(Copy));
}

bool CDwarfInfo::IsFunctionAtZero(const DWARF_DIE& Function) const
{
    constexpr int MAX_LINKS = 4; // a copy names its function, that one its declaration
    DWARF_DIE Die = Function;
    for (int i = 0; !m_Zero.asName.empty() && i < MAX_LINKS; i++) {
        for (const U32 Attr : {DW_AT_linkage_name, DW_AT_MIPS_linkage_name, DW_AT_name}) {
            if (m_Zero.IsName(GetText(Die, Attr))) return true;
        }
        DWARF_VALUE Next = GetAttr(Die, DW_AT_abstract_origin);
        if (Next.Class != DWARF_CLASS::REFERENCE) Next = GetAttr(Die, DW_AT_specification);
        if (Next.Class != DWARF_CLASS::REFERENCE || !ReadDie(static_cast<U32>(Next.Value), Die) || Die.IsNull()) break;
    }
    return false;
}

bool CDwarfInfo::Init(const DWARF_SECTIONS& Sections, const DWARF_ZERO& Zero)
{
    m_Sec = Sections;
    m_Zero = Zero;
    // Bit 31 of an id tells the section, so that offsets have 31 bits.
    for (ELF_BYTES* pSec : {&m_Sec.Info, &m_Sec.Types}) {
        if (pSec->Size > 0x7FFFFFFFu) *pSec = {};
    }
    if (!m_Sec.Info.pData || !m_Sec.Abbrev.pData) return false;
    _ReadUnits(false);
    m_NumInfoUnits = m_aUnit.size();
    _ReadUnits(true);
    for (size_t i = 0; i < m_aUnit.size(); i++) {
        _ReadRoot(m_aUnit[i]);
        if (m_aUnit[i].IsTypeUnit()) m_TypeUnits.emplace(m_aUnit[i].Signature, i);
    }
    return !m_aUnit.empty();
}

bool CDwarfInfo::_ReadUnits(bool InTypes)
{
    const ELF_BYTES Sec = _Section(InTypes);
    for (U64 Offset = 0; Offset < Sec.Size;) {
        DWARF_UNIT Unit;
        Unit.InTypes = InTypes;
        Unit.Offset = static_cast<U32>(Offset);
        if (!_ReadUnitHeader(Unit)) m_NumBadUnits++;
        else m_aUnit.push_back(Unit);
        if (Unit.End <= Unit.Offset) return false; // the length itself is damaged: no way to the next one
        Offset = Unit.End;
    }
    return true;
}

bool CDwarfInfo::_ReadUnitHeader(DWARF_UNIT& Unit)
{
    const ELF_BYTES Sec = _Section(Unit.InTypes);
    CByteCursor Cur(Sec.pData, Sec.Size, m_Sec.BigEndian, Unit.Offset);
    U64 Length = Cur.GetU32();
    if (Length == 0xFFFFFFFFu) {
        Length = Cur.GetU64();
        Unit.OffsetSize = 8;
    }
    if (!Cur.IsOk() || Length > Cur.Remaining() || Length == 0) return false;
    Unit.End = static_cast<U32>(Cur.Pos() + Length);
    Cur.Limit(Unit.End);
    Unit.Version = Cur.GetU16();
    if (Unit.Version < 2 || Unit.Version > 5) return false;
    U64 AbbrevOffset;
    if (Unit.Version >= 5) {
        Unit.UnitType = Cur.GetU8();
        Unit.AddrSize = Cur.GetU8();
        AbbrevOffset = Cur.GetUnsigned(Unit.OffsetSize);
        if (Unit.UnitType == DW_UT_skeleton || Unit.UnitType == DW_UT_split_compile) Cur.GetU64();
    } else {
        AbbrevOffset = Cur.GetUnsigned(Unit.OffsetSize);
        Unit.AddrSize = Cur.GetU8();
        Unit.UnitType = Unit.InTypes ? DW_UT_type : DW_UT_compile;
    }
    if (Unit.UnitType == DW_UT_type || Unit.UnitType == DW_UT_split_type) {
        Unit.Signature = Cur.GetU64();
        const U64 TypeOffset = Cur.GetUnsigned(Unit.OffsetSize);
        if (TypeOffset >= Unit.End - Unit.Offset || TypeOffset == 0) return false;
        Unit.TypeOffset = Unit.Offset + static_cast<U32>(TypeOffset);
    }
    if (!Cur.IsOk() || (Unit.AddrSize != 4 && Unit.AddrSize != 8 && Unit.AddrSize != 2)) return false;
    Unit.DieOffset = static_cast<U32>(Cur.Pos());
    Unit.pAbbrevs = _GetAbbrevs(AbbrevOffset, Unit.Sizes());
    return Unit.pAbbrevs != nullptr;
}

const DWARF_ABBREV_TABLE* CDwarfInfo::_GetAbbrevs(U64 Offset, const DWARF_SIZES& Sizes)
{
    if (Offset >= m_Sec.Abbrev.Size || m_AbbrevBytesRead > MAX_ABBREV_PASSES * m_Sec.Abbrev.Size) return nullptr;
    const U64 Key = Offset | static_cast<U64>(Sizes.Addr) << 32 | static_cast<U64>(Sizes.Offset) << 40 | static_cast<U64>(Sizes.RefAddr()) << 48;
    const auto it = m_AbbrevTables.find(Key);
    if (it != m_AbbrevTables.end()) return it->second.get();
    auto pTable = std::make_unique<DWARF_ABBREV_TABLE>();
    CByteCursor Cur(m_Sec.Abbrev.pData, m_Sec.Abbrev.Size, m_Sec.BigEndian, Offset);
    for (;;) {
        const U64 Code = Cur.GetULeb();
        if (!Cur.IsOk() || Code == 0) break;
        DWARF_ABBREV Abbrev;
        Abbrev.Tag = static_cast<U32>(Cur.GetULeb());
        Abbrev.HasChildren = Cur.GetU8() != 0;
        Abbrev.IsFixed = true;
        Abbrev.FirstAttr = static_cast<U32>(pTable->aSpec.size());
        Abbrev.FirstSkip = static_cast<U32>(pTable->aSkip.size());
        for (;;) {
            const U64 Name = Cur.GetULeb();
            const U64 Form = Cur.GetULeb();
            const I64 Implicit = Form == DW_FORM_implicit_const ? Cur.GetSLeb() : 0;
            if (!Cur.IsOk() || (Name == 0 && Form == 0)) break;
            if (pTable->aSpec.size() - Abbrev.FirstAttr >= MAX_ATTRS) {
                Cur.Fail();
                break;
            }
            AddAttr(*pTable, Abbrev, Name > 0xFFFF ? 0 : static_cast<U32>(Name), Form > 0xFFFF ? 0 : static_cast<U32>(Form), Implicit, Sizes);
        }
        if (!Cur.IsOk()) break;
        Abbrev.NumAttrs = static_cast<U32>(pTable->aSpec.size()) - Abbrev.FirstAttr;
        const U32 Index = static_cast<U32>(pTable->aAbbrev.size());
        pTable->aAbbrev.push_back(Abbrev);
        // Producers count codes from 1; anything else still works, but by hash.
        if (Code <= Index + 1024u) {
            if (pTable->aDense.size() < Code) pTable->aDense.resize(Code, 0);
            if (!pTable->aDense[Code - 1]) pTable->aDense[Code - 1] = Index + 1;
        } else {
            pTable->Sparse.emplace(Code, Index);
        }
    }
    m_AbbrevBytesRead += (Cur.IsOk() ? Cur.Pos() : m_Sec.Abbrev.Size) - Offset;
    return m_AbbrevTables.emplace(Key, std::move(pTable)).first->second.get();
}

void CDwarfInfo::_ReadRoot(DWARF_UNIT& Unit)
{
    DWARF_DIE Root;
    if (!ReadDie(Unit, Unit.DieOffset, Root) || Root.IsNull()) return;
    Unit.Tag = Root.Tag();
    // The bases come first: other attributes of the root may be indices that need them.
    const U32 HeaderSize = Unit.OffsetSize == 8 ? 16 : 8;
    Unit.StrOffsetsBase = HeaderSize;
    Unit.AddrBase = HeaderSize;
    const struct {
        U32 Attr;
        U64& Base;
    } aBase[] = {{DW_AT_str_offsets_base, Unit.StrOffsetsBase},
                 {DW_AT_addr_base, Unit.AddrBase},
                 {DW_AT_rnglists_base, Unit.RnglistsBase},
                 {DW_AT_loclists_base, Unit.LoclistsBase}};
    for (const auto& Row : aBase) {
        if (const DWARF_VALUE Value = GetAttr(Root, Row.Attr)) Row.Base = Value.Value;
    }
    if (const DWARF_VALUE Value = GetAttr(Root, DW_AT_low_pc); Value.Class == DWARF_CLASS::ADDRESS) {
        Unit.LowPc = static_cast<U32>(Value.Value);
        Unit.HasLowPc = true;
    }
    if (const DWARF_VALUE Value = GetAttr(Root, DW_AT_stmt_list)) {
        Unit.StmtList = Value.Value;
        Unit.HasStmtList = true;
    }
    if (const DWARF_VALUE Value = GetAttr(Root, DW_AT_language)) Unit.Lang = static_cast<U32>(Value.Value);
}

const DWARF_UNIT* CDwarfInfo::FindUnit(U32 Id) const
{
    const bool InTypes = (Id & DIE_ID_TYPES) != 0;
    const U32 Offset = Id & ~DIE_ID_TYPES;
    const auto First = m_aUnit.begin() + (InTypes ? static_cast<std::ptrdiff_t>(m_NumInfoUnits) : 0);
    const auto Last = InTypes ? m_aUnit.end() : m_aUnit.begin() + static_cast<std::ptrdiff_t>(m_NumInfoUnits);
    auto it = std::upper_bound(First, Last, Offset, [](U32 Off, const DWARF_UNIT& Unit) { return Off < Unit.Offset; });
    if (it == First) return nullptr;
    --it;
    return Offset >= it->DieOffset && Offset < it->End ? &*it : nullptr;
}

const DWARF_UNIT* CDwarfInfo::FindTypeUnit(U64 Signature) const
{
    const auto it = m_TypeUnits.find(Signature);
    return it != m_TypeUnits.end() ? &m_aUnit[it->second] : nullptr;
}

bool CDwarfInfo::ReadDie(const DWARF_UNIT& Unit, U32 Offset, DWARF_DIE& Die) const
{
    if (Offset < Unit.DieOffset || Offset >= Unit.End) return false;
    CByteCursor Cur(_Section(Unit.InTypes).pData, Unit.End, m_Sec.BigEndian, Offset);
    const U64 Code = Cur.GetULeb();
    Die.pUnit = &Unit;
    Die.Id = Offset | (Unit.InTypes ? DIE_ID_TYPES : 0);
    Die.pAbbrev = Code ? Unit.pAbbrevs->Find(Code) : nullptr;
    Die.AttrOffset = static_cast<U32>(Cur.Pos());
    return Cur.IsOk() && (Code == 0 || Die.pAbbrev);
}

bool CDwarfInfo::ReadDie(U32 Id, DWARF_DIE& Die) const
{
    const DWARF_UNIT* pUnit = FindUnit(Id);
    return pUnit && ReadDie(*pUnit, Id & ~DIE_ID_TYPES, Die);
}

U32 CDwarfInfo::EndOfDie(const DWARF_DIE& Die) const
{
    if (Die.IsNull()) return Die.AttrOffset;
    const DWARF_UNIT& Unit = *Die.pUnit;
    const DWARF_ABBREV& Abbrev = *Die.pAbbrev;
    const U8* pBase = SectionData(Unit.InTypes);
    const U8* pEnd = DwarfSkipAttrs(Unit.pAbbrevs->aSkip.data() + Abbrev.FirstSkip, Abbrev.NumSkips, pBase + Die.AttrOffset,
                                    pBase + Unit.End, Unit.Sizes(), m_Sec.BigEndian);
    return pEnd ? static_cast<U32>(pEnd - pBase) : 0;
}

const DWARF_ATTR_SPEC* CDwarfInfo::_FindSpec(const DWARF_DIE& Die, U32 Attr) const
{
    if (Die.IsNull()) return nullptr;
    const DWARF_ATTR_SPEC* pSpec = Die.pUnit->pAbbrevs->aSpec.data() + Die.pAbbrev->FirstAttr;
    for (const DWARF_ATTR_SPEC* pEnd = pSpec + Die.pAbbrev->NumAttrs; pSpec != pEnd; pSpec++) {
        if (pSpec->Name == Attr) return pSpec;
    }
    return nullptr;
}

bool CDwarfInfo::HasAttr(const DWARF_DIE& Die, U32 Attr) const { return _FindSpec(Die, Attr) != nullptr; }

DWARF_VALUE CDwarfInfo::GetAttr(const DWARF_DIE& Die, U32 Attr) const
{
    const DWARF_ATTR_SPEC* pSpec = _FindSpec(Die, Attr);
    if (!pSpec) return {};
    const DWARF_UNIT& Unit = *Die.pUnit;
    CByteCursor Cur(SectionData(Unit.InTypes), Unit.End, m_Sec.BigEndian, Die.AttrOffset);
    if (pSpec->Offset != DIE_ID_NONE) {
        Cur.Skip(pSpec->Offset);
    } else {
        // From the last attribute whose place is known.
        const DWARF_ATTR_SPEC* pFrom = pSpec;
        while (pFrom->Offset == DIE_ID_NONE) pFrom--;
        Cur.Skip(pFrom->Offset);
        for (; pFrom != pSpec; pFrom++) DwarfSkipForm(Cur, pFrom->Form, Unit.Sizes());
    }
    return _ReadForm(Cur, Unit, pSpec->Form, pSpec->Implicit);
}

const char* CDwarfInfo::GetText(const DWARF_DIE& Die, U32 Attr) const
{
    return GetAttr(Die, Attr).sText;
}

const char* DwarfTextAt(const ELF_BYTES& Section, U64 Offset)
{
    if (Offset >= Section.Size) return "";
    const char* sText = reinterpret_cast<const char*>(Section.pData + Offset);
    return std::memchr(sText, 0, std::min<U64>(Section.Size - Offset, DWARF_MAX_TEXT + 1)) ? sText : "";
}

const char* CDwarfInfo::_IndexedText(const DWARF_UNIT& Unit, U64 Index) const
{
    if (Index > m_Sec.StrOffsets.Size) return "";
    CByteCursor Cur(m_Sec.StrOffsets.pData, m_Sec.StrOffsets.Size, m_Sec.BigEndian, Unit.StrOffsetsBase);
    Cur.Skip(Index * Unit.OffsetSize);
    const U64 Offset = Cur.GetUnsigned(Unit.OffsetSize);
    return Cur.IsOk() ? DwarfTextAt(m_Sec.Str, Offset) : "";
}

bool CDwarfInfo::GetIndexedAddr(const DWARF_UNIT& Unit, U64 Index, U32& Addr) const
{
    if (Index > m_Sec.Addr.Size) return false;
    CByteCursor Cur(m_Sec.Addr.pData, m_Sec.Addr.Size, m_Sec.BigEndian, Unit.AddrBase);
    Cur.Skip(Index * Unit.AddrSize);
    Addr = static_cast<U32>(Cur.GetUnsigned(Unit.AddrSize));
    return Cur.IsOk();
}
