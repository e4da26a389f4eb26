// Faults made on purpose: the "Sim." commands by which tests and demos see how the debugger
// bears a probe that fails, answers late or goes away. Used under the library's lock only,
// except GetDelayMS().
#pragma once
#include "platform/probe/bryllo.h"

#include <atomic>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Probe {

class CFaults {
public:
    /// The next NumCalls calls of Operation fail: with Code, without one as the operation itself
    /// reports failure. Operation is a name of the C interface with or without its prefix.
    void FailCalls(const std::string& Operation, unsigned NumCalls, std::optional<int> Code);
    /// The connection goes away after NumCalls further calls, 0: now.
    void LoseAfter(unsigned NumCalls);
    void Restore();
    bool IsLost() const { return m_Lost; }
    /// Every call takes this much longer, in ms.
    void SetDelay(unsigned MS) { m_DelayMS.store(MS, std::memory_order_relaxed); }
    unsigned GetDelayMS() const { return m_DelayMS.load(std::memory_order_relaxed); }
    /// All of the above off, and no ranges.
    void Reset();

    struct CFailure {
        bool HasCode;
        int Code;
    };
    /// Called once at the start of every operation. Answers the failure asked for, if any.
    std::optional<CFailure> OnCall(const char* sOperation);

    enum class ERange { Unreadable, Unwritable, ShortRead };
    /// An address range that refuses reads or writes, or at whose start reads of several items end.
    void AddRange(ERange Kind, U32 Addr, U32 NumBytes);
    void ClearRanges() { m_Ranges.clear(); }
    /// Whether one access of NumBytes at Addr touches a range of that kind.
    bool Hits(ERange Kind, U32 Addr, U32 NumBytes) const;
    bool HasRanges() const { return !m_Ranges.empty(); }

private:
    struct CPlan {
        unsigned NumCalls;
        std::optional<int> Code;
    };
    struct CRange {
        ERange Kind;
        U32 Addr;
        U32 NumBytes;
    };
    static std::string Key(std::string Operation);

    std::map<std::string, CPlan> m_Plans; // by lower case name without prefix
    std::vector<CRange> m_Ranges;
    bool m_Lost = false;
    std::optional<unsigned> m_LoseAfter;
    std::atomic<unsigned> m_DelayMS{0};
};

} // namespace Probe
