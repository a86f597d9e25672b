#include "tone/level_counts.h"
#include <algorithm>
#include <cstring>

namespace velmont {

void ByteCounter::add(const uint8_t *bytes, std::size_t count)
{
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        uint64_t word;
        std::memcpy(&word, bytes + i, sizeof word);
        for (std::size_t bank = 0; bank < kBanks; ++bank)
            ++bank_[bank][word >> (8 * bank) & 0xFF];
    }
    for (; i < count; ++i)
        ++bank_[0][bytes[i]];
}

LevelCounts ByteCounter::total() const
{
    LevelCounts counts{};
    for (const auto &bank : bank_)
        for (std::size_t level = 0; level < counts.size(); ++level)
            counts[level] += bank[level];
    return counts;
}

namespace {

/// largest[i] is the largest of three bytes from i on: at every third place the largest of a pixel.
void largestOfThree(uint8_t *__restrict largest, const uint8_t *__restrict bytes, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        const uint8_t pair = bytes[i] > bytes[i + 1] ? bytes[i] : bytes[i + 1];
        largest[i] = pair > bytes[i + 2] ? pair : bytes[i + 2];
    }
}

} // namespace

void PixelCounter::add(const uint8_t *pixels, std::size_t count)
{
    constexpr std::size_t kRun = 1024;
    uint8_t largest[3 * kRun];
    while (count > 0) {
        const std::size_t run = std::min(count, kRun);
        largestOfThree(largest, pixels, 3 * run - 2);
        std::size_t x = 0;
        for (; x + kBanks <= run; x += kBanks)
            for (std::size_t bank = 0; bank < kBanks; ++bank) {
                const std::size_t place = 3 * (x + bank);
                ++bank_[bank][0][largest[place]];
                ++bank_[bank][1][pixels[place]];
                ++bank_[bank][2][pixels[place + 1]];
                ++bank_[bank][3][pixels[place + 2]];
            }
        for (; x < run; ++x) {
            ++bank_[0][0][largest[3 * x]];
            for (std::size_t channel = 0; channel < 3; ++channel)
                ++bank_[0][1 + channel][pixels[3 * x + channel]];
        }
        pixels += 3 * run;
        count -= run;
    }
}

LevelCounts PixelCounter::total(int kind) const
{
    LevelCounts counts{};
    for (const auto &bank : bank_)
        for (std::size_t level = 0; level < counts.size(); ++level)
            counts[level] += bank[kind][level];
    return counts;
}

} // namespace velmont
