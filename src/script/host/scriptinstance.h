// One loaded script: its text, its block, and the names that its symbols point to.
#pragma once
#include "script/lang/scriptctx.h"

#include <QByteArray>
#include <deque>
#include <memory>

struct SCRIPT_INSTANCE {
    QByteArray Text;              ///< UTF-8, read by the interpreter
    std::deque<QByteArray> Names; ///< names of constants; addresses stay
    std::unique_ptr<void, void (*)(void*)> pBlock{nullptr, nullptr};
    SCRIPT_CTX* pCtx = nullptr; ///< at the start of the block
};

/// A script with everything that a project may use, not yet parsed; null without memory.
std::shared_ptr<SCRIPT_INSTANCE> CreateInstance(const QByteArray& Text);

/// Enters a constant, or changes the value of one that is there.
void EnterConstant(SCRIPT_INSTANCE* pScript, const QString& sName, I64 Value);

/// The script that is loaded, null if none.
SCRIPT_INSTANCE* GetCurrentInstance();
