#include "nearest_name.h"
#include "text.h"
#include <algorithm>
#include <utility>
#include <vector>

namespace velmont::cli {

namespace {

char lower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// One row of the table of distances between the beginnings of two words.
using Row = std::vector<std::size_t>;

/// A third of the letters may be wrong; one of them in short words.
std::size_t allowedMistakes(std::string_view word)
{
    return std::max<std::size_t>(1, word.size() / 3);
}

} // namespace

std::size_t typingDistance(std::string_view a, std::string_view b)
{
    Row beforePrevious, previous(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        beforePrevious = std::exchange(previous, row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = lower(a[i - 1]) == lower(b[j - 1]);
            row[j] = std::min({previous[j] + 1, row[j - 1] + 1, previous[j - 1] + (same ? 0 : 1)});
            const bool swapped =
                i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) && lower(a[i - 2]) == lower(b[j - 1]);
            if (swapped)
                row[j] = std::min(row[j], beforePrevious[j - 2] + 1);
        }
    }
    return row[b.size()];
}

std::optional<std::string_view> nearestName(std::string_view word,
                                            std::span<const std::string_view> candidates)
{
    std::optional<std::string_view> nearest;
    std::size_t limit = allowedMistakes(word) + 1;
    for (const std::string_view candidate : candidates) {
        const std::size_t distance = typingDistance(word, candidate);
        if (distance < limit && distance < candidate.size()) {
            limit = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string didYouMean(std::string_view word, std::span<const std::string_view> candidates)
{
    const auto nearest = nearestName(word, candidates);
    return nearest ? concat("; did you mean ", *nearest, "?") : std::string();
}

} // namespace velmont::cli
