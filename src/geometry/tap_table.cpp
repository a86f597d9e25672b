#include "geometry/tap_table.h"
#include <algorithm>
#include <cmath>

namespace velmont {

namespace {

constexpr int32_t kOne = 65536;

/// Products from left to right: hosts rely on the order, which decides where a weight lies halfway.
double MitchellWeight(double x)
{
    const double a = std::fabs(x);
    if (a < 1)
        return (21 * a * a * a - 36 * a * a + 16) / 18;
    if (a < 2)
        return (-7 * a * a * a + 36 * a * a - 60 * a + 32) / 18;
    return 0;
}

/// The taps of all coordinates of one side.
class Cubic {
public:
    Cubic(int newSize, int size, bool alignCorners)
        : size_(size), scale_(static_cast<double>(newSize) / size), narrowing_(scale_ < 1 ? scale_ : 1)
    {
        if (alignCorners)
            scale_ = static_cast<double>(std::max(newSize - 1, 1)) / std::max(size - 1, 1);
    }

    /// Calls use(tap) for the taps of one coordinate, in order, with weights of any size.
    template <typename Use>
    void forTaps(int coordinate, Use use) const
    {
        const double center = coordinate / scale_, reach = 2.0 / narrowing_, left = center - reach;
        auto start = static_cast<int64_t>(left);
        // Away from zero: below it hosts see one tap more, whose weight is 0.
        if (static_cast<double>(start) != left)
            start += left > 0 ? 1 : -1;
        const auto end = static_cast<int64_t>(center + reach);
        int32_t rest = kOne;
        for (int64_t j = start; j <= end; ++j) {
            const double value =
                MitchellWeight((center - static_cast<double>(j)) * narrowing_) * narrowing_ * 65536.0 + 0.5;
            const auto weight = static_cast<int32_t>(value);
            use(Tap{reflected(j), j < end ? weight : rest});
            rest -= weight;
        }
    }

private:
    int32_t reflected(int64_t j) const
    {
        const int64_t mirrored = j < 0 ? -j : j >= size_ ? 2 * int64_t{size_} - j - 1 : j;
        return static_cast<int32_t>(std::clamp<int64_t>(mirrored, 0, size_ - 1));
    }

    int size_;
    double scale_, narrowing_;
};

/// Calls use(tap) for the parts of a tap whose weights fit 16 bits; for none where its weight is 0.
template <typename Use>
void forParts(Tap tap, Use use)
{
    while (tap.weight != 0) {
        const int32_t part = std::clamp<int32_t>(tap.weight, INT16_MIN, INT16_MAX);
        use(Tap{tap.source, part});
        tap.weight -= part;
    }
}

/// Parts of one coordinate's taps.
std::size_t countParts(const Cubic &cubic, int coordinate)
{
    std::size_t count = 0;
    cubic.forTaps(coordinate, [&](const Tap &tap) { forParts(tap, [&](const Tap &) { ++count; }); });
    return count + count % 2;
}

uint64_t tableBytes(int newSize, int size, bool alignCorners)
{
    const Cubic cubic(newSize, size, alignCorners);
    uint64_t taps = 0;
    for (int i = 0; i < newSize; ++i)
        taps += countParts(cubic, i);
    return (static_cast<uint64_t>(newSize) + 1) * sizeof(std::size_t) + taps * sizeof(Tap);
}

} // namespace

TapTable::TapTable(int newSize, int size, bool alignCorners)
    : count_(static_cast<std::size_t>(newSize)), block_(tableBytes(newSize, size, alignCorners))
{
    if (!block_.bytes())
        return;
    const Cubic cubic(newSize, size, alignCorners);
    std::size_t next = 0;
    for (int i = 0; i < newSize; ++i) {
        starts()[i] = next;
        cubic.forTaps(
            i, [&](const Tap &tap) { forParts(tap, [&](const Tap &part) { taps()[next++] = part; }); });
        if ((next - starts()[i]) % 2 != 0) {
            taps()[next] = {taps()[next - 1].source, 0};
            ++next;
        }
    }
    starts()[newSize] = next;
}

} // namespace velmont
