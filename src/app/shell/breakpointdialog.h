// CBreakpointDialog: the properties of one breakpoint. What the user changes runs as commands, so that it is echoed
// and can be repeated by a script.
//
//   CBreakpointDialog::Edit("main.c:20", this);
#pragma once
#include "device/breakpoints/breakpoint.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLineEdit;
class QRadioButton;

class CBreakpointDialog : public QDialog {
    Q_OBJECT

public:
    CBreakpointDialog(const CBreakpoint& Record, const QString& sLocation, QWidget* pParent = nullptr);

    CBreakpoint GetRecord() const; ///< the record given, with what the fields hold
    /// Runs the dialog on the breakpoint at a location; nothing if there is none, or no user to answer it.
    static void Edit(const QString& sLocation, QWidget* pParent);

private:
    void BuildFields(QFormLayout* pForm, const QString& sLocation);
    void BuildActions(QFormLayout* pForm);

    CBreakpoint m_Record;
    QComboBox* m_pExpression = nullptr;
    QRadioButton* m_pWhenTrue = nullptr;
    QRadioButton* m_pOnChange = nullptr;
    QLineEdit* m_pSkip = nullptr;
    QCheckBox* m_pReload = nullptr;
    QComboBox* m_pTask = nullptr;
    QComboBox* m_pType = nullptr;
    QCheckBox* m_pEnabled = nullptr;
    QLineEdit* m_pPopup = nullptr;
    QLineEdit* m_pConsole = nullptr;
    QLineEdit* m_pScript = nullptr;
};
