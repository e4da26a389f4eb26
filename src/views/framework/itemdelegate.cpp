#include "views/framework/itemdelegate.h"

#include "project/settings/settingids.h"
#include "views/framework/itemroles.h"
#include "views/framework/sortfilter.h"
#include "views/theme/theme.h"

#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <cmath>

namespace {
constexpr int TEXT_MARGIN = 5;
constexpr int CHECK_MARGIN = 5; ///< blank pixels behind a check box
constexpr int CHECK_SIZE = 13;

QRect GetCheckRect(const QRect& Cell)
{
    return QRect(Cell.x() + CHECK_MARGIN, Cell.y() + (Cell.height() - CHECK_SIZE) / 2, CHECK_SIZE,
                 CHECK_SIZE);
}
} // namespace

bool CItemDelegate::s_IsEditing = false;

CItemDelegate::CItemDelegate(QObject* pParent) : QItemDelegate(pParent)
{
    setClipping(true);
}

void CItemDelegate::paint(QPainter* pPainter, const QStyleOptionViewItem& Option,
                          const QModelIndex& Index) const
{
    QStyleOptionViewItem Cell = Option;
    // The window's colour rules already include the selection; the style's own would paint over change marks.
    const QVariant Background = Index.data(Qt::BackgroundRole);
    const QVariant Foreground = Index.data(Qt::ForegroundRole);
    if (Background.canConvert<QBrush>()) {
        Cell.palette.setBrush(QPalette::Highlight, qvariant_cast<QBrush>(Background));
        pPainter->fillRect(Cell.rect, qvariant_cast<QBrush>(Background));
    }
    if (Foreground.canConvert<QBrush>())
        Cell.palette.setBrush(QPalette::HighlightedText, qvariant_cast<QBrush>(Foreground));
    m_MatchPos = m_pSortFilter && Index.model() == m_pSortFilter ? m_pSortFilter->GetMatch(Index, m_MatchLength) : -1;

    const QVariant Check = Index.data(Qt::CheckStateRole);
    if (Check.isValid()) {
        QStyleOptionViewItem Box = Cell;
        drawCheck(pPainter, Box, GetCheckRect(Cell.rect), static_cast<Qt::CheckState>(Check.toInt()));
        Cell.rect.setLeft(GetCheckRect(Cell.rect).right() + CHECK_MARGIN);
    }
    const QVariant Decoration = Index.data(Qt::DecorationRole);
    if (Decoration.canConvert<QIcon>()) {
        const QIcon Icon = qvariant_cast<QIcon>(Decoration);
        const QSize Size = Option.decorationSize;
        const QRect IconRect(Cell.rect.x() + 3, Cell.rect.y() + (Cell.rect.height() - Size.height()) / 2,
                             Size.width(), Size.height());
        Icon.paint(pPainter, IconRect, Qt::AlignCenter,
                   Cell.state & QStyle::State_Enabled ? QIcon::Normal : QIcon::Disabled);
        Cell.rect.setLeft(IconRect.right() + 1);
    }
    const QVariant Font = Index.data(Qt::FontRole);
    if (Font.canConvert<QFont>()) {
        Cell.font = qvariant_cast<QFont>(Font);
        Cell.fontMetrics = QFontMetrics(Cell.font);
    }
    const QVariant Alignment = Index.data(Qt::TextAlignmentRole);
    Cell.displayAlignment =
        Alignment.isValid() ? Qt::Alignment(Alignment.toInt()) : Qt::AlignLeft | Qt::AlignVCenter;
    Cell.palette.setBrush(QPalette::Text, Foreground.canConvert<QBrush>() ? qvariant_cast<QBrush>(Foreground)
                                                                          : Option.palette.text());
    drawDisplay(pPainter, Cell, Cell.rect, Index.data(Qt::DisplayRole).toString());
    m_MatchPos = -1;
}

void CItemDelegate::drawDisplay(QPainter* pPainter, const QStyleOptionViewItem& Option, const QRect& Rect,
                                const QString& sText) const
{
    if (sText.isEmpty()) return;
    const QRect TextRect = Rect.adjusted(TEXT_MARGIN, 0, -TEXT_MARGIN, 0);
    if (TextRect.width() <= 0) return;
    const QString sShown = Option.fontMetrics.elidedText(sText, Option.textElideMode, TextRect.width());
    pPainter->save();
    pPainter->setFont(Option.font);
    pPainter->setPen(Option.palette.color(QPalette::Text));
    pPainter->drawText(TextRect, int(Option.displayAlignment) | Qt::TextSingleLine, sShown);
    if (m_MatchPos >= 0 && m_MatchLength > 0 && m_MatchPos + m_MatchLength <= sShown.size()) {
        const int Before = Option.fontMetrics.horizontalAdvance(sShown.left(m_MatchPos));
        pPainter->setPen(CTheme::GetColor(COLOR_TABLE_FILTER_MATCH));
        pPainter->drawText(TextRect.adjusted(Before, 0, 0, 0),
                           Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                           sShown.mid(m_MatchPos, m_MatchLength));
    }
    pPainter->restore();
}

