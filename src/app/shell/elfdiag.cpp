#include "app/shell/elfdiag.h"

#include "app/services/messages.h"

#include <cctype>

namespace {

/// Numbers of diagnostics and the first row of the message table that they go to.
struct DIAG_RANGE {
    U32 First, Last;
    int Id;
};
constexpr DIAG_RANGE RANGES[] = {{1, 23, 0}, {24, 34, 38}, {100, 117, 49}, {118, 128, 23}, {133, 133, 34}};

/// An argument as users want it: a path is reduced to its file name.
QString GetArg(const ELF_DIAG& Diag, U32 Index)
{
    if (Index >= Diag.NumArgs || Index >= 4 || !Diag.asArg[Index]) return QStringLiteral("?");
    const QString sArg = QString::fromUtf8(Diag.asArg[Index]);
    return sArg.section('/', -1).section('\\', -1);
}

} // namespace

int GetElfMessageId(U32 Code)
{
    for (const DIAG_RANGE& Range : RANGES)
        if (Code >= Range.First && Code <= Range.Last) return Range.Id + int(Code - Range.First);
    return -1;
}

QString GetElfDiagText(const ELF_DIAG& Diag)
{
    if (Diag.sText && *Diag.sText) return QString::fromUtf8(Diag.sText);
    const MESSAGE_ROW* pRow = GetMessageRow(GetElfMessageId(Diag.Code));
    if (!pRow) return QStringLiteral("ELF diagnostic %1").arg(Diag.Code);
    // Arguments are texts whatever the row's conversion says, so the format is filled by hand.
    QString sText;
    U32 Arg = 0;
    for (const char* p = pRow->Format; *p; p++) {
        if (*p != '%') {
            sText += QLatin1Char(*p);
        } else if (p[1] == '%') {
            sText += QLatin1Char('%');
            p++;
        } else {
            while (p[1] && !std::isalpha(static_cast<unsigned char>(p[1]))) p++;
            if (p[1]) p++;
            sText += GetArg(Diag, Arg++);
        }
    }
    return sText;
}
