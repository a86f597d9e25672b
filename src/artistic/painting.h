#pragma once

/// \file
/// What the painting effects share in their dealings with the host.

#include "filters/sample_frame.h"
#include "platform/services.h"

namespace velmont {

/// The picture that a painting effect works on: 24 bits, or 8 bits with the rows behind 256 colours. Nothing for
/// others.
inline std::optional<Dib> paintedSource(const EffectFrame &frame)
{
    if (!frame.serves({8, 24}))
        return std::nullopt;
    return frame.source().bitCount() == 24 ? frame.source() : withRowsBehindAllColors(frame.source());
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
