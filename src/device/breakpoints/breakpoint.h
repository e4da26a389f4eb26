// CBreakpoint: one instruction or source breakpoint with what the device does not know of it. A plain value.
#pragma once
#include "device/queue/devicetypes.h"
#include "program/tables/srcloc.h"

#include <QString>

class CBreakpoint {
public:
    U64 Addr = ~U64(0);                 ///< of an instruction breakpoint; all ones for a source breakpoint
    CSrcLoc Loc;                        ///< of a source breakpoint
    U32 PermittedImpl = BP_TYPE_ANY;    ///< BP_TYPES asked for; mixed where the derived ones differ in force
    U32 ActualImpl = BP_TYPE_HARD;      ///< BP_TYPES in force
    U32 State = BP_STATE_OFF;           ///< BP_STATES; mixed where the derived ones differ
    U64 HitCount = 0;                   ///< from the device
    I64 LastValue = -1;                 ///< last value of the condition; -1 before the first
    QString Condition;                  ///< expression; empty: none
    QString TaskName;                   ///< number in any base or name; empty: any task
    bool TriggerOnChange = false;       ///< halt when the condition's value changes
    bool ReloadSkip = false;            ///< the skip count starts anew after each halt
    U32 SkipCount = 0;                  ///< hits to skip
    QString ConsoleMsg;                 ///< printed at a halt here
    QString PopupMsg;                   ///< shown in a box at a halt here
    QString ScriptCallback;             ///< script function called at a halt here
    QString Source;                     ///< text of the source line, simplified
    bool Derived = false;               ///< belongs to a source breakpoint

    bool IsSource() const { return Loc.IsValid(); }
    /// A hit has to be evaluated before it halts. Messages and callback act at a halt that happens anyway.
    bool HasCondition() const { return SkipCount >= 1 || !TaskName.isEmpty() || !Condition.isEmpty(); }
    bool operator==(const CBreakpoint&) const = default;
};
