// Call frame information through libdwarf. The only file pair that includes that library.
//
//   CDwarfAdapter Frames;
//   Frames.Init(Sections);
//   int Fde = Frames.FindFde(PC);
//   if (Fde >= 0 && Frames.GetRules(Fde, PC, NumRegs, aRule.data(), &Cfa)) ...
//
// The library gets sections that are already inflated, always an error pointer, and of the debug information
// only what frames need: the readers of the other sections live beside it (see docs). Not thread-safe.
#pragma once
#include "program/elf/dwarfinfo.h"

#include <memory>
#include <vector>

/// Rule of one register (or of the CFA) in one row.
struct DWARF_FRAME_RULE {
    bool OffsetRelevant = false;
    U8 ValueType = 0;  ///< 0 offset, 1 value offset, 2 expression, 3 value expression
    U32 Reg = 0;       ///< register, 1034 undefined, 1035 same value, 1436 the CFA
    I64 Offset = 0;
};

struct DWARF_FDE {
    U32 Low, High; ///< High is exclusive
    U32 Index;     ///< in the library's list
    bool InEhFrame;
};

class CDwarfAdapter {
public:
    CDwarfAdapter();
    ~CDwarfAdapter();
    CDwarfAdapter(const CDwarfAdapter&) = delete;
    CDwarfAdapter& operator=(const CDwarfAdapter&) = delete;

    /// Loads the frame records. False when a section is there but can't be read.
    bool Init(const DWARF_SECTIONS& Sections, U32 EhFrameAddr, const DWARF_ZERO& Zero = {});
    /// Records of .debug_frame and then of .eh_frame, each in file order of the library.
    const std::vector<DWARF_FDE>& Fdes() const { return m_aFde; }
    U32 NumCies() const { return m_NumCies; }
    /// Return address column of the first CIE, 0 without one.
    U32 ReturnAddrColumn() const { return m_RaColumn; }
    /// Index of the record that covers a PC, -1 if none; .debug_frame first.
    int FindFde(U32 PC) const;
    /// Rules of the registers 0 to NumRegs - 1 (paRule may be null with 0) and of the CFA at a PC.
    bool GetRules(int Fde, U32 PC, U32 NumRegs, DWARF_FRAME_RULE* paRule, DWARF_FRAME_RULE* pCfa);
    /// Instruction bytes of a record and the data alignment of its CIE (1 without one).
    bool GetInstructions(int Fde, const U8*& pBytes, U32& Size, I64& DataAlign);

private:
    struct IMPL;
    struct CIE_INFO;
    bool _GetInstructions(int Fde, const U8*& pBytes, U32& Size, CIE_INFO& Cie);
    /// The library can run the instructions of a record.
    bool _IsBearable(int Fde);
    bool _LoadList(bool EhFrame);
    std::unique_ptr<IMPL> m_p;
    std::vector<DWARF_FDE> m_aFde;
    void _SortFdes(const DWARF_ZERO& Zero);
    std::vector<U32> m_aSorted; ///< indices into m_aFde by low PC, without those of dropped code
    U32 m_NumCies = 0, m_RaColumn = 0;
    int m_BearableFde = -1; ///< record that m_IsBearable was worked out for
    bool m_IsBearable = false;
};