void CItemDelegate::drawCheck(QPainter* pPainter, const QStyleOptionViewItem& Option, const QRect& Rect,
                              Qt::CheckState State) const
{
    if (!Rect.isValid()) return;
    // The style derives its frame from the ground, which leaves no contrast on a dark one.
    const bool Enabled = Option.state & QStyle::State_Enabled;
    const QColor Fill = State == Qt::Unchecked ? Option.palette.color(QPalette::Base)
                                               : Option.palette.color(Enabled ? QPalette::Active : QPalette::Disabled,
                                                                      QPalette::Link);
    pPainter->save();
    pPainter->setRenderHint(QPainter::Antialiasing);
    pPainter->setPen(State == Qt::Unchecked ? CTheme::GetCheckBoxColor() : Fill);
    pPainter->setBrush(Fill);
    const QRectF Box = QRectF(Rect).adjusted(0.5, 0.5, -0.5, -0.5);
    pPainter->drawRoundedRect(Box, 2.5, 2.5);
    if (State != Qt::Unchecked) {
        pPainter->setPen(QPen(Option.palette.color(QPalette::Base), 1.7, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        pPainter->setBrush(Qt::NoBrush);
        const auto At = [&Box](double x, double y) {
            return QPointF(Box.x() + x * Box.width(), Box.y() + y * Box.height());
        };
        if (State == Qt::Checked)
            pPainter->drawPolyline(QPolygonF{At(0.22, 0.52), At(0.43, 0.73), At(0.79, 0.30)});
        else
            pPainter->drawLine(At(0.25, 0.5), At(0.75, 0.5));
    }
    pPainter->restore();
}

void CItemDelegate::drawFocus(QPainter*, const QStyleOptionViewItem&, const QRect&) const {}

QSize CItemDelegate::sizeHint(const QStyleOptionViewItem& Option, const QModelIndex& Index) const
{
    const QVariant Hint = Index.data(Qt::SizeHintRole);
    const QVariant FontValue = Index.data(Qt::FontRole);
    const QFont Font = FontValue.canConvert<QFont>() ? qvariant_cast<QFont>(FontValue) : Option.font;
    // Fonts advance by fractions of a pixel; a width cut short would elide the text.
    int Width =
        int(std::ceil(QFontMetricsF(Font).horizontalAdvance(Index.data(Qt::DisplayRole).toString()))) +
        2 * TEXT_MARGIN + 2;
    if (Index.data(Qt::CheckStateRole).isValid()) Width += CHECK_SIZE + 2 * CHECK_MARGIN;
    if (Index.data(Qt::DecorationRole).isValid()) Width += Option.decorationSize.width() + 4;
    const QSize Wanted = Hint.canConvert<QSize>() ? Hint.toSize() : QSize();
    return QSize(Width, Wanted.height() > 0 ? Wanted.height() : QFontMetrics(Font).height() + 3);
}

QWidget* CItemDelegate::createEditor(QWidget* pParent, const QStyleOptionViewItem& Option,
                                     const QModelIndex& Index) const
{
    QWidget* pEditor = QItemDelegate::createEditor(pParent, Option, Index);
    if (auto* pLineEdit = qobject_cast<QLineEdit*>(pEditor)) {
        pLineEdit->setFrame(false);
        pLineEdit->setStyleSheet(QStringLiteral("QLineEdit { border-radius: 0; padding: 0 3px; }"));
    }
    return pEditor;
}

void CItemDelegate::setEditorData(QWidget* pEditor, const QModelIndex& Index) const
{
    s_IsEditing = true;
    QItemDelegate::setEditorData(pEditor, Index);
    s_IsEditing = false;
}

void CItemDelegate::setModelData(QWidget* pEditor, QAbstractItemModel* pModel, const QModelIndex& Index) const
{
    s_IsEditing = true;
    QItemDelegate::setModelData(pEditor, pModel, Index);
    s_IsEditing = false;
}

void CItemDelegate::updateEditorGeometry(QWidget* pEditor, const QStyleOptionViewItem& Option,
                                         const QModelIndex&) const
{
    QRect Rect = Option.rect;
    Rect.setHeight(Rect.height() + 1);
    pEditor->setGeometry(Rect);
}

bool CItemDelegate::editorEvent(QEvent* pEvent, QAbstractItemModel* pModel,
                                const QStyleOptionViewItem& Option, const QModelIndex& Index)
{
    const QVariant Check = Index.data(Qt::CheckStateRole);
    if (!Check.isValid() || !(Index.flags() & Qt::ItemIsUserCheckable))
        return QItemDelegate::editorEvent(pEvent, pModel, Option, Index);
    if (pEvent->type() != QEvent::MouseButtonRelease) return false;
    auto* pMouse = static_cast<QMouseEvent*>(pEvent);
    if (pMouse->button() != Qt::LeftButton ||
        !GetCheckRect(Option.rect).adjusted(-2, -2, 2, 2).contains(pMouse->pos()))
        return false;
    return pModel->setData(Index, Check.toInt() == Qt::Checked ? Qt::Unchecked : Qt::Checked,
                           Qt::CheckStateRole);
}

#include "moc_itemdelegate.cpp"
