#include "randomcode.h"

#include <cstring>

using namespace Sim;

namespace {

enum Need : uint8_t { kAny, kThumb2, kDsp, kFp, kFpv5, kNever };

// Bits of an encoding: 0 and 1 as they are, x random, letters are register fields (equal
// letters of one pattern are one number, d, l and h differ from each other), blanks are
// ignored.
struct PatternRow {
    Need Needs;
    const char* sBits;
};

constexpr PatternRow kPatterns[] = {
    // 16 bit
    {kAny, "000 00 xxxxx mmm ddd"},
    {kAny, "000 01 xxxxx mmm ddd"},
    {kAny, "000 10 xxxxx mmm ddd"},
    {kAny, "000 11 0 0 mmm nnn ddd"},
    {kAny, "000 11 0 1 mmm nnn ddd"},
    {kAny, "000 11 1 0 xxx nnn ddd"},
    {kAny, "000 11 1 1 xxx nnn ddd"},
    {kAny, "001 00 ddd xxxxxxxx"},
    {kAny, "001 01 ddd xxxxxxxx"},
    {kAny, "001 10 ddd xxxxxxxx"},
    {kAny, "001 11 ddd xxxxxxxx"},
    {kAny, "010000 xxxx mmm ddd"},
    {kAny, "010000 xxxx mmm ddd"},
    {kAny, "010000 xxxx mmm ddd"},
    {kAny, "01000100 0 0 mmm ddd"},
    {kAny, "01000100 0 1 000 ddd"},
    {kAny, "01000100 1 0 mmm 000"},
    {kAny, "01000101 0 1 001 ddd"},
    {kAny, "01000101 1 0 mmm 010"},
    {kAny, "01000110 0 1 110 ddd"},
    {kAny, "01000110 1 0 mmm 100"},
    {kAny, "01000110 0 1 111 ddd"},
    {kAny, "01000100 0 1 111 ddd"},
    {kAny, "10100 ddd xxxxxxxx"},
    {kAny, "10101 ddd xxxxxxxx"},
    {kAny, "10110010 xx mmm ddd"},
    {kAny, "10111010 00 mmm ddd"},
    {kAny, "10111010 01 mmm ddd"},
    {kAny, "10111010 11 mmm ddd"},
    // shifted register and modified immediate, tests included
    {kThumb2, "1110101 0000 x nnnn 0xxx dddd xx xx mmmm"},
    {kThumb2, "1110101 0001 x nnnn 0xxx dddd xx xx mmmm"},
    {kThumb2, "1110101 0010 x nnnn 0xxx dddd xx xx mmmm"},
    {kThumb2, "1110101 0011 x nnnn 0xxx dddd xx xx mmmm"},
    {kThumb2, "1110101 0100 x nnnn 0xxx dddd xx xx mmmm"},
    {kThumb2, "1110101 1000 x nnnn 0xxx dddd xx xx mmmm"},
    {kThumb2, "1110101 1010 x nnnn 0xxx dddd xx xx mmmm"},
    {kThumb2, "1110101 1011 x nnnn 0xxx dddd xx xx mmmm"},
    {kThumb2, "1110101 1101 x nnnn 0xxx dddd xx xx mmmm"},
    {kThumb2, "1110101 1110 x nnnn 0xxx dddd xx xx mmmm"},
    {kThumb2, "1110101 0010 x 1111 0xxx dddd xx xx mmmm"},
    {kThumb2, "1110101 0011 x 1111 0xxx dddd xx xx mmmm"},
    {kThumb2, "1110101 0000 1 nnnn 0xxx 1111 xx xx mmmm"},
    {kThumb2, "1110101 0100 1 nnnn 0xxx 1111 xx xx mmmm"},
    {kThumb2, "1110101 1000 1 nnnn 0xxx 1111 xx xx mmmm"},
    {kThumb2, "1110101 1101 1 nnnn 0xxx 1111 xx xx mmmm"},
    {kThumb2, "11110 x 0 0000 x nnnn 0xxx dddd xxxxxxx1"},
    {kThumb2, "11110 x 0 0001 x nnnn 0xxx dddd xxxxxxx1"},
    {kThumb2, "11110 x 0 0010 x nnnn 0xxx dddd xxxxxxx1"},
    {kThumb2, "11110 x 0 0011 x nnnn 0xxx dddd xxxxxxx1"},
    {kThumb2, "11110 x 0 0100 x nnnn 0xxx dddd xxxxxxx1"},
    {kThumb2, "11110 x 0 1000 x nnnn 0xxx dddd xxxxxxx1"},
    {kThumb2, "11110 x 0 1010 x nnnn 0xxx dddd xxxxxxx1"},
    {kThumb2, "11110 x 0 1011 x nnnn 0xxx dddd xxxxxxx1"},
    {kThumb2, "11110 x 0 1101 x nnnn 0xxx dddd xxxxxxx1"},
    {kThumb2, "11110 x 0 1110 x nnnn 0xxx dddd xxxxxxx1"},
    {kThumb2, "11110 x 0 0010 x 1111 0xxx dddd xxxxxxx1"},
    {kThumb2, "11110 x 0 0011 x 1111 0xxx dddd xxxxxxx1"},
    {kThumb2, "11110 x 0 0000 1 nnnn 0xxx 1111 xxxxxxx1"},
    {kThumb2, "11110 x 0 0100 1 nnnn 0xxx 1111 xxxxxxx1"},
    {kThumb2, "11110 x 0 1000 1 nnnn 0xxx 1111 xxxxxxx1"},
    {kThumb2, "11110 x 0 1101 1 nnnn 0xxx 1111 xxxxxxx1"},
    // plain immediate, bit fields, saturation
    {kThumb2, "11110 x 10 0000 nnnn 0xxx dddd xxxxxxxx"},
    {kThumb2, "11110 x 10 1010 nnnn 0xxx dddd xxxxxxxx"},
    {kThumb2, "11110 x 10 0000 1111 0xxx dddd xxxxxxxx"},
    {kThumb2, "11110 x 10 1010 1111 0xxx dddd xxxxxxxx"},
    {kThumb2, "11110 x 10 0100 xxxx 0xxx dddd xxxxxxxx"},
    {kThumb2, "11110 x 10 1100 xxxx 0xxx dddd xxxxxxxx"},
    {kThumb2, "11110 0 11 0110 nnnn 0 0xx dddd xx 0 1xxxx"},
    {kThumb2, "11110 0 11 0110 1111 0 0xx dddd xx 0 1xxxx"},
    {kThumb2, "11110 0 11 0100 nnnn 0 0xx dddd xx 0 0xxxx"},
    {kThumb2, "11110 0 11 1100 nnnn 0 0xx dddd xx 0 0xxxx"},
    {kThumb2, "11110 0 11 0000 nnnn 0 xxx dddd xx 0 xxxxx"},
    {kThumb2, "11110 0 11 0010 nnnn 0 xx1 dddd xx 0 xxxxx"},
    {kThumb2, "11110 0 11 1000 nnnn 0 xxx dddd xx 0 xxxxx"},
    {kThumb2, "11110 0 11 1010 nnnn 0 x1x dddd xx 0 xxxxx"},
    {kDsp, "11110 0 11 0010 nnnn 0 000 dddd 00 00 xxxx"},
    {kDsp, "11110 0 11 1010 nnnn 0 000 dddd 00 00 xxxx"},
    // register shifts, extension, reversal
    {kThumb2, "111110100 00x nnnn 1111 dddd 0000 mmmm"},
    {kThumb2, "111110100 01x nnnn 1111 dddd 0000 mmmm"},
    {kThumb2, "111110100 10x nnnn 1111 dddd 0000 mmmm"},
    {kThumb2, "111110100 11x nnnn 1111 dddd 0000 mmmm"},
    {kThumb2, "111110100 000 1111 1111 dddd 10xx mmmm"},
    {kThumb2, "111110100 001 1111 1111 dddd 10xx mmmm"},
    {kThumb2, "111110100 100 1111 1111 dddd 10xx mmmm"},
    {kThumb2, "111110100 101 1111 1111 dddd 10xx mmmm"},
    {kDsp, "111110100 010 1111 1111 dddd 10xx mmmm"},
    {kDsp, "111110100 011 1111 1111 dddd 10xx mmmm"},
    {kDsp, "111110100 000 nnnn 1111 dddd 10xx mmmm"},
    {kDsp, "111110100 001 nnnn 1111 dddd 10xx mmmm"},
    {kDsp, "111110100 010 nnnn 1111 dddd 10xx mmmm"},
    {kDsp, "111110100 011 nnnn 1111 dddd 10xx mmmm"},
    {kDsp, "111110100 100 nnnn 1111 dddd 10xx mmmm"},
    {kDsp, "111110100 101 nnnn 1111 dddd 10xx mmmm"},
    {kThumb2, "111110101 001 mmmm 1111 dddd 10xx mmmm"},
    {kThumb2, "111110101 011 mmmm 1111 dddd 1000 mmmm"},
    {kDsp, "111010101 100 nnnn 0xxx dddd xx x0 mmmm"},
    // parallel and saturating arithmetic
    {kDsp, "111110101 000 nnnn 1111 dddd 0x00 mmmm"},
    {kDsp, "111110101 000 nnnn 1111 dddd 0x01 mmmm"},
    {kDsp, "111110101 000 nnnn 1111 dddd 0x10 mmmm"},
    {kDsp, "111110101 001 nnnn 1111 dddd 0x00 mmmm"},
    {kDsp, "111110101 001 nnnn 1111 dddd 0x01 mmmm"},
    {kDsp, "111110101 001 nnnn 1111 dddd 0x10 mmmm"},
    {kDsp, "111110101 010 nnnn 1111 dddd 0x00 mmmm"},
    {kDsp, "111110101 010 nnnn 1111 dddd 0x01 mmmm"},
    {kDsp, "111110101 010 nnnn 1111 dddd 0x10 mmmm"},
    {kDsp, "111110101 100 nnnn 1111 dddd 0x00 mmmm"},
    {kDsp, "111110101 100 nnnn 1111 dddd 0x01 mmmm"},
    {kDsp, "111110101 100 nnnn 1111 dddd 0x10 mmmm"},
    {kDsp, "111110101 101 nnnn 1111 dddd 0x00 mmmm"},
    {kDsp, "111110101 101 nnnn 1111 dddd 0x01 mmmm"},
    {kDsp, "111110101 101 nnnn 1111 dddd 0x10 mmmm"},
    {kDsp, "111110101 110 nnnn 1111 dddd 0x00 mmmm"},
    {kDsp, "111110101 110 nnnn 1111 dddd 0x01 mmmm"},
    {kDsp, "111110101 110 nnnn 1111 dddd 0x10 mmmm"},
    {kDsp, "111110101 000 nnnn 1111 dddd 10xx mmmm"},
    {kDsp, "111110101 010 nnnn 1111 dddd 1000 mmmm"},
    // multiplication
    {kThumb2, "111110110 000 nnnn aaaa dddd 0000 mmmm"},
    {kThumb2, "111110110 000 nnnn aaaa dddd 0001 mmmm"},
    {kThumb2, "111110110 000 nnnn 1111 dddd 0000 mmmm"},
    {kDsp, "111110110 001 nnnn aaaa dddd 00xx mmmm"},
    {kDsp, "111110110 001 nnnn 1111 dddd 00xx mmmm"},
    {kDsp, "111110110 010 nnnn aaaa dddd 000x mmmm"},
    {kDsp, "111110110 010 nnnn 1111 dddd 000x mmmm"},
    {kDsp, "111110110 011 nnnn aaaa dddd 000x mmmm"},
    {kDsp, "111110110 011 nnnn 1111 dddd 000x mmmm"},
    {kDsp, "111110110 100 nnnn aaaa dddd 000x mmmm"},
    {kDsp, "111110110 100 nnnn 1111 dddd 000x mmmm"},
    {kDsp, "111110110 101 nnnn aaaa dddd 000x mmmm"},
    {kDsp, "111110110 101 nnnn 1111 dddd 000x mmmm"},
    {kDsp, "111110110 110 nnnn aaaa dddd 000x mmmm"},
    {kDsp, "111110110 111 nnnn aaaa dddd 0000 mmmm"},
    {kDsp, "111110110 111 nnnn 1111 dddd 0000 mmmm"},
    {kThumb2, "111110111 000 nnnn llll hhhh 0000 mmmm"},
    {kThumb2, "111110111 010 nnnn llll hhhh 0000 mmmm"},
    {kThumb2, "111110111 100 nnnn llll hhhh 0000 mmmm"},
    {kThumb2, "111110111 110 nnnn llll hhhh 0000 mmmm"},
    {kThumb2, "111110111 001 nnnn 1111 dddd 1111 mmmm"},
    {kThumb2, "111110111 011 nnnn 1111 dddd 1111 mmmm"},
    {kDsp, "111110111 100 nnnn llll hhhh 10xx mmmm"},
    {kDsp, "111110111 100 nnnn llll hhhh 110x mmmm"},
    {kDsp, "111110111 101 nnnn llll hhhh 110x mmmm"},
    {kDsp, "111110111 110 nnnn llll hhhh 0110 mmmm"},
    // special registers
    {kThumb2, "11110011 1000 nnnn 1000 1000 0000 0000"},
    {kDsp, "11110011 1000 nnnn 1000 1100 0000 0000"},
    {kThumb2, "11110011 1110 1111 1000 dddd 0000 0000"},
    // floating point
    {kFp, "11101110 0x00 xxxx xxxx 1010 xxx0 xxxx"},
    {kFp, "11101110 0x01 xxxx xxxx 1010 xxx0 xxxx"},
    {kFp, "11101110 0x10 xxxx xxxx 1010 xxx0 xxxx"},
    {kFp, "11101110 0x11 xxxx xxxx 1010 xxx0 xxxx"},
    {kFp, "11101110 1x00 xxxx xxxx 1010 x0x0 xxxx"},
    {kFp, "11101110 1x01 xxxx xxxx 1010 xxx0 xxxx"},
    {kFp, "11101110 1x10 xxxx xxxx 1010 xxx0 xxxx"},
    {kFp, "11101110 1x11 xxxx xxxx 1010 0000 xxxx"},
    {kFp, "11101110 1x11 0000 xxxx 1010 x1x0 xxxx"},
    {kFp, "11101110 1x11 0001 xxxx 1010 x1x0 xxxx"},
    {kFp, "11101110 1x11 0010 xxxx 1010 x1x0 xxxx"},
    {kFp, "11101110 1x11 0011 xxxx 1010 x1x0 xxxx"},
    {kFp, "11101110 1x11 0100 xxxx 1010 x1x0 xxxx"},
    {kFp, "11101110 1x11 0101 xxxx 1010 x100 0000"},
    {kFp, "11101110 1x11 1000 xxxx 1010 x1x0 xxxx"},
    {kFp, "11101110 1x11 110x xxxx 1010 x1x0 xxxx"},
    {kFp, "11101110 1x11 1x1x xxxx 1010 11x0 xxxx"},
    {kFp, "11101110 1x11 1x1x xxxx 1010 01x0 0xxx"},
    {kFp, "11101110 0000 xxxx nnnn 1010 x001 0000"},
    {kFp, "11101110 0001 xxxx dddd 1010 x001 0000"},
    {kFp, "11101110 00x0 xxxx nnnn 1011 0001 0000"},
    {kFp, "11101110 00x1 xxxx dddd 1011 0001 0000"},
    {kFp, "11101100 0100 nnnn mmmm 1010 00x1 0xxx"},
    {kFp, "11101100 0101 hhhh llll 1011 0001 xxxx"},
    {kFp, "11101110 1111 0001 1111 1010 0001 0000"},
    {kFp, "11101110 1111 0001 dddd 1010 0001 0000"},
    {kFpv5, "11111110 0xxx xxxx xxxx 1010 x0x0 xxxx"},
    {kFpv5, "11111110 1x00 xxxx xxxx 1010 xxx0 xxxx"},
    {kFpv5, "11111110 1x11 10xx xxxx 1010 01x0 xxxx"},
    {kFpv5, "11111110 1x11 11xx xxxx 1010 x1x0 xxxx"},
    {kFpv5, "11101110 1x11 0110 xxxx 1010 x1x0 xxxx"},
    {kFpv5, "11101110 1x11 0111 xxxx 1010 01x0 xxxx"},
};

constexpr bool LengthsAreRight()
{
    for (const PatternRow& Row : kPatterns) {
        unsigned NumBits = 0;
        for (const char* p = Row.sBits; *p; ++p) NumBits += *p != ' ';
        if (NumBits != 16 && NumBits != 32) return false;
    }
    return true;
}
static_assert(LengthsAreRight());

bool Has(const BoardInfo& Info, Need Needs)
{
    ArmCoreKind Kind = Info.Kind;
    switch (Needs) {
    case kAny:
        return true;
    case kThumb2:
        return Kind >= ArmCoreKind::M3;
    case kDsp:
        return Kind >= ArmCoreKind::M4;
    case kFp:
        return Info.HasFp;
    case kFpv5:
        return Kind >= ArmCoreKind::M7F;
    default:
        return false;
    }
}

constexpr unsigned kBase = 11, kIndex = 12; // registers of the memory instructions
constexpr uint32_t kDataOffset = 0x3000, kDataSize = 0x400;

} // namespace

