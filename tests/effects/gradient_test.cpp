// Gradients against a plain loop over pixels and values worked out by hand.

#include "core/cpu.h"
#include "masks/gradient_kernels.h"
#include "platform/memory.h"
#include "tests/effects/filter_testing.h"
#include <array>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <velmont/color.h>
#include <velmont/masks.h>

namespace velmont::testing {

namespace {

constexpr unsigned long kBlack = 0, kWhite = 0xFFFFFF;

struct Request {
    tagPOINT p1{0, 0}, p2{4, 0};
    int colorMode = 1, repeatMode = 1, sourcePercent = 0, repeats = 1, shape = 5;
    unsigned long color1 = kWhite, color2 = kBlack;
};

using Painting = decltype(&ProcessLinearGradient);

Effect painted(Painting painting, const Request &r)
{
    return [=](void *dib) {
        return painting(dib, r.p1, r.p2, r.colorMode, r.repeatMode, r.sourcePercent, r.repeats, r.shape,
                        r.color1, r.color2);
    };
}

constexpr Painting kPaintings[] = {ProcessLinearGradient, ProcessCircularGradient,
                                   ProcessRectangularGradient};

// The plain loop.

using Color = std::array<int64_t, 3>; ///< blue, green, red, or the level three times

Color colorOf(unsigned long color, bool isGray)
{
    const int red = color & 255, green = color >> 8 & 255, blue = color >> 16 & 255;
    const int level = static_cast<int>(0.11 * blue + 0.59 * green + 0.3 * red + 0.5);
    return isGray ? Color{level, level, level} : Color{blue, green, red};
}

Color rampAt(const Request &r, bool isGray, int64_t j, int64_t length)
{
    const auto between = [&](int64_t from, int64_t difference) {
        return from + (length / 2 + j * difference) / length;
    };
    const Color end = colorOf(r.color1, isGray), start = colorOf(r.color2, isGray);
    Color color;
    if (isGray || r.colorMode != 2) {
        for (std::size_t i = 0; i < 3; ++i)
            color[i] = std::clamp<int64_t>(between(start[i], end[i] - start[i]), 0, 255);
        return color;
    }
    const auto toInt = [](int64_t value) { return static_cast<int>(value); };
    int h1, s1, v1, h2, s2, v2, red, green, blue;
    RGB_TO_HSV(&h1, &s1, &v1, toInt(end[2]), toInt(end[1]), toInt(end[0]));
    RGB_TO_HSV(&h2, &s2, &v2, toInt(start[2]), toInt(start[1]), toInt(start[0]));
    const int turn = h1 < h2 ? h1 - h2 + 360 : h1 - h2;
    int64_t hue = between(h2, turn);
    while (hue >= 360)
        hue -= 360;
    HSV_TO_RGB(&red, &green, &blue, toInt(hue), toInt(std::clamp<int64_t>(between(s2, s1 - s2), 0, 255)),
               toInt(std::clamp<int64_t>(between(v2, v1 - v2), 0, 255)));
    return {blue, green, red};
}

/// The colour at a distance within the bands.
Color bandColor(const Request &r, bool isGray, int64_t t, int64_t length)
{
    const int64_t index = t % length;
    const bool turned = r.repeatMode != 2 && t / length % 2 == 1;
    return rampAt(r, isGray, turned ? length - 1 - index : index, length);
}

Color outsideColor(const Request &r, bool isGray, int64_t repeats)
{
    const bool isFirst = r.repeatMode == 2 || repeats % 2 != 0;
    return colorOf(isFirst ? r.color1 : r.color2, isGray);
}

Color lineColor(const Request &r, bool isGray, int64_t x, int64_t y)
{
    const int64_t dx = int64_t{r.p2.x} - r.p1.x, dy = int64_t{r.p2.y} - r.p1.y;
    const auto length = static_cast<int64_t>(std::sqrt(static_cast<double>(dx * dx + dy * dy)) + 0.5);
    const int64_t dot = (x - r.p1.x) * dx + (y - r.p1.y) * dy;
    if (dot <= 0)
        return colorOf(r.color2, isGray);
    const int64_t t = (dot + length / 2) / length;
    return t < length * r.repeats ? bandColor(r, isGray, t, length) : outsideColor(r, isGray, r.repeats);
}

Color roundColor(const Request &r, bool isGray, int64_t x, int64_t y)
{
    int64_t rx = std::abs(int64_t{r.p2.x} - r.p1.x), ry = std::abs(int64_t{r.p2.y} - r.p1.y);
    if (const int64_t k = 10 * rx; ry >= k)
        rx = rx * ((k / 2 + ry) / k);
    if (const int64_t k = 10 * ry; rx >= k)
        ry = ry * ((k / 2 + rx) / k);
    if (r.shape == 4)
        rx = ry = std::min(rx, ry);
    const int64_t length = std::max(rx, ry);
    int64_t repeats = r.repeats;
    if (rx * repeats >= 40000 || ry * repeats >= 40000)
        repeats = std::max<int64_t>((length / 2 + 40000) / length, 1);
    const int64_t outerX = rx * repeats, outerY = ry * repeats;
    const int64_t ax = std::abs(x - r.p1.x), ay = std::abs(y - r.p1.y);
    const Color outside = outsideColor(r, isGray, repeats);
    if (ax >= outerX || ay >= outerY)
        return outside;
    const auto rounded = [](int64_t n) {
        return static_cast<int64_t>(std::sqrt(static_cast<double>(n)) + 0.5);
    };
    if (rx == ry) {
        if (ax * ax + ay * ay >= outerX * outerX)
            return outside;
        const int64_t d = rounded(ax * ax + ay * ay);
        if (r.repeatMode == 2 && d >= outerX)
            return colorOf(r.color1, isGray);
        return bandColor(r, isGray, d, length);
    }
    const auto real = [](int64_t value) { return static_cast<double>(value); };
    const int64_t low = std::min(rx, ry), high = std::max(rx, ry);
    const auto ratio = static_cast<int64_t>(real(low * low) / real(high * high) * 1024);
    const int64_t halfRatio = ratio >> 1;
    const int64_t limit =
        outerX * outerX - static_cast<int64_t>(real(ay * ay) * real(rx * rx) / real(ry * ry) + 0.5);
    if (ax * ax >= limit)
        return outside;
    int64_t xx = ax * ax, yy = ay * ay;
    if (ry <= rx)
        yy = ((yy << 10) + halfRatio) / ratio;
    if (ry >= rx)
        xx = ((xx << 10) + halfRatio) / ratio;
    const int64_t d = rounded(xx + yy);
    return d < std::max(outerX, outerY) ? bandColor(r, isGray, d, length) : outside;
}

Color boxColor(const Request &r, bool isGray, int64_t x, int64_t y)
{
    int64_t hx = std::abs(int64_t{r.p2.x} - r.p1.x), hy = std::abs(int64_t{r.p2.y} - r.p1.y);
    if (r.shape == 1)
        hx = hy = std::min(hx, hy);
    const int64_t ax = std::abs(x - r.p1.x), ay = std::abs(y - r.p1.y);
    if (ay >= hy * r.repeats || ax >= hx * r.repeats)
        return outsideColor(r, isGray, r.repeats);
    const int64_t qx = ax / hx, mx = ax % hx, qy = ay / hy, my = ay % hy;
    bool isRow = qy > qx;
    if (qx == qy)
        isRow = hx == hy ? my >= mx : my * hx >= mx * hy;
    return isRow ? bandColor(r, isGray, ay, hy) : bandColor(r, isGray, ax, hx);
}

using PlainColor = Color (*)(const Request &, bool, int64_t, int64_t);
constexpr PlainColor kPlainColors[] = {lineColor, roundColor, boxColor};

Bytes plainGradient(const Pieces &image, PlainColor colorAt, const Request &r)
{
    Samples source = samplesOf(image);
    const bool isGray = source.channels == 1;
    return withSamples(image, mapped(source, [&](int x, int y, int byte) {
                           const int64_t g = colorAt(r, isGray, x, y)[static_cast<std::size_t>(byte)];
                           const int64_t percent = r.sourcePercent;
                           const int64_t mixed =
                               (source.of(x, y, byte) * percent + (100 - percent) * g) / 100;
                           return static_cast<int>(std::clamp<int64_t>(mixed, 0, 255));
                       }));
}

void expectPlain(const Pieces &image, std::size_t painter, const Request &r)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        ASSERT_EQ(resultOf(image, painted(kPaintings[painter], r)),
                  plainGradient(image, kPlainColors[painter], r))
            << "painter " << painter << ", " << image.header.biWidth << " x " << image.header.biHeight
            << " x " << image.header.biBitCount << ": " << r.p1.x << "," << r.p1.y << " to " << r.p2.x << ","
            << r.p2.y << ", modes " << r.colorMode << " " << r.repeatMode << ", " << r.sourcePercent
            << " percent, " << r.repeats << " times, shape " << r.shape;
    }
}

