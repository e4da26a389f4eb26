#include "views/framework/emptyoverlay.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

CEmptyOverlay::CEmptyOverlay(QWidget* pParent) : QFrame(pParent)
{
    setObjectName(QStringLiteral("buttonFrame"));
    auto* pOuter = new QFrame(this);
    pOuter->setObjectName(QStringLiteral("frameOuter"));
    m_pLabel = new QLabel(pOuter);
    m_pLabel->setAlignment(Qt::AlignCenter);
    m_pLabel->setWordWrap(true);
    m_pLabel->setForegroundRole(QPalette::PlaceholderText);
    m_pButton = new QPushButton(pOuter);
    m_pButton->setFocusPolicy(Qt::NoFocus);
    // The window itself answers a press in the button's rectangle, also when the overlay is repainted under
    // it.
    for (QWidget* pWidget : {static_cast<QWidget*>(this), static_cast<QWidget*>(pOuter),
                             static_cast<QWidget*>(m_pLabel), static_cast<QWidget*>(m_pButton)})
        pWidget->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* pInner = new QVBoxLayout(pOuter);
    pInner->addWidget(m_pLabel);
    pInner->addWidget(m_pButton, 0, Qt::AlignHCenter);
    auto* pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(8, 8, 8, 8);
    pLayout->addStretch();
    pLayout->addWidget(pOuter);
    pLayout->addStretch();
    SetTexts(QString(), QString());
}

void CEmptyOverlay::SetTexts(const QString& sText, const QString& sButton)
{
    const QString sSpaced =
        sButton.isEmpty() ? QString() : QStringLiteral("  ") + sButton + QStringLiteral("  ");
    if (m_pLabel->text() != sText) m_pLabel->setText(sText);
    if (m_pButton->text() != sSpaced) m_pButton->setText(sSpaced);
    m_pLabel->setVisible(!sText.isEmpty());
    m_pButton->setVisible(!sButton.isEmpty());
}

void CEmptyOverlay::SetTextMinimumSize(const QSize& Size)
{
    if (m_pLabel->minimumSize() != Size) m_pLabel->setMinimumSize(Size);
}

QString CEmptyOverlay::GetText() const
{
    return m_pLabel->text();
}
QString CEmptyOverlay::GetButtonText() const
{
    return m_pButton->text().trimmed();
}

QRect CEmptyOverlay::GetButtonRect() const
{
    if (m_pButton->isHidden() || isHidden()) return QRect();
    return QRect(m_pButton->mapTo(parentWidget(), QPoint(0, 0)), m_pButton->size());
}

#include "moc_emptyoverlay.cpp"
