// Loads, stores, exclusive accesses and table branches.
#include "armexec.h"

#include <array>
#include <utility>

namespace Sim {

namespace {

template <MemKind Kind> constexpr unsigned AccessSize()
{
    return Kind == kLdr || Kind == kStr ? 4 : Kind == kLdrh || Kind == kLdrsh || Kind == kStrh ? 2 : 1;
}

template <MemKind Kind, bool Unpriv> bool LoadKind(ArmCore& C, uint32_t Addr, uint32_t& Value)
{
    constexpr unsigned Size = AccessSize<Kind>();
    bool Ok;
    if constexpr (Unpriv) {
        Ok = C.LoadSlow(Addr, Size, Value, kAccUnpriv);
    } else if constexpr (Size == 4) {
        Ok = C.Load<uint32_t>(Addr, Value);
    } else if constexpr (Size == 2) {
        Ok = C.Load<uint16_t>(Addr, Value);
    } else {
        Ok = C.Load<uint8_t>(Addr, Value);
    }
    if (!Ok) [[unlikely]]
        return false;
    if constexpr (Kind == kLdrsb) Value = uint32_t(int32_t(int8_t(Value)));
    if constexpr (Kind == kLdrsh) Value = uint32_t(int32_t(int16_t(Value)));
    return true;
}

template <MemKind Kind, bool Unpriv> bool StoreKind(ArmCore& C, uint32_t Addr, uint32_t Value)
{
    constexpr unsigned Size = AccessSize<Kind>();
    if constexpr (Unpriv) return C.StoreSlow(Addr, Size, Value, kAccUnpriv);
    if constexpr (Size == 4) return C.Store<uint32_t>(Addr, Value);
    if constexpr (Size == 2) return C.Store<uint16_t>(Addr, Value);
    return C.Store<uint8_t>(Addr, Value);
}

// The address accessed, and for the indexed forms the new base.
template <MemForm Form> uint32_t Address(const ArmCore& C, const Op& O, uint32_t& NewBase)
{
    if constexpr (Form == kMemLit) return O.Imm;
    uint32_t Base = C.R[O.Rn];
    if constexpr (Form == kMemReg) return Base + (C.R[O.Rm] << O.Sub);
    NewBase = Base + O.Imm;
    return Form == kMemPost ? Base : NewBase;
}

template <MemForm Form> constexpr bool kWritesBack = Form == kMemPre || Form == kMemPost;

template <MemKind Kind, MemForm Form> void Mem(ArmCore& C, const Op& O)
{
    uint32_t NewBase = 0;
    uint32_t Addr = Address<Form>(C, O, NewBase);
    if constexpr (kWritesBack<Form>)
        if (O.Rn == 13 && !C.SpAllowed(NewBase)) return;
    if constexpr (Kind >= kStr) {
        if (!StoreKind<Kind, Form == kMemUnpriv>(C, Addr, C.R[O.Rd])) [[unlikely]]
            return;
        if constexpr (kWritesBack<Form>) C.R[O.Rn] = NewBase;
    } else {
        uint32_t Value = 0;
        if (!LoadKind<Kind, Form == kMemUnpriv>(C, Addr, Value)) [[unlikely]]
            return;
        if constexpr (kWritesBack<Form>) C.R[O.Rn] = NewBase;
        C.R[O.Rd] = Value;
    }
}

template <MemForm Form> void LdrPc(ArmCore& C, const Op& O)
{
    uint32_t NewBase = 0, Value = 0;
    uint32_t Addr = Address<Form>(C, O, NewBase);
    if constexpr (kWritesBack<Form>)
        if (O.Rn == 13 && !C.SpAllowed(NewBase)) return;
    if (!C.AlignedWord(Addr) || !C.Load<uint32_t>(Addr, Value)) return;
    if constexpr (kWritesBack<Form>) C.R[O.Rn] = NewBase;
    C.BranchExchange(Value);
}

template <MemKind Kind, size_t... Forms>
constexpr std::array<Handler, kNumMemForms> MemRow(std::index_sequence<Forms...>)
{
    return {&Mem<Kind, MemForm(Forms)>...};
}
template <size_t... Kinds>
constexpr std::array<std::array<Handler, kNumMemForms>, kNumMemKinds> MemTable(std::index_sequence<Kinds...>)
{
    return {MemRow<MemKind(Kinds)>(std::make_index_sequence<kNumMemForms>{})...};
}

} // namespace

Handler MemHandler(MemKind Kind, MemForm Form)
{
    static constexpr auto Table = MemTable(std::make_index_sequence<kNumMemKinds>{});
    return Table[Kind][Form];
}

Handler LdrPcHandler(MemForm Form)
{
    constexpr Handler Table[kNumMemForms] = {&LdrPc<kMemImm>, &LdrPc<kMemPre>, &LdrPc<kMemPost>,
                                             &LdrPc<kMemReg>, &LdrPc<kMemLit>, &LdrPc<kMemImm>};
    return Table[Form];
}

void OpLdm(ArmCore& C, const Op& O)
{
    uint32_t Values[16];
    unsigned NumRegs = unsigned(__builtin_popcount(O.Aux));
    uint32_t Base = C.R[O.Rn];
    uint32_t NewBase = O.Imm & kMultiDown ? Base - 4 * NumRegs : Base + 4 * NumRegs;
    uint32_t Addr = O.Imm & kMultiDown ? NewBase : Base;
    if (O.Rn == 13 && (O.Imm & kMultiWriteback) && !C.SpAllowed(NewBase)) return;
    if (!C.AlignedWord(Addr)) return;
    for (unsigned i = 0; i < NumRegs; ++i)
        if (!C.Load<uint32_t>(Addr + 4 * i, Values[i])) return;
    if (O.Imm & kMultiWriteback) C.R[O.Rn] = NewBase;
    unsigned i = 0;
    for (uint32_t List = O.Aux & 0x7FFF; List; List &= List - 1) C.R[__builtin_ctz(List)] = Values[i++];
    if (O.Aux & 0x8000) C.BranchExchange(Values[i]);
}

void OpStm(ArmCore& C, const Op& O)
{
    unsigned NumRegs = unsigned(__builtin_popcount(O.Aux));
    uint32_t Base = C.R[O.Rn];
    uint32_t NewBase = O.Imm & kMultiDown ? Base - 4 * NumRegs : Base + 4 * NumRegs;
    uint32_t Addr = O.Imm & kMultiDown ? NewBase : Base;
    if (O.Rn == 13 && (O.Imm & kMultiWriteback) && !C.SpAllowed(NewBase)) return;
    if (!C.AlignedWord(Addr)) return;
    for (uint32_t List = O.Aux; List; List &= List - 1, Addr += 4)
        if (!C.Store<uint32_t>(Addr, C.R[__builtin_ctz(List)])) return;
    if (O.Imm & kMultiWriteback) C.R[O.Rn] = NewBase;
}

namespace {

bool DualAddress(ArmCore& C, const Op& O, uint32_t& Addr, uint32_t& NewBase)
{
    if (O.Sub & 4) {
        Addr = O.Imm;
        return C.AlignedWord(Addr);
    }
    NewBase = C.R[O.Rn] + O.Imm;
    Addr = O.Sub & 1 ? NewBase : C.R[O.Rn];
    if ((O.Sub & 2) && O.Rn == 13 && !C.SpAllowed(NewBase)) return false;
    return C.AlignedWord(Addr);
}

} // namespace

void OpLdrd(ArmCore& C, const Op& O)
{
    uint32_t Addr = 0, NewBase = 0, Low = 0, High = 0;
    if (!DualAddress(C, O, Addr, NewBase)) return;
    if (!C.Load<uint32_t>(Addr, Low) || !C.Load<uint32_t>(Addr + 4, High)) return;
    if (O.Sub & 2) C.R[O.Rn] = NewBase;
    C.R[O.Rd] = Low;
    C.R[O.Rs] = High;
}

void OpStrd(ArmCore& C, const Op& O)
{
    uint32_t Addr = 0, NewBase = 0;
    if (!DualAddress(C, O, Addr, NewBase)) return;
    if (!C.Store<uint32_t>(Addr, C.R[O.Rd]) || !C.Store<uint32_t>(Addr + 4, C.R[O.Rs])) return;
    if (O.Sub & 2) C.R[O.Rn] = NewBase;
}

namespace {

bool AlignedTo(ArmCore& C, uint32_t Addr, unsigned Size)
{
    if (!(Addr & (Size - 1))) return true;
    C.RaiseFault(FaultKind::Unaligned, Addr);
    return false;
}

bool LoadSized(ArmCore& C, uint32_t Addr, unsigned Size, uint32_t& Value)
{
    return Size == 4   ? C.Load<uint32_t>(Addr, Value)
           : Size == 2 ? C.Load<uint16_t>(Addr, Value)
                       : C.Load<uint8_t>(Addr, Value);
}

bool StoreSized(ArmCore& C, uint32_t Addr, unsigned Size, uint32_t Value)
{
    return Size == 4   ? C.Store<uint32_t>(Addr, Value)
           : Size == 2 ? C.Store<uint16_t>(Addr, Value)
                       : C.Store<uint8_t>(Addr, Value);
}

} // namespace

void OpLdrex(ArmCore& C, const Op& O)
{
    uint32_t Addr = C.R[O.Rn] + O.Imm, Value = 0;
    if (!AlignedTo(C, Addr, O.Sub) || !LoadSized(C, Addr, O.Sub, Value)) return;
    if (!O.Aux) {
        C.ExclActive = true;
        C.ExclAddr = Addr;
    }
    C.R[O.Rd] = Value;
}

void OpStrex(ArmCore& C, const Op& O)
{
    uint32_t Addr = C.R[O.Rn] + O.Imm;
    if (!AlignedTo(C, Addr, O.Sub)) return;
    bool Passed = C.ExclActive && C.ExclAddr == Addr;
    if (Passed && !StoreSized(C, Addr, O.Sub, C.R[O.Rs])) return;
    C.ExclActive = false;
    C.R[O.Rd] = Passed ? 0 : 1;
}

void OpStl(ArmCore& C, const Op& O)
{
    uint32_t Addr = C.R[O.Rn];
    if (AlignedTo(C, Addr, O.Sub)) StoreSized(C, Addr, O.Sub, C.R[O.Rs]);
}

void OpTableBranch(ArmCore& C, const Op& O)
{
    uint32_t Base = O.Rn == 15 ? O.Imm : C.R[O.Rn];
    uint32_t Value = 0;
    bool Ok =
        O.Sub ? C.Load<uint16_t>(Base + 2 * C.R[O.Rm], Value) : C.Load<uint8_t>(Base + C.R[O.Rm], Value);
    if (Ok) C.Branch(C.R[15] + 4 + 2 * Value);
}

} // namespace Sim
