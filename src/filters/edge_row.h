#pragma once

/// \file
/// Rows that go on beyond the picture. Internal linkage, and nothing from elsewhere: sources compiled for an
/// instruction set use it too.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace velmont {

namespace {

/// `count` bytes of a row of `rowBytes` from `first` on, which may lie outside the row; there its end pixels repeat.
/// All are whole pixels of `channels` bytes.
[[maybe_unused]] inline void copyWithEdges(uint8_t *to, const uint8_t *row, std::size_t rowBytes,
                                           std::size_t channels, std::ptrdiff_t first, std::size_t count)
{
    const uint8_t *const last = row + rowBytes - channels;
    const auto bytes = static_cast<std::ptrdiff_t>(rowBytes), wanted = static_cast<std::ptrdiff_t>(count);
    const auto repeat = [&](std::ptrdiff_t from, std::ptrdiff_t end, const uint8_t *pixel) {
        for (std::ptrdiff_t at = from; at < end; ++at)
            to[at] = pixel[static_cast<std::size_t>(at - from) % channels];
    };
    const std::ptrdiff_t start = first >= 0 ? 0 : -first < wanted ? -first : wanted;
    const std::ptrdiff_t rest = bytes - first < wanted ? bytes - first : wanted;
    const std::ptrdiff_t end = rest > start ? rest : start;
    repeat(0, start, row);
    if (end > start)
        std::memcpy(to + start, row + first + start, static_cast<std::size_t>(end - start));
    repeat(end, wanted, last);
}

} // namespace

} // namespace velmont
