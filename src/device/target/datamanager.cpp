// CDeviceDataManager: memory image, parked requests and their answers.
#include "device/target/datamanager.h"
#include "app/services/log.h"
#include "device/queue/device.h"
#include "device/target/devicetarget.h"
#include "program/symbols/elfsymloc.h"

#include <QtEndian>
#include <algorithm>
#include <atomic>
#include <cstring>

namespace {
constexpr size_t MAX_ZONES = 16;
constexpr qsizetype MAX_ZONE_NAME = 127;
constexpr int MAX_SEGMENTS = 5;
CDeviceDataManager* s_pManager = nullptr;
std::atomic<CMemImage*> s_pDefaultImage{nullptr}; ///< the default zone's, for readers on other threads

template <class T> void Append(QByteArray& Bytes, const T& Value)
{
    Bytes.append(reinterpret_cast<const char*>(&Value), sizeof Value);
}
template <class T> T Take(const QByteArray& Bytes, qsizetype* pPos)
{
    T Value{};
    if (*pPos + qsizetype(sizeof Value) <= Bytes.size()) std::memcpy(&Value, Bytes.constData() + *pPos, sizeof Value);
    *pPos += sizeof Value;
    return Value;
}
bool IsSettled(U8 Status)
{
    return Status == DATA_VALID || Status == DATA_INVALID;
}
} // namespace

CDeviceDataManager& CDeviceDataManager::Get()
{
    // Never destroyed: the last listeners to go still take their requests out.
    if (!s_pManager) s_pManager = new CDeviceDataManager;
    return *s_pManager;
}

void CDeviceDataManager::OnListenerGone(CDeviceEventListener* pListener)
{
    if (s_pManager) s_pManager->RemoveListener(pListener);
}

// ---- Images --------------------------------------------------------------------------------------------

CMemImage* CDeviceDataManager::_FindZone(const char* sZone, bool Create)
{
    const QByteArray Name = QByteArray(sZone ? sZone : "").left(MAX_ZONE_NAME);
    for (ZONE& Zone : m_aZone)
        if (Zone.Name == Name) return Zone.pImage.get();
    if (!Create || m_aZone.size() >= MAX_ZONES) return nullptr;
    m_aZone.push_back({Name, std::make_unique<CMemImage>()});
    CMemImage* pImage = m_aZone.back().pImage.get();
    if (Name.isEmpty()) s_pDefaultImage = pImage; // images stay for ever
    return pImage;
}

int CDeviceDataManager::ReadImage(U32 Addr, U32 nBytes, void* pData)
{
    // What was read at the last halt that the user saw says nothing about one that is still under evaluation.
    const CMemImage* pImage = CDevice::Get().State.Halted ? s_pDefaultImage.load() : nullptr;
    return pImage && pImage->Read(Addr, nBytes, static_cast<U8*>(pData), nullptr) == DATA_VALID ? 0 : -1;
}

U8 CDeviceDataManager::_ReadImage(U32 Addr, U32 nBytes, const char* sZone, U8* paData, U8* paStatus)
{
    const CMemImage* pImage = _FindZone(sZone, false);
    return pImage ? pImage->Read(Addr, nBytes, paData, paStatus) : U8(DATA_UNREAD);
}

/// Stores what the library has read, which comes as it lies in the target's memory, whatever the size of the access.
void CDeviceDataManager::_StoreRead(U32 Addr, U32 nBytes, const char* sZone, const U8* paData, const U8* paStatus)
{
    CMemImage* pImage = _FindZone(sZone, true);
    if (!pImage) return;
    pImage->Write(Addr, nBytes, paData, paStatus);
}

void CDeviceDataManager::_ClearImages()
{
    for (ZONE& Zone : m_aZone) Zone.pImage->Invalidate();
    m_Regs.Invalidate();
    m_CPRegs.Invalidate();
}

void CDeviceDataManager::Invalidate()
{
    _ClearImages();
    m_Requests.clear();
    m_Answering.clear();
}

void CDeviceDataManager::InitRegCache(U32 Count)
{
    m_Regs.Resize(Count);
}

// ---- Memory --------------------------------------------------------------------------------------------

