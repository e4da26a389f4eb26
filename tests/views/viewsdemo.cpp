// Shows the debug views with a made-up program and saves pictures of them: viewsdemo DIR. Not installed.
#include "views/debug/callstackwindow.h"
#include "views/debug/findbar.h"
#include "views/debug/registerwindow.h"
#include "views/debug/sourcewindow.h"
#include "views/framework/dockwindow.h"
#include "views/framework/messagebox.h"
#include "views/framework/modelviewwindow.h"
#include "views/framework/sidebar.h"
#include "views/framework/statusbar.h"
#include "views/theme/icons.h"
#include "fakeprogram.h"
#include "viewsenv.h"

#include <QDir>
#include <QMainWindow>
#include <QMenuBar>
#include <QPainter>
#include <QTest>
#include <QToolBar>

namespace {

/// Every icon with its name, on the ground of the scheme.
void SaveIconSheet(const QString& sFile)
{
    const QStringList Names = QDir(QStringLiteral(":/Resources/Icons")).entryList(QDir::Files, QDir::Name);
    constexpr int COLUMNS = 6, CELL_W = 200, CELL_H = 30;
    QImage Image(COLUMNS * CELL_W, (int(Names.size()) / COLUMNS + 1) * CELL_H, QImage::Format_RGB32);
    Image.fill(qApp->palette().color(QPalette::Window));
    QPainter Painter(&Image);
    Painter.setPen(qApp->palette().color(QPalette::Text));
    for (int i = 0; i < Names.size(); i++) {
        const QPoint Cell(i % COLUMNS * CELL_W, i / COLUMNS * CELL_H);
        GetIcon(Names[i]).paint(&Painter, QRect(Cell + QPoint(4, 3), QSize(24, 24)));
        Painter.drawText(QRect(Cell + QPoint(34, 0), QSize(CELL_W - 34, CELL_H)), Qt::AlignVCenter, QString(Names[i]).remove(QStringLiteral(".svg")));
    }
    Painter.end();
    Image.save(sFile);
}

void AddToolBar(QMainWindow& Main)
{
    QToolBar* pBar = Main.addToolBar(QStringLiteral("Debug"));
    pBar->setMovable(false);
    pBar->setIconSize(QSize(18, 18));
    for (const char* sIcon : {"control-power-green", "control-power-red", "", "control", "control-pause", "reset", "", "arrow-step-over", "arrow-step", "arrow-step-out", "", "breakpoint-set",
                              "breakpoint-clear-all", "watchpoint-set", "tracepoint-set"}) {
        if (*sIcon) pBar->addAction(GetIcon(QLatin1String(sIcon)), QLatin1String(sIcon));
        else pBar->addSeparator();
    }
    for (const char* sMenu : {"&File", "&View", "Fi&nd", "&Debug", "&Tools", "&Window", "&Help"}) Main.menuBar()->addMenu(QLatin1String(sMenu))->addAction(QStringLiteral("Entry"));
}

} // namespace

int main(int argc, char** argv)
{
    QApplication App(argc, argv);
    InitViewsForTest();
    const QString sDir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    CFakeProgram Program;
    Program.Install();
    Program.SetFrames();
    Program.NumUnwound = 2;
    Program.Breakpoints = {{25, BP_STATE_ON}, {31, BP_STATE_DISABLED}};
    QMainWindow Main;
    Main.setStatusBar(&CStatusBar::Get());
    AddToolBar(Main);
    auto* pSource = new CSourceWindow(&Main);
    Main.setCentralWidget(pSource);
    auto AddDock = [&Main](CWindow* pWindow, Qt::DockWidgetArea Area) {
        auto* pDock = new CDockWindow(&Main);
        pDock->SetWindow(pWindow);
        Main.addDockWidget(Area, pDock);
        return pDock;
    };
    auto* pStack = new CCallStackWindow(&Main);
    auto* pRegisters = new CRegisterWindow(&Main);
    CDockWindow* pStackDock = AddDock(pStack, Qt::RightDockWidgetArea);
    AddDock(new CWindow(&Main, QStringLiteral("Console")), Qt::BottomDockWidgetArea);
    CDockWindow* pRegDock = AddDock(pRegisters, Qt::RightDockWidgetArea);
    Main.tabifyDockWidget(pRegDock, AddDock(new CModelViewWindow(&Main, QStringLiteral("Local Data")), Qt::RightDockWidgetArea));
    pRegDock->raise();
    Main.setDocumentMode(true);
    Main.setTabPosition(Qt::AllDockWidgetAreas, QTabWidget::North);
    Main.resizeDocks({pStackDock, pRegDock}, {170, 380}, Qt::Vertical);
    Main.resizeDocks({pRegDock}, {430}, Qt::Horizontal);
    Main.resize(1280, 800);
    Main.show();
    pSource->Open(Program.sPath);
    pSource->Open(QStringLiteral(VANTREL_SOURCE_DIR "/src/views/framework/window.cpp"), DOC_OPEN_BACKGROUND);
    Program.Connected = Program.Halted = true;
    Program.PC = CFakeProgram::GetAddr(30);
    CStatusBar::Get().SetConnectionInfo(QStringLiteral("Cortex-M4 @ 4 MHz"));
    CStatusBar::Get().SetStatusMessage(QStringLiteral("Halted at breakpoint"));
    CStatusBar::Get().StartProgress(0, 100);
    CStatusBar::Get().SetProgressValue(40);
    for (CWindow* pWindow : Main.findChildren<CWindow*>()) pWindow->OnDeviceHaltDone(Program.PC, HR_BREAKPOINT);
    Program.NumUnwound = 2;
    pStack->OnCallStackUnwinded();
    QTest::qWait(100);
    Program.Regs = {{0, 5}, {3, 0x20000004}, {15, Program.PC}};
    for (CWindow* pWindow : Main.findChildren<CWindow*>()) pWindow->OnDeviceStepped(Program.PC);
    Program.NumUnwound = 2;
    pStack->OnCallStackUnwinded();
    pSource->setFocus();
    pSource->OpenFindBar(QStringLiteral("Now"));
    pSource->FindNext(true);
    for (const auto& [Scheme, sName] : {std::pair{THEME_LIGHT, "light"}, std::pair{THEME_DARK, "dark"}}) {
        CTheme::SetScheme(Scheme);
        pSource->GetEditor()->SetLineExpanded(30, Scheme == THEME_DARK);
        for (CWindow* pWindow : Main.findChildren<CWindow*>()) pWindow->Repaint();
        CStatusBar::Get().SetActiveWindowStatus(pSource->GetStatusText());
        QTest::qWait(300);
        Main.grab().save(QStringLiteral("%1/main-%2.png").arg(sDir, QLatin1String(sName)));
        SaveIconSheet(QStringLiteral("%1/icons-%2.png").arg(sDir, QLatin1String(sName)));
        CMessageBox Box(QStringLiteral("Save Document Changes?"), QStringLiteral("blinky.c is modified. Save changes?"), QStringLiteral("document--pencil.png"),
                        QDialogButtonBox::Yes | QDialogButtonBox::No | QDialogButtonBox::Cancel, MSGBOX_MODE_REMEMBER);
        Box.show();
        QTest::qWait(50);
        Box.grab().save(QStringLiteral("%1/box-%2.png").arg(sDir, QLatin1String(sName)));
    }
    return 0;
}