/// Small numbers that look random.
class Choices {
public:
    int between(int low, int high)
    {
        state_ = state_ * 1664525u + 1013904223u;
        return low + static_cast<int>((state_ >> 8) % static_cast<uint32_t>(high - low + 1));
    }
    template <std::size_t count>
    int of(const int (&values)[count])
    {
        return values[between(0, static_cast<int>(count) - 1)];
    }
    unsigned long color() { return static_cast<unsigned long>(between(0, 0xFFFFFF)); }

private:
    uint32_t state_ = 7;
};

/// A request that the painter serves, with points up to `far` beyond a picture of this size.
Request anyRequest(Choices &any, std::size_t painter, int width, int height, int far)
{
    Request r;
    const auto point = [&] {
        return tagPOINT{any.between(-far, width + far), any.between(-far, height + far)};
    };
    r.p1 = point();
    r.p2 = point();
    if (r.p1.x == r.p2.x)
        r.p2.x += 2;
    if (r.p1.y == r.p2.y)
        r.p2.y -= 2;
    if (painter == 0 && std::abs(r.p1.x - r.p2.x) == 1 && std::abs(r.p1.y - r.p2.y) == 1)
        r.p2.x = r.p1.x - 2;
    r.colorMode = any.of({0, 1, 2, 2, 3});
    r.repeatMode = any.of({0, 1, 2, 2, 3});
    r.sourcePercent = any.of({0, 0, 1, 30, 50, 99, 100, 101, 250, -40, 100000, -3000});
    r.repeats = any.of({-3, -2, -1, 0, 1, 1, 2, 3, 4, 7, 1000});
    r.shape = painter == 1 ? any.between(3, 4) : painter == 2 ? any.between(1, 2) : any.between(-1, 6);
    r.color1 = any.color();
    r.color2 = any.color();
    return r;
}

