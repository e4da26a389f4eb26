// The unwinder against GDB: a program runs in QEMU, GDB stops it in several situations and tells frames and saved
// registers, and memory and registers of the stop are unwound by us. Where GDB gives up (code without frame
// information, the process stack, which QEMU doesn't show) the rest is given here.
#include "app/services/log.h"
#include "core/cache/core.h"
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "fakeprobe.h"
#include "gdbstops.h"
#include "objdump.h"
#include "program/tables/prog.h"
#include "program/unwind/callstack.h"

#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <cstring>

namespace {

constexpr int FRAME_INLINE = 2;
constexpr int FRAME_EXCEPTION = 4;

} // namespace

class tst_core_unwind : public QObject {
    Q_OBJECT
    QMap<QString, QList<STOP>> m_aaStop;
    STOP m_Stop;
    bool m_IsAsync = false;
    U64 m_TopReturnAddr = 0;
    int m_NumReads = 0;

    int ReadRam(U64 Addr, U32 Size, void* pBuffer) {
        if (Addr < RAM || Addr + Size > RAM + static_cast<U64>(m_Stop.aRam.size())) return -1;
        std::memcpy(pBuffer, m_Stop.aRam.constData() + (Addr - RAM), Size);
        return 0;
    }

    /// What the device answers for a location: a register, four bytes of memory, or a constant.
    int ReadLoc(const ELF_SYM_LOC& Loc, U64* pValue) {
        *pValue = 0;
        if (Loc.NumParts != 1) return -1;
        const ELF_SYM_LOC_PART& Part = Loc.aPart[0];
        if (Part.Type == ELF_LOC_CONST) *pValue = Part.Value;
        else if (Part.Type == ELF_LOC_REG || Part.Type == ELF_LOC_REG_OFFSET) *pValue = GetFakeProbe().aReg[Part.Reg];
        else if (Core_ReadReg(0, pValue) == 0 && Core_GetHooks().ReadElfSection(Part.Addr, 4, pValue) == 0) *pValue &= 0xFFFFFFFF;
        else { *pValue = 0; return ReadRam(Part.Addr, 4, pValue); }
        return 0;
    }

    void Answer(const ELF_SYM_LOC& Loc, U32 NumBytes) {
        U64 Value = 0;
        const bool IsRead = ReadLoc(Loc, &Value) == 0;
        CCallStack::GetInstance().OnReadLocDone(Loc, NumBytes, IsRead ? reinterpret_cast<const U8*>(&Value) : nullptr);
    }

    void Load(const QString& sName) {
        if (PROG_GetPath() == GetElf(sName)) return;
        QCOMPARE(PROG_Load(GetElf(sName)), 0);
        Core::ClearCache();
        QVERIFY(Core::AnalyzeProgram() > 400);
    }

    void TakeStop(const STOP& Stop) {
        m_Stop = Stop;
        for (int i = 0; i < Stop.aLive.size(); i++) GetFakeProbe().aReg[i] = Stop.aLive[i];
        const ELF_SYM_LIST aSym = PROG_FindSymbols("ProcessSP", false, true, false, true, false);
        U32 SP = 0;
        if (!aSym.isEmpty()) ReadRam(static_cast<U64>(PROG_GetSymAddr(aSym[0])), 4, &SP);
        GetFakeProbe().aReg[BRYLLO_REG_PSP] = SP;
        CCallStack::GetInstance().Invalidate();
    }

    void Unwind() {
        QSignalSpy Spy(&CCallStack::GetInstance(), &CCallStack::UnwindComplete);
        CCallStack::GetInstance().Unwind();
        for (int i = 0; i < 10000 && Spy.isEmpty(); i++) QCoreApplication::processEvents();
        QCOMPARE(Spy.size(), 1);
    }

