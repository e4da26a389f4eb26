#include "platform/probe/core/probelog.h"

namespace Probe {

CProbeLog::~CProbeLog()
{
    SetFile({});
}

bool CProbeLog::SetFile(const std::string& Path)
{
    if (m_pFile) {
        std::fclose(m_pFile);
        m_pFile = nullptr;
    }
    if (Path.empty()) {
        return true;
    }
    m_pFile = std::fopen(Path.c_str(), "a");
    return m_pFile != nullptr;
}

void CProbeLog::Emit(BRYLLO_LOG_HANDLER pHandler, const char* sPrefix, const std::string& Text)
{
    if (pHandler) {
        pHandler(Text.c_str());
    }
    if (m_pFile) {
        std::fprintf(m_pFile, "%s%s\n", sPrefix, Text.c_str());
        std::fflush(m_pFile);
    }
}

void CProbeLog::Info(const std::string& Text)
{
    Emit(m_pLog, "", Text);
}

void CProbeLog::Warning(const std::string& Text)
{
    Emit(m_pWarn, "WARNING: ", Text);
}

void CProbeLog::Error(const std::string& Text)
{
    Emit(m_pError, "ERROR: ", Text);
}

void CProbeLog::Call(const char* sOperation, long long Result)
{
    if (m_pFile) {
        std::fprintf(m_pFile, "%s() returns %lld\n", sOperation, Result);
    }
}

} // namespace Probe
