#pragma once

/// \file
/// What the program says besides its results: lines on standard error.

#include <functional>
#include <string_view>

namespace velmont::cli {

/// One line behind the program's name, on standard error.
void say(std::string_view line);
/// The same for an error: on a terminal the program's name stands out.
void sayError(std::string_view line);

/// From now on lines go there instead, without the program's name; nothing for standard error again.
void sendNotesTo(std::function<void(std::string_view line)> listener);

} // namespace velmont::cli