    ELF_SYM_HANDLE FindLocal(const GDB_LOCAL& Local) {
        const CCallFrame& Frame = CCallStack::GetInstance().GetFrame(Local.Level);
        for (U32 i = 0; i < ELF_GetSymLocalCount(Frame.hFunc); i++) {
            const ELF_SYM_HANDLE h = ELF_GetSymLocal(Frame.hFunc, i);
            if (Local.sName == ELF_GetSymName(h) && PROG_GetSymSrcLoc(h).Line == Local.Line) return h;
        }
        return 0;
    }

    /// The value of a variable in a frame, or the address of an array.
    bool ReadLocal(const GDB_LOCAL& Local, U64* pValue) {
        const CCallStack& Stack = CCallStack::GetInstance();
        const CCallFrame& Frame = Stack.GetFrame(Local.Level);
        const ELF_SYM_LOC Loc = Stack.ResolveLocation(Frame, PROG_GetSymLoc(FindLocal(Local), static_cast<U32>(Stack.GetLocationPC(Frame))));
        *pValue = 0;
        U32 Pos = 0;
        for (U32 i = 0; i < Loc.NumParts; i++) {
            const ELF_SYM_LOC_PART& Part = Loc.aPart[i];
            const U32 Size = Part.Size ? Part.Size : Local.Size;
            U64 Value = Part.Type == ELF_LOC_CONST ? Part.Value : 0;
            if (Local.Size == 0) return *pValue = Part.Addr, Part.Type == ELF_LOC_MEM_FIXED;
            if (Part.Type == ELF_LOC_REG || Part.Type == ELF_LOC_REG_OFFSET) Value = GetFakeProbe().aReg[Part.Reg] + U64(I64(Part.Offset));
            else if (Part.Type == ELF_LOC_MEM_FIXED || Part.Type == ELF_LOC_MEM_ADDR_OFFSET) {
                if (ReadRam(Part.Addr, Size, &Value) != 0) return false;
                Value += U64(I64(Part.Offset));
            } else if (Part.Type != ELF_LOC_CONST) return false;
            if (Pos + Size > 8) return false;
            *pValue |= (Size < 8 ? Value & ((U64(1) << 8 * Size) - 1) : Value) << 8 * Pos;
            Pos += Size;
        }
        return Loc.NumParts > 0 && Pos >= Local.Size;
    }

    /// Compares the length of an array that is only known at run time. 1 if it was compared.
    int IsLength(const GDB_LOCAL& Local, const QByteArray& Context) {
        const CCallStack& Stack = CCallStack::GetInstance();
        const CCallFrame& Frame = Stack.GetFrame(Local.Level);
        const ELF_SYM_HANDLE h = FindLocal(Local);
        GDB_LOCAL Bound = Local;
        Bound.Size = 4;
        I64 Add = 0;
        const ELF_SYM_LOC Loc = Stack.ResolveLocation(Frame, ELF_GetArrayBoundLoc(h, 0, static_cast<U32>(Stack.GetLocationPC(Frame)), &Add));
        if (Loc.NumParts != 1) return 0;
        U32 Value = U32(Loc.aPart[0].Value);
        if (Loc.aPart[0].Type == ELF_LOC_MEM_FIXED && ReadRam(Loc.aPart[0].Addr, 4, &Value) != 0) return 0;
        if (Loc.aPart[0].Type == ELF_LOC_REG) Value = U32(GetFakeProbe().aReg[Loc.aPart[0].Reg]);
        if (int(Value) + int(Add) != Local.Length) QTest::qFail(Context + "length " + QByteArray::number(int(Value) + int(Add)), __FILE__, __LINE__);
        return 1;
    }

    QString GetName(const CCallFrame& Frame) { return PROG_GetSymName(Frame.hFunc, PROG_NAME_PLAIN); }

