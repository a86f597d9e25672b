#pragma once

/// \file
/// The box filter: means over windows that slide along lines, at a cost that does not grow with the window.
///
/// The window of `size` samples starts size / 2 samples before the position of its mean, so that an even one
/// reaches further back than forward; hosts rely on the lean. What lies outside the line is its nearest sample.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace velmont {

/// Sums of `divisor` samples to their mean, halves rounded up: (sum + divisor / 2) / divisor without a division.
class BoxRounding {
public:
    explicit BoxRounding(int64_t divisor)
        : divisor_(static_cast<uint64_t>(divisor)), half_(divisor_ / 2),
          factor_(divisor_ <= kLargestExact ? (uint64_t{1} << kShift) / divisor_ + 1 : 0)
    {
    }
    /// `sum` up to 255 * divisor.
    uint8_t operator()(uint64_t sum) const
    {
        return static_cast<uint8_t>(factor_ != 0 ? (sum + half_) * factor_ >> kShift
                                                 : (sum + half_) / divisor_);
    }

private:
    // The factor is too large by less than 1, which a sum below 256 * divisor makes less than one part in
    // 2^40 / divisor of the whole up to this divisor.
    static constexpr uint64_t kLargestExact = 65535;
    static constexpr int kShift = 40;

    uint64_t divisor_, half_, factor_;
};

/// The same in 16 bits, for divisors up to 128.
struct NarrowBoxRounding {
    static constexpr int64_t kLargestDivisor = 128;

    uint16_t half, factor;
    int before; ///< the shift before the product

    explicit NarrowBoxRounding(int64_t divisor);
    // Never a function of its own: sources for an instruction set use it in their loops.
    [[gnu::always_inline]] uint8_t operator()(uint16_t sum) const
    {
        const auto shifted = static_cast<uint16_t>((sum + half) << before);
        return static_cast<uint8_t>(static_cast<uint16_t>(uint32_t{shifted} * factor >> 16) >> 7);
    }
};

/// The same in 32 bits, for divisors up to 65535.
struct MiddleBoxRounding {
    static constexpr int64_t kLargestDivisor = 65535;

    uint32_t half, factor;
    unsigned shift;

    explicit MiddleBoxRounding(int64_t divisor);
    // Never a function of its own, as above.
    [[gnu::always_inline]] uint8_t operator()(uint32_t sum) const
    {
        return static_cast<uint8_t>(uint64_t{sum + half} * factor >> shift);
    }
};

/// What is in the window before the first sample of a line: add(position, times) for samples of the line.
template <typename Add>
void addFirstBox(int length, int64_t size, Add add)
{
    const int64_t ahead = size - size / 2;
    add(0, size / 2);
    for (int i = 0; i < std::min<int64_t>(ahead, length); ++i)
        add(i, 1);
    if (ahead > length)
        add(length - 1, ahead - length);
}

/// A sum over that window, sample(position) as Sum.
template <typename Sum, typename Sample>
Sum firstBoxSum(int length, int64_t size, Sample sample)
{
    Sum sum = 0;
    addFirstBox(length, size, [&](int position, int64_t times) {
        sum = static_cast<Sum>(sum + static_cast<Sum>(times) * sample(position));
    });
    return sum;
}

/// SlidingBoxPass over the interleaved channels of one line: emit(i, sum) gets the window's sum for each byte of
/// it, in order. Exact for any size.
template <int channels, typename Emit>
void slidingBoxPass(const uint8_t *line, int length, int64_t size, Emit emit)
{
    const int64_t half = size / 2;
    uint64_t sums[channels];
    for (int channel = 0; channel < channels; ++channel)
        sums[channel] = firstBoxSum<uint64_t>(
            length, size, [&](int i) -> uint64_t { return line[std::ptrdiff_t{i} * channels + channel]; });
    const auto run = [&](int64_t from, int64_t to, auto enterAt, auto leaveAt) {
        for (int64_t p = from; p < to; ++p) {
            const uint8_t *const enter = line + enterAt(p) * channels;
            const uint8_t *const leave = line + leaveAt(p) * channels;
            for (int channel = 0; channel < channels; ++channel) {
                emit(static_cast<std::size_t>(p * channels + channel), sums[channel]);
                sums[channel] += uint64_t{enter[channel]} - leave[channel];
            }
        }
    };
    const int64_t last = length - 1;
    // Up to here the first sample leaves, and from here on the last one enters.
    const int64_t firstLeaves = std::min<int64_t>(half, length);
    const int64_t lastEnters = std::clamp<int64_t>(length - (size - half), firstLeaves, length);
    const auto next = [=](int64_t p) { return p - half + size; };
    const auto nextOrLast = [=](int64_t p) { return std::min(p - half + size, last); };
    run(0, firstLeaves, nextOrLast, [](int64_t) { return int64_t{0}; });
    run(firstLeaves, lastEnters, next, [=](int64_t p) { return p - half; });
    run(
        lastEnters, length, [=](int64_t) { return last; }, [=](int64_t p) { return p - half; });
}

/// Means along one row of 1 or 3 channels.
void boxRow(uint8_t *to, const uint8_t *from, int width, int channels, int64_t size,
            const BoxRounding &rounding);

/// Neighbouring columns of a picture, worked on together: `bytes` bytes of each of its rows.
struct ColumnStrip {
    uint8_t *top;
    std::size_t stride;
    int height;
    std::size_t bytes;

    uint8_t *row(int64_t y) const { return top + stride * static_cast<std::size_t>(y); }
};

/// What box columns are mixed with: `weight` times the picture that starts at `top`, with the strip's stride.
struct BoxMix {
    int64_t weight = 0;
    const uint8_t *top = nullptr; ///< not looked at where the weight is 0
};

/// Scratch bytes that boxColumns needs.
std::size_t boxColumnsScratch(int height, int64_t size, std::size_t stripBytes);
/// What a caller does with row y of a strip as soon as its means are there; they are not read again.
using RowDone = std::function<void(int64_t y)>;
/// Means along the columns of a strip, in place: the rounded mean of `size` samples and of `mix.weight` times
/// the other picture's one.
void boxColumns(const ColumnStrip &strip, int64_t size, const BoxMix &mix, uint8_t *scratch,
                const RowDone &rowDone = {});

} // namespace velmont
