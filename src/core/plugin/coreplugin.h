/* The interface between the debugger and a core support plug-in.
 *
 * All that depends on the target's instruction set sits behind a shared library of one
 * processor family. This header is all that both sides share: plain C, no other header
 * of the debugger, records of fixed layout.
 *
 * A plug-in library exports four functions, found by name:
 *   CORE_PLUGIN_GetAPI      fills the plug-in's table of 40 functions
 *   CORE_PLUGIN_SetAPI      takes the debugger's table of 7 functions
 *   CORE_PLUGIN_GetVersion  the plug-in's version
 *   CORE_PLUGIN_GetName     the plug-in's name
 *
 * Every function of the tables gives 0 for success and another value for failure unless
 * its comment says otherwise. A null entry means that the plug-in doesn't offer it.
 * Functions come on the GUI thread and on the device worker; the decoding functions and
 * the register functions may run on both at once without a lock by the caller.
 */
#ifndef VANTREL_CORE_PLUGIN_H
#define VANTREL_CORE_PLUGIN_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#define CORE_STATIC_ASSERT(Cond, Text) static_assert(Cond, Text)
#else
#define CORE_STATIC_ASSERT(Cond, Text) _Static_assert(Cond, Text)
#endif

/* Sizes and limits of the interface. */
enum {
    CORE_NUM_PLUGIN_FUNCS = 40,    /* entries of CORE_PLUGIN_API */
    CORE_NUM_DEBUGGER_FUNCS = 7,   /* entries of CORE_DEBUGGER_API */
    CORE_PATH_SIZE = 2048,         /* path and file name buffers, with the terminator */
    CORE_NAME_SIZE = 64,           /* buffers of mode and frame names */
    CORE_MNEMONIC_SIZE = 128,      /* mnemonic buffers */
    CORE_MAPSYM_PREFIX_SIZE = 8,   /* buffer of the mapping symbols' prefix */
    CORE_EVENT_BODY_SIZE = 10000,  /* buffer of a default event body */
    CORE_ELF_HEADER_SIZE = 52,     /* bytes of an ELF32 header */
    CORE_MAX_TARGET_READ = 5000,   /* most bytes of one ReadMem from the target */
};

/* Given to Init and Reconfigure. */
typedef struct CORE_CONFIG {
    int32_t CoreId;             /* core code of the device; the top byte is the family */
    uint32_t DataByteOrder;     /* 0 little endian, 1 big endian */
    uint32_t InstByteOrder;     /* 0 little endian, 1 big endian */
    char sPath[CORE_PATH_SIZE]; /* path of the plug-in library, terminated */
} CORE_CONFIG;

CORE_STATIC_ASSERT(sizeof(CORE_CONFIG) == 2060, "size of CORE_CONFIG");
CORE_STATIC_ASSERT(offsetof(CORE_CONFIG, sPath) == 12, "layout of CORE_CONFIG");

/* Constants of a core, filled by GetStaticInfo. Indexes count core registers. */
typedef struct CORE_STATIC_INFO {
    uint32_t DataWordSize;     /* bytes of a pointer, a return address on the stack, a literal pool word */
    uint32_t NumRegs;          /* core registers */
    uint32_t RegSize;          /* bytes, 1 to 8 */
    uint32_t PCSize;           /* bytes, at most 8 */
    uint32_t SPSize;           /* bytes, at most 8; also the alignment of base pointers */
    uint32_t aReserved0[9];    /* not read */
    uint32_t InstAlignment;    /* bytes; code addresses are rounded down to a multiple */
    uint32_t MinInstLen;       /* bytes */
    uint32_t MaxInstLen;       /* bytes */
    uint32_t MaxMnemonicLen;   /* characters; column width of aligned instruction text */
    uint32_t NumExtraRegs;     /* further slots of the register cache */
    uint32_t MaxUnwindRegIdx;  /* the unwinder keeps a rule for each register from 0 to this */
    uint32_t SPRegIdx;
    uint32_t LRRegIdx;
    uint32_t PCRegIdx;
    uint32_t RARegIdx;         /* column of the return address in the unwind rules */
    uint32_t CFARegIdx;        /* column of the canonical frame address in the unwind rules */
    uint32_t Reserved1;        /* not read */
} CORE_STATIC_INFO;

