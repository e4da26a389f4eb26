// CDeviceEventRing: the ring of events on their way to the GUI thread, with the texts that some carry.
#pragma once
#include "device/queue/deviceevent.h"

#include <array>
#include <atomic>
#include <mutex>

class CDeviceEventRing {
public:
    /// Any thread. 0, or -1 when the entry at the write index isn't free.
    int Post(const DEVICE_EVENT& Event);
    /// Moves the oldest entry out. False when the ring is empty. Any thread, in practice the GUI thread.
    bool Pop(DEVICE_EVENT* pEvent);
    /// Copies the entry Idx places behind the read index; false when there is none. GUI thread.
    bool Peek(U32 Idx, DEVICE_EVENT* pEvent) const;
    /// Stores a text, cut at 1,000 characters, and returns its slot. Slots are used in a circle without a test:
    /// 1,000 messages may be in flight. Any thread.
    U32 StoreText(const char* sText);
    /// Copies a text out. A slot beyond the ring gives an empty text.
    void LoadText(U32 Slot, char (&sText)[EVENT_TEXT_LEN + 1]) const;

private:
    struct ENTRY {
        std::atomic<U32> Type{DEV_EVENT_NONE}; ///< stored last when an entry is filled
        std::atomic<U64> Arg0{0};
        std::atomic<U64> Arg1{0};
    };
    std::array<ENTRY, EVENT_SLOTS> m_aEntry;
    std::mutex m_PostMutex; ///< write index
    std::mutex m_PopMutex;  ///< read index
    U32 m_Write = 0;
    std::atomic<U32> m_Read{0};

    mutable std::mutex m_TextMutex;
    U32 m_NextText = 0;
    std::array<char[EVENT_TEXT_LEN + 1], EVENT_TEXT_SLOTS> m_aText{};
};
