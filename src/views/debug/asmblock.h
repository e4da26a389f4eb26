// CAsmBlock, the contiguous range of decoded rows behind the disassembly window. Instructions have variable length,
// so a row can only be found from a place where an instruction certainly starts; the block grows at its two ends.
//
//   const U32 Start = CAsmBlock::GetSafeStartAddr(PC);
//   Block.Decode(Start, U64(PC) + 80);
//   const int Row = Block.FindInstRow(PC);
//
// The rows hold no instruction texts: these are asked of the instruction cache for the rows on the screen.
#pragma once
#include "app/services/types.h"

#include <QList>
#include <QString>

enum ASM_ROW_KINDS : U8 { ASM_ROW_LABEL, ASM_ROW_SOURCE, ASM_ROW_INST };

struct ASM_ROW {
    QString sText; ///< of label and source rows; empty for an instruction
    U32 Addr = 0;  ///< label and source rows carry the address of the instruction that follows
    ASM_ROW_KINDS Kind = ASM_ROW_INST;
};

inline constexpr U64 ASM_MAX_SAFE_DISTANCE = 10000;  ///< bytes; a safe start farther below isn't used
inline constexpr U64 ASM_MAX_RANGE = 100000000;      ///< bytes of one decoding pass
inline constexpr int ASM_MAX_INSTS_PER_PASS = 10000;

class CAsmBlock {
public:
    /// \name Places
    ///@{
    static U32 GetSafeStartAddr(U32 Addr); ///< where decoding may start so that it meets Addr; Addr itself if nothing is known
    static U32 GetMaxInstSize();           ///< bytes, at least 1
    /// Addresses of the instructions in [Start, End), at most Max. False for an empty range or one over the limit.
    static bool GetInstAddrs(U32 Start, U64 End, int Max, QList<U32>& Addrs);
    ///@}

    /// What the next decoding puts between the instructions.
    void SetShown(bool Labels, bool Source);
    void Clear();
    /// Decodes [Start, End) and joins it to the block at the end where it lies; an empty block becomes it.
    /// Returns the number of new rows; -1 if nothing was decoded. New rows before the block shift the row numbers.
    int Decode(U32 Start, U64 End);

    bool IsEmpty() const { return m_Rows.isEmpty(); }
    int GetNumRows() const { return int(m_Rows.size()); }
    const ASM_ROW& GetRow(int Row) const { return m_Rows[Row]; }
    bool IsInstRow(int Row) const { return Row >= 0 && Row < GetNumRows() && m_Rows[Row].Kind == ASM_ROW_INST; }
    bool Contains(U32 Addr) const { return !IsEmpty() && Addr >= m_Start && Addr < m_End; }
    U32 GetStart() const { return m_Start; } ///< address of the first instruction
    U64 GetEnd() const { return m_End; }     ///< behind the last instruction; up to 2^32
    int FindInstRow(U32 Addr) const;  ///< row of the instruction at the address; -1 for none
    int FindGroupRow(U32 Addr) const; ///< first row of that address, a label or source row if it has one; -1 for none

private:
    void AppendRows(U32 Addr, QList<ASM_ROW>& Rows) const;

    QList<ASM_ROW> m_Rows; ///< by ascending address
    U32 m_Start = 0;
    U64 m_End = 0;
    bool m_LabelsShown = true;
    bool m_SourceShown = true;
};