    /// GDB's frames without those of the exceptions themselves, up to where it gives up.
    QList<GDB_FRAME> GetExpected(int Index) {
        QList<GDB_FRAME> aFrame;
        for (const GDB_FRAME& Frame : m_Stop.aFrame) {
            if (Frame.Kind == FRAME_EXCEPTION && Frame.PC == 0xFFFFFFFD) break;
            if (Frame.Kind != FRAME_EXCEPTION) aFrame << Frame;
        }
        const auto Add = [&](const char* sName) { aFrame << GDB_FRAME{-1, sName, 0, {}}; };
        if (Index == 2) Add("CallNoFrameInfo"), Add("main");
        if (Index >= 4) Add("Interrupted"), Add("Thread"), Add("main");
        return aFrame;
    }

private slots:
    void initTestCase() {
        Core::RegisterHooks();
        CCallStack::RegisterHooks();
        CORE_HOOKS& Hooks = Core_GetHooks();
        Hooks.GetProjectPluginPath = [] { return QStringLiteral(CORE_PLUGIN_ARM); };
        Hooks.CanReadTarget = [] { return true; };
        Hooks.ReadTarget = [this](U64 Addr, U32 Size, void* p) { return ReadRam(Addr, Size, p); };
        UNWIND_HOOKS Unwinder;
        Unwinder.IsTargetHalted = [] { return true; };
        Unwinder.ReadMem = [this](U32 Addr, U32 Size, void* p) { return ReadRam(Addr, Size, p); };
        Unwinder.SetTopReturnAddr = [this](U64 Addr) { m_TopReturnAddr = Addr; };
        Unwinder.ReadLoc = [this](const ELF_SYM_LOC& Loc, U32 NumBytes) {
            m_NumReads++;
            if (m_IsAsync) {
                QTimer::singleShot(0, this, [this, Loc, NumBytes] { Answer(Loc, NumBytes); });
            } else {
                Answer(Loc, NumBytes);
            }
            return 0;
        };
        Unwinder.ReadLocs = [this](U32 Count, const ELF_SYM_LOC* paLoc, U32 Tag) {
            std::vector<U64> aValue(Count);
            std::vector<U8> aStatus(Count);
            for (U32 i = 0; i < Count; i++) aStatus[i] = ReadLoc(paLoc[i], &aValue[i]) != 0;
            QTimer::singleShot(0, this, [=] { CCallStack::GetInstance().OnReadLocsDone(Tag, Count, aValue.data(), aStatus.data()); });
            return 0;
        };
        UNWIND_SetHooks(Unwinder);
        QCOMPARE(Core_Load(0x030000FF), 0);
        for (const QString& s : {QStringLiteral("unwind_o0"), QStringLiteral("unwind_o2")}) {
            m_aaStop[s] = RunGdb(GetElf(s));
            QCOMPARE(m_aaStop[s].size(), NUM_STOPS);
        }
    }

    void Frames_data() {
        QTest::addColumn<QString>("Elf");
        QTest::addColumn<int>("Index");
        QTest::addColumn<bool>("IsAsync");
        for (const char* sElf : {"unwind_o0", "unwind_o2"}) {
            for (int i = 0; i < NUM_STOPS; i++) {
                for (bool IsAsync : {false, true}) QTest::addRow("%s stop %d %s", sElf, i, IsAsync ? "async" : "sync") << sElf << i << IsAsync;
            }
        }
    }

