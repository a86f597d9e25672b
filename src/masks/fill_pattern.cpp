#include "core/repeat_bytes.h"
#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include "masks/relief.h"
#include "masks/tile_picture.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <velmont/masks.h>

namespace velmont {

namespace {

constexpr int kBrick = 1, kMirror = 2;

/// The picture that the tiles are made of.
class Pattern {
public:
    Pattern(void *given, const Dib &image)
        : channels_(samplesPerPixel(image)), given_(given, image), picture_(given_.handle())
    {
    }

    explicit operator bool() const
    {
        return picture_ && (picture_->bitCount() == 8 || picture_->bitCount() == 24);
    }
    int width() const { return picture_->width(); }
    int height() const { return picture_->height(); }
    std::size_t pixelBytes() const { return channels_; }
    /// Columns of a row. Rows lie at the stride of the image's depth, which is another than the pattern's own where
    /// both were of one depth and it was converted all the same: hosts rely on it.
    void copy(uint8_t *to, int row, std::size_t firstColumn, std::size_t columns) const
    {
        const uint64_t stride = strideOf(8 * int64_t{picture_->width()}, static_cast<int64_t>(channels_));
        const uint64_t start =
            picture_->layout().pixelOffset + stride * static_cast<uint64_t>(row) + channels_ * firstColumn;
        copyWithin(to, *picture_, start, channels_ * columns);
    }

private:
    std::size_t channels_;
    TilePicture given_;
    LockedDib picture_;
};

/// Rows of tiles side by side, as wide as the image.
class Tiles {
public:
    Tiles(const Pattern &pattern, int tiling, int width)
        : pattern_(pattern), tiling_(tiling), columns_(static_cast<std::size_t>(width)),
          row_(columns_ * pattern.pixelBytes())
    {
    }
    explicit operator bool() const { return row_.bytes() != nullptr; }

    /// The row that is `fromEnd` rows above the image's last one.
    const uint8_t *rowFromEnd(int fromEnd)
    {
        const int height = pattern_.height(), inTile = fromEnd % height;
        const bool isOddBand = fromEnd / height % 2 != 0;
        const int row = isOddBand && tiling_ == kMirror ? inTile : height - inTile - 1;
        lay(row, isOddBand && tiling_ == kBrick ? static_cast<std::size_t>(pattern_.width()) / 2 : 0);
        return row_.bytes();
    }

private:
    /// The first tile or two, and then all that is there over and over.
    void lay(int row, std::size_t shift)
    {
        const auto width = static_cast<std::size_t>(pattern_.width());
        const std::size_t pixel = pattern_.pixelBytes();
        uint8_t *const to = row_.bytes();
        const std::size_t ahead = std::min(width - shift, columns_),
                          behind = std::min(shift, columns_ - ahead);
        pattern_.copy(to, row, shift, ahead);
        pattern_.copy(to + pixel * ahead, row, 0, behind);
        std::size_t done = ahead + behind;
        if (tiling_ == kMirror)
            for (; done < columns_ && done < 2 * width; ++done)
                std::memcpy(to + pixel * done, to + pixel * (2 * width - 1 - done), pixel);
        repeatBytes(to, pixel * done, pixel * columns_);
    }

    const Pattern &pattern_;
    int tiling_;
    std::size_t columns_;
    ScratchBlock row_;
};

/// Moves bytes towards those of the pattern, past them or away from them, for any percentage. The bytes are cut and not
/// held: hosts rely on it.
class Mix {
public:
    explicit Mix(int percent)
    {
        for (int distance = 0; distance < 256; ++distance)
            step_[static_cast<std::size_t>(distance)] =
                static_cast<uint8_t>((int64_t{distance} * percent + 50) / 100);
    }
    void row(uint8_t *to, const uint8_t *from, const uint8_t *tiles, std::size_t bytes) const
    {
        for (std::size_t i = 0; i < bytes; ++i) {
            const int distance = tiles[i] - from[i];
            const uint8_t step = step_[static_cast<std::size_t>(distance < 0 ? -distance : distance)];
            to[i] = static_cast<uint8_t>(distance > 0 ? from[i] + step : from[i] - step);
        }
    }

private:
    std::array<uint8_t, 256> step_;
};

/// A result of the image's shape. 256 colours are carried over at 8 bits, however many there are: where there are less
/// they reach into the rows, and what they bring into the padding stays.
ResultPlan planFill(const Dib &source)
{
    ResultPlan plan = planOnSamples(source);
    plan.headerBytes = source.bitCount() == 24 ? kHeaderBytes : kGrayPixelOffset;
    return plan;
}

/// Fills the rows: fill(to, from, tiles).
template <typename Fill>
void fillRows(EffectFrame &frame, Tiles &tiles, Fill fill)
{
    const Dib &source = frame.source();
    for (const int y : frame.rows()) {
        fill(frame.result().row(y), source.row(y), tiles.rowFromEnd(source.height() - 1 - y));
        frame.clearPadding(y);
    }
}

void pressIn(EffectFrame &frame, Tiles &tiles, int percent)
{
    const Relief relief(percent, samplesPerPixel(frame.source()));
    const auto pixels = static_cast<std::size_t>(frame.source().width());
    fillRows(frame, tiles, [&](uint8_t *to, const uint8_t *from, const uint8_t *tileRow) {
        relief.row(to, from, tileRow, pixels);
    });
}

void mixIn(EffectFrame &frame, Tiles &tiles, int percent)
{
    const std::size_t bytes = sampleBytes(frame.source());
    const PatternRow row = patternKernels().mix;
    const Mix mix(percent);
    fillRows(frame, tiles, [&](uint8_t *to, const uint8_t *from, const uint8_t *tileRow) {
        if (isShortPercent(percent))
            row(to, from, tileRow, bytes, percent);
        else
            mix.row(to, from, tileRow, bytes);
    });
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessFillPattern(void *dib, void *pattern, int tiling, int percent, int relief)
{
    EffectFrame frame(dib);
    if (!frame.serves({8, 24}))
        return nullptr;
    const Dib &source = frame.source();
    {
        const Pattern picture(pattern, source);
        const ResultPlan plan = planFill(source);
        if (!picture || !frame.allocate(plan))
            return nullptr;
        Tiles tiles(picture, tiling, source.width());
        if (!tiles)
            return frame.giveUp();
        frame.open(plan.headerBytes);
        if (relief != 0)
            pressIn(frame, tiles, percent);
        else
            mixIn(frame, tiles, percent);
    }
    return frame.finish();
}
