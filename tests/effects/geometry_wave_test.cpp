// Zig-zag, magic mirror, ribbon, ripple and wrinkle.

#include "core/cpu.h"
#include "core/generator.h"
#include "geometry/zig_zag_kernels.h"
#include "platform/memory.h"
#include "tests/effects/warp_testing.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/geometry.h>

namespace velmont::testing {

namespace {

Effect zigZag(int amount, int ridges)
{
    return [=](void *dib) {
        tagZigZagParam record{amount, ridges};
        return ProcessZigZag(dib, &record);
    };
}

using Curve = std::array<uint8_t, 256>;

/// The curve whose value at i is of(i), held within 0 to 255.
Curve curveOf(const std::function<double(int)> &of)
{
    Curve curve{};
    for (int i = 0; i < 256; ++i)
        curve[static_cast<std::size_t>(i)] = static_cast<uint8_t>(std::clamp(of(i), 0.0, 255.0));
    return curve;
}
const Curve kStraight = curveOf([](int i) { return i; });

Effect mirror(int mode, const Curve &curve)
{
    return [=](void *dib) {
        tagParamMagicMirror record{mode, {}};
        std::copy(curve.begin(), curve.end(), record.curve);
        return ProcessMagicMirror(dib, &record);
    };
}

Effect ribbon(int frequency, int depth, uint32_t color = 0x00C08040)
{
    return [=](void *dib) {
        tagParamRibbon record{frequency, depth, color};
        return ProcessRibbon(dib, &record);
    };
}

Effect ripple(int amount)
{
    return [=](void *dib) { return ProcessRipple(dib, amount); };
}

Effect wrinkle(int strength, uint32_t color = 0x00C08040)
{
    return [=](void *dib) {
        tagParamWrinkle record{strength, color};
        return ProcessWrinkle(dib, &record);
    };
}

/// With the generator at this state first.
Effect seeded(uint32_t state, const Effect &effect)
{
    return [=](void *dib) {
        velmont::srand(state);
        return effect(dib);
    };
}

const std::vector<Pieces> kOtherDepths = {paletted(5, 4, 4, 16), paletted(5, 4, 1, 2), paletted(5, 4, 16, 0),
                                          paletted(5, 4, 32, 0)};

class Waves : public ::testing::Test {
protected:
    /// check(image) at each small size, gray and true colour, on each level of processors.
    template <typename Check>
    void forSmallImages(Check check)
    {
        for (const CpuLevel level : cpuLevels()) {
            limitCpuLevel(level);
            for (int width = 1; width <= 40; ++width)
                for (int height = 1; height <= 20; ++height)
                    for (const Pieces &image : {gray(width, height), trueColor(width, height)})
                        ASSERT_NO_FATAL_FAILURE(check(image)) << width << " x " << height;
        }
    }

    NothingLost check_;
    Restore restore_;
};

// Ribbon.

TEST_F(Waves, RibbonRefusals)
{
    const Handle image = gray(5, 4).handle();
    EXPECT_EQ(eventsOfRefusal(nullptr, ribbon(10, 10)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessRibbon(dib, nullptr); }), Events{});
    for (const Pieces &other : kOtherDepths)
        EXPECT_EQ(eventsOfRefusal(other.handle(), ribbon(10, 10)), Events{});
    EXPECT_EQ(eventsOfRefusal(paletted(5, 4, 8, 256).handle(), ribbon(10, 10)), Events{});
    expectLiesRefused(ribbon(10, 10));
}

TEST_F(Waves, RibbonByHand)
{
    const Pieces image = levels({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12}});
    // Without a frequency the cosine is 1: all columns move by 100 * 4 * 3 / 400 = 3 rows.
    EXPECT_EQ(resultOf(image, ribbon(0, 100)),
              levels({{64, 64, 64}, {64, 64, 64}, {64, 64, 64}, {1, 2, 3}}).bytes());
    // 34 * 4 * 3 / 400 = 1.02, truncated to 1.
    EXPECT_EQ(resultOf(image, ribbon(0, 34)),
              levels({{64, 64, 64}, {1, 2, 3}, {4, 5, 6}, {7, 8, 9}}).bytes());
    // 33 * 12 / 400 is below 1.
    EXPECT_EQ(resultOf(image, ribbon(99, 33)), image.bytes());
    // One and a half half-waves: the cosine is 1, 0 and -1; shifts are 3, 1.5 cut to 1, and 0. The row that would come
    // from behind 4 - 3 - 1 = 0 is outside, although the image has it.
    EXPECT_EQ(resultOf(image, ribbon(15, 100)),
              levels({{64, 64, 3}, {64, 2, 64}, {64, 64, 64}, {1, 64, 64}}).bytes());
    // A negative depth moves the other way: row y comes from y + 3, and 4 and more lie outside.
    EXPECT_EQ(resultOf(image, ribbon(0, -100)),
              levels({{10, 11, 12}, {64, 64, 64}, {64, 64, 64}, {64, 64, 64}}).bytes());
    // True colour takes all of the colour, blue first.
    Pieces line = trueColor(1, 2);
    EXPECT_EQ(resultOf(line, ribbon(0, 67)), movedPixels(line, 0x00C08040, [](int, int y) {
                                                 return y == 1 ? std::optional<Place>({0, 0}) : std::nullopt;
                                             }).bytes());
    EXPECT_EQ(pixelOf(movedPixels(line, 0x00C08040, [](int, int) { return std::nullopt; }), 0, 0),
              (Bytes{0xC0, 0x80, 0x40}));
}

