// What an ELF file says: mapping symbols, byte orders, machine.
#include "armplugin.h"

#include <cstring>

namespace {

constexpr uint32_t EI_CLASS = 4;
constexpr uint32_t EI_DATA = 5;
constexpr uint32_t E_MACHINE = 18;
constexpr uint32_t E_FLAGS = 36;
constexpr uint8_t CLASS_32 = 1;
constexpr uint8_t DATA_LITTLE = 1;
constexpr uint8_t DATA_BIG = 2;
constexpr uint32_t EM_ARM = 40;
constexpr uint32_t FLAG_BE8 = 0x00800000; // big-endian data, little-endian code
constexpr uint32_t KIND_ARM_CODE = 0x100;

const uint8_t* GetHeader(uint32_t Size, const void* pHeader) {
    const uint8_t* p = static_cast<const uint8_t*>(pHeader);
    if (!p || Size < CORE_ELF_HEADER_SIZE || std::memcmp(p, "\x7F"
                                                            "ELF", 4) != 0) {
        return nullptr;
    }
    if (p[EI_CLASS] != CLASS_32 || (p[EI_DATA] != DATA_LITTLE && p[EI_DATA] != DATA_BIG)) return nullptr;
    return p;
}

uint32_t GetField(const uint8_t* pHeader, uint32_t Offset, uint32_t Size) {
    uint32_t Value = 0;
    for (uint32_t i = 0; i < Size; i++) {
        const uint32_t Byte = pHeader[EI_DATA] == DATA_BIG ? Size - 1 - i : i;
        Value |= static_cast<uint32_t>(pHeader[Offset + Byte]) << (8 * i);
    }
    return Value;
}

} // namespace

int ARM_GetMapSymPrefix(char* pBuffer, uint32_t Size) {
    return ARM_CopyText("$", pBuffer, Size);
}

int ARM_ParseMapSym(const char* sName, uint32_t* pKind, char* pBuffer, uint32_t Size) {
    // A tool may add a suffix to make the names unique: "$t.12".
    if (!sName || !pKind || sName[0] != '$' || sName[1] == '\0' || (sName[2] != '\0' && sName[2] != '.')) return -1;
    const char* sText = nullptr;
    switch (sName[1]) {
    case 'a':
        *pKind = KIND_ARM_CODE;
        sText = "Arm code";
        break;
    case 't':
        *pKind = CORE_MAPSYM_CODE;
        sText = "Thumb code";
        break;
    case 'd':
        *pKind = CORE_MAPSYM_DATA;
        sText = "Data";
        break;
    default: return -1;
    }
    if (pBuffer) ARM_CopyText(sText, pBuffer, Size);
    return 0;
}

int ARM_GetElfByteOrders(uint32_t Size, const void* pHeader, uint32_t* pDataByteOrder, uint32_t* pInstByteOrder) {
    const uint8_t* p = GetHeader(Size, pHeader);
    if (!p || !pDataByteOrder || !pInstByteOrder) return -1;
    const bool IsBig = p[EI_DATA] == DATA_BIG;
    *pDataByteOrder = IsBig;
    *pInstByteOrder = IsBig && !(GetField(p, E_FLAGS, 4) & FLAG_BE8);
    return 0;
}

int ARM_CheckElf(uint32_t Size, const void* pHeader) {
    // The entry point tells nothing about the profile: linkers leave its Thumb bit clear when they choose it.
    const uint8_t* p = GetHeader(Size, pHeader);
    return p && GetField(p, E_MACHINE, 2) == EM_ARM ? 1 : 0;
}