void RandomCode::Half(uint32_t Value)
{
    m_Code.append(char(Value));
    m_Code.append(char(Value >> 8));
}

void RandomCode::Instr(uint32_t Value, unsigned Size)
{
    if (Size == 4) Half(Value >> 16);
    Half(Value & 0xFFFF);
}

void RandomCode::LoadImmediate(unsigned Reg, uint32_t Value)
{
    for (unsigned Top = 0; Top < 2; ++Top) { // MOVW, MOVT
        uint32_t Imm = Top ? Value >> 16 : Value & 0xFFFF;
        Instr((Top ? 0xF2C00000u : 0xF2400000u) | (Imm >> 12) << 16 | (Imm >> 11 & 1) << 26 |
                  (Imm >> 8 & 7) << 12 | Reg << 8 | (Imm & 0xFF),
              4);
    }
}

uint32_t RandomCode::Interesting()
{
    static constexpr uint32_t Values[] = {
        0,          1,          0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x7F800000, 0xFF800000,
        0x7FC00001, 0x7F800001, 0xFFC54321, 0xFF854321, 0x00000001, 0x807FFFFF, 0x00800000,
        0x3F800000, 0xBF000000, 0x4EFFFFFF, 0x4F000000, 0xCF000001, 0x4F800000, 0x33000000,
        0x477FF000, 0x38800000, 0x387FFFFF, 0x00FF00FF, 0x80008000, 0x7FFF7FFF, 0x80807F7F};
    uint32_t Value = Below(3) == 0 ? Values[Below(std::size(Values))] : uint32_t(m_Random());
    // Exponents near each other, so that sums cancel and products stay in range.
    if (Below(3) == 0) Value = (Value & 0x807FFFFF) | (100 + Below(54)) << 23;
    return Value;
}

