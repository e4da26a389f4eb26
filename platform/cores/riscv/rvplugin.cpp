// The plug-in's table.
#include "rvplugin.h"

#include "../common/coreexports.h"
#include "../common/llvmdecode.h"

namespace {

constexpr const char* PLUGIN_NAME = "RISC-V RV32 core support";
constexpr uint32_t CORE_FAMILY = 19;
constexpr int ERR_UNKNOWN_CORE = -2;

int Configure(const CORE_CONFIG* pConfig) {
    if (!pConfig || static_cast<uint32_t>(pConfig->CoreId) >> 24 != CORE_FAMILY) return ERR_UNKNOWN_CORE;
    return pConfig->DataByteOrder == 0 && pConfig->InstByteOrder == 0 ? 0 : -1; // there are no big-endian ones
}

int Deinit() {
    LLVMDEC_Free();
    return 0;
}

int GetStaticInfo(CORE_STATIC_INFO* pInfo, uint32_t Size) {
    if (!pInfo || Size < sizeof *pInfo) return -1;
    *pInfo = CORE_STATIC_INFO{};
    pInfo->DataWordSize = 4;
    pInfo->NumRegs = RV_NUM_REGS;
    pInfo->RegSize = 4;
    pInfo->PCSize = 4;
    pInfo->SPSize = 4;
    pInfo->InstAlignment = 2;
    pInfo->MinInstLen = 2;
    pInfo->MaxInstLen = 4;
    pInfo->MaxMnemonicLen = 12;
    pInfo->NumExtraRegs = RV_NUM_REGS;
    pInfo->MaxUnwindRegIdx = RV_REG_PC;
    pInfo->SPRegIdx = RV_REG_SP;
    pInfo->LRRegIdx = RV_REG_RA;
    pInfo->PCRegIdx = RV_REG_PC;
    pInfo->RARegIdx = RV_REG_RA;
    pInfo->CFARegIdx = RV_REG_SP; // the CFA is the caller's stack pointer
    return 0;
}

constexpr CORE_PLUGIN_API MakeTable() {
    CORE_PLUGIN_API API{};
    API.pfInit = Configure;
    API.pfDeinit = Deinit;
    API.pfReconfigure = Configure;
    API.pfReadReg = COREREGS_Read;
    API.pfReadRegs = COREREGS_ReadAll;
    API.pfWriteReg = RV_WriteReg;
    API.pfReadCPReg = COREREGS_ReadNamed;
    API.pfWriteCPReg = COREREGS_WriteNamed;
    API.pfGetStaticInfo = GetStaticInfo;
    API.pfGetUnwindRules = RV_GetUnwindRules;
    API.pfAnalyzeInst = RV_AnalyzeInst;
    API.pfGetRegId = RV_GetRegIdOfIndex;
    API.pfGetCPURegFile = RV_GetCPURegFile;
    API.pfGetInstMnemonic = RV_GetInstMnemonic;
    API.pfDisassembleInst = RV_DisassembleInst;
    API.pfGetDataMnemonic = RV_GetDataMnemonic;
    API.pfDisassembleData = RV_DisassembleData;
    API.pfGetMapSymPrefix = RV_GetMapSymPrefix;
    API.pfParseMapSym = RV_ParseMapSym;
    API.pfGetElfByteOrders = RV_GetElfByteOrders;
    API.pfSetResetState = RV_SetResetState;
    API.pfInitSemihosting = RV_InitSemihosting;
    API.pfDeinitSemihosting = RV_DeinitSemihosting;
    API.pfHandleSemihosting = RV_HandleSemihosting;
    API.pfFinishSemihosting = RV_FinishSemihosting;
    API.pfCheckElf = RV_CheckElf;
    return API;
}

} // namespace

const CORE_DEBUGGER_API& RV_GetDebugger() {
    return COREEXP_GetDebugger();
}

const CORE_PLUGIN_API& COREEXP_GetTable() {
    static constexpr CORE_PLUGIN_API Table = MakeTable();
    return Table;
}

const char* COREEXP_GetName() {
    return PLUGIN_NAME;
}
