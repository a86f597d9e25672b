#include <velmont/color.h>

#include <algorithm>
#include <cstdint>

// All divisions truncate toward zero, also where half the divisor was added to a negative numerator; hosts
// rely on the uneven rounding.

namespace {

/// Cut to 32 bits; only values far outside the ranges, which mean nothing, lose anything.
int toInt(int64_t value)
{
    return static_cast<int>(static_cast<uint32_t>(value));
}

/// Hue in degrees from the difference of the two lower channels, rounded, before the sector is added.
int64_t hueWithinSector(int64_t difference, int64_t delta)
{
    return (delta / 2 + 60 * difference) / delta;
}

} // namespace

void RGB_TO_HSV(int *h, int *s, int *v, int r, int g, int b)
{
    if (!h || !s || !v)
        return;
    const int64_t max = std::max({r, g, b});
    const int64_t delta = max - std::min({r, g, b});
    *v = toInt(max);
    *s = max != 0 ? toInt((delta * 255 + max / 2) / max) : 0;
    // The saturation decides and not delta: a delta so small that the saturation rounds to 0 has no hue.
    if (*s == 0) {
        *h = 0;
        return;
    }
    int64_t hue;
    if (r == max)
        hue = hueWithinSector(int64_t{g} - b, delta);
    else if (g == max)
        hue = hueWithinSector(int64_t{b} - r, delta) + 120;
    else
        hue = hueWithinSector(int64_t{r} - g, delta) + 240;
    *h = toInt(hue < 0 ? hue + 360 : hue);
}

void HSV_TO_RGB(int *r, int *g, int *b, int h, int s, int v)
{
    if (!r || !g || !b)
        return;
    if (s == 0) {
        *r = *g = *b = v;
        return;
    }
    if (h == 360)
        h = 0;
    constexpr int64_t kScale = 255 * 60;
    // Products of three ints need more than 64 bits only far outside the ranges; unsigned arithmetic keeps
    // those defined.
    const auto level = [v](int64_t weight, int64_t scale) {
        const auto product =
            static_cast<int64_t>(static_cast<uint64_t>(weight) * static_cast<uint64_t>(int64_t{v}) +
                                 static_cast<uint64_t>(scale / 2));
        return toInt(product / scale);
    };
    const int64_t fraction = h % 60;
    const int p = level(int64_t{255} - s, 255);
    const int q = level(kScale - fraction * s, kScale);
    const int t = level(kScale - (60 - fraction) * s, kScale);
    const auto set = [=](int red, int green, int blue) {
        *r = red;
        *g = green;
        *b = blue;
    };
    switch (h / 60) {
    case 0:
        return set(v, t, p);
    case 1:
        return set(q, v, p);
    case 2:
        return set(p, v, t);
    case 3:
        return set(p, q, v);
    case 4:
        return set(t, p, v);
    default:
        return set(v, p, q);
    }
}
