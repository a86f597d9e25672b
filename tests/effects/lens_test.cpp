// The flare and the sun burst.

#include "core/generator.h"
#include "platform/memory.h"
#include "tests/effects/warp_testing.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/lens.h>

namespace velmont::testing {

namespace {

class Lens : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

Effect flare(int x, int y)
{
    return [=](void *dib) {
        tagParamFlare record{x, y};
        return ProcessFlare(dib, &record);
    };
}

Effect sunBurst(const tagParamSunburst &wanted, uint32_t state = 1)
{
    return [=](void *dib) {
        velmont::srand(state);
        tagParamSunburst record = wanted;
        return ProcessSunBurst(dib, &record);
    };
}

// The flare, pixel by pixel.

struct Circle {
    int type;
    double size, place, c0, c1, c2;
};

constexpr Circle kCircles[] = {
    {1, 0.027, 0.6699, 0.44314, 0.054902, 0},          {1, 0.01, 0.2692, 0.556863, 0.709804, 0.352941},
    {1, 0.005, -0.0112, 0.4156863, 0.54902, 0.21961},  {2, 0.031, 0.649, 0.07451, 0.1137255, 0.035294},
    {2, 0.015, 0.4696, 0, 0.054902, 0.0941176},        {2, 0.037, 0.4087, 0, 0.054902, 0.0941176},
    {2, 0.022, -0.2003, 0, 0.07451, 0.164706},         {2, 0.025, -0.4103, 0.0666667, 0.035294, 0},
    {2, 0.058, -0.4503, 0.0392157, 0.0156863, 0},      {2, 0.017, -0.5112, 0.054902, 0.01961, 0.01961},
    {2, 0.2, -1.496, 0, 0.0156863, 0.035294},          {2, 0.5, -1.496, 0, 0.0156863, 0.035294},
    {3, 0.075, 0.4487, 0, 0.07451, 0.1333333},         {3, 0.1, 1.0, 0, 0.101961, 0.054902},
    {3, 0.039, -1.301, 0.0509804, 0.09804, 0.0392157}, {4, 0.19, 1.309, 0.0666667, 0, 0.035294},
    {4, 0.195, 1.309, 0.01961, 0.062745, 0.035294},    {4, 0.2, 1.309, 0, 0.0156863, 0.0666667},
    {4, 0.038, -1.301, 0, 0.0156863, 0.0666667},
};

double farness(double x, double y)
{
    return std::sqrt(x * x + y * y);
}

void brighten(Bytes &s, double p, double c0, double c1, double c2)
{
    s[0] = static_cast<uint8_t>(static_cast<int>((255 - s[0]) * c2 * p + s[0]) % 256);
    s[1] = static_cast<uint8_t>(static_cast<int>((255 - s[1]) * c1 * p + s[1]) % 256);
    s[2] = static_cast<uint8_t>(static_cast<int>((255 - s[2]) * c0 * p + s[2]) % 256);
}

void brightenByRings(Bytes &s, double h, double w)
{
    if (const double p = (0.0375 * w - h) / (0.0375 * w); p > 0)
        brighten(s, p * p, 239 / 255.0, 239 / 255.0, 239 / 255.0);
    if (const double p = (0.078125 * w - h) / (0.078125 * w); p > 0)
        brighten(s, p * p, 245 / 255.0, 245 / 255.0, 245 / 255.0);
    if (const double p = (0.1796875 * w - h) / (0.1796875 * w); p > 0)
        brighten(s, p * p, 255 / 255.0, 38 / 255.0, 43 / 255.0);
    if (const double p = (0.3359375 * w - h) / (0.3359375 * w); p > 0)
        brighten(s, p, 69 / 255.0, 59 / 255.0, 64 / 255.0);
    const double halo = 0.084375 * w;
    if (const double p = std::abs(h - halo) / (halo * 0.07); p < 3)
        brighten(s, 3 - p, 80 / 255.0, 15 / 255.0, 4 / 255.0);
}

void brightenByCircle(Bytes &s, const Circle &circle, double hk, double sz)
{
    double p = 0;
    if (circle.type == 1) {
        p = (sz - hk) / sz;
        p = p > 0 ? p * p : 0;
    } else if (circle.type == 2) {
        p = std::clamp((sz - hk) / (sz * 0.15), 0.0, 5.0);
    } else if (circle.type == 3) {
        p = (sz - hk) / (sz * 0.12);
        p = p > 5 ? 5 - p * 0.12 : std::max(p, 0.0);
    } else {
        p = std::abs((hk - sz) / (sz * 0.04));
        p = p < 4 ? 4 - p : 0;
    }
    if (p > 0)
        brighten(s, p, circle.c0, circle.c1, circle.c2);
}

/// The pixel at a place of a picture of this size; nothing where no circle lies.
std::optional<Bytes> flaredPixel(Bytes s, int x, int y, int width, int height, int lightX, int lightY)
{
    const int cy = height - lightY, xh = width / 2, yh = height / 2;
    std::vector<std::pair<const Circle *, double>> active;
    for (const Circle &circle : kCircles) {
        const int xp = static_cast<int>(xh + circle.place * (xh - lightX));
        const int yp = static_cast<int>(yh + circle.place * (yh - cy));
        const double hk = farness(x - xp, y - yp);
        if (hk <= circle.size * width)
            active.emplace_back(&circle, hk);
    }
    if (active.empty())
        return std::nullopt;
    brightenByRings(s, farness(x - lightX, y - cy), width);
    for (const auto &[circle, hk] : active)
        brightenByCircle(s, *circle, hk, circle->size * width);
    return s;
}

/// The bytes of the result: whatever the depth, pixels are three bytes from byte 40 on.
Bytes flaredBytes(const Pieces &image, int lightX, int lightY)
{
    const Bytes before = image.bytes();
    Bytes after = before;
    const int width = image.header.biWidth, height = image.header.biHeight;
    const std::size_t stride = strideFor(width, image.header.biBitCount);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const std::size_t place =
                40 + stride * static_cast<std::size_t>(y) + 3 * static_cast<std::size_t>(x);
            const bool isInside = place + 3 <= before.size();
            Bytes pixel(3, 0);
            if (isInside)
                std::copy_n(before.begin() + static_cast<std::ptrdiff_t>(place), 3, pixel.begin());
            const auto flared = flaredPixel(pixel, x, y, width, height, lightX, lightY);
            if (flared && isInside)
                std::copy_n(flared->begin(), 3, after.begin() + static_cast<std::ptrdiff_t>(place));
        }
    return after;
}

/// The bytes of a flare's result; checks the lock that it leaves.
Bytes flareOf(const Pieces &image, int x, int y)
{
    const Handle handle = image.handle();
    const Handle result(flare(x, y)(handle));
    EXPECT_EQ(bytesOf(handle), image.bytes());
    EXPECT_EQ(memory_hooks::locksOn(handle), 1);
    KelMemUnlock(handle);
    EXPECT_TRUE(result);
    EXPECT_EQ(memory_hooks::locksOn(result), 0);
    return result ? bytesOf(result) : Bytes{};
}

Pieces flat(int width, int height, uint8_t level)
{
    Pieces image = trueColor(width, height);
    std::fill(image.rows.begin(), image.rows.end(), level);
    return image;
}

TEST_F(Lens, FlareByHand)
{
    // 200 wide, the light at row 500 and the middle at row 1000: the fourteenth reflection lies alone around
    // row 1500, 20 pixels wide. In its middle 1 / 0.12 is above 5, and 5 - 1 remains: 255 * 0.054902 * 4 = 56.00 and
    // 255 * 0.101961 * 4 = 104.00. At 10 pixels (20 - 10) / 2.4 = 4.1667 remains as it is: 58.3 and 108.3.
    Pieces image = flat(200, 2001, 0);
    image.rows = flareOf(image, 100, 1501);
    image.rows.erase(image.rows.begin(), image.rows.begin() + 40);
    EXPECT_EQ(pixelOf(image, 100, 1500), (Bytes{56, 104, 0}));
    EXPECT_EQ(pixelOf(image, 110, 1500), (Bytes{58, 108, 0}));
    EXPECT_EQ(pixelOf(image, 90, 1500), (Bytes{58, 108, 0}));
    EXPECT_EQ(pixelOf(image, 100, 1490), (Bytes{58, 108, 0}));
    // On the circle it comes to 0, outside there is nothing.
    EXPECT_EQ(pixelOf(image, 120, 1500), (Bytes{0, 0, 0}));
    EXPECT_EQ(pixelOf(image, 121, 1500), (Bytes{0, 0, 0}));
    // No reflection reaches the light itself: neither its core nor its rings are seen.
    for (const int x : {100, 107, 115, 117, 135, 166})
        EXPECT_EQ(pixelOf(image, x, 500), (Bytes{0, 0, 0})) << x;
}

TEST_F(Lens, FlareInTheMiddle)
{
    // All reflections lie around the light: those of up to half the width let all of its rings be seen.
    const Pieces image = flat(160, 160, 100);
    const Bytes result = flareOf(image, 80, 80);
    EXPECT_EQ(result, flaredBytes(image, 80, 80));
    Pieces rows = image;
    rows.rows.assign(result.begin() + 40, result.end());
    // The core alone has (255 - 100) * 239 / 255 + 100 = 245 there, which the others only brighten.
    for (const uint8_t sample : pixelOf(rows, 80, 80))
        EXPECT_GT(sample, 245);
    // The widest circle has a radius of 80: the corners are as they were.
    EXPECT_EQ(pixelOf(rows, 5, 5), (Bytes{100, 100, 100}));
    // White cannot become brighter.
    const Pieces white = flat(50, 40, 255);
    EXPECT_EQ(flareOf(white, 10, 10), white.bytes());
}

TEST_F(Lens, FlareAsThePlainLoop)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        uint32_t seed = 0;
        for (int width = 1; width <= 40; ++width)
            for (int height = 1; height <= 18; ++height) {
                const Pieces image = trueColor(width, height, ++seed);
                const int x = static_cast<int>(seed * 7 % 50) - 5, y = static_cast<int>(seed * 11 % 30) - 6;
                ASSERT_EQ(flareOf(image, x, y), flaredBytes(image, x, y))
                    << width << " x " << height << " at " << x << ", " << y;
            }
        const Pieces image = trueColor(301, 97);
        for (const auto &[x, y] : {std::pair{150, 49}, {0, 0}, {300, 96}, {20, 80}, {-90, 40}, {420, -70}})
            EXPECT_EQ(flareOf(image, x, y), flaredBytes(image, x, y)) << x << ", " << y;
    }
}

