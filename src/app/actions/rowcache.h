// What is read out of a row's prototype once: names and parameter declarations.
#pragma once
#include <QString>
#include <QStringList>

struct ROW_INFO {
    QString Name;       ///< empty for a plain GUI action
    QString Alias;      ///< empty if there is none
    QStringList Params; ///< declarations, blanks simplified
};

/// The entry of an id, an empty one for an id outside the table. Main thread.
const ROW_INFO& GetRowInfo(int Id);
