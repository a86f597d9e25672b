// Smart blur.

#include "platform/memory.h"
#include "tests/effects/tone_testing.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <velmont/effects.h>
#include <velmont/filters.h>

namespace velmont::testing {

namespace {

constexpr uint8_t kFill = 0xCD;

Effect smartBlur(const tagSmartBlurParam &param)
{
    return [=](void *dib) {
        tagSmartBlurParam record = param;
        return ProcessSmartBlur(dib, &record);
    };
}

/// The bytes of a run in a block of kFill. Checks that the source keeps its bytes, and both blocks a lock.
Bytes smartResult(const Pieces &source, const tagSmartBlurParam &param)
{
    const Handle handle = source.handle();
    memory_hooks::setFillByte(kFill);
    const Handle result(smartBlur(param)(handle));
    EXPECT_EQ(memory_hooks::locksOn(handle), 1);
    EXPECT_EQ(memory_hooks::locksOn(result), result ? 1 : 0);
    EXPECT_EQ(bytesOf(handle), source.bytes());
    return result ? bytesOf(result) : Bytes{};
}

/// The working radius.
double reachOf(float radius)
{
    const float b = radius * 0.1f;
    double t = (1 - b * 0.005) * b;
    t = (1 - t * 0.01) * t;
    return (1 - t * 0.02) * t;
}

/// The effect, pixel by pixel, each box walked for itself. It knows radii of 0 to 1000 and thresholds within a
/// thousand.
class Plain {
public:
    Plain(const Pieces &source, const tagSmartBlurParam &param)
        : source_(source), param_(param), width_(source.header.biWidth), height_(source.header.biHeight)
    {
        a_ = param.threshold * 0.1f;
        b_ = param.radius * 0.1f;
        r_ = static_cast<float>(reachOf(param.radius));
        t1_ = static_cast<int>((1 - a_ * 0.005) * a_ * 6.0);
        for (int y = 0; y < height_; ++y)
            for (int x = 0; x < width_; ++x)
                edges_.push_back(edgeAt(std::clamp(x, 1, std::max(width_ - 2, 1)),
                                        std::clamp(y, 1, std::max(height_ - 2, 1))));
    }

    Bytes result() const
    {
        Pieces image = source_;
        std::fill(image.rows.begin(), image.rows.end(), kFill);
        const int t2 = shownAbove();
        for (int y = 0; y < height_ && param_.mode >= 1 && param_.mode <= 3; ++y)
            for (int x = 0; x < width_; ++x) {
                const bool isWhite = param_.mode != 1 && edge(x, y) > t2;
                const int delta = param_.mode == 2 || isWhite ? 0 : deltaAt(x, y);
                for (int channel = 0; channel < 3; ++channel) {
                    const int smooth = std::clamp(sample(x, y, channel) + delta, 0, 255);
                    image.rows[place(x, y, channel)] = static_cast<uint8_t>(isWhite            ? 255
                                                                            : param_.mode == 2 ? 0
                                                                                               : smooth);
                }
            }
        return image.bytes();
    }

private:
    std::size_t place(int x, int y, int channel) const
    {
        return static_cast<std::size_t>(y) * strideFor(width_, 24) +
               static_cast<std::size_t>(3 * x + channel);
    }
    int sample(int x, int y, int channel) const { return source_.rows[place(x, y, channel)]; }
    int weight(int x, int y, int channel) const
    {
        constexpr int kTenths[] = {1, 6, 3};
        return kTenths[channel] * sample(x, y, channel) / 10;
    }
    int gray(int x, int y) const { return weight(x, y, 0) + weight(x, y, 1) + weight(x, y, 2); }
    int edge(int x, int y) const { return edges_[static_cast<std::size_t>(y * width_ + x)]; }

