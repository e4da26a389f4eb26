// What the bound program is made of: loaded blocks, sections with bytes, and the regions that
// its mapping symbols mark. Built whole and put in place at once; lookups run on any thread.
#pragma once
#include "app/services/types.h"
#include "core/cache/spanindex.h"
#include "program/elf/elf.h"

#include <atomic>
#include <memory>
#include <vector>

namespace Core {

struct REGION {
    U64 Addr;          ///< start at run time, rounded down to the instruction alignment
    U32 Symbol;        ///< index of the mapping symbol
    U32 Kind;          ///< as the plug-in gave it; low byte 1: data
    const char* sName; ///< of the mapping symbol; the file's
};

inline bool IsDataKind(U32 Kind) {
    return (Kind & 0xFF) == 1;
}

/// Bytes of the program that are loaded as one, by address in the file.
struct BLOCK {
    U64 Start;
    U64 End; ///< exclusive
    const U8* pData;
    std::unique_ptr<std::atomic<I32>[]> paLookup; ///< region index for each 2 bytes, -1 not asked for yet; null: no regions
};

struct SECTION {
    U64 Start;
    U64 End; ///< exclusive
    const U8* pData;
    bool IsCode;
};

struct BINDING {
    ELF_HANDLE hFile = nullptr;
    bool IsRelocated = false;       ///< addresses in the file differ from those at run time
    std::vector<REGION> aRegion;    ///< by address
    std::vector<BLOCK> aBlock;
    std::vector<SECTION> aSection;
    CSpanIndex BlockIndex;
    CSpanIndex SectionIndex;
    std::vector<I32> aRegionOfSymbol; ///< reverse array, -1: no mapping symbol
    U64 End = 0;                    ///< behind the highest byte of the program
};

/// Proof that the binding doesn't go away. Never held while the plug-in or another layer is called.
class CBindingLock {
public:
    CBindingLock();
    ~CBindingLock();
    CBindingLock(const CBindingLock&) = delete;
    CBindingLock& operator=(const CBindingLock&) = delete;
    const BINDING& Get() const;
};

/// Bytes of the program for a range at addresses in the file, null if no block with bytes holds all of it.
const U8* FindBlockData(const BINDING& B, U64 FileAddr, U64 Size);
/// Puts a binding in the place of the present one.
void ReplaceBinding(BINDING&& New);

/// Address in the file of an address at run time; the same without relocation. Takes the program table mutex.
U64 ToFileAddr(U64 Addr);
/// The reverse for the start of something.
U64 ToRuntimeAddr(U64 Addr);

/// Copies a region; false if there is none of that index. pEnd gets the start of the next region, or the end of
/// the program for the last.
bool GetRegion(int Index, REGION* pRegion, U64* pEnd);
/// Start of the first region above the address, 0x100000000 if none.
U64 GetNextRegionAddr(U64 Addr);
/// Bounds of the loaded block that holds the address, at run time; false if none does.
bool GetBlockEnd(U64 Addr, U64* pEnd);
/// The address lies in a section with bytes; in a program without sections, in a block.
bool IsInSection(U64 Addr);
/// Start of the first block above the address, 2^64 - 1 if there is none.
U64 GetNextBlock(U64 Addr);
U64 GetProgramEnd();
U32 GetBindingGeneration(); ///< another number after each change of the binding
/// Bytes that AnalyzeAdd was given, on its own thread; 0, or -1 outside of them.
int ReadOverlay(U64 Addr, U32 Size, void* pBuffer);
/// Bytes of one section or block; 0, or -1 if none holds the whole range.
int ReadSection(U64 Addr, U32 Size, void* pBuffer);

} // namespace Core
