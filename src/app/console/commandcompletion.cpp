#include "app/console/commandcompletion.h"

#include "app/actions/actions.h"
#include "app/actions/commandtext.h"
#include "app/actions/constants.h"
#include "app/console/commandarguments.h"
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"

#include <QColor>
#include <QDir>
#include <QFileInfo>
#include <algorithm>

namespace {
/// More candidates than this help nobody; then no start is taken for common either.
constexpr int MAX_ITEMS = 500;

COMPLETION_SOURCES s_Sources;

/// Where a text ends: in the name of a command, or in one of its arguments.
struct INPUT_PLACE {
    int ActionId = -1;
    int ArgIndex = -1;
    QStringList ArgsBefore;
    QString Word;             ///< without an opening quote
    int Start = 0;            ///< of the word, an opening quote included
    bool Quoted = false;      ///< the word stands behind an opening quote
    bool IsHelpTopic = false; ///< the name of a command that help is asked for
    QChar Separator = ' ';
};

INPUT_PLACE FindPlace(const QString& sText)
{
    INPUT_PLACE Place;
    int NameStart = 0;
    while (NameStart < sText.size() && sText[NameStart].isSpace()) NameStart++;
    const auto IsEnd = [](QChar c) { return c == ' ' || c == '('; };
    const auto itEnd = std::find_if(sText.begin() + NameStart, sText.end(), IsEnd);
    Place.Start = NameStart;
    Place.Word = sText.mid(NameStart);
    if (itEnd == sText.end()) return Place;

    const int NameEnd = int(itEnd - sText.begin());
    const QString sName = sText.mid(NameStart, NameEnd - NameStart);
    if (sText[NameEnd] == ' ' && (sName == "?" || sName.compare("help", Qt::CaseInsensitive) == 0)) {
        Place.IsHelpTopic = true;
        Place.Start = NameEnd + 1;
        Place.Word = sText.mid(Place.Start);
        return Place;
    }
    Place.ActionId = FindCommand(sName);
    const int Open = int(sText.indexOf('(', NameEnd));
    const bool InParens = Open >= 0 && sText.mid(NameEnd, Open - NameEnd).trimmed().isEmpty();
    Place.Separator = InParens ? ',' : ' ';
    int Start = InParens ? Open + 1 : NameEnd + 1;
    bool InQuotes = false;
    Place.ArgIndex = 0;
    for (int i = Start; i < sText.size(); i++) {
        if (sText[i] == '"') InQuotes = !InQuotes;
        if (InQuotes || sText[i] != Place.Separator) continue;
        const QString sArg = sText.mid(Start, i - Start).trimmed();
        Start = i + 1;
        // Several blanks are one, several commas are empty arguments.
        if (!InParens && sArg.isEmpty()) continue;
        Place.ArgsBefore.append(QString(sArg).remove('"'));
        Place.ArgIndex++;
    }
    while (Start < sText.size() && sText[Start].isSpace()) Start++;
    Place.Start = Start;
    Place.Word = sText.mid(Start);
    if (Place.Word.startsWith('"')) {
        Place.Quoted = true;
        Place.Word.remove(0, 1);
    }
    return Place;
}

bool IsNameChar(QChar c)
{
    return c.isLetterOrNumber() || c == '_' || c == '$';
}

/// The identifier at the end of an expression, with "::" inside.
int FindIdentifier(const QString& sText)
{
    int i = int(sText.size());
    while (i > 0 && (IsNameChar(sText[i - 1]) || sText[i - 1] == ':')) i--;
    return i;
}

/// Collects candidates for one word.
class CCandidates {
public:
    CCandidates(const INPUT_PLACE& Place, COMPLETION* pCompletion) : m_Place(Place), m_Out(*pCompletion)
    {
        m_sWord = Place.Word;
    }

    /// A value of an argument, quoted where the command's syntax needs it.
    void Add(const QString& sText, const QString& sDetail = {}, bool GoesOn = false)
    {
        if (!sText.startsWith(m_sWord, Qt::CaseInsensitive)) return;
        COMPLETION_ITEM Item;
        Item.Text = sText;
        Item.Detail = sDetail;
        Item.GoesOn = GoesOn;
        Item.Insert = Quote(m_sHead + sText, GoesOn);
        m_Out.Items.append(Item);
    }
    void Add(const QStringList& Texts)
    {
        for (const QString& sText : Texts) Add(sText);
    }
    /// Only the end of the argument from Pos on is what the candidates stand for.
    void KeepHead(int Pos)
    {
        m_sHead = m_Place.Word.left(Pos);
        m_sWord = m_Place.Word.mid(Pos);
    }
    const QString& GetWord() const { return m_sWord; }

