#include "app/shell/pluginfiledialog.h"

#include <QFileDialog>
#include <QLabel>
#include <QVBoxLayout>

namespace {
#if defined(Q_OS_WIN)
constexpr char FILTER[] = "Plugins (*.dll)";
#elif defined(Q_OS_MACOS)
constexpr char FILTER[] = "Plugins (*.dylib)";
#else
constexpr char FILTER[] = "Plugins (*.so)";
#endif
} // namespace

CPluginFileDialog::CPluginFileDialog(QWidget* pParent, const QString& sTitle, const QString& sText)
    : QDialog(pParent), m_pFiles(new QFileDialog)
{
    setWindowTitle(sTitle);
    auto* pLabel = new QLabel(sText);
    pLabel->setContentsMargins(10, 10, 10, 0);
    // The desktop's own selection has no room for a text.
    m_pFiles->setOption(QFileDialog::DontUseNativeDialog);
    m_pFiles->setFileMode(QFileDialog::ExistingFile);
    m_pFiles->setNameFilter(QString::fromLatin1(FILTER));
    m_pFiles->setWindowFlags(Qt::Widget);
    m_pFiles->setSizeGripEnabled(false);
    auto* pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(0, 0, 0, 0);
    pLayout->addWidget(pLabel);
    pLayout->addWidget(m_pFiles);
    connect(m_pFiles, &QDialog::finished, this, &QDialog::done);
}

QString CPluginFileDialog::GetPath() const
{
    return m_pFiles->selectedFiles().value(0);
}

QString CPluginFileDialog::Ask(QWidget* pParent, const QString& sTitle, const QString& sText)
{
    CPluginFileDialog Dialog(pParent, sTitle, sText);
    return Dialog.exec() == QDialog::Accepted ? Dialog.GetPath() : QString();
}
