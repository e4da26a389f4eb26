// Kinds of files by their names.
#include "program/datafiles/filetypes.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>

namespace BFile {

namespace {

constexpr const char* SOURCE_FILES = "*.h *.c *.hpp *.cpp *.s";
constexpr const char* PROJECT_FILES = "*.bdebug";

struct TYPE_ROW {
    const char* sSuffix;
    const char* sText;
};
constexpr TYPE_ROW FILE_TYPES[] = {
    {"elf", "Executable and Linkable Format File"},
    {"out", "Executable and Linkable Format File"},
    {"axf", "Executable and Linkable Format File"},
    {"bin", "Binary Data FIle"},
    {"mot", "Motorola S-Record File"},
    {"hex", "Intel Hexadecimal File"},
    {"srec", "S-Record File"},
    {"h", "C Header File"},
    {"c", "C Source File"},
    {"s", "Assembly Script"},
    {"hpp", "C++ Header File"},
    {"cpp", "C++ Source File"},
    {"svd", "System View Descr. File"},
    {"xml", "Xml File"},
    {"bryllo", "Bryllo Script file"},
};

bool Matches(const QString& sPath, const char* sFilter)
{
    const QString sSuffix = GetSuffix(sPath).toLower();
    const QStringList asPart = QString::fromLatin1(sFilter).remove(QStringLiteral("*.")).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return asPart.contains(sSuffix);
}

QString Entry(const char* sName, const QString& sFilter)
{
    return QStringLiteral("%1 (%2)").arg(QLatin1String(sName), sFilter);
}

} // namespace

QString GetSuffix(const QString& sPath) { return QFileInfo(sPath).suffix(); }

bool IsBinFile(const QString& sPath) { return Matches(sPath, "*.bin"); }
bool IsSvdFile(const QString& sPath) { return Matches(sPath, "*.svd *.xml"); }
bool IsHexFile(const QString& sPath) { return Matches(sPath, "*.mot *.srec *.hex"); }
bool IsDataFile(const QString& sPath) { return Matches(sPath, DATA_FILES); }
bool IsSourceFile(const QString& sPath) { return Matches(sPath, SOURCE_FILES); }
bool IsProjectFile(const QString& sPath) { return Matches(sPath, PROJECT_FILES); }
bool IsDocumentFile(const QString& sPath) { return Matches(sPath, "*.txt *.pdf *.html"); }
bool IsLibraryFile(const QString& sPath) { return Matches(sPath, "*.dll *.so *.dylib"); }

bool IsElfFile(const QString& sPath)
{
    if (Matches(sPath, "*.elf *.out *.axf")) return true;
    if (!GetSuffix(sPath).isEmpty()) return false;
    QFile File(sPath);
    if (!File.open(QIODevice::ReadOnly)) return false;
    return File.read(12) == QByteArray("\x7f"
                                       "ELF\1\1\1\0\0\0\0\0",
                                       12);
}

QString GetOpenFilter()
{
    return QStringLiteral("All Files (*);;") + Entry("Source Files", QLatin1String(SOURCE_FILES)) + QStringLiteral(";;") +
           Entry("Data Files", QLatin1String(DATA_FILES)) + QStringLiteral(";;") + GetProjectFilter() + QStringLiteral(";;");
}

QString GetDataFilter()
{
    return Entry("Data Files", QString::fromLatin1(DATA_FILES).remove(QStringLiteral("*.bin ")));
}

QString GetProjectFilter() { return Entry("Project Files", QLatin1String(PROJECT_FILES)); }

QString GetFileTypeText(const QString& sPath)
{
    const QString sSuffix = GetSuffix(sPath).toLower();
    for (const TYPE_ROW& Row : FILE_TYPES) {
        if (sSuffix == QLatin1String(Row.sSuffix)) return QString::fromLatin1(Row.sText);
    }
    return {};
}

} // namespace BFile
