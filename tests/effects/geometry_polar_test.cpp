// The polar warps and the cylinder.

#include "geometry/ellipse_warp.h"
#include "tests/effects/tone_testing.h"
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/geometry.h>

namespace velmont::testing {

namespace {

Effect angular(int type, int strength)
{
    return [=](void *dib) {
        tagParamPTAngular record{type, strength};
        return ProcessPolarTransformAngular(dib, &record);
    };
}
Effect radial(int type, int strength)
{
    return [=](void *dib) {
        tagParamPTRadial record{type, strength};
        return ProcessPolarTransformRadial(dib, &record);
    };
}

/// A place from the centre at a normalised squared radius of entry / 512, where the tables send it: times 16384.
struct Pull {
    bool isAngular;
    int type, strength;

    Effect effect() const { return isAngular ? angular(type, strength) : radial(type, strength); }

    /// Cosine and sine; a scale is a cosine alone.
    std::array<int64_t, 2> at(int entry) const
    {
        const double t = entry / 512.0, r = std::sqrt(t);
        double turn = 0;
        if (!isAngular) {
            const double scale = type == 1   ? std::pow(t, -0.003 * strength)
                                 : type == 2 ? std::asin(r) * 2 / (r * 3.14159265)
                                             : std::pow(t, 0.0075 * strength);
            return {static_cast<int64_t>(scale * 16384), 0};
        }
        if (type == 3)
            return {static_cast<int64_t>(16384 * (1 - t) / (1 + t)),
                    static_cast<int64_t>(32768 * r / (1 + t))};
        if (type == 4)
            return {static_cast<int64_t>(16384 * (1 - r)),
                    static_cast<int64_t>(16384 * std::sqrt(2 * r * (1 - r)))};
        turn = type == 1 ? 0.125663706 * strength * r : -0.062831853 * strength * (r - 1) * (r - 1);
        return {static_cast<int64_t>(16384 * std::cos(turn)), static_cast<int64_t>(16384 * std::sin(turn))};
    }
};

const std::vector<Pull> &allPulls()
{
    static const std::vector<Pull> pulls{{true, 1, 1},    {true, 1, 37},  {true, 1, 100},  {true, 2, 1},
                                         {true, 2, 64},   {true, 2, 100}, {true, 3, 5},    {true, 4, 100},
                                         {false, 1, 1},   {false, 1, 50}, {false, 1, 100}, {false, 2, 0},
                                         {false, 3, 100}, {false, 3, 1},  {false, 3, 42}};
    return pulls;
}

/// What 32 bits keep of a number.
int64_t wrapped(int64_t value)
{
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

/// The image with pixel(x, y) as the pixel that goes to (x, y), and zero padding.
Pieces moved(const Pieces &source, const std::function<std::array<int64_t, 2>(int64_t, int64_t)> &placeOf)
{
    const int64_t width = source.header.biWidth, height = source.header.biHeight,
                  bytes = source.header.biBitCount / 8;
    const auto stride = static_cast<int64_t>(strideFor(source.header.biWidth, source.header.biBitCount));
    Pieces image = source;
    std::fill(image.rows.begin(), image.rows.end(), uint8_t{0});
    for (int64_t y = 0; y < height; ++y)
        for (int64_t x = 0; x < width; ++x) {
            const auto [column, row] = placeOf(x, y);
            std::copy_n(source.rows.begin() + row * stride + column * bytes, bytes,
                        image.rows.begin() + y * stride + x * bytes);
        }
    return image;
}

/// The warp, pixel by pixel, with both divisions at each.
Bytes warped(const Pieces &source, const Pull &pull)
{
    const int64_t width = source.header.biWidth, height = source.header.biHeight;
    int64_t a = wrapped((width - 1) * (width - 1)), b = wrapped((height - 1) * (height - 1));
    int bits = 0;
    while (bits < 31 && (wrapped(a + b) >> bits) != 0)
        ++bits;
    const int head = 31 - bits, shift = std::min(head, 9);
    for (int i = shift; i < 9; ++i) {
        a = a >> 1;
        b = b >> 1;
    }
    a = std::max<int64_t>(a, 1);
    b = std::max<int64_t>(b, 1);
    std::vector<std::array<int64_t, 2>> table(512);
    for (int i = 1; i < 512; ++i)
        table[static_cast<std::size_t>(i)] = pull.at(i);
    const Pieces image = moved(source, [&](int64_t x, int64_t y) -> std::array<int64_t, 2> {
        const int64_t dx = 2 * x + 1 - width, dy = 2 * y + 1 - height;
        int64_t index = wrapped(wrapped(dy * dy << shift) / b + wrapped(dx * dx << shift) / a);
        if (index >= 512)
            return {x, y};
        index = std::max<int64_t>(index, 1);
        const auto [c, s] = table[static_cast<std::size_t>(index)];
        const int64_t cx = width * 16384 - 8192, cy = height * 16384 - 8192;
        return {std::clamp<int64_t>(wrapped(c * dx - s * dy + cx) >> 15, 0, width - 1),
                std::clamp<int64_t>(wrapped(s * dx + c * dy + cy) >> 15, 0, height - 1)};
    });
    return image.bytes();
}

/// The column that the cylinder takes for column i, and its fraction.
std::array<int, 2> bentColumn(int i, int width)
{
    double p = 0;
    if (width > 1)
        p = width * (0.5 + 0.31830989161357204 * std::asin(2.0 * i / width - 1));
    const int column = std::max(0, std::min(width, static_cast<int>(p)));
    return {column % 65536, static_cast<int>((p - column) * 256)}; // columns are kept in 16 bits
}

Bytes bent(const Pieces &source)
{
    const int width = source.header.biWidth, channels = source.header.biBitCount / 8;
    const std::size_t stride = strideFor(width, source.header.biBitCount);
    Pieces image = source;
    std::fill(image.rows.begin(), image.rows.end(), uint8_t{0});
    for (std::size_t start = 0; start < image.rows.size(); start += stride)
        for (int x = 0; x < width; ++x)
            for (int channel = 0; channel < channels; ++channel) {
                const auto at = [&](int column) {
                    return start + static_cast<std::size_t>(column * channels + channel);
                };
                const auto [column, f] = bentColumn(x, width);
                int mixed = (256 - f) * source.rows[at(column)];
                if (f != 0)
                    mixed += f * source.rows[at(column + 1)];
                image.rows[at(x)] = static_cast<uint8_t>(mixed / 256);
            }
    return image.bytes();
}

/// 5 by 5 gray pixels with the level 10 * y + x.
Pieces numbered()
{
    Pieces image{makeHeader(5, 5, 8, 256), grayRamp(), {}};
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 8; ++x)
            image.rows.push_back(static_cast<uint8_t>(x < 5 ? 10 * y + x : 0xEE));
    return image;
}

/// The pixels of an image of 5 by 5.
std::vector<Bytes> numbersOf(const Bytes &block)
{
    std::vector<Bytes> rows;
    for (int y = 0; y < 5 && block.size() == 1104; ++y) {
        const auto start = block.begin() + 1064 + 8 * y;
        rows.emplace_back(start, start + 5);
    }
    return rows;
}

using Rows = std::vector<Bytes>;

class PolarWarps : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(PolarWarps, Refusals)
{
    const Handle image = gray(5, 4).handle();
    const auto refuses = [&](const Effect &effect) {
        EXPECT_EQ(eventsOfRefusal(image, effect), Events{});
        EXPECT_EQ(eventsOfRefusal(nullptr, effect), Events{});
    };
    for (const int bad : {0, 5, -1, INT32_MIN, INT32_MAX})
        refuses(angular(bad, 50));
    for (const int bad : {0, 4, -1, INT32_MIN, INT32_MAX})
        refuses(radial(bad, 50));
    for (const int bad : {0, 101, -1, INT32_MIN, INT32_MAX}) {
        for (int type = 1; type <= 4; ++type)
            refuses(angular(type, bad));
        refuses(radial(1, bad));
        refuses(radial(3, bad));
        for (const auto named : {ProcessSpiral, ProcessWhirlpool, ProcessCone, ProcessFishEye})
            refuses([=](void *dib) { return named(dib, bad); });
    }
    refuses([](void *dib) { return ProcessPolarTransformAngular(dib, nullptr); });
    refuses([](void *dib) { return ProcessPolarTransformRadial(dib, nullptr); });
    EXPECT_EQ(eventsOfRefusal(nullptr, ProcessSphere), Events{});
    EXPECT_EQ(eventsOfRefusal(nullptr, ProcessCylinder), Events{});
    for (const unsigned code : {41u, 48u, 49u, 50u, 57u, 64u})
        EXPECT_EQ(EnhanceAndEffects(image, code, 0), nullptr) << code;
    for (const Pieces &other :
         {paletted(5, 4, 8, 256), paletted(5, 4, 8, 9), paletted(5, 4, 8, 0), paletted(5, 4, 4, 16),
          paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)}) {
        const Handle handle = other.handle();
        for (const Pull &pull : allPulls())
            EXPECT_EQ(eventsOfRefusal(handle, pull.effect()), Events{});
        EXPECT_EQ(eventsOfRefusal(handle, ProcessCylinder), Events{});
    }
    for (const Effect &effect : {angular(2, 9), radial(1, 9), Effect(ProcessCylinder)})
        expectLiesRefused(effect);
}

// 5 by 5: the eight pixels around the centre lie inside the ellipse, at squared distances of 128 and 256 of 512.
TEST_F(PolarWarps, TurnsByTheDistance)
{
    // Cosine and sine are 9830 and 13107, then 5461 and 15446: pixel (3, 2) is taken from 2 * 9830 + 73728 = 93388, in
    // 1/32768 column 2, and from 2 * 13107 + 73728 = 99942, row 3.
    EXPECT_EQ(numbersOf(resultOf(numbered(), angular(3, 1))), (Rows{{0, 1, 2, 3, 4},
                                                                    {10, 2, 13, 23, 14},
                                                                    {20, 11, 22, 32, 24},
                                                                    {30, 10, 21, 31, 34},
                                                                    {40, 41, 42, 43, 44}}));
    // A right angle nearly: r = 0.5 and a strength of 25 make 1.5707963.
    const Rows spiral = numbersOf(resultOf(numbered(), angular(1, 25)));
    ASSERT_EQ(spiral.size(), 5u);
    EXPECT_EQ(spiral[2][3], 32); // from (2, 3)
    EXPECT_EQ(spiral[3][2], 21);
    // (0.5 - 1)^2 * 100 * -0.0628 is a right angle the other way: cosine and sine are 0 and -16383 or -16384.
    const Rows whirl = numbersOf(resultOf(numbered(), angular(2, 100)));
    ASSERT_EQ(whirl.size(), 5u);
    EXPECT_EQ(whirl[2][3], 12);
    EXPECT_EQ(whirl[3][2], 23);
}

// Half way out the cosine is 0.5 and the sine sqrt(0.5): 8192 and 11585.
TEST_F(PolarWarps, TheFourthAngularTypeShrinksToo)
{
    const Rows rows = numbersOf(resultOf(numbered(), angular(4, 1)));
    ASSERT_EQ(rows.size(), 5u);
    EXPECT_EQ(rows[2][3], 22); // 2 * 8192 + 73728 = 90112; 2 * 11585 + 73728 = 96898
    EXPECT_EQ(rows[2][1], 11); // -2 * 8192 + 73728 = 57344; -2 * 11585 + 73728 = 50558
}

TEST_F(PolarWarps, ScalesByTheDistance)
{
    // Two thirds half way out and 0.7071 beyond: everything inside comes from the centre or next to it.
    EXPECT_EQ(numbersOf(resultOf(numbered(), ProcessSphere)), (Rows{{0, 1, 2, 3, 4},
                                                                    {10, 11, 12, 12, 14},
                                                                    {20, 21, 22, 22, 24},
                                                                    {30, 21, 22, 22, 34},
                                                                    {40, 41, 42, 43, 44}}))
        << "-2 * 10922 + 73728 = 51884 is in column 1, 2 * 10922 + 73728 = 95572 in column 2";
    // 0.25^-0.3 = 1.5157 and 0.5^-0.3 = 1.2311
    EXPECT_EQ(numbersOf(resultOf(numbered(), radial(1, 100))), (Rows{{0, 1, 2, 3, 4},
                                                                     {10, 11, 2, 13, 14},
                                                                     {20, 20, 22, 23, 24},
                                                                     {30, 31, 32, 33, 34},
                                                                     {40, 41, 42, 43, 44}}));
}

TEST_F(PolarWarps, EverySmallSizeAgainstOnePixelAtATime)
{
    const auto levels = cpuLevels();
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 20; ++height) {
            const auto seed = static_cast<uint32_t>(width * 50 + height);
            limitCpuLevel(levels[seed % levels.size()]);
            const Pieces images[] = {gray(width, height, seed), trueColor(width, height, seed)};
            for (std::size_t i = 0; i < allPulls().size(); ++i) {
                // The smallest see all, the others each its own half.
                if (width > 20 && (i + seed) % 2 != 0)
                    continue;
                const Pull &pull = allPulls()[i];
                for (const Pieces &image : images)
                    ASSERT_EQ(resultOf(image, pull.effect()), warped(image, pull))
                        << width << " x " << height << ", " << pull.isAngular << pull.type;
            }
            for (const Pieces &image : images)
                ASSERT_EQ(resultOf(image, ProcessCylinder), bent(image)) << width << " x " << height;
        }
}

