// CDeviceEventListener: base of everything that wants to hear of the device.
//
//   class CMyWindow : public CDeviceEventListener {
//       void OnDeviceHaltDone(U32 NewPC, HALT_REASONS Reason) override { ... }
//   };
//
// An object is on the list of listeners from its constructor to its destructor. All operations
// are called on the GUI thread, in the order in which the listeners were made. Pointers that an
// operation is handed are good until it returns.
#pragma once
#include "device/queue/devicejob.h"
#include "device/queue/devicetypes.h"

struct ELF_SYM_LOC;

class CDeviceEventListener {
public:
    CDeviceEventListener();
    virtual ~CDeviceEventListener();
    CDeviceEventListener(const CDeviceEventListener&) = delete;
    CDeviceEventListener& operator=(const CDeviceEventListener&) = delete;

    /// The dispatcher: calls the operations below for a finished job, from the job table. Not overridden,
    /// except by the data manager's test doubles.
    virtual void OnDeviceJobDone(DEVICE_JOB* pJob);

    virtual void OnDeviceConnectDone(CONNECT_MODES) {}
    virtual void OnDeviceConnectFailed(CONNECT_MODES) {}
    /// Raised by the controller when the user calls a start off; no event raises it.
    virtual void OnDeviceConnectCanceled(CONNECT_MODES) {}
    virtual void OnDeviceDisconnectDone() {}
    virtual void OnDeviceDisconnectFailed() {}
    virtual void OnDeviceResumeDone(RESUME_MODES) {}
    virtual void OnDeviceResumeFailed(RESUME_MODES) {}
    virtual void OnDeviceHaltDone(U32 /*NewPC*/, HALT_REASONS) {}
    virtual void OnDeviceHaltFailed() {}
    virtual void OnDeviceResetDone(U32 /*NewPC*/, RESET_MODES) {}
    virtual void OnDeviceResetFailed(U32 /*NewPC*/, RESET_MODES) {}
    virtual void OnDeviceRunToSymbolDone(U32 /*NewPC*/) {}
    virtual void OnDeviceRunToSymbolFailed(U32 /*NewPC*/) {}
    virtual void OnDeviceStepInstDone(U32 /*NewPC*/) {}
    virtual void OnDeviceStepInstFailed(U32 /*NewPC*/) {}
    virtual void OnDeviceStepIntoDone(U32 /*NewPC*/) {}
    virtual void OnDeviceStepIntoFailed(U32 /*NewPC*/) {}
    virtual void OnDeviceStepOverDone(U32 /*NewPC*/) {}
    virtual void OnDeviceStepOverFailed(U32 /*NewPC*/) {}
    virtual void OnDeviceStepOutDone(U32 /*NewPC*/) {}
    virtual void OnDeviceStepOutFailed(U32 /*NewPC*/) {}
    /// After each of the four step jobs, whatever their outcome.
    virtual void OnDeviceStepped(U32 /*NewPC*/) {}
    virtual void OnDeviceEndDownloadDone(const char* /*sFilePath*/, DOWNLOAD_MODES) {}
    virtual void OnDeviceEndDownloadFailed(const char* /*sFilePath*/, DOWNLOAD_MODES, int /*BrylloErrCode*/) {}
    /// paStatus: one byte a data byte, 0 read, 1 not. sZone is null for the default zone.
    virtual void OnDeviceReadMemDone(U32 /*Addr*/, U32 /*nBytes*/, const char* /*sZone*/, U8* /*paData*/,
                                     U8* /*paStatus*/) {}
    virtual void OnDeviceReadMemFailed(U32 /*Addr*/, U32 /*nBytes*/, const char* /*sZone*/) {}
    virtual void OnDeviceWriteMemDone(U32 /*Addr*/, U32 /*nBytes*/, U8* /*paData*/) {}
    virtual void OnDeviceWriteMemFailed(U32 /*Addr*/, U32 /*nBytes*/, U8* /*paData*/) {}
    /// paAddrRanges: Cnt pairs of start and end address.
    virtual void OnDeviceWriteMemMultipleDone(U32 /*Cnt*/, U32* /*paAddrRanges*/, U8* /*paData*/) {}
    virtual void OnDeviceWriteMemMultipleFailed(U32 /*Cnt*/, U32* /*paAddrRanges*/, U8* /*paData*/) {}
    virtual void OnDeviceReadRegDone(U32 /*BrylloRegIdx*/, U64 /*RegValue*/) {}
    virtual void OnDeviceReadRegFailed(U32 /*BrylloRegIdx*/) {}
    virtual void OnDeviceReadCPRegDone(const char* /*sReg*/, U64 /*Value*/) {}
    virtual void OnDeviceReadCPRegFailed(const char* /*sReg*/) {}
    virtual void OnDeviceWriteRegDone(U32 /*BrylloRegIdx*/, U64 /*Value*/) {}
    virtual void OnDeviceWriteRegFailed(U32 /*BrylloRegIdx*/) {}
    virtual void OnDeviceWriteCPRegDone(const char* /*sReg*/, U64 /*Result*/) {}
    virtual void OnDeviceWriteCPRegFailed(const char* /*sReg*/) {}
    /// paRegStatus: 0 read, 1 not.
    virtual void OnDeviceReadRegsDone(U32 /*Cnt*/, U32* /*paBrylloRegIdxs*/, U64* /*paRegVals*/,
                                      U8* /*paRegStatus*/) {}
    virtual void OnDeviceReadRegsFailed(U32 /*Cnt*/, U32* /*paBrylloRegIdxs*/) {}
    /// Raised by the data manager, not by a job.
    virtual void OnDeviceReadLocDone(const ELF_SYM_LOC& /*Loc*/, U32 /*nBytes*/, const char* /*sZone*/,
                                     U8* /*paData*/) {}
    virtual void OnDeviceReadLocFailed(const ELF_SYM_LOC& /*Loc*/, U32 /*nBytes*/, const char* /*sZone*/,
                                       U8* /*paData*/) {}
    virtual void OnDeviceReadLocsDone(U32 /*Cnt*/, ELF_SYM_LOC* /*paLocs*/, U64* /*paValues*/, U8* /*paStatus*/,
                                      U32 /*Tag*/) {}
    virtual void OnDeviceReadLocsFailed(U32 /*Cnt*/, ELF_SYM_LOC* /*paLocs*/, U32 /*Tag*/) {}
    virtual void OnDeviceEnableInstTraceDone() {}
    virtual void OnDeviceEnableInstTraceFailed() {}
    virtual void OnDeviceDisableInstTraceDone() {}
    virtual void OnDeviceDisableInstTraceFailed() {}
    virtual void OnDeviceStartInstTraceDone() {}
    virtual void OnDeviceStartInstTraceFailed() {}
    virtual void OnDeviceStopInstTraceDone() {}
    virtual void OnDeviceStopInstTraceFailed() {}
    virtual void OnDeviceFlushInstTraceDone() {}
    virtual void OnDeviceFlushInstTraceFailed() {}
    /// Result: counters read; Result1, Result2: total of fetches and of skips.
    virtual void OnDeviceReadInstStatsDone(U32 /*nAddrRanges*/, U32* /*paAddrRanges*/, I64 /*Result*/,
                                           U64 /*Result1*/, U64 /*Result2*/, U64* /*paFetch*/, U64* /*paSkip*/) {}
    virtual void OnDeviceReadInstStatsFailed(U32 /*nAddrRanges*/, U32* /*paAddrRanges*/) {}
    /// NumRead instructions; IsLess: fewer than asked for; HasNew: new data since the last read; paInfo holds
    /// NumTS time stamp records of the probe library.
    virtual void OnDeviceReadInstTraceDone(U32 /*NumInsts*/, I64 /*NumRead*/, U64 /*IsLess*/, U64 /*HasNew*/,
                                           U32* /*paPCs*/, void* /*paInfo*/, U64 /*NumTS*/) {}
    virtual void OnDeviceReadInstTraceFailed(U32 /*NumInsts*/) {}
    virtual void OnDeviceStartSWODone(U32 /*CpuHz*/, U32 /*SWOHz*/, U32 /*PortMask*/) {}
    virtual void OnDeviceStartSWOFailed(U32 /*CpuHz*/, U32 /*SWOHz*/, U32 /*PortMask*/) {}
    virtual void OnDeviceStopSWODone(U32 /*PortMask*/) {}
    virtual void OnDeviceStopSWOFailed(U32 /*PortMask*/) {}
    virtual void OnDeviceReadSWODone(U32 /*Port*/, U32 /*NumBytes*/, I64 /*NumRead*/, U8* /*paData*/) {}
    virtual void OnDeviceReadSWOFailed(U32 /*Port*/, U32 /*NumBytes*/) {}
    virtual void OnDeviceSWOSpeedsDone(U32 /*CpuHZ*/, U32 /*NumItems*/, U32* /*paItems*/) {}
    virtual void OnDeviceSWOSpeedsFailed(U32 /*CpuHZ*/, U32 /*NumItems*/, U32* /*paItems*/) {}
    virtual void OnDeviceStartHSSDone(U32 /*Cnt*/, U32* /*paAddrRanges*/, int /*interval_us*/, int /*Flags*/) {}
    virtual void OnDeviceStartHSSFailed(U32 /*Cnt*/, U32* /*paAddrRanges*/, int /*interval_us*/, int /*Flags*/) {}
    virtual void OnDeviceStopHSSDone() {}
    virtual void OnDeviceStopHSSFailed() {}
    virtual void OnDeviceReadHSSDone(U32 /*Cnt*/, I64 /*NumRead*/, U8* /*paData*/) {}
    virtual void OnDeviceReadHSSFailed(U32 /*Cnt*/) {}
    /// Done: FreqHz is the frequency in force.
    virtual void OnDeviceStartPowerTraceDone(U32 /*ChannelMask*/, U32 /*FreqHz*/, U32 /*RefSelect*/,
                                             U32 /*EnableCond*/) {}
    virtual void OnDeviceStartPowerTraceFailed(U32 /*ChannelMask*/, U32 /*FreqHz*/, U32 /*RefSelect*/,
                                               U32 /*EnableCond*/) {}
    virtual void OnDeviceStopPowerTraceDone() {}
    virtual void OnDeviceStopPowerTraceFailed() {}
    virtual void OnDeviceReadPowerTraceDone(U32 /*NumSamples*/, I64 /*NumRead*/, U64* /*paOutSamples*/) {}
    virtual void OnDeviceReadPowerTraceFailed(U32 /*NumSamples*/) {}
    virtual void OnDeviceFlushPowerTraceDone() {}
    virtual void OnDeviceFlushPowerTraceFailed() {}
    virtual void OnDeviceStartMemlaneDone() {}
    virtual void OnDeviceStartMemlaneFailed() {}
    virtual void OnDeviceStopMemlaneDone() {}
    virtual void OnDeviceStopMemlaneFailed() {}
    virtual void OnDeviceWriteMemlaneDone(U32 /*BuffIdx*/, U32 /*NumBytes*/, U8* /*paData*/) {}
    virtual void OnDeviceWriteMemlaneFailed(U32 /*BuffIdx*/, U32 /*NumBytes*/, U32 /*NumWritten*/,
                                            U8* /*paData*/) {}
    virtual void OnDeviceReadMemlaneDone(U32 /*BuffIdx*/, U32 /*NumBytes*/, I64 /*NumRead*/, U8* /*paData*/) {}
    virtual void OnDeviceReadMemlaneFailed(U32 /*BuffIdx*/, U32 /*NumBytes*/) {}
    virtual void OnDeviceSetSHInputDone(U32 /*StrLen*/, const char* /*sInputText*/) {}
    virtual void OnDeviceSetSHInputFailed(U32 /*StrLen*/, const char* /*sInputText*/) {}
    virtual void OnDeviceSetBPDone(U32 /*Addr*/) {}
    virtual void OnDeviceSetBPFailed(U32 /*Addr*/) {}
    virtual void OnDeviceSetBPsDone(U32 /*Cnt*/, U32* /*paAddrs*/) {}
    virtual void OnDeviceSetBPsFailed(U32 /*Cnt*/, U32* /*paAddrs*/) {}
    virtual void OnDeviceClearBPDone(U32 /*Addr*/) {}
    virtual void OnDeviceClearBPFailed(U32 /*Addr*/) {}
    virtual void OnDeviceClearBPsDone(U32 /*Cnt*/, U32* /*paAddrs*/) {}
    virtual void OnDeviceClearBPsFailed(U32 /*Cnt*/, U32* /*paAddrs*/) {}
    virtual void OnDeviceClearAllBPsDone() {}
    virtual void OnDeviceClearAllBPsFailed() {}
    virtual void OnDeviceResetBPsDone() {}
    virtual void OnDeviceResetBPsFailed() {}
    virtual void OnDeviceSetWPsDone(U32 /*Cnt*/, WP* /*paWatchpoints*/) {}
    virtual void OnDeviceSetWPsFailed(U32 /*Cnt*/, WP* /*paWatchpoints*/) {}
    virtual void OnDeviceClearWPsDone(U32 /*Cnt*/, WP* /*paWatchpoints*/) {}
    virtual void OnDeviceClearWPsFailed(U32 /*Cnt*/, WP* /*paWatchpoints*/) {}
    virtual void OnDeviceClearAllWPsDone() {}
    virtual void OnDeviceClearAllWPsFailed() {}
    virtual void OnDeviceConfigureDone(const char* /*sXmlConfigStr*/) {}
    virtual void OnDeviceConfigureFailed(const char* /*sXmlConfigStr*/) {}
    virtual void OnDeviceSetConfigStrDone(DEV_CONFIG_PARAMS, const char* /*sValue*/) {}
    virtual void OnDeviceSetConfigIntDone(DEV_CONFIG_PARAMS, int /*Value*/) {}
    virtual void OnDeviceSetConfigStrFailed(DEV_CONFIG_PARAMS, const char* /*sValue*/) {}
    virtual void OnDeviceSetConfigIntFailed(DEV_CONFIG_PARAMS, int /*Value*/) {}
    virtual void OnDeviceExecCmdDone(const char* /*sBrylloCmd*/) {}
    virtual void OnDeviceExecCmdFailed(const char* /*sBrylloCmd*/, const char* /*sAnswer*/) {}
    virtual void OnDeviceSetTargetExecStateDone(U64 /*PC*/, U64 /*SP*/) {}
    virtual void OnDeviceSetTargetExecStateFailed(U64 /*PC*/, U64 /*SP*/) {}
    virtual void OnDeviceResetTargetExecStateDone() {}
    virtual void OnDeviceResetTargetExecStateFailed() {}
    virtual void OnDeviceGetInfoDone(const char* /*sDeviceName*/, U32 /*Core*/) {}
    virtual void OnDeviceGetInfoFailed(const char* /*sDeviceName*/) {}
    virtual void OnDeviceMeasureSpeedDone(I64 /*Hz*/) {}
    virtual void OnDeviceMeasureSpeedFailed() {}
    virtual void OnDeviceEvalBPCondition(U32 /*Addr*/) {}
    virtual void OnDeviceConfigParamChanged(int /*ParamID*/, int /*Value*/) {}
    virtual void OnDeviceCapabilityChanged(int /*FlagIdx*/, int /*Value*/) {}
    virtual void OnDeviceConnectionLost() {}
    virtual void OnDeviceAboutToDisconnect() {}
    virtual void OnDeviceAboutToStep() {}
    virtual void OnDeviceAboutToResume(RESUME_MODES) {}
    virtual void OnDeviceCPUModeChanged(U32 /*NewMode*/) {}
    virtual void OnDeviceExecModeChanged(U32 /*NewMode*/) {}
    virtual void OnDeviceEndianessChanged(int /*DataEndian*/, int /*InstEndian*/) {}
    virtual void OnDeviceLogMsg(const char* /*sMsg*/, U32 /*MSG_FLAGS*/) {}
    virtual void OnDeviceSetStatusMsg(const char* /*sMsg*/) {}
    virtual void OnDeviceSetProgressMsg(const char* /*sMsg*/) {}
    virtual void OnDeviceStartProgress(int /*Min*/, int /*Max*/) {}
    virtual void OnDeviceEndProgress() {}
    virtual void OnDeviceSetProgressValue(int /*Value*/) {}
    virtual void OnDeviceWPStateChanged() {}
    virtual void OnDeviceBPStateChanged() {}
    virtual void OnDeviceTPStateChanged() {}
    virtual void OnDeviceWriteAccess() {}
};

/// Calls Op on every listener, in list order. GUI thread.
template <class OP> void DEVICE_ForEachListener(OP&& Op);

namespace DeviceListeners {
/// A place in the list. Nodes are never freed: a listener that goes empties its node, so that a
/// delivery under way can go on, and the next listener takes the first empty one.
struct NODE {
    CDeviceEventListener* pListener = nullptr;
    NODE* pNext = nullptr;
};
NODE* First();
} // namespace DeviceListeners

template <class OP> void DEVICE_ForEachListener(OP&& Op)
{
    for (auto* pNode = DeviceListeners::First(); pNode; pNode = pNode->pNext)
        if (pNode->pListener) Op(*pNode->pListener);
}
