#pragma once

/// \file
/// Colour on a terminal, and nowhere else.

#include <string>
#include <string_view>

namespace velmont::cli {

enum class Stream { Output, Error };

/// Makes some words of a text stand out, or leaves them as they are.
class Style {
public:
    /// Leaves all as it is.
    Style() = default;
    /// Marks what goes to a terminal, unless NO_COLOR is set and not empty or TERM is dumb or missing.
    static Style of(Stream stream);

    /// A line that others stand below.
    std::string heading(std::string_view text) const;
    /// What opens an error's line.
    std::string alarm(std::string_view text) const;

private:
    std::string marked(std::string_view code, std::string_view text) const;

    bool coloured_ = false;
};

} // namespace velmont::cli
