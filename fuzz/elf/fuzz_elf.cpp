// libFuzzer target: any bytes as a program file. Opens it and asks all kinds of questions.
#include "program/elf/elf.h"
#include "program/symbols/elfsym.h"

#include <algorithm>
#include <cstdio>
#include <sys/mman.h>
#include <unistd.h>

static void Touch(ELF_SYM_HANDLE h)
{
    const U32 Low = ELF_GetSymRangeLow(h, 0);
    ELF_GetSymName(h);
    ELF_GetSymTypeText(h);
    ELF_GetSymSize(h);
    ELF_GetSymDeclFile(h, 0x3A);
    ELF_GetSymBitOffset(h);
    ELF_GetSymAccess(h);
    ELF_GetLocText(ELF_GetSymLoc(h, Low), 0);
    ELF_GetLocText(ELF_GetSymLoc(h, 0), 1);
    ELF_ARRAY_INFO Info;
    ELF_GetArrayInfo(h, &Info);
}

extern "C" int LLVMFuzzerTestOneInput(const U8* pData, size_t Size)
{
    static const int s_Fd = memfd_create("program", 0);
    static char s_acPath[32];
    if (!*s_acPath) std::snprintf(s_acPath, sizeof(s_acPath), "/proc/self/fd/%d", s_Fd);
    if (ftruncate(s_Fd, 0) != 0 || pwrite(s_Fd, pData, Size, 0) != static_cast<ssize_t>(Size)) return 0;
    const ELF_HANDLE hFile = ELF_Open(s_acPath, true);
    if (!hFile) return 0;
    for (U32 List = 0; List < ELF_NUM_LISTS; List++) {
        const U32 Count = std::min(ELF_GetListCount(hFile, ELF_LIST(List)), 50u);
        for (U32 i = 0; i < Count; i++) {
            const ELF_SYM_HANDLE h = ELF_GetListItem(hFile, ELF_LIST(List), i);
            Touch(h);
            for (U32 n = 0; n < std::min(ELF_GetSymLocalCount(h), 10u); n++) Touch(ELF_GetSymLocal(h, n));
            for (U32 n = 0; n < std::min(ELF_GetSymMemberCount(h), 10u); n++) Touch(ELF_GetSymMember(h, n));
            for (U32 n = 0; n < std::min(ELF_GetSymBaseCount(h), 10u); n++) Touch(ELF_GetSymBase(h, n));
        }
    }
    ELF_SYM_LOC aRule[32];
    for (U32 i = 0; i < std::min(ELF_GetFdeCount(hFile), 20u); i++) {
        ELF_GetFrameRules(ELF_GetFdeLowPc(hFile, i), 32, aRule);
        ELF_GetFrameSize(ELF_GetFdeLowPc(hFile, i));
    }
    const char* sName;
    ELF_GetRelocationSymbol(hFile, 0x8000, &sName);
    for (U32 i = 0; i < std::min(ELF_GetSegmentCount(hFile), 50u); i++) ELF_GetSegmentHeaderGap(hFile, i);
    ELF_Close(hFile);
    return 0;
}
