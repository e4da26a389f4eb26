#include "device/queue/deviceeventring.h"

#include <cstring>

int CDeviceEventRing::Post(const DEVICE_EVENT& Event)
{
    U32 Slot;
    {
        std::lock_guard Lock(m_PostMutex);
        Slot = m_Write;
        if (m_aEntry[Slot].Type.load(std::memory_order_acquire) != DEV_EVENT_NONE) return -1;
        m_Write = (Slot + 1) % EVENT_SLOTS;
    }
    ENTRY& Entry = m_aEntry[Slot];
    Entry.Arg0.store(Event.Arg0, std::memory_order_relaxed);
    Entry.Arg1.store(Event.Arg1, std::memory_order_relaxed);
    Entry.Type.store(Event.Type, std::memory_order_release);
    return 0;
}

bool CDeviceEventRing::Pop(DEVICE_EVENT* pEvent)
{
    std::lock_guard Lock(m_PopMutex);
    const U32 Slot = m_Read.load(std::memory_order_relaxed);
    if (!Peek(0, pEvent)) return false;
    m_aEntry[Slot].Type.store(DEV_EVENT_NONE, std::memory_order_release);
    m_Read.store((Slot + 1) % EVENT_SLOTS, std::memory_order_relaxed);
    return true;
}

bool CDeviceEventRing::Peek(U32 Idx, DEVICE_EVENT* pEvent) const
{
    const ENTRY& Entry = m_aEntry[(m_Read.load(std::memory_order_relaxed) + Idx) % EVENT_SLOTS];
    pEvent->Type = Entry.Type.load(std::memory_order_acquire);
    if (pEvent->Type == DEV_EVENT_NONE) return false;
    pEvent->Arg0 = Entry.Arg0.load(std::memory_order_relaxed);
    pEvent->Arg1 = Entry.Arg1.load(std::memory_order_relaxed);
    return true;
}

U32 CDeviceEventRing::StoreText(const char* sText)
{
    std::lock_guard Lock(m_TextMutex);
    const U32 Slot = m_NextText;
    m_NextText = (m_NextText + 1) % EVENT_TEXT_SLOTS;
    const size_t Len = strnlen(sText, EVENT_TEXT_LEN);
    std::memcpy(m_aText[Slot], sText, Len);
    m_aText[Slot][Len] = 0;
    return Slot;
}

void CDeviceEventRing::LoadText(U32 Slot, char (&sText)[EVENT_TEXT_LEN + 1]) const
{
    sText[0] = 0;
    if (Slot >= EVENT_TEXT_SLOTS) return;
    std::lock_guard Lock(m_TextMutex);
    std::memcpy(sText, m_aText[Slot], sizeof sText);
}
