// What the core support plug-in knows, one question a function.
#include "core/host/corecalls.h"
#include "core/host/corehost.h"
#include "core/host/coreload.h"

#include <utility>

namespace {

/// Calls a table entry, or gives the neutral result if the entry is null.
template <typename RESULT, typename FUNC, typename... ARGS> RESULT Call(RESULT Neutral, FUNC pfFunc, ARGS&&... Args) {
    return pfFunc ? static_cast<RESULT>(pfFunc(std::forward<ARGS>(Args)...)) : Neutral;
}

/// Text of a function that fills a buffer and gives 0; empty on failure.
template <size_t SIZE, typename FUNC, typename... ARGS> QString CallText(FUNC pfFunc, ARGS&&... Args) {
    if (!pfFunc) return QString();
    QByteArray aBuffer(static_cast<qsizetype>(SIZE), '\0');
    if (pfFunc(std::forward<ARGS>(Args)..., aBuffer.data(), static_cast<U32>(SIZE)) != 0) return QString();
    aBuffer[aBuffer.size() - 1] = '\0'; // a plug-in that fills the whole buffer must not run us over its end
    return QString::fromUtf8(aBuffer.constData());
}

template <typename FUNC> int CallItemText(FUNC pfFunc, U64 Addr, U32 Length, char* pBuffer, U32 Size) {
    if (!pBuffer || Size == 0) return -1;
    pBuffer[0] = '\0';
    if (!pfFunc) return -1;
    const int Result = pfFunc(Addr, Length, pBuffer, Size);
    pBuffer[Size - 1] = '\0';
    if (Result <= 0) pBuffer[0] = '\0';
    return Result;
}

const CORE_PLUGIN_API& API() {
    return Core_GetPluginAPI();
}

} // namespace

int Core_ReadReg(U32 RegId, U64* pValue) {
    *pValue = 0;
    return Call(-1, API().pfReadReg, RegId, 8u, pValue) == 0 ? 0 : -1;
}

int Core_WriteReg(U32 RegId, U64 Value) {
    return Call(-1, API().pfWriteReg, RegId, 8u, &Value) == 0 ? 0 : -1;
}

int Core_ReadRegs(U32 NumRegs, const U32* paRegId, U64* paValue, U8* paStatus) {
    return Call(-1, API().pfReadRegs, NumRegs, paRegId, NumRegs * 8, paValue, paStatus) == 0 ? 0 : -1;
}

int Core_ReadCPReg(const char* sName, U64* pValue) {
    *pValue = 0;
    return Call(0, API().pfReadCPReg, sName, 8u, pValue) == 0 ? 0 : -1;
}

int Core_WriteCPReg(const char* sName, U64 Value) {
    return Call(0, API().pfWriteCPReg, sName, 8u, &Value) == 0 ? 0 : -1;
}

U32 Core_GetRegId(U32 RegIdx) {
    return Call(0xFFFFFFFFu, API().pfGetRegId, RegIdx);
}

U32 Core_GetPCRegId() {
    return Core_IsLoaded() ? Core_GetRegId(Core_GetStaticInfo().PCRegIdx) : 0xFFFFFFFFu;
}

U32 Core_GetSPRegId() {
    return Core_IsLoaded() ? Core_GetRegId(Core_GetStaticInfo().SPRegIdx) : 0xFFFFFFFFu;
}

U32 Core_GetCPUMode() {
    U32 Mode = 0;
    return Call(-1, API().pfGetCPUMode, &Mode) == 0 ? Mode : 0;
}

U32 Core_GetExecMode() {
    U32 Mode = 0;
    return Call(-1, API().pfGetExecMode, &Mode) == 0 ? Mode : 0;
}

QString Core_GetCPUModeName(U32 Mode) {
    return CallText<CORE_NAME_SIZE>(API().pfGetCPUModeName, Mode);
}

QString Core_GetExecModeName(U32 Mode) {
    return CallText<CORE_NAME_SIZE>(API().pfGetExecModeName, Mode);
}

U32 Core_GetBPMode(U64 Addr) {
    return Call(0u, API().pfGetBPMode, Addr);
}

int Core_AnalyzeInst(U64 Addr, CORE_INST_INFO* pInfo) {
    *pInfo = CORE_INST_INFO{};
    const int Result = Call(-1, API().pfAnalyzeInst, Addr, pInfo);
    if (Result >= 0) return 0;
    *pInfo = CORE_INST_INFO{};
    return Result;
}