TEST_F(Waves, RibbonWithoutDepthChangesNothing)
{
    const Pieces image = trueColor(20, 17);
    const Bytes same = movedPixels(image, 0, [](int x, int y) { return Place{x, y}; }).bytes();
    for (const int frequency : {INT32_MIN, -7, 0, 100, INT32_MAX})
        EXPECT_EQ(resultOf(image, ribbon(frequency, 0)), same);
}

TEST_F(Waves, RibbonAsThePlainLoop)
{
    constexpr std::array kFrequencies{0, 1, 10, 37, 200, -25, INT32_MAX, INT32_MIN};
    constexpr std::array kDepths{1, 10, 50, 100, 133, 134, 200, -30, -200, 1000000, -1000000};
    std::size_t next = 0;
    forSmallImages([&](const Pieces &image) {
        const int frequency = kFrequencies[next % kFrequencies.size()],
                  depth = kDepths[next % kDepths.size()];
        ++next;
        const int width = image.header.biWidth, height = image.header.biHeight;
        const int swing = depth * height * 3 / 400;
        const auto from = [&](int x, int y) -> std::optional<Place> {
            const double f = frequency * 0.1 / width;
            const int row = y - static_cast<int>((std::cos(x * f * 3.1415926) + 1) * 0.5 * swing);
            if (row < 0 || row > height - swing - 1 || row >= height)
                return std::nullopt;
            return Place{x, row};
        };
        ASSERT_EQ(resultOf(image, ribbon(frequency, depth)), movedPixels(image, 0x00C08040, from).bytes())
            << frequency << ", " << depth;
    });
}

TEST_F(Waves, RibbonSurvivesAnyDepth)
{
    for (const Pieces &image : {gray(300, 9), trueColor(7, 41)})
        for (const int depth : {INT32_MIN, INT32_MIN + 1, -1431655766, 1431655765, INT32_MAX})
            for (const int frequency : {INT32_MIN, 0, 333, INT32_MAX})
                EXPECT_EQ(resultOf(image, ribbon(frequency, depth)).size(), image.bytes().size());
}

TEST_F(Waves, RibbonEvents)
{
    for (const Pieces &image : {gray(9, 37), trueColor(9, 37)}) {
        EXPECT_EQ(eventsOf(image, ribbon(10, 10)),
                  joined({{"wait", "poll"}, rowEvents(37), {"100%", "arrow"}}));
        expectAborts(image, ribbon(10, 10), 1);
        expectFailuresSurvived(image, ribbon(10, 10));
        for (const int n : {1, 2}) { // the result, the columns
            const Handle handle = image.handle();
            memory_hooks::failAllocation(n);
            EXPECT_EQ(eventsOfRefusal(handle, ribbon(10, 10)), (Events{"wait", "arrow"}));
            memory_hooks::failAllocation(0);
        }
    }
}

// Ripple.

TEST_F(Waves, RippleRefusals)
{
    EXPECT_EQ(eventsOfRefusal(nullptr, ripple(10)), Events{});
    for (const Pieces &other : kOtherDepths)
        EXPECT_EQ(eventsOfRefusal(other.handle(), ripple(10)), Events{});
    EXPECT_EQ(eventsOfRefusal(paletted(5, 4, 8, 256).handle(), ripple(10)), Events{});
    expectLiesRefused(ripple(10));
}

