// The text of a diagnostic of the program file reader, by the message table.
#pragma once
#include "program/elf/elf.h"

#include <QString>

/// The ready text of the diagnostic itself, or the row of its number with the arguments put in; a missing argument shows as
/// "?". Any thread.
QString GetElfDiagText(const ELF_DIAG& Diag);
/// Row of the message table for a diagnostic number, -1 if it has none.
int GetElfMessageId(U32 Code);
