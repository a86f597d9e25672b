#include "masks/bit_mask.h"
#include <cstring>
#include <utility>

namespace velmont {

std::optional<Dib> maskIn(const LockedDib &locked)
{
    if (!locked || locked->bitCount() != 1)
        return std::nullopt;
    const auto layout = DibLayout::make(locked->width(), locked->height(), 1, kMaskPixelOffset);
    return layout ? Dib::withLayout(locked->block(), locked->blockBytes(), *layout) : std::nullopt;
}

NewMask::NewMask(int width, int height)
{
    const auto layout = DibLayout::make(width, height, 1, kMaskPixelOffset);
    if (!layout)
        return;
    handle_ = KelMemAlloc(KEL_MEM_MOVEABLE | KEL_MEM_ZERO, layout->totalBytes());
    lock_.emplace(handle_);
    if (lock_->bytes())
        mask_ = Dib::withLayout(lock_->bytes(), layout->totalBytes(), *layout);
}

NewMask::~NewMask()
{
    if (void *const unwanted = take())
        KelMemFree(unwanted);
}

void NewMask::describe(const uint8_t *from, std::size_t bytes)
{
    std::memcpy(mask_->block(), from, bytes);
    DibHeader header = mask_->header();
    header.biWidth = mask_->width();
    header.biHeight = mask_->height();
    header.biSizeImage = static_cast<uint32_t>(mask_->layout().pixelBytes());
    mask_->setHeader(header);
}

void *NewMask::take()
{
    lock_.reset();
    return std::exchange(handle_, nullptr);
}

} // namespace velmont
