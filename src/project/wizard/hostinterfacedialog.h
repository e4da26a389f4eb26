// CHostInterfaceDialog: how the probe is reached, by USB with or without a serial number, or by TCP/IP.
#pragma once
#include "project/wizard/statedialog.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QRadioButton;

class CHostInterfaceDialog : public CStateDialog {
    Q_OBJECT

public:
    explicit CHostInterfaceDialog(const QString& sStateText, QWidget* pParent = nullptr);
    QString GetStateText() const override;
    QString GetSummary() const override;

public slots:
    void OnTextBoxSerialNoEdited();
    void OnTextBoxHostNameEdited();
    void OnCheckboxUseSerialNoClicked();
    void OnRadioButtonHostIFClicked();

private:
    void Validate(); ///< what the choice doesn't use is grey; a choice that names no probe can't be accepted

    QRadioButton* m_pButtonUSB;
    QRadioButton* m_pButtonTCPIP;
    QCheckBox* m_pCheckBoxUseSerialNo;
    QLineEdit* m_pEditSerialNo;
    QLineEdit* m_pEditHostName;
    QLabel* m_pLabelHost = nullptr;
};