// The light lies ten or eight thousand columns from the middle: the last digit of each place moves its circle.
TEST_F(Lens, FlarePlacesHaveFourDigits)
{
    const Pieces image = trueColor(20000, 1);
    for (const int x : {0, 20000, 2000, 18000})
        EXPECT_TRUE(flareOf(image, x, 1) == flaredBytes(image, x, 1)) << x;
}

TEST_F(Lens, FlareOfForeignDepths)
{
    for (const Pieces &image : {paletted(37, 19, 1, 2), paletted(37, 19, 4, 16), paletted(21, 9, 16, 0),
                                paletted(21, 9, 32, 0), paletted(40, 3, 4, 0)})
        for (const auto &[x, y] : {std::pair{5, 5}, {30, 12}, {18, 9}})
            EXPECT_EQ(flareOf(image, x, y), flaredBytes(image, x, y)) << image.header.biBitCount;
}

TEST_F(Lens, FlareFarOutside)
{
    for (const int x : {INT32_MIN, -1000000, 0, 1000000, INT32_MAX})
        for (const int y : {INT32_MIN, -1000000, 1000000, INT32_MAX}) {
            const Pieces image = trueColor(20, 20);
            EXPECT_EQ(flareOf(image, x, y), image.bytes()) << x << ", " << y;
        }
}

