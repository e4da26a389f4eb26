// Decoding of one Thumb instruction to text. LLVM's context and tables may be used by one thread
// at a time, so decoders live in a pool: a request takes one out and puts it back, and there
// are never more of them than threads have decoded at once. The disassembler object itself is
// made anew for each request, since it carries the IT state of what it decoded before.
#include "armdisasm.h"

#include <array>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wunused-parameter"
#include <llvm/ADT/SmallString.h>
#include <llvm/ADT/Triple.h>
#include <llvm/MC/MCAsmInfo.h>
#include <llvm/MC/MCContext.h>
#include <llvm/MC/MCDisassembler/MCDisassembler.h>
#include <llvm/MC/MCInst.h>
#include <llvm/MC/MCInstPrinter.h>
#include <llvm/MC/MCInstrInfo.h>
#include <llvm/MC/MCRegisterInfo.h>
#include <llvm/MC/MCSubtargetInfo.h>
#include <llvm/MC/MCTargetOptions.h>
#include <llvm/MC/TargetRegistry.h>
#include <llvm/Support/ManagedStatic.h>
#include <llvm/Support/TargetSelect.h>
#include <llvm/Support/raw_ostream.h>
#pragma clang diagnostic pop

extern "C" {
void LLVMInitializeARMTargetInfo();
void LLVMInitializeARMTargetMC();
void LLVMInitializeARMDisassembler();
}

namespace {

struct PROFILE_ROW {
    ARM_PROFILE Profile;
    const char* sTriple;
    const char* sCPU;
    const char* sFeatures;
};

constexpr PROFILE_ROW aProfile[] = {
    {ARM_PROFILE_V6M, "thumbv6m-none-eabi", "cortex-m0", ""},
    {ARM_PROFILE_V7M, "thumbv7m-none-eabi", "cortex-m3", ""},
    {ARM_PROFILE_V7EM, "thumbv7em-none-eabi", "cortex-m4", ""},
    {ARM_PROFILE_V7EM_DP, "thumbv7em-none-eabi", "cortex-m7", ""},
    {ARM_PROFILE_V8M_MAIN, "thumbv8m.main-none-eabi", "cortex-m33", "+8msecext"},
};
static_assert(std::size(aProfile) == ARM_NUM_PROFILES);
static_assert([] {
    for (uint32_t i = 0; i < ARM_NUM_PROFILES; i++) {
        if (aProfile[i].Profile != i) return false;
    }
    return true;
}());

struct DECODER {
    const llvm::Target* pTarget = nullptr;
    std::unique_ptr<llvm::MCRegisterInfo> pRegs;
    std::unique_ptr<llvm::MCAsmInfo> pAsm;
    std::unique_ptr<llvm::MCInstrInfo> pInsts;
    std::unique_ptr<llvm::MCSubtargetInfo> pSubtarget;
    std::unique_ptr<llvm::MCContext> pContext;
    std::unique_ptr<llvm::MCInstPrinter> pPrinter;
};

std::once_flag InitOnce;
std::mutex PoolMutex;
std::array<std::vector<std::unique_ptr<DECODER>>, ARM_NUM_PROFILES> aaPool;

/// The plug-in may be unloaded and loaded again in one process, so what LLVM keeps until the end is freed with it.
/// Destroyed before the pool, by its place behind it.
struct SHUT_DOWN {
    ~SHUT_DOWN() {
        ARMDIS_Free();
        llvm::llvm_shutdown();
    }
} ShutDown;

std::unique_ptr<DECODER> CreateDecoder(ARM_PROFILE Profile) {
    std::call_once(InitOnce, [] {
        LLVMInitializeARMTargetInfo();
        LLVMInitializeARMTargetMC();
        LLVMInitializeARMDisassembler();
    });
    const PROFILE_ROW& Row = aProfile[Profile];
    auto pDecoder = std::make_unique<DECODER>();
    std::string sError;
    const llvm::Triple Triple(Row.sTriple);
    pDecoder->pTarget = llvm::TargetRegistry::lookupTarget(Row.sTriple, sError);
    if (!pDecoder->pTarget) return nullptr;
    const llvm::MCTargetOptions Options;
    pDecoder->pRegs.reset(pDecoder->pTarget->createMCRegInfo(Row.sTriple));
    if (!pDecoder->pRegs) return nullptr;
    pDecoder->pAsm.reset(pDecoder->pTarget->createMCAsmInfo(*pDecoder->pRegs, Row.sTriple, Options));
    pDecoder->pInsts.reset(pDecoder->pTarget->createMCInstrInfo());
    pDecoder->pSubtarget.reset(pDecoder->pTarget->createMCSubtargetInfo(Row.sTriple, Row.sCPU, Row.sFeatures));
    if (!pDecoder->pAsm || !pDecoder->pInsts || !pDecoder->pSubtarget) return nullptr;
    pDecoder->pContext = std::make_unique<llvm::MCContext>(Triple, pDecoder->pAsm.get(), pDecoder->pRegs.get(),
                                                           pDecoder->pSubtarget.get());
    pDecoder->pPrinter.reset(pDecoder->pTarget->createMCInstPrinter(Triple, 0, *pDecoder->pAsm, *pDecoder->pInsts,
                                                                    *pDecoder->pRegs));
    if (!pDecoder->pPrinter) return nullptr;
    pDecoder->pPrinter->setPrintImmHex(true);
    pDecoder->pPrinter->setPrintBranchImmAsAddress(true);
    return pDecoder;
}

std::unique_ptr<DECODER> TakeDecoder(ARM_PROFILE Profile) {
    {
        std::lock_guard Lock(PoolMutex);
        auto& aPool = aaPool[Profile];
        if (!aPool.empty()) {
            std::unique_ptr<DECODER> pDecoder = std::move(aPool.back());
            aPool.pop_back();
            return pDecoder;
        }
    }
    return CreateDecoder(Profile);
}

void GiveDecoder(ARM_PROFILE Profile, std::unique_ptr<DECODER> pDecoder) {
    std::lock_guard Lock(PoolMutex);
    aaPool[Profile].push_back(std::move(pDecoder));
}

/// An IT instruction whose block has exactly this state puts the decoder into it.
void EnterITBlock(llvm::MCDisassembler& Disassembler, uint8_t ITState) {
    const uint8_t abIT[2] = {ITState, 0xBF};
    llvm::MCInst Inst;
    uint64_t Size = 0;
    Disassembler.getInstruction(Inst, Size, abIT, 0, llvm::nulls());
}

void CopyText(const llvm::SmallVectorImpl<char>& Text, char* sText, uint32_t Size) {
    size_t First = 0;
    while (First < Text.size() && (Text[First] == '\t' || Text[First] == ' ')) First++;
    size_t Length = Text.size() - First;
    if (Length >= Size) Length = Size - 1;
    std::memcpy(sText, Text.data() + First, Length);
    sText[Length] = '\0';
    // A few instructions are printed with a blank in place of the tab: "cpsid i".
    if (!std::strchr(sText, '\t')) {
        if (char* pBlank = std::strchr(sText, ' ')) *pBlank = '\t';
    }
}

} // namespace