TEST(Gradient, PlainLoopAtAllSizes)
{
    const Restore restore;
    Choices any;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (std::size_t painter = 0; painter < 3; ++painter) {
                const bool isGray = any.between(0, 2) == 0;
                const auto seed = static_cast<uint32_t>(width * height);
                const Pieces image = isGray ? gray(width, height, seed) : trueColor(width, height, seed);
                const Request r = anyRequest(any, painter, width, height, any.of({0, 3, 30, 300}));
                ASSERT_NO_FATAL_FAILURE(expectPlain(image, painter, r));
            }
}

TEST(Gradient, PlainLoopFromFarAway)
{
    const Restore restore;
    Choices any;
    for (int i = 0; i < 150; ++i)
        for (std::size_t painter = 0; painter < 3; ++painter) {
            const int width = any.between(1, 200), height = any.between(1, 9);
            const Pieces image = i % 2 == 0 ? gray(width, height) : trueColor(width, height);
            const int far = any.of({1000, 20000, 50000, 1000000, 8000000});
            ASSERT_NO_FATAL_FAILURE(
                expectPlain(image, painter, anyRequest(any, painter, width, height, far)));
        }
}

TEST(Gradient, PlainLoopAroundTheEdges)
{
    // Centres so far away that the picture shows the outermost bands, and what lies behind them.
    const Restore restore;
    Choices any;
    for (int i = 0; i < 200; ++i)
        for (std::size_t painter = 0; painter < 3; ++painter) {
            Request r = anyRequest(any, painter, 60, 12, 0);
            const int rx = any.between(1, 60), ry = any.between(1, 60);
            r.repeats = any.between(1, 50);
            r.p1 = {30 - rx * r.repeats, any.between(0, 12)};
            r.p2 = {r.p1.x + std::max(rx, 2), r.p1.y - ry};
            ASSERT_NO_FATAL_FAILURE(expectPlain(i % 2 == 0 ? gray(60, 12) : trueColor(60, 12), painter, r));
        }
}

// Values worked out by hand.

Bytes rowOf(Painting painting, const Request &r, int width, int height = 1)
{
    const Bytes rows = levelsOf(flat(gray(width, height), 100), painted(painting, r));
    Bytes levels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            levels.push_back(
                rows[strideFor(width, 8) * static_cast<std::size_t>(y) + static_cast<std::size_t>(x)]);
    return levels;
}
Bytes lineRow(const Request &r, int width = 10)
{
    return rowOf(ProcessLinearGradient, r, width);
}

