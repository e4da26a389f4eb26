// CDeviceDataManager: the cached view of target data. GUI thread.
//
//   int Status = CDeviceDataManager::Get().ReadMemCached(this, Addr, 64, nullptr, 0, AW_ANY, 0);
//   // 0: OnDeviceReadMemDone has run already; 2: it comes when the data arrive; 1: refused
//
// Windows ask again and again for the same bytes while the target stands. The manager keeps images of memory
// and registers that are good for one halt, answers from them through the usual operations of the listener that
// asks, and schedules a read for what nobody has asked for yet. Several listeners cost one read.
#pragma once
#include "device/queue/deviceeventlistener.h"
#include "device/target/memimage.h"
#include "device/target/regimage.h"

#include <QByteArray>
#include <QList>
#include <array>
#include <memory>
#include <vector>

struct ELF_SYM_LOC;
struct ELF_SYM_LOC_PART;

class CDeviceDataManager : public CDeviceEventListener {
public:
    static CDeviceDataManager& Get();

    enum ANSWERS : int { SERVED = 0, REFUSED = 1, PARKED = 2 };

    // ---- Asynchronous: SERVED, REFUSED or PARKED -------------------------------------------------------
    int ReadMemCached(CDeviceEventListener* pListener, U32 Addr, U32 nBytes, const char* sZone, U32 ChunkSize, U32 AW,
                      U32 Flags);
    /// Registers by BrylloRegIdx. One register is answered by OnDeviceReadRegDone, more by OnDeviceReadRegsDone.
    int ReadRegCached(CDeviceEventListener* pListener, U32 Cnt, const U32* paBrylloRegIdxs);
    int ReadCPRegCached(CDeviceEventListener* pListener, const char* sReg);
    /// At most 8 bytes; answered by OnDeviceReadLocDone or OnDeviceReadLocFailed.
    int ReadSymDataCached(CDeviceEventListener* pListener, const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone);
    /// Schedules reads for the pieces of a location. 0 or -1.
    int ReadUncachedSymDataAsync(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone);

    // ---- Synchronous -----------------------------------------------------------------------------------
    /// DATA_VALID and the value, DATA_INVALID, or 1 when the target runs or time is up. At most 150 ms.
    int ReadRegBlocking(CDeviceEventListener* pListener, U32 BrylloRegIdx, U64* pOutValue);
    /// The data status, 1 when it can't be read, -1 for more than 8 bytes. pOutData has room for 8 bytes.
    int ReadSymDataBlocking(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone, void* pOutData);
    int ReadMemBlocking(U32 Addr, U32 nBytes, void* paData); ///< at most 5,000 bytes, as they lie in memory; 0 or -1

    // ---- Writing: 0 or -1 ------------------------------------------------------------------------------
    int WriteSymDataAsync(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone, const void* pData);
    int WriteRegAsync(U32 BrylloRegIdx, U64 Value);
    int WriteMemAsync(U32 Addr, U32 nBytes, const void* pData, U32 ChunkSize, U32 AW, U32 Flags, const char* sZone);
    int WriteMemMultipleAsync(U32 Cnt, const U32* paAddrRanges, U32 NumBytes, const void* paData, U32 ChunkSize,
                              U32 AW, U32 Flags, const char* sZone);

    // ---- Upkeep ----------------------------------------------------------------------------------------
    void InitRegCache(U32 Count); ///< the core has been loaded; 0: it is gone
    void Invalidate();         ///< images cleared, parked requests dropped
    void CancelMemRequests();
    void RemoveListener(CDeviceEventListener* pListener);
    /// Bytes of the default zone that this halt's image holds whole: 0, else -1. Any thread.
    static int ReadImage(U32 Addr, U32 nBytes, void* pData);
    /// For the destructor of any listener; does nothing before the manager exists.
    static void OnListenerGone(CDeviceEventListener* pListener);
    qsizetype GetNumRequests() const { return m_Requests.size(); } ///< parked; for tests and diagnosis

