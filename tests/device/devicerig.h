// The rig of the target tests: the real device stack with the core plug-in and the test program on the simulated
// device. One a process.
#pragma once
#include "device/queue/device.h"
#include "device/queue/deviceeventlistener.h"
#include "device/target/devicetarget.h"
#include "program/tables/srcloc.h"

#include <QStringList>
#include <functional>

/// Writes down the reports, in words.
class CReports : public CDeviceEventListener {
public:
    QStringList Heard;
    U32 LastHaltPC = 0;
    QString Take() { return std::exchange(Heard, {}).join(' '); }
    void OnDeviceConnectDone(CONNECT_MODES m) override { Heard << QString("connect%1").arg(m); }
    void OnDeviceConnectFailed(CONNECT_MODES) override { Heard << "connectfailed"; }
    void OnDeviceDisconnectDone() override { Heard << "disconnect"; }
    void OnDeviceResumeDone(RESUME_MODES m) override { Heard << QString("resume%1").arg(m); }
    void OnDeviceHaltDone(U32 PC, HALT_REASONS r) override { LastHaltPC = PC; Heard << QString("halt%1").arg(r); }
    void OnDeviceResetDone(U32, RESET_MODES m) override { Heard << QString("reset%1").arg(m); }
    void OnDeviceResetFailed(U32, RESET_MODES) override { Heard << "resetfailed"; }
    void OnDeviceRunToSymbolDone(U32) override { Heard << "runtosymbol"; }
    void OnDeviceStepInstDone(U32) override { Heard << "stepinst"; }
    void OnDeviceStepIntoDone(U32) override { Heard << "stepinto"; }
    void OnDeviceStepOverDone(U32) override { Heard << "stepover"; }
    void OnDeviceStepOutDone(U32) override { Heard << "stepout"; }
    void OnDeviceConnectionLost() override { Heard << "lost"; }
    void OnDeviceEndDownloadDone(const char*, DOWNLOAD_MODES m) override { Heard << QString("download%1").arg(m); }
    void OnDeviceEndDownloadFailed(const char*, DOWNLOAD_MODES, int c) override { Heard << QString("downloadfailed%1").arg(c); }
    void OnDeviceLogMsg(const char* s, U32 Flags) override { if (Flags & 6) Faults << s; }
    QStringList Faults; ///< warnings and errors
};

class CDeviceRig {
public:
    static CDeviceRig& Get();

    CReports* pReports = nullptr;
    CDevice& Dev() { return CDevice::Get(); }
    CDeviceTarget& Target() { return CDeviceTarget::Get(); }

    /// Library, core, program; once.
    bool SetUp();
    /// A connected target with the program in flash, reset and halted.
    bool Connect();
    void Disconnect();
    /// "Sim." and other commands of the library; false with the answer in the log.
    bool Sim(const char* sCmd);
    /// Delivers events until the condition holds, at most 10 s.
    bool WaitFor(const std::function<bool()>& Cond);
    bool WaitHalted();  ///< halted and nothing under way
    bool WaitSettled(); ///< no job, no event, no step under way
    bool RunTo(U32 Addr);

    U32 Line(const char* sMarker);   ///< of a "@marker" in the source
    U32 AddrOf(const char* sMarker); ///< first code address of that line
    U32 Func(const char* sName);
    CSrcLoc Loc(const char* sMarker);
    U32 CurrentLine();
    U32 ReadWord(U32 Addr);
    U32 Var(const char* sName); ///< value of a global
    U32 VarAddr(const char* sName);
};