TEST(LinearGradient, RampAndBands)
{
    EXPECT_EQ(lineRow({}), (Bytes{0, 64, 128, 191, 255, 255, 255, 255, 255, 255}));
    EXPECT_EQ(lineRow({.repeats = 2}), (Bytes{0, 64, 128, 191, 191, 128, 64, 0, 0, 0}));
    EXPECT_EQ(lineRow({.repeatMode = 2, .repeats = 2}), (Bytes{0, 64, 128, 191, 0, 64, 128, 191, 255, 255}));
    EXPECT_EQ(lineRow({.repeatMode = 3, .repeats = 2}), lineRow({.repeatMode = 0, .repeats = 2}));
    // A falling ramp is truncated toward zero and not downwards.
    EXPECT_EQ(lineRow({.color1 = kBlack, .color2 = kWhite}), (Bytes{255, 192, 128, 65, 0, 0, 0, 0, 0, 0}));
    // From right to left.
    EXPECT_EQ(lineRow({.p1 = {5, 0}, .p2 = {1, 0}}), (Bytes{255, 255, 191, 128, 64, 0, 0, 0, 0, 0}));
}

TEST(LinearGradient, RepeatsBelowOne)
{
    EXPECT_EQ(lineRow({.repeats = 0, .color1 = kBlack, .color2 = kWhite}), Bytes(10, 255));
    EXPECT_EQ(lineRow({.repeatMode = 2, .repeats = 0}),
              (Bytes{0, 255, 255, 255, 255, 255, 255, 255, 255, 255}));
    EXPECT_EQ(lineRow({.repeats = -1}), lineRow({.repeatMode = 2, .repeats = 0}));
    EXPECT_EQ(lineRow({.repeats = -2}), Bytes(10, 0));
    EXPECT_EQ(lineRow({.repeats = INT_MIN}), Bytes(10, 0));
}

TEST(LinearGradient, StartColorBesideTheStart)
{
    // (255, 0, 1) loses its blue on the way through hue: the ramp starts with (255, 0, 0), but what lies beside or
    // before the start has the colour itself. The line is 10 long; the second pixel is a fifth of one away.
    const Pieces image = pixelRow(Bytes(6, 0));
    const Effect effect = painted(ProcessLinearGradient, {.p2 = {2, 10}, .colorMode = 2, .color2 = 0x0100FF});
    const Bytes result = resultOf(image, effect);
    EXPECT_EQ(Bytes(result.begin() + 40, result.end()), (Bytes{1, 0, 255, 0, 0, 255, 0, 0}));
}

TEST(LinearGradient, ShortLines)
{
    for (const tagPOINT p2 : {tagPOINT{0, 0}, {1, 0}, {0, 1}, {1, 1}, {-1, 1}, {-1, -1}})
        EXPECT_EQ(eventsOfRefusal(gray(4, 4).handle(), painted(ProcessLinearGradient, {.p2 = p2})), Events{});
    for (const tagPOINT p2 : {tagPOINT{2, 0}, {0, 2}, {-2, 1}, {1, -2}})
        EXPECT_FALSE(resultOf(gray(4, 4), painted(ProcessLinearGradient, {.p2 = p2})).empty());
    EXPECT_EQ(lineRow({.p2 = {2, 0}}, 4), (Bytes{0, 128, 255, 255}));
}

TEST(LinearGradient, LongestLine)
{
    // Of 4294967295 pixels, of which the picture shows those in the middle.
    EXPECT_EQ(lineRow({.p1 = {INT_MIN, 0}, .p2 = {INT_MAX, 0}, .repeats = INT_MAX}, 3), Bytes(3, 128));
    EXPECT_EQ(lineRow({.p1 = {INT_MAX, 0}, .p2 = {INT_MIN, 0}, .color1 = 0}, 20), Bytes(20, 0));
    EXPECT_EQ(lineRow({.p1 = {INT_MIN, INT_MIN}, .p2 = {INT_MAX, INT_MAX}}, 40), Bytes(40, 128));
}

TEST(LinearGradient, PlainLoopOfLongLines)
{
    // Beyond what steps in 32 bits can do.
    const Restore restore;
    for (const int length : {(1 << 30) - 1, 1 << 30, (1 << 30) + 7, INT_MAX})
        for (const int x : {-length / 2, -length + 20, -5, 35}) {
            const Request r{.p1 = {x, 3}, .p2 = {x == 35 ? x - length : x + length, 4}};
            ASSERT_NO_FATAL_FAILURE(expectPlain(gray(40, 3), 0, r));
        }
}

