#include "platform/probe/core/faults.h"

#include <algorithm>
#include <cctype>

namespace Probe {

std::string CFaults::Key(std::string Operation)
{
    std::transform(Operation.begin(), Operation.end(), Operation.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    for (const char* sPrefix : {"brylloarm_", "bryllo_"}) {
        if (Operation.starts_with(sPrefix)) {
            return Operation.substr(std::string(sPrefix).size());
        }
    }
    return Operation;
}

void CFaults::FailCalls(const std::string& Operation, unsigned NumCalls, std::optional<int> Code)
{
    if (NumCalls == 0) {
        m_Plans.erase(Key(Operation));
    } else {
        m_Plans[Key(Operation)] = CPlan{NumCalls, Code};
    }
}

void CFaults::LoseAfter(unsigned NumCalls)
{
    m_Lost = NumCalls == 0;
    m_LoseAfter = NumCalls == 0 ? std::nullopt : std::optional<unsigned>(NumCalls);
}

void CFaults::Restore()
{
    m_Lost = false;
    m_LoseAfter.reset();
}

void CFaults::Reset()
{
    Restore();
    SetDelay(0);
    m_Plans.clear();
    m_Ranges.clear();
}

std::optional<CFaults::CFailure> CFaults::OnCall(const char* sOperation)
{
    if (m_LoseAfter) {
        if (*m_LoseAfter == 0) {
            LoseAfter(0);
        } else {
            --*m_LoseAfter;
        }
    }
    if (m_Plans.empty()) {
        return std::nullopt;
    }
    const auto It = m_Plans.find(Key(sOperation));
    if (It == m_Plans.end()) {
        return std::nullopt;
    }
    const CFailure Failure{It->second.Code.has_value(), It->second.Code.value_or(0)};
    if (--It->second.NumCalls == 0) {
        m_Plans.erase(It);
    }
    return Failure;
}

void CFaults::AddRange(ERange Kind, U32 Addr, U32 NumBytes)
{
    m_Ranges.push_back({Kind, Addr, NumBytes});
}

bool CFaults::Hits(ERange Kind, U32 Addr, U32 NumBytes) const
{
    return std::any_of(m_Ranges.begin(), m_Ranges.end(), [&](const CRange& r) {
        return r.Kind == Kind && U64(Addr) < U64(r.Addr) + r.NumBytes && U64(r.Addr) < U64(Addr) + NumBytes;
    });
}

} // namespace Probe
