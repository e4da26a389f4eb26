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
    bool ErrorFlag = false;
    bool Closing = false;
    int ErrorLine = -1;
    QString sErrorText;
    QString sErrorStatement;
    QString sProjectPath;
    QString sProjectDir;
};

STATE& S();
void SetErrorState(const QString& sText, int Line, const QString& sStatement); ///< and sets ErrorFlag
/// Called before each statement: what the user does meanwhile is done, and may end the script.
void OnScriptStatement(SCRIPT_CTX* pCtx);

} // namespace BScript
