// The settings of the user, held in memory between one read at start and one write at exit.
//
//   CSettingsStore& s = CSettingsStore::Get();
//   s.Load();
//   s.Write("AppData/MainWindow", "Geometry", saveGeometry());
//   s.Save();
#pragma once
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

/// Main thread only. A key is the group and the name joined by "/", with "//" reduced to "/".
class CSettingsStore {
public:
    static CSettingsStore& Get();

    /// Keeps the store in a file in this folder instead of the user's own place; before Load().
    void SetDir(const QString& sDir);
    /// Replaces the map by the content of the store.
    void Load();
    /// Replaces the content of the store by the map; keys no longer in the map disappear.
    /// False if the store could not be written.
    bool Save();

    QVariant Read(const QString& sKey, const QVariant& Default = {}) const;
    QVariant Read(const QString& sGroup, const QString& sName, const QVariant& Default) const;
    void Write(const QString& sKey, const QVariant& Value);
    void Write(const QString& sGroup, const QString& sName, const QVariant& Value);
    bool Contains(const QString& sKey) const;
    /// Names below a group, the group's own part removed ("Geometry", "Sub/Name"), in order.
    QStringList GetKeys(const QString& sGroup) const;
    /// Removes one key.
    void Remove(const QString& sKey);
    /// Removes all keys below a group.
    void RemoveGroup(const QString& sGroup);
    void Clear() { m_Map.clear(); }

    static QString MakeKey(const QString& sGroup, const QString& sName);

private:
    QString m_sDir;
    QMap<QString, QVariant> m_Map;
};
