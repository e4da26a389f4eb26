// The call stack of the halted target: turns registers and stack memory into a list of frames.
//
//   CCallStack& Stack = CCallStack::GetInstance();
//   Stack.Invalidate();                      // the target has halted
//   Stack.Unwind();                          // UnwindComplete() tells the end
//   for (int i = 0; i < Stack.GetFrameCount(); i++) Show(Stack.GetFunctionName(Stack.GetFrame(i)));
//
// Each frame needs reads of the target that answer later, so unwinding is a state machine: a step asks for one
// value, the answer runs the next step. It works on a second stack, the work stack, and the finished list is
// copied, so that a window never sees half of it. For each frame the core plug-in has the first word
// (exception frames), then the call frame information of the program, then the plug-in again, which may
// guess from the code. Inlined functions give frames of their own, with the stack pointer of their caller.
//
// Main thread only.
#pragma once
#include "app/services/types.h"
#include "program/symbols/locpieces.h"
#include "program/tables/srcloc.h"
#include "program/unwind/callframe.h"
#include "program/unwind/unwindhooks.h"

#include <QList>
#include <QObject>
#include <QString>
#include <memory>
#include <vector>

class CRegSet;

/// Why a stack ends; texts in GetStopText.
enum STOP_REASONS : U32 {
    STOP_NONE = 0,
    STOP_NO_CFA_RULE = 1,
    STOP_NO_RA_RULE = 2,
    STOP_BP_READ = 3,
    STOP_CFA_READ = 4,
    STOP_RA_READ = 5,
    STOP_CFA_LOC = 6,
    STOP_RA_LOC = 7,
    STOP_PC_RANGE = 8,
    STOP_RA_RANGE = 9,
    STOP_DEPTH = 10,
};

class CCallStack : public QObject {
    Q_OBJECT
public:
    /// The visible stack, which all windows read. Made on first use.
    static CCallStack& GetInstance();

    /// Ties the unwinder to the plug-in host; once at start.
    static void RegisterHooks();

    // ---- Frames ----
    int GetFrameCount() const { return static_cast<int>(m_aFrame.size()); }
    const CCallFrame& GetFrame(int Index) const;  ///< the empty frame for an index out of range
    const CCallFrame& GetTopFrame() const;        ///< the newest in the list; the empty frame if there is none
    int GetSelectedFrame() const { return m_SelectedFrame; } ///< -1 if none
    void SetSelectedFrame(int Index) { m_SelectedFrame = Index; }
    U32 GetMaxFrameSize() const { return m_MaxFrameSize; }   ///< bytes
    U32 GetStopReason() const { return m_StopReason; }       ///< STOP_REASONS
    U64 GetRegValue(const CCallFrame& Frame, U32 Reg) const; ///< 0 if the frame has no registers
    U8 GetRegStatus(const CCallFrame& Frame, U32 Reg) const; ///< 0 valid, else unknown
    U64 GetPC(const CCallFrame& Frame) const;
    U64 GetSP(const CCallFrame& Frame) const;
    bool IsPCValid(const CCallFrame& Frame) const;
    bool IsSPValid(const CCallFrame& Frame) const;
    int FindFunction(ELF_SYM_HANDLE hFunc) const; ///< lowest frame index, -1 if none
    bool IsPcOnStack(U32 PC) const;               ///< of a frame from index 1 on
    bool IsSrcLocOnStack(const CSrcLoc& Loc) const;
    CSrcLoc GetCallSite(const CCallFrame& Frame) const;
    QString GetFunctionName(const CCallFrame& Frame) const;
    QString GetReturnText(const CCallFrame& Frame) const;
    QString GetStopText() const;                  ///< text of the closing row

    // ---- Unwinding ----
    void Invalidate() { m_IsTopValid = false; }   ///< registers or memory have changed
    void Clear();                                 ///< no frames; pending answers are dropped
    void UpdateTopFrame();                        ///< reads the live registers into frame 0
    void Unwind();                                ///< starts anew; replaces whatever was going on
    void UnwindNextFrame();                       ///< answer to UnwindNextFrameDone: go on
    void FinishUnwind();                          ///< or: be content with the frames so far
    void SetDepthLimit(U32 Limit);                ///< frames; takes hold at the next unwind
    /// Reads the registers of a frame; EvalFrameDone tells the end. 0, 1 if the frame is the selected one
    /// already, -1 if it has no PC or SP or can't be read.
    int EvalFrame(int Index);
    /// The PC whose locations hold in a frame. Where a call is under way they are those of the call's last byte: compilers
    /// end there what the callee may change.
    U64 GetLocationPC(const CCallFrame& Frame) const;
    /// Evaluates a location in a frame: types 1 to 5 remain. A location of type 0 or without parts: failed.
    ELF_SYM_LOC ResolveLocation(const CCallFrame& Frame, const ELF_SYM_LOC& Loc) const;
    /// Where the stretches of a symbol's value are that doesn't lie in one place; empty if the location tells all.
    ELF_SYM_PIECES ResolvePieces(const CCallFrame& Frame, ELF_SYM_HANDLE hSym) const;

