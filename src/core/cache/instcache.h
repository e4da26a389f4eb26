// The table of decoded instruction records by address, in pages that are made when they are first written to.
//
// Pages are filled on the main thread and read on two; a record is published by its length.
// Nothing is freed but by Clear, which needs the device mutex.
#pragma once
#include "app/services/types.h"
#include "core/plugin/coreplugin.h"

namespace Core {

/// Highest address that the cache takes, exclusive.
inline constexpr U64 CACHE_LIMIT = 0xFFFFFFFFu;

/// Stores a record; the page is made if needed. The address is below CACHE_LIMIT.
void StoreInst(U32 Addr, const CORE_INST_INFO& Info);
/// Copies the record of an address; false if no instruction starts there. Any thread.
bool LoadInst(U64 Addr, CORE_INST_INFO* pInfo);
/// True if an instruction starts at the address; cheaper than a copy. Any thread.
bool HasInst(U64 Addr);
/// Frees all pages.
void FreeInsts();

} // namespace Core
