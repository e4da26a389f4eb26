#include "device/target/regimage.h"

#include <algorithm>

void CRegImage::Resize(U32 Count)
{
    m_aValue.assign(Count, 0);
    m_aStatus.assign(Count, DATA_UNREAD);
}

void CRegImage::Set(U32 Idx, U64 Value, U8 Status)
{
    if (Idx >= GetCount()) return;
    m_aValue[Idx] = Value;
    m_aStatus[Idx] = Status;
}

void CRegImage::SetStatus(U32 Idx, U8 Status)
{
    if (Idx < GetCount()) m_aStatus[Idx] = Status;
}

void CRegImage::Invalidate()
{
    std::fill(m_aStatus.begin(), m_aStatus.end(), U8(DATA_UNREAD));
}

U32 CCPRegImage::Hash(const char* sName)
{
    if (!sName) return 0;
    U32 h = 5381;
    for (; *sName; sName++) h = h * 33 + U8(*sName);
    return h;
}

const CCPRegImage::ENTRY* CCPRegImage::_Find(const char* sName) const
{
    const U32 h = Hash(sName);
    for (const ENTRY& Entry : m_aEntry)
        if (Entry.IsUsed && Entry.Hash == h) return &Entry;
    return nullptr;
}

U8 CCPRegImage::GetStatus(const char* sName) const
{
    const ENTRY* p = _Find(sName);
    return p ? p->Status : U8(DATA_UNREAD);
}

U64 CCPRegImage::GetValue(const char* sName) const
{
    const ENTRY* p = _Find(sName);
    return p ? p->Value : 0;
}

void CCPRegImage::Set(const char* sName, U64 Value, U8 Status)
{
    auto* p = const_cast<ENTRY*>(_Find(sName));
    if (!p) {
        p = &m_aEntry[m_Next];
        m_Next = (m_Next + 1) % m_aEntry.size();
    }
    *p = {Hash(sName), Value, Status, true};
}

void CCPRegImage::Invalidate()
{
    m_aEntry = {};
    m_Next = 0;
}