    int edgeAt(int x, int y) const
    {
        if (width_ < 3 || height_ < 3)
            return 0;
        int sum = 0;
        for (int channel = 0; channel < 3; ++channel) {
            const auto at = [&](int dx, int dy) { return weight(x + dx, y + dy, channel); };
            sum += std::abs(at(1, -1) + 2 * at(1, 0) + at(1, 1) - at(-1, -1) - 2 * at(-1, 0) - at(-1, 1));
            sum += std::abs(at(-1, 1) + 2 * at(0, 1) + at(1, 1) - at(-1, -1) - 2 * at(0, -1) - at(1, -1));
        }
        return sum;
    }

    template <typename Use>
    void walk(int x, int y, int back, int forward, int step, Use use) const
    {
        for (int row = std::max(y - back, 0); row <= std::min(y + forward, height_ - 1); ++row) {
            const int64_t first = int64_t{std::max(x - back, 0)} + row % step;
            for (int64_t column = first; column <= std::min(x + forward, width_ - 1); column += step)
                use(static_cast<int>(column), row);
        }
    }

    int deltaAt(int x, int y) const
    {
        if (param_.step < 1)
            return 0;
        const int levels = 1 - static_cast<int>(r_ * double{-0.16666667f});
        int64_t sum = 0, count = 0;
        const auto add = [&](int column, int row) {
            sum += gray(column, row);
            ++count;
        };
        for (int i = 0; i <= levels - 2; ++i) {
            const double reach = r_ - 6.0 * i;
            const int forward = static_cast<int>(reach * 0.5), back = static_cast<int>((reach - 1) * 0.5);
            int marked = 0;
            walk(x, y, back, forward, 1, [&](int column, int row) { marked += edge(column, row) > t1_; });
            if (marked != 0)
                continue;
            walk(x, y, back, forward, param_.step, add);
            return count > 0 ? static_cast<int>(sum / count) - gray(x, y) : 0;
        }
        const int side = static_cast<int>(std::max(r_ * double{0.8f}, 3.0) + 0.5);
        walk(x, y, (side - 1) / 2, side / 2, param_.step, [&](int column, int row) {
            int difference = 0;
            for (int channel = 0; channel < 3; ++channel)
                difference += std::abs(weight(column, row, channel) - weight(x, y, channel));
            if (3 * difference <= t1_)
                add(column, row);
        });
        return count > 0 ? static_cast<int>(sum / count) - gray(x, y) : 0;
    }

    int shownAbove() const
    {
        std::array<float, 2048> bins{};
        for (const int strength : edges_)
            bins[static_cast<std::size_t>(strength)] += 1;
        std::fill_n(bins.begin(), 10, 0.0f);
        double total = 0;
        for (const float bin : bins)
            total += bin;
        for (float &bin : bins)
            bin = total > 1.0 ? static_cast<float>(bin / total) : bin;
        const float q = b_ * 0.01f;
        int level = 2047;
        for (double sum = 0; level >= 0; --level) {
            sum += bins[static_cast<std::size_t>(level)];
            if (sum > q)
                break;
        }
        return std::max(static_cast<int>((a_ * 0.005 + 0.5) * std::max(level, 0)), 1);
    }

