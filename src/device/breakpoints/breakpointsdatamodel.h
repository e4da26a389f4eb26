// CBreakpointsDataModel: breakpoints as the user thinks of them, in source lines and conditions. It turns lines into
// instruction breakpoints, mirrors the device's lists, decides whether a hit may halt, and sends everything again
// after a connect. GUI thread.
//
//   CBreakpointsDataModel::Get().SetSourceBreakpoint(Loc, BP_STATE_ON, BP_TYPE_ANY);
//   connect(&CBreakpointsDataModel::Get(), &CBreakpointsDataModel::Changed, this, ...);
#pragma once
#include "device/breakpoints/breakpoint.h"
#include "device/breakpoints/breakpointhooks.h"
#include "device/queue/deviceeventlistener.h"

#include <QList>
#include <QMap>
#include <QObject>

/// A piece of the "Extras" text: key words and values are painted in different colours.
struct BP_EXTRA {
    QString Text;
    bool IsValue = false;
};

class CBreakpointsDataModel : public QObject, public CDeviceEventListener {
    Q_OBJECT
public:
    static CBreakpointsDataModel& Get();

    // ---- Records: copies, a default record (BP_STATE_OFF) when there is none ----------------------------
    CBreakpoint GetBreakpoint(U32 Addr) const;
    CBreakpoint GetBreakpoint(const CSrcLoc& Loc) const; ///< the column does not count
    CBreakpoint FindBreakpoint(const QString& sText) const; ///< hexadecimal address first, else source location
    QList<CBreakpoint> GetBreakpoints(bool WithDerived) const; ///< by address, then the source ones by line
    QList<WP> GetWatchpoints() const { return m_Watchpoints; }
    QList<TP> GetTracepoints() const { return m_Tracepoints; }
    bool IsSet(U32 Addr, BP_STATES State, BP_TYPES Type) const;
    bool IsSet(const CSrcLoc& Loc, BP_STATES State, BP_TYPES Type) const;
    bool HasBreakpointOnLine(const CSrcLoc& Loc) const; ///< an instruction breakpoint of its own lies in the line
    static QList<BP_EXTRA> GetExtras(const CBreakpoint& Record);
    static QString ExtrasText(const CBreakpoint& Record);

    // ---- Source lines ----------------------------------------------------------------------------------
    /// The first address of each run of code that a line was compiled to.
    static QList<U32> GetDerivedAddrs(const CSrcLoc& Loc);
    /// The line itself when it has code or its file is out of date, else the next line with code.
    static CSrcLoc GetCodeLine(const CSrcLoc& Loc);
    /// GetCodeLine, with a warning when that is another line than the one the user pointed at.
    static CSrcLoc GetCodeLineWarning(const CSrcLoc& Loc);
    void SetSourceBreakpoint(const CSrcLoc& Loc, BP_STATES State, BP_TYPES Type);
    void ClearSourceBreakpoint(const CSrcLoc& Loc);
    void ClearAll(); ///< all source and instruction breakpoints

    // ---- Conditions and extras -------------------------------------------------------------------------
    void EditBreakpoint(const CBreakpoint& Record);
    /// Whether the hit at an address may halt. What was counted so far is the device's.
    bool EvalHit(U32 Addr);
    /// Script, messages; for a halt for any reason.
    void OnBreakpointHalt(U32 PC);

    // ---- Session ---------------------------------------------------------------------------------------
    /// Sets a record that a session has kept, waits for the device to take it, and applies its extras.
    void RestoreBreakpoint(const CBreakpoint& Record);
    void ResendBreakpoints();
    /// The program has been written; sends what waited for it. An empty path does nothing.
    void OnDataFileDownloaded(const QString& sPath);
    void UpdateFromDevice();

    void OnDeviceConnectDone(CONNECT_MODES Mode) override;
    void OnDeviceDisconnectDone() override { UpdateFromDevice(); }
    void OnDeviceHaltDone(U32, HALT_REASONS) override { UpdateFromDevice(); }
    void OnDeviceResetDone(U32 NewPC, RESET_MODES Mode) override;
    void OnDeviceResetBPsDone() override { UpdateFromDevice(); }
    void OnDeviceBPStateChanged() override { UpdateFromDevice(); }
    void OnDeviceWPStateChanged() override { UpdateFromDevice(); }
    void OnDeviceTPStateChanged() override { UpdateFromDevice(); }
    void OnDeviceEvalBPCondition(U32 Addr) override;

signals:
    void Changed(); ///< records or their states are new; windows and margins refresh

private:
    CBreakpointsDataModel();

    static U32 _GetKey(const CSrcLoc& Loc) { return (Loc.File + 713) * 31 + Loc.Line; }
    bool _EditInstructionBreakpoint(const CBreakpoint& Record);
    void _EditSourceBreakpoint(const CBreakpoint& Record);
    void _Resend(bool WithType, BP_TYPES Type);
    void _ClearLeftAddrs(U32 Key, const QList<U32>& Addrs);
    void _MirrorInstructions();
    void _MirrorSources();
    bool _EvalBPCondition(CBreakpoint& Record);
    bool _IsTaskMatch(const QString& sTask) const;
    void _OnVarChanged(int VarID, I64 Value);

    QMap<U32, CBreakpoint> m_Instructions; ///< by address, one for each entry of the device's list
    QMap<U32, CBreakpoint> m_Sources;      ///< by _GetKey
    QMap<U32, QList<U32>> m_SourceAddrs;   ///< by _GetKey: where a source breakpoint was last set
    QList<U32> m_NewAddrs;                 ///< entries of the device that the last mirroring has met for the first time
    QList<WP> m_Watchpoints;
    QList<TP> m_Tracepoints;
    bool m_SendsAfterDownload = false;
};
