// The window "Local Data": the variables of the selected call frame as a tree.
#pragma once
#include "views/framework/modelviewwindow.h"

class CLocalsViewModel;

class CLocalsWindow : public CModelViewWindow {
    Q_OBJECT

public:
    explicit CLocalsWindow(QWidget* pParent = nullptr);
    QString GetViewParam(const QString& sCommand) const override;

    void Clear() override; ///< forgets the function too
    void UpdateItems() override;
    bool IsChangeHighlighted(int Column) const override;
    bool PrepareText(int Depth) override;
    QString GetEmptyWindowText(DEBUG_STATES State) const override;

    void OnDeviceResumeDone(RESUME_MODES Mode) override;

public slots:
    void OnCallFrameEvaluated(int Index) override;
    void OnCallStackUnwinded() override;
    void OnItemDoubleClicked(QModelIndex ViewIndex) override;

private:
    void RefreshRows();
    QString GetFrameFunction() const; ///< of the selected frame; empty if nothing is known

    CLocalsViewModel* m_pModel = nullptr;
};