void RandomCode::RefreshRegister()
{
    if (!Has(m_Info, kThumb2)) return Instr(0x2000 | Below(8) << 8 | Below(256), 2);
    LoadImmediate(Below(11), Interesting());
}

void RandomCode::RefreshFloat()
{
    unsigned Reg = Below(11), Single = Below(32);
    LoadImmediate(Reg, Interesting());
    Instr(0xEE000A10 | (Single >> 1) << 16 | (Single & 1) << 7 | Reg << 12, 4);
    if (Below(4)) return;
    LoadImmediate(Reg, uint32_t(m_Random()) & (Below(2) ? 0xF7C0009F : 0x00C00000));
    Instr(0xEEE10A10 | Reg << 12, 4); // VMSR FPSCR
}

uint32_t RandomCode::Fill(const char* sPattern, unsigned* pSize)
{
    unsigned NumBits = 0;
    for (const char* p = sPattern; *p; ++p) NumBits += *p != ' ';
    bool IsNarrow = NumBits == 16;
    int aRegs[128];
    for (int& r : aRegs) r = -1;
    uint32_t Value = 0;
    int LeftOfField[128] = {};
    for (const char* p = sPattern; *p; ++p) {
        char c = *p;
        if (c == ' ') continue;
        uint32_t Bit;
        if (c == '0' || c == '1') {
            Bit = uint32_t(c - '0');
        } else if (c == 'x') {
            Bit = Below(2);
        } else {
            if (aRegs[int(c)] < 0) {
                bool IsDest = c == 'd' || c == 'l' || c == 'h';
                uint32_t Reg;
                do {
                    Reg = IsNarrow ? Below(8) : IsDest ? Below(11) : Below(14);
                    if (Reg == 13) Reg = 14;
                } while (IsDest && (int(Reg) == aRegs[int('d')] || int(Reg) == aRegs[int('l')] ||
                                    int(Reg) == aRegs[int('h')]));
                aRegs[int(c)] = int(Reg);
            }
            if (LeftOfField[int(c)] == 0) LeftOfField[int(c)] = IsNarrow ? 3 : 4;
            Bit = uint32_t(aRegs[int(c)]) >> --LeftOfField[int(c)] & 1;
        }
        Value = Value << 1 | Bit;
    }
    *pSize = IsNarrow ? 2 : 4;
    return Value;
}