TEST_F(PolarWarps, LongRowsOnEveryCpuLevel)
{
    for (const auto &[width, height] : {std::array{511, 7}, {512, 3}, {513, 40}, {1100, 30}, {31, 700}})
        for (const Pull &pull : {Pull{true, 1, 80}, Pull{true, 4, 1}, Pull{false, 1, 90}, Pull{false, 3, 90}})
            for (const Pieces &image : {gray(width, height), trueColor(width, height)}) {
                const Bytes expected = warped(image, pull);
                for (const CpuLevel level : cpuLevels()) {
                    limitCpuLevel(level);
                    ASSERT_TRUE(resultOf(image, pull.effect()) == expected) << width << " x " << height;
                }
            }
}

TEST_F(PolarWarps, VeryLargeImages)
{
    // The index loses bits above 2048 pixels or so, and its numbers wrap above 46341.
    EXPECT_EQ(EllipseIndex::make(1, 1).shift, 9);
    EXPECT_EQ(EllipseIndex::make(1, 1).acrossDivisor, 1);
    EXPECT_EQ(EllipseIndex::make(2049, 1).shift, 8); // 2048^2 has 23 bits
    EXPECT_EQ(EllipseIndex::make(2049, 1).acrossDivisor, 2048 * 1024);
    EXPECT_EQ(EllipseIndex::make(2048, 1).shift, 9);
    EXPECT_EQ(EllipseIndex::make(3000, 4).shift, 7);
    EXPECT_EQ(EllipseIndex::make(3000, 4).acrossDivisor, 2248500);
    EXPECT_EQ(EllipseIndex::make(3000, 4).downwardDivisor, 2);
    EXPECT_EQ(EllipseIndex::make(40000, 40000).shift, 0);
    EXPECT_EQ(EllipseIndex::make(46341, 1).acrossDivisor, 46340 * 46340 / 512);
    EXPECT_EQ(EllipseIndex::make(46342, 1).acrossDivisor, 1) << "46341 squared is negative in 32 bits";
    for (const auto &[width, height] : {std::array{2049, 3},
                                        {3000, 4},
                                        {3, 5000},
                                        {33000, 3},
                                        {46342, 2},
                                        {46341, 3},
                                        {65537, 2},
                                        {70001, 3},
                                        {2, 66000}})
        for (const Pull &pull : {Pull{true, 1, 80}, Pull{false, 1, 90}, Pull{false, 2, 0}})
            for (const CpuLevel level : cpuLevels()) {
                limitCpuLevel(level);
                const Pieces image = gray(width, height);
                ASSERT_TRUE(resultOf(image, pull.effect()) == warped(image, pull))
                    << width << " x " << height;
            }
}

