#pragma once

/// \file
/// What the painting effects share in their dealings with the host.

#include "filters/sample_frame.h"
#include "platform/services.h"

namespace velmont {

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
