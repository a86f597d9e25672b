#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <velmont/color.h>

namespace velmont::testing {

namespace {

using Triple = std::array<int, 3>;

Triple toHsv(int r, int g, int b)
{
    Triple hsv{-7, -7, -7};
    RGB_TO_HSV(&hsv[0], &hsv[1], &hsv[2], r, g, b);
    return hsv;
}

Triple toRgb(int h, int s, int v)
{
    Triple rgb{-7, -7, -7};
    HSV_TO_RGB(&rgb[0], &rgb[1], &rgb[2], h, s, v);
    return rgb;
}

/// a / b toward zero. Exact for values far below 2^52.
double quotient(double a, double b)
{
    return std::trunc(a / b);
}

/// The conversion once more, in floating point and with the channels in a table.
Triple plainHsv(int r, int g, int b)
{
    const double channels[] = {double(r), double(g), double(b)};
    int top = 0, bottom = 0;
    for (int i = 1; i < 3; ++i) {
        if (channels[i] > channels[top])
            top = i;
        if (channels[i] < channels[bottom])
            bottom = i;
    }
    const double max = channels[top];
    const double delta = max - channels[bottom];
    const double saturation = max == 0 ? 0 : quotient(delta * 255 + quotient(max, 2), max);
    if (saturation == 0)
        return {0, 0, int(max)};
    const double difference = channels[(top + 1) % 3] - channels[(top + 2) % 3];
    double hue = quotient(quotient(delta, 2) + 60 * difference, delta) + 120 * top;
    if (hue < 0)
        hue += 360;
    return {int(hue), int(saturation), int(max)};
}

Triple plainRgb(int h, int s, int v)
{
    if (s == 0)
        return {v, v, v};
    if (h == 360)
        h = 0;
    const double sector = quotient(h, 60);
    const double f = h - 60 * sector;
    const std::map<char, double> levels{
        {'v', v},
        {'p', quotient((255.0 - s) * v + 127, 255)},
        {'q', quotient((15300 - f * s) * v + 7650, 15300)},
        {'t', quotient((15300 - (60 - f) * s) * v + 7650, 15300)},
    };
    const std::string rows[] = {"vtp", "qvp", "pvt", "pqv", "tpv", "vpq"};
    const std::string &row = rows[sector >= 0 && sector <= 4 ? static_cast<int>(sector) : 5];
    return {int(levels.at(row[0])), int(levels.at(row[1])), int(levels.at(row[2]))};
}

} // namespace

TEST(ColorSpaceTest, HsvOfKnownColors)
{
    EXPECT_EQ(toHsv(255, 0, 0), (Triple{0, 255, 255}));
    EXPECT_EQ(toHsv(0, 255, 0), (Triple{120, 255, 255}));
    EXPECT_EQ(toHsv(0, 0, 255), (Triple{240, 255, 255}));
    EXPECT_EQ(toHsv(255, 255, 0), (Triple{60, 255, 255}));
    EXPECT_EQ(toHsv(128, 128, 128), (Triple{0, 0, 128}));
    EXPECT_EQ(toHsv(10, 20, 30), (Triple{211, 170, 30}));
    EXPECT_EQ(toHsv(200, 100, 50), (Triple{20, 191, 200}));
    EXPECT_EQ(toHsv(255, 0, 1), (Triple{0, 255, 255}));
    EXPECT_EQ(toHsv(0, 0, 0), (Triple{0, 0, 0}));
    EXPECT_EQ(toHsv(255, 255, 255), (Triple{0, 0, 255}));
}

TEST(ColorSpaceTest, TiesGoToRedThenGreen)
{
    // Red and blue highest: (127 + 60 * (0 - 255)) / 255 = -15173 / 255 = -59, and 360 more.
    EXPECT_EQ(toHsv(255, 0, 255), (Triple{301, 255, 255}));
    // Green and blue highest: (127 + 60 * 255) / 255 + 120 = 60 + 120.
    EXPECT_EQ(toHsv(0, 255, 255), (Triple{180, 255, 255}));
    // Blue alone: (127 + 60 * 254) / 255 + 240 = 60 + 240.
    EXPECT_EQ(toHsv(254, 0, 255), (Triple{300, 255, 255}));
}

TEST(ColorSpaceTest, RoundingIsUnevenAroundZero)
{
    // (100 + 60 * 5) / 200 = 2 and (100 - 60 * 5) / 200 = -1, which is 359.
    EXPECT_EQ(toHsv(200, 5, 0), (Triple{2, 255, 200}));
    EXPECT_EQ(toHsv(200, 0, 5), (Triple{359, 255, 200}));
    // (100 - 60 * 3) / 200 truncates to 0.
    EXPECT_EQ(toHsv(200, 0, 3), (Triple{0, 255, 200}));
}

TEST(ColorSpaceTest, ASaturationRoundedToZeroHasNoHue)
{
    // One level of 255 is (255 + 127) / 255 = 1. A saturation of 0 from a delta takes channels above 510:
    // (255 + 300) / 600 = 0, although green leads.
    EXPECT_EQ(toHsv(254, 255, 254), (Triple{120, 1, 255}));
    EXPECT_EQ(toHsv(599, 600, 599), (Triple{0, 0, 600}));
    EXPECT_EQ(toHsv(509, 510, 509), (Triple{120, 1, 510}));
    EXPECT_EQ(toHsv(510, 511, 510), (Triple{0, 0, 511})) << "(255 + 255) / 511";
}

TEST(ColorSpaceTest, RgbOfKnownColors)
{
    EXPECT_EQ(toRgb(0, 255, 255), (Triple{255, 0, 0}));
    EXPECT_EQ(toRgb(60, 255, 255), (Triple{255, 255, 0}));
    EXPECT_EQ(toRgb(120, 255, 255), (Triple{0, 255, 0}));
    EXPECT_EQ(toRgb(180, 255, 255), (Triple{0, 255, 255}));
    EXPECT_EQ(toRgb(240, 255, 255), (Triple{0, 0, 255}));
    EXPECT_EQ(toRgb(300, 255, 255), (Triple{255, 0, 255}));
    EXPECT_EQ(toRgb(0, 0, 128), (Triple{128, 128, 128}));
    EXPECT_EQ(toRgb(211, 170, 30), (Triple{10, 20, 30}));
    EXPECT_EQ(toRgb(20, 191, 200), (Triple{200, 100, 50}));
    EXPECT_EQ(toRgb(0, 0, 0), (Triple{0, 0, 0}));
}

TEST(ColorSpaceTest, WithoutSaturationTheHueDoesNotMatter)
{
    for (const int hue : {INT_MIN, -1, 0, 17, 359, 360, 400, INT_MAX})
        for (const int value : {INT_MIN, -3, 0, 99, INT_MAX})
            EXPECT_EQ(toRgb(hue, 0, value), (Triple{value, value, value}));
}

TEST(ColorSpaceTest, HuesBeyondTheCircle)
{
    EXPECT_EQ(toRgb(360, 200, 150), toRgb(0, 200, 150));
    // 400: sector 6, so (v, p, q) with f = 40: p = (55 * 150 + 127) / 255 = 32,
    // q = ((15300 - 40 * 200) * 150 + 7650) / 15300 = 1102650 / 15300 = 72.
    EXPECT_EQ(toRgb(400, 200, 150), (Triple{150, 32, 72}));
    // 361: f = 1, q = ((15300 - 200) * 150 + 7650) / 15300 = 2272650 / 15300 = 148.
    EXPECT_EQ(toRgb(361, 200, 150), (Triple{150, 32, 148}));
    // -10: sector 0, f = -10: t = ((15300 - 70 * 200) * 150 + 7650) / 15300 = 202650 / 15300 = 13.
    EXPECT_EQ(toRgb(-10, 200, 150), (Triple{150, 13, 32}));
    // -60: sector -1 is the last row, f = 0: q = v.
    EXPECT_EQ(toRgb(-60, 200, 150), (Triple{150, 32, 150}));
}

TEST(ColorSpaceTest, HsvOfManyColors)
{
    for (int r = 0; r < 256; r += 3)
        for (int g = 0; g < 256; g += 3)
            for (int b = 0; b < 256; b += 3)
                ASSERT_EQ(toHsv(r, g, b), plainHsv(r, g, b)) << r << ' ' << g << ' ' << b;
    // Close channels, where rounding matters most.
    for (int base = 0; base < 253; ++base)
        for (int i = 0; i < 64; ++i) {
            const int r = base + i % 4, g = base + i / 4 % 4, b = base + i / 16;
            ASSERT_EQ(toHsv(r, g, b), plainHsv(r, g, b)) << r << ' ' << g << ' ' << b;
        }
}

TEST(ColorSpaceTest, HueStaysBelow360)
{
    for (int r = 0; r < 256; r += 5)
        for (int g = 0; g < 256; ++g)
            for (int b = 0; b < 256; ++b) {
                const int hue = toHsv(r, g, b)[0];
                ASSERT_TRUE(hue >= 0 && hue < 360) << r << ' ' << g << ' ' << b;
            }
}

TEST(ColorSpaceTest, RgbOfManyColors)
{
    for (int h = 0; h <= 360; ++h)
        for (int s = 0; s < 256; s += 5)
            for (int v = 0; v < 256; v += 3)
                ASSERT_EQ(toRgb(h, s, v), plainRgb(h, s, v)) << h << ' ' << s << ' ' << v;
}

TEST(ColorSpaceTest, NothingIsClamped)
{
    for (int a = -700; a <= 700; a += 70)
        for (int b = -333; b <= 999; b += 37)
            for (int c = -255; c <= 510; c += 51) {
                ASSERT_EQ(toHsv(a, b, c), plainHsv(a, b, c)) << a << ' ' << b << ' ' << c;
                ASSERT_EQ(toRgb(a, b, c), plainRgb(a, b, c)) << a << ' ' << b << ' ' << c;
            }
}

// What comes out means nothing; that it comes out, under a sanitizer too, is the point.
TEST(ColorSpaceTest, AbsurdValuesAreAnswered)
{
    const int absurd[] = {INT_MIN, INT_MIN + 1, -65536, -1, 0, 1, 255, 65536, INT_MAX - 1, INT_MAX};
    for (const int a : absurd)
        for (const int b : absurd)
            for (const int c : absurd) {
                EXPECT_EQ(toHsv(a, b, c)[2], std::max({a, b, c}));
                const Triple rgb = toRgb(a, b, c);
                EXPECT_TRUE(rgb[0] == c || rgb[1] == c || rgb[2] == c) << "one channel is the value";
            }
}

TEST(ColorSpaceTest, ANullPointerMakesTheCallDoNothing)
{
    for (int missing = 0; missing < 3; ++missing) {
        Triple kept{1, 2, 3};
        const auto at = [&](int i) { return i == missing ? nullptr : &kept[static_cast<std::size_t>(i)]; };
        RGB_TO_HSV(at(0), at(1), at(2), 10, 20, 30);
        HSV_TO_RGB(at(0), at(1), at(2), 10, 20, 30);
        HSV_TO_RGB(at(0), at(1), at(2), 10, 0, 30);
        EXPECT_EQ(kept, (Triple{1, 2, 3}));
    }
}

} // namespace velmont::testing
