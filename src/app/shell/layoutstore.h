// Layouts in the settings store: places of windows, states of headers. They are bytes that only the toolkit
// understands, which takes them unseen: a layout with one wrong byte can crash it, at every start anew. So
// the digest of each lies beside it, and what doesn't fit its digest is never handed over.
//
//   WriteLayout(sGroup, "WindowState", saveState());
//   if (const QByteArray State = ReadLayout(sGroup, "WindowState"); !State.isEmpty()) restoreState(State);
//
// Main thread only.
#pragma once
#include <QByteArray>
#include <QString>

void WriteLayout(const QString& sGroup, const QString& sKey, const QByteArray& Layout);
/// Empty if there is none, or if it isn't as it was written, which is logged.
QByteArray ReadLayout(const QString& sGroup, const QString& sKey);
