// The commands of a project for the state texts of the target dialogs (statetext.h).
//
//   CProject::Get().WriteBrylloSettings(GetStateCommands(sNew), GetSilentCommands(sNew), GetUntouchedCommands(sOld, sNew));
//
// Main thread only.
#pragma once
#include <QString>
#include <QStringList>

/// The commands that a project has for a state, in their order. A device without a name has none, and neither has an
/// interface without one.
QStringList GetStateCommands(const QString& sState);
/// The commands that lead a program that runs from one state to another: those of the new state that differ, and those
/// that take back what the new state no longer has and a project doesn't mention.
QStringList GetChangeCommands(const QString& sOld, const QString& sNew);
/// Commands for what a state doesn't have. A project that says so keeps its line, and no other gets one.
QStringList GetSilentCommands(const QString& sState);
/// Names of commands of the probe settings that the new state has nothing to say to: their lines stay as they are.
QStringList GetUntouchedCommands(const QString& sOld, const QString& sNew);
/// False when the core support that a project names for the old device can't serve the new one.
bool UsesSamePlugin(const QString& sOld, const QString& sNew);
