// Access to the constant rows of the variable table, for the code of this folder.
#pragma once
#include "project/settings/sysvars.h"

/// First of NUM_SYS_VARS rows.
const SYS_VAR* GetSysVarRows();
