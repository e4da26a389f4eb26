// Joins the layers at start: what a lower layer asks of a higher one is answered here and nowhere else.
#pragma once
#include <QString>

class CMainWindow;
class CSrcLoc;

/// All hooks that need no window. Main thread, before the device thread starts.
void WireLayers();
/// What every window asks: debug state, commands, preferences. Before the first window is made.
void WireWindowEnvironment();
/// The hooks that windows answer or ask, once they exist.
void WireWindows(CMainWindow& Main);
/// The part of WireWindows that feeds the debug views.
void WireDebugViews(CMainWindow& Main);
/// The part of WireWindows for the program's input and output.
void WireTargetIO(CMainWindow& Main);
/// Colours, fonts and the scheme as the settings have them. After they were loaded, before the first window.
void RestoreAppearance();
/// Tells all windows of a colour or font that changed, and the device of variables that are its own.
void WireSettings(CMainWindow& Main);
/// A source line's text: from its document if it is open, else from the file. Empty if there is none.
QString GetSrcLineText(CSrcLoc Loc);
/// Takes the hooks out again that lead to windows which are about to die.
void UnwireLayers();
