// The three fixed lists of what is to stand in the target: instruction breakpoints, data breakpoints and
// tracepoints. They outlive connections.
//
// The worker is the only writer but for the condition marks. Every operation takes the lists' own lock, so
// that a reader on the GUI thread never meets a list being moved.
#pragma once
#include "device/queue/devicetypes.h"

#include <mutex>

class CDeviceLists {
public:
    // ---- Instruction breakpoints: slots 0 to count - 1 are used ----------------------------------------
    int BpListFind(U32 Addr) const; ///< index or -1
    int BpListGetInsertPos() const; ///< first free slot or -1
    bool BpListOccupied(int Idx) const;
    /// Writes State and Type to the record at Addr, which keeps its counter and mark, or makes a new one.
    /// 0, or -1 when the list is full; the caller reports it.
    int BpListInsert(U32 Addr, BP_STATES State, BP_TYPES Type);
    int BpListRemove(int Idx); ///< the slots behind move down; 0, or -1 for a free slot
    void BpListClear();
    U32 BpListGetCount() const;
    /// Copy of the record at an address; all zero, so BP_STATE_OFF, when there is none.
    BP BpListGet(U32 Addr) const;
    /// Copies the records into an array of BP_LIST_SIZE and gives their number.
    U32 BpListCopy(BP* paBPs) const;
    /// Puts a copied list back.
    void BpListAssign(const BP* paBPs, U32 Cnt);
    bool BpListSetCondition(U32 Addr, bool HasCondition); ///< false when there is no record
    void BpListCountHit(U32 Addr);
    void BpListResetHits();
    void BpListSetImplType(U32 Addr, BP_TYPES ImplType);
    /// Gives a record the counter and the mark of an older one.
    void BpListCarryOver(const BP& Old);

    // ---- Data breakpoints: a freed slot stays free -----------------------------------------------------
    /// The record equal in address, masks, value, access type and size; -1 when none.
    int WpListFind(const WP& Wp) const;
    int WpListGetInsertPos() const;
    bool WpListOccupied(int Idx) const;
    int WpListInsert(const WP& Wp); ///< 0, or -1 when the list is full
    int WpListRemove(int Idx);
    void WpListClear();
    U32 WpListGetCount() const;
    U32 WpListCopy(WP* paWPs) const; ///< in slot order, into an array of BP_LIST_SIZE

    // ---- Tracepoints: a freed slot stays free ----------------------------------------------------------
    int TpListFind(const TP& Tp) const; ///< by address
    int TpListGetInsertPos() const;
    bool TpListOccupied(int Idx) const;
    int TpListInsert(const TP& Tp); ///< 0, or -1 when the list is full
    int TpListRemove(int Idx);
    void TpListClear();
    U32 TpListGetCount() const;
    U32 TpListCopy(TP* paTPs) const;

    static bool IsSameWp(const WP& A, const WP& B);

private:
    int _BpFind(U32 Addr) const;

    mutable std::mutex m_Mutex;
    BP m_aBp[BP_LIST_SIZE] = {};
    WP m_aWp[BP_LIST_SIZE] = {};
    TP m_aTp[BP_LIST_SIZE] = {};
    U32 m_NumBps = 0;
    U32 m_NumWps = 0;
    U32 m_NumTps = 0;
};
