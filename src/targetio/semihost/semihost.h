// CSemiHost: serves the requests that a program makes of its host, files and terminal, while the target stands on
// the marked instruction. Which stop is a request, and how the result gets back, is the core plug-in's business.
//
//   U32 Result = 0;
//   const int Answer = CSemiHost::Get().PerformOperation(OpCode, OperandAddr, PC, Result);
//   if (Answer != SEMIHOST_PENDING) FinishRequest(Result);
//
// Operations run on the device worker with the target halted and reach it through the probe library directly. The
// signals cross to the GUI thread queued. Get() is first called on the main thread, which so becomes its thread.
#pragma once
#include "app/services/types.h"
#include "targetio/semihost/semihostfiles.h"

#include <QObject>
#include <QString>
#include <QStringDecoder>
#include <atomic>

/// Operation codes. A code that isn't listed is unsupported.
enum SEMIHOST_OPS : U32 {
    SYS_OPEN = 1,
    SYS_CLOSE = 2,
    SYS_WRITEC = 3,
    SYS_WRITE0 = 4,
    SYS_WRITE = 5,
    SYS_READ = 6,
    SYS_READC = 7,
    SYS_ISERROR = 8,
    SYS_ISTTY = 9,
    SYS_SEEK = 10,
    SYS_FLEN = 12,
    SYS_TMPNAM = 13,
    SYS_REMOVE = 14,
    SYS_RENAME = 15,
    SYS_CLOCK = 16,
    SYS_TIME = 17,
    SYS_SYSTEM = 18,
    SYS_ERRNO = 19,
    SYS_GET_CMDLINE = 21,
    SYS_HEAPINFO = 22,
    SYS_ENTERSVC = 23,
    SYS_EXIT = 24,
    SYS_ELAPSED = 48,
    SYS_TICKFREQ = 49,
};

/// Answers of PerformOperation. A negative one is that of a failed operation, which is over as well.
enum SEMIHOST_ANSWERS : int {
    SEMIHOST_DONE = 0,
    SEMIHOST_PENDING = 1,
    SEMIHOST_UNKNOWN = 2, ///< done with the result -1
    SEMIHOST_NOT_ENABLED = 3,
    SEMIHOST_NOT_CONNECTED = 255,
};

class CSemiHost : public QObject {
    Q_OBJECT
public:
    static CSemiHost& Get();

    /// Serves one request. Worker.
    int PerformOperation(U32 OpCode, U64 OperandAddr, U64 PC, U32& ResultCode);
    /// Hands terminal input to a pending read: its result value, or -1 when nothing is awaited or the text is too
    /// short; the request stays open then. Worker.
    I64 SetInputText(const char* sText);
    /// Gives a pending operation up, before the user resumes, steps or resets. GUI thread.
    void CancelOperation();

    void SetEnabled(bool OnOff) { m_Enabled = OnOff; }       ///< any thread
    bool IsEnabled() const { return m_Enabled; }             ///< any thread
    /// The target is to run on when the pending operation completes. Worker.
    void SetAutoResume(bool OnOff) { m_AutoResume = OnOff; }
    bool IsAutoResuming() const { return m_AutoResume; }     ///< any thread
    bool IsInputInProgress() const { return m_InputCount > 0; } ///< terminal input is awaited; any thread
    bool IsPending() const { return m_OpCode != 0; }         ///< any thread
    U64 GetPendingPC() const { return m_PC; }                ///< of the pending operation; any thread
    /// True once for the address of an operation that was given up. Worker.
    bool TakeCanceled(U64 PC);

    /// The name of an operation, at most BuffSize - 1 characters: 0; "?" and -1 for an unknown code; -1 for an
    /// empty buffer. Any thread.
    static int PrintOperationName(U32 OpCode, char* sBuffer, U32 BuffSize);

signals:
    void OperationStarted(U32 OpCode, U64 OperandAddr, U64 PC); ///< before any operation
    void OperationCompleted(U64 ResultCode);                    ///< a pending operation has ended
    void OperationCanceled();
    void InputRequestStarted(U32 NumChars); ///< the terminal is to get the focus
    void PrintError(QString Error);         ///< an error text, for log and terminal
    void PrintDebug(QString Debug);         ///< output of the program, for the terminal

private:
    /// What an operation works on: its parameter and its result value.
    struct REQUEST {
        U32 Operand;
        U32 Result;
    };
    using OPERATION = int (CSemiHost::*)(REQUEST& Request);
    struct OP_ROW {
        U32 Code;
        const char* sName; ///< empty: an operation without a name
        OPERATION pfRun;   ///< null: refused with the text
        const char* sRefusal;
    };
    static const OP_ROW OP_TABLE[];

    CSemiHost();
    static const OP_ROW* _FindOp(U32 OpCode);
    void _ClearPending();
    int _Fail(REQUEST& Request, const QString& sText);        ///< result -1 and the error: done
    int _FailHandle(REQUEST& Request, const QString& sText);  ///< the same, with the error number of a bad handle
    void _PrintBytes(const QByteArray& Bytes);                ///< output of the program in UTF-8

    int _Open(REQUEST& Request);
    int _Close(REQUEST& Request);
    int _WriteC(REQUEST& Request);
    int _Write0(REQUEST& Request);
    int _Write(REQUEST& Request);
    int _Read(REQUEST& Request);
    int _ReadC(REQUEST& Request);
    int _IsError(REQUEST& Request);
    int _IsTty(REQUEST& Request);
    int _Seek(REQUEST& Request);
    int _FLen(REQUEST& Request);
    int _Clock(REQUEST& Request);
    int _Time(REQUEST& Request);
    int _Errno(REQUEST& Request);
    int _GetCmdLine(REQUEST& Request);
    int _HeapInfo(REQUEST& Request);
    int _EnterSVC(REQUEST& Request);
    int _Exit(REQUEST& Request);

    CSemiHostFiles m_Files; ///< worker
    QStringDecoder m_Decoder{QStringDecoder::Utf8}; ///< worker
    // The pending operation: written by the worker, cleared by the GUI thread as well.
    std::atomic<U64> m_PC{0};
    std::atomic<U32> m_OpCode{0}; ///< 0 when none
    std::atomic<U64> m_OperandAddr{0};
    std::atomic<U32> m_InputAddr{0}; ///< where terminal input goes; 0xFFFFFFFF for a single character
    std::atomic<int> m_InputCount{0};
    std::atomic<bool> m_Canceled{false}; ///< ends a string output that is under way
    std::atomic<U64> m_CanceledPC{~U64(0)}; ///< of an operation that was given up while it was pending
    std::atomic<bool> m_Enabled{false};
    std::atomic<bool> m_AutoResume{false};
};