int Core_GetInstMnemonic(U64 Addr, U32 Length, char* pBuffer, U32 Size) {
    return CallItemText(API().pfGetInstMnemonic, Addr, Length, pBuffer, Size);
}

int Core_DisassembleInst(U64 Addr, U32 Length, char* pBuffer, U32 Size) {
    return CallItemText(API().pfDisassembleInst, Addr, Length, pBuffer, Size);
}

int Core_GetDataMnemonic(U64 Addr, U32 Length, char* pBuffer, U32 Size) {
    return CallItemText(API().pfGetDataMnemonic, Addr, Length, pBuffer, Size);
}

int Core_DisassembleData(U64 Addr, U32 Length, char* pBuffer, U32 Size) {
    return CallItemText(API().pfDisassembleData, Addr, Length, pBuffer, Size);
}

QByteArray Core_GetMapSymPrefix() {
    return CallText<CORE_MAPSYM_PREFIX_SIZE>(API().pfGetMapSymPrefix).toUtf8();
}

int Core_ParseMapSym(const char* sName, U32* pKind) {
    char acText[CORE_NAME_SIZE] = {};
    *pKind = 0;
    return Call(-1, API().pfParseMapSym, sName, pKind, acText, static_cast<U32>(sizeof acText)) == 0 ? 0 : -1;
}

int Core_GetElfByteOrders(const void* pHeader, U32* pDataByteOrder, U32* pInstByteOrder) {
    const U32 Size = CORE_ELF_HEADER_SIZE;
    return Call(-1, API().pfGetElfByteOrders, Size, pHeader, pDataByteOrder, pInstByteOrder) == 0 ? 0 : -1;
}

bool Core_CanRunElf(const void* pHeader) {
    const U32 Size = CORE_ELF_HEADER_SIZE;
    return Call(1, API().pfCheckElf, Size, pHeader) != 0;
}

int Core_GetCallFrameSize(U64 Addr) {
    return Call(-1, API().pfGetCallFrameSize, Addr, 0u);
}

int Core_GetUnwindRules(const CORE_REG_SET* pRegSet, CORE_UNWIND_REQUEST* pRequest) {
    return Call(0, API().pfGetUnwindRules, pRegSet, pRequest);
}

QString Core_GetFrameName(const CORE_REG_SET* pRegSet) {
    return CallText<CORE_NAME_SIZE>(API().pfGetFrameName, pRegSet);
}

QString Core_GetCPURegFile(int CoreId) {
    return CallText<CORE_PATH_SIZE>(API().pfGetCPURegFile, CoreId);
}

QString Core_GetPeriphRegFile(int CoreId) {
    return CallText<CORE_PATH_SIZE>(API().pfGetPeriphRegFile, CoreId);
}

int Core_OnTargetConnected() {
    return Call(0, API().pfOnTargetConnected);
}

int Core_OnTargetDisconnect() {
    return Call(0, API().pfOnTargetDisconnect);
}

int Core_SetResetState() {
    return Call(0, API().pfSetResetState);
}

int Core_OnTargetHalted() {
    return Call(0, API().pfOnTargetHalted);
}

int Core_OnTargetResume() {
    return Call(0, API().pfOnTargetResume);
}

QString Core_GetEventBody(U32 EventId) {
    return CallText<CORE_EVENT_BODY_SIZE>(API().pfGetEventBody, EventId);
}

bool Core_HasSemihosting() {
    return API().pfHandleSemihosting != nullptr;
}

bool Core_HasInitSemihosting() {
    return API().pfInitSemihosting != nullptr;
}

int Core_InitSemihosting(const char* sConfig) {
    return Call(0, API().pfInitSemihosting, sConfig);
}

int Core_DeinitSemihosting() {
    return Call(0, API().pfDeinitSemihosting);
}

int Core_HandleSemihosting(U64 Addr, U32* pOpCode, U64* pParam) {
    return Call(static_cast<int>(CORE_SEMIHOST_NO), API().pfHandleSemihosting, Addr, pOpCode, pParam);
}

int Core_FinishSemihosting(I64 Result) {
    return Call(0, API().pfFinishSemihosting, Result, Result);
}
