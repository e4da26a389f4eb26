// CMessageBox, every question and notice of the program, with the memory of "Do not show again".
//
//   if (CMessageBox::Ask(MSGBOX_STOP_DEBUGGING) == QDialogButtonBox::Yes) ...
//   CMessageBox::ShowInfo(sTitle, sText);
//
// A program that runs without a user sets an interceptor, which prints a box and picks the answer.
// Main thread only.
#pragma once
#include "app/services/types.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <functional>

class QAbstractButton;
class QCheckBox;
class QLabel;

/// The standard boxes, in table order.
enum MSGBOX_IDS : int {
    MSGBOX_RESET_CODE_PROFILE,
    MSGBOX_INST_CACHE_NOT_INITIALIZED,
    MSGBOX_SETTING_LOCKED, ///< title: the setting's name
    MSGBOX_RELOAD_PROGRAM,
    MSGBOX_STOP_DEBUGGING,
    MSGBOX_SOURCE_OUT_OF_DATE,
    MSGBOX_DOWNLOAD_PROGRAM,
    MSGBOX_SOURCES_MODIFIED,
    MSGBOX_EDIT_DOCUMENT,
    MSGBOX_CONNECTION_LOST,
    MSGBOX_SAVE_PROJECT,
    MSGBOX_SAVE_DOCUMENT,        ///< text argument: file name
    MSGBOX_SAVE_DOCUMENTS,       ///< text argument: file names, one a line
    MSGBOX_PROJECT_NOT_SAVED,    ///< text argument: reason
    MSGBOX_BREAK_SYMBOL_UNKNOWN, ///< text argument: symbol
    MSGBOX_CLEAR,                ///< title: the action's text; text argument: postfix
    NUM_MSGBOXES
};

/// Modes of the check box beside the buttons; other positive numbers are hours.
enum MSGBOX_MODES : int {
    MSGBOX_MODE_NONE = 0,
    MSGBOX_MODE_NEVER_AGAIN = -1,
    MSGBOX_MODE_REMEMBER = -2,
    MSGBOX_MODE_TODAY = 24
};

class CMessageBox : public QDialog {
    Q_OBJECT

public:
    using BUTTON = QDialogButtonBox::StandardButton;
    using BUTTONS = QDialogButtonBox::StandardButtons;
    /// Answers a box in the user's place: title, text and buttons offered; one of the buttons, or 0 for the
    /// default.
    using INTERCEPTOR = std::function<int(const QString& sTitle, const QString& sText, BUTTONS Buttons)>;

    CMessageBox(const QString& sTitle, const QString& sText, const QString& sIcon, BUTTONS Buttons, int Mode,
                QWidget* pParent = nullptr);

    /// Shows a standard box. sTitleArg and sTextArg stand in for what its texts leave open. Returns the
    /// button.
    static BUTTON Ask(MSGBOX_IDS ID, const QString& sTextArg = {}, const QString& sTitleArg = {});
    /// Any other box, by the same rules.
    static BUTTON ShowBox(const QString& sTitle, const QString& sText, BUTTONS Buttons,
                          int Mode = MSGBOX_MODE_NONE, const QString& sIcon = {});
    static void ShowInfo(const QString& sTitle, const QString& sText)
    {
        ShowBox(sTitle, sText, QDialogButtonBox::Ok);
    }
    /// The question box with "Yes and do not show again": 1 for Yes and the third button, 0 for No, 2
    /// otherwise.
    static int AskWithThird(MSGBOX_IDS ID);

    static void SetInterceptor(INTERCEPTOR Interceptor); ///< an empty one restores the dialogs
    static const INTERCEPTOR& GetInterceptor();          ///< empty while a user answers
    static void ResetMemory();                           ///< forgets every "Do not show again"
    static void
    SetCheckBoxAllowed(std::function<bool()> Allowed); ///< PREF_DIALOG_SHOW_DNSA; default: allowed
    static BUTTON GetDefaultButton(BUTTONS Buttons);   ///< Yes, Ok, Save, Ignore, or the first offered
    static QString GetButtonName(int Button);          ///< "Yes", "No", "Cancel", "OK", ...
    static QStringList GetButtonNames(BUTTONS Buttons);
    static int FindButton(const QString& sName,
                          BUTTONS Buttons); ///< ignoring case and "&"; 0 for none offered

    BUTTON Show(); ///< runs the box, or answers at once from memory or interceptor

public slots:
    void OnButtonClicked(QAbstractButton* pButton);

protected:
    void showEvent(QShowEvent* pEvent) override;
    void paintEvent(QPaintEvent* pEvent) override;

private:
    bool AnswerFromMemory(BUTTON& Answer) const;
    void StoreAnswer(int Mode) const;
    void FitText(); ///< a long text goes over several lines
    void AddThirdButton();

    QString m_sTitle;
    QString m_sText;
    BUTTONS m_Buttons;
    int m_Mode;
    BUTTON m_Pressed = QDialogButtonBox::NoButton;
    QLabel* m_pLabelText = nullptr;
    QCheckBox* m_pCheckBox = nullptr;
    QDialogButtonBox* m_pButtonBox = nullptr;
};
