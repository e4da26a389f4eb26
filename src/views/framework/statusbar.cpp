#include "views/framework/statusbar.h"

#include "views/theme/icons.h"
#include "views/theme/theme.h"

#include <QFontMetrics>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QProgressBar>
#include <QToolButton>

namespace {
constexpr int UPDATE_DELAY_MS = 50;

QFrame* AddFrame(QHBoxLayout* pLayout, const char* sName, int Stretch)
{
    auto* pFrame = new QFrame;
    pFrame->setObjectName(QLatin1String(sName));
    auto* pInner = new QHBoxLayout(pFrame);
    pInner->setContentsMargins(8, 0, 8, 0);
    pInner->setSpacing(6);
    pLayout->addWidget(pFrame, Stretch);
    return pFrame;
}

QLabel* AddLabel(QFrame* pFrame, const char* sName, const QString& sAccessibleName)
{
    auto* pLabel = new QLabel(pFrame);
    pLabel->setObjectName(QLatin1String(sName));
    pLabel->setAccessibleName(sAccessibleName);
    pFrame->layout()->addWidget(pLabel);
    return pLabel;
}
} // namespace

CStatusBar& CStatusBar::Get()
{
    static QPointer<CStatusBar> s_pStatusBar;
    if (!s_pStatusBar) s_pStatusBar = new CStatusBar;
    return *s_pStatusBar;
}

CStatusBar::CStatusBar(QWidget* pParent)
    : QStatusBar(pParent), m_sStatus(QStringLiteral("Ready")), m_sConnection(QStringLiteral("Disconnected")),
      m_sWindowStatus(QStringLiteral("Ln 0  Ch 0"))
{
    setObjectName(QStringLiteral("statusBar"));
    setMinimumHeight(QFontMetrics(font()).height() + 3);
    auto* pWidget = new QWidget;
    auto* pLayout = new QHBoxLayout(pWidget);
    pLayout->setContentsMargins(0, 0, 0, 0);
    pLayout->setSpacing(0);
    m_pLabelStatus = AddLabel(AddFrame(pLayout, "frameStatus", 1), "labelStatus", QStringLiteral("Status"));
    // A long text must not widen the main window.
    m_pLabelStatus->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_pFrameProgress = AddFrame(pLayout, "frameProgressBar", 0);
    m_pProgressBar = new QProgressBar(m_pFrameProgress);
    m_pProgressBar->setObjectName(QStringLiteral("progressBar"));
    m_pProgressBar->setAccessibleName(QStringLiteral("Progress"));
    m_pProgressBar->setFixedSize(180, 8);
    m_pProgressBar->setTextVisible(false);
    m_pFrameProgress->layout()->addWidget(m_pProgressBar);
    m_pButtonCancel = new QToolButton(m_pFrameProgress);
    m_pButtonCancel->setObjectName(QStringLiteral("buttonCancel"));
    m_pButtonCancel->setAccessibleName(QStringLiteral("Cancel"));
    m_pButtonCancel->setToolTip(QStringLiteral("Cancel (Esc)"));
    m_pButtonCancel->setIcon(GetIcon(QStringLiteral("cross-small")));
    m_pButtonCancel->setAutoRaise(true);
    m_pButtonCancel->setIconSize(QSize(14, 14));
    m_pButtonCancel->setFixedSize(16, 16);
    static_cast<QHBoxLayout*>(m_pFrameProgress->layout())->addWidget(m_pButtonCancel, 0, Qt::AlignVCenter);
    m_pLabelWindowStatus =
        AddLabel(AddFrame(pLayout, "frameCursorInfo", 0), "labelWindowStatus", QStringLiteral("Cursor"));
    m_pLabelConnection = AddLabel(AddFrame(pLayout, "frameConnectionInfo", 0), "labelConnectionInfo",
                                  QStringLiteral("Connection"));
    // A permanent widget stays on the screen under a temporary message, which the status label shows.
    addPermanentWidget(pWidget, 1);
    setSizeGripEnabled(false);

    m_Timer.setSingleShot(true);
    m_Timer.setInterval(UPDATE_DELAY_MS);
    connect(&m_Timer, SIGNAL(timeout()), this, SLOT(OnTimerTimeout()));
    connect(m_pButtonCancel, SIGNAL(clicked()), this, SLOT(OnButtonCancelClicked()));
    connect(this, &QStatusBar::messageChanged, this, [this](const QString& sText) {
        m_sTemporary = sText;
        Schedule();
    });
    OnTimerTimeout();
}

