#pragma once

#include "filters/sample_frame.h"
#include <optional>

namespace velmont {

/// What the results start as.
enum class Carried { Headers, WholeBlocks };

/// The effects' frame for a cut-out, an image and its alpha mask: two results in two slots, and 1 or 0 for what
/// happened. Used like EffectFrame, whose steps the host sees once for both.
class CutOutFrame {
public:
    CutOutFrame(void *dib, void *alpha, void **newDib, void **newAlpha);

    /// Whether there are an image of samples, a gray mask with as many bytes as the image's measures ask for, and
    /// both slots. The measures in the mask's own header do not matter.
    bool serves();
    /// Wait cursor, both results, one dropped poll, and what is carried over from both sources. On failure the
    /// effect returns 0 and the slots stay as they are.
    bool begin(Carried carried);

    const Dib &source() const { return image_.source(); }
    /// The mask with the image's width and height.
    const Dib &sourceAlpha() const { return *alphaSource_; }
    Dib &result() { return image_.result(); }
    Dib &resultAlpha() { return alpha_.result(); }

    RowLoop rows() { return image_.rows(); }
    void abort() { image_.abort(); }
    bool isAborted() const { return image_.isAborted(); }
    void clearPadding(int y)
    {
        image_.clearPadding(y);
        alpha_.clearPadding(y);
    }

    /// Ends the work as EffectFrame does; the slots get the results, or null after an abort.
    /// \return 1, or 0 after an abort.
    int finish();

private:
    EffectFrame image_, alpha_;
    void **newDib_, **newAlpha_;
    std::optional<Dib> alphaSource_;
};

} // namespace velmont
