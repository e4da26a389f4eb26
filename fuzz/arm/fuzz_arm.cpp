// Feeds bytes to the Cortex-M core support plug-in as target memory, as a stack and as an ELF header.
// The first byte picks the core, the second the place of the frame that is unwound.
#include "core/plugin/coreplugin.h"
#include "platform/probe/bryllo.h"

#include <cstring>
#include <vector>

extern "C" int CORE_PLUGIN_GetAPI(CORE_PLUGIN_API* pAPI, uint32_t Size);
extern "C" int CORE_PLUGIN_SetAPI(const CORE_DEBUGGER_API* pAPI, uint32_t Size);

namespace {

constexpr uint64_t BASE = 0x1000;
const uint8_t* pMemory = nullptr;
size_t NumBytes = 0;

int ReadMem(uint64_t Addr, uint32_t Size, void* pBuffer) {
    if (Addr < BASE || Addr - BASE > NumBytes || NumBytes - (Addr - BASE) < Size) return -1;
    std::memcpy(pBuffer, pMemory + (Addr - BASE), Size);
    return 0;
}

int GetLabel(uint64_t, const char** psName, uint64_t* pAddr, uint64_t* pEnd) {
    *psName = "a_name_that_is_longer_than_the_buffers_of_frame_names_are_long_and_goes_on";
    *pAddr = BASE;
    *pEnd = BASE + NumBytes;
    return 1;
}

constexpr CORE_DEBUGGER_API DEBUGGER = {nullptr, GetLabel, ReadMem, nullptr, nullptr, nullptr, nullptr};

} // namespace

extern "C" {
int BRYLLOARM_ReadRegs(const U32* paRegIdx, U64* paValue, U8* paStatus, U32 NumRegs) {
    for (U32 i = 0; i < NumRegs; i++) paValue[i] = BASE + paRegIdx[i] * 4, paStatus[i] = 0;
    return 0;
}
int BRYLLOARM_WriteRegs(const U32*, const U64*, U8* paStatus, U32 NumRegs) {
    std::memset(paStatus, 0, NumRegs);
    return 0;
}
int BRYLLOARM_ReadCPReg(const char*, U64*) {
    return -1;
}
int BRYLLOARM_WriteCPReg(const char*, U64) {
    return -1;
}
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t Size) {
    static const int32_t aCore[] = {0x060000FF, 0x030000FF, 0x0E0000FF, 0x0E0200FF, 0x0E0300FF};
    if (Size < 4) return 0;
    CORE_PLUGIN_API API;
    CORE_PLUGIN_GetAPI(&API, sizeof API);
    CORE_PLUGIN_SetAPI(&DEBUGGER, sizeof DEBUGGER);
    CORE_CONFIG Config{};
    Config.CoreId = aCore[pData[0] % 5];
    Config.DataByteOrder = pData[0] >> 7;
    API.pfInit(&Config);
    pMemory = pData + 2;
    NumBytes = Size - 2 > 512 ? 512 : Size - 2;
    char acText[128];
    for (uint64_t Addr = BASE; Addr < BASE + NumBytes; Addr++) {
        CORE_INST_INFO Info;
        const bool IsInst = API.pfAnalyzeInst(Addr, &Info) == 0;
        if (IsInst && Info.Length != 2 && Info.Length != 4) __builtin_trap();
        if (IsInst != (API.pfDisassembleInst(Addr, 4, acText, 40) > 0)) __builtin_trap();
        API.pfGetInstMnemonic(Addr, 4, acText, 8);
        API.pfDisassembleData(Addr, static_cast<uint32_t>(Addr % 9), acText, 24);
    }
    std::vector<uint64_t> aValue(17, 0);
    std::vector<uint8_t> aStatus(17, 0);
    std::vector<CORE_LOC> aRule(17);
    aValue[13] = BASE + pData[1];
    aValue[14] = pData[1] & 1 ? 0xFFFFFFF9 : BASE;
    aValue[15] = BASE + (pData[1] & ~1u);
    const CORE_REG_SET Regs = {BASE, BASE + NumBytes, 17, 8, aValue.data(), aStatus.data(), aRule.data()};
    for (uint64_t Phase = 0; Phase < 2; Phase++) {
        CORE_UNWIND_REQUEST Request = {14, 17, Phase, aRule.data()};
        API.pfGetUnwindRules(&Regs, &Request);
        if (Request.RARegIdx >= 17) __builtin_trap();
    }
    API.pfGetFrameName(&Regs, acText, 64);
    API.pfGetCallFrameSize(BASE, 0);
    if (NumBytes >= 52) {
        uint32_t Data = 0;
        uint32_t Inst = 0;
        API.pfGetElfByteOrders(52, pMemory, &Data, &Inst);
        API.pfCheckElf(52, pMemory);
    }
    return 0;
}
