#include "core/effect_frame.h"
#include "platform/services.h"
#include <algorithm>
#include <cstring>
#include <utility>

namespace velmont {

EffectFrame::EffectFrame(void *dib, const FrameSteps &steps)
    : steps_(steps), sourceHandle_(dib), sourceLock_(dib)
{
    source_ = Dib::examine(sourceLock_.bytes(), KelMemSize(sourceHandle_));
}

EffectFrame::~EffectFrame()
{
    // Reached with a result only when a callback threw: finish() has taken it otherwise.
    if (resultHandle_)
        KelMemFree(resultHandle_);
}

bool EffectFrame::serves(std::initializer_list<int> depths) const
{
    return source_ && std::find(depths.begin(), depths.end(), source_->bitCount()) != depths.end();
}

bool EffectFrame::begin(const ResultPlan &plan)
{
    if (!allocate(plan))
        return false;
    open(plan.headerBytes);
    return true;
}

bool EffectFrame::allocate(const ResultPlan &plan)
{
    if (steps_.waitCursor && !steps_.lateWaitCursor)
        showWaitCursor();
    const std::size_t bytes = std::max(plan.layout.totalBytes(), plan.minimumBytes);
    resultHandle_ = allocateBlock(plan.flags, bytes, plan.contents);
    if (resultHandle_)
        resultLock_.emplace(resultHandle_);
    if (!resultHandle_ || !resultLock_->bytes()) {
        takeBack(steps_.arrowCursor && !steps_.lateWaitCursor);
        return false;
    }
    if (steps_.waitCursor && steps_.lateWaitCursor)
        showWaitCursor();
    result_ = Dib::withLayout(resultLock_->bytes(), bytes, plan.layout);
    if (plan.contents != Contents::ZeroFilled)
        std::memset(result_->block(), 0, plan.layout.pixelOffset);
    return true;
}

void *EffectFrame::takeBack(bool showsArrow)
{
    if (resultHandle_) {
        resultLock_->unlock();
        KelMemFree(std::exchange(resultHandle_, nullptr));
    }
    if (showsArrow)
        showArrowCursor();
    sourceLock_.unlock();
    return nullptr;
}

void EffectFrame::open(std::size_t headerBytes)
{
    if (steps_.droppedPoll)
        AbortImageProcessing(); // its answer is dropped: hosts rely on the call
    if (headerBytes == 0)
        headerBytes = source_->header().biSize;
    // A callback may have written into the header meanwhile, so both blocks bound the copy.
    headerBytes_ = std::min({headerBytes, result_->blockBytes(), source_->blockBytes()});
    std::memcpy(result_->block(), source_->block(), headerBytes_);
}

Stores EffectFrame::stores() const
{
    return isOfFreshPages(resultHandle_) ? Stores::Cached : storesFor(result_->blockBytes());
}

void EffectFrame::copyPalette()
{
    const std::size_t bytes = kColorBytes * std::size_t{result_->paletteEntries()};
    std::memcpy(result_->palette(), source_->palette(),
                std::min(bytes, source_->blockBytes() - kHeaderBytes));
}

void EffectFrame::clearPadding(int y)
{
    const auto pixelBits =
        static_cast<std::size_t>(result_->width()) * static_cast<unsigned>(result_->bitCount());
    uint8_t *const row = result_->row(y);
    // A long header reaches into the rows, and what it brought into their padding stays.
    uint8_t *const start = std::max(row + (pixelBits + 7) / 8, result_->block() + headerBytes_);
    uint8_t *const end = row + result_->stride();
    if (start < end)
        std::memset(start, 0, static_cast<std::size_t>(end - start));
}

void EffectFrame::clearPadding()
{
    for (int y = 0; y < result_->height(); ++y)
        clearPadding(y);
}

void *EffectFrame::finish()
{
    if (steps_.arrowCursor && steps_.earlyArrowCursor)
        showArrowCursor();
    sourceLock_.unlock();
    resultLock_->unlock();
    void *const handle = std::exchange(resultHandle_, nullptr);
    if (aborted_)
        KelMemFree(handle);
    if (steps_.finalReport)
        ShowImageProcessing(100);
    if (steps_.arrowCursor && !steps_.earlyArrowCursor)
        showArrowCursor();
    return aborted_ ? nullptr : handle;
}

void *EffectFrame::finishLocked()
{
    keepLocks();
    return finish();
}

void *EffectFrame::abandon()
{
    keepLocks();
    resultHandle_ = nullptr;
    return nullptr;
}

void *EffectFrame::loseResult()
{
    sourceLock_.unlock();
    return abandon();
}

void EffectFrame::keepLocks()
{
    sourceLock_.keep();
    resultLock_->keep();
}

} // namespace velmont