TEST_F(PolarWarps, TheCornersStay)
{
    const Pieces image = trueColor(24, 17);
    const auto isSame = [&](const Bytes &result, int x, int y) {
        const std::size_t at = static_cast<std::size_t>(y * 72 + x * 3);
        return std::equal(image.rows.begin() + static_cast<std::ptrdiff_t>(at),
                          image.rows.begin() + static_cast<std::ptrdiff_t>(at + 3),
                          result.begin() + 40 + static_cast<std::ptrdiff_t>(at));
    };
    for (const Pull &pull : allPulls()) {
        const Bytes result = resultOf(image, pull.effect());
        for (const int x : {0, 1, 22, 23})
            for (const int y : {0, 16})
                EXPECT_TRUE(isSame(result, x, y)) << pull.isAngular << pull.type << ": " << x << ", " << y;
        if (pull.strength > 5) {
            EXPECT_NE(result, image.bytes());
        }
    }
}

TEST_F(PolarWarps, TheCentreOfAnOddSizeStays)
{
    for (const Pull &pull : allPulls())
        EXPECT_EQ(numbersOf(resultOf(numbered(), pull.effect())).at(2).at(2), 22);
}

TEST_F(PolarWarps, OnlyTheSphereIgnoresItsStrength)
{
    const Pieces image = trueColor(19, 23);
    const Bytes sphere = resultOf(image, ProcessSphere);
    for (const int strength : {0, 1, 20, 100, 1000, -5, INT32_MIN, INT32_MAX})
        EXPECT_EQ(resultOf(image, radial(2, strength)), sphere) << strength;
    EXPECT_NE(resultOf(image, radial(1, 10)), resultOf(image, radial(1, 90)));
    EXPECT_NE(resultOf(image, radial(3, 10)), resultOf(image, radial(3, 90)));
    for (const int type : {3, 4})
        EXPECT_EQ(resultOf(image, angular(type, 1)), resultOf(image, angular(type, 100)));
}

