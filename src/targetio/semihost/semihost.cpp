// CSemiHost: the life of a request. The operations are in semihostops.cpp.
#include "targetio/semihost/semihost.h"

#include "device/queue/device.h"
#include "targetio/semihost/semihostmemory.h"

#include <cstring>

namespace {

constexpr U32 NUM_OPCODES = 50;
constexpr U32 SINGLE_CHARACTER = 0xFFFFFFFF; ///< InputAddr of a read that hands the character back as its result

bool IsConnected()
{
    return CDevice::Get().IsConnected();
}

} // namespace

CSemiHost& CSemiHost::Get()
{
    // Never destroyed: the worker may still be inside when the process ends its statics. Files close with the process.
    static CSemiHost* const pHost = new CSemiHost;
    return *pHost;
}

CSemiHost::CSemiHost() = default;

const CSemiHost::OP_ROW* CSemiHost::_FindOp(U32 OpCode)
{
    for (const OP_ROW* pRow = OP_TABLE; pRow->Code; pRow++)
        if (pRow->Code == OpCode) return pRow;
    return nullptr;
}

int CSemiHost::PrintOperationName(U32 OpCode, char* sBuffer, U32 BuffSize)
{
    if (!sBuffer || BuffSize == 0) return -1;
    const OP_ROW* pRow = _FindOp(OpCode);
    const bool IsKnown = pRow && *pRow->sName;
    const char* sName = IsKnown ? pRow->sName : "?";
    std::strncpy(sBuffer, sName, BuffSize - 1);
    sBuffer[BuffSize - 1] = '\0';
    return IsKnown ? 0 : -1;
}

void CSemiHost::_ClearPending()
{
    m_PC = 0;
    m_OpCode = 0;
    m_OperandAddr = 0;
    m_InputAddr = 0;
    m_InputCount = 0;
}

int CSemiHost::PerformOperation(U32 OpCode, U64 OperandAddr, U64 PC, U32& ResultCode)
{
    ResultCode = 0;
    if (!IsConnected()) return SEMIHOST_NOT_CONNECTED;
    if (!m_Enabled) return SEMIHOST_NOT_ENABLED;
    m_PC = PC;
    m_OpCode = OpCode;
    m_OperandAddr = OperandAddr;
    m_InputCount = 0;
    m_Canceled = false;
    emit OperationStarted(OpCode, OperandAddr, PC);

    const OP_ROW* pRow = OpCode < NUM_OPCODES ? _FindOp(OpCode) : nullptr;
    if (!pRow) {
        ResultCode = U32(-1);
        emit PrintError(QStringLiteral("unsupported semihosting opcode %1").arg(OpCode));
        _ClearPending();
        return SEMIHOST_UNKNOWN;
    }
    REQUEST Request{U32(OperandAddr), 0};
    int Answer = 0;
    if (pRow->pfRun)
        Answer = (this->*pRow->pfRun)(Request);
    else
        Answer = _Fail(Request, QString::fromLatin1(pRow->sRefusal));
    if (Answer < 0)
        emit PrintError(
            QStringLiteral("semihosting operation with opcode %1 returned error code %2").arg(OpCode).arg(Answer));
    ResultCode = Request.Result;
    if (Answer != SEMIHOST_PENDING) _ClearPending();
    return Answer;
}

I64 CSemiHost::SetInputText(const char* sText)
{
    const int Count = m_InputCount;
    if (!IsConnected() || Count <= 0 || !sText) return -1;
    if (std::strlen(sText) < size_t(Count)) return -1;
    const U32 Addr = m_InputAddr;
    I64 Result = 0;
    if (Count == 1 && Addr == SINGLE_CHARACTER) {
        Result = U8(sText[0]);
    } else if (SEMIHOST_WriteBytes(Addr, QByteArray(sText, Count)) != 0) {
        // Written here and now: the target runs on as soon as this returns.
        Result = Count;
        emit PrintError(QStringLiteral("Semihosting Command SYS_READ failed. could not write target memory."));
    }
    _ClearPending();
    emit OperationCompleted(U64(Result));
    return Result;
}

void CSemiHost::CancelOperation()
{
    m_Canceled = true;
    if (!IsPending()) return;
    m_CanceledPC = m_PC.load();
    _ClearPending();
    emit OperationCanceled();
}

bool CSemiHost::TakeCanceled(U64 PC)
{
    U64 Expected = PC;
    return m_CanceledPC.compare_exchange_strong(Expected, ~U64(0));
}

#include "moc_semihost.cpp"
