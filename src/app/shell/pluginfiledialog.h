// CPluginFileDialog: asks for the file of a plug-in that wasn't found where it should be. The reason stands above the
// selection, in the one dialog. Main thread.
//
//   const QString sPath = CPluginFileDialog::Ask(pParent, sTitle, sText);
#pragma once
#include <QDialog>
#include <QString>

class QFileDialog;

class CPluginFileDialog : public QDialog {
public:
    CPluginFileDialog(QWidget* pParent, const QString& sTitle, const QString& sText);
    /// The chosen file, empty without a choice.
    QString GetPath() const;
    /// Shows the dialog and waits for the choice.
    static QString Ask(QWidget* pParent, const QString& sTitle, const QString& sText);

private:
    QFileDialog* m_pFiles;
};