TEST_F(PolarWarps, ByNameAndByCode)
{
    const Pieces image = gray(29, 14);
    struct Entry {
        void *(*named)(void *, int);
        unsigned code;
        Pull pull;
    };
    for (const Entry &entry :
         {Entry{ProcessSpiral, 50, {true, 1, 33}}, Entry{ProcessWhirlpool, 49, {true, 2, 33}},
          Entry{ProcessCone, 48, {false, 1, 33}}, Entry{ProcessFishEye, 41, {false, 3, 33}}}) {
        const Bytes expected = resultOf(image, entry.pull.effect());
        int32_t strength = 33;
        EXPECT_EQ(resultOf(image, [&](void *dib) { return entry.named(dib, 33); }), expected);
        EXPECT_EQ(resultOf(image,
                           [&](void *dib) {
                               return EnhanceAndEffects(dib, entry.code, reinterpret_cast<long>(&strength));
                           }),
                  expected);
        // The records of both warps are alike.
        int32_t record[] = {entry.pull.type, 33};
        const unsigned code = entry.pull.isAngular ? 57 : 64;
        EXPECT_EQ(
            resultOf(image,
                     [&](void *dib) { return EnhanceAndEffects(dib, code, reinterpret_cast<long>(record)); }),
            expected);
    }
    EXPECT_EQ(resultOf(image, [](void *dib) { return EnhanceAndEffects(dib, 55, 0); }),
              resultOf(image, ProcessSphere));
    EXPECT_EQ(resultOf(image, [](void *dib) { return EnhanceAndEffects(dib, 66, 0); }),
              resultOf(image, ProcessCylinder));
}

