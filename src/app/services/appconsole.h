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
    /// Nothing reaches the console from now on but what a run without hands prints itself.
    void Detach() { m_Attached = false; }
    bool IsAttached() const { return m_Attached; }

private:
    CAppConsole() = default;
    bool m_Attached = false;
};
