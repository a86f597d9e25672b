#include "core/effect_frame.h"
#include "core/scratch_block.h"
#include "masks/relief.h"
#include "masks/tile_picture.h"
#include "platform/services.h"
#include <velmont/texture.h>

namespace velmont {

namespace {

constexpr int kShifted = 1, kMirrored = 2;

/// Where the rows lie, of the image and of its result. All but 24 bits counts as 8 bits with 256 colours.
std::optional<DibLayout> layoutFor(const Dib &image)
{
    const bool isColor = image.bitCount() == 24;
    return DibLayout::make(image.width(), image.height(), isColor ? 24 : 8,
                           isColor ? kHeaderBytes : kGrayPixelOffset);
}

/// A side of the tile. What is not a number counts as small.
int scaledSide(int side, double scale)
{
    const double scaled = side * scale;
    return scaled >= 1 ? static_cast<int>(std::min<double>(scaled, INT32_MAX)) : 1;
}

/// The texture at the size of a tile; null where it cannot be had.
void *resampled(void *texture, double scale)
{
    const LockedDib picture(texture);
    return picture ? ProcessResampleHighQuality(texture, scaledSide(picture->width(), scale),
                                                scaledSide(picture->height(), scale), 0, 1)
                   : nullptr;
}

/// Rows of tiles side by side, as wide as the image.
class TileRows {
public:
    /// The tile's rows are looked for where the image has its own, whatever the tile's depth: hosts rely on it.
    TileRows(const Dib &tile, const Dib &image, const DibLayout &layout, int mode)
        : tile_(tile), mode_(mode), channels_(static_cast<std::size_t>(layout.bitCount) / 8),
          firstRow_(layout.pixelOffset), stride_(strideOf(tile.width(), image.bitCount())),
          columns_(static_cast<std::size_t>(layout.width)), row_(channels_ * columns_)
    {
    }
    explicit operator bool() const { return row_.bytes() != nullptr; }

    /// The row that is `fromEnd` rows above the image's last one.
    const uint8_t *rowFromEnd(int fromEnd)
    {
        const int inTile = fromEnd % tile_.height();
        lay(mode_ == kMirrored ? inTile : tile_.height() - inTile - 1);
        return row_.bytes();
    }

private:
    void lay(int row)
    {
        const auto width = static_cast<std::size_t>(tile_.width());
        const std::size_t shift = mode_ == kShifted ? width / 2 : 0;
        const std::size_t count = std::min(width, columns_);
        if (mode_ == kMirrored) {
            copy(0, row, width - count, count);
            reverse(count);
        } else {
            const std::size_t ahead = std::min(width - shift, count);
            copy(0, row, shift, ahead);
            copy(ahead, row, 0, count - ahead);
        }
        repeatBytes(row_.bytes(), channels_ * count, channels_ * columns_);
    }
    void copy(std::size_t to, int row, std::size_t column, std::size_t count)
    {
        const uint64_t start = firstRow_ + stride_ * static_cast<uint64_t>(row) + channels_ * column;
        copyWithin(row_.bytes() + channels_ * to, tile_, start, channels_ * count);
    }
    void reverse(std::size_t count)
    {
        uint8_t *first = row_.bytes(), *last = first + channels_ * count;
        for (last -= channels_; first < last; first += channels_, last -= channels_)
            std::swap_ranges(first, first + channels_, last);
    }

    const Dib &tile_;
    int mode_;
    std::size_t channels_, firstRow_;
    uint64_t stride_;
    std::size_t columns_;
    ScratchBlock row_;
};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessTexturize(void *dib, tagTextureParam *param)
{
    EffectFrame frame(dib);
    if (!param || !frame.hasSource())
        return nullptr;
    const auto layout = layoutFor(frame.source());
    const auto source =
        layout ? Dib::withLayout(frame.source().block(), frame.source().blockBytes(), *layout) : std::nullopt;
    if (!source)
        return nullptr;
    const TilePicture texture(param->texture, frame.source()); // freed last
    if (!texture.handle())
        return nullptr;
    OwnedBlock tile(resampled(texture.handle(), param->scale));
    {
        const LockedDib picture(tile.get());
        if (!picture) {
            showArrowCursor(); // the resampling leaves the wait cursor where memory is short
            return nullptr;
        }
        if (!frame.allocate({.layout = *layout, .contents = Contents::Overwritten}))
            return nullptr;
        TileRows tiles(*picture, frame.source(), *layout, param->tileMode);
        if (!tiles)
            return frame.giveUp();
        frame.open(layout->pixelOffset);
        const Relief relief(param->strength, static_cast<std::size_t>(layout->bitCount) / 8);
        const auto width = static_cast<std::size_t>(layout->width);
        for (const int y : frame.rows()) {
            relief.row(frame.result().row(y), source->row(y), tiles.rowFromEnd(layout->height - 1 - y),
                       width);
            frame.clearPadding(y);
        }
    }
    tile.release(); // it stays allocated: hosts count on it
    return frame.finish();
}
