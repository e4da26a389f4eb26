// The lines of OnProjectLoad put together to statements: a command that is written over several lines is found,
// compared and removed as one.
//
//   for (const PROJECT_STATEMENT& s : SplitStatements(sBody.split('\n'))) Use(s.Code);
#pragma once
#include <QString>
#include <QStringList>

struct PROJECT_STATEMENT {
    qsizetype FirstLine = 0;
    qsizetype NumLines = 1; ///< 1, or more while a parenthesis or bracket is open at the end of a line
    QString Text; ///< its lines in one, each trimmed
    QString Code; ///< the same without comments; empty if it holds nothing else
};

/// Every line belongs to one statement; several statements on a line are taken as one.
QList<PROJECT_STATEMENT> SplitStatements(const QStringList& Lines);
