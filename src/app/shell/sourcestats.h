// Tells the console how many source files of the program were found.
#pragma once

/// Connects the file finder's statistics with the console. Once at start.
void WireSourceStats();
/// Looks up all source files of the program that was opened; their number is told when that has come
/// to rest, also if it is the same as before.
void LookUpProgramSources();
