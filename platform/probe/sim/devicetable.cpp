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
    // clang-format off
    {.sName = "Unspecified"},
    {.sName = "VS0-32", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M0, .ClockHz = 16 * MHZ,
     .Flash = {0, 32 * K}, .SectorSize = 1 * K, .RAM = {{0x20000000, 4 * K}}, .BMA = 1, .NumBPUnits = 4, .NumDataUnits = 2},
    {.sName = "VS0-64-HI", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M0, .ClockHz = 16 * MHZ,
     .Flash = {0x08000000, 64 * K}, .SectorSize = 1 * K, .RAM = {{0x20000000, 8 * K}}, .FlashAlias = true, .BMA = 0, .NumBPUnits = 4, .NumDataUnits = 2},
    {.sName = "VS0P-128", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M0P, .ClockHz = 24 * MHZ,
     .Flash = {0, 128 * K}, .SectorSize = 1 * K, .RAM = {{0x20000000, 16 * K}}, .BMA = 1, .NumBPUnits = 4, .NumDataUnits = 2},
    {.sName = "VS0P-256-LP", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M0P, .ClockHz = 4 * MHZ,
     .Flash = {0x08000000, 256 * K}, .SectorSize = 2 * K, .RAM = {{0x20000000, 32 * K}}, .FlashAlias = true, .BMA = 2, .NumBPUnits = 4, .NumDataUnits = 2},
    {.sName = "VS0P-2CORE", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M0P, .NumCores = 2, .ClockHz = 32 * MHZ,
     .Flash = {0x10000000, 2 * M}, .SectorSize = 4 * K, .RAM = {{0x20000000, 256 * K}, {0x20040000, 8 * K}}, .FlashAlias = true, .BMA = 1, .NumBPUnits = 4, .NumDataUnits = 2},
    {.sName = "VS3-128", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M3, .ClockHz = 24 * MHZ,
     .Flash = {0, 128 * K}, .SectorSize = 1 * K, .RAM = {{0x20000000, 20 * K}}, .BMA = 1, .NumBPUnits = 6, .NumDataUnits = 4},
    {.sName = "VS3-512-HI", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M3, .ClockHz = 32 * MHZ,
     .Flash = {0x08000000, 512 * K}, .SectorSize = 2 * K, .RAM = {{0x20000000, 64 * K}}, .FlashAlias = true, .BMA = 1, .NumBPUnits = 6, .NumDataUnits = 4},
    {.sName = "VS3-512-BE", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M3, .ClockHz = 32 * MHZ,
     .Flash = {0, 512 * K}, .SectorSize = 4 * K, .RAM = {{0x20000000, 64 * K}}, .BMA = 1, .BigEndian = true, .NumBPUnits = 6, .NumDataUnits = 4},
    {.sName = "VS3-256-2RAM", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M3, .ClockHz = 48 * MHZ,
     .Flash = {0, 256 * K}, .SectorSize = 4 * K, .RAM = {{0x10000000, 32 * K}, {0x2007C000, 32 * K}}, .BMA = 2, .NumBPUnits = 6, .NumDataUnits = 4},
    {.sName = "VS4-256", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M4, .ClockHz = 48 * MHZ,
     .Flash = {0, 256 * K}, .SectorSize = 2 * K, .RAM = {{0x20000000, 64 * K}}, .BMA = 0, .sZone = "AHB", .NumBPUnits = 6, .NumDataUnits = 4},
    {.sName = "VS4F-512", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M4F, .ClockHz = 16 * MHZ,
     .Flash = {0, 512 * K}, .SectorSize = 4 * K, .RAM = {{0x20000000, 128 * K}}, .BMA = 1, .NumBPUnits = 6, .NumDataUnits = 4},
    {.sName = "VS4F-1024-HI", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M4F, .ClockHz = 16 * MHZ,
     .Flash = {0x08000000, 1 * M}, .SectorSize = 16 * K, .RAM = {{0x20000000, 128 * K}, {0x10000000, 64 * K}}, .FlashAlias = true, .BMA = 1, .NumBPUnits = 6, .NumDataUnits = 4},
    {.sName = "VS4F-1024-NOBMA", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M4F, .ClockHz = 16 * MHZ,
     .Flash = {0, 1 * M}, .SectorSize = 4 * K, .RAM = {{0x20000000, 256 * K}}, .BMA = 0, .NumBPUnits = 6, .NumDataUnits = 4},
    {.sName = "VS4F-1024-STOP", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M4F, .ClockHz = 16 * MHZ,
     .Flash = {0, 1 * M}, .SectorSize = 4 * K, .RAM = {{0x20000000, 256 * K}}, .BMA = 2, .NumBPUnits = 6, .NumDataUnits = 4},
    {.sName = "MK66FN2M0XXX18", .sManu = "Kestrel", .Core = BRYLLO_CORE_CORTEX_M4F, .ClockHz = 21 * MHZ,
     .Flash = {0, 2 * M}, .SectorSize = 4 * K, .RAM = {{0x1FFF0000, 256 * K}}, .BMA = 1, .NumBPUnits = 6, .NumDataUnits = 4},
    {.sName = "VS7F-1024", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M7F, .ClockHz = 32 * MHZ,
     .Flash = {0x08000000, 1 * M}, .SectorSize = 32 * K, .RAM = {{0x20000000, 128 * K}, {0x24000000, 512 * K}}, .FlashAlias = true, .BMA = 1, .NumBPUnits = 8, .NumDataUnits = 4},
    {.sName = "VS7F-2048-TCM", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M7F, .ClockHz = 64 * MHZ,
     .Flash = {0x08000000, 2 * M}, .SectorSize = 128 * K, .RAM = {{0x20000000, 128 * K}, {0x00000000, 64 * K}, {0x24000000, 512 * K}}, .BMA = 1, .sZone = "AXI", .NumBPUnits = 8, .NumDataUnits = 4},
    {.sName = "VS33-512", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M33, .ClockHz = 32 * MHZ,
     .Flash = {0, 512 * K}, .SectorSize = 8 * K, .RAM = {{0x20000000, 192 * K}}, .BMA = 1, .NumBPUnits = 8, .NumDataUnits = 4},
    {.sName = "VS33-1024-HI", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M33, .ClockHz = 32 * MHZ,
     .Flash = {0x08000000, 1 * M}, .SectorSize = 8 * K, .RAM = {{0x20000000, 256 * K}, {0x20040000, 64 * K}}, .FlashAlias = true, .BMA = 0, .sZone = "AHB", .NumBPUnits = 8, .NumDataUnits = 4},
    {.sName = "VS33-2CORE", .sManu = "Vantrel", .Core = BRYLLO_CORE_CORTEX_M33, .NumCores = 2, .ClockHz = 32 * MHZ,
     .Flash = {0, 1 * M}, .SectorSize = 4 * K, .RAM = {{0x20000000, 512 * K}}, .BMA = 1, .NumBPUnits = 8, .NumDataUnits = 4},
    {.sName = "VSRV32-256", .sManu = "Vantrel", .Core = BRYLLO_CORE_RV32IMAC, .ClockHz = 16 * MHZ,
     .Flash = {0x20000000, 256 * K}, .SectorSize = 4 * K, .RAM = {{0x80000000, 64 * K}}, .BMA = 1, .NumBPUnits = 4, .NumDataUnits = 4},
    {.sName = "VSRV32-128-HI", .sManu = "Vantrel", .Core = BRYLLO_CORE_RV32IMAC, .ClockHz = 32 * MHZ,
     .Flash = {0x08000000, 128 * K}, .SectorSize = 1 * K, .RAM = {{0x20000000, 32 * K}}, .BMA = 0, .NumBPUnits = 4, .NumDataUnits = 4},
    // clang-format on
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
