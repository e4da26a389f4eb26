// The script host's state: load, close, errors, the text on disk.
#include "script/host/bscript.h"

#include "app/services/log.h"
#include "app/services/mainthread.h"
#include "script/host/scriptstate.h"
#include "script/host/textfile.h"

#include <QFileInfo>
#include <QHash>
#include <cstring>
#include <utility>

namespace BScript {

namespace {
constexpr int MAX_EVENT_NAME = 49;
constexpr qsizetype MAX_STATEMENT = 512;

U32 HashOf(const QString& sText)
{
    return static_cast<U32>(qHash(sText.toUtf8(), 0));
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
    s.LoadEventFailed = false;
    s.ErrorLine = -1;
    s.sErrorText.clear();
    s.sErrorStatement.clear();
    s.ErrorTexts.clear();
    LogDebug(QStringLiteral("Script closed."));
}

QString FormatError(const QString& sText, int Line)
{
    const QString s = sText.simplified().remove(QLatin1Char('.'));
    return Line >= 0 ? s + QStringLiteral(" at line %1").arg(Line) : s;
}
} // namespace

STATE& S()
{
    static STATE Instance;
    return Instance;
}

void SetErrorState(const QString& sText, int Line, const QString& sStatement)
{
    S().sErrorText = sText;
    S().ErrorLine = Line;
    S().sErrorStatement = sStatement;
    S().ErrorFlag = true;
    const QString sForUser = FormatError(sText, Line);
    if (!S().ErrorTexts.contains(sForUser)) S().ErrorTexts += sForUser; // a loop has it again and again
}

BSCRIPT_HOOKS& Hooks()
{
    return S().Hooks;
}

void SetHooks(const BSCRIPT_HOOKS& NewHooks)
{
    const BSCRIPT_HOOKS Old = std::exchange(S().Hooks, NewHooks);
    if (!NewHooks.LogNewWarnings) S().Hooks.LogNewWarnings = Old.LogNewWarnings;
    if (!NewHooks.LogScriptError) S().Hooks.LogScriptError = Old.LogScriptError;
}

int LoadText(const QString& sText)
{
    AssertMainThread("BScript::LoadText");
    STATE& s = S();
    Release();
    s.TextHash = HashOf(sText); // of a text that can't be used, too: it is tried again when it has changed
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
        return -1;
    }
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

bool IsLoaded()
{
    return S().pScript != nullptr;
}
bool HasError()
{
    return S().ErrorFlag;
}
bool HasLoadFailed()
{
    return S().LoadEventFailed || (S().ErrorFlag && !S().pScript);
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

bool IsAborted()
{
    return S().pRunningCtx && S().pRunningCtx->Abort;
}

QString GetErrorText()
{
    return FormatError(S().sErrorText, S().ErrorLine);
}
QStringList GetErrorTexts()
{
    return S().ErrorTexts;
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
    const bool WasFailed = HasLoadFailed();
    Load(QString(S().sProjectPath));
    S().LoadEventFailed = WasFailed; // a new text doesn't run its OnProjectLoad until it is opened again
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
