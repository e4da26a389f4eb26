// CTableHeader, the column header of item windows: columns can be moved, sized, hidden and sorted by, and
// the state is kept as named settings that are readable in a session file.
#pragma once
#include <QHeaderView>
#include <QStringList>

class QMenu;

class CTableHeader : public QHeaderView {
    Q_OBJECT

public:
    explicit CTableHeader(QWidget* pParent = nullptr);

    /// "SortCol=..., SortOrder=..., VisibleCols=[...], ColWidths=[...]"
    QString GetStateText() const;
    /// Applies the settings of a state text; unknown keys are left alone. Returns the number applied.
    int SetStateText(const QString& sText);
    /// Puts back what QHeaderView::saveState() gave. A state of other columns changes nothing; widths are kept usable.
    bool RestoreHeaderState(const QByteArray& State);
    bool SetSetting(const QString& sKey, const QString& sValue);
    QString GetSetting(const QString& sKey) const;

    /// Room below the titles for a row of filter editors, in pixels; 0 = none.
    void SetBarHeight(int Pixels);
    int GetTitleHeight() const;
    void UpdateHeight(); ///< after a change of the font
    void SetSectionVisible(int LogicalIdx, bool Visible);
    void AddColumnMenu(QMenu* pMenu);             ///< a checkable entry for every column
    int FindSection(const QString& sTitle) const; ///< -1 for none
    QSize sizeHint() const override;

    static constexpr int MIN_SAVED_WIDTH = 27; ///< pixels; narrower widths of a session become this

signals:
    void SectionVisibilityChanged(int LogicalIdx, bool Visible);

protected:
    void contextMenuEvent(QContextMenuEvent* pEvent) override;
    void paintSection(QPainter* pPainter, const QRect& Rect, int LogicalIdx) const override;
    void paintEvent(QPaintEvent* pEvent) override;
    QSize sectionSizeFromContents(int LogicalIdx) const override;

private:
    QString GetTitle(int LogicalIdx) const;

    int m_BarHeight = 0;
};
