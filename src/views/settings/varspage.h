// A page of the preferences dialog whose controls each stand for one preference.
//
// A control carries its change out at once, as a command; Refresh() shows what stands in the table.
#pragma once
#include <QList>
#include <QWidget>
#include <functional>

class QFormLayout;
class QGroupBox;

class CVarsPage : public QWidget {
    Q_OBJECT
public:
    explicit CVarsPage(int Page, QWidget* pParent = nullptr);

    void Refresh();
    void RestoreDefaults();
    /// Marks the controls whose texts hold the filter; an empty one marks none. True if there are any.
    bool Match(const QString& sFilter);

private:
    struct CONTROL {
        int VarID;
        QWidget* pMarked;              ///< label or check box that shows a match
        QString Texts;                 ///< what a search looks in
        std::function<void()> Refresh; ///< shows the value of the table
    };

    QWidget* AddSwitch(int VarID);
    QWidget* AddList(int VarID);
    QWidget* AddNumber(int VarID);
    QWidget* AddBigNumber(int VarID);
    QWidget* AddSessionFlags(int VarID);
    void AddRow(QFormLayout* pForm, int VarID);
    void Change(int VarID, const QString& sValue);

    QList<CONTROL> m_Controls;
};