TEST_F(Lens, FlareKeepsPaddingAndWhatLiesBehindALongHeader)
{
    Pieces image = trueColor(13, 9);
    image.header.biSize = 48;
    image.palette = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(flareOf(image, 6, 4), flaredBytes(image, 6, 4));
}

TEST_F(Lens, FlareRefusals)
{
    const Handle color = trueColor(9, 5).handle();
    EXPECT_EQ(eventsOfRefusal(color, [](void *dib) { return ProcessFlare(dib, nullptr); }), Events{});
    EXPECT_EQ(eventsOfRefusal(nullptr, flare(1, 1)), Events{});
    for (const Pieces &image :
         {gray(9, 5), paletted(9, 5, 8, 256), paletted(9, 5, 8, 7), paletted(400, 5, 8, 0)}) {
        const Handle handle = image.handle();
        EXPECT_EQ(eventsOfRefusal(handle, flare(1, 1)), Events{});
    }
}

TEST_F(Lens, FlareEventsAndAborts)
{
    const Pieces image = trueColor(7, 35);
    const Handle handle = image.handle();
    Events whole;
    {
        RecordingHost host;
        const Handle result(flare(3, 3)(handle));
        whole = host.events;
    }
    EXPECT_EQ(whole, joined({{"wait", "poll"}, rowEvents(35), {"100%", "arrow"}}));
    for (int n = 1; n <= 36; ++n) {
        RecordingHost host;
        host.abortFromPoll(n, n % 2 == 0 ? 1 : -3);
        const Handle result(flare(3, 3)(handle));
        EXPECT_EQ(static_cast<void *>(result), nullptr) << n;
        EXPECT_EQ(host.polls(), std::max(n, 2));
        EXPECT_EQ(host.events.back(), "arrow");
    }
    EXPECT_EQ(memory_hooks::locksOn(handle), 37); // one for each run
}

