// CAsmView, the text part of the disassembly window: it paints the rows of a block that are on the screen and
// reports mouse and keys. The window decides what the top row is; the view may be asked for rows that don't exist
// yet and leaves them blank.
#pragma once
#include "views/debug/asmblock.h"

#include <QAbstractScrollArea>
#include <QFont>

inline constexpr int ASM_NO_ROW = -100; ///< no row is selected

class CAsmView : public QAbstractScrollArea {
    Q_OBJECT

public:
    /// The block is the window's and outlives the view.
    explicit CAsmView(const CAsmBlock& Block, QWidget* pParent = nullptr);

    void UpdateFonts();
    void UpdateScrollBars();
    void SetTopRow(int Row);
    void SetSelectedRow(int Row);                ///< ASM_NO_ROW for none
    void SetMarks(U32 PC, bool Active);          ///< ADDR_NONE while the PC isn't to be seen
    void SetEncodingsShown(bool Shown);

    int GetTopRow() const { return m_TopRow; }
    int GetSelectedRow() const { return m_SelectedRow; }
    int GetNumVisibleRows() const; ///< whole rows that fit, at least 1
    int GetRowHeight() const { return m_RowHeight; }
    int GetRowAt(int y) const { return m_TopRow + (y >= 0 ? y / m_RowHeight : -1); }
    QColor GetRowGround(int Row) const; ///< invalid for the plain background

signals:
    void RowClicked(int Row, int Button);
    void KeyPressed(QKeyEvent* pEvent);
    void Scrolled(int Rows); ///< by the wheel; positive is down
    void Resized();

protected:
    void paintEvent(QPaintEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseMoveEvent(QMouseEvent* pEvent) override;
    void wheelEvent(QWheelEvent* pEvent) override;
    void keyPressEvent(QKeyEvent* pEvent) override;
    void focusInEvent(QFocusEvent* pEvent) override;
    void focusOutEvent(QFocusEvent* pEvent) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    int PaintRow(QPainter& Painter, int Row, int y); ///< width of the row in characters

    const CAsmBlock& m_Block;
    QFont m_Font;
    double m_CharWidth = 8;
    int m_RowHeight = 16;
    int m_TopRow = 0;
    int m_SelectedRow = ASM_NO_ROW;
    int m_TextChars = 0; ///< width of the widest row painted so far
    int m_WheelRest = 0; ///< eighths of a degree that don't make a row yet
    U32 m_PC = ADDR_NONE;
    bool m_Active = false;
    bool m_EncodingsShown = false;
};
