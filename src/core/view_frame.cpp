#include "core/view_frame.h"
#include "core/dib_layout.h"
#include "platform/memory.h"
#include "platform/services.h"
#include <algorithm>
#include <cstring>
#include <utility>

namespace velmont {

namespace {

/// Whether header, palette and rows lie inside the block, as the view places them: behind biSize, which need
/// not be 40.
bool fitsItsBlock(const DibView &view)
{
    if (!view.header)
        return false;
    DibHeader header;
    std::memcpy(&header, view.header, sizeof header);
    const uint64_t paletteBytes = header.biBitCount <= 8 && header.biClrUsed != 0
                                      ? uint64_t{header.biClrUsed} * kColorBytes
                                      : view.GetPaletteBytes();
    const auto layout =
        DibLayout::make(header.biWidth, header.biHeight, header.biBitCount, header.biSize + paletteBytes);
    return header.biSize >= kHeaderBytes && layout && layout->totalBytes() <= KelMemSize(view.handle);
}

} // namespace

ViewFrame::ViewFrame(void *dib)
{
    source_.emplace(dib);
    fitsBlock_ = fitsItsBlock(*source_);
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
    return fitsBlock_ && std::find(depths.begin(), depths.end(), source_->GetBitCount()) != depths.end();
}

bool ViewFrame::begin()
{
    showWaitCursor();
    resultHandle_ = KelMemAlloc(KEL_MEM_MOVEABLE | KEL_MEM_ZERO, source_->GetTotalBytes());
    if (resultHandle_)
        result_.emplace(resultHandle_);
    if (!result_ || !result_->header) {
        result_.reset();
        if (resultHandle_)
            KelMemFree(std::exchange(resultHandle_, nullptr));
        showArrowCursor();
        source_.reset();
        return false;
    }
    result_->CopyHeaderFrom(&*source_);
    result_->CopyPaletteFrom(&*source_);
    AbortImageProcessing(); // its answer is dropped: hosts rely on the call
    return true;
}

void *ViewFrame::finish()
{
    source_.reset();
    result_.reset();
    void *const handle = std::exchange(resultHandle_, nullptr);
    if (aborted_)
        KelMemFree(handle);
    ShowImageProcessing(100);
    showArrowCursor();
    return aborted_ ? nullptr : handle;
}

} // namespace velmont
