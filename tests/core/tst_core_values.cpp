// Values of variables against GDB, in all frames of a stopped program: objects in registers and constants, bit fields,
// what lies behind pointers that the compiler has dropped; on little-endian and big-endian targets.
#include "core/cache/core.h"
#include "core/host/corecalls.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "fakeprobe.h"
#include "gdbstops.h"
#include "program/eval/evalhooks.h"
#include "program/eval/expression.h"
#include "program/tables/prog.h"
#include "program/unwind/callstack.h"

#include <QSignalSpy>
#include <QTest>
#include <cstring>

class tst_core_values : public QObject {
    Q_OBJECT
    STOP m_Stop;
    bool m_IsBigEndian = false;
    int m_NumWrites = 0;

    CCallStack& Stack() { return CCallStack::GetInstance(); }
    const CCallFrame& Frame() { return Stack().GetFrame(std::max(Stack().GetSelectedFrame(), 0)); }

    int ReadRam(U64 Addr, U32 Size, void* pBuffer) {
        if (Addr < RAM || Addr + Size > RAM + static_cast<U64>(m_Stop.aRam.size())) return PROG_ReadBytes(static_cast<U32>(Addr), Size, pBuffer) ? 0 : -1;
        std::memcpy(pBuffer, m_Stop.aRam.constData() + (Addr - RAM), Size);
        return 0;
    }

    /// As the device gives a place of one or two parts: numbers in the host's byte order.
    int ReadLoc(const ELF_SYM_LOC& Loc, U32 NumBytes, U8* pData) {
        U32 Pos = 0;
        for (U32 i = 0; i < Loc.NumParts; i++) {
            const ELF_SYM_LOC_PART& Part = Loc.aPart[i];
            const U32 Size = Part.Size ? Part.Size : NumBytes;
            if (Pos + Size > 8) return -1;
            U64 Value = Part.Type == ELF_LOC_CONST ? Part.Value : 0;
            if (ELF_IsRegPart(Part.Type)) {
                Value = GetFakeProbe().aReg[Part.Reg];
            } else if (Part.Type == ELF_LOC_MEM_FIXED || Part.Type == ELF_LOC_MEM_ADDR_OFFSET) {
                if (ReadRam(Part.Addr, Size, &Value) != 0) return -1;
                if (m_IsBigEndian) std::reverse(reinterpret_cast<U8*>(&Value), reinterpret_cast<U8*>(&Value) + Size);
            } else if (Part.Type != ELF_LOC_CONST) {
                return -1;
            }
            if (Part.Type != ELF_LOC_CONST && Part.Type != ELF_LOC_MEM_FIXED) Value += U64(I64(Part.Offset));
            std::memcpy(pData + Pos, &Value, Size);
            Pos += Size;
        }
        return Pos >= NumBytes ? 0 : -1;
    }

    int WriteLoc(const ELF_SYM_LOC& Loc, U32 NumBytes, const U8* pData) {
        const ELF_SYM_LOC_PART& Part = Loc.aPart[0];
        U64 Value = 0;
        std::memcpy(&Value, pData, NumBytes);
        m_NumWrites++;
        if (Part.Type == ELF_LOC_REG) {
            GetFakeProbe().aReg[Part.Reg] = Value;
            return 0;
        }
        if (Part.Type != ELF_LOC_MEM_FIXED || Part.Addr < RAM || Part.Addr - RAM + NumBytes > U64(m_Stop.aRam.size())) return -1;
        if (m_IsBigEndian) std::reverse(reinterpret_cast<U8*>(&Value), reinterpret_cast<U8*>(&Value) + NumBytes);
        std::memcpy(m_Stop.aRam.data() + (Part.Addr - RAM), &Value, NumBytes);
        return 0;
    }

