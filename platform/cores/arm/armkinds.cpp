// The cores that the plug-in knows. Register indexes are dense, so that no table behind them
// has holes: R0 to R15 and XPSR first, with the numbers that the debug information uses, then
// the special registers that the core has, then those of the FPU.
#include "armkinds.h"

#include "platform/probe/bryllo.h"

#include <iterator>

namespace {

constexpr uint32_t aSpecialV6M[] = {BRYLLO_REG_MSP, BRYLLO_REG_PSP, BRYLLO_REG_PRIMASK, BRYLLO_REG_CONTROL};
constexpr uint32_t aSpecialV7M[] = {BRYLLO_REG_MSP,     BRYLLO_REG_PSP,       BRYLLO_REG_PRIMASK,
                                    BRYLLO_REG_BASEPRI, BRYLLO_REG_FAULTMASK, BRYLLO_REG_CONTROL};
constexpr uint32_t aSpecialV8M[] = {BRYLLO_REG_MSP,       BRYLLO_REG_PSP,     BRYLLO_REG_PRIMASK, BRYLLO_REG_BASEPRI,
                                    BRYLLO_REG_FAULTMASK, BRYLLO_REG_CONTROL, BRYLLO_REG_MSPLIM,  BRYLLO_REG_PSPLIM};
constexpr uint32_t NUM_CORE_REGS = 17;
constexpr uint32_t NUM_FPU_REGS = 33;

constexpr uint32_t NUM_V6M = NUM_CORE_REGS + std::size(aSpecialV6M);
constexpr uint32_t NUM_V7M = NUM_CORE_REGS + std::size(aSpecialV7M);
constexpr uint32_t NUM_V7M_FPU = NUM_V7M + NUM_FPU_REGS;
constexpr uint32_t NUM_V8M_FPU = NUM_CORE_REGS + std::size(aSpecialV8M) + NUM_FPU_REGS;

// The first row of a family serves the ids of it that aren't listed.
constexpr ARM_KIND aKind[] = {
    {BRYLLO_CORE_CORTEX_M0, ARM_PROFILE_V6M, NUM_V6M, false, "Cortex-M0.svd"},
    {BRYLLO_CORE_CORTEX_M0P, ARM_PROFILE_V6M, NUM_V6M, false, "Cortex-M0.svd"},
    {BRYLLO_CORE_CORTEX_M3, ARM_PROFILE_V7M, NUM_V7M, false, "Cortex-M3.svd"},
    {BRYLLO_CORE_CORTEX_M4, ARM_PROFILE_V7EM, NUM_V7M, false, "Cortex-M4.svd"},
    {BRYLLO_CORE_CORTEX_M4F, ARM_PROFILE_V7EM, NUM_V7M_FPU, true, "Cortex-M4F.svd"},
    {BRYLLO_CORE_CORTEX_M7F, ARM_PROFILE_V7EM_DP, NUM_V7M_FPU, true, "Cortex-M7F.svd"},
    {BRYLLO_CORE_CORTEX_M33, ARM_PROFILE_V8M_MAIN, NUM_V8M_FPU, true, "Cortex-M33.svd"},
};

template <uint32_t COUNT> uint32_t GetUpperRegId(const uint32_t (&aSpecial)[COUNT], const ARM_KIND& Kind, uint32_t Idx) {
    if (Idx < COUNT) return aSpecial[Idx];
    Idx -= COUNT;
    if (!Kind.HasFPU) return 0xFFFFFFFFu;
    return Idx < 32 ? BRYLLO_REG_S0 + Idx : static_cast<uint32_t>(BRYLLO_REG_FPSCR);
}

} // namespace

const ARM_KIND* ARM_FindKind(int32_t CoreId) {
    const uint32_t Id = static_cast<uint32_t>(CoreId);
    for (const ARM_KIND& Kind : aKind) {
        if (Kind.CoreId == Id) return &Kind;
    }
    for (const ARM_KIND& Kind : aKind) {
        if ((Kind.CoreId >> 24) == (Id >> 24)) return &Kind;
    }
    return nullptr;
}

uint32_t ARM_GetRegId(const ARM_KIND& Kind, uint32_t RegIdx) {
    if (RegIdx >= Kind.NumRegs) return 0xFFFFFFFFu;
    if (RegIdx < NUM_CORE_REGS) return RegIdx;
    switch (Kind.Profile) {
    case ARM_PROFILE_V6M: return GetUpperRegId(aSpecialV6M, Kind, RegIdx - NUM_CORE_REGS);
    case ARM_PROFILE_V8M_MAIN: return GetUpperRegId(aSpecialV8M, Kind, RegIdx - NUM_CORE_REGS);
    default: return GetUpperRegId(aSpecialV7M, Kind, RegIdx - NUM_CORE_REGS);
    }
}
