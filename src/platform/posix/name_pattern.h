#pragma once

/// \file
/// Patterns of file names as hosts write them.

#include <string_view>

namespace velmont::posix {

/// Whether a name matches a pattern, without regard to the case of the letters A to Z:
/// `*` stands for any characters, `?` for one or, at the end of the name or before a dot, for none;
/// `*.` at the end of a pattern stands for any characters without a dot, and a dot before `*` or `?` matches the
/// end of the name too, so that `*.*` means all names. The names `.` and `..` match `*.`.
bool matchesPattern(std::string_view name, std::string_view pattern);

} // namespace velmont::posix
