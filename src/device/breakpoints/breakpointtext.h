// Text forms of break-, data- and tracepoints, as the session file holds them.
//
//   "Breakpoint=main.c:12, State=BP_STATE_ON, Condition=\"i > 3\", SkipCount=2"
//   "DataBreakpoint=0x20000000, AccessSize=AW_WORD"
//   "Tracepoint=0x100, Type=TP_OP_STOP"
//
// Entries that have the value of a default record are not written.
#pragma once
#include "device/breakpoints/breakpoint.h"

#include <QString>

QString BP_StateToText(U32 State);                      ///< empty for an unknown value
QString BP_TypeToText(U32 Type);
bool BP_StateFromText(const QString& sText, U32* pState);
bool BP_TypeFromText(const QString& sText, U32* pType);

QString BP_ToText(const CBreakpoint& Record);
QString BP_WatchToText(const WP& Wp);
QString BP_TraceToText(const TP& Tp);

/// Which record a line holds, by its first key.
enum BP_LINE_KINDS : int { BP_LINE_NONE, BP_LINE_BREAKPOINT, BP_LINE_WATCHPOINT, BP_LINE_TRACEPOINT };
BP_LINE_KINDS BP_GetLineKind(const QString& sLine);

/// Read a line. Faults are logged and leave the field at its default; unknown keys are passed over.
CBreakpoint BP_FromText(const QString& sLine);
/// An expression as location stays in WP::Expression, with BP_STATE_UNKNOWN until it is resolved.
WP BP_WatchFromText(const QString& sLine);
TP BP_TraceFromText(const QString& sLine);