    const Pieces &source_;
    tagSmartBlurParam param_;
    int width_, height_;
    float a_, b_, r_;
    int t1_;
    std::vector<int> edges_;
};

/// Noise of some height over soft steps, so that there are pixels near edges and far from them.
Pieces scene(int width, int height, uint32_t seed = 1, int noiseLevels = 12)
{
    Pieces image = trueColor(width, height, seed);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int channel = 0; channel < 3; ++channel) {
                uint8_t &sample = image.rows[static_cast<std::size_t>(y) * strideFor(width, 24) +
                                             static_cast<std::size_t>(3 * x + channel)];
                const int step = (x / 19 + y / 15 + static_cast<int>(seed)) % 3 * 90;
                sample = static_cast<uint8_t>(std::min(step + sample % noiseLevels * (channel + 1), 255));
            }
    return image;
}

Pieces flat(int width, int height, const std::array<uint8_t, 3> &color)
{
    return withPixels(trueColor(width, height),
                      [&](uint8_t *pixel) { std::copy_n(color.begin(), 3, pixel); });
}

/// An image with fill in its padding.
Bytes filled(const Pieces &image)
{
    Pieces copy = image;
    const std::size_t stride = strideFor(image.header.biWidth, 24);
    const auto used = 3 * static_cast<std::size_t>(image.header.biWidth);
    for (std::size_t i = 0; i < copy.rows.size(); ++i)
        if (i % stride >= used)
            copy.rows[i] = kFill;
    return copy.bytes();
}

class SmartBlur : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(SmartBlur, Refusals)
{
    const tagSmartBlurParam param{200, 0, 1, 1};
    EXPECT_EQ(eventsOfRefusal(nullptr, smartBlur(param)), Events{});
    const Handle image = trueColor(9, 9).handle();
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessSmartBlur(dib, nullptr); }), Events{});
    EXPECT_EQ(EnhanceAndEffects(image, 4709, 0), nullptr);
    for (const Pieces &other :
         {gray(9, 9), paletted(9, 9, 8, 256), paletted(9, 9, 8, 9), paletted(9, 9, 4, 16),
          paletted(9, 9, 1, 2), paletted(9, 9, 16, 0), paletted(9, 9, 32, 0)})
        EXPECT_EQ(eventsOfRefusal(other.handle(), smartBlur(param)), Events{});
    expectLiesRefused(smartBlur(param));
}

TEST_F(SmartBlur, NothingIsAskedAndReported)
{
    const Handle image = scene(40, 40).handle();
    for (const int mode : {0, 1, 2, 3, 4}) {
        RecordingHost host;
        host.abortFromPoll(1);
        const Handle result(smartBlur({200, 100, mode, 1})(image));
        EXPECT_TRUE(result);
        EXPECT_EQ(host.events, (Events{"wait", "arrow"})) << mode;
        EXPECT_EQ(memory_hooks::locksOn(result), 1);
        EXPECT_EQ(memory_hooks::locksOn(image), mode + 1); // one more each time
    }
}

TEST_F(SmartBlur, ResultsBlockComesAsItIs)
{
    const Handle image = trueColor(9, 10).handle();
    // In an unknown mode the result is the only block that is taken.
    const Handle result(smartBlur({200, 0, 7, 1})(image));
    EXPECT_EQ(memory_hooks::counts().lastFlags, 0u);
    EXPECT_EQ(memory_hooks::counts().lastBytes, 40u + 10 * 28);
    for (const int mode : {0, -1, 4, INT32_MIN, INT32_MAX}) {
        Pieces source = trueColor(9, 10), untouched = source;
        std::fill(untouched.rows.begin(), untouched.rows.end(), kFill);
        EXPECT_EQ(smartResult(source, {200, 100, mode, 1}), untouched.bytes()) << mode;
    }
}

// Without the check that nothing is lost.
TEST(SmartBlurOfSmallImages, LosesAResult)
{
    // 1000 reaches 12.5 pixels and asks for 15; 100 reaches 7.12 and asks for 9; 0 asks for 2. The odd radii reach just
    // less than 12.5 and 2.5: the one with the float nearest to a tenth, which is more than that, and the other one
    // before it is rounded to a float, which is 2.5.
    struct Case {
        float radius;
        int width, height;
        bool isServed;
    };
    for (const auto &[radius, width, height, isServed] : {Case{1000, 4, 4, false},
                                                          {1000, 14, 40, false},
                                                          {1000, 40, 14, false},
                                                          {1000, 15, 15, true},
                                                          {989.029724f, 13, 14, false},
                                                          {989.029724f, 14, 14, true},
                                                          {27.5075264f, 3, 4, false},
                                                          {27.5075264f, 4, 4, true},
                                                          {100, 8, 9, false},
                                                          {100, 9, 8, false},
                                                          {100, 9, 9, true},
                                                          {0, 1, 9, false},
                                                          {0, 9, 1, false},
                                                          {0, 2, 2, true},
                                                          {0, 2, 9, true},
                                                          {0, 9, 2, true}}) {
        for (const int mode : {1, 2, 7}) {
            const Handle image = trueColor(width, height).handle();
            const auto before = memory_hooks::counts();
            RecordingHost host;
            const Handle result(smartBlur({200, radius, mode, 1})(image));
            EXPECT_EQ(static_cast<bool>(result), isServed) << radius << ", " << width << " x " << height;
            EXPECT_EQ(memory_hooks::locksOn(image), 1);
            // The block that was taken is lost with its lock, and the wait cursor stays.
            EXPECT_EQ(host.events, isServed ? (Events{"wait", "arrow"}) : (Events{"wait"}));
            EXPECT_EQ(memory_hooks::counts().blocks, before.blocks + 1);
            EXPECT_EQ(memory_hooks::counts().locks, before.locks + 2);
        }
    }
}

