// The event functions of a project: their table, and the text of a new project made from it.
#include "script/host/bscript.h"

#include <QStringList>

namespace {
constexpr int FRAME_WIDTH = 70;
constexpr int LAST_EVENT_OF_NEW_PROJECT = EVENT_AFTER_TARGET_HALT;

constexpr const char* OPTIONAL_HANDLER = "Event handler routine. Optional.";
constexpr const char* PC_SP_HANDLER =
    "Event handler routine.\n- Sets the PC register to program reset value.\n"
    "- Sets the SP register to program reset value on Cortex-M.";
constexpr const char* EXAMPLE_NOTES =
    "This example demonstrates the usage when\ndebugging a RAM program on a Cortex-M target device";

constexpr const char* RESET_EXAMPLE = R"(
  unsigned int SP;
  unsigned int PC;
  unsigned int VectorTableAddr;

  Exec.Reset();

  VectorTableAddr = Elf.GetBaseAddr();

  if (VectorTableAddr != 0xFFFFFFFF) {

    Util.Log("Resetting Program.");

    SP = Target.ReadU32(VectorTableAddr);
    Target.SetReg("SP", SP);

    PC = Target.ReadU32(VectorTableAddr + 4);
    Target.SetReg("PC", PC);
  }
)";
constexpr const char* DOWNLOAD_EXAMPLE = R"(
  unsigned int SP;
  unsigned int PC;
  unsigned int VectorTableAddr;

  VectorTableAddr = Elf.GetBaseAddr();

  if (VectorTableAddr != 0xFFFFFFFF) {

    Util.Log("Initializing PC and SP.");

    SP = Target.ReadU32(VectorTableAddr);
    Target.SetReg("SP", SP);

    PC = Target.ReadU32(VectorTableAddr + 4);
    Target.SetReg("PC", PC);
  }
)";

struct SCRIPT_EVENT {
    int ID;
    const char* Prototype;
    const char* Description; ///< lines of the comment block
    const char* Notes;       ///< further lines of it, may be empty
    const char* Body;        ///< worked example between the braces, may be empty
};
constexpr SCRIPT_EVENT s_aEvents[] = {
    {EVENT_ON_PROJECT_LOAD, "void OnProjectLoad (void);", "Project load routine. Required.", "", ""},
    {EVENT_TARGET_RESET, "void TargetReset (void);",
     "Replaces the default target device reset routine. Optional.", EXAMPLE_NOTES, RESET_EXAMPLE},
    {EVENT_BEFORE_TARGET_RESET, "void BeforeTargetReset (void);", OPTIONAL_HANDLER, "", ""},
    {EVENT_AFTER_TARGET_RESET, "void AfterTargetReset (void);", PC_SP_HANDLER, "", ""},
    {EVENT_DEBUG_START, "void DebugStart (void);",
     "Replaces the default debug session startup routine. Optional.", "", ""},
    {EVENT_TARGET_CONNECT, "void TargetConnect (void);",
     "Replaces the default target IF connection routine. Optional.", "", ""},
    {EVENT_BEFORE_TARGET_CONNECT, "void BeforeTargetConnect (void);", OPTIONAL_HANDLER, "", ""},
    {EVENT_AFTER_TARGET_CONNECT, "void AfterTargetConnect (void);", OPTIONAL_HANDLER, "", ""},
    {EVENT_TARGET_DOWNLOAD, "void TargetDownload (void);",
     "Replaces the default program download routine. Optional.", "", ""},
    {EVENT_BEFORE_TARGET_DOWNLOAD, "void BeforeTargetDownload (void);", OPTIONAL_HANDLER, "", ""},
    {EVENT_AFTER_TARGET_DOWNLOAD, "void AfterTargetDownload (void);", PC_SP_HANDLER, "", DOWNLOAD_EXAMPLE},
    {EVENT_BEFORE_TARGET_DISCONNECT, "void BeforeTargetDisconnect (void);", OPTIONAL_HANDLER, "", ""},
    {EVENT_AFTER_TARGET_DISCONNECT, "void AfterTargetDisconnect (void);", OPTIONAL_HANDLER, "", ""},
    {EVENT_AFTER_TARGET_HALT, "void AfterTargetHalt (void);", OPTIONAL_HANDLER, "", ""},
    {EVENT_BEFORE_TARGET_RESUME, "void BeforeTargetResume (void);", OPTIONAL_HANDLER, "", ""},
};
constexpr bool EventsAreInOrder()
{
    int Id = 0;
    for (const SCRIPT_EVENT& Row : s_aEvents) {
        if (Row.ID != ++Id) {
            return false;
        }
    }
    return Id == EVENT_BEFORE_TARGET_RESUME;
}
static_assert(EventsAreInOrder());

const SCRIPT_EVENT* FindEvent(int EventId)
{
    return EventId >= EVENT_ON_PROJECT_LOAD && EventId <= EVENT_BEFORE_TARGET_RESUME ? &s_aEvents[EventId - 1]
                                                                                     : nullptr;
}

