// CMemImage: what is known of one zone of target memory during one halt. A page table over the whole 32 bit
// address space; a page holds data and a status byte for each byte, and is made on first use. The GUI
// thread fills it; the device worker may read it, so every operation is whole for others.
#pragma once
#include "device/queue/devicetypes.h"

#include <array>
#include <memory>
#include <mutex>

class CMemImage {
public:
    static constexpr U32 PAGE_SIZE = 0x10000;

    /// Copies data and status (each may be null) of a range and gives the worst status in it. Bytes of pages that
    /// do not exist are 0 and DATA_UNREAD. A range that runs beyond the address space counts as DATA_INVALID there.
    U8 Read(U32 Addr, U32 nBytes, U8* paData, U8* paStatus) const;
    /// Stores data with one status byte a byte; a null paStatus means DATA_VALID.
    void Write(U32 Addr, U32 nBytes, const U8* paData, const U8* paStatus);
    void SetStatus(U32 Addr, U32 nBytes, U8 Status);
    /// All bytes become DATA_UNREAD; the pages stay.
    void Invalidate();
    /// First address from Addr on, below End, with the status; End when there is none. A page that does not exist
    /// is DATA_UNREAD throughout. End may be 0x100000000.
    U64 Find(U64 Addr, U64 End, U8 Status) const;

private:
    struct PAGE {
        std::array<U8, PAGE_SIZE> Data{};
        std::array<U8, PAGE_SIZE> Status;
        bool IsClean = true; ///< all DATA_UNREAD
        PAGE() { Status.fill(DATA_UNREAD); }
    };
    PAGE& _GetPage(U32 Idx);

    mutable std::mutex m_Mutex;
    std::array<std::unique_ptr<PAGE>, 0x10000> m_apPage;
};
