#include "platform/probe/sim/simbackend.h"

#include "platform/probe/core/textargs.h"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <mutex>

namespace Sim {

using Probe::CFaults;

namespace {

constexpr std::array<U32, 3> SERIAL_NUMBERS = {600100001, 600100002, 600100003};

/// All simulators of the process, for the end of their threads.
std::mutex g_ListMutex;
std::vector<CSimBackend*>& List()
{
    static auto* const pList = new std::vector<CSimBackend*>;
    return *pList;
}

bool IsPlainZone(const char* sZone)
{
    return !sZone || !*sZone || strcasecmp(sZone, "Default") == 0;
}

} // namespace

CSimBackend::CSimBackend(Probe::CTicketLock& Lock, Probe::CProbeLog& Log, Probe::CFaults& Faults)
    : m_Lock(Lock), m_Log(Log), m_Faults(Faults)
{
    std::lock_guard Guard(g_ListMutex);
    List().push_back(this);
}

CSimBackend::~CSimBackend()
{
    std::lock_guard Guard(g_ListMutex);
    std::erase(List(), this);
}

void CSimBackend::StopAll()
{
    std::lock_guard Guard(g_ListMutex);
    for (CSimBackend* p : List()) {
        {
            std::lock_guard Inner(p->m_Lock);
            p->m_Quit = true;
            p->m_Wake.notify_all();
        }
        if (p->m_Runner.joinable()) {
            p->m_Runner.join();
        }
    }
}

bool CSimBackend::Select(U32 SerialNo)
{
    const auto It = SerialNo == 0 ? SERIAL_NUMBERS.begin()
                                  : std::find(SERIAL_NUMBERS.begin(), SERIAL_NUMBERS.end(), SerialNo);
    if (It == SERIAL_NUMBERS.end()) {
        return false;
    }
    const auto Index = static_cast<std::size_t>(It - SERIAL_NUMBERS.begin());
    if (Index != m_Probe) {
        Close();
        m_Probe = Index;
    }
    return true;
}

U32 CSimBackend::GetSerialNo() const
{
    return SERIAL_NUMBERS[m_Probe];
}

std::string CSimBackend::GetFirmware() const
{
    return "Vantrel simulated probe V1 compiled Nov 22 2026 12:00:00";
}

unsigned CSimBackend::GetNumCores(const std::string& Device) const
{
    const CDeviceEntry* pEntry = FindDevice(Device);
    return pEntry ? pEntry->NumCores : 0;
}

void CSimBackend::Close()
{
    if (m_Connected) {
        m_Debug.Attach(nullptr, 0);
        if (!m_Programming) {
            Board().Flash().CancelDownload();
        }
        m_Connected = false;
    }
}

int CSimBackend::Connect(const Probe::CConnectParams& Params)
{
    const CDeviceEntry* pDevice = FindDevice(Params.Device);
    if (!pDevice) {
        m_Log.Error("No device selected");
        return BRYLLO_ERR_PARAM;
    }
    if (!CanSimulate(*pDevice)) {
        m_Log.Error(std::string(pDevice->sName) + ": the simulator has no core " +
                    GetCoreName(pDevice->Core));
        return BRYLLO_ERR_NO_SERVICE;
    }
    if (Params.TargetInterface == BRYLLO_TIF_FINE) {
        m_Log.Error(std::string(pDevice->sName) + " does not have the selected target interface");
        return BRYLLO_ERR_PARAM;
    }
    if (Params.CoreIndex >= pDevice->NumCores) {
        m_Log.Error(std::string(pDevice->sName) + " has no core " + std::to_string(Params.CoreIndex));
        return BRYLLO_ERR_PARAM;
    }
    if (m_Programming) {
        return BRYLLO_ERR_UNSPECIFIED;
    }
    if (!HasBoard() || &Board().GetDevice() != pDevice) {
        m_Boards[m_Probe] = std::make_unique<CBoard>(*pDevice, Params.BigEndian, m_Log);
        Board().SetSpeedLimit(m_SpeedLimit);
    }
    if (!Board().IsPowered()) {
        m_Log.Error("The target has no power");
        return BRYLLO_ERR_UNSPECIFIED;
    }
    Board().StrapEndian(Params.BigEndian);
    if (Board().IsBigEndian() != (Params.BigEndian && pDevice->BigEndian)) {
        Board().SetPower(true); // the strap is sampled when power comes
    }
    m_Core = Params.CoreIndex;
    m_Debug.Attach(&Board(), m_Core);
    Board().TakeRecreated();
    ApplyUnits();
    m_Connected = true;
    m_Log.Info("Connected to " + std::string(pDevice->sName) + ", " + GetCoreName(pDevice->Core) + ", core " +
               std::to_string(m_Core));
    WakeRunner();
    return 0;
}

void CSimBackend::Reconfigure(const Probe::CConnectParams& Params)
{
    Board().StrapEndian(Params.BigEndian);
}

void CSimBackend::ApplyUnits()
{
    const CDeviceEntry& Device = Board().GetDevice();
    m_Debug.SetNumBPUnits(m_Caps.NumBPUnits.value_or(Device.NumBPUnits));
    m_Debug.SetNumDataUnits(m_Caps.NumDataUnits.value_or(Device.NumDataUnits));
}

int CSimBackend::GetBMA() const
{
    return m_Connected ? m_Caps.BMA.value_or(Board().GetDevice().BMA) : 0;
}

int CSimBackend::GetEndian() const
{
    return Board().IsBigEndian() ? 2 : 0; // instructions of these cores are little-endian always
}

int CSimBackend::GetMemZones(BRYLLO_MEM_ZONE* paZones, int MaxZones) const
{
    const char* sZone = Board().GetDevice().sZone;
    if (!sZone) {
        return 0;
    }
    const struct {
        const char *sName, *sDesc;
    } aZones[] = {{"Default", "As the CPU sees it"}, {sZone, "Through the bus, also while the CPU runs"}};
    const int NumZones = static_cast<int>(std::size(aZones));
    for (int i = 0; i < std::min(NumZones, MaxZones); ++i) {
        paZones[i] = {};
        paZones[i].sName = aZones[i].sName;
        paZones[i].sDesc = aZones[i].sDesc;
    }
    return NumZones;
}

// --- run control --------------------------------------------------------------------------

void CSimBackend::WakeRunner()
{
    if (!m_Runner.joinable() && !m_Quit) {
        m_Runner = std::thread([this] { RunLoop(); });
    }
    m_Wake.notify_all();
}

void CSimBackend::RunLoop()
{
    std::unique_lock Guard(m_Lock);
    while (!m_Quit) {
        const auto Now = CBoard::Clock::now();
        auto Next = CBoard::Clock::time_point::max();
        for (const auto& pBoard : m_Boards) {
            if (pBoard && pBoard->IsAnyRunning()) {
                Next = std::min(Next, pBoard->RunSlice(Now));
            }
        }
        if (Next == CBoard::Clock::time_point::max()) {
            m_Wake.wait(Guard);
        } else if (Next > CBoard::Clock::now()) {
            m_Wake.wait_until(Guard, Next);
        } else {
            Guard.unlock(); // whoever waits gets in first, the lock goes by order of arrival
            Guard.lock();
        }
    }
}

int CSimBackend::IsHalted()
{
    return State() == CBoard::ECoreState::Halted ? 1 : 0;
}

int CSimBackend::Halt()
{
    Board().Halt(m_Core);
    return 0;
}

int CSimBackend::Go(bool StepOverBP)
{
    (void)StepOverBP; // breakpoints are beside the memory: one at PC is always stepped over
    if (m_Programming) {
        return BRYLLO_ERR_UNSPECIFIED;
    }
    m_Debug.ApplyPending();
    Board().Go(m_Core);
    WakeRunner();
    return 0;
}

int CSimBackend::Step()
{
    if (IsRunning() || m_Programming) {
        return BRYLLO_ERR_RUNNING;
    }
    m_Debug.ApplyPending();
    Board().Step(m_Core, m_MaskInterrupts);
    return 0;
}

int CSimBackend::Reset()
{
    if (m_Programming) {
        return BRYLLO_ERR_UNSPECIFIED;
    }
    Board().Reset(m_Core);
    if (Board().TakeRecreated()) {
        m_Debug.Reapply();
    }
    WakeRunner();
    return 0;
}

int CSimBackend::MeasureClock(U32 RAMAddr)
{
    const CBoard::CBank* pBank = Board().FindBank(RAMAddr, 4);
    if (!pBank || pBank->IsFlash) {
        return BRYLLO_ERR_PARAM;
    }
    return IsRunning() ? int(BRYLLO_ERR_RUNNING) : static_cast<int>(Board().GetCpuHz());
}

int CSimBackend::SetBP(U32 Addr, U32 TypeWord)
{
    return m_Debug.Set(Addr, TypeWord, !IsRunning() || GetBMA() != 0, !IsRunning());
}

// --- memory ---------------------------------------------------------------------------------

int CSimBackend::CheckAccess(const char* sZone) const
{
    if (!IsPlainZone(sZone)) {
        const char* sOwn = Board().GetDevice().sZone;
        return sOwn && strcasecmp(sZone, sOwn) == 0 ? 0 : BRYLLO_ERR_PARAM;
    }
    return IsRunning() && GetBMA() == 0 ? BRYLLO_ERR_RUNNING : 0;
}

bool CSimBackend::ReadOne(U32 Addr, unsigned NumBytes, U8* pData)
{
    if (m_Faults.Hits(CFaults::ERange::Unreadable, Addr, NumBytes)) {
        return false;
    }
    const CBoard::CBank* pBank = Board().FindBank(Addr, NumBytes);
    if (pBank && pBank->IsFlash && Board().Flash().IsDownloading()) {
        Board().Flash().ReadCollected(Addr - pBank->Addr, pData, NumBytes);
        return true;
    }
    return Board().ReadItem(m_Core, Addr, NumBytes, pData);
}

int CSimBackend::ReadMem(const Probe::CMemAccess& Access, U8* pData, U8* paStatus)
{
    const U64 NumBytes = U64(Access.NumItems) * Access.ItemSize;
    if (paStatus) {
        std::memset(paStatus, 1, Access.NumItems);
    }
    if (const int Error = CheckAccess(Access.sZone)) {
        return Error;
    }
    if (NumBytes > INT32_MAX) {
        return BRYLLO_ERR_PARAM;
    }
    // All in one memory and nothing in the way: one copy.
    const CBoard::CBank* pBank = Board().FindBank(Access.Addr, static_cast<U32>(NumBytes));
    if (pBank && !m_Faults.HasRanges() && !(pBank->IsFlash && Board().Flash().IsDownloading())) {
        std::memcpy(pData, pBank->pData + (Access.Addr - pBank->Addr), NumBytes);
        if (paStatus) {
            std::memset(paStatus, 0, Access.NumItems);
        }
        return static_cast<int>(Access.NumItems);
    }
    int NumRead = 0;
    for (U32 i = 0; i < Access.NumItems; ++i) {
        const U32 Addr = Access.Addr + i * Access.ItemSize;
        U8* const pItem = pData + std::size_t(i) * Access.ItemSize;
        if (Access.NumItems > 1 && m_Faults.Hits(CFaults::ERange::ShortRead, Addr, Access.ItemSize)) {
            std::memset(pItem, 0, std::size_t(Access.NumItems - i) * Access.ItemSize);
            break;
        }
        // An item may not run over the end of the address space.
        const bool Ok = U64(Addr) + Access.ItemSize <= U64(1) << 32 && Addr >= Access.Addr &&
                        ReadOne(Addr, Access.ItemSize, pItem);
        if (!Ok) {
            std::memset(pItem, 0, Access.ItemSize);
            if (!paStatus) {
                break;
            }
            continue;
        }
        ++NumRead;
        if (paStatus) {
            paStatus[i] = 0;
        }
    }
    return NumRead > 0 || Access.NumItems == 0 ? NumRead : int(BRYLLO_ERR_MEM);
}

bool CSimBackend::WriteOne(U32 Addr, unsigned NumBytes, const U8* pData)
{
    if (m_Faults.Hits(CFaults::ERange::Unwritable, Addr, NumBytes)) {
        return false;
    }
    const CBoard::CBank* pBank = Board().FindBank(Addr, NumBytes);
    if (pBank && pBank->IsFlash) {
        CFlash& Flash = Board().Flash();
        if (!Flash.IsDownloading() || m_Programming) {
            return false;
        }
        Flash.Collect(Addr - pBank->Addr, pData, NumBytes);
        return true;
    }
    return Board().WriteItem(m_Core, Addr, NumBytes, pData);
}

int CSimBackend::WriteMem(const Probe::CMemAccess& Access, const U8* pData)
{
    if (const int Error = CheckAccess(Access.sZone)) {
        return Error;
    }
    U32 NumWritten = 0;
    while (NumWritten < Access.NumItems) {
        const U32 Addr = Access.Addr + NumWritten * Access.ItemSize;
        const bool Inside = U64(Addr) + Access.ItemSize <= U64(1) << 32 && Addr >= Access.Addr;
        if (!Inside || !WriteOne(Addr, Access.ItemSize, pData + std::size_t(NumWritten) * Access.ItemSize)) {
            break;
        }
        ++NumWritten;
    }
    return NumWritten > 0 || Access.NumItems == 0 ? static_cast<int>(NumWritten) : int(BRYLLO_ERR_MEM);
}

int CSimBackend::BeginDownload()
{
    if (m_Programming) {
        return BRYLLO_ERR_UNSPECIFIED;
    }
    Board().Flash().BeginDownload();
    return 0;
}

int CSimBackend::EndDownload()
{
    CFlash& Flash = Board().Flash();
    if (!Flash.IsDownloading() || m_Programming) {
        return BRYLLO_ERR_UNSPECIFIED;
    }
    // The CPU cannot fetch from flash that is being programmed.
    CBoard* const pBoard = &Board();
    pBoard->Freeze(true);
    m_Programming = true;
    int NumProgrammed = 0, NumEqual = 0, Error = 0;
    while (const auto Sector = Flash.ProgramNext()) {
        pBoard->Invalidate(pBoard->GetDevice().Flash.Addr + Sector->Offset, Flash.GetSectorSize());
        if (Sector->Result < 0) {
            Error = Sector->Result;
            m_Log.Error("Flash download failed at offset " + std::to_string(Sector->Offset));
            break;
        }
        (Sector->Result > 0 ? NumProgrammed : NumEqual)++;
        if (Sector->Result > 0 && m_SectorCostMS != 0) {
            m_Lock.unlock();
            std::this_thread::sleep_for(std::chrono::milliseconds(m_SectorCostMS));
            m_Lock.lock();
        }
    }
    m_Programming = false;
    pBoard->Freeze(false);
    WakeRunner();
    if (Error == 0 && NumProgrammed + NumEqual > 0) { // a download may lie in RAM alone
        m_Log.Info("Flash download: " + std::to_string(NumProgrammed) + " sectors programmed, " +
                   std::to_string(NumEqual) + " unchanged");
    }
    return Error != 0 ? Error : NumProgrammed;
}

// --- registers ------------------------------------------------------------------------------

int CSimBackend::ReadRegs(const U32* paIdx, U64* paValue, U8* paStatus, U32 NumRegs)
{
    if (IsRunning()) {
        return BRYLLO_ERR_RUNNING;
    }
    for (U32 i = 0; i < NumRegs; ++i) {
        paValue[i] = 0;
        paStatus[i] = Board().Core(m_Core).ReadReg(paIdx[i], &paValue[i]) ? 0 : 1;
    }
    return 0;
}

int CSimBackend::WriteRegs(const U32* paIdx, const U64* paValue, U8* paStatus, U32 NumRegs)
{
    if (IsRunning()) {
        return BRYLLO_ERR_RUNNING;
    }
    for (U32 i = 0; i < NumRegs; ++i) {
        paStatus[i] = Board().Core(m_Core).WriteReg(paIdx[i], paValue[i]) ? 0 : 1;
    }
    return 0;
}

int CSimBackend::ReadCPReg(const std::string& Name, U64* pValue)
{
    *pValue = 0;
    if (IsRunning()) {
        return BRYLLO_ERR_RUNNING;
    }
    return Board().Core(m_Core).ReadNamedReg(Name, pValue) ? 0 : BRYLLO_ERR_PARAM;
}

int CSimBackend::WriteCPReg(const std::string& Name, U64 Value)
{
    if (IsRunning()) {
        return BRYLLO_ERR_RUNNING;
    }
    return Board().Core(m_Core).WriteNamedReg(Name, Value) ? 0 : BRYLLO_ERR_PARAM;
}

} // namespace Sim
