#include "masks/bit_mask.h"
#include "masks/mask_row.h"
#include <algorithm>
#include <velmont/masks.h>

// Hosts see nothing of these: neither cursor nor progress nor abort.

namespace velmont {

namespace {

/// A rectangle that may lie anywhere.
struct Area {
    int64_t left, top, right, bottom;

    int64_t width() const { return right - left; }
    int64_t height() const { return bottom - top; }
    /// Whether an image can have this size.
    bool isSize() const
    {
        return width() >= 1 && width() <= INT32_MAX && height() >= 1 && height() <= INT32_MAX;
    }
};

Area unionOf(const Area &a, const Area &b)
{
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
            std::max(a.bottom, b.bottom)};
}

Area intersectionOf(const Area &a, const Area &b)
{
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

/// What the masks cover in the result of an operation, in the coordinates of the first.
Area coveredBy(int operation, const Area &a, const Area &b)
{
    switch (operation) {
    case 1:
        return intersectionOf(a, b);
    case 3:
        return a;
    default:
        return unionOf(a, b);
    }
}

uint32_t combined(int operation, uint32_t a, uint32_t b)
{
    switch (operation) {
    case 0:
        return a | b;
    case 1:
        return a & b;
    case 2:
        return a ^ b;
    default:
        return a & ~b;
    }
}

/// Row y of a mask; one without bits where the mask has none.
MaskRow rowOf(const Dib &mask, int64_t y)
{
    return y >= 0 && y < mask.height() ? MaskRow(mask.row(static_cast<int>(y)), mask.width()) : MaskRow();
}

/// A bit mask as hosts describe it to BoundingMask: rows of their own width at byte 48, of which the block may
/// have but a part.
class DescribedMask {
public:
    DescribedMask(const uint8_t *block, std::size_t blockBytes, int width, int height)
        : block_(block), blockBytes_(blockBytes), width_(width), stride_(strideOf(width, 1)),
          storedRows_(std::min<uint64_t>(static_cast<uint64_t>(height),
                                         (blockBytes - kMaskPixelOffset + stride_ - 1) / stride_))
    {
    }
    /// Rows of which the block has something.
    int storedRows() const { return static_cast<int>(storedRows_); }
    MaskRow row(int y) const
    {
        const uint64_t start = kMaskPixelOffset + stride_ * static_cast<uint64_t>(y);
        const uint64_t bits = 8 * std::min(stride_, blockBytes_ - start);
        return {block_ + start, static_cast<int64_t>(std::min(bits, static_cast<uint64_t>(width_)))};
    }

private:
    const uint8_t *block_;
    std::size_t blockBytes_;
    int width_;
    uint64_t stride_;
    uint64_t storedRows_;
};

/// The place of the set bits; empty where there is none.
Area setArea(const DescribedMask &mask)
{
    Area area{INT32_MAX, INT32_MAX, 0, 0};
    for (int y = 0; y < mask.storedRows(); ++y) {
        const MaskRow row = mask.row(y);
        if (const int64_t first = row.firstSet(); first >= 0)
            area = unionOf(area, {first, y, row.lastSet() + 1, y + 1});
    }
    return area;
}

/// The bits of an area of a mask as a mask of its own; null without memory.
void *cutOut(const DescribedMask &mask, const Area &area, const uint8_t *block)
{
    NewMask cut(static_cast<int>(area.width()), static_cast<int>(area.height()));
    if (!cut)
        return nullptr;
    cut.describe(block, kMaskPixelOffset);
    for (int y = 0; y < cut.dib().height(); ++y) {
        const MaskRow from = mask.row(static_cast<int>(area.top) + y);
        for (std::size_t i = 0; i < cut.dib().stride(); i += 4)
            storeWindow(cut.dib().row(y) + i, from.window(area.left + 8 * static_cast<int64_t>(i)));
    }
    return cut.take();
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessMaskOperation(void *maskA, void *maskB, int x, int y, int operation)
{
    const LockedDib lockedA(maskA), lockedB(maskB);
    const auto a = maskIn(lockedA), b = maskIn(lockedB);
    if (!a || !b)
        return nullptr;
    const Area area = coveredBy(operation, {0, 0, a->width(), a->height()},
                                {x, y, int64_t{x} + b->width(), int64_t{y} + b->height()});
    if (!area.isSize())
        return nullptr;
    NewMask result(static_cast<int>(area.width()), static_cast<int>(area.height()));
    if (!result)
        return nullptr;
    result.describe(a->block(), kMaskPixelOffset);
    for (int j = 0; j < result.dib().height(); ++j) {
        const MaskRow rowA = rowOf(*a, area.top + j), rowB = rowOf(*b, area.top + j - y);
        for (std::size_t i = 0; i < result.dib().stride(); i += 4) {
            const int64_t column = area.left + 8 * static_cast<int64_t>(i);
            storeWindow(result.dib().row(j) + i,
                        combined(operation, rowA.window(column), rowB.window(column - x)));
        }
    }
    return result.take();
}

void *BoundingMask(void *mask, tagRECT *rect)
{
    if (!rect)
        return mask;
    const Area whole{rect->left, rect->top, rect->right, rect->bottom};
    if (!whole.isSize())
        return mask;
    BlockLock lock(mask);
    const std::size_t blockBytes = KelMemSize(mask);
    if (!lock.bytes() || blockBytes < kMaskPixelOffset)
        return mask;
    const DescribedMask described(lock.bytes(), blockBytes, static_cast<int>(whole.width()),
                                  static_cast<int>(whole.height()));
    const Area set = setArea(described);
    if (!set.isSize()) {
        lock.unlock();
        KelMemFree(mask);
        *rect = {0, 0, 0, 0};
        return nullptr;
    }
    if (set.width() == whole.width() && set.height() == whole.height())
        return mask;
    void *const cut = cutOut(described, set, lock.bytes());
    if (!cut)
        return mask;
    lock.unlock();
    KelMemFree(mask);
    rect->left = static_cast<int32_t>(whole.left + set.left);
    rect->top = static_cast<int32_t>(whole.top + set.top);
    rect->right = static_cast<int32_t>(rect->left + set.width());
    rect->bottom = static_cast<int32_t>(rect->top + set.height());
    return cut;
}

int ProcessInvertMask(void *mask)
{
    constexpr int kRefused = -2, kMostBits = 31; // beyond, 2^bits colours are more than any block has
    const LockedDib locked(mask);
    if (!locked || locked->bitCount() > kMostBits)
        return kRefused;
    const uint64_t colors = uint64_t{1} << locked->bitCount();
    const auto layout = DibLayout::make(locked->width(), locked->height(), locked->bitCount(),
                                        kHeaderBytes + kColorBytes * colors);
    const auto image =
        layout ? Dib::withLayout(locked->block(), locked->blockBytes(), *layout) : std::nullopt;
    if (!image)
        return kRefused;
    uint8_t *const bytes = image->row(0);
    std::transform(bytes, bytes + layout->pixelBytes(), bytes,
                   [](uint8_t byte) { return static_cast<uint8_t>(~byte); });
    return 0;
}
