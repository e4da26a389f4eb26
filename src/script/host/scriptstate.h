// What the files of the script host share: its state.
#pragma once
#include "script/host/bscript.h"
#include "script/host/scriptinstance.h"

namespace BScript {

struct STATE {
    std::shared_ptr<SCRIPT_INSTANCE> pScript; ///< null when none is loaded
    BSCRIPT_HOOKS Hooks;
    U32 TextHash = 0;
    int CallDepth = 0;
    int RunningEvent = -1;
    SCRIPT_CTX* pRunningCtx = nullptr; ///< script of the innermost call, maybe one that is on its way out
    bool ErrorFlag = false;
    bool LoadEventFailed = false;
    bool Closing = false;
    int ErrorLine = -1;
    QString sErrorText;
    QString sErrorStatement;
    QStringList ErrorTexts; ///< as GetErrorTexts() gives them
    QString sProjectPath;
    QString sProjectDir;
};

STATE& S();
void SetErrorState(const QString& sText, int Line, const QString& sStatement); ///< and sets ErrorFlag
/// The project of the script goes, or the program with it: no function starts any more.
bool IsProjectClosing();
/// Called before each statement: what the user does meanwhile is done, and may end the script.
void OnScriptStatement(SCRIPT_CTX* pCtx);

} // namespace BScript
