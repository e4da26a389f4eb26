// Load and unload of the program, and what identifies it.
#include "program/tables/prog.h"
#include "app/services/log.h"
#include "program/tables/progtables.h"

#include <QElapsedTimer>
#include <cstring>

namespace {

struct STEP_ROW {
    const char* sText;
    void (*pfRun)(PROG_TABLES& Tab);
};
constexpr STEP_ROW LOAD_STEPS[] = {
    {"Program data segments initialized in: ", ProgLoadBlocks},
    {"Parsed source file paths found in address mapping table: ", ProgLoadLineFiles},
    {"Parsed source file paths found in source files table: ", ProgLoadUnitFiles},
    {"Initialized file exists flags: ", ProgLoadExists},
    {"Parsed source to address mapping table: ", ProgLoadMapping},
    {"parsed file address ranges: ", ProgLoadFileRanges},
    {"Cleaned up address mapping table: ", ProgCleanMapping},
    {"Build debug symbol lists: ", ProgLoadSymbolLists},
    {"Hashed function inline expansions: ", ProgLoadInlines},
    {"Sorted program address list: ", ProgSortMapping},
    {"Build symbol table: ", ProgLoadElfSymbols},
    {"Build functions list: ", ProgLoadFunctions},
    {"build function interval tree: ", ProgLoadFunctionTree},
    {"build file interval tree: ", ProgLoadFileTree},
    {"hashed file functions: ", ProgLoadFileFunctions},
    {"parsed call frame information: ", ProgLoadFrames},
};
static_assert(sizeof(LOAD_STEPS) / sizeof(LOAD_STEPS[0]) == 16);

PROG_TABLES& Tables()
{
    static PROG_TABLES s_Tables;
    return s_Tables;
}

PROG_HOOKS& Hooks()
{
    static PROG_HOOKS s_Hooks;
    return s_Hooks;
}

QString TimeText(qint64 Ns)
{
    return QString::asprintf("%d:%03d ms", static_cast<int>(Ns / 1000000), static_cast<int>(Ns / 1000 % 1000));
}

/// Without a core plug-in the machine of the file tells enough to make addresses out of Thumb symbols.
void SetDefaultCore(ELF_HANDLE hFile)
{
    constexpr U32 MACHINE_ARM = 40, MACHINE_RISCV = 243;
    switch (ELF_GetMachine(hFile)) {
    case MACHINE_ARM: ELF_SetCoreParameters(2, 13); break;
    case MACHINE_RISCV: ELF_SetCoreParameters(2, 2); break;
    default: break;
    }
}

void Unload(PROG_TABLES& Tab)
{
    if (!Tab.hFile) {
        Tab = PROG_TABLES();
        return;
    }
    QElapsedTimer Timer;
    Timer.start();
    Tab.Unloading = true;
    Tab.Loaded = false;
    if (Hooks().UnbindCore) Hooks().UnbindCore();
    ELF_Close(Tab.hFile);
    LogDebug(QStringLiteral("ELF_Close() after ms: ") + QString::number(Timer.elapsed()));
    Tab = PROG_TABLES();
    LogDebug(QStringLiteral("ELF-API Wrapper deinitialized after ms: ") + QString::number(Timer.elapsed()));
}

/// The symbol of the terminal's control block. Only a program that has an ELF symbol of this name, or none at all, is
/// worth the making of the name tables.
ELF_SYM_HANDLE FindControlBlock(const PROG_TABLES& Tab)
{
    static constexpr const char* NAME = "_TARVEX_MEMLANE";
    if (ELF_GetSymbolCount(Tab.hFile) > 0 && ELF_FindSymbolByName(Tab.hFile, NAME) < 0) return 0;
    const ELF_SYM_LIST aSym = PROG_FindSymbols(QLatin1String(NAME), true, true, false, true, false);
    return aSym.isEmpty() ? 0 : aSym.first();
}

} // namespace

CProgLock::CProgLock() { ELF_Lock(); }
CProgLock::~CProgLock() { ELF_Unlock(); }

PROG_TABLES& PROG_Tables(const CProgLock&) { return Tables(); }
const PROG_HOOKS& PROG_Hooks() { return Hooks(); }