int CDeviceDataManager::ReadMemCached(CDeviceEventListener* pListener, U32 Addr, U32 nBytes, const char* sZone,
                                      U32 ChunkSize, U32 AW, U32 Flags)
{
    if (nBytes == 0 || !pListener || !CDevice::Get().IsConnected()) return REFUSED;
    const char* sUsed = CDeviceTarget::Get().GetAccessZone(sZone);
    QByteArray Payload;
    Append(Payload, Addr);
    Append(Payload, nBytes);
    if (sUsed) Payload.append(sUsed);
    const DATA_REQUEST Request{REQ_MEM, Payload, pListener};

    if (CDevice::Get().IsHalted() && !(Flags & MEM_FLAG_BYPASS_CACHE)) {
        const U8 Status = _ReadImage(Addr, nBytes, sUsed, nullptr, nullptr);
        if (IsSettled(Status)) {
            _Answer(Request, nullptr);
            return SERVED;
        }
        if (Status == DATA_PENDING) {
            _Park(REQ_MEM, Payload, pListener);
            return PARKED;
        }
    } else if (CMemImage* pImage = _FindZone(sUsed, false)) {
        pImage->SetStatus(Addr, nBytes, DATA_UNREAD);
    }
    const QByteArray Zone(sUsed);
    _Park(REQ_MEM, Payload, pListener);
    return _ScheduleMemRead(Addr, nBytes, Zone.isEmpty() ? nullptr : Zone.constData(), ChunkSize, AW, Flags) < 0
               ? REFUSED
               : PARKED;
}

/// Reads only what nobody has read or asked for, in five segments at most. 0, or -1 when a queue is full.
int CDeviceDataManager::_ScheduleMemRead(U32 Addr, U32 nBytes, const char* sZone, U32 ChunkSize, U32 AW, U32 Flags)
{
    CDevice& Dev = CDevice::Get();
    CMemImage* pImage = _FindZone(sZone, true);
    const U64 End = std::min(U64(Addr) + nBytes, U64(1) << 32);
    if (!pImage) return Dev.ReadMemAsync(Addr, nBytes, ChunkSize, AW, Flags, sZone);

    auto Read = [&](U64 From, U64 To) {
        pImage->SetStatus(U32(From), U32(To - From), DATA_PENDING);
        if (Dev.ReadMemAsync(U32(From), U32(To - From), ChunkSize, AW, Flags, sZone) == 0) return 0;
        pImage->SetStatus(U32(From), U32(To - From), DATA_UNREAD);
        return -1;
    };
    U64 Pos = Addr;
    for (int i = 0; i < MAX_SEGMENTS; i++) {
        U64 From = pImage->Find(Pos, End, DATA_UNREAD);
        if (From >= End) return 0;
        U64 To = pImage->Find(From, End, DATA_VALID);
        if (To == End) To = pImage->Find(From, End, DATA_PENDING);
        if (To == End) To = pImage->Find(From, End, DATA_INVALID);
        // A small item is read whole, so that the access is the one that the target's registers want.
        const U64 Len = To - From;
        if ((Len == 2 || Len == 4 || Len == 8) && From % Len != 0) {
            From -= From % Len;
            if ((To - From) % 2 != 0) To++;
        }
        if (Read(From, To) < 0) return -1;
        Pos = To;
    }
    if (pImage->Find(Pos, End, DATA_UNREAD) >= End) return 0;
    return Read(Addr, End);
}

int CDeviceDataManager::ReadMemBlocking(U32 Addr, U32 nBytes, void* paData)
{
    return CDeviceTarget::Get().ReadMemBlocking(Addr, nullptr, nBytes, paData, nullptr);
}

void CDeviceDataManager::OnDeviceReadMemDone(U32 Addr, U32 nBytes, const char* sZone, U8* paData, U8* paStatus)
{
    if (!CDevice::Get().IsConnected()) return;
    _StoreRead(Addr, nBytes, sZone, paData, paStatus);
    const ARRIVED Arrived{Addr, nBytes, sZone, paData, paStatus};
    _Serve(REQ_MEM, REQ_SYM, _FindZone(sZone, false) ? nullptr : &Arrived);
}

void CDeviceDataManager::OnDeviceReadMemFailed(U32 Addr, U32 nBytes, const char* sZone)
{
    if (!CDevice::Get().IsConnected()) return;
    LogError(QString("Target memory readout of %1 bytes @ %2 failed.")
                 .arg(nBytes)
                 .arg(QString("%1").arg(Addr, 8, 16, QChar('0')).toUpper()));
    if (CMemImage* pImage = _FindZone(sZone, true)) pImage->SetStatus(Addr, nBytes, DATA_INVALID);
    _Serve(REQ_MEM, REQ_SYM);
}

