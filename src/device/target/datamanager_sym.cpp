// CDeviceDataManager: the data of symbols, which lie in up to two pieces in memory and registers.
#include "app/services/log.h"
#include "core/host/corecalls.h"
#include "core/host/corehost.h"
#include "device/queue/device.h"
#include "device/target/datamanager.h"
#include "device/target/devicetarget.h"
#include "program/symbols/elfsym.h"
#include "project/settings/sysvars.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr U32 MAX_SYM_BYTES = 8;

bool IsConstant(const ELF_SYM_LOC& Loc)
{
    return Loc.NumParts == 1 && Loc.aPart[0].Type == ELF_LOC_CONST;
}
U32 NumParts(const ELF_SYM_LOC& Loc)
{
    return std::min<U32>(Loc.NumParts, ELF_SYM_LOC_MAX_PARTS);
}
/// Bytes of a piece; a location that isn't in pieces has all of them in its one.
U32 PartSize(const ELF_SYM_LOC_PART& Part, U32 nBytes)
{
    return Part.Size ? Part.Size : nBytes;
}
bool HasPart(const ELF_SYM_LOC& Loc, bool (*pfIs)(U32))
{
    for (U32 i = 0; i < NumParts(Loc); i++)
        if (pfIs(Loc.aPart[i].Type)) return true;
    return false;
}
/// Memory bytes of 2, 4 and 8 to and from the host's byte order: the library has them as they lie there, at any width.
void SwapIfBig(U8* pData, U32 nBytes)
{
    if (CDevice::Get().State.DataEndian == ENDIAN_BIG && (nBytes == 2 || nBytes == 4 || nBytes == 8))
        std::reverse(pData, pData + nBytes);
}
/// A value in a place "plus offset" is what is read there and the offset.
void AddOffset(const ELF_SYM_LOC_PART& Part, U8* pData, U32 nBytes)
{
    if (Part.Offset == 0 || (Part.Type != ELF_LOC_MEM_ADDR_OFFSET && Part.Type != ELF_LOC_REG_OFFSET)) return;
    U64 Value = 0;
    std::memcpy(&Value, pData, nBytes);
    Value += U64(I64(Part.Offset));
    std::memcpy(pData, &Value, nBytes);
}
U8 Combine(U8 A, U8 B)
{
    return std::max(A, B);
}
} // namespace

U8 CDeviceDataManager::_ReadRegPiece(U32 DwarfReg, U64* pValue) const
{
    // A selected task's registers take the place of the target's own.
    if (auto* pfTask = TARGET_GetHooks().GetTaskReg) {
        const int Answer = pfTask(DwarfReg, pValue);
        if (Answer >= 0) return Answer == 0 ? DATA_VALID : DATA_INVALID;
    }
    const U32 Idx = Core_GetRegId(DwarfReg);
    *pValue = m_Regs.GetValue(Idx);
    return m_Regs.GetStatus(Idx);
}

/// 0, or 1 when the location can't be read at all; *pStatus is the worst of its pieces.
int CDeviceDataManager::_ReadSymDataFromCache(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone, U8* pOut,
                                              U8* pStatus)
{
    *pStatus = DATA_VALID;
    U32 Pos = 0;
    for (U32 i = 0; i < NumParts(Loc); i++) {
        const ELF_SYM_LOC_PART& Part = Loc.aPart[i];
        const U32 Size = PartSize(Part, nBytes);
        if (Size > MAX_SYM_BYTES) {
            LogError("CDeviceDataManager::_ReadSymDataFromCache: data location pieces of size > 8 bytes are not "
                     "supported.");
            return REFUSED;
        }
        U8 aData[MAX_SYM_BYTES] = {};
        U8 Status;
        if (ELF_IsMemPart(Part.Type)) {
            Status = _ReadImage(Part.Addr, Size, sZone, aData, nullptr);
            SwapIfBig(aData, Size);
        } else if (ELF_IsRegPart(Part.Type)) {
            U64 Value = 0;
            Status = _ReadRegPiece(Part.Reg, &Value);
            std::memcpy(aData, &Value, Size);
        } else if (Part.Type == ELF_LOC_CONST) {
            std::memcpy(aData, &Part.Value, Size);
            Status = DATA_VALID;
        } else {
            LogError("CDeviceDataManager::_ReadSymDataFromCache: data location piece could not be evaluated.");
            return REFUSED;
        }
        if (Status == DATA_VALID || Status == DATA_INVALID) {
            if (Pos + Size > MAX_SYM_BYTES) {
                LogError("CDeviceDataManager::_ReadSymDataFromCache: output buffer has not enough space.");
                return REFUSED;
            }
            AddOffset(Part, aData, Size);
            std::memcpy(pOut + Pos, aData, Size);
            Pos += Size;
        }
        *pStatus = Combine(*pStatus, Status);
    }
    return NumParts(Loc) > 0 ? 0 : int(REFUSED);
}

