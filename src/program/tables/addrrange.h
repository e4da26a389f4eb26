// A range of target addresses: start and size. A plain value.
//
//   CAddrRange Range = PROG_GetSymRange(hFunc);
//   if (Range.Contains(PC)) ...
#pragma once
#include "app/services/types.h"

#include <cstddef>

class CAddrRange {
public:
    U32 Start = 0; ///< first address
    U32 Size = 0;  ///< bytes; 0 is the empty range

    constexpr CAddrRange() = default;
    constexpr CAddrRange(U32 StartAddr, U32 NumBytes) : Start(StartAddr), Size(NumBytes) {}

    /// First address behind the range, at most 0x100000000.
    constexpr U64 End() const
    {
        const U64 Sum = static_cast<U64>(Start) + Size;
        return Sum > 0x100000000ull ? 0x100000000ull : Sum;
    }
    constexpr bool IsEmpty() const { return Size == 0; }
    constexpr bool Contains(U32 Addr) const { return Addr >= Start && Addr < End(); }

    constexpr bool operator==(const CAddrRange& Other) const = default;
    /// By start, then size.
    constexpr bool operator<(const CAddrRange& Other) const
    {
        return Start != Other.Start ? Start < Other.Start : Size < Other.Size;
    }
};

inline std::size_t qHash(const CAddrRange& Range, std::size_t Seed = 0) noexcept
{
    return ((static_cast<std::size_t>(Range.Start) + 713) * 31 + Range.Size) ^ Seed;
}