TEST(Gradient, Mix)
{
    EXPECT_EQ(lineRow({.sourcePercent = 30}, 5), (Bytes{30, 74, 119, 163, 208}));
    EXPECT_EQ(lineRow({.sourcePercent = 150}, 5), (Bytes{150, 118, 86, 54, 22}));
    EXPECT_EQ(lineRow({.sourcePercent = 200, .color2 = kWhite}, 1), (Bytes{0}));
    EXPECT_EQ(lineRow({.sourcePercent = -50, .color2 = kWhite}, 1), (Bytes{255}));
    for (const int percent : {100001, 1000000, INT_MAX, INT_MIN, INT_MIN + 1}) {
        const bool isMore = percent > 0;
        const uint8_t below = isMore ? 255 : 0, above = isMore ? 0 : 255;
        EXPECT_EQ(lineRow({.sourcePercent = percent}, 5), (Bytes{below, below, above, above, above}));
        EXPECT_EQ(lineRow({.sourcePercent = percent, .color1 = 0x646464, .color2 = 0x646464}, 5),
                  Bytes(5, 100));
    }
}

TEST(Gradient, WholePictureRemains)
{
    for (std::size_t painter = 0; painter < 3; ++painter)
        for (const Pieces &image : {trueColor(21, 17), gray(21, 17)}) {
            const Request r{
                .p1 = {9, 9}, .p2 = {3, 4}, .sourcePercent = 100, .shape = 2 + (painter == 1 ? 1 : 0)};
            EXPECT_EQ(resultOf(image, painted(kPaintings[painter], r)), withSamples(image, samplesOf(image)));
        }
}

TEST(Gradient, MixOfAllBytes)
{
    const Restore restore;
    Bytes all(256);
    for (std::size_t i = 0; i < all.size(); ++i)
        all[i] = static_cast<uint8_t>(i);
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        const GradientKernels kernels = gradientKernels();
        for (int percent = -2; percent <= 102; ++percent)
            for (int g = 0; g < 256; ++g) {
                const Bytes gradient(256, static_cast<uint8_t>(g));
                Bytes mixed(256);
                kernels.mix(mixed.data(), all.data(), gradient.data(), 256, MixShares::ofPercent(percent));
                for (int from = 0; from < 256; ++from) {
                    const int expected = (from * percent + (100 - percent) * g) / 100;
                    ASSERT_EQ(mixed[static_cast<std::size_t>(from)], std::clamp(expected, 0, 255))
                        << from << " and " << g << " at " << percent;
                }
            }
    }
}

// Colours.

/// The gradient along a line of these pixels of black, blue, green and red each.
Bytes colorRow(const Request &r, std::size_t pixels)
{
    const Bytes result = resultOf(pixelRow(Bytes(3 * pixels, 0)), painted(ProcessLinearGradient, r));
    return result.size() < 40
               ? Bytes{}
               : Bytes(result.begin() + 40, result.begin() + 40 + static_cast<std::ptrdiff_t>(3 * pixels));
}

TEST(Gradient, ChannelsAreBlueGreenRedInMemory)
{
    EXPECT_EQ(colorRow({.p2 = {2, 0}, .color1 = 0x102030, .color2 = 0x405060}, 3),
              (Bytes{0x40, 0x50, 0x60, 0x29, 0x39, 0x49, 0x10, 0x20, 0x30}));
    EXPECT_EQ(colorRow({.p2 = {2, 0}, .colorMode = 2, .color1 = 0xFF, .color2 = 0xFF}, 3),
              (Bytes{0, 0, 255, 0, 0, 255, 0, 0, 255}));
    // The highest byte means nothing.
    EXPECT_EQ(colorRow({.p2 = {2, 0}, .color1 = 0xFF102030, .color2 = 0x80405060}, 3),
              colorRow({.p2 = {2, 0}, .color1 = 0x102030, .color2 = 0x405060}, 3));
}

