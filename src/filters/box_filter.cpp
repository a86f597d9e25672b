#include "filters/box_filter.h"
#include <bit>
#include <cstring>

namespace velmont {

// The factor is at least 2^15 and its excess below 1, which a sum below 256 * divisor keeps from reaching a whole.
NarrowBoxRounding::NarrowBoxRounding(int64_t divisor) : half(static_cast<uint16_t>(divisor / 2))
{
    const auto wide = static_cast<uint64_t>(divisor);
    const int bits = std::bit_width(wide - 1);
    before = 8 - bits;
    factor = static_cast<uint16_t>(((uint64_t{1} << (15 + bits)) + wide - 1) / wide);
}

void boxRow(uint8_t *__restrict to, const uint8_t *__restrict from, int width, int channels, int64_t size,
            const BoxRounding &rounding)
{
    const BoxRounding mean = rounding;
    const auto emit = [=](std::size_t i, uint64_t sum) { to[i] = mean(sum); };
    if (channels == 3)
        slidingBoxPass<3>(from, width, size, emit);
    else
        slidingBoxPass<1>(from, width, size, emit);
}

namespace {

/// Rows of which the samples are still to leave the window when they have been written over.
int64_t keptRows(int height, int64_t size)
{
    return std::min<int64_t>(size / 2 + 1, height);
}

template <typename Sum>
void slide(Sum *__restrict sums, const uint8_t *__restrict enter, const uint8_t *__restrict leave,
           std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        sums[i] = static_cast<Sum>(sums[i] + enter[i] - leave[i]);
}

template <typename Sum, typename Rounding>
void emitRow(uint8_t *__restrict to, const Sum *__restrict sums, std::size_t bytes, const Rounding &rounding)
{
    const Rounding mean = rounding;
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = mean(sums[i]);
}

template <typename Sum, typename Rounding>
void emitMixedRow(uint8_t *__restrict to, const Sum *__restrict sums, const uint8_t *__restrict other,
                  Sum weight, std::size_t bytes, const Rounding &rounding)
{
    const Rounding mean = rounding;
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = mean(static_cast<Sum>(sums[i] + static_cast<Sum>(weight * other[i])));
}

/// SlidingBoxPass down all columns at once: a sum for each byte of a row.
template <typename Sum, typename Rounding>
void slideDown(const ColumnStrip &strip, int64_t size, const BoxMix &mix, const Rounding &rounding, Sum *sums,
               uint8_t *kept)
{
    const int64_t half = size / 2, rowsKept = keptRows(strip.height, size), last = strip.height - 1;
    for (std::size_t i = 0; i < strip.bytes; ++i)
        sums[i] = static_cast<Sum>(static_cast<Sum>(half) * strip.row(0)[i]);
    const int64_t ahead = size - half;
    for (int64_t y = 0; y < std::min(ahead, last + 1); ++y)
        for (std::size_t i = 0; i < strip.bytes; ++i)
            sums[i] = static_cast<Sum>(sums[i] + strip.row(y)[i]);
    if (ahead > last + 1)
        for (std::size_t i = 0; i < strip.bytes; ++i)
            sums[i] = static_cast<Sum>(sums[i] + static_cast<Sum>(ahead - last - 1) * strip.row(last)[i]);

    const auto keptRow = [&](int64_t y) {
        return kept + static_cast<std::size_t>(y % rowsKept) * strip.bytes;
    };
    for (int64_t y = 0; y <= last; ++y) {
        std::memcpy(keptRow(y), strip.row(y), strip.bytes);
        if (mix.weight == 0)
            emitRow(strip.row(y), sums, strip.bytes, rounding);
        else
            emitMixedRow(strip.row(y), sums, mix.top + strip.stride * static_cast<std::size_t>(y),
                         static_cast<Sum>(mix.weight), strip.bytes, rounding);
        if (y < last)
            slide(sums, strip.row(std::min(y - half + size, last)), keptRow(std::max<int64_t>(y - half, 0)),
                  strip.bytes);
    }
}

} // namespace

std::size_t boxColumnsScratch(int height, int64_t size, std::size_t stripBytes)
{
    return stripBytes * (sizeof(uint64_t) + static_cast<std::size_t>(keptRows(height, size)));
}

void boxColumns(const ColumnStrip &strip, int64_t size, const BoxMix &mix, uint8_t *scratch)
{
    const int64_t divisor = size + mix.weight;
    uint8_t *const kept = scratch + strip.bytes * sizeof(uint64_t);
    if (divisor <= NarrowBoxRounding::kLargestDivisor)
        slideDown(strip, size, mix, NarrowBoxRounding(divisor), reinterpret_cast<uint16_t *>(scratch), kept);
    else
        slideDown(strip, size, mix, BoxRounding(divisor), reinterpret_cast<uint64_t *>(scratch), kept);
}

} // namespace velmont
