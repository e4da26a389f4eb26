// The page of colours: the scheme, a list of all colours, and the editor of the selected one.
#pragma once
#include "app/services/types.h"

#include <QWidget>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

class CColorsPage : public QWidget {
    Q_OBJECT
public:
    explicit CColorsPage(QWidget* pParent = nullptr);

    void Refresh();
    void RestoreDefaults();
    bool Match(const QString& sFilter); ///< marks rows whose texts hold the filter; true if there are any

private:
    int GetColorID() const; ///< of the selected row, -1 for a group's head
    QTreeWidgetItem* FindItem(int ColorID) const;
    void FillList();
    void ShowSelected();
    void Change(U32 Value);
    void Choose();
    QWidget* MakeEditor();
    QWidget* MakeSchemeRow();

    QComboBox* m_pScheme;
    QTreeWidget* m_pList;
    QPushButton* m_pChoose;
    QLineEdit* m_pValue;
    QPushButton* m_pDefault;
    QLabel* m_pSample;
};
