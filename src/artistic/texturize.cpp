#include "core/effect_frame.h"
#include "core/repeat_bytes.h"
#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include "geometry/high_quality_size.h"
#include "masks/relief.h"
#include "masks/tile_picture.h"
#include "platform/services.h"
#include <algorithm>
#include <cstring>
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

/// The texture at the size of a tile; null where it cannot be had. The cursors are those of the resampling, which would
/// leave the wait cursor where memory is short.
void *resampled(void *texture, double scale)
{
    const LockedDib picture(texture);
    if (!picture)
        return nullptr;
    const int width = scaledSide(picture->width(), scale), height = scaledSide(picture->height(), scale);
    if (!resamplesHighQuality(*picture, width, height))
        return nullptr;
    showWaitCursor();
    void *const tile = ProcessResampleHighQuality(texture, width, height, 0, 0);
    showArrowCursor();
    return tile;
}

/// Rows of tiles side by side, as wide as the image.
class TileRows {
public:
    /// The tile is read as its own depth says, which need not be the image's. At 8 bits its rows are looked for behind
    /// 256 colours, however many it has: hosts rely on it.
    TileRows(const Dib &tile, const DibLayout &image, int mode)
        : tile_(tile), mode_(mode), tileChannels_(samplesPerPixel(tile)),
          firstRow_(tileChannels_ == 3 ? kHeaderBytes : kGrayPixelOffset),
          channels_(static_cast<std::size_t>(image.bitCount) / 8),
          columns_(static_cast<std::size_t>(image.width)), row_(std::max(channels_, tileChannels_) * columns_)
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
        if (tileChannels_ > channels_)
            takeMeans(count);
        else if (tileChannels_ < channels_)
            widen(count);
        repeatBytes(row_.bytes(), channels_ * count, channels_ * columns_);
    }
    void copy(std::size_t to, int row, std::size_t column, std::size_t count)
    {
        const uint64_t start =
            firstRow_ + uint64_t{tile_.stride()} * static_cast<uint64_t>(row) + tileChannels_ * column;
        copyWithin(row_.bytes() + tileChannels_ * to, tile_, start, tileChannels_ * count);
    }
    void reverse(std::size_t count)
    {
        uint8_t *first = row_.bytes(), *last = first + tileChannels_ * count;
        for (last -= tileChannels_; first < last; first += tileChannels_, last -= tileChannels_)
            std::swap_ranges(first, first + tileChannels_, last);
    }
    /// Pixels of 24 bits become their levels, for an image of levels.
    void takeMeans(std::size_t count)
    {
        uint8_t *const levels = row_.bytes();
        for (std::size_t i = 0; i < count; ++i)
            levels[i] = static_cast<uint8_t>((levels[3 * i] + levels[3 * i + 1] + levels[3 * i + 2]) / 3);
    }
    /// Levels become pixels of 24 bits, for an image of colours.
    void widen(std::size_t count)
    {
        uint8_t *const levels = row_.bytes();
        for (std::size_t i = count; i-- > 0;)
            std::memset(levels + 3 * i, levels[i], 3);
    }

    const Dib &tile_;
    int mode_;
    std::size_t tileChannels_, firstRow_; ///< of the tile
    std::size_t channels_, columns_;      ///< of the image
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
        if (!picture || !frame.allocate({.layout = *layout, .contents = Contents::Overwritten}))
            return nullptr;
        TileRows tiles(*picture, *layout, param->tileMode);
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