int ARMDIS_Decode(ARM_PROFILE Profile, uint64_t Addr, const uint8_t* pBytes, uint32_t NumBytes, uint8_t ITState,
                  char* sText, uint32_t Size) {
    if (Profile >= ARM_NUM_PROFILES || NumBytes < 2) return 0;
    std::unique_ptr<DECODER> pDecoder = TakeDecoder(Profile);
    if (!pDecoder) return 0;
    int Length = 0;
    {
        std::unique_ptr<llvm::MCDisassembler> pDisassembler(
            pDecoder->pTarget->createMCDisassembler(*pDecoder->pSubtarget, *pDecoder->pContext));
        if (pDisassembler) {
            if (ITState & 0x0F) EnterITBlock(*pDisassembler, ITState);
            llvm::MCInst Inst;
            uint64_t InstSize = 0;
            const auto Status = pDisassembler->getInstruction(Inst, InstSize, llvm::ArrayRef<uint8_t>(pBytes, NumBytes),
                                                              Addr, llvm::nulls());
            if (Status != llvm::MCDisassembler::Fail && InstSize <= NumBytes) {
                Length = static_cast<int>(InstSize);
                if (sText && Size) {
                    llvm::SmallString<128> Text;
                    llvm::raw_svector_ostream Stream(Text);
                    pDecoder->pPrinter->printInst(&Inst, Addr, "", *pDecoder->pSubtarget, Stream);
                    CopyText(Text, sText, Size);
                }
            }
        }
    }
    GiveDecoder(Profile, std::move(pDecoder));
    return Length;
}

void ARMDIS_Free() {
    std::lock_guard Lock(PoolMutex);
    for (auto& aPool : aaPool) aPool.clear();
}
