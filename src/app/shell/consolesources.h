// What the console's completion asks of the program: symbols, source files, windows, registers, script functions.
#pragma once

class CMainWindow;

/// Once at start; Main outlives the console.
void WireConsoleCompletion(CMainWindow& Main);
