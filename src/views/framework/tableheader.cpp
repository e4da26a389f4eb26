#include "views/framework/tableheader.h"

#include "views/framework/windowsettings.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>
#include <algorithm>

namespace {
constexpr int DEFAULT_SECTION_SIZE = 10;
constexpr int MIN_SECTION_SIZE = 16;
constexpr int EXTRA_HEIGHT = 7; ///< above the height of the header font
constexpr int EXTRA_WIDTH = 20;
const QString sNone = QStringLiteral("None");

/// Splits "[a;b;c]" outside quotes.
QStringList SplitList(const QString& sText)
{
    QString sPlain = sText.trimmed();
    if (sPlain.startsWith(u'[')) sPlain.remove(0, 1);
    if (sPlain.endsWith(u']')) sPlain.chop(1);
    QStringList Items;
    bool InQuotes = false;
    QString sItem;
    for (const QChar Char : sPlain) {
        if (Char == u'"') InQuotes = !InQuotes;
        if (Char == u';' && !InQuotes) {
            Items.append(Unquote(sItem));
            sItem.clear();
        } else
            sItem.append(Char);
    }
    if (!sItem.isEmpty()) Items.append(Unquote(sItem));
    return Items;
}
} // namespace

CTableHeader::CTableHeader(QWidget* pParent) : QHeaderView(Qt::Horizontal, pParent)
{
    setSectionsMovable(true);
    setSectionsClickable(true);
    setHighlightSections(false);
    setMinimumSectionSize(MIN_SECTION_SIZE);
    setDefaultSectionSize(DEFAULT_SECTION_SIZE);
    setSortIndicatorShown(true);
    setStretchLastSection(true);
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    UpdateHeight();
}

int CTableHeader::GetTitleHeight() const
{
    return fontMetrics().height() + EXTRA_HEIGHT;
}

void CTableHeader::UpdateHeight()
{
    setFixedHeight(GetTitleHeight() + m_BarHeight);
    emit geometriesChanged(); // the view gives its rows the place that is left
}

void CTableHeader::SetBarHeight(int Pixels)
{
    if (Pixels == m_BarHeight) return;
    m_BarHeight = Pixels;
    UpdateHeight();
}

void CTableHeader::paintSection(QPainter* pPainter, const QRect& Rect, int LogicalIdx) const
{
    QHeaderView::paintSection(pPainter, QRect(Rect.topLeft(), QSize(Rect.width(), Rect.height() - m_BarHeight)), LogicalIdx);
}

void CTableHeader::paintEvent(QPaintEvent* pEvent)
{
    if (m_BarHeight > 0) {
        QPainter Painter(viewport());
        Painter.fillRect(0, GetTitleHeight(), width(), m_BarHeight, palette().color(QPalette::Window));
    }
    QHeaderView::paintEvent(pEvent);
}

QString CTableHeader::GetTitle(int LogicalIdx) const
{
    return model() ? model()->headerData(LogicalIdx, orientation()).toString() : QString();
}

int CTableHeader::FindSection(const QString& sTitle) const
{
    for (int i = 0; i < count(); i++)
        if (GetTitle(i) == sTitle) return i;
    return -1;
}

QString CTableHeader::GetSetting(const QString& sKey) const
{
    if (sKey == QLatin1String("SortCol")) {
        const int Section = sortIndicatorSection();
        return isSortIndicatorShown() && Section >= 0 && Section < count() ? GetTitle(Section) : sNone;
    }
    if (sKey == QLatin1String("SortOrder"))
        return sortIndicatorOrder() == Qt::AscendingOrder ? QStringLiteral("ASCENDING")
                                                          : QStringLiteral("DESCENDING");
    QStringList Items;
    if (sKey == QLatin1String("VisibleCols")) {
        for (int i = 0; i < count(); i++) {
            const int Section = logicalIndex(i); // the order on screen is part of the state
            if (!isSectionHidden(Section)) Items.append(u'"' + GetTitle(Section) + u'"');
        }
    } else if (sKey == QLatin1String("ColWidths")) {
        for (int i = 0; i < count(); i++) Items.append(QString::number(sectionSize(i)));
    } else
        return QString();
    return u'[' + Items.join(u';') + u']';
}

