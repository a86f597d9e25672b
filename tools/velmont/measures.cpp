#include "measures.h"
#include "exit_codes.h"
#include "field_value.h"
#include "text.h"
#include <cstdlib>
#include <optional>

namespace velmont::cli {

namespace {

[[noreturn]] void refuse(std::string_view option, std::string_view text, std::string_view wanted)
{
    throw Failure(ExitCode::Usage, concat(option, "=", text, " is not understood: ", wanted));
}

std::optional<int> wholeUpTo(int largest, std::string_view text)
{
    bool outOfRange = false;
    const auto value = parseWhole(text, outOfRange);
    return value && std::llabs(*value) <= largest ? std::optional<int>(static_cast<int>(*value))
                                                  : std::nullopt;
}

constexpr std::string_view kSizeWanted = "WIDTHxHEIGHT, WIDTHx or xHEIGHT, from 1 to 30000 pixels";
constexpr std::string_view kPointWanted = "X,Y in pixels from the left and the top, up to 30000 either way";
static_assert(kLargestSide == 30000, "the texts say so");

} // namespace

TypedSize parseSize(std::string_view option, std::string_view text)
{
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos || text.size() == 1)
        refuse(option, text, kSizeWanted);
    const auto side = [&](std::string_view part) {
        const auto value = part.empty() ? std::optional(0) : wholeUpTo(kLargestSide, part);
        if (!value || *value < (part.empty() ? 0 : 1))
            refuse(option, text, kSizeWanted);
        return *value;
    };
    return {side(text.substr(0, cross)), side(text.substr(cross + 1))};
}

TypedPoint parsePoint(std::string_view option, std::string_view text)
{
    const std::size_t comma = text.find(',');
    if (comma == std::string_view::npos)
        refuse(option, text, kPointWanted);
    const auto x = wholeUpTo(kLargestSide, text.substr(0, comma));
    const auto y = wholeUpTo(kLargestSide, text.substr(comma + 1));
    if (!x || !y)
        refuse(option, text, kPointWanted);
    return {*x, *y};
}

std::array<int, 3> parseLevels(std::string_view option, std::string_view text)
{
    constexpr std::string_view kWanted = "LEVEL or RED,GREEN,BLUE, each from 0 to 255";
    std::array<int, 3> levels{};
    std::size_t count = 0;
    for (std::string_view rest = text;; ++count) {
        const std::string_view word = rest.substr(0, rest.find(','));
        const auto level = wholeUpTo(255, word);
        if (!level || *level < 0 || count == levels.size())
            refuse(option, text, kWanted);
        levels[count] = *level;
        if (word.size() == rest.size())
            break;
        rest.remove_prefix(word.size() + 1);
    }
    if (count == 1)
        refuse(option, text, kWanted);
    if (count == 0)
        levels.fill(levels[0]);
    return levels;
}

} // namespace velmont::cli
