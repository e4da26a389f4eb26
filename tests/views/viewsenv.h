// A target that exists only as flags: tests set them and tell the windows.
#pragma once
#include "project/settings/appearance.h"
#include "views/framework/windowenv.h"
#include "views/theme/theme.h"

#include <QApplication>

struct CTestTarget {
    bool Connected = false;
    bool Halted = false;
    bool StepPending = false;
    U32 PC = ADDR_NONE;
    QList<QPair<QString, QStringList>> Commands; ///< what windows asked to run

    void Install()
    {
        WINDOW_ENV Env;
        Env.IsConnected = [this] { return Connected; };
        Env.IsHalted = [this] { return Halted; };
        Env.IsStepPending = [this] { return StepPending; };
        Env.GetPC = [this] { return PC; };
        Env.PerformCommand = [this](const QString& sCommand, const QStringList& Params) {
            Commands.append({sCommand, Params});
            return 0;
        };
        SetWindowEnv(Env);
    }
};

/// Fonts and colours as the application sets them up.
inline void InitViewsForTest()
{
    qApp->setFont(QFont(QStringLiteral("DejaVu Sans"), 9));
    InitColorsAndFonts(qApp->font());
    CTheme::Init(*qApp);
    CTheme::SetScheme(THEME_LIGHT);
}
