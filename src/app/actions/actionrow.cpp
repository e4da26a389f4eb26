#include "app/actions/actionrow.h"

#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/actions/rowcache.h"
#include "app/actions/tables/actionrows_break.h"
#include "app/actions/tables/actionrows_breakwindow.h"
#include "app/actions/tables/actionrows_debug.h"
#include "app/actions/tables/actionrows_disassembly.h"
#include "app/actions/tables/actionrows_edit.h"
#include "app/actions/tables/actionrows_file.h"
#include "app/actions/tables/actionrows_profile.h"
#include "app/actions/tables/actionrows_project.h"
#include "app/actions/tables/actionrows_source.h"
#include "app/actions/tables/actionrows_target.h"
#include "app/actions/tables/actionrows_timeline.h"
#include "app/actions/tables/actionrows_view.h"
#include "app/actions/tables/actionrows_viewmenu.h"
#include "app/actions/tables/actionrows_window.h"

#include <QKeySequence>
#include <QMultiHash>
#include <algorithm>
#include <array>

namespace {
struct ROW_PART {
    const ACTION_ROW* pFirst;
    int Num;
};

template <std::size_t N> constexpr ROW_PART Part(const ACTION_ROW (&aRows)[N])
{
    return {aRows, int(N)};
}

/// The parts of the table, in id order.
constexpr ROW_PART PARTS[] = {
    Part(ACTION_ROWS_FILE),        Part(ACTION_ROWS_EDIT),        Part(ACTION_ROWS_DEBUG),
    Part(ACTION_ROWS_VIEWMENU),    Part(ACTION_ROWS_WINDOW),      Part(ACTION_ROWS_BREAK),
    Part(ACTION_ROWS_TARGET),      Part(ACTION_ROWS_PROJECT),     Part(ACTION_ROWS_VIEW),
    Part(ACTION_ROWS_SOURCE),      Part(ACTION_ROWS_DISASSEMBLY), Part(ACTION_ROWS_PROFILE),
    Part(ACTION_ROWS_BREAKWINDOW), Part(ACTION_ROWS_TIMELINE),
};

constexpr int CountRows()
{
    int n = 0;
    for (const ROW_PART& p : PARTS) n += p.Num;
    return n;
}
static_assert(CountRows() == NUM_ACTIONS);

constexpr std::array<const ACTION_ROW*, NUM_ACTIONS> TABLE = [] {
    std::array<const ACTION_ROW*, NUM_ACTIONS> a{};
    std::size_t i = 0;
    for (const ROW_PART& p : PARTS)
        for (int k = 0; k < p.Num; k++) a[i++] = p.pFirst + k;
    return a;
}();

static_assert([] {
    for (int i = 0; i < NUM_ACTIONS; i++)
        if (TABLE[std::size_t(i)]->ID != i) return false;
    return true;
}());
static_assert([] {
    for (const ACTION_ROW* p : TABLE)
        if ((p->Prototype[0] != 0) != (p->ScriptEntry != nullptr)) return false;
    return true;
}());

/// Two names of one command; either is understood.
struct NAME_PAIR {
    const char* sName;
    const char* sOther;
};

constexpr NAME_PAIR NAME_PAIRS[] = {
    {"Trace", "Trace.Add"},
    {"Watch", "Watch.Add"},
    {"Window.SetNumberBase", "Window.SetDisplayFormat"},
    {"Break.Edit", "Edit.Break"},
    {"Project.SetPeripheralFile", "Project.AddSvdFile"},
    {"Project.SetRootPath", "Project.AddRootPath"},
    {"Debug.SetNextStmnt", "Debug.SetNextStatement"},
    {"Debug.ReadIntoTraceCache", "Debug.ReadIntoInstCache"},
    {"Project.SetTIFScanChain", "Project.SetJTAGConfig"},
    {"Edit.BrylloSettings", "Tools.BrylloSettings"},
    {"Edit.Preferences", "Tools.Preferences"},
    {"Edit.TraceSettings", "Tools.TraceSettings"},
    {"Edit.SysVars", "Tools.SysVars"},
    {"Edit.Find", "Find.Text"},
    {"View.InstrTrace", "View.InstTrace"},
    {"Help.Manual", "Help.UserGuide"},
};
static_assert(sizeof(NAME_PAIRS) / sizeof(NAME_PAIRS[0]) == 16);

/// A second key text for a row's hot key: keys that sit on one cap, and the older key for halt.
constexpr NAME_PAIR KEY_PAIRS[] = {
    {"Ctrl++", "Ctrl+="},
    {"Alt++", "Alt+="},
    {"+", "="},
    {"Ctrl+F5", "F6"},
};

ROW_INFO MakeInfo(const ACTION_ROW& Row)
{
    ROW_INFO Info;
    const QString sPrototype = QString::fromLatin1(Row.Prototype);
    if (sPrototype.isEmpty()) return Info;
    Info.Name = GetNameOfCommandText(sPrototype);
    Info.Alias = GetAliasOfName(Info.Name);
    const qsizetype Open = sPrototype.indexOf('(');
    const QString sList = sPrototype.mid(Open + 1, sPrototype.lastIndexOf(')') - Open - 1).trimmed();
    if (sList.isEmpty() || sList == "void") return Info;
    for (const QString& sDecl : sList.split(',')) Info.Params.append(sDecl.simplified());
    return Info;
}
QString NormalizeKey(const QString& sKey)
{
    return QKeySequence(sKey, QKeySequence::PortableText).toString(QKeySequence::PortableText);
}
} // namespace

