// CDeviceDataManager: core and coprocessor registers.
#include "app/services/log.h"
#include "core/host/corecalls.h"
#include "device/queue/device.h"
#include "device/target/datamanager.h"

#include <QThread>
#include <algorithm>
#include <chrono>
#include <vector>

namespace {
constexpr auto REG_WAIT_LIMIT = std::chrono::milliseconds(150);
constexpr int EVENTS_PER_ROUND = 10;
} // namespace

bool CDeviceDataManager::_IsConnectedAndHalted() const
{
    return CDevice::Get().IsConnected() && CDevice::Get().IsHalted();
}

U8 CDeviceDataManager::_GatherRegs(const QList<U32>& Regs) const
{
    U8 Worst = DATA_VALID;
    for (U32 Reg : Regs) Worst = std::max(Worst, m_Regs.GetStatus(Reg));
    return Worst;
}

void CDeviceDataManager::_AnswerRegs(CDeviceEventListener* pListener, const QList<U32>& Regs)
{
    if (Regs.size() == 1) {
        if (m_Regs.GetStatus(Regs[0]) == DATA_VALID)
            pListener->OnDeviceReadRegDone(Regs[0], m_Regs.GetValue(Regs[0]));
        else
            pListener->OnDeviceReadRegFailed(Regs[0]);
        return;
    }
    QList<U32> Idxs = Regs;
    std::vector<U64> aValue;
    std::vector<U8> aStatus;
    for (U32 Reg : Regs) {
        aValue.push_back(m_Regs.GetValue(Reg));
        aStatus.push_back(m_Regs.GetStatus(Reg));
    }
    pListener->OnDeviceReadRegsDone(U32(Idxs.size()), Idxs.data(), aValue.data(), aStatus.data());
}

int CDeviceDataManager::ReadRegCached(CDeviceEventListener* pListener, U32 Cnt, const U32* paBrylloRegIdxs)
{
    if (!_IsConnectedAndHalted() || !pListener || Cnt == 0 || !paBrylloRegIdxs) return REFUSED;
    const QList<U32> Regs(paBrylloRegIdxs, paBrylloRegIdxs + Cnt);
    const U8 Status = _GatherRegs(Regs);
    if (Status == DATA_VALID || Status == DATA_INVALID) {
        _AnswerRegs(pListener, Regs);
        return Status;
    }
    QByteArray Payload(reinterpret_cast<const char*>(&Cnt), sizeof Cnt);
    Payload.append(reinterpret_cast<const char*>(paBrylloRegIdxs), qsizetype(Cnt * sizeof(U32)));
    _Park(REQ_REGS, Payload, pListener);
    if (Status == DATA_PENDING || Cnt > m_Regs.GetCount()) return PARKED;

    QList<U32> Unread;
    for (U32 Reg : Regs)
        if (m_Regs.GetStatus(Reg) == DATA_UNREAD && !Unread.contains(Reg)) Unread << Reg;
    for (U32 Reg : std::as_const(Unread)) m_Regs.SetStatus(Reg, DATA_PENDING);
    if (CDevice::Get().ReadRegsAsync(U32(Unread.size()), Unread.constData()) == 0) return PARKED;
    for (U32 Reg : std::as_const(Unread)) m_Regs.SetStatus(Reg, DATA_UNREAD);
    return REFUSED;
}

int CDeviceDataManager::ReadRegBlocking(CDeviceEventListener* pListener, U32 BrylloRegIdx, U64* pOutValue)
{
    *pOutValue = 0;
    if (!_IsConnectedAndHalted()) return REFUSED;
    if (m_Regs.GetStatus(BrylloRegIdx) == DATA_UNREAD) {
        const U32 aPayload[2] = {1, BrylloRegIdx};
        _Park(REQ_REGS, QByteArray(reinterpret_cast<const char*>(aPayload), sizeof aPayload),
              pListener ? pListener : this);
        m_Regs.SetStatus(BrylloRegIdx, DATA_PENDING);
        CDevice::Get().ReadRegAsync(BrylloRegIdx);
    }
    if (m_Regs.GetStatus(BrylloRegIdx) == DATA_PENDING) _WaitForRegData(BrylloRegIdx);
    const U8 Status = m_Regs.GetStatus(BrylloRegIdx);
    if (Status != DATA_VALID) return REFUSED;
    *pOutValue = m_Regs.GetValue(BrylloRegIdx);
    return SERVED;
}

