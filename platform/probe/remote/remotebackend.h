// Backend of the IP host interface: a target behind a GDB server (an emulator, or a probe's server program). What the
// server doesn't offer fails; nothing pretends. The target can't be looked at while it runs: most servers stop it for
// any byte that arrives.
#pragma once
#include "platform/probe/core/backend.h"
#include "platform/probe/core/probelog.h"
#include "platform/probe/remote/rspclient.h"
#include "platform/probe/remote/targetdesc.h"

#include <map>
#include <vector>

namespace Remote {

/// Port used when an address names none.
constexpr int DEFAULT_PORT = 3333;

class CRemoteBackend : public Probe::CBackend {
public:
    explicit CRemoteBackend(Probe::CProbeLog& Log);
    /// Takes "host", "host:port", "[v6 address]:port" or a host and a port above 0. False: no
    /// host name or a bad port.
    bool Select(const std::string& Host, int Port);

    std::string Open() override;
    void Close() override;
    int Connect(const Probe::CConnectParams& Params) override;
    bool IsConnected() const override { return m_Connected && m_Client.IsOpen(); }
    void Reconfigure(const Probe::CConnectParams& Params) override { m_BigEndian = Params.BigEndian; }
    U32 GetSerialNo() const override { return 0; }
    std::string GetFirmware() const override;
    U32 GetMaxSpeed() const override { return 15000; }
    unsigned GetNumCores(const std::string&) const override { return 0; }
    int GetBMA() const override { return 0; }
    int GetEndian() const override { return m_BigEndian ? 2 : 0; }
    int GetMemZones(BRYLLO_MEM_ZONE*, int) const override { return 0; }
    int IsHalted() override;
    int Halt() override;
    int Go(bool StepOverBP) override;
    int Step() override;
    int Reset() override;
    int MeasureClock(U32) override { return BRYLLO_ERR_NO_SERVICE; }
    void EnableSoftBPs(bool) override {} // where breakpoints may lie is the server's
    int FindBP(U32 Addr) const override;
    int SetBP(U32 Addr, U32 TypeWord) override;
    int ClrBP(U32 Handle) override;
    int GetBPInfo(int Index, BRYLLOARM_BP_INFO* pInfo) const override;
    int SetDataEvent(const BRYLLOARM_DATA_EVENT& Event, U32* pHandle) override;
    int ClrDataEvent(U32 Handle) override;
    int GetWPInfo(int Index, BRYLLOARM_WP_INFO* pInfo) const override;
    int ReadMem(const Probe::CMemAccess& Access, U8* pData, U8* paStatus) override;
    int WriteMem(const Probe::CMemAccess& Access, const U8* pData) override;
    int BeginDownload() override;
    int EndDownload() override;
    int ReadRegs(const U32* paIdx, U64* paValue, U8* paStatus, U32 NumRegs) override;
    int WriteRegs(const U32* paIdx, const U64* paValue, U8* paStatus, U32 NumRegs) override;
    int ReadCPReg(const std::string& Name, U64* pValue) override;
    int WriteCPReg(const std::string& Name, U64 Value) override;
    bool ExecCommand(const std::string& Name, const std::string& Args, int& Result, std::string& Answer) override;

private:
    struct CBreakpoint {
        U32 Handle;
        U32 Addr;
        U32 TypeWord;
        char Kind; // '0' software, '1' hardware
    };
    struct CEvent {
        U32 Handle;
        BRYLLOARM_DATA_EVENT Event;
        std::string Packet; // ",address,length" behind the letter
        char Kind;          // '2' write, '3' read, '4' either
    };

    /// 0, or why the target can't be asked now.
    int CheckHalted() const;
    void OnStopped();
    bool StepOnce();
    /// Stops a running target for as long as Op takes.
    template <class OP> int WhileHalted(OP Op);
    bool Insert(const CBreakpoint& Bp, bool On);
    bool ResetByCommand();
    bool ResetByRegister();

    const CRemoteReg* FindReg(const std::string& Name) const;
    std::optional<U64> ReadReg(const CRemoteReg& Reg);
    bool WriteReg(const CRemoteReg& Reg, U64 Value);
    std::optional<U64> ReadByIndex(U32 Index);
    bool WriteByIndex(U32 Index, U64 Value);
    bool EnterThumbState();

    U32 ReadBlock(U32 Addr, U32 NumBytes, U8* pData);
    bool ReadBytes(U32 Addr, U32 NumBytes, U8* pData);
    bool WriteBytes(U32 Addr, U32 NumBytes, const U8* pData);
    const CFlashRegion* FindFlash(U32 Addr) const;
    int ProgramBlock(const CFlashRegion& Region, U32 BlockAddr);

    Probe::CProbeLog& m_Log;
    CRspClient m_Client;
    std::string m_Host;
    int m_Port = DEFAULT_PORT;
    bool m_Connected = false;
    bool m_BigEndian = false;
    bool m_Running = false;
    bool m_BinaryWrites = false;
    std::string m_ResetCommand; // the one that this server has understood
    std::vector<CRemoteReg> m_Regs;
    std::map<U32, U64> m_RegCache; // by the server's number, of the present halt
    std::vector<CFlashRegion> m_Flash;
    bool m_Downloading = false;
    std::map<U32, U8> m_Collected; // bytes for flash, by address
    U32 m_NextHandle = 1;
    std::vector<CBreakpoint> m_Breakpoints;
    std::vector<CEvent> m_Events;
};

} // namespace Remote