void RandomCode::Pattern(bool InIt)
{
    for (;;) {
        const PatternRow& Row = kPatterns[Below(std::size(kPatterns))];
        if (!Has(m_Info, Row.Needs) || (InIt && Row.Needs == kFpv5)) continue;
        unsigned Size;
        uint32_t Value = Fill(Row.sBits, &Size);
        Instr(Value, Size);
        return;
    }
}

void RandomCode::Memory()
{
    // Offsets up to 255 around a base in the middle of the data.
    uint32_t Address = m_Info.Ram + kDataOffset + 0x100 + Below(kDataSize - 0x300);
    if (Below(3)) Address &= ~3u;
    LoadImmediate(kBase, Address);
    LoadImmediate(kIndex, Below(16));
    uint32_t Rt = Below(11), Rt2 = (Rt + 1 + Below(9)) % 11;
    unsigned Size = Below(3); // byte, half, word
    bool IsLoad = Below(2), IsSigned = IsLoad && Size < 2 && Below(2);
    uint32_t Base =
        0xF8000000 | uint32_t(IsSigned) << 24 | Size << 21 | uint32_t(IsLoad) << 20 | kBase << 16 | Rt << 12;
    switch (Below(m_Info.HasFp ? 8 : 6)) {
    case 0:
        Instr(Base | 1u << 23 | Below(256), 4);
        break;
    case 1:
        Instr(Base | 0x800 | (4 | Below(2) * 2 | 1) << 8 | Below(256), 4);
        break; // pre-indexed
    case 2:
        Instr(Base | 0x800 | (0 | Below(2) * 2 | 1) << 8 | Below(256), 4);
        break; // post-indexed
    case 3:
        Instr(Base | 0x800 | (Below(2) ? 6 : 4) << 8 | Below(256), 4);
        break; // unprivileged or negative
    case 4:
        Instr(Base | Below(4) << 4 | kIndex, 4);
        break;
    case 5: {
        LoadImmediate(kBase, Address & ~3u);
        uint32_t Mode = 1 + Below(3); // P and W, not both 0
        Instr(0xE8400000 | (Mode & 1) << 24 | Below(2) << 23 | (Mode >> 1) << 21 | uint32_t(IsLoad) << 20 |
                  kBase << 16 | Rt << 12 | Rt2 << 8 | Below(64),
              4);
        break;
    }
    case 6: { // VLDR, VSTR single and double
        LoadImmediate(kBase, Address & ~3u);
        bool IsDouble = Below(2);
        Instr(0xED000A00 | Below(2) << 23 | (IsDouble ? 0 : Below(2)) << 22 | uint32_t(IsLoad) << 20 |
                  kBase << 16 | Below(16) << 12 | uint32_t(IsDouble) << 8 | Below(64),
              4);
        break;
    }
    default: { // VLDM, VSTM: increment after, decrement before
        LoadImmediate(kBase, Address & ~3u);
        bool IsDouble = Below(2), Down = Below(2);
        unsigned Count = 1 + Below(8), First = Below(16 - Count);
        Instr(0xEC000A00 | (Down ? 0x01200000u : 0x00800000u | Below(2) << 21) | uint32_t(IsLoad) << 20 |
                  kBase << 16 | First << 12 | uint32_t(IsDouble) << 8 | (IsDouble ? 2 * Count : Count),
              4);
        break;
    }
    }
}