TEST_F(SmartBlur, FlatImages)
{
    for (const std::array<uint8_t, 3> color :
         {std::array<uint8_t, 3>{0, 0, 0}, {255, 255, 255}, {9, 200, 77}}) {
        const Pieces image = flat(33, 21, color);
        for (const float radius : {0.0f, 100.0f, 300.0f, 1000.0f})
            for (const float threshold : {0.0f, 100.0f, 1000.0f}) {
                EXPECT_EQ(smartResult(image, {threshold, radius, 1, 1}), filled(image));
                EXPECT_EQ(smartResult(image, {threshold, radius, 2, 1}), filled(flat(33, 21, {0, 0, 0})));
                EXPECT_EQ(smartResult(image, {threshold, radius, 3, 1}), filled(image));
            }
    }
}

TEST_F(SmartBlur, ByHandNearEdges)
{
    // Radius 0: the three by three pixels that resemble the middle. Weights of (100, 100, 100) are 10, 60, 30; those
    // of (110, 104, 101) 11, 62, 30, together 103; (0, 0, 0) differs by 100, and 3 * 100 is more than 57.
    Pieces image = flat(3, 3, {100, 100, 100});
    const auto set = [&](std::size_t x, std::size_t y, std::initializer_list<uint8_t> color) {
        std::copy(color.begin(), color.end(),
                  image.rows.begin() + static_cast<std::ptrdiff_t>(12 * y + 3 * x));
    };
    set(1, 1, {110, 104, 101});
    set(0, 0, {0, 0, 0});
    const Bytes result = smartResult(image, {100, 0, 1, 1});
    // (7 * 100 + 103) / 8 is 100: the middle loses 3 in each channel.
    EXPECT_EQ(Bytes(result.begin() + 40 + 15, result.begin() + 40 + 18), (Bytes{107, 101, 98}));
    // The corner has no pixel but itself.
    EXPECT_EQ(Bytes(result.begin() + 40, result.begin() + 43), (Bytes{0, 0, 0}));
    // At the lower corner four pixels, 403 / 4 is 100: nothing moves.
    EXPECT_EQ(Bytes(result.begin() + 40 + 30, result.begin() + 40 + 33), (Bytes{100, 100, 100}));
    // A threshold of 0 takes equal pixels alone.
    EXPECT_EQ(smartResult(image, {0, 0, 1, 1}), filled(image));
    EXPECT_EQ(smartResult(image, {-50, 0, 1, 1}), filled(image));
}

TEST_F(SmartBlur, ByHandFarFromEdges)
{
    // Radius 100 reaches 7.12 pixels: seven by seven of them. One brighter pixel that makes no edge (2 * 3 of 57):
    // its gray is 203 among 48 of 200.
    Pieces image = flat(21, 21, {200, 200, 200});
    const std::size_t middle = 10 * strideFor(21, 24) + 3 * 10;
    image.rows[middle + 1] = 205; // 6 * 205 / 10 is 123
    const Bytes result = smartResult(image, {100, 100, 1, 1});
    // (48 * 200 + 203) / 49 is 200.
    EXPECT_EQ(result[40 + middle], 197);
    EXPECT_EQ(result[40 + middle + 1], 202);
    EXPECT_EQ(result[40 + middle + 2], 197);
    EXPECT_EQ(result[40 + middle + 3], 200);
}

