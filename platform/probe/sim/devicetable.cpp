#include "platform/probe/sim/devicetable.h"

#include <strings.h>

#include <algorithm>
#include <iterator>

namespace Sim {

namespace {

constexpr U32 K = 1024;
constexpr U32 M = 1024 * K;
constexpr U32 MHZ = 1000000;

constexpr CDeviceEntry DEVICES[] = {
    // name, maker, core, cores, clock, flash, sector, RAM banks, alias, BMA, big-endian, zone, breakpoints, data events
    {"Unspecified", "", 0, 1, 0, {0, 0}, 0, {{0, 0}, {0, 0}, {0, 0}}, false, 0, false, nullptr, 0, 0},
    {"VS0-32", "Vantrel", BRYLLO_CORE_CORTEX_M0, 1, 16 * MHZ, {0, 32 * K}, 1 * K, {{0x20000000, 4 * K}, {0, 0}, {0, 0}}, false, 1, false, nullptr, 4, 2},
    {"VS0-64-HI", "Vantrel", BRYLLO_CORE_CORTEX_M0, 1, 16 * MHZ, {0x08000000, 64 * K}, 1 * K, {{0x20000000, 8 * K}, {0, 0}, {0, 0}}, true, 0, false, nullptr, 4, 2},
    {"VS0P-128", "Vantrel", BRYLLO_CORE_CORTEX_M0P, 1, 24 * MHZ, {0, 128 * K}, 1 * K, {{0x20000000, 16 * K}, {0, 0}, {0, 0}}, false, 1, false, nullptr, 4, 2},
    {"VS0P-256-LP", "Vantrel", BRYLLO_CORE_CORTEX_M0P, 1, 4 * MHZ, {0x08000000, 256 * K}, 2 * K, {{0x20000000, 32 * K}, {0, 0}, {0, 0}}, true, 2, false, nullptr, 4, 2},
    {"VS0P-2CORE", "Vantrel", BRYLLO_CORE_CORTEX_M0P, 2, 32 * MHZ, {0x10000000, 2 * M}, 4 * K, {{0x20000000, 256 * K}, {0x20040000, 8 * K}, {0, 0}}, true, 1, false, nullptr, 4, 2},
    {"VS3-128", "Vantrel", BRYLLO_CORE_CORTEX_M3, 1, 24 * MHZ, {0, 128 * K}, 1 * K, {{0x20000000, 20 * K}, {0, 0}, {0, 0}}, false, 1, false, nullptr, 6, 4},
    {"VS3-512-HI", "Vantrel", BRYLLO_CORE_CORTEX_M3, 1, 32 * MHZ, {0x08000000, 512 * K}, 2 * K, {{0x20000000, 64 * K}, {0, 0}, {0, 0}}, true, 1, false, nullptr, 6, 4},
    {"VS3-512-BE", "Vantrel", BRYLLO_CORE_CORTEX_M3, 1, 32 * MHZ, {0, 512 * K}, 4 * K, {{0x20000000, 64 * K}, {0, 0}, {0, 0}}, false, 1, true, nullptr, 6, 4},
    {"VS3-256-2RAM", "Vantrel", BRYLLO_CORE_CORTEX_M3, 1, 48 * MHZ, {0, 256 * K}, 4 * K, {{0x10000000, 32 * K}, {0x2007C000, 32 * K}, {0, 0}}, false, 2, false, nullptr, 6, 4},
    {"VS4-256", "Vantrel", BRYLLO_CORE_CORTEX_M4, 1, 48 * MHZ, {0, 256 * K}, 2 * K, {{0x20000000, 64 * K}, {0, 0}, {0, 0}}, false, 0, false, "AHB", 6, 4},
    {"VS4F-512", "Vantrel", BRYLLO_CORE_CORTEX_M4F, 1, 16 * MHZ, {0, 512 * K}, 4 * K, {{0x20000000, 128 * K}, {0, 0}, {0, 0}}, false, 1, false, nullptr, 6, 4},
    {"VS4F-1024-HI", "Vantrel", BRYLLO_CORE_CORTEX_M4F, 1, 16 * MHZ, {0x08000000, 1 * M}, 16 * K, {{0x20000000, 128 * K}, {0x10000000, 64 * K}, {0, 0}}, true, 1, false, nullptr, 6, 4},
    {"VS4F-1024-NOBMA", "Vantrel", BRYLLO_CORE_CORTEX_M4F, 1, 16 * MHZ, {0, 1 * M}, 4 * K, {{0x20000000, 256 * K}, {0, 0}, {0, 0}}, false, 0, false, nullptr, 6, 4},
    {"VS4F-1024-STOP", "Vantrel", BRYLLO_CORE_CORTEX_M4F, 1, 16 * MHZ, {0, 1 * M}, 4 * K, {{0x20000000, 256 * K}, {0, 0}, {0, 0}}, false, 2, false, nullptr, 6, 4},
    {"MK66FN2M0XXX18", "NXP", BRYLLO_CORE_CORTEX_M4F, 1, 21 * MHZ, {0, 2 * M}, 4 * K, {{0x1FFF0000, 256 * K}, {0, 0}, {0, 0}}, false, 1, false, nullptr, 6, 4},
    {"VS7F-1024", "Vantrel", BRYLLO_CORE_CORTEX_M7F, 1, 32 * MHZ, {0x08000000, 1 * M}, 32 * K, {{0x20000000, 128 * K}, {0x24000000, 512 * K}, {0, 0}}, true, 1, false, nullptr, 8, 4},
    {"VS7F-2048-TCM", "Vantrel", BRYLLO_CORE_CORTEX_M7F, 1, 64 * MHZ, {0x08000000, 2 * M}, 128 * K, {{0x20000000, 128 * K}, {0x00000000, 64 * K}, {0x24000000, 512 * K}}, false, 1, false, "AXI", 8, 4},
    {"VS33-512", "Vantrel", BRYLLO_CORE_CORTEX_M33, 1, 32 * MHZ, {0, 512 * K}, 8 * K, {{0x20000000, 192 * K}, {0, 0}, {0, 0}}, false, 1, false, nullptr, 8, 4},
    {"VS33-1024-HI", "Vantrel", BRYLLO_CORE_CORTEX_M33, 1, 32 * MHZ, {0x08000000, 1 * M}, 8 * K, {{0x20000000, 256 * K}, {0x20040000, 64 * K}, {0, 0}}, true, 0, false, "AHB", 8, 4},
    {"VS33-2CORE", "Vantrel", BRYLLO_CORE_CORTEX_M33, 2, 32 * MHZ, {0, 1 * M}, 4 * K, {{0x20000000, 512 * K}, {0, 0}, {0, 0}}, false, 1, false, nullptr, 8, 4},
    {"VSRV32-256", "Vantrel", BRYLLO_CORE_RV32IMAC, 1, 16 * MHZ, {0x20000000, 256 * K}, 4 * K, {{0x80000000, 64 * K}, {0, 0}, {0, 0}}, false, 1, false, nullptr, 4, 4},
    {"VSRV32-128-HI", "Vantrel", BRYLLO_CORE_RV32IMAC, 1, 32 * MHZ, {0x08000000, 128 * K}, 1 * K, {{0x20000000, 32 * K}, {0, 0}, {0, 0}}, false, 0, false, nullptr, 4, 4},
};

struct CCoreName {
    U32 Core;
    const char* sName;
};
constexpr CCoreName CORE_NAMES[] = {
    {BRYLLO_CORE_CORTEX_M0, "Cortex-M0"}, {BRYLLO_CORE_CORTEX_M0P, "Cortex-M0+"}, {BRYLLO_CORE_CORTEX_M3, "Cortex-M3"},
    {BRYLLO_CORE_CORTEX_M4, "Cortex-M4"}, {BRYLLO_CORE_CORTEX_M4F, "Cortex-M4F"}, {BRYLLO_CORE_CORTEX_M7F, "Cortex-M7F"},
    {BRYLLO_CORE_CORTEX_M33, "Cortex-M33"}, {BRYLLO_CORE_RV32IMAC, "RV32IMAC"},
};

/// Banks lie on the 1 KB grid that the CPU core asks for, and sectors divide the flash.
constexpr bool IsTableSound()
{
    for (const CDeviceEntry& d : DEVICES) {
        for (const CMemBank& b : d.RAM) {
            if (b.Addr % K != 0 || b.NumBytes % K != 0) {
                return false;
            }
        }
        if (d.Flash.Addr % K != 0 || d.Flash.NumBytes % K != 0) {
            return false;
        }
        if (&d != &DEVICES[0] && (d.SectorSize == 0 || d.Flash.NumBytes % d.SectorSize != 0 || d.ClockHz == 0)) {
            return false;
        }
    }
    return true;
}
static_assert(std::size(DEVICES) >= 21, "row 0 and at least 20 devices");
static_assert(IsTableSound());

} // namespace

std::span<const CDeviceEntry> GetDeviceTable()
{
    return DEVICES;
}

const CDeviceEntry* FindDevice(const std::string& Name)
{
    const auto It = std::find_if(std::begin(DEVICES) + 1, std::end(DEVICES),
                                 [&](const CDeviceEntry& d) { return strcasecmp(d.sName, Name.c_str()) == 0; });
    return It == std::end(DEVICES) ? nullptr : It;
}

std::string GetCoreName(U32 Core)
{
    const auto It = std::find_if(std::begin(CORE_NAMES), std::end(CORE_NAMES), [&](const CCoreName& n) { return n.Core == Core; });
    return It == std::end(CORE_NAMES) ? "Unknown" : It->sName;
}

} // namespace Sim
