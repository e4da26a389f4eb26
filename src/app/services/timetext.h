// Times as text, as the console's time stamps and the trace windows show them.
#pragma once
#include "app/services/types.h"

#include <QString>

/// "s.mmm uuu", "mm:ss.mmm uuu" from a minute on, "h:mm:ss.mmm uuu" from an hour on.
/// sGap stands between the groups of three digits, sUnit at the end. Negative times count as 0.
QString FormatTimeUs(I64 Time_us, const char* sGap = " ", const char* sUnit = "");
/// The same with a further group for nanoseconds.
QString FormatTimeNs(I64 Time_ns, const char* sGap = " ", const char* sUnit = "");
