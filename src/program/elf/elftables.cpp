// Header, segments and sections by handle, and the elements of the debug lists.
#include "program/elf/elf.h"
#include "program/elf/elffile.h"

#include <algorithm>
#include <elf.h>

namespace {

const ELF_SEGMENT* FindSegment(ELF_HANDLE hFile, U32 Index)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile && Index < pFile->Image.Segments().size() ? &pFile->Image.Segments()[Index] : nullptr;
}

const ELF_SECTION* FindSection(ELF_HANDLE hFile, U32 Index)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile && Index < pFile->Image.Sections().size() ? &pFile->Image.Sections()[Index] : nullptr;
}

const ELF_LINE* FindLine(ELF_HANDLE hFile, U32 Index)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    if (pFile && pFile->AreLinesDropped) pFile->ReadLinesAgain();
    return pFile && Index < pFile->aLine.size() ? &pFile->aLine[Index] : nullptr;
}

/// The lists of code, which are kept with their ranges.
const std::vector<DWARF_CODE>* CodeList(const ELF_FILE* pFile, ELF_LIST List)
{
    return List == ELF_LIST_FUNCTIONS ? &pFile->aFunction : List == ELF_LIST_INLINED ? &pFile->aInlined : nullptr;
}

} // namespace

const U8* ELF_GetFileImage(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? pFile->Image.Data() : nullptr;
}
U32 ELF_GetFileSize(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? static_cast<U32>(pFile->Image.Size()) : 0;
}
U32 ELF_GetClass(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? pFile->Image.Class() : 3;
}
int ELF_GetByteOrder(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    if (!pFile) return ELF_UNKNOWN_ENDIAN;
    return pFile->Image.IsBigEndian() ? ELF_BIG_ENDIAN : ELF_LITTLE_ENDIAN;
}
U32 ELF_GetMachine(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? pFile->Image.Machine() : 0;
}
U32 ELF_GetHeaderFlags(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? pFile->Image.Flags() : 0;
}
U32 ELF_GetEntryPoint(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? ElfAlignCode(pFile->Image.Entry()) : 0xFFFFFFFFu;
}

I64 ELF_GetLowestCodeAddr(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    I64 Lowest = -1;
    if (!pFile) return Lowest;
    for (const ELF_SEGMENT& Seg : pFile->Image.Segments()) {
        if (Seg.Type == PT_LOAD && Seg.FileSize > 0 && (Lowest < 0 || Seg.PhysAddr < Lowest)) Lowest = Seg.PhysAddr;
    }
    return Lowest;
}

U32 ELF_GetSegmentCount(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? static_cast<U32>(pFile->Image.Segments().size()) : 0;
}
U32 ELF_GetSegmentType(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SEGMENT* pSeg = FindSegment(hFile, Index);
    return pSeg ? pSeg->Type : 0;
}
U32 ELF_GetSegmentOffset(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SEGMENT* pSeg = FindSegment(hFile, Index);
    return pSeg ? pSeg->Offset : 0;
}
U32 ELF_GetSegmentVirtAddr(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SEGMENT* pSeg = FindSegment(hFile, Index);
    return pSeg ? pSeg->VirtAddr : 0;
}
U32 ELF_GetSegmentPhysAddr(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SEGMENT* pSeg = FindSegment(hFile, Index);
    return pSeg ? pSeg->PhysAddr : 0;
}
U32 ELF_GetSegmentFileSize(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SEGMENT* pSeg = FindSegment(hFile, Index);
    return pSeg ? pSeg->FileSize : 0;
}
U32 ELF_GetSegmentMemSize(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SEGMENT* pSeg = FindSegment(hFile, Index);
    return pSeg ? pSeg->MemSize : 0;
}
U32 ELF_GetSegmentFlags(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SEGMENT* pSeg = FindSegment(hFile, Index);
    return pSeg ? pSeg->Flags : 0;
}

U32 ELF_GetSegmentHeaderGap(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SEGMENT* pSeg = FindSegment(hFile, Index);
    if (!pSeg) return 0;
    U32 First = 0xFFFFFFFFu;
    for (const ELF_SECTION& Sec : ElfFind(hFile)->Image.Sections()) {
        if (!(Sec.Flags & SHF_ALLOC) || Sec.Size == 0 || Sec.Type == SHT_NOBITS) continue;
        if (Sec.Offset < pSeg->Offset || Sec.Offset - pSeg->Offset >= pSeg->FileSize) continue;
        First = std::min(First, Sec.Offset - pSeg->Offset);
    }
    return First == 0xFFFFFFFFu ? 0 : First;
}

