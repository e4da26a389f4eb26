// The short display names of base types: "unsigned char" of any compiler shows as "uchar".
#pragma once

#include <string>

/// Rewrites a compiler's spelling of a base type.
std::string NormalizedTypeName(std::string sName);
/// The same into a static buffer of 512 bytes, valid until the next call.
const char* NormalizeTypeName(const char* sName);
