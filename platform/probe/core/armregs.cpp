#include "platform/probe/core/armregs.h"

#include <strings.h>

#include <algorithm>
#include <iterator>

namespace Probe {

constexpr CNamedReg NAMED_REGS[] = {
    {"MSP", BRYLLO_REG_MSP},
    {"PSP", BRYLLO_REG_PSP},
    {"PRIMASK", BRYLLO_REG_PRIMASK},
    {"BASEPRI", BRYLLO_REG_BASEPRI},
    {"FAULTMASK", BRYLLO_REG_FAULTMASK},
    {"CONTROL", BRYLLO_REG_CONTROL},
    {"MSPLIM", BRYLLO_REG_MSPLIM},
    {"PSPLIM", BRYLLO_REG_PSPLIM},
    {"FPSCR", BRYLLO_REG_FPSCR},
    {"XPSR", BRYLLO_REG_XPSR},
    {"ACTLR", 0xE000E008},
    {"SYST_CSR", 0xE000E010},
    {"SYST_RVR", 0xE000E014},
    {"SYST_CVR", 0xE000E018},
    {"SYST_CALIB", 0xE000E01C},
    {"CPUID", 0xE000ED00},
    {"ICSR", 0xE000ED04},
    {"VTOR", 0xE000ED08},
    {"AIRCR", 0xE000ED0C},
    {"SCR", 0xE000ED10},
    {"CCR", 0xE000ED14},
    {"SHPR1", 0xE000ED18},
    {"SHPR2", 0xE000ED1C},
    {"SHPR3", 0xE000ED20},
    {"SHCSR", 0xE000ED24},
    {"CFSR", 0xE000ED28},
    {"HFSR", 0xE000ED2C},
    {"DFSR", 0xE000ED30},
    {"MMFAR", 0xE000ED34},
    {"BFAR", 0xE000ED38},
    {"AFSR", 0xE000ED3C},
    {"CPACR", 0xE000ED88},
    {"MPU_TYPE", 0xE000ED90},
    {"MPU_CTRL", 0xE000ED94},
    {"DHCSR", 0xE000EDF0},
    {"DEMCR", 0xE000EDFC},
    {"FPCCR", 0xE000EF34},
    {"FPCAR", 0xE000EF38},
    {"FPDSCR", 0xE000EF3C},
    {"DWT_CTRL", 0xE0001000},
    {"DWT_CYCCNT", 0xE0001004},
};

const CNamedReg* FindNamedReg(const std::string& Name)
{
    const auto It = std::find_if(std::begin(NAMED_REGS), std::end(NAMED_REGS),
                                 [&](const CNamedReg& r) { return strcasecmp(r.sName, Name.c_str()) == 0; });
    return It == std::end(NAMED_REGS) ? nullptr : It;
}

} // namespace Probe
