#include "app/shell/warningsdialog.h"

#include "project/settings/sysvars.h"
#include "views/framework/messagebox.h"
#include "views/theme/icons.h"

#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

namespace {
constexpr char TITLE[] = "Project File Warnings";
constexpr char LABEL[] = "The project file contains errors:";
} // namespace

CWarningsDialog::CWarningsDialog(const QStringList& Warnings, const QString& sProjectPath, QWidget* pParent)
    : QDialog(pParent)
{
    setWindowTitle(QLatin1String(TITLE));
    auto* pLayout = new QVBoxLayout(this);
    pLayout->addWidget(new QLabel(QLatin1String(LABEL), this));
    auto* pList = new QListWidget(this);
    pList->setWordWrap(true);
    pList->setAccessibleName(QLatin1String(TITLE));
    for (const QString& sText : Warnings)
        pList->addItem(new QListWidgetItem(GetIcon(QStringLiteral("exclamation")), sText));
    pLayout->addWidget(pList);
    auto* pBox = new QDialogButtonBox(this);
    QPushButton* pEdit = pBox->addButton(QDialogButtonBox::Open);
    pEdit->setText(QStringLiteral("Edit"));
    pEdit->setEnabled(!sProjectPath.isEmpty());
    QPushButton* pNever = pBox->addButton(QDialogButtonBox::Retry);
    pNever->setText(QStringLiteral("  Ignore && Do Not Show Again  "));
    QPushButton* pIgnore = pBox->addButton(QDialogButtonBox::Ignore);
    pIgnore->setDefault(true);
    pBox->addButton(QDialogButtonBox::Cancel);
    pLayout->addWidget(pBox);
    connect(pEdit, &QPushButton::clicked, this,
            [sProjectPath] { QDesktopServices::openUrl(QUrl::fromLocalFile(sProjectPath)); });
    connect(pNever, &QPushButton::clicked, this, [this] {
        SetVar(PREF_SHOW_PROJECT_WARNINGS_DIALOG, 0, true);
        accept();
    });
    connect(pIgnore, &QPushButton::clicked, this, &QDialog::accept);
    connect(pBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
    resize(640, 300);
}

CWarningsDialog::ANSWERS CWarningsDialog::Ask(const QStringList& Warnings, const QString& sProjectPath,
                                              QWidget* pParent)
{
    const auto Buttons = QDialogButtonBox::Open | QDialogButtonBox::Retry | QDialogButtonBox::Ignore |
                         QDialogButtonBox::Cancel;
    if (const auto& Interceptor = CMessageBox::GetInterceptor()) {
        const int Answer = Interceptor(QLatin1String(TITLE),
                                       QLatin1String(LABEL) + QStringLiteral("\n") + Warnings.join('\n'), Buttons);
        if (Answer == QDialogButtonBox::Retry) SetVar(PREF_SHOW_PROJECT_WARNINGS_DIALOG, 0, true);
        return Answer == QDialogButtonBox::Cancel ? CANCELED : ACCEPTED;
    }
    CWarningsDialog Dialog(Warnings, sProjectPath, pParent);
    return Dialog.exec() == QDialog::Accepted ? ACCEPTED : CANCELED;
}

#include "moc_warningsdialog.cpp"