CStatusBar::~CStatusBar() = default;

void CStatusBar::paintEvent(QPaintEvent*)
{
    // The base would paint the temporary message under the labels.
    QPainter Painter(this);
    Painter.fillRect(rect(), palette().color(QPalette::Window));
    Painter.fillRect(0, 0, width(), 1, CTheme::GetBorderColor());
}

void CStatusBar::Schedule()
{
    if (!m_Timer.isActive()) m_Timer.start();
}

void CStatusBar::SetStatusMessage(const QString& sText)
{
    if (sText == m_sStatus) return;
    m_sStatus = sText;
    Schedule();
}

void CStatusBar::SetProgressMessage(const QString& sText)
{
    m_sProgress = sText;
    Schedule();
}

void CStatusBar::SetConnectionInfo(const QString& sText)
{
    m_sConnection = sText;
    Schedule();
}

void CStatusBar::SetActiveWindowStatus(const QString& sText)
{
    m_sWindowStatus = sText;
    Schedule();
}

void CStatusBar::StartProgress(int Minimum, int Maximum, bool CanCancel)
{
    m_Value = m_Minimum = Minimum;
    m_Maximum = Maximum;
    m_ProgressRunning = true;
    m_CanCancel = CanCancel;
    m_Canceled = false;
    Schedule();
}

void CStatusBar::SetProgressValue(int Value)
{
    m_Value = Value;
    Schedule();
}

void CStatusBar::EndProgress()
{
    m_ProgressRunning = false;
    Schedule();
}

void CStatusBar::OnButtonCancelClicked()
{
    if (!IsCancelOffered()) return;
    m_Canceled = true;
    emit Canceled();
    Schedule();
}

QString CStatusBar::GetShownStatus() const
{
    if (m_ProgressRunning && !m_sProgress.isEmpty()) return m_sProgress;
    return m_sTemporary.isEmpty() ? m_sStatus : m_sTemporary;
}

void CStatusBar::Flush()
{
    m_Timer.stop();
    OnTimerTimeout();
}

void CStatusBar::OnTimerTimeout()
{
    auto SetText = [](QLabel* pLabel, const QString& sText) {
        if (pLabel->text() != sText) pLabel->setText(sText);
    };
    SetText(m_pLabelStatus, GetShownStatus());
    SetText(m_pLabelWindowStatus, m_sWindowStatus);
    SetText(m_pLabelConnection, m_sConnection);
    if (m_pFrameProgress->isHidden() == m_ProgressRunning) m_pFrameProgress->setVisible(m_ProgressRunning);
    if (m_pButtonCancel->isHidden() == m_CanCancel) m_pButtonCancel->setVisible(m_CanCancel);
    m_pButtonCancel->setEnabled(!m_Canceled);
    // A range without width is shown as a busy bar.
    const int Maximum = m_Maximum > m_Minimum ? m_Maximum : m_Minimum;
    if (m_pProgressBar->minimum() != m_Minimum || m_pProgressBar->maximum() != Maximum) {
        if (Maximum == m_Minimum)
            m_pProgressBar->setRange(0, 0);
        else
            m_pProgressBar->setRange(m_Minimum, Maximum);
    }
    if (m_pProgressBar->value() != m_Value) m_pProgressBar->setValue(m_Value);
}

#include "moc_statusbar.cpp"
