// The simulated probes: three on the USB, each with a board of its own. A board is made when a
// device is first connected to and lives, running or not, until another device is chosen or the
// process ends. One thread runs the CPUs of all boards.
#pragma once
#include "platform/probe/core/backend.h"
#include "platform/probe/core/faults.h"
#include "platform/probe/core/probelog.h"
#include "platform/probe/core/ticketlock.h"
#include "platform/probe/sim/board.h"
#include "platform/probe/sim/debugunit.h"

#include <array>
#include <condition_variable>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace Sim {

class CSimBackend : public Probe::CBackend {
public:
    CSimBackend(Probe::CTicketLock& Lock, Probe::CProbeLog& Log, Probe::CFaults& Faults);
    ~CSimBackend() override;
    /// Ends the threads of all simulators; nothing runs any more afterwards.
    static void StopAll();

    /// Chooses a probe by serial number, 0: the first. False: none has that number.
    bool Select(U32 SerialNo);

    std::string Open() override { return {}; }
    void Close() override;
    int Connect(const Probe::CConnectParams& Params) override;
    bool IsConnected() const override { return m_Connected && Board().IsPowered(); }
    void Reconfigure(const Probe::CConnectParams& Params) override;
    U32 GetSerialNo() const override;
    std::string GetFirmware() const override;
    U32 GetMaxSpeed() const override { return 15000; }
    unsigned GetNumCores(const std::string& Device) const override;
    bool HasSWO() const override { return m_Caps.SWO; }
    bool HasStreamingTrace() const override { return m_Caps.Trace; }
    int GetBMA() const override;
    int GetEndian() const override;
    U32 GetWebPort() const override { return m_Caps.WebPort; }
    int GetMemZones(BRYLLO_MEM_ZONE* paZones, int MaxZones) const override;

    int IsHalted() override;
    int Halt() override;
    int Go(bool StepOverBP) override;
    int Step() override;
    int Reset() override;
    int MeasureClock(U32 RAMAddr) override;

    void EnableSoftBPs(bool Enable) override { m_Debug.EnableFlashBPs(Enable); }
    int FindBP(U32 Addr) const override { return m_Debug.Find(Addr); }
    int SetBP(U32 Addr, U32 TypeWord) override;
    int ClrBP(U32 Handle) override { return m_Debug.Clear(Handle); }
    int GetBPInfo(int Index, BRYLLOARM_BP_INFO* pInfo) const override
    {
        return m_Debug.GetInfo(Index, pInfo);
    }
    int SetDataEvent(const BRYLLOARM_DATA_EVENT& Event, U32* pHandle) override
    {
        return m_Debug.SetEvent(Event, pHandle);
    }
    int ClrDataEvent(U32 Handle) override { return m_Debug.ClearEvent(Handle); }
    int GetWPInfo(int Index, BRYLLOARM_WP_INFO* pInfo) const override
    {
        return m_Debug.GetEventInfo(Index, pInfo);
    }

    int ReadMem(const Probe::CMemAccess& Access, U8* pData, U8* paStatus) override;
    int WriteMem(const Probe::CMemAccess& Access, const U8* pData) override;
    int BeginDownload() override;
    int EndDownload() override;

    int ReadRegs(const U32* paIdx, U64* paValue, U8* paStatus, U32 NumRegs) override;
    int WriteRegs(const U32* paIdx, const U64* paValue, U8* paStatus, U32 NumRegs) override;
    int ReadCPReg(const std::string& Name, U64* pValue) override;
    int WriteCPReg(const std::string& Name, U64 Value) override;

    bool ExecCommand(const std::string& Name, const std::string& Args, int& Result,
                     std::string& Answer) override;

private:
    /// What a tester has set in place of the device's own properties; for every board.
    struct CCaps {
        std::optional<U8> BMA;
        std::optional<unsigned> NumBPUnits;
        std::optional<unsigned> NumDataUnits;
        bool SWO = false;
        bool Trace = false;
        U32 WebPort = 0;
    };

    CBoard& Board() const { return *m_Boards[m_Probe]; }
    bool HasBoard() const { return m_Boards[m_Probe] != nullptr; }
    CBoard::ECoreState State() const { return Board().GetState(m_Core); }
    bool IsRunning() const { return State() != CBoard::ECoreState::Halted; }
    void ApplyUnits();
    void WakeRunner();
    void RunLoop();
    /// 0, or why memory cannot be reached now.
    int CheckAccess(const char* sZone) const;
    bool ReadOne(U32 Addr, unsigned NumBytes, U8* pData);
    bool WriteOne(U32 Addr, unsigned NumBytes, const U8* pData);
    bool ExecSimCommand(const std::string& Name, const std::string& Args, int& Result, std::string& Answer);
    bool ExecPortCommand(const std::string& Name, const std::string& Args, int& Result, std::string& Answer);
    bool ExecBoardCommand(const std::string& Name, const std::string& Args, int& Result, std::string& Answer);

    Probe::CTicketLock& m_Lock;
    Probe::CProbeLog& m_Log;
    Probe::CFaults& m_Faults;
    std::array<std::unique_ptr<CBoard>, 3> m_Boards;
    std::size_t m_Probe = 0;
    bool m_Connected = false;
    unsigned m_Core = 0;
    CDebugUnit m_Debug;
    CCaps m_Caps;
    bool m_MaskInterrupts = false; // while stepping
    U32 m_SpeedLimit = 1;          // as CBoard::SetSpeedLimit()
    unsigned m_SectorCostMS = 0;   // time that erasing and programming a sector takes
    bool m_Programming = false;    // EndDownload is waiting out that time, without the lock

    std::thread m_Runner;
    std::condition_variable_any m_Wake;
    bool m_Quit = false;
};

} // namespace Sim
