// Lookups by address: instruction starts, sizes, neighbours, and whether code runs straight on.
#include "core/cache/core.h"
#include "core/cache/instcache.h"
#include "core/cache/regions.h"
#include "core/host/corecalls.h"
#include "core/host/corehost.h"

#include <algorithm>

namespace Core {

bool IsData(U64 Addr) {
    REGION Region;
    U64 End = 0;
    return GetRegion(FindRegion(Addr), &Region, &End) && IsDataKind(Region.Kind);
}

bool IsInstStart(U64 Addr) {
    return HasInst(Addr) && !(Addr % Core_GetStaticInfo().InstAlignment) && !IsData(Addr);
}

int GetInstInfo(CORE_INST_INFO* pRec, U64 Addr) {
    return LoadInst(Addr, pRec) ? 0 : -1;
}

void ReadInst(CORE_INST_INFO* pRec, U64 Addr) {
    if (GetInstInfo(pRec, Addr) != 0) Core_AnalyzeInst(Addr, pRec);
}

int GetNextInst(U64 Addr, U64* pNext) {
    const U64 Alignment = Core_GetStaticInfo().InstAlignment;
    const U64 Limit = Addr + Core_GetStaticInfo().MaxInstLen;
    for (U64 Next = Addr - Addr % Alignment + Alignment; Next <= Limit; Next += Alignment) {
        if (!IsInstStart(Next)) continue;
        *pNext = Next;
        return 0;
    }
    return -1;
}

int GetPrevInst(U64 Addr, U64* pPrev) {
    const U64 Alignment = Core_GetStaticInfo().InstAlignment;
    const U64 MaxLen = Core_GetStaticInfo().MaxInstLen;
    U64 Prev = Addr - Addr % Alignment;
    if (Prev == Addr) Prev -= Alignment; // below 0 it is far away
    for (; Prev < Addr && Addr - Prev <= MaxLen; Prev -= Alignment) {
        if (!IsInstStart(Prev)) continue;
        *pPrev = Prev;
        return 0;
    }
    return -1;
}

U8 GetInstSize(U64 Addr) {
    const CORE_STATIC_INFO& Info = Core_GetStaticInfo();
    CORE_INST_INFO Inst;
    // Where no region says what is there, the plug-in decides.
    if (IsInstStart(Addr) || FindRegion(Addr) < 0) {
        ReadInst(&Inst, Addr);
        if (Inst.Length > 0) return static_cast<U8>(std::min(Inst.Length, 255));
    }
    U64 Next = 0;
    if (GetNextInst(Addr, &Next) == 0) return static_cast<U8>(Next - Addr);
    return static_cast<U8>(Info.MinInstLen);
}

U32 GetDataItemSize(U64 Addr) {
    REGION Region;
    U64 End = 0;
    if (!GetRegion(FindRegion(Addr), &Region, &End) || !IsDataKind(Region.Kind) || End <= Addr) return 0;
    return static_cast<U32>(std::min<U64>(End - Addr, Core_GetStaticInfo().DataWordSize));
}

bool IsLinear(U64 Start, U64 End) {
    const U64 Alignment = Core_GetStaticInfo().InstAlignment;
    for (U64 Addr = Start - Start % Alignment; Addr < End; Addr += Alignment) {
        if (!IsInstStart(Addr)) continue;
        CORE_INST_INFO Inst;
        ReadInst(&Inst, Addr);
        if (Inst.Length <= 0) continue;
        if (Inst.Flags & CORE_INST_FLOW_OTHER) return false;
        if ((Inst.Flags & CORE_INST_BRANCH) && !(Inst.Flags & CORE_INST_CALL)) return false;
    }
    return true;
}

} // namespace Core
