#include "views/debug/asmblock.h"

#include "app/services/log.h"
#include "views/debug/debugviewhooks.h"
#include "views/framework/windowenv.h"

#include <algorithm>

namespace {
constexpr U64 ADDR_SPACE_END = U64(1) << 32;

U32 GetInstSizeAt(U32 Addr) { return std::max(1u, AskHook(GetDebugViewHooks().GetInstSize, 2u, Addr)); }
} // namespace

U32 CAsmBlock::GetMaxInstSize() { return std::max(1u, AskHook(GetDebugViewHooks().GetMaxInstSize, 4u)); }

U32 CAsmBlock::GetSafeStartAddr(U32 Addr)
{
    const U32 Start = AlignToInst(AskHook(GetDebugViewHooks().GetSafeStartAddr, Addr, Addr));
    if (Start <= Addr && U64(Addr) - Start <= ASM_MAX_SAFE_DISTANCE) return Start;
    LogInfo(QStringLiteral("A safe disassembly start address for PC %1 could not be determined. Disassembling from PC.").arg(FormatAddr(Addr)));
    return Addr;
}

bool CAsmBlock::GetInstAddrs(U32 Start, U64 End, int Max, QList<U32>& Addrs)
{
    Addrs.clear();
    End = std::min(End, ADDR_SPACE_END);
    if (End <= Start) return false;
    if (End - Start >= ASM_MAX_RANGE) {
        LogError(QStringLiteral("Size of function @ %1 exceeds limit for disassembly analysis").arg(FormatAddr(Start)));
        return false;
    }
    for (U64 Addr = AlignToInst(Start); Addr < End && Addrs.size() < Max; Addr += GetInstSizeAt(U32(Addr))) Addrs.append(U32(Addr));
    return true;
}

void CAsmBlock::SetShown(bool Labels, bool Source)
{
    m_LabelsShown = Labels;
    m_SourceShown = Source;
}

void CAsmBlock::Clear()
{
    m_Rows.clear();
    m_Start = 0;
    m_End = 0;
}

void CAsmBlock::AppendRows(U32 Addr, QList<ASM_ROW>& Rows) const
{
    const auto& Hooks = GetDebugViewHooks();
    if (m_LabelsShown) {
        QStringList Seen;
        for (const QString& sLabel : AskHook(Hooks.GetLabelsAt, QStringList(), Addr)) {
            if (sLabel.isEmpty() || Seen.contains(sLabel)) continue;
            Seen.append(sLabel);
            Rows.append({sLabel, Addr, ASM_ROW_LABEL});
        }
    }
    if (m_SourceShown)
        for (const CSrcLoc& Loc : AskHook(Hooks.GetSrcLinesAt, QList<CSrcLoc>(), Addr))
            Rows.append({AskHook(Hooks.GetSrcLineText, QString(), Loc), Addr, ASM_ROW_SOURCE});
    Rows.append({QString(), Addr, ASM_ROW_INST});
}

int CAsmBlock::Decode(U32 Start, U64 End)
{
    QList<U32> Addrs;
    if (!GetInstAddrs(Start, End, ASM_MAX_INSTS_PER_PASS, Addrs) || Addrs.isEmpty()) return -1;
    const bool IsBefore = !IsEmpty() && Addrs.first() < m_Start;
    if (!IsEmpty() && !IsBefore) {
        // A start below the block's end is for the decoder's sake only. If its steps miss that end, data lies
        // between; the end itself is then as good a start as any.
        const auto First = std::lower_bound(Addrs.begin(), Addrs.end(), m_End, [](U32 Addr, U64 Limit) { return Addr < Limit; });
        if (First != Addrs.end() && *First == m_End)
            Addrs.erase(Addrs.begin(), First);
        else if (m_End >= ADDR_SPACE_END || !GetInstAddrs(U32(m_End), End, ASM_MAX_INSTS_PER_PASS, Addrs))
            return -1;
    }
    if (IsBefore) {
        // A pass that was cut short by its limit would leave a gap in front of the block; the nearer part counts.
        U64 Next = U64(Addrs.last()) + GetInstSizeAt(Addrs.last());
        while (Next < m_Start) {
            Addrs.removeFirst();
            Addrs.append(U32(Next));
            Next += GetInstSizeAt(U32(Next));
        }
        Addrs.erase(std::lower_bound(Addrs.begin(), Addrs.end(), m_Start), Addrs.end());
    }
    if (Addrs.isEmpty()) return -1;
    QList<ASM_ROW> Rows;
    for (const U32 Addr : std::as_const(Addrs)) AppendRows(Addr, Rows);
    const int NumNew = int(Rows.size());
    if (IsEmpty() || IsBefore) m_Start = Addrs.first();
    if (!IsBefore) m_End = std::min(U64(Addrs.last()) + GetInstSizeAt(Addrs.last()), ADDR_SPACE_END);
    m_Rows = IsBefore ? Rows + m_Rows : m_Rows + Rows;
    return NumNew;
}

int CAsmBlock::FindGroupRow(U32 Addr) const
{
    const auto Found = std::lower_bound(m_Rows.begin(), m_Rows.end(), Addr, [](const ASM_ROW& Row, U32 Wanted) { return Row.Addr < Wanted; });
    return Found != m_Rows.end() && Found->Addr == Addr ? int(Found - m_Rows.begin()) : -1;
}

int CAsmBlock::FindInstRow(U32 Addr) const
{
    int Row = FindGroupRow(Addr);
    while (Row >= 0 && Row < GetNumRows() && m_Rows[Row].Addr == Addr && m_Rows[Row].Kind != ASM_ROW_INST) Row++;
    return IsInstRow(Row) && m_Rows[Row].Addr == Addr ? Row : -1;
}
