// The changing side of a row: its linked action and what one call carries.
#pragma once
#include "app/services/types.h"

#include <QAction>
#include <QPointer>
#include <QString>
#include <QStringList>

struct ACTION_STATE {
    QPointer<QAction> pAction; ///< null until linked and again when its window dies
    QStringList Params;
    bool HasParams = false;
    bool Silent = false;         ///< no echo after the operation
    bool CommandEnabled = false; ///< what console and scripts obey
    bool Failed = false;         ///< a handler gave an error in the last call
    QString Error;
    I64 Result = 0; ///< the last value that a handler gave; 0 if none ever did
};

/// State of an id; the id must be in the table. Main thread.
ACTION_STATE& GetActionState(int Id);
/// Null for an id outside the table.
ACTION_STATE* FindActionState(int Id);

/// Counts a call that could not run at all, see GetActionErrorCount().
void NoteActionFailure();