CORE_STATIC_ASSERT(sizeof(CORE_STATIC_INFO) == 104, "size of CORE_STATIC_INFO");
CORE_STATIC_ASSERT(offsetof(CORE_STATIC_INFO, InstAlignment) == 56, "layout of CORE_STATIC_INFO");
CORE_STATIC_ASSERT(offsetof(CORE_STATIC_INFO, CFARegIdx) == 96, "layout of CORE_STATIC_INFO");

/* Bits of CORE_INST_INFO.Flags. */
enum {
    CORE_INST_BRANCH = 0x1,        /* branch of any kind */
    CORE_INST_TARGET = 0x4,        /* the operand text ends in the target of a direct branch */
    CORE_INST_CALL = 0x8,          /* branch that sets a return address */
    CORE_INST_RETURN = 0x10,       /* branch that leaves the function */
    CORE_INST_INDIRECT_MEM = 0x20, /* reads a word in memory, whose address is the target; with bit 0 it branches to it */
    CORE_INST_DIRECT = 0x40,       /* direct branch: BranchTarget is valid */
    CORE_INST_FLOW_OTHER = 0x100,  /* may change the flow in a way other than a branch */
    CORE_INST_PREFIX = 0x200,      /* governs the next instructions, IT for instance */
    CORE_INST_CONDITIONAL = 0x400, /* conditional instruction */
};
#define CORE_INST_SKIP_ON_RESUME 0x80000000u /* PC goes past it before the target resumes */

/* Instruction classes: the assembly export writes code of the second one as Thumb. */
enum {
    CORE_INST_CLASS_FIRST = 1,  /* the instruction set of words only */
    CORE_INST_CLASS_SECOND = 2, /* the instruction set of half words and words */
};

/* One instruction, filled by AnalyzeInst. */
typedef struct CORE_INST_INFO {
    uint32_t Class;        /* CORE_INST_CLASS_... */
    int32_t Length;        /* bytes; 0 or negative: there is no instruction */
    uint64_t BranchTarget; /* of a direct branch, or the address of the word that is read */
    int32_t SPChange;      /* bytes; negative when the stack grows, 0 none or not known */
    uint32_t Flags;        /* CORE_INST_... */
} CORE_INST_INFO;

CORE_STATIC_ASSERT(sizeof(CORE_INST_INFO) == 24, "size of CORE_INST_INFO");
CORE_STATIC_ASSERT(offsetof(CORE_INST_INFO, BranchTarget) == 8, "layout of CORE_INST_INFO");
CORE_STATIC_ASSERT(offsetof(CORE_INST_INFO, Flags) == 20, "layout of CORE_INST_INFO");

/* Location types that a plug-in may use in an unwind rule. */
enum {
    CORE_LOC_NONE = 0,
    CORE_LOC_CONST = 1,       /* the value itself */
    CORE_LOC_MEM = 2,         /* memory at Address */
    CORE_LOC_MEM_PLUS = 3,    /* memory at Address; the value read plus Offset */
    CORE_LOC_REG = 4,         /* a register; 1034 undefined, 1035 same value */
    CORE_LOC_REG_PLUS = 5,    /* register plus Offset */
    CORE_LOC_MEM_AT_REG = 6,  /* memory at the nested location */
    CORE_LOC_SP_PLUS = 7,     /* stack pointer plus Offset */
    CORE_LOC_BP_PLUS = 8,     /* frame base plus Offset */
    CORE_LOC_CFA_PLUS = 9,    /* CFA plus Offset */
    CORE_LOC_MEM_AT_SP = 10,  /* memory at stack pointer plus Offset */
    CORE_LOC_MEM_AT_BP = 11,  /* memory at frame base plus Offset */
    CORE_LOC_MEM_AT_CFA = 12, /* memory at CFA plus Offset */
};
enum {
    CORE_RULE_UNDEFINED = 1034,  /* register number of a rule: the value is lost */
    CORE_RULE_SAME_VALUE = 1035, /* register number of a rule: the register keeps its value */
};

/* One part of a location, and a location of at most two parts. These are the same bytes as
 * the debugger's ELF_SYM_LOC: fields in the same order with natural alignment, so that the
 * unwinder's arrays are handed to a plug-in as they are. The unwinder asserts it. */
