// Entry of the program.
#include "app/batch/batchrunner.h"
#include "app/console/consolewindow.h"
#include "app/services/appconsole.h"
#include "app/services/cmdline.h"
#include "app/services/log.h"
#include "app/services/logfile.h"
#include "app/services/mainthread.h"
#include "app/services/messages.h"
#include "app/services/settingsstore.h"
#include "app/shell/mainwindow.h"
#include "device/queue/device.h"
#include "device/target/datamanager.h"
#include "views/theme/theme.h"

#include <QApplication>
#include <QFont>
#include <QImageReader>
#include <QTimer>
#include <cstdio>
#include <cstring>

namespace {
constexpr int DEFAULT_FONT_SIZE = 8; ///< points

/// A run without hands needs no screen; the platform must be known before QApplication looks for one.
void ChoosePlatform(int argc, char** argv)
{
    bool Batch = false;
    for (int i = 1; i < argc; i++) Batch |= std::strcmp(argv[i], "-batch") == 0;
    const bool HasScreen = qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
    if (Batch && !HasScreen && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
}

/// Qt's own plug-ins come from no folder but those that it needs to paint: what lies beside the program or in a folder
/// of the environment is never loaded into it. The readers of pictures are loaded late, so they are asked for first.
void CloseQtPluginPaths()
{
    QImageReader::supportedImageFormats();
    QCoreApplication::setLibraryPaths({});
}

/// The font that all texts start from, as long as the user has chosen no other.
void SetDefaultFont()
{
    QFont Font = QApplication::font();
    Font.setPointSize(DEFAULT_FONT_SIZE);
    Font.setStyleName(QStringLiteral("Normal"));
    QApplication::setFont(Font);
}

int RunApplication(const CmdLineArgs& Args)
{
    if (Args.Debug) CAppConsole::Get().Attach();
    CDeviceDataManager::Get();
    CMainWindow& Window = CMainWindow::Get();
    InstallQtMessageHandler();
    if (const QString& sProblem = CSettingsStore::Get().GetProblem(); !sProblem.isEmpty()) LogError(sProblem);
    std::unique_ptr<CBatchRunner> pBatch;
    if (!Args.BatchFile.isEmpty()) {
        pBatch = std::make_unique<CBatchRunner>(Args.BatchFile, Args.KeepGoing);
        if (!pBatch->Open()) return BATCH_BAD_ARGUMENTS;
        // What the command line opens comes first, as it would for a user.
        QObject::connect(&Window, &CMainWindow::InitComplete, pBatch.get(),
                         [&pBatch] { QTimer::singleShot(0, pBatch.get(), &CBatchRunner::Run); });
    }
    Window.show();
    const int Result = QApplication::exec();
    if (pBatch && pBatch->GetStatus() != Result) return pBatch->GetStatus();
    return Result;
}

} // namespace

int main(int argc, char** argv)
{
    ChoosePlatform(argc, argv);
    // The settings store bears these names; Qt asks for them when the first store is made.
    QCoreApplication::setOrganizationName(QStringLiteral("Tarvex"));
    QCoreApplication::setApplicationName(QStringLiteral("Vantrel"));
    QApplication Application(argc, argv);
    Application.setStartDragDistance(30);
    Application.setQuitOnLastWindowClosed(false);
    CloseQtPluginPaths();
    SetMainThread();
    InitMessageTable();
    const CmdLineArgs Args = ParseCmdLine(QCoreApplication::arguments());
    SetCmdLineArgs(Args);
    if (!Args.LogFile.isEmpty()) OpenLogFile(LOG_SLOT_APP, Args.LogFile);
    if (!Args.LogTimestampsFile.isEmpty()) OpenLogFile(LOG_SLOT_TIMESTAMP, Args.LogTimestampsFile);
    CSettingsStore& Settings = CSettingsStore::Get();
    if (!Args.SettingsDir.isEmpty()) Settings.SetDir(Args.SettingsDir);
    Settings.Load();
    CTheme::Init(Application);
    SetDefaultFont();

    const int Result = RunApplication(Args);

    CDevice::Get().Shutdown();
    CMainWindow::Destroy();
    if (!Settings.Save()) std::fprintf(stderr, "vantrel: settings could not be written to %s\n", qPrintable(Settings.GetFilePath()));
    ShutdownLog();
    return Result;
}