const U8* ELF_GetSegmentData(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SEGMENT* pSeg = FindSegment(hFile, Index);
    if (!pSeg || pSeg->FileSize == 0) return nullptr;
    const CElfImage& Image = ElfFind(hFile)->Image;
    return static_cast<U64>(pSeg->Offset) + pSeg->FileSize <= Image.Size() ? Image.Data() + pSeg->Offset : nullptr;
}

U32 ELF_GetSectionCount(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? static_cast<U32>(pFile->Image.Sections().size()) : 0;
}
const char* ELF_GetSectionName(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SECTION* pSec = FindSection(hFile, Index);
    return pSec ? pSec->sName : "";
}
U32 ELF_GetSectionType(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SECTION* pSec = FindSection(hFile, Index);
    return pSec ? pSec->Type : 0;
}
U32 ELF_GetSectionFlags(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SECTION* pSec = FindSection(hFile, Index);
    return pSec ? pSec->Flags : 0;
}
U32 ELF_GetSectionAddr(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SECTION* pSec = FindSection(hFile, Index);
    return pSec ? pSec->Addr : 0;
}
U32 ELF_GetSectionOffset(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SECTION* pSec = FindSection(hFile, Index);
    return pSec ? pSec->Offset : 0;
}
U32 ELF_GetSectionSize(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SECTION* pSec = FindSection(hFile, Index);
    return pSec ? pSec->Size : 0;
}
U32 ELF_GetSectionEntrySize(ELF_HANDLE hFile, U32 Index)
{
    const ELF_SECTION* pSec = FindSection(hFile, Index);
    return pSec ? pSec->EntrySize : 0;
}
const U8* ELF_GetSectionData(ELF_HANDLE hFile, U32 Index)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? pFile->Image.SectionBytes(Index).pData : nullptr;
}

int ELF_FindSection(ELF_HANDLE hFile, const char* sName)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile && sName ? pFile->Image.FindSection(sName) : -1;
}

int ELF_FindSectionByInfo(ELF_HANDLE hFile, U32 Info)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    if (!pFile) return -1;
    const std::vector<ELF_SECTION>& aSec = pFile->Image.Sections();
    for (size_t i = 0; i < aSec.size(); i++) {
        if (aSec[i].Info == Info) return static_cast<int>(i);
    }
    return -1;
}

int ELF_FindSectionContaining(ELF_HANDLE hFile, U32 Addr, int Type)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    if (!pFile) return -1;
    const std::vector<ELF_SECTION>& aSec = pFile->Image.Sections();
    for (size_t i = 0; i < aSec.size(); i++) {
        // Sections that aren't loaded all claim address 0.
        if (Type >= 0 ? aSec[i].Type != static_cast<U32>(Type) : !(aSec[i].Flags & SHF_ALLOC)) continue;
        if (Addr >= aSec[i].Addr && Addr - aSec[i].Addr < aSec[i].Size) return static_cast<int>(i);
    }
    return -1;
}

int ELF_GetRelocation(ELF_HANDLE hFile, U32 Section, U32 Entry, U32* pType, U32* pOffset, U32* pSymbol, I32* pAddend)
{
    *pType = *pOffset = *pSymbol = 0;
    *pAddend = 0;
    const ELF_SECTION* pSec = FindSection(hFile, Section);
    if (!pSec) return -1;
    if (pSec->Type != SHT_REL && pSec->Type != SHT_RELA) return 0;
    const ELF_FILE* pFile = ElfFind(hFile);
    const ELF_BYTES Data = pFile->Image.SectionBytes(Section);
    const U32 EntrySize = pSec->Type == SHT_RELA ? 12 : 8;
    CByteCursor Cur(Data.pData, Data.Size, pFile->Image.IsBigEndian());
    Cur.Skip(static_cast<U64>(Entry) * EntrySize);
    const U32 Offset = Cur.GetU32();
    const U32 Info = Cur.GetU32();
    const U32 Addend = pSec->Type == SHT_RELA ? Cur.GetU32() : 0;
    if (!Cur.IsOk()) return -1;
    *pOffset = Offset;
    *pType = Info & 0xFF;
    *pSymbol = Info >> 8;
    *pAddend = static_cast<I32>(Addend);
    return 0;
}

