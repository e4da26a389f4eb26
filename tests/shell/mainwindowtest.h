// The main window as tests drive it: nobody answers its boxes, its settings lie in a folder of their own, and what the
// console shows is collected.
//
//   CMainWindowTest Main;
//   QVERIFY(Main.Start());                 // once a process
//   Main.Press("Ctrl+S");
//   QCOMPARE(Main.TakeLines(), ...);
//   Main.Stop();
#pragma once
#include "app/console/consolewindow.h"
#include "app/services/cmdline.h"
#include "app/services/mainthread.h"
#include "app/services/messages.h"
#include "app/services/settingsstore.h"
#include "app/shell/mainwindow.h"
#include "device/queue/device.h"
#include "views/framework/messagebox.h"
#include "views/theme/theme.h"

#include <QApplication>
#include <QKeySequence>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <utility>

/// What a start does before there is a window. Boxes without a user get the answer, 0 for their default button.
inline void PrepareMainWindow(const QString& sSettingsDir, int Answer = 0)
{
    SetMainThread();
    InitMessageTable();
    CmdLineArgs Args;
    Args.BatchFile = "-"; // nobody answers a welcome screen
    SetCmdLineArgs(Args);
    CSettingsStore::Get().SetDir(sSettingsDir);
    CTheme::Init(*qApp);
    CMessageBox::SetInterceptor([Answer](const QString&, const QString&, CMessageBox::BUTTONS Buttons) {
        return Answer ? Answer : int(CMessageBox::GetDefaultButton(Buttons));
    });
}

class CMainWindowTest {
public:
    /// Shows the window and waits for the end of the start. False if it doesn't come up.
    bool Start()
    {
        PrepareMainWindow(m_Dir.path());
        CMainWindow& Main = CMainWindow::Get();
        QSignalSpy Started(&Main, &CMainWindow::InitComplete); // the first paint starts what follows the start
        Main.show();
        if (!QTest::qWaitForWindowActive(&Main) || !QTest::qWaitFor([&] { return !Started.isEmpty(); })) return false;
        QCoreApplication::processEvents();
        CConsoleWindow::Get().SetTranscriptSink([this](const QString& s, bool) { m_Lines += s.split('\n'); });
        return true;
    }

    void Stop()
    {
        CConsoleWindow::Get().SetTranscriptSink({});
        CDevice::Get().Shutdown();
        CMainWindow::Destroy();
    }

    /// Presses a key the way the window system does, so that all that stands before the dispatch is passed.
    void Press(const QString& sKey, QWidget* pWindow = &CMainWindow::Get())
    {
        const QKeyCombination Key = QKeySequence(sKey, QKeySequence::PortableText)[0];
        QTest::keyClick(pWindow->windowHandle(), Key.key(), Key.keyboardModifiers());
    }

    /// What the console has shown since the last call.
    QStringList TakeLines()
    {
        CConsoleWindow::Get().Flush();
        return std::exchange(m_Lines, {});
    }

    QString GetPath(const QString& sName) const { return m_Dir.filePath(sName); }

private:
    QTemporaryDir m_Dir;
    QStringList m_Lines;
};