TEST_F(Waves, RippleByHand)
{
    // Amount 4 has a period of 5. 4 * sin(12.5663706 / 5) / 4 + 0.5 = 1.09 is the first swing; those at 0, 2, 3 and 4
    // are 0.5, -0.21, 0.98 and 0.35, all of which are cut to 0.
    EXPECT_EQ(resultOf(levels({{1, 2, 3}, {4, 5, 6}}), ripple(4)), levels({{1, 5, 3}, {5, 6, 6}}).bytes());
    EXPECT_EQ(resultOf(levels({{1, 2, 3}, {4, 5, 6}}), ripple(5)), levels({{1, 5, 3}, {5, 6, 6}}).bytes());
}

TEST_F(Waves, RippleHoldsItsAmount)
{
    const Pieces image = trueColor(90, 70);
    const Bytes least = resultOf(image, ripple(1)), most = resultOf(image, ripple(100));
    EXPECT_NE(most, least);
    for (const int amount : {0, -1, INT32_MIN})
        EXPECT_EQ(resultOf(image, ripple(amount)), least);
    for (const int amount : {101, INT32_MAX})
        EXPECT_EQ(resultOf(image, ripple(amount)), most);
}

Bytes rippled(const Pieces &image, int amount)
{
    const int width = image.header.biWidth, height = image.header.biHeight, p = amount / 2 + 3;
    const auto swing = [&](int i) {
        return static_cast<int>(std::abs(p - i % (2 * p)) * std::sin(i * 12.5663706 / p) * 0.25 + 0.5);
    };
    return movedPixels(image, 0,
                       [&](int x, int y) {
                           return Place{std::clamp(x + swing(y), 0, width - 1),
                                        std::clamp(y + swing(x + y), 0, height - 1)};
                       })
        .bytes();
}

TEST_F(Waves, RippleAsThePlainLoop)
{
    int amount = 1;
    forSmallImages([&](const Pieces &image) {
        amount = amount % 100 + 1;
        ASSERT_EQ(resultOf(image, ripple(amount)), rippled(image, amount)) << amount;
    });
    // Beyond one run of pixels, and beyond the longest cycle.
    for (const Pieces &image : {gray(523, 130), trueColor(261, 215)})
        for (const int each : {1, 50, 100})
            ASSERT_EQ(resultOf(image, ripple(each)), rippled(image, each)) << each;
}

TEST_F(Waves, RippleEvents)
{
    for (const Pieces &image : {gray(9, 37), trueColor(9, 37)}) {
        EXPECT_EQ(eventsOf(image, ripple(40)), joined({{"wait", "poll"}, rowEvents(37), {"100%", "arrow"}}));
        expectAborts(image, ripple(40), 1);
        expectFailuresSurvived(image, ripple(40));
        for (const int n : {1, 2}) {
            const Handle handle = image.handle();
            memory_hooks::failAllocation(n);
            EXPECT_EQ(eventsOfRefusal(handle, ripple(40)), (Events{"wait", "arrow"}));
            memory_hooks::failAllocation(0);
        }
    }
}

// Wrinkle.

TEST_F(Waves, WrinkleRefusals)
{
    const Handle image = gray(5, 4).handle();
    for (const int bad : {INT32_MIN, -1, 0, 101, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(image, wrinkle(bad)), Events{}) << bad;
    EXPECT_EQ(eventsOfRefusal(nullptr, wrinkle(10)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessWrinkle(dib, nullptr); }), Events{});
    for (const Pieces &other : kOtherDepths)
        EXPECT_EQ(eventsOfRefusal(other.handle(), wrinkle(10)), Events{});
    EXPECT_EQ(eventsOfRefusal(paletted(5, 4, 8, 256).handle(), wrinkle(10)), Events{});
    expectLiesRefused(wrinkle(10));
}

TEST_F(Waves, WrinkleByHand)
{
    const Pieces image = levels({{1, 2, 3}, {4, 5, 6}});
    // From state 4 the numbers end in 051, 945 and 159: below 300 a step forward, above 700 one back, so that the
    // columns come from 1, 0 and 1 rows on. From state 3 * 2 they end in 058 and 673: both rows from a column on.
    EXPECT_EQ(resultOf(image, seeded(4, wrinkle(60))), levels({{5, 3, 64}, {64, 6, 64}}).bytes());
}

Bytes wrinkled(const Pieces &image, uint32_t state, int strength)
{
    const int width = image.header.biWidth, height = image.header.biHeight;
    const auto walk = [&](Numbers &numbers, int steps) {
        std::vector<int> places;
        int place = 0;
        for (int i = 0; i < steps; ++i) {
            const int drawn = numbers.next() % 1000;
            if (drawn < strength * 5)
                ++place;
            if (drawn > 1000 - strength * 5)
                --place;
            places.push_back(place);
        }
        return places;
    };
    Numbers first(state), second(static_cast<uint32_t>(width * height));
    const std::vector<int> columns = walk(first, width), rows = walk(second, height);
    return movedPixels(image, 0x00C08040,
                       [&](int x, int y) -> std::optional<Place> {
                           const int column = x + rows[static_cast<std::size_t>(y)],
                                     row = y + columns[static_cast<std::size_t>(x)];
                           if (column < 0 || column >= width || row < 0 || row >= height)
                               return std::nullopt;
                           return Place{column, row};
                       })
        .bytes();
}