int ELF_GetRelocationSymbol(ELF_HANDLE hFile, U32 Addr, const char** psName)
{
    *psName = nullptr;
    const int Target = ELF_FindSectionContaining(hFile, Addr, -1);
    if (Target < 0) return -1;
    const ELF_FILE* pFile = ElfFind(hFile);
    const std::vector<ELF_SECTION>& aSec = pFile->Image.Sections();
    for (U32 i = 0; i < aSec.size(); i++) {
        const bool IsRela = aSec[i].Type == SHT_RELA;
        if ((aSec[i].Type != SHT_REL && !IsRela) || aSec[i].Info != static_cast<U32>(Target)) continue;
        const U32 Count = aSec[i].Size / (IsRela ? 12 : 8);
        for (U32 n = 0; n < Count; n++) {
            U32 Type, Offset, Symbol;
            I32 Addend;
            if (ELF_GetRelocation(hFile, i, n, &Type, &Offset, &Symbol, &Addend) != 0) break;
            if (Offset != Addr || Symbol >= pFile->Image.Symbols().size()) continue;
            *psName = pFile->Image.Symbols()[Symbol].sName;
            return static_cast<int>(Symbol);
        }
    }
    return -1;
}

// ---- Debug lists ---------------------------------------------------------------------------------------

U32 ELF_GetListCount(ELF_HANDLE hFile, ELF_LIST List)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    if (!pFile || List >= ELF_NUM_LISTS) return 0;
    const std::vector<DWARF_CODE>* pCode = CodeList(pFile, List);
    return static_cast<U32>(pCode ? pCode->size() : pFile->aList[List].size());
}
ELF_SYM_HANDLE ELF_GetListItem(ELF_HANDLE hFile, ELF_LIST List, U32 Index)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    if (!pFile || List >= ELF_NUM_LISTS) return 0;
    if (const std::vector<DWARF_CODE>* pCode = CodeList(pFile, List)) {
        return Index < pCode->size() ? pFile->DebugHandle((*pCode)[Index].Id) : 0;
    }
    return Index < pFile->aList[List].size() ? pFile->DebugHandle(pFile->aList[List][Index]) : 0;
}
ELF_CODE ELF_GetCode(ELF_HANDLE hFile, ELF_LIST List, U32 Index)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    const std::vector<DWARF_CODE>* pCode = pFile ? CodeList(pFile, List) : nullptr;
    if (!pCode || Index >= pCode->size()) return {0, 0, 0xFFFFFFFFu, 0, 0};
    const DWARF_CODE& Code = (*pCode)[Index];
    return {pFile->DebugHandle(Code.Id), pFile->DebugHandle(Code.Origin), Code.Low, Code.High, Code.NumRanges};
}
const ELF_LINE* ELF_GetLines(ELF_HANDLE hFile, U32* pCount)
{
    *pCount = ELF_GetLineCount(hFile);
    return *pCount ? ElfFind(hFile)->aLine.data() : nullptr;
}
ELF_CODE ELF_FindCode(ELF_SYM_HANDLE hSym)
{
    const ELF_FILE* pFile = ElfFindSym(hSym);
    const U32 Id = static_cast<U32>(hSym);
    for (const ELF_LIST List : {ELF_LIST_FUNCTIONS, ELF_LIST_INLINED}) {
        if (!pFile || ((hSym >> 32) & 7) != ELF_SYM_KIND_DEBUG) break;
        const std::vector<DWARF_CODE>& aCode = *CodeList(pFile, List);
        const auto it = std::lower_bound(aCode.begin(), aCode.end(), Id, [](const DWARF_CODE& Code, U32 Key) { return Code.Id < Key; });
        if (it != aCode.end() && it->Id == Id) return {hSym, pFile->DebugHandle(it->Origin), it->Low, it->High, it->NumRanges};
    }
    return {0, 0, 0xFFFFFFFFu, 0, 0};
}
void ELF_DropLines(ELF_HANDLE hFile)
{
    ELF_FILE* pFile = ElfFind(hFile);
    if (!pFile || pFile->aLine.empty()) return;
    CBigVector<ELF_LINE>().swap(pFile->aLine);
    pFile->AreLinesDropped = true;
}
ELF_SYM_HANDLE ELF_GetMainFunction(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? pFile->DebugHandle(pFile->MainFunction) : 0;
}
ELF_SRC_LANG ELF_GetSrcLang(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? pFile->Lang : ELF_SRC_LANG_C;
}
U32 ELF_GetDwarfVersion(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? pFile->DwarfVersion : 0;
}

