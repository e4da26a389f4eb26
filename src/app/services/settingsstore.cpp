#include "app/services/settingsstore.h"

#include "app/services/mainthread.h"

#include <QDir>
#include <QSettings>
#include <memory>

namespace {
constexpr char ORGANISATION[] = "Tarvex";
constexpr char APPLICATION[] = "Vantrel";

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

void CSettingsStore::Load()
{
    m_Map.clear();
    const auto pStore = OpenStore(m_sDir);
    const QStringList Keys = pStore->allKeys();
    for (const QString& sKey : Keys) m_Map.insert(sKey, pStore->value(sKey));
}

bool CSettingsStore::Save()
{
    const auto pStore = OpenStore(m_sDir);
    pStore->clear();
    for (auto it = m_Map.cbegin(); it != m_Map.cend(); ++it) pStore->setValue(it.key(), it.value());
    pStore->sync();
    return pStore->status() == QSettings::NoError;
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
