#pragma once

/// \file
/// Names compared without regard to the case of the letters A to Z.

#include <algorithm>
#include <string_view>

namespace velmont {

inline bool sameLetter(char a, char b)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return lower(a) == lower(b);
}

inline bool sameName(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), sameLetter);
}

} // namespace velmont
