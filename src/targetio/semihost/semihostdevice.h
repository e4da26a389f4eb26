// The device's side of semihosting: at a halt and after a step it asks the core plug-in whether the stop is a request,
// has it served and resumes the target.
//
//   SEMIHOST_Register();      // once at start, behind DEVICE_RegisterTarget(), main thread
//
// Unless a line says otherwise, device worker.
#pragma once
#include "app/services/types.h"
#include "device/target/targethooks.h"

/// Puts the checks into the halt sequence and registers the executor of BT_SET_SH_INPUT_TEXT.
void SEMIHOST_Register();

/// A stop at PC; WasRunning tells a halt from the end of a step. Gives SEMIHOST_STOP_...
int SEMIHOST_CheckHandleIRQ(U32 PC, bool WasRunning);

/// Hands an operation's result back to the plug-in. True when the target has been resumed.
bool SEMIHOST_OnOperationCompleted(I64 Result);

/// Terminal input for a pending read: 0, also when it doesn't suffice; -1 for a length that isn't the text's.
int SEMIHOST_SetInputText(U32 StrLen, const char* sText);
