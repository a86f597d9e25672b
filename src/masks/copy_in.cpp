#include "core/byte_kernels.h"
#include "core/locked_dib.h"
#include "core/overlap.h"
#include "masks/composite_kernels.h"
#include <velmont/compositing.h>

namespace velmont {

namespace {

int channelsOf(const Dib &dib)
{
    return dib.bitCount() / 8;
}

/// Pixels go between images of one depth: 24 bits, or 8 bits into a gray image. The source's palette plays no part.
bool canTake(const LockedDib &destination, const LockedDib &source)
{
    if (!destination || !source || destination->bitCount() != source->bitCount())
        return false;
    return destination->bitCount() == 24 || destination->isGray();
}

bool areOneBlock(const Dib &a, const Dib &b)
{
    return a.block() == b.block();
}

void copyInOrder(uint8_t *to, const uint8_t *from, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = from[i];
}

/// Copies runs of pixels. Within one image they go from the first pixel on, so that what was written is read again
/// where runs overlap: hosts rely on it.
class PixelCopy {
public:
    PixelCopy(const Dib &destination, const Dib &source)
        : channels_(channelsOf(source)),
          copy_(areOneBlock(destination, source) ? copyInOrder
                                                 : copyRow(storesFor(source.layout().pixelBytes())))
    {
    }
    void operator()(uint8_t *to, int64_t toColumn, const uint8_t *from, int64_t fromColumn,
                    int64_t count) const
    {
        if (count > 0)
            copy_(to + channels_ * toColumn, from + channels_ * fromColumn,
                  static_cast<std::size_t>(channels_ * count));
    }

private:
    int64_t channels_;
    ByteRow copy_;
};

void copyClipped(const Dib &destination, const Dib &source, int64_t x, int64_t y)
{
    const PixelCopy copy(destination, source);
    const Overlap columns(x, source.width(), destination.width());
    const Overlap rows(y, source.height(), destination.height());
    for (int64_t j = rows.before; j < rows.end(); ++j)
        copy(destination.row(static_cast<int>(y + j)), x + columns.before, source.row(static_cast<int>(j)),
             columns.before, columns.inside);
}

void copyWrapped(const Dib &destination, const Dib &source, int64_t x, int64_t y)
{
    const PixelCopy copy(destination, source);
    const int64_t width = destination.width(), height = destination.height();
    // Later pixels write over earlier ones: those alone are copied that stay.
    const int64_t firstColumn = std::max<int64_t>(source.width() - width, 0);
    const int64_t firstRow = std::max<int64_t>(source.height() - height, 0);
    const int64_t column = wrapped(x + firstColumn, width), count = source.width() - firstColumn;
    const int64_t ahead = std::min(count, width - column);
    for (int64_t j = firstRow; j < source.height(); ++j) {
        uint8_t *const to = destination.row(static_cast<int>(wrapped(y + j, height)));
        const uint8_t *const from = source.row(static_cast<int>(j));
        copy(to, column, from, firstColumn, ahead);
        copy(to, 0, from, firstColumn + ahead, count - ahead);
    }
}

/// What a call through an alpha mask does with it.
struct AlphaMode {
    AlphaUse use;
    bool isInverted;
};

void composite(const Dib &destination, const Dib &alpha, const Dib &source, int64_t x, int64_t y,
               AlphaMode mode)
{
    const int64_t channels = channelsOf(source);
    const bool isOverlapping = areOneBlock(destination, source) || areOneBlock(destination, alpha);
    const CompositeRow compositeMasked = isOverlapping ? kernels::compositePlain(channelsOf(source), mode.use)
                                                       : compositeRow(channelsOf(source), mode.use);
    const PixelCopy copy(destination, source);
    const Overlap columns(x, source.width(), destination.width());
    const Overlap rows(y, source.height(), destination.height());
    for (int64_t j = rows.before; j < rows.end(); ++j) {
        uint8_t *const to = destination.row(static_cast<int>(y + j));
        const uint8_t *const from = source.row(static_cast<int>(j));
        // Outside the mask the alpha is 0 before it is inverted.
        int64_t column = columns.before;
        if (j < alpha.height() && column < alpha.width() && columns.inside > 0) {
            const int64_t masked = std::min<int64_t>(alpha.width() - column, columns.inside);
            compositeMasked(to + channels * (x + column), from + channels * column,
                            alpha.row(static_cast<int>(j)) + column, static_cast<std::size_t>(masked),
                            mode.isInverted ? 255 : 0);
            column += masked;
        }
        if (mode.isInverted)
            copy(to, x + column, from, column, columns.end() - column);
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

bool ProcessCopyIn(void *hDest, void *hSource, int x, int y)
{
    return ProcessCopyIn(hDest, hSource, x, y, 0);
}

bool ProcessCopyIn(void *hDest, void *hSource, int x, int y, int wrap)
{
    const LockedDib destination(hDest), source(hSource);
    if (!canTake(destination, source))
        return false;
    if (wrap != 0)
        copyWrapped(*destination, *source, x, y);
    else
        copyClipped(*destination, *source, x, y);
    return true;
}

bool ProcessCopyIn(void *hDest, void *hAlpha, void *hSource, int x, int y, int blend, int polarity)
{
    const LockedDib destination(hDest), alpha(hAlpha), source(hSource);
    if (!canTake(destination, source) || !alpha || !alpha->isGray())
        return false;
    const AlphaMode mode{blend != 0 ? AlphaUse::Blend : AlphaUse::Stamp, polarity == 0};
    composite(*destination, *alpha, *source, x, y, mode);
    return true;
}
