#pragma once

/// \file
/// What a command was asked for: text on standard output.

#include <string_view>

namespace velmont::cli {

/// Writes all of it. Where nobody reads any more, as behind "| head", the program ends without a word, by SIGPIPE
/// even if whoever started it ignores that signal.
/// \throws Failure with ExitCode::Output when it cannot be written
void print(std::string_view text);

} // namespace velmont::cli
