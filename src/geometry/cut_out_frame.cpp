#include "geometry/cut_out_frame.h"
#include "platform/services.h"

namespace velmont {

namespace {

// The end is the pair's own.
constexpr FrameSteps kImageSteps{.arrowCursor = false, .finalReport = false};
constexpr FrameSteps kAlphaSteps{
    .waitCursor = false, .droppedPoll = false, .arrowCursor = false, .finalReport = false};

} // namespace

CutOutFrame::CutOutFrame(void *dib, void *alpha, void **newDib, void **newAlpha)
    : image_(dib, kImageSteps), alpha_(alpha, kAlphaSteps), newDib_(newDib), newAlpha_(newAlpha)
{
}

bool CutOutFrame::serves()
{
    if (!newDib_ || !newAlpha_ || !servesSamples(image_) || !alpha_.serves({8}) || !alpha_.source().isGray())
        return false;
    const auto layout = DibLayout::make(source().width(), source().height(), 8, kGrayPixelOffset);
    if (layout)
        alphaSource_ = Dib::withLayout(alpha_.source().block(), alpha_.source().blockBytes(), *layout);
    return alphaSource_.has_value();
}

bool CutOutFrame::begin(Carried carried)
{
    if (!image_.allocate(planOnSamples(source())) || !alpha_.allocate(planOnSamples(sourceAlpha()))) {
        image_.giveUp();
        showArrowCursor();
        return false;
    }
    const auto carriedBytes = [&](const DibLayout &layout) {
        return carried == Carried::WholeBlocks ? layout.totalBytes() : layout.pixelOffset;
    };
    image_.open(carriedBytes(source().layout()));
    alpha_.open(carriedBytes(sourceAlpha().layout()));
    return true;
}

int CutOutFrame::finish()
{
    const bool hasRun = !isAborted();
    if (!hasRun)
        alpha_.abort();
    *newDib_ = image_.finish();
    *newAlpha_ = alpha_.finish();
    ShowImageProcessing(100);
    showArrowCursor();
    return hasRun ? 1 : 0;
}

} // namespace velmont
