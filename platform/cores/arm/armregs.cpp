// Registers and modes, through the probe library.
#include "armplugin.h"

#include "platform/probe/bryllo.h"

#include <iterator>

namespace {

constexpr uint32_t IPSR_MASK = 0x1FF;
constexpr uint32_t EPSR_THUMB = 1u << 24;
constexpr uint32_t CONTROL_UNPRIVILEGED = 1;

enum CPU_MODE : uint32_t { MODE_THREAD = 0, MODE_THREAD_UNPRIVILEGED = 1, MODE_HANDLER = 2 };
enum EXEC_MODE : uint32_t { EXEC_THUMB = 0, EXEC_INVALID = 1 };

constexpr const char* asCPUMode[] = {"Thread, privileged", "Thread, unprivileged", "Handler"};
constexpr const char* asExecMode[] = {"Thumb", "Invalid (T bit clear)"};

} // namespace

int ARM_GetCPUMode(uint32_t* pMode) {
    uint32_t PSR = 0;
    uint32_t Control = 0;
    if (!pMode || COREREGS_ReadWord(BRYLLO_REG_XPSR, &PSR) != 0) return -1;
    if (PSR & IPSR_MASK) {
        *pMode = MODE_HANDLER;
        return 0;
    }
    if (COREREGS_ReadWord(BRYLLO_REG_CONTROL, &Control) != 0) return -1;
    *pMode = (Control & CONTROL_UNPRIVILEGED) ? MODE_THREAD_UNPRIVILEGED : MODE_THREAD;
    return 0;
}

int ARM_GetExecMode(uint32_t* pMode) {
    uint32_t PSR = 0;
    if (!pMode || COREREGS_ReadWord(BRYLLO_REG_XPSR, &PSR) != 0) return -1;
    *pMode = (PSR & EPSR_THUMB) ? EXEC_THUMB : EXEC_INVALID;
    return 0;
}

int ARM_GetCPUModeName(uint32_t Mode, char* pBuffer, uint32_t Size) {
    return Mode < std::size(asCPUMode) ? ARM_CopyText(asCPUMode[Mode], pBuffer, Size) : -1;
}

int ARM_GetExecModeName(uint32_t Mode, char* pBuffer, uint32_t Size) {
    return Mode < std::size(asExecMode) ? ARM_CopyText(asExecMode[Mode], pBuffer, Size) : -1;
}

uint32_t ARM_GetBPMode(uint64_t) {
    return BRYLLO_BP_MODE_THUMB;
}

uint32_t ARM_GetRegIdOfIndex(uint32_t RegIdx) {
    return ARM_GetRegId(ARM_GetKind(), RegIdx);
}

int ARM_GetCPURegFile(int32_t CoreId, char* pBuffer, uint32_t Size) {
    const ARM_KIND* pKind = ARM_FindKind(CoreId);
    return pKind ? ARM_CopyText(pKind->sRegFile, pBuffer, Size) : -1;
}
