// Reading of the debug information entries (DIEs) of .debug_info and .debug_types, DWARF 2 to 5.
//
//   CDwarfInfo Info;
//   Info.Init(Sections);
//   DWARF_DIE Die;
//   if (Info.ReadDie(Id, Die)) sName = Info.GetText(Die, DW_AT_name);
//
// The whole of a large program's entries is passed over at each load, so this is a scanner of its own over the
// abbreviations: one that skips entries by precomputed sizes, holds nothing a DIE, and can't be led outside of
// the sections by damaged input. An entry is named by its id: the offset in its section, with bit 31 set for
// .debug_types. Texts and blocks point into the sections. Not thread-safe.
#pragma once
#include "program/elf/bytecursor.h"
#include "program/elf/elfimage.h"

#include <atomic>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

inline constexpr U32 DIE_ID_NONE = 0xFFFFFFFFu;
inline constexpr U32 DIE_ID_TYPES = 0x80000000u; ///< the DIE lies in .debug_types

/// The debug sections of one file, inflated.
struct DWARF_SECTIONS {
    ELF_BYTES Info, Types, Abbrev, Str, LineStr, StrOffsets, Addr, Line, Ranges, Rnglists, Loc, Loclists, Frame,
        EhFrame, Macro, Macinfo;
    bool BigEndian = false; ///< of the file. Str and LineStr end with a zero, see WithWholeTexts
};

/// The function at address 0, where linkers leave the debug information of code that they drop.
struct DWARF_ZERO {
    U32 End = 0;                     ///< its end, 0 if it is not known
    std::vector<std::string_view> asName; ///< its names, as symbols have them, sorted; none if there is no function
    bool IsName(const char* sName) const;
};

/// Sizes that the forms of a unit depend on.
struct DWARF_SIZES {
    U8 Addr = 4, Offset = 4;
    U16 Version = 4;
    U32 RefAddr() const { return Version <= 2 ? Addr : Offset; }
};

struct DWARF_ATTR_SPEC {
    U16 Name, Form;
    U32 Offset;   ///< from the first attribute on; DIE_ID_NONE: it depends on the bytes before it
    I64 Implicit; ///< value of DW_FORM_implicit_const
};

/// One step over attribute values: all that is fixed in a row, or one value that tells its own size.
enum class DWARF_SKIP_OP : U8 { FIXED, LEB, TEXT, BLOCK1, BLOCK2, BLOCK4, BLOCK_LEB, INDIRECT, UNKNOWN };
struct DWARF_SKIP {
    DWARF_SKIP_OP Op;
    U32 Bytes; ///< of FIXED
};

struct DWARF_ABBREV {
    U32 Tag = 0;
    U32 FirstAttr = 0, NumAttrs = 0; ///< span in the table's specs
    U32 FirstSkip = 0, NumSkips = 0; ///< span in the table's skips
    U32 FixedSize = 0;               ///< of the attributes, if IsFixed
    bool HasChildren = false;
    bool IsFixed = false;            ///< the size of an entry doesn't depend on its bytes
    bool HasSpecification = false, HasDeclaration = false, HasArtificial = false, HasByteSize = false;
    /// HasCode: an address or ranges; HasUse: that or anything else that tells which function it is.
    bool HasName = false, HasLocation = false, HasCode = false, HasUse = false, IsMain = false;
};

/// The abbreviations at one offset, prepared for units of the same sizes.
struct DWARF_ABBREV_TABLE {
    std::vector<DWARF_ABBREV> aAbbrev;
    std::vector<DWARF_ATTR_SPEC> aSpec;
    std::vector<DWARF_SKIP> aSkip;
    std::vector<U32> aDense;                    ///< code - 1 to index + 1
    std::unordered_map<U64, U32> Sparse;        ///< codes that don't fit the dense array
    const DWARF_ABBREV* Find(U64 Code) const;
};

