// The editor of the system variables that a user may change: a table of names and values.
//
//   CSysVarsEditor::Open(pMainWindow, [] { return SaveToProject(); });   // returns at once
//
// A value is changed by the command Edit.SysVar at once. Save also writes the values into the project.
#pragma once
#include "views/framework/dialog.h"

#include <functional>

class QTableWidget;
class QTableWidgetItem;

class CSysVarsEditor : public CDialog {
    Q_OBJECT
public:
    /// Writes the variables into the project; false if that failed, and the editor stays open.
    using SAVE_FUNCTION = std::function<bool()>;
    /// Opens the editor over a window, which is blocked meanwhile. The editor deletes itself.
    static CSysVarsEditor* Open(QWidget* pParent, SAVE_FUNCTION Save);

    explicit CSysVarsEditor(SAVE_FUNCTION Save, QWidget* pParent = nullptr);

protected:
    bool eventFilter(QObject* pObject, QEvent* pEvent) override;

private:
    void BuildTable();
    void Refresh();
    int GetVarID(int Row) const;
    void OnCellClicked(int Row, int Column);
    void OnCellChanged(QTableWidgetItem* pItem);
    void ShowValues(int Row); ///< the drop-down menu of a row with a value list
    void Edit(int VarID, const QString& sText);

    SAVE_FUNCTION m_Save;
    QTableWidget* m_pTable = nullptr;
};
