#include "app/actions/commandtext.h"

#include <cmath>

namespace {
struct UNIT {
    const char* sName;
    double Factor;
};

constexpr UNIT UNITS[] = {{"kHz", 1e3}, {"MHz", 1e6}, {"GHz", 1e9}};
constexpr I64 FREQUENCY_AUTO = 0;
constexpr I64 FREQUENCY_ADAPTIVE = 65535;
} // namespace

I64 ParseFrequency(const QString& sText)
{
    QString s = sText.simplified();
    s.remove('"');
    s = s.trimmed();
    if (s.compare("auto", Qt::CaseInsensitive) == 0) return FREQUENCY_AUTO;
    if (s.compare("adaptive", Qt::CaseInsensitive) == 0) return FREQUENCY_ADAPTIVE;
    double Factor = 1;
    for (const UNIT& u : UNITS) {
        if (!s.contains(QLatin1String(u.sName), Qt::CaseInsensitive)) continue;
        Factor = u.Factor;
        break;
    }
    for (const UNIT& u : UNITS) s.remove(QLatin1String(u.sName), Qt::CaseInsensitive);
    s = s.remove("Hz", Qt::CaseInsensitive).trimmed();
    bool Ok = false;
    const unsigned Number = s.toUInt(&Ok);
    if (Ok) return I64(Number) * I64(Factor);
    const double Value = s.replace(',', '.').toDouble(&Ok) * Factor;
    if (!Ok || !std::isfinite(Value) || Value < 0 || Value > 9e18) return -1;
    return I64(std::llround(Value));
}