int CDeviceDataManager::ReadSymDataCached(CDeviceEventListener* pListener, const ELF_SYM_LOC& Loc, U32 nBytes,
                                          const char* sZone)
{
    if (nBytes == 0 || nBytes > MAX_SYM_BYTES || !pListener) return REFUSED;
    if (IsConstant(Loc)) {
        U8 aData[MAX_SYM_BYTES];
        std::memcpy(aData, &Loc.aPart[0].Value, sizeof aData);
        pListener->OnDeviceReadLocDone(Loc, nBytes, sZone, aData);
        return SERVED;
    }
    if (!CDevice::Get().IsConnected()) return REFUSED;
    const QByteArray Zone(CDeviceTarget::Get().GetAccessZone(sZone));
    const char* sUsed = Zone.isEmpty() ? nullptr : Zone.constData();
    QByteArray Payload(reinterpret_cast<const char*>(&nBytes), sizeof nBytes);
    Payload.append(reinterpret_cast<const char*>(&Loc), sizeof Loc);
    Payload.append(Zone);
    const DATA_REQUEST Request{REQ_SYM, Payload, pListener};

    if (CDevice::Get().IsHalted()) {
        U8 aData[MAX_SYM_BYTES];
        U8 Status = DATA_UNREAD;
        if (_ReadSymDataFromCache(Loc, nBytes, sUsed, aData, &Status) != 0) return REFUSED;
        if (Status == DATA_VALID || Status == DATA_INVALID) {
            _Answer(Request, nullptr);
            return SERVED;
        }
        _Park(REQ_SYM, Payload, pListener);
        if (Status == DATA_PENDING) return PARKED;
        return ReadUncachedSymDataAsync(Loc, nBytes, sUsed) < 0 ? REFUSED : PARKED;
    }
    if (!ELF_LocIsValid(Loc)) return REFUSED;
    if (HasPart(Loc, ELF_IsRegPart) || !HasPart(Loc, ELF_IsMemPart)) return SERVED;
    _InvalidateCache(Loc, nBytes, sUsed);
    _Park(REQ_SYM, Payload, pListener);
    return ReadUncachedSymDataAsync(Loc, nBytes, sUsed) < 0 ? REFUSED : PARKED;
}

int CDeviceDataManager::ReadUncachedSymDataAsync(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone)
{
    if (!ELF_LocIsValid(Loc)) {
        LogError("CDeviceDataManager::_UpdateCache: not all data location parts have been evaluated");
        return -1;
    }
    QList<U32> Regs;
    for (U32 i = 0; i < NumParts(Loc); i++) {
        const ELF_SYM_LOC_PART& Part = Loc.aPart[i];
        if (ELF_IsMemPart(Part.Type)) {
            const U32 AW = U32(GetVarValue(VAR_ACCESS_WIDTH));
            if (_ScheduleMemRead(Part.Addr, PartSize(Part, nBytes), sZone, 0, AW, 0) < 0) return -1;
        } else if (ELF_IsRegPart(Part.Type)) {
            const U32 Idx = Core_GetRegId(Part.Reg);
            if (m_Regs.GetStatus(Idx) == DATA_UNREAD && !Regs.contains(Idx)) Regs << Idx;
        } else if (Part.Type != ELF_LOC_CONST) {
            LogError("CDeviceDataManager::ReadUncachedSymDataAsync: unsupported data piece encountered");
            return -1;
        }
    }
    if (Regs.isEmpty() || Regs.size() > qsizetype(m_Regs.GetCount())) return 0;
    for (U32 Reg : std::as_const(Regs)) m_Regs.SetStatus(Reg, DATA_PENDING);
    return CDevice::Get().ReadRegsAsync(U32(Regs.size()), Regs.constData());
}

