#pragma once

/// \file
/// The bits of one row of a bit mask, the leftmost highest.

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace velmont {

/// Bits of a row before `width`; all others count as clear, whatever the block holds there.
class MaskRow {
public:
    MaskRow() = default;
    MaskRow(const uint8_t *bytes, int64_t width) : bytes_(bytes), width_(width) {}

    /// The 32 bits from column `first` on, which may lie anywhere, the leftmost highest.
    uint32_t window(int64_t first) const
    {
        if (first <= -32 || first >= width_)
            return 0;
        const int64_t firstByte = first >> 3, end = (width_ + 7) / 8;
        uint64_t bits = 0;
        for (int64_t i = firstByte; i < firstByte + 5; ++i)
            bits = bits << 8 | (i >= 0 && i < end ? bytes_[i] : 0u);
        const auto window = static_cast<uint32_t>(bits >> (8 - (first & 7)));
        const int64_t beyond = first + 32 - width_;
        return beyond > 0 ? window & ~uint32_t{0} << beyond : window;
    }

    /// The column of the first set bit; -1 where there is none.
    int64_t firstSet() const
    {
        const int64_t bytes = (width_ + 7) / 8;
        int64_t i = 0;
        for (uint64_t word; i + 8 <= bytes; i += 8) {
            std::memcpy(&word, bytes_ + i, sizeof word);
            if (word != 0)
                break;
        }
        while (i < bytes && bytes_[i] == 0)
            ++i;
        const int64_t column = i < bytes ? 8 * i + std::countl_zero(bytes_[i]) : width_;
        return column < width_ ? column : -1;
    }
    /// The column of the last set bit; -1 where there is none.
    int64_t lastSet() const
    {
        for (int64_t first = (width_ - 1) & ~int64_t{31}; first >= 0; first -= 32)
            if (const uint32_t bits = window(first); bits != 0)
                return first + 31 - std::countr_zero(bits);
        return -1;
    }

private:
    const uint8_t *bytes_ = nullptr;
    int64_t width_ = 0;
};

/// Stores 32 bits as a mask's row has them.
inline void storeWindow(uint8_t *to, uint32_t window)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        *to++ = static_cast<uint8_t>(window >> shift);
}

/// Sets the bits of columns `first` to `last`.
inline void setBits(uint8_t *row, int64_t first, int64_t last)
{
    const auto ahead = static_cast<uint8_t>(0xFF >> (first & 7)),
               behind = static_cast<uint8_t>(0xFF << (7 - (last & 7)));
    uint8_t *const begin = row + first / 8, *const end = row + last / 8;
    if (begin == end) {
        *begin = static_cast<uint8_t>(*begin | (ahead & behind));
        return;
    }
    *begin = static_cast<uint8_t>(*begin | ahead);
    std::memset(begin + 1, 0xFF, static_cast<std::size_t>(end - begin - 1));
    *end = static_cast<uint8_t>(*end | behind);
}

/// The first column from `begin` on, and before `end`, whose bit is not `value`; `end` where there is none.
inline int64_t endOfRun(const uint8_t *row, int64_t begin, int64_t end, bool value)
{
    const auto whole = static_cast<uint8_t>(value ? 0xFF : 0x00);
    const uint64_t wholeWord = value ? ~uint64_t{0} : 0;
    int64_t x = begin;
    while (x < end) {
        const auto others = static_cast<uint8_t>((row[x / 8] ^ whole) << x % 8);
        if (others != 0)
            return std::min(end, x + std::countl_zero(others));
        x += 8 - x % 8;
        for (uint64_t word; x + 64 <= end; x += 64) {
            std::memcpy(&word, row + x / 8, sizeof word);
            if (word != wholeWord)
                break;
        }
    }
    return end;
}

/// Hands out the columns from `begin` up to `end` of a mask's row in runs of equal bits: use(first, end, isSet).
template <typename Use>
void forMaskRuns(const uint8_t *row, int64_t begin, int64_t end, Use use)
{
    while (begin < end) {
        const bool isSet = (row[begin / 8] & 0x80 >> begin % 8) != 0;
        const int64_t runEnd = endOfRun(row, begin, end, isSet);
        use(begin, runEnd, isSet);
        begin = runEnd;
    }
}

} // namespace velmont