U32 ELF_GetLineCount(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    if (pFile && pFile->AreLinesDropped) pFile->ReadLinesAgain();
    return pFile ? static_cast<U32>(pFile->aLine.size()) : 0;
}
U32 ELF_GetLineAddr(ELF_HANDLE hFile, U32 Index)
{
    const ELF_LINE* pLine = FindLine(hFile, Index);
    return pLine ? ELF_ToRuntimeAddr(pLine->Addr, 1, 0) : 0;
}
U32 ELF_GetLineNumber(ELF_HANDLE hFile, U32 Index)
{
    const ELF_LINE* pLine = FindLine(hFile, Index);
    return pLine ? pLine->Line : 0;
}
U32 ELF_GetLineColumn(ELF_HANDLE hFile, U32 Index)
{
    const ELF_LINE* pLine = FindLine(hFile, Index);
    return pLine ? pLine->Col : 0;
}
U32 ELF_GetLineFileIndex(ELF_HANDLE hFile, U32 Index)
{
    const ELF_LINE* pLine = FindLine(hFile, Index);
    return pLine ? pLine->File : 0xFFFFFFFFu;
}
const char* ELF_GetLineFile(ELF_HANDLE hFile, U32 Index)
{
    return ELF_GetSrcFile(hFile, ELF_GetLineFileIndex(hFile, Index));
}
bool ELF_LineIsEndOfSequence(ELF_HANDLE hFile, U32 Index)
{
    const ELF_LINE* pLine = FindLine(hFile, Index);
    return pLine && pLine->EndSequence;
}
bool ELF_LineIsStmt(ELF_HANDLE hFile, U32 Index)
{
    const ELF_LINE* pLine = FindLine(hFile, Index);
    return pLine && pLine->IsStmt;
}

U32 ELF_GetSrcFileCount(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? static_cast<U32>(pFile->asSrcFile.size()) : 0;
}
const char* ELF_GetSrcFile(ELF_HANDLE hFile, U32 Index)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile && Index < pFile->asSrcFile.size() ? pFile->asSrcFile[Index].c_str() : "";
}

U32 ELF_FindSrcFile(ELF_HANDLE hFile, const char* sPath)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    if (!pFile || !sPath) return 0xFFFFFFFFu;
    const auto it = pFile->SrcFileIndex.find(sPath);
    return it != pFile->SrcFileIndex.end() ? it->second : 0xFFFFFFFFu;
}

static const std::vector<U32>* FindFileCus(ELF_HANDLE hFile, const char* sPath)
{
    const U32 File = ELF_FindSrcFile(hFile, sPath);
    return File != 0xFFFFFFFFu ? &ElfFind(hFile)->CusOfFile(File) : nullptr;
}
U32 ELF_GetFileCuCount(ELF_HANDLE hFile, const char* sPath)
{
    const std::vector<U32>* pCus = FindFileCus(hFile, sPath);
    return pCus ? static_cast<U32>(pCus->size()) : 0;
}
ELF_SYM_HANDLE ELF_GetFileCu(ELF_HANDLE hFile, const char* sPath, U32 Index)
{
    const std::vector<U32>* pCus = FindFileCus(hFile, sPath);
    return pCus && Index < pCus->size() ? ElfFind(hFile)->DebugHandle((*pCus)[Index]) : 0;
}

static const ELF_CU_FILES* FindCuFiles(ELF_SYM_HANDLE hCu)
{
    const ELF_FILE* pFile = ElfFindSym(hCu);
    if (!pFile || ((hCu >> 32) & 7) != ELF_SYM_KIND_DEBUG) return nullptr;
    const DWARF_UNIT* pUnit = pFile->Info.FindUnit(static_cast<U32>(hCu));
    return pUnit && pUnit->RootId() == static_cast<U32>(hCu) ? pFile->GetCuFiles(*pUnit) : nullptr;
}
U32 ELF_GetCuFileCount(ELF_SYM_HANDLE hCu)
{
    const ELF_CU_FILES* pFiles = FindCuFiles(hCu);
    return pFiles ? static_cast<U32>(pFiles->aFile.size()) : 0;
}
U32 ELF_GetCuFile(ELF_SYM_HANDLE hCu, U32 Index)
{
    const ELF_CU_FILES* pFiles = FindCuFiles(hCu);
    return pFiles && Index < pFiles->aFile.size() ? pFiles->aFile[Index] : 0xFFFFFFFFu;
}

U32 ELF_GetMacroCount(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? static_cast<U32>(pFile->Macros().size()) : 0;
}
const char* ELF_GetMacroText(ELF_HANDLE hFile, U32 Index)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile && Index < pFile->Macros().size() ? pFile->aMacro[Index].sText : "";
}
U32 ELF_GetMacroLine(ELF_HANDLE hFile, U32 Index)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile && Index < pFile->Macros().size() ? pFile->aMacro[Index].Line : 0;
}
