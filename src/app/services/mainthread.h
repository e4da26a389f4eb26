// Tells the main thread from all others.
#pragma once

/// Remembers the calling thread as the main thread. First thing in the program.
void SetMainThread();
/// True on the main thread; before SetMainThread() every thread counts as main.
bool IsMainThread();
/// Ends the program with a message if called from another thread; for the doors of main thread code.
void AssertMainThread(const char* sWhere);
/// Ends the program with a message if called from the main thread; for the doors of worker code.
void AssertWorkerThread(const char* sWhere);
