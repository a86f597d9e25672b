#pragma once

/// \file
/// Putting lines together.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velmont::cli {

/// The pieces, one behind the other.
template <typename... Pieces>
std::string concat(const Pieces &...pieces)
{
    std::string text;
    (text.append(std::string_view(pieces)), ...);
    return text;
}

inline std::string inQuotes(std::string_view word)
{
    return concat("\"", word, "\"");
}

/// The names of things that have a member `name`.
template <typename Things>
std::vector<std::string_view> namesOf(const Things &things)
{
    std::vector<std::string_view> names;
    for (const auto &thing : things)
        names.push_back(thing.name);
    return names;
}

/// "a, b, c"
inline std::string joined(const std::vector<std::string_view> &words, std::string_view separator = ", ")
{
    std::string text;
    for (const std::string_view word : words)
        text.append(text.empty() ? std::string_view() : separator).append(word);
    return text;
}

/// The text fit for one line of a terminal: control characters, as file names may have them, and bytes that are not
/// UTF-8 stand as "\n", "\t" or "\x1b".
std::string printable(std::string_view text);

/// As much of a printable text's beginning as fits into some columns.
std::string_view cutToColumns(std::string_view line, std::size_t columns);

} // namespace velmont::cli
