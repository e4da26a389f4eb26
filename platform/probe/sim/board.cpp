#include "platform/probe/sim/board.h"

#include <algorithm>
#include <cstring>

namespace Sim {

namespace {

constexpr U32 PERIPHERALS = 0x40000000;
constexpr U32 PERIPHERAL_STEP = 0x1000;
/// Cycles that one of two cores runs ahead of the other: short, so that they see each other's
/// stores soon, and fixed, so that every run is the same.
constexpr U64 CORE_QUANTUM = 256;

/// What one core sees of the board.
class CCoreBus final : public ArmBus {
public:
    CCoreBus(CBoard& Board, unsigned Index) : m_Board(Board), m_Index(Index) {}
    bool Read(uint32_t Addr, unsigned Size, uint32_t* pValue) override
    {
        return m_Board.BusRead(Addr, Size, pValue);
    }
    bool Write(uint32_t Addr, unsigned Size, uint32_t Value) override
    {
        return m_Board.BusWrite(Addr, Size, Value);
    }
    uint64_t OnEvent(uint64_t Cycle) override
    {
        return m_Index == 0 ? m_Board.DispatchEvents(Cycle) : NO_EVENT;
    }
    void OnSystemReset() override { m_Board.OnProgramReset(m_Index); }

private:
    CBoard& m_Board;
    const unsigned m_Index;
};

U32 MakeDeviceId(const CDeviceEntry& Device)
{
    return 0x56000000u | static_cast<U32>(&Device - GetDeviceTable().data()) << 8 | Device.NumCores;
}

} // namespace

CBoard::CBoard(const CDeviceEntry& Device, bool BigEndian, Probe::CProbeLog& Log)
    : m_Device(Device), m_Log(Log), m_BigEndian(BigEndian && Device.BigEndian), m_EndianStrap(m_BigEndian),
      m_Flash(Device.Flash.NumBytes, Device.SectorSize),
      m_SysCtl(*this, MakeDeviceId(Device), Device.ClockHz, Device.NumCores), m_GpioA(*this, IRQ_GPIOA),
      m_GpioB(*this, IRQ_GPIOB), m_Uart(*this), m_Timer(*this), m_Adc(*this), m_Rng(*this),
      m_Diag(*this), m_Peripherals{&m_SysCtl, &m_GpioA, &m_GpioB, &m_Uart, &m_Timer, &m_Adc, &m_Rng, &m_Diag}
{
    m_Banks.push_back({Device.Flash.Addr, Device.Flash.NumBytes, m_Flash.GetData(), true});
    if (Device.FlashAlias) {
        m_Banks.push_back({0, Device.Flash.NumBytes, m_Flash.GetData(), true});
    }
    for (const CMemBank& Bank : Device.RAM) {
        if (Bank.NumBytes != 0) {
            m_Ram.emplace_back(Bank.NumBytes, 0);
            m_Banks.push_back({Bank.Addr, Bank.NumBytes, m_Ram.back().data(), false});
        }
    }
    CreateCores();
    m_Recreated = false;
    SetPower(true);
}

CBoard::~CBoard() = default;

void CBoard::CreateCores()
{
    m_Cores.clear();
    m_Cores.resize(m_Device.NumCores);
    for (unsigned i = 0; i < m_Cores.size(); ++i) {
        m_Cores[i].pBus = std::make_unique<CCoreBus>(*this, i);
        m_Cores[i].pCore = CreateCore(m_Device, m_BigEndian, m_Cores[i].pBus.get());
        for (const CBank& Bank : m_Banks) {
            if (!m_Cores[i].pCore->Map({Bank.Addr, Bank.NumBytes, Bank.pData, !Bank.IsFlash})) {
                m_Log.Error("Memory of the simulated device cannot be mapped");
            }
        }
    }
    m_Recreated = true;
}

void CBoard::ResetPeripherals(CSysCtl::EResetCause Cause)
{
    m_SysCtl.AddResetCause(Cause);
    for (CPeripheral* p : m_Peripherals) {
        p->Reset();
    }
}

void CBoard::SetPower(bool On)
{
    m_Powered = On;
    if (!On) {
        for (CCoreSlot& Slot : m_Cores) {
            Slot.State = ECoreState::HeldInReset;
        }
        return;
    }
    for (const CBank& Bank : m_Banks) {
        if (!Bank.IsFlash) {
            std::memset(Bank.pData, 0, Bank.NumBytes);
            Invalidate(Bank.Addr, Bank.NumBytes);
        }
    }
    if (m_EndianStrap != m_BigEndian) {
        m_BigEndian = m_EndianStrap;
        CreateCores();
    }
    ResetPeripherals(CSysCtl::POWER_ON);
    for (unsigned i = 0; i < m_Cores.size(); ++i) {
        Core(i).Reset();
        m_Cores[i].State = i == 0 ? ECoreState::Running : ECoreState::HeldInReset;
        m_Cores[i].LockupTold = false;
    }
}

void CBoard::Reset(unsigned HaltedCore)
{
    if (m_EndianStrap != m_BigEndian) {
        m_BigEndian = m_EndianStrap;
        CreateCores();
    }
    ResetPeripherals(CSysCtl::PIN);
    for (unsigned i = 0; i < m_Cores.size(); ++i) {
        Core(i).Reset();
        // The first core starts as after any reset, unless it is the one to be looked at.
        m_Cores[i].State = i == HaltedCore ? ECoreState::Halted
                           : i == 0        ? ECoreState::Running
                                           : ECoreState::HeldInReset;
        m_Cores[i].StepOver = false;
        m_Cores[i].LockupTold = false;
    }
}

void CBoard::OnProgramReset(unsigned Core)
{
    ResetPeripherals(CSysCtl::SOFTWARE);
    m_OtherReset = m_Cores.size() > 1;
    m_Log.Detail("The program has reset the system (core " + std::to_string(Core) + ")");
}

void CBoard::Halt(unsigned Core)
{
    if (m_Cores[Core].State == ECoreState::HeldInReset) {
        this->Core(Core).Reset(); // the debugger lets the core out of reset and catches it there
    }
    m_Cores[Core].State = ECoreState::Halted;
}

void CBoard::Go(unsigned Core)
{
    if (m_Cores[Core].State == ECoreState::Halted) {
        m_Cores[Core].State = ECoreState::Running;
        m_Cores[Core].StepOver = true;
        m_AnchorHz = 0;
        m_Due = {};
    }
}

CCoreStop CBoard::Step(unsigned Core, bool MaskInterrupts)
{
    return this->Core(Core).Step(MaskInterrupts);
}

bool CBoard::IsAnyRunning() const
{
    return m_Powered && !m_Frozen && std::any_of(m_Cores.begin(), m_Cores.end(), [](const CCoreSlot& s) {
               return s.State == ECoreState::Running;
           });
}

void CBoard::SetSpeedLimit(U32 Hz)
{
    m_SpeedLimit = Hz;
    m_AnchorHz = 0;
    m_Due = {};
}

void CBoard::OnStop(unsigned Index, const CCoreStop& Stop)
{
    CCoreSlot& Slot = m_Cores[Index];
    if (Stop.Kind == ECoreStop::Halted) {
        Slot.State = ECoreState::Halted;
        m_Log.Detail("Target has halted: " + Stop.Reason);
    } else if (Stop.Kind == ECoreStop::Lockup && !Slot.LockupTold) {
        Slot.LockupTold = true;
        m_Log.Detail("The CPU is locked up by a fault inside a fault handler; it needs a reset");
    }
}

void CBoard::RunQuantum(U64 NumCycles)
{
    for (unsigned i = 0; i < m_Cores.size(); ++i) {
        CCoreSlot& Slot = m_Cores[i];
        if (i == 1 && Slot.State == ECoreState::HeldInReset && m_SysCtl.IsCpu1Released()) {
            Slot.pCore->Reset();
            Slot.State = ECoreState::Running;
        }
        if (Slot.State != ECoreState::Running) {
            continue;
        }
        const CCoreStop Stop =
            Slot.pCore->Run(Slot.pCore->GetCycles() + NumCycles, std::exchange(Slot.StepOver, false));
        OnStop(i, Stop);
        if (m_OtherReset) {
            m_OtherReset = false;
            CCoreSlot& Other = m_Cores[1 - i];
            Other.pCore->Reset();
            if (i == 0 && Other.State == ECoreState::Running) {
                Other.State = ECoreState::HeldInReset; // the first core lets it go again
            }
        }
    }
}

CBoard::Clock::time_point CBoard::RunSlice(Clock::time_point Now)
{
    using namespace std::chrono_literals;
    if (Now < m_Due) {
        return m_Due;
    }
    const U32 Hz = m_SpeedLimit == 1 ? GetCpuHz() : m_SpeedLimit;
    if (m_AnchorHz != Hz || Hz == 0) {
        m_AnchorHz = Hz;
        m_AnchorTime = Now;
        m_AnchorCycles = m_PaceCycles;
    }
    const U64 NumCycles = Hz == 0 ? m_SliceCycles : std::clamp<U64>(Hz / 500, 1, m_SliceCycles);
    const U64 Before = Core(0).GetCycles();
    const U64 BeforeOther = m_Cores.size() > 1 ? Core(1).GetCycles() : 0;
    U64 NumInstructions = 0;
    for (unsigned i = 0; i < m_Cores.size(); ++i) {
        NumInstructions -= Core(i).GetInstructions();
    }
    if (m_Cores.size() == 1) {
        RunQuantum(NumCycles);
    } else {
        for (U64 Done = 0; Done < NumCycles && IsAnyRunning(); Done += CORE_QUANTUM) {
            RunQuantum(CORE_QUANTUM);
        }
    }
    for (unsigned i = 0; i < m_Cores.size(); ++i) {
        NumInstructions += Core(i).GetInstructions();
    }
    const U64 NumRun =
        std::max(Core(0).GetCycles() - Before, m_Cores.size() > 1 ? Core(1).GetCycles() - BeforeOther : 0);
    m_PaceCycles += NumRun;

    const auto End = Clock::now();
    if (NumCycles == m_SliceCycles) {
        // Slices of half a millisecond: callers wait no longer than that for their turn.
        const auto Took = End - Now;
        if (Took > 1ms && m_SliceCycles > 2000) {
            m_SliceCycles /= 2;
        } else if (Took < 250us && m_SliceCycles < (1 << 22)) {
            m_SliceCycles *= 2;
        }
    }
    if (NumRun == 0) {
        m_AnchorHz = 0;
        m_Due = End + 10ms; // locked up: time stands still
    } else if (Hz == 0) {
        m_Due = NumInstructions == 0 ? End + 1ms : End; // asleep with nothing to wake it
    } else {
        const std::chrono::duration<double> Ahead(double(m_PaceCycles - m_AnchorCycles) / Hz);
        m_Due = m_AnchorTime + std::chrono::duration_cast<Clock::duration>(Ahead);
        if (End - m_Due > 50ms) {
            m_AnchorHz = 0; // this machine is too slow for the clock: what is lost is not caught up
            m_Due = End;
        }
    }
    return m_Due;
}

// --- memory and peripherals ---------------------------------------------------------------

const CBoard::CBank* CBoard::FindBank(U32 Addr, U32 NumBytes) const
{
    const auto It = std::find_if(m_Banks.begin(), m_Banks.end(), [&](const CBank& b) {
        return Addr >= b.Addr && U64(Addr) + NumBytes <= U64(b.Addr) + b.NumBytes;
    });
    return It == m_Banks.end() ? nullptr : &*It;
}

bool CBoard::ReadItem(unsigned Core, U32 Addr, unsigned NumBytes, U8* pData)
{
    if (const CBank* pBank = FindBank(Addr, NumBytes)) {
        std::memcpy(pData, pBank->pData + (Addr - pBank->Addr), NumBytes);
        return true;
    }
    if (NumBytes == 8) {
        return ReadItem(Core, Addr, 4, pData) && ReadItem(Core, Addr + 4, 4, pData + 4);
    }
    U32 Value = 0;
    if (Addr % NumBytes != 0 || !this->Core(Core).BusRead(Addr, NumBytes, &Value)) {
        return false;
    }
    const bool Big = this->Core(Core).IsBigEndian(Addr);
    for (unsigned i = 0; i < NumBytes; ++i) {
        pData[i] = static_cast<U8>(Value >> 8 * (Big ? NumBytes - 1 - i : i));
    }
    return true;
}

bool CBoard::WriteItem(unsigned Core, U32 Addr, unsigned NumBytes, const U8* pData)
{
    if (const CBank* pBank = FindBank(Addr, NumBytes)) {
        if (pBank->IsFlash) {
            return false;
        }
        std::memcpy(pBank->pData + (Addr - pBank->Addr), pData, NumBytes);
        Invalidate(Addr, NumBytes);
        return true;
    }
    if (NumBytes == 8) {
        return WriteItem(Core, Addr, 4, pData) && WriteItem(Core, Addr + 4, 4, pData + 4);
    }
    if (Addr % NumBytes != 0) {
        return false;
    }
    const bool Big = this->Core(Core).IsBigEndian(Addr);
    U32 Value = 0;
    for (unsigned i = 0; i < NumBytes; ++i) {
        Value |= U32(pData[i]) << 8 * (Big ? NumBytes - 1 - i : i);
    }
    return this->Core(Core).BusWrite(Addr, NumBytes, Value);
}

void CBoard::Invalidate(U32 Addr, U32 NumBytes)
{
    const CBank* pBank = FindBank(Addr, NumBytes);
    for (CCoreSlot& Slot : m_Cores) {
        Slot.pCore->Invalidate(Addr, NumBytes);
        if (pBank && pBank->IsFlash && m_Device.FlashAlias) {
            const U32 Offset = Addr - pBank->Addr;
            Slot.pCore->Invalidate(pBank->Addr == 0 ? m_Device.Flash.Addr + Offset : Offset, NumBytes);
        }
    }
}

CPeripheral* CBoard::FindPeripheral(U32 Addr) const
{
    const U32 Index = (Addr - PERIPHERALS) / PERIPHERAL_STEP;
    const bool Inside = Addr >= PERIPHERALS && Index < m_Peripherals.size() &&
                        (Addr - PERIPHERALS) % PERIPHERAL_STEP < PERIPHERAL_SIZE;
    return Inside ? m_Peripherals[Index] : nullptr;
}

bool CBoard::BusRead(U32 Addr, unsigned NumBytes, U32* pValue)
{
    CPeripheral* const pPeripheral = FindPeripheral(Addr);
    U32 Value = 0;
    if (!pPeripheral || !pPeripheral->Read(Addr % PERIPHERAL_SIZE & ~3u, &Value)) {
        return false;
    }
    const U32 Mask = NumBytes == 4 ? ~0u : (1u << 8 * NumBytes) - 1;
    *pValue = Value >> 8 * (Addr & 3) & Mask;
    return true;
}

bool CBoard::BusWrite(U32 Addr, unsigned NumBytes, U32 Value)
{
    CPeripheral* const pPeripheral = FindPeripheral(Addr);
    if (!pPeripheral) {
        return false;
    }
    const U32 Offset = Addr % PERIPHERAL_SIZE & ~3u;
    if (NumBytes != 4) {
        const U32 Mask = ((1u << 8 * NumBytes) - 1) << 8 * (Addr & 3);
        Value = (pPeripheral->Peek(Offset) & ~Mask) | (Value << 8 * (Addr & 3) & Mask);
    }
    return pPeripheral->Write(Offset, Value);
}

U64 CBoard::GetNow() const
{
    return m_Cores.empty() ? 0 : m_Cores[0].pCore->GetCycles();
}

void CBoard::SetIrq(unsigned Irq, bool High)
{
    for (CCoreSlot& Slot : m_Cores) {
        Slot.pCore->SetIrqLevel(Irq, High);
    }
}

U64 CBoard::GetNextEvent() const
{
    U64 Next = NO_EVENT;
    for (const CPeripheral* p : m_Peripherals) {
        Next = std::min(Next, p->GetNextEvent());
    }
    return Next;
}

void CBoard::EventsChanged()
{
    if (!m_Cores.empty()) {
        Core(0).ScheduleEvent(GetNextEvent());
    }
}

U64 CBoard::DispatchEvents(U64 Cycle)
{
    for (CPeripheral* p : m_Peripherals) {
        if (p->GetNextEvent() <= Cycle) {
            p->OnEvent(Cycle);
        }
    }
    return GetNextEvent();
}

} // namespace Sim
