// CAppConsole: the process's text console, which -debug turns on.
//
// Its lines come from the logger (log.h); the console itself only sees to it that each is read at once, also by a
// program at the other end of a pipe.
#pragma once

/// Main thread only.
class CAppConsole {
public:
    static CAppConsole& Get();
    /// Standard input, output and error without buffers, so that nothing is held back. Once, before the first line.
    void Attach();

private:
    CAppConsole() = default;
};
