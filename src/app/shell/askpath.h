// Dialogs that ask for a file or a name. Without hands nobody can answer them: then they are told like a
// message box, and give nothing.
#pragma once
#include <QStringList>

class QWidget;

/// Path of an existing file; empty when the user called it off.
QString AskOpenPath(const QString& sTitle, const QString& sFolder = {}, const QString& sFilter = {});
/// Path of a file to write; empty when the user called it off.
QString AskSavePath(const QString& sTitle, const QString& sFolder = {}, const QString& sFilter = {});
/// One of the names, or another text; empty when the user called it off.
QString AskName(const QString& sTitle, const QString& sLabel, const QStringList& Names);
