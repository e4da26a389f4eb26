// CDevice: log, status and progress texts, which all travel through the event ring.
#include "app/services/log.h"
#include "device/queue/device.h"

#include <cstdarg>
#include <cstdio>

namespace {
// Routing of the four levels; bit 11 marks a text of the device layer.
constexpr U32 LOG_DEBUG = 0x819;
constexpr U32 LOG_INFO = 0x841;
constexpr U32 LOG_WARN = 0x81A;
constexpr U32 LOG_ERROR = 0x844;
constexpr int MAX_ERROR_TEXT = 2'047;
} // namespace

void CDevice::_LogV(U32 Flags, const char* sFormat, va_list Args)
{
    char sText[EVENT_TEXT_LEN + 1];
    std::vsnprintf(sText, sizeof sText, sFormat, Args);
    PostTextEvent(DEV_EVENT_LOG_MSG, sText, Flags);
}

void CDevice::LogDebugMsg(const char* sFormat, ...)
{
    if (!IsLoggingOn()) return;
    va_list Args;
    va_start(Args, sFormat);
    _LogV(LOG_DEBUG, sFormat, Args);
    va_end(Args);
}

void CDevice::LogInfoMsg(const char* sFormat, ...)
{
    va_list Args;
    va_start(Args, sFormat);
    _LogV(LOG_INFO, sFormat, Args);
    va_end(Args);
}

void CDevice::LogWarnMsg(const char* sFormat, ...)
{
    if (!IsLoggingOn()) return;
    va_list Args;
    va_start(Args, sFormat);
    _LogV(LOG_WARN, sFormat, Args);
    va_end(Args);
}

void CDevice::LogErrorMsg(const char* sFormat, ...)
{
    va_list Args;
    va_start(Args, sFormat);
    _LogV(LOG_ERROR, sFormat, Args);
    va_end(Args);
}

void CDevice::SetStatusMsg(const char* sMsg)
{
    PostTextEvent(DEV_EVENT_STATUS_MSG, sMsg);
}

void CDevice::SetProgressMsg(const char* sMsg)
{
    PostTextEvent(DEV_EVENT_PROGRESS_MSG, sMsg);
}

void CDevice::StartProgress(int Min, int Max)
{
    PostDeviceEvent(DEV_EVENT_PROGRESS_START, U32(Min), U32(Max));
}

void CDevice::SetProgressValue(int Value)
{
    PostDeviceEvent(DEV_EVENT_PROGRESS_VALUE, U32(Value), 0);
}

void CDevice::EndProgress()
{
    PostDeviceEvent(DEV_EVENT_PROGRESS_END, 0, 0);
}

void CDevice::SetErrorMsg(DEVICE_ERR_MSGS Slot, const char* sErrorMsg)
{
    if (Slot >= DEV_ERR_COUNT || !sErrorMsg) return;
    {
        std::lock_guard Lock(m_ErrorMutex);
        m_asError[Slot] = QString::fromUtf8(sErrorMsg).left(MAX_ERROR_TEXT);
    }
    if (*sErrorMsg) LogWarnMsg("%s", sErrorMsg);
}

QString CDevice::GetErrorMsg(DEVICE_ERR_MSGS Slot) const
{
    if (Slot >= DEV_ERR_COUNT) return {};
    std::lock_guard Lock(m_ErrorMutex);
    return m_asError[Slot];
}
