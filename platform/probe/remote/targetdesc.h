// What a GDB server says of its target: registers with their numbers and sizes, and memory regions.
#pragma once
#include "platform/probe/bryllo.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Remote {

/// A register as the server counts it.
struct CRemoteReg {
    std::string Name; // lower case
    U32 Number = 0;
    unsigned NumBytes = 4; // at most 8; longer ones are left out
};

struct CFlashRegion {
    U32 Addr = 0;
    U32 NumBytes = 0;
    U32 BlockSize = 0; // erased at once
};

/// Registers of a description, by number. ReadAnnex gives the documents that it includes. An empty list when the
/// description has none.
std::vector<CRemoteReg> ParseTargetDescription(
    const std::string& Xml, const std::function<std::optional<std::string>(const std::string& Name)>& ReadAnnex);
/// The registers of a server without a description: r0 to r15 and the status register at 25.
std::vector<CRemoteReg> GetPlainArmRegisters();
/// Flash of a memory map whose blocks make sense.
std::vector<CFlashRegion> ParseMemoryMap(const std::string& Xml);

} // namespace Remote
