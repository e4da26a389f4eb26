#include "project/wizard/statedialog.h"

#include "project/wizard/statetext.h"
#include "views/framework/messagebox.h"
#include "views/theme/icons.h"

#include <QPushButton>

namespace {
constexpr char ICON[] = "gear";
}

CStateDialog::CStateDialog(const char* sObjectName, const char* sTitle, QWidget* pParent)
    : CDialog(QLatin1String(sObjectName), QLatin1String(sTitle), QLatin1String(ICON), pParent)
{
    setModal(true);
}

QDialogButtonBox* CStateDialog::MakeButtons()
{
    auto* pBox = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    for (QAbstractButton* pButton : pBox->buttons()) pButton->setIcon({});
    m_pButtonAccept = pBox->button(QDialogButtonBox::Ok);
    connect(pBox, &QDialogButtonBox::accepted, this, &CStateDialog::OnAcceptButtonClicked);
    connect(pBox, &QDialogButtonBox::rejected, this, &CStateDialog::OnRejectButtonClicked);
    return pBox;
}

void CStateDialog::SetAcceptable(bool Acceptable)
{
    if (m_pButtonAccept) m_pButtonAccept->setEnabled(Acceptable);
}

bool CStateDialog::Edit(QString* psStateText)
{
    bool Accepted = false;
    if (const auto& Interceptor = CMessageBox::GetInterceptor())
        Accepted = Interceptor(windowTitle(), GetSummary(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel) !=
                   QDialogButtonBox::Cancel;
    else
        Accepted = exec() == QDialog::Accepted;
    if (Accepted) ReplaceState(psStateText, GetStateText());
    return Accepted;
}

void CStateDialog::OnAcceptButtonClicked()
{
    if (!m_pButtonAccept || m_pButtonAccept->isEnabled()) accept();
}

void CStateDialog::OnRejectButtonClicked()
{
    reject();
}

#include "moc_statedialog.cpp"
