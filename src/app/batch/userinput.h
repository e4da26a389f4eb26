// What a user does with mouse and keyboard, as real events sent to the widgets. Main thread only.
#pragma once
#include <QString>

class CWindow;

namespace UserInput {

/// Chooses the menu entry of an action, by its object name, its command or its text. False with the reason if there is no
/// such action or it is disabled.
bool TriggerAction(const QString& sName, QString* psError);
/// Presses one key sequence ("F10", "Ctrl+Shift+L") where the focus is. False if it is none.
bool PressKeys(const QString& sSequence);
/// Clicks a cell of an item view, or a row of a text window (column 0 is its margin). Counted from 0, unfolded rows
/// included. False if there is no such cell.
bool Click(CWindow* pWindow, int Row, int Column);
/// Types a text where the focus is; "\n" presses Return.
void TypeText(const QString& sText);

} // namespace UserInput
