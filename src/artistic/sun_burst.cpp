#include "core/generator.h"
#include "core/rounded_math.h"
#include "core/scratch_block.h"
#include "core/view_samples.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <velmont/lens.h>

namespace velmont {

namespace {

/// Two arrays of that many spokes have to stay within what 31 bits count.
constexpr int32_t kMostSpokes = INT32_MAX / 8;

/// A number of the generator as a share of the largest one.
double randomShare()
{
    return rand() * 3.051850947599719e-5;
}

/// The mean of six random shares.
double gaussRandom()
{
    double sum = 0;
    for (int i = 0; i < 6; ++i)
        sum += randomShare();
    return sum * (1.0 / 6);
}

/// All from 0 to 1; the hue in turns.
struct HueColor {
    double hue, saturation, value;
};

HueColor hueColorOf(uint32_t color)
{
    const double red = redOf(color) / 255.0, green = greenOf(color) / 255.0, blue = blueOf(color) / 255.0;
    const double max = std::max({red, green, blue}), delta = max - std::min({red, green, blue});
    const double saturation = max != 0 ? delta / max : 0;
    if (saturation == 0)
        return {0, 0, max};
    const double sixths = red == max     ? (green - blue) / delta
                          : green == max ? (blue - red) / delta + 2
                                         : (red - green) / delta + 4;
    double hue = sixths * (1.0 / 6);
    if (hue < 0)
        hue += 1;
    if (hue > 1)
        hue -= 1;
    return {hue, saturation, max};
}

using Pixel = std::array<uint8_t, 3>; ///< blue, green, red

Pixel pixelOf(double red, double green, double blue)
{
    const auto level = [](double share) { return static_cast<uint8_t>(static_cast<int>(share * 255)); };
    return {level(blue), level(green), level(red)};
}

/// A hue that has wandered off the circle counts as one of its last sixth.
Pixel pixelOf(const HueColor &color)
{
    const double value = color.value, saturation = color.saturation;
    if (saturation == 0)
        return pixelOf(value, value, value);
    const double sixths = color.hue * 6 == 6 ? 0 : color.hue * 6;
    const double sector = std::trunc(sixths), f = sixths - sector;
    const double p = (1 - saturation) * value, q = (1 - saturation * f) * value,
                 t = (1 - saturation * (1 - f)) * value;
    if (sector == 0)
        return pixelOf(value, t, p);
    if (sector == 1)
        return pixelOf(q, value, p);
    if (sector == 2)
        return pixelOf(p, value, t);
    if (sector == 3)
        return pixelOf(p, q, value);
    if (sector == 4)
        return pixelOf(t, p, value);
    return pixelOf(value, p, q);
}

/// The spokes all around the centre: their lengths and colours, in memory of the caller's.
class Spokes {
public:
    Spokes(uint8_t *memory, int count)
        : lengths_(reinterpret_cast<double *>(memory)),
          colors_(reinterpret_cast<Pixel *>(memory + sizeof(double) * static_cast<std::size_t>(count))),
          count_(count)
    {
    }
    static std::size_t bytesFor(int count)
    {
        return (sizeof(double) + sizeof(Pixel)) * static_cast<std::size_t>(count);
    }

    void draw(uint32_t color, int randomHue)
    {
        HueColor wandering = hueColorOf(color);
        for (int i = 0; i < count_; ++i) {
            lengths_[i] = gaussRandom();
            wandering.hue += (randomShare() - 0.5) * randomHue * (1.0 / 360);
            if (wandering.hue < 0)
                wandering.hue += 1;
            else if (wandering.hue >= 1)
                wandering.hue -= 1;
            colors_[i] = pixelOf(wandering);
        }
    }

    int count() const { return count_; }
    double length(int i) const { return lengths_[i]; }
    const Pixel &color(int i) const { return colors_[i]; }

private:
    double *lengths_;
    Pixel *colors_;
    int count_;
};

/// The star's light at one place.
struct Glow {
    const Pixel *spoke, *nextSpoke;
    double way;    ///< from the one spoke to the next
    double weight; ///< of the spokes' colour; above 1 it outshines the picture
    double white;  ///< share of white that is added

