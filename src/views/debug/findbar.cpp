#include "views/debug/findbar.h"

#include "views/theme/icons.h"
#include "views/theme/theme.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>

CFindBar::CFindBar(QWidget* pParent) : QFrame(pParent)
{
    setObjectName(QStringLiteral("FindBar"));
    setAutoFillBackground(true);
    auto* pLayout = new QHBoxLayout(this);
    pLayout->setContentsMargins(8, 4, 8, 4);
    pLayout->setSpacing(4);
    m_pEdit = new QLineEdit(this);
    m_pEdit->setObjectName(QStringLiteral("lineEditFind"));
    m_pEdit->setAccessibleName(QStringLiteral("Find"));
    m_pEdit->setPlaceholderText(QStringLiteral("Find"));
    m_pEdit->setClearButtonEnabled(true);
    m_pEdit->setMinimumWidth(160);
    m_pEdit->setMaximumWidth(320);
    pLayout->addWidget(m_pEdit, 1);
    m_pButtonCase = AddButton("buttonMatchCase", QStringLiteral("Match Case"), "", true);
    m_pButtonCase->setText(QStringLiteral("Aa"));
    m_pButtonWord = AddButton("buttonWholeWord", QStringLiteral("Match Whole Word"), "", true);
    m_pButtonWord->setText(QStringLiteral("W"));
    QToolButton* pButtonPrev =
        AddButton("buttonFindPrev", QStringLiteral("Find Previous"), "chevron-up", false);
    QToolButton* pButtonNext =
        AddButton("buttonFindNext", QStringLiteral("Find Next"), "chevron-down", false);
    m_pLabelResult = new QLabel(this);
    m_pLabelResult->setObjectName(QStringLiteral("labelResult"));
    m_pLabelResult->setForegroundRole(QPalette::PlaceholderText);
    pLayout->addWidget(m_pLabelResult);
    pLayout->addStretch();
    QToolButton* pButtonClose = AddButton("buttonFindClose", QStringLiteral("Close"), "cross-small", false);
    connect(pButtonPrev, &QToolButton::clicked, this, [this] { emit FindRequested(false); });
    connect(pButtonNext, &QToolButton::clicked, this, [this] { emit FindRequested(true); });
    connect(pButtonClose, &QToolButton::clicked, this, &CFindBar::Closed);
    connect(m_pEdit, &QLineEdit::textChanged, this, &CFindBar::PatternChanged);
    connect(m_pButtonCase, &QToolButton::toggled, this, &CFindBar::PatternChanged);
    connect(m_pButtonWord, &QToolButton::toggled, this, &CFindBar::PatternChanged);
}

QToolButton* CFindBar::AddButton(const char* sName, const QString& sText, const char* sIcon, bool Checkable)
{
    auto* pButton = new QToolButton(this);
    pButton->setObjectName(QLatin1String(sName));
    pButton->setAccessibleName(sText);
    pButton->setToolTip(sText);
    pButton->setAutoRaise(true);
    pButton->setCheckable(Checkable);
    pButton->setFocusPolicy(Qt::TabFocus); // a click leaves the focus in the field
    if (*sIcon) pButton->setIcon(GetIcon(QLatin1String(sIcon)));
    layout()->addWidget(pButton);
    return pButton;
}

void CFindBar::Open(const QString& sText)
{
    show();
    if (!sText.isEmpty()) m_pEdit->setText(sText);
    m_pEdit->selectAll();
    m_pEdit->setFocus();
}

QString CFindBar::GetText() const
{
    return m_pEdit->text();
}
void CFindBar::SetText(const QString& sText)
{
    m_pEdit->setText(sText);
}
bool CFindBar::IsMatchCase() const
{
    return m_pButtonCase->isChecked();
}
bool CFindBar::IsWholeWord() const
{
    return m_pButtonWord->isChecked();
}

void CFindBar::SetResult(int Index, int NumMatches)
{
    if (m_pEdit->text().isEmpty())
        m_pLabelResult->clear();
    else if (NumMatches == 0)
        m_pLabelResult->setText(QStringLiteral("Not found"));
    else if (Index > 0)
        m_pLabelResult->setText(QStringLiteral("%1 of %2").arg(Index).arg(NumMatches));
    else
        m_pLabelResult->setText(QStringLiteral("%1 matches").arg(NumMatches));
}

void CFindBar::keyPressEvent(QKeyEvent* pEvent)
{
    switch (pEvent->key()) {
    case Qt::Key_Escape:
        emit Closed();
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        emit FindRequested(!(pEvent->modifiers() & Qt::ShiftModifier));
        break;
    default:
        QFrame::keyPressEvent(pEvent);
    }
}

#include "moc_findbar.cpp"
