#pragma once

/// \file
/// Counting how often each level occurs.

#include <array>
#include <cstddef>
#include <cstdint>

namespace velmont {

/// Counts of the 256 values of a byte.
using LevelCounts = std::array<uint64_t, 256>;

/// Counts bytes. Neighbours go to banks of their own, so that runs of one value do not wait for each other's
/// stores; 32 bits a bank are enough for the bytes of any image.
class ByteCounter {
public:
    void add(const uint8_t *bytes, std::size_t count);
    LevelCounts total() const;

private:
    static constexpr std::size_t kBanks = 8;
    uint32_t bank_[kBanks][256] = {};
};

/// Counts 24-bit pixels: the largest byte of each, and blue, green and red by themselves.
class PixelCounter {
public:
    void add(const uint8_t *pixels, std::size_t count);
    LevelCounts largest() const { return total(0); }
    /// Byte 0, 1 or 2 of the pixels.
    LevelCounts channel(int index) const { return total(1 + index); }

private:
    LevelCounts total(int kind) const;

    static constexpr std::size_t kBanks = 4;
    uint32_t bank_[kBanks][4][256] = {}; ///< by kind: the largest, blue, green, red
};

} // namespace velmont
