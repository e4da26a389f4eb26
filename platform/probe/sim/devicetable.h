// The devices that can be simulated: a row a device, in the order of the probe library's device
// table. Row 0 is "Unspecified", so that a valid index is above 0.
#pragma once
#include "platform/probe/bryllo.h"

#include <span>
#include <string>

namespace Sim {

struct CMemBank {
    U32 Addr = 0;
    U32 NumBytes = 0; // 0: no such bank
};

struct CDeviceEntry {
    const char* sName = "";
    const char* sManu = "";
    U32 Core = 0;                // core id
    unsigned NumCores = 1;       // 1 or 2
    U32 ClockHz = 0;             // CPU clock after reset
    CMemBank Flash = {};         // the bank that code is downloaded to
    U32 SectorSize = 0;          // bytes erased at once
    CMemBank RAM[3] = {};        // the first is the one callers are told of
    bool FlashAlias = false;     // flash is also seen at address 0
    U8 BMA = 0;                  // memory access while running: 0 none, 1 yes, 2 by stop mode emulation
    bool BigEndian = false;      // can be strapped to big-endian data
    const char* sZone = nullptr; // name of a zone that is reachable while running, or null
    U8 NumBPUnits = 0;           // hardware breakpoints
    U8 NumDataUnits = 0;         // data events
};

std::span<const CDeviceEntry> GetDeviceTable();
/// The entry of that name, without regard to case; null for unknown names and "Unspecified".
const CDeviceEntry* FindDevice(const std::string& Name);
std::string GetCoreName(U32 Core);

} // namespace Sim
