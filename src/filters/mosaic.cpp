#include "filters/sample_frame.h"
#include <algorithm>
#include <cstring>
#include <numeric>
#include <velmont/filters.h>

namespace velmont {

namespace {

/// Columns of samples that are summed together: long runs of each row, whose sums stay in the first cache.
constexpr std::size_t kStrip = 3 * 1024;
/// Rows whose sum fits 16 bits.
constexpr int kRowsInNarrowSums = 257;

/// to[i] += from[i]
void addRow(uint16_t *__restrict to, const uint8_t *__restrict from, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = static_cast<uint16_t>(to[i] + from[i]);
}

/// The tiles of one row of tiles, from the left: their sums, and the row that their means make up.
template <std::size_t channels>
class TileMeans {
public:
    TileMeans(uint8_t *row, std::size_t pixels, std::size_t cellWidth, std::size_t cellHeight)
        : to_(row), pixelsLeft_(pixels), cellWidth_(cellWidth), cellHeight_(cellHeight)
    {
        startTile();
    }

    /// Takes the sums of the next columns.
    template <typename Sum>
    void take(const Sum *sums, std::size_t pixels)
    {
        while (pixels > 0) {
            const std::size_t count = std::min(pixels, columnsLeft_);
            takeColumns(sums, count);
            sums += channels * count;
            pixels -= count;
            columnsLeft_ -= count;
            if (columnsLeft_ == 0)
                endTile();
        }
    }

private:
    template <typename Sum>
    void takeColumns(const Sum *sums, std::size_t count)
    {
        uint64_t tile[channels];
        std::copy_n(sum_, channels, tile);
        for (std::size_t x = 0; x < count; ++x)
            for (std::size_t channel = 0; channel < channels; ++channel)
                tile[channel] += sums[channels * x + channel];
        std::copy_n(tile, channels, sum_);
    }
    void startTile()
    {
        columns_ = columnsLeft_ = std::min(cellWidth_, pixelsLeft_);
        std::fill_n(sum_, channels, uint64_t{0});
    }
    void endTile()
    {
        uint8_t mean[channels];
        for (std::size_t channel = 0; channel < channels; ++channel)
            mean[channel] = static_cast<uint8_t>(sum_[channel] / (columns_ * cellHeight_));
        for (std::size_t x = 0; x < columns_; ++x)
            for (std::size_t channel = 0; channel < channels; ++channel)
                *to_++ = mean[channel];
        pixelsLeft_ -= columns_;
        startTile();
    }

    uint8_t *to_;
    std::size_t pixelsLeft_, cellWidth_, cellHeight_;
    std::size_t columns_, columnsLeft_; ///< of the tile
    uint64_t sum_[channels];
};

/// The columns of a strip, from row `first` up to row `end`, summed and handed to the tiles.
template <std::size_t channels>
void sumStrip(TileMeans<channels> &tiles, const Dib &source, int first, int end, std::size_t start,
              std::size_t bytes)
{
    uint16_t narrow[kStrip];
    uint64_t wide[kStrip];
    const bool isNarrow = end - first <= kRowsInNarrowSums;
    if (!isNarrow)
        std::fill_n(wide, bytes, uint64_t{0});
    for (int64_t y = first; y < end; y += kRowsInNarrowSums) {
        std::fill_n(narrow, bytes, uint16_t{0});
        const auto bandEnd = static_cast<int>(std::min<int64_t>(y + kRowsInNarrowSums, end));
        for (int row = static_cast<int>(y); row < bandEnd; ++row)
            addRow(narrow, source.row(row) + start, bytes);
        for (std::size_t i = 0; i < bytes && !isNarrow; ++i)
            wide[i] += narrow[i];
    }
    if (isNarrow)
        tiles.take(narrow, bytes / channels);
    else
        tiles.take(wide, bytes / channels);
}

/// The row of tiles from row `first` up to row `end`.
template <std::size_t channels>
void tileRow(EffectFrame &frame, int cellWidth, int first, int end, ByteRow copy)
{
    const Dib &source = frame.source();
    Dib &result = frame.result();
    const std::size_t rowBytes = sampleBytes(source);
    TileMeans<channels> tiles(result.row(first), static_cast<std::size_t>(source.width()),
                              static_cast<std::size_t>(cellWidth), static_cast<std::size_t>(end - first));
    for (std::size_t start = 0; start < rowBytes; start += kStrip)
        sumStrip(tiles, source, first, end, start, std::min(kStrip, rowBytes - start));
    frame.clearPadding(first);
    for (int y = first + 1; y < end; ++y) {
        copy(result.row(y), result.row(first), rowBytes);
        frame.clearPadding(y);
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessMosaic(void *dib, tagParamMosaic *param)
{
    if (!param)
        return nullptr;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    const int cellWidth = std::min(param->cellWidth, source.width());
    const int cellHeight = std::min(param->cellHeight, source.height());
    if (cellWidth < 1 || cellHeight < 1)
        return nullptr;
    if (!frame.begin(planWithColors(source)))
        return nullptr;
    const ByteRow copy = copyRow(frame.stores());
    const auto paint = source.bitCount() == 24 ? tileRow<3> : tileRow<1>;
    // Hosts see a poll at each row of tiles, and a report where such a row starts on a sixteenth row.
    const auto reportEvery = std::min<int64_t>(std::lcm(int64_t{16}, int64_t{cellHeight}), INT32_MAX);
    for (int y : frame.rows({.pollEvery = cellHeight, .reportEvery = static_cast<int>(reportEvery)}))
        if (y % cellHeight == 0)
            paint(frame, cellWidth, y, y + std::min(cellHeight, source.height() - y), copy);
    return frame.finish();
}
