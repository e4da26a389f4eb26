#include "app/services/timetext.h"

namespace {
QString FormatSeconds(I64 Seconds, I64 Milli)
{
    const I64 Sec = Seconds % 60;
    const I64 Min = Seconds / 60 % 60;
    const I64 Hours = Seconds / 3600;
    if (Hours > 0)
        return QString::asprintf("%lld:%02lld:%02lld.%03lld", (long long)Hours, (long long)Min,
                                 (long long)Sec, (long long)Milli);
    if (Min > 0)
        return QString::asprintf("%02lld:%02lld.%03lld", (long long)Min, (long long)Sec, (long long)Milli);
    return QString::asprintf("%lld.%03lld", (long long)Sec, (long long)Milli);
}
} // namespace

QString FormatTimeUs(I64 Time_us, const char* sGap, const char* sUnit)
{
    if (Time_us < 0) Time_us = 0;
    const I64 Milli = Time_us / 1000;
    return FormatSeconds(Milli / 1000, Milli % 1000) + sGap + QString::asprintf("%03d", int(Time_us % 1000)) +
           sUnit;
}

QString FormatTimeNs(I64 Time_ns, const char* sGap, const char* sUnit)
{
    if (Time_ns < 0) Time_ns = 0;
    return FormatTimeUs(Time_ns / 1000, sGap) + sGap + QString::asprintf("%03d", int(Time_ns % 1000)) + sUnit;
}
