// What a fuzz target asks of a program file: all that the debugger's windows ask, of a part of the symbols.
//
//   AskProgram(CMemFile(pData, Size).Path());
#pragma once
#include "app/services/types.h"

#include <cstddef>

/// A file that lives in memory and has a path.
class CMemFile {
public:
    CMemFile(const U8* pData, std::size_t Size);
    ~CMemFile();
    CMemFile(const CMemFile&) = delete;
    CMemFile& operator=(const CMemFile&) = delete;
    const char* Path() const { return m_acPath; } ///< empty if the file could not be made

private:
    int m_Fd;
    char m_acPath[32] = "";
};

/// Asks about the program that is loaded.
void AskLoaded();
/// Loads the file as the program, asks, and unloads it. True if it could be loaded.
bool AskProgram(const char* sPath);
