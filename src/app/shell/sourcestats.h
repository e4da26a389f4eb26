// Where the source files of the program lie here: what the file finder found goes into the program's table of
// files, and how many it found to the console. Main thread.
#pragma once

/// Connects the file finder with the program's table and the console. Once at start.
void WireSourceStats();
/// Looks up all source files of the program that was opened; their number is told when that has come
/// to rest, also if it is the same as before.
void LookUpProgramSources();
/// After a change of the finder's paths: what was found is forgotten, and looked up anew, in a script function not
/// before that has ended.
void OnSourcePathsChanged();
void OnSourcePathsSettled(); ///< the outermost script function has ended
