#include "views/framework/dialog.h"

#include "app/services/settingsstore.h"
#include "views/theme/icons.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QScreen>

CDialog::CDialog(const QString& sObjectName, const QString& sTitle, const QString& sIcon, QWidget* pParent)
    : QDialog(pParent)
{
    setObjectName(sObjectName);
    setWindowTitle(sTitle);
    if (!sIcon.isEmpty()) setWindowIcon(GetIcon(sIcon));
}

QVariant CDialog::ReadSetting(const QString& sName, const QVariant& Default) const
{
    return CSettingsStore::Get().Read(QStringLiteral("AppData/") + objectName(), sName, Default);
}

void CDialog::WriteSetting(const QString& sName, const QVariant& Value)
{
    CSettingsStore::Get().Write(QStringLiteral("AppData/") + objectName(), sName, Value);
}

bool CDialog::Raise(CDialog* pDialog)
{
    if (!pDialog->isVisible()) return false;
    pDialog->raise();
    pDialog->activateWindow();
    return true;
}

void CDialog::ShowOver(CDialog* pDialog)
{
    pDialog->setAttribute(Qt::WA_DeleteOnClose);
    pDialog->open();
}

void CDialog::SetOnlyDefault(QDialogButtonBox* pBox, int StandardButton)
{
    for (QAbstractButton* pButton : pBox->buttons())
        static_cast<QPushButton*>(pButton)->setAutoDefault(false);
    pBox->button(QDialogButtonBox::StandardButton(StandardButton))->setDefault(true);
}

void CDialog::showEvent(QShowEvent* pEvent)
{
    // A screen that is too small leaves the buttons in sight, and the pages scroll. One that reports next to
    // nothing is none.
    const QSize Screen = screen()->availableGeometry().size();
    if (Screen.width() > minimumWidth() && Screen.height() > minimumHeight())
        resize(size().boundedTo(Screen));
    QDialog::showEvent(pEvent);
}

#include "moc_dialog.cpp"
