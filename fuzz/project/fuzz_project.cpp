// Fuzz target of the project file: the input is the file's bytes. It is opened, its OnProjectLoad runs
// the project's own commands, a dialog's settings are written into it, and what was written is opened
// again. Whatever the text, a successful write leaves all that stands outside OnProjectLoad as it was.
#include "app/actions/actions.h"
#include "app/services/log.h"
#include "project/file/project.h"
#include "project/file/projecttext.h"
#include "project/finder/filefinder.h"
#include "project/settings/sysvars.h"
#include "script/host/bscript.h"
#include "script/host/scriptinstance.h"

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QWidget>
#include <cstdio>
#include <cstdlib>

namespace {
constexpr int MAX_STATEMENTS = 3000;
int s_Budget;

/// A window with all actions, of which those of the project do their work and the others nothing.
struct WORLD {
    WORLD()
    {
        InitSysVars();
        for (int Id = 0; Id < NUM_ACTIONS; ++Id) {
            auto* pAction = new QAction(&Window);
            pAction->setObjectName(QLatin1String(GetActionRow(Id)->ObjectName));
            QObject::connect(pAction, &QAction::triggered, pAction, [Id] {
                CProject::Get().HandleCommand(Id);
                ClearAction(Id);
            });
        }
        LinkActions(&Window);
        ACTION_HOOKS Actions;
        Actions.CheckStringArg = BScript::CheckStringArg;
        Actions.ReadStringArg = BScript::ReadStringArg;
        SetActionHooks(Actions);
        SetLogConsoleSink([](const QString&, U32) {});
        CProject::Get().Init();
        sPath = Dir.filePath(QStringLiteral("p.bdebug"));
        const QString sInstall = Dir.path();
        CFileFinder::Get().Hooks().InstallDir = [sInstall] { return sInstall; };
    }
    QWidget Window;
    QTemporaryDir Dir;
    QString sPath;
};

WORLD& World()
{
    static int s_NumArgs = 3;
    static char s_aName[] = "fuzz_project";
    static char s_aPlatform[] = "-platform";
    static char s_aOffscreen[] = "offscreen";
    static char* s_apArgs[] = {s_aName, s_aPlatform, s_aOffscreen, nullptr};
    static QApplication* s_pApp = new QApplication(s_NumArgs, s_apArgs);
    static WORLD* s_pWorld = new WORLD; // the actions must not outlive the application's statics
    Q_UNUSED(s_pApp);
    return *s_pWorld;
}

void Require(bool Holds, const char* sWhat)
{
    if (!Holds) {
        std::fprintf(stderr, "fuzz_project: %s\n", sWhat);
        std::abort();
    }
}

QByteArray ReadBytes(const QString& sPath)
{
    QFile File(sPath);
    return File.open(QIODevice::ReadOnly) ? File.readAll() : QByteArray();
}

/// The text as the editing sees it.
QString ToText(const QByteArray& Bytes)
{
    QString s = QString::fromUtf8(Bytes);
    s.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    return s.replace(QLatin1Char('\r'), QLatin1Char('\n'));
}

void OpenAndRun(const QString& sPath)
{
    CProject& Project = CProject::Get();
    Project.Open(sPath);
    Project.OnOpenTimeout();
    Project.PrepareProjectLoad();
    if (SCRIPT_INSTANCE* pScript = GetCurrentInstance()) {
        s_Budget = MAX_STATEMENTS;
        pScript->pCtx->OnStatement = [](SCRIPT_CTX* p) {
            if (--s_Budget <= 0) p->Abort = 1;
        };
        BScript::ExecScriptFunction(EVENT_ON_PROJECT_LOAD);
    }
    Project.GetWarnings();
    Project.LogNewWarnings();
    BScript::GetErrorText();
}

bool Write(std::size_t Choice, const QString& sPath)
{
    CProject& Project = CProject::Get();
    const QStringList Commands = {QStringLiteral("Project.SetDevice (\"VS4F-512\");"),
                                  QStringLiteral("Project.SetTIFSpeed (\"2 MHz\");"),
                                  QStringLiteral("Util.Log (\"{ } // /* \");")};
    switch (Choice % 7) {
    case 0:
        return Project.WriteProjectSettings(Commands);
    case 1:
        return Project.WriteTraceSettings({QStringLiteral("Project.SetTraceSource (\"Trace Pins\");")});
    case 2:
        return Project.WriteBrylloSettings(Commands);
    case 3:
        return Project.WriteSystemSettings();
    case 4:
        return Project.WriteVar(sPath, VAR_RESET_MODE, QStringLiteral("1"));
    case 5:
        return Project.WriteSettings(sPath, false, Commands, {QStringLiteral("Project.SetDevice")});
    default:
        return Project.WriteSettings(sPath, true, {}, {QStringLiteral("File.Open")});
    }
}

void CheckRest(const QString& sBefore, const QString& sAfter)
{
    int Begin = 0;
    int End = 0;
    int NewBegin = 0;
    int NewEnd = 0;
    Require(FindProjectLoadBody(sBefore, &Begin, &End), "wrote into a text without a body");
    Require(FindProjectLoadBody(sAfter, &NewBegin, &NewEnd), "the body is gone");
    Require(sBefore.left(Begin) == sAfter.left(NewBegin), "the text in front of the body has changed");
    // A brace in a removed or in a written line moves where the body seems to end, so the rest is
    // compared from the back.
    Require(sAfter.endsWith(sBefore.mid(End)), "the text behind the body has changed");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const U8* pData, std::size_t Size)
{
    const WORLD& w = World();
    const QByteArray Bytes(reinterpret_cast<const char*>(pData), static_cast<qsizetype>(Size));
    {
        QFile File(w.sPath);
        if (!File.open(QIODevice::WriteOnly) || File.write(Bytes) != Bytes.size()) return 0;
    }
    OpenAndRun(w.sPath);
    if (Write(Size, w.sPath) && Bytes.isValidUtf8() && !Bytes.contains('\0')) {
        CheckRest(ToText(Bytes), ToText(ReadBytes(w.sPath)));
    }
    OpenAndRun(w.sPath);
    CProject::Get().Close();
    BScript::Close();
    return 0;
}