    // ---- Registers of a task that isn't running, in place of the target's ----
    /// NumRegs values by register index; TaskId 0 goes back to the target's registers.
    void SetTaskContext(U32 TaskId, U32 NumRegs, const U64* paValue, const U8* paStatus);
    U32 GetTaskContext() const { return m_TaskId; }
    /// 0 and the value; 1 when the task's set doesn't hold it; -1 without a task. RegId is the plug-in's.
    int GetTaskReg(U32 RegId, U64* pValue) const;

    // ---- Answers of the data manager and the device, main thread ----
    /// The number at the location, its lowest byte first on any target; null: the read failed.
    void OnReadLocDone(const ELF_SYM_LOC& Loc, U32 NumBytes, const U8* pData);
    void OnReadLocsDone(U32 FrameIdx, U32 Count, const U64* paValue, const U8* paStatus);
    void OnReadLocsFailed(U32 FrameIdx);

signals:
    void EvalFrameDone(int StackIdx);
    void EvalFrameFailed(int StackIdx);
    void UnwindNextFrameDone();
    void UnwindComplete();

private:
    /// What the outstanding read stands for.
    enum PENDING : U32 { PENDING_BASE_POINTER, PENDING_CFA, PENDING_RETURN_ADDR, PENDING_NONE };
    enum STEP_RESULT { STEP_END = -1, STEP_DONE = 0, STEP_PENDING = 1 };
    enum PART_RESULT { PART_OK, PART_EMPTY, PART_FAILED };
    class CFrameReader; ///< what expressions ask of a frame

    CCallStack(int StackIdx, CCallStack* pVisible);

    // Work stack.
    void _Start();
    void _Run();
    void _FrameStep();
    void _Finish();
    STEP_RESULT _EvalStep(CCallFrame& Frame);
    STEP_RESULT _Request(PENDING Pending, const ELF_SYM_LOC& Loc, U32 NumBytes);
    void _ApplyAnswer();
    void _ApplyReturnAddr(CCallFrame& Frame, U64 Value);
    bool _AddNextFrame();
    bool _AddCallerOfInlined(const CCallFrame& Frame, CCallFrame& Next);
    bool _AddCaller(const CCallFrame& Frame, CCallFrame& Next);
    void _FillRules(CCallFrame& Frame);
    void _SetFunction(CCallFrame& Frame);
    void _SetFrameBase(CCallFrame& Frame);
    void _SetTopBasePointer(CCallFrame& Frame);
    void _FailCFA(CCallFrame& Frame, STOP_REASONS Reason);
    void _SetStopReason(STOP_REASONS Reason);
    U64 _GetPlainSP(const CCallFrame& Frame) const;
    void _ReadStackedRegs(const CCallFrame& Frame, CRegSet& Next) const;

    // Visible stack.
    void _TakeOver(const CCallStack& Work);
    void _FillCallSites();

    // Locations.
    PART_RESULT _ResolvePart(const CCallFrame& Frame, const ELF_SYM_LOC_PART& Part, ELF_SYM_LOC_PART& Out) const;
    PART_RESULT _ResolveRegister(const CCallFrame& Frame, const ELF_SYM_LOC_PART& Part, ELF_SYM_LOC_PART& Out) const;
    /// What a register held when the function of a frame was called, by the caller's word. False if it says nothing.
    bool _ReadPassed(const CCallFrame& Frame, U32 Reg, ELF_SYM_LOC_PART* pOut, bool* pIsKnown) const;
    ELF_SYM_LOC _EvalExpression(const CCallFrame& Frame, const ELF_SYM_LOC& Loc) const;
    PART_RESULT _ResolveNested(const CCallFrame& Frame, const ELF_SYM_LOC_PART& Part, ELF_SYM_LOC_PART& Out) const;
    bool _ReadPart(const CCallFrame& Frame, const ELF_SYM_LOC_PART& Part, U64* pValue) const;
    CRegSet* _FindRegs(const CCallFrame& Frame) const;
    QString _GetLocText(const ELF_SYM_LOC& Loc) const;
    ELF_SYM_LOC _GetRule(const CCallFrame& Frame, U32 Reg) const;

    int m_StackIdx;                   ///< 0 visible, 1 work
    CCallStack* m_pVisible;           ///< where the work stack signals through; null for the visible one
    std::unique_ptr<CCallStack> m_pWork;
    std::vector<CCallFrame> m_aFrame; ///< index 0 is the innermost
    int m_SelectedFrame = -1;
    U32 m_StopReason = STOP_NONE;
    U32 m_MaxFrameSize = 0;
    U32 m_Pending = PENDING_NONE;
    ELF_SYM_LOC m_PendingLoc{};
    bool m_IsTopValid = false;
    QList<U32> m_aCallSitePC;         ///< of the frames from index 1 on
    QList<CSrcLoc> m_aCallSiteLoc;

    // Progress of the work stack. Answers and the window's wish to go on may come while a step runs; they
    // are noted and taken up by the loop, so that a long stack doesn't nest calls.
    bool m_IsRunning = false;
    bool m_HasAnswer = false;
    bool m_IsAnswerValid = false;
    U64 m_Answer = 0;
    enum { IDLE, EVALUATE, NEXT_FRAME, WAIT_FOR_WINDOW, FINISH } m_Phase = IDLE;

    U32 m_TaskId = 0;
    std::vector<U64> m_aTaskValue;
    std::vector<U8> m_aTaskStatus;
    std::vector<ELF_SYM_LOC> m_aEvalLoc; ///< locations of the EvalFrame under way
    int m_EvalFrame = -1;
};
