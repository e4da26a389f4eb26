// The about box.
#pragma once
class QWidget;

/// Shows product, version and build date, and waits for OK. Main thread.
void ShowAboutBox(QWidget* pParent);