TEST_F(Lens, FlareWithoutMemoryKeepsItsLock)
{
    const Handle handle = trueColor(7, 5).handle();
    memory_hooks::failAllocation(1);
    RecordingHost host;
    EXPECT_EQ(flare(3, 3)(handle), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "arrow"}));
    EXPECT_EQ(memory_hooks::locksOn(handle), 1);
}

TEST_F(Lens, CodesReachTheEffects)
{
    const Handle handle = trueColor(33, 22).handle();
    tagParamFlare light{10, 10};
    tagParamSunburst star{9, 8, 0x3080FF, 5, 7, 40};
    const auto flareParam = reinterpret_cast<long>(&light), starParam = reinterpret_cast<long>(&star);
    EXPECT_EQ(bytesOf(Handle(EnhanceAndEffects(handle, 4101, flareParam))),
              bytesOf(Handle(ProcessFlare(handle, &light))));
    velmont::srand(9);
    const Handle byCode(EnhanceAndEffects(handle, 4201, starParam));
    velmont::srand(9);
    EXPECT_EQ(bytesOf(byCode), bytesOf(Handle(ProcessSunBurst(handle, &star))));
}

// The sun burst, pixel by pixel.

struct PlainStar {
    std::vector<double> spokes;
    std::vector<Bytes> colors;
    int used = 0; ///< numbers
};

Bytes colorOfHue(double hue, double s, double v)
{
    const auto bytes = [](double r, double g, double b) {
        return Bytes{static_cast<uint8_t>(b * 255), static_cast<uint8_t>(g * 255),
                     static_cast<uint8_t>(r * 255)};
    };
    if (s == 0)
        return bytes(v, v, v);
    double hh = hue * 6;
    if (hh == 6)
        hh = 0;
    const int i = static_cast<int>(hh);
    const double f = hh - i, p = (1 - s) * v, q = (1 - s * f) * v, t = (1 - s * (1 - f)) * v;
    switch (i) {
    case 0:
        return bytes(v, t, p);
    case 1:
        return bytes(q, v, p);
    case 2:
        return bytes(p, v, t);
    case 3:
        return bytes(p, q, v);
    case 4:
        return bytes(t, p, v);
    default:
        return bytes(v, p, q);
    }
}

