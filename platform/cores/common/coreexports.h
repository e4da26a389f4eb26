// The exports that every core support plug-in has. A plug-in gives its own table and name, and reaches the debugger
// through what it was handed.
#pragma once
#include "core/plugin/coreplugin.h"

/// The plug-in's table; empty slots are operations that it doesn't offer. Defined by the plug-in.
const CORE_PLUGIN_API& COREEXP_GetTable();
/// Shown to the user. Defined by the plug-in.
const char* COREEXP_GetName();

/// What the debugger offers; all empty before it has handed it over.
const CORE_DEBUGGER_API& COREEXP_GetDebugger();
