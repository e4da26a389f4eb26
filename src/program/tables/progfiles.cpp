// Source files, and places given as text.
#include "program/tables/progtables.h"

#include <QFileInfo>
#include <QSet>

static QString BareName(const QString& sPath)
{
    return sPath.mid(sPath.lastIndexOf(QLatin1Char('/')) + 1);
}

U32 PROG_GetFile(const QString& sName)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    constexpr U32 NONE = 0xFFFFFFFFu;
    if (!Tab.Loaded || sName.isEmpty()) return NONE;
    const QString sLower = sName.toLower();
    if (const auto it = Tab.FileByOverride.constFind(sLower); it != Tab.FileByOverride.constEnd()) return it.value();
    const U32 ByPath = ProgFileOfPath(Tab, sName);
    if (ByPath != NONE) return ByPath;
    const QString sNorm = ProgNormalizePath(sLower);
    if (const auto it = Tab.FileByPath.constFind(sNorm); it != Tab.FileByPath.constEnd()) return it.value();
    // The end of a path, or a bare name: of several files the one that was met first.
    const QString sTail = QLatin1Char('/') + sNorm;
    const QList<U32> aNamed = Tab.FileByName.values(BareName(sNorm));
    const QSet<U32> Named(aNamed.cbegin(), aNamed.cend());
    for (const U32 Number : Tab.aFile) {
        if (!Named.contains(Number)) continue;
        const QString sPath = Tab.Files[Number].sNormPath.toLower();
        if (sPath == sNorm || sPath.endsWith(sTail)) return Number;
    }
    return NONE;
}

QStringList PROG_GetFilePaths()
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    QStringList asPath;
    if (!Tab.Loaded) return asPath;
    for (const U32 Number : Tab.aFile) asPath.append(PROG_GetFilePath(Number));
    return asPath;
}

QList<U32> PROG_GetFiles()
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    return Tab.Loaded ? Tab.aFile : QList<U32>();
}

QString PROG_GetFilePath(U32 File)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    const auto it = Tab.Files.constFind(File);
    if (!Tab.Loaded || it == Tab.Files.constEnd()) return {};
    return it->sOverride.isEmpty() ? it->sPath : it->sOverride;
}

QString PROG_GetOrigFilePath(U32 File)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    const auto it = Tab.Files.constFind(File);
    return Tab.Loaded && it != Tab.Files.constEnd() ? it->sPath : QString();
}

bool PROG_GetFileExists(U32 File)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    const auto it = Tab.Files.constFind(File);
    return Tab.Loaded && it != Tab.Files.constEnd() && it->Exists;
}

void PROG_SetFilePath(U32 File, const QString& sPath)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    const auto it = Tab.Files.find(File);
    if (!Tab.Loaded || it == Tab.Files.end()) return;
    if (!it->sOverride.isEmpty()) Tab.FileByOverride.remove(it->sOverride.toLower());
    it->sOverride = sPath;
    if (!sPath.isEmpty()) Tab.FileByOverride.insert(sPath.toLower(), File);
    it->Exists = QFileInfo::exists(sPath.isEmpty() ? it->sPath : sPath);
}

QList<CAddrRange> PROG_GetFileRanges(U32 File)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    const auto it = Tab.Files.constFind(File);
    if (!Tab.Loaded || it == Tab.Files.constEnd() || it->Range.IsEmpty()) return {};
    return {it->Range};
}

ELF_SYM_LIST PROG_GetFileFunctions(U32 File)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    const auto it = Tab.Files.constFind(File);
    return Tab.Loaded && it != Tab.Files.constEnd() ? it->aFunction : ELF_SYM_LIST();
}

CSrcLoc PROG_ParseSrcLoc(const QString& sText)
{
    // From the right: a path may hold a ":" of its own.
    const QStringList asPart = sText.trimmed().split(QLatin1Char(':'));
    bool IsLine = false, IsColumn = false;
    const U32 Last = asPart.last().toUInt(&IsLine);
    if (asPart.size() < 2 || !IsLine) return {};
    U32 Line = Last, Col = 0;
    qsizetype NumName = asPart.size() - 1;
    if (asPart.size() >= 3) {
        const U32 Before = asPart[asPart.size() - 2].toUInt(&IsColumn);
        if (IsColumn) {
            Line = Before;
            Col = Last;
            NumName--;
        }
    }
    const U32 File = PROG_GetFile(asPart.mid(0, NumName).join(QLatin1Char(':')));
    return File == 0xFFFFFFFFu || Line == 0 ? CSrcLoc() : CSrcLoc(File, Line, Col);
}

QString PROG_GetSrcLocText(const CSrcLoc& Loc)
{
    const CProgLock Lock;
    const PROG_TABLES& Tab = PROG_Tables(Lock);
    const auto it = Tab.Files.constFind(Loc.File);
    if (!Tab.Loaded || !Loc.IsValid() || it == Tab.Files.constEnd()) return {};
    const QString sName = BareName(it->sNormPath);
    const bool IsUnique = Tab.FileByName.count(sName.toLower()) == 1;
    QString sText = (IsUnique ? sName : it->sPath) + QLatin1Char(':') + QString::number(Loc.Line);
    if (Loc.Col) sText += QLatin1Char(':') + QString::number(Loc.Col);
    return sText;
}

CAddrRange PROG_ResolveLocationText(const QString& sText, int* pKind)
{
    const CProgLock Lock;
    PROG_TABLES& Tab = PROG_Tables(Lock);
    int Unused;
    int& Kind = pKind ? *pKind : Unused;
    Kind = PROG_LOCATION_NONE;
    const QString s = sText.trimmed();
    bool IsHex = false;
    const U32 Number = s.toUInt(&IsHex, 16);
    if (IsHex) {
        Kind = PROG_LOCATION_ADDRESS;
        return CAddrRange(Number, 0);
    }
    if (!Tab.Loaded || s.isEmpty()) return {};
    const ELF_SYM_LIST aSym = PROG_FindSymbols(s, true, true, false, true, false);
    for (const ELF_SYM_HANDLE hSym : aSym) {
        const I64 Addr = PROG_GetSymAddr(hSym);
        if (Addr < 0) continue;
        Kind = PROG_LOCATION_SYMBOL;
        const U32 Size = ProgIsFunction(hSym) ? ProgSymRange(Tab, hSym).Size : PROG_GetSymSize(hSym);
        return CAddrRange(static_cast<U32>(Addr), Size);
    }
    for (const ELF_SYM_HANDLE hSym : aSym) {
        const I64 Addr = PROG_GetFirstAddr(PROG_GetSymSrcLoc(hSym));
        if (Addr < 0) continue;
        Kind = PROG_LOCATION_DECLARATION;
        return CAddrRange(static_cast<U32>(Addr), 0);
    }
    const I64 Addr = PROG_GetFirstAddr(PROG_ParseSrcLoc(s));
    if (Addr < 0) return {};
    Kind = PROG_LOCATION_SOURCE;
    return CAddrRange(static_cast<U32>(Addr), 0);
}
