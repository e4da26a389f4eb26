// CSideBar, the margin of code windows: breakpoint and PC symbols, line numbers, execution counters.
// It owns no knowledge of files: the window hands over lists for the rows on the screen after every change.
#pragma once
#include "app/services/types.h"

#include <QHash>
#include <QMap>
#include <QPair>
#include <QWidget>
#include <functional>

/// Pictures of the symbol strip.
enum SIDEBAR_SYMBOLS : int {
    SIDEBAR_NONE = 0,
    SIDEBAR_BP_ON_SMALL = 1,   ///< on a later address of the row
    SIDEBAR_BP_OFF_SMALL = 2,
    SIDEBAR_BP_ON = 3,         ///< on the row's first address
    SIDEBAR_BP_OFF = 4,
    SIDEBAR_TP_ON_SMALL = 5,
    SIDEBAR_TP_OFF_SMALL = 6,
    SIDEBAR_TP_ON = 7,
    SIDEBAR_TP_OFF = 8,
    SIDEBAR_HAS_CODE = 9,
    SIDEBAR_CALL_SITE = 10,
    SIDEBAR_PC = 11,
    SIDEBAR_TRACE_START = 12,
    SIDEBAR_TRACE_STOP = 13,
};

class CSideBar : public QWidget {
    Q_OBJECT

public:
    explicit CSideBar(QWidget* pParent = nullptr);

    /// Rows are document rows; only those on screen need to be in the maps.
    void SetSymbols(const QMap<int, int>& Left, const QMap<int, int>& Right);
    /// Line number of each row; rows that aren't in the map have none. NumDigits sizes the column, 0 hides it.
    void SetLineNumbers(const QMap<int, U32>& Numbers, int NumDigits);
    /// Fetched and not-executed counts by row; an empty hash with Shown false hides the column.
    void SetExecCounters(const QHash<int, QPair<U64, U64>>& Counters, bool Shown);
    void SetGeometryOfRows(int FirstRow, int RowHeight, int TopMargin = 0);
    void SetCurrentRow(int Row); ///< -1 for none; its number is drawn stronger
    void SetFonts(const QFont& LineNumbers, const QFont& Counters);
    /// Place of a row for the counters' tool tip, and the count of all executed instructions for the load (0 = none).
    void SetProfileInfo(std::function<QString(int Row)> PlaceText, U64 TotalExecuted);
    void Clear();

    Qt::KeyboardModifiers GetClickModifiers() const { return m_ClickModifiers; } ///< of the click being reported
    int GetRowAt(int y) const; ///< document row at a pixel
    int GetSymbolStripWidth() const { return m_RowHeight; }
    int GetLeftSymbol(int Row) const { return m_Left.value(Row, SIDEBAR_NONE); }
    int GetRightSymbol(int Row) const { return m_Right.value(Row, SIDEBAR_NONE); }
    QSize sizeHint() const override;

signals:
    void MouseClicked(int Row, int Button);
    void StateChanged();
    void SizeChanged();

protected:
    void paintEvent(QPaintEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseMoveEvent(QMouseEvent* pEvent) override;
    void leaveEvent(QEvent* pEvent) override;
    void changeEvent(QEvent* pEvent) override;
    bool event(QEvent* pEvent) override;

private:
    void UpdateWidth();
    int GetNumberWidth() const;
    int GetCounterWidth() const;
    QString MakeCounterTip(int Row) const;

    QMap<int, int> m_Left;
    QMap<int, int> m_Right;
    QMap<int, U32> m_Numbers;
    QHash<int, QPair<U64, U64>> m_Counters;
    QFont m_NumberFont;
    QFont m_CounterFont;
    int m_FirstRow = 0;
    int m_RowHeight = 16;
    int m_TopMargin = 0;
    int m_NumDigits = 0;
    int m_CurrentRow = -1;
    int m_HoverRow = -1;
    bool m_CountersShown = false;
    Qt::KeyboardModifiers m_ClickModifiers;
    std::function<QString(int Row)> m_PlaceText;
    U64 m_TotalExecuted = 0;
};
