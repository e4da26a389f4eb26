// Joins the layers at start: what a lower layer asks of a higher one is answered here and nowhere else.
#pragma once
class CMainWindow;

/// All hooks that need no window. Main thread, before the device thread starts.
void WireLayers();
/// The hooks that windows answer or ask.
void WireWindows(CMainWindow& Main);
/// Takes the hooks out again that lead to windows which are about to die.
void UnwireLayers();
