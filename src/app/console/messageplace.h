// The place that a message of the console names.
#pragma once
#include <QString>
#include <optional>

struct MESSAGE_PLACE {
    QString sFile; ///< as the message has it; empty for the project's script
    int Line = 0;  ///< from 1
};

/// The first place in a line of text: `file.c:12`, `"a file.c" at line 12` or, for the project's script, `at line 12`.
std::optional<MESSAGE_PLACE> FindMessagePlace(const QString& sText);
