// CWelcomeScreen: what a start without a project offers: an empty project, a new one, one from the disk, or one of
// those used lately.
//
//   CWelcomeScreen::SELECTION Choice = CWelcomeScreen::Ask(RecentProjects, this);
//   if (Choice.Result == WELCOME_OPEN_RECENT) Open(Choice.sPath);
#pragma once
#include <QDialog>
#include <QStringList>

class QMenu;
class QToolButton;
class QVBoxLayout;

/// What the user chose; also the result code of the dialog.
enum WELCOME_RESULTS : int {
    WELCOME_EMPTY_PROJECT = 0, ///< also when the dialog is dismissed
    WELCOME_NEW_PROJECT = 1,
    WELCOME_OPEN_PROJECT = 2,
    WELCOME_OPEN_RECENT = 3,
};

class CWelcomeScreen : public QDialog {
    Q_OBJECT

public:
    struct SELECTION {
        int Result = WELCOME_EMPTY_PROJECT; ///< WELCOME_RESULTS
        QString sPath;                      ///< of the recent project
    };

    /// RecentProjects: paths, newest first.
    explicit CWelcomeScreen(const QStringList& RecentProjects, QWidget* pParent = nullptr);

    SELECTION GetSelection() const { return {result(), m_sSelected}; }
    /// Runs the dialog. Without a user the interceptor of the message boxes sees it and an empty project is taken.
    static SELECTION Ask(const QStringList& RecentProjects, QWidget* pParent);

public slots:
    void OnButtonOpenRecentClicked();
    void OnRecentProjectSelected(QAction* pAction);

protected:
    void keyPressEvent(QKeyEvent* pEvent) override;

private:
    QToolButton* AddButton(QVBoxLayout* pLayout, const char* sName, const char* sText, const char* sIcon);

    QMenu* m_pRecentMenu = nullptr;
    QString m_sSelected;
};
