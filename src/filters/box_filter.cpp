#include "filters/box_filter.h"
#include "filters/box_kernels.h"
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

// The factor is too large by up to 1, so that a sum below 256 * divisor comes out too large by less than
// 256 * divisor / 2^shift: below 1 / divisor, which no fraction of it lacks to the next whole.
MiddleBoxRounding::MiddleBoxRounding(int64_t divisor) : half(static_cast<uint32_t>(divisor / 2))
{
    const auto wide = static_cast<uint64_t>(divisor);
    shift = static_cast<unsigned>(8 + 2 * std::bit_width(wide));
    factor = static_cast<uint32_t>((uint64_t{1} << shift) / wide + 1);
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

/// What becomes of one row: its means and, mixed with it or not, another picture's row; then the sums slide on.
struct WideRows {
    using Sum = uint64_t;
    BoxRounding rounding;

    void emit(uint8_t *__restrict to, Sum *__restrict sums, const uint8_t *enter, const uint8_t *leave,
              const uint8_t *__restrict other, int64_t weight, std::size_t bytes) const
    {
        const BoxRounding mean = rounding;
        for (std::size_t i = 0; i < bytes; ++i)
            to[i] = mean(weight == 0 ? sums[i] : sums[i] + static_cast<Sum>(weight) * other[i]);
        slide(sums, enter, leave, bytes);
    }
};
struct NarrowRows {
    using Sum = uint16_t;
    NarrowBoxRounding rounding;
    BoxKernels kernels = boxKernels();

    void emit(uint8_t *to, Sum *sums, const uint8_t *enter, const uint8_t *leave, const uint8_t *other,
              int64_t weight, std::size_t bytes) const
    {
        if (weight == 0)
            kernels.columns(to, sums, enter, leave, bytes, rounding);
        else
            kernels.mixed(to, sums, enter, leave, other, static_cast<Sum>(weight), bytes, rounding);
    }
};

struct MiddleRows {
    using Sum = uint32_t;
    MiddleBoxRounding rounding;
    BoxKernels kernels = boxKernels();

    void emit(uint8_t *to, Sum *sums, const uint8_t *enter, const uint8_t *leave, const uint8_t *other,
              int64_t weight, std::size_t bytes) const
    {
        kernels.middle(to, sums, enter, leave, other, static_cast<Sum>(weight), bytes, rounding);
    }
};

/// SlidingBoxPass down all columns at once: a sum for each byte of a row.
template <typename Rows>
void slideDown(const ColumnStrip &strip, int64_t size, const BoxMix &mix, const Rows &rows, uint8_t *scratch,
               uint8_t *kept, const RowDone &rowDone)
{
    using Sum = typename Rows::Sum;
    auto *const sums = reinterpret_cast<Sum *>(scratch);
    const int64_t half = size / 2, rowsKept = keptRows(strip.height, size), last = strip.height - 1;
    std::fill_n(sums, strip.bytes, Sum{0});
    addFirstBox(strip.height, size, [&](int y, int64_t times) {
        const auto weight = static_cast<Sum>(times);
        for (std::size_t i = 0; i < strip.bytes; ++i)
            sums[i] = static_cast<Sum>(sums[i] + weight * strip.row(y)[i]);
    });

    const auto keptRow = [&](int64_t y) {
        return kept + static_cast<std::size_t>(y % rowsKept) * strip.bytes;
    };
    for (int64_t y = 0; y <= last; ++y) {
        std::memcpy(keptRow(y), strip.row(y), strip.bytes);
        const uint8_t *const leave = keptRow(std::max<int64_t>(y - half, 0));
        // Behind the last row the sums are done with.
        const uint8_t *const enter = y < last ? strip.row(std::min(y - half + size, last)) : leave;
        const uint8_t *const other =
            mix.weight != 0 ? mix.top + strip.stride * static_cast<std::size_t>(y) : leave;
        rows.emit(strip.row(y), sums, enter, leave, other, mix.weight, strip.bytes);
        if (rowDone)
            rowDone(y);
    }
}

} // namespace

std::size_t boxColumnsScratch(int height, int64_t size, std::size_t stripBytes)
{
    return stripBytes * (sizeof(uint64_t) + static_cast<std::size_t>(keptRows(height, size)));
}

void boxColumns(const ColumnStrip &strip, int64_t size, const BoxMix &mix, uint8_t *scratch,
                const RowDone &rowDone)
{
    const int64_t divisor = size + mix.weight;
    uint8_t *const kept = scratch + strip.bytes * sizeof(uint64_t);
    if (divisor <= NarrowBoxRounding::kLargestDivisor)
        slideDown(strip, size, mix, NarrowRows{NarrowBoxRounding(divisor)}, scratch, kept, rowDone);
    else if (divisor <= MiddleBoxRounding::kLargestDivisor)
        slideDown(strip, size, mix, MiddleRows{MiddleBoxRounding(divisor)}, scratch, kept, rowDone);
    else
        slideDown(strip, size, mix, WideRows{BoxRounding(divisor)}, scratch, kept, rowDone);
}

} // namespace velmont
