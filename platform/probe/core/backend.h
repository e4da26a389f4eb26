// What a backend of the library offers: the simulated probe or the client of a GDB server. All
// calls come under the library's lock. Failures are the BRYLLO_ERR_... of the C interface. The
// services that a backend lacks keep the answers of this class.
#pragma once
#include "platform/probe/bryllo.h"

#include <string>

namespace Probe {

/// Set-up collected by the configuring operations, in force from Connect().
struct CConnectParams {
    std::string Device;
    int TargetInterface = BRYLLO_TIF_JTAG;
    U32 SpeedKHz = BRYLLO_SPEED_AUTO;
    unsigned CoreIndex = 0;
    bool BigEndian = false;
    int IRPre = -1;
    int DRPre = -1;
};

/// One request for memory, item by item.
struct CMemAccess {
    U32 Addr = 0;
    U32 NumItems = 0;
    unsigned ItemSize = 1;       // bytes: 1, 2, 4, 8
    const char* sZone = nullptr; // null or "": the plain address space
};

class CBackend {
public:
    virtual ~CBackend() = default;

    /// Empty when ok, else the error text.
    virtual std::string Open() = 0;
    virtual void Close() = 0;
    virtual int Connect(const CConnectParams& Params) = 0;
    virtual bool IsConnected() const = 0;
    /// The set-up changed while connected (endianness; speed needs nothing here).
    virtual void Reconfigure(const CConnectParams& Params) = 0;
    virtual U32 GetSerialNo() const = 0;
    virtual std::string GetFirmware() const = 0;
    /// Highest interface speed in kHz.
    virtual U32 GetMaxSpeed() const = 0;
    /// Number of cores of a device; 0 when unknown.
    virtual unsigned GetNumCores(const std::string& Device) const = 0;

    virtual bool HasSWO() const { return false; }
    virtual bool HasStreamingTrace() const { return false; }
    virtual int GetBMA() const = 0; // 0, 1, 2 as function pointer 10
    virtual int GetEndian() const = 0;
    virtual U32 GetWebPort() const { return 0; }
    virtual int GetMemZones(BRYLLO_MEM_ZONE* paZones, int MaxZones) const = 0;

    virtual int IsHalted() = 0;
    virtual int Halt() = 0;
    virtual int Go(bool StepOverBP) = 0;
    virtual int Step() = 0;
    virtual int Reset() = 0;
    virtual int MeasureClock(U32 RAMAddr) = 0;

    virtual void EnableSoftBPs(bool Enable) = 0;
    virtual int FindBP(U32 Addr) const = 0;
    virtual int SetBP(U32 Addr, U32 TypeWord) = 0;
    virtual int ClrBP(U32 Handle) = 0;
    virtual int GetBPInfo(int Index, BRYLLOARM_BP_INFO* pInfo) const = 0;
    virtual int SetDataEvent(const BRYLLOARM_DATA_EVENT& Event, U32* pHandle) = 0;
    virtual int ClrDataEvent(U32 Handle) = 0;
    virtual int GetWPInfo(int Index, BRYLLOARM_WP_INFO* pInfo) const = 0;

    /// Items read, counted as BRYLLOARM_ReadMemU8() does; paStatus may be null.
    virtual int ReadMem(const CMemAccess& Access, U8* pData, U8* paStatus) = 0;
    /// Items written up to the first failure; negative when there are none.
    virtual int WriteMem(const CMemAccess& Access, const U8* pData) = 0;
    virtual int BeginDownload() = 0;
    virtual int EndDownload() = 0;

    virtual int ReadRegs(const U32* paIdx, U64* paValue, U8* paStatus, U32 NumRegs) = 0;
    virtual int WriteRegs(const U32* paIdx, const U64* paValue, U8* paStatus, U32 NumRegs) = 0;
    virtual int ReadCPReg(const std::string& Name, U64* pValue) = 0;
    virtual int WriteCPReg(const std::string& Name, U64 Value) = 0;

    virtual int SWOControl(U32, U32*) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int SWOEnable(U32, U32, int, U32) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int SWODisable(U32) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int SWORead(int, U8*, U32) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int SWOSpeeds(U32, U32, U32*, U32) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int MemlaneControl(U32) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int MemlaneRead(U32, void*, U32) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int MemlaneWrite(U32, const void*, U32) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int HSSStart(const BRYLLO_HSS_MEM_BLOCK*, int, int, int) { return BRYLLO_HSS_ERR_NO_SERVICE; }
    virtual int HSSStop() { return BRYLLO_ERR_NO_SERVICE; }
    virtual int HSSRead(void*, U32) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int PowerControl(U32, const void*, void*) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int PowerRead(U64*, U32) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int TraceConfig(const std::string&) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int TraceStart() { return BRYLLO_ERR_NO_SERVICE; }
    virtual int TraceStop() { return BRYLLO_ERR_NO_SERVICE; }
    virtual int TraceRead(U32*, U32, BRYLLO_STRACE_TIMESTAMP_INFO*, int*) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int TraceControl(U32, void*) { return BRYLLO_ERR_NO_SERVICE; }
    virtual int TraceStats(U64*, U32, U32) { return BRYLLO_ERR_NO_SERVICE; }

    /// A command that the library itself does not know. False: the backend neither. Otherwise
    /// Result is negative with an error text in Answer, or 0 and above with a value or nothing.
    virtual bool ExecCommand(const std::string& Name, const std::string& Args, int& Result,
                             std::string& Answer) = 0;
};

} // namespace Probe
