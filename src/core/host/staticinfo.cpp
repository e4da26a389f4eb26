// Validation of the constants that a plug-in states about its core. Everything behind the
// host divides by these numbers and indexes with them, so a bad record never gets past here.
#include "core/host/staticinfo.h"

namespace {

struct STATIC_INFO_TEST {
    bool (*pfIsFaulty)(const CORE_STATIC_INFO& Info);
    const char* sText;
};

using INFO = const CORE_STATIC_INFO&;

// In the order in which the faults are looked for; the first one is reported.
constexpr STATIC_INFO_TEST aTest[] = {
    {[](INFO I) { return I.MinInstLen == 0 || I.MinInstLen > I.MaxInstLen; }, "invalid minimum instruction length."},
    {[](INFO I) { return I.MaxInstLen == 0 || I.MaxInstLen < I.MinInstLen; }, "invalid maximum instruction length"},
    {[](INFO I) { return I.MaxMnemonicLen == 0; }, "invalid maximum mnemonic length"},
    {[](INFO I) { return I.InstAlignment == 0; }, "invalid instruction alignment"},
    {[](INFO I) { return I.NumRegs == 0; }, "invalid register count"},
    {[](INFO I) { return I.RegSize == 0; }, "invalid register size"},
    {[](INFO I) { return I.RegSize > 8; }, "Warning: register sizes > 64 bit are not yet supported"},
    {[](INFO I) { return I.SPSize > 8; },
     "Error: SP register is larger than 64 bit. This is not supported. Check core plugin compatibility."},
    {[](INFO I) { return I.PCSize > 8; }, "Warning: PC register is larger than 64 bit. This is not yet supported"},
    {[](INFO I) { return I.SPRegIdx >= I.NumRegs; }, "invalid SP register index"},
    {[](INFO I) { return I.PCRegIdx >= I.NumRegs; }, "invalid PC register index"},
    {[](INFO I) { return I.LRRegIdx >= I.NumRegs; }, "invalid LR register index"},
    {[](INFO I) { return I.CFARegIdx >= I.NumRegs; }, "invalid CFA register index"},
    {[](INFO I) { return I.RARegIdx >= I.NumRegs; }, "invalid RA register index"},
    {[](INFO I) { return I.MaxUnwindRegIdx >= I.NumRegs; }, "invalid maximum unwindable register index"},
};

} // namespace

const char* Core_FindStaticInfoFault(const CORE_STATIC_INFO& Info) {
    for (const STATIC_INFO_TEST& Test : aTest) {
        if (Test.pfIsFaulty(Info)) return Test.sText;
    }
    return nullptr;
}