PlainStar plainStar(const tagParamSunburst &param, uint32_t state)
{
    const double r = param.color % 256 / 255.0, g = param.color / 256 % 256 / 255.0,
                 b = param.color / 65536 % 256 / 255.0;
    const double v = std::max({r, g, b}), least = std::min({r, g, b});
    const double s = v > 0 ? (v - least) / v : 0;
    double hue = 0;
    if (s > 0) {
        if (r == v)
            hue = (g - b) / (v - least);
        else if (g == v)
            hue = (b - r) / (v - least) + 2;
        else
            hue = (r - g) / (v - least) + 4;
        hue *= 1.0 / 6;
        if (hue < 0)
            hue += 1;
    }
    Numbers numbers(state);
    PlainStar star;
    const auto share = [&] {
        ++star.used;
        return numbers.next() * 3.051850947599719e-5;
    };
    for (int i = 0; i < param.spokeCount; ++i) {
        double sum = share();
        for (int k = 1; k < 6; ++k)
            sum += share();
        star.spokes.push_back(sum * (1.0 / 6));
        hue += (share() - 0.5) * param.randomHue * (1.0 / 360);
        if (hue < 0)
            hue += 1;
        if (hue >= 1)
            hue -= 1;
        star.colors.push_back(colorOfHue(hue, s, v));
    }
    return star;
}

/// The pixel over `from`; with one byte the pixel is an index's level.
Bytes starPixel(const PlainStar &star, const tagParamSunburst &param, int height, int column, int row,
                const Bytes &from)
{
    const int n = param.spokeCount;
    const double u = double(column - param.x) / param.radius;
    const double v = double(row - (height - param.y)) / param.radius;
    const double l = std::sqrt(u * u + v * v);
    double t = (std::atan2(u, v) * 0.15915494309189535 + 0.51) * n;
    int i = static_cast<int>(std::floor(t));
    t -= i;
    i %= n;
    const int j = (i + 1) % n;
    double w1 = star.spokes[std::size_t(i)] * (1 - t) + star.spokes[std::size_t(j)] * t;
    w1 *= w1;
    const double w = 0.9 / (l + 0.001), alpha = std::clamp(w, 0.0, 1.0), compl_ = 1 - alpha;
    Bytes to;
    for (std::size_t k = 0; k < from.size(); ++k) {
        const double sc = star.colors[std::size_t(i)][k] * (1 - t) + star.colors[std::size_t(j)][k] * t;
        double col = w > 1 ? std::clamp(sc * w, 0.0, 255.0) : from[k] * compl_ + sc * alpha;
        col = std::trunc(col);
        const double c = std::clamp(w * w1, 0.0, 1.0);
        to.push_back(static_cast<uint8_t>(std::clamp(col + c * 255, 0.0, 255.0)));
        t = c;
    }
    return to;
}

/// Paints every pixel; `level` reads an index and `store` answers what is stored for a level.
template <typename Level, typename Store>
Pieces starOver(const Pieces &image, const tagParamSunburst &param, uint32_t state, Level level, Store store)
{
    const PlainStar star = plainStar(param, state);
    const int height = image.header.biHeight;
    Pieces result = image;
    std::fill(result.rows.begin(), result.rows.end(), uint8_t{0});
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < image.header.biWidth; ++x) {
            Bytes from = pixelOf(image, x, y);
            if (from.size() == 1)
                from[0] = level(from[0]);
            Bytes to = starPixel(star, param, height, x, y, from);
            if (to.size() == 1)
                to[0] = store(to[0]);
            setPixel(result, x, y, to);
        }
    return result;
}

uint8_t asItIs(uint8_t byte)
{
    return byte;
}

Bytes starOverSamples(const Pieces &image, const tagParamSunburst &param, uint32_t state)
{
    return starOver(image, param, state, asItIs, asItIs).bytes();
}

