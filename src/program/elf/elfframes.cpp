// Bounds of the call frame records and the frame size of a function.
#include "program/elf/elffile.h"
#include "program/elf/frameguard.h"

#include <algorithm>
#include <libdwarf/dwarf.h>

namespace {

const DWARF_FDE* FindFdeByIndex(ELF_HANDLE hFile, U32 Index)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile && Index < pFile->Adapter.Fdes().size() ? &pFile->Adapter.Fdes()[Index] : nullptr;
}

} // namespace

U32 ELF_GetFdeCount(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? static_cast<U32>(pFile->Adapter.Fdes().size()) : 0;
}
U32 ELF_GetFdeLowPc(ELF_HANDLE hFile, U32 Index)
{
    const DWARF_FDE* pFde = FindFdeByIndex(hFile, Index);
    return pFde ? ELF_ToRuntimeAddr(pFde->Low, 1, 0) : 0;
}
U32 ELF_GetFdeHighPc(ELF_HANDLE hFile, U32 Index)
{
    const DWARF_FDE* pFde = FindFdeByIndex(hFile, Index);
    return pFde ? ELF_ToRuntimeAddr(pFde->High, 0, 1) : 0;
}
U32 ELF_GetReturnAddrColumn(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? pFile->Adapter.ReturnAddrColumn() : 0;
}

I32 ELF_GetFrameSize(U32 PC)
{
    ELF_FILE* pFile = ElfCurrent();
    if (!pFile) return -1;
    const int Fde = pFile->Adapter.FindFde(ELF_FromRuntimeAddr(PC, 1, 0));
    const U8* pBytes = nullptr;
    U32 Size = 0;
    I64 Factor = 1;
    if (Fde < 0 || !pFile->Adapter.GetInstructions(Fde, pBytes, Size, Factor)) return -1;
    CByteCursor Cur(pBytes, Size, pFile->Image.IsBigEndian());
    I64 Min = 0, Max = 0;
    auto Track = [&](I64 Offset) {
        Min = std::min(Min, Offset);
        Max = std::max(Max, Offset);
    };
    while (!Cur.AtEnd()) {
        const U32 Op = Cur.GetU8();
        switch (Op & 0xC0) {
        case DW_CFA_offset: Cur.SkipLeb(); continue;
        case DW_CFA_advance_loc:
        case DW_CFA_restore: continue;
        default: break;
        }
        switch (Op) {
        case DW_CFA_def_cfa:
            Cur.SkipLeb();
            Track(static_cast<I64>(Cur.GetULeb()));
            break;
        case DW_CFA_def_cfa_offset: Track(static_cast<I64>(Cur.GetULeb())); break;
        case DW_CFA_def_cfa_sf:
            Cur.SkipLeb();
            Track(static_cast<I64>(static_cast<U64>(Cur.GetSLeb()) * static_cast<U64>(Factor)));
            break;
        case DW_CFA_def_cfa_offset_sf:
            Track(static_cast<I64>(static_cast<U64>(Cur.GetSLeb()) * static_cast<U64>(Factor)));
            break;
        default: SkipFrameOperands(Cur, Op); break;
        }
    }
    const I64 Result = std::max(Max, Min == INT64_MIN ? INT64_MAX : -Min);
    return Result > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<I32>(Result);
}
