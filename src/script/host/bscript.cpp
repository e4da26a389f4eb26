// The script host's state: load, close, calls of functions and their errors.
#include "script/host/bscript.h"

#include "app/services/log.h"
#include "app/services/mainthread.h"
#include "script/host/scriptinstance.h"
#include "script/host/textfile.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QHash>
#include <cstring>

namespace BScript {

namespace {
constexpr int MAX_CALL_DEPTH = 11;
constexpr int MAX_CALL_ARGS = 7;
constexpr int MAX_EVENT_NAME = 49;
constexpr qsizetype MAX_STATEMENT = 512;

enum RUN_RESULTS : int {
    RUN_NO_SCRIPT = -1,
    RUN_UNKNOWN = -2,
    RUN_BAD_PROTOTYPE = -3,
    RUN_SYNTAX_ERROR = -4,
    RUN_TOO_DEEP = -5,
    RUN_TOO_MANY_ARGS = -6,
};

struct STATE {
    std::shared_ptr<SCRIPT_INSTANCE> pScript; ///< null when none is loaded
    BSCRIPT_HOOKS Hooks;
    U32 TextHash = 0;
    int CallDepth = 0;
    int RunningEvent = -1;
    bool ErrorFlag = false;
    bool Closing = false;
    int ErrorLine = -1;
    QString sErrorText;
    QString sErrorStatement;
    QString sProjectPath;
    QString sProjectDir;
};

STATE& S()
{
    static STATE Instance;
    return Instance;
}

U32 HashOf(const QString& sText)
{
    return static_cast<U32>(qHash(sText.toUtf8(), 0));
}

void SetErrorState(const QString& sText, int Line, const QString& sStatement)
{
    S().sErrorText = sText;
    S().ErrorLine = Line;
    S().sErrorStatement = sStatement;
    S().ErrorFlag = true;
}

int Refuse(const char* sText, int Result)
{
    S().sErrorText = QString::fromLatin1(sText);
    S().ErrorLine = -1;
    S().sErrorStatement.clear();
    return Result;
}

void OnScriptError(SCRIPT_CTX* pCtx)
{
    if (!S().pScript || S().pScript->pCtx != pCtx) {
        return; // a script that was closed and is on its way out
    }
    const char* pEnd = std::strchr(pCtx->LineStart, ';');
    const QByteArray Statement(pCtx->LineStart, pEnd ? pEnd - pCtx->LineStart : -1);
    SetErrorState(QString::fromUtf8(pCtx->ErrorText), pCtx->Line,
                  QString::fromUtf8(Statement).left(MAX_STATEMENT));
}

/// Ends the script without touching the project's path.
void Release()
{
    STATE& s = S();
    LogDebug(QStringLiteral("Script waiting to close."));
    s.Closing = true;
    if (s.pScript) {
        s.pScript->pCtx->Abort = 1;
        s.pScript.reset();
    }
    s.TextHash = 0;
    s.ErrorFlag = false;
    s.ErrorLine = -1;
    s.sErrorText.clear();
    s.sErrorStatement.clear();
    LogDebug(QStringLiteral("Script closed."));
}

constexpr int BREATH_MS = 100; ///< a script that runs longer lets the window live in between

QElapsedTimer& LastBreath()
{
    static QElapsedTimer Timer;
    return Timer;
}

/// Counts a running call for its life.
class CRunning {
public:
    CRunning(int EventId, SCRIPT_CTX* pCtx) : m_pCtx(pCtx), m_OldEvent(S().RunningEvent)
    {
        if (S().CallDepth++ == 0) LastBreath().start();
        if (EventId >= 0) {
            S().RunningEvent = EventId;
        }
    }
    ~CRunning()
    {
        S().RunningEvent = m_OldEvent;
        if (--S().CallDepth > 0) return;
        // A run that was canceled ends here; the script stays usable.
        if (!S().Closing) m_pCtx->Abort = 0;
        if (S().Hooks.RunEnded) S().Hooks.RunEnded();
    }
    CRunning(const CRunning&) = delete;
    CRunning& operator=(const CRunning&) = delete;

private:
    SCRIPT_CTX* m_pCtx; ///< lives longer
    int m_OldEvent;
};

/// Before each statement: what the user does meanwhile is done, and may end the script.
void OnScriptStatement(SCRIPT_CTX* pCtx)
{
    QElapsedTimer& Timer = LastBreath();
    if (!Timer.isValid() || Timer.elapsed() < BREATH_MS) return;
    // A hook that answers true has been asked by the user to stop.
    const auto& IsCanceled = S().Hooks.IsRunCanceled;
    QCoreApplication::processEvents();
    if (IsCanceled && IsCanceled()) pCtx->Abort = 1;
    Timer.restart();
}

/// Puts the fields that a call changes back when an exception leaves the interpreter in the middle of it.
class CCallState {
public:
    explicit CCallState(SCRIPT_CTX* pCtx)
        : m_pCtx(pCtx), m_HeapHigh(pCtx->HeapHigh), m_Cursor(pCtx->Cursor), m_LineStart(pCtx->LineStart), m_Line(pCtx->Line),
          m_Depth(pCtx->Depth), m_Locals(pCtx->Locals), m_LocalsTail(pCtx->LocalsTail)
    {
    }
    void Restore() const
    {
        m_pCtx->HeapHigh = m_HeapHigh;
        m_pCtx->Cursor = m_Cursor;
        m_pCtx->LineStart = m_LineStart;
        m_pCtx->Line = m_Line;
        m_pCtx->Depth = m_Depth;
        m_pCtx->Locals = m_Locals;
        m_pCtx->LocalsTail = m_LocalsTail;
    }

private:
    SCRIPT_CTX* m_pCtx;
    U8* m_HeapHigh;
    const char* m_Cursor;
    const char* m_LineStart;
    int m_Line, m_Depth;
    SCRIPT_SYM* m_Locals;
    SCRIPT_SYM* m_LocalsTail;
};

int Exec(const QString& sName, int EventId, int NumArgs, const I64* aArgs, I64* pResult)
{
    // The reference keeps the block alive if the script is closed while the call runs.
    const std::shared_ptr<SCRIPT_INSTANCE> pScript = S().pScript;
    const CRunning Running(EventId, pScript->pCtx);
    const QByteArray Name = sName.toUtf8();
    const CCallState Before(pScript->pCtx);
    int Result = 0;
    try {
        Result = Script::CallByName(pScript->pCtx, Name.constData(), NumArgs, aArgs, pResult);
    } catch (...) {
        Before.Restore();
        const QString sPrototype = GetEventPrototype(EventId);
        SetErrorState(QStringLiteral("Error in script function ") +
                          (sPrototype.isEmpty() ? sName : sPrototype),
                      -1, QString());
        return RUN_SYNTAX_ERROR;
    }
    if (Result == -2) {
        return Refuse("unknown function", RUN_UNKNOWN);
    }
    if (NumArgs > 0 && pScript == S().pScript) {
        S().ErrorFlag = false;
    }
    return Result == 0 || pScript->pCtx->Abort ? 0 : RUN_SYNTAX_ERROR;
}
} // namespace

BSCRIPT_HOOKS& Hooks()
{
    return S().Hooks;
}

void SetHooks(const BSCRIPT_HOOKS& NewHooks)
{
    const std::function<int()> LogNewWarnings = S().Hooks.LogNewWarnings;
    S().Hooks = NewHooks;
    if (!NewHooks.LogNewWarnings) S().Hooks.LogNewWarnings = LogNewWarnings;
}

int LoadText(const QString& sText)
{
    AssertMainThread("BScript::LoadText");
    STATE& s = S();
    Release();
    if (sText.isEmpty()) {
        SetErrorState(QStringLiteral("empty file"), -1, QString());
        LogError(QStringLiteral("Script file not parsed. Empty script text"));
        return -1;
    }
    if (sText.contains(QChar(0))) {
        // The text would end there for the interpreter, and what follows would be lost unseen.
        const qsizetype Line = sText.left(sText.indexOf(QChar(0))).count(u'\n') + 1;
        SetErrorState(QStringLiteral("illegal character in text"), int(Line), QString());
        LogError(QStringLiteral("Script file not parsed. illegal character in text at line %1").arg(Line));
        s.ErrorFlag = true;
        return -1;
    }
    s.TextHash = HashOf(sText);
    s.pScript = CreateInstance(sText.toUtf8());
    if (!s.pScript) {
        SetErrorState(QStringLiteral("could not allocate script heap"), -1, QString());
        LogError(QStringLiteral("Script file not parsed. could not allocate script heap"));
        return -1;
    }
    s.pScript->pCtx->OnError = OnScriptError;
    s.pScript->pCtx->OnStatement = OnScriptStatement;
    if (Script::Parse(s.pScript->pCtx) < 0 || s.pScript->pCtx->Error) {
        LogError(QStringLiteral("Script file not parsed. could not create globals"));
        s.pScript.reset();
        s.ErrorFlag = true;
        return -1;
    }
    s.Closing = false;
    s.ErrorFlag = false;
    return 0;
}

int Load(const QString& sPath)
{
    SetProjectPath(sPath);
    QString sText;
    int Result = -1;
    if (ReadTextFile(sPath, &sText)) {
        Result = LoadText(sText);
    } else {
        Release();
        SetErrorState(QStringLiteral("file not found"), -1, QString());
    }
    if (Result < 0) {
        LogError(QStringLiteral("BScript::Load: could not load project file"));
        return Result;
    }
    if (!HasEvent(EVENT_ON_PROJECT_LOAD)) {
        SetErrorState(QStringLiteral("Required user function missing: ") +
                          GetEventPrototype(EVENT_ON_PROJECT_LOAD),
                      -1, QString());
    }
    return Result;
}

void Close()
{
    Release();
    SetProjectPath(QString());
}

bool HasEvent(int EventId)
{
    const STATE& s = S();
    const QByteArray Name = GetEventName(EventId).left(MAX_EVENT_NAME).toUtf8();
    return s.pScript && !s.ErrorFlag && !s.Closing && !Name.isEmpty() &&
           Script::FindSymbol(s.pScript->pCtx, Name.constData()) != nullptr;
}

int RunEvent(int EventId)
{
    if (EventId > EVENT_BEFORE_TARGET_RESUME || EventId < EVENT_ON_PROJECT_LOAD) {
        return Refuse("unknown function", RUN_UNKNOWN);
    }
    const QString sName = GetEventName(EventId);
    return sName.isEmpty() ? Refuse("invalid function prototype", RUN_BAD_PROTOTYPE)
                           : RunFunction(sName, EventId, 0, nullptr, nullptr);
}

int RunFunction(const QString& sName, int EventId, int NumArgs, const I64* aArgs, I64* pResult)
{
    AssertMainThread("BScript::RunFunction");
    const STATE& s = S();
    if (!s.pScript) {
        return Refuse("Script interpreter not allocated", RUN_NO_SCRIPT);
    }
    if (s.Closing) {
        return Refuse("script is closing", 0);
    }
    if (s.ErrorFlag) {
        return Refuse("syntax error", RUN_SYNTAX_ERROR);
    }
    if (sName.isEmpty()) {
        return Refuse("empty function name", RUN_UNKNOWN);
    }
    if (s.CallDepth >= MAX_CALL_DEPTH) {
        return Refuse("maximum call level reached.", RUN_TOO_DEEP);
    }
    if (NumArgs > MAX_CALL_ARGS) {
        return Refuse("maximum amount of parameters 7 exceeded", RUN_TOO_MANY_ARGS);
    }
    return Exec(sName, EventId, NumArgs, aArgs, pResult);
}

namespace {
/// Logs the project warnings that nobody has seen; true if there were any.
bool TellWarnings()
{
    const BSCRIPT_HOOKS& Hooks = S().Hooks;
    return Hooks.LogNewWarnings && Hooks.LogNewWarnings() > 0;
}

int ExecLogged(const QString& sName, int EventId, int NumArgs, const I64* aArgs, I64* pResult)
{
    STATE& s = S();
    if (s.Hooks.IsProjectClosing && s.Hooks.IsProjectClosing()) {
        LogInfo(QStringLiteral("Not executing script function: %1. Project is about to close").arg(sName));
        return 0;
    }
    LogDebug(QStringLiteral("Executing script function: ") + sName);
    const int Result = RunFunction(sName, EventId, NumArgs, aArgs, pResult);
    if (s.ErrorFlag && TellWarnings() && s.Hooks.ShowConsole) {
        s.Hooks.ShowConsole();
    }
    return Result;
}
} // namespace

int ExecScriptFunction(int EventId)
{
    const QString sName = GetEventName(EventId);
    return sName.isEmpty() ? RunEvent(EventId) : ExecLogged(sName, EventId, 0, nullptr, nullptr);
}

int ExecScriptFunction(const QString& sName, int NumArgs, const I64* aArgs, I64* pResult)
{
    return ExecLogged(sName, -1, NumArgs, aArgs, pResult);
}

bool IsLoaded()
{
    return S().pScript != nullptr;
}
bool HasError()
{
    return S().ErrorFlag;
}
bool IsRunning()
{
    return S().CallDepth > 0 || S().RunningEvent >= 0;
}
int GetCallDepth()
{
    return S().CallDepth;
}
int GetRunningEvent()
{
    return S().RunningEvent;
}
bool IsClosing()
{
    return S().Closing;
}

void RequestClose()
{
    S().Closing = true;
    if (S().pScript) {
        S().pScript->pCtx->Abort = 1;
    }
}

QString GetErrorText()
{
    QString s = S().sErrorText.simplified().remove(QLatin1Char('.'));
    if (S().ErrorLine >= 0) {
        s += QStringLiteral(" at line %1").arg(S().ErrorLine);
    }
    return s;
}
QString GetErrorStatement()
{
    return S().sErrorStatement;
}
int GetErrorLine()
{
    return S().ErrorLine;
}

QString GetProjectPath()
{
    return S().sProjectPath;
}
QString GetProjectDir()
{
    return S().sProjectDir;
}
void SetProjectPath(const QString& sPath)
{
    S().sProjectPath = sPath;
    S().sProjectDir = sPath.isEmpty() ? QString() : QFileInfo(sPath).absolutePath();
}

QString GetScriptText()
{
    // The script of a project that was closed is still there, but no longer anybody's text.
    return S().pScript && !S().Closing ? QString::fromUtf8(S().pScript->Text) : QString();
}

void SetTextHash(const QString& sText)
{
    S().TextHash = HashOf(sText);
}

bool IsFileChanged()
{
    QString sText;
    return !S().sProjectPath.isEmpty() && ReadTextFile(S().sProjectPath, &sText) &&
           HashOf(sText) != S().TextHash;
}

int ReloadIfChanged()
{
    // A script that runs is looked at again when it has ended.
    if (IsRunning() || !IsFileChanged()) {
        return 0;
    }
    Load(QString(S().sProjectPath));
    return 1;
}

bool CheckStringArg(I64 Arg, const QString& sName)
{
    const STATE& s = S();
    if (s.pScript && Script::IsHeapString(s.pScript->pCtx, Arg)) {
        return true;
    }
    QString sShort = sName;
    if (sShort.startsWith(QLatin1String("BAPI::"))) {
        sShort.remove(0, 6);
    }
    if (sShort.endsWith(QLatin1String("Gen"))) {
        sShort.chop(3);
    }
    QString sText = QStringLiteral("Invalid command argument");
    if (!sShort.isEmpty()) {
        sText += QStringLiteral(" in command \"%1\"").arg(sShort);
    }
    LogError(sText + QStringLiteral(": 0x%1 (%2)").arg(static_cast<U64>(Arg), 0, 16).arg(Arg));
    return false;
}

QString ReadStringArg(I64 Arg)
{
    const STATE& s = S();
    return s.pScript && Script::IsHeapString(s.pScript->pCtx, Arg)
               ? QString::fromUtf8(reinterpret_cast<const char*>(static_cast<std::uintptr_t>(Arg)))
               : QString();
}

} // namespace BScript

SCRIPT_INSTANCE* GetCurrentInstance()
{
    return BScript::S().pScript.get();
}