TEST(Gradient, HueRunsUpwards)
{
    // From 10 degrees to 5 the long way round: 188 in the middle.
    EXPECT_EQ(colorRow({.p2 = {2, 0}, .colorMode = 2, .color1 = 0x0015FF, .color2 = 0x002BFF}, 3),
              (Bytes{0, 43, 255, 255, 221, 0, 0, 21, 255}));
    // From red to red there is no way to go.
    EXPECT_EQ(colorRow({.p2 = {2, 0}, .colorMode = 2, .color1 = 0x0000FF, .color2 = 0x0000FF}, 3),
              (Bytes{0, 0, 255, 0, 0, 255, 0, 0, 255}));
    // From 240 to 0 through 300.
    EXPECT_EQ(colorRow({.p2 = {2, 0}, .colorMode = 2, .color1 = 0x0000FF, .color2 = 0xFF0000}, 3),
              (Bytes{255, 0, 0, 255, 0, 255, 0, 0, 255}));
    // From 301, as magenta's hue is rounded, to 60 through 361, which is 1.
    EXPECT_EQ(colorRow({.p2 = {2, 0}, .colorMode = 2, .color1 = 0x00FFFF, .color2 = 0xFF00FF}, 3),
              (Bytes{255, 0, 255, 0, 4, 255, 0, 255, 255}));
}

TEST(Gradient, GrayLevels)
{
    // 0.3 of red, and hue means nothing.
    EXPECT_EQ(lineRow({.color1 = 0x0000FF}, 5), (Bytes{0, 19, 39, 58, 77}));
    for (std::size_t painter = 0; painter < 3; ++painter) {
        Request r{.p1 = {4, 3}, .p2 = {9, 8}, .repeats = 3, .color1 = 0x12FF80, .color2 = 0xFF0055};
        const Bytes plain = resultOf(gray(20, 9), painted(kPaintings[painter], r));
        r.colorMode = 2;
        EXPECT_EQ(resultOf(gray(20, 9), painted(kPaintings[painter], r)), plain);
    }
}

// Circles and ellipses.

TEST(CircularGradient, Circle)
{
    EXPECT_EQ(rowOf(ProcessCircularGradient, {.p1 = {3, 0}, .p2 = {6, 3}, .shape = 4}, 8),
              (Bytes{255, 170, 85, 0, 85, 170, 255, 255}));
    // The smaller half size counts.
    EXPECT_EQ(rowOf(ProcessCircularGradient, {.p1 = {3, 0}, .p2 = {-6, 3}, .shape = 4}, 8),
              (Bytes{255, 170, 85, 0, 85, 170, 255, 255}));
    // A shape of another name with equal half sizes.
    EXPECT_EQ(rowOf(ProcessCircularGradient, {.p1 = {3, 0}, .p2 = {6, -3}, .shape = 77}, 8),
              (Bytes{255, 170, 85, 0, 85, 170, 255, 255}));
}

TEST(CircularGradient, RoundedUpToTheEdge)
{
    // The pixel (3, 2) lies within a circle of 4, but its distance is rounded to 4, where an odd band starts.
    const std::size_t place = 2 * 4 + 3;
    const Request r{.p2 = {4, 4}, .shape = 4};
    EXPECT_EQ(rowOf(ProcessCircularGradient, r, 4, 4)[place], 191);
    Request sawtooth = r;
    sawtooth.repeatMode = 2;
    EXPECT_EQ(rowOf(ProcessCircularGradient, sawtooth, 4, 4)[place], 255);
}

TEST(CircularGradient, RepeatsBelowOne)
{
    for (const int repeats : {0, -1, -2, INT_MIN, INT_MIN + 1}) {
        const Request r{.p1 = {3, 0}, .p2 = {6, 3}, .repeats = repeats, .shape = 4};
        EXPECT_EQ(rowOf(ProcessCircularGradient, r, 8), Bytes(8, repeats % 2 != 0 ? 255 : 0)) << repeats;
        Request sawtooth = r;
        sawtooth.repeatMode = 2;
        EXPECT_EQ(rowOf(ProcessCircularGradient, sawtooth, 8), Bytes(8, 255)) << repeats;
    }
}

TEST(CircularGradient, AspectLimit)
{
    const auto ellipse = [](tagPOINT p2) {
        return rowOf(ProcessCircularGradient, {.p1 = {0, 0}, .p2 = p2, .repeats = 2, .shape = 3}, 40, 16);
    };
    EXPECT_EQ(ellipse({100, 4}), ellipse({100, 12}));
    EXPECT_EQ(ellipse({4, 100}), ellipse({12, 100}));
    EXPECT_NE(ellipse({100, 9}), ellipse({100, 10}));
    EXPECT_NE(ellipse({100, 10}), ellipse({100, 11}));
    EXPECT_EQ(ellipse({100, 1}), ellipse({100, 10}));
}

