// Variables, preferences, colours and fonts in the settings store, below "AppData/Preferences".
//
// Loading comes right after the tables have their defaults, so that what a project sets later
// wins for that session. Main thread.
#pragma once

void LoadPreferences();    ///< every row that the store holds, as current and stored value
void SavePreferences();    ///< the stored value of every row
void LoadColorsAndFonts(); ///< unknown and bad entries are skipped
void SaveColorsAndFonts(); ///< only what differs from its default; other keys are removed
