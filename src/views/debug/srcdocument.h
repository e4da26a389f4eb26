// CSrcDocument, one source file as the source window holds it: its lines, its line ends, what was edited, and
// where the user left it. The editor shows one document at a time and changes it through Replace(), which
// keeps the history of edits.
#pragma once
#include "app/services/types.h"
#include "views/debug/cppsyntax.h"

#include <QPoint>
#include <QSet>
#include <QStringList>

/// Line ends of a file; MIXED asks before it is saved.
enum EOL_FORMATS : int { EOL_UNIX, EOL_WINDOWS, EOL_MAC, EOL_MIXED };

class CSrcDocument {
public:
    CSrcDocument(const QString& sPath, U32 FileNo);

    bool Load();                   ///< reads the file; false leaves the document as it was
    /// Writes all lines with these line ends. On failure the file is as it was, and psError gets the reason.
    bool Save(EOL_FORMATS Format, QString* psError);
    void SetText(const QByteArray& Bytes);
    QByteArray GetBytes(EOL_FORMATS Format) const;

    const QString& GetPath() const { return m_sPath; }
    QString GetFileName() const;
    U32 GetFileNo() const { return m_FileNo; }
    bool IsFound() const { return m_Found; }
    EOL_FORMATS GetEol() const { return m_Eol; }
    bool IsModified() const { return m_CleanPos != int(m_UndoPos); }
    size_t GetContentHash() const { return m_ContentHash; } ///< of the bytes last read or written

    int GetNumLines() const { return int(m_Lines.size()); } ///< at least 1
    const QString& GetLine(int Line) const;                 ///< 0-based; empty outside
    const QStringList& GetLines() const { return m_Lines; }
    QString GetLineWithoutComments(int Line) const;
    QList<SYNTAX_SPAN> GetSpans(int Line);         ///< scanned on demand
    QString GetText(QPoint From, QPoint To) const; ///< x column, y line, both 0-based; lines joined by "\n"
    QPoint Clamp(QPoint Pos) const;

    /// \name Editing
    ///@{
    /// Replaces a stretch of text; returns the position behind the new text. Neighbouring typed characters
    /// are undone together.
    QPoint Replace(QPoint From, QPoint To, const QString& sText);
    bool Undo(QPoint* pCursor); ///< false when there is nothing to undo
    bool Redo(QPoint* pCursor);
    ///@}

    // Where the user left the document; the editor reads and writes these.
    QPoint m_Cursor;
    int m_TopRow = 0;
    QSet<int> m_ExpandedLines; ///< 0-based
    bool m_IsOutOfDateReported = false;
    bool m_IsEditConfirmed = false;

private:
    struct EDIT {
        QPoint Pos;
        QString sRemoved;
        QString sInserted;
    };
    QPoint Apply(QPoint From, const QString& sRemoved, const QString& sInserted);
    void ForgetScan(int FromLine);

    QString m_sPath;
    U32 m_FileNo;
    bool m_Found = false;
    EOL_FORMATS m_Eol = EOL_UNIX;
    size_t m_ContentHash = 0;
    QStringList m_Lines{QString()};
    QList<SYNTAX_STATE> m_States; ///< state at the start of each line as far as scanned
    mutable QStringList m_Erased; ///< lines without comments; empty = to be made
    QList<EDIT> m_Edits;
    int m_UndoPos = 0;
    int m_CleanPos = 0; ///< undo position of the saved text; -1 when no undo leads back to it
};