TEST(CircularGradient, BandLimit)
{
    // 501 bands of 100 become 400, an even number; the last of them ends between the fifth and the sixth pixel.
    Request r{
        .p1 = {-39995, 0}, .p2 = {-39895, 100}, .repeats = 501, .shape = 4, .color1 = 0, .color2 = 0xC8C8C8};
    // 200 - 2 k with half a place added.
    EXPECT_EQ(rowOf(ProcessCircularGradient, r, 8), (Bytes{193, 195, 197, 199, 200, 200, 200, 200}));
    // 399 bands are left as they are.
    r.repeats = 399;
    r.p1.x += 100;
    r.p2.x += 100;
    EXPECT_EQ(rowOf(ProcessCircularGradient, r, 8)[5], 0);
    // Two bands of 30000 become one, an odd number.
    const Request large{.p1 = {-60002, 0}, .p2 = {-30002, 30000}, .repeats = 2, .shape = 4};
    EXPECT_EQ(rowOf(ProcessCircularGradient, large, 4), Bytes(4, 255));
}

TEST(CircularGradient, Refusals)
{
    for (const Painting painting : {ProcessCircularGradient, ProcessRectangularGradient})
        for (const tagPOINT p2 : {tagPOINT{0, 0}, {0, 5}, {5, 0}, {0, INT_MIN}})
            EXPECT_EQ(eventsOfRefusal(gray(4, 4).handle(), painted(painting, {.p2 = p2, .shape = 3})),
                      Events{});
    EXPECT_FALSE(resultOf(gray(4, 4), painted(ProcessCircularGradient, {.p2 = {1, -1}, .shape = 4})).empty());
    EXPECT_FALSE(
        resultOf(gray(4, 4), painted(ProcessRectangularGradient, {.p2 = {1, -1}, .shape = 1})).empty());
}

// Squares and rectangles.

TEST(RectangularGradient, Rectangle)
{
    EXPECT_EQ(rowOf(ProcessRectangularGradient, {.p2 = {4, 2}, .shape = 2}, 5, 3),
              (Bytes{0, 64, 128, 191, 255,    //
                     128, 128, 128, 191, 255, //
                     255, 255, 255, 255, 255}));
}

TEST(RectangularGradient, Square)
{
    const Bytes expected{0,   85,  170, 255, //
                         85,  85,  170, 255, //
                         170, 170, 170, 255, //
                         255, 255, 255, 255};
    for (const Request &r : {Request{.p2 = {3, 8}, .shape = 1}, Request{.p2 = {-3, 3}, .shape = 1},
                             Request{.p2 = {3, -3}, .shape = -9}, Request{.p2 = {3, 3}, .shape = 2}})
        EXPECT_EQ(rowOf(ProcessRectangularGradient, r, 4, 4), expected);
}

TEST(RectangularGradient, BandsAreNotLimited)
{
    // A thousand bands of 100: the last one ends between the third and the fourth pixel.
    const Request r{
        .p1 = {-99997, 0}, .p2 = {-99897, 100}, .repeats = 1000, .shape = 1, .color1 = 0, .color2 = kWhite};
    EXPECT_EQ(rowOf(ProcessRectangularGradient, r, 5), (Bytes{251, 253, 255, 255, 255}));
    for (const int repeats : {0, -2, INT_MIN})
        EXPECT_EQ(rowOf(ProcessRectangularGradient, {.p2 = {3, 3}, .repeats = repeats, .shape = 1}, 4, 4),
                  Bytes(16, 0));
    EXPECT_EQ(rowOf(ProcessRectangularGradient, {.p2 = {3, 3}, .repeats = -1, .shape = 1}, 4, 4),
              Bytes(16, 255));
}

// What all have in common.

TEST(Gradient, ShapesThatPaintNothing)
{
    const Restore restore;
    for (const Pieces &image : {trueColor(21, 18), gray(21, 18)})
        for (const auto &[painting, shape] : {std::pair{Painting{ProcessCircularGradient}, 5},
                                              {ProcessCircularGradient, 2},
                                              {ProcessCircularGradient, INT_MIN},
                                              {ProcessRectangularGradient, 3},
                                              {ProcessRectangularGradient, 0}}) {
            const Effect effect =
                painted(painting, {.p1 = {3, 3}, .p2 = {8, 9}, .sourcePercent = 50, .shape = shape});
            EXPECT_EQ(resultOf(image, effect), flat(image, 0).bytes());
            EXPECT_EQ(eventsOf(image, effect), joined({{"wait", "poll"}, rowEvents(18), {"100%", "arrow"}}));
            expectAborts(image, effect, 1);
            expectFailuresSurvived(image, effect);
        }
}