    void SetHooks() {
        CORE_HOOKS& Core = Core_GetHooks();
        Core.GetProjectPluginPath = [] { return QStringLiteral(CORE_PLUGIN_ARM); };
        Core.CanReadTarget = [] { return true; };
        Core.GetByteOrders = [this](U32* pData, U32* pInst) {
            *pData = m_IsBigEndian;
            *pInst = 0;
        };
        Core.ReadTarget = [this](U64 Addr, U32 Size, void* p) { return ReadRam(Addr, Size, p); };
        UNWIND_HOOKS Unwinder;
        Unwinder.IsTargetHalted = [] { return true; };
        Unwinder.ReadMem = [this](U32 Addr, U32 Size, void* p) { return ReadRam(Addr, Size, p); };
        Unwinder.ReadLoc = [this](const ELF_SYM_LOC& Loc, U32 NumBytes) {
            ELF_SYM_LOC Plain = Loc; // the unwinder adds the offset itself
            Plain.aPart[0].Offset = 0;
            U64 Value = 0;
            const bool IsRead = ReadLoc(Plain, NumBytes, reinterpret_cast<U8*>(&Value)) == 0;
            Stack().OnReadLocDone(Loc, NumBytes, IsRead ? reinterpret_cast<const U8*>(&Value) : nullptr);
            return 0;
        };
        UNWIND_SetHooks(Unwinder);
        EVAL_HOOKS Eval;
        Eval.IsConnected = [] { return true; };
        Eval.GetFramePC = [this] { return static_cast<U32>(Stack().GetPC(Frame())); };
        Eval.GetLocationPC = [this] { return static_cast<U32>(Stack().GetLocationPC(Frame())); };
        Eval.GetFrameFunction = [this] { return Frame().hFunc; };
        Eval.ResolveLoc = [this](const ELF_SYM_LOC& Loc) { return Stack().ResolveLocation(Frame(), Loc); };
        Eval.ResolvePieces = [this](ELF_SYM_HANDLE h) { return Stack().ResolvePieces(Frame(), h); };
        Eval.ReadLoc = [this](const ELF_SYM_LOC& Loc, U32 NumBytes, U8* pData) { return ReadLoc(Loc, NumBytes, pData); };
        Eval.ReadMem = [this](U32 Addr, U32 NumBytes, U8* pData) { return ReadRam(Addr, NumBytes, pData); };
        Eval.WriteLoc = [this](const ELF_SYM_LOC& Loc, U32 NumBytes, const U8* pData) { return WriteLoc(Loc, NumBytes, pData); };
        EVAL_SetHooks(Eval);
    }

    QList<STOP> Load(const QString& sName) {
        m_IsBigEndian = sName.contains("_be_");
        Core_Unload();
        if (Core_Load(0x030000FF) != 0 || PROG_Load(GetElf(sName)) != 0) return {};
        Core::ClearCache();
        Core::AnalyzeProgram();
        return RunGdb(GetElf(sName), m_IsBigEndian);
    }

    void TakeStop(const STOP& Stop) {
        m_Stop = Stop;
        for (int i = 0; i < Stop.aLive.size(); i++) GetFakeProbe().aReg[i] = Stop.aLive[i];
        Stack().Invalidate();
        QSignalSpy Spy(&Stack(), &CCallStack::UnwindComplete);
        Stack().Unwind();
        for (int i = 0; i < 10000 && Spy.isEmpty(); i++) QCoreApplication::processEvents();
        QCOMPARE(Spy.size(), 1);
    }

    CSymbol FindVariable(int Level, const QString& sName, U32 Line) {
        Stack().SetSelectedFrame(Level);
        const ELF_SYM_HANDLE hFunc = Stack().GetFrame(Level).hFunc;
        for (U32 i = 0; i < ELF_GetSymLocalCount(hFunc); i++) {
            const ELF_SYM_HANDLE h = ELF_GetSymLocal(hFunc, i);
            if (sName == ELF_GetSymName(h) && (Line == 0 || PROG_GetSymSrcLoc(h).Line == Line)) return CSymbol::FromProgram(h);
        }
        return {};
    }

    /// A variable has several entries, one of which GDB has a value for.
    static bool IsKnownTo(const STOP& Stop, const GDB_VALUE& Value) {
        return std::any_of(Stop.aValue.begin(), Stop.aValue.end(), [&](const GDB_VALUE& Other) {
            return Other.sState == "=" && Other.Level == Value.Level && Other.Line == Value.Line && Other.sName == Value.sName && Other.sPath == Value.sPath;
        });
    }

