// The cores that the plug-in knows, a row each.
#pragma once
#include "armdisasm.h"

#include <cstdint>

struct ARM_KIND {
    uint32_t CoreId;
    ARM_PROFILE Profile;
    uint32_t NumRegs;        ///< register indexes from 0
    bool HasFPU;
    const char* sRegFile;    ///< CPU register set file
};

/// Row of a core id; an id that isn't listed gets the row of its family. Null for a family that isn't Cortex-M.
const ARM_KIND* ARM_FindKind(int32_t CoreId);

/// Number of the probe library for a register index of the kind, 0xFFFFFFFF if there is none.
uint32_t ARM_GetRegId(const ARM_KIND& Kind, uint32_t RegIdx);
