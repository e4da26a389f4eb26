#include "app/services/settingsstore.h"

#include "app/services/mainthread.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <algorithm>
#include <memory>

namespace {
constexpr char ORGANISATION[] = "Tarvex";
constexpr char APPLICATION[] = "Vantrel";
/// Every key of the program begins with this group; a file without one is somebody else's.
constexpr char ROOT_GROUP[] = "AppData/";
constexpr char SUFFIX_ASIDE[] = ".damaged";

QString CleanKey(QString sKey)
{
    return sKey.replace(QLatin1String("//"), QLatin1String("/"));
}

std::unique_ptr<QSettings> OpenStore(const QString& sDir)
{
    if (sDir.isEmpty()) return std::make_unique<QSettings>(ORGANISATION, APPLICATION);
    QDir().mkpath(sDir);
    return std::make_unique<QSettings>(QDir(sDir).filePath(QString(APPLICATION) + ".ini"),
                                       QSettings::IniFormat);
}
/// The file holds numbers as text, so what was read compares with what is written by its text.
bool IsSame(const QVariant& a, const QVariant& b)
{
    if (a == b) return true;
    if (a.isValid() != b.isValid()) return false;
    const bool IsList = a.typeId() == QMetaType::QStringList || b.typeId() == QMetaType::QStringList;
    return IsList ? a.toStringList() == b.toStringList()
                  : a.canConvert<QString>() && a.toString() == b.toString();
}

QMap<QString, QVariant> ReadAll(const QSettings& Store)
{
    QMap<QString, QVariant> Map;
    for (const QString& sKey : Store.allKeys()) Map.insert(sKey, Store.value(sKey));
    return Map;
}
} // namespace

CSettingsStore& CSettingsStore::Get()
{
    AssertMainThread("CSettingsStore");
    static CSettingsStore Instance;
    return Instance;
}

void CSettingsStore::SetDir(const QString& sDir)
{
    m_sDir = sDir;
}

QString CSettingsStore::GetFilePath() const
{
    return OpenStore(m_sDir)->fileName();
}

/// The file is kept for a look at it, and the next Save() makes a new one.
void CSettingsStore::SetAside(const QString& sReason)
{
    m_Map.clear();
    m_Loaded.clear();
    const QString sPath = GetFilePath();
    const QString sAside = sPath + QLatin1String(SUFFIX_ASIDE);
    QFile::remove(sAside);
    m_sProblem =
        QStringLiteral("The settings file %1 %2. Starting with default settings").arg(sPath, sReason);
    if (QFile::rename(sPath, sAside))
        m_sProblem += QStringLiteral(", the file was kept as ") + QFileInfo(sAside).fileName();
}

void CSettingsStore::Load()
{
    m_sProblem.clear();
    const QFileInfo Info(GetFilePath());
    if (Info.exists() && !Info.isReadable()) {
        m_Map.clear();
        m_Loaded.clear();
        m_sProblem = QStringLiteral("The settings file %1 can't be read. Starting with default settings")
                         .arg(Info.filePath());
        return;
    }
    const auto pStore = OpenStore(m_sDir);
    m_Map = ReadAll(*pStore);
    m_Loaded = m_Map;
    const bool IsOurs = std::any_of(m_Map.keyBegin(), m_Map.keyEnd(), [](const QString& sKey) {
        return sKey.startsWith(QLatin1String(ROOT_GROUP));
    });
    if (pStore->status() != QSettings::NoError)
        SetAside(QStringLiteral("is damaged"));
    else if (Info.size() > 0 && !IsOurs)
        SetAside(QStringLiteral("is not one of this program"));
}

bool CSettingsStore::Save()
{
    const auto pStore = OpenStore(m_sDir);
    pStore->sync();
    // What another process of the program wrote since the file was read stays where this one changed nothing.
    const QMap<QString, QVariant> Now = ReadAll(*pStore);
    for (auto it = Now.cbegin(); it != Now.cend(); ++it) {
        const QString& sKey = it.key();
        const bool IsTheirs = !IsSame(m_Loaded.value(sKey), it.value());
        const bool IsOurs = m_Map.contains(sKey) != m_Loaded.contains(sKey) ||
                            !IsSame(m_Map.value(sKey), m_Loaded.value(sKey));
        if (IsTheirs && !IsOurs) m_Map.insert(sKey, it.value());
    }
    pStore->clear();
    for (auto it = m_Map.cbegin(); it != m_Map.cend(); ++it) pStore->setValue(it.key(), it.value());
    pStore->sync();
    const bool Ok = pStore->status() == QSettings::NoError;
    if (Ok) m_Loaded = m_Map;
    return Ok;
}

QVariant CSettingsStore::Read(const QString& sKey, const QVariant& Default) const
{
    return m_Map.value(CleanKey(sKey), Default);
}

QVariant CSettingsStore::Read(const QString& sGroup, const QString& sName, const QVariant& Default) const
{
    return Read(MakeKey(sGroup, sName), Default);
}

void CSettingsStore::Write(const QString& sKey, const QVariant& Value)
{
    m_Map.insert(CleanKey(sKey), Value);
}

void CSettingsStore::Write(const QString& sGroup, const QString& sName, const QVariant& Value)
{
    Write(MakeKey(sGroup, sName), Value);
}

bool CSettingsStore::Contains(const QString& sKey) const
{
    return m_Map.contains(CleanKey(sKey));
}

QStringList CSettingsStore::GetKeys(const QString& sGroup) const
{
    const QString sPrefix = MakeKey(sGroup, QString());
    QStringList Names;
    for (auto it = m_Map.lowerBound(sPrefix); it != m_Map.cend() && it.key().startsWith(sPrefix); ++it)
        Names.append(it.key().mid(sPrefix.size()));
    return Names;
}

void CSettingsStore::Remove(const QString& sKey)
{
    m_Map.remove(CleanKey(sKey));
}

void CSettingsStore::RemoveGroup(const QString& sGroup)
{
    const QString sPrefix = MakeKey(sGroup, QString());
    for (const QString& sName : GetKeys(sGroup)) m_Map.remove(sPrefix + sName);
}

QString CSettingsStore::MakeKey(const QString& sGroup, const QString& sName)
{
    return CleanKey(sGroup.isEmpty() ? sName : sGroup + '/' + sName);
}
