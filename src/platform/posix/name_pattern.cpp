#include "platform/posix/name_pattern.h"
#include "platform/letters.h"
#include <bitset>

namespace velmont::posix {

namespace {

/// Longer names are on no file system.
constexpr std::size_t kLongestName = 255;

/// The positions in a name that a part of a pattern can have come to; kLongestName is the last end of a name.
using Positions = std::bitset<kLongestName + 1>;

bool isWild(char c)
{
    return c == '*' || c == '?';
}

/// `*`: from the first position on, to every one up to the first dot behind it (`stopAtDot`) or to the end.
Positions afterStar(std::string_view name, Positions from, bool stopAtDot)
{
    bool reached = false;
    for (std::size_t i = 0; i <= name.size(); ++i) {
        reached = reached || from[i];
        from[i] = reached;
        if (stopAtDot && i < name.size() && name[i] == '.')
            reached = false;
    }
    return from;
}

/// `?`: one character on; where a dot or the end comes, it may stay.
Positions afterQuestionMark(std::string_view name, Positions from)
{
    Positions to;
    for (std::size_t i = 0; i <= name.size(); ++i) {
        if (!from[i])
            continue;
        if (i == name.size() || name[i] == '.')
            to.set(i);
        else
            to.set(i + 1);
    }
    return to;
}

Positions afterCharacter(std::string_view name, Positions from, char c)
{
    Positions to;
    for (std::size_t i = 0; i < name.size(); ++i)
        to[i + 1] = from[i] && sameLetter(name[i], c);
    return to;
}

/// A dot; before `*` and `?` the end of the name will do.
Positions afterDot(std::string_view name, Positions from, bool endWillDo)
{
    Positions to = afterCharacter(name, from, '.');
    to[name.size()] = to[name.size()] || (endWillDo && from[name.size()]);
    return to;
}

} // namespace

bool matchesPattern(std::string_view name, std::string_view pattern)
{
    if (name.size() > kLongestName)
        return false;
    const bool dotless = pattern.ends_with("*.");
    if (dotless)
        pattern.remove_suffix(1);
    const bool isDots = name == "." || name == "..";
    Positions at;
    at.set(0);
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const bool last = i + 1 == pattern.size();
        if (pattern[i] == '*')
            at = afterStar(name, at, last && dotless && !isDots);
        else if (pattern[i] == '?')
            at = afterQuestionMark(name, at);
        else if (pattern[i] == '.')
            at = afterDot(name, at, !last && isWild(pattern[i + 1]));
        else
            at = afterCharacter(name, at, pattern[i]);
    }
    return at[name.size()];
}

} // namespace velmont::posix
