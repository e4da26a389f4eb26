// Data files as lists of memory blocks: binary, Intel HEX, S-record, and ELF by its loadable segments.
//
//   for (const CFileBlock& Block : BFile::CFileWorker::Instance().ReadFile(sPath)) Download(Block);
//
// GUI thread only. Reading is synchronous; the progress hooks are its only sign of life.
#pragma once
#include "program/datafiles/fileblock.h"
#include "program/datafiles/rawblocks.h"

#include <QObject>
#include <functional>

namespace BFile {

/// The progress display, set once at start; each may be empty.
struct PROGRESS_HOOKS {
    std::function<void(const QString& sText, qint64 Maximum)> Start;
    std::function<void(qint64 Value)> Set;
    std::function<void()> End;
};

class CFileWorker : public QObject {
    Q_OBJECT
public:
    static CFileWorker& Instance();
    void SetProgressHooks(const PROGRESS_HOOKS& Hooks) { m_Hooks = Hooks; }

    /// Blocks of an existing regular file of a known suffix; an empty list otherwise. LoadAddr -1 keeps the
    /// file's addresses, any other moves all blocks so that the lowest starts there.
    QList<CFileBlock> ReadFile(const QString& sPath, I64 LoadAddr = -1);
    /// Raw blocks as file blocks that share the data, which must outlive them.
    QList<CFileBlock> ToBlocks(U32 Count, const RAW_BLOCK* paBlock);
    /// Writes a plain binary file. 0, or -1 (and no file) on failure. Size in bytes, not 0.
    int SaveFile(const QString& sPath, const void* pData, U32 Size);

signals:
    void FileSaved(QString FilePath, U32 nBytes);

private:
    CFileWorker() = default;
    QList<CFileBlock> _ReadBinary(const QString& sPath);
    QList<CFileBlock> _ReadText(const QString& sPath, int& FirstBadLine);
    QList<CFileBlock> _ReadElf(const QString& sPath);
    void _StartProgress(const QString& sText, qint64 Maximum);
    void _SetProgress(qint64 Value);
    void _EndProgress();
    PROGRESS_HOOKS m_Hooks;
};

} // namespace BFile
