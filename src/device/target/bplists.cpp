#include "device/target/bplists.h"

#include <algorithm>

namespace {
/// Lookup and removal that the sparse lists of data breakpoints and tracepoints share.
template <class REC> int FindFree(const REC (&aRec)[BP_LIST_SIZE])
{
    for (U32 i = 0; i < BP_LIST_SIZE; i++)
        if (!aRec[i].Valid) return int(i);
    return -1;
}
template <class REC> bool Occupied(const REC (&aRec)[BP_LIST_SIZE], int Idx)
{
    return Idx >= 0 && U32(Idx) < BP_LIST_SIZE && aRec[Idx].Valid;
}
template <class REC> U32 CopyValid(const REC (&aRec)[BP_LIST_SIZE], REC* paDest)
{
    U32 Num = 0;
    for (const REC& Rec : aRec)
        if (Rec.Valid) paDest[Num++] = Rec;
    return Num;
}
template <class REC> int Insert(REC (&aRec)[BP_LIST_SIZE], U32& Count, int Idx, const REC& Rec)
{
    if (Idx < 0) {
        Idx = FindFree(aRec);
        if (Idx < 0) return -1;
        Count = std::min(Count + 1, BP_LIST_SIZE);
    }
    aRec[Idx] = Rec;
    aRec[Idx].Valid = 1;
    return 0;
}
template <class REC> int Remove(REC (&aRec)[BP_LIST_SIZE], U32& Count, int Idx)
{
    if (!Occupied(aRec, Idx)) return -1;
    aRec[Idx] = REC();
    aRec[Idx].Valid = 0;
    if (Count > 0) Count--;
    return 0;
}
} // namespace

// ---- Instruction breakpoints ---------------------------------------------------------------------------

int CDeviceLists::_BpFind(U32 Addr) const
{
    for (U32 i = 0; i < m_NumBps; i++)
        if (m_aBp[i].Addr == Addr) return int(i);
    return -1;
}

int CDeviceLists::BpListFind(U32 Addr) const
{
    std::lock_guard Lock(m_Mutex);
    return _BpFind(Addr);
}

int CDeviceLists::BpListGetInsertPos() const
{
    std::lock_guard Lock(m_Mutex);
    return m_NumBps < BP_LIST_SIZE ? int(m_NumBps) : -1;
}

bool CDeviceLists::BpListOccupied(int Idx) const
{
    std::lock_guard Lock(m_Mutex);
    return Occupied(m_aBp, Idx);
}

int CDeviceLists::BpListInsert(U32 Addr, BP_STATES State, BP_TYPES Type)
{
    std::lock_guard Lock(m_Mutex);
    int Idx = _BpFind(Addr);
    if (Idx < 0) {
        if (m_NumBps >= BP_LIST_SIZE) return -1;
        Idx = int(m_NumBps++);
        m_aBp[Idx] = BP();
    }
    BP& Bp = m_aBp[Idx];
    Bp.Addr = Addr;
    Bp.State = State;
    Bp.Type = Type;
    Bp.ImplType = BP_TYPE_ANY;
    Bp.Valid = 1;
    return 0;
}

int CDeviceLists::BpListRemove(int Idx)
{
    std::lock_guard Lock(m_Mutex);
    if (Idx < 0 || U32(Idx) >= m_NumBps) return -1;
    std::move(m_aBp + Idx + 1, m_aBp + m_NumBps, m_aBp + Idx);
    m_aBp[--m_NumBps] = BP();
    return 0;
}

void CDeviceLists::BpListClear()
{
    BpListAssign(nullptr, 0);
}

U32 CDeviceLists::BpListGetCount() const
{
    std::lock_guard Lock(m_Mutex);
    return m_NumBps;
}

BP CDeviceLists::BpListGet(U32 Addr) const
{
    std::lock_guard Lock(m_Mutex);
    const int Idx = _BpFind(Addr);
    return Idx < 0 ? BP() : m_aBp[Idx];
}

U32 CDeviceLists::BpListCopy(BP* paBPs) const
{
    std::lock_guard Lock(m_Mutex);
    std::copy(m_aBp, m_aBp + m_NumBps, paBPs);
    return m_NumBps;
}

void CDeviceLists::BpListAssign(const BP* paBPs, U32 Cnt)
{
    std::lock_guard Lock(m_Mutex);
    std::copy(paBPs, paBPs + Cnt, m_aBp);
    std::fill(m_aBp + Cnt, m_aBp + BP_LIST_SIZE, BP());
    m_NumBps = Cnt;
}

bool CDeviceLists::BpListSetCondition(U32 Addr, bool HasCondition)
{
    std::lock_guard Lock(m_Mutex);
    const int Idx = _BpFind(Addr);
    if (Idx < 0) return false;
    m_aBp[Idx].HasCondition = HasCondition;
    return true;
}

