#pragma once

/// \file
/// Sizes and places as they are typed.

#include <array>
#include <string_view>

namespace velmont::cli {

/// The longest side of a picture that can be asked for.
inline constexpr int kLargestSide = 30000;

/// Of a picture; 0 for a side that follows from the other one.
struct TypedSize {
    int width = 0, height = 0;
};

/// "800x600", "800x" or "x600", in pixels.
/// \throws Failure with ExitCode::Usage that names the option
TypedSize parseSize(std::string_view option, std::string_view text);

struct TypedPoint {
    int x = 0, y = 0;
};

/// "10,20": columns from the left and rows from the top, which may be negative.
/// \throws Failure with ExitCode::Usage that names the option
TypedPoint parsePoint(std::string_view option, std::string_view text);

/// "10" for all three channels or "10,20,30" for red, green and blue, each 0 to 255.
/// \throws Failure with ExitCode::Usage that names the option
std::array<int, 3> parseLevels(std::string_view option, std::string_view text);

} // namespace velmont::cli
