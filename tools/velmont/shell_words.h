#pragma once

/// \file
/// Commands as they are typed into a shell.

#include <span>
#include <string>
#include <string_view>

namespace velmont::cli {

/// A word in the form in which a POSIX shell takes it literally: in single quotes where it needs them.
std::string shellQuoted(std::string_view word);
/// Words in that form, with blanks between them.
std::string shellCommand(std::span<const std::string> words);

} // namespace velmont::cli
