#pragma once

/// \file
/// Commands and options.

#include <span>
#include <string>

namespace velmont::cli {

/// Understands the arguments behind the program's name and does what they say. Results go to standard output.
/// \throws Failure
void runCommandLine(std::span<char *const> arguments);

} // namespace velmont::cli
