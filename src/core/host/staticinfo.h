// Validation of the constants that a plug-in states about its core.
#pragma once
#include "core/plugin/coreplugin.h"

/// Text of the first fault, null if the record is sound.
const char* Core_FindStaticInfoFault(const CORE_STATIC_INFO& Info);