void CDeviceDataManager::_InvalidateCache(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone)
{
    if (!ELF_LocIsValid(Loc)) {
        LogError("CDeviceDataManager::_InvalidateCache: not all data location parts have been evaluated");
        return;
    }
    CMemImage* pImage = _FindZone(sZone, false);
    for (U32 i = 0; i < NumParts(Loc); i++) {
        const ELF_SYM_LOC_PART& Part = Loc.aPart[i];
        if (ELF_IsRegPart(Part.Type)) m_Regs.SetStatus(Core_GetRegId(Part.Reg), DATA_UNREAD);
        if (ELF_IsMemPart(Part.Type) && pImage) pImage->SetStatus(Part.Addr, PartSize(Part, nBytes), DATA_UNREAD);
    }
}

int CDeviceDataManager::ReadSymDataBlocking(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone, void* pOutData)
{
    if (nBytes > MAX_SYM_BYTES) return -1;
    const QByteArray Zone(CDeviceTarget::Get().GetAccessZone(sZone));
    const char* sUsed = Zone.isEmpty() ? nullptr : Zone.constData();
    U8 aData[MAX_SYM_BYTES] = {};
    int Answer = REFUSED;
    if (IsConstant(Loc)) {
        std::memcpy(aData, &Loc.aPart[0].Value, sizeof aData);
        Answer = DATA_VALID;
    } else {
        if (CDevice::Get().IsHalted()) {
            U8 Status = DATA_UNREAD;
            if (_ReadSymDataFromCache(Loc, nBytes, sUsed, aData, &Status) == 0 &&
                (Status == DATA_VALID || Status == DATA_INVALID)) {
                std::memcpy(pOutData, aData, nBytes);
                return Status;
            }
        } else {
            if (!ELF_LocIsValid(Loc)) return REFUSED;
            if (HasPart(Loc, ELF_IsMemPart))
                _InvalidateCache(Loc, nBytes, sUsed);
            else if (!HasPart(Loc, ELF_IsRegPart))
                return REFUSED;
        }
        Answer = _ReadSymDataFromTarget(Loc, nBytes, sUsed, aData);
        _UpdateCache(Answer, Loc, nBytes, sUsed, aData);
    }
    if (Answer == DATA_VALID) std::memcpy(pOutData, aData, nBytes);
    return Answer;
}

/// 0, or 1 when a piece could not be read.
int CDeviceDataManager::_ReadSymDataFromTarget(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone, U8* pOut)
{
    CDeviceTarget& Target = CDeviceTarget::Get();
    U32 Pos = 0;
    for (U32 i = 0; i < NumParts(Loc); i++) {
        const ELF_SYM_LOC_PART& Part = Loc.aPart[i];
        const U32 Size = PartSize(Part, nBytes);
        if (Pos + Size > MAX_SYM_BYTES) {
            LogError("CDeviceDataManager::_ReadSymDataFromTarget: not all data bytes were read successfully.");
            return REFUSED;
        }
        if (ELF_IsMemPart(Part.Type)) {
            U8 aStatus[MAX_SYM_BYTES];
            if (Target.ReadMemBlocking(Part.Addr, sZone, Size, pOut + Pos, aStatus) < 0) return REFUSED;
            SwapIfBig(pOut + Pos, Size);
        } else if (ELF_IsRegPart(Part.Type)) {
            U64 Value = 0;
            auto* pfTask = TARGET_GetHooks().GetTaskReg;
            const int TaskAnswer = pfTask ? pfTask(Part.Reg, &Value) : -1;
            if (TaskAnswer > 0 || (TaskAnswer < 0 && Target.ReadReg(Core_GetRegId(Part.Reg), &Value) < 0))
                return REFUSED;
            std::memcpy(pOut + Pos, &Value, Size);
        } else if (Part.Type == ELF_LOC_CONST) {
            std::memcpy(pOut + Pos, &Part.Value, Size);
        } else {
            return REFUSED;
        }
        AddOffset(Part, pOut + Pos, Size);
        Pos += Size;
    }
    return Pos > 0 ? SERVED : REFUSED;
}