    void OnDeviceReadMemDone(U32 Addr, U32 nBytes, const char* sZone, U8* paData, U8* paStatus) override;
    void OnDeviceReadMemFailed(U32 Addr, U32 nBytes, const char* sZone) override;
    void OnDeviceReadRegDone(U32 BrylloRegIdx, U64 RegValue) override;
    void OnDeviceReadRegFailed(U32 BrylloRegIdx) override;
    void OnDeviceReadRegsDone(U32 Cnt, U32* paBrylloRegIdxs, U64* paRegVals, U8* paRegStatus) override;
    void OnDeviceReadRegsFailed(U32 Cnt, U32* paBrylloRegIdxs) override;
    void OnDeviceReadCPRegDone(const char* sReg, U64 Value) override;
    void OnDeviceReadCPRegFailed(const char* sReg) override;
    void OnDeviceConnectDone(CONNECT_MODES) override { Invalidate(); }
    void OnDeviceDisconnectDone() override { Invalidate(); }
    void OnDeviceStepped(U32) override { Invalidate(); }
    void OnDeviceHaltDone(U32, HALT_REASONS) override { Invalidate(); }
    void OnDeviceResetDone(U32, RESET_MODES) override;
    void OnDeviceResetFailed(U32, RESET_MODES) override { Invalidate(); } // it has dropped the reads that waited
    void OnDeviceEvalBPCondition(U32) override { Invalidate(); }
    void OnDeviceEndianessChanged(int, int) override { Invalidate(); }
    void OnDeviceWriteAccess() override { Invalidate(); }
    void OnDeviceResetTargetExecStateDone() override { Invalidate(); }
    void OnDeviceResumeDone(RESUME_MODES) override { _ClearImages(); }
    void OnDeviceSetTargetExecStateDone(U64 PC, U64 SP) override;

private:
    CDeviceDataManager() = default;

    enum REQUEST_TYPES : int { REQ_MEM = 0, REQ_REGS = 1, REQ_CP_REG = 2, REQ_SYM = 3 };
    struct DATA_REQUEST {
        int Type;
        QByteArray Payload;
        CDeviceEventListener* pListener;
        bool operator==(const DATA_REQUEST&) const = default;
    };
    /// What a payload says.
    struct REQUEST_VIEW {
        U32 Addr = 0;
        U32 nBytes = 0;
        QByteArray Zone; ///< empty: default
        QList<U32> Regs;
        QByteArray Loc;  ///< bytes of an ELF_SYM_LOC
        const char* ZonePtr() const { return Zone.isEmpty() ? nullptr : Zone.constData(); }
    };
    struct ZONE {
        QByteArray Name;
        std::unique_ptr<CMemImage> pImage;
    };
    struct ARRIVED { ///< data that no image takes
        U32 Addr;
        U32 nBytes;
        const char* sZone;
        U8* paData;
        U8* paStatus;
    };

    CMemImage* _FindZone(const char* sZone, bool Create);
    U8 _ReadImage(U32 Addr, U32 nBytes, const char* sZone, U8* paData, U8* paStatus);
    void _StoreRead(U32 Addr, U32 nBytes, const char* sZone, const U8* paData, const U8* paStatus);
    int _ScheduleMemRead(U32 Addr, U32 nBytes, const char* sZone, U32 ChunkSize, U32 AW, U32 Flags);
    void _ClearImages();

    void _Park(int Type, const QByteArray& Payload, CDeviceEventListener* pListener);
    REQUEST_VIEW _Parse(const DATA_REQUEST& Request) const;
    U8 _GetRequestStatus(const DATA_REQUEST& Request);
    void _Answer(const DATA_REQUEST& Request, const ARRIVED* pArrived);
    void _Serve(int TypeA, int TypeB, const ARRIVED* pArrived = nullptr);
    void _MarkUnread(const DATA_REQUEST& Request);

    bool _IsConnectedAndHalted() const;
    U8 _GatherRegs(const QList<U32>& Regs) const;
    void _AnswerRegs(CDeviceEventListener* pListener, const QList<U32>& Regs);
    void _WaitForRegData(U32 BrylloRegIdx);
    void _DropCPRegRequests(const char* sReg);

    int _ReadSymDataFromCache(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone, U8* pOut, U8* pStatus);
    int _ReadSymDataFromTarget(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone, U8* pOut);
    void _UpdateCache(int Status, const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone, const U8* pData);
    void _InvalidateCache(const ELF_SYM_LOC& Loc, U32 nBytes, const char* sZone);
    U8 _ReadRegPiece(U32 DwarfReg, U64* pValue) const;

    std::vector<ZONE> m_aZone;
    CRegImage m_Regs;
    CCPRegImage m_CPRegs;
    QList<DATA_REQUEST> m_Requests;
    QList<DATA_REQUEST> m_Answering; ///< settled, their listeners not called yet
};
