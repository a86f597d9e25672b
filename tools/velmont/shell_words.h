#pragma once

/// \file
/// Commands as they are typed into a shell.

#include <string>
#include <string_view>

namespace velmont::cli {

/// A word in the form in which a POSIX shell takes it literally: in single quotes where it needs them.
std::string shellQuoted(std::string_view word);

} // namespace velmont::cli