TEST_F(Lens, SunBurstByHand)
{
    // From state 1 a single spoke has (41 + 18467 + 6334 + 26500 + 19169 + 15724) / 32767 / 6 = 0.43863, squared
    // 0.19240. Black, radius 1, the centre on the first pixel. There 0.9 / 0.001 is more than all: white.
    // One pixel on 0.9 / 1.001 = 0.89910: 100 * 0.10090 = 10, and 0.89910 * 0.19240 * 255 = 44.1 are added: 54; from
    // 200 it is 20 + 44.1. Two pixels on 0.9 / 2.001 = 0.44978: 55 + 22.07 and 110 + 22.07.
    const tagParamSunburst black{0, 1, 0, 1, 1, 0};
    EXPECT_EQ(resultOf(pixelRow({9, 9, 9, 100, 200, 100, 100, 200, 200}), sunBurst(black)),
              pixelRow({255, 255, 255, 54, 64, 54, 77, 132, 132}).bytes());
    EXPECT_EQ(resultOf(levelRow({9, 100, 200}), sunBurst(black)), levelRow({255, 54, 132}).bytes());
    // A radius below 0 turns the star, which a single spoke does not show.
    const tagParamSunburst turned{0, 1, 0, -1, 1, 0};
    EXPECT_EQ(resultOf(levelRow({9, 100, 200}), sunBurst(turned)), levelRow({255, 54, 132}).bytes());
}

TEST_F(Lens, SunBurstAsThePlainLoop)
{
    uint32_t seed = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            ++seed;
            const tagParamSunburst star{
                static_cast<int>(seed * 5 % 49) - 4,
                static_cast<int>(seed * 3 % 25) - 4,
                seed * 0x12345F % 0x1000000,
                static_cast<int>(seed % 23) - 11 == 0 ? 12 : static_cast<int>(seed % 23) - 11,
                1 + static_cast<int>(seed % 9),
                static_cast<int>(seed * 31 % 720) - 360};
            for (const Pieces &image : {trueColor(width, height, seed), gray(width, height, seed)})
                ASSERT_EQ(resultOf(image, sunBurst(star, seed)), starOverSamples(image, star, seed))
                    << width << " x " << height;
        }
    for (const uint32_t color : {0x000000u, 0xFFFFFFu, 0x0000FFu, 0x00FF00u, 0xFF0000u, 0xFF00FFu, 0x808080u})
        for (const int randomHue : {0, 40, 360, -200}) {
            const tagParamSunburst star{30, 20, color, 9, 100, randomHue};
            const Pieces image = trueColor(70, 40);
            EXPECT_EQ(resultOf(image, sunBurst(star)), starOverSamples(image, star, 1)) << color;
        }
}

TEST_F(Lens, SunBurstOfPalettes)
{
    const tagParamSunburst star{6, 4, 0x2070E0, 5, 6, 90};
    // 256 colours: levels are read from the palette, and stored as they are.
    const Pieces full = paletted(23, 11, 8, 256);
    const auto redOf256 = [&](uint8_t index) { return full.palette[4 * std::size_t{index} + 2]; };
    EXPECT_EQ(resultOf(full, sunBurst(star)), starOver(full, star, 1, redOf256, asItIs).bytes());
    // Without a number the colours are looked for where the rows are.
    const Pieces none = paletted(41, 30, 8, 0);
    const auto redOfRows = [&](uint8_t index) { return none.rows[4 * std::size_t{index} + 2]; };
    EXPECT_EQ(resultOf(none, sunBurst(star)), starOver(none, star, 1, redOfRows, asItIs).bytes());
    // Fewer: the first colour of that red, 0 without one.
    Pieces few = paletted(23, 11, 8, 200);
    for (uint8_t &index : few.rows)
        index = static_cast<uint8_t>(index % 200);
    const auto redOf200 = [&](uint8_t index) { return few.palette[4 * std::size_t{index} + 2]; };
    const auto firstOfRed = [&](uint8_t red) {
        for (std::size_t i = 0; i < 200; ++i)
            if (few.palette[4 * i + 2] == red)
                return static_cast<uint8_t>(i);
        return uint8_t{0};
    };
    EXPECT_EQ(resultOf(few, sunBurst(star)), starOver(few, star, 1, redOf200, firstOfRed).bytes());
}