    /// Names of the frames that differ.
    QStringList CompareFrames(int Stop) {
        QStringList asWrong;
        for (int i = 0; i < m_Stop.aFrame.size() && m_Stop.aFrame[i].sName != "None"; i++) { // none: what called the first function
            const QString sOurs = PROG_GetSymName(Stack().GetFrame(i).hFunc, PROG_NAME_PLAIN).section('<', 0, 0);
            if (sOurs != m_Stop.aFrame[i].sName) asWrong << QStringLiteral("stop %1 frame %2 %3 / %4").arg(Stop).arg(i).arg(sOurs, m_Stop.aFrame[i].sName);
        }
        return asWrong;
    }

    CSymbol Follow(CSymbol Symbol, const QString& sPath) {
        static const QRegularExpression Step(QStringLiteral("\\.(\\w+)|\\[(\\d+)\\]|>"));
        for (auto It = Step.globalMatch(sPath); It.hasNext();) {
            const auto Match = It.next();
            if (!Match.captured(1).isEmpty()) Symbol = Symbol.GetChild(Match.captured(1));
            else if (!Match.captured(2).isEmpty()) Symbol = Symbol.GetElement(Match.captured(2).toInt());
            else Symbol.Read(), Symbol = Symbol.GetPointee(0);
        }
        return Symbol;
    }

private slots:
    void initTestCase() {
        Core::RegisterHooks();
        CCallStack::RegisterHooks();
        SetHooks();
    }

    void Values_data() {
        QTest::addColumn<QString>("Elf");
        QTest::addColumn<int>("NumValues");
        QTest::addColumn<int>("NumDropped");
        const struct { const char* Elf; int NumValues; int NumDropped; } Rows[] = {
            {"pieces_gcc_o0_5", 40, 0}, {"pieces_gcc_o1_5", 40, 5}, {"pieces_gcc_o2_5", 40, 5}, {"pieces_gcc_o2_4", 40, 5},
            {"pieces_clang_o1_5", 35, 0}, {"pieces_clang_o2_4", 35, 0},
            {"pieces_be_gcc_o1_5", 40, 5}, {"pieces_be_gcc_o2_4", 40, 5}, {"pieces_be_clang_o2_5", 35, 0},
            {"locals_be_gcc_o1_5", 30, 0}, {"locals_be_gcc_o2_4", 30, 0}, {"locals_be_clang_o1_4", 30, 0},
        };
        for (const auto& Row : Rows) QTest::newRow(Row.Elf) << Row.Elf << Row.NumValues << Row.NumDropped;
    }

    void Values() {
        QFETCH(QString, Elf);
        QFETCH(int, NumValues);
        QFETCH(int, NumDropped);
        const QList<STOP> aStop = Load(Elf);
        QCOMPARE(aStop.size(), NUM_STOPS);
        QCOMPARE(PROG_GetByteOrder() == ELF_BIG_ENDIAN, m_IsBigEndian);
        int NumEqual = 0, NumSynthetic = 0;
        QStringList asWrong;
        for (int i = 0; i < aStop.size(); i++) {
            TakeStop(aStop[i]);
            asWrong << CompareFrames(i);
            for (const GDB_VALUE& Theirs : aStop[i].aValue) {
                if (Theirs.sState == "LOST" && IsKnownTo(aStop[i], Theirs)) continue;
                if (Theirs.sName == "big" && Elf.contains("clang")) continue; // clang keeps half of it, GDB takes the rest for 0
                const QString sContext = QStringLiteral("stop %1 frame %2 line %3 %4%5 %6: ").arg(i).arg(Theirs.Level).arg(Theirs.Line).arg(Theirs.sName, Theirs.sPath, Theirs.sState);
                CSymbol Ours = Follow(FindVariable(Theirs.Level, Theirs.sName, Theirs.Line), Theirs.sPath);
                const bool IsThere = Ours.Read() == 0 && Ours.IsValueValid();
                if (Theirs.sState == "=") {
                    I64 Value = 0;
                    if (IsThere && EVAL_IsFloat(Ours.Type)) std::memcpy(&Value, Ours.Value.constData(), static_cast<size_t>(Ours.Value.size()));
                    else if (IsThere) Ours.GetInteger(&Value);
                    const U64 Mask = Ours.ByteSize < 8 ? (U64(1) << 8 * Ours.ByteSize) - 1 : ~U64(0);
                    if (!IsThere) asWrong << sContext + "unknown";
                    else if ((U64(Value) & Mask) != Theirs.Value) asWrong << sContext + QStringLiteral("%1 / %2").arg(U64(Value) & Mask, 0, 16).arg(Theirs.Value, 0, 16);
                    else NumEqual++;
                } else if (IsThere) {
                    // The caller's register stands for the value on entry where nothing is known of the call.
                    const ELF_SYM_LOC Raw = PROG_GetSymLoc(Ours.hSym, static_cast<U32>(Stack().GetLocationPC(Frame())));
                    if (Raw.NumParts == 1 && Raw.aPart[0].Type == ELF_LOC_ENTRY_VALUE) continue;
                    asWrong << sContext + Ours.GetValueStr(16);
                } else if (Theirs.sState == "SYNTHETIC") {
                    NumSynthetic++;
                    if (!Ours.IsDroppedPointer()) asWrong << sContext + "no target";
                    if (Ours.GetValueStr(0) != "" || Ours.GetLocationStr() != "<outofscope>") asWrong << sContext + Ours.GetLocationStr();
                }
            }
        }
        QVERIFY2(asWrong.isEmpty(), qPrintable(asWrong.join('\n')));
        QVERIFY2(NumEqual >= NumValues && NumSynthetic >= NumDropped, qPrintable(QStringLiteral("%1 %2").arg(NumEqual).arg(NumSynthetic)));
    }

