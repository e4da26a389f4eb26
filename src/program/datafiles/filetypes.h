// What kind of file a path names, and the filters of file dialogs.
//
//   if (BFile::IsHexFile(sPath)) ...
//   QFileDialog::getOpenFileName(this, "Open", sDir, BFile::GetOpenFilter());
#pragma once
#include <QString>

namespace BFile {

bool IsBinFile(const QString& sPath);
bool IsSvdFile(const QString& sPath);
/// By suffix; a name without one by the first bytes of the file (32-bit little-endian ELF).
bool IsElfFile(const QString& sPath);
bool IsHexFile(const QString& sPath);
bool IsDataFile(const QString& sPath);
bool IsSourceFile(const QString& sPath);
bool IsProjectFile(const QString& sPath);
bool IsDocumentFile(const QString& sPath);
bool IsLibraryFile(const QString& sPath);

/// The suffix as it stands, what follows the last dot of the file name; empty if there is none.
QString GetSuffix(const QString& sPath);
QString GetOpenFilter();
QString GetDataFilter(); ///< data files without binary ones
QString GetProjectFilter();
/// Description of a file by its suffix, empty for an unknown one.
QString GetFileTypeText(const QString& sPath);

/// All suffixes of data files as a filter, "*.bin *.mot ...".
inline constexpr const char* DATA_FILES = "*.bin *.mot *.srec *.hex *.elf *.out *.axf";

} // namespace BFile
