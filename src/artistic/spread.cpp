#include "core/clock.h"
#include "core/generator.h"
#include "core/rounded_math.h"
#include "core/view_samples.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <velmont/grain.h>

namespace velmont {

namespace {

/// Numbers drawn for a pixel: its way to the side, its way up and the angle of both.
constexpr std::size_t kNumbers = 3;
constexpr std::size_t kRun = 512;

/// Random ways along one axis.
class Reach {
public:
    /// Nothing for what is refused.
    static std::optional<Reach> make(double pixels)
    {
        if (!(pixels > INT32_MIN && pixels < INT32_MAX))
            return std::nullopt;
        const int range = static_cast<int>(pixels) + 1;
        return range != 0 ? std::optional(Reach(range)) : std::nullopt;
    }

    int wayOf(uint32_t number) const { return static_cast<int>(range_(number)) - half_; }

private:
    // A range below 0 has the remainders of the one above.
    explicit Reach(int range) : range_(static_cast<uint32_t>(std::abs(range))), half_(range / 2) {}

    NumberRange range_;
    int half_;
};

/// The whole number at or below a value of 31 bits.
int64_t floorOf(double value)
{
    const auto cut = static_cast<int64_t>(value);
    return cut - (value < static_cast<double>(cut) ? 1 : 0);
}

/// Where pixels exchange: the ways along both axes, each shortened by the angle.
class Exchange {
public:
    Exchange(const Reach &across, const Reach &up) : across_(across), up_(up)
    {
        for (std::size_t i = 0; i < kAngles; ++i) {
            const double angle = static_cast<double>(i) - 3;
            sines_[i] = rounded::sin(angle);
            cosines_[i] = rounded::cos(angle);
        }
    }

    int64_t column(int x, const uint16_t *numbers) const
    {
        return x + floorOf(sines_[angle_(numbers[2])] * across_.wayOf(numbers[0]));
    }
    int64_t row(int y, const uint16_t *numbers) const
    {
        return y + floorOf(cosines_[angle_(numbers[2])] * up_.wayOf(numbers[1]));
    }

private:
    static constexpr std::size_t kAngles = 6;

    Reach across_, up_;
    NumberRange angle_{kAngles};
    std::array<double, kAngles> sines_, cosines_;
};

/// Hands both places of each exchange inside the image to swap(x, y, x2, y2).
template <typename Swap>
void forExchanges(const DibLayout &layout, const Exchange &exchange, Swap swap)
{
    for (int y = 0; y < layout.height; ++y)
        for (int first = 0; first < layout.width;) {
            const auto pixels = std::min(kRun, static_cast<std::size_t>(layout.width - first));
            uint16_t numbers[kNumbers * kRun];
            drawNumbers(numbers, kNumbers * pixels);
            for (std::size_t i = 0; i < pixels; ++i) {
                const int x = first + static_cast<int>(i);
                const int64_t x2 = exchange.column(x, numbers + kNumbers * i);
                const int64_t y2 = exchange.row(y, numbers + kNumbers * i);
                if (x2 >= 0 && x2 < layout.width && y2 >= 0 && y2 < layout.height)
                    swap(x, y, static_cast<int>(x2), static_cast<int>(y2));
            }
            first += static_cast<int>(pixels);
        }
}

void spread(ViewFrame &frame, const Exchange &exchange)
{
    const ViewSamples samples(frame);
    if (samples.layout().bitCount == 24)
        return forExchanges(samples.layout(), exchange, [&](int x, int y, int x2, int y2) {
            const std::size_t here = 3 * static_cast<std::size_t>(x);
            const std::size_t there = 3 * static_cast<std::size_t>(x2);
            std::memcpy(samples.resultRow(y) + here, samples.sourceRow(y2) + there, 3);
            std::memcpy(samples.resultRow(y2) + there, samples.sourceRow(y) + here, 3);
        });
    forExchanges(samples.layout(), exchange, [&](int x, int y, int x2, int y2) {
        samples.store(samples.resultRow(y) + x, samples.sourceLevel(samples.sourceRow(y2)[x2]));
        samples.store(samples.resultRow(y2) + x2, samples.sourceLevel(samples.sourceRow(y)[x]));
    });
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessSpread(void *dib, SPREADParam *param)
{
    if (!param)
        return nullptr;
    const auto across = Reach::make(param->spreadX), up = Reach::make(param->spreadY);
    if (!across || !up)
        return nullptr;
    ViewFrame frame(dib, kSilent);
    if (!frame.hasPixels() || !frame.beginWithCopy())
        return nullptr;
    velmont::srand(clockSeconds());
    const DibLayout &layout = frame.layout();
    if (ViewSamples(frame).stores())
        spread(frame, Exchange(*across, *up));
    else // the numbers are drawn all the same
        skipNumbers(kNumbers * uint64_t{static_cast<uint32_t>(layout.width)} *
                    static_cast<uint32_t>(layout.height));
    return frame.finish();
}