void CDeviceDataManager::_UpdateCache(int Status, const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone,
                                      const U8* pData)
{
    if (!ELF_LocIsValid(Loc)) {
        LogError("CDeviceDataManager::_UpdateCache: not all data location parts have been evaluated");
        return;
    }
    // A running target's data are good for this moment only.
    if (!CDevice::Get().IsHalted()) return;
    CMemImage* pImage = _FindZone(sZone, true);
    // The image holds the target's own registers, never those of a selected task.
    U64 Unused;
    auto* pfTask = TARGET_GetHooks().GetTaskReg;
    const bool IsTask = pfTask && pfTask(Core_GetStaticInfo().PCRegIdx, &Unused) >= 0;
    U32 Pos = 0;
    for (U32 i = 0; i < NumParts(Loc); i++) {
        const ELF_SYM_LOC_PART& Part = Loc.aPart[i];
        const U32 Size = PartSize(Part, nBytes);
        if (Pos + Size > nBytes) {
            LogError("CDeviceDataManager::UpdateCache: input data buffer is too small");
            return;
        }
        const U32 RegIdx = ELF_IsRegPart(Part.Type) ? Core_GetRegId(Part.Reg) : 0xFFFFFFFF;
        if (Status != SERVED) {
            if (ELF_IsMemPart(Part.Type) && pImage) pImage->SetStatus(Part.Addr, Size, DATA_INVALID);
            if (ELF_IsRegPart(Part.Type) && !IsTask) m_Regs.SetStatus(RegIdx, DATA_INVALID);
        } else if (Part.Offset == 0) { // a value plus offset is not what lies there
            if (ELF_IsMemPart(Part.Type) && pImage) {
                U8 aData[MAX_SYM_BYTES] = {};
                std::memcpy(aData, pData + Pos, Size);
                SwapIfBig(aData, Size);
                pImage->Write(Part.Addr, Size, aData, nullptr);
            }
            // Fewer bytes than the register has say nothing about the rest of it.
            if (ELF_IsRegPart(Part.Type) && Size == MAX_SYM_BYTES && !IsTask) {
                U64 Value;
                std::memcpy(&Value, pData + Pos, sizeof Value);
                m_Regs.Set(RegIdx, Value, DATA_VALID);
            }
        }
        Pos += Size;
    }
}

int CDeviceDataManager::WriteSymDataAsync(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone, const void* pData)
{
    if (nBytes > MAX_SYM_BYTES || !pData) return -1;
    if (!ELF_LocIsValid(Loc)) {
        LogError("CDeviceDataManager::WriteSymDataAsync: not all data location parts have been evaluated");
        return -1;
    }
    const U8* pBytes = static_cast<const U8*>(pData);
    const U32 AW = U32(GetVarValue(VAR_ACCESS_WIDTH));
    U32 Pos = 0;
    for (U32 i = 0; i < NumParts(Loc); i++) {
        const ELF_SYM_LOC_PART& Part = Loc.aPart[i];
        const U32 Size = PartSize(Part, nBytes);
        if (Pos + Size > nBytes) {
            LogError("CDeviceDataManager::WriteSymDataAsync: input buffer has insufficient byte size");
            return -1;
        }
        if (ELF_IsMemPart(Part.Type) && Part.Offset == 0) {
            U8 aData[MAX_SYM_BYTES];
            std::memcpy(aData, pBytes + Pos, Size);
            SwapIfBig(aData, Size);
            if (WriteMemAsync(Part.Addr, Size, aData, 0, AW, MEM_FLAG_DOWNLOAD, sZone) < 0) return -1;
        } else if (Part.Type == ELF_LOC_REG) {
            U64 Value = 0;
            std::memcpy(&Value, pBytes + Pos, Size);
            if (WriteRegAsync(Core_GetRegId(Part.Reg), Value) < 0) return -1;
        } else {
            return -1;
        }
        Pos += Size;
    }
    return Pos == nBytes ? 0 : -1;
}