    /// Sorts, cuts, and finds what all have in common.
    void Finish(bool Sort = true)
    {
        QList<COMPLETION_ITEM>& Items = m_Out.Items;
        const auto IsLess = [](const COMPLETION_ITEM& a, const COMPLETION_ITEM& b) {
            return a.Text.compare(b.Text, Qt::CaseInsensitive) < 0;
        };
        if (Sort) std::stable_sort(Items.begin(), Items.end(), IsLess);
        if (Items.isEmpty()) return;
        if (Items.size() > MAX_ITEMS) {
            Items.resize(MAX_ITEMS);
            return;
        }
        if (Items.size() == 1) {
            m_Out.Common = Items[0].Insert;
            return;
        }
        const QString sCommon = GetCommonStart();
        if (sCommon.size() >= m_sWord.size()) m_Out.Common = Quote(m_sHead + sCommon, true);
    }

private:
    QString GetCommonStart() const
    {
        QString s = m_Out.Items[0].Text;
        for (const COMPLETION_ITEM& Item : m_Out.Items) {
            qsizetype n = 0;
            while (n < s.size() && n < Item.Text.size() && s[n].toLower() == Item.Text[n].toLower()) n++;
            s.truncate(n);
        }
        return s;
    }

    QString Quote(const QString& sText, bool Open) const
    {
        const bool IsText = m_Place.Separator == ',' && IsStringParam(m_Place.ActionId, m_Place.ArgIndex);
        if (!m_Place.Quoted && !IsText && !sText.contains(m_Place.Separator)) return sText;
        return '"' + sText + (Open ? QString() : QStringLiteral("\""));
    }

