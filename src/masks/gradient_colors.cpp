#include "masks/gradient_colors.h"
#include "core/color_index.h"
#include <velmont/color.h>

namespace velmont {

namespace {

uint32_t pixelOf(int red, int green, int blue)
{
    return static_cast<uint32_t>(blue) | static_cast<uint32_t>(green) << 8 | static_cast<uint32_t>(red) << 16;
}

uint32_t pixelOf(unsigned long color)
{
    return pixelOf(redOf(color), greenOf(color), blueOf(color));
}

struct HueColor {
    int hue, saturation, value;

    explicit HueColor(unsigned long color)
    {
        RGB_TO_HSV(&hue, &saturation, &value, redOf(color), greenOf(color), blueOf(color));
    }
};

} // namespace

GradientRamp::GradientRamp(const Dib &source, const Gradient &gradient)
    : isHue_(source.bitCount() == 24 && gradient.colorMode == 2), components_{}
{
    const unsigned long color1 = gradient.color1, color2 = gradient.color2;
    if (source.bitCount() == 8) {
        const int level1 = colorIndex(source, color1), level2 = colorIndex(source, color2);
        components_[0] = {level2, level1 - level2};
        startColor_ = static_cast<uint32_t>(level2);
        endColor_ = static_cast<uint32_t>(level1);
        return;
    }
    startColor_ = pixelOf(color2);
    endColor_ = pixelOf(color1);
    if (isHue_) {
        const HueColor end(color1), start(color2);
        const int turn = end.hue - start.hue;
        components_[0] = {start.hue, turn < 0 ? turn + 360 : turn};
        components_[1] = {start.saturation, end.saturation - start.saturation};
        components_[2] = {start.value, end.value - start.value};
    } else {
        components_[0] = {blueOf(color2), blueOf(color1) - blueOf(color2)};
        components_[1] = {greenOf(color2), greenOf(color1) - greenOf(color2)};
        components_[2] = {redOf(color2), redOf(color1) - redOf(color2)};
    }
}

int GradientRamp::Component::at(int64_t index, int64_t length) const
{
    // Half a place is added to falling ramps too, before the division truncates toward zero: hosts rely on the uneven
    // rounding. The sum never leaves the ramp's ends.
    return start + static_cast<int>((length / 2 + index * difference) / length);
}

uint32_t GradientRamp::at(int64_t index, int64_t length) const
{
    const int first = components_[0].at(index, length), second = components_[1].at(index, length),
              third = components_[2].at(index, length);
    if (!isHue_)
        return pixelOf(third, second, first);
    int red = 0, green = 0, blue = 0;
    HSV_TO_RGB(&red, &green, &blue, first % 360, second, third);
    return pixelOf(red, green, blue);
}

uint32_t GradientBands::at(int64_t distance) const
{
    const int64_t band = distance / length, index = distance % length;
    if (band >= count)
        return outside;
    return ramp.at(!isSawtooth && band % 2 != 0 ? length - 1 - index : index, length);
}

GradientTable::GradientTable(const GradientBands &bands, Distances distances)
    : distances_(distances), pixels_(distances.count())
{
    uint32_t *const pixels = pixels_.items();
    if (!pixels)
        return;
    const int64_t period = bands.period(), count = last() - first() + 1;
    for (int64_t i = 0; i < count; ++i) {
        const bool comesAgain = i >= period && (first() + i) / bands.length < bands.count;
        pixels[i] = comesAgain ? pixels[i - period] : bands.at(first() + i);
    }
}

} // namespace velmont