TEST_F(SmartBlur, ByHandEdges)
{
    // A step of 100 levels: 4 * (10 + 60 + 30) = 400 on both sides of it, and nothing elsewhere.
    Pieces image = flat(8, 5, {0, 0, 0});
    for (std::size_t y = 0; y < 5; ++y)
        std::fill_n(image.rows.begin() + static_cast<std::ptrdiff_t>(24 * y + 12), 12, uint8_t{100});
    Pieces expected = flat(8, 5, {0, 0, 0});
    for (std::size_t y = 0; y < 5; ++y)
        std::fill_n(expected.rows.begin() + static_cast<std::ptrdiff_t>(24 * y + 9), 6, uint8_t{255});
    EXPECT_EQ(smartResult(image, {100, 0, 2, 1}), filled(expected));
    // Half of the level and 0.005 of a tenth of the threshold: from 1000 on nothing is above the level itself.
    EXPECT_EQ(smartResult(image, {999, 0, 2, 1}), filled(expected));
    EXPECT_EQ(smartResult(image, {1000, 0, 2, 1}), filled(flat(8, 5, {0, 0, 0})));
}

TEST_F(SmartBlur, TheTenthOfTheThresholdIsThatOfAFloat)
{
    // Bars of gray 125, 67 and 68 on black: edges of 500, 268 and 272. A tenth of 72, as floats have it, is a little
    // more than 7.2, and 0.536 of 500 a little more than 268: the bar of 67 is not shown.
    constexpr std::array<std::array<uint8_t, 3>, 3> kBars{{{50, 150, 100}, {70, 100, 0}, {80, 100, 0}}};
    Pieces image = flat(28, 5, {0, 0, 0}), expected = image;
    const auto set = [](Pieces &to, std::size_t x, const std::array<uint8_t, 3> &color) {
        for (std::size_t y = 0; y < 5; ++y)
            std::copy_n(color.begin(), 3, to.rows.begin() + static_cast<std::ptrdiff_t>(84 * y + 3 * x));
    };
    for (std::size_t bar = 0; bar < 3; ++bar)
        for (std::size_t x = 8 * bar + 4; x < 8 * bar + 8; ++x)
            set(image, x, kBars[bar]);
    for (const std::size_t x : {3u, 4u, 7u, 8u, 19u, 20u, 23u, 24u})
        set(expected, x, {255, 255, 255});
    EXPECT_EQ(smartResult(image, {72, 0, 2, 1}), filled(expected));
    // At 71 it is less than 0.536, and the bar of 67 is shown too.
    for (const std::size_t x : {11u, 12u, 15u, 16u})
        set(expected, x, {255, 255, 255});
    EXPECT_EQ(smartResult(image, {71, 0, 2, 1}), filled(expected));
}

TEST_F(SmartBlur, WeakEdgesAreNotAmongTheStrongest)
{
    // With a threshold of 1000 nothing above the level of the strongest edges is shown: white where they do not count,
    // for then the level is 0. Green weighs 2 from 4 on and 3 from 5 on, and a step has four times that.
    for (const auto &[green, isShown] : {std::pair{4, true}, {5, false}}) {
        Pieces image = flat(8, 5, {0, 0, 0}), expected = image;
        for (std::size_t y = 0; y < 5; ++y) {
            for (std::size_t x = 4; x < 8; ++x)
                image.rows[24 * y + 3 * x + 1] = static_cast<uint8_t>(green);
            if (isShown)
                std::fill_n(expected.rows.begin() + static_cast<std::ptrdiff_t>(24 * y + 9), 6, uint8_t{255});
        }
        EXPECT_EQ(smartResult(image, {1000, 0, 2, 1}), filled(expected)) << green;
    }
}

