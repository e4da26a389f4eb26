/* Where the value of a symbol lies at one PC, as plain records in C layout.
 *
 *   ELF_SYM_LOC Loc;
 *   Loc = ELF_GetSymLoc(hSym, PC);
 *   if (Loc.NumParts == 1 && Loc.aPart[0].Type == ELF_LOC_MEM_FIXED) Read(Loc.aPart[0].Addr);
 *
 * The core plug-in interface shares these records (unwind rules), so this header needs nothing but
 * stdint.h, has no implicit padding and stays usable from C. Two locations are equal exactly when their
 * bytes are equal; create them zeroed.
 */
#ifndef VANTREL_PROGRAM_SYMBOLS_ELFSYMLOC_H
#define VANTREL_PROGRAM_SYMBOLS_ELFSYMLOC_H

#include <stdint.h>

/* Location types; the value of ELF_SYM_LOC_PART::Type and NestedType. */
enum {
    ELF_LOC_NONE = 0,              /* no location */
    ELF_LOC_CONST = 1,             /* constant, in Value */
    ELF_LOC_MEM_FIXED = 2,         /* memory at Addr */
    ELF_LOC_MEM_ADDR_OFFSET = 3,   /* memory at Addr, plus Offset */
    ELF_LOC_REG = 4,               /* the value is in register Reg */
    ELF_LOC_REG_OFFSET = 5,        /* value of register Reg plus Offset */
    ELF_LOC_MEM_REG_OFFSET = 6,    /* memory at register plus offset; the register is in the nested fields */
    ELF_LOC_SP_OFFSET = 7,         /* stack pointer plus Offset */
    ELF_LOC_FB_OFFSET = 8,         /* frame base plus Offset */
    ELF_LOC_CFA_OFFSET = 9,        /* CFA plus Offset */
    ELF_LOC_MEM_SP_OFFSET = 10,    /* memory at stack pointer plus Offset */
    ELF_LOC_MEM_FB_OFFSET = 11,    /* memory at frame base plus Offset */
    ELF_LOC_MEM_CFA_OFFSET = 12,   /* memory at CFA plus Offset */
    ELF_LOC_PARENT_VALUE = 13,     /* value of the parent object plus Offset */
    ELF_LOC_PARENT_LOC = 14,       /* location of the parent object plus Offset */
    ELF_LOC_ENTRY_VALUE = 15,      /* value that the nested location had on function entry */
    ELF_LOC_COMPUTED = 16,         /* computed value without storage; the nested fields say from what */
    ELF_LOC_NUM_TYPES = 17
};

/* Rule values that stand in the place of a register number. */
#define ELF_REG_UNDEFINED 1034u  /* the register's value is lost */
#define ELF_REG_SAME_VALUE 1035u /* the register keeps the value it has */

#define ELF_SYM_LOC_MAX_PARTS 2u

/* One part of a location, 48 bytes. */
typedef struct ELF_SYM_LOC_PART {
    uint32_t Type;         /* ELF_LOC_... */
    uint32_t Addr;         /* target address, types 2 and 3 */
    uint32_t Reg;          /* DWARF register number, or ELF_REG_UNDEFINED, ELF_REG_SAME_VALUE */
    int32_t Offset;        /* bytes, of the types that have one */
    uint32_t Size;         /* piece size in bytes; 0 if the location is not in pieces */
    uint32_t Reserved;     /* 0 */
    uint64_t Value;        /* constant of type 1 */
    uint32_t NestedType;   /* the location underneath a type 6, 15 or 16 part */
    uint32_t NestedAddr;
    uint32_t NestedReg;
    int32_t NestedOffset;
} ELF_SYM_LOC_PART;

/* A location: NumParts of the parts are in use, more than one when the value is split into pieces.
   104 bytes; 0 parts means that the symbol has no data location. */
typedef struct ELF_SYM_LOC {
    uint32_t NumParts;
    uint32_t Reserved;     /* 0 */
    ELF_SYM_LOC_PART aPart[ELF_SYM_LOC_MAX_PARTS];
} ELF_SYM_LOC;

/* The record under which unwind rules travel: an array of these holds one rule a register. It is the same
   record, so that rules of a plug-in and of the program file lie in one array. */
typedef ELF_SYM_LOC ELF_SYM_LOCS;

#ifdef __cplusplus
static_assert(sizeof(ELF_SYM_LOC_PART) == 48 && sizeof(ELF_SYM_LOC) == 104, "layout shared with plug-ins");
#endif

#endif