    /// Which variables a frame sees, and which of them a name means.
    void Scopes_data() {
        QTest::addColumn<QString>("Elf");
        for (const char* sElf : {"scopes_gcc_o0_5", "scopes_gcc_o1_4", "scopes_gcc_o2_5", "scopes_clang_o0_5", "scopes_clang_o2_4",
                                 "locals_gcc_o2_5", "locals_clang_o1_5", "pieces_gcc_o1_5", "modern_gcc_o0_5", "modern_gcc_o1_5", "modern_gcc_o2_4",
                                 "modern_clang_o0_5"}) QTest::newRow(sElf) << sElf;
    }

    void Scopes() {
        QFETCH(QString, Elf);
        QList<STOP> aStop = Load(Elf);
        QCOMPARE(aStop.size(), NUM_STOPS);
        int NumFrames = 0, NumValues = 0;
        QStringList asWrong;
        for (int i = 0; i < aStop.size(); i++) {
            TakeStop(aStop[i]);
            asWrong << CompareFrames(i);
            for (auto it = aStop[i].Seen.begin(); it != aStop[i].Seen.end() && it.key() < Stack().GetFrameCount(); ++it) {
                Stack().SetSelectedFrame(it.key());
                // GDB adds what only the function has that a body was copied from; it has no value.
                if (Elf == "modern_gcc_o2_4") for (const char* sName : {"Fs", "Is", "Yd0"}) it->removeAll(sName);
                QStringList asOurs;
                for (const ELF_SYM_HANDLE h : EVAL_GetFrameLocals()) asOurs << PROG_GetSymName(h, PROG_NAME_PLAIN);
                asOurs.sort();
                NumFrames++;
                if (asOurs != it.value()) asWrong << QStringLiteral("stop %1 frame %2: %3 / %4").arg(i).arg(it.key()).arg(asOurs.join(' '), it.value().join(' '));
            }
            QStringList asMet; // GDB lists inner blocks first
            for (const GDB_VALUE& Theirs : aStop[i].aValue) {
                const QString sName = QStringLiteral("%1 %2").arg(Theirs.Level).arg(Theirs.sName);
                if (Theirs.sPath != "-" || Theirs.sState != "=" || asMet.contains(sName)) continue;
                if (Theirs.sName == "big" && Elf.contains("clang")) continue; // as above
                asMet << sName;
                Stack().SetSelectedFrame(Theirs.Level);
                CExpression Expression(Theirs.sName);
                I64 Value = 0;
                CSymbol Ours;
                if (Expression.Evaluate() > 0) Ours = Expression.GetResult();
                if (EVAL_IsFloat(Ours.Type)) continue;
                const bool IsThere = Ours.Read() == 0 && Ours.GetInteger(&Value);
                const U64 Mask = Ours.ByteSize < 8 ? (U64(1) << 8 * Ours.ByteSize) - 1 : ~U64(0);
                NumValues++;
                if (!IsThere || (U64(Value) & Mask) != Theirs.Value) asWrong << QStringLiteral("stop %1 frame %2: %3 / %4").arg(i).arg(sName).arg(IsThere ? U64(Value) & Mask : 0, 0, 16).arg(Theirs.Value, 0, 16);
            }
        }
        QVERIFY2(asWrong.isEmpty(), qPrintable(asWrong.join('\n')));
        QVERIFY2(NumFrames >= 10 && NumValues >= 15, qPrintable(QStringLiteral("%1 %2").arg(NumFrames).arg(NumValues)));
    }

