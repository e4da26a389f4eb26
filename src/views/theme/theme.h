// The look of the program: light and dark palettes, the style, and the colours of the colour table as they
// show in the scheme in force.
//
//   CTheme::Init(App);                        // once, after QApplication; follows the desktop
//   CTheme::SetScheme(THEME_DARK);            // the user's choice
//   Painter.fillRect(Row, CTheme::GetColor(COLOR_PC_ACTIVE));
//
// Main thread only.
#pragma once
#include <QColor>
#include <QObject>
#include <QPalette>

class QApplication;

enum THEME_SCHEMES : int { THEME_AUTO = 0, THEME_LIGHT = 1, THEME_DARK = 2 };

class CTheme : public QObject {
    Q_OBJECT

public:
    static void Init(QApplication& App); ///< style, fonts, palette; remembers the desktop's own palette
    static CTheme& Get();
    static void SetScheme(THEME_SCHEMES Scheme); ///< AUTO follows the desktop
    static THEME_SCHEMES GetScheme();
    static bool IsDark();

    /// A colour of the colour table. A colour that the user left at its default, which is made for a light
    /// ground, shows as its dark counterpart in the dark scheme. Invalid outside the table.
    static QColor GetColor(int ColorID);
    static QPalette MakePalette(bool Dark);
    static QString MakeStyleSheet(bool Dark);

    /// \name Colours of the look that aren't in the colour table
    ///@{
    static QColor GetBorderColor();      ///< lines between parts of a window
    static QColor GetMarginColor();      ///< ground of the code margins
    static QColor GetCurrentLineColor(); ///< ground of the caret's line
    static QColor GetWeakTextColor();    ///< line numbers, hints
    static QColor GetCheckBoxColor();    ///< frame of an unchecked box in a table
    ///@}

signals:
    void SchemeChanged(bool Dark);

protected:
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;

private:
    CTheme() = default;
    void Apply();
    static bool IsDesktopDark();

    QApplication* m_pApp = nullptr;
    THEME_SCHEMES m_Scheme = THEME_AUTO;
    bool m_Dark = false;
    bool m_Applying = false;
};