bool CTableHeader::SetSetting(const QString& sKey, const QString& sValue)
{
    if (sKey == QLatin1String("SortCol")) {
        const QString sTitle = Unquote(sValue);
        const int Section = FindSection(sTitle);
        if (Section >= 0 || sTitle == sNone) setSortIndicator(Section, sortIndicatorOrder());
        return true;
    }
    if (sKey == QLatin1String("SortOrder")) {
        // "DESCENDING" doesn't hold "ASCENDING", so containment tells the two apart.
        const bool Ascending = sValue.contains(QLatin1String("ASCENDING"), Qt::CaseInsensitive);
        setSortIndicator(sortIndicatorSection(), Ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
        return true;
    }
    const QStringList Items = SplitList(sValue);
    if (sKey == QLatin1String("VisibleCols")) {
        int Visual = 0;
        for (const QString& sTitle : Items) {
            const int Section = FindSection(sTitle);
            if (Section >= 0) moveSection(visualIndex(Section), Visual++);
        }
        if (Visual == 0) return true; // a list without a known title would hide everything
        for (int i = 0; i < count(); i++) SetSectionVisible(i, Items.contains(GetTitle(i)));
        return true;
    }
    if (sKey == QLatin1String("ColWidths")) {
        for (int i = 0; i < std::min(int(Items.size()), count()); i++) {
            const int Width = std::max(Items[i].toInt(), MIN_SAVED_WIDTH);
            if (!isSectionHidden(i)) resizeSection(i, Width);
        }
        return true;
    }
    return false;
}

QString CTableHeader::GetStateText() const
{
    QStringList Items;
    for (const char* sKey : {"SortCol", "SortOrder", "VisibleCols", "ColWidths"})
        Items.append(QLatin1String(sKey) + QStringLiteral("=") + GetSetting(QLatin1String(sKey)));
    return Items.join(QStringLiteral(", "));
}

bool CTableHeader::RestoreHeaderState(const QByteArray& State)
{
    const QByteArray Present = saveState();
    const int NumColumns = count();
    const bool SortShown = isSortIndicatorShown();
    const bool Ok = restoreState(State) && count() == NumColumns && hiddenSectionCount() < count();
    if (!Ok) restoreState(Present);
    // What the window decides and not its user.
    setSortIndicatorShown(SortShown);
    setMinimumSectionSize(MIN_SECTION_SIZE);
    setStretchLastSection(true);
    UpdateHeight();
    for (int i = 0; i < count(); i++)
        if (!isSectionHidden(i) && sectionSize(i) < MIN_SAVED_WIDTH) resizeSection(i, MIN_SAVED_WIDTH);
    return Ok;
}

int CTableHeader::SetStateText(const QString& sText)
{
    int NumApplied = 0;
    for (const auto& Item : SplitSessionLine(sText)) NumApplied += SetSetting(Item.first, Item.second);
    return NumApplied;
}

void CTableHeader::SetSectionVisible(int LogicalIdx, bool Visible)
{
    if (isSectionHidden(LogicalIdx) != Visible) return;
    setSectionHidden(LogicalIdx, !Visible);
    if (Visible && sectionSize(LogicalIdx) < MIN_SAVED_WIDTH)
        resizeSection(LogicalIdx, std::max(sectionSizeHint(LogicalIdx), MIN_SAVED_WIDTH));
    emit SectionVisibilityChanged(LogicalIdx, Visible);
}

void CTableHeader::AddColumnMenu(QMenu* pMenu)
{
    for (int i = 0; i < count(); i++) {
        const QString sTitle = GetTitle(i);
        if (sTitle.isEmpty()) continue;
        QAction* pAction = pMenu->addAction(sTitle);
        pAction->setCheckable(true);
        pAction->setChecked(!isSectionHidden(i));
        // The last shown column has to stay, there would be no header left to bring one back.
        pAction->setEnabled(isSectionHidden(i) || count() - hiddenSectionCount() > 1);
        connect(pAction, &QAction::triggered, this,
                [this, i](bool Checked) { SetSectionVisible(i, Checked); });
    }
}

QSize CTableHeader::sizeHint() const
{
    return QSize(QHeaderView::sizeHint().width() + EXTRA_WIDTH, GetTitleHeight() + m_BarHeight);
}

QSize CTableHeader::sectionSizeFromContents(int LogicalIdx) const
{
    QSize Size = QHeaderView::sectionSizeFromContents(LogicalIdx);
    Size.rwidth() += EXTRA_WIDTH;
    return Size;
}

void CTableHeader::contextMenuEvent(QContextMenuEvent* pEvent)
{
    QMenu Menu(this);
    AddColumnMenu(&Menu);
    if (!Menu.isEmpty()) Menu.exec(pEvent->globalPos());
    pEvent->accept();
}

#include "moc_tableheader.cpp"
