// CSourceEditor, the text control of the source window. Every text line is a row that carries an address and may
// unfold into the instructions of the line; instruction rows can't be edited. Text positions are (column, line),
// rows count what stands on the screen, both from 0.
#pragma once
#include "app/services/types.h"
#include "views/debug/debugviewhooks.h"

#include <QAbstractScrollArea>
#include <QColor>
#include <QMap>
#include <QTimer>
#include <functional>

class CSrcDocument;

/// Addresses of a row that aren't addresses.
inline constexpr U64 ROW_ADDR_UNKNOWN = ~U64(0);       ///< the row has no code
inline constexpr U64 ROW_ADDR_NOT_ASKED = ~U64(0) - 1; ///< not looked up yet

/// One row of the editor.
struct SRC_ROW {
    bool IsInst = false;
    bool IsExpanded = false;
    U32 Line = 0;                    ///< 1-based line of the file
    U64 Addr = ROW_ADDR_NOT_ASKED;   ///< first address
    U64 EndAddr = 0;                 ///< end of the row's code, exclusive
    QList<CAddrRange> Ranges;        ///< all code of a source row
    VIEW_INST Inst;                  ///< of an instruction row
};

class CSourceEditor : public QAbstractScrollArea {
    Q_OBJECT

public:
    explicit CSourceEditor(QWidget* pParent = nullptr);

    void SetDocument(CSrcDocument* pDocument); ///< null empties the editor; the document stays its owner's
    CSrcDocument* GetDocument() const { return m_pDocument; }

    /// \name Rows
    ///@{
    int GetNumRows() const { return int(m_Rows.size()); }
    const SRC_ROW& GetRow(int Row);   ///< with its address looked up
    int GetRowOfLine(U32 Line) const; ///< of a 1-based line; -1 for none
    int GetRowOfInst(U32 Addr) const; ///< instruction row; -1 when it isn't unfolded
    int GetRowAt(int y) const;        ///< at a pixel of the viewport; may lie beyond the text
    int GetFirstVisibleRow() const;
    int GetNumVisibleRows() const;    ///< partly visible ones included
    int GetRowHeight() const { return m_RowHeight; }
    void ForgetAddresses();           ///< after a new program or plug-in
    ///@}

    /// \name Line expansion
    ///@{
    bool IsLineExpandable(int Row);
    bool IsLineExpanded(U32 Line) const;
    void SetLineExpanded(U32 Line, bool Expanded);
    void SetAllExpanded(bool Expanded);
    ///@}

    /// \name Cursor and selection
    ///@{
    QPoint GetCursor() const { return m_Cursor; }
    void SetCursorTextPos(QPoint Pos, bool KeepAnchor = false);
    bool HasSelection() const { return m_Cursor != m_Anchor; }
    QString GetSelectedText() const;
    void SelectText(QPoint Pos, int Length);
    void SelectAll();
    void Unselect();
    QString GetWordUnderCursor() const;
    QPoint GetTextPosAt(QPoint ViewportPos) const;   ///< (-1, -1) on an instruction row or outside the text
    QPoint GetViewportPos(QPoint TextPos) const;
    int GetSelectedInstRow() const { return m_InstRow; } ///< -1 while a source row is current
    void SetSelectedInstRow(int Row);
    ///@}

    /// \name Scrolling
    ///@{
    void ScrollToRow(int Row, bool Center);
    void EnsureRowVisible(int Row, bool Center); ///< no movement if it is on the screen already
    ///@}

    /// \name Look
    ///@{
    void SetHighlight(int Row, const QColor& Color);
    void ClearHighlights();
    void ClearHighlights(const QColor& Color);
    QColor GetHighlight(int Row) const { return m_Highlights.value(Row); }
    void SetMatches(const QString& sText, bool MatchCase); ///< all places of a text are marked; empty = none
    void UpdateFonts();
    ///@}

