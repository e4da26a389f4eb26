#include "app/shell/askpath.h"

#include "app/shell/mainwindow.h"
#include "views/framework/messagebox.h"

#include <QFileDialog>
#include <QInputDialog>

namespace {
/// True if nobody can answer; the dialog has been told then.
bool IsUnattended(const QString& sTitle, const QString& sText)
{
    const auto& Interceptor = CMessageBox::GetInterceptor();
    if (Interceptor) Interceptor(sTitle, sText, QDialogButtonBox::Cancel);
    return bool(Interceptor);
}
} // namespace

QString AskOpenPath(const QString& sTitle, const QString& sFolder, const QString& sFilter)
{
    if (IsUnattended(sTitle, QStringLiteral("File name:"))) return {};
    return QFileDialog::getOpenFileName(&CMainWindow::Get(), sTitle, sFolder, sFilter);
}

QString AskSavePath(const QString& sTitle, const QString& sFolder, const QString& sFilter)
{
    if (IsUnattended(sTitle, QStringLiteral("File name:"))) return {};
    return QFileDialog::getSaveFileName(&CMainWindow::Get(), sTitle, sFolder, sFilter);
}

QString AskName(const QString& sTitle, const QString& sLabel, const QStringList& Names)
{
    if (IsUnattended(sTitle, sLabel)) return {};
    bool Ok = false;
    const QString sName = QInputDialog::getItem(&CMainWindow::Get(), sTitle, sLabel, Names, 0, true, &Ok);
    return Ok ? sName.trimmed() : QString();
}
