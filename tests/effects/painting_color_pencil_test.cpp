// The colour pencil.

#include "core/generator.h"
#include "tests/effects/painting_testing.h"
#include <array>
#include <velmont/effects.h>
#include <velmont/painting.h>

namespace velmont::testing {

namespace {

constexpr uint32_t kState = 12345;

Effect colorPencil(const tagColorPencilParam &setting)
{
    return [=](void *dib) {
        velmont::srand(kState);
        tagColorPencilParam record = setting;
        return ProcessColorPencil(dib, &record);
    };
}

/// Eight taps: across, down, and two weights.
constexpr int kTaps[8][4] = {{0, 1, -2, 0},   {0, -1, 0, 2},  {1, 0, 2, 0},    {-1, 0, 0, -2},
                             {-1, -1, 1, -1}, {-1, 1, -1, 1}, {1, -1, -1, -1}, {1, 1, 1, 1}};

/// The edge map, tap by tap.
std::vector<int> edgesOf(const Canvas &source)
{
    const int64_t width = source.width, height = source.height, channels = source.channels;
    const auto count = static_cast<std::size_t>(width * height);
    std::vector<int> first(count * static_cast<std::size_t>(channels)), second(count);
    const auto index = [&](int64_t y, int64_t x) { return static_cast<std::size_t>(y * width + x); };
    for (int64_t y = 0; y < height; ++y)
        for (int64_t x = 0; x < width; ++x) {
            int a = 0, b = 0;
            for (int64_t channel = 0; channel < channels; ++channel) {
                int sumA = 0, sumB = 0;
                for (const auto &[dx, dy, weightA, weightB] : kTaps)
                    if (x + dx >= 0 && x + dx < width && y + dy >= 0 && y + dy < height) {
                        sumA += weightA * source.at(y + dy, x + dx, channel);
                        sumB += weightB * source.at(y + dy, x + dx, channel);
                    }
                a += std::abs(sumA);
                b += std::abs(sumB);
            }
            first[index(y, x) * static_cast<std::size_t>(channels)] = a / static_cast<int>(channels);
            second[index(y, x)] = b / static_cast<int>(channels);
        }
    const auto length = [](int a, int b) {
        return static_cast<int>(std::sqrt(double(a) * a + double(b) * b));
    };
    int low = length(first[0], second[0]), high = low;
    if (first.size() > 1)
        first[1] = low;
    std::vector<int> strengths(count);
    for (std::size_t i = 0; i < count; ++i) {
        strengths[i] = length(first[i * static_cast<std::size_t>(channels)], second[i]);
        low = std::min(low, strengths[i]);
        high = std::max(high, strengths[i]);
    }
    for (int &strength : strengths)
        strength = high > low ? static_cast<int>(strength * 255.0 / (high - low)) : 0;
    for (int64_t x = 0; x < width && height > 1; ++x)
        strengths[index(0, x)] = strengths[index(1, x)];
    for (int64_t x = 0; x < width && height > 1; ++x)
        strengths[index(height - 1, x)] = strengths[index(height - 2, x)];
    for (int64_t y = 0; y < height && width > 1; ++y)
        strengths[index(y, 0)] = strengths[index(y, 1)];
    for (int64_t y = 0; y < height && width > 1; ++y)
        strengths[index(y, width - 1)] = strengths[index(y, width - 2)];
    return strengths;
}

int thresholdFor(const std::vector<int> &edges, double share)
{
    const auto wanted = static_cast<int64_t>(share * static_cast<double>(edges.size()));
    if (wanted <= 0)
        return -1;
    for (int threshold = 0; threshold < 255; ++threshold)
        if (std::count_if(edges.begin(), edges.end(), [=](int edge) { return edge <= threshold; }) >= wanted)
            return threshold;
    return 255;
}

/// What the effect makes of a picture, and the next number of the generator.
struct Sketch {
    Bytes bytes;
    int nextNumber;
};

Sketch sketched(const Pieces &image, const tagColorPencilParam &setting)
{
    const Canvas source(image);
    const int64_t width = source.width, height = source.height, channels = source.channels;
    const double unit = 0.00392156862745098;
    const int red = static_cast<int>(setting.pencilColor & 255),
              green = static_cast<int>(setting.pencilColor >> 8 & 255),
              blue = static_cast<int>(setting.pencilColor >> 16 & 255);
    const double colors[3] = {channels == 1 ? (blue * 0.1 + red * 0.2 + green * 0.7) * unit : blue * unit,
                              green * unit, red * unit};
    const std::vector<int> edges = edgesOf(source);
    const int threshold = thresholdFor(edges, 1 - setting.coverage * (channels == 3 ? 0.05 : 0.045));
    const int spared = static_cast<int>((setting.strokeSetting / 2 + 87) * 0.5333333333333333);
    Numbers numbers(kState);
    const auto pass = [&](int step) {
        Canvas samples = source;
        for (int64_t y = height - 1; y >= 0; --y)
            for (int64_t i = 0; i < width; ++i) {
                const int64_t x = step > 0 ? i : width - 1 - i;
                if (edges[static_cast<std::size_t>(y * width + x)] >= threshold ||
                    numbers.next() % 100 < spared)
                    continue;
                for (int64_t k = 0; k < int64_t{setting.strokeSetting} + 5; ++k) {
                    if (y - k < 0 || x + step * k < 0 || x + step * k >= width)
                        break;
                    for (int64_t channel = 0; channel < channels; ++channel) {
                        int &target = samples.at(y - k, x + step * k, channel);
                        target = static_cast<int>(samples.at(y, x, channel) * 0.2 + target * 0.4 +
                                                  setting.pressure * colors[channel] * 2.04);
                    }
                }
            }
        return samples;
    };
    Canvas mixed = pass(1);
    const Canvas second = pass(-1);
    for (std::size_t i = 0; i < mixed.bytes.size(); ++i)
        mixed.bytes[i] = static_cast<int>(second.bytes[i] * 0.75 + (mixed.bytes[i] & 255) * 0.25) & 255;
    return {bytesWith(image, sortedMedian(mixed, source, channels == 3 ? 3 : 2)), numbers.next()};
}

/// A smooth picture with an edge, so that strengths differ.
Pieces smooth(Pieces image)
{
    const std::size_t stride = strideFor(image.header.biWidth, image.header.biBitCount);
    for (std::size_t i = 0; i < image.rows.size(); ++i)
        image.rows[i] = static_cast<uint8_t>(i % stride * 2 + i / stride * 3 + image.rows[i] % 8 +
                                             (i % stride > stride / 2 ? 90 : 0));
    return image;
}

void expectAsPlain(const Pieces &image, const tagColorPencilParam &setting)
{
    const Sketch expected = sketched(image, setting);
    ASSERT_EQ(resultOf(image, colorPencil(setting)), expected.bytes)
        << image.header.biWidth << " x " << image.header.biHeight << " x " << image.header.biBitCount << ", "
        << setting.strokeSetting << " " << setting.pressure << " " << setting.coverage;
    ASSERT_EQ(velmont::rand(), expected.nextNumber);
}

class ColorPencil : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

constexpr tagColorPencilParam kUsual{8, 30, 5, 0x4080C0};

TEST_F(ColorPencil, Refusals)
{
    expectPaintingRules(colorPencil(kUsual));
    const Handle image = gray(5, 4).handle();
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessColorPencil(dib, nullptr); }), Events{});
    EXPECT_EQ(EnhanceAndEffects(image, 4717, 0), nullptr);
}