    void Frames() {
        QFETCH(QString, Elf);
        QFETCH(int, Index);
        QFETCH(bool, IsAsync);
        m_IsAsync = IsAsync;
        Load(Elf);
        TakeStop(m_aaStop[Elf][Index]);
        const QList<GDB_FRAME> aExpected = GetExpected(Index);
        Unwind();
        CCallStack& Stack = CCallStack::GetInstance();
        QStringList asOurs;
        QStringList asTheirs;
        for (int i = 0; i < aExpected.size(); i++) {
            asOurs << GetName(Stack.GetFrame(i));
            asTheirs << aExpected[i].sName;
        }
        QCOMPARE(asOurs.join(' '), asTheirs.join(' '));
        for (int i = 1; i < aExpected.size(); i++) {
            const CCallFrame& Younger = Stack.GetFrame(i - 1);
            const CCallFrame& Frame = Stack.GetFrame(i);
            const bool IsKnown = aExpected[i].Kind >= 0 && !Younger.IsInlined;
            const bool IsInterrupted = Younger.IsPluginFrame && Younger.ReturnAddrColumn == 15;
            QCOMPARE(Younger.IsInlined, aExpected[i - 1].Kind == FRAME_INLINE);
            if (IsKnown) QCOMPARE(Younger.ReturnAddr, U64(aExpected[i].PC));
            if (IsKnown && IsInterrupted) QCOMPARE(Stack.GetPC(Frame), U64(aExpected[i].PC));
            if (IsKnown && !IsInterrupted) QVERIFY(Stack.GetPC(Frame) < aExpected[i].PC && Stack.GetPC(Frame) + 4 >= aExpected[i].PC);
            if (Younger.IsInlined) QCOMPARE(Stack.GetSP(Frame), Stack.GetSP(Younger));
            else QCOMPARE(Stack.GetSP(Frame), Younger.CFA);
            QCOMPARE(U64(Younger.FrameSize), Younger.IsInlined ? 0 : Younger.CFA - Stack.GetSP(Younger) <= 100000 && Younger.CFA >= Stack.GetSP(Younger) ? Younger.CFA - Stack.GetSP(Younger) : 0);
        }
        QCOMPARE(m_TopReturnAddr, Stack.GetFrame(0).ReturnAddr);
    }

    /// The values that callee-saved registers have in older frames.
    void SavedRegisters_data() { Frames_data(); }

    void SavedRegisters() {
        QFETCH(QString, Elf);
        QFETCH(int, Index);
        QFETCH(bool, IsAsync);
        if (!IsAsync) return;
        m_IsAsync = true;
        Load(Elf);
        TakeStop(m_aaStop[Elf][Index]);
        Unwind();
        CCallStack& Stack = CCallStack::GetInstance();
        const QList<GDB_FRAME> aExpected = GetExpected(Index);
        QSignalSpy Spy(&Stack, &CCallStack::EvalFrameDone);
        int NumChecked = 0;
        for (int i = 1; i < aExpected.size() && aExpected[i].Kind >= 0; i++) {
            QCOMPARE(Stack.EvalFrame(i), 0);
            QTRY_COMPARE(Spy.size(), i);
            QCOMPARE(Stack.GetSelectedFrame(), i);
            for (int r = 0; r < aExpected[i].aSaved.size(); r++) {
                bool Ok = false;
                const U32 Expected = aExpected[i].aSaved[r].toUInt(&Ok, 16);
                if (!Ok) continue;
                QCOMPARE(int(Stack.GetRegStatus(Stack.GetFrame(i), static_cast<U32>(4 + r))), 0);
                if (Stack.GetRegValue(Stack.GetFrame(i), static_cast<U32>(4 + r)) != Expected) {
                    QFAIL(qPrintable(QStringLiteral("frame %1, R%2").arg(i).arg(4 + r)));
                }
                NumChecked++;
            }
        }
        QVERIFY(NumChecked >= 8);
        QCOMPARE(Stack.EvalFrame(Stack.GetSelectedFrame()), 1);
    }

    /// Values of variables in all frames, wherever the compiler has put them or whatever it computes them from.
    void Locals_data() {
        QTest::addColumn<QString>("Elf");
        for (const char* sElf : {"locals_gcc_o0_2", "locals_gcc_o0_5", "locals_gcc_o1_4", "locals_gcc_o2_5", "locals_clang_o0_4", "locals_clang_o1_5", "locals_clang_o2_5"})
            QTest::newRow(sElf) << sElf;
    }

