// The syntax scan of C and C++ text, a line at a time, and the pass that blanks out comments.
//
//   SYNTAX_STATE State = SYNTAX_STATE_CODE;
//   for (const QString& sLine : Lines) { QList<SYNTAX_SPAN> Spans; State = ScanSyntax(sLine, State, &Spans); }
#pragma once
#include "app/services/types.h"

#include <QList>
#include <QString>

enum SYNTAX_CLASSES : U8 { SYNTAX_TEXT, SYNTAX_KEYWORD, SYNTAX_DIRECTIVE, SYNTAX_STRING, SYNTAX_COMMENT };

/// What a line begins in.
enum SYNTAX_STATE : U8 {
    SYNTAX_STATE_CODE = 0,
    SYNTAX_STATE_COMMENT = 1,      ///< within a block comment
    SYNTAX_STATE_LINE_COMMENT = 2, ///< a line comment that a backslash carries on
    SYNTAX_STATE_DIRECTIVE = 3,    ///< a directive that a backslash carries on
    SYNTAX_STATE_UNKNOWN = 255,
};

struct SYNTAX_SPAN {
    int Pos;    ///< first character
    int Length; ///< characters
    SYNTAX_CLASSES Class;
};

/// Scans one line; the spans (may be null) hold what isn't plain text, in order. Returns the state of the next line.
SYNTAX_STATE ScanSyntax(const QString& sLine, SYNTAX_STATE State, QList<SYNTAX_SPAN>* pSpans);
/// The lines with every character of a comment overwritten by a blank; positions stay the same.
QStringList EraseComments(const QStringList& Lines);
/// The file name of an include line, without quotes or brackets; empty for any other line.
QString GetIncludedFile(const QString& sLine);
/// The identifier at a position with the member accesses before it ("a.b->c"); the plain word with WholeChain false.
QString GetWordAt(const QString& sLine, int Pos, bool WholeChain, int* pStart = nullptr);
