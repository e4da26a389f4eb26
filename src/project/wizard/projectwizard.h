// CProjectWizard: three pages that ask for the target device, the connection and the program, and give the commands of
// a new project.
//
//   CProjectWizard Wizard(this);
//   connect(&Wizard, &CProjectWizard::Finished, [](QStringList& Commands) { ... });
//   Wizard.exec();
//
// It lives for one exec(). What was entered is offered again next time, also after a cancel. Main thread only.
#pragma once
#include "app/services/types.h"
#include "device/queue/deviceeventlistener.h"
#include "views/framework/dialog.h"

#include <QStringList>

class QComboBox;
class QFormLayout;
class QGridLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;

class CProjectWizard : public CDialog, public CDeviceEventListener {
    Q_OBJECT

public:
    explicit CProjectWizard(QWidget* pParent = nullptr);
    ~CProjectWizard() override;

    void ValidatePageTargetSettings();
    /// Builds the commands and ends the dialog. BrylloCoreID is 0 for a device that the probe library doesn't know.
    void finish(const char* sDeviceName, U32 BrylloCoreID);
    /// The whole dialog without a user: its fields as text.
    QString GetSummary() const;
    bool CanFinish() const { return !GetDeviceName().isEmpty(); }
    /// The device's name, without the byte order that the field shows behind it.
    QString GetDeviceName() const;

    void OnDeviceGetInfoDone(const char* sDeviceName, U32 Core) override;
    void OnDeviceGetInfoFailed(const char* sDeviceName) override;

signals:
    void Finished(QStringList& CommandList);

public slots:
    void OnCurrentPageChanged(int NewPage);
    void OnButtonSelectDevicePressed();
    void OnButtonSelectDataFilePressed();
    void OnButtonSelectPeripheralsPressed();
    void OnComboBoxHostInterfaceItemChanged();
    void OnButtonNextPressed();
    void OnButtonBackPressed();
    void OnButtonFinishPressed();
    void OnButtonCancelPressed();

protected:
    void showEvent(QShowEvent* pEvent) override;

private:
    QWidget* BuildHeader();
    QWidget* BuildPageTargetSettings();
    QWidget* BuildPageConnectionSettings();
    QWidget* BuildPageDataFile();
    QWidget* BuildButtons();
    QLineEdit* AddPathRow(QGridLayout* pLayout, const char* sField, const char* sButton, const char* sLabel,
                          void (CProjectWizard::*pfSlot)());
    QComboBox* AddChoice(QGridLayout* pLayout, const char* sName, const char* sLabel, const QStringList& Items);
    void SelectFile(QLineEdit* pEdit, const QString& sStart, const QString& sFilter);
    void LoadSettings();
    void SaveSettings() const;

    QLabel* m_pTitle = nullptr;
    QLabel* m_pSubtitle = nullptr;
    QStackedWidget* m_pPages = nullptr;
    QLineEdit* m_pTargetDevice = nullptr;
    QLineEdit* m_pTargetPeripherals = nullptr;
    QComboBox* m_pTargetInterface = nullptr;
    QComboBox* m_pTIFSpeed = nullptr;
    QComboBox* m_pHostInterface = nullptr;
    QLabel* m_pHostOptionLabel = nullptr;
    QLineEdit* m_pHostOption = nullptr;
    QLineEdit* m_pDataFile = nullptr;
    QPushButton* m_pButtonNext = nullptr;
    QPushButton* m_pButtonBack = nullptr;
    QString m_sDeviceState;   ///< the device table's element
    bool m_Finishing = false; ///< the device's data were asked for
};
