// The settings of the user, held in memory between one read at start and one write at exit.
//
//   CSettingsStore& s = CSettingsStore::Get();
//   s.Load();
//   s.Write("AppData/MainWindow", "Geometry", saveGeometry());
//   s.Save();
//
// The file belongs to all versions of the program and to all that run at a time: what one doesn't know it
// leaves, and what another has written meanwhile stays, as far as this one has not changed it itself. It is
// replaced as a whole, so that a write that is cut off leaves the old one.
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
    /// Replaces the map by the content of the store. A file that is damaged or isn't one of this program
    /// gives an empty map, is kept under another name, and is told by GetProblem().
    void Load();
    /// Replaces the content of the store by the map; keys that were taken out of the map disappear.
    /// False if the store could not be written.
    bool Save();
    /// What was wrong with the file at the last Load(), as a sentence for the user; empty if nothing was.
    const QString& GetProblem() const { return m_sProblem; }
    QString GetFilePath() const;

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
    void SetAside(const QString& sReason);

    QString m_sDir;
    QString m_sProblem;
    QMap<QString, QVariant> m_Map;
    QMap<QString, QVariant> m_Loaded; ///< the content of the file as it was read
};