    /// Expressions through pointers that have no value of their own.
    void Expressions_data() {
        QTest::addColumn<int>("Index");
        QTest::addColumn<QString>("Expr");
        QTest::addColumn<QString>("Value");
        QTest::addColumn<QString>("Error");
        const struct { int Index; const char* sExpr; const char* sValue; const char* sError; } Rows[] = {
            {0, "*pCount", "5", ""},
            {2, "pBits->next", "12", ""},
            {2, "pBits->middle + pBits->low", "0", ""},
            {2, "(*pBits).high", "9029", ""},
            {2, "sizeof(*pBits)", "12", ""},
            {2, "pBits", "", ""},
            {2, "pBits->nothing", "", "Error evaluating operator -> : right operand has invalid value "},
            {2, "pBits + 1", "", "Error evaluating operator + : left operand value could not be read from target hardware"},
            {2, "pBits == 0", "", "Error evaluating operator == : left operand value could not be read from target hardware"},
            {4, "*p", "7", ""},
            {4, "p[0] * 2", "14", ""},
            {4, "p[1]", "42", ""},
            {4, "pWide->big", "4886718345", ""},
            {4, "pWide->ratio * 2", "12", ""},
        };
        for (const auto& Row : Rows) QTest::newRow(Row.sExpr) << Row.Index << Row.sExpr << Row.sValue << Row.sError;
    }

    void Expressions() {
        QFETCH(int, Index);
        QFETCH(QString, Expr);
        QFETCH(QString, Value);
        QFETCH(QString, Error);
        static const QList<STOP> s_aStop = Load("pieces_gcc_o2_5");
        QCOMPARE(s_aStop.size(), NUM_STOPS);
        TakeStop(s_aStop[Index]);
        Stack().SetSelectedFrame(1);
        CExpression Expression(Expr);
        const int Result = Expression.Evaluate();
        QCOMPARE(Expression.GetError(), Error);
        if (!Error.isEmpty()) return;
        QVERIFY(Result > 0);
        CSymbol Symbol = Expression.GetResult();
        Symbol.Read();
        QCOMPARE(Symbol.GetValueStr(10), Value);
    }

    /// What can be written has the new value then; a lost piece or a constant leaves all as it was.
    void Writes() {
        const QList<STOP> aStop = Load("pieces_gcc_o2_5");
        QCOMPARE(aStop.size(), NUM_STOPS);
        int NumWritten = 0, NumRefused = 0;
        for (const STOP& Stop : aStop) {
            TakeStop(Stop);
            for (const GDB_VALUE& Theirs : Stop.aValue) {
                const CSymbol Symbol = Follow(FindVariable(Theirs.Level, Theirs.sName, Theirs.Line), Theirs.sPath);
                CSymbol Before = Symbol, After = Symbol;
                if (Theirs.sState != "=" || Before.Read() != 0 || !Before.IsValueValid()) continue;
                QByteArray New = Before.Value;
                New[0] = char(New[0] ^ (1 << Symbol.BitOffset));
                m_NumWrites = 0;
                const bool IsWritten = Symbol.Write(New) == 0;
                QCOMPARE(m_NumWrites > 0, IsWritten);
                NumWritten += IsWritten;
                NumRefused += !IsWritten;
                if (!IsWritten) continue;
                QCOMPARE(After.Read(), 0);
                QCOMPARE(After.Value[0], New[0]);
                QCOMPARE(Symbol.Write(Before.Value), 0);
            }
        }
        QVERIFY2(NumWritten >= 8 && NumRefused >= 8, qPrintable(QStringLiteral("%1 %2").arg(NumWritten).arg(NumRefused)));
    }

    void cleanupTestCase() {
        PROG_Unload();
        Core_Unload();
    }
};

QTEST_GUILESS_MAIN(tst_core_values)
#include "tst_core_values.moc"