typedef struct CORE_LOC_PART {
    uint32_t Type;       /* CORE_LOC_... */
    uint32_t Address;    /* of types 2 and 3 */
    uint32_t Register;   /* register number, or CORE_RULE_... */
    int32_t Offset;      /* of the types that have one */
    uint32_t Size;       /* piece size in bytes, 0 for a location in one piece */
    uint32_t Reserved;   /* 0 */
    uint64_t Value;      /* of type 1 */
    uint32_t NestedType; /* the location underneath a type 6 part */
    uint32_t NestedAddress;
    uint32_t NestedRegister;
    int32_t NestedOffset;
} CORE_LOC_PART;

typedef struct CORE_LOC {
    uint32_t NumParts; /* 0: no location */
    uint32_t Reserved; /* 0 */
    CORE_LOC_PART aPart[2];
} CORE_LOC;

CORE_STATIC_ASSERT(sizeof(CORE_LOC_PART) == 48, "size of CORE_LOC_PART");
CORE_STATIC_ASSERT(offsetof(CORE_LOC_PART, Value) == 24, "layout of CORE_LOC_PART");
CORE_STATIC_ASSERT(sizeof(CORE_LOC) == 104, "size of CORE_LOC");

/* Registers of one call frame. The arrays belong to the debugger. */
typedef struct CORE_REG_SET {
    uint64_t FuncLow;    /* address range of the frame's function; low 0xFFFFFFFF: none */
    uint64_t FuncHigh;
    uint32_t NumRegs;    /* entries of each array */
    uint32_t ValueSize;  /* 8 */
    uint64_t* paValue;
    uint8_t* paStatus;   /* 0: the value is valid */
    CORE_LOC* paRule;    /* unwind rules, one a register; for GetUnwindRules those of the program file, if any */
} CORE_REG_SET;

/* Given to GetUnwindRules. The plug-in has the first word on every frame: it takes those that no compiler
 * describes. Where it has no opinion, the rules that the register set came with count. */
typedef struct CORE_UNWIND_REQUEST {
    uint32_t RARegIdx;   /* in: default column of the return address; out: the column to use */
    uint32_t NumRules;   /* entries of paRule */
    uint64_t Reserved;   /* 0 */
    CORE_LOC* paRule;    /* empty; filled by the plug-in, one a register */
} CORE_UNWIND_REQUEST;

CORE_STATIC_ASSERT(offsetof(CORE_UNWIND_REQUEST, Reserved) == 8, "layout of CORE_UNWIND_REQUEST");

/* Kind of a mapping symbol; the low byte decides. */
enum {
    CORE_MAPSYM_CODE = 0,
    CORE_MAPSYM_DATA = 1,
};

/* Results of HandleSemihosting. */
enum {
    CORE_SEMIHOST_NO = 0,     /* an ordinary halt */
    CORE_SEMIHOST_SERVE = 1,  /* an operation is to be served */
    CORE_SEMIHOST_RESUME = 2, /* the target resumes at once */
};

