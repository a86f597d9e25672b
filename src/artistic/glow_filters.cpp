#include "artistic/glow_filters.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace velmont {

void squaredGradients(uint32_t *__restrict to, const uint8_t *__restrict above,
                      const uint8_t *__restrict current, const uint8_t *__restrict below, std::size_t count,
                      std::size_t channels)
{
    const std::size_t middle = channels, right = 2 * channels;
    for (std::size_t i = 0; i < count; ++i) {
        const auto across = static_cast<int16_t>(above[i + right] + 2 * current[i + right] +
                                                 below[i + right] - above[i] - 2 * current[i] - below[i]);
        const auto along = static_cast<int16_t>(below[i] + 2 * below[i + middle] + below[i + right] -
                                                above[i] - 2 * above[i + middle] - above[i + right]);
        to[i] = static_cast<uint32_t>(along * along + across * across);
    }
}

namespace {

/// Exchanges two samples that are not in rising order.
inline void order(uint8_t &low, uint8_t &high)
{
    const uint8_t least = std::min(low, high);
    high = std::max(low, high);
    low = least;
}

inline uint8_t middleOf(uint8_t a, uint8_t b, uint8_t c)
{
    return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

/// The medians of whole windows: to[i] is that of the columns i, i + channels and i + 2 * channels.
void wholeMedians(uint8_t *__restrict to, const uint8_t *__restrict above, const uint8_t *__restrict current,
                  const uint8_t *__restrict below, std::size_t count, std::size_t channels)
{
    for (std::size_t i = 0; i < count; ++i) {
        uint8_t low[3], middle[3], high[3];
        for (std::size_t column = 0; column < 3; ++column) {
            const std::size_t at = i + column * channels;
            uint8_t a = above[at], b = current[at], c = below[at];
            order(a, b);
            order(b, c);
            order(a, b);
            low[column] = a;
            middle[column] = b;
            high[column] = c;
        }
        // The median is the one between the largest of the least, the middle of the middle and the least of the largest.
        to[i] = middleOf(std::max({low[0], low[1], low[2]}), middleOf(middle[0], middle[1], middle[2]),
                         std::min({high[0], high[1], high[2]}));
    }
}

/// The upper median of sample i and those of its window, from column `first` to `last`.
uint8_t medianOf(const LevelRows &rows, std::size_t first, std::size_t last, std::size_t channels,
                 std::size_t channel)
{
    std::array<uint8_t, 9> samples;
    std::size_t count = 0;
    for (const uint8_t *const row : {rows.above, rows.current, rows.below})
        for (std::size_t x = first; row && x <= last; ++x)
            samples[count++] = row[x * channels + channel];
    const auto wanted = samples.begin() + static_cast<std::ptrdiff_t>(count / 2);
    std::nth_element(samples.begin(), wanted, samples.begin() + static_cast<std::ptrdiff_t>(count),
                     std::greater<>());
    return *wanted;
}

void maxRow(uint8_t *__restrict to, const uint8_t *__restrict a, const uint8_t *__restrict b,
            std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = std::max(a[i], b[i]);
}

void maxInto(uint8_t *__restrict to, const uint8_t *__restrict other, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = std::max(to[i], other[i]);
}

/// Columns to either side that matter: all of the row at most.
std::size_t reachOf(const DilationShape &shape)
{
    return std::min(static_cast<std::size_t>(shape.radius), shape.width - 1);
}

std::size_t widenedBytes(const DilationShape &shape)
{
    return (shape.width + 2 * reachOf(shape)) * shape.channels;
}

/// The code of no sample at all, that of level 0.
constexpr uint8_t kNothing = 1;

} // namespace

void upperMedians(uint8_t *to, const LevelRows &rows, std::size_t width, std::size_t channels)
{
    if (width < 3)
        return static_cast<void>(std::memset(to, 0, width * channels));
    const bool isWhole = rows.above && rows.below;
    const auto take = [&](std::size_t x) {
        const std::size_t first = x == 0 ? 0 : x - 1;
        const std::size_t last = x == 0 ? 1 : std::max<std::size_t>(2, std::min(x + 1, width - 2));
        for (std::size_t channel = 0; channel < channels; ++channel)
            to[x * channels + channel] = medianOf(rows, first, last, channels, channel);
    };
    const std::size_t wholeEnd = isWhole && width > 3 ? width - 2 : 1;
    take(0);
    if (wholeEnd > 1)
        wholeMedians(to + channels, rows.above, rows.current, rows.below, (wholeEnd - 1) * channels,
                     channels);
    for (std::size_t x = wholeEnd; x < width; ++x)
        take(x);
}

uint64_t dilatedRowScratch(const DilationShape &shape)
{
    return shape.radius < 0 ? 0 : uint64_t{2} * widenedBytes(shape);
}

void dilateRow(uint8_t *to, const uint8_t *from, const DilationShape &shape, uint8_t *scratch)
{
    const std::size_t reach = reachOf(shape), channels = shape.channels, bytes = shape.width * channels;
    const std::size_t counted = shape.width - 1 <= 2 * reach ? bytes : bytes - channels;
    std::size_t left = widenedBytes(shape);
    uint8_t *samples = scratch, *doubled = scratch + left;
    std::memset(samples, 0, left);
    std::memcpy(samples + reach * channels, from, counted);
    // Windows of twice the size again and again, and at last two that overlap.
    const std::size_t size = 2 * reach + 1;
    std::size_t covered = 1;
    for (; 2 * covered <= size; covered *= 2) {
        left -= covered * channels;
        maxRow(doubled, samples, samples + covered * channels, left);
        std::swap(samples, doubled);
    }
    maxRow(to, samples, samples + (size - covered) * channels, bytes);
    if (reach == 0 && shape.width > 1)
        std::memset(to + counted, kNothing, channels);
}

uint64_t dilatedColumnsScratch(int height, int radius, std::size_t bytes)
{
    if (radius < 0)
        return 0;
    const int64_t rows = std::min<int64_t>(2 * int64_t{radius} + 1, height);
    return (2 * static_cast<uint64_t>(rows) + 2) * bytes;
}

void dilateColumns(const DilationRows &rows, int radius, uint8_t *scratch, const DilatedRow &done)
{
    // Windows cover the end of one block of as many rows and the start of the next: a window's largest code is that of
    // the end, kept for all ends of a block before rows of it are overwritten, and that of the start, which grows.
    const int64_t reach = std::min(radius, rows.height - 1), block = 2 * reach + 1;
    const std::size_t kept = static_cast<std::size_t>(std::min<int64_t>(block, rows.height));
    uint8_t *ends = scratch, *nextEnds = ends + kept * rows.bytes;
    uint8_t *const start = nextEnds + kept * rows.bytes, *const largest = start + rows.bytes;
    const auto endAt = [&](uint8_t *of, int64_t i) { return of + static_cast<std::size_t>(i) * rows.bytes; };
    const auto keepEnds = [&](uint8_t *of, int64_t first) {
        const int64_t count = std::min(block, rows.height - first);
        for (int64_t i = count - 1; i >= 0; --i)
            if (i == count - 1)
                std::memcpy(endAt(of, i), rows.row(first + i), rows.bytes);
            else
                maxRow(endAt(of, i), endAt(of, i + 1), rows.row(first + i), rows.bytes);
    };
    for (int64_t first = -block; first + reach < rows.height; first += block) {
        std::swap(ends, nextEnds);
        if (first + block < rows.height)
            keepEnds(nextEnds, first + block);
        for (int64_t i = first < 0 ? 1 : 0; i < block && first + i + reach < rows.height; ++i) {
            const int64_t y = first + i + reach, entering = y + reach;
            if (i == 1 && entering < rows.height)
                std::memcpy(start, rows.row(entering), rows.bytes);
            else if (i > 1 && entering < rows.height)
                maxInto(start, rows.row(entering), rows.bytes);
            if (y < 0)
                continue;
            const bool hasStart = i > 0 && first + block < rows.height;
            if (first >= 0 && hasStart)
                maxRow(largest, endAt(ends, i), start, rows.bytes);
            done(rows.row(y), first < 0 ? start : hasStart ? largest : endAt(ends, i));
        }
    }
}

} // namespace velmont