// 24 bits that claim to have a palette are painted all the same.
TEST_F(Lens, SunBurstOfTrueColorsWithACount)
{
    const tagParamSunburst star{6, 4, 0x2070E0, 5, 6, 90};
    Pieces image = trueColor(23, 11);
    image.header.biClrUsed = 3;
    EXPECT_EQ(resultOf(image, sunBurst(star)), starOverSamples(image, star, 1));
}

TEST_F(Lens, SunBurstLeavesOtherDepthsBlank)
{
    const tagParamSunburst star{3, 3, 0x2070E0, 5, 6, 90};
    for (const Pieces &image : {paletted(9, 20, 1, 2), paletted(9, 20, 4, 16), paletted(9, 20, 32, 0)}) {
        Pieces blank = image;
        std::fill(blank.rows.begin(), blank.rows.end(), uint8_t{0});
        EXPECT_EQ(resultOf(image, sunBurst(star)), blank.bytes());
        EXPECT_EQ(eventsOf(image, sunBurst(star)),
                  joined({{"wait", "poll"}, rowEvents(20), {"100%", "arrow"}}));
    }
}

TEST_F(Lens, SunBurstDrawsSevenNumbersForASpoke)
{
    for (const int spokes : {1, 2, 30}) {
        resultOf(trueColor(5, 4), sunBurst({2, 2, 0x4080FF, 3, spokes, 50}, 77));
        Numbers numbers(77);
        for (int i = 0; i < 7 * spokes; ++i)
            numbers.next();
        EXPECT_EQ(velmont::rand(), numbers.next()) << spokes;
    }
}

TEST_F(Lens, SunBurstRefusals)
{
    const Handle color = trueColor(9, 5).handle();
    EXPECT_EQ(eventsOfRefusal(color, [](void *dib) { return ProcessSunBurst(dib, nullptr); }), Events{});
    EXPECT_EQ(eventsOfRefusal(nullptr, sunBurst({1, 1, 1, 1, 1, 1})), Events{});
    for (const int spokes : {0, -1, INT32_MIN, INT32_MAX / 8 + 1, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(color, sunBurst({1, 1, 1, 1, spokes, 1})), Events{}) << spokes;
    EXPECT_EQ(eventsOfRefusal(color, sunBurst({1, 1, 1, 0, 1, 1})), Events{});
}

TEST_F(Lens, SunBurstTakesAbsurdFields)
{
    constexpr int kEnds[] = {INT32_MIN, INT32_MAX};
    for (const int x : kEnds)
        for (const int y : kEnds)
            for (const int radius : kEnds)
                for (const int hue : kEnds)
                    for (const Pieces &image : {trueColor(5, 4), gray(5, 4)})
                        EXPECT_FALSE(resultOf(image, sunBurst({x, y, 0xFFFF80FF, radius, 9, hue})).empty());
}

TEST_F(Lens, SunBurstEventsAbortsAndMemory)
{
    const Effect effect = sunBurst({3, 3, 0x2070E0, 5, 6, 90});
    for (const Pieces &image : {trueColor(5, 35), gray(5, 35)}) {
        EXPECT_EQ(eventsOf(image, effect), joined({{"wait", "poll"}, rowEvents(35), {"100%", "arrow"}}));
        expectAborts(image, effect, 1);
        expectFailuresSurvived(image, effect);
        const Handle handle = image.handle();
        for (int n = 1; n <= 2; ++n) {
            memory_hooks::failAllocation(n);
            EXPECT_EQ(eventsOfRefusal(handle, effect), (Events{"wait", "arrow"})) << n;
        }
    }
}

} // namespace

} // namespace velmont::testing
