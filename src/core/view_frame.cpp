#include "core/view_frame.h"
#include "platform/services.h"
#include <algorithm>
#include <cstring>
#include <utility>

namespace velmont {

namespace {

/// Where the view places the rows: behind biSize, which need not be 40, and the palette. Nothing when they do not
/// lie inside the block.
std::optional<DibLayout> layoutOf(const DibView &view)
{
    if (!view.header)
        return std::nullopt;
    DibHeader header;
    std::memcpy(&header, view.header, sizeof header);
    const uint64_t paletteBytes = header.biBitCount <= 8 && header.biClrUsed != 0
                                      ? uint64_t{header.biClrUsed} * kColorBytes
                                      : view.GetPaletteBytes();
    const auto layout =
        DibLayout::make(header.biWidth, header.biHeight, header.biBitCount, header.biSize + paletteBytes);
    const bool fits =
        header.biSize >= kHeaderBytes && layout && layout->totalBytes() <= KelMemSize(view.handle);
    return fits ? layout : std::nullopt;
}

/// Whether the block could be locked for it.
bool clearBytes(void *handle, std::size_t bytes)
{
    const BlockLock lock(handle);
    if (lock.bytes())
        std::memset(lock.bytes(), 0, bytes);
    return lock.bytes() != nullptr;
}

} // namespace

ViewFrame::ViewFrame(void *dib, const FrameSteps &steps) : steps_(steps)
{
    source_.emplace(dib);
    layout_ = layoutOf(*source_);
}

ViewFrame::~ViewFrame()
{
    // Reached with a result only when a callback threw: finish() has taken it otherwise.
    result_.reset();
    if (resultHandle_)
        KelMemFree(resultHandle_);
}

bool ViewFrame::serves(std::initializer_list<int> depths) const
{
    return layout_ && std::find(depths.begin(), depths.end(), layout_->bitCount) != depths.end();
}

bool ViewFrame::begin(Contents contents)
{
    if (steps_.waitCursor)
        showWaitCursor();
    resultHandle_ = allocateBlock(KEL_MEM_MOVEABLE | KEL_MEM_ZERO, layout_->totalBytes(), contents);
    // The view has to find a header of zeros, so that it works out its measures once the source's is there.
    if (resultHandle_ &&
        (contents == Contents::ZeroFilled || clearBytes(resultHandle_, layout_->pixelOffset)))
        result_.emplace(resultHandle_);
    if (!result_ || !result_->header) {
        giveUp();
        return false;
    }
    result_->CopyHeaderFrom(&*source_);
    result_->CopyPaletteFrom(&*source_);
    if (steps_.droppedPoll)
        AbortImageProcessing(); // its answer is dropped: hosts rely on the call
    return true;
}

void *ViewFrame::giveUp()
{
    result_.reset();
    if (resultHandle_)
        KelMemFree(std::exchange(resultHandle_, nullptr));
    if (steps_.arrowCursor)
        showArrowCursor();
    source_.reset();
    return nullptr;
}

void *ViewFrame::finish()
{
    source_.reset();
    result_.reset();
    void *const handle = std::exchange(resultHandle_, nullptr);
    if (aborted_)
        KelMemFree(handle);
    if (steps_.finalReport)
        ShowImageProcessing(100);
    if (steps_.arrowCursor)
        showArrowCursor();
    return aborted_ ? nullptr : handle;
}

} // namespace velmont
