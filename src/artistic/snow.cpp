#include "filters/sample_frame.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <velmont/atmosphere.h>

namespace velmont {

namespace {

constexpr int32_t kOnBright = 1, kOnDark = 2;
/// The sums of the samples of a pixel.
constexpr std::size_t kSums = 3 * 255 + 1;

/// The brightness of a pixel of 24 bits.
double meanOfThree(int sum)
{
    return sum * 0.3333333333333333;
}

int sumOfThree(const uint8_t *pixel)
{
    return pixel[0] + pixel[1] + pixel[2];
}

/// From the darkest pixel to the brightest.
struct BrightnessRange {
    double low, high;
};

/// The least and the largest sum of samples.
template <typename SumAt>
std::pair<int, int> sumRange(const Dib &image, SumAt sumAt)
{
    const auto width = static_cast<std::size_t>(image.width());
    int low = kSums, high = 0;
    for (int y = 0; y < image.height(); ++y) {
        const uint8_t *const row = image.row(y);
        for (std::size_t x = 0; x < width; ++x) {
            const int sum = sumAt(row, x);
            low = std::min(low, sum);
            high = std::max(high, sum);
        }
    }
    return {low, high};
}

BrightnessRange rangeOf(const Dib &image)
{
    if (image.bitCount() == 24) {
        const auto [low, high] =
            sumRange(image, [](const uint8_t *row, std::size_t x) { return sumOfThree(row + 3 * x); });
        return {meanOfThree(low), meanOfThree(high)};
    }
    const auto [low, high] = sumRange(image, [](const uint8_t *row, std::size_t x) { return int{row[x]}; });
    // Levels are counted from the mean of the first three bytes: hosts rely on it.
    const double start = meanOfThree(sumOfThree(image.row(0)));
    return {std::min<double>(low, start), std::max<double>(high, start)};
}

/// By the sum of a pixel's samples: 255 where snow lies, else 0.
using SnowTable = std::array<uint8_t, kSums>;

SnowTable snowTable(const Dib &image, const tagSnowParam &param)
{
    const BrightnessRange range = rangeOf(image);
    const double level = param.level, share = (range.high - range.low) / 10000.0;
    const double brightLimit = range.high - level * level * share + 1.0;
    const double darkLimit = level * level * share + range.low - 1.0;
    SnowTable snow;
    for (std::size_t sum = 0; sum < kSums; ++sum) {
        const int number = static_cast<int>(sum);
        const double brightness = image.bitCount() == 24 ? meanOfThree(number) : number;
        const bool isWhite = param.mode == kOnBright ? brightness > brightLimit : brightness < darkLimit;
        snow[sum] = isWhite ? 255 : 0;
    }
    return snow;
}

void snowPixels(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t pixels,
                const SnowTable &snow)
{
    for (std::size_t x = 0; x < pixels; ++x, to += 3, from += 3) {
        const uint8_t white = snow[static_cast<std::size_t>(sumOfThree(from))];
        for (int channel = 0; channel < 3; ++channel)
            to[channel] = from[channel] | white;
    }
}

void snowLevels(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t pixels,
                const SnowTable &snow)
{
    for (std::size_t x = 0; x < pixels; ++x)
        to[x] = from[x] | snow[from[x]];
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessSnow(void *dib, tagSnowParam *param)
{
    if (!param)
        return nullptr;
    EffectFrame frame(dib);
    const std::optional<Dib> source = withRowsBehindAllColors(frame, {8, 24});
    if (!source)
        return nullptr;
    const bool snows = param->mode == kOnBright || param->mode == kOnDark;
    ResultPlan plan = planOnSamples(*source);
    if (!snows)
        plan.contents = Contents::ZeroFilled; // hosts rely on black rows
    if (!frame.begin(plan))
        return nullptr;
    const SnowTable snow = snowTable(*source, *param);
    const auto lay = source->bitCount() == 24 ? snowPixels : snowLevels;
    for (int y : frame.rows()) {
        if (!snows)
            continue;
        lay(frame.result().row(y), source->row(y), static_cast<std::size_t>(source->width()), snow);
        frame.clearPadding(y);
    }
    return frame.finish();
}
