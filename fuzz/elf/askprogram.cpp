#include "askprogram.h"
#include "anyframe.h"

#include "program/elf/elf.h"
#include "program/symbols/locpieces.h"
#include "program/tables/prog.h"

#include <algorithm>
#include <cstdio>
#include <sys/mman.h>
#include <unistd.h>

namespace {
constexpr U32 MAX_SYMBOLS = 50;  ///< asked of a list
constexpr U32 MAX_CHILDREN = 10; ///< asked of a symbol
constexpr U32 MAX_ADDRS = 20;    ///< asked of a function

void AskSymbol(ELF_SYM_HANDLE h)
{
    CAnyFrame Frame;
    const U32 Low = ELF_GetSymRangeLow(h, 0);
    ELF_GetSymName(h);
    ELF_GetSymTypeText(h);
    ELF_GetSymSize(h);
    ELF_GetSymDeclFile(h, 0x3A);
    ELF_GetSymBitOffset(h);
    ELF_GetSymAccess(h);
    for (const U32 PC : {Low, Low + 4, 0u}) {
        const ELF_SYM_LOC Loc = ELF_GetSymLoc(h, PC);
        for (U32 Part = 0; Part < ELF_SYM_LOC_MAX_PARTS; Part++) ELF_GetLocText(Loc, Part);
        ELF_EvalExpression(Loc, Frame);
        I32 Offset;
        for (const ELF_SYM_PIECE& Piece : ELF_SlicePieces(ELF_EvalPieces(h, PC, Frame), PC & 31, 45, PC & 1)) ELF_GetPointee(Piece.Part, &Offset);
    }
    ELF_ARRAY_INFO Info;
    ELF_GetArrayInfo(h, &Info);
    PROG_GetSymName(h, PROG_NAME_QUALIFIED);
    PROG_GetSymTypeText(h);
    PROG_GetSymRanges(h);
    PROG_GetSymAddr(h);
    PROG_GetSrcLocText(PROG_GetSymSrcLoc(h));
}

void AskLists(ELF_HANDLE hFile)
{
    for (U32 List = 0; List < ELF_NUM_LISTS; List++) {
        const U32 Count = std::min(ELF_GetListCount(hFile, ELF_LIST(List)), MAX_SYMBOLS);
        for (U32 i = 0; i < Count; i++) {
            const ELF_SYM_HANDLE h = ELF_GetListItem(hFile, ELF_LIST(List), i);
            AskSymbol(h);
            for (U32 n = 0; n < std::min(ELF_GetSymLocalCount(h), MAX_CHILDREN); n++) AskSymbol(ELF_GetSymLocal(h, n));
            for (U32 n = 0; n < std::min(ELF_GetSymMemberCount(h), MAX_CHILDREN); n++) AskSymbol(ELF_GetSymMember(h, n));
            for (U32 n = 0; n < std::min(ELF_GetSymBaseCount(h), MAX_CHILDREN); n++) AskSymbol(ELF_GetSymBase(h, n));
        }
    }
}

void AskFrames(ELF_HANDLE hFile)
{
    ELF_SYM_LOC aRule[32];
    for (U32 i = 0; i < std::min(ELF_GetFdeCount(hFile), MAX_ADDRS); i++) {
        ELF_GetFrameRules(ELF_GetFdeLowPc(hFile, i), 32, aRule);
        ELF_GetFrameSize(ELF_GetFdeLowPc(hFile, i));
    }
    const char* sName;
    ELF_GetRelocationSymbol(hFile, 0x8000, &sName);
    for (U32 i = 0; i < std::min(ELF_GetSegmentCount(hFile), MAX_SYMBOLS); i++) ELF_GetSegmentHeaderGap(hFile, i);
}

/// The tables: lines of functions and back, files, names.
void AskTables()
{
    const ELF_SYM_LIST Functions = PROG_GetFunctions();
    for (U32 i = 0; i < std::min(U32(Functions.size()), MAX_CHILDREN); i++) {
        const CAddrRange Range = PROG_GetSymRange(Functions[i]);
        U32 Addr = Range.Start;
        for (U32 n = 0; n < MAX_ADDRS; n++) {
            PROG_GetFunctionAt(Addr, int(n & 1));
            for (const CSrcLoc& Loc : PROG_GetSrcLocs(Addr)) PROG_GetAddrs(Loc);
            const I64 Next = PROG_GetNextMappedAddr(Addr);
            if (Next < 0) break;
            Addr = U32(Next);
        }
        PROG_SetCurrentFunction(Functions[i]);
        PROG_GetCurrentLocals();
        ELF_GetSymLocalsAt(Functions[i], Range.Start);
        PROG_GetInlineInstances(Functions[i]);
        // A damaged range can be the whole address space, which is no function that a window would list.
        if (Range.Size < 0x10000) PROG_GetFunctionLines(Range);
        PROG_FindSymbols(PROG_GetSymName(Functions[i], PROG_NAME_PLAIN), true, true, true, true, true);
    }
    const QList<U32> Files = PROG_GetFiles();
    for (U32 i = 0; i < std::min(U32(Files.size()), MAX_CHILDREN); i++) {
        PROG_GetFilePath(Files[i]);
        PROG_GetFileRanges(Files[i]);
        PROG_GetFileFunctions(Files[i]);
        PROG_GetNextLineWithCode(CSrcLoc(Files[i], 1));
    }
    for (const char* sText : {"main", "main.c:3", "8000", "a::b"}) {
        int Kind = 0;
        PROG_ResolveLocationText(QLatin1String(sText), &Kind);
        PROG_GetMacroText(QLatin1String(sText));
    }
    PROG_GetMainSrcLoc();
    PROG_ReadBytes(0x8000, 16, nullptr);
}
} // namespace

CMemFile::CMemFile(const U8* pData, std::size_t Size) : m_Fd(memfd_create("program", 0))
{
    if (m_Fd >= 0 && pwrite(m_Fd, pData, Size, 0) == static_cast<ssize_t>(Size))
        std::snprintf(m_acPath, sizeof(m_acPath), "/proc/self/fd/%d", m_Fd);
}

CMemFile::~CMemFile()
{
    if (m_Fd >= 0) close(m_Fd);
}

void AskLoaded()
{
    const ELF_HANDLE hFile = PROG_GetFileHandle();
    AskLists(hFile);
    AskFrames(hFile);
    AskTables();
}

bool AskProgram(const char* sPath)
{
    if (!*sPath || PROG_Load(QString::fromLatin1(sPath)) < 0) return false;
    AskLoaded();
    PROG_Unload();
    return true;
}
