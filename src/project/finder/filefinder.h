// Turns a path as somebody wrote it (project, debug information, command line) into a file that
// exists on this machine.
//
//   QString sFile = CFileFinder::Get().Resolve("$(ProjectDir)/src/main.c");
//   if (sFile.isEmpty()) ...                    // not found; the console has said so once
//
// Expands variables, applies the user's aliases and substitutes, looks in root paths, project and
// install folder, and falls back on the bare file name in the search paths. What differs from a file
// here in nothing but case is found in the end, as a program may have been built on a system that
// doesn't tell case apart. It never asks the user and never fails with an error. Main thread only, no lock; a
// worker asks through the main thread.
#pragma once
#include "app/services/types.h"
#include "project/finder/dircache.h"

#include <QHash>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <functional>

/// What the finder asks of the rest of the program. An empty function counts as an empty answer.
struct FILEFINDER_HOOKS {
    std::function<QString()> ProjectPath; ///< path of the project file, empty if none
    std::function<QString()> ProgramFile; ///< path of the program file, empty if none
    std::function<QString(const QString&)>
        QualifySrcPath;                  ///< the program's folder-qualified path for a relative source path
    std::function<QString()> InstallDir; ///< replaces the install directory; for tests and portable installs
};

/// What a file is, by its name alone.
enum FILE_CLASSES : int {
    FILE_CLASS_SOURCE,
    FILE_CLASS_REGISTERS,
    FILE_CLASS_PLUGIN,
    FILE_CLASS_DATA,
    FILE_CLASS_PROJECT,
    FILE_CLASS_DOCUMENT,
    FILE_CLASS_NONE,
};

class CFileFinder : public QObject {
    Q_OBJECT
public:
    static CFileFinder& Get();
    CFileFinder(); ///< tests make their own; the program uses Get()

    FILEFINDER_HOOKS& Hooks(); ///< to be filled in place
    void SetHooks(const FILEFINDER_HOOKS& Hooks);

    /// Forgets all paths, reports and statistics; the project's close calls it.
    void Reset();

    void AddRootPath(const QString& sPath);
    void AddSearchPath(const QString& sPath);
    void AddFileAlias(const QString& sOldPath, const QString& sNewPath);
    void AddPathSubstitute(const QString& sPath, const QString& sSubstitute);

    QString Expand(const QString& sText) const; ///< path variables, then environment variables
    /// The inverse for one variable ("$(ProjectDir)"); a path outside its folder comes back unchanged.
    QString Collapse(const QString& sPath, const QString& sVariable) const;
    QString GetVariable(const QString& sName) const; ///< "$(ProjectDir)"; empty for an unknown name

    /// The file that the path means here; empty if there is none.
    QString Resolve(const QString& sPath);
    /// The same, and on failure once more with the platform's library extension.
    QString ResolvePlugin(const QString& sPath);
    /// The old path of the alias whose new path this is, ignoring case; else the path itself.
    QString MapReverse(const QString& sPath) const;

    U32 GetNumResolved() const;   ///< source files found so far
    U32 GetNumUnresolved() const; ///< source files not found so far
    const QHash<QString, QString>& GetResolvedSrcFiles() const;
    const QHash<QString, bool>& GetUnresolvedSrcFiles() const;
    const QStringList& GetRootPaths() const;
    const QStringList& GetSearchPaths() const;
    void SetLogResolutions(bool OnOff); ///< results go to the console; true after a reset

    bool IsTellingPending() const; ///< SrcFileResStatsChanged() is about to come

