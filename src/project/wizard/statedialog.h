// CStateDialog: what the two interface dialogs have in common. A dialog begins with its element of a state text and
// gives the element back; it is accepted or rejected by two buttons.
//
//   QString sState = ...;                                  // see statetext.h
//   if (CHostInterfaceDialog(sState, this).Edit(&sState))  // the element is replaced when the user accepts
//
// Main thread only.
#pragma once
#include "views/framework/dialog.h"

#include <QDialogButtonBox>

class CStateDialog : public CDialog {
    Q_OBJECT

public:
    CStateDialog(const char* sObjectName, const char* sTitle, QWidget* pParent);

    virtual QString GetStateText() const = 0; ///< the dialog's element
    virtual QString GetSummary() const = 0;   ///< the choice in one line, as the settings dialog shows it
    /// Shows the dialog and, when it was accepted, puts its element into the text. False when it was rejected.
    /// Without a user the values that it begins with are taken, unless the answer is Cancel.
    bool Edit(QString* psStateText);

public slots:
    void OnAcceptButtonClicked();
    void OnRejectButtonClicked();

protected:
    QDialogButtonBox* MakeButtons(); ///< OK and Cancel, connected to the slots
    /// OK can be pressed while this holds.
    void SetAcceptable(bool Acceptable);

private:
    QPushButton* m_pButtonAccept = nullptr;
};
