// The table of numbered messages; its rows and the names of the ids are in messagetable.h.
//
//   char ac[512];
//   FormatMessage(MSGID_FILE_NOT_FOUND, ac, sizeof(ac), "x.svd");
//   LogMessage(MSGID_SCRIPT_FAILURE, "stack overflow");   // routed by the row's flags
#pragma once
#include "app/services/types.h"

#include <QString>

/// Group of a message; the message's code is its id plus the base.
enum MSG_BASES : int {
    MSG_BASE_ELF = 1000,
    MSG_BASE_PROJECT = 2000,
    MSG_BASE_DEVICE = 3000,
    MSG_BASE_APP = 4000,
    MSG_BASE_FILE = 5000,
};

inline constexpr int NUM_MESSAGES = 96;

/// A row of the table. Code, NumArgs and Format are filled by InitMessageTable().
struct MESSAGE_ROW {
    int ID;
    U32 Flags; ///< MSG_FLAGS
    int Base;  ///< MSG_BASES
    const char* Text;
    int Code;         ///< ID plus Base
    int NumArgs;      ///< number of "%" in the text
    char Format[256]; ///< ready printf format
};

/// Prepares the ready texts. Runs at start; later calls do nothing. Any thread.
void InitMessageTable();

/// The row of an id, null for an id outside the table.
const MESSAGE_ROW* GetMessageRow(int Id);

/// Writes the message with its arguments (types as the row's format says) into pBuffer, which is always
/// terminated. Returns the length of the text; an unknown id gives 0 and an empty text.
int FormatMessage(int Id, char* pBuffer, std::size_t Size, ...);

/// As FormatMessage, followed by the sentence that refers to the user guide.
int FormatMessageRef(int Id, char* pBuffer, std::size_t Size, ...);

/// Formats a message and logs it with the flags of its row. Returns as Log. Any thread.
int LogMessage(int Id, ...);
