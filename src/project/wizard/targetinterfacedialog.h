// CTargetInterfaceDialog: interface of the target, its speed, and the device's place in a scan chain.
#pragma once
#include "app/services/types.h"
#include "project/wizard/statedialog.h"

class QComboBox;
class QGroupBox;
class QLineEdit;
class QRadioButton;
struct TARGET_INTERFACE_STATE;

class CTargetInterfaceDialog : public CStateDialog {
    Q_OBJECT

public:
    explicit CTargetInterfaceDialog(const QString& sStateText, QWidget* pParent = nullptr);
    QString GetStateText() const override;
    QString GetSummary() const override;

public slots:
    void OnComboBoxDRPreItemChanged();
    void OnTextBoxIRPreEdited();
    void OnRadioButtonSpeedClicked();

private:
    QGroupBox* BuildSpeed();
    QGroupBox* BuildScanChain();
    void SetState(const TARGET_INTERFACE_STATE& State);
    /// The speed that was entered, in kHz; 0 for a text that is none.
    U32 GetFixedSpeed() const;
    /// Only JTAG has a scan chain; numbers that nobody can use can't be accepted.
    void Validate();

    QComboBox* m_pBoxTargetIF;
    QRadioButton* m_pButtonAuto = nullptr;
    QRadioButton* m_pButtonAdaptive = nullptr;
    QRadioButton* m_pButtonFixed = nullptr;
    QComboBox* m_pBoxSpeed = nullptr;
    QGroupBox* m_pScanChain = nullptr;
    QComboBox* m_pBoxDRPre = nullptr;
    QLineEdit* m_pEditIRPre = nullptr;
};
