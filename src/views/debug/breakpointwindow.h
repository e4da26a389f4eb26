// The window "Break & Tracepoints": all breakpoints, data breakpoints and tracepoints in one tree. Every change
// goes through a command, so that it is logged and can be scripted; the rows follow the list of the device side.
//
//   auto* pWindow = new CBreakpointWindow;
//   connect(&Model, SIGNAL(Changed()), pWindow, SLOT(OnBreakpointsChanged()));
#pragma once
#include "views/debug/debugviewhooks.h"
#include "views/framework/modelviewwindow.h"

class CBreakpointsViewModel;
class QInputDialog;

class CBreakpointWindow : public CModelViewWindow {
    Q_OBJECT

public:
    explicit CBreakpointWindow(QWidget* pParent = nullptr);
    QString GetViewParam(const QString& sCommand) const override;

    QString GetEmptyWindowText(DEBUG_STATES State) const override;
    void Clear() override; ///< clears all points of the selected row's kind, code breakpoints if none is selected
    QString GetClearAllPostfix() const override; ///< what "Clear All" covers, by the selected row
    bool IsUpdatePending() const override { return false; } ///< the rows are known without the target

    void OnDeviceConnectDone(CONNECT_MODES Mode) override;
    void OnDeviceDisconnectDone() override;
    void OnDeviceBPStateChanged() override;
    void OnDeviceWPStateChanged() override;
    void OnDeviceTPStateChanged() override;

public slots:
    void OnBreakpointsChanged(); ///< fetches the rows anew; selection and unfolded rows stay
    void OnGuiInitComplete() override;
    void OnDataFileOpened(QString sFilePath) override;
    void OnDataFileDownloaded(QString sFilePath) override;
    void OnUpdateTimerTimeout() override;
    void OnItemClicked(QModelIndex ViewIndex) override;
    void OnItemDoubleClicked(QModelIndex ViewIndex) override;
    void OnSelectionChanged(QModelIndex Current, QModelIndex Previous) override;
    void OnSrcLocSelected(CSrcLoc Loc, int Type = 0) override;
    void OnInstSelected(I64 Addr) override;
    void OnDragDrop(QDropEvent* pEvent) override;
    void OnInputDialogValueChanged(QString sText);

    /// \name Actions of breakpoints, data breakpoints and tracepoints
    ///@{
    void OnActionSetTriggeredBP();
    void OnActionClearTriggeredBP();
    void OnActionEnableTriggeredBP();
    void OnActionDisableTriggeredBP();
    void OnActionEditDialogTriggeredBP();
    void OnActionSetDialogTriggeredBP();
    void OnActionClearAllTriggeredBP();
    void OnActionSetTriggeredWP();
    void OnActionClearTriggeredWP();
    void OnActionEnableTriggeredWP();
    void OnActionDisableTriggeredWP();
    void OnActionEditDialogTriggeredWP();
    void OnActionClearAllTriggeredWP();
    void OnActionSetStartTriggeredTP();
    void OnActionSetStopTriggeredTP();
    void OnActionClearTriggeredTP();
    void OnActionEnableTriggeredTP();
    void OnActionDisableTriggeredTP();
    void OnActionClearAllTriggeredTP();
    ///@}

protected:
    void FillContextMenu(QMenu* pMenu, const QModelIndex& SourceIndex) override;
    void UpdateActions() override;

private slots:
    void OnStateRequested(const VIEW_BREAKPOINT& Row, bool Enabled);

private:
    enum POINT_OPS { POINT_SET, POINT_CLEAR, POINT_ENABLE, POINT_DISABLE };

    void CreateActions();
    QAction* FindAction(const char* sName) const;
    void PerformPointCommand(const VIEW_BREAKPOINT& Row, POINT_OPS Op);
    void EditRow();
    static void PerformClearAll(U8 Kind); ///< VIEW_BREAKPOINT::KINDS
    void ConfirmClearAll(U8 Kind);        ///< asks first
    void ShowLocation(const VIEW_BREAKPOINT& Row);
    /// Sets or clears at a text: an address, "file:line" or the name of a symbol.
    void PerformOnText(const QString& sText);
    bool IsSetAt(const QString& sText) const;

    CBreakpointsViewModel* m_pModel = nullptr;
    VIEW_BREAKPOINT m_Edited;     ///< copy of the row selected last; it can be set again after it was cleared
    bool m_HasEdited = false;
    bool m_IsEditedDerived = false;
    bool m_IsEditedSet = false;   ///< the row still exists
    QInputDialog* m_pInputDialog = nullptr; ///< while it is open
    QString m_sLastInput;
};