QString FrameLine(const QString& sText)
{
    return sText.leftJustified(FRAME_WIDTH, QLatin1Char(' ')) + QLatin1Char('\n');
}

QString CommentBlock(const SCRIPT_EVENT& Row)
{
    const QString sStars(FRAME_WIDTH, QLatin1Char('*'));
    QString s = QLatin1Char('/') + sStars.mid(1) + QLatin1Char('\n');
    s += FrameLine(QStringLiteral("*"));
    s += FrameLine(QStringLiteral("*       ") + BScript::GetEventName(Row.ID));
    s += FrameLine(QStringLiteral("*"));
    s += FrameLine(QStringLiteral("* Function description"));
    for (const QString& sLine : QString::fromLatin1(Row.Description).split(QLatin1Char('\n'))) {
        s += FrameLine(QStringLiteral("*   ") + sLine);
    }
    if (*Row.Notes) {
        s += FrameLine(QStringLiteral("*")) + FrameLine(QStringLiteral("* Notes"));
        for (const QString& sLine : QString::fromLatin1(Row.Notes).split(QLatin1Char('\n'))) {
            s += FrameLine(QStringLiteral("*   ") + sLine);
        }
    }
    return s + FrameLine(QStringLiteral("*")) + sStars + QStringLiteral("\n*/\n");
}

/// The function as the target's core wants it: a whole one, or what stands between its braces. Empty: the core has
/// nothing to add.
QString CoreFunction(const SCRIPT_EVENT& Row, const QString& sHead)
{
    const auto& GetBody = BScript::Hooks().GetEventBody;
    QString sBody = GetBody ? GetBody(Row.ID) : QString();
    if (sBody.isEmpty()) {
        return sBody;
    }
    if (!sBody.endsWith(QLatin1Char('\n'))) {
        sBody += QLatin1Char('\n');
    }
    return sBody.contains(BScript::GetEventName(Row.ID)) ? sBody : sHead + QStringLiteral(" {\n") + sBody + QStringLiteral("}\n");
}

/// The function in a new project: the core's, else commented out line by line.
QString Template(const SCRIPT_EVENT& Row)
{
    QString sHead = QString::fromLatin1(Row.Prototype);
    sHead.chop(1);
    if (const QString sFunction = CoreFunction(Row, sHead); !sFunction.isEmpty()) {
        return sFunction;
    }
    QString s = QStringLiteral("//") + sHead + QStringLiteral(" {\n");
    if (*Row.Body) {
        for (const QString& sLine : QString::fromLatin1(Row.Body).chopped(1).split(QLatin1Char('\n'))) {
            s += QStringLiteral("//") + sLine + QLatin1Char('\n');
        }
    }
    return s + QStringLiteral("//}\n");
}
} // namespace

namespace BScript {

QString GetEventPrototype(int EventId)
{
    const SCRIPT_EVENT* pRow = FindEvent(EventId);
    return pRow ? QString::fromLatin1(pRow->Prototype) : QString();
}

QString GetEventName(int EventId)
{
    const QString sPrototype = GetEventPrototype(EventId);
    const qsizetype Start = sPrototype.indexOf(QLatin1String("void ")) + 5;
    const qsizetype End = sPrototype.indexOf(QLatin1String(" ("));
    return End > Start && Start >= 5 ? sPrototype.mid(Start, End - Start) : QString();
}

QString GetDialogSectionMark()
{
    return QStringLiteral("  //\n  // Dialog-generated settings\n  //\n");
}

QString GetUserSectionMark()
{
    return QStringLiteral("  //\n  // User settings\n  //\n");
}

QString GetProjectLoadText(const QStringList& Commands)
{
    const auto IsFileOpen = [](const QString& sCommand) {
        return sCommand.section(QLatin1Char('('), 0, 0).trimmed() == QLatin1String("File.Open");
    };
    QString sDialog;
    QString sUser;
    for (const QString& sCommand : Commands) {
        (IsFileOpen(sCommand) ? sUser : sDialog) += QStringLiteral("  ") + sCommand + QLatin1Char('\n');
    }
    return QStringLiteral("void OnProjectLoad (void) {\n") + GetDialogSectionMark() + sDialog +
           GetUserSectionMark() + sUser + QStringLiteral("}\n");
}

QString GetNewProjectText(const QStringList& Commands)
{
    QStringList Blocks;
    for (int Id = EVENT_ON_PROJECT_LOAD; Id <= LAST_EVENT_OF_NEW_PROJECT; ++Id) {
        const SCRIPT_EVENT& Row = *FindEvent(Id);
        Blocks +=
            CommentBlock(Row) + (Id == EVENT_ON_PROJECT_LOAD ? GetProjectLoadText(Commands) : Template(Row));
    }
    return Blocks.join(QLatin1Char('\n'));
}

} // namespace BScript
