// Life cycle of program files and the diagnostics of the layer.
#include "program/elf/elf.h"
#include "program/elf/elffile.h"

#include <mutex>
#include <new>

namespace {

constexpr U32 FLAGS_OPEN_FAILED = 68; ///< error to all sinks

struct ERROR_ROW {
    U32 Code;
    const char* sText;
};
constexpr ERROR_ROW ERROR_TEXTS[] = {
    {100, "Invalid ELF file handle"},
    {101, "Recursion limit exceeded in ELF parser"},
    {102, "Symbol constant value data exceeds allocation size limit"},
    {103, "DW_OP_implicit_value with data size greater than 8 bytes is not supported"},
    {104, "DW_OP_entry_value opcode encountered that does not specify an entry location"},
    {105, "symbol location description contains more parts than can be stored"},
    {106, "byte-unaligned symbol data pieces not yet supported"},
    {107, "failed to parse location description element"},
    {108, "could not parse debug info for type unit"},
    {109, "could not parse debug info for compilation unit"},
    {110, "could not parse source file info for compilation unit"},
    {111, "could not parse source line info for compilation unit"},
    {112, "could not parse macro information"},
    {113, "could not parse call frame info for compilation unit"},
    {114, "could not initialize symbol name index"},
    {115, "evaluation of opcode 'DW_EXPR_EXPRESSION' not yet implemented"},
    {116, "evaluation of opcode 'DW_EXPR_VAL_EXPRESSION' not yet implemented"},
    {117, "unknown cfi register table value type"},
    {118, "file not tagged with ELF magic number"},
    {119, "not an executable ELF file"},
    {120, "file class is ELF_CLASS_NONE"},
    {121, "data encoding is ELF_DATA_NONE"},
    {122, "header version number is not EV_CURRENT"},
    {123, "unsupported file version number"},
    {124, "a maximum number of ELF files are already open"},
    {125, "file could not be opened for reading"},
    {126, "unexpected file size"},
    {127, "parser is out of memory"},
    {128, "error reading file data"},
    {133, "error parsing debug symbols"},
};

/// Sets a flag of the state for the length of a block.
class CFlagScope {
public:
    explicit CFlagScope(std::atomic<bool>& Flag) : m_Flag(Flag) { m_Flag = true; }
    ~CFlagScope() { m_Flag = false; }

private:
    std::atomic<bool>& m_Flag;
};

} // namespace

ELF_STATE& ElfState()
{
    static ELF_STATE State;
    return State;
}

/// The file that this thread alone knows.
static thread_local ELF_FILE* s_pPrivate = nullptr;

ELF_FILE* ElfPrivate() { return s_pPrivate; }
CElfPrivate::CElfPrivate(ELF_HANDLE hFile) : m_hPrev(s_pPrivate) { s_pPrivate = hFile; }
CElfPrivate::~CElfPrivate() { s_pPrivate = m_hPrev; }

ELF_FILE* ElfFind(ELF_HANDLE hFile)
{
    if (hFile && hFile == s_pPrivate) return hFile;
    const ELF_STATE& State = ElfState();
    if (!hFile || State.Opening || State.Closing) return nullptr;
    for (ELF_FILE* pFile : State.apFile) {
        if (pFile == hFile) return pFile->Opened ? pFile : nullptr;
    }
    return nullptr;
}

ELF_FILE* ElfCurrent()
{
    return s_pPrivate ? s_pPrivate : ElfFind(ElfState().pCurrent);
}

ELF_FILE* ElfFindSym(ELF_SYM_HANDLE hSym)
{
    if ((hSym >> 40) != (ELF_HANDLE_TAG >> 40) || ((hSym >> 38) & 3) != 0) return nullptr;
    const U32 Slot = (hSym >> 35) & 7;
    const U32 Kind = (hSym >> 32) & 7;
    if (Slot >= ELF_MAX_OPEN_FILES || (Kind != ELF_SYM_KIND_DEBUG && Kind != ELF_SYM_KIND_ELF)) return nullptr;
    ELF_FILE* pFile = s_pPrivate && s_pPrivate->Slot == Slot ? s_pPrivate : ElfFind(ElfState().apFile[Slot]);
    if (!pFile) return nullptr;
    const U32 Id = static_cast<U32>(hSym);
    if (Kind == ELF_SYM_KIND_ELF) return Id < pFile->Image.Symbols().size() ? pFile : nullptr;
    return pFile->HasDebugInfo && pFile->Info.FindUnit(Id) ? pFile : nullptr;
}

void ElfReport(U32 Code, U32 Flags, const char* sText, const char* sArg)
{
    const ELF_DIAG_FUNC pfDiag = ElfState().pfDiag;
    if (!pfDiag) return;
    ELF_DIAG Diag{};
    Diag.Code = Code;
    Diag.Flags = Flags;
    Diag.sText = sText;
    Diag.NumArgs = sArg ? 1 : 0;
    Diag.asArg[0] = sArg;
    pfDiag(&Diag);
}

namespace {

/// A recursive mutex whose holder takes it again without any atomic operation.
struct TABLE_MUTEX {
    std::mutex Mutex;
    std::atomic<const void*> pHolder{nullptr}; ///< mark of the thread that holds it
    U32 Depth = 0;
};
TABLE_MUTEX s_Mutex;
/// Its address is the mark of a thread.
thread_local char s_ThreadMark;

} // namespace

void ELF_Lock()
{
    if (s_Mutex.pHolder.load(std::memory_order_relaxed) != &s_ThreadMark) {
        s_Mutex.Mutex.lock();
        s_Mutex.pHolder.store(&s_ThreadMark, std::memory_order_relaxed);
    }
    s_Mutex.Depth++;
}