/* The plug-in's functions, in the order of the table. */
typedef struct CORE_PLUGIN_API {
    /* 0: starts the plug-in; required. */
    int (*pfInit)(const CORE_CONFIG* pConfig);
    /* 1: never called by the debugger. */
    int (*pfDeinit)(void);
    /* 2: applies a changed configuration without a reload. */
    int (*pfReconfigure)(const CORE_CONFIG* pConfig);
    /* 3: reads one register; Size is 8. */
    int (*pfReadReg)(uint32_t RegId, uint32_t Size, uint64_t* pValue);
    /* 4: reads many; BufferSize is NumRegs * 8; a status other than 0 marks a failed register. */
    int (*pfReadRegs)(uint32_t NumRegs, const uint32_t* paRegId, uint32_t BufferSize, uint64_t* paValue, uint8_t* paStatus);
    /* 5: writes one register; Size is 8. */
    int (*pfWriteReg)(uint32_t RegId, uint32_t Size, const uint64_t* pValue);
    /* 6: reads a coprocessor or system register by name; Size is 8. */
    int (*pfReadCPReg)(const char* sName, uint32_t Size, uint64_t* pValue);
    /* 7: writes one; Size is 8. */
    int (*pfWriteCPReg)(const char* sName, uint32_t Size, const uint64_t* pValue);
    /* 8: never called. */
    int (*pfReserved8)(void);
    /* 9: fills the static information record; Size is 104. */
    int (*pfGetStaticInfo)(CORE_STATIC_INFO* pInfo, uint32_t Size);
    /* 10: mode of the CPU, a plug-in value. */
    int (*pfGetCPUMode)(uint32_t* pMode);
    /* 11: execution mode, a plug-in value. */
    int (*pfGetExecMode)(uint32_t* pMode);
    /* 12: instruction mode word of a breakpoint at the address; 0 none. */
    uint32_t (*pfGetBPMode)(uint64_t Addr);
    /* 13: 0: the plug-in has filled the rules; other: no opinion. */
    int (*pfGetUnwindRules)(const CORE_REG_SET* pRegSet, CORE_UNWIND_REQUEST* pRequest);
    /* 14: decodes one instruction; negative: there is none. Reads the bytes through ReadMem. */
    int (*pfAnalyzeInst)(uint64_t Addr, CORE_INST_INFO* pInfo);
    /* 15: RegId of a register index, 0xFFFFFFFF if there is none. */
    uint32_t (*pfGetRegId)(uint32_t RegIdx);
    /* 16: text of a CPU mode; Size is 64. */
    int (*pfGetCPUModeName)(uint32_t Mode, char* pBuffer, uint32_t Size);
    /* 17: text of an execution mode; Size is 64. */
    int (*pfGetExecModeName)(uint32_t Mode, char* pBuffer, uint32_t Size);
    /* 18: file name of the default CPU register set file; Size is 2048. */
    int (*pfGetCPURegFile)(int32_t CoreId, char* pBuffer, uint32_t Size);
    /* 19: file name of the default peripheral description; Size is 2048. */
    int (*pfGetPeriphRegFile)(int32_t CoreId, char* pBuffer, uint32_t Size);
    /* 20: text of a frame that the plug-in unwound; other than 0: no text. Size is 64. */
    int (*pfGetFrameName)(const CORE_REG_SET* pRegSet, char* pBuffer, uint32_t Size);
    /* 21: mnemonic. The four text functions take the item's length in bytes and give the length in bytes
     * that the text stands for, 0 or negative for none. Size is 128. */
    int (*pfGetInstMnemonic)(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size);
    /* 22: instruction text; mnemonic, operands and an optional comment are separated by tabs. */
    int (*pfDisassembleInst)(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size);
    /* 23: as 21, for a data item in code. */
    int (*pfGetDataMnemonic)(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size);
    /* 24: as 22, for a data item in code. */
    int (*pfDisassembleData)(uint64_t Addr, uint32_t Length, char* pBuffer, uint32_t Size);
    /* 25: prefix of the mapping symbols' names; Size is 8. Failure or an empty text: there are none. */
    int (*pfGetMapSymPrefix)(char* pBuffer, uint32_t Size);
    /* 26: kind of a mapping symbol, CORE_MAPSYM_..., and a text for it. Other than 0: not a mapping symbol. */
    int (*pfParseMapSym)(const char* sName, uint32_t* pKind, char* pBuffer, uint32_t Size);
    /* 27: byte orders that an ELF header states, 0 little, 1 big; Size is 52. */
    int (*pfGetElfByteOrders)(uint32_t Size, const void* pHeader, uint32_t* pDataByteOrder, uint32_t* pInstByteOrder);
    /* 28: frame size in bytes of the function at the address, -1 not known; Flags is 0. */
    int (*pfGetCallFrameSize)(uint64_t Addr, uint32_t Flags);
    /* 29 to 33: event handlers. */
    int (*pfOnTargetConnected)(void);
    int (*pfOnTargetDisconnect)(void);
    int (*pfSetResetState)(void);
    int (*pfOnTargetHalted)(void);
    int (*pfOnTargetResume)(void);
    /* 34: prepares the hardware for semihosting IO. */
    int (*pfInitSemihosting)(const char* sConfig);
    /* 35: ends it. */
    int (*pfDeinitSemihosting)(void);
    /* 36: gives CORE_SEMIHOST_... */
    int (*pfHandleSemihosting)(uint64_t Addr, uint32_t* pOpCode, uint64_t* pParam);
    /* 37: hands the operation's result back, -1 on failure of the operation; both are the same value. */
    int (*pfFinishSemihosting)(int64_t Result, int64_t Result2);
    /* 38: default body of a script event function; other than 0: the debugger's template is used. Size is 10000. */
    int (*pfGetEventBody)(uint32_t EventId, char* pBuffer, uint32_t Size);
    /* 39: other than 0 if a file with this header can be run by the core; Size is 52. */
    int (*pfCheckElf)(uint32_t Size, const void* pHeader);
} CORE_PLUGIN_API;

