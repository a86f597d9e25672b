#include "shell_words.h"
#include <algorithm>

namespace velmont::cli {

namespace {

/// Whether no shell gives a meaning to a character, wherever in a word it stands.
bool isPlain(char character)
{
    constexpr std::string_view punctuation = "_-+=./,:@%";
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || punctuation.find(character) != std::string_view::npos;
}

} // namespace

std::string shellQuoted(std::string_view word)
{
    if (!word.empty() && std::ranges::all_of(word, isPlain))
        return std::string(word);
    std::string quoted = "'";
    for (const char character : word)
        quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
    return quoted += '\'';
}

} // namespace velmont::cli
