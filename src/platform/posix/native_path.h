#pragma once

/// \file
/// From paths as hosts write them to those of this system.

#include "platform/fixed_text.h"
#include <climits>
#include <string_view>

namespace velmont::posix {

using NativePath = FixedText<PATH_MAX>;

/// A path taken apart at its last separator: the directory with that separator, and the name behind it.
struct SplitPath {
    std::string_view directory, name;
};

/// Drops a drive prefix and takes the path apart.
SplitPath splitLast(std::string_view path);

/// Appends a component to a directory; false when there is no room.
bool appendName(NativePath &path, std::string_view name);
/// Looks a name up in a directory, the exact name first, then without regard to the case of the letters A to Z (of
/// several the first in the order of their bytes), and appends it as it is stored. False, and `path` is as it was,
/// when there is none.
bool appendStoredName(NativePath &path, std::string_view name);
/// The path of this system for what exists at a host's path; false when a component is missing or the path is too
/// long. An empty directory part means the current directory.
bool resolveDirectory(std::string_view directory, NativePath &native);
/// The same for a whole path, which must not be empty.
bool resolve(std::string_view path, NativePath &native);

} // namespace velmont::posix