struct DWARF_UNIT {
    U32 Offset = 0, DieOffset = 0, End = 0; ///< in the section; End is exclusive
    bool InTypes = false;
    U16 Version = 0;
    U8 UnitType = 0, AddrSize = 4, OffsetSize = 4;
    U64 Signature = 0;
    U32 TypeOffset = 0;                     ///< in the section; 0 for a unit that is no type unit
    const DWARF_ABBREV_TABLE* pAbbrevs = nullptr;
    U32 Tag = 0;                            ///< of the root DIE
    U32 LowPc = 0;                          ///< base of ranges and location lists
    bool HasLowPc = false, HasStmtList = false;
    U64 StmtList = 0, StrOffsetsBase = 0, AddrBase = 0, RnglistsBase = 0, LoclistsBase = 0;
    U32 Lang = 0;
    DWARF_SIZES Sizes() const { return {AddrSize, OffsetSize, Version}; }
    U32 RootId() const { return DieOffset | (InTypes ? DIE_ID_TYPES : 0); }
    bool IsTypeUnit() const { return TypeOffset != 0; }
};

struct DWARF_DIE {
    const DWARF_UNIT* pUnit = nullptr;
    const DWARF_ABBREV* pAbbrev = nullptr; ///< null for the entry that ends a list of children
    U32 Id = DIE_ID_NONE;
    U32 AttrOffset = 0;                    ///< of the first attribute, in the section
    U32 Tag() const { return pAbbrev ? pAbbrev->Tag : 0; }
    bool IsNull() const { return !pAbbrev; }
};

enum class DWARF_CLASS : U8 { NONE, ADDRESS, CONSTANT, SIGNED, FLAG, REFERENCE, SIGNATURE, BLOCK, EXPRESSION, TEXT, OFFSET, INDEX };

/// The value of one attribute.
struct DWARF_VALUE {
    U16 Form = 0;
    DWARF_CLASS Class = DWARF_CLASS::NONE;
    U64 Value = 0;            ///< number, address, DIE id of a reference, signature, section offset or index
    const U8* pBlock = nullptr;
    U32 BlockSize = 0;
    const char* sText = "";
    explicit operator bool() const { return Class != DWARF_CLASS::NONE; }
};

class CDwarfInfo {
public:
    /// Reads the unit headers and root entries. False if there are no entries at all; a damaged unit ends the
    /// list of its section and counts in NumBadUnits.
    bool Init(const DWARF_SECTIONS& Sections, const DWARF_ZERO& Zero = {});
    const DWARF_SECTIONS& Sections() const { return m_Sec; }
    /// The function of an entry is at address 0 by its ranges: it is really there, not one that the linker has dropped.
    bool IsFunctionAtZero(const DWARF_DIE& Function) const;
    const std::vector<DWARF_UNIT>& Units() const { return m_aUnit; }
    U32 NumBadUnits() const { return m_NumBadUnits; }

    /// Index of a unit in Units().
    U32 IndexOf(const DWARF_UNIT& Unit) const { return static_cast<U32>(&Unit - m_aUnit.data()); }
    /// Unit that holds the entry, null if none.
    const DWARF_UNIT* FindUnit(U32 Id) const;
    const DWARF_UNIT* FindTypeUnit(U64 Signature) const;

    /// Entry at an offset within a known unit, or by id. False outside of the unit or for a bad abbreviation.
    bool ReadDie(const DWARF_UNIT& Unit, U32 Offset, DWARF_DIE& Die) const;
    bool ReadDie(U32 Id, DWARF_DIE& Die) const;
    /// Offset behind the entry's attributes, 0 if they don't fit the unit.
    U32 EndOfDie(const DWARF_DIE& Die) const;
    /// Bytes of the section from its start on; entries of a unit end at Unit.End.
    const U8* SectionData(bool InTypes) const { return _Section(InTypes).pData; }

    bool HasAttr(const DWARF_DIE& Die, U32 Attr) const;
    /// The attribute of this very entry; class NONE if it has none.
    DWARF_VALUE GetAttr(const DWARF_DIE& Die, U32 Attr) const;
    const char* GetText(const DWARF_DIE& Die, U32 Attr) const;

