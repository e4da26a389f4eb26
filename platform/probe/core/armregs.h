// Names of the registers of an M-profile core that BRYLLOARM_ReadCPReg knows, whatever reaches them.
#pragma once
#include "platform/probe/bryllo.h"

#include <string>

namespace Probe {

/// A register that has a name: one of the core by index, one of the system space by address.
struct CNamedReg {
    const char* sName;
    U32 IndexOrAddr;
    bool IsIndex() const { return IndexOrAddr < 256; } // BRYLLO_REG_...
};

/// Without regard to case; null for other names.
const CNamedReg* FindNamedReg(const std::string& Name);

} // namespace Probe
