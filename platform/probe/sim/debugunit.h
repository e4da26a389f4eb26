// Breakpoints and data events that the debugger has set in one core: which of them take a unit of
// the hardware, which are software, and their handles.
#pragma once
#include "platform/probe/sim/board.h"

#include <vector>

namespace Sim {

class CDebugUnit {
public:
    /// Attaches to a core; what was set in the one before is taken out of it.
    void Attach(CBoard* pBoard, unsigned Core);
    /// The board has made its cores anew: everything is set again.
    void Reapply();

    void SetNumBPUnits(unsigned NumUnits) { m_NumBPUnits = NumUnits; }
    void SetNumDataUnits(unsigned NumUnits) { m_NumDataUnits = NumUnits; }
    void EnableFlashBPs(bool Enable) { m_FlashBPs = Enable; }

    /// Handle of the breakpoint at that address, 0 when there is none.
    int Find(U32 Addr) const;
    /// Handle, 0 when it cannot be set. MemoryOpen: the target's memory can be written now; if it
    /// cannot, software breakpoints wait for ApplyPending().
    int Set(U32 Addr, U32 TypeWord, bool MemoryOpen, bool FlashOpen);
    int Clear(U32 Handle);
    int GetInfo(int Index, BRYLLOARM_BP_INFO* pInfo) const;
    /// The target is about to run from a halt: waiting breakpoints get into it.
    void ApplyPending();

    int SetEvent(const BRYLLOARM_DATA_EVENT& Event, U32* pHandle);
    int ClearEvent(U32 Handle);
    int GetEventInfo(int Index, BRYLLOARM_WP_INFO* pInfo) const;

private:
    struct CBreakpoint {
        U32 Handle;
        U32 Addr;
        U32 TypeWord;
        U32 ImpFlags; // BRYLLO_BP_IMP_..., without the pending bit
        U32 UseCnt;
        bool Pending;
    };
    struct CEvent {
        U32 Handle;
        unsigned Unit;
        BRYLLOARM_DATA_EVENT Event; // AddrMask with the bits of the access size
    };
    bool HasUnitFor(U32 Addr) const;
    U32 ChooseImplementation(U32 Addr, U32 TypeWord) const;
    void ApplyEvent(const CEvent& Event);

    CBoard* m_pBoard = nullptr;
    unsigned m_Core = 0;
    unsigned m_NumBPUnits = 0;
    unsigned m_NumDataUnits = 0;
    bool m_FlashBPs = false;
    U32 m_NextHandle = 1;
    std::vector<CBreakpoint> m_Breakpoints;
    std::vector<CEvent> m_Events;
};

} // namespace Sim
