// The page of fonts: a list of what has a font of its own, and the editor of the selected one.
#pragma once
#include <QFont>
#include <QWidget>

class QCheckBox;
class QFontComboBox;
class QLabel;
class QSpinBox;
class QTreeWidget;

class CFontsPage : public QWidget {
    Q_OBJECT
public:
    explicit CFontsPage(QWidget* pParent = nullptr);

    void Refresh();
    void RestoreDefaults();
    bool Match(const QString& sFilter); ///< marks rows whose texts hold the filter; true if there are any

private:
    int GetFontID() const; ///< of the selected row, -1 if none is
    void ShowSelected();
    void Change(bool FamilyChosen);
    QWidget* MakeEditor();

    QTreeWidget* m_pList;
    QFontComboBox* m_pFamily;
    QSpinBox* m_pSize;
    QCheckBox* m_pBold;
    QCheckBox* m_pItalic;
    QLabel* m_pSample;
};
