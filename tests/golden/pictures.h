#pragma once

/// \file
/// The pictures that golden digests are made of: by integer arithmetic alone, so that they are the same on every system.

#include "catalogue/effect.h"
#include "tests/support/images.h"
#include <span>
#include <string_view>

namespace velmont::golden {

/// A kind of picture.
struct Kind {
    std::string_view name; ///< in the list, without spaces
    int bits;
    uint32_t colors; ///< of the palette
    catalogue::Depth depth;
    bool isVariant = false; ///< of another kind of the same depth: tried with default records alone
};

/// One of each depth, and a short palette.
std::span<const Kind> kinds();

/// A picture of flat, shaded and noisy patches; what fills its rows up is noise.
testing::Bytes picture(const Kind &kind, int width, int height);

} // namespace velmont::golden
