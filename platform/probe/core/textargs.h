// Reading of the arguments of text commands.
#pragma once
#include "platform/probe/bryllo.h"

#include <optional>
#include <string>
#include <vector>

namespace Probe {

/// Words between blanks, commas and "=".
std::vector<std::string> SplitWords(const std::string& Text);
/// Number in C notation that fits; nothing for any other text.
std::optional<U32> ToU32(const std::string& Word);
std::optional<int> ToInt(const std::string& Word);
std::string ToLower(std::string Text);
std::string Trim(const std::string& Text);

} // namespace Probe
