#pragma once

/// \file
/// Help after a typing mistake: the name that was probably meant.

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velmont::cli {

/// How many single mistakes lie between two words: a letter too many, missing, wrong, or two neighbours
/// swapped. Upper and lower case count as the same letter.
std::size_t typingDistance(std::string_view a, std::string_view b);

/// The candidate with the fewest mistakes, the first of several; none when all of them are too far off to be
/// what was meant.
std::optional<std::string_view> nearestName(std::string_view word,
                                            std::span<const std::string_view> candidates);

/// "; did you mean list?" to end a line with, or nothing.
std::string didYouMean(std::string_view word, std::span<const std::string_view> candidates);

} // namespace velmont::cli