void PROG_SetHooks(const PROG_HOOKS& NewHooks)
{
    const CProgLock Lock;
    Hooks() = NewHooks;
}

int PROG_Load(const QString& sPath)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = Tables();
    Unload(Tab);
    QElapsedTimer Total;
    Total.start();
    Tab.Loading = true;
    ELF_SetDiagCallback(ProgDiag);
    Tab.hFile = ELF_Open(sPath.toUtf8().constData(), true);
    if (!Tab.hFile) {
        Tab.Loading = false;
        return -1;
    }
    if (Hooks().BindCore && Hooks().BindCore(Tab.hFile) < 0) {
        Unload(Tab);
        return -1;
    }
    if (ELF_GetCodeAlign() == 1) SetDefaultCore(Tab.hFile);
    Tab.sPath = sPath;
    Tab.Lang = ELF_GetSrcLang(Tab.hFile);
    for (const STEP_ROW& Step : LOAD_STEPS) {
        QElapsedTimer Timer;
        Timer.start();
        Step.pfRun(Tab);
        LogDebug(QLatin1String(Step.sText) + TimeText(Timer.nsecsElapsed()));
    }
    Tab.Loaded = true;
    Tab.Loading = false;
    Tab.hControlBlock = FindControlBlock(Tab);
    LogDebug(QStringLiteral("ELF-API wrapper initialized in ") + TimeText(Total.nsecsElapsed()));
    LogDebug(QStringLiteral("Function count: ") + QString::number(Tab.aFunction.size()));
    LogDebug(QStringLiteral("Global variable count: ") + QString::number(Tab.aGlobal.size()));
    return 0;
}

void PROG_Unload()
{
    const CProgLock Lock;
    Unload(Tables());
}

QString PROG_GetPath()
{
    const CProgLock Lock;
    return Tables().sPath;
}

bool PROG_IsLoaded()
{
    const CProgLock Lock;
    return Tables().Loaded;
}

int PROG_GetByteOrder()
{
    const CProgLock Lock;
    return ELF_GetByteOrder(Tables().hFile);
}

U32 PROG_GetEntryPoint()
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = Tables();
    return Tab.Loaded ? ELF_ToRuntimeAddr(ELF_GetEntryPoint(Tab.hFile), 1, 0) : 0xFFFFFFFFu;
}

ELF_HANDLE PROG_GetFileHandle()
{
    const CProgLock Lock;
    return Tables().hFile;
}

ELF_SRC_LANG PROG_GetSrcLang()
{
    const CProgLock Lock;
    return Tables().Lang;
}

QList<PROG_BLOCK> PROG_GetBlocks()
{
    const CProgLock Lock;
    return Tables().aBlock;
}

int PROG_ReadBytes(U32 Addr, U32 Size, void* pBuffer)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = Tables();
    if (!Tab.Loaded || Size > 0x7FFFFFFFu) return -1;
    // Code that is copied at start-up runs at its virtual address, so that both are good.
    for (const U64 PROG_BLOCK::*pField : {&PROG_BLOCK::LoadAddr, &PROG_BLOCK::VirtAddr}) {
        U32 Done = 0;
        bool Found = true;
        while (Done < Size && Found) {
            Found = false;
            const U64 At = static_cast<U64>(Addr) + Done;
            for (const PROG_BLOCK& Block : Tab.aBlock) {
                if (At < Block.*pField || At - Block.*pField >= Block.Size) continue;
                const U32 Offset = static_cast<U32>(At - Block.*pField);
                const U32 Count = std::min(Size - Done, Block.Size - Offset);
                if (pBuffer) std::memcpy(static_cast<U8*>(pBuffer) + Done, Block.pData + Offset, Count);
                Done += Count;
                Found = true;
                break;
            }
        }
        if (Done) return static_cast<int>(Done);
    }
    return -1;
}

void ProgLoadBlocks(PROG_TABLES& Tab)
{
    Tab.aBlock = BFile::GetElfBlocks(Tab.hFile);
    if (Hooks().SetBlocks) Hooks().SetBlocks(Tab.aBlock.constData(), static_cast<U32>(Tab.aBlock.size()));
}
