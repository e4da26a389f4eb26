// CFilterHeaderView, the frame of an item window with a filter bar: a row of editors aligned with the columns
// of the tree view below. CFilterHeaderDialog asks for the filter of one column.
#pragma once
#include "views/framework/dialog.h"

#include <QTimer>
#include <QWidget>

class CModelViewWindow;
class CTreeView;
class QLineEdit;

class CFilterHeaderView : public QWidget {
    Q_OBJECT

public:
    CFilterHeaderView(CModelViewWindow* pWindow, CTreeView* pView);

    void SetBarShown(bool Shown);
    bool IsBarShown() const;
    bool HasEditFocus() const; ///< the focus is in one of the editors
    void UpdateEditors();                   ///< one editor a column, at the columns' places
    QLineEdit* GetEditor(int Column) const; ///< null for an unknown column
    void ClearAllFilters();
    void ShowFilterDialog(int Column);

protected:
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;

private slots:
    void OnEditTimerTimeout();

private:
    void ShowEditorMenu(int Column, const QPoint& GlobalPos);
    void SetColumnFilter(int Column, const QString& sText);

    CModelViewWindow* m_pWindow;
    CTreeView* m_pView;
    QWidget* m_pBar = nullptr;
    QList<QLineEdit*> m_Editors;
    QTimer m_EditTimer; ///< a burst of keys filters once
    QList<int> m_EditedColumns;
};

class CFilterHeaderDialog : public CDialog {
    Q_OBJECT

public:
    CFilterHeaderDialog(const QString& sColumn, bool IsNumeric, QWidget* pParent);

    void SetText(const QString& sText);
    void SetRange(const QString& sMin, const QString& sMax);
    QString GetText() const;
    QString GetMin() const;
    QString GetMax() const;

private:
    QLineEdit* m_pEditText = nullptr;
    QLineEdit* m_pEditMin = nullptr;
    QLineEdit* m_pEditMax = nullptr;
};
