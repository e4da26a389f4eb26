// What an ELF file says: mapping symbols, byte orders, machine.
#include "rvplugin.h"

#include "../common/coretext.h"

#include <cstring>

namespace {

constexpr uint32_t EI_CLASS = 4;
constexpr uint32_t EI_DATA = 5;
constexpr uint32_t E_MACHINE = 18;
constexpr uint8_t CLASS_32 = 1;
constexpr uint8_t DATA_LITTLE = 1;
constexpr uint32_t EM_RISCV = 243;

bool IsRV32(uint32_t Size, const void* pHeader) {
    const uint8_t* p = static_cast<const uint8_t*>(pHeader);
    constexpr char MAGIC[] = {0x7F, 'E', 'L', 'F'};
    if (!p || Size < CORE_ELF_HEADER_SIZE || std::memcmp(p, MAGIC, sizeof MAGIC) != 0) return false;
    return p[EI_CLASS] == CLASS_32 && p[EI_DATA] == DATA_LITTLE && (p[E_MACHINE] | (p[E_MACHINE + 1] << 8)) == EM_RISCV;
}

} // namespace

int RV_GetMapSymPrefix(char* pBuffer, uint32_t Size) {
    return CORETEXT_Copy("$", pBuffer, Size);
}

int RV_ParseMapSym(const char* sName, uint32_t* pKind, char* pBuffer, uint32_t Size) {
    if (!sName || !pKind || sName[0] != '$') return -1;
    const bool IsData = sName[1] == 'd' && (sName[2] == '\0' || sName[2] == '.');
    if (!IsData && sName[1] != 'x') return -1; // "$x" may be followed by the extensions in use
    *pKind = IsData ? CORE_MAPSYM_DATA : CORE_MAPSYM_CODE;
    if (pBuffer) CORETEXT_Copy(IsData ? "Data" : "RISC-V code", pBuffer, Size);
    return 0;
}

int RV_GetElfByteOrders(uint32_t Size, const void* pHeader, uint32_t* pDataByteOrder, uint32_t* pInstByteOrder) {
    if (!IsRV32(Size, pHeader) || !pDataByteOrder || !pInstByteOrder) return -1;
    *pDataByteOrder = *pInstByteOrder = 0;
    return 0;
}

int RV_CheckElf(uint32_t Size, const void* pHeader) {
    return IsRV32(Size, pHeader);
}
