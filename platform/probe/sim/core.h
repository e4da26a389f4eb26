// One CPU core of the simulated device, whatever its architecture. Owned by the board, used under
// the library's lock.
#pragma once
#include "platform/probe/bryllo.h"

#include <memory>
#include <string>

namespace Sim {

struct CDeviceEntry;
class ArmBus;

/// Why a run ended.
enum class ECoreStop {
    Budget,   // the cycle asked for is reached
    Sleeping, // the same, asleep
    Halted,   // a breakpoint, data event, breakpoint instruction or vector catch
    Lockup    // the core can do nothing more until it is reset
};

struct CCoreStop {
    ECoreStop Kind = ECoreStop::Budget;
    std::string Reason; // for the log, when halted
};

/// A data event as the core compares it; see BRYLLOARM_DATA_EVENT.
struct CDataMatch {
    U32 Addr;
    U32 AddrMask;
    U32 Data;
    U32 DataMask;
    bool Read, Write;
    U8 Sizes; // sum of the access sizes in bytes
};

/// Memory as it is mapped into a core.
struct CMapping {
    U32 Addr;
    U32 NumBytes;
    U8* pData;
    bool Writable;
};

class CCore {
public:
    virtual ~CCore() = default;

    virtual bool Map(const CMapping& Mapping) = 0;
    /// Bytes were changed by somebody other than this core.
    virtual void Invalidate(U32 Addr, U32 NumBytes) = 0;
    /// Access through the core's bus, to peripherals and system registers. The value is that of
    /// the register; NumBytes 1, 2 or 4. False: bus error.
    virtual bool BusRead(U32 Addr, unsigned NumBytes, U32* pValue) = 0;
    virtual bool BusWrite(U32 Addr, unsigned NumBytes, U32 Value) = 0;
    /// Whether a value at that address lies big-endian in memory.
    virtual bool IsBigEndian(U32 Addr) const = 0;

    virtual void Reset() = 0;
    virtual CCoreStop Run(U64 UntilCycle, bool StepOverBP) = 0;
    virtual CCoreStop Step(bool MaskInterrupts) = 0;
    virtual U64 GetCycles() const = 0;
    virtual U64 GetInstructions() const = 0;

    virtual bool ReadReg(U32 Index, U64* pValue) const = 0;
    virtual bool WriteReg(U32 Index, U64 Value) = 0;
    virtual bool ReadNamedReg(const std::string& Name, U64* pValue) = 0;
    virtual bool WriteNamedReg(const std::string& Name, U64 Value) = 0;

    virtual void SetBreakpoint(U32 Addr) = 0;
    virtual void ClearBreakpoint(U32 Addr) = 0;
    /// Null takes the comparator's event away.
    virtual void SetDataMatch(unsigned Index, const CDataMatch* pMatch) = 0;
    virtual unsigned GetNumDataMatches() const = 0;

    virtual void SetIrqLevel(unsigned Irq, bool High) = 0;
    virtual void ScheduleEvent(U64 Cycle) = 0;
};

/// Whether CreateCore() has an interpreter for the device.
bool CanSimulate(const CDeviceEntry& Device);
/// The core of a device that can be simulated. The bus stays the caller's, must outlive the core
/// and is asked for the vectors at once.
std::unique_ptr<CCore> CreateCore(const CDeviceEntry& Device, bool BigEndian, ArmBus* pBus);

} // namespace Sim
