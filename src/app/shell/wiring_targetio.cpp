// The program's input and output: semihosting requests, their switch, and where their text appears.
#include "app/console/consolewindow.h"
#include "app/services/log.h"
#include "app/shell/mainwindow.h"
#include "app/shell/wiring.h"
#include "project/file/project.h"
#include "project/settings/appearance.h"
#include "project/settings/sysvars.h"
#include "targetio/semihost/semihost.h"
#include "targetio/semihost/semihostswitch.h"
#include "views/framework/statusbar.h"

#include <QTimer>

namespace {

constexpr char TEXT_COMPLETED[] = "Semihosting operation completed";
constexpr char TEXT_CANCELED[] = "Semihosting operation canceled";
constexpr int FLUSH_MS = 200;

/// Puts the program's output, which comes in pieces of any size, into the console line by line.
class CTargetTextPrinter : public QObject {
public:
    explicit CTargetTextPrinter(QObject* pParent) : QObject(pParent)
    {
        m_Timer.setSingleShot(true);
        m_Timer.setInterval(FLUSH_MS);
        connect(&m_Timer, &QTimer::timeout, this, [this] { Print(std::exchange(m_sRest, QString())); });
    }
    void Add(const QString& sText)
    {
        m_sRest += sText;
        for (qsizetype End; (End = m_sRest.indexOf(QLatin1Char('\n'))) >= 0;) {
            Print(m_sRest.left(End));
            m_sRest.remove(0, End + 1);
        }
        // A prompt has no line end; it appears when nothing more comes.
        if (!m_sRest.isEmpty()) m_Timer.start();
    }

private:
    static void Print(QString sLine)
    {
        if (sLine.endsWith(QLatin1Char('\r'))) sLine.chop(1);
        CConsoleWindow::Get().PrintInColor(sLine, COLOR_LOGGING_USER, true);
    }
    QString m_sRest;
    QTimer m_Timer;
};

QString GetOperationName(U32 OpCode)
{
    char acName[32];
    CSemiHost::PrintOperationName(OpCode, acName, sizeof acName);
    return QString::fromLatin1(acName);
}

void ShowAndLog(const char* sText)
{
    CStatusBar::Get().SetStatusMessage(QString::fromLatin1(sText));
    LogInfo(QString::fromLatin1(sText));
}

} // namespace

void WireTargetIO(CMainWindow& Main)
{
    auto* pPrinter = new CTargetTextPrinter(&Main);
    CSemiHost& Host = CSemiHost::Get();
    CSemihostSwitch& Switch = CSemihostSwitch::Get();
    const auto AddText = [pPrinter](const QString& sText) { pPrinter->Add(sText); };
    QObject::connect(&Host, &CSemiHost::OperationStarted, &Main, [](U32 OpCode) {
        CStatusBar::Get().SetStatusMessage(QStringLiteral("Processing Semihosting Request ") + GetOperationName(OpCode));
    });
    QObject::connect(&Host, &CSemiHost::OperationCompleted, &Main, [] { ShowAndLog(TEXT_COMPLETED); });
    QObject::connect(&Host, &CSemiHost::OperationCanceled, &Main, [] { ShowAndLog(TEXT_CANCELED); });
    QObject::connect(&Host, &CSemiHost::PrintDebug, pPrinter, AddText);
    QObject::connect(&Host, &CSemiHost::PrintError, pPrinter, [](const QString& sText) { LogError(sText); });
    QObject::connect(&Switch, &CSemihostSwitch::TextAdded, pPrinter, AddText);
    QObject::connect(&Main, &CMainWindow::DataFileAboutToDownload, &Switch, &CSemihostSwitch::Suspend);
    QObject::connect(&Main, &CMainWindow::DataFileDownloaded, &Switch, &CSemihostSwitch::Restart);
    QObject::connect(&Main, &CMainWindow::SysVarEdited, &Switch, [](int VarID, I64 Value) {
        if (VarID == VAR_SEMIHOSTING_ENABLED) CSemihostSwitch::Get().SetCapture(Value != 0);
    });

    PROJECT_HOOKS Hooks = CProject::Get().GetHooks();
    Hooks.SetSemihosting = [](bool OnOff) {
        CSemihostSwitch::Get().SetCapture(OnOff);
        return true;
    };
    Hooks.ConfigSemihosting = [](const QString& sConfig) {
        CSemihostSwitch::Get().Configure(sConfig);
        return true;
    };
    CProject::Get().SetHooks(Hooks);
}
