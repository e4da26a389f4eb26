// The commands that open the settings dialogs, and the way of a change into all windows and to the device.
#include "app/actions/actions.h"
#include "app/services/settingsstore.h"
#include "app/shell/commandtable.h"
#include "app/shell/mainwindow.h"
#include "app/shell/wiring.h"
#include "device/queue/device.h"
#include "project/file/project.h"
#include "project/settings/appearance.h"
#include "project/settings/settingsnotifier.h"
#include "project/wizard/bryllosettingsdialog.h"
#include "views/framework/messagebox.h"
#include "views/settings/preferencesdialog.h"
#include "views/settings/sysvarseditor.h"
#include "views/theme/theme.h"

#include <QApplication>

namespace {
constexpr char GROUP_APPEARANCE[] = "AppData/Appearance";
constexpr char KEY_SCHEME[] = "Scheme";

void OnToolsPreferences(int Id)
{
    if (!CheckParamCount(Id)) return;
    QDialog* pDialog = CPreferencesDialog::Open(&CMainWindow::Get());
    QObject::connect(pDialog, &QDialog::finished, pDialog, [] {
        CSettingsStore::Get().Write(GROUP_APPEARANCE, KEY_SCHEME, int(CTheme::GetScheme()));
    });
}

void OnToolsSysVars(int Id)
{
    if (CheckParamCount(Id))
        CSysVarsEditor::Open(&CMainWindow::Get(), [] { return CProject::Get().WriteSystemSettings(); });
}

void OnToolsBrylloSettings(int Id)
{
    if (!CheckParamCount(Id)) return;
    CBrylloSettingsDialog Dialog(&CMainWindow::Get());
    if (const auto& Interceptor = CMessageBox::GetInterceptor()) {
        const auto Buttons = QDialogButtonBox::Save | QDialogButtonBox::Close;
        if (Interceptor(Dialog.windowTitle(), Dialog.GetSummary(), Buttons) == QDialogButtonBox::Save)
            Dialog.OnButtonSaveClicked();
        return;
    }
    Dialog.exec();
}

/// The variables that are settings of the connection as well.
void OnSysVarEdited(int VarID, I64 Value)
{
    constexpr struct {
        int VarID;
        DEV_CONFIG_PARAMS Param;
    } ROWS[] = {{VAR_TIF_SPEED, DCP_SPEED},
                {VAR_TIF_SCAN_CHAIN_POS, DCP_DR_PRE},
                {VAR_TIF_SCAN_CHAIN_LEN, DCP_IR_PRE}};
    for (const auto& Row : ROWS)
        if (Row.VarID == VarID) CDevice::Get().SetConfigParamAsync(Row.Param, int(Value));
}

void OnFontChanged(CMainWindow& Main, int FontID)
{
    QFont Font = GetFont(FontID);
    if (FontID == FONT_APP) {
        QApplication::setFont(Font);
        // Under a style sheet the widgets that exist ask for the font again only with the sheet.
        qApp->setStyleSheet(qApp->styleSheet());
    }
    for (CWindow* pWindow : Main.GetWindows()) {
        pWindow->SetFont(FontID, Font);
        pWindow->Repaint();
    }
}

void OnColorChanged(CMainWindow& Main, int ColorID)
{
    QColor Color = CTheme::GetColor(ColorID);
    for (CWindow* pWindow : Main.GetWindows()) {
        pWindow->SetColor(ColorID, Color);
        pWindow->Repaint();
    }
}
} // namespace

void RegisterSettingsCommands()
{
    SetCommandHandler(ACT_TOOLS_BRYLLO_SETTINGS, OnToolsBrylloSettings);
    SetCommandHandler(ACT_TOOLS_PREFERENCES, OnToolsPreferences);
    SetCommandHandler(ACT_TOOLS_SYS_VARS, OnToolsSysVars);
}

void RestoreAppearance()
{
    const int Scheme = CSettingsStore::Get().Read(GROUP_APPEARANCE, KEY_SCHEME, int(THEME_AUTO)).toInt();
    if (Scheme >= THEME_AUTO && Scheme <= THEME_DARK) CTheme::SetScheme(THEME_SCHEMES(Scheme));
    QApplication::setFont(GetFont(FONT_APP));
}

void WireSettings(CMainWindow& Main)
{
    QObject::connect(&Main, &CMainWindow::SysVarEdited, &Main, OnSysVarEdited);
    QObject::connect(&Main, &CMainWindow::SysVarEdited, &Main, &CMainWindow::CheckMemZoneRunning);
    const CSettingsNotifier& Notifier = CSettingsNotifier::Get();
    QObject::connect(&Notifier, &CSettingsNotifier::FontChanged, &Main,
                     [&Main](int Id) { OnFontChanged(Main, Id); });
    QObject::connect(&Notifier, &CSettingsNotifier::ColorChanged, &Main,
                     [&Main](int Id) { OnColorChanged(Main, Id); });
}
