// CRegisterWindow, the registers of the selected call frame as a tree of groups; values can be edited while
// halted.
#pragma once
#include "views/debug/registermodel.h"
#include "views/framework/modelviewwindow.h"

class CRegisterWindow : public CModelViewWindow {
    Q_OBJECT

public:
    explicit CRegisterWindow(QWidget* pParent = nullptr,
                             const QString& sName = QStringLiteral("Registers 1"));
    QString GetViewParam(const QString& sCommand) const override;

    void Rebuild(); ///< takes the groups of the core in use; at first the first one is unfolded
    void Clear() override;
    QString GetDisplayName() const override;
    bool IsColumnEditable(int Column) const override { return Column == 1; }
    bool IsChangeHighlighted(int Column) const override { return Column == 1; }
    CRegistersDataModel* GetRegisterModel() const { return m_pRegisters; }

    void OnDeviceConnectDone(CONNECT_MODES Mode) override;
    void OnDeviceDisconnectDone() override;
    void OnDeviceCPUModeChanged(U32 NewMode) override;
    void OnDeviceReadRegDone(U32 BrylloRegIdx, U64 RegValue) override;
    void OnDeviceReadRegFailed(U32 BrylloRegIdx) override;
    void OnDeviceReadRegsDone(U32 Cnt, U32* paBrylloRegIdxs, U64* paRegVals, U8* paRegStatus) override;
    void OnDeviceReadRegsFailed(U32 Cnt, U32* paBrylloRegIdxs) override;

public slots:
    void OnCallFrameEvaluated(int Index) override;
    void OnPluginLoaded(QString sFilePath, int Type) override;
    void OnPluginReconfigured(QString sFilePath, int Type) override;

protected:
    void FillContextMenu(QMenu* pMenu, const QModelIndex& SourceIndex) override;

private:
    bool IsCurrentFrameSelected() const;
    void UpdateWindowTitle();

    int m_ShownFrame = 0; ///< the call frame evaluated last
    CRegistersDataModel* m_pRegisters = nullptr;
};
