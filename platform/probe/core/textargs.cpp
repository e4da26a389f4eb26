#include "platform/probe/core/textargs.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>

namespace Probe {

std::vector<std::string> SplitWords(const std::string& Text)
{
    std::vector<std::string> Words;
    std::string Word;
    for (char c : Text + " ") {
        if (c != ' ' && c != '\t' && c != ',' && c != '=') {
            Word += c;
        } else if (!Word.empty()) {
            Words.push_back(std::move(Word));
            Word.clear();
        }
    }
    return Words;
}

static std::optional<long long> ToNumber(const std::string& Word)
{
    if (Word.empty() || std::isspace(static_cast<unsigned char>(Word[0]))) {
        return std::nullopt;
    }
    char* pEnd = nullptr;
    errno = 0;
    const long long Value = std::strtoll(Word.c_str(), &pEnd, 0);
    if (errno != 0 || *pEnd != 0) {
        return std::nullopt;
    }
    return Value;
}

std::optional<U32> ToU32(const std::string& Word)
{
    const auto Value = ToNumber(Word);
    return Value && *Value >= 0 && *Value <= 0xFFFFFFFFll ? std::optional<U32>(static_cast<U32>(*Value))
                                                          : std::nullopt;
}

std::optional<int> ToInt(const std::string& Word)
{
    const auto Value = ToNumber(Word);
    return Value && *Value >= INT_MIN && *Value <= INT_MAX ? std::optional<int>(static_cast<int>(*Value))
                                                           : std::nullopt;
}

std::string ToLower(std::string Text)
{
    std::transform(Text.begin(), Text.end(), Text.begin(), [](unsigned char c) { return std::tolower(c); });
    return Text;
}

std::string Trim(const std::string& Text)
{
    const auto First = Text.find_first_not_of(" \t\r\n");
    if (First == std::string::npos) {
        return {};
    }
    return Text.substr(First, Text.find_last_not_of(" \t\r\n") - First + 1);
}

} // namespace Probe
