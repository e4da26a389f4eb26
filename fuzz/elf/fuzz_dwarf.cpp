// libFuzzer target: a program file whose ELF frame is whole and whose debug sections are damaged. A mutation that hits
// anywhere in the file mostly gives a file that is refused; this one changes nothing but what lies in the sections of
// debug information, so that each input goes all the way.
#include "askprogram.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(U8* pData, std::size_t Size, std::size_t MaxSize) __attribute__((weak));

namespace {
constexpr std::size_t SECTION_HEADER = 40; ///< bytes of one of ELF32
constexpr U32 SHT_EMPTY = 8;               ///< NOBITS: nothing in the file

struct SPAN {
    std::size_t Begin, Size;
};

/// Reads the numbers of a file in its own byte order; 0 behind its end.
struct READER {
    const U8* pData;
    std::size_t Size;
    bool IsBig() const { return Size > 5 && pData[5] == 2; }
    U32 Get(std::size_t Pos, unsigned NumBytes) const
    {
        if (Pos > Size || NumBytes > Size - Pos) return 0;
        U32 Value = 0;
        for (unsigned i = 0; i < NumBytes; i++) Value |= U32(pData[Pos + i]) << 8 * (IsBig() ? NumBytes - 1 - i : i);
        return Value;
    }
    std::string_view Name(std::size_t Pos) const
    {
        if (Pos >= Size) return {};
        const auto* s = reinterpret_cast<const char*>(pData + Pos);
        return {s, strnlen(s, Size - Pos)};
    }
};

bool IsDebugSection(std::string_view sName)
{
    return sName.starts_with(".debug_") || sName == ".eh_frame" || sName == ".symtab" || sName == ".strtab";
}

/// Where the debug sections of an ELF32 file lie.
std::vector<SPAN> FindDebugSections(const READER& File)
{
    std::vector<SPAN> aSpan;
    const U32 Table = File.Get(32, 4), Num = File.Get(48, 2), Names = File.Get(50, 2);
    const U32 NamesPos = File.Get(Table + std::size_t(Names) * SECTION_HEADER + 16, 4);
    for (std::size_t i = 0; i < Num; i++) {
        const std::size_t Header = Table + i * SECTION_HEADER;
        const std::size_t Begin = File.Get(Header + 16, 4), Size = File.Get(Header + 20, 4);
        if (!IsDebugSection(File.Name(std::size_t(NamesPos) + File.Get(Header, 4)))) continue;
        if (File.Get(Header + 4, 4) == SHT_EMPTY || Size == 0 || Begin > File.Size || Size > File.Size - Begin) continue;
        aSpan.push_back({Begin, Size});
    }
    return aSpan;
}
} // namespace

/// Changes one stretch of one debug section; the file keeps its size.
extern "C" std::size_t LLVMFuzzerCustomMutator(U8* pData, std::size_t Size, std::size_t, unsigned Seed)
{
    constexpr std::size_t MAX_STRETCH = 64;
    const std::vector<SPAN> aSpan = FindDebugSections({pData, Size});
    if (aSpan.empty() || !LLVMFuzzerMutate) return Size;
    const SPAN& Span = aSpan[Seed % aSpan.size()];
    const std::size_t Begin = Seed / aSpan.size() % Span.Size;
    const std::size_t Stretch = std::min(MAX_STRETCH, Span.Size - Begin);
    LLVMFuzzerMutate(pData + Span.Begin + Begin, Stretch, Stretch);
    return Size;
}

extern "C" int LLVMFuzzerTestOneInput(const U8* pData, std::size_t Size)
{
    AskProgram(CMemFile(pData, Size).Path());
    return 0;
}