void ELF_Unlock()
{
    if (--s_Mutex.Depth) return;
    s_Mutex.pHolder.store(nullptr, std::memory_order_relaxed);
    s_Mutex.Mutex.unlock();
}

void ELF_SetDiagCallback(ELF_DIAG_FUNC pfDiag)
{
    ElfState().pfDiag = pfDiag;
}

/// Takes a free slot of the open table; ELF_MAX_OPEN_FILES if there is none.
static U32 ReserveSlot()
{
    const CElfLock Lock;
    ELF_STATE& State = ElfState();
    U32 Slot = 0;
    while (Slot < ELF_MAX_OPEN_FILES && (State.apFile[Slot] || State.aReserved[Slot])) Slot++;
    if (Slot < ELF_MAX_OPEN_FILES) State.aReserved[Slot] = true;
    return Slot;
}

ELF_HANDLE ELF_OpenPrivate(const char* sPath, bool ParseDebugInfo, ELF_PROGRESS* pProgress, ELF_OPEN_ERROR* pError)
{
    *pError = {ELF_ERR_TOO_MANY_FILES, ""};
    const U32 Slot = ReserveSlot();
    if (Slot == ELF_MAX_OPEN_FILES) return nullptr;
    ELF_FILE* pFile = new (std::nothrow) ELF_FILE;
    pError->Code = ELF_ERR_MEMORY;
    if (pFile) {
        pFile->Slot = Slot;
        pFile->Serial = ElfState().NextSerial++;
        const CElfPrivate Private(pFile);
        try {
            pError->Code = pFile->Open(sPath, ParseDebugInfo, pProgress);
            if (pError->Code == ELF_ERR_NOT_EXECUTABLE) pFile->Image.Describe(pError->acWhat, sizeof(pError->acWhat));
        } catch (const std::bad_alloc&) {
        }
        const bool IsCancelled = pProgress && pProgress->Cancel;
        if (!pError->Code && !IsCancelled) return pFile;
        if (IsCancelled) *pError = {};
    }
    delete pFile;
    const CElfLock Lock;
    ElfState().aReserved[Slot] = false;
    return nullptr;
}

void ELF_ReportOpenError(const ELF_OPEN_ERROR& Error)
{
    if (!Error.Code) return;
    ElfReport(Error.Code, FLAGS_OPEN_FAILED);
    if (*Error.acWhat) ElfReport(0, FLAGS_OPEN_FAILED, Error.acWhat);
}

void ELF_EvalRelocations() { ElfEvalRelocations(); }

void ELF_Publish(ELF_HANDLE hFile)
{
    ELF_STATE& State = ElfState();
    State.apFile[hFile->Slot] = hFile;
    State.aReserved[hFile->Slot] = false;
    State.pCurrent = hFile;
}

void ELF_Discard(ELF_HANDLE hFile)
{
    const CElfLock Lock;
    ElfState().aReserved[hFile->Slot] = false;
    delete hFile;
}

ELF_HANDLE ELF_Open(const char* sPath, bool ParseDebugInfo)
{
    ELF_HANDLE hFile;
    ELF_OPEN_ERROR Error;
    {
        CFlagScope Opening(ElfState().Opening);
        hFile = ELF_OpenPrivate(sPath, ParseDebugInfo, nullptr, &Error);
        if (!hFile) {
            ELF_ReportOpenError(Error);
            return nullptr;
        }
        ELF_Publish(hFile);
    }
    ElfEvalRelocations();
    return hFile;
}

void ELF_Close(ELF_HANDLE hFile)
{
    ELF_STATE& State = ElfState();
    ELF_FILE* pFile = ElfFind(hFile);
    if (!pFile) return;
    CFlagScope Closing(State.Closing);
    State.apFile[pFile->Slot] = nullptr;
    if (State.pCurrent == pFile) State.pCurrent = nullptr;
    delete pFile;
}

const char* ELF_GetErrorText(U32 Code)
{
    for (const ERROR_ROW& Row : ERROR_TEXTS) {
        if (Row.Code == Code) return Row.sText;
    }
    return "";
}

void ELF_SetCoreParameters(U32 CodeAlign, U32 SPColumn)
{
    ElfState().CodeAlign = CodeAlign ? CodeAlign : 1;
    ElfState().SPColumn = SPColumn;
}
U32 ELF_GetCodeAlign() { return ElfState().CodeAlign; }
U32 ELF_GetSPColumn() { return ElfState().SPColumn; }
ELF_HANDLE ELF_GetCurrentFile() { return ElfCurrent(); }

int ELF_SetCurrentFile(ELF_HANDLE hFile)
{
    ELF_FILE* pFile = ElfFind(hFile);
    if (!pFile) return -1;
    ElfState().pCurrent = pFile;
    return 0;
}

int ELF_GetSlot(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? static_cast<int>(pFile->Slot) : -1;
}

ELF_HANDLE ELF_GetFileInSlot(U32 Slot)
{
    return Slot < ELF_MAX_OPEN_FILES ? ElfFind(ElfState().apFile[Slot]) : nullptr;
}

const char* ELF_GetPath(ELF_HANDLE hFile)
{
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? pFile->sPath.c_str() : "";
}

U64 ELF_GetOpenTime(ELF_HANDLE hFile)
{
    // Two opens within one tick of the clock still differ by their serial numbers.
    const ELF_FILE* pFile = ElfFind(hFile);
    return pFile ? pFile->OpenTime * 1024 + pFile->Serial % 1024 : 0;
}