const ACTION_ROW* GetActionRow(int Id)
{
    return Id >= 0 && Id < NUM_ACTIONS ? TABLE[std::size_t(Id)] : nullptr;
}

const char* GetActionToolTip(const ACTION_ROW& Row)
{
    return Row.ToolTip ? Row.ToolTip : Row.Description;
}

const ROW_INFO& GetRowInfo(int Id)
{
    static const std::array<ROW_INFO, NUM_ACTIONS> Infos = [] {
        std::array<ROW_INFO, NUM_ACTIONS> a;
        for (const ACTION_ROW* p : TABLE) a[std::size_t(p->ID)] = MakeInfo(*p);
        return a;
    }();
    static const ROW_INFO None;
    return Id >= 0 && Id < NUM_ACTIONS ? Infos[std::size_t(Id)] : None;
}

int FindCommand(const QString& sName)
{
    for (int i = 0; i < NUM_ACTIONS; i++) {
        const ROW_INFO& Info = GetRowInfo(i);
        if (Info.Name.isEmpty()) continue;
        if (Info.Name.compare(sName, Qt::CaseInsensitive) == 0) return i;
        if (!Info.Alias.isEmpty() && Info.Alias.compare(sName, Qt::CaseInsensitive) == 0) return i;
    }
    return -1;
}

QString GetCommandName(int Id)
{
    return GetRowInfo(Id).Name;
}

QString GetCommandAlias(int Id)
{
    return GetRowInfo(Id).Alias;
}

QString GetAliasOfName(const QString& sName)
{
    for (const NAME_PAIR& p : NAME_PAIRS) {
        if (sName.compare(QLatin1String(p.sName), Qt::CaseInsensitive) == 0)
            return QString::fromLatin1(p.sOther);
        if (sName.compare(QLatin1String(p.sOther), Qt::CaseInsensitive) == 0)
            return QString::fromLatin1(p.sName);
    }
    return {};
}

QString GetAliasPrototype(int Id)
{
    const ROW_INFO& Info = GetRowInfo(Id);
    if (Info.Alias.isEmpty()) return {};
    QString s = QString::fromLatin1(GetActionRow(Id)->Prototype);
    return s.replace(s.indexOf(Info.Name), Info.Name.size(), Info.Alias);
}

int GetParamCount(int Id)
{
    return int(GetRowInfo(Id).Params.size());
}

QString GetParamDecl(int Id, int Index)
{
    return GetRowInfo(Id).Params.value(Index);
}

bool IsStringParam(int Id, int Index)
{
    const QString s = GetParamDecl(Id, Index);
    return s.contains("char") && s.contains('*');
}

QList<int> FindActionsByHotKey(const QString& sKey)
{
    // The rows name keys as people do ("Shift+Alt+D"); a key press comes with its modifiers in Qt's order.
    static const QMultiHash<QString, int> Rows = [] {
        QMultiHash<QString, int> h;
        for (const ACTION_ROW* p : TABLE) {
            if (!*p->HotKey) continue;
            h.insert(NormalizeKey(QString::fromLatin1(p->HotKey)), p->ID);
            for (const NAME_PAIR& k : KEY_PAIRS)
                if (qstrcmp(p->HotKey, k.sName) == 0) h.insert(NormalizeKey(QString::fromLatin1(k.sOther)), p->ID);
        }
        return h;
    }();
    QList<int> Ids = sKey.isEmpty() ? QList<int>() : Rows.values(NormalizeKey(sKey));
    std::sort(Ids.begin(), Ids.end());
    return Ids;
}
