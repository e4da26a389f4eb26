// Where the library's texts go: the caller's three handlers and the log file. Used under the
// library's lock only.
#pragma once
#include "platform/probe/bryllo.h"

#include <cstdio>
#include <string>

namespace Probe {

class CProbeLog {
public:
    ~CProbeLog();
    void SetLogHandler(BRYLLO_LOG_HANDLER pHandler) { m_pLog = pHandler; }
    void SetWarnHandler(BRYLLO_LOG_HANDLER pHandler) { m_pWarn = pHandler; }
    void SetErrorHandler(BRYLLO_LOG_HANDLER pHandler) { m_pError = pHandler; }
    /// Appends to the file from now on; "" ends it. False: the file cannot be opened.
    bool SetFile(const std::string& Path);

    void Info(const std::string& Text);
    void Warning(const std::string& Text);
    void Error(const std::string& Text);
    /// What happens too often for a user's console: for the file alone.
    void Detail(const std::string& Text) { Emit(nullptr, "", Text); }
    /// One operation with its result: for the file alone, since handlers would drown in polls.
    void Call(const char* sOperation, long long Result);

private:
    void Emit(BRYLLO_LOG_HANDLER pHandler, const char* sPrefix, const std::string& Text);

    BRYLLO_LOG_HANDLER m_pLog = nullptr;
    BRYLLO_LOG_HANDLER m_pWarn = nullptr;
    BRYLLO_LOG_HANDLER m_pError = nullptr;
    std::FILE* m_pFile = nullptr;
};

} // namespace Probe