void CDeviceDataManager::_WaitForRegData(U32 BrylloRegIdx)
{
    const auto Start = std::chrono::steady_clock::now();
    while (m_Regs.GetStatus(BrylloRegIdx) == DATA_PENDING) {
        CDevice::Get().DispatchEvents(EVENTS_PER_ROUND);
        if (std::chrono::steady_clock::now() - Start > REG_WAIT_LIMIT) {
            LogError(QString("Timeout while waiting for register data arrival. BrylloRegIdx = %1").arg(BrylloRegIdx));
            return;
        }
        QThread::yieldCurrentThread();
    }
}

int CDeviceDataManager::ReadCPRegCached(CDeviceEventListener* pListener, const char* sReg)
{
    if (!_IsConnectedAndHalted() || !pListener || !sReg) return REFUSED;
    const U8 Status = m_CPRegs.GetStatus(sReg);
    const DATA_REQUEST Request{REQ_CP_REG, QByteArray(sReg), pListener};
    if (Status == DATA_VALID || Status == DATA_INVALID) {
        _Answer(Request, nullptr);
        return SERVED;
    }
    _Park(REQ_CP_REG, Request.Payload, pListener);
    if (Status == DATA_PENDING) return PARKED;
    m_CPRegs.Set(sReg, 0, DATA_PENDING);
    return CDevice::Get().ReadCPRegAsync(sReg) == 0 ? PARKED : REFUSED;
}

int CDeviceDataManager::WriteRegAsync(U32 BrylloRegIdx, U64 Value)
{
    return CDevice::Get().WriteRegAsync(BrylloRegIdx, Value);
}

// ---- Results -------------------------------------------------------------------------------------------

void CDeviceDataManager::OnDeviceReadRegDone(U32 BrylloRegIdx, U64 RegValue)
{
    if (!_IsConnectedAndHalted()) return;
    m_Regs.Set(BrylloRegIdx, RegValue, DATA_VALID);
    _Serve(REQ_REGS, REQ_SYM);
}

void CDeviceDataManager::OnDeviceReadRegFailed(U32 BrylloRegIdx)
{
    if (!_IsConnectedAndHalted()) return;
    m_Regs.SetStatus(BrylloRegIdx, DATA_INVALID);
    _Serve(REQ_REGS, REQ_SYM);
}

void CDeviceDataManager::OnDeviceReadRegsDone(U32 Cnt, U32* paBrylloRegIdxs, U64* paRegVals, U8* paRegStatus)
{
    if (!_IsConnectedAndHalted()) return;
    for (U32 i = 0; i < Cnt; i++)
        m_Regs.Set(paBrylloRegIdxs[i], paRegVals[i], paRegStatus[i] ? DATA_INVALID : DATA_VALID);
    _Serve(REQ_REGS, REQ_SYM);
}

void CDeviceDataManager::OnDeviceReadRegsFailed(U32 Cnt, U32* paBrylloRegIdxs)
{
    if (!_IsConnectedAndHalted()) return;
    for (U32 i = 0; i < Cnt; i++) m_Regs.SetStatus(paBrylloRegIdxs[i], DATA_INVALID);
    _Serve(REQ_REGS, REQ_SYM);
}

void CDeviceDataManager::OnDeviceReadCPRegDone(const char* sReg, U64 Value)
{
    if (!_IsConnectedAndHalted()) return;
    m_CPRegs.Set(sReg, Value, DATA_VALID);
    _DropCPRegRequests(sReg);
}

void CDeviceDataManager::OnDeviceReadCPRegFailed(const char* sReg)
{
    if (!_IsConnectedAndHalted()) return;
    m_CPRegs.Set(sReg, 0, DATA_INVALID);
    _DropCPRegRequests(sReg);
}

/// The job's report goes to every listener, so those that wait hear of it without the manager.
void CDeviceDataManager::_DropCPRegRequests(const char* sReg)
{
    m_Requests.removeIf(
        [sReg](const DATA_REQUEST& Request) { return Request.Type == REQ_CP_REG && Request.Payload == sReg; });
}

void CDeviceDataManager::OnDeviceResetDone(U32, RESET_MODES Mode)
{
    // The report after an execution state was set comes behind its values, which are good.
    if (Mode == RM_EXEC_STATE_SET) return;
    Invalidate();
}

void CDeviceDataManager::OnDeviceSetTargetExecStateDone(U64 PC, U64 SP)
{
    Invalidate();
    m_Regs.Set(Core_GetPCRegId(), PC, DATA_VALID);
    m_Regs.Set(Core_GetSPRegId(), SP, DATA_VALID);
}
