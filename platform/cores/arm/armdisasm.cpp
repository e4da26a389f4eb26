// Decoding of one Thumb instruction to text.
#include "armdisasm.h"

#include "../common/llvmdecode.h"

#include <iterator>

extern "C" {
void LLVMInitializeARMTargetInfo();
void LLVMInitializeARMTargetMC();
void LLVMInitializeARMDisassembler();
}

namespace {

struct PROFILE_ROW {
    ARM_PROFILE Profile;
    LLVM_PROFILE Decoder;
};

constexpr PROFILE_ROW aProfile[] = {
    {ARM_PROFILE_V6M, {"thumbv6m-none-eabi", "cortex-m0", ""}},
    {ARM_PROFILE_V7M, {"thumbv7m-none-eabi", "cortex-m3", ""}},
    {ARM_PROFILE_V7EM, {"thumbv7em-none-eabi", "cortex-m4", ""}},
    {ARM_PROFILE_V7EM_DP, {"thumbv7em-none-eabi", "cortex-m7", ""}},
    {ARM_PROFILE_V8M_MAIN, {"thumbv8m.main-none-eabi", "cortex-m33", "+8msecext"}},
};
static_assert(std::size(aProfile) == ARM_NUM_PROFILES);
static_assert([] {
    for (uint32_t i = 0; i < ARM_NUM_PROFILES; i++) {
        if (aProfile[i].Profile != i) return false;
    }
    return true;
}());

} // namespace

void LLVMDEC_InitTargets() {
    LLVMInitializeARMTargetInfo();
    LLVMInitializeARMTargetMC();
    LLVMInitializeARMDisassembler();
}

int ARMDIS_Decode(ARM_PROFILE Profile, uint64_t Addr, const uint8_t* pBytes, uint32_t NumBytes, uint8_t ITState,
                  char* sText, uint32_t Size) {
    if (Profile >= ARM_NUM_PROFILES) return 0;
    // An IT instruction whose block has exactly this state puts the decoder into it.
    const uint8_t abIT[2] = {ITState, 0xBF};
    const bool IsInBlock = (ITState & 0x0F) != 0;
    return LLVMDEC_Decode(aProfile[Profile].Decoder, Addr, pBytes, NumBytes, IsInBlock ? abIT : nullptr, sizeof abIT, sText, Size);
}

void ARMDIS_Free() {
    LLVMDEC_Free();
}