    /// An address by its index in the unit's address table; false if outside.
    bool GetIndexedAddr(const DWARF_UNIT& Unit, U64 Index, U32& Addr) const;
    /// Address ranges that DW_AT_ranges names, empty ones left out.
    bool GetRanges(const DWARF_UNIT& Unit, const DWARF_VALUE& Value, std::vector<std::pair<U32, U32>>& aRange) const;
    /// Counts entries of range lists that the first pass has read; false when they are more than a sound file can hold,
    /// however often its entries name the same lists. Any thread.
    bool CountRanges(size_t Count) const { return (m_NumRangesRead += Count) <= MAX_LIST_PASSES * (1000 + m_Sec.Ranges.Size + m_Sec.Rnglists.Size); }

private:
    static constexpr U64 MAX_LIST_PASSES = 4;
    const DWARF_ATTR_SPEC* _FindSpec(const DWARF_DIE& Die, U32 Attr) const;
    ELF_BYTES _Section(bool InTypes) const { return InTypes ? m_Sec.Types : m_Sec.Info; }
    bool _ReadUnits(bool InTypes);
    bool _ReadUnitHeader(DWARF_UNIT& Unit);
    void _ReadRoot(DWARF_UNIT& Unit);
    const DWARF_ABBREV_TABLE* _GetAbbrevs(U64 Offset, const DWARF_SIZES& Sizes);
    DWARF_VALUE _ReadForm(CByteCursor& Cur, const DWARF_UNIT& Unit, U32 Form, I64 Implicit) const;
    const char* _IndexedText(const DWARF_UNIT& Unit, U64 Index) const;
    bool _GetRanges2(const DWARF_UNIT& Unit, U64 Offset, std::vector<std::pair<U32, U32>>& aRange) const;
    bool _GetRanges5(const DWARF_UNIT& Unit, U64 Offset, std::vector<std::pair<U32, U32>>& aRange) const;

    DWARF_SECTIONS m_Sec;
    DWARF_ZERO m_Zero;
    std::vector<DWARF_UNIT> m_aUnit; ///< .debug_info in order, then .debug_types in order
    size_t m_NumInfoUnits = 0;
    std::unordered_map<U64, size_t> m_TypeUnits;
    std::unordered_map<U64, std::unique_ptr<DWARF_ABBREV_TABLE>> m_AbbrevTables;
    mutable std::atomic<U64> m_NumRangesRead{0};
    U64 m_AbbrevBytesRead = 0;
    U32 m_NumBadUnits = 0;
};

/// One entry of a location list: the expression that holds in [Low, High).
struct DWARF_LOC_ENTRY {
    U64 Low, High;
    const U8* pExpr;
    U32 ExprSize;
};
/// Reads the location list that an attribute names, or only its first entry that has an expression. False if it
/// isn't a list or is damaged from the start.
bool DwarfReadLocList(const CDwarfInfo& Info, const DWARF_UNIT& Unit, const DWARF_VALUE& Value,
                      std::vector<DWARF_LOC_ENTRY>& aEntry, bool FirstOnly = false);
/// Skips the value of a form, for readers of entries outside of .debug_info too.
void DwarfSkipForm(CByteCursor& Cur, U32 Form, const DWARF_SIZES& Sizes);
/// Steps over attribute values. The address behind them, null if they don't fit before pEnd.
const U8* DwarfSkipAttrs(const DWARF_SKIP* pSkip, U32 NumSkips, const U8* p, const U8* pEnd, const DWARF_SIZES& Sizes,
                         bool BigEndian);

/// Length of a text; names of templates come near a tenth of it. Without a limit, damaged input could make each name
/// as long as the section.
inline constexpr U64 DWARF_MAX_TEXT = 32 * 1024;
/// Text at an offset of a string section; the empty text if it doesn't end there or is longer than any name.
const char* DwarfTextAt(const ELF_BYTES& Section, U64 Offset);

/// A number in the ULEB128 form; false if it doesn't end before pEnd. Bits above the 64th are dropped.
inline bool DwarfGetULeb(const U8*& p, const U8* pEnd, U64& Value)
{
    Value = 0;
    for (U32 Shift = 0; p < pEnd; Shift += 7) {
        const U8 Byte = *p++;
        if (Shift < 64) Value |= static_cast<U64>(Byte & 0x7F) << Shift;
        if (!(Byte & 0x80)) return true;
    }
    return false;
}
