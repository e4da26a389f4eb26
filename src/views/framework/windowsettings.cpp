#include "views/framework/windowsettings.h"

#include <QPair>

namespace {

struct ALIAS_ROW {
    const char* sOld;
    const char* sCurrent;
};
/// Names that windows had in earlier versions and that old sessions and projects still use.
constexpr ALIAS_ROW aAliases[] = {
    {"Threads", "Tasks"},
    {"Registers", "Registers 1"},
    {"Memory Content", "Memory"},
    {"Memory Content1", "Memory 1"},
    {"Memory Content2", "Memory 2"},
    {"Memory Content3", "Memory 3"},
    {"Memory Content4", "Memory 4"},
    {"Memory1", "Memory 1"},
    {"Memory2", "Memory 2"},
    {"Memory3", "Memory 3"},
    {"Memory4", "Memory 4"},
    {"Bryllo Web Control", "Bryllo Control Panel"},
    {"Data Breakpoints", "Break & Tracepoints"},
    {"Breakpoints", "Break & Tracepoints"},
    {"Breakpoints on Data", "Break & Tracepoints"},
    {"Tracepoints", "Break & Tracepoints"},
    {"Breakpoints/Tracepoints", "Break & Tracepoints"},
};

} // namespace

QString GetDockAreaText(int Area)
{
    switch (Area) {
    case DOCK_AREA_LEFT:
        return QStringLiteral("LEFT");
    case DOCK_AREA_RIGHT:
        return QStringLiteral("RIGHT");
    case DOCK_AREA_BOTTOM:
        return QStringLiteral("BOTTOM");
    case DOCK_AREA_FLOATING:
        return QStringLiteral("FLOATING");
    default:
        return QString();
    }
}

int ParseDockArea(const QString& sText)
{
    for (int Area : {DOCK_AREA_BOTTOM, DOCK_AREA_LEFT, DOCK_AREA_RIGHT, DOCK_AREA_FLOATING})
        if (sText.contains(GetDockAreaText(Area), Qt::CaseInsensitive)) return Area;
    return DOCK_AREA_NONE;
}

QString MapWindowAlias(const QString& sName)
{
    for (const ALIAS_ROW& Row : aAliases)
        if (sName == QLatin1String(Row.sOld)) return QString::fromLatin1(Row.sCurrent);
    return sName;
}

QStringList GetWindowAliases(const QString& sName)
{
    QStringList Names;
    for (const ALIAS_ROW& Row : aAliases)
        if (sName == QLatin1String(Row.sCurrent)) Names.append(QString::fromLatin1(Row.sOld));
    return Names;
}

QList<QPair<QString, QString>> SplitSessionLine(const QString& sLine)
{
    QList<QPair<QString, QString>> Items;
    auto AddItem = [&Items](const QString& sItem) {
        const int Equals = int(sItem.indexOf(u'='));
        if (Equals > 0) Items.append({sItem.left(Equals).trimmed(), sItem.mid(Equals + 1).trimmed()});
    };
    bool InQuotes = false;
    int Depth = 0;
    QString sItem;
    for (const QChar Char : sLine) {
        if (Char == u'"') InQuotes = !InQuotes;
        if (!InQuotes && Char == u'[') Depth++;
        if (!InQuotes && Char == u']') Depth--;
        if (Char == u',' && !InQuotes && Depth <= 0) {
            AddItem(sItem);
            sItem.clear();
        } else
            sItem.append(Char);
    }
    AddItem(sItem);
    return Items;
}

QString Unquote(const QString& sText)
{
    QString sPlain = sText.trimmed();
    if (sPlain.size() >= 2 && sPlain.startsWith(u'"') && sPlain.endsWith(u'"'))
        sPlain = sPlain.mid(1, sPlain.size() - 2);
    return sPlain;
}
