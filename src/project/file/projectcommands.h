// Families of commands that CProject::HandleCommand tries in turn. Each takes the parameters stored
// in the action, sets the action's error, and gives false if the id is none of its own.
#pragma once

/// The form in which Edit.Color and Edit.Font are echoed: the name of the row, and a colour in hexadecimal. What the
/// command would refuse stays as it was typed.
void CanonicalizeSettingsParams(int ActionId);

bool HandleTargetSetting(int ActionId);   ///< device, probe, interfaces, speed, scan chain
bool HandleFileSetting(int ActionId);     ///< paths, description files, plug-ins, log files
bool HandleIOSetting(int ActionId);       ///< semihosting, Memlane, SWO, trace, symbols, session
bool HandleSettingsCommand(int ActionId); ///< Edit.SysVar, Edit.Preference, Edit.Color, Edit.Font