void CDeviceDataManager::CancelMemRequests()
{
    QList<DATA_REQUEST> Kept;
    for (const DATA_REQUEST& Request : std::exchange(m_Requests, {})) {
        if (Request.Type == REQ_MEM && Request.pListener != this)
            _MarkUnread(Request);
        else
            Kept << Request;
    }
    m_Requests = Kept;
    CDevice::Get().CancelJobs(BT_READ_MEM, QUEUE_ALL);
}

int CDeviceDataManager::WriteMemAsync(U32 Addr, U32 nBytes, const void* pData, U32 ChunkSize, U32 AW, U32 Flags,
                                      const char* sZone)
{
    return CDevice::Get().WriteMemAsync(Addr, nBytes, ChunkSize, AW, Flags, pData,
                                        CDeviceTarget::Get().GetAccessZone(sZone));
}

int CDeviceDataManager::WriteMemMultipleAsync(U32 Cnt, const U32* paAddrRanges, U32 NumBytes, const void* paData,
                                              U32 ChunkSize, U32 AW, U32 Flags, const char* sZone)
{
    return CDevice::Get().WriteMemMultipleAsync(Cnt, paAddrRanges, NumBytes, paData, ChunkSize, AW, Flags,
                                                CDeviceTarget::Get().GetAccessZone(sZone));
}

// ---- Requests ------------------------------------------------------------------------------------------

void CDeviceDataManager::_Park(int Type, const QByteArray& Payload, CDeviceEventListener* pListener)
{
    const DATA_REQUEST Request{Type, Payload, pListener};
    if (!m_Requests.contains(Request)) m_Requests << Request;
}

CDeviceDataManager::REQUEST_VIEW CDeviceDataManager::_Parse(const DATA_REQUEST& Request) const
{
    REQUEST_VIEW View;
    qsizetype Pos = 0;
    switch (Request.Type) {
    case REQ_MEM:
        View.Addr = Take<U32>(Request.Payload, &Pos);
        View.nBytes = Take<U32>(Request.Payload, &Pos);
        View.Zone = Request.Payload.mid(Pos);
        break;
    case REQ_REGS:
        for (U32 Cnt = Take<U32>(Request.Payload, &Pos); Cnt > 0; Cnt--) View.Regs << Take<U32>(Request.Payload, &Pos);
        break;
    case REQ_CP_REG:
        View.Zone = Request.Payload;
        break;
    case REQ_SYM:
        View.nBytes = Take<U32>(Request.Payload, &Pos);
        View.Loc = Request.Payload.mid(Pos, sizeof(ELF_SYM_LOC));
        View.Zone = Request.Payload.mid(Pos + qsizetype(sizeof(ELF_SYM_LOC)));
        break;
    }
    return View;
}

U8 CDeviceDataManager::_GetRequestStatus(const DATA_REQUEST& Request)
{
    const REQUEST_VIEW View = _Parse(Request);
    switch (Request.Type) {
    case REQ_MEM: return _ReadImage(View.Addr, View.nBytes, View.ZonePtr(), nullptr, nullptr);
    case REQ_REGS: return _GatherRegs(View.Regs);
    case REQ_CP_REG: return m_CPRegs.GetStatus(View.Zone.constData());
    default: break;
    }
    ELF_SYM_LOC Loc;
    std::memcpy(&Loc, View.Loc.constData(), sizeof Loc);
    U8 aData[8];
    U8 Status = DATA_UNREAD;
    if (_ReadSymDataFromCache(Loc, View.nBytes, View.ZonePtr(), aData, &Status) != 0) return DATA_INVALID;
    return Status;
}

