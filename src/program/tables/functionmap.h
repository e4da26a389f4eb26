// Which functions lie around an address? For each stretch of addresses the answer is worked out once: the function
// that is really there and the innermost inline expansion.
//
//   CFunctionMap Map;
//   Map.Add(0x8000, 0x801E, hFunc, false);
//   Map.Build();
//   if (const CFunctionMap::STRETCH* p = Map.Find(PC)) Show(Map.Handle(p->Inner));
//
// All symbols are of one file. A stretch names them by their ids, so that an answer needs no second table.
// Of several intervals around an address the longest is the outermost; of equal ones the one added first. Not
// thread-safe while it is being built.
#pragma once
#include "program/elf/bigarray.h"
#include "app/services/types.h"

#include <vector>

class CFunctionMap {
public:
    struct STRETCH {
        U32 Addr;  ///< first address; the stretch ends where the next one begins
        U32 Outer; ///< first real function, else the outermost interval; through Handle()
        U32 Inner; ///< innermost expansion, else as Outer
    };
    enum class KIND : U8 { FUNCTION, EXPANSION, ELF_SYMBOL };

    /// Adds [Low, High]; Low above High is left out.
    /// hSym: a debug symbol, or an ELF symbol for KIND::ELF_SYMBOL; 31 bits of its id count.
    void Add(U32 Low, U32 High, U64 hSym, KIND Kind);
    void Reserve(size_t Count);
    void Build();
    /// By address, for an index.
    const CBigVector<STRETCH>& Stretches() const { return m_aStretch; }
    /// The stretch around an address, null below the first one. It stays until the next Build.
    const STRETCH* Find(U32 Addr) const;
    /// The symbol that a stretch names; 0 if there is none.
    U64 Handle(U32 Ref) const { return Ref == NO_SYMBOL ? 0 : m_ahBase[Ref >> ID_BITS] | (Ref & ID_MASK); }

private:
    struct INTERVAL {
        U32 Low, High;
        U32 Order; ///< of the adding
        U32 Ref;
        KIND Kind;
        U32 Size() const { return High - Low; }
    };
    static constexpr U32 ID_BITS = 31, ID_MASK = (1u << ID_BITS) - 1, NO_SYMBOL = 0xFFFFFFFFu;
    /// No program nests deeper; damaged input must not make each stretch look through thousands.
    static constexpr size_t MAX_AROUND = 1024;
    void _Append(U32 Addr, const std::vector<INTERVAL>& aAround);

    std::vector<INTERVAL> m_aInterval;
    CBigVector<STRETCH> m_aStretch;
    U64 m_ahBase[2] = {}; ///< handles of debug symbols and of ELF symbols without their ids
};