TEST_F(Waves, WrinkleAsThePlainLoop)
{
    uint32_t state = 0;
    forSmallImages([&](const Pieces &image) {
        state += 12345;
        const int strength = static_cast<int>(state % 100) + 1;
        ASSERT_EQ(resultOf(image, seeded(state, wrinkle(strength))), wrinkled(image, state, strength))
            << strength;
    });
    for (const Pieces &image : {gray(700, 13), trueColor(300, 211), gray(3, 900)})
        for (const int strength : {1, 50, 100})
            ASSERT_EQ(resultOf(image, seeded(77, wrinkle(strength))), wrinkled(image, 77, strength));
}

TEST_F(Waves, WrinkleGoesOnWithTheColumnsAndSeedsTheRows)
{
    const Pieces image = trueColor(40, 33);
    const Bytes first = resultOf(image, seeded(9, wrinkle(80)));
    EXPECT_EQ(resultOf(image, seeded(9, wrinkle(80))), first);
    EXPECT_NE(resultOf(image, wrinkle(80)), first) << "the state is another one now";
    // What is left is the state behind the rows' walk.
    Numbers rows(40 * 33);
    for (int y = 0; y < 33; ++y)
        rows.next();
    EXPECT_EQ(velmont::rand(), rows.next());
}

TEST_F(Waves, WrinkleEvents)
{
    for (const Pieces &image : {gray(9, 37), trueColor(9, 37)}) {
        EXPECT_EQ(eventsOf(image, wrinkle(40)), joined({{"wait", "poll"}, rowEvents(37), {"100%", "arrow"}}));
        expectAborts(image, wrinkle(40), 1);
        expectFailuresSurvived(image, wrinkle(40));
        const Handle handle = image.handle();
        memory_hooks::failAllocation(1);
        EXPECT_EQ(eventsOfRefusal(handle, wrinkle(40)), (Events{"wait", "arrow"}));
        memory_hooks::failAllocation(0);
    }
}

TEST_F(Waves, WrinkleIsBlankWithoutMemoryForItsWalk)
{
    memory_hooks::setFillByte(0xCD);
    for (Pieces image : {gray(9, 37), trueColor(9, 37)}) {
        const Handle handle = image.handle();
        for (const auto order : {memory_hooks::failAllocation, memory_hooks::failLock}) {
            RecordingHost host;
            const bool isLock = order == memory_hooks::failLock;
            order(isLock ? 3 : 2);
            const Handle result(wrinkle(40)(handle));
            order(0);
            ASSERT_TRUE(result);
            std::fill(image.rows.begin(), image.rows.end(), uint8_t{0});
            EXPECT_EQ(bytesOf(result), image.bytes());
            EXPECT_EQ(host.events, (Events{"wait", "poll", "100%", "arrow"}));
        }
    }
}

// Zig-zag.

/// The pixels as they are written one after the other, each with its mirror image. The rows lie behind 1064 bytes at 8
/// bits.
Bytes twisted(const Pieces &source, int amount, int ridges)
{
    const int width = source.header.biWidth, height = source.header.biHeight;
    const double hx = (width - 1) * 0.5, hy = (height - 1) * 0.5, r = std::max(hx, hy);
    const double sx = hx < hy ? hy / hx : 1, sy = hx > hy ? hx / hy : 1;
    const double most =
        -(((static_cast<double>(ridges) - 1) * 0.3490658503988659 + 2.0943951023931953) * amount * 0.01);
    const auto index = [](double v, int size) {
        if (std::isnan(v))
            return 0;
        const double whole = v < 0 ? std::trunc(v) - 1 : std::trunc(v);
        return static_cast<int>(std::clamp(whole, 0.0, size - 1.0));
    };
    Pieces image = source;
    std::fill(image.rows.begin(), image.rows.end(), uint8_t{0});
    for (int y = 0; y <= height / 2; ++y)
        for (int x = 0; x < width; ++x) {
            const double dx = (x - hx) * sx, dy = (y - hy) * sy;
            Place from{x, y}, opposite{width - 1 - x, height - 1 - y};
            const Place mirror = opposite;
            if (width > 1 && height > 1 && dx * dx + dy * dy < r * r) {
                const double d = std::sqrt(dx * dx + dy * dy), band = r / ridges;
                const double q = std::trunc(d / band), rem = d - q * band, k = band * 0.382, e = rem - k;
                const double t = e > 0 ? 1 - e / (band * 0.618) : 1 - (k - rem) / k;
                const double a = t / (q + 1) * most;
                const double px = (std::cos(a) * dx - std::sin(a) * dy) / sx + hx;
                const double py = (std::cos(a) * dy + std::sin(a) * dx) / sy + hy;
                from = {index(px, width), index(py, height)};
                opposite = {index(2 * hx - px, width), index(2 * hy - py, height)};
            }
            setPixel(image, x, y, pixelOf(source, from.x, from.y));
            setPixel(image, mirror.x, mirror.y, pixelOf(source, opposite.x, opposite.y));
        }
    return image.bytes();
}