void CDeviceLists::BpListCountHit(U32 Addr)
{
    std::lock_guard Lock(m_Mutex);
    const int Idx = _BpFind(Addr);
    if (Idx >= 0) m_aBp[Idx].HitCount++;
}

void CDeviceLists::BpListResetHits()
{
    std::lock_guard Lock(m_Mutex);
    for (U32 i = 0; i < m_NumBps; i++) m_aBp[i].HitCount = 0;
}

void CDeviceLists::BpListSetImplType(U32 Addr, BP_TYPES ImplType)
{
    std::lock_guard Lock(m_Mutex);
    const int Idx = _BpFind(Addr);
    if (Idx >= 0) m_aBp[Idx].ImplType = ImplType;
}

void CDeviceLists::BpListCarryOver(const BP& Old)
{
    std::lock_guard Lock(m_Mutex);
    const int Idx = _BpFind(Old.Addr);
    if (Idx < 0) return;
    m_aBp[Idx].HitCount = Old.HitCount;
    m_aBp[Idx].HasCondition = Old.HasCondition;
}

// ---- Data breakpoints ----------------------------------------------------------------------------------

bool CDeviceLists::IsSameWp(const WP& A, const WP& B)
{
    return A.Addr == B.Addr && A.AddrMask == B.AddrMask && A.MatchValue == B.MatchValue &&
           A.ValueMask == B.ValueMask && A.AccessType == B.AccessType && A.AccessSize == B.AccessSize;
}

int CDeviceLists::WpListFind(const WP& Wp) const
{
    std::lock_guard Lock(m_Mutex);
    for (U32 i = 0; i < BP_LIST_SIZE; i++)
        if (m_aWp[i].Valid && IsSameWp(m_aWp[i], Wp)) return int(i);
    return -1;
}

int CDeviceLists::WpListGetInsertPos() const
{
    std::lock_guard Lock(m_Mutex);
    return FindFree(m_aWp);
}

bool CDeviceLists::WpListOccupied(int Idx) const
{
    std::lock_guard Lock(m_Mutex);
    return Occupied(m_aWp, Idx);
}

int CDeviceLists::WpListInsert(const WP& Wp)
{
    const int Idx = WpListFind(Wp);
    std::lock_guard Lock(m_Mutex);
    return Insert(m_aWp, m_NumWps, Idx, Wp);
}

int CDeviceLists::WpListRemove(int Idx)
{
    std::lock_guard Lock(m_Mutex);
    return Remove(m_aWp, m_NumWps, Idx);
}

void CDeviceLists::WpListClear()
{
    std::lock_guard Lock(m_Mutex);
    std::fill(std::begin(m_aWp), std::end(m_aWp), WP());
    m_NumWps = 0;
}

U32 CDeviceLists::WpListGetCount() const
{
    std::lock_guard Lock(m_Mutex);
    return m_NumWps;
}

U32 CDeviceLists::WpListCopy(WP* paWPs) const
{
    std::lock_guard Lock(m_Mutex);
    return CopyValid(m_aWp, paWPs);
}

// ---- Tracepoints ---------------------------------------------------------------------------------------

int CDeviceLists::TpListFind(const TP& Tp) const
{
    std::lock_guard Lock(m_Mutex);
    for (U32 i = 0; i < BP_LIST_SIZE; i++)
        if (m_aTp[i].Valid && m_aTp[i].Addr == Tp.Addr) return int(i);
    return -1;
}

int CDeviceLists::TpListGetInsertPos() const
{
    std::lock_guard Lock(m_Mutex);
    return FindFree(m_aTp);
}

bool CDeviceLists::TpListOccupied(int Idx) const
{
    std::lock_guard Lock(m_Mutex);
    return Occupied(m_aTp, Idx);
}

int CDeviceLists::TpListInsert(const TP& Tp)
{
    const int Idx = TpListFind(Tp);
    std::lock_guard Lock(m_Mutex);
    return Insert(m_aTp, m_NumTps, Idx, Tp);
}

int CDeviceLists::TpListRemove(int Idx)
{
    std::lock_guard Lock(m_Mutex);
    return Remove(m_aTp, m_NumTps, Idx);
}

void CDeviceLists::TpListClear()
{
    std::lock_guard Lock(m_Mutex);
    std::fill(std::begin(m_aTp), std::end(m_aTp), TP());
    m_NumTps = 0;
}

U32 CDeviceLists::TpListGetCount() const
{
    std::lock_guard Lock(m_Mutex);
    return m_NumTps;
}

U32 CDeviceLists::TpListCopy(TP* paTPs) const
{
    std::lock_guard Lock(m_Mutex);
    return CopyValid(m_aTp, paTPs);
}
