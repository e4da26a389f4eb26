// Load and unload of the program, and what identifies it.
#include "program/tables/prog.h"
#include "app/services/log.h"
#include "app/services/mainthread.h"
#include "app/services/messages.h"
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
constexpr U32 STEP_SHARE = 15; ///< thousandths of the whole progress that a step makes up

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

constexpr U32 MACHINE_ARM = 40, MACHINE_RISCV = 243;
constexpr int MSG_CANNOT_EXECUTE = 35;

/// A program for a machine that no core of the debugger has is refused; whether it fits the selected one is asked when a
/// session starts.
bool CheckMachine(ELF_HANDLE hFile)
{
    const U32 Machine = ELF_GetMachine(hFile);
    if (Machine == MACHINE_ARM || Machine == MACHINE_RISCV) return true;
    char acText[256];
    InitMessageTable();
    FormatMessage(MSG_CANNOT_EXECUTE, acText, sizeof(acText));
    ProgLogMessage({QString::fromUtf8(acText), GetMessageRow(MSG_CANNOT_EXECUTE)->Flags, true});
    ProgLogMessage({QStringLiteral("The file is a program for %1.").arg(QLatin1String(ELF_GetMachineName(Machine))),
                    GetMessageRow(MSG_CANNOT_EXECUTE)->Flags, true});
    return false;
}

/// Without a core plug-in the machine of the file tells enough to make addresses out of Thumb symbols.
void SetDefaultCore(ELF_HANDLE hFile)
{
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
    Unload(Tables());
    CProgLoad Load(sPath);
    Load.ReadFile();
    Load.BindCore();
    Load.BuildTables();
    return Load.Publish();
}

CProgLoad::CProgLoad(const QString& sPath) : m_sPath(sPath), m_pTab(std::make_unique<PROG_TABLES>())
{
    ELF_SetDiagCallback(ProgDiag);
}

CProgLoad::~CProgLoad()
{
    if (!m_hFile) return;
    if (m_IsBound && Hooks().UnbindCore) Hooks().UnbindCore();
    ELF_Discard(m_hFile);
}

bool CProgLoad::ReadFile()
{
    QElapsedTimer Timer;
    Timer.start();
    g_paHeldMessages = IsMainThread() ? nullptr : &m_aHeld;
    m_hFile = ELF_OpenPrivate(m_sPath.toUtf8().constData(), true, &m_Progress, &m_Error);
    g_paHeldMessages = nullptr;
    m_StartNs = Timer.nsecsElapsed();
    return m_hFile;
}

void CProgLoad::_Report()
{
    for (const PROG_MESSAGE& Message : std::as_const(m_aHeld)) ProgLogMessage(Message);
    m_aHeld.clear();
    ELF_ReportOpenError(m_Error);
    m_Error = {};
}

bool CProgLoad::BindCore()
{
    const CProgLock Lock;
    _Report();
    if (!m_hFile) return false;
    const CElfPrivate Private(m_hFile);
    const bool IsKnown = CheckMachine(m_hFile);
    m_IsBound = IsKnown;
    if (!IsKnown || (Hooks().BindCore && Hooks().BindCore(m_hFile) < 0)) {
        if (m_IsBound && Hooks().UnbindCore) Hooks().UnbindCore();
        m_IsBound = false;
        ELF_Discard(m_hFile);
        m_hFile = nullptr;
        return false;
    }
    if (ELF_GetCodeAlign() == 1) SetDefaultCore(m_hFile);
    ELF_EvalRelocations();
    m_pTab->hFile = m_hFile;
    m_pTab->sPath = m_sPath;
    m_pTab->Lang = ELF_GetSrcLang(m_hFile);
    return true;
}

bool CProgLoad::BuildTables()
{
    if (!m_hFile) return false;
    const CElfPrivate Private(m_hFile);
    QElapsedTimer Total;
    Total.start();
    g_paHeldMessages = IsMainThread() ? nullptr : &m_aHeld;
    for (const STEP_ROW& Step : LOAD_STEPS) {
        if (m_Progress.Cancel) break;
        QElapsedTimer Timer;
        Timer.start();
        Step.pfRun(*m_pTab);
        LogDebug(QLatin1String(Step.sText) + TimeText(Timer.nsecsElapsed()));
        m_Progress.Permille += STEP_SHARE;
    }
    g_paHeldMessages = nullptr;
    m_StartNs += Total.nsecsElapsed();
    return !m_Progress.Cancel;
}

int CProgLoad::Publish()
{
    const CProgLock Lock;
    _Report();
    if (!m_hFile || m_Progress.Cancel) return -1;
    PROG_TABLES& Tab = Tables();
    Unload(Tab);
    Tab = std::move(*m_pTab);
    ELF_Publish(m_hFile);
    m_hFile = nullptr;
    if (Hooks().SetBlocks) Hooks().SetBlocks(Tab.aBlock.constData(), static_cast<U32>(Tab.aBlock.size()));
    Tab.Loaded = true;
    Tab.hControlBlock = FindControlBlock(Tab);
    LogDebug(QStringLiteral("ELF-API wrapper initialized in ") + TimeText(m_StartNs));
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
}