    const INPUT_PLACE& m_Place;
    COMPLETION& m_Out;
    QString m_sWord; ///< what candidates begin with
    QString m_sHead; ///< what stays in front of them
};

QString GetFamilyRest(const QString& sName)
{
    return sName.mid(sName.indexOf('.') + 1);
}

/// Commands by the start of their name, then by an older name, and if there is none by what follows the
/// family.
void AddCommands(const INPUT_PLACE& Place, COMPLETION* pOut)
{
    const auto Collect = [&](auto GetName) {
        for (int i = 0; i < NUM_ACTIONS; i++) {
            const QString sName = GetName(i);
            if (sName.isEmpty() || GetCommandName(i).isEmpty()) continue;
            COMPLETION_ITEM Item;
            Item.ActionId = i;
            Item.Text = GetCommandName(i);
            const bool TakesMore = GetParamCount(i) > 0 && !Place.IsHelpTopic;
            Item.Insert = Item.Text + (TakesMore ? QStringLiteral(" ") : QString());
            Item.Detail = QString::fromLatin1(GetActionRow(i)->Description).trimmed();
            if (sName.startsWith(Place.Word, Qt::CaseInsensitive)) pOut->Items.append(Item);
        }
    };
    if (Place.Word.isEmpty()) return;
    Collect([](int Id) { return GetCommandName(Id); });
    CCandidates Candidates(Place, pOut);
    if (!pOut->Items.isEmpty()) {
        Candidates.Finish();
        return;
    }
    Collect([](int Id) { return GetCommandAlias(Id); });
    if (pOut->Items.isEmpty()) Collect([](int Id) { return GetFamilyRest(GetCommandName(Id)); });
    // These don't go on from the word, so only a single one can be filled in.
    const bool Single = pOut->Items.size() == 1;
    Candidates.Finish();
    if (!Single) pOut->Common.clear();
}

void AddConstants(CCandidates& Candidates, const QString& sPrefix)
{
    for (const CONSTANT& c : GetConstants())
        if (c.Name.startsWith(sPrefix)) Candidates.Add(c.Name, QString::number(c.Value));
}

void AddVars(CCandidates& Candidates, int First, int End)
{
    for (int i = First; i < End; i++)
        Candidates.Add(QLatin1String(GetVar(i)->Name), QLatin1String(GetVar(i)->Label));
}

void AddVarValues(CCandidates& Candidates, const QString& sVar)
{
    const SYS_VAR* pRow = FindVar(sVar);
    if (!pRow) return;
    const QList<I64> Values = GetValues(pRow->Index);
    const QStringList Texts = GetValueTexts(pRow->Index);
    for (qsizetype i = 0; i < Texts.size(); i++) Candidates.Add(Texts[i], QString::number(Values[i]));
}

template <typename ROW> void AddRows(CCandidates& Candidates, const ROW* (*pfGetRow)(int), int Count)
{
    for (int i = 0; i < Count; i++)
        Candidates.Add(QLatin1String(pfGetRow(i)->Name), QLatin1String(pfGetRow(i)->Label));
}

void AddSymbols(CCandidates& Candidates, const INPUT_PLACE& Place, bool FunctionsOnly)
{
    if (!s_Sources.FindSymbols) return;
    Candidates.KeepHead(FindIdentifier(Place.Word));
    Candidates.Add(s_Sources.FindSymbols(Candidates.GetWord(), FunctionsOnly, MAX_ITEMS + 1));
}

void AddPaths(CCandidates& Candidates, const INPUT_PLACE& Place, bool FoldersOnly)
{
    const int Slash = int(Place.Word.lastIndexOf('/'));
    QString sFolder = Place.Word.left(Slash + 1);
    if (s_Sources.ExpandPath) sFolder = s_Sources.ExpandPath(sFolder);
    if (sFolder.startsWith(QLatin1String("~/"))) sFolder = QDir::homePath() + sFolder.mid(1);
    const QDir Base(s_Sources.GetBaseFolder ? s_Sources.GetBaseFolder() : QDir::currentPath());
    const QDir Dir(Base.absoluteFilePath(sFolder));
    Candidates.KeepHead(Slash + 1);
    const auto Hidden = Candidates.GetWord().startsWith('.') ? QDir::Hidden : QDir::Filters();
    const auto Filter =
        QDir::AllDirs | QDir::NoDotAndDotDot | Hidden | (FoldersOnly ? QDir::Filters() : QDir::Files);
    for (const QFileInfo& Info : Dir.entryInfoList(Filter, QDir::Name | QDir::DirsFirst))
        Candidates.Add(Info.fileName() + (Info.isDir() ? QStringLiteral("/") : QString()), {}, Info.isDir());
}

QStringList Ask(const std::function<QStringList()>& Source)
{
    return Source ? Source() : QStringList();
}

void AddArguments(const INPUT_PLACE& Place, COMPLETION* pOut)
{
    const ARGUMENT_INFO Info = GetArgumentInfo(Place.ActionId, Place.ArgIndex);
    CCandidates Candidates(Place, pOut);
    bool Sort = true;
    switch (Info.Kind) {
    case ARG_TEXT:
        break;
    case ARG_PLAIN:
        if (!Place.Word.isEmpty()) AddConstants(Candidates, {});
        break;
    case ARG_FILE:
    case ARG_FOLDER:
        AddPaths(Candidates, Place, Info.Kind == ARG_FOLDER);
        break;
    case ARG_EXPRESSION:
    case ARG_FUNCTION:
        AddSymbols(Candidates, Place, Info.Kind == ARG_FUNCTION);
        break;
    case ARG_LOCATION:
        for (const QString& sFile : Ask(s_Sources.GetSourceFiles)) Candidates.Add(sFile + ':', {}, true);
        AddSymbols(Candidates, Place, false);
        break;
    case ARG_WINDOW:
        Candidates.Add(Ask(s_Sources.GetWindows));
        break;
    case ARG_TOOLBAR:
        Candidates.Add(Ask(s_Sources.GetToolBars));
        break;
    case ARG_REGISTER:
        Candidates.Add(Ask(s_Sources.GetRegisters));
        Sort = false;
        break;
    case ARG_SCRIPT_FUNC:
        Candidates.Add(Ask(s_Sources.GetScriptFunctions));
        break;
    case ARG_CONSTANT:
        AddConstants(Candidates, QLatin1String(Info.Words));
        Sort = false;
        break;
    case ARG_WORDS:
        Candidates.Add(QString::fromLatin1(Info.Words).split(' '));
        Sort = false;
        break;
    case ARG_SYS_VAR:
        AddVars(Candidates, 0, FIRST_PREFERENCE);
        break;
    case ARG_PREFERENCE:
        AddVars(Candidates, FIRST_PREFERENCE, NUM_SYS_VARS);
        break;
    case ARG_VAR_VALUE:
        AddVarValues(Candidates, Place.ArgsBefore.value(0));
        Sort = false;
        break;
    case ARG_COLOR_ID:
        AddRows(Candidates, GetColorRow, NUM_COLORS);
        break;
    case ARG_COLOR:
        Candidates.Add(QColor::colorNames());
        break;
    case ARG_FONT_ID:
        AddRows(Candidates, GetFontRow, NUM_FONTS);
        break;
    }
    Candidates.Finish(Sort);
}
} // namespace

void SetCompletionSources(const COMPLETION_SOURCES& Sources)
{
    s_Sources = Sources;
}

COMPLETION CompleteCommand(const QString& sText)
{
    const INPUT_PLACE Place = FindPlace(sText);
    COMPLETION c;
    c.Start = Place.Start;
    c.Length = int(sText.size()) - Place.Start;
    if (Place.ArgIndex < 0) {
        AddCommands(Place, &c);
    } else if (Place.ActionId >= 0) {
        c.ActionId = Place.ActionId;
        c.ArgIndex = Place.ArgIndex;
        // A closed quote or bracket ends the argument.
        const bool IsClosed =
            Place.Word.contains('"') || (!Place.Quoted && Place.Separator == ',' && Place.Word.contains(')'));
        if (!IsClosed) AddArguments(Place, &c);
    }
    // Nothing is left to add when the word is already all that could be put in.
    if (c.Common.isEmpty()) c.Common = sText.mid(c.Start);
    return c;
}
