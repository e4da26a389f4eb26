// CDeviceTarget: the operations that jobs stand for. Everything that touches the probe library for the
// session, run control, breakpoints, registers and memory.
//
//   DEVICE_RegisterTarget();              // once at start, before the first CDevice::Get()
//   ...
//   BP Bp = CDeviceTarget::Get().GetBreakpoint(PC);          // any thread
//   CDevice::Get().SetBreakpointAsync(Addr, BP_STATE_ON, BP_TYPE_ANY);
//
// Unless a line says otherwise an operation runs on the device worker and answers 0 or -1. Those that write
// the target reach it through jobs only. State lies in CDevice::State.
#pragma once
#include "device/queue/device.h"
#include "device/target/bplists.h"
#include "device/target/deviceconfig.h"
#include "device/target/deviceinfo.h"
#include "device/target/targethooks.h"

#include <QMap>
#include <chrono>

struct ELF_SYM_LOC;

/// Sets the hooks of CDevice and registers the executors of this layer. Main thread, once.
void DEVICE_RegisterTarget();

class CDeviceTarget {
public:
    static CDeviceTarget& Get();

    CDeviceConfig Config; ///< read on any thread
    CDeviceLists Lists;   ///< read on any thread
    DEVICE_INFO GetInfo() const; ///< any thread

    // ---- Session ---------------------------------------------------------------------------------------
    int Connect(CONNECT_MODES Mode);
    int ConnectSimple();
    int FinishConnect(CONNECT_MODES Mode);
    int Disconnect();
    void ResetState();
    /// From now on halts are reported; a target that is halted is reported at once. Any thread.
    void StartDebugSession();

    int Configure(const char* sXmlConfigStr);
    int ResetConfig();
    int SetConfigParam(DEV_CONFIG_PARAMS Id, int Value);
    int SetConfigParam(DEV_CONFIG_PARAMS Id, const char* sValue);
    /// Core id of a device by name; 0 or -1.
    int GetDeviceInfo(const char* sDeviceName, U32* pCore);
    QString GetCoreName(U32 CoreId) const; ///< any thread

    /// A text command of the library. The answer goes to sAnswer (may be null). 0, or the library's value.
    int ExecBrylloCmd(const char* sCmd, char* sAnswer, U32 AnswerSize, bool LogMsg);
    int ExecBrylloScript(const char* sFilePath);
    int SetSuppressDeviceSelectionDialog(bool Enabled);
    int TurnOnTargetPower();
    int MeasureCoreSpeed(); ///< Hz above 0, or -1

    // ---- Run control -----------------------------------------------------------------------------------
    int Reset(RESET_MODES Mode);
    int ResetHardware();
    int FinishReset(RESET_MODES Mode);
    int Continue();
    int Halt();
    int RunTo(U64 Addr); ///< 1 when the target was resumed
    /// Connected, halted, no hidden breakpoint; logs what is missing.
    bool IsReadyToStep();

    bool IsTargetHalted();
    /// 1 halted, 0 running or not connected, -1 connection lost, -2 too soon since the last query.
    int PollTargetHaltStatus(int MinQueryIntervalMS);
    void CheckHandleNotifications();
    void CheckHandleHalt();
    void CheckHandleSelfResume();
    /// Takes note of a target that runs without having been told to. TargetHaltState as PollTargetHaltStatus.
    void CheckHandleResume(int TargetHaltState);
    bool IsHaltedAtBreakpoint(U32 PC) const; ///< an enabled user breakpoint stands there
    void EvalBPCondAndContinueHaltSeq(U32 PC);
    void OnDeviceBPConditionEvaluated(U32 PC, bool CondMet);
    void CompleteSrcStepAndContHaltSeq(U32 PC);
    void OnHalted();
    void OnStepped();
    void OnInvalidHaltStatus();
    void TestConnectionLost();
    int SetTargetExecState(U64 PC, U64 SP); ///< 0, 0: read both
    /// The return address of the top frame, as the unwinder has found it; a step out runs there. Any thread.
    void SetReturnAddr(U64 Addr);
    int ResetTargetExecState();
    /// Takes the hidden breakpoint away and puts the list's record under it back. False when one stays.
    bool RemoveHiddenBreakpoint();
    /// The answer of the breakpoint logic to OnDeviceEvalBPCondition. GUI thread.
    void PostBPConditionResult(U32 PC, bool CondMet);
    /// What finishes a connect or a reset that a script function made. GUI thread.
    void RequestFinishConnect(CONNECT_MODES Mode);
    void RequestFinishReset(RESET_MODES Mode);

