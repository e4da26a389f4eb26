#include "app/shell/toolbar.h"

#include "views/theme/icons.h"

#include <QEvent>
#include <QToolButton>

namespace {
constexpr char OVERFLOW_BUTTON[] = "qt_toolbar_ext_button"; ///< the toolkit's own name of it
constexpr int ICON_SIZE = 20;
} // namespace

CToolBar::CToolBar(const QString& sTitle, QWidget* pParent) : QToolBar(sTitle, pParent)
{
    setIconSize(QSize(ICON_SIZE, ICON_SIZE));
    setAccessibleName(sTitle);
    DressOverflowButton();
    // The toolkit gives the button its own faint arrow whenever the bar is turned.
    connect(this, &QToolBar::orientationChanged, this, &CToolBar::DressOverflowButton);
}

void CToolBar::DressOverflowButton()
{
    auto* pButton = findChild<QToolButton*>(QLatin1String(OVERFLOW_BUTTON));
    if (!pButton) return;
    const bool Upright = orientation() == Qt::Vertical;
    pButton->setIcon(GetIcon(Upright ? QStringLiteral("chevrons-down") : QStringLiteral("chevrons-right")));
    pButton->setIconSize(QSize(ICON_SIZE, ICON_SIZE));
    pButton->setToolTip(QStringLiteral("More Commands"));
    pButton->setAccessibleName(QStringLiteral("%1: More Commands").arg(windowTitle()));
    pButton->setFocusPolicy(Qt::TabFocus);
}

bool CToolBar::event(QEvent* pEvent)
{
    const bool Handled = QToolBar::event(pEvent);
    if (pEvent->type() == QEvent::StyleChange) DressOverflowButton();
    return Handled;
}

void CToolBar::AddCommand(QAction* pAction, int ID)
{
    addAction(pAction);
    auto* pButton = qobject_cast<QToolButton*>(widgetForAction(pAction));
    if (!pButton) return;
    connect(pButton, &QToolButton::pressed, this, [this, ID] {
        if (m_Hooks.Prepare) m_Hooks.Prepare(ID);
    });
    connect(pButton, &QToolButton::released, this, [this, pButton, ID] {
        if (!pButton->underMouse() && m_Hooks.Forget) m_Hooks.Forget(ID);
    });
}

#include "moc_toolbar.cpp"
