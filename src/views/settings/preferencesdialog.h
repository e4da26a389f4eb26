// The preferences: a tree of pages with a search, and the page that is chosen.
//
//   CPreferencesDialog::Open(pMainWindow);     // returns at once; a second call brings the dialog to the
//   front
//
// A change is a command, carried out and echoed at once, so that it can be seen in the open windows. OK keeps
// what was changed, Cancel takes it back, Apply makes it what a later Cancel returns to.
#pragma once
#include "views/framework/dialog.h"
#include "views/settings/preferencepages.h"
#include "views/settings/settingsbaseline.h"

#include <array>

class CColorsPage;
class CFontsPage;
class CVarsPage;
class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QStackedWidget;
class QTreeWidget;
class QTreeWidgetItem;

class CPreferencesDialog : public CDialog {
    Q_OBJECT
public:
    /// Opens the dialog over a window, which is blocked meanwhile. The dialog deletes itself.
    static CPreferencesDialog* Open(QWidget* pParent);

    explicit CPreferencesDialog(QWidget* pParent = nullptr);

    void ShowPage(int Page);
    int GetPage() const;

public slots:
    void done(int Result) override;

private:
    void BuildTree();
    void BuildPages();
    void BuildButtons();
    void OnCurrentPageChanged();
    void OnFilterChanged(const QString& sFilter);
    void OnSettingsChanged();
    void RestoreDefaults();
    void RefreshPages();
    void ResetDialogMemory();

    CSettingsBaseline m_Baseline;
    QLineEdit* m_pFilter = nullptr;
    QTreeWidget* m_pTree = nullptr;
    QLabel* m_pTitle = nullptr;
    QStackedWidget* m_pStack = nullptr;
    QDialogButtonBox* m_pButtons = nullptr;
    std::array<QTreeWidgetItem*, NUM_PREFERENCE_PAGES> m_apItem{};
    std::array<CVarsPage*, NUM_PREFERENCE_PAGES> m_apVars{}; ///< null for fonts, colours and heads
    CFontsPage* m_pFonts = nullptr;
    CColorsPage* m_pColors = nullptr;
};
