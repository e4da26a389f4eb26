// What windows show of a frame in words.
#include "core/host/corecalls.h"
#include "core/host/corehost.h"
#include "program/tables/prog.h"
#include "program/unwind/callstack.h"
#include "program/unwind/regset.h"

namespace {

QString Hex8(U64 Value) {
    return QString::number(static_cast<U32>(Value), 16).toUpper().rightJustified(8, '0');
}

constexpr const char* NO_LOCATION = "N/A";

} // namespace

QString CCallStack::_GetLocText(const ELF_SYM_LOC& Loc) const {
    if (Loc.NumParts == 0) return QLatin1String(NO_LOCATION);
    CProgLock Lock; // the text lies in a buffer that all share
    return QString::fromUtf8(ELF_GetLocText(Loc, 0));
}

ELF_SYM_LOC CCallStack::_GetRule(const CCallFrame& Frame, U32 Reg) const {
    const CRegSet* pSet = _FindRegs(Frame);
    const ELF_SYM_LOC* pRule = pSet ? pSet->GetRule(Reg) : nullptr;
    return pRule ? *pRule : ELF_SYM_LOC{};
}

QString CCallStack::GetFunctionName(const CCallFrame& Frame) const {
    if (Frame.IsPluginFrame) {
        CRegSet* pSet = _FindRegs(Frame);
        const QString sName = pSet ? Core_GetFrameName(pSet->GetPluginView()) : QString();
        if (!sName.isEmpty()) return sName;
    }
    const QString sName = Frame.hFunc ? PROG_GetSymName(Frame.hFunc, PROG_NAME_QUALIFIED) : QString();
    return sName.isEmpty() ? QStringLiteral("@ ") + Hex8(GetPC(Frame)) : sName;
}

QString CCallStack::GetReturnText(const CCallFrame& Frame) const {
    if (Frame.IsInlined) return QStringLiteral("<inline>");
    const ELF_SYM_LOC Rule = _GetRule(Frame, Frame.ReturnAddrColumn);
    QString sText = Rule.NumParts ? _GetLocText(ResolveLocation(Frame, Rule)) : QLatin1String(NO_LOCATION);
    if (sText == QLatin1String(NO_LOCATION)) sText = _GetLocText(Rule);
    if (sText == QLatin1String(NO_LOCATION)) return QStringLiteral("<no symbols>");
    return sText + QStringLiteral(": ") + Hex8(Frame.ReturnAddr);
}

QString CCallStack::GetStopText() const {
    const QString sTop = QStringLiteral("Top of stack");
    const CCallFrame& Frame = GetTopFrame();
    const auto CFARule = [&] { return _GetLocText(_GetRule(Frame, Core_GetStaticInfo().CFARegIdx)); };
    const auto ReturnRule = [&] { return _GetLocText(_GetRule(Frame, Frame.ReturnAddrColumn)); };
    switch (m_StopReason) {
    case STOP_NONE: return sTop;
    case STOP_NO_CFA_RULE:
    case STOP_NO_RA_RULE: return sTop + QStringLiteral(" - no unwinding symbols at 0x") + Hex8(GetPC(Frame));
    case STOP_BP_READ:
        return sTop + QStringLiteral(" - frame base pointer location out of range: ") + _GetLocText(Frame.FrameBase);
    case STOP_CFA_READ: return sTop + QStringLiteral(" - stack pointer location out of range: ") + CFARule();
    case STOP_RA_READ: return sTop + QStringLiteral(" - return address location out of range: ") + ReturnRule();
    case STOP_CFA_LOC: return sTop + QStringLiteral(" - unsupported stack pointer location: ") + CFARule();
    case STOP_RA_LOC: return sTop + QStringLiteral(" - unsupported return address location: ") + ReturnRule();
    case STOP_PC_RANGE: return sTop + QStringLiteral(" - PC out of range");
    case STOP_RA_RANGE: return sTop + QStringLiteral(" - return address out of range: 0x") + Hex8(Frame.ReturnAddr);
    default: return sTop + QStringLiteral(" - depth limit reached");
    }
}
