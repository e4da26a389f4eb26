// Decoder of the 32-bit loads and stores.
#include "armexec.h"

namespace Sim {

namespace {

constexpr uint32_t Field(uint32_t I, unsigned High, unsigned Low)
{
    return I >> Low & ((2u << (High - Low)) - 1);
}
uint8_t Reg(uint32_t I, unsigned Low)
{
    return uint8_t(I >> Low & 15);
}

void LoadStoreMultiple(uint32_t I, Op& O)
{
    unsigned Mode = Field(I, 24, 23);
    if (Mode != 1 && Mode != 2) return; // RFE and SRS belong to other profiles
    bool IsLoad = I >> 20 & 1;
    O.Rn = Reg(I, 16);
    O.Aux = uint16_t(I & 0xFFFF);
    O.Imm = (I >> 21 & 1 ? uint32_t(kMultiWriteback) : 0) | (Mode == 2 ? uint32_t(kMultiDown) : 0);
    bool BadList = (O.Aux & 0x2000) || (!IsLoad && (O.Aux & 0x8000)) || (O.Aux & 0xC000) == 0xC000;
    if (BadList || O.Aux == 0 || O.Rn == 15) return;
    O.Cycles = uint8_t(1 + __builtin_popcount(O.Aux));
    O.Fn = IsLoad ? &OpLdm : &OpStm;
}

// Puts the wrapper in front of a load into SP.
void Finish(const DecodeContext& X, Handler Fn, Op& O, bool IsLoad)
{
    O.Fn = Fn;
    O.Cycles = IsLoad ? 2 : 1;
    if (IsLoad && O.Rd == 13) WrapSp(X.C, O, false);
}

bool PickForm(uint32_t I, Op& O, MemForm& Form)
{
    if (I >> 23 & 1) {
        O.Imm = I & 0xFFF;
        Form = kMemImm;
        return true;
    }
    if (I & 0x800) {
        bool P = I & 0x400, U = I & 0x200, W = I & 0x100;
        O.Imm = U ? I & 0xFF : 0 - (I & 0xFF);
        if (P && U && !W) {
            Form = kMemUnpriv;
            return true;
        }
        if (!P && !W) return false;
        Form = !P ? kMemPost : W ? kMemPre : kMemImm;
        return true;
    }
    O.Rm = Reg(I, 0);
    O.Sub = uint8_t(Field(I, 5, 4));
    Form = kMemReg;
    return (I & 0x7C0) == 0;
}

} // namespace

void DecodeLoadStore32(const DecodeContext& X, uint32_t I, Op& O)
{
    if (Field(I, 28, 27) == 1) return LoadStoreMultiple(I, O);
    unsigned Size = Field(I, 22, 21);
    bool IsLoad = I >> 20 & 1, IsSigned = I >> 24 & 1;
    if (Size == 3 || (IsSigned && (!IsLoad || Size == 2))) return;
    O.Rn = Reg(I, 16);
    O.Rd = Reg(I, 12);
    MemForm Form;
    if (O.Rn == 15) {
        if (!IsLoad) return;
        uint32_t Base = (X.Pc + 4) & ~3u;
        O.Imm = I >> 23 & 1 ? Base + (I & 0xFFF) : Base - (I & 0xFFF);
        Form = kMemLit;
    } else if (!PickForm(I, O, Form)) {
        return;
    }
    if (O.Rd == 15) {
        if (IsLoad && Size < 2) {
            O.Fn = &OpNop; // PLD, PLI and memory hints
        } else if (IsLoad) {
            Finish(X, LdrPcHandler(Form), O, true);
        }
        return;
    }
    constexpr MemKind Loads[2][3] = {{kLdrb, kLdrh, kLdr}, {kLdrsb, kLdrsh, kLdr}};
    constexpr MemKind Stores[3] = {kStrb, kStrh, kStr};
    MemKind Kind = IsLoad ? Loads[IsSigned][Size] : Stores[Size];
    Finish(X, MemHandler(Kind, Form), O, IsLoad);
}

namespace {

void Exclusive(const DecodeContext& X, uint32_t I, Op& O)
{
    O.Rn = Reg(I, 16);
    O.Cycles = 2;
    if (!(I >> 23 & 1)) { // LDREX, STREX with offset, TT
        bool IsLoad = I >> 20 & 1;
        O.Imm = (I & 0xFF) * 4;
        O.Sub = 4;
        if (IsLoad) {
            O.Rd = Reg(I, 12);
            O.Fn = &OpLdrex;
        } else if (X.C.IsV8M && Reg(I, 12) == 15) {
            O.Rd = Reg(I, 8);
            O.Sub = uint8_t(Field(I, 6, 6)); // T; the A forms need the security extension
            if (!Field(I, 7, 7)) O.Fn = &OpTt;
        } else {
            O.Rs = Reg(I, 12);
            O.Rd = Reg(I, 8);
            O.Fn = &OpStrex;
        }
        return;
    }
    // Byte, half word and word forms; from ARMv8-M on also LDA, STL, LDAEX, STLEX.
    unsigned Op3 = Field(I, 7, 4);
    if ((Op3 & 3) == 3 || (Op3 < 12 && (Op3 & 12) == 0)) return;
    bool IsLoad = I >> 20 & 1, Acquire = Op3 & 8, IsExclusive = Op3 & 4;
    if (Acquire && !X.C.IsV8M) return;
    if (!Acquire && (Op3 & 3) == 2) return; // the word form has an offset instead
    O.Sub = uint8_t(1u << (Op3 & 3));
    O.Imm = 0;
    if (IsLoad) {
        O.Rd = Reg(I, 12);
        O.Aux = !IsExclusive;
        O.Fn = &OpLdrex;
    } else {
        O.Rs = Reg(I, 12);
        O.Rd = Reg(I, 0);
        O.Fn = IsExclusive ? &OpStrex : &OpStl;
    }
}

} // namespace

void DecodeDualExclusive(const DecodeContext& X, uint32_t I, Op& O)
{
    bool P = I >> 24 & 1, U = I >> 23 & 1, W = I >> 21 & 1, IsLoad = I >> 20 & 1;
    if (!P && !W) {
        if (IsLoad && U && Field(I, 7, 5) == 0) { // TBB, TBH
            O.Rn = Reg(I, 16);
            O.Rm = Reg(I, 0);
            O.Imm = X.Pc + 4;
            O.Sub = uint8_t(Field(I, 4, 4));
            O.Cycles = 2;
            O.Fn = &OpTableBranch;
            return;
        }
        return Exclusive(X, I, O);
    }
    if (I == 0xE97FE97F && X.C.IsV8M) { // SG does nothing without the security extension
        O.Fn = &OpNop;
        return;
    }
    O.Rd = Reg(I, 12);
    O.Rs = Reg(I, 8);
    O.Rn = Reg(I, 16);
    uint32_t Offset = (I & 0xFF) * 4;
    O.Imm = U ? Offset : 0 - Offset;
    O.Sub = uint8_t((P ? 1 : 0) | (W ? 2 : 0));
    O.Cycles = 3;
    if (O.Rn == 15) {
        if (!IsLoad || W) return;
        O.Imm += (X.Pc + 4) & ~3u;
        O.Sub = 4;
    }
    if (O.Rd == 15 || O.Rs == 15 || O.Rd == 13 || O.Rs == 13) return;
    O.Fn = IsLoad ? &OpLdrd : &OpStrd;
}

} // namespace Sim