TEST_F(SmartBlur, BorderRepeatsTheEdgesInside)
{
    // A dark first column makes an edge at the second, which the first one takes over.
    Pieces image = flat(7, 6, {90, 90, 90});
    for (std::size_t y = 0; y < 6; ++y)
        std::fill_n(image.rows.begin() + static_cast<std::ptrdiff_t>(24 * y), 3, uint8_t{0});
    Pieces expected = flat(7, 6, {0, 0, 0});
    for (std::size_t y = 0; y < 6; ++y)
        std::fill_n(expected.rows.begin() + static_cast<std::ptrdiff_t>(24 * y), 6, uint8_t{255});
    EXPECT_EQ(smartResult(image, {100, 0, 2, 1}), filled(expected));
}

TEST_F(SmartBlur, EveryMeasureAsThePlainLoop)
{
    struct Numbers {
        float threshold, radius;
        int step;
    };
    constexpr Numbers kNumbers[] = {{200, 100, 1}, {60, 0, 1},    {400, 60, 2},  {1000, 1000, 1},
                                    {150, 350, 3}, {300, 200, 1}, {100, 80, 20}, {0, 120, 1},
                                    {250, 500, 2}, {-100, 90, 1}, {500, 10, 4},  {333, 1000, 5}};
    std::size_t next = 0;
    for (int width = 2; width <= 40; ++width)
        for (int height = 2; height <= 18; ++height) {
            const auto &[threshold, radius, step] = kNumbers[next++ % std::size(kNumbers)];
            const int smallest = static_cast<int>(reachOf(radius) + 0.5) + 2;
            if (std::min(width, height) < smallest)
                continue;
            const Pieces image =
                scene(width, height, static_cast<uint32_t>(width), height % 2 != 0 ? 12 : 60);
            const tagSmartBlurParam param{threshold, radius, width % 3 + 1, step};
            const Bytes expected = Plain(image, param).result();
            for (const CpuLevel cpu : cpuLevels()) {
                limitCpuLevel(cpu);
                ASSERT_EQ(smartResult(image, param), expected)
                    << width << " x " << height << ", " << threshold << ", " << radius << ", " << step;
            }
        }
}

TEST_F(SmartBlur, EveryNumberAsThePlainLoop)
{
    const Pieces soft = scene(75, 21), rough = trueColor(47, 18);
    for (const float threshold : {0.0f, 200.0f, 1000.0f})
        for (const float radius : {30.0f, 62.0f, 100.0f, 333.0f, 1000.0f})
            for (const int step : {1, 2, 7, INT32_MAX, 0})
                for (const Pieces *image : {&soft, &rough}) {
                    const tagSmartBlurParam param{threshold, radius, step % 2 == 0 ? 3 : 1, step};
                    const Bytes expected = Plain(*image, param).result();
                    for (const CpuLevel cpu : cpuLevels()) {
                        limitCpuLevel(cpu);
                        ASSERT_EQ(smartResult(*image, param), expected)
                            << threshold << ", " << radius << ", " << step;
                    }
                }
}

TEST_F(SmartBlur, StepThatMissesTheBoxLeavesThePixel)
{
    // From row 30 on the walk of step 100 starts behind the last column of every box.
    const Pieces image = scene(60, 60);
    const Bytes result = smartResult(image, {200, 100, 1, 100}), source = filled(image);
    const auto row = [](const Bytes &bytes, int y) {
        const auto first = bytes.begin() + 40 + static_cast<std::ptrdiff_t>(y) * 180;
        return Bytes(first, first + 180);
    };
    for (int y = 30; y < 60; ++y)
        EXPECT_EQ(row(result, y), row(source, y)) << y;
    EXPECT_NE(row(result, 3), row(source, 3));
    for (const int step : {0, -1, INT32_MIN})
        EXPECT_EQ(smartResult(image, {200, 100, 1, step}), source) << step;
}

