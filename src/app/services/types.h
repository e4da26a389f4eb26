// Integer types and sentinels used by every layer. Plain C++, no Qt.
//
//   U32 Addr = ADDR_NONE;            // no address
//   if (Addr != ADDR_NONE) ...
#pragma once
#include <cstddef>
#include <cstdint>

using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;
using I8 = std::int8_t;
using I16 = std::int16_t;
using I32 = std::int32_t;
using I64 = std::int64_t;

/// The address that means "none".
inline constexpr U32 ADDR_NONE = 0xFFFFFFFFu;
