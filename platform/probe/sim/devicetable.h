// The devices that can be simulated: a row a device, in the order of the probe library's device
// table. Row 0 is "Unspecified", so that a valid index is above 0.
#pragma once
#include "platform/probe/bryllo.h"

#include <span>
#include <string>

namespace Sim {

struct CMemBank {
    U32 Addr;
    U32 NumBytes; // 0: no such bank
};

struct CDeviceEntry {
    const char* sName;
    const char* sManu;
    U32 Core;           // core id
    unsigned NumCores;  // 1 or 2
    U32 ClockHz;        // CPU clock after reset
    CMemBank Flash;     // the bank that code is downloaded to
    U32 SectorSize;     // bytes erased at once
    CMemBank RAM[3];    // the first is the one callers are told of
    bool FlashAlias;    // flash is also seen at address 0
    U8 BMA;             // memory access while running: 0 none, 1 yes, 2 by stop mode emulation
    bool BigEndian;     // can be strapped to big-endian data
    const char* sZone;  // name of a zone that is reachable while running, or null
    U8 NumBPUnits;      // hardware breakpoints
    U8 NumDataUnits;    // data events
};

std::span<const CDeviceEntry> GetDeviceTable();
/// The entry of that name, without regard to case; null for unknown names and "Unspecified".
const CDeviceEntry* FindDevice(const std::string& Name);
std::string GetCoreName(U32 Core);

} // namespace Sim
