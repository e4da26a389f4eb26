#include "app/console/consolering.h"

#include <algorithm>
#include <cstring>
#include <thread>

int CConsoleRing::Claim()
{
    for (;;) {
        const int i = m_WriteIndex.load(std::memory_order_acquire);
        U8 Expected = FREE;
        if (m_aSlot[size_t(i)].State.compare_exchange_strong(Expected, WRITING, std::memory_order_acquire)) {
            // Between the load and the claim another writer may have used the slot and the reader freed it.
            if (m_WriteIndex.load(std::memory_order_acquire) == i) {
                m_WriteIndex.store((i + 1) % CONSOLE_RING_SLOTS, std::memory_order_release);
                return i;
            }
            m_aSlot[size_t(i)].State.store(FREE, std::memory_order_release);
            continue;
        }
        if (m_WriteIndex.load(std::memory_order_acquire) != i) continue;
        if (Expected == READY) return -1;
        // Another writer holds the slot: either the index steps at once, or its text is complete soon.
        std::this_thread::yield();
    }
}

bool CConsoleRing::Write(const QString& sText, const CONSOLE_LOOK& Look, I64 Time_us)
{
    const int i = Claim();
    if (i < 0) return false;
    SLOT_DATA& s = m_aSlot[size_t(i)];
    const int n = int(std::min<qsizetype>(sText.size(), CONSOLE_MAX_CHARS));
    std::memcpy(s.acText.data(), sText.utf16(), size_t(n) * sizeof(char16_t));
    s.acText[size_t(n)] = 0;
    s.NumChars = n;
    s.NumLines = int(std::count(s.acText.begin(), s.acText.begin() + n, u'\n')) + 1;
    s.Look = Look;
    s.Time_us = Time_us;
    s.State.store(READY, std::memory_order_release);
    return true;
}

bool CConsoleRing::Read(CONSOLE_MESSAGE* pMessage)
{
    SLOT_DATA& s = m_aSlot[size_t(m_ReadIndex)];
    if (s.State.load(std::memory_order_acquire) != READY) return false;
    pMessage->Text = QString::fromUtf16(s.acText.data(), s.NumChars);
    pMessage->Look = s.Look;
    pMessage->NumLines = s.NumLines;
    pMessage->Time_us = s.Time_us;
    m_ReadIndex = (m_ReadIndex + 1) % CONSOLE_RING_SLOTS;
    s.State.store(FREE, std::memory_order_release);
    return true;
}

void CConsoleRing::Clear()
{
    CONSOLE_MESSAGE Message;
    while (Read(&Message)) {
    }
}

bool CConsoleRing::IsEmpty() const
{
    return m_aSlot[size_t(m_ReadIndex)].State.load(std::memory_order_acquire) != READY;
}
