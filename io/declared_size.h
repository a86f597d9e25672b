#pragma once

/// \file
/// How large an image file says that it is, told by its first bytes alone.

#include <cstdint>
#include <filesystem>
#include <optional>

namespace velmont::io {

/// Width and height in pixels as the file declares them; nothing is promised about the rest of it.
struct DeclaredSize {
    uint64_t width = 0, height = 0;
};

/// What a PNG, JPEG, BMP or WebP file declares, without decoding it. Nothing for other files, and for those that
/// cannot be read. It is an estimate of the work to come; decoding looks for itself.
std::optional<DeclaredSize> declaredSize(const std::filesystem::path &path);

} // namespace velmont::io
