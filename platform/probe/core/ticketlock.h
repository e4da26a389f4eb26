// First come, first served lock around everything in the library. The thread that runs the
// simulated CPU takes it for one slice after another, so a plain mutex could keep callers (or a
// caller that polls could keep the CPU) out for seconds; turns in order of arrival cannot.
#pragma once
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace Probe {

class CTicketLock {
public:
    void lock()
    {
        std::unique_lock Guard(m_Mutex);
        const std::uint64_t Mine = m_Next++;
        m_Turn.wait(Guard, [&] { return m_Serving == Mine; });
    }
    void unlock()
    {
        bool Contended;
        {
            std::lock_guard Guard(m_Mutex);
            ++m_Serving;
            Contended = m_Serving != m_Next;
        }
        if (Contended) {
            m_Turn.notify_all();
        }
    }

private:
    std::mutex m_Mutex;
    std::condition_variable m_Turn;
    std::uint64_t m_Next = 0;    // ticket of the next thread to arrive
    std::uint64_t m_Serving = 0; // ticket of the thread inside
};

} // namespace Probe