TEST_F(Waves, ZigZagRefusals)
{
    const Handle image = gray(5, 4).handle();
    EXPECT_EQ(eventsOfRefusal(nullptr, zigZag(10, 5)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessZigZag(dib, nullptr); }), Events{});
    for (const Pieces &other : kOtherDepths)
        EXPECT_EQ(eventsOfRefusal(other.handle(), zigZag(10, 5)), Events{});
    expectLiesRefused(zigZag(10, 5));
}

TEST_F(Waves, ZigZagWithoutRidgesOrAmountAllocatesInVain)
{
    const Handle image = gray(5, 4).handle();
    for (const auto &[amount, ridges] : {std::pair{0, 5}, {5, 0}, {0, 0}}) {
        const long before = memory_hooks::counts().allocations;
        EXPECT_EQ(eventsOfRefusal(image, zigZag(amount, ridges)), Events{});
        EXPECT_EQ(memory_hooks::counts().allocations, before + 1);
        memory_hooks::failAllocation(1);
        EXPECT_EQ(eventsOfRefusal(image, zigZag(amount, ridges)), Events{"arrow"});
        memory_hooks::failAllocation(0);
    }
}

TEST_F(Waves, ZigZagByHand)
{
    // A ring of 2 pixels. At distance 1 the turn is 0.809 of -120 degrees, at 1.41 it is 0.474 of it; places are cut to
    // pixels, so that opposite pixels do not come from opposite ones.
    const Pieces image = levels({{1, 2, 3, 4, 5},
                                 {11, 12, 13, 14, 15},
                                 {21, 22, 23, 24, 25},
                                 {31, 32, 33, 34, 35},
                                 {41, 42, 43, 44, 45}});
    EXPECT_EQ(resultOf(image, zigZag(100, 1)), levels({{1, 2, 3, 4, 5},
                                                       {11, 21, 22, 2, 15},
                                                       {21, 23, 23, 12, 25},
                                                       {31, 33, 13, 14, 35},
                                                       {41, 42, 43, 44, 45}})
                                                   .bytes());
    const Pieces small = levels({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    EXPECT_EQ(resultOf(small, zigZag(100, 1)), small.bytes()) << "nothing but the centre lies in the ring";
}

TEST_F(Waves, ZigZagAsThePlainLoop)
{
    constexpr std::array kAmounts{1, 20, -35, 100, 7, -100, 1000, INT32_MAX, INT32_MIN};
    constexpr std::array kRidges{1, 2, 5, -3, 20, 50, -1, 1000, INT32_MAX, INT32_MIN};
    std::size_t next = 0;
    forSmallImages([&](const Pieces &image) {
        const int amount = kAmounts[next % kAmounts.size()], ridges = kRidges[next % kRidges.size()];
        ++next;
        ASSERT_EQ(resultOf(image, zigZag(amount, ridges)), twisted(image, amount, ridges))
            << amount << ", " << ridges;
    });
    for (const Pieces &image : {gray(601, 33), trueColor(277, 140), trueColor(140, 181)})
        for (const auto &[amount, ridges] : {std::pair{20, 5}, {-60, 31}, {100, 1}, {33, -4}}) {
            const Bytes expected = twisted(image, amount, ridges);
            for (const CpuLevel level : cpuLevels()) {
                limitCpuLevel(level);
                ASSERT_EQ(resultOf(image, zigZag(amount, ridges)), expected) << amount << ", " << ridges;
            }
        }
}

#if defined(__x86_64__)
// The margin within which the vector kernel leaves pixels to the plain loop rests on this.
TEST_F(Waves, TheTurnsOfVectorsAreExactEnough)
{
    if (cpuLevel() < CpuLevel::Avx2)
        GTEST_SKIP() << "no AVX2 here";
    const auto expectExact = [](double angle) {
        const double angles[4] = {angle, -angle, angle + 0.25, 1000 - angle};
        double sines[4], cosines[4];
        kernels::sineAndCosineAvx2(angles, sines, cosines);
        for (std::size_t i = 0; i < 4; ++i) {
            const long double exact = angles[i];
            ASSERT_LE(std::abs(sines[i] - std::sin(exact)), 0x1p-50L) << angles[i];
            ASSERT_LE(std::abs(cosines[i] - std::cos(exact)), 0x1p-50L) << angles[i];
        }
    };
    for (int i = 0; i <= 200000; ++i)
        expectExact(i * 0.00499);
    // About the quarters and eighths of a turn, where the reduction changes.
    for (int eighth = 0; eighth <= 1270; ++eighth)
        for (const double aside : {-1e-3, -1e-9, 0.0, 1e-9, 1e-3})
            expectExact(std::clamp(eighth * 0.78539816339744830962 + aside, 0.0, 999.5));
}
#endif

TEST_F(Waves, ZigZagOfALineCopies)
{
    for (const Pieces &image : {gray(1, 1), gray(1, 30), trueColor(31, 1)})
        EXPECT_EQ(resultOf(image, zigZag(50, 3)), movedPixels(image, 0, [](int x, int y) {
                                                      return Place{x, y};
                                                  }).bytes());
}

TEST_F(Waves, ZigZagRepeatsItself)
{
    const Pieces image = trueColor(64, 47);
    EXPECT_EQ(resultOf(image, seeded(1, zigZag(30, 5))), resultOf(image, seeded(2, zigZag(30, 5))));
}

TEST_F(Waves, ZigZagEvents)
{
    // Half the rows, 200 percent: row 16 of 37 is 86 percent.
    Events rows;
    for (int y = 0; y <= 18; ++y) {
        rows.push_back("poll");
        if (y % 16 == 0)
            rows.push_back(y == 0 ? "0%" : "86%");
    }
    for (const Pieces &image : {gray(9, 37), trueColor(9, 37), paletted(9, 37, 8, 256)}) {
        EXPECT_EQ(eventsOf(image, zigZag(30, 5)), joined({{"poll"}, rows, {"100%", "arrow"}}));
        EXPECT_EQ(memory_hooks::counts().lastFlags, 0u);
        expectAborts(image, zigZag(30, 5), 1);
        expectFailuresSurvived(image, zigZag(30, 5));
        const Handle handle = image.handle();
        memory_hooks::failAllocation(1);
        EXPECT_EQ(eventsOfRefusal(handle, zigZag(30, 5)), (Events{"arrow"}));
        memory_hooks::failAllocation(0);
    }
    EXPECT_EQ(eventsOf(gray(9, 32), zigZag(30, 5)),
              joined({{"poll", "poll", "0%"}, Events(15, "poll"), {"poll", "100%", "100%", "arrow"}}));
}

// Magic mirror.

/// Modes 0 and 1.
Bytes stretched(const Pieces &image, int mode, const Curve &curve)
{
    const int n = std::max(mode == 0 ? image.header.biWidth : image.header.biHeight, 2);
    const double step = 255.0 / (n - 1);
    double pos = 0;
    std::vector<int> entries;
    for (int i = 0; i < n; ++i, pos += step) {
        const int k = static_cast<int>(pos);
        double v = (k + 1 - pos) * curve.at(static_cast<std::size_t>(k));
        if (k < 255)
            v += (pos - k) * curve.at(static_cast<std::size_t>(k) + 1);
        entries.push_back(static_cast<int>(v * (n - 1) * 0.00392156862745 + 0.5));
    }
    return movedPixels(image, 0,
                       [&](int x, int y) {
                           const int entry = entries[static_cast<std::size_t>(mode == 0 ? x : y)];
                           return mode == 0 ? Place{std::min(entry, image.header.biWidth - 1), y}
                                            : Place{x, std::min(entry, image.header.biHeight - 1)};
                       })
        .bytes();
}

/// Modes 2 and 3, for images that are not large enough for the index to lose bits.
Bytes bent(const Pieces &image, int mode, const Curve &curve)
{
    const int width = image.header.biWidth, height = image.header.biHeight;
    const int a = std::max((1 - width) * (1 - width), 1), b = std::max((1 - height) * (1 - height), 1);
    return movedPixels(image, 0,
                       [&](int x, int y) {
                           const int dx = 2 * x + 1 - width, dy = 2 * y + 1 - height;
                           const int index = dy * dy * 512 / b + dx * dx * 512 / a;
                           if (index >= 512)
                               return Place{x, y};
                           const double t = std::max(index, 1) * 0.498046875;
                           const int k = static_cast<int>(t);
                           const double d = t - ((k + 1 - t) * curve.at(static_cast<std::size_t>(k)) +
                                                 (t - k) * curve.at(static_cast<std::size_t>(k) + 1));
                           int c, s = 0;
                           if (mode == 2) {
                               c = static_cast<int>((d >= 0 ? 1 + d * 0.01 : 1 / (1 - d * 0.01)) * 16384);
                           } else {
                               c = static_cast<int>(std::cos(d * 0.0314159265) * 16384);
                               s = static_cast<int>(std::sin(d * 0.0314159265) * 16384);
                           }
                           const int column = (c * dx - s * dy + (width << 14) - 8192) >> 15;
                           const int row = (s * dx + c * dy + (height << 14) - 8192) >> 15;
                           return Place{std::clamp(column, 0, width - 1), std::clamp(row, 0, height - 1)};
                       })
        .bytes();
}

Bytes mirrored(const Pieces &image, int mode, const Curve &curve)
{
    return mode < 2 ? stretched(image, mode, curve) : bent(image, mode, curve);
}

const std::array<Curve, 6> kCurves{kStraight,
                                   curveOf([](int) { return 0; }),
                                   curveOf([](int) { return 255; }),
                                   curveOf([](int i) { return 255 - i; }),
                                   curveOf([](int i) { return i * i / 255.0; }),
                                   curveOf([](int i) { return 128 + 100 * std::sin(i * 0.1); })};

TEST_F(Waves, MirrorRefusals)
{
    const Handle image = gray(5, 4).handle();
    for (const int bad : {INT32_MIN, -1, 4, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(image, mirror(bad, kStraight)), Events{}) << bad;
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessMagicMirror(dib, nullptr); }), Events{});
    for (int mode = 0; mode < 4; ++mode) {
        EXPECT_EQ(eventsOfRefusal(nullptr, mirror(mode, kStraight)), Events{});
        for (const Pieces &other : kOtherDepths)
            EXPECT_EQ(eventsOfRefusal(other.handle(), mirror(mode, kStraight)), Events{});
        expectLiesRefused(mirror(mode, kStraight));
    }
}

