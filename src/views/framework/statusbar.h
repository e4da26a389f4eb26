// CStatusBar, the line at the bottom of the main window: status, progress with cancel, caret, connection.
//
//   CStatusBar::Get().StartProgress(0, 100);
//   while (!CStatusBar::Get().WasCanceled() && ...) CStatusBar::Get().SetProgressValue(n);
//   CStatusBar::Get().EndProgress();
//
// Setters only store; a 50 ms timer moves what changed to the labels, so a burst of calls costs one repaint.
// Main thread only.
#pragma once
#include <QStatusBar>
#include <QTimer>

class QFrame;
class QLabel;
class QProgressBar;
class QToolButton;

class CStatusBar : public QStatusBar {
    Q_OBJECT

public:
    static CStatusBar& Get(); ///< the main window's one; made on first use, owned by whoever shows it
    explicit CStatusBar(QWidget* pParent = nullptr);
    ~CStatusBar() override;

    void SetStatusMessage(const QString& sText);
    void SetProgressMessage(const QString& sText); ///< stands in the status label while a progress runs
    void SetConnectionInfo(const QString& sText);
    void SetActiveWindowStatus(const QString& sText);
    /// Maximum not above Minimum shows a busy bar. What nobody can cancel shows no button for it.
    void StartProgress(int Minimum, int Maximum, bool CanCancel = true);
    void SetProgressValue(int Value);
    void EndProgress();

    bool WasCanceled() const { return m_Canceled; } ///< since the last StartProgress()
    bool IsProgressRunning() const { return m_ProgressRunning; }
    bool IsCancelOffered() const { return m_ProgressRunning && m_CanCancel && !m_Canceled; }
    QString GetStatusMessage() const { return m_sStatus; }
    QString GetConnectionInfo() const { return m_sConnection; }
    QString GetShownStatus() const; ///< the text the status label shows or is about to show
    void Flush();                   ///< moves everything to the widgets now

signals:
    void Canceled(); ///< by the cancel button or its key

public slots:
    void OnButtonCancelClicked();
    void OnTimerTimeout();

protected:
    void paintEvent(QPaintEvent* pEvent) override;

private:
    void Schedule();

    QString m_sStatus;
    QString m_sProgress;
    QString m_sTemporary;
    QString m_sConnection;
    QString m_sWindowStatus;
    int m_Value = 0;
    int m_Minimum = 0;
    int m_Maximum = 0;
    bool m_ProgressRunning = false;
    bool m_CanCancel = false;
    bool m_Canceled = false;
    QTimer m_Timer;
    QLabel* m_pLabelStatus = nullptr;
    QFrame* m_pFrameProgress = nullptr;
    QProgressBar* m_pProgressBar = nullptr;
    QToolButton* m_pButtonCancel = nullptr;
    QLabel* m_pLabelWindowStatus = nullptr;
    QLabel* m_pLabelConnection = nullptr;
};
