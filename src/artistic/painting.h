#pragma once

/// \file
/// What the painting effects share.

#include "filters/sample_frame.h"
#include "platform/services.h"
#include <cstdint>

namespace velmont {

/// What a line of samples shows at a place before or behind it, mirrored: before it without its first sample, behind it
/// with its last one repeated. Hosts rely on both.
inline int64_t mirroredPlace(int64_t place, int64_t length)
{
    return place < 0 ? -place : place < length ? place : 2 * length - 1 - place;
}

/// Ends a painting effect that refuses its picture or its record once the wait cursor is shown.
inline void *refuseAtWork()
{
    showArrowCursor();
    return nullptr;
}

/// Ends a painting effect that has no working memory: hosts rely on the locks that stay on source and result and on the
/// result's block, which nobody frees.
inline void *abandonAtWork(EffectFrame &frame)
{
    showArrowCursor();
    return frame.abandon();
}

} // namespace velmont
