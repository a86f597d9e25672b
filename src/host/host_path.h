#pragma once

/// \file
/// Paths as hosts write them.

#include "platform/fixed_text.h"
#include <string_view>
#include <velmont/platform.h>

namespace velmont {

/// A path being built.
using HostPath = FixedText<VELMONT_PATH_BYTES>;

/// Bytes of a directory, a file name and an extension, the final null of each included.
constexpr std::size_t kPathPartBytes = 256;

/// The parts of a path. Joined they are the path.
struct PathParts {
    std::string_view drive;     ///< a character and a colon, or empty
    std::string_view directory; ///< up to the last separator, with it
    std::string_view name;      ///< up to the last dot
    std::string_view extension; ///< from the last dot on, with it

    /// All but the drive.
    std::string_view rest() const;
    /// Whether each part is of a length that hosts may count on.
    bool fit() const;
};

/// Takes a path apart; the parts are views of `path`. A null path is an empty one.
PathParts splitPath(const char *path);

/// The components of a path one after the other. Delimiters side by side count as one, those at the ends do not count.
class PathTokens {
public:
    explicit PathTokens(std::string_view path) : rest_(path) {}
    /// The next component, empty when there is none.
    std::string_view next();

private:
    std::string_view rest_;
};

} // namespace velmont