    // ---- Capabilities ----------------------------------------------------------------------------------
    void UpdateHWCapabilityFlags();
    void ResetHWCapabilityFlags();
    int ReadBMACapability();
    bool ReadSWOTraceCapability();
    bool ReadStreamingTraceCapability();
    bool IsBMAAvailable() const;   ///< any thread
    /// The CPU stands, for a read by the calling thread. Other threads than the worker go by what is published, and
    /// by the halt that is being evaluated, whose condition is read while it is not published yet. Any thread.
    bool IsStanding();
    bool CanAccessMemory();        ///< any thread
    /// The zone of an access: the given one, else the one for a running target; null for the default. The text
    /// lives until the next call on the same thread. Any thread.
    const char* GetAccessZone(const char* sZone) const;
    int UpdateTIFSpeed();
    int UpdateEndianess();
    int ApplyDataEndianess(ENDIAN Endian);
    int UpdateMemZones();
    int UpdateDeviceInfo();
    void UpdateBrylloFuncPtrs();
    void UpdateBrylloLibPath();
    void UpdateBrylloWebserverURL();
    int UpdateSupportedCoresList();
    int SelectHostIF();

    // ---- Breakpoints -----------------------------------------------------------------------------------
    int SetBreakpoint(U32 Addr, BP_STATES State, BP_TYPES Type);
    int SetBreakpoints(U32 Cnt, const U32* paAddrs, BP_STATES State, BP_TYPES Type); ///< number done
    int ClearBreakpoint(U32 Addr);
    int ClearBreakpoints(U32 Cnt, const U32* paAddrs); ///< number cleared
    int ClearAllBreakpoints();
    int ClearAllBreakpoints(BP_STATES State);          ///< number cleared
    int ClearBreakpointsBeforeFlashDL();
    int RestoreBreakpointsAfterFlashDL();
    int UpdateBPImplTypes();
    /// Copy of the record at an address; one made up for the hidden breakpoint; all zero when there is none. Any
    /// thread.
    BP GetBreakpoint(U32 Addr) const;

    int SetWatchpoint(WP Wp); ///< 0 or the library's negative code
    int SetWatchpoints(U32 Cnt, const WP* paWPs);
    int ClearWatchpoint(const WP& Wp);
    int ClearWatchpoints(U32 Cnt, const WP* paWPs);
    int ClearAllWatchpoints();
    int ClearAllWatchpoints(BP_STATES State);
    /// The error code of a data breakpoint in words; empty for a code without words. Any thread.
    static const char* GetWatchpointErrorText(U32 ErrorCode);

    int SetTracepoint(const TP& Tp);
    int SetTracepoints(U32 Cnt, const TP* paTps);
    int ClearTracepoint(const TP& Tp);
    int ClearTracepoints(U32 Cnt, const TP* paTps);
    int ClearAllTracepoints();
    int UpdateTraceEventsBryllo();

    // ---- Memory: the answer is a number of bytes; reads on any thread -----------------------------------
    int ValidateMemoryAccessParams(bool IsRead, U32 Addr, U32 nBytes, U32 AW, U32 Flags, const void* paData,
                                   const U8* paStatus);
    U32 ReadMem(U32 Addr, U32 nBytes, U32 ChunkSize, U32 AW, U32 Flags, const char* sZone, U8* paData, U8* paStatus);
    U32 ReadMemSimple(U32 Addr, U32 nBytes, U32 AW, U32 Flags, const char* sZone, U8* paData, U8* paStatus);
    U32 ReadMemItemWise(U32 Addr, U32 nBytes, U32 AW, U32 Flags, const char* sZone, U8* pData, U8* paStatus);
    U32 ReadMemChunkWise(U32 Addr, U32 nBytes, U32 ChunkSize, U32 AW, U32 Flags, const char* sZone, U8* pData,
                         U8* paStatus);
    /// For callers that need all bytes now: 0 or -1. Without a status buffer at most 5,000 bytes.
    int ReadMemBlocking(U32 Addr, const char* sZone, U32 nBytes, void* paData, U8* paStatus);
    // Numbers, in the target's byte order.
    int ReadByte(U32 Addr, U8* pOutByte);
    int ReadHalfWord(U32 Addr, U16* pOutHW);
    int ReadWord(U32 Addr, U32* pOutWord);
    int ReadInt(U32 Addr, U32 Size, void* pOutData); ///< Size 1, 2 or 4

