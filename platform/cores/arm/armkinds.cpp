// The cores that the plug-in knows. A register has the same index everywhere: in the debug information
// (R0 to R15), in the register description files and in the probe library. What a core doesn't
// have leaves a hole in its indexes.
#include "armkinds.h"

#include "platform/probe/bryllo.h"


namespace {

constexpr uint32_t NO_REG = 0xFFFFFFFFu;
constexpr uint32_t NUM_REGS = BRYLLO_REG_CONTROL + 1;
constexpr uint32_t NUM_REGS_FPU = BRYLLO_REG_FPSCR + 1;

// The first row of a family serves the ids of it that aren't listed.
constexpr ARM_KIND aKind[] = {
    {BRYLLO_CORE_CORTEX_M0, ARM_PROFILE_V6M, NUM_REGS, false, "Cortex-M0.svd"},
    {BRYLLO_CORE_CORTEX_M0P, ARM_PROFILE_V6M, NUM_REGS, false, "Cortex-M0.svd"},
    {BRYLLO_CORE_CORTEX_M3, ARM_PROFILE_V7M, NUM_REGS, false, "Cortex-M3.svd"},
    {BRYLLO_CORE_CORTEX_M4, ARM_PROFILE_V7EM, NUM_REGS, false, "Cortex-M4.svd"},
    {BRYLLO_CORE_CORTEX_M4F, ARM_PROFILE_V7EM, NUM_REGS_FPU, true, "Cortex-M4F.svd"},
    {BRYLLO_CORE_CORTEX_M7F, ARM_PROFILE_V7EM_DP, NUM_REGS_FPU, true, "Cortex-M7F.svd"},
    {BRYLLO_CORE_CORTEX_M33, ARM_PROFILE_V8M_MAIN, NUM_REGS_FPU, true, "Cortex-M33.svd"},
};

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
    if (RegIdx >= Kind.NumRegs) return NO_REG;
    switch (RegIdx) {
    case BRYLLO_REG_BASEPRI:
    case BRYLLO_REG_FAULTMASK: return Kind.Profile == ARM_PROFILE_V6M ? NO_REG : RegIdx;
    case BRYLLO_REG_MSPLIM:
    case BRYLLO_REG_PSPLIM: return Kind.Profile == ARM_PROFILE_V8M_MAIN ? RegIdx : NO_REG;
    default: break;
    }
    return RegIdx > BRYLLO_REG_PSPLIM && RegIdx < BRYLLO_REG_S0 ? NO_REG : RegIdx;
}
