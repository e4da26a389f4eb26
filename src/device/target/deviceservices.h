// CDeviceServices: the streaming services of the probe: instruction trace, SWO, Memlane, high speed sampling (HSS) and
// power trace. What starts, stops and reads them, and what is allowed when; the windows above keep the data.
//
//   CDevice::Get().StartHSSAsync(NumRanges, aRanges, 1000, 0);   // GUI thread: every operation is a job
//   ...                                                          // OnDeviceStartHSSDone or ...Failed
//
// Unless a line says otherwise an operation runs on the device worker and answers 0 or -1, the reason being in the log
// or in an error slot of CDevice. The flags of what is started lie in CDevice::State.
#pragma once
#include "app/services/types.h"
#include "device/queue/devicetypes.h"

#include <mutex>
#include <utility>
#include <vector>

class CDevice;
struct DEVICE_STATE;

/// Registers the executors of the services. Main thread, once.
void DEVICE_RegisterServices();

/// Ranges that the Memlane control block may be searched in.
inline constexpr U32 MAX_MEMLANE_RANGES = 99;

class CDeviceServices {
public:
    static CDeviceServices& Get();

    // ---- Instruction trace -----------------------------------------------------------------------------
    int EnableSimpleInstTrace();  ///< marks it enabled; started at once when connected
    int DisableSimpleInstTrace(); ///< and stopped, when connected
    int StartSimpleInstTrace();   ///< negative on failure: -1, or the library's answer
    int StopSimpleInstTrace();
    int ApplySimpleInstTraceConfig();
    int FlushSimpleInstTraceBuffer(); ///< a restart that leaves it running or stopped as it was
    /// Number of instructions. pOutInfo takes *pOutNumTS time stamp records of the library, null for none.
    int ReadSimpleInstTrace(U32 NumInsts, U32* paPCs, void* pOutInfo, int* pOutNumTS);
    /// Number of counters written to both arrays, which have room for BufSize each. paAddrRanges: pairs of start and
    /// end. The totals are those of the last range.
    int ReadSimpleTraceInstStats(U32 nAddrRanges, const U32* paAddrRanges, U32 BufSize, U64* paFetchStat,
                                 U64* paSkipStat, U64* pOutTotalFetchCnt, U64* pOutTotalSkipCnt);
    void OnStartSimpleInstTraceFailed(); ///< the source counts as not there from now on

    // ---- SWO -------------------------------------------------------------------------------------------
    int StartSWOTrace(U32 CpuHz, U32 SWOHz, U32 PortMask); ///< 0 Hz: as measured, the first compatible one
    int StopSWOTrace(U32 PortMask);
    int ReadSWOTrace(U32 Port, U32 NumBytes, U8* paData);           ///< bytes read
    int GetCompatibleSWOSpeeds(U32 CpuHz, U32 NumItems, U32* paItems); ///< number of speeds

    // ---- Memlane ---------------------------------------------------------------------------------------
    int StartMemlane();
    int StopMemlane();
    int ReadMemlane(U32 BuffIdx, U32 NumBytes, U8* paData);        ///< bytes read
    int WriteMemlane(U32 BuffIdx, U32 NumBytes, const U8* paData); ///< bytes written, 0 on most failures
    int InitMemlaneCtrlBlockAddr();
    int InitMemlaneSearchRanges();
    /// One more range; the configuration counts them. False when all are in use. Any thread.
    bool AddMemlaneSearchRange(U32 Addr, U32 Size);
    void ForgetMemlaneSearchRanges(); ///< the configuration's count is the caller's; any thread

    // ---- Sampling --------------------------------------------------------------------------------------
    int StartHSS(U32 Cnt, const U32* paAddrRanges, int interval_us, int Flags);
    int StopHSS();
    int ReadHSS(U32 Cnt, U8* paData); ///< bytes read, 0 on failure
    /// The frequency in force in Hz, negative on failure.
    int StartPowerTrace(U32 ChannelMask, U32 FreqHz, U32 RefSelect, U32 EnableCond);
    int StopPowerTrace();
    int FlushPowerTrace();
    int ReadPowerTrace(U32 NumSamples, U64* paOutSamples); ///< samples read, 0 on failure

private:
    CDeviceServices() = default;

    CDevice& _Dev() const;
    DEVICE_STATE& _State() const;
    bool _IsSourceOffered() const;
    int _FailTrace(DEVICE_ERR_MSGS Slot, const char* sText);
    int _FailSWO(const char* sText);
    int _Warn(const char* sText, int Ret = -1);

    bool m_DelaysWereDefault = true; ///< the trace port's, when they were sent last
    std::vector<U64> m_aStat;        ///< work buffer of the trace statistics, only grows
    std::mutex m_RangeMutex;
    std::vector<std::pair<U32, U32>> m_aMemlaneRange; ///< address and size
};
