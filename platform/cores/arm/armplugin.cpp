// The plug-in's table and its configuration.
#include "armplugin.h"

#include "../common/coreexports.h"
#include "../common/coretext.h"

#include <atomic>

namespace {

constexpr const char* PLUGIN_NAME = "Arm Cortex-M core support";
constexpr int32_t FIRST_CORE_ID = 0x030000FF;
constexpr int ERR_UNKNOWN_CORE = -2;

// The kind is replaced by Reconfigure while the other thread may decode; rows live for ever.
std::atomic<const ARM_KIND*> pKind{nullptr};
std::atomic<bool> IsBigEndian{false};

int Configure(const CORE_CONFIG* pConfig) {
    const ARM_KIND* pNewKind = pConfig ? ARM_FindKind(pConfig->CoreId) : nullptr;
    if (!pNewKind) return ERR_UNKNOWN_CORE;
    pKind = pNewKind;
    IsBigEndian = pConfig->DataByteOrder == 1;
    return 0;
}

int Deinit() {
    pKind = nullptr;
    ARMDIS_Free();
    return 0;
}

int GetStaticInfo(CORE_STATIC_INFO* pInfo, uint32_t Size) {
    if (!pInfo || Size < sizeof *pInfo) return -1;
    *pInfo = CORE_STATIC_INFO{};
    pInfo->DataWordSize = 4;
    pInfo->NumRegs = ARM_GetKind().NumRegs;
    pInfo->RegSize = 4;
    pInfo->PCSize = 4;
    pInfo->SPSize = 4;
    pInfo->InstAlignment = 2;
    pInfo->MinInstLen = 2;
    pInfo->MaxInstLen = 4;
    pInfo->MaxMnemonicLen = 10;
    pInfo->NumExtraRegs = 66; // register numbers of the probe library go to 65
    pInfo->MaxUnwindRegIdx = 16;
    pInfo->SPRegIdx = 13;
    pInfo->LRRegIdx = 14;
    pInfo->PCRegIdx = 15;
    pInfo->RARegIdx = 14;
    pInfo->CFARegIdx = 13; // the CFA is the caller's stack pointer
    return 0;
}

constexpr CORE_PLUGIN_API MakeTable() {
    CORE_PLUGIN_API API{};
    API.pfInit = Configure;
    API.pfDeinit = Deinit;
    API.pfReconfigure = Configure;
    API.pfReadReg = COREREGS_Read;
    API.pfReadRegs = COREREGS_ReadAll;
    API.pfWriteReg = COREREGS_Write;
    API.pfReadCPReg = COREREGS_ReadNamed;
    API.pfWriteCPReg = COREREGS_WriteNamed;
    API.pfGetStaticInfo = GetStaticInfo;
    API.pfGetCPUMode = ARM_GetCPUMode;
    API.pfGetExecMode = ARM_GetExecMode;
    API.pfGetBPMode = ARM_GetBPMode;
    API.pfGetUnwindRules = ARM_GetUnwindRules;
    API.pfAnalyzeInst = ARM_AnalyzeInst;
    API.pfGetRegId = ARM_GetRegIdOfIndex;
    API.pfGetCPUModeName = ARM_GetCPUModeName;
    API.pfGetExecModeName = ARM_GetExecModeName;
    API.pfGetCPURegFile = ARM_GetCPURegFile;
    API.pfGetFrameName = ARM_GetFrameName;
    API.pfGetInstMnemonic = ARM_GetInstMnemonic;
    API.pfDisassembleInst = ARM_DisassembleInst;
    API.pfGetDataMnemonic = ARM_GetDataMnemonic;
    API.pfDisassembleData = ARM_DisassembleData;
    API.pfGetMapSymPrefix = ARM_GetMapSymPrefix;
    API.pfParseMapSym = ARM_ParseMapSym;
    API.pfGetElfByteOrders = ARM_GetElfByteOrders;
    API.pfGetCallFrameSize = ARM_GetCallFrameSize;
    API.pfSetResetState = ARM_SetResetState;
    API.pfInitSemihosting = ARM_InitSemihosting;
    API.pfDeinitSemihosting = ARM_DeinitSemihosting;
    API.pfHandleSemihosting = ARM_HandleSemihosting;
    API.pfFinishSemihosting = ARM_FinishSemihosting;
    API.pfGetEventBody = ARM_GetEventBody;
    API.pfCheckElf = ARM_CheckElf;
    return API;
}

} // namespace

const CORE_DEBUGGER_API& ARM_GetDebugger() {
    return COREEXP_GetDebugger();
}

const ARM_KIND& ARM_GetKind() {
    const ARM_KIND* pCurrent = pKind;
    return pCurrent ? *pCurrent : *ARM_FindKind(FIRST_CORE_ID);
}

bool ARM_IsDataBigEndian() {
    return IsBigEndian;
}

int ARM_CopyText(const char* sText, char* pBuffer, uint32_t Size) {
    return CORETEXT_Copy(sText, pBuffer, Size);
}

const CORE_PLUGIN_API& COREEXP_GetTable() {
    static constexpr CORE_PLUGIN_API Table = MakeTable();
    return Table;
}

const char* COREEXP_GetName() {
    return PLUGIN_NAME;
}
