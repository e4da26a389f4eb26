/* Interface of the probe library, libbryllo.so: the only way from the debugger and its
 * core plug-ins to a target. Usable from C and C++.
 *
 *   BRYLLOARM_SelectUSB(0);
 *   const char* sErr = BRYLLOARM_Open();                    // null when ok
 *   BRYLLOARM_ExecCommand("device=VS4F-512", acOut, sizeof(acOut));
 *   BRYLLOARM_TIF_Select(BRYLLO_TIF_SWD);
 *   if (BRYLLOARM_Connect() == 0) { BRYLLOARM_Halt(); ... }
 *   BRYLLOARM_Close();
 *
 * Conventions. All integers are little-endian in records. Records that have a SizeOfStruct
 * field need it set before the call. Unless an operation says otherwise 0 is success and a
 * negative value failure; BRYLLO_ERR_... names the failures that have a number of their own.
 * Texts handed out belong to the library and live until it is unloaded. Every operation may be
 * called from any thread at any time: one lock inside serialises them, and an operation on a
 * library that is not open or not connected fails instead of waiting. Addresses are 32 bit.
 */
#ifndef BRYLLO_H
#define BRYLLO_H

#include <stddef.h>
#include <stdint.h>

typedef uint8_t U8;
typedef uint16_t U16;
typedef uint32_t U32;
typedef uint64_t U64;
typedef int32_t I32;

