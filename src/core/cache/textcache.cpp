// The front end for windows: formatted texts by address, walks over ranges, and counts.
#include "core/cache/textcache.h"
#include "core/cache/core.h"
#include "core/cache/regions.h"
#include "core/host/corecalls.h"
#include "core/host/corehost.h"
#include "core/host/debuggerapi.h"
#include "program/tables/prog.h"

#include <QHash>
#include <QMutex>
#include <algorithm>
#include <vector>

namespace Core {

namespace {

constexpr U64 MAX_RANGE = 100'000'000;    // bytes in one walked range, exclusive
constexpr U32 TEXT_SIZE = 128;
constexpr U64 MAX_SAFE_DISTANCE = 10'000; // bytes from a safe start to the address

/// One range or, folded, several; compared whole, since the fold alone meets others.
struct RANGE_KEY {
    U64 Fold = 0;
    std::vector<std::pair<U64, U64>> aRange;
    void Add(U64 Low, U64 High) {
        Fold = (Fold * 31 + Low + 713) * 31 + High;
        aRange.emplace_back(Low, High);
    }
    bool operator==(const RANGE_KEY& Other) const { return aRange == Other.aRange; }
};

size_t qHash(const RANGE_KEY& Key, size_t Seed = 0) {
    return ::qHash(Key.Fold, Seed);
}

QMutex Mutex; // records are added on the main thread only, but texts may be dropped from another
QHash<U64, QString> aText;
QHash<RANGE_KEY, U32> aCount;

void LogAddr(const char* sBefore, U64 Addr, const char* sAfter) {
    const QString sText = QLatin1String(sBefore) + QString::number(Addr, 16).toUpper().rightJustified(8, '0') + QLatin1String(sAfter);
    Core_Log(sText.toUtf8().constData(), CORE_LOG_FILE);
}

/// Mnemonic padded to the column of the operands; the comment one blank behind them.
QString FormatText(const char* sText) {
    QString s = QString::fromUtf8(sText);
    const qsizetype First = s.indexOf('\t');
    if (First < 0) return s;
    const qsizetype Column = static_cast<qsizetype>(Core_GetStaticInfo().MaxMnemonicLen) + 1;
    s.replace(First, 1, QString(std::max<qsizetype>(1, Column - First), ' '));
    const qsizetype Second = s.indexOf('\t');
    if (Second >= 0) s.replace(Second, 1, ' ');
    return s;
}

U32 FindCount(const RANGE_KEY& Key, bool* pFound) {
    QMutexLocker Lock(&Mutex);
    const auto It = aCount.constFind(Key);
    *pFound = It != aCount.constEnd();
    return *pFound ? *It : 0;
}

void StoreCount(const RANGE_KEY& Key, U32 Count) {
    QMutexLocker Lock(&Mutex);
    aCount.insert(Key, Count);
}

} // namespace

void DropTexts() {
    QMutexLocker Lock(&Mutex);
    aText.clear();
    aCount.clear();
}

U32 DecodeText(U64 Addr) {
    char acText[TEXT_SIZE] = {};
    const U32 MinSize = Core_GetStaticInfo().MinInstLen;
    const int Length = GetInstText(Addr, acText, sizeof acText);
    if (Length < 1) {
        CORE_INST_INFO Inst;
        ReadInst(&Inst, Addr);
        return std::max(MinSize, static_cast<U32>(std::max(Inst.Length, 0)));
    }
    const QString sText = FormatText(acText);
    {
        QMutexLocker Lock(&Mutex);
        aText.insert(Addr, sText);
    }
    return std::max(MinSize, static_cast<U32>(Length));
}

QString GetCachedText(U64 Addr) {
    QMutexLocker Lock(&Mutex);
    return aText.value(Addr);
}

bool IsTextCached(U64 Addr) {
    QMutexLocker Lock(&Mutex);
    return aText.contains(Addr);
}

int WalkInsts(U64 Start, U64 End, U32 Max, U32* paOut) {
    if (Start >= End) return -1;
    if (End - Start >= MAX_RANGE) {
        LogAddr("Size of function @ ", Start, " exceeds limit for disassembly analysis");
        return -1;
    }
    int NumInsts = 0;
    U32 NumStored = 0;
    const U64 Alignment = Core_GetStaticInfo().InstAlignment;
    for (U64 Addr = Start - Start % Alignment; Addr < End;) {
        if (paOut && NumStored < Max) paOut[NumStored++] = static_cast<U32>(Addr);
        NumInsts++;
        Addr += std::max<U64>(Alignment, DecodeText(Addr));
    }
    return NumInsts;
}

int DecodeRanges(U32 Count, const CAddrRange* paRange) {
    int NumDone = 0;
    for (U32 i = 0; i < Count; i++) {
        NumDone += WalkInsts(paRange[i].Start, paRange[i].End(), 0, nullptr) >= 0;
    }
    return NumDone;
}

U32 CountInsts(U64 Start, U64 End) {
    if (End < Start) return 0;
    if (End - Start >= MAX_RANGE) {
        LogAddr("Size of function @ ", Start, " exceeds limit for instruction count analysis");
        return 0;
    }
    RANGE_KEY Key;
    Key.Add(Start, End);
    bool IsFound = false;
    U32 Count = FindCount(Key, &IsFound);
    if (IsFound) return Count;
    const U64 Alignment = Core_GetStaticInfo().InstAlignment;
    for (U64 Addr = Start - Start % Alignment; Addr < End; Addr += Alignment) Count += IsInstStart(Addr);
    StoreCount(Key, Count);
    return Count;
}

U32 CountInstsInRanges(U32 Count, const CAddrRange* paRange) {
    RANGE_KEY Key;
    for (U32 i = 0; i < Count; i++) Key.Add(paRange[i].Start, paRange[i].End());
    bool IsFound = false;
    U32 Sum = FindCount(Key, &IsFound);
    if (IsFound) return Sum;
    for (U32 i = 0; i < Count; i++) Sum += CountInsts(paRange[i].Start, paRange[i].End());
    StoreCount(Key, Sum);
    return Sum;
}

int CountFunctionInsts(U64 Addr) {
    const ELF_SYM_HANDLE hFunc = Addr < 0xFFFFFFFFu ? PROG_GetFunctionAt(static_cast<U32>(Addr), 1) : 0;
    if (!hFunc) return -1;
    const CAddrRange Range = PROG_GetSymRange(hFunc);
    return static_cast<int>(CountInsts(Range.Start, Range.End()));
}

U64 GetSafeStartAddr(U64 Addr, bool* pFound) {
    if (pFound) *pFound = false;
    const bool IsInFunction = Addr < 0xFFFFFFFFu && PROG_GetFunctionAt(static_cast<U32>(Addr), 1) != 0;
    if (!IsInFunction && !IsInSection(Addr)) return Addr;
    const U64 Alignment = Core_GetStaticInfo().InstAlignment;
    const auto Limit = [&](U64 Start) { return std::min(Start - Start % Alignment, Addr); };
    bool IsFound = false;
    U64 Best = 0;
    REGION Region;
    U64 RegionEnd = 0;
    if (GetRegion(FindRegion(Addr), &Region, &RegionEnd)) {
        Best = Limit(Region.Addr);
        IsFound = true;
    }
    U64 Symbol = 0;
    if (GetLabelAt(Addr, false, LABEL_ANY, nullptr, &Symbol, nullptr) != LABEL_NONE) {
        Best = std::max(Best, Limit(Symbol));
        IsFound = true;
    }
    if (!IsFound) return Addr;
    if (Addr - Best > MAX_SAFE_DISTANCE) {
        LogAddr("A safe disassembly start address for PC ", Addr, " could not be determined. Disassembling from PC.");
        return Addr;
    }
    if (pFound) *pFound = true;
    return Best;
}

} // namespace Core
