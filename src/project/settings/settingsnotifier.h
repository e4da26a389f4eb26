// Tells the main thread that a variable, a colour or a font has changed.
//
//   connect(&CSettingsNotifier::Get(), &CSettingsNotifier::VarChanged, this, &CWindow::...);
#pragma once
#include "app/services/types.h"

#include <QObject>

class CSettingsNotifier : public QObject {
    Q_OBJECT
public:
    static CSettingsNotifier& Get();

signals:
    void VarChanged(int VarID, I64 Value); ///< current value of a row; Value is 0 for a string row
    void ColorChanged(int ColorID);
    void FontChanged(int FontID);

private:
    CSettingsNotifier() = default;
};
