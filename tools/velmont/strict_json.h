#pragma once

/// \file
/// Reading JSON that people wrote: what is wrong is told with its place.

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace velmont::cli {

/// How deep objects and lists may lie in each other.
inline constexpr std::size_t kDeepestJson = 32;

/// Reads a whole document. Keys that stand twice in an object and documents nested deeper than kDeepestJson are
/// refused like errors of syntax.
/// \throws Failure with ExitCode::Usage: a line with the line and column, or the place, of what is wrong
nlohmann::json parseStrictJson(std::string_view text);

/// The place of a member inside another place: "steps[1].fields" and "hueBlues" are "steps[1].fields.hueBlues".
std::string memberPlace(std::string_view place, std::string_view key);
/// The place of an element of a list: "steps" and 1 are "steps[1]".
std::string elementPlace(std::string_view place, std::size_t index);

/// A value as it stands in JSON, shortened to fit into a line.
std::string shown(const nlohmann::json &value);

} // namespace velmont::cli
