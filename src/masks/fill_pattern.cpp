#include "core/locked_dib.h"
#include "core/owned_block.h"
#include "core/scratch_block.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <velmont/masks.h>

namespace velmont {

namespace {

constexpr int kBrick = 1, kMirror = 2;

/// The picture that the tiles are made of: the host's pattern, or a conversion of it, which is freed at the end.
class Pattern {
public:
    Pattern(void *given, const Dib &image)
        : channels_(samplesPerPixel(image)), converted_(convert(given, image)),
          picture_(isConverted_ ? converted_.get() : given)
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
    /// both were of one depth and it was converted all the same: hosts rely on it. What lies behind the block is 0.
    void copy(uint8_t *to, int row, std::size_t firstColumn, std::size_t columns) const
    {
        const Dib &picture = *picture_;
        const uint64_t stride = strideOf(8 * int64_t{picture.width()}, static_cast<int64_t>(channels_));
        const uint64_t start =
            picture.layout().pixelOffset + stride * static_cast<uint64_t>(row) + channels_ * firstColumn;
        const std::size_t wanted = channels_ * columns;
        const std::size_t there =
            start < picture.blockBytes() ? std::min<std::size_t>(wanted, picture.blockBytes() - start) : 0;
        if (there > 0)
            std::memcpy(to, picture.block() + start, there);
        std::memset(to + there, 0, wanted - there);
    }

private:
    /// To the other depth than its own where depth or biClrUsed differ from the image's, even if that makes the depths
    /// differ: hosts rely on it.
    void *convert(void *given, const Dib &image)
    {
        const LockedDib pattern(given);
        isConverted_ = pattern && (pattern->bitCount() != image.bitCount() ||
                                   pattern->header().biClrUsed != image.header().biClrUsed);
        if (!isConverted_ || (pattern->bitCount() != 8 && pattern->bitCount() != 24))
            return nullptr;
        return pattern->bitCount() == 24 ? ProcessConvertToGrayScale(given)
                                         : ProcessConvertTo24BitColor(given);
    }

    std::size_t channels_;
    bool isConverted_ = false;
    OwnedBlock converted_;
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
        for (; done < columns_; done *= 2)
            std::memcpy(to + pixel * done, to, pixel * std::min(done, columns_ - done));
    }

    const Pattern &pattern_;
    int tiling_;
    std::size_t columns_;
    ScratchBlock row_;
};

uint8_t heldToByte(int value)
{
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

/// Adds what the pattern lies below the middle.
class Relief {
public:
    explicit Relief(int percent)
    {
        for (int level = 0; level < 256; ++level) {
            const int64_t height = int64_t{128 - level} * percent / 100;
            // More than this is cut from any byte.
            height_[static_cast<std::size_t>(level)] =
                static_cast<int16_t>(std::clamp<int64_t>(height, -255, 255));
        }
    }
    void row8(uint8_t *to, const uint8_t *from, const uint8_t *tiles, std::size_t pixels) const
    {
        for (std::size_t x = 0; x < pixels; ++x)
            to[x] = heldToByte(from[x] + height_[tiles[x]]);
    }
    void row24(uint8_t *to, const uint8_t *from, const uint8_t *tiles, std::size_t pixels) const
    {
        for (std::size_t i = 0; i < 3 * pixels; i += 3) {
            const int height = height_[static_cast<std::size_t>(tiles[i] + tiles[i + 1] + tiles[i + 2]) / 3];
            for (std::size_t channel = i; channel < i + 3; ++channel)
                to[channel] = heldToByte(from[channel] + height);
        }
    }

private:
    std::array<int16_t, 256> height_;
};

/// Moves bytes towards those of the pattern.
class Mix {
public:
    explicit Mix(int percent) : percent_(percent)
    {
        for (int distance = 0; distance < 256; ++distance)
            step_[static_cast<std::size_t>(distance)] =
                static_cast<uint8_t>((int64_t{distance} * percent + 50) / 100);
    }
    void row(uint8_t *to, const uint8_t *from, const uint8_t *tiles, std::size_t bytes) const
    {
        if (percent_ >= 0 && percent_ <= 100)
            between(to, from, tiles, bytes);
        else
            beyond(to, from, tiles, bytes);
    }

private:
    /// Without a table, so that it can be vectorised.
    void between(uint8_t *__restrict to, const uint8_t *__restrict from, const uint8_t *__restrict tiles,
                 std::size_t bytes) const
    {
        const auto percent = static_cast<uint16_t>(percent_);
        for (std::size_t i = 0; i < bytes; ++i) {
            const uint8_t least = std::min(from[i], tiles[i]), most = std::max(from[i], tiles[i]);
            const auto hundredths = static_cast<uint16_t>((most - least) * percent + 50);
            const auto step = static_cast<uint8_t>(static_cast<uint16_t>(hundredths / 100));
            to[i] = static_cast<uint8_t>(from[i] < tiles[i] ? from[i] + step : from[i] - step);
        }
    }
    /// Past the pattern or away from it; the bytes are cut and not held: hosts rely on it.
    void beyond(uint8_t *to, const uint8_t *from, const uint8_t *tiles, std::size_t bytes) const
    {
        for (std::size_t i = 0; i < bytes; ++i) {
            const int distance = tiles[i] - from[i];
            const uint8_t step = step_[static_cast<std::size_t>(distance < 0 ? -distance : distance)];
            to[i] = static_cast<uint8_t>(distance > 0 ? from[i] + step : from[i] - step);
        }
    }

    int percent_;
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

void fillRows(EffectFrame &frame, Tiles &tiles, int percent, int relief)
{
    const Dib &source = frame.source();
    const auto width = static_cast<std::size_t>(source.width());
    const Relief reliefOf(percent);
    const Mix mix(percent);
    for (const int y : frame.rows()) {
        const uint8_t *const from = source.row(y), *const tileRow = tiles.rowFromEnd(source.height() - 1 - y);
        uint8_t *const to = frame.result().row(y);
        if (relief == 0)
            mix.row(to, from, tileRow, sampleBytes(source));
        else if (source.bitCount() == 24)
            reliefOf.row24(to, from, tileRow, width);
        else
            reliefOf.row8(to, from, tileRow, width);
        frame.clearPadding(y);
    }
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
        fillRows(frame, tiles, percent, relief);
    }
    return frame.finish();
}
