// The ring of fixed slots between the threads that write to the console and the main thread that shows it.
//
//   Ring.Write(sText, Look, Time_us);        // any thread; never waits for the reader
//   CONSOLE_MESSAGE m;
//   while (Ring.Read(&m)) ...                // main thread
//
// A full ring drops the new message, so that a flood costs the writer nothing and memory stays fixed.
#pragma once
#include "app/services/types.h"

#include <QString>
#include <array>
#include <atomic>

inline constexpr int CONSOLE_RING_SLOTS = 1000;
inline constexpr int CONSOLE_MAX_CHARS = 1000;

/// How a message looks.
struct CONSOLE_LOOK {
    U32 Color = 0;        ///< RGBA value (QRgb); counts only with ColorID -1
    int ColorID = -1;     ///< id of the colour table, or -1
    bool NewLine = true;  ///< starts a new paragraph
    bool Fixed = false;   ///< set in the fixed font
    bool IsError = false; ///< an error line; for readers of the transcript
};

struct CONSOLE_MESSAGE {
    QString Text;
    CONSOLE_LOOK Look;
    int NumLines = 1;
    I64 Time_us = 0;
};

class CConsoleRing {
public:
    /// Copies at most CONSOLE_MAX_CHARS characters in, without allocating. False if the ring is full. Any
    /// thread.
    bool Write(const QString& sText, const CONSOLE_LOOK& Look, I64 Time_us);
    /// Takes the oldest message out. False if there is none. Main thread.
    bool Read(CONSOLE_MESSAGE* pMessage);
    /// Throws away what is unread. Main thread.
    void Clear();
    bool IsEmpty() const;

private:
    enum STATES : U8 { FREE, WRITING, READY };

    struct SLOT_DATA {
        std::atomic<U8> State{FREE};
        CONSOLE_LOOK Look;
        int NumLines = 0;
        int NumChars = 0;
        I64 Time_us = 0;
        std::array<char16_t, CONSOLE_MAX_CHARS + 1> acText;
    };

    int Claim(); ///< index of a slot that now belongs to the caller, -1 if the ring is full

    std::array<SLOT_DATA, CONSOLE_RING_SLOTS> m_aSlot;
    std::atomic<int> m_WriteIndex{0};
    int m_ReadIndex = 0;
};