TEST_F(Waves, MirrorByAStraightCurveChangesNextToNothing)
{
    for (const Pieces &image : {gray(33, 22), trueColor(64, 65), gray(2, 2), trueColor(1, 1)}) {
        const Bytes same = movedPixels(image, 0, [](int x, int y) { return Place{x, y}; }).bytes();
        for (int mode = 0; mode < 4; ++mode)
            EXPECT_EQ(resultOf(image, mirror(mode, kStraight)), same) << mode;
    }
}

TEST_F(Waves, MirrorByHand)
{
    const Pieces image = levels({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    const Curve zero = kCurves[1], full = kCurves[2], turned = kCurves[3];
    EXPECT_EQ(resultOf(image, mirror(0, zero)), levels({{1, 1, 1}, {4, 4, 4}, {7, 7, 7}}).bytes());
    EXPECT_EQ(resultOf(image, mirror(1, zero)), levels({{1, 2, 3}, {1, 2, 3}, {1, 2, 3}}).bytes());
    EXPECT_EQ(resultOf(image, mirror(0, full)), levels({{3, 3, 3}, {6, 6, 6}, {9, 9, 9}}).bytes());
    EXPECT_EQ(resultOf(image, mirror(0, turned)), levels({{3, 2, 1}, {6, 5, 4}, {9, 8, 7}}).bytes());
    EXPECT_EQ(resultOf(image, mirror(1, turned)), levels({{7, 8, 9}, {4, 5, 6}, {1, 2, 3}}).bytes());
    // One column: its entry would be 1, and is held inside.
    EXPECT_EQ(resultOf(levels({{5}}), mirror(0, full)), levels({{5}}).bytes());
    EXPECT_EQ(resultOf(levels({{5}}), mirror(1, full)), levels({{5}}).bytes());
    // The middle of the curve, 127.5 of 255, is the mean of two of its values.
    Curve step = zero;
    step[127] = 128;
    step[128] = 127;
    EXPECT_EQ(resultOf(image, mirror(0, step)), levels({{1, 2, 1}, {4, 5, 4}, {7, 8, 7}}).bytes());
}

TEST_F(Waves, MirrorAsThePlainLoop)
{
    std::size_t next = 0;
    forSmallImages([&](const Pieces &image) {
        const int mode = static_cast<int>(next % 4);
        const Curve &curve = kCurves[next / 4 % kCurves.size()];
        ++next;
        ASSERT_EQ(resultOf(image, mirror(mode, curve)), mirrored(image, mode, curve)) << mode;
    });
    for (const Pieces &image : {gray(1201, 23), trueColor(111, 130)})
        for (int mode = 0; mode < 4; ++mode)
            for (const Curve &curve : kCurves)
                ASSERT_EQ(resultOf(image, mirror(mode, curve)), mirrored(image, mode, curve)) << mode;
}

TEST_F(Waves, MirrorEvents)
{
    const Events whole = joined({{"wait", "poll"}, rowEvents(70, 32), {"100%", "arrow"}});
    EXPECT_EQ(std::count(whole.begin(), whole.end(), "poll"), 4) << "at rows 0, 32 and 64";
    for (const Pieces &image : {gray(9, 70), trueColor(9, 70), paletted(9, 70, 8, 256)})
        for (int mode = 0; mode < 4; ++mode) {
            const Effect effect = mirror(mode, kCurves[4]);
            EXPECT_EQ(eventsOf(image, effect), whole);
            expectAborts(image, effect, 1);
            expectFailuresSurvived(image, effect);
            const Handle handle = image.handle();
            memory_hooks::failAllocation(1);
            EXPECT_EQ(eventsOfRefusal(handle, effect), Events{}) << "no cursor before the result is there";
            memory_hooks::failAllocation(2);
            EXPECT_EQ(eventsOfRefusal(handle, effect), (Events{"wait", "arrow"}));
            memory_hooks::failAllocation(0);
        }
}

// What zig-zag and magic mirror make of 8 bits.

/// An image of 8 bits whose rows lie behind 1064 bytes although its palette is of another length.
Pieces odd8Bits(uint32_t colorsUsed)
{
    Pieces image = paletted(13, 11, 8, 256);
    image.header.biClrUsed = colorsUsed;
    return image;
}

TEST_F(Waves, AnyPaletteIsCopiedAsItStands)
{
    for (const uint32_t colors : {256u, 10u, 0u, 255u})
        for (int mode = 0; mode < 4; ++mode) {
            EXPECT_EQ(resultOf(odd8Bits(colors), mirror(mode, kCurves[4])),
                      mirrored(odd8Bits(colors), mode, kCurves[4]));
            EXPECT_EQ(resultOf(odd8Bits(colors), zigZag(40, 3)), twisted(odd8Bits(colors), 40, 3));
        }
    // A longer palette reaches into what is taken for the rows; the block ends where they do.
    Pieces longer = odd8Bits(260);
    const Bytes expected = twisted(longer, 40, 3);
    longer.rows.resize(longer.rows.size() + 16);
    EXPECT_EQ(resultOf(longer, zigZag(40, 3)), expected);
    // A palette of 10 colours and the rows right behind it: the block ends too early.
    for (int mode = 0; mode < 4; ++mode)
        EXPECT_EQ(eventsOfRefusal(paletted(13, 11, 8, 10).handle(), mirror(mode, kStraight)), Events{});
    EXPECT_EQ(eventsOfRefusal(paletted(13, 11, 8, 10).handle(), zigZag(40, 3)), Events{});
}

TEST_F(Waves, ByCode)
{
    const Pieces image = trueColor(13, 9);
    const auto byCode = [](unsigned code, auto record) -> Effect {
        return
            [=](void *dib) mutable { return EnhanceAndEffects(dib, code, reinterpret_cast<long>(&record)); };
    };
    EXPECT_EQ(resultOf(image, byCode(65, tagParamRibbon{30, 20, 0x123456})),
              resultOf(image, ribbon(30, 20, 0x123456)));
    EXPECT_EQ(resultOf(image, byCode(36, int32_t{30})), resultOf(image, ripple(30)));
    EXPECT_EQ(resultOf(image, seeded(1, byCode(37, tagParamWrinkle{30, 7}))),
              resultOf(image, seeded(1, wrinkle(30, 7))));
    EXPECT_EQ(resultOf(image, byCode(4711, tagZigZagParam{30, 4})), resultOf(image, zigZag(30, 4)));
    tagParamMagicMirror record{3, {}};
    std::copy(kCurves[4].begin(), kCurves[4].end(), record.curve);
    EXPECT_EQ(resultOf(image, byCode(56, record)), resultOf(image, mirror(3, kCurves[4])));
    const Handle handle = image.handle();
    for (const unsigned code : {36u, 37u, 56u, 65u, 4711u})
        EXPECT_EQ(EnhanceAndEffects(handle, code, 0), nullptr) << code;
}

} // namespace

} // namespace velmont::testing
