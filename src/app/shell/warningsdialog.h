// CWarningsDialog: what is wrong with a project that was just loaded, and what to do about it.
#pragma once
#include <QDialog>
#include <QStringList>

class CWarningsDialog : public QDialog {
    Q_OBJECT

public:
    enum ANSWERS { ACCEPTED, CANCELED };
    /// Shows the warnings, or lets the interceptor of the message boxes answer. "Edit" opens the project file in the
    /// system's editor and leaves the dialog open.
    static ANSWERS Ask(const QStringList& Warnings, const QString& sProjectPath, QWidget* pParent);

private:
    CWarningsDialog(const QStringList& Warnings, const QString& sProjectPath, QWidget* pParent);
};
