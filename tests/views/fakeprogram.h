// A program that exists only as tables: one source file with code lines, breakpoints and a call stack.
#pragma once
#include "views/debug/debugviewhooks.h"
#include "views/framework/windowenv.h"

#include <QFileInfo>
#include <QMap>

/// Line L of the file has code from 0x08000000 + 16 * L on, two to four instructions long.
struct CFakeProgram {
    static constexpr U32 BASE = 0x08000000;
    static constexpr U32 FILE_NO = 77;
    QString sPath = QStringLiteral(VANTREL_SOURCE_DIR "/tests/views/blinky.c");
    QList<U32> CodeLines{20, 21, 22, 24, 25, 26, 28, 29, 30, 31, 35, 37, 38, 40, 41, 42};
    QMap<U32, U32> Breakpoints; ///< state by line
    QMap<U32, U32> InstBreakpoints; ///< state by address
    QList<VIEW_FRAME> Frames;
    int SelectedFrame = 0;
    int NumUnwound = 0;
    bool HasMinimumOnly = false;
    QList<QPair<QString, QStringList>> Commands;
    bool Connected = false;
    bool Halted = false;
    U32 PC = ADDR_NONE;
    QMap<U32, U64> Regs;
    int NumRegReads = 0;

    static U32 GetAddr(U32 Line) { return BASE + 16 * Line; }
    CSrcLoc GetLoc(U32 Addr) const
    {
        const U32 Line = (Addr - BASE) / 16;
        return Addr >= BASE && CodeLines.contains(Line) && (Addr - BASE) % 16 < 8 ? CSrcLoc(FILE_NO, Line) : CSrcLoc();
    }
    void SetFrames()
    {
        Frames.clear();
        auto Add = [this](const char* sName, U32 Line, U32 SP, U32 Size, const QString& sReturn) {
            VIEW_FRAME Frame;
            Frame.sFunction = QLatin1String(sName);
            Frame.PC = GetAddr(Line);
            Frame.SP = SP;
            Frame.FrameSize = Size;
            Frame.IsPCValid = true;
            Frame.Loc = CSrcLoc(FILE_NO, Line);
            Frame.sReturn = sReturn;
            Frames.append(Frame);
        };
        Add("_Toggle", 30, 0x20000FD8, 16, QStringLiteral("R14: 0x08000290"));
        Add("main", 41, 0x20000FE8, 24, QStringLiteral("[CFA-4]: 0x080001A0"));
    }