void CDeviceDataManager::_Answer(const DATA_REQUEST& Request, const ARRIVED* pArrived)
{
    const REQUEST_VIEW View = _Parse(Request);
    CDeviceEventListener* pListener = Request.pListener;
    switch (Request.Type) {
    case REQ_MEM: {
        std::vector<U8> aData(View.nBytes);
        std::vector<U8> aStatus(View.nBytes);
        if (pArrived) {
            const U32 Pos = View.Addr - pArrived->Addr;
            std::copy_n(pArrived->paData + Pos, View.nBytes, aData.begin());
            std::copy_n(pArrived->paStatus + Pos, View.nBytes, aStatus.begin());
        } else {
            _ReadImage(View.Addr, View.nBytes, View.ZonePtr(), aData.data(), aStatus.data());
        }
        pListener->OnDeviceReadMemDone(View.Addr, View.nBytes, View.ZonePtr(), aData.data(), aStatus.data());
        break;
    }
    case REQ_REGS:
        _AnswerRegs(pListener, View.Regs);
        break;
    case REQ_CP_REG:
        if (m_CPRegs.GetStatus(View.Zone.constData()) == DATA_VALID)
            pListener->OnDeviceReadCPRegDone(View.Zone.constData(), m_CPRegs.GetValue(View.Zone.constData()));
        else
            pListener->OnDeviceReadCPRegFailed(View.Zone.constData());
        break;
    case REQ_SYM: {
        ELF_SYM_LOC Loc;
        std::memcpy(&Loc, View.Loc.constData(), sizeof Loc);
        U8 aData[8] = {};
        U8 Status = DATA_UNREAD;
        if (_ReadSymDataFromCache(Loc, View.nBytes, View.ZonePtr(), aData, &Status) == 0 && Status == DATA_VALID)
            pListener->OnDeviceReadLocDone(Loc, View.nBytes, View.ZonePtr(), aData);
        else
            pListener->OnDeviceReadLocFailed(Loc, View.nBytes, View.ZonePtr(), aData);
        break;
    }
    }
}

/// Answers the parked requests of two types that are settled now. A listener may ask anew, or go, meanwhile.
void CDeviceDataManager::_Serve(int TypeA, int TypeB, const ARRIVED* pArrived)
{
    auto IsCovered = [&](const DATA_REQUEST& Request) {
        if (!pArrived || Request.Type != REQ_MEM) return false;
        const REQUEST_VIEW View = _Parse(Request);
        return View.Zone == QByteArray(pArrived->sZone) && View.Addr >= pArrived->Addr &&
               U64(View.Addr) + View.nBytes <= U64(pArrived->Addr) + pArrived->nBytes;
    };
    QList<DATA_REQUEST> Settled;
    QList<DATA_REQUEST> Kept;
    for (const DATA_REQUEST& Request : std::exchange(m_Requests, {})) {
        const bool IsOurs = Request.Type == TypeA || Request.Type == TypeB;
        if (IsOurs && (IsCovered(Request) || IsSettled(_GetRequestStatus(Request))))
            Settled << Request;
        else
            Kept << Request;
    }
    m_Requests = Kept;
    m_Answering += Settled;
    while (!m_Answering.isEmpty()) {
        const DATA_REQUEST Request = m_Answering.takeFirst();
        // A blocking read has looked at the image by itself.
        if (Request.pListener != this) _Answer(Request, IsCovered(Request) ? pArrived : nullptr);
    }
}

void CDeviceDataManager::_MarkUnread(const DATA_REQUEST& Request)
{
    const REQUEST_VIEW View = _Parse(Request);
    switch (Request.Type) {
    case REQ_MEM:
        if (CMemImage* pImage = _FindZone(View.ZonePtr(), false))
            pImage->SetStatus(View.Addr, View.nBytes, DATA_UNREAD);
        break;
    case REQ_REGS:
        for (U32 Reg : View.Regs) m_Regs.SetStatus(Reg, DATA_UNREAD);
        break;
    case REQ_CP_REG:
        m_CPRegs.Set(View.Zone.constData(), 0, DATA_UNREAD);
        break;
    case REQ_SYM: {
        ELF_SYM_LOC Loc;
        std::memcpy(&Loc, View.Loc.constData(), sizeof Loc);
        _InvalidateCache(Loc, View.nBytes, View.ZonePtr());
        break;
    }
    }
}

void CDeviceDataManager::RemoveListener(CDeviceEventListener* pListener)
{
    auto IsTheirs = [pListener](const DATA_REQUEST& Request) { return Request.pListener == pListener; };
    for (const DATA_REQUEST& Request : std::as_const(m_Requests))
        if (IsTheirs(Request)) _MarkUnread(Request);
    m_Requests.removeIf(IsTheirs);
    m_Answering.removeIf(IsTheirs);
}
