// CCallStackWindow, the frames of the visible call stack. It doesn't unwind: it starts the stack's work,
// shows what arrives frame by frame, and lets the user pick the frame that all windows use.
#pragma once
#include "views/debug/callstackmodel.h"
#include "views/framework/modelviewwindow.h"

class CCallStackWindow : public CModelViewWindow {
    Q_OBJECT

public:
    explicit CCallStackWindow(QWidget* pParent = nullptr);
    QString GetViewParam(const QString& sCommand) const override;

    void Clear() override;
    void Update(U32 NewPC) override;
    void SetPreference(int SysVarID, I64 Value) override;
    bool IsEmpty() const override;
    bool IsUpdatePending() const override { return m_IsUnwinding || CModelViewWindow::IsUpdatePending(); }
    CCallStackDataModel* GetStackModel() const { return m_pStack; }
    void SelectFrame(int Index); ///< makes a frame the one that all windows use

    void OnDeviceEvalBPCondition(U32 Addr) override;
    void OnDeviceSetTargetExecStateDone(U64 PC, U64 SP) override;
    void OnDeviceResetDone(U32 NewPC, RESET_MODES Mode) override;
    void OnDeviceResumeDone(RESUME_MODES Mode) override;
    void OnDeviceHaltDone(U32 NewPC, HALT_REASONS Reason) override;
    void OnDeviceStepped(U32 NewPC) override;
    void OnDeviceWriteAccess() override;

signals:
    void CallStackChanged();

public slots:
    void OnItemClicked(QModelIndex ViewIndex) override;
    void OnItemDoubleClicked(QModelIndex ViewIndex) override;
    void OnCallFrameEvaluated(int Index) override;
    void OnCallStackUnwinded() override;
    void OnNextFrameUnwinded();
    void OnBacktraceSelectionChanged(I64 InstIdx) override;
    void OnOpened() override;
    void OnContentChanged() override;
    void OnActionCurrFrameOnTopTriggered();

protected:
    void FillContextMenu(QMenu* pMenu, const QModelIndex& SourceIndex) override;
    void UpdateActions() override;

private:
    void StartUnwind();
    void ResetSelectedFrame();
    void ApplyLayout();

    CCallStackDataModel* m_pStack = nullptr;
    QAction* m_pActionOnTop = nullptr;
    bool m_IsUnwinding = false;
};