TEST_F(ColorPencil, FlatPicturesStay)
{
    for (Pieces image : {gray(13, 9), trueColor(13, 9)}) {
        std::fill(image.rows.begin(), image.rows.end(), uint8_t{77});
        EXPECT_EQ(resultOf(image, colorPencil(kUsual)), image.bytes());
    }
    for (const Pieces &image : {gray(1, 1), trueColor(1, 1)}) {
        EXPECT_EQ(resultOf(image, colorPencil(kUsual)), image.bytes());
        velmont::srand(kState);
        const int next = velmont::rand();
        resultOf(image, colorPencil(kUsual));
        EXPECT_EQ(velmont::rand(), next); // no number was drawn
    }
}

// At the largest coverage no pixel has a stroke, and the picture is that under the median alone.
TEST_F(ColorPencil, FullCoverage)
{
    for (const Pieces &image : {trueColor(9, 7), gray(9, 7)}) {
        const int coverage = image.header.biBitCount == 24 ? 20 : 23;
        const Canvas source(image);
        EXPECT_EQ(resultOf(image, colorPencil({8, 30, coverage, 0})),
                  bytesWith(image, sortedMedian(source, source, image.header.biBitCount == 24 ? 3 : 2)));
        velmont::srand(kState);
        const int next = velmont::rand();
        resultOf(image, colorPencil({8, 30, coverage, 0}));
        EXPECT_EQ(velmont::rand(), next);
    }
}

TEST_F(ColorPencil, ByHand)
{
    const Pieces image = levelRow({100, 200});
    // Slopes: first 2 * 200 = 400 and 0, second 0 and 2 * 100 = 200. The strength 400 replaces the slope of the
    // second pixel: 400 and 447, levels 2170 and 2425, then both borders take their neighbour's. So none is counted,
    // the threshold is 255, and both are edges.
    EXPECT_EQ(resultOf(image, colorPencil({-4, 10, 1, 0})), levelRow({100, 100}).bytes());
    // Below the threshold of a coverage under 0 lies every level under 255: a row of equal slopes.
    Pieces ramp = gray(5, 5);
    for (std::size_t i = 0; i < ramp.rows.size(); ++i)
        ramp.rows[i] = static_cast<uint8_t>(i % 8 * 10);
    expectAsPlain(ramp, {-4, 10, -1, 0});
    expectAsPlain(ramp, {-4, 10, 1, 0xFFFFFF});
}

