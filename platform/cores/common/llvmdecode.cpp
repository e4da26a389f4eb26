// Decoding of one instruction to text. LLVM's context and tables may be used by one thread at a time, so decoders live in
// a pool: a request takes one out and puts it back, and there are never more of them than threads have decoded at once.
// The disassembler object itself is made anew for each request, since it may carry the state of what it decoded before.
#include "llvmdecode.h"

#include <cstring>
#include <map>
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

namespace {

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
std::map<const LLVM_PROFILE*, std::vector<std::unique_ptr<DECODER>>> aaPool;

/// The plug-in may be unloaded and loaded again in one process, so what LLVM keeps until the end is freed with it.
/// Destroyed before the pool, by its place behind it.
struct SHUT_DOWN {
    ~SHUT_DOWN() {
        LLVMDEC_Free();
        llvm::llvm_shutdown();
    }
} ShutDown;

std::unique_ptr<DECODER> CreateDecoder(const LLVM_PROFILE& Profile) {
    std::call_once(InitOnce, LLVMDEC_InitTargets);
    auto pDecoder = std::make_unique<DECODER>();
    std::string sError;
    const llvm::Triple Triple(Profile.sTriple);
    pDecoder->pTarget = llvm::TargetRegistry::lookupTarget(Profile.sTriple, sError);
    if (!pDecoder->pTarget) return nullptr;
    const llvm::MCTargetOptions Options;
    pDecoder->pRegs.reset(pDecoder->pTarget->createMCRegInfo(Profile.sTriple));
    if (!pDecoder->pRegs) return nullptr;
    pDecoder->pAsm.reset(pDecoder->pTarget->createMCAsmInfo(*pDecoder->pRegs, Profile.sTriple, Options));
    pDecoder->pInsts.reset(pDecoder->pTarget->createMCInstrInfo());
    pDecoder->pSubtarget.reset(pDecoder->pTarget->createMCSubtargetInfo(Profile.sTriple, Profile.sCPU, Profile.sFeatures));
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

std::unique_ptr<DECODER> TakeDecoder(const LLVM_PROFILE& Profile) {
    {
        std::lock_guard Lock(PoolMutex);
        auto& aPool = aaPool[&Profile];
        if (!aPool.empty()) {
            std::unique_ptr<DECODER> pDecoder = std::move(aPool.back());
            aPool.pop_back();
            return pDecoder;
        }
    }
    return CreateDecoder(Profile);
}

void GiveDecoder(const LLVM_PROFILE& Profile, std::unique_ptr<DECODER> pDecoder) {
    std::lock_guard Lock(PoolMutex);
    aaPool[&Profile].push_back(std::move(pDecoder));
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

int LLVMDEC_Decode(const LLVM_PROFILE& Profile, uint64_t Addr, const uint8_t* pBytes, uint32_t NumBytes,
                   const uint8_t* pPrefix, uint32_t PrefixSize, char* sText, uint32_t Size) {
    if (NumBytes < 2) return 0;
    std::unique_ptr<DECODER> pDecoder = TakeDecoder(Profile);
    if (!pDecoder) return 0;
    int Length = 0;
    {
        std::unique_ptr<llvm::MCDisassembler> pDisassembler(
            pDecoder->pTarget->createMCDisassembler(*pDecoder->pSubtarget, *pDecoder->pContext));
        if (pDisassembler) {
            llvm::MCInst Inst;
            uint64_t InstSize = 0;
            if (pPrefix) pDisassembler->getInstruction(Inst, InstSize, llvm::ArrayRef<uint8_t>(pPrefix, PrefixSize), 0, llvm::nulls());
            Inst.clear();
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

void LLVMDEC_Free() {
    std::lock_guard Lock(PoolMutex);
    aaPool.clear();
}
