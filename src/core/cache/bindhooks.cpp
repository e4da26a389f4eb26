// What this layer serves to the plug-in host and to the program tables.
#include "core/cache/core.h"
#include "core/cache/regions.h"
#include "core/host/corehooks.h"
#include "core/host/corehost.h"
#include "program/tables/prog.h"

#include <algorithm>

namespace Core {

namespace {

int GetCodeSection(U64 Addr, const char** psName, U64* pStart, U64* pEnd) {
    REGION Region;
    if (!GetRegion(FindRegion(Addr), &Region, pEnd)) return -1;
    *psName = Region.sName;
    *pStart = Region.Addr;
    return 0;
}

int GetLabel(U64 Addr, const char** psName, U64* pAddr, U64* pEnd) {
    const U32 Label = IsData(Addr) ? GetPointerLabelAt(Addr, true, LABEL_ANY, psName, pAddr, pEnd)
                                   : GetLabelAt(Addr, false, LABEL_ANY, psName, pAddr, pEnd);
    return Label == LABEL_NONE || Label == 0 ? -1 : static_cast<int>(Label);
}

int GetProgramRange(U64* paRange) {
    paRange[0] = paRange[1] = paRange[2] = ~U64(0);
    for (const PROG_BLOCK& Block : PROG_GetBlocks()) {
        paRange[0] = std::min(paRange[0], Block.VirtAddr);
        paRange[1] = std::min(paRange[1], Block.LoadAddr);
    }
    const U32 Entry = PROG_GetEntryPoint();
    if (Entry != 0xFFFFFFFFu) paRange[2] = Entry;
    return 0;
}

int ReadProgramData(U64 Addr, U32 Size, void* pBuffer) {
    return Addr < 0xFFFFFFFFu ? PROG_ReadBytes(static_cast<U32>(Addr), Size, pBuffer) : -1;
}

} // namespace

void RegisterHooks() {
    CORE_HOOKS& Hooks = Core_GetHooks();
    Hooks.BindProgram = [] {
        const ELF_HANDLE hFile = PROG_GetFileHandle();
        return hFile ? Bind(hFile) : 0;
    };
    Hooks.UnbindProgram = [] {
        ClearCache();
        Unbind();
    };
    Hooks.ClearInstCache = [] { ClearCache(); };
    Hooks.GetCodeSection = GetCodeSection;
    Hooks.GetLabel = GetLabel;
    Hooks.ReadElfSection = [](U64 Addr, U32 Size, void* pBuffer) {
        return ReadOverlay(Addr, Size, pBuffer) == 0 ? 0 : ReadSection(Addr, Size, pBuffer);
    };
    Hooks.ReadProgramData = ReadProgramData;
    Hooks.GetProgramRange = GetProgramRange;

    PROG_HOOKS Prog;
    Prog.BindCore = [](ELF_HANDLE hFile) { return Core_IsLoaded() ? Bind(hFile) : 0; };
    Prog.UnbindCore = [] { Unbind(); };
    Prog.SetBlocks = [](const PROG_BLOCK* paBlock, U32 NumBlocks) { SetBlocks(paBlock, NumBlocks); };
    Prog.IsInstStart = [](U32 Addr) { return IsInstStart(Addr); };
    Prog.IsData = [](U32 Addr) { return IsData(Addr); };
    Prog.CountInsts = [](const QList<CAddrRange>& aRange) {
        return CountInstsInRanges(static_cast<U32>(aRange.size()), aRange.constData());
    };
    PROG_SetHooks(Prog);
}

} // namespace Core