    void Locals() {
        QFETCH(QString, Elf);
        m_IsAsync = false;
        QCOMPARE(PROG_Load(GetElf(Elf)), 0);
        Core::ClearCache();
        QVERIFY(Core::AnalyzeProgram() > 100);
        const QList<STOP> aStop = RunGdb(GetElf(Elf));
        QCOMPARE(aStop.size(), NUM_STOPS);
        int NumChecked = 0, NumLengths = 0;
        for (const STOP& Stop : aStop) {
            TakeStop(Stop);
            Unwind();
            for (const GDB_LOCAL& Local : Stop.aLocal) {
                if (Local.Level >= CCallStack::GetInstance().GetFrameCount()) continue;
                U64 Value = 0;
                const QByteArray Context = QStringLiteral("%1 %2 line %3: ").arg(Local.Level).arg(Local.sName).arg(Local.Line).toUtf8();
                if (Local.Length >= 0) NumLengths += IsLength(Local, Context);
                if (!ReadLocal(Local, &Value)) {
                    QVERIFY2(Local.sName == "big", Context + "unknown"); // clang keeps only half of it
                    continue;
                }
                NumChecked++;
                QVERIFY2(Value == Local.Value, Context + QByteArray::number(qulonglong(Value), 16) + " / " + QByteArray::number(qulonglong(Local.Value), 16));
            }
        }
        QVERIFY2(NumChecked > 30, qPrintable(QString::number(NumChecked)));
        // Where this one stops, its arrays have no place any more.
        QVERIFY(NumLengths > 0 || Elf == "locals_clang_o0_4");
    }

    /// The functions that an expansion lies in, wherever it begins: the address before it may belong to another one.
    void Expansions_data() {
        QTest::addColumn<QString>("Elf");
        for (const char* sElf : {"locals_gcc_o2_5", "locals_clang_o2_5", "pieces_gcc_o2_5", "pieces_clang_o2_4", "scopes_gcc_o2_5", "scopes_clang_o2_4", "entries_gcc_o2_5", "entries_clang_o2_5"}) QTest::newRow(sElf) << sElf;
    }

    void Expansions() {
        QFETCH(QString, Elf);
        m_IsAsync = false;
        QCOMPARE(PROG_Load(GetElf(Elf)), 0);
        Core::ClearCache();
        QVERIFY(Core::AnalyzeProgram() > 50);
        m_Stop = STOP();
        QList<U32> aPC;
        for (U32 i = 0; i < ELF_GetInlinedCount(ELF_GetCurrentFile()); i++) {
            for (const CAddrRange& Range : PROG_GetSymRanges(ELF_GetInlined(ELF_GetCurrentFile(), i))) {
                if (Range.Size) aPC << Range.Start;
            }
        }
        QByteArray aList;
        for (const U32 PC : std::as_const(aPC)) aList += QByteArray::number(PC, 16) + ' ';
        // A header for each address, then a name and a line for each level.
        const QByteArray aOutput = RunCommand("arm-none-eabi-addr2line -a -f -i -e '" + GetElf(Elf).toUtf8() + "' " + aList);
        QList<QStringList> aasTheirs;
        bool IsName = false;
        for (const QByteArray& aLine : aOutput.trimmed().split('\n')) {
            if (aLine.startsWith("0x")) aasTheirs << QStringList(), IsName = false;
            else if (IsName) aasTheirs.last() << QString::fromUtf8(aLine);
            IsName = !IsName;
        }
        QCOMPARE(aasTheirs.size(), aPC.size());
        QVERIFY(aPC.size() >= 2);
        CCallStack& Stack = CCallStack::GetInstance();
        QStringList asWrong;
        for (int i = 0; i < aPC.size(); i++) {
            GetFakeProbe().aReg[13] = RAM;
            GetFakeProbe().aReg[15] = aPC[i];
            Stack.Invalidate();
            Unwind();
            QStringList asOurs;
            for (int n = 0; n < aasTheirs[i].size() && n < Stack.GetFrameCount(); n++) asOurs << GetName(Stack.GetFrame(n));
            if (asOurs != aasTheirs[i]) asWrong << QStringLiteral("%1: %2 / %3").arg(aPC[i], 0, 16).arg(asOurs.join(' '), aasTheirs[i].join(' '));
        }
        QVERIFY2(asWrong.isEmpty(), qPrintable(asWrong.join('\n')));
    }