    U32 WriteMem(U32 Addr, U32 nBytes, U32 ChunkSize, U32 AW, U32 Flags, const char* sZone, const U8* paData);
    U32 WriteMemSimple(U32 Addr, U32 nBytes, U32 AW, const char* sZone, const U8* paData);
    U32 WriteMemItemWise(U32 Addr, U32 nBytes, U32 AW, const char* sZone, const U8* pData);
    U32 WriteMemChunkWise(U32 Addr, U32 nBytes, U32 ChunkSize, U32 AW, U32 Flags, const char* sZone,
                          const U8* paData);
    U32 WriteMemMultiple(U32 Cnt, const U32* paAddrRanges, U32 NumBytes, const U8* paData, U32 ChunkSize, U32 AW,
                         U32 Flags, const char* sZone);
    int BeginDownload();
    int EndDownload(bool DoHalt); ///< 0, the library's negative code, or -1
    /// The words for a negative code of EndDownload. Any thread.
    static const char* GetDownloadErrorText(int Code);
    /// Bytes of one access of a bulk transfer, by the speed of the target interface. Any thread.
    U32 GetBulkChunkSize() const;

    // ---- Registers -------------------------------------------------------------------------------------
    int ReadReg(U32 BrylloRegIdx, U64* pOutRegVal); ///< any thread
    int WriteReg(U32 BrylloRegIdx, U64 RegValue);
    int ReadRegs(U32 Cnt, const U32* paBrylloRegIdxs, U64* paOutRegVals, U8* pOutRegStatus);
    int ReadCPReg(const char* sReg, U64* pOutValue);
    int WriteCPReg(const char* sReg, U64 Value);
    /// Count of values read, -1 for no input.
    int ReadLocs(U32 Cnt, const ELF_SYM_LOC* paDataLocs, U64* paOutVals, U8* pOutStatus);

private:
    CDeviceTarget() = default;
    using CLOCK = std::chrono::steady_clock;

    CDevice& _Dev() const { return CDevice::Get(); }
    DEVICE_STATE& _State() const { return CDevice::Get().State; }
    void _OnConfigChanged(U32 Id, int Value);
    int _SelectDevice(int Index);
    int _ApplySpeed();
    int _SetUpTargetIF();
    void _InstallLogHandlers();
    int _QueryHaltStatus();
    void _SetEndian(U32 Data, U32 Inst);
    void _RestoreListEntry(const BP& Saved);
    U32 _ReadOnce(U32 Addr, U32 nBytes, U32 AW, const char* sZone, U8* pData);
    U32 _WriteOnce(U32 Addr, U32 nBytes, U32 AW, const char* sZone, const U8* pData);
    bool _HaltBeforeMemoryIO(U32* pFlags);
    void _ResumeAfterMemoryIO(bool WasHaltedHere);
    U64 _AlignPC(U32 BrylloRegIdx, U64 Value) const;
    int _FindDataEvent(const WP& Wp, U32* pHandle);

    mutable std::mutex m_InfoMutex;
    DEVICE_INFO m_Info;
    void* m_pfReadEndian = nullptr; ///< functions that the library hands out by number; worker
    void* m_pfReadBMA = nullptr;
    void* m_pfReadServer = nullptr;
    CLOCK::time_point m_LastHaltQuery{}; ///< shared by IsTargetHalted and PollTargetHaltStatus; worker
    CShared<U8> m_HaltedForIO;           ///< a memory access holds the target; its halt is nobody's
    BP m_SavedBP{};                      ///< user's breakpoint under the hidden one
    BP m_aDownloadBP[BP_LIST_SIZE] = {}; ///< the list while a download programs flash
    U32 m_NumDownloadBPs = 0;
    bool m_DownloadOpen = false;         ///< between BeginDownload and EndDownload; worker
};