void RandomCode::Multiple()
{
    bool IsLoad = Below(2), Down = Below(2);
    LoadImmediate(kBase, m_Info.Ram + kDataOffset + 0x100 + Below(64) * 4);
    uint32_t List = uint32_t(m_Random()) & 0x47FF;
    if (__builtin_popcount(List) < 2) List |= 0x0041;
    Instr((Down ? 0xE9000000u : 0xE8800000u) | Below(2) << 21 | uint32_t(IsLoad) << 20 | kBase << 16 | List,
          4);
    uint32_t Push = uint32_t(m_Random()) & 0xFF;
    if (!Push) return;
    Instr(0xB400 | Push, 2); // PUSH and the same registers back
    Instr(0xBC00 | Push, 2);
}

void RandomCode::ExclusivePair()
{
    uint32_t Value = Below(11), Status = (Value + 1 + Below(9)) % 11;
    LoadImmediate(kBase, m_Info.Ram + kDataOffset + Below(64) * 4);
    if (Below(2)) { // word with offset
        uint32_t Offset = Below(16);
        Instr(0xE8500F00 | kBase << 16 | Value << 12 | Offset, 4);
        if (Below(3) == 0) Instr(0xF3BF8F2F, 4); // CLREX
        Instr(0xE8400000 | kBase << 16 | Value << 12 | Status << 8 | Offset, 4);
        if (Below(3) == 0) Instr(0xE8400000 | kBase << 16 | Value << 12 | Status << 8 | Offset, 4); // fails
        return;
    }
    bool AcquireRelease = m_Info.Kind == ArmCoreKind::M33 && Below(2);
    uint32_t Form = (AcquireRelease ? 0xC0 : 0x40) | Below(2) << 4; // byte or half word
    Instr(0xE8D00F0F | kBase << 16 | Value << 12 | Form, 4);
    Instr(0xE8C00F00 | kBase << 16 | Value << 12 | Form | Status, 4);
    if (AcquireRelease) Instr(0xE8D00FAF | kBase << 16 | Value << 12, 4); // LDA
}