    void ExceptionNames() {
        m_IsAsync = false;
        Load("unwind_o2");
        TakeStop(m_aaStop["unwind_o2"][4]);
        Unwind();
        CCallStack& Stack = CCallStack::GetInstance();
        QStringList asName;
        for (int i = 0; i < Stack.GetFrameCount(); i++) asName << Stack.GetFunctionName(Stack.GetFrame(i));
        QVERIFY2(asName.contains("SysTick_Handler <SysTick>"), qPrintable(asName.join(", ")));
        QVERIFY2(asName.contains("PendSV_Handler <PendSV>"), qPrintable(asName.join(", ")));
    }

    void LookUps() {
        m_IsAsync = false;
        Load("unwind_o0");
        TakeStop(m_aaStop["unwind_o0"][0]);
        Unwind();
        CCallStack& Stack = CCallStack::GetInstance();
        const int Main = Stack.GetFrameCount() > 7 ? 7 : -1;
        QCOMPARE(GetName(Stack.GetFrame(Main)), QString("main"));
        QCOMPARE(Stack.FindFunction(Stack.GetFrame(4).hFunc), 3); // the innermost activation of a recursion
        QVERIFY(Stack.IsPcOnStack(static_cast<U32>(Stack.GetPC(Stack.GetFrame(Main)))));
        QVERIFY(!Stack.IsPcOnStack(static_cast<U32>(Stack.GetPC(Stack.GetFrame(0)))));
        QVERIFY(Stack.IsSrcLocOnStack(Stack.GetCallSite(Stack.GetFrame(Main))));
        // The line of an expansion's caller is that of the call, told by the debug information.
        QCOMPARE(Stack.GetCallSite(Stack.GetFrame(3)), PROG_GetSymSrcLoc(Stack.GetFrame(2).hFunc));
        QCOMPARE(Stack.GetReturnText(Stack.GetFrame(1)), QString("<inline>"));
        QVERIFY(Stack.GetReturnText(Stack.GetFrame(3)).endsWith(QStringLiteral(": %1").arg(Stack.GetFrame(3).ReturnAddr, 8, 16, QLatin1Char('0')).toUpper()));
        QVERIFY(Stack.GetFrame(-1).IsEmpty() && Stack.GetFrame(99).IsEmpty());
        QVERIFY(Stack.GetMaxFrameSize() >= Stack.GetFrame(4).FrameSize);
    }

    void DepthLimit() {
        m_IsAsync = false;
        Load("unwind_o0");
        CCallStack& Stack = CCallStack::GetInstance();
        Stack.SetDepthLimit(3);
        TakeStop(m_aaStop["unwind_o0"][0]);
        Unwind();
        QCOMPARE(Stack.GetFrameCount(), 3);
        QCOMPARE(Stack.GetStopText(), QString("Top of stack - depth limit reached"));
        Stack.SetDepthLimit(50);
    }

    void NoRulesAtAll() {
        m_IsAsync = false;
        Load("unwind_o0");
        TakeStop(m_aaStop["unwind_o0"][0]);
        GetFakeProbe().aReg[15] = 0x1FFE0000; // no program there
        GetFakeProbe().aReg[14] = 0;
        Unwind();
        CCallStack& Stack = CCallStack::GetInstance();
        QCOMPARE(Stack.GetFrameCount(), 1);
        QCOMPARE(Stack.GetStopReason(), U32(STOP_NO_CFA_RULE));
        QCOMPARE(Stack.GetStopText(), QString("Top of stack - no unwinding symbols at 0x1FFE0000"));
        QCOMPARE(Stack.GetFunctionName(Stack.GetFrame(0)), QString("@ 1FFE0000"));
        QCOMPARE(Stack.GetFrame(0).CFA, Stack.GetSP(Stack.GetFrame(0)));
        QCOMPARE(Stack.GetReturnText(Stack.GetFrame(0)), QString("<no symbols>"));
    }

    void ReturnAddressOutsideOfTheProgram() {
        m_IsAsync = false;
        Load("unwind_o2");
        TakeStop(m_aaStop["unwind_o2"][0]);
        GetFakeProbe().aReg[14] = 0x30000001;
        Unwind();
        CCallStack& Stack = CCallStack::GetInstance();
        QCOMPARE(Stack.GetFrameCount(), 1);
        QCOMPARE(Stack.GetStopText(), QString("Top of stack - return address out of range: 0x30000001"));
    }

