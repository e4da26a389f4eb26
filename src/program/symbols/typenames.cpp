// Base type names.
#include "program/symbols/typenames.h"

#include <cstdio>

namespace {

struct NAME_ROW {
    const char* sText;
    const char* sShort;
};
/// Applied in this order, each to the first occurrence of its text; longer spellings stand before those that
/// they contain.
constexpr NAME_ROW TYPE_NAMES[] = {
    {"unsigned char", "uchar"},
    {"short unsigned int", "ushort"},
    {"unsigned short int", "ushort"},
    {"unsigned short", "ushort"},
    {"long long unsigned int", "long ulong"},
    {"unsigned long long int", "long ulong"},
    {"unsigned long long", "long ulong"},
    {"unsigned int", "uint"},
    {"long unsigned int", "ulong"},
    {"long uint", "ulong"},
    {"unsigned long int", "ulong"},
    {"unsigned long", "ulong"},
    {"signed char", "char"},
    {"short signed int", "short"},
    {"signed short int", "short"},
    {"signed short", "short"},
    {"short int", "short"},
    {"signed int", "int"},
    {"long signed int", "long"},
    {"signed long int", "long"},
    {"signed long", "long"},
    {"long int", "long"},
    {"long long signed int", "long long"},
    {"signed long long int", "long long"},
    {"signed long long", "long long"},
    {"long long int", "long long"},
};

} // namespace

std::string NormalizedTypeName(std::string sName)
{
    for (const NAME_ROW& Row : TYPE_NAMES) {
        const size_t Pos = sName.find(Row.sText);
        if (Pos != std::string::npos) sName.replace(Pos, std::char_traits<char>::length(Row.sText), Row.sShort);
    }
    return sName;
}

const char* NormalizeTypeName(const char* sName)
{
    static char s_acName[512];
    std::snprintf(s_acName, sizeof(s_acName), "%s", NormalizedTypeName(sName).c_str());
    return s_acName;
}
