// Folders of the installation. All lie in or under the folder of the program file.
#pragma once
#include <QString>

/// Canonical folder of the program file, without a slash at the end. Found once; a call made while
/// the first is still searching gives an empty text. Any thread.
QString GetInstallDir();
/// The current working directory.
QString GetCurrentDir();
QString GetConfigDir();
QString GetLibDir();
QString GetDocDir();
QString GetPluginsDir();
QString GetPeripheralsDir(); ///< "Config/Peripherals"

/// The folder in which a named file is looked for by default: its own if it exists, else by the kind
/// of file (register descriptions, documents, plug-ins), else the install directory.
QString GetDefaultDir(const QString& sFileName);