TEST_F(ColorPencil, EveryMeasureAsThePlainLoop)
{
    constexpr std::array<tagColorPencilParam, 9> kSettings{{{8, 30, 5, 0x4080C0},
                                                            {0, 50, 1, 0xFFFFFF},
                                                            {-4, 25, 12, 0x123456},
                                                            {20, 60, 3, 0xFF00FF},
                                                            {-5, 30, 5, 0x4080C0},
                                                            {3, -20, 8, 0xFFFFFF},
                                                            {100, 10, 2, 0},
                                                            {5, 500, -3, 0x00FF00},
                                                            {12, 45, 15, 0x0000FF}}};
    std::size_t next = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (Pieces image : {gray(width, height), trueColor(width, height)}) {
                if (++next % 4 != 0)
                    image = smooth(image);
                const auto levelsOfCpu = cpuLevels();
                limitCpuLevel(levelsOfCpu[next % levelsOfCpu.size()]);
                ASSERT_NO_FATAL_FAILURE(expectAsPlain(image, kSettings[next % kSettings.size()]));
            }
}

// Rows of more than a run, and rings of rows that are used again and again.
TEST_F(ColorPencil, LargePicturesAsThePlainLoop)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (const auto &[width, height] : {std::pair{1100, 9}, {513, 23}, {90, 120}})
            for (const Pieces &image : {smooth(gray(width, height)), smooth(trueColor(width, height))})
                for (const int setting : {2, 40, 198})
                    ASSERT_NO_FATAL_FAILURE(expectAsPlain(image, {setting, 40, 6, 0xC08040}));
    }
}

TEST_F(ColorPencil, AnySetting)
{
    for (const Pieces &image : {smooth(gray(19, 18)), smooth(trueColor(19, 18))})
        for (const int extreme : {INT32_MIN, INT32_MAX}) {
            EXPECT_FALSE(resultOf(image, colorPencil({extreme, 30, 5, 0xFFFFFF})).empty());
            EXPECT_FALSE(resultOf(image, colorPencil({5, extreme, 5, 0xFFFFFF})).empty());
            EXPECT_FALSE(resultOf(image, colorPencil({5, 30, extreme, 0xFFFFFF})).empty());
            ASSERT_NO_FATAL_FAILURE(expectAsPlain(image, {5, 30, 5, 0xFF4080C0}));
        }
    // Settings that spare all pixels draw their numbers all the same.
    const Pieces image = smooth(gray(19, 18));
    const Sketch expected = sketched(image, {202, 30, 5, 0});
    EXPECT_EQ(resultOf(image, colorPencil({202, 30, 5, 0})), expected.bytes);
    EXPECT_EQ(velmont::rand(), expected.nextNumber);
}

TEST_F(ColorPencil, GoesOnWithTheNumbersItFinds)
{
    const Pieces image = smooth(trueColor(30, 20));
    const Effect goesOn = [](void *dib) {
        tagColorPencilParam record = kUsual;
        return ProcessColorPencil(dib, &record);
    };
    velmont::srand(kState);
    const Bytes first = resultOf(image, goesOn), second = resultOf(image, goesOn);
    EXPECT_NE(first, second);
    velmont::srand(kState);
    EXPECT_EQ(resultOf(image, goesOn), first);
}

TEST_F(ColorPencil, Events)
{
    for (const Pieces &image : {gray(7, 35), trueColor(7, 35)})
        EXPECT_EQ(eventsOf(image, colorPencil(kUsual)), (Events{"wait", "arrow"}));
}

TEST_F(ColorPencil, CoverageOfZero)
{
    const Pieces image = trueColor(7, 5);
    const Handle source = image.handle();
    const std::vector<void *> before = memory_hooks::liveBlocks();
    RecordingHost host;
    EXPECT_EQ(colorPencil({8, 30, 0, 0})(source), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "arrow"}));
    EXPECT_EQ(memory_hooks::locksOn(source), 1);
    EXPECT_EQ(memory_hooks::counts().lastFlags, 0u); // nothing after the result was asked for
    for (void *const handle : memory_hooks::liveBlocks())
        if (std::find(before.begin(), before.end(), handle) == before.end()) {
            EXPECT_EQ(memory_hooks::locksOn(handle), 1);
            KelMemFree(handle);
        }
}

TEST_F(ColorPencil, WithoutMemory)
{
    for (const Pieces &image : {gray(9, 11), trueColor(9, 11)}) {
        expectLostWithoutScratch(image, colorPencil(kUsual), 3, {"wait", "arrow"});
        // Without the edge map nothing is left behind.
        const Handle source = image.handle();
        for (const bool isLock : {false, true}) {
            const NothingLost check;
            if (isLock)
                memory_hooks::failLock(5);
            else
                memory_hooks::failAllocation(4);
            EXPECT_EQ(eventsOfRefusal(source, colorPencil(kUsual)), (Events{"wait", "arrow"}));
            memory_hooks::failAllocation(0);
            memory_hooks::failLock(0);
        }
    }
}

TEST_F(ColorPencil, Code)
{
    const Pieces image = smooth(trueColor(13, 9));
    EXPECT_EQ(resultOf(image,
                       [](void *dib) {
                           velmont::srand(kState);
                           tagColorPencilParam record = kUsual;
                           return EnhanceAndEffects(dib, 4717, reinterpret_cast<long>(&record));
                       }),
              resultOf(image, colorPencil(kUsual)));
}

} // namespace

} // namespace velmont::testing
