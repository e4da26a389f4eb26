// Backend of the IP host interface. It finds out whether a GDB server answers at the address; a
// session with one is not offered, and Open says so.
#pragma once
#include "platform/probe/core/backend.h"
#include "platform/probe/core/probelog.h"

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
    void Close() override {}
    int Connect(const Probe::CConnectParams&) override { return BRYLLO_ERR_NOT_OPEN; }
    bool IsConnected() const override { return false; }
    void Reconfigure(const Probe::CConnectParams&) override {}
    U32 GetSerialNo() const override { return 0; }
    std::string GetFirmware() const override { return "GDB server"; }
    U32 GetMaxSpeed() const override { return 15000; }
    unsigned GetNumCores(const std::string&) const override { return 0; }
    int GetBMA() const override { return 0; }
    int GetEndian() const override { return BRYLLO_ERR_NOT_OPEN; }
    int GetMemZones(BRYLLO_MEM_ZONE*, int) const override { return BRYLLO_ERR_NOT_OPEN; }
    int IsHalted() override { return BRYLLO_ERR_NOT_OPEN; }
    int Halt() override { return BRYLLO_ERR_NOT_OPEN; }
    int Go(bool) override { return BRYLLO_ERR_NOT_OPEN; }
    int Step() override { return BRYLLO_ERR_NOT_OPEN; }
    int Reset() override { return BRYLLO_ERR_NOT_OPEN; }
    int MeasureClock(U32) override { return BRYLLO_ERR_NOT_OPEN; }
    void EnableSoftBPs(bool) override {}
    int FindBP(U32) const override { return 0; }
    int SetBP(U32, U32) override { return 0; }
    int ClrBP(U32) override { return BRYLLO_ERR_NOT_OPEN; }
    int GetBPInfo(int, BRYLLOARM_BP_INFO*) const override { return BRYLLO_ERR_NOT_OPEN; }
    int SetDataEvent(const BRYLLOARM_DATA_EVENT&, U32*) override { return INT32_MIN; }
    int ClrDataEvent(U32) override { return BRYLLO_ERR_NOT_OPEN; }
    int GetWPInfo(int, BRYLLOARM_WP_INFO*) const override { return BRYLLO_ERR_NOT_OPEN; }
    int ReadMem(const Probe::CMemAccess&, U8*, U8*) override { return BRYLLO_ERR_NOT_OPEN; }
    int WriteMem(const Probe::CMemAccess&, const U8*) override { return BRYLLO_ERR_NOT_OPEN; }
    int BeginDownload() override { return BRYLLO_ERR_NOT_OPEN; }
    int EndDownload() override { return BRYLLO_ERR_UNSPECIFIED; }
    int ReadRegs(const U32*, U64*, U8*, U32) override { return BRYLLO_ERR_NOT_OPEN; }
    int WriteRegs(const U32*, const U64*, U8*, U32) override { return BRYLLO_ERR_NOT_OPEN; }
    int ReadCPReg(const std::string&, U64*) override { return BRYLLO_ERR_NOT_OPEN; }
    int WriteCPReg(const std::string&, U64) override { return BRYLLO_ERR_NOT_OPEN; }
    bool ExecCommand(const std::string&, const std::string&, int&, std::string&) override { return false; }

private:
    Probe::CProbeLog& m_Log;
    std::string m_Host;
    int m_Port = DEFAULT_PORT;
};

} // namespace Remote