TEST_F(PolarWarps, WhatTheHostSees)
{
    for (const Pieces &image : {gray(5, 37), trueColor(5, 37)})
        for (const Pull &pull : allPulls()) {
            EXPECT_EQ(eventsOf(image, pull.effect()),
                      joined({{"wait", "poll"}, rowEvents(37), {"100%", "arrow"}}));
            EXPECT_EQ(rowEvents(37)[1], "0%");
        }
    for (const Effect &effect : {angular(1, 50), radial(3, 50), Effect(ProcessCylinder)}) {
        expectAborts(gray(3, 18), effect, 1);
        expectAborts(trueColor(3, 18), effect, 1);
        expectFailuresSurvived(trueColor(3, 18), effect);
    }
}

TEST_F(PolarWarps, WhatTheCylinderShows)
{
    for (const int width : {1, 2, 9})
        EXPECT_EQ(eventsOf(gray(width, 19), ProcessCylinder),
                  joined({{"wait", "poll"},
                          Events(static_cast<std::size_t>(width), "poll"),
                          rowEvents(19),
                          {"100%", "arrow"}}));
}

// asin(-0.5) is a sixth of pi: columns 0, 1 1/3, 2 and 2 2/3.
TEST_F(PolarWarps, TheCylinderByHand)
{
    const Bytes result = resultOf(levelRow({0, 100, 200, 40}), ProcessCylinder);
    ASSERT_EQ(result.size(), 1068u);
    EXPECT_EQ(Bytes(result.end() - 4, result.end()),
              (Bytes{0, (171 * 100 + 85 * 200) / 256, 200, (86 * 200 + 170 * 40) / 256}));
    // Each channel by itself; 3 pixels: columns 0, 1.17 and 1.82.
    const Bytes colors = resultOf(pixelRow({1, 2, 3, 10, 20, 30, 110, 220, 130}), ProcessCylinder);
    ASSERT_EQ(colors.size(), 52u);
    const auto mixed = [](int f, int from, int to) {
        return static_cast<uint8_t>(((256 - f) * from + f * to) / 256);
    };
    // 3 * (asin(-1/3) / pi + 0.5) = 1.17548, 3 * (asin(1/3) / pi + 0.5) = 1.82452
    EXPECT_EQ(Bytes(colors.begin() + 40, colors.end()),
              (Bytes{1, 2, 3, mixed(44, 10, 110), mixed(44, 20, 220), mixed(44, 30, 130), mixed(211, 10, 110),
                     mixed(211, 20, 220), mixed(211, 30, 130), 0, 0, 0}));
}