void RandomCode::ItBlock()
{
    uint32_t Cond = Below(14), Mask = 1 + Below(15);
    Instr(0xBF00 | Cond << 4 | Mask, 2);
    for (int i = 4 - __builtin_ctz(Mask); i > 0; --i) Pattern(true);
}

void RandomCode::SkipBranch()
{
    int At = int(m_Code.size());
    bool Wide = Has(m_Info, kThumb2) && Below(2);
    uint32_t Cond = Below(14), Reg = Below(8), Kind = Has(m_Info, kThumb2) ? Below(3) : 1;
    Instr(0, Wide && Kind ? 4 : 2);
    Pattern(false);
    Pattern(false);
    uint32_t Distance = uint32_t(m_Code.size() - At) - 4;
    QByteArray Rest = m_Code.mid(At + (Wide && Kind ? 4 : 2));
    m_Code.truncate(At);
    if (Kind == 0)
        Instr(0xB100 | Below(2) << 11 | (Distance >> 1 & 31) << 3 | Reg, 2); // CBZ, CBNZ
    else if (Wide)
        Instr(0xF0008000 | Cond << 22 | Distance >> 1, 4);
    else
        Instr(0xD000 | Cond << 8 | Distance >> 1, 2);
    m_Code += Rest;
}

QByteArray RandomCode::Make(unsigned NumInstructions, uint32_t* pEnd)
{
    m_Code.clear();
    bool Wide = Has(m_Info, kThumb2);
    if (m_Info.HasFp) {
        LoadImmediate(0, 0xE000ED88);
        LoadImmediate(1, 0x00F00000);
        Instr(0x6001, 2); // STR R1, [R0]
        for (unsigned i = 0; i < 40; ++i) RefreshFloat();
    }
    for (unsigned i = 0; Wide && i < 13; ++i) LoadImmediate(i, Interesting());
    for (unsigned i = 0; i < NumInstructions; ++i) {
        switch (Below(16)) {
        case 0:
        case 1:
            RefreshRegister();
            break;
        case 2:
            if (m_Info.HasFp) RefreshFloat();
            break;
        case 3:
            if (Wide) Memory();
            break;
        case 4:
            if (Wide && Below(3) == 0) Multiple();
            break;
        case 5:
            if (Wide && Below(4) == 0) ExclusivePair();
            break;
        case 6:
            if (Wide) ItBlock();
            break;
        case 7:
            SkipBranch();
            break;
        default:
            Pattern(false);
            break;
        }
    }
    uint32_t Start = m_Info.Rom + 0x100;
    *pEnd = Start + uint32_t(m_Code.size());
    Half(0xE7FE); // b .
    QByteArray Image(0x100, 0);
    for (unsigned i = 0; i < 64; ++i) {
        uint32_t Vector = i == 0 ? m_Info.Ram + 0x2F00 : i == 1 ? Start | 1 : (m_Info.Rom + 0xFE) | 1;
        memcpy(Image.data() + 4 * i, &Vector, 4);
    }
    memcpy(Image.data() + 0xFE, "\xFE\xE7", 2); // unexpected exceptions end here
    return Image + m_Code;
}