#define BRYLLO_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define BRYLLO_CHECK(Cond) static_assert(Cond, #Cond)
extern "C" {
#else
#define BRYLLO_CHECK(Cond) _Static_assert(Cond, #Cond)
#endif
#define BRYLLO_CHECK_FIELD(Type, Field, Offset) BRYLLO_CHECK(offsetof(Type, Field) == (Offset))

/* ---------------------------------------------------------------------- constants -------- */

/* Failures with a number of their own. */
enum {
    BRYLLO_ERR_UNSPECIFIED = -1,
    BRYLLO_ERR_DL_COMPARE = -2,      /* EndDownload: flash could not be compared */
    BRYLLO_ERR_DL_PROGRAM = -3,      /* EndDownload: erase or program failed */
    BRYLLO_ERR_DL_VERIFY = -4,       /* EndDownload: flash reads back different */
    BRYLLO_ERR_NOT_OPEN = -256,      /* BRYLLOARM_Open has not been called or failed */
    BRYLLO_ERR_NOT_CONNECTED = -257, /* no target session */
    BRYLLO_ERR_LOST = -258,          /* the probe or target has stopped answering */
    BRYLLO_ERR_RUNNING = -259,       /* needs a halted target */
    BRYLLO_ERR_PARAM = -260,         /* an argument makes no sense */
    BRYLLO_ERR_MEM = -261,           /* the target refused the access */
    BRYLLO_ERR_NO_SERVICE = -262     /* this target or backend does not have the service */
};

/* HSS: answers of BRYLLO_HSS_Start. */
enum {
    BRYLLO_HSS_ERR_UNSPECIFIED = -1,
    BRYLLO_HSS_ERR_NO_MEMORY = -2,
    BRYLLO_HSS_ERR_TOO_MANY_BLOCKS = -3,
    BRYLLO_HSS_ERR_NO_SERVICE = -4
};

/* Target interfaces of BRYLLOARM_TIF_Select. */
enum { BRYLLO_TIF_JTAG = 0, BRYLLO_TIF_SWD = 1, BRYLLO_TIF_FINE = 3, BRYLLO_TIF_CJTAG = 7 };

/* Interface speeds with a meaning of their own, in place of a number of kHz. */
enum { BRYLLO_SPEED_AUTO = 0, BRYLLO_SPEED_ADAPTIVE = 65535 };

/* Ids of BRYLLO_GetpFunc. */
enum { BRYLLO_PFUNC_GET_BMA = 10, BRYLLO_PFUNC_GET_ENDIAN = 12, BRYLLO_PFUNC_GET_SERVER_INFO = 33 };

/* Capability of BRYLLOARM_EMU_HasCapEx: single wire output. */
enum { BRYLLO_EMU_CAP_SWO = 23 };

/* BRYLLOARM_RAWTRACE_Control: command and answer bit. */
enum { BRYLLO_RAWTRACE_CMD_GET_CAPS = 4, BRYLLO_RAWTRACE_CAP_STREAMING = 1 << 5 };

/* Type word of BRYLLOARM_SetBPEx: one of these, ORed with the instruction mode in bits 0 to 3. */
#define BRYLLO_BP_TYPE_ANY 0xFFFFFFF0u  /* hardware unit if one is free, else software */
#define BRYLLO_BP_TYPE_HARD 0xFFFFFF00u /* hardware unit only */
#define BRYLLO_BP_TYPE_SOFT 0x000000F0u /* software, in RAM or flash as the address demands */
/* Instruction modes. The simulator derives what it needs from the target and accepts all. */
enum { BRYLLO_BP_MODE_ARM = 1, BRYLLO_BP_MODE_THUMB = 2 };

/* BRYLLOARM_BP_INFO.ImpFlags */
enum {
    BRYLLO_BP_IMP_HARD = 1 << 0,
    BRYLLO_BP_IMP_SOFT_RAM = 1 << 1,
    BRYLLO_BP_IMP_PENDING = 1 << 2, /* accepted, takes effect at the next resume */
    BRYLLO_BP_IMP_SOFT_FLASH = 1 << 4
};

/* Failure bits of BRYLLOARM_SetDataEvent: the answer is negative and holds these beside bit 31. */
enum {
    BRYLLO_EVENT_ERR_NO_MORE_EVENTS = 1 << 0,
    BRYLLO_EVENT_ERR_NO_MORE_ADDR_COMP = 1 << 1,
    BRYLLO_EVENT_ERR_NO_MORE_DATA_COMP = 1 << 2,
    BRYLLO_EVENT_ERR_INVALID_ADDR_MASK = 1 << 5,
    BRYLLO_EVENT_ERR_INVALID_DATA_MASK = 1 << 6,
    BRYLLO_EVENT_ERR_INVALID_ACCESS_MASK = 1 << 7
};

/* Bits of BRYLLOARM_DATA_EVENT.Access and AccessMask. */
enum {
    BRYLLO_ACCESS_WRITE = 1 << 0,     /* Access: 1 write, 0 read. AccessMask: either direction */
    BRYLLO_ACCESS_SIZE_MASK = 3 << 1, /* Access: the size code. AccessMask 6: any size */
    BRYLLO_ACCESS_SIZE_BYTE = 0 << 1,
    BRYLLO_ACCESS_SIZE_HALF = 1 << 1, /* value 2 */
    BRYLLO_ACCESS_SIZE_WORD = 2 << 1, /* value 4 */
    BRYLLO_ACCESS_MASK_SET = 1 << 4   /* AccessMask: always set by callers */
};

/* Clears all breakpoints, respectively data events. */
#define BRYLLO_HANDLE_ALL 0xFFFFFFFFu

/* Register indexes of BRYLLOARM_ReadRegs and BRYLLOARM_WriteRegs on Cortex-M. */
enum {
    BRYLLO_REG_R0 = 0,  /* R0 to R12 follow each other */
    BRYLLO_REG_SP = 13, /* the stack pointer in use */
    BRYLLO_REG_LR = 14,
    BRYLLO_REG_PC = 15,
    BRYLLO_REG_XPSR = 16,
    BRYLLO_REG_MSP = 17,
    BRYLLO_REG_PSP = 18,
    BRYLLO_REG_PRIMASK = 19,
    BRYLLO_REG_BASEPRI = 20,
    BRYLLO_REG_FAULTMASK = 21,
    BRYLLO_REG_CONTROL = 22,
    BRYLLO_REG_MSPLIM = 23,
    BRYLLO_REG_PSPLIM = 24,
    BRYLLO_REG_S0 = 32, /* S0 to S31 follow each other */
    BRYLLO_REG_FPSCR = 64,
    BRYLLO_REG_CYCLES = 65 /* 64 bit count of CPU cycles since reset, read only */
};

/* Core ids of BRYLLOARM_DEVICE_INFO.Core; the top byte is the core family. */
#define BRYLLO_CORE_CORTEX_M3 0x030000FFu
#define BRYLLO_CORE_CORTEX_M0 0x060000FFu
#define BRYLLO_CORE_CORTEX_M0P 0x060100FFu
#define BRYLLO_CORE_CORTEX_M4 0x0E0000FFu
#define BRYLLO_CORE_CORTEX_M4F 0x0E0100FFu
#define BRYLLO_CORE_CORTEX_M7F 0x0E0200FFu
#define BRYLLO_CORE_CORTEX_M33 0x0E0300FFu
#define BRYLLO_CORE_RV32IMAC 0x13000001u

/* ------------------------------------------------------------------------ records -------- */

/* One entry of the device table. Zeroed by the caller, SizeOfStruct set. */
typedef struct {
    U32 SizeOfStruct; /* 2392 */
    U32 Reserved0;
    const char* sName; /* device name */
    U32 Reserved1;
    U32 FlashAddr; /* base of the (first) flash */
    U32 RAMAddr;   /* base of the (first) RAM */
    U32 Reserved2;
    U32 FlashSize;     /* bytes */
    U32 RAMSize;       /* bytes */
    const char* sManu; /* manufacturer */
    U8 Reserved3[512];
    U32 Core; /* core id */
    U8 Reserved4[1828];
} BRYLLOARM_DEVICE_INFO;
BRYLLO_CHECK_FIELD(BRYLLOARM_DEVICE_INFO, SizeOfStruct, 0);
BRYLLO_CHECK_FIELD(BRYLLOARM_DEVICE_INFO, sName, 8);
BRYLLO_CHECK_FIELD(BRYLLOARM_DEVICE_INFO, FlashAddr, 20);
BRYLLO_CHECK_FIELD(BRYLLOARM_DEVICE_INFO, RAMAddr, 24);
BRYLLO_CHECK_FIELD(BRYLLOARM_DEVICE_INFO, FlashSize, 32);
BRYLLO_CHECK_FIELD(BRYLLOARM_DEVICE_INFO, RAMSize, 36);
BRYLLO_CHECK_FIELD(BRYLLOARM_DEVICE_INFO, sManu, 40);
BRYLLO_CHECK_FIELD(BRYLLOARM_DEVICE_INFO, Core, 560);
BRYLLO_CHECK(sizeof(BRYLLOARM_DEVICE_INFO) == 2392);

/* Answer of BRYLLOARM_GetBPInfoEx. */
typedef struct {
    U32 SizeOfStruct; /* 28 */
    U32 Handle;       /* in: the breakpoint asked about; out with an index: its handle */
    U32 Addr;         /* out */
    U32 Type;         /* out: the type word it was set with */
    U32 ImpFlags;     /* out: BRYLLO_BP_IMP_... */
    U32 UseCnt;       /* out: how often it has been set at this address */
    U32 Reserved;
} BRYLLOARM_BP_INFO;
BRYLLO_CHECK_FIELD(BRYLLOARM_BP_INFO, SizeOfStruct, 0);
BRYLLO_CHECK_FIELD(BRYLLOARM_BP_INFO, Handle, 4);
BRYLLO_CHECK_FIELD(BRYLLOARM_BP_INFO, ImpFlags, 16);
BRYLLO_CHECK(sizeof(BRYLLOARM_BP_INFO) == 28);

/* Input of BRYLLOARM_SetDataEvent. An access matches when all of these hold:
 * (access address ^ Addr) & ~AddrMask is 0, with the access's own bytes overlapping the event's
 * address range counting as a match; the low bits of the value that the access moved agree with
 * Data outside DataMask; direction and size agree unless AccessMask lets them go. */
typedef struct {
    U32 SizeOfStruct; /* 28 */
    U32 Type;         /* 1 */
    U32 Addr;
    U32 AddrMask; /* bits set are ignored; contiguous from bit 0 */
    U32 Data;
    U32 DataMask; /* bits set are ignored; all ones: any value */
    U8 Access;
    U8 AccessMask;
    U16 Reserved;
} BRYLLOARM_DATA_EVENT;
BRYLLO_CHECK_FIELD(BRYLLOARM_DATA_EVENT, SizeOfStruct, 0);
BRYLLO_CHECK_FIELD(BRYLLOARM_DATA_EVENT, Type, 4);
BRYLLO_CHECK_FIELD(BRYLLOARM_DATA_EVENT, Addr, 8);
BRYLLO_CHECK_FIELD(BRYLLOARM_DATA_EVENT, AddrMask, 12);
BRYLLO_CHECK_FIELD(BRYLLOARM_DATA_EVENT, Data, 16);
BRYLLO_CHECK_FIELD(BRYLLOARM_DATA_EVENT, DataMask, 20);
BRYLLO_CHECK_FIELD(BRYLLOARM_DATA_EVENT, Access, 24);
BRYLLO_CHECK_FIELD(BRYLLOARM_DATA_EVENT, AccessMask, 25);
BRYLLO_CHECK(sizeof(BRYLLOARM_DATA_EVENT) == 28);

/* Answer of BRYLLOARM_GetWPInfoEx. */
typedef struct {
    U32 SizeOfStruct; /* 40 */
    U32 Handle;       /* for BRYLLOARM_ClrDataEvent */
    U32 Addr;
    U32 AddrMask;
    U32 Data;
    U32 DataMask;
    U32 Access;     /* low byte as in the data event */
    U32 AccessMask; /* as in the data event */
    U32 Reserved[2];
} BRYLLOARM_WP_INFO;
BRYLLO_CHECK_FIELD(BRYLLOARM_WP_INFO, SizeOfStruct, 0);
BRYLLO_CHECK_FIELD(BRYLLOARM_WP_INFO, Handle, 4);
BRYLLO_CHECK_FIELD(BRYLLOARM_WP_INFO, Addr, 8);
BRYLLO_CHECK_FIELD(BRYLLOARM_WP_INFO, AddrMask, 12);
BRYLLO_CHECK_FIELD(BRYLLOARM_WP_INFO, Data, 16);
BRYLLO_CHECK_FIELD(BRYLLOARM_WP_INFO, DataMask, 20);
BRYLLO_CHECK_FIELD(BRYLLOARM_WP_INFO, Access, 24);
BRYLLO_CHECK_FIELD(BRYLLOARM_WP_INFO, AccessMask, 28);
BRYLLO_CHECK(sizeof(BRYLLOARM_WP_INFO) == 40);

/* One memory zone. */
typedef struct {
    const char* sName; /* the library owns it */
    const char* sDesc; /* the library owns it, never null */
    U64 VirtAddr;
    U8 Reserved[16];
} BRYLLO_MEM_ZONE;
BRYLLO_CHECK_FIELD(BRYLLO_MEM_ZONE, sName, 0);
BRYLLO_CHECK(sizeof(BRYLLO_MEM_ZONE) == 40);

/* One block sampled by HSS. */
typedef struct {
    U32 Addr;
    U32 NumBytes;
    U32 Flags; /* 0 */
    U32 Reserved;
} BRYLLO_HSS_MEM_BLOCK;
BRYLLO_CHECK_FIELD(BRYLLO_HSS_MEM_BLOCK, Addr, 0);
BRYLLO_CHECK_FIELD(BRYLLO_HSS_MEM_BLOCK, NumBytes, 4);
BRYLLO_CHECK_FIELD(BRYLLO_HSS_MEM_BLOCK, Flags, 8);
BRYLLO_CHECK(sizeof(BRYLLO_HSS_MEM_BLOCK) == 16);

typedef struct {
    U32 SizeOfStruct; /* 24 */
    U32 ChannelMask;
    U32 SampleFreq; /* Hz */
    U32 RefSelect;
    U32 EnableCond;
    U32 Flags; /* bit 1: time stamps in microseconds */
} BRYLLO_POWERTRACE_SETUP;
BRYLLO_CHECK_FIELD(BRYLLO_POWERTRACE_SETUP, SizeOfStruct, 0);
BRYLLO_CHECK_FIELD(BRYLLO_POWERTRACE_SETUP, ChannelMask, 4);
BRYLLO_CHECK_FIELD(BRYLLO_POWERTRACE_SETUP, SampleFreq, 8);
BRYLLO_CHECK_FIELD(BRYLLO_POWERTRACE_SETUP, RefSelect, 12);
BRYLLO_CHECK_FIELD(BRYLLO_POWERTRACE_SETUP, EnableCond, 16);
BRYLLO_CHECK_FIELD(BRYLLO_POWERTRACE_SETUP, Flags, 20);
BRYLLO_CHECK(sizeof(BRYLLO_POWERTRACE_SETUP) == 24);

typedef struct {
    U32 SizeOfStruct; /* 12 */
    U32 ChannelMask;  /* channels available */
    U32 Flags;        /* bit 1: microsecond time stamps */
} BRYLLO_POWERTRACE_CAPS;
BRYLLO_CHECK_FIELD(BRYLLO_POWERTRACE_CAPS, SizeOfStruct, 0);
BRYLLO_CHECK_FIELD(BRYLLO_POWERTRACE_CAPS, ChannelMask, 4);
BRYLLO_CHECK_FIELD(BRYLLO_POWERTRACE_CAPS, Flags, 8);
BRYLLO_CHECK(sizeof(BRYLLO_POWERTRACE_CAPS) == 12);

/* Input of BRYLLO_STRACE_Control command 0. */
typedef struct {
    U32 SizeOfStruct; /* 40 */
    U8 Type;          /* 0 */
    U8 Op;            /* 1 start trace, 0 stop trace */
    U8 Reserved0[2];
    U64 Addr;
    U8 Reserved1[24];
} BRYLLO_STRACE_EVENT;
BRYLLO_CHECK_FIELD(BRYLLO_STRACE_EVENT, SizeOfStruct, 0);
BRYLLO_CHECK_FIELD(BRYLLO_STRACE_EVENT, Type, 4);
BRYLLO_CHECK_FIELD(BRYLLO_STRACE_EVENT, Op, 5);
BRYLLO_CHECK_FIELD(BRYLLO_STRACE_EVENT, Addr, 8);
BRYLLO_CHECK(sizeof(BRYLLO_STRACE_EVENT) == 40);

typedef struct {
    U64 Timestamp;
    U32 InstIndex; /* index in the block read */
    U32 Reserved;
} BRYLLO_STRACE_TIMESTAMP_INFO;
BRYLLO_CHECK_FIELD(BRYLLO_STRACE_TIMESTAMP_INFO, Timestamp, 0);
BRYLLO_CHECK_FIELD(BRYLLO_STRACE_TIMESTAMP_INFO, InstIndex, 8);
BRYLLO_CHECK(sizeof(BRYLLO_STRACE_TIMESTAMP_INFO) == 16);

typedef struct {
    U64 Count;
} BRYLLO_STRACE_INST_STAT;
BRYLLO_CHECK(sizeof(BRYLLO_STRACE_INST_STAT) == 8);

/* Answer of function pointer 33. */
typedef struct {
    U32 SizeOfStruct; /* 8 */
    U32 Port;         /* port of the probe's web server, 0 when there is none */
} BRYLLO_SERVER_INFO;
BRYLLO_CHECK_FIELD(BRYLLO_SERVER_INFO, Port, 4);
BRYLLO_CHECK(sizeof(BRYLLO_SERVER_INFO) == 8);

/* Receives one text, without a line end. May run on any thread, also inside a call of the
 * library; it must not call the library. */
typedef void (*BRYLLO_LOG_HANDLER)(const char* sText);

/* Signatures behind BRYLLO_GetpFunc. */
typedef int (*BRYLLO_PFUNC_BMA)(void); /* 0 none, 1 yes, 2 by stop mode emulation */
/* Negative on failure; bit 1 data, bit 0 instructions are big-endian. */
typedef int (*BRYLLO_PFUNC_ENDIAN)(void);
typedef int (*BRYLLO_PFUNC_SERVER_INFO)(BRYLLO_SERVER_INFO* pInfo); /* 0 ok */

/* --------------------------------------------------------- library and connection -------- */

/* Version of the library: major * 10000 + minor * 100 + revision. */
BRYLLO_API U32 BRYLLOARM_GetDLLVersion(void);
/* Opens the probe chosen by the Select operations. Null when ok, else an error text. */
BRYLLO_API const char* BRYLLOARM_Open(void);
/* Ends the target session and the probe's. The target stays as it stands. */
BRYLLO_API void BRYLLOARM_Close(void);
/* 1 open, 0 not. */
BRYLLO_API int BRYLLOARM_IsOpen(void);
/* Connects to the target set up before. 0 ok, also when connected already. */
BRYLLO_API int BRYLLOARM_Connect(void);
/* 1 connected, 0 not. */
BRYLLO_API int BRYLLOARM_IsConnected(void);
/* Chooses the USB probe by port, 0: the first. Negative when there is none. */
BRYLLO_API int BRYLLOARM_SelectUSB(int Port);
/* Chooses the USB probe by its serial number, 0: the first. Negative when not found. */
BRYLLO_API int BRYLLOARM_EMU_SelectByUSBSN(U32 SerialNo);
/* Chooses a GDB server by "host", "host:port" or host and a port above 0; 3333 is the default
 * port. 1 on failure (no host name), else 0; nothing is contacted before BRYLLOARM_Open. */
BRYLLO_API int BRYLLOARM_SelectIP(const char* sHost, int Port);
/* The probe's serial number; negative when not open. */
BRYLLO_API int BRYLLOARM_GetSN(void);
/* Firmware text with a "compiled <date>" tail, zero-terminated, cut to BufferSize. */
BRYLLO_API void BRYLLOARM_GetFirmwareString(char* pBuffer, int BufferSize);
/* Not 0 when the probe has the capability BRYLLO_EMU_CAP_... */
BRYLLO_API int BRYLLOARM_EMU_HasCapEx(int Capability);
/* Selects the target interface, BRYLLO_TIF_... The answer is the one selected before. */
BRYLLO_API int BRYLLOARM_TIF_Select(int Interface);
/* Bits before this target in the JTAG scan chain; -1 keeps automatic detection. */
BRYLLO_API void BRYLLOARM_ConfigJTAG(int IRPre, int DRPre);
/* Core of a multi-core device, from 0, in force from the next BRYLLOARM_Connect. A negative
 * answer: no such core in the device chosen. */
BRYLLO_API int BRYLLOARM_SetCoreIndex(U32 CoreIndex);
/* Data endianness asked for, 0 little, 1 big. The answer is the one before. */
BRYLLO_API int BRYLLOARM_SetEndian(int Endian);
/* Interface speed in kHz, BRYLLO_SPEED_AUTO, BRYLLO_SPEED_ADAPTIVE. */
BRYLLO_API void BRYLLOARM_SetSpeed(U32 SpeedKHz);
/* Speed in force: kHz in the low 16 bits, BRYLLO_SPEED_ADAPTIVE. */
BRYLLO_API U32 BRYLLOARM_GetSpeed(void);
/* Appends the library's log to this file; null or "" ends it. */
BRYLLO_API void BRYLLOARM_SetLogFile(const char* sPath);
/* Handlers of the log, warning and error texts; null takes the handler away. When the operation
 * returns, the old handler is no longer running on another thread. */
BRYLLO_API void BRYLLOARM_EnableLog(BRYLLO_LOG_HANDLER pHandler);
BRYLLO_API void BRYLLOARM_SetWarnOutHandler(BRYLLO_LOG_HANDLER pHandler);
BRYLLO_API void BRYLLOARM_SetErrorOutHandler(BRYLLO_LOG_HANDLER pHandler);
/* Entry Index of the device table; 0 ok, negative on a bad index or record. With index -1 and a
 * null record: the number of entries. Index 0 is the entry "Unspecified". A device of several cores has as many
 * entries of the same name. Needs no open probe. */
BRYLLO_API int BRYLLOARM_DEVICE_GetInfo(int Index, BRYLLOARM_DEVICE_INFO* pInfo);
/* Index of the (first) entry of that name, without regard to case; -1 when unknown. */
BRYLLO_API int BRYLLOARM_DEVICE_GetIndex(const char* sName);
/* Name of a core id, zero-terminated, cut to BufferSize; "Unknown" for others. */
BRYLLO_API void BRYLLOARM_Core2CoreName(U32 Core, char* pBuffer, U16 BufferSize);
/* Fills up to MaxZones records; the answer is the count of zones of the device, which may be
 * above MaxZones; 0 for a device without zones, negative when not connected. */
BRYLLO_API int BRYLLO_GetMemZones(BRYLLO_MEM_ZONE* paZones, int MaxZones);
/* BRYLLO_RAWTRACE_CMD_GET_CAPS fills *pData with BRYLLO_RAWTRACE_CAP_... Negative on failure. */
BRYLLO_API int BRYLLOARM_RAWTRACE_Control(U32 Cmd, U32* pData);
/* Measures the CPU's clock with the target halted, in Hz; 0 or below on failure. RAM at RAMAddr
 * is used as scratch and, with PreserveMem, restored. AllowFail: no error text on failure. */
BRYLLO_API int BRYLLOARM_MeasureCPUSpeedEx(U32 RAMAddr, int PreserveMem, int AllowFail);
/* Function pointer of BRYLLO_PFUNC_..., null for ids that the library does not have. */
BRYLLO_API void* BRYLLO_GetpFunc(int Id);
/* Runs a text command. 0 or above and an empty answer text when it went well; -1 and the reason
 * otherwise, zero-terminated and cut to BufferSize. A command that answers with a value puts it,
 * zero-terminated, behind the empty text, from acOut[1] on, and into the log. acOut may be null. */
BRYLLO_API int BRYLLOARM_ExecCommand(const char* sCmd, char* acOut, int BufferSize);

/* -------------------------------------------------------------------- run control -------- */

/* 1 or above halted, 0 running, negative: the connection is lost. */
BRYLLO_API int BRYLLOARM_IsHalted(void);
/* Halts the target; 0 ok, also when it stands already. */
BRYLLO_API int BRYLLOARM_Halt(void);
/* Resumes the target; it goes past a breakpoint at the PC. MaxEmulInsts is without effect, Flags
 * is 1. 0 ok, also when it runs already; negative on failure. */
BRYLLO_API int BRYLLOARM_GoEx(U32 MaxEmulInsts, U32 Flags);
/* Executes one instruction; an interrupt that is due is entered first. 0 ok. */
BRYLLO_API int BRYLLOARM_Step(void);
/* Type 0 (reset the core and peripherals, halt at the reset vector) is the one there is; the
 * answer is the type before. */
BRYLLO_API int BRYLLOARM_SetResetType(int Type);
/* Delay in ms between the release of reset and the halt. */
BRYLLO_API void BRYLLOARM_SetResetDelay(int DelayMS);
/* Resets the target and leaves it halted before its first instruction; 0 ok. */
BRYLLO_API int BRYLLOARM_Reset(void);

/* -------------------------------------------------------------------- breakpoints -------- */

/* 1: software breakpoints in flash are allowed. */
BRYLLO_API void BRYLLOARM_EnableSoftBPs(char Enable);
/* Handle of the breakpoint at Addr, 0 when there is none. */
BRYLLO_API int BRYLLOARM_FindBP(U32 Addr);
/* Sets a breakpoint, see BRYLLO_BP_TYPE_...; a handle above 0, 0 on failure. */
BRYLLO_API int BRYLLOARM_SetBPEx(U32 Addr, U32 TypeWord);
/* Clears a breakpoint, BRYLLO_HANDLE_ALL: all of them; 0 ok, negative: no such handle. */
BRYLLO_API int BRYLLOARM_ClrBPEx(U32 Handle);
/* Index -1: the breakpoint of pInfo->Handle, the answer is the number of breakpoints, negative
 * when the handle is unknown. Index from 0: that breakpoint. */
BRYLLO_API int BRYLLOARM_GetBPInfoEx(int Index, BRYLLOARM_BP_INFO* pInfo);
/* Sets a data event; *pHandle is its handle. 0 ok, else negative with BRYLLO_EVENT_ERR_... */
BRYLLO_API int BRYLLOARM_SetDataEvent(const BRYLLOARM_DATA_EVENT* pEvent, U32* pHandle);
/* Clears a data event, BRYLLO_HANDLE_ALL: all of them; 0 ok, negative: no such handle. */
BRYLLO_API int BRYLLOARM_ClrDataEvent(U32 Handle);
/* Index -1: the number of data events. Index from 0: fills pInfo, 0 ok, negative: no such. */
BRYLLO_API int BRYLLOARM_GetWPInfoEx(int Index, BRYLLOARM_WP_INFO* pInfo);

/* ------------------------------------------------------------------------- memory -------- */

/* Reads NumItems items with accesses of the item's size. The bytes of the data lie as in the
 * target's memory, at every item size: a big-endian target's values are swapped by the caller.
 * paStatus may be null, else one byte an item: 0 read, 1 failed, and the items behind a failed one
 * are tried too (failed items read as 0). The answer is the number of items read, without paStatus
 * those up to the first failure; negative when no item could be read. */
BRYLLO_API int BRYLLOARM_ReadMemU8(U32 Addr, U32 NumItems, U8* paData, U8* paStatus);
BRYLLO_API int BRYLLOARM_ReadMemU16(U32 Addr, U32 NumItems, U16* paData, U8* paStatus);
BRYLLO_API int BRYLLOARM_ReadMemU32(U32 Addr, U32 NumItems, U32* paData, U8* paStatus);
BRYLLO_API int BRYLLOARM_ReadMemU64(U32 Addr, U32 NumItems, U64* paData, U8* paStatus);
/* Reads bytes with accesses of AccessWidth bytes (1, 2, 4; 0: the library chooses). The answer
 * is the number of bytes read up to the first failure, negative when there are none. */
BRYLLO_API int BRYLLOARM_ReadMemEx(U32 Addr, U32 NumBytes, void* pData, U32 AccessWidth);
/* As BRYLLOARM_ReadMemEx with width 0, but 0 when all bytes were read, else negative. */
BRYLLO_API int BRYLLOARM_ReadMem(U32 Addr, U32 NumBytes, void* pData);
/* Writes one item; 0 ok. */
BRYLLO_API int BRYLLOARM_WriteU8(U32 Addr, U8 Data);
BRYLLO_API int BRYLLOARM_WriteU16(U32 Addr, U16 Data);
BRYLLO_API int BRYLLOARM_WriteU32(U32 Addr, U32 Data);
BRYLLO_API int BRYLLOARM_WriteU64(U32 Addr, U64 Data);
/* Writes bytes; the answer is the number written up to the first failure, negative when there are
 * none. Flash is only written inside a download bracket. */
BRYLLO_API int BRYLLOARM_WriteMemEx(U32 Addr, U32 NumBytes, const void* pData, U32 AccessWidth);
/* As BRYLLOARM_WriteMemEx with width 0. */
BRYLLO_API int BRYLLOARM_WriteMem(U32 Addr, U32 NumBytes, const void* pData);
/* The same in a memory zone of BRYLLO_GetMemZones. A zone that the device does not have fails
 * with BRYLLO_ERR_PARAM; null, "" and "Default" are the plain address space. The item-wise reads
 * answer items, the Ex forms bytes. */
BRYLLO_API int BRYLLO_ReadMemZonedU16(U32 Addr, U32 NumItems, U16* paData, U8* paStatus, const char* sZone);
BRYLLO_API int BRYLLO_ReadMemZonedU32(U32 Addr, U32 NumItems, U32* paData, U8* paStatus, const char* sZone);
BRYLLO_API int BRYLLO_ReadMemZonedEx(U32 Addr, U32 NumBytes, void* pData, U32 AccessWidth, const char* sZone);
BRYLLO_API int BRYLLO_WriteZonedU16(U32 Addr, U16 Data, const char* sZone);
BRYLLO_API int BRYLLO_WriteZonedU32(U32 Addr, U32 Data, const char* sZone);
BRYLLO_API int BRYLLO_WriteMemZonedEx(U32 Addr, U32 NumBytes, const void* pData, U32 AccessWidth,
                                      const char* sZone);
/* Opens flash download mode: writes to flash are collected, others go through. 0 ok. */
BRYLLO_API int BRYLLOARM_BeginDownload(U32 Flags);
/* Compares, erases, programs and verifies what was collected. 0 or above ok (sectors that were
 * programmed), negative: BRYLLO_ERR_UNSPECIFIED, BRYLLO_ERR_DL_... */
BRYLLO_API int BRYLLOARM_EndDownload(void);

/* ----------------------------------------------------------------------- services -------- */

/* Cmd 2: takes *pData bytes, null: all, out of the buffer of received data. Negative on failure. */
BRYLLO_API int BRYLLOARM_SWO_Control(U32 Cmd, U32* pData);
/* Starts SWO at the target: clocks in Hz, Mode 0 (UART), one bit a stimulus port. */
BRYLLO_API int BRYLLOARM_SWO_EnableTarget(U32 CpuHz, U32 SWOHz, int Mode, U32 PortMask);
/* Ends SWO for the ports; 0xFFFFFFFF: all. */
BRYLLO_API int BRYLLOARM_SWO_DisableTarget(U32 PortMask);
/* Bytes received on a stimulus port; the answer is the number read, negative on failure. */
BRYLLO_API int BRYLLOARM_SWO_ReadStimulus(int Port, U8* pData, U32 NumBytes);
/* Speeds in Hz that probe and target have in common; their number, negative on failure. */
BRYLLO_API int BRYLLOARM_SWO_GetCompatibleSpeeds(U32 CpuHz, U32 MaxSWOHz, U32* paSpeeds, U32 NumEntries);
/* Cmd 0 starts, 1 stops the memory buffers' service; 0 ok. */
BRYLLO_API int BRYLLO_MEMLANE_Control(U32 Cmd, void* pData);
/* Bytes read from an up buffer, written to a down buffer; negative on failure. */
BRYLLO_API int BRYLLO_MEMLANE_Read(U32 BufferIndex, void* pData, U32 NumBytes);
BRYLLO_API int BRYLLO_MEMLANE_Write(U32 BufferIndex, const void* pData, U32 NumBytes);
/* Starts periodic sampling of the blocks; 0 ok, else BRYLLO_HSS_ERR_... */
BRYLLO_API int BRYLLO_HSS_Start(const BRYLLO_HSS_MEM_BLOCK* paBlocks, int NumBlocks, int PeriodUS, int Flags);
BRYLLO_API int BRYLLO_HSS_Stop(void);
/* Bytes read, negative on failure. */
BRYLLO_API int BRYLLO_HSS_Read(void* pData, U32 NumBytes);
/* Cmd 0: set up with BRYLLO_POWERTRACE_SETUP, the answer is the sample frequency in force in Hz;
 * 1 start; 2 stop; 3 flush; 4 capabilities into BRYLLO_POWERTRACE_CAPS. Negative on failure. */
BRYLLO_API int BRYLLO_POWERTRACE_Control(U32 Cmd, const void* pIn, void* pOut);
/* Samples: time in the low word, value in the high word. The count read, negative on failure. */
BRYLLO_API int BRYLLO_POWERTRACE_Read(U64* paSamples, U32 NumSamples);
/* "PortWidth=<n>"; negative on failure. */
BRYLLO_API int BRYLLO_STRACE_Config(const char* sConfig);
BRYLLO_API int BRYLLO_STRACE_Start(void);
BRYLLO_API int BRYLLO_STRACE_Stop(void);
/* PCs of the newest instructions not read yet, newest first; their number, negative on failure. */
BRYLLO_API int BRYLLO_STRACE_Read(U32* paPCs, U32 NumInsts);
/* As above with up to NumInsts time stamps, their number in *pNumTS. */
BRYLLO_API int BRYLLO_STRACE_ReadEx(U32* paPCs, U32 NumInsts, BRYLLO_STRACE_TIMESTAMP_INFO* paTS, int* pNumTS,
                                    U32 Flags);
/* Cmd 0: add the trace event pData (BRYLLO_STRACE_EVENT*); 2 with null: clear all events. */
BRYLLO_API int BRYLLO_STRACE_Control(U32 Cmd, void* pData);
/* Fills NumItems counters of SizeOfItem (8) bytes: fetch counters of each half word from Addr, a
 * total, then as many skip counters and a total. Type 9. The items filled; below 1 on failure. */
BRYLLO_API int BRYLLO_STRACE_GetInstStats(BRYLLO_STRACE_INST_STAT* paStat, U32 Addr, U32 NumItems,
                                          U32 SizeOfItem, U32 Type);

/* ---------------------------------------------- registers, for the core plug-ins --------- */

/* Registers by index (BRYLLO_REG_...), zero-extended to 64 bit, with the target halted. paStatus
 * has a byte a register: 0 done, 1 the core does not have it. 0 ok even if some are missing,
 * negative on failure of the whole call. */
BRYLLO_API int BRYLLOARM_ReadRegs(const U32* paRegIdx, U64* paValue, U8* paStatus, U32 NumRegs);
BRYLLO_API int BRYLLOARM_WriteRegs(const U32* paRegIdx, const U64* paValue, U8* paStatus, U32 NumRegs);
/* Coprocessor and system registers by name, without regard to case: "MSP", "VTOR", "CFSR", and
 * on RISC-V the CSR names. 0 ok, negative: no such register, or not halted. */
BRYLLO_API int BRYLLOARM_ReadCPReg(const char* sName, U64* pValue);
BRYLLO_API int BRYLLOARM_WriteCPReg(const char* sName, U64 Value);

#ifdef __cplusplus
}
#endif

#endif /* BRYLLO_H */