    /// \name Editing
    ///@{
    void SetReadOnly(bool ReadOnly) { m_ReadOnly = ReadOnly; }
    bool IsReadOnly() const { return m_ReadOnly; }
    /// Asked before the first change of a document; false drops the change.
    void SetEditGuard(std::function<bool()> Guard) { m_EditGuard = std::move(Guard); }
    void InsertText(const QString& sText);
    void Undo();
    void Redo();
    void Copy() const;
    void Cut();
    void Paste();
    ///@}

signals:
    void CursorPositionChanged(QPoint Pos);
    void TextSelectionChanged();
    void LineExpansionStateToggled(int Line); ///< 0-based line, by a click on the expansion bar
    void DocumentEdited();
    void ViewChanged();                 ///< scroll position, size, rows or fonts changed
    void MouseHovered(QPoint Pos);      ///< in viewport pixels
    void MouseLeft();
    void Clicked(int Row);              ///< a press moved the cursor

protected:
    void paintEvent(QPaintEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;
    void scrollContentsBy(int dx, int dy) override;
    void keyPressEvent(QKeyEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseMoveEvent(QMouseEvent* pEvent) override;
    void mouseReleaseEvent(QMouseEvent* pEvent) override;
    void mouseDoubleClickEvent(QMouseEvent* pEvent) override;
    void leaveEvent(QEvent* pEvent) override;
    void focusInEvent(QFocusEvent* pEvent) override;
    void focusOutEvent(QFocusEvent* pEvent) override;
    void hideEvent(QHideEvent* pEvent) override;
    bool viewportEvent(QEvent* pEvent) override;
    bool event(QEvent* pEvent) override;

private:
    struct PAINT_COLORS;

    void RebuildRows();
    void UpdateScrollBars();
    void AskAddress(SRC_ROW& Row) const;
    QList<VIEW_INST> GetInsts(const QList<CAddrRange>& Ranges) const;
    QString ExpandTabs(const QString& sText) const;
    int GetColumnX(const QString& sLine, int Col) const; ///< pixels from the start of the text
    int GetColumnAtX(const QString& sLine, int x) const;
    int GetTextLeft() const; ///< pixels before the text: the expansion bar and a gap
    bool IsExpansionBarShown() const;

    void PaintRow(QPainter& Painter, int Row, int y, const PAINT_COLORS& Colors);
    void PaintSourceText(QPainter& Painter, int Row, int y, const PAINT_COLORS& Colors);
    void PaintInstText(QPainter& Painter, int Row, int y, const PAINT_COLORS& Colors);
    void PaintSelection(QPainter& Painter, int Line, int y, const QColor& Color) const;

    bool OnKeyPressed(QKeyEvent* pEvent);
    bool OnKeyPressedEditMode(QKeyEvent* pEvent);
    bool OnMoveKeyPressed(QKeyEvent* pEvent);
    QPoint GetWordStep(QPoint Pos, int Direction) const;
    bool Edit(QPoint From, QPoint To, const QString& sText);
    void AfterEdit(QPoint Cursor);
    void MoveTo(QPoint Pos, bool KeepAnchor);
    void MoveByRows(int NumRows, bool KeepAnchor);
    std::pair<QPoint, QPoint> GetSelectionRange() const; ///< start and end in text order
    void RestartBlink();

    CSrcDocument* m_pDocument = nullptr;
    QList<SRC_ROW> m_Rows;
    QList<int> m_RowOfLine; ///< row of each 0-based line
    QMap<int, QColor> m_Highlights;
    QPoint m_Cursor;
    QPoint m_Anchor;
    int m_WantedX = -1; ///< column in pixels that vertical moves aim at
    int m_InstRow = -1;
    int m_RowHeight = 16;
    int m_Ascent = 12;
    double m_CharWidth = 7; ///< pixels; fonts advance by fractions of a pixel
    int m_TabSpacing = 2;
    QFont m_Font;
    QFont m_AsmFont;
    bool m_ReadOnly = false;
    bool m_CaretOn = false;
    bool m_Dragging = false;
    QTimer m_BlinkTimer;
    QString m_sMatch;
    Qt::CaseSensitivity m_MatchCase = Qt::CaseInsensitive;
    std::function<bool()> m_EditGuard;
};
