// CDeviceStepping: source and instruction steps. They are made of single machine instructions and of runs to a
// hidden breakpoint, and decide from the program tables when they are over.
//
//   DEVICE_RegisterStepping();      // once at start, behind DEVICE_RegisterTarget()
//   CDevice::Get().StepOverAsync();
//
// A step ends inside its job, after single steps, or resumes the target and ends later, in the halt sequence,
// which asks CompleteSrcStepOnHiddenBP. All runs on the device worker, the target halted.
#pragma once
#include "device/queue/device.h"
#include "device/target/devicetarget.h"
#include "program/elf/elf.h"
#include "program/tables/addrrange.h"
#include "program/tables/srcloc.h"

/// Registers the executors of the step jobs and takes the part of the halt sequence. Main thread, once.
void DEVICE_RegisterStepping();

/// Machine instructions of one step, over all its stages.
inline constexpr U32 MAX_STEP_INSTS = 1'000;

/// The situation in which a source step began. It outlives the step's job.
struct SRC_STEP_CONTEXT {
    U64 PC = 0;
    U64 SP = 0;
    U64 ReturnAddr = 0;
    U8 PCStatus = 0; ///< status bytes: 0 means valid
    U8 SPStatus = 0;
    U8 ReturnAddrStatus = 0;
    U32 SrcFile = 0;
    U32 SrcLine = 0;
    ELF_SYM_HANDLE Function = 0;
    ELF_SYM_HANDLE ReturnFunction = 0;
    U32 NumSteps = 0;              ///< machine instructions so far
    U64 aVisitedPC[MAX_STEP_INSTS] = {}; ///< PC before each, in order
};

class CDeviceStepping {
public:
    static CDeviceStepping& Get();

    int StepInst();                    ///< 0, or -1
    int StepInstBasic();               ///< one instruction without any report: 0 or the library's answer, -1
    int StepInto();                    ///< 0, or -1
    int StepIntoSimple();              ///< 0
    int StepOver(bool DoStoreContext); ///< 0, -1, or 1 when the step goes on in the background

    enum OVER_ANSWERS : int {
        OVER_DONE = 0,      ///< a new line, a user breakpoint, or no line information
        OVER_ENTERED = 1,   ///< a function was entered; ReturnAddr holds where it comes back to
        OVER_CIRCULAR = 2,
        OVER_MAX_STEPS = 3,
        OVER_STOPPED = -1,  ///< without a verdict: a failed step, the stop flag, or 1000 instructions
    };
    int StepOverSimple(U32 MaxSingleSteps);
    int StepOut();       ///< 0, -1, or 1 when the step goes on in the background
    int StepOutSimple(); ///< 0
    int CompleteSrcStepOnHiddenBP(U32 PC); ///< 1 when the step goes on, else 0

private:
    CDevice& _Dev() const { return CDevice::Get(); }
    DEVICE_STATE& _State() const { return CDevice::Get().State; }
    CDeviceTarget& _Target() const { return CDeviceTarget::Get(); }
    void _StoreContext();
    int _Finish();
    int _RunTo(U64 Addr, U32 PendingJob);
    bool _StepAndRead(U64* pPC, U64* pSP);
    bool _HasLineInfo(const CAddrRange& Range) const;
    bool _IsUserBPOnNewLine(U32 PC, const CSrcLoc& Loc, U32 File, U32 Line) const;
    bool _IsNewLine(U32 StartPC, U32 PC, const CSrcLoc& Loc, U32 File, U32 Line) const;
    void _SetReturnAddr(U64 CallAddr);
    int _GetNextLineAddrInFunction(U32 FuncAddr, const CSrcLoc& Loc, U32* pAddr) const;
    int _OverRound(U64* pPC, U64* pSP, U32 MaxSingleSteps, bool* pIsOver);

    SRC_STEP_CONTEXT m_Context;
};