    void UnreadableStack() {
        m_IsAsync = false;
        Load("unwind_o0");
        TakeStop(m_aaStop["unwind_o0"][0]);
        m_Stop.aRam.resize(16);
        Unwind();
        CCallStack& Stack = CCallStack::GetInstance();
        QVERIFY(Stack.GetStopText().startsWith("Top of stack - "));
        QVERIFY(Stack.GetStopReason() == STOP_RA_READ || Stack.GetStopReason() == STOP_BP_READ || Stack.GetStopReason() == STOP_CFA_READ);
        QVERIFY(Stack.GetFrameCount() >= 1);
    }

    void StaleAnswersChangeNothing() {
        m_IsAsync = true;
        Load("unwind_o0");
        TakeStop(m_aaStop["unwind_o0"][0]);
        CCallStack& Stack = CCallStack::GetInstance();
        Stack.Unwind(); // its answers are still to come when the next one starts
        ELF_SYM_LOC Foreign{};
        Foreign.NumParts = 1;
        Foreign.aPart[0].Type = ELF_LOC_MEM_FIXED;
        Foreign.aPart[0].Addr = RAM;
        const U32 Value = 0xDEADBEEF;
        Stack.OnReadLocDone(Foreign, 4, reinterpret_cast<const U8*>(&Value));
        Stack.Clear();
        Stack.OnReadLocDone(Foreign, 4, reinterpret_cast<const U8*>(&Value));
        QCOMPARE(Stack.GetFrameCount(), 0);
        TakeStop(m_aaStop["unwind_o0"][3]);
        Unwind();
        QCOMPARE(GetName(Stack.GetFrame(2)), QString("SysTick_Handler"));
    }

    /// A window that follows the unwinding frame by frame, and is content with two.
    void DrivenByAWindow() {
        m_IsAsync = false;
        Load("unwind_o0");
        TakeStop(m_aaStop["unwind_o0"][0]);
        CCallStack& Stack = CCallStack::GetInstance();
        int NumFrames = 0;
        const auto Connection = connect(&Stack, &CCallStack::UnwindNextFrameDone, this, [&] {
            if (++NumFrames < 2) Stack.UnwindNextFrame();
            else Stack.FinishUnwind();
        });
        Unwind();
        disconnect(Connection);
        QCOMPARE(NumFrames, 2);
        QCOMPARE(Stack.GetFrameCount(), 3);
        QCOMPARE(Stack.GetStopText(), QString("Top of stack"));
    }

    void TaskContext() {
        m_IsAsync = false;
        Load("unwind_o0");
        TakeStop(m_aaStop["unwind_o0"][0]);
        // The registers of the task are those of the third stop, the stack is in the same memory.
        const STOP& Task = m_aaStop["unwind_o0"][2];
        std::vector<U64> aValue(Task.aLive.begin(), Task.aLive.end());
        std::vector<U8> aStatus(aValue.size(), 0);
        m_Stop.aRam = Task.aRam;
        CCallStack& Stack = CCallStack::GetInstance();
        Stack.SetTaskContext(7, static_cast<U32>(aValue.size()), aValue.data(), aStatus.data());
        U64 Value = 0;
        QCOMPARE(Stack.GetTaskReg(13, &Value), 0);
        QCOMPARE(Value, U64(Task.aLive[13]));
        QCOMPARE(Stack.GetTaskReg(BRYLLO_REG_S0, &Value), 1);
        Stack.SetTaskContext(0, 0, nullptr, nullptr);
        QCOMPARE(Stack.GetTaskReg(13, &Value), -1);
    }

    void cleanupTestCase() {
        PROG_Unload();
        Core_Unload();
    }
};

QTEST_GUILESS_MAIN(tst_core_unwind)
#include "tst_core_unwind.moc"
