// What stands in front of the library's reading of call frame records: damaged ones can make it search
// without end or fill the memory.
//
//   if (FrameListIsBearable(Sections.Frame, false, BigEndian)) ... // dwarf_get_fde_list may be called
#pragma once
#include "program/elf/bytecursor.h"
#include "program/elf/elfimage.h"

/// The library looks for the head of each record in a list, from its start on. False if the records of a
/// section would make it take more steps than those of any program; true for damaged records, which it
/// refuses itself.
bool FrameListIsBearable(const ELF_BYTES& Section, bool EhFrame, bool BigEndian);

/// Counts the states that the instructions of a record remember and don't restore: each costs the library a
/// table of all registers. False if they are more than in any program. Depth goes on from the instructions of
/// the head to those of the record.
bool FrameStatesAreBearable(const U8* pBytes, U64 Size, bool BigEndian, U32& Depth);

/// Steps over the operands of a call frame instruction whose two highest bits are 0. False for an unknown
/// one.
bool SkipFrameOperands(CByteCursor& Cur, U32 Op);