TEST(GradientFill, PassesOnByShape)
{
    const Pieces image = trueColor(23, 17);
    Request r{
        .p1 = {8, 7}, .p2 = {13, 11}, .colorMode = 2, .repeatMode = 2, .sourcePercent = 20, .repeats = 2};
    for (int shape = 1; shape <= 5; ++shape) {
        r.shape = shape;
        const Painting painting = shape <= 2   ? ProcessRectangularGradient
                                  : shape <= 4 ? ProcessCircularGradient
                                               : ProcessLinearGradient;
        const Bytes result = resultOf(image, painted(ProcessGradientFill, r));
        EXPECT_EQ(result, resultOf(image, painted(painting, r)));
        EXPECT_EQ(result, plainGradient(image, kPlainColors[shape <= 2 ? 2 : shape <= 4 ? 1 : 0], r));
    }
    for (const int shape : {0, 6, -1, INT_MIN, INT_MAX}) {
        r.shape = shape;
        EXPECT_EQ(eventsOfRefusal(image.handle(), painted(ProcessGradientFill, r)), Events{});
    }
}

TEST(Gradient, FrameOfAll)
{
    for (int shape = 1; shape <= 5; ++shape) {
        const Effect effect = painted(
            ProcessGradientFill,
            {.p1 = {2, 9}, .p2 = {5, 4}, .colorMode = 2, .sourcePercent = 40, .repeats = 3, .shape = shape});
        EXPECT_EQ(eventsOf(trueColor(5, 40), effect),
                  joined({{"wait", "poll"}, rowEvents(40), {"100%", "arrow"}}));
        EXPECT_EQ(eventsOf(gray(40, 1), effect), (Events{"wait", "poll", "poll", "0%", "100%", "arrow"}));
        expectFilterRules(effect);
        expectScratchIsLikeTheResult(effect);
    }
}

TEST(Gradient, ScratchIsReleasedBeforeTheEnd)
{
    for (int shape = 1; shape <= 5; ++shape) {
        const Handle source = trueColor(9, 20).handle();
        WatchingHost host(source);
        const Handle result(painted(ProcessGradientFill, {.p2 = {5, 4}, .shape = shape})(source));
        ASSERT_TRUE(result);
        EXPECT_EQ(host.sights[host.sights.size() - 2], (Sight{"100%", 0, 1, 0}));
    }
}

TEST(Gradient, AbsurdNumbers)
{
    const NothingLost check;
    const Restore restore;
    const Handle source = trueColor(17, 2).handle();
    constexpr int kPlaces[] = {INT_MIN, -46341, 0, 5, INT_MAX};
    constexpr int kRepeats[] = {INT_MIN, -1, 0, 1, 3, INT_MAX};
    int i = 0;
    for (const int x1 : kPlaces)
        for (const int y1 : kPlaces)
            for (const int x2 : kPlaces)
                for (const int y2 : kPlaces)
                    for (const int repeats : kRepeats)
                        for (int shape = 1; shape <= 5; ++shape) {
                            ++i;
                            limitCpuLevel(cpuLevels()[static_cast<std::size_t>(i) % cpuLevels().size()]);
                            const Request r{.p1 = {x1, y1},
                                            .p2 = {x2, y2},
                                            .colorMode = i % 3,
                                            .repeatMode = i / 3 % 3,
                                            .sourcePercent = i % 2 == 0 ? 0 : INT_MIN + i,
                                            .repeats = repeats,
                                            .shape = shape};
                            const Handle result(painted(ProcessGradientFill, r)(source));
                            const bool hasLine = x1 != x2 || y1 != y2, hasArea = x1 != x2 && y1 != y2;
                            ASSERT_EQ(result != nullptr, shape == 5 ? hasLine : hasArea);
                        }
}

TEST(Gradient, FarthestPoints)
{
    // From the other end of all numbers.
    for (const int shape : {1, 2, 3, 4}) {
        const Painting painting = shape <= 2 ? ProcessRectangularGradient : ProcessCircularGradient;
        const Request r{.p1 = {INT_MIN, 0}, .p2 = {INT_MAX, INT_MAX}, .shape = shape};
        const bool isWide = shape == 2 || shape == 3; // else its half size is 2147483647
        EXPECT_EQ(rowOf(painting, r, 20), Bytes(20, isWide ? 128 : 255)) << shape;
    }
}

} // namespace

} // namespace velmont::testing
