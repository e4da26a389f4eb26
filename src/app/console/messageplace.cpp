#include "app/console/messageplace.h"

#include <QRegularExpression>

std::optional<MESSAGE_PLACE> FindMessagePlace(const QString& sText)
{
    // In the order in which they are tried: a file that is named is nearer than the script.
    static const QRegularExpression PLACES[] = {
        QRegularExpression(QStringLiteral(R"re("(?<file>[^"]+)"[^"]*?\b(?:at|in) line (?<line>\d+))re")),
        QRegularExpression(QStringLiteral(R"re((?<file>(?:\b[A-Za-z]:)?[^\s":()]*\.[A-Za-z]\w*):(?<line>\d+)\b)re")),
        QRegularExpression(QStringLiteral(R"re((?<file>)\bat line (?<line>\d+))re")),
    };
    for (const QRegularExpression& Place : PLACES) {
        const QRegularExpressionMatch Match = Place.match(sText);
        if (!Match.hasMatch()) continue;
        bool Good = false;
        const int Line = Match.captured(QStringLiteral("line")).toInt(&Good);
        if (Good && Line >= 1) return MESSAGE_PLACE{Match.captured(QStringLiteral("file")), Line};
    }
    return {};
}