    void Install()
    {
        WINDOW_ENV Env;
        Env.IsConnected = [this] { return Connected; };
        Env.IsHalted = [this] { return Halted; };
        Env.GetPC = [this] { return PC; };
        Env.PerformCommand = [this](const QString& sCommand, const QStringList& Params) {
            Commands.append({sCommand, Params});
            return 0;
        };
        SetWindowEnv(Env);
        DEBUG_VIEW_HOOKS Hooks;
        InstallTables(Hooks);
        InstallCode(Hooks);
        InstallStack(Hooks);
        SetDebugViewHooks(Hooks);
    }

private:
    void InstallTables(DEBUG_VIEW_HOOKS& Hooks)
    {
        Hooks.GetSrcLoc = [this](U32 Addr) { return GetLoc(Addr); };
        Hooks.GetLineRanges = [this](CSrcLoc Loc) {
            return Loc.File == FILE_NO && CodeLines.contains(Loc.Line) ? QList<CAddrRange>{CAddrRange(GetAddr(Loc.Line), 8)} : QList<CAddrRange>();
        };
        Hooks.GetFileNo = [this](const QString& sFile) { return sFile == sPath || sFile == QLatin1String("blinky.c") ? FILE_NO : 0xFFFFFFFFu; };
        Hooks.GetFilePath = [this](U32 File) { return File == FILE_NO ? sPath : QString(); };
        Hooks.GetSrcLocText = [](CSrcLoc Loc) { return Loc.File == FILE_NO ? QStringLiteral("blinky.c:%1").arg(Loc.Line) : QString(); };
        Hooks.GetFileFuncs = [](U32) {
            return QList<VIEW_FUNC>{{QStringLiteral("SysTick_Handler"), {}, 20, 1}, {QStringLiteral("_IsDue"), {}, 24, 2},
                                    {QStringLiteral("_Toggle"), {}, 28, 3}, {QStringLiteral("main"), {}, 37, 4}};
        };
        Hooks.HasProgram = [] { return true; };
        Hooks.GetBreakpointOnLine = [this](CSrcLoc Loc) {
            VIEW_POINT Point;
            Point.Exists = Loc.File == FILE_NO && Breakpoints.contains(Loc.Line);
            Point.State = Breakpoints.value(Loc.Line);
            return Point;
        };
        Hooks.GetBreakpointAt = [this](U32 Addr) {
            VIEW_POINT Point;
            Point.Exists = InstBreakpoints.contains(Addr);
            Point.State = InstBreakpoints.value(Addr);
            return Point;
        };
        Hooks.GetBreakpoints = [this] {
            QList<VIEW_BREAKPOINT> List;
            for (auto it = Breakpoints.constBegin(); it != Breakpoints.constEnd(); ++it) {
                VIEW_BREAKPOINT Row;
                Row.State = *it;
                Row.sImpl = QStringLiteral("Hard");
                Row.Loc = CSrcLoc(FILE_NO, it.key());
                Row.Addr = GetAddr(it.key());
                Row.sLocation = QStringLiteral("blinky.c:%1").arg(it.key());
                List.append(Row);
            }
            return List;
        };
    }
    void InstallCode(DEBUG_VIEW_HOOKS& Hooks)
    {
        Hooks.HasCore = [] { return true; };
        Hooks.GetInstSize = [](U32 Addr) { return Addr % 8 == 4 ? 4u : 2u; };
        Hooks.GetMaxInstSize = [] { return 4u; };
        Hooks.GetSafeStartAddr = [](U32 Addr) { return Addr & ~7u; };
        Hooks.GetInst = [](U32 Addr, bool WithEncoding) {
            VIEW_INST Inst;
            Inst.Addr = Addr;
            Inst.Size = Addr % 8 == 4 ? 4 : 2;
            static const char* const aTexts[] = {"LDR    R3, [PC, #0x1C]    ; =_Led", "ADDS   R3, #1", "BL     0x08000190    ; _IsDue"};
            static const char* const aEncodings[] = {"4B07", "3301", "F7FF FFE4"};
            const int Kind = int(Addr % 8) / 2;
            Inst.sText = QLatin1String(aTexts[Kind]);
            if (WithEncoding) Inst.sEncoding = QLatin1String(aEncodings[Kind]);
            return Inst;
        };
        Hooks.GetLabelsAt = [](U32 Addr) {
            if (Addr == GetAddr(20)) return QStringList{QStringLiteral("SysTick_Handler")};
            if (Addr == GetAddr(24)) return QStringList{QStringLiteral("_IsDue")};
            if (Addr == GetAddr(28)) return QStringList{QStringLiteral("_Toggle")};
            return Addr == GetAddr(37) ? QStringList{QStringLiteral("main")} : QStringList();
        };
        Hooks.GetSrcLinesAt = [this](U32 Addr) {
            const CSrcLoc Loc = GetLoc(Addr);
            return Loc.IsValid() && Addr == GetAddr(Loc.Line) ? QList<CSrcLoc>{Loc} : QList<CSrcLoc>();
        };
        Hooks.GetSrcLineText = [](CSrcLoc Loc) { return QStringLiteral("source line %1;").arg(Loc.Line); };
        Hooks.GetRegGroups = [] {
            QList<VIEW_REG_GROUP> Groups{{QStringLiteral("Current CPU Registers"), QStringLiteral("Core registers of the CPU"), {}}};
            for (U32 i = 0; i < 16; i++) {
                const QString sName = i < 13 ? QStringLiteral("R%1").arg(i) : QStringList{QStringLiteral("SP"), QStringLiteral("LR"), QStringLiteral("PC")}[int(i) - 13];
                Groups[0].Regs.append({sName, QString(), 32, i});
            }
            Groups.append({QStringLiteral("Special Registers"), QString(), {{QStringLiteral("XPSR"), QStringLiteral("Program status"), 32, 16}, {QStringLiteral("PRIMASK"), QString(), 8, 19}}});
            return Groups;
        };
        Hooks.ReadRegs = [this](const QList<U32>& Idxs, QList<U64>& Values, QList<bool>& Valid) {
            NumRegReads++;
            for (U32 Idx : Idxs) {
                Values.append(Regs.value(Idx, 0x1000u * Idx));
                Valid.append(Idx != 19);
            }
            return true;
        };
    }
    void InstallStack(DEBUG_VIEW_HOOKS& Hooks)
    {
        Hooks.GetNumFrames = [this] { return NumUnwound; };
        Hooks.GetFrame = [this](int i) { return i >= 0 && i < Frames.size() ? Frames[i] : VIEW_FRAME(); };
        Hooks.GetSelectedFrame = [this] { return SelectedFrame; };
        Hooks.SelectFrame = [this](int i) { SelectedFrame = i; };
        Hooks.GetStopText = [this] { return NumUnwound == Frames.size() ? QStringLiteral("no unwinding symbols at 0x080001A0") : QString(); };
        Hooks.StartUnwind = [this] { NumUnwound = 0; };
        Hooks.UnwindNext = [this](bool OnlyMinimum) {
            if (OnlyMinimum) HasMinimumOnly = true;
            else if (NumUnwound < Frames.size()) NumUnwound++;
        };
        Hooks.InvalidateStack = [this] { NumUnwound = 0; };
        Hooks.GetCallSites = [this] {
            QList<CSrcLoc> Sites;
            for (int i = 1; i < NumUnwound; i++) Sites.append(Frames[i].Loc);
            return Sites;
        };
        Hooks.IsOnStack = [this](U32 Addr) {
            for (int i = 1; i < NumUnwound; i++)
                if (Frames[i].PC == Addr) return true;
            return false;
        };
    }
};
