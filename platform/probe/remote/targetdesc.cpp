#include "platform/probe/remote/targetdesc.h"

#include "platform/probe/core/textargs.h"

#include <algorithm>
#include <cctype>

namespace Remote {

namespace {

constexpr std::size_t MAX_REGS = 1024;
constexpr std::size_t MAX_ANNEXES = 32;
constexpr std::size_t MAX_REGIONS = 256;

/// A start tag with its attributes, and the text up to the next tag. Nesting doesn't matter to what is looked for, so
/// that a document can be as deep and as broken as it likes.
struct CTag {
    std::string Name;
    std::map<std::string, std::string> Attributes;
    std::string Text;
    std::string Get(const char* sName) const
    {
        const auto It = Attributes.find(sName);
        return It == Attributes.end() ? std::string() : It->second;
    }
};

bool IsNameChar(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == ':' || c == '-' || c == '.';
}

void ParseAttributes(const std::string& Text, std::size_t Pos, CTag& Tag)
{
    while (Pos < Text.size()) {
        while (Pos < Text.size() && !IsNameChar(Text[Pos])) {
            ++Pos;
        }
        const std::size_t NameBegin = Pos;
        while (Pos < Text.size() && IsNameChar(Text[Pos])) {
            ++Pos;
        }
        const std::string Name = Text.substr(NameBegin, Pos - NameBegin);
        const std::size_t Quote = Text.find_first_of("\"'", Pos);
        if (Name.empty() || Quote == std::string::npos) {
            return;
        }
        const std::size_t End = Text.find(Text[Quote], Quote + 1);
        if (End == std::string::npos) {
            return;
        }
        Tag.Attributes[Name] = Text.substr(Quote + 1, End - Quote - 1);
        Pos = End + 1;
    }
}

/// Calls Visit for each start tag in order.
void ForEachTag(const std::string& Xml, const std::function<void(const CTag&)>& Visit)
{
    std::size_t Pos = 0;
    while ((Pos = Xml.find('<', Pos)) != std::string::npos) {
        if (Xml.compare(Pos, 4, "<!--") == 0) {
            Pos = Xml.find("-->", Pos + 4);
            continue;
        }
        const std::size_t End = Xml.find('>', Pos);
        if (End == std::string::npos) {
            return;
        }
        const std::string Inside = Xml.substr(Pos + 1, End - Pos - 1);
        std::size_t NameEnd = 0;
        while (NameEnd < Inside.size() && IsNameChar(Inside[NameEnd])) {
            ++NameEnd;
        }
        if (NameEnd > 0) {
            CTag Tag;
            Tag.Name = Inside.substr(0, NameEnd);
            ParseAttributes(Inside, NameEnd, Tag);
            const std::size_t Next = Xml.find('<', End);
            Tag.Text = Probe::Trim(
                Xml.substr(End + 1, Next == std::string::npos ? std::string::npos : Next - End - 1));
            Visit(Tag);
        }
        Pos = End + 1;
    }
}

} // namespace

std::vector<CRemoteReg> ParseTargetDescription(
    const std::string& Xml, const std::function<std::optional<std::string>(const std::string& Name)>& ReadAnnex)
{
    std::vector<CRemoteReg> Regs;
    std::size_t NumAnnexes = 0;
    U32 NextNumber = 0;
    std::function<void(const CTag&)> Visit = [&](const CTag& Tag) {
        if (Tag.Name == "xi:include" && NumAnnexes < MAX_ANNEXES) {
            ++NumAnnexes;
            if (const auto Annex = ReadAnnex(Tag.Get("href"))) {
                ForEachTag(*Annex, Visit);
            }
        } else if (Tag.Name == "reg" && Regs.size() < MAX_REGS) {
            const U32 Number = Probe::ToU32(Tag.Get("regnum")).value_or(NextNumber);
            const U32 NumBits = Probe::ToU32(Tag.Get("bitsize")).value_or(0);
            NextNumber = Number + 1;
            if (NumBits > 0 && NumBits <= 64 && !Tag.Get("name").empty()) {
                Regs.push_back({Probe::ToLower(Tag.Get("name")), Number, (NumBits + 7) / 8});
            } else if (NumBits > 64) {
                Regs.push_back({std::string(), Number, (std::min<U32>(NumBits, 8192) + 7) / 8}); // takes its place only
            }
        }
    };
    ForEachTag(Xml, Visit);
    std::stable_sort(Regs.begin(), Regs.end(),
                     [](const CRemoteReg& a, const CRemoteReg& b) { return a.Number < b.Number; });
    return Regs;
}

std::vector<CRemoteReg> GetPlainArmRegisters()
{
    std::vector<CRemoteReg> Regs;
    for (U32 i = 0; i < 16; ++i) {
        Regs.push_back({i == 13 ? "sp" : i == 14 ? "lr" : i == 15 ? "pc" : "r" + std::to_string(i), i, 4});
    }
    for (U32 i = 16; i < 24; ++i) {
        Regs.push_back({std::string(), i, 12}); // old floating point registers, which nobody has
    }
    Regs.push_back({std::string(), 24, 4});
    Regs.push_back({"xpsr", 25, 4});
    return Regs;
}

std::vector<CFlashRegion> ParseMemoryMap(const std::string& Xml)
{
    std::vector<CFlashRegion> Regions;
    bool IsFlash = false;
    ForEachTag(Xml, [&](const CTag& Tag) {
        if (Tag.Name == "memory") {
            const auto Addr = Probe::ToU32(Tag.Get("start"));
            const auto Size = Probe::ToU32(Tag.Get("length"));
            IsFlash = Tag.Get("type") == "flash" && Addr && Size && *Size > 0 && Regions.size() < MAX_REGIONS &&
                      U64(*Addr) + *Size <= U64(1) << 32;
            if (IsFlash) {
                Regions.push_back({*Addr, *Size, 0});
            }
        } else if (Tag.Name == "property" && IsFlash && Tag.Get("name") == "blocksize") {
            Regions.back().BlockSize = Probe::ToU32(Tag.Text).value_or(0);
        }
    });
    std::erase_if(Regions, [](const CFlashRegion& r) { return r.BlockSize == 0 || r.BlockSize > r.NumBytes; });
    return Regions;
}

} // namespace Remote
