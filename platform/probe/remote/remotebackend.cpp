#include "platform/probe/remote/remotebackend.h"

#include "platform/probe/core/armregs.h"
#include "platform/probe/core/textargs.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>

namespace Remote {

namespace {

using Ms = CRspClient::Ms;

constexpr Ms STOP_LIMIT{3000}; // from the interrupt to the stop reply
constexpr U32 THUMB_BP_KIND = 2;
constexpr U32 DEMCR = 0xE000EDFC;
constexpr U32 DEMCR_VC_CORERESET = 1;
constexpr U32 AIRCR = 0xE000ED0C;
constexpr U32 AIRCR_SYSRESETREQ = 0x05FA0004;

std::string Format(const char* sFormat, U32 a, U32 b = 0)
{
    char ac[64];
    std::snprintf(ac, sizeof(ac), sFormat, a, b);
    return ac;
}

/// Name of a BRYLLO_REG_... in target descriptions; empty for an index that has none.
std::string NameOfIndex(U32 Index)
{
    switch (Index) {
    case BRYLLO_REG_SP: return "sp";
    case BRYLLO_REG_LR: return "lr";
    case BRYLLO_REG_PC: return "pc";
    case BRYLLO_REG_XPSR: return "xpsr";
    case BRYLLO_REG_MSP: return "msp";
    case BRYLLO_REG_PSP: return "psp";
    case BRYLLO_REG_PRIMASK: return "primask";
    case BRYLLO_REG_BASEPRI: return "basepri";
    case BRYLLO_REG_FAULTMASK: return "faultmask";
    case BRYLLO_REG_CONTROL: return "control";
    case BRYLLO_REG_MSPLIM: return "msplim";
    case BRYLLO_REG_PSPLIM: return "psplim";
    case BRYLLO_REG_FPSCR: return "fpscr";
    default:
        if (Index < BRYLLO_REG_SP) {
            return "r" + std::to_string(Index);
        }
        return Index >= BRYLLO_REG_S0 && Index < BRYLLO_REG_S0 + 32 ? "s" + std::to_string(Index - BRYLLO_REG_S0) : "";
    }
}

/// Addresses and sizes: the server's hex digits of a value come in the order of the target's memory.
std::string ValueToHex(U64 Value, unsigned NumBytes, bool BigEndian)
{
    U8 aBytes[8];
    for (unsigned i = 0; i < NumBytes; ++i) {
        aBytes[BigEndian ? NumBytes - 1 - i : i] = static_cast<U8>(Value >> 8 * i);
    }
    return ToHex(aBytes, NumBytes);
}

std::optional<U64> HexToValue(const std::string& Hex, unsigned NumBytes, bool BigEndian)
{
    U8 aBytes[8] = {};
    if (NumBytes > 8 || FromHex(Hex, aBytes, NumBytes) != NumBytes) {
        return std::nullopt;
    }
    U64 Value = 0;
    for (unsigned i = 0; i < NumBytes; ++i) {
        Value |= U64(aBytes[BigEndian ? NumBytes - 1 - i : i]) << 8 * i;
    }
    return Value;
}

} // namespace

CRemoteBackend::CRemoteBackend(Probe::CProbeLog& Log) : m_Log(Log), m_Client(Log) {}

bool CRemoteBackend::Select(const std::string& Host, int Port)
{
    std::string Name = Probe::Trim(Host);
    std::string PortText;
    const auto Bracket = Name.find(']');
    const auto Colon = Name.rfind(':');
    if (Name.starts_with('[') && Bracket != std::string::npos) {
        if (Bracket + 1 < Name.size()) {
            if (Name[Bracket + 1] != ':') {
                return false;
            }
            PortText = Name.substr(Bracket + 2);
        }
        Name = Name.substr(1, Bracket - 1);
    } else if (Colon != std::string::npos && Name.find(':') == Colon) {
        PortText = Name.substr(Colon + 1);
        Name.resize(Colon);
    }
    m_Port = Port > 0 ? Port : DEFAULT_PORT;
    if (!PortText.empty()) {
        const auto Number = Probe::ToU32(PortText);
        m_Port = Number && *Number <= 65535 ? int(*Number) : 0;
    }
    m_Host = Name;
    return !m_Host.empty() && m_Port > 0 && m_Port <= 65535;
}

// --- session ---------------------------------------------------------------------------------

std::string CRemoteBackend::Open()
{
    m_Log.Info("Looking for a GDB server at " + m_Host + ":" + std::to_string(m_Port));
    return m_Client.Open(m_Host, m_Port);
}

void CRemoteBackend::Close()
{
    // Closed without a farewell: a detach would let a halted target run.
    m_Client.Close();
    m_Connected = false;
    m_Running = false;
    m_Downloading = false;
    m_Collected.clear();
    m_RegCache.clear();
    m_Breakpoints.clear();
    m_Events.clear();
    m_ResetCommand.clear();
}

std::string CRemoteBackend::GetFirmware() const
{
    return "GDB server at " + m_Host + ":" + std::to_string(m_Port);
}

int CRemoteBackend::Connect(const Probe::CConnectParams& Params)
{
    m_BigEndian = Params.BigEndian;
    m_Regs.clear();
    m_Flash.clear();
    m_RegCache.clear();
    if (m_Client.Supports("qXfer:features:read+")) {
        const auto ReadAnnex = [this](const std::string& Name) {
            return m_Client.ReadObject("features:read:" + Name);
        };
        if (const auto Xml = ReadAnnex("target.xml")) {
            m_Regs = ParseTargetDescription(*Xml, ReadAnnex);
        }
    }
    if (!FindReg("pc")) {
        m_Regs = GetPlainArmRegisters();
    }
    if (m_Client.Supports("qXfer:memory-map:read+")) {
        if (const auto Xml = m_Client.ReadObject("memory-map:read:")) {
            m_Flash = ParseMemoryMap(*Xml);
        }
    }
    // Servers stop the target when somebody connects; the reply tells that it stands.
    const auto Stop = m_Client.Request("?");
    if (!Stop || Stop->empty() || ((*Stop)[0] != 'S' && (*Stop)[0] != 'T')) {
        m_Log.Error("The GDB server has no target");
        return m_Client.IsOpen() ? int(BRYLLO_ERR_UNSPECIFIED) : int(BRYLLO_ERR_LOST);
    }
    m_BinaryWrites = m_Client.RequestOk("X0,0:");
    m_Running = false;
    m_Connected = m_Client.IsOpen();
    if (!m_Connected) {
        return BRYLLO_ERR_LOST;
    }
    m_Log.Info("Connected to " + GetFirmware() + ", " + std::to_string(m_Regs.size()) + " registers, " +
               std::to_string(m_Flash.size()) + " flash regions");
    return 0;
}

int CRemoteBackend::CheckHalted() const
{
    return !m_Client.IsOpen() ? int(BRYLLO_ERR_LOST) : m_Running ? int(BRYLLO_ERR_RUNNING) : 0;
}

void CRemoteBackend::OnStopped()
{
    m_Running = false;
    m_RegCache.clear();
}

// --- run control -------------------------------------------------------------------------------

int CRemoteBackend::IsHalted()
{
    if (m_Running && m_Client.WaitStop(Ms(0))) {
        OnStopped();
    }
    return m_Client.IsAlive() ? int(!m_Running) : int(BRYLLO_ERR_LOST);
}

int CRemoteBackend::Halt()
{
    if (IsHalted() == 1) {
        return 0;
    }
    if (!m_Client.Interrupt() || !m_Client.WaitStop(STOP_LIMIT)) {
        return m_Client.IsOpen() ? int(BRYLLO_ERR_UNSPECIFIED) : int(BRYLLO_ERR_LOST);
    }
    OnStopped();
    return 0;
}

template <class OP> int CRemoteBackend::WhileHalted(OP Op)
{
    const bool WasRunning = IsHalted() == 0;
    if (!m_Client.IsOpen()) {
        return BRYLLO_ERR_LOST;
    }
    if (!WasRunning) {
        return Op();
    }
    if (!m_Client.Interrupt()) {
        return BRYLLO_ERR_LOST;
    }
    const auto Stop = m_Client.WaitStop(STOP_LIMIT);
    if (!Stop) {
        return BRYLLO_ERR_UNSPECIFIED;
    }
    OnStopped();
    const int Answer = Op();
    // Signal 2 is the answer to the interrupt. Any other stop is the target's own, and stays.
    if (HexNumber(Stop->substr(1, 2)) == U32(2)) {
        Go(true);
    }
    return Answer;
}

bool CRemoteBackend::StepOnce()
{
    if (!m_Client.Resume("s") || !m_Client.WaitStop(STOP_LIMIT)) {
        return false;
    }
    OnStopped();
    return true;
}

/// One instruction, with the breakpoint at the PC out of the way: servers stop on it at once otherwise.
int CRemoteBackend::Step()
{
    if (const int Error = CheckHalted()) {
        return Error;
    }
    const auto PC = ReadByIndex(BRYLLO_REG_PC);
    const auto It = std::find_if(m_Breakpoints.begin(), m_Breakpoints.end(),
                                 [&](const CBreakpoint& b) { return PC && b.Addr == U32(*PC); });
    const bool IsOnBP = It != m_Breakpoints.end() && Insert(*It, false);
    const bool Ok = StepOnce();
    if (IsOnBP && m_Client.IsOpen()) {
        Insert(*It, true);
    }
    return Ok ? 0 : int(m_Client.IsOpen() ? BRYLLO_ERR_UNSPECIFIED : BRYLLO_ERR_LOST);
}

int CRemoteBackend::Go(bool StepOverBP)
{
    if (m_Running) {
        return 0;
    }
    if (const int Error = CheckHalted()) {
        return Error;
    }
    const auto PC = StepOverBP ? ReadByIndex(BRYLLO_REG_PC) : std::nullopt;
    if (PC && FindBP(U32(*PC)) != 0) {
        if (const int Error = Step()) {
            return Error;
        }
        // The next instruction has a breakpoint as well: the target has arrived already.
        const auto Next = ReadByIndex(BRYLLO_REG_PC);
        if (Next && FindBP(U32(*Next)) != 0) {
            return 0;
        }
    }
    if (!m_Client.Resume("c")) {
        return BRYLLO_ERR_LOST;
    }
    m_Running = true;
    m_RegCache.clear();
    return 0;
}

/// Each server has its own word for it.
bool CRemoteBackend::ResetByCommand()
{
    std::vector<std::string> Commands = {"reset halt", "system_reset"};
    if (!m_ResetCommand.empty()) {
        Commands = {m_ResetCommand};
    }
    for (const std::string& Command : Commands) {
        std::string Output;
        const bool Ok = m_Client.Monitor(Command, &Output);
        Output = Probe::ToLower(Output);
        const bool Refused = Output.find("unknown") != std::string::npos || Output.find("invalid") != std::string::npos ||
                             Output.find("error") != std::string::npos;
        if (Ok && !Refused) {
            m_ResetCommand = Command;
            return true;
        }
    }
    return false;
}

/// The core's own reset request, caught before the first instruction.
bool CRemoteBackend::ResetByRegister()
{
    U8 aDemcr[4];
    if (!FindReg("xpsr") || !ReadBytes(DEMCR, 4, aDemcr)) {
        return false;
    }
    // The system space is little-endian always.
    const auto Write = [this](U32 Addr, U64 Value) {
        return m_Client.RequestOk(Format("M%x,4:", Addr) + ValueToHex(Value, 4, false));
    };
    const U64 Before = HexToValue(ToHex(aDemcr, 4), 4, false).value_or(0);
    const bool Ok = Write(DEMCR, Before | DEMCR_VC_CORERESET) && Write(AIRCR, AIRCR_SYSRESETREQ);
    Write(DEMCR, Before); // a reset that the program asks for later isn't caught
    return Ok;
}

int CRemoteBackend::Reset()
{
    if (const int Error = Halt()) {
        return Error;
    }
    const bool Ok = ResetByCommand() || (m_Client.IsOpen() && ResetByRegister());
    OnStopped();
    if (!m_Client.IsOpen()) {
        return BRYLLO_ERR_LOST;
    }
    return Ok ? 0 : int(BRYLLO_ERR_UNSPECIFIED);
}

// --- breakpoints ---------------------------------------------------------------------------------

bool CRemoteBackend::Insert(const CBreakpoint& Bp, bool On)
{
    return m_Client.RequestOk(std::string(1, On ? 'Z' : 'z') + Bp.Kind + Format(",%x,%x", Bp.Addr, THUMB_BP_KIND));
}

int CRemoteBackend::FindBP(U32 Addr) const
{
    for (const CBreakpoint& Bp : m_Breakpoints) {
        if (Bp.Addr == Addr) {
            return int(Bp.Handle);
        }
    }
    return 0;
}

int CRemoteBackend::SetBP(U32 Addr, U32 TypeWord)
{
    Addr &= ~1u;
    if (const int Handle = FindBP(Addr)) {
        return Handle;
    }
    const bool WantsHard = (TypeWord & 0xFFFFFFF0u) == BRYLLO_BP_TYPE_HARD;
    const bool WantsSoft = (TypeWord & 0xFFFFFFF0u) == BRYLLO_BP_TYPE_SOFT;
    CBreakpoint Bp{m_NextHandle, Addr, TypeWord, '1'};
    const int Error = WhileHalted([&] {
        if (!WantsSoft && Insert(Bp, true)) {
            return 0;
        }
        Bp.Kind = '0';
        return !WantsHard && Insert(Bp, true) ? 0 : int(BRYLLO_ERR_UNSPECIFIED);
    });
    if (Error != 0) {
        return 0;
    }
    m_Breakpoints.push_back(Bp);
    return int(m_NextHandle++);
}

int CRemoteBackend::ClrBP(U32 Handle)
{
    const auto IsMeant = [&](const CBreakpoint& b) { return Handle == BRYLLO_HANDLE_ALL || b.Handle == Handle; };
    if (std::none_of(m_Breakpoints.begin(), m_Breakpoints.end(), IsMeant)) {
        return Handle == BRYLLO_HANDLE_ALL ? 0 : int(BRYLLO_ERR_PARAM);
    }
    return WhileHalted([&] {
        const auto Gone = std::remove_if(m_Breakpoints.begin(), m_Breakpoints.end(), [&](const CBreakpoint& b) {
            return IsMeant(b) && Insert(b, false);
        });
        m_Breakpoints.erase(Gone, m_Breakpoints.end());
        return std::any_of(m_Breakpoints.begin(), m_Breakpoints.end(), IsMeant) ? int(BRYLLO_ERR_UNSPECIFIED) : 0;
    });
}

int CRemoteBackend::GetBPInfo(int Index, BRYLLOARM_BP_INFO* pInfo) const
{
    for (std::size_t i = 0; i < m_Breakpoints.size(); ++i) {
        const CBreakpoint& Bp = m_Breakpoints[i];
        if (Index == -1 ? Bp.Handle != pInfo->Handle : int(i) != Index) {
            continue;
        }
        pInfo->Handle = Bp.Handle;
        pInfo->Addr = Bp.Addr;
        pInfo->Type = Bp.TypeWord;
        pInfo->ImpFlags = Bp.Kind == '1' ? BRYLLO_BP_IMP_HARD : BRYLLO_BP_IMP_SOFT_RAM;
        pInfo->UseCnt = 1;
        return Index == -1 ? int(m_Breakpoints.size()) : 0;
    }
    return BRYLLO_ERR_PARAM;
}

int CRemoteBackend::SetDataEvent(const BRYLLOARM_DATA_EVENT& Event, U32* pHandle)
{
    if (Event.DataMask != 0xFFFFFFFF) {
        return INT32_MIN | BRYLLO_EVENT_ERR_INVALID_DATA_MASK; // servers compare addresses only
    }
    if ((Event.AddrMask & (Event.AddrMask + 1)) != 0 || Event.AddrMask > 0xFFFF) {
        return INT32_MIN | BRYLLO_EVENT_ERR_INVALID_ADDR_MASK;
    }
    const bool AnySize = (Event.AccessMask & BRYLLO_ACCESS_SIZE_MASK) == BRYLLO_ACCESS_SIZE_MASK;
    const U32 Size = AnySize ? 1 : 1u << ((Event.Access & BRYLLO_ACCESS_SIZE_MASK) >> 1);
    const U32 Length = std::max(Size, Event.AddrMask + 1);
    const bool Either = Event.AccessMask & BRYLLO_ACCESS_WRITE;
    CEvent New{m_NextHandle, Event, Format(",%x,%x", Event.Addr & ~Event.AddrMask, Length),
               Either ? '4' : Event.Access & BRYLLO_ACCESS_WRITE ? '2' : '3'};
    const int Error = WhileHalted([&] {
        return m_Client.RequestOk(std::string("Z") + New.Kind + New.Packet) ? 0 : int(BRYLLO_ERR_UNSPECIFIED);
    });
    if (Error != 0) {
        return INT32_MIN | BRYLLO_EVENT_ERR_NO_MORE_EVENTS;
    }
    m_Events.push_back(New);
    *pHandle = m_NextHandle++;
    return 0;
}

int CRemoteBackend::ClrDataEvent(U32 Handle)
{
    const auto IsMeant = [&](const CEvent& e) { return Handle == BRYLLO_HANDLE_ALL || e.Handle == Handle; };
    if (std::none_of(m_Events.begin(), m_Events.end(), IsMeant)) {
        return Handle == BRYLLO_HANDLE_ALL ? 0 : int(BRYLLO_ERR_PARAM);
    }
    return WhileHalted([&] {
        const auto Gone = std::remove_if(m_Events.begin(), m_Events.end(), [&](const CEvent& e) {
            return IsMeant(e) && m_Client.RequestOk(std::string("z") + e.Kind + e.Packet);
        });
        m_Events.erase(Gone, m_Events.end());
        return std::any_of(m_Events.begin(), m_Events.end(), IsMeant) ? int(BRYLLO_ERR_UNSPECIFIED) : 0;
    });
}

int CRemoteBackend::GetWPInfo(int Index, BRYLLOARM_WP_INFO* pInfo) const
{
    if (Index == -1) {
        return int(m_Events.size());
    }
    if (Index < 0 || std::size_t(Index) >= m_Events.size()) {
        return BRYLLO_ERR_PARAM;
    }
    const BRYLLOARM_DATA_EVENT& Event = m_Events[std::size_t(Index)].Event;
    pInfo->Handle = m_Events[std::size_t(Index)].Handle;
    pInfo->Addr = Event.Addr;
    pInfo->AddrMask = Event.AddrMask;
    pInfo->Data = Event.Data;
    pInfo->DataMask = Event.DataMask;
    pInfo->Access = Event.Access;
    pInfo->AccessMask = Event.AccessMask;
    return 0;
}

// --- registers -------------------------------------------------------------------------------------

const CRemoteReg* CRemoteBackend::FindReg(const std::string& Name) const
{
    const std::string Other = Name == "xpsr" ? "cpsr" : Name == "sp" ? "r13" : Name == "lr" ? "r14" : Name == "pc" ? "r15" : "";
    for (const std::string& Wanted : {Name, Other}) {
        for (const CRemoteReg& Reg : m_Regs) {
            if (!Wanted.empty() && Reg.Name == Wanted) {
                return &Reg;
            }
        }
    }
    return nullptr;
}

std::optional<U64> CRemoteBackend::ReadReg(const CRemoteReg& Reg)
{
    if (m_RegCache.empty()) {
        // The general registers come together, in the order of their numbers; what follows comes one by one.
        if (const auto All = m_Client.Request("g"); All && !All->empty() && (*All)[0] != 'E') {
            std::size_t Pos = 0;
            for (const CRemoteReg& r : m_Regs) {
                if (Pos + 2 * r.NumBytes > All->size()) {
                    break;
                }
                if (const auto Value = HexToValue(All->substr(Pos, 2 * r.NumBytes), r.NumBytes, m_BigEndian)) {
                    m_RegCache[r.Number] = *Value;
                }
                Pos += 2 * r.NumBytes;
            }
        }
    }
    if (const auto It = m_RegCache.find(Reg.Number); It != m_RegCache.end()) {
        return It->second;
    }
    const auto Answer = m_Client.Request(Format("p%x", Reg.Number));
    const auto Value = Answer ? HexToValue(*Answer, Reg.NumBytes, m_BigEndian) : std::nullopt;
    if (Value) {
        m_RegCache[Reg.Number] = *Value;
    }
    return Value;
}

bool CRemoteBackend::WriteReg(const CRemoteReg& Reg, U64 Value)
{
    if (!m_Client.RequestOk(Format("P%x=", Reg.Number) + ValueToHex(Value, Reg.NumBytes, m_BigEndian))) {
        return false;
    }
    m_RegCache.clear(); // others may have changed with it
    return true;
}

std::optional<U64> CRemoteBackend::ReadByIndex(U32 Index)
{
    const std::string Name = NameOfIndex(Index);
    if (const CRemoteReg* pReg = FindReg(Name)) {
        return ReadReg(*pReg);
    }
    if (Index >= BRYLLO_REG_S0 && Index < BRYLLO_REG_S0 + 32) {
        const U32 Single = Index - BRYLLO_REG_S0;
        const CRemoteReg* pDouble = FindReg("d" + std::to_string(Single / 2));
        const auto Value = pDouble ? ReadReg(*pDouble) : std::nullopt;
        return Value ? std::optional<U64>(U32(*Value >> 32 * (Single % 2))) : std::nullopt;
    }
    return std::nullopt;
}

/// These cores have no other state, but after a reset through an erased vector table they are not in it, and whoever
/// sets the PC to the program's entry would only get a fault.
bool CRemoteBackend::EnterThumbState()
{
    constexpr U64 THUMB = 1 << 24;
    const auto Status = ReadByIndex(BRYLLO_REG_XPSR);
    return !Status || (*Status & THUMB) || WriteByIndex(BRYLLO_REG_XPSR, *Status | THUMB);
}

bool CRemoteBackend::WriteByIndex(U32 Index, U64 Value)
{
    if (const CRemoteReg* pReg = FindReg(NameOfIndex(Index))) {
        return WriteReg(*pReg, Index == BRYLLO_REG_PC ? Value & ~U64(1) : Value) &&
               (Index != BRYLLO_REG_PC || EnterThumbState());
    }
    if (Index < BRYLLO_REG_S0 || Index >= BRYLLO_REG_S0 + 32) {
        return false;
    }
    const U32 Single = Index - BRYLLO_REG_S0;
    const CRemoteReg* pDouble = FindReg("d" + std::to_string(Single / 2));
    const auto Old = pDouble ? ReadReg(*pDouble) : std::nullopt;
    if (!Old) {
        return false;
    }
    const unsigned Shift = 32 * (Single % 2);
    return WriteReg(*pDouble, (*Old & ~(U64(0xFFFFFFFF) << Shift)) | U64(U32(Value)) << Shift);
}

int CRemoteBackend::ReadRegs(const U32* paIdx, U64* paValue, U8* paStatus, U32 NumRegs)
{
    if (const int Error = CheckHalted()) {
        return Error;
    }
    for (U32 i = 0; i < NumRegs; ++i) {
        const auto Value = ReadByIndex(paIdx[i]);
        paValue[i] = Value.value_or(0);
        paStatus[i] = Value ? 0 : 1;
    }
    return m_Client.IsOpen() ? 0 : int(BRYLLO_ERR_LOST);
}

int CRemoteBackend::WriteRegs(const U32* paIdx, const U64* paValue, U8* paStatus, U32 NumRegs)
{
    if (const int Error = CheckHalted()) {
        return Error;
    }
    for (U32 i = 0; i < NumRegs; ++i) {
        paStatus[i] = WriteByIndex(paIdx[i], paValue[i]) ? 0 : 1;
    }
    return m_Client.IsOpen() ? 0 : int(BRYLLO_ERR_LOST);
}

int CRemoteBackend::ReadCPReg(const std::string& Name, U64* pValue)
{
    *pValue = 0;
    if (const int Error = CheckHalted()) {
        return Error;
    }
    std::optional<U64> Value;
    if (const Probe::CNamedReg* pReg = Probe::FindNamedReg(Name)) {
        U8 aBytes[4];
        if (pReg->IsIndex()) {
            Value = ReadByIndex(pReg->IndexOrAddr);
        } else if (ReadBytes(pReg->IndexOrAddr, 4, aBytes)) {
            Value = HexToValue(ToHex(aBytes, 4), 4, false); // the system space is little-endian always
        }
    } else if (const CRemoteReg* pOwn = FindReg(Probe::ToLower(Name))) {
        Value = ReadReg(*pOwn);
    }
    *pValue = Value.value_or(0);
    return Value ? 0 : int(BRYLLO_ERR_PARAM);
}

int CRemoteBackend::WriteCPReg(const std::string& Name, U64 Value)
{
    if (const int Error = CheckHalted()) {
        return Error;
    }
    bool Ok = false;
    if (const Probe::CNamedReg* pReg = Probe::FindNamedReg(Name)) {
        U8 aBytes[4];
        FromHex(ValueToHex(Value, 4, false), aBytes, sizeof(aBytes));
        Ok = pReg->IsIndex() ? WriteByIndex(pReg->IndexOrAddr, Value) : WriteBytes(pReg->IndexOrAddr, 4, aBytes);
    } else if (const CRemoteReg* pOwn = FindReg(Probe::ToLower(Name))) {
        Ok = WriteReg(*pOwn, Value);
    }
    return Ok ? 0 : int(BRYLLO_ERR_PARAM);
}

bool CRemoteBackend::ExecCommand(const std::string& Name, const std::string& Args, int& Result, std::string& Answer)
{
    if (Name == "monitor") {
        Result = IsHalted() == 1 && m_Client.Monitor(Args, &Answer) ? 0 : int(BRYLLO_ERR_UNSPECIFIED);
        if (Result < 0) {
            Answer = m_Running ? "The target runs" : "The server has refused the command: " + Answer;
        }
        m_RegCache.clear();
        return true;
    }
    if (Name == "supplypower" || Name == "readintotracecache" || Name == "tracesampleadjust" ||
        Name == "trace_setenabletimestamps" || Name == "selecttracesource" || Name.starts_with("setmemlane")) {
        Result = BRYLLO_ERR_NO_SERVICE;
        Answer = "A GDB server does not have this service";
        return true;
    }
    return false;
}

} // namespace Remote
