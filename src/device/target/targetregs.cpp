// CDeviceTarget: registers, which the core plug-in reads and writes, and data locations.
#include "core/host/corecalls.h"
#include "core/host/corehost.h"
#include "device/target/devicetarget.h"
#include "platform/probe/bryllo.h"
#include "program/symbols/elfsym.h"
#include "project/settings/sysvars.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr U32 REG_NONE = 0xFFFFFFFF;
constexpr U8 REG_NOT_READ = 255;
} // namespace

/// A mode bit in the PC does not reach the user.
U64 CDeviceTarget::_AlignPC(U32 BrylloRegIdx, U64 Value) const
{
    if (BrylloRegIdx != Core_GetPCRegId() || Value >= 0xFFFFFFFF) return Value;
    const U32 Align = std::max(Core_GetStaticInfo().InstAlignment, 1u);
    return Value - Value % Align;
}

int CDeviceTarget::ReadReg(U32 BrylloRegIdx, U64* pOutRegVal)
{
    if (!pOutRegVal) return -1;
    *pOutRegVal = 0;
    const char* sError = nullptr;
    if (!_State().Connected)
        sError = "ReadReg: not connected";
    else if (!IsStanding())
        sError = "ReadReg: not halted";
    else if (BrylloRegIdx == REG_NONE)
        sError = "ReadReg: invalid register index";
    if (sError) {
        _Dev().LogDebugMsg("%s", sError);
        return -1;
    }
    U64 Value = 0;
    if (Core_ReadReg(BrylloRegIdx, &Value) != 0) {
        _Dev().LogWarnMsg("ReadReg: BRYLLO API call failed");
        return -1;
    }
    *pOutRegVal = _AlignPC(BrylloRegIdx, Value);
    return 0;
}

int CDeviceTarget::WriteReg(U32 BrylloRegIdx, U64 RegValue)
{
    const char* sError = nullptr;
    if (!_State().Connected)
        sError = "WriteReg: Not connected";
    else if (!IsTargetHalted())
        sError = "WriteReg: Not halted";
    else if (BrylloRegIdx == REG_NONE)
        sError = "WriteReg: invalid register index";
    else if (Core_WriteReg(BrylloRegIdx, RegValue) != 0)
        sError = "WriteReg: BRYLLO API call failed";
    if (!sError) return 0;
    _Dev().LogWarnMsg("%s", sError);
    return -1;
}

int CDeviceTarget::ReadRegs(U32 Cnt, const U32* paBrylloRegIdxs, U64* paOutRegVals, U8* pOutRegStatus)
{
    if (Cnt == 0 || !paBrylloRegIdxs || !paOutRegVals || !pOutRegStatus) return -1;
    const char* sError = nullptr;
    if (!_State().Connected) {
        sError = "ReadRegs: not connected";
    } else if (std::find(paBrylloRegIdxs, paBrylloRegIdxs + Cnt, REG_NONE) != paBrylloRegIdxs + Cnt) {
        sError = "ReadRegs: Invalid register index";
    } else {
        const int Halted = BRYLLOARM_IsHalted();
        if (Halted < 0)
            sError = "ReadRegs: invalid halt status";
        else if (Halted != 1)
            sError = "ReadRegs: not halted";
    }
    if (!sError) {
        std::memset(pOutRegStatus, REG_NOT_READ, Cnt);
        std::fill(paOutRegVals, paOutRegVals + Cnt, 0);
        if (Core_ReadRegs(Cnt, paBrylloRegIdxs, paOutRegVals, pOutRegStatus) != 0)
            sError = "ReadRegs: BRYLLO API call failed";
    }
    if (sError) {
        _Dev().LogWarnMsg("%s", sError);
        return -1;
    }
    for (U32 i = 0; i < Cnt; i++) {
        if (pOutRegStatus[i] != DATA_VALID) {
            pOutRegStatus[i] = DATA_INVALID;
            paOutRegVals[i] = ~U64(0);
        } else {
            paOutRegVals[i] = _AlignPC(paBrylloRegIdxs[i], paOutRegVals[i]);
        }
    }
    return 0;
}

int CDeviceTarget::ReadCPReg(const char* sReg, U64* pOutValue)
{
    if (!pOutValue) return -1;
    *pOutValue = 0;
    const char* sError = nullptr;
    if (!sReg)
        sError = "ReadCPReg: invalid register identifier";
    else if (!_State().Connected)
        sError = "ReadCPReg: not connected";
    else if (!IsTargetHalted())
        sError = "ReadCPReg: not halted";
    if (!sError && Core_ReadCPReg(sReg, pOutValue) != 0) {
        sError = "ReadCPReg: BRYLLO API call failed";
        *pOutValue = ~U64(0);
    }
    if (!sError) return 0;
    _Dev().LogWarnMsg("%s", sError);
    return -1;
}

int CDeviceTarget::WriteCPReg(const char* sReg, U64 Value)
{
    if (!sReg) return -1;
    const char* sError = nullptr;
    if (!_State().Connected)
        sError = "WriteCPReg: not connected";
    else if (!IsTargetHalted())
        sError = "WriteCPReg: not halted";
    else if (Core_WriteCPReg(sReg, Value) != 0)
        sError = "WriteCPReg: BRYLLO API call failed";
    if (!sError) return 0;
    _Dev().LogWarnMsg("%s", sError);
    return -1;
}

int CDeviceTarget::ReadLocs(U32 Cnt, const ELF_SYM_LOC* paDataLocs, U64* paOutVals, U8* pOutStatus)
{
    if (Cnt == 0 || !paDataLocs || !paOutVals || !pOutStatus) return -1;
    const U32 AW = U32(GetVarValue(VAR_ACCESS_WIDTH));
    int Num = 0;
    for (U32 i = 0; i < Cnt; i++) {
        const ELF_SYM_LOC& Loc = paDataLocs[i];
        const ELF_SYM_LOC_PART& Part = Loc.aPart[0];
        const U32 Type = Loc.NumParts > 0 ? Part.Type : U32(ELF_LOC_NONE);
        U64 Value = 0;
        bool Ok = false;
        if (ELF_IsRegPart(Type)) {
            Ok = ReadReg(Core_GetRegId(Part.Reg), &Value) == 0;
        } else if (ELF_IsMemPart(Type)) {
            U8 aData[4] = {};
            U8 aStatus[4];
            Ok = ReadMem(Part.Addr, 4, 0, AW, 0, nullptr, aData, aStatus) == 4;
            const bool IsBig = _State().DataEndian == ENDIAN_BIG;
            for (U32 n = 0; n < 4; n++) Value |= U64(aData[IsBig ? 3 - n : n]) << 8 * n;
        }
        paOutVals[i] = Ok ? Value : ~U64(0);
        pOutStatus[i] = Ok ? DATA_VALID : DATA_INVALID;
        Num += Ok;
    }
    return Num;
}
