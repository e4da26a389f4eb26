#include "platform/probe/sim/debugunit.h"

#include <algorithm>

namespace Sim {

namespace {

constexpr U32 ADDR_MASK_MAX = 0x7FFF; // widest range that one comparator covers
constexpr U8 ACCESS_MASK_KNOWN = BRYLLO_ACCESS_WRITE | BRYLLO_ACCESS_SIZE_MASK | BRYLLO_ACCESS_MASK_SET;

int EventError(U32 Bits)
{
    return static_cast<int>(0x80000000u | Bits);
}

bool IsBaseline(U32 Core)
{
    return Core == BRYLLO_CORE_CORTEX_M0 || Core == BRYLLO_CORE_CORTEX_M0P;
}

/// Access sizes that an event lets through, as the sum of sizes in bytes.
U8 GetSizes(const BRYLLOARM_DATA_EVENT& Event)
{
    constexpr struct {
        U8 Code, NumBytes;
    } SIZES[] = {{BRYLLO_ACCESS_SIZE_BYTE, 1}, {BRYLLO_ACCESS_SIZE_HALF, 2}, {BRYLLO_ACCESS_SIZE_WORD, 4}};
    U8 Sizes = 0;
    for (const auto& s : SIZES) {
        if (((Event.Access ^ s.Code) & BRYLLO_ACCESS_SIZE_MASK & ~Event.AccessMask) == 0) {
            Sizes |= s.NumBytes;
        }
    }
    return Sizes;
}

} // namespace

void CDebugUnit::Attach(CBoard* pBoard, unsigned Core)
{
    if (m_pBoard) {
        Clear(BRYLLO_HANDLE_ALL);
        ClearEvent(BRYLLO_HANDLE_ALL);
    }
    m_pBoard = pBoard;
    m_Core = Core;
    m_Breakpoints.clear();
    m_Events.clear();
}

void CDebugUnit::Reapply()
{
    for (const CBreakpoint& b : m_Breakpoints) {
        if (!b.Pending) {
            m_pBoard->Core(m_Core).SetBreakpoint(b.Addr);
        }
    }
    for (const CEvent& e : m_Events) {
        ApplyEvent(e);
    }
}

int CDebugUnit::Find(U32 Addr) const
{
    const auto It = std::find_if(m_Breakpoints.begin(), m_Breakpoints.end(),
                                 [&](const CBreakpoint& b) { return b.Addr == (Addr & ~1u); });
    return It == m_Breakpoints.end() ? 0 : static_cast<int>(It->Handle);
}

/// The comparators of the older cores only see the code region.
bool CDebugUnit::HasUnitFor(U32 Addr) const
{
    const U32 Core = m_pBoard->GetDevice().Core;
    const bool CodeOnly = IsBaseline(Core) || Core == BRYLLO_CORE_CORTEX_M3 ||
                          Core == BRYLLO_CORE_CORTEX_M4 || Core == BRYLLO_CORE_CORTEX_M4F;
    const auto NumUsed = std::count_if(m_Breakpoints.begin(), m_Breakpoints.end(), [](const CBreakpoint& b) {
        return (b.ImpFlags & BRYLLO_BP_IMP_HARD) != 0;
    });
    return (!CodeOnly || Addr < 0x20000000) && static_cast<unsigned>(NumUsed) < m_NumBPUnits;
}

/// 0: it cannot be set.
U32 CDebugUnit::ChooseImplementation(U32 Addr, U32 TypeWord) const
{
    const U32 Type = TypeWord & 0xFFFFFFF0u;
    const bool Soft = Type != BRYLLO_BP_TYPE_HARD;
    const bool Hard = Type == BRYLLO_BP_TYPE_HARD || Type == BRYLLO_BP_TYPE_ANY;
    if (Hard && HasUnitFor(Addr)) {
        return BRYLLO_BP_IMP_HARD;
    }
    const CBoard::CBank* pBank = m_pBoard->FindBank(Addr, 2);
    if (!Soft || !pBank) {
        return 0;
    }
    if (!pBank->IsFlash) {
        return BRYLLO_BP_IMP_SOFT_RAM;
    }
    return m_FlashBPs ? BRYLLO_BP_IMP_SOFT_FLASH : 0;
}

int CDebugUnit::Set(U32 Addr, U32 TypeWord, bool MemoryOpen, bool FlashOpen)
{
    Addr &= ~1u;
    for (CBreakpoint& b : m_Breakpoints) {
        if (b.Addr == Addr) {
            ++b.UseCnt;
            return static_cast<int>(b.Handle);
        }
    }
    const U32 ImpFlags = ChooseImplementation(Addr, TypeWord);
    if (ImpFlags == 0) {
        return 0;
    }
    const bool Pending = (ImpFlags == BRYLLO_BP_IMP_SOFT_RAM && !MemoryOpen) ||
                         (ImpFlags == BRYLLO_BP_IMP_SOFT_FLASH && !FlashOpen);
    // A software breakpoint is kept beside the memory instead of in it: the program and the
    // debugger read their own bytes, and a program that loads code over it does not lose it.
    if (!Pending) {
        m_pBoard->Core(m_Core).SetBreakpoint(Addr);
    }
    m_Breakpoints.push_back({m_NextHandle, Addr, TypeWord, ImpFlags, 1, Pending});
    return static_cast<int>(m_NextHandle++);
}

void CDebugUnit::ApplyPending()
{
    for (CBreakpoint& b : m_Breakpoints) {
        if (b.Pending) {
            b.Pending = false;
            m_pBoard->Core(m_Core).SetBreakpoint(b.Addr);
        }
    }
}

int CDebugUnit::Clear(U32 Handle)
{
    bool Found = Handle == BRYLLO_HANDLE_ALL;
    std::erase_if(m_Breakpoints, [&](const CBreakpoint& b) {
        if (Handle != BRYLLO_HANDLE_ALL && b.Handle != Handle) {
            return false;
        }
        Found = true;
        m_pBoard->Core(m_Core).ClearBreakpoint(b.Addr);
        return true;
    });
    return Found ? 0 : BRYLLO_ERR_PARAM;
}

int CDebugUnit::GetInfo(int Index, BRYLLOARM_BP_INFO* pInfo) const
{
    auto It = m_Breakpoints.end();
    if (Index == -1) {
        It = std::find_if(m_Breakpoints.begin(), m_Breakpoints.end(),
                          [&](const CBreakpoint& b) { return b.Handle == pInfo->Handle; });
    } else if (Index >= 0 && static_cast<std::size_t>(Index) < m_Breakpoints.size()) {
        It = m_Breakpoints.begin() + Index;
    }
    if (It == m_Breakpoints.end()) {
        return BRYLLO_ERR_PARAM;
    }
    pInfo->Handle = It->Handle;
    pInfo->Addr = It->Addr;
    pInfo->Type = It->TypeWord;
    pInfo->ImpFlags = It->Pending ? U32(BRYLLO_BP_IMP_PENDING) : It->ImpFlags;
    pInfo->UseCnt = It->UseCnt;
    return static_cast<int>(m_Breakpoints.size());
}

void CDebugUnit::ApplyEvent(const CEvent& Event)
{
    const BRYLLOARM_DATA_EVENT& e = Event.Event;
    const bool AnyDirection = (e.AccessMask & BRYLLO_ACCESS_WRITE) != 0;
    const bool IsWrite = (e.Access & BRYLLO_ACCESS_WRITE) != 0;
    const CDataMatch Match{
        e.Addr,     e.AddrMask, e.Data, e.DataMask, AnyDirection || !IsWrite, AnyDirection || IsWrite,
        GetSizes(e)};
    m_pBoard->Core(m_Core).SetDataMatch(Event.Unit, &Match);
}

int CDebugUnit::SetEvent(const BRYLLOARM_DATA_EVENT& Event, U32* pHandle)
{
    CEvent New{m_NextHandle, 0, Event};
    // A sized access is aligned, so the bits below its size do not count; callers that look an
    // event up expect to find them in the mask.
    const U8 SizeCode = Event.Access & BRYLLO_ACCESS_SIZE_MASK & ~Event.AccessMask;
    New.Event.AddrMask |= SizeCode == BRYLLO_ACCESS_SIZE_WORD   ? 3u
                          : SizeCode == BRYLLO_ACCESS_SIZE_HALF ? 1u
                                                                : 0u;
    U32 Bits = 0;
    if ((New.Event.AddrMask & (New.Event.AddrMask + 1)) != 0 || New.Event.AddrMask > ADDR_MASK_MAX) {
        Bits |= BRYLLO_EVENT_ERR_INVALID_ADDR_MASK;
    }
    if ((Event.AccessMask & ~ACCESS_MASK_KNOWN) != 0 || GetSizes(Event) == 0) {
        Bits |= BRYLLO_EVENT_ERR_INVALID_ACCESS_MASK;
    }
    if (Bits != 0) {
        return EventError(Bits);
    }
    if (Event.DataMask != ~0u && IsBaseline(m_pBoard->GetDevice().Core)) {
        return EventError(BRYLLO_EVENT_ERR_NO_MORE_DATA_COMP); // these cores compare addresses only
    }
    const unsigned NumUnits = std::min(m_NumDataUnits, m_pBoard->Core(m_Core).GetNumDataMatches());
    const auto IsUsed = [&] {
        return std::any_of(m_Events.begin(), m_Events.end(),
                           [&](const CEvent& e) { return e.Unit == New.Unit; });
    };
    while (New.Unit < NumUnits && IsUsed()) {
        ++New.Unit;
    }
    if (New.Unit >= NumUnits) {
        return EventError(BRYLLO_EVENT_ERR_NO_MORE_EVENTS | BRYLLO_EVENT_ERR_NO_MORE_ADDR_COMP);
    }
    ApplyEvent(New);
    m_Events.push_back(New);
    *pHandle = m_NextHandle++;
    return 0;
}

int CDebugUnit::ClearEvent(U32 Handle)
{
    bool Found = Handle == BRYLLO_HANDLE_ALL;
    std::erase_if(m_Events, [&](const CEvent& e) {
        if (Handle != BRYLLO_HANDLE_ALL && e.Handle != Handle) {
            return false;
        }
        Found = true;
        m_pBoard->Core(m_Core).SetDataMatch(e.Unit, nullptr);
        return true;
    });
    return Found ? 0 : BRYLLO_ERR_PARAM;
}

int CDebugUnit::GetEventInfo(int Index, BRYLLOARM_WP_INFO* pInfo) const
{
    if (Index == -1) {
        return static_cast<int>(m_Events.size());
    }
    if (Index < 0 || static_cast<std::size_t>(Index) >= m_Events.size()) {
        return BRYLLO_ERR_PARAM;
    }
    const CEvent& Event = m_Events[static_cast<std::size_t>(Index)];
    pInfo->Handle = Event.Handle;
    pInfo->Addr = Event.Event.Addr;
    pInfo->AddrMask = Event.Event.AddrMask;
    pInfo->Data = Event.Event.Data;
    pInfo->DataMask = Event.Event.DataMask;
    pInfo->Access = Event.Event.Access;
    pInfo->AccessMask = Event.Event.AccessMask;
    return 0;
}

} // namespace Sim
