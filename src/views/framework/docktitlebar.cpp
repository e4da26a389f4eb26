#include "views/framework/docktitlebar.h"

#include "views/framework/dockwindow.h"
#include "views/theme/icons.h"
#include "views/theme/theme.h"

#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QToolButton>

namespace {
constexpr int BUTTON_ICON_SIZE = 10;
constexpr int BUTTON_SIZE = 18;
constexpr int TEXT_MARGIN = 9;
constexpr int RIGHT_ROOM = BUTTON_SIZE + 8; ///< the close button's, which no text enters

/// A flat button that recolours its drawing for the highlighted title.
class CTitleButton : public QToolButton {
public:
    CTitleButton(QWidget* pParent, const QString& sIcon) : QToolButton(pParent), m_sIcon(sIcon) {}
    QColor m_Stroke;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter Painter(this);
        Painter.setRenderHint(QPainter::Antialiasing);
        if (underMouse()) {
            QColor Ground = m_Stroke;
            Ground.setAlpha(isDown() ? 70 : 40);
            Painter.setPen(Qt::NoPen);
            Painter.setBrush(Ground);
            Painter.drawRoundedRect(rect(), 4, 4);
        }
        const QRectF Rect((width() - BUTTON_ICON_SIZE) / 2.0, (height() - BUTTON_ICON_SIZE) / 2.0,
                          BUTTON_ICON_SIZE, BUTTON_ICON_SIZE);
        PaintIcon(Painter, m_sIcon, Rect, m_Stroke);
    }

private:
    QString m_sIcon;
};
} // namespace

CDockTitleBar::CDockTitleBar(CDockWindow* pDock) : QWidget(pDock), m_pDock(pDock)
{
    auto* pLayout = new QHBoxLayout(this);
    pLayout->setContentsMargins(0, 0, 4, 0);
    pLayout->setSpacing(2);
    pLayout->addStretch();
    m_pButtonClose = AddButton("dockCloseButton", "cross-small", QStringLiteral("Close"));
    connect(m_pButtonClose, &QToolButton::clicked, this, [this] { m_pDock->RequestClose(); });
    connect(&CTheme::Get(), &CTheme::SchemeChanged, this, [this] { SetHighlighted(m_Highlighted); });
    SetHighlighted(false);
}

QToolButton* CDockTitleBar::AddButton(const char* sName, const char* sIcon, const QString& sToolTip)
{
    auto* pButton = new CTitleButton(this, QLatin1String(sIcon));
    pButton->setObjectName(QLatin1String(sName));
    pButton->setAccessibleName(sToolTip);
    pButton->setToolTip(sToolTip);
    pButton->setFixedSize(BUTTON_SIZE, BUTTON_SIZE);
    pButton->setFocusPolicy(Qt::NoFocus);
    layout()->addWidget(pButton);
    return pButton;
}

void CDockTitleBar::SetHighlighted(bool Highlighted)
{
    m_Highlighted = Highlighted;
    static_cast<CTitleButton*>(m_pButtonClose)->m_Stroke =
        palette().color(Highlighted ? QPalette::HighlightedText : QPalette::ButtonText);
    update();
}

QSize CDockTitleBar::sizeHint() const
{
    // Qt asks many times in every layout of the main window, and measuring text is slow.
    const QString sTitle = m_pDock->GetTitle();
    if (sTitle != m_sHintTitle || font() != m_HintFont || !m_Hint.isValid()) {
        m_sHintTitle = sTitle;
        m_HintFont = font();
        QFont Bold = font();
        Bold.setBold(true);
        const QFontMetrics Metrics(Bold);
        m_Hint = QSize(Metrics.horizontalAdvance(sTitle) + 2 * TEXT_MARGIN + RIGHT_ROOM, qMax(Metrics.height() + 10, 24));
    }
    return m_Hint;
}

QSize CDockTitleBar::minimumSizeHint() const
{
    return QSize(60, sizeHint().height());
}

void CDockTitleBar::paintEvent(QPaintEvent*)
{
    QPainter Painter(this);
    Painter.fillRect(rect(), palette().color(m_Highlighted ? QPalette::Highlight : QPalette::Window));
    Painter.fillRect(0, height() - 1, width(), 1,
                     m_Highlighted ? palette().color(QPalette::Highlight) : CTheme::GetBorderColor());
    QFont TitleFont = font();
    TitleFont.setBold(m_Highlighted);
    Painter.setFont(TitleFont);
    Painter.setPen(palette().color(m_Highlighted ? QPalette::HighlightedText : QPalette::ButtonText));
    const QRect TextRect = rect().adjusted(TEXT_MARGIN, 0, -RIGHT_ROOM, 0);
    const QString sTitle =
        Painter.fontMetrics().elidedText(m_pDock->GetTitle(), Qt::ElideRight, TextRect.width());
    Painter.drawText(TextRect, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine, sTitle);
}

void CDockTitleBar::mousePressEvent(QMouseEvent* pEvent)
{
    m_pDock->setFocus(Qt::MouseFocusReason);
    pEvent->ignore(); // the dock goes on to move itself
}

#include "moc_docktitlebar.cpp"
