// The rows of an item view as a file that a spreadsheet reads: what the user sees, in the columns' order on the screen.
#pragma once
#include <QString>

class CModelViewWindow;

/// Comma-separated values with a header line; cells with a comma, a quote or a line break are quoted (RFC 4180), lines
/// end with CR LF. Rows come filtered and sorted as the window shows them; unfolded rows bring their children, whose
/// first cell is indented by two blanks a level.
QString MakeCsv(const CModelViewWindow& Window);
/// Writes MakeCsv() to a file as UTF-8. False, with the system's reason in *pError, if it can't be written.
bool ExportCsv(const CModelViewWindow& Window, const QString& sPath, QString* pError);