CORE_STATIC_ASSERT(sizeof(CORE_PLUGIN_API) == CORE_NUM_PLUGIN_FUNCS * sizeof(void*), "entries of CORE_PLUGIN_API");
CORE_STATIC_ASSERT(offsetof(CORE_PLUGIN_API, pfAnalyzeInst) == 14 * sizeof(void*), "order of CORE_PLUGIN_API");
CORE_STATIC_ASSERT(offsetof(CORE_PLUGIN_API, pfGetElfByteOrders) == 27 * sizeof(void*), "order of CORE_PLUGIN_API");
CORE_STATIC_ASSERT(offsetof(CORE_PLUGIN_API, pfInitSemihosting) == 34 * sizeof(void*), "order of CORE_PLUGIN_API");

/* Levels of Log. */
enum {
    CORE_LOG_WARNING = 0, /* warning in the console */
    CORE_LOG_FILE = 1,    /* to the log file only, and only if logging is on */
    CORE_LOG_PLAIN = 2,   /* plain message in the console */
};

/* The debugger's functions for the plug-in, in the order of the table. Texts belong to the
 * debugger and live until the program file closes. */
typedef struct CORE_DEBUGGER_API {
    /* 0: mapping region at the address: its symbol's name, its first address and that of the next
     * region. -1: the address lies in none. */
    int (*pfGetCodeSection)(uint64_t Addr, const char** psName, uint64_t* pStart, uint64_t* pEnd);
    /* 1: index of the symbol at the address, or -1. In a data region the word stored at the address
     * is the address to name. */
    int (*pfGetLabel)(uint64_t Addr, const char** psName, uint64_t* pAddr, uint64_t* pEnd);
    /* 2: 0 or -1. Program file first, then the target while it is connected and halted. */
    int (*pfReadMem)(uint64_t Addr, uint32_t Size, void* pBuffer);
    /* 3: the size read, 0 for size 0, -1 if the program data doesn't hold the whole range. */
    int (*pfReadProgram)(uint64_t Addr, uint32_t Size, void* pBuffer);
    /* 4: three values: lowest virtual address of the program data, lowest load address, entry point
     * of the open program file or -1 if there is none. -1 with a null pointer. */
    int (*pfGetProgramRange)(uint64_t* paRange);
    /* 5: register set of the newest frame; -1 if there is none. */
    int (*pfGetRegSet)(const CORE_REG_SET** ppRegSet);
    /* 6: 0, or -1 for an unknown level, CORE_LOG_... */
    int (*pfLog)(const char* sText, uint32_t Level);
} CORE_DEBUGGER_API;

CORE_STATIC_ASSERT(sizeof(CORE_DEBUGGER_API) == CORE_NUM_DEBUGGER_FUNCS * sizeof(void*), "entries of CORE_DEBUGGER_API");

/* The exports. A non-zero result of GetAPI or SetAPI means that the table's size isn't known. */
typedef int CORE_PLUGIN_GETAPI_FUNC(CORE_PLUGIN_API* pAPI, uint32_t Size);
typedef int CORE_PLUGIN_SETAPI_FUNC(const CORE_DEBUGGER_API* pAPI, uint32_t Size);
typedef uint32_t CORE_PLUGIN_GETVERSION_FUNC(void);
typedef const char* CORE_PLUGIN_GETNAME_FUNC(void);

#define CORE_PLUGIN_GETAPI_NAME "CORE_PLUGIN_GetAPI"
#define CORE_PLUGIN_SETAPI_NAME "CORE_PLUGIN_SetAPI"
#define CORE_PLUGIN_GETVERSION_NAME "CORE_PLUGIN_GetVersion"
#define CORE_PLUGIN_GETNAME_NAME "CORE_PLUGIN_GetName"

#ifdef __cplusplus
}
#endif
#endif