TEST_F(PolarWarps, TheCylinderOfOneColumnIsACopy)
{
    for (const Pieces &image : {gray(1, 20), trueColor(1, 20)})
        EXPECT_EQ(resultOf(image, ProcessCylinder), bent(image));
    const Pieces one = pixelRow({7, 8, 9});
    EXPECT_EQ(resultOf(one, ProcessCylinder), one.bytes());
}

// What lies behind a row is never mixed in.
TEST_F(PolarWarps, TheCylinderStaysInTheRow)
{
    for (int width = 1; width <= 3000; ++width)
        for (int i = std::max(0, width - 3); i < width; ++i) {
            const auto [column, fraction] = bentColumn(i, width);
            EXPECT_TRUE(column + 1 < width || (column + 1 == width && fraction == 0)) << i << " of " << width;
        }
    for (const int width : {300, 1001, 40000, 65535, 65800})
        for (const Pieces &image : {gray(width, 2), trueColor(width, 2)})
            EXPECT_TRUE(resultOf(image, ProcessCylinder) == bent(image)) << width;
}

// A header longer than 40 bytes is carried over; the pixels come on top of it.
TEST_F(PolarWarps, LongHeaders)
{
    for (const Effect &effect : {angular(2, 40), radial(1, 40), Effect(ProcessCylinder)}) {
        Pieces image = trueColor(5, 3);
        const Bytes usual = resultOf(image, effect);
        image.header.biSize = 56;
        Bytes expected = usual;
        expected[0] = 56;
        expected[55] = image.rows[15]; // the padding of the first row, which the header reaches
        EXPECT_EQ(resultOf(image, effect), expected);
    }
}

} // namespace

} // namespace velmont::testing
