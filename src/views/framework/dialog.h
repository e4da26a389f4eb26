// CDialog, the base of the program's own dialogs: title and icon, settings kept by its object name, at most
// as large as the screen, and one of a kind over a window.
//
//   CMyDialog* CMyDialog::Open(QWidget* pParent)
//   {
//       return OpenOver<CMyDialog>(pParent, OBJECT_NAME, [&] { return new CMyDialog(pParent); });
//   }
#pragma once
#include <QDialog>
#include <QVariant>

class QDialogButtonBox;

class CDialog : public QDialog {
    Q_OBJECT

public:
    /// sIcon: name of one of the program's icons; empty for that of the parent.
    CDialog(const QString& sObjectName, const QString& sTitle, const QString& sIcon = {},
            QWidget* pParent = nullptr);

    /// A value that the dialog has kept in the settings store, below "AppData" and its object name.
    QVariant ReadSetting(const QString& sName, const QVariant& Default = {}) const;
    void WriteSetting(const QString& sName, const QVariant& Value);

    /// Shows the dialog of this name over a window, which is blocked meanwhile: the one that is there, else
    /// what Make gives, which then deletes itself when it is closed.
    template <typename T, typename MAKE>
    static T* OpenOver(QWidget* pParent, const char* sObjectName, MAKE Make)
    {
        for (T* pOpen : pParent->findChildren<T*>(QLatin1String(sObjectName)))
            if (Raise(pOpen)) return pOpen;
        T* pDialog = Make();
        ShowOver(pDialog);
        return pDialog;
    }

protected:
    /// The only button that Enter presses is the one given: Enter in a field ends the field's edit and
    /// nothing else.
    static void SetOnlyDefault(QDialogButtonBox* pBox, int StandardButton);
    void showEvent(QShowEvent* pEvent) override;

private:
    static bool Raise(CDialog* pDialog); ///< false for one that is closed already and about to be deleted
    static void ShowOver(CDialog* pDialog);
};