    static FILE_CLASSES GetFileClass(const QString& sPath);
    static QString Normalise(const QString& sPath); ///< "\" and runs of "/" become one "/"
    static QString Clean(const QString& sPath);     ///< normalised and QDir::cleanPath
    static bool IsRelative(const QString& sPath);   ///< no drive letter and relative

signals:
    void SrcFilePathResolved(const QString& sOrigPath, const QString& sResolvedPath);
    void SrcFileResStatsChanged(); ///< 500 ms after the last lookup of a burst

private slots:
    void OnDelayTimerTimeout();

private:
    /// Folders that a lookup starts from.
    struct PLACES {
        QString sProjectPath;
        QString sProgramFile;
        QString sInstallDir;
        QString sProjectDir;
        QString sAppDir;
        QString sCurrentDir; ///< only what a lookup has used
    };
    struct SEARCH_FOLDER {
        QString sPath;       ///< absolute, clean
        bool ThroughProject; ///< written relative, and found through the project's folder
    };
    struct LOOKUP {
        QString sResult;
        bool ThroughProject;
        bool IsCounted; ///< the statistics hold the path with this result
    };
    static constexpr int STATS_DELAY_MS = 500;

    QString _InstallDir() const;
    QString _Folder(const char* sName) const;
    QString _ProjectPath() const;
    QString _ProgramFile() const;
    QString _ExpandEnvironment(const QString& sText) const;
    QString _ApplyAliases(const QString& sPath) const;
    QString _ApplySubstitutes(const QString& sPath) const;
    void _BeginLookup();
    void _ForgetLookups();
    QString _ToAbsolute(const QString& sPath);
    QString _ExistingFile(const QString& sPath);
    QString _Test(const QString& sFolder, const QString& sRelativePath);
    QString _SearchRelative(const QString& sRelativePath, bool NoCurrentDir);
    QList<SEARCH_FOLDER> _ToSearchFolders(const QStringList& Folders);
    const QList<SEARCH_FOLDER>& _GetSearchFolders();
    QString _SearchFolder(const QString& sFolder, const QString& sFileName, const QByteArray& Encoded);
    QString _SearchFolders(const QString& sFileName, const QList<SEARCH_FOLDER>& Folders);
    QString _Find(const QString& sPath);
    QString _FindMapped(const QString& sPath);
    QString _ResolveRelative(const QString& sPath);
    QString _ResolveSource(const QString& sPath);
    QString _ResolveData(const QString& sPath, const QStringList& MoreFolders);
    QString _ResolveRegisters(const QString& sPath);
    QString _ResolvePluginFile(const QString& sPath);
    void _Report(const QString& sOrigPath, const QString& sResult);
    void _Count(const QString& sOrigPath, const QString& sResult);
    void _ReportSource(const QString& sOrigPath, const QString& sResult);
    void _PathsChanged();
    void _ClearStatistics();

    FILEFINDER_HOOKS m_Hooks;
    QTimer m_DelayTimer;
    QMap<QString, QString> m_Aliases;
    QMap<QString, QString> m_Substitutes;
    QMap<QString, bool> m_Reported;
    QStringList m_SearchPaths;
    QStringList m_RootPaths;
    QHash<QString, bool> m_Unresolved;
    QHash<QString, QString> m_Resolved;
    bool m_FoundThroughProject = false;
    bool m_LogResolutions = true;

    CDirCache m_Dirs;
    PLACES m_Places;
    QHash<QString, QString> m_AliasIndex; ///< old path, clean and folded, to the new one
    QHash<QString, LOOKUP> m_Lookups;     ///< expanded path to what was found for it
    QList<SEARCH_FOLDER> m_SearchFolders; ///< empty: not worked out yet
    LOOKUP* m_pKept = nullptr;            ///< entry of the lookup under way, null if it isn't kept
    I64 m_LastReportMs = 0;               ///< time of the last report of a source file, by m_Dirs
    bool m_UsesCurrentDir = false;        ///< a kept lookup rests on m_Places.sCurrentDir
    bool m_Keep = true;                   ///< the lookup under way may be kept
    bool m_IgnoreCase = false;            ///< the lookup under way is in its second round
    bool m_Debug = false;                 ///< the steps of the lookup under way go to the log
};