TEST_F(SmartBlur, NarrowImagesHaveNoEdges)
{
    for (const auto &[width, height] : {std::pair{2, 9}, {9, 2}, {2, 2}}) {
        const Pieces image = trueColor(width, height);
        EXPECT_EQ(smartResult(image, {100, 0, 2, 1}), filled(flat(width, height, {0, 0, 0})));
        EXPECT_EQ(smartResult(image, {300, 0, 3, 1}), Plain(image, {300, 0, 3, 1}).result());
    }
    // A negative radius lets a single pixel through.
    const Pieces pixel = flat(1, 1, {1, 2, 3});
    EXPECT_EQ(smartResult(pixel, {300, -100, 1, 1}), filled(pixel));
}

TEST_F(SmartBlur, SurvivesAnyNumber)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kLargest = std::numeric_limits<float>::max();
    const Pieces image = scene(40, 20);
    for (const float threshold :
         {0.0f, -kInfinity, kInfinity, std::nanf(""), kLargest, -kLargest, 1e12f, 1e-40f})
        for (const float radius :
             {0.0f, -kInfinity, kInfinity, std::nanf(""), kLargest, -kLargest, 2001.0f, 1e6f, -1.0f, 1e-40f})
            for (const int mode : {1, 2, 3})
                for (const CpuLevel cpu : cpuLevels()) {
                    limitCpuLevel(cpu);
                    EXPECT_FALSE(smartResult(image, {threshold, radius, mode, 1}).empty())
                        << threshold << ", " << radius;
                }
    // A negative reach is none: three by three pixels, and every edge is shown.
    EXPECT_EQ(smartResult(image, {200, -300, 1, 1}), smartResult(image, {200, 0, 1, 1}));
    EXPECT_EQ(smartResult(image, {200, -kInfinity, 1, 1}), smartResult(image, {200, 0, 1, 1}));
    // A threshold below 0 marks everything and likes nothing.
    EXPECT_EQ(smartResult(image, {-kInfinity, 100, 1, 1}), filled(image));
    EXPECT_EQ(smartResult(image, {2500, 100, 1, 1}), filled(image));
}

TEST_F(SmartBlur, LongHeadersAreCutToForty)
{
    Pieces image = scene(20, 12);
    image.header.biSize = 52;
    const Bytes result = smartResult(image, {200, 60, 1, 1});
    EXPECT_EQ(result, Plain(image, {200, 60, 1, 1}).result());
}

TEST_F(SmartBlur, Failures)
{
    const Bytes bytes = scene(19, 18).bytes();
    for (const auto order : {memory_hooks::failAllocation, memory_hooks::failLock})
        for (int n = 1; n <= 4; ++n) {
            const NothingLost check;
            const Handle image = blockOf(bytes);
            RecordingHost host;
            order(n);
            const Handle result(smartBlur({200, 100, 3, 1})(image));
            order(0);
            const bool isLock = order == memory_hooks::failLock;
            const int blocks = isLock ? 3 : 2; // the source is there already
            EXPECT_EQ(static_cast<bool>(result), n > blocks) << n;
            EXPECT_EQ(memory_hooks::locksOn(image), n > blocks ? 1 : 0);
            EXPECT_EQ(host.events, isLock && n == 1 ? Events{} : (Events{"wait", "arrow"}));
        }
}

TEST_F(SmartBlur, ByCode)
{
    const Pieces image = scene(23, 19);
    const Handle handle = image.handle();
    tagSmartBlurParam record{200, 60, 1, 1};
    memory_hooks::setFillByte(kFill);
    const Handle result(EnhanceAndEffects(handle, 4709, reinterpret_cast<long>(&record)));
    EXPECT_EQ(bytesOf(result), Plain(image, record).result());
    EXPECT_NE(bytesOf(result), filled(image));
}

} // namespace

} // namespace velmont::testing
