// Product name, version, and the title of the main window.
#pragma once
#include "app/services/types.h"

#include <QString>

inline constexpr int VERSION_MAJOR = 0;
inline constexpr int VERSION_MINOR = 1;
inline constexpr int VERSION_REVISION = 0;

/// "V", major, ".", minor with two digits, and the revision in letters ("a" is 1; above 26 "z01"...).
QString FormatVersion(int Major, int Minor, int Revision);
/// Version text of this program.
QString GetVersionText();

enum PRODUCT_NAME_FLAGS : U32 {
    PRODUCT_NAME_LONG = 1,    ///< with the subtitle
    PRODUCT_NAME_VERSION = 2, ///< with the version text; only together with PRODUCT_NAME_LONG
};
QString GetProductName(U32 Flags = 0);

/// Day on which the program file was made, "YYYY-MM-DD"; empty when the file system doesn't say.
QString GetBuildDate();

/// What the title of the main window depends on.
struct WINDOW_TITLE_STATE {
    bool ProjectOpen = false;
    bool Modified = false;      ///< the project has unsaved changes
    bool SessionActive = false; ///< a debug session is active
    QString ProjectPath;        ///< empty for a project that was never saved
    QString ProgramFile;        ///< path of the loaded program file, empty for none
};
QString GetWindowTitle(const WINDOW_TITLE_STATE& State);
