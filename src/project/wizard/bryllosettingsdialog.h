// CBrylloSettingsDialog: device, target interface and host interface of the project, edited after it was made.
//
//   CBrylloSettingsDialog Dialog(pMainWindow);
//   Dialog.exec();
//
// It holds the three choices as one state text (statetext.h), which it begins with the configuration in force. Save
// hands the device its new configuration, runs the commands of what has changed and writes all commands into the project.
// It stays open when they could not be written.
// Main thread only.
#pragma once
#include "app/services/types.h"
#include "views/framework/dialog.h"

#include <QStringList>

class QGridLayout;
class QLabel;

class CBrylloSettingsDialog : public CDialog {
    Q_OBJECT

public:
    explicit CBrylloSettingsDialog(QWidget* pParent = nullptr);

    /// The commands of the choice, in their order. A device without a name is logged as an error and gives none.
    QStringList GetCommands() const;
    const QString& GetStateText() const { return m_sStateText; }
    void SetStateText(const QString& sStateText);
    /// The whole dialog without a user: its rows as text.
    QString GetSummary() const;

public slots:
    void OnButtonSelectDeviceClicked();
    void OnButtonSelectHostInterfaceClicked();
    void OnButtonSelectTargetInterfaceClicked();
    void OnButtonSaveClicked();
    void OnButtonCloseClicked();

private:
    QWidget* BuildProbe();
    QLabel* AddRow(QGridLayout* pLayout, const char* sTitle, const char* sName, const char* sIcon,
                   void (CBrylloSettingsDialog::*pfSlot)());
    void ShowState();
    void Configure(); ///< the device and all that depends on it take over what was chosen

    QString m_sOldState; ///< the configuration in force
    QString m_sStateText;
    QLabel* m_pLabelDevice = nullptr;
    QLabel* m_pLabelTargetInterface = nullptr;
    QLabel* m_pLabelHostInterface = nullptr;
};
