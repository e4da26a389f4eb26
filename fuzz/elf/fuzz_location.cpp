// libFuzzer target: any bytes as location programs. They stand in a program of one function whose variables have an
// expression, a location list and a range list made of the input; the byte order and the version are chosen by its
// first byte, the length of the expression by its second.
#include "askprogram.h"

#include <algorithm>
#include <initializer_list>
#include <libdwarf/dwarf.h>
#include <string>
#include <string_view>
#include <vector>

namespace {
constexpr U32 FUNC_ADDR = 0x8000, FUNC_SIZE = 0x100;
constexpr unsigned ELF_HEADER = 52, SECTION_HEADER = 40;

class CBytes {
public:
    explicit CBytes(bool BigEndian) : m_BigEndian(BigEndian) {}
    CBytes& Num(U32 Value, unsigned NumBytes)
    {
        for (unsigned i = 0; i < NumBytes; i++)
            m_aByte.push_back(U8(Value >> 8 * (m_BigEndian ? NumBytes - 1 - i : i)));
        return *this;
    }
    CBytes& Leb(U32 Value)
    {
        for (; Value >= 0x80; Value >>= 7) m_aByte.push_back(U8(Value | 0x80));
        m_aByte.push_back(U8(Value));
        return *this;
    }
    CBytes& Lebs(std::initializer_list<U32> Values)
    {
        for (const U32 Value : Values) Leb(Value);
        return *this;
    }
    CBytes& Text(std::string_view s)
    {
        m_aByte.insert(m_aByte.end(), s.begin(), s.end());
        m_aByte.push_back(0);
        return *this;
    }
    CBytes& Append(const U8* pData, std::size_t Size)
    {
        m_aByte.insert(m_aByte.end(), pData, pData + Size);
        return *this;
    }
    /// The bytes with their count in front.
    CBytes WithLength() const
    {
        CBytes All(m_BigEndian);
        All.Num(U32(m_aByte.size()), 4).Append(m_aByte.data(), m_aByte.size());
        return All;
    }
    const std::vector<U8>& Get() const { return m_aByte; }

private:
    bool m_BigEndian;
    std::vector<U8> m_aByte;
};

struct SECTION {
    std::string_view sName;
    std::vector<U8> aByte;
};

CBytes MakeAbbrevs(bool BigEndian, unsigned Version)
{
    const U32 Expression = Version >= 4 ? DW_FORM_exprloc : DW_FORM_block;
    const U32 List = Version >= 4 ? DW_FORM_sec_offset : DW_FORM_data4;
    CBytes Abbrevs(BigEndian);
    Abbrevs.Lebs({1, DW_TAG_compile_unit, 1, DW_AT_low_pc, DW_FORM_addr, DW_AT_language, DW_FORM_data1, 0, 0});
    Abbrevs.Lebs({2, DW_TAG_subprogram, 1, DW_AT_name, DW_FORM_string, DW_AT_low_pc, DW_FORM_addr, DW_AT_high_pc,
                  DW_FORM_addr, DW_AT_frame_base, Expression, 0, 0});
    Abbrevs.Lebs({3, DW_TAG_variable, 0, DW_AT_name, DW_FORM_string, DW_AT_type, DW_FORM_ref4, DW_AT_location, Expression,
                  0, 0});
    Abbrevs.Lebs({4, DW_TAG_variable, 0, DW_AT_name, DW_FORM_string, DW_AT_type, DW_FORM_ref4, DW_AT_location, List, 0, 0});
    Abbrevs.Lebs({5, DW_TAG_base_type, 0, DW_AT_name, DW_FORM_string, DW_AT_byte_size, DW_FORM_data1, DW_AT_encoding,
                  DW_FORM_data1, 0, 0});
    Abbrevs.Lebs({6, DW_TAG_lexical_block, 0, DW_AT_ranges, List, 0, 0});
    return Abbrevs.Num(0, 1);
}

CBytes MakeInfo(bool BigEndian, unsigned Version, const U8* pExpr, std::size_t ExprSize)
{
    CBytes Head(BigEndian);
    Head.Num(Version, 2);
    if (Version >= 5) Head.Num(DW_UT_compile, 1).Num(4, 1).Num(0, 4);
    else Head.Num(0, 4).Num(4, 1);
    CBytes Body = Head;
    Body.Leb(1).Num(FUNC_ADDR, 4).Num(DW_LANG_C99, 1);
    const U32 TypeOffset = U32(Body.Get().size()) + 4; // the length of the unit stands in front
    Body.Leb(5).Text("int").Num(4, 1).Num(DW_ATE_signed, 1);
    Body.Leb(2).Text("f").Num(FUNC_ADDR, 4).Num(FUNC_ADDR + FUNC_SIZE, 4).Leb(U32(ExprSize)).Append(pExpr, ExprSize);
    Body.Leb(3).Text("x").Num(TypeOffset, 4).Leb(U32(ExprSize)).Append(pExpr, ExprSize);
    Body.Leb(4).Text("y").Num(TypeOffset, 4).Num(0, 4);
    Body.Leb(6).Num(0, 4);
    return Body.Num(0, 1).Num(0, 1).WithLength();
}

std::vector<U8> MakeElf(bool BigEndian, const std::vector<SECTION>& aSection)
{
    CBytes Names(BigEndian), Data(BigEndian), Headers(BigEndian);
    Names.Num(0, 1);
    for (unsigned i = 0; i < SECTION_HEADER; i++) Headers.Num(0, 1);
    const auto Add = [&](std::string_view sName, U32 Type, const std::vector<U8>& aByte) {
        const U32 NamePos = U32(Names.Get().size());
        Names.Text(sName);
        Headers.Num(NamePos, 4).Num(Type, 4).Num(0, 4).Num(0, 4).Num(ELF_HEADER + U32(Data.Get().size()), 4);
        const std::vector<U8>& aContent = aByte.empty() ? Names.Get() : aByte;
        Headers.Num(U32(aContent.size()), 4).Num(0, 4).Num(0, 4).Num(1, 4).Num(0, 4);
        Data.Append(aContent.data(), aContent.size());
    };
    for (const SECTION& Section : aSection)
        if (!Section.aByte.empty()) Add(Section.sName, 1, Section.aByte);
    Add(".shstrtab", 3, {});
    const unsigned Num = unsigned(Headers.Get().size() / SECTION_HEADER);
    CBytes File(BigEndian);
    File.Num(0x7F, 1).Append(reinterpret_cast<const U8*>("ELF"), 3).Num(1, 1).Num(BigEndian ? 2 : 1, 1).Num(1, 1);
    for (int i = 0; i < 9; i++) File.Num(0, 1);
    File.Num(2, 2).Num(40, 2).Num(1, 4).Num(FUNC_ADDR, 4).Num(0, 4).Num(ELF_HEADER + U32(Data.Get().size()), 4);
    File.Num(0, 4).Num(ELF_HEADER, 2).Num(32, 2).Num(0, 2).Num(SECTION_HEADER, 2).Num(Num, 2).Num(Num - 1, 2);
    File.Append(Data.Get().data(), Data.Get().size()).Append(Headers.Get().data(), Headers.Get().size());
    return File.Get();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const U8* pData, std::size_t Size)
{
    if (Size < 2) return 0;
    const bool BigEndian = (pData[0] & 1) != 0;
    const unsigned Version = 2 + (pData[0] >> 1) % 4;
    const std::size_t ExprSize = std::min<std::size_t>(pData[1], Size - 2);
    const U8* pLists = pData + 2 + ExprSize;
    const std::size_t ListSize = Size - 2 - ExprSize;
    const std::vector<U8> aList(pLists, pLists + ListSize);
    const std::string_view sLoc = Version >= 5 ? ".debug_loclists" : ".debug_loc";
    const std::string_view sRanges = Version >= 5 ? ".debug_rnglists" : ".debug_ranges";
    const std::vector<U8> aFile =
        MakeElf(BigEndian, {{".debug_info", MakeInfo(BigEndian, Version, pData + 2, ExprSize).Get()},
                            {".debug_abbrev", MakeAbbrevs(BigEndian, Version).Get()},
                            {sLoc, aList},
                            {sRanges, aList}});
    // The frame around the input is whole: a file that isn't loaded is a fault of this target.
    if (!AskProgram(CMemFile(aFile.data(), aFile.size()).Path())) __builtin_trap();
    return 0;
}
