// Completion of what stands in the console's input line: command names, and for each parameter what it takes.
//
//   SetCompletionSources(Sources);                         // once at start
//   COMPLETION c = CompleteCommand(sTextBeforeTheCursor);
//   sText.replace(c.Start, c.Length, c.Items[0].Insert);
//
// Main thread only.
#pragma once
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>

/// What the program knows; an empty member offers nothing.
struct COMPLETION_SOURCES {
    /// Names of symbols that begin with a text, ignoring case, sorted; at most Max. Functions alone if asked.
    std::function<QStringList(const QString& sPrefix, bool FunctionsOnly, int Max)> FindSymbols;
    std::function<QStringList()> GetSourceFiles; ///< names as a source location has them
    std::function<QStringList()> GetWindows;
    std::function<QStringList()> GetToolBars;
    std::function<QStringList()> GetRegisters;
    std::function<QStringList()> GetScriptFunctions;
    std::function<QString(const QString& sPath)> ExpandPath; ///< path variables; the text itself without it
    std::function<QString()> GetBaseFolder;                  ///< folder of relative paths
};
void SetCompletionSources(const COMPLETION_SOURCES& Sources);

struct COMPLETION_ITEM {
    QString Text;        ///< as the list shows it
    QString Detail;      ///< a word about it: value, description; may be empty
    QString Insert;      ///< what replaces the word
    int ActionId = -1;   ///< the command, if it is one
    bool GoesOn = false; ///< a folder or the like: what is inserted can be completed further
};

struct COMPLETION {
    int Start = 0;  ///< the part of the text that an item replaces
    int Length = 0; ///< up to the end of the text
    QList<COMPLETION_ITEM> Items;
    QString Common; ///< what all items agree on, in place of the word; the word itself if that adds nothing

    int ActionId = -1; ///< the command in whose arguments the text ends, -1 in its name or outside
    int ArgIndex = -1; ///< the argument, from 0
};

/// What may stand at the end of a text. Nothing matches: no items.
COMPLETION CompleteCommand(const QString& sText);
