#pragma once

/// \file
/// The loops of the maximum and minimum filter, written for a compiler to turn into vectors; each source that
/// includes them compiles them for its instruction set. All of it has internal linkage and calls nothing outside.
///
/// The last sample of a line is never read: hosts rely on windows that end one sample before it. What a window
/// covers beyond that or before the line counts as the weakest value, 0 for a maximum and 255 for a minimum.

#include "filters/extreme_kernels.h"
#include <cstring>

namespace velmont::kernels {

namespace {

constexpr std::size_t kMostChannels = 3;
constexpr std::size_t kLargestWindow = 32;

template <bool isMax>
constexpr uint8_t stronger(uint8_t a, uint8_t b)
{
    if constexpr (isMax)
        return a > b ? a : b;
    else
        return a < b ? a : b;
}

template <bool isMax>
constexpr uint8_t kWeakest = isMax ? 0 : 255;

/// to[i] = the stronger of a[i] and b[i]
template <bool isMax>
inline void strongerOf(uint8_t *__restrict to, const uint8_t *a, const uint8_t *b, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = stronger<isMax>(a[i], b[i]);
}

/// `bytes` bytes of a line from `first` on, which may lie outside its `readable` bytes.
inline void gatherLine(uint8_t *to, const uint8_t *line, std::ptrdiff_t readable, std::ptrdiff_t first,
                       std::ptrdiff_t bytes, uint8_t outside)
{
    const std::ptrdiff_t start = first < 0 ? (-first < bytes ? -first : bytes) : 0;
    const std::ptrdiff_t rest = readable - first < bytes ? readable - first : bytes;
    const std::ptrdiff_t end = rest > start ? rest : start;
    std::memset(to, outside, static_cast<std::size_t>(start));
    if (end > start)
        std::memcpy(to + start, line + first + start, static_cast<std::size_t>(end - start));
    std::memset(to + end, outside, static_cast<std::size_t>(bytes - end));
}

/// Windows of 2, 4, 8 ... samples from those half as long; the last step overlaps two of them.
template <bool isMax>
void extremeRowOf(uint8_t *to, const uint8_t *from, std::size_t pixels, std::size_t channels, int size)
{
    constexpr std::size_t kChunk = 1536;
    alignas(64) uint8_t buffers[2][kChunk + kMostChannels * kLargestWindow];
    const std::size_t bytes = pixels * channels, width = static_cast<std::size_t>(size);
    const auto before = static_cast<std::ptrdiff_t>(width / 2 * channels);
    const auto readable = static_cast<std::ptrdiff_t>(bytes - channels);
    for (std::size_t start = 0; start < bytes; start += kChunk) {
        const std::size_t count = bytes - start < kChunk ? bytes - start : kChunk;
        std::size_t length = count + (width - 1) * channels;
        uint8_t *current = buffers[0], *next = buffers[1];
        gatherLine(current, from, readable, static_cast<std::ptrdiff_t>(start) - before,
                   static_cast<std::ptrdiff_t>(length), kWeakest<isMax>);
        std::size_t covered = 1;
        for (; 2 * covered <= width; covered *= 2) {
            length -= covered * channels;
            strongerOf<isMax>(next, current, current + covered * channels, length);
            uint8_t *const freed = current;
            current = next;
            next = freed;
        }
        strongerOf<isMax>(to + start, current, current + (width - covered) * channels, count);
    }
}

/// One output row of the columns: `held` is what the window has of its own block and takes the row that comes in,
/// `ahead` what it has of the next block.
template <bool isMax>
inline void extremeStep(uint8_t *__restrict to, uint8_t *__restrict held, uint8_t *__restrict ahead,
                        const uint8_t *__restrict coming, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i) {
        to[i] = stronger<isMax>(held[i], ahead[i]);
        ahead[i] = stronger<isMax>(ahead[i], coming[i]);
        held[i] = coming[i];
    }
}

/// Rows in blocks as long as the window, which then is the end of one block and the start of the next: three
/// comparisons a sample, whatever the size.
template <bool isMax>
void extremeColumnsOf(uint8_t *rows, std::size_t stride, int height, std::size_t bytes, int size)
{
    alignas(64) uint8_t held[kLargestWindow][kExtremeStrip];
    alignas(64) uint8_t ahead[kExtremeStrip], outside[kExtremeStrip];
    std::memset(outside, kWeakest<isMax>, bytes);
    const int half = size / 2;
    const auto rowAt = [&](int64_t y) {
        return y >= 0 && y < height - 1 ? rows + stride * static_cast<std::size_t>(y) : outside;
    };
    const auto holdEnds = [&] {
        for (int j = size - 2; j >= 0; --j)
            for (std::size_t i = 0; i < bytes; ++i)
                held[j][i] = stronger<isMax>(held[j][i], held[j + 1][i]);
    };
    for (int j = 0; j < size; ++j)
        std::memcpy(held[j], rowAt(j - half), bytes);
    for (int64_t y = 0; y < height;) {
        holdEnds();
        std::memset(ahead, kWeakest<isMax>, bytes);
        for (int j = 0; j < size && y < height; ++j, ++y)
            extremeStep<isMax>(rows + stride * static_cast<std::size_t>(y), held[j], ahead,
                               rowAt(y + size - half), bytes);
    }
}

inline void extremeRowRun(uint8_t *to, const uint8_t *from, std::size_t pixels, std::size_t channels,
                          ExtremeWindow window)
{
    if (window.isMax)
        extremeRowOf<true>(to, from, pixels, channels, window.size);
    else
        extremeRowOf<false>(to, from, pixels, channels, window.size);
}

inline void extremeColumnsRun(uint8_t *rows, std::size_t stride, int height, std::size_t bytes,
                              ExtremeWindow window)
{
    if (window.isMax)
        extremeColumnsOf<true>(rows, stride, height, bytes, window.size);
    else
        extremeColumnsOf<false>(rows, stride, height, bytes, window.size);
}

} // namespace

} // namespace velmont::kernels
