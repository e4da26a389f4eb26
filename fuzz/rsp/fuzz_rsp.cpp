// Feeds bytes to what takes apart the answers of a GDB server: packets, target descriptions, memory maps, numbers.
#include "platform/probe/remote/rspwire.h"
#include "platform/probe/remote/targetdesc.h"

#include <cstdlib>

using namespace Remote;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t NumBytes)
{
    const std::string Text(reinterpret_cast<const char*>(pData), NumBytes);
    CRspWire Wire;
    // In two pieces, so that packets are cut anywhere.
    Wire.Feed(Text.data(), NumBytes / 2);
    std::vector<std::string> Packets;
    const auto Take = [&] {
        while (const auto Item = Wire.Next()) {
            if (Item->Text.size() > CRspWire::MAX_PACKET + 256) {
                std::abort();
            }
            Packets.push_back(Item->Text);
        }
    };
    Take();
    Wire.Feed(Text.data() + NumBytes / 2, NumBytes - NumBytes / 2);
    Take();
    for (const std::string& Packet : Packets) {
        U8 aBytes[16];
        FromHex(Packet, aBytes, sizeof(aBytes));
        HexNumber(Packet);
    }
    const auto ReadAnnex = [&](const std::string&) { return std::optional<std::string>(Text); };
    for (const CRemoteReg& Reg : ParseTargetDescription(Text, ReadAnnex)) {
        if (Reg.NumBytes == 0 || Reg.NumBytes > 1024) {
            std::abort();
        }
    }
    for (const CFlashRegion& Region : ParseMemoryMap(Text)) {
        if (Region.BlockSize == 0 || Region.BlockSize > Region.NumBytes) {
            std::abort();
        }
    }
    return 0;
}
