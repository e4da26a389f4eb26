// Code analysis: tells code from data and holds a decoded record for each instruction of the
// program. Stepping, disassembly, trace and profile ask here; the core support plug-in is the
// fallback for addresses that the tables don't cover.
//
//   Core::RegisterHooks();                    // once at start
//   PROG_Load(sPath);                         // binds the file
//   Core::ClearCache();
//   Core::AnalyzeProgram();                   // decodes all code of the file
//   if (Core::IsLinear(PC, NextLine)) RunTo(NextLine);
//
// Binding, building and clearing happen on the main thread under the device mutex. Lookups run
// on the main thread and the device worker at once; the front end for windows is the main thread's.
// Addresses are those at which the code runs; ranges at or above 0xFFFFFFFF are refused.
#pragma once
#include "app/services/types.h"
#include "core/plugin/coreplugin.h"
#include "program/datafiles/rawblocks.h"
#include "program/elf/elf.h"
#include "program/tables/addrrange.h"

#include <QString>
#include <utility>
#include <vector>

namespace Core {

/// Fills in the hooks of the plug-in host and of the program tables that this layer serves.
void RegisterHooks();

// ---- Binding and building ----------------------------------------------------------------------

/// Binds a program file: its mapping symbols become the region table. Replaces an earlier binding.
/// 0, or -1 for a null file.
int Bind(ELF_HANDLE hFile);
/// Frees the region table. The decoded records stay until ClearCache. 0.
int Unbind();
/// The file that is bound, null if none. Any thread.
ELF_HANDLE GetBoundFile();
/// Loaded blocks of a program that comes from a data file, which has no sections and no regions. The bytes
/// belong to the caller and live until the next call or Unbind. Without effect while a file is bound.
void SetBlocks(const BFile::RAW_BLOCK* paBlock, U32 NumBlocks);
/// Decodes all code regions of the bound file; without a file, the blocks. Gives the bytes decoded.
int AnalyzeProgram();
/// The same in pieces, so that a window stays alive meanwhile: each piece runs on the main thread under the device mutex,
/// with the file that is bound as the ELF layer's current one; between them anything may happen. A binding or a core that
/// was exchanged in between ends it.
class CProgramAnalysis {
public:
    CProgramAnalysis();
    bool Step(U64 MaxBytes);                        ///< decodes about so many bytes; false when nothing is left
    U32 GetPermille() const;                        ///< how far it is, 0 to 1000
    U64 GetNumDecoded() const { return m_NumDecoded; } ///< bytes

private:
    std::vector<std::pair<U64, U64>> m_aSpan;       ///< ranges of code, ends exclusive
    size_t m_Next = 0;                              ///< the range under way
    U64 m_Pos = 0;                                  ///< bytes of it that are done
    U64 m_NumTotal = 0, m_NumDone = 0, m_NumDecoded = 0;
    U32 m_Generation;
};
/// Decodes one address range into the cache; gives the bytes decoded. pData are the bytes at Start.
U64 AnalyzeAdd(U64 Start, U64 End, const U8* pData);
/// Frees all decoded records and texts.
void ClearCache();
/// Notes a range whose bytes have been asked for from the target; the newest one counts.
void ExpectRead(U32 Addr, U32 Size);
/// Bytes from the target: decoded if they are the range that was asked for. Gives the bytes decoded.
U64 OnReadDone(U32 Addr, U32 Size, const U8* pData);

// ---- Lookups -----------------------------------------------------------------------------------

int FindRegion(U64 Addr);                        ///< region index, -1 if none
bool IsData(U64 Addr);                           ///< in a data region
bool IsInstStart(U64 Addr);                      ///< a decoded instruction starts there, and it is no data
int GetInstInfo(CORE_INST_INFO* pRec, U64 Addr); ///< 0 for a decoded record, else negative
/// Record for a decision: from the cache, else from the plug-in, else zero (no flags, length 0).
void ReadInst(CORE_INST_INFO* pRec, U64 Addr);
/// Bytes of the instruction; inside of one, the distance to the next. At least the core's minimum.
U8 GetInstSize(U64 Addr);
U32 GetDataItemSize(U64 Addr);                   ///< bytes of the data item at the address, 0 if no data
int GetPrevInst(U64 Addr, U64* pPrev);           ///< last start before the address; -1 if none is near
int GetNextInst(U64 Addr, U64* pNext);           ///< first start after the address; -1 if none is near
/// No instruction in the range changes the flow, calls excluded. True for an empty range.
bool IsLinear(U64 Start, U64 End);
/// Text of instruction or data item with tabs; gives its length in bytes, below 1: no text.
int GetInstText(U64 Addr, char* pBuf, U32 Size);
/// The mnemonic only, into CORE_MNEMONIC_SIZE bytes; as GetInstText.
int GetMnemonic(U64 Addr, char* pBuf);

inline constexpr U32 LABEL_NONE = 0xFFFFFFFFu;
inline constexpr U32 LABEL_ANY = 0xFFFFFFFFu;    ///< for Type; else 2 or 13 functions, 1 objects, 0 others
/// Index of the ELF symbol at the address, or with Exact off at or below it; LABEL_NONE if none. The name lives
/// until the file closes; pEnd gets the first address behind the symbol. The pointers may be null.
U32 GetLabelAt(U64 Addr, bool Exact, U32 Type, const char** psName, U64* pAddr, U64* pEnd);
/// Label of what the word at the address points to, or a label exactly at the address; 0 for a null pointer.
U32 GetPointerLabelAt(U64 Addr, bool Exact, U32 Type, const char** psName, U64* pValue, U64* pEnd);

// ---- Front end for windows, main thread --------------------------------------------------------

U32 DecodeText(U64 Addr);                        ///< puts the formatted text in the text cache; the item's size
QString GetCachedText(U64 Addr);                 ///< formatted text, empty if not decoded
bool IsTextCached(U64 Addr);
/// Walks a range instruction by instruction and stores up to Max addresses. Gives the instructions walked, -1
/// for an empty or too large range.
int WalkInsts(U64 Start, U64 End, U32 Max, U32* paOut);
int DecodeRanges(U32 Count, const CAddrRange* paRange); ///< decodes the text of all; gives the ranges done
U32 CountInsts(U64 Start, U64 End);              ///< instruction starts in a range, cached
U32 CountInstsInRanges(U32 Count, const CAddrRange* paRange);
int CountFunctionInsts(U64 Addr);                ///< of the function at the address, -1 if there is none
/// Address from which a walk forward reaches Addr; Addr itself if none is known near. pFound may be null.
U64 GetSafeStartAddr(U64 Addr, bool* pFound);

} // namespace Core