    /// What becomes of a byte of a pixel.
    uint8_t over(uint8_t level, std::size_t byte, double from) const
    {
        const double color = (*spoke)[byte] * (1 - from) + (*nextSpoke)[byte] * from;
        const double alpha = std::min(weight, 1.0); // not below 0, nor is the sum
        const double mixed =
            weight > 1 ? std::clamp(color * weight, 0.0, 255.0) : level * (1 - alpha) + color * alpha;
        const double lit = static_cast<int>(mixed) + white * 255;
        return static_cast<uint8_t>(static_cast<int>(std::min(lit, 255.0)));
    }
    /// The three bytes of a pixel. From the second one on the colours blend by the white and not by the way: hosts
    /// rely on it.
    void paint(uint8_t *to, const uint8_t *from) const
    {
        to[0] = over(from[0], 0, way);
        to[1] = over(from[1], 1, white);
        to[2] = over(from[2], 2, white);
    }
};

class Star {
public:
    Star(const DibLayout &layout, const tagParamSunburst &param, const Spokes &spokes)
        : column_(param.x), row_(int64_t{layout.height} - param.y), radius_(param.radius), spokes_(spokes)
    {
    }

    Glow at(int x, int y) const
    {
        const double u = static_cast<double>(x - column_) / radius_;
        const double v = static_cast<double>(y - row_) / radius_;
        const double distance = std::sqrt(u * u + v * v);
        // u comes first: angles are counted from the rows' direction upward.
        const double turn = (rounded::atan2(u, v) * 0.15915494309189535 + 0.51) * spokes_.count();
        // From 0.01 to 1.01 turns, so that cutting rounds down, and the last hundredth starts anew.
        const int whole = static_cast<int>(turn);
        const double way = turn - whole;
        const int i = whole < spokes_.count() ? whole : whole - spokes_.count();
        const int next = i + 1 < spokes_.count() ? i + 1 : 0;
        const double length = spokes_.length(i) * (1 - way) + spokes_.length(next) * way;
        const double weight = 0.9 / (distance + 0.001);
        return {&spokes_.color(i), &spokes_.color(next), way, weight,
                std::min(weight * (length * length), 1.0)};
    }

private:
    int64_t column_, row_;
    double radius_;
    const Spokes &spokes_;
};

void paintColorRow(const ViewSamples &samples, const Star &star, int y)
{
    const std::size_t used = 3 * static_cast<std::size_t>(samples.width());
    uint8_t *const to = samples.resultRow(y);
    const uint8_t *const from = samples.sourceRow(y);
    for (int x = 0; x < samples.width(); ++x)
        star.at(x, y).paint(to + std::size_t{3} * static_cast<std::size_t>(x),
                            from + std::size_t{3} * static_cast<std::size_t>(x));
    std::memset(to + used, 0, samples.layout().stride - used);
}

/// One byte for the three of a pixel, painted as if it were their first.
void paintIndexRow(const ViewSamples &samples, const Star &star, int y)
{
    for (int x = 0; x < samples.width(); ++x) {
        const Glow glow = star.at(x, y);
        samples.store(samples.resultRow(y) + x,
                      glow.over(samples.sourceLevel(samples.sourceRow(y)[x]), 0, glow.way));
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessSunBurst(void *dib, tagParamSunburst *param)
{
    if (!param || param->spokeCount < 1 || param->spokeCount > kMostSpokes || param->radius == 0)
        return nullptr;
    const tagParamSunburst wanted = *param;
    ViewFrame frame(dib);
    if (!frame.hasPixels())
        return nullptr;
    const int bits = frame.layout().bitCount;
    if (!frame.allocate(bits == 24 ? Contents::Overwritten : Contents::ZeroFilled))
        return nullptr;
    ScratchBlock scratch(Spokes::bytesFor(wanted.spokeCount));
    if (!scratch.bytes())
        return frame.giveUp();
    frame.open();
    Spokes spokes(scratch.bytes(), wanted.spokeCount);
    spokes.draw(wanted.color, wanted.randomHue);
    const Star star(frame.layout(), wanted, spokes);
    const ViewSamples samples(frame);
    for (const int y : frame.rows()) {
        if (bits == 24)
            paintColorRow(samples, star, y);
        else if (bits == 8)
            paintIndexRow(samples, star, y);
        // Other depths stay blank: hosts rely on it.
    }
    scratch.release();
    return frame.finish();
}
