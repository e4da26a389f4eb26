/* A core support plug-in with one fault, which the environment variable CORE_TEST_FAULT names, and with
   exports left out by the macros NO_GETAPI and NO_NAMES. */
#include "core/plugin/coreplugin.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define EXPORT __attribute__((visibility("default")))

static const char* GetFault(void) {
    const char* s = getenv("CORE_TEST_FAULT");
    return s ? s : "";
}

static int IsFault(const char* sName) {
    return strcmp(GetFault(), sName) == 0;
}

static int Init(const CORE_CONFIG* pConfig) {
    (void)pConfig;
    return IsFault("init") ? 42 : 0;
}

static int Reconfigure(const CORE_CONFIG* pConfig) {
    (void)pConfig;
    return IsFault("reconfigure") ? 7 : IsFault("kept") ? 1 : 0;
}

static int GetStaticInfo(CORE_STATIC_INFO* pInfo, uint32_t Size) {
    if (Size != sizeof *pInfo || IsFault("info")) return -1;
    memset(pInfo, 0, sizeof *pInfo);
    pInfo->DataWordSize = 4;
    pInfo->NumRegs = IsFault("regcount") ? 0 : 20;
    pInfo->RegSize = IsFault("regsize") ? 0 : IsFault("regsize9") ? 9 : 4;
    pInfo->PCSize = IsFault("pcsize") ? 9 : 4;
    pInfo->SPSize = IsFault("spsize") ? 9 : 4;
    pInfo->InstAlignment = IsFault("align") ? 0 : 2;
    pInfo->MinInstLen = IsFault("minlen") ? 0 : IsFault("minabovemax") ? 5 : 2;
    pInfo->MaxInstLen = 4;
    pInfo->MaxMnemonicLen = IsFault("mnemonic") ? 0 : 10;
    pInfo->NumExtraRegs = 31;
    pInfo->MaxUnwindRegIdx = IsFault("unwind") ? 20 : 16;
    pInfo->SPRegIdx = IsFault("sp") ? 20 : 13;
    pInfo->LRRegIdx = IsFault("lr") ? 20 : 14;
    pInfo->PCRegIdx = IsFault("pc") ? 20 : 15;
    pInfo->RARegIdx = IsFault("ra") ? 20 : 14;
    pInfo->CFARegIdx = IsFault("cfa") ? 20 : 13;
    return 0;
}

static int GetCPUModeName(uint32_t Mode, char* pBuffer, uint32_t Size) {
    (void)Mode;
    memset(pBuffer, 'x', Size); /* no terminator */
    return 0;
}

/* An answer to a stop, which the environment variable CORE_TEST_SEMIHOST holds: answer, operation, parameter. */
static int HandleSemihosting(uint64_t Addr, uint32_t* pOpCode, uint64_t* pParam) {
    const char* s = getenv("CORE_TEST_SEMIHOST");
    unsigned Param = 0;
    int Answer = 0;
    (void)Addr;
    if (s) sscanf(s, "%d %u %x", &Answer, pOpCode, &Param);
    *pParam = Param;
    return Answer;
}

static int FinishSemihosting(int64_t Result, int64_t Result2) {
    char ac[32];
    if (Result != Result2) return -1;
    snprintf(ac, sizeof ac, "%lld", (long long)Result);
    setenv("CORE_TEST_FINISHED", ac, 1);
    return 0;
}

static int InitSemihosting(const char* sConfig) {
    setenv("CORE_TEST_CONFIG", sConfig, 1);
    return IsFault("semihosting");
}

static int DeinitSemihosting(void) {
    setenv("CORE_TEST_CONFIG", "off", 1);
    return 0;
}

static int GetPeriphRegFile(int32_t CoreId, char* pBuffer, uint32_t Size) {
    return snprintf(pBuffer, Size, "Core%X.svd", (unsigned)CoreId) < 0;
}

static int GetEventBody(uint32_t EventId, char* pBuffer, uint32_t Size) {
    return EventId != 4 || snprintf(pBuffer, Size, "  Exec.Reset();\n") < 0;
}

#ifndef NO_GETAPI
EXPORT int CORE_PLUGIN_GetAPI(CORE_PLUGIN_API* pAPI, uint32_t Size) {
    if (Size != 320 || IsFault("getapi")) return -1;
    if (!IsFault("noinit")) pAPI->pfInit = Init;
    if (!IsFault("noreconfigure")) pAPI->pfReconfigure = Reconfigure;
    if (!IsFault("noinfo")) pAPI->pfGetStaticInfo = GetStaticInfo;
    pAPI->pfGetCPUModeName = GetCPUModeName;
    pAPI->pfGetPeriphRegFile = GetPeriphRegFile;
    pAPI->pfGetEventBody = GetEventBody;
    if (!IsFault("noinitsemihosting")) pAPI->pfInitSemihosting = InitSemihosting;
    pAPI->pfDeinitSemihosting = DeinitSemihosting;
    if (!IsFault("nosemihosting")) pAPI->pfHandleSemihosting = HandleSemihosting;
    pAPI->pfFinishSemihosting = FinishSemihosting;
    return 0;
}
#endif

EXPORT int CORE_PLUGIN_SetAPI(const CORE_DEBUGGER_API* pAPI, uint32_t Size) {
    (void)pAPI;
    return Size != 56 || IsFault("setapi");
}

#ifndef NO_NAMES
EXPORT uint32_t CORE_PLUGIN_GetVersion(void) {
    return 1;
}

EXPORT const char* CORE_PLUGIN_GetName(void) {
    return "faulty";
}
#endif
