// What the debug views ask: places of the program, instructions, breakpoints, frames, registers and values.
#include "app/shell/breakpointdialog.h"
#include "app/shell/localsreader.h"
#include "app/shell/mainwindow.h"
#include "app/shell/sourcelines.h"
#include "app/shell/wiring.h"
#include "core/cache/core.h"
#include "core/host/corecalls.h"
#include "core/host/corehost.h"
#include "device/breakpoints/breakpointsdatamodel.h"
#include "device/queue/device.h"
#include "device/target/datamanager.h"
#include "device/target/devicetarget.h"
#include "program/eval/expression.h"
#include "program/tables/prog.h"
#include "program/unwind/callstack.h"
#include "program/unwind/regset.h"
#include "project/finder/filefinder.h"
#include "registers/svd/cpuregisters.h"
#include "views/debug/debugviewhooks.h"
#include "views/debug/localswindow.h"
#include "views/debug/registerwindow.h"
#include "views/debug/sourcewindow.h"

#include <QFile>
#include <QFileInfo>

namespace {

QString BPTypeText(U32 Type)
{
    static const char* const TEXTS[] = {"Any", "Hard", "Soft", "Flash", "RAM", "Pending", "Mixed"};
    return Type < std::size(TEXTS) ? QString::fromLatin1(TEXTS[Type]) : QString();
}

// ---- Program tables ------------------------------------------------------------------------------------

QList<CAddrRange> GetLineRanges(CSrcLoc Loc)
{
    QList<CAddrRange> Ranges;
    Loc.Col = 0;
    for (const U32 Addr : PROG_GetAddrs(Loc)) {
        // A line ends where the next one begins; code behind the last line has no mapped end.
        U32 End = 0;
        if (PROG_GetNextLineAddr(Addr, &End) != 0) End = Addr + 2;
        if (!Ranges.isEmpty() && Addr < Ranges.last().End()) continue;
        Ranges.append(CAddrRange(Addr, End - Addr));
    }
    return Ranges;
}

/// Registers of an outer frame. Views know registers by the plug-in's ids, frames by the unwinder's indexes.
bool ReadFrameRegs(int Index, const QList<U32>& RegIds, QList<U64>& Values, QList<bool>& Valid)
{
    const CCallStack& Stack = CCallStack::GetInstance();
    const CCallFrame& Frame = Stack.GetFrame(Index);
    if (Frame.IsEmpty()) return false;
    const U32 NumRegs = std::min(UNWIND_GetNumRegs(), Core_GetStaticInfo().NumRegs);
    QHash<U32, U32> RegOfId;
    for (U32 Reg = 0; Reg < NumRegs; Reg++)
        if (const U32 Id = Core_GetRegId(Reg); Id != 0xFFFFFFFFu && !RegOfId.contains(Id)) RegOfId.insert(Id, Reg);
    for (const U32 Id : RegIds) {
        const auto it = RegOfId.constFind(Id);
        const bool Known = it != RegOfId.constEnd() && Stack.GetRegStatus(Frame, *it) == 0;
        Values.append(Known ? Stack.GetRegValue(Frame, *it) : 0);
        Valid.append(Known);
    }
    return true;
}

QList<VIEW_FUNC> GetFileFuncs(U32 File)
{
    QList<VIEW_FUNC> Funcs;
    // The compiler may have run on Windows.
    const QString sFile = QFileInfo(PROG_GetFilePath(File).replace(u'\\', u'/')).fileName();
    for (const ELF_SYM_HANDLE h : PROG_GetFileFunctions(File)) {
        VIEW_FUNC Func;
        Func.sName = PROG_GetSymName(h, PROG_NAME_PLAIN);
        const QString sQualified = PROG_GetSymName(h, PROG_NAME_QUALIFIED);
        if (const qsizetype Pos = sQualified.lastIndexOf(QStringLiteral("::")); Pos > 0) Func.sScope = sQualified.left(Pos);
        // A function without a class or namespace is named after its file: in that file it has no scope.
        if (Func.sScope == sFile) Func.sScope.clear();
        Func.Line = PROG_GetSymSrcLoc(h).Line;
        Func.hFunc = h;
        Funcs.append(Func);
    }
    return Funcs;
}

void WireProgram(DEBUG_VIEW_HOOKS& Hooks)
{
    Hooks.GetSrcLoc = [](U32 PC) { return PROG_GetFirstSrcLoc(PC); };
    Hooks.GetLineRanges = GetLineRanges;
    Hooks.GetFileNo = [](const QString& sPath) { return PROG_GetFile(sPath); };
    Hooks.GetFilePath = [](U32 File) { return PROG_GetFilePath(File); };
    Hooks.ResolvePath = [](const QString& sPath) { return CFileFinder::Get().Resolve(sPath); };
    Hooks.GetNextCodeLoc = [](CSrcLoc Loc) { return PROG_GetNextLineWithCode(Loc); };
    Hooks.GetSrcLocText = [](CSrcLoc Loc) { return PROG_GetSrcLocText(Loc); };
    Hooks.GetFileFuncs = GetFileFuncs;
    Hooks.GetFunctionName = [](U32 Addr) {
        const ELF_SYM_HANDLE h = PROG_GetFunctionAt(Addr, 0);
        return h ? PROG_GetSymName(h, PROG_NAME_QUALIFIED) : QString();
    };
    Hooks.GetFunctionAt = [](U32 Addr) { return PROG_GetFunctionAt(Addr, 1); };
    Hooks.HasProgram = [] { return PROG_IsLoaded(); };
    Hooks.GetEntryPoint = [] {
        const ELF_SYM_HANDLE hMain = PROG_GetMainFunction();
        const I64 Addr = hMain ? PROG_GetSymAddr(hMain) : -1;
        return Addr >= 0 ? U32(Addr) : PROG_GetEntryPoint();
    };
    Hooks.GetLabelsAt = [](U32 Addr) {
        QStringList Names;
        const char* sName = nullptr;
        if (Core::GetLabelAt(Addr, true, Core::LABEL_ANY, &sName, nullptr, nullptr) != Core::LABEL_NONE && sName)
            Names << QString::fromUtf8(sName);
        return Names;
    };
    Hooks.GetSrcLinesAt = [](U32 Addr) {
        if (!PROG_HasExactSrcLoc(Addr)) return QList<CSrcLoc>();
        const CSrcLoc Loc = PROG_GetExactSrcLoc(Addr);
        // An entry for another column of the same line would print the line once more.
        const CSrcLoc Before = Addr > 0 ? PROG_GetFirstSrcLoc(Addr - 1) : CSrcLoc();
        return Before.IsValid() && Before.IsSameLine(Loc) ? QList<CSrcLoc>() : QList<CSrcLoc>{Loc};
    };
    Hooks.GetSrcLineText = GetSrcLineText;
}

void WireInstructions(DEBUG_VIEW_HOOKS& Hooks)
{
    Hooks.HasCore = [] { return Core_IsLoaded(); };
    Hooks.GetSafeStartAddr = [](U32 Addr) { return U32(Core::GetSafeStartAddr(Addr, nullptr)); };
    Hooks.GetInstSize = [](U32 Addr) { return U32(std::max<U8>(Core::GetInstSize(Addr), 1)); };
    Hooks.GetMaxInstSize = [] { return std::max<U32>(Core_GetStaticInfo().MaxInstLen, 1); };
    Hooks.GetInst = [](U32 Addr, bool WithEncoding) {
        VIEW_INST Inst;
        Inst.Addr = Addr;
        Inst.Size = std::max<U32>(Core::DecodeText(Addr), 1);
        Inst.sText = Core::GetCachedText(Addr);
        U8 ac[16];
        if (WithEncoding && Inst.Size <= sizeof(ac) && PROG_ReadBytes(Addr, Inst.Size, ac) == int(Inst.Size)) {
            // Half words as the core fetches them, first one first.
            for (U32 i = 0; i + 1 < Inst.Size; i += 2)
                Inst.sEncoding += QStringLiteral("%1%2 ").arg(ac[i + 1], 2, 16, QLatin1Char('0')).arg(ac[i], 2, 16, QLatin1Char('0')).toUpper();
            Inst.sEncoding = Inst.sEncoding.trimmed();
        }
        return Inst;
    };
}

// ---- Breakpoints ---------------------------------------------------------------------------------------

VIEW_POINT MakePoint(const CBreakpoint& Record, bool IsAtStart)
{
    VIEW_POINT Point;
    Point.Exists = Record.State != BP_STATE_OFF;
    Point.State = Record.State;
    Point.IsAtStart = IsAtStart;
    return Point;
}

VIEW_POINT GetPointOnLine(CSrcLoc Loc)
{
    const CBreakpointsDataModel& Model = CBreakpointsDataModel::Get();
    if (const CBreakpoint Record = Model.GetBreakpoint(Loc); Record.State != BP_STATE_OFF) return MakePoint(Record, true);
    bool First = true;
    for (const CAddrRange& Range : GetLineRanges(Loc)) {
        for (const CBreakpoint& Record : Model.GetBreakpoints(false))
            if (!Record.Loc.IsValid() && Range.Contains(U32(Record.Addr)))
                return MakePoint(Record, First && U32(Record.Addr) == Range.Start);
        First = false;
    }
    return {};
}

VIEW_BREAKPOINT MakeRow(const CBreakpoint& Record)
{
    VIEW_BREAKPOINT Row;
    Row.State = Record.State;
    Row.sExtras = CBreakpointsDataModel::ExtrasText(Record);
    Row.Loc = Record.Loc;
    if (Record.Loc.IsValid()) {
        Row.sLocation = PROG_GetSrcLocText(Record.Loc);
        // What the target really uses; a line whose addresses differ says so.
        if (CDevice::Get().IsConnected())
            Row.sImpl = BPTypeText(Record.PermittedImpl == BP_TYPE_MIXED ? U32(BP_TYPE_MIXED) : Record.ActualImpl);
        return Row;
    }
    Row.Addr = U32(Record.Addr);
    Row.sLocation = FormatAddr(Row.Addr);
    if (CDevice::Get().IsConnected()) Row.sImpl = BPTypeText(Record.ActualImpl);
    return Row;
}

QList<VIEW_BREAKPOINT> GetBreakpointRows()
{
    QList<VIEW_BREAKPOINT> Rows;
    const CBreakpointsDataModel& Model = CBreakpointsDataModel::Get();
    for (const CBreakpoint& Record : Model.GetBreakpoints(false)) {
        VIEW_BREAKPOINT Row = MakeRow(Record);
        if (Record.Loc.IsValid()) {
            const QList<U32> Addrs = CBreakpointsDataModel::GetDerivedAddrs(Record.Loc);
            for (const U32 Addr : Addrs)
                if (const CBreakpoint Derived = Model.GetBreakpoint(Addr); Derived.State != BP_STATE_OFF)
                    Row.Derived.append(MakeRow(Derived));
        }
        Rows.append(Row);
    }
    for (const WP& Wp : Model.GetWatchpoints()) {
        VIEW_BREAKPOINT Row;
        Row.Kind = VIEW_BREAKPOINT::DATA;
        Row.State = Wp.State;
        Row.Addr = Wp.Addr;
        Row.sExpression = QString::fromUtf8(Wp.Expression);
        Row.sLocation = Row.sExpression.isEmpty() ? FormatAddr(Wp.Addr) : Row.sExpression;
        const auto Hex = [](U64 Value) { return QStringLiteral("0x%1").arg(Value, 0, 16); };
        Row.CommandParams = QStringList{FormatAddr(Wp.Addr), Hex(Wp.AddrMask), QString::number(Wp.AccessType),
                                        QString::number(Wp.AccessSize), Hex(Wp.MatchValue), Hex(U32(Wp.ValueMask))};
        Rows.append(Row);
    }
    for (const TP& Tp : Model.GetTracepoints()) {
        VIEW_BREAKPOINT Row;
        Row.Kind = Tp.Op == TP_OP_START ? VIEW_BREAKPOINT::TRACE_START : VIEW_BREAKPOINT::TRACE_STOP;
        Row.State = Tp.State;
        Row.Addr = U32(Tp.Addr);
        Row.sLocation = Tp.HasSourceInfo ? PROG_GetSrcLocText(PROG_GetFirstSrcLoc(Row.Addr)) : FormatAddr(Row.Addr);
        Rows.append(Row);
    }
    return Rows;
}

void WireBreakpoints(DEBUG_VIEW_HOOKS& Hooks)
{
    Hooks.GetBreakpointOnLine = GetPointOnLine;
    Hooks.GetBreakpointAt = [](U32 Addr) { return MakePoint(CBreakpointsDataModel::Get().GetBreakpoint(Addr), true); };
    Hooks.GetTracepointIn = [](U32 Start, U64 End) {
        VIEW_POINT Point;
        for (const TP& Tp : CBreakpointsDataModel::Get().GetTracepoints()) {
            if (Tp.Addr < Start || Tp.Addr >= End) continue;
            Point.Exists = true;
            Point.State = Tp.State;
            Point.IsAtStart = Tp.Addr == Start;
            Point.TraceOp = Tp.Op;
        }
        return Point;
    };
    Hooks.GetBreakpoints = GetBreakpointRows;
    Hooks.EditBreakpoint = [](const VIEW_BREAKPOINT& Row) {
        if (Row.Kind == VIEW_BREAKPOINT::CODE) CBreakpointDialog::Edit(Row.sLocation, &CMainWindow::Get());
    };
}

// ---- Call stack ----------------------------------------------------------------------------------------

VIEW_FRAME MakeFrame(int Index)
{
    const CCallStack& Stack = CCallStack::GetInstance();
    const CCallFrame& Frame = Stack.GetFrame(Index);
    VIEW_FRAME View;
    if (Frame.IsEmpty()) return View;
    View.sFunction = Stack.GetFunctionName(Frame);
    View.sReturn = Stack.GetReturnText(Frame);
    View.IsPCValid = Stack.IsPCValid(Frame);
    if (View.IsPCValid) View.PC = Stack.GetPC(Frame);
    if (Stack.IsSPValid(Frame)) View.SP = Stack.GetSP(Frame);
    View.FrameSize = Frame.FrameSize;
    if (View.IsPCValid) View.Loc = Index == 0 ? PROG_GetFirstSrcLoc(U32(View.PC)) : Stack.GetCallSite(Frame);
    return View;
}

void WireCallStack(DEBUG_VIEW_HOOKS& Hooks)
{
    Hooks.StartUnwind = [] { CCallStack::GetInstance().Unwind(); };
    Hooks.UnwindNext = [](bool OnlyMinimum) {
        CCallStack& Stack = CCallStack::GetInstance();
        if (OnlyMinimum)
            Stack.FinishUnwind();
        else
            Stack.UnwindNextFrame();
    };
    Hooks.GetNumFrames = [] { return CCallStack::GetInstance().GetFrameCount(); };
    Hooks.GetFrame = MakeFrame;
    Hooks.GetStopText = [] { return CCallStack::GetInstance().GetStopText(); };
    Hooks.GetSelectedFrame = [] { return CCallStack::GetInstance().GetSelectedFrame(); };
    Hooks.SelectFrame = [](int Index) { CCallStack::GetInstance().EvalFrame(Index); };
    Hooks.IsOnStack = [](U32 Addr) { return CCallStack::GetInstance().IsPcOnStack(Addr); };
    Hooks.GetCallSites = [] {
        const CCallStack& Stack = CCallStack::GetInstance();
        QList<CSrcLoc> Sites;
        for (int i = 1; i < Stack.GetFrameCount(); i++) Sites.append(Stack.GetCallSite(Stack.GetFrame(i)));
        return Sites;
    };
    Hooks.FindFrame = [](U32 PC) {
        const CCallStack& Stack = CCallStack::GetInstance();
        for (int i = 0; i < Stack.GetFrameCount(); i++)
            if (const CCallFrame& Frame = Stack.GetFrame(i); Stack.IsPCValid(Frame) && U32(Stack.GetPC(Frame)) == PC) return i;
        return -1;
    };
    Hooks.InvalidateStack = [] { CCallStack::GetInstance().Invalidate(); };
}

// ---- Registers and values ------------------------------------------------------------------------------

void WireValues(DEBUG_VIEW_HOOKS& Hooks, CMainWindow& Main)
{
    Hooks.GetRegGroups = [] {
        QList<VIEW_REG_GROUP> Groups;
        for (const CPU_REGISTER_GROUP& Group : GetCpuRegisterGroups()) {
            VIEW_REG_GROUP View{Group.Name, Group.Description, {}, Group.IsModeDependent};
            U32 Number = 0;
            for (const CPU_REGISTER& Register : Group.Registers) {
                // The plug-in gives the registers of the present mode by their numbers.
                const U32 Index = Group.IsModeDependent ? Number++ : Register.Index;
                const U32 RegId = Register.Id.isEmpty() ? Core_GetRegId(Index) : 0xFFFFFFFFu;
                if (RegId != 0xFFFFFFFFu) View.Regs.append({Register.Name, Register.Description, Register.Bits, RegId});
            }
            if (!View.Regs.isEmpty()) Groups.append(View);
        }
        return Groups;
    };
    Hooks.GetCPUModeName = [] {
        return Core_IsLoaded() ? Core_GetCPUModeName(CDevice::Get().GetCPUMode()) : QString();
    };
    Hooks.ReadRegs = [&Main](const QList<U32>& RegIds, QList<U64>&, QList<bool>&) {
        for (CWindow* pWindow : Main.GetWindows())
            if (auto* pRegisters = qobject_cast<CRegisterWindow*>(pWindow))
                CDeviceDataManager::Get().ReadRegCached(pRegisters, U32(RegIds.size()), RegIds.constData());
        return false; // known values have come as an event by now
    };
    Hooks.ReadFrameRegs = ReadFrameRegs;
    Hooks.GetLocals = [](const QStringList& Path) { return CLocalsReader::Get().GetRows(Path); };
    Hooks.GetTooltip = [](const QString& sExpr, CSrcLoc) {
        if (!CDevice::Get().IsHalted()) return QString();
        const EVAL_TEXT Text = EVAL_GetText(sExpr);
        if (!Text.sError.isEmpty()) return QString();
        // A structure as a whole has no value, and a constant no place.
        const QString sValue = Text.sValue.isEmpty() ? QString() : QStringLiteral(" = ") + Text.sValue;
        const QString sPlace = Text.sLocation.isEmpty() ? QString() : QStringLiteral(" @ ") + Text.sLocation;
        return QString(sExpr + sValue + u'\n' + Text.sType + sPlace);
    };
}

} // namespace

QString GetSrcLineText(CSrcLoc Loc)
{
    // What is open may have been edited; it is what the user sees.
    const CSourceWindow* pSource = CMainWindow::Exists() ? CMainWindow::Get().GetSessionWindows().pSource : nullptr;
    if (pSource && pSource->HasDocument(Loc.File)) return pSource->GetActiveDocTextLine(Loc);
    return CSourceLines::Get().GetLine(PROG_GetFilePath(Loc.File), Loc.Line);
}

void WireDebugViews(CMainWindow& Main)
{
    DEBUG_VIEW_HOOKS Hooks;
    WireProgram(Hooks);
    WireInstructions(Hooks);
    WireBreakpoints(Hooks);
    WireCallStack(Hooks);
    WireValues(Hooks, Main);
    SetDebugViewHooks(Hooks);
    CLocalsReader::Get().SetWindow(Main.GetSessionWindows().pLocals);
}
