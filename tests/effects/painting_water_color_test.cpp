// Water colour, and the median that it shares.

#include "artistic/sized_median.h"
#include "tests/effects/filter_testing.h"
#include "tests/effects/painting_testing.h"
#include <array>
#include <velmont/effects.h>
#include <velmont/painting.h>

namespace velmont::testing {

namespace {

Effect waterColor(int patchSize, int toneDepth)
{
    return [=](void *dib) {
        tagWaterColorParam record{patchSize, toneDepth};
        return ProcessWaterColor(dib, &record);
    };
}

int darkened(int level, int toneDepth)
{
    const float exponent = static_cast<float>(1.0 + toneDepth * static_cast<double>(0.33333334F));
    const double share = level * static_cast<double>(0.0039215689F);
    return static_cast<int>(std::pow(share, static_cast<double>(exponent)) * 255.0);
}

Canvas toned(const Canvas &source, int toneDepth)
{
    if (toneDepth == 0)
        return source;
    Canvas to = source.cleared();
    for (int64_t y = 0; y < source.height; ++y)
        for (int64_t x = 0; x < source.width; ++x) {
            bool isHighlight = false;
            for (int64_t channel = 0; channel < source.channels; ++channel)
                isHighlight |= source.channels == 3 && source.at(y, x, channel) >= 250;
            for (int64_t channel = 0; channel < source.channels; ++channel) {
                const int level = source.at(y, x, channel);
                to.at(y, x, channel) = isHighlight ? level : darkened(level, toneDepth);
            }
        }
    return to;
}

/// The histogram of a row, with every step as it comes.
class Bins {
public:
    Bins(const Canvas &source, Canvas &to, int64_t y) : source_(source), to_(to), y_(y) {}

    void add(int64_t row, int64_t column) { change(row, column, true); }
    void remove(int64_t row, int64_t column) { change(row, column, false); }
    void put()
    {
        int best = 0, most = 0;
        for (int bin = 0; bin < 256; ++bin)
            if (count_[bin] > most) {
                most = count_[bin];
                best = bin;
            }
        for (int64_t i = 0; i < source_.channels; ++i) {
            const int64_t at = source_.place(y_, written_, i);
            if (to_.has(at))
                to_.bytes[static_cast<std::size_t>(at)] = source_.channels == 3 ? color_[best][i] : best;
        }
        ++written_;
    }

private:
    void change(int64_t row, int64_t column, bool enters)
    {
        const int64_t at = source_.place(row, column);
        if (!source_.has(at) || !source_.has(at + source_.channels - 1))
            return;
        const int *const byte = &source_.bytes[static_cast<std::size_t>(at)];
        if (source_.channels == 1) {
            count_[byte[0]] += enters ? 1 : -1;
            return;
        }
        const int bin = byte[2] / 32 * 32 + byte[1] / 32 * 4 + byte[0] / 64;
        if (enters) {
            ++count_[bin];
            std::copy_n(byte, 3, color_[bin]);
        } else {
            count_[bin] = std::max(count_[bin] - 1, 0);
        }
    }

    const Canvas &source_;
    Canvas &to_;
    int64_t y_, written_ = 0;
    int count_[256] = {};
    int color_[256][3] = {};
};

Canvas patched(const Canvas &source, int r)
{
    if (r == 1)
        return source;
    Canvas to = source.cleared();
    const int64_t width = source.width, height = source.height;
    for (int64_t y = 0; y < height; ++y) {
        if (y >= r && y <= height - r - 1)
            continue;
        for (int64_t i = 0; i < source.stride; ++i)
            to.bytes[static_cast<std::size_t>(y * source.stride + i)] =
                source.bytes[static_cast<std::size_t>(y * source.stride + i)];
    }
    if (r < 0)
        return to;
    for (int64_t y = r; y <= height - r - 1; ++y) {
        Bins bins(source, to, y);
        for (int64_t x = 0; x < r; ++x) {
            for (int64_t j = y - r; j <= y + r; ++j) {
                bins.add(j, 2 * x);
                if (x > 0)
                    bins.add(j, 2 * x - 1);
            }
            bins.put();
        }
        for (int64_t x = r; x < width - r; ++x) {
            for (int64_t j = y - r; j <= y + r; ++j) {
                bins.add(j, x + r);
                bins.remove(j, x - r);
            }
            bins.put();
        }
        for (int64_t i = 0; i < r; ++i) {
            if (source.channels == 3)
                for (int64_t j = y - r; j <= y + r - 1; ++j)
                    bins.remove(j, width + i);
            else
                for (int64_t j = y - r; j <= y + r; ++j)
                    bins.remove(j, width - 2 * r + i);
            bins.put();
        }
    }
    return to;
}

Canvas crisp(const Canvas &source)
{
    Canvas to = source.cleared();
    for (int64_t y = 0; y < source.height; ++y)
        for (int64_t x = 0; x < source.width; ++x)
            for (int64_t channel = 0; channel < 3; ++channel) {
                const int middle = source.at(y, x, channel);
                const bool isBorder = y == 0 || x == 0 || y == source.height - 1 || x == source.width - 1;
                const double sharp = isBorder ? middle
                                              : std::floor((4.0 * middle - source.at(y, x - 1, channel) -
                                                            source.at(y, x + 1, channel)) /
                                                           2);
                to.at(y, x, channel) = static_cast<int>(std::clamp(sharp, 0.0, 255.0));
            }
    return to;
}

Bytes painted(const Pieces &image, int patchSize, int toneDepth)
{
    const Canvas source(image), patches = patched(toned(source, toneDepth), patchSize);
    return bytesWith(image, source.channels == 3 ? crisp(patches)
                                                 : sortedMedian(patches, source.cleared(), patchSize));
}

/// Few colours, in runs, so that bins fill.
Pieces coarse(Pieces image)
{
    for (uint8_t &byte : image.rows)
        byte = static_cast<uint8_t>(byte / 100 * 90);
    return image;
}

class WaterColor : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(WaterColor, Refusals)
{
    expectPaintingRules(waterColor(3, 2));
    const Handle image = gray(5, 4).handle();
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessWaterColor(dib, nullptr); }), Events{});
    EXPECT_EQ(EnhanceAndEffects(image, 4710, 0), nullptr);
}

TEST_F(WaterColor, TonesByHand)
{
    // An exponent of 2; one sample of 250 keeps the whole pixel.
    const Pieces pixels =
        pixelRow({128, 128, 249, 128, 128, 250, 250, 0, 7, 255, 255, 255, 249, 249, 249, 0, 16, 100});
    EXPECT_EQ(
        resultOf(pixels, waterColor(1, 3)),
        pixelRow({64, 64, 243, 128, 128, 250, 250, 0, 7, 255, 255, 255, 243, 243, 243, 0, 1, 39}).bytes());
    EXPECT_EQ(resultOf(levelRow({0, 16, 128, 249, 250, 255}), waterColor(1, 3)),
              levelRow({0, 1, 64, 243, 245, 255}).bytes());
    // Exponents below 0 leave what fits no byte: some byte, and no harm.
    for (const int depth : {-4, -100, INT32_MIN, INT32_MAX})
        EXPECT_FALSE(resultOf(levelRow({0, 1, 128, 255}), waterColor(1, depth)).empty());
}

TEST_F(WaterColor, CrispRowsByHand)
{
    Pieces image = trueColor(4, 3);
    std::fill(image.rows.begin(), image.rows.end(), uint8_t{50});
    setPixel(image, 1, 1, {100, 0, 255});
    setPixel(image, 2, 1, {250, 1, 0});
    Pieces expected = image; // rows of four pixels have no padding
    setPixel(expected, 1, 1, {50, 0, 255});
    setPixel(expected, 2, 1, {255, 0, 0});
    EXPECT_EQ(resultOf(image, waterColor(1, 0)), expected.bytes());
}

TEST_F(WaterColor, PatchesByHand)
{
    // A lone pixel is gone in its row, and stays in those that are spared.
    Pieces image = trueColor(8, 5);
    std::fill(image.rows.begin(), image.rows.end(), uint8_t{50});
    Pieces expected = image;
    setPixel(image, 4, 2, {200, 200, 200});
    EXPECT_EQ(resultOf(image, waterColor(2, 0)), expected.bytes());
    EXPECT_EQ(resultOf(image, waterColor(3, 0)), painted(image, 1, 0)); // too low for patches
    // Of equal bins the lowest wins.
    const Pieces columns = levels({{9, 8, 7, 6}, {9, 8, 7, 6}, {9, 8, 7, 6}, {9, 8, 7, 6}, {9, 8, 7, 6}});
    // The middle row has column 0; then 0, 1 and 2; then those without 0, and without 1: 9 7 7 7. The median of two by
    // two pixels makes of that:
    EXPECT_EQ(resultOf(columns, waterColor(2, 0)),
              levels({{9, 8, 7, 6}, {9, 8, 7, 6}, {9, 8, 7, 7}, {9, 8, 7, 7}, {9, 8, 7, 6}}).bytes());
}

TEST_F(WaterColor, RadiusZeroRemembersTheLastDarkPixel)
{
    const Pieces pixels = pixelRow({200, 0, 0, 10, 20, 30, 0, 200, 0, 63, 31, 31, 0, 0, 32, 64, 0, 0});
    EXPECT_EQ(resultOf(pixels, waterColor(0, 0)),
              pixelRow({0, 0, 0, 10, 20, 30, 10, 20, 30, 63, 31, 31, 63, 31, 31, 63, 31, 31}).bytes());
    EXPECT_EQ(resultOf(levelRow({1, 2, 3}), waterColor(0, 0)), levelRow({0, 0, 0}).bytes());
}

TEST_F(WaterColor, SizesOfNoUse)
{
    for (const int size : {-1, -7, INT32_MIN}) {
        for (Pieces image : {trueColor(6, 9), gray(7, 9)}) {
            const Bytes result = resultOf(image, waterColor(size, 2));
            std::fill(image.rows.begin(), image.rows.end(), uint8_t{0});
            EXPECT_EQ(result, image.bytes()) << size;
        }
        EXPECT_EQ(eventsOf(gray(4, 2), waterColor(size, 0)).size(), 8u) << size;
    }
    // Sizes of no median are black at 8 bits, and change nothing at 24 but the crispness.
    for (const int size : {33, 100, INT32_MAX}) {
        Pieces image = gray(7, 9), color = trueColor(8, 9);
        EXPECT_EQ(resultOf(color, waterColor(size, 0)), painted(color, 1, 0));
        const Bytes result = resultOf(image, waterColor(size, 0));
        std::fill(image.rows.begin(), image.rows.end(), uint8_t{0});
        EXPECT_EQ(result, image.bytes()) << size;
    }
}

TEST_F(WaterColor, EveryMeasureAsThePlainLoop)
{
    constexpr std::array kSizes{2, 3, 0, 4, 1, 5, 7, -2, 8, 6};
    std::size_t next = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (Pieces image : {gray(width, height), trueColor(width, height)}) {
                const int size = kSizes[++next % kSizes.size()], depth = static_cast<int>(next % 4);
                if (next % 3 != 0)
                    image = coarse(image);
                const auto levelsOfCpu = cpuLevels();
                limitCpuLevel(levelsOfCpu[next % levelsOfCpu.size()]);
                ASSERT_EQ(resultOf(image, waterColor(size, depth)), painted(image, size, depth))
                    << width << " x " << height << " x " << image.header.biBitCount << ", " << size << ", "
                    << depth;
            }
}

// Wide counts, windows that hold everything, and rows that run into each other.
TEST_F(WaterColor, LargePatchesAsThePlainLoop)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (const auto &[width, height, size] :
             {std::array{200, 183, 90}, {1, 31, 12}, {2, 31, 15}, {3, 29, 14}, {70, 70, 31}})
            for (const Pieces &image : {coarse(trueColor(width, height)), gray(width, height)})
                ASSERT_EQ(resultOf(image, waterColor(size, 1)), painted(image, size, 1))
                    << width << " x " << height << ", " << size;
    }
}

// One colour fills a single bin: with all that the windows of these radii hold, to both sides of what a byte and 16 bits
// hold, and 23 bits.
TEST_F(WaterColor, FullBinsAsThePlainLoop)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (const int size : {2, 5, 6, 7, 8, 15, 89, 90, 92, 94})
            for (const Pieces &image :
                 {flat(trueColor(200, 2 * size + 2), 177), flat(gray(200, 2 * size + 2), 177)})
                ASSERT_EQ(resultOf(image, waterColor(size, 0)), painted(image, size, 0)) << size;
    }
    const Pieces column = flat(trueColor(1, 3801), 177);
    ASSERT_EQ(resultOf(column, waterColor(1900, 0)), painted(column, 1900, 0));
}

TEST_F(WaterColor, Events)
{
    for (const Pieces &image : {gray(5, 9), trueColor(5, 9)}) {
        EXPECT_EQ(eventsOf(image, waterColor(2, 1)),
                  (Events{"wait", "poll", "poll", "28%", "poll", "42%", "poll", "57%", "poll", "71%", "poll",
                          "85%", "100%", "arrow"}));
        EXPECT_EQ(eventsOf(image, waterColor(1, 1)), (Events{"wait", "poll", "100%", "arrow"}));
        EXPECT_EQ(eventsOf(image, waterColor(5, 1)), (Events{"wait", "poll", "100%", "arrow"}));
        EXPECT_EQ(eventsOf(image, waterColor(0, 1)).size(), 4u + 2 * 9);
        EXPECT_EQ(eventsOf(image, waterColor(-1, 1))[5], "10%"); // row 1 of nine and one more
        expectAborts(image, waterColor(3, 1), 1);
    }
}

TEST_F(WaterColor, WithoutMemory)
{
    for (const Pieces &image : {gray(9, 11), trueColor(9, 11)})
        expectLostWithoutScratch(image, waterColor(2, 1), 3, {"wait", "poll", "arrow"});
}

TEST_F(WaterColor, Code)
{
    const Pieces image = trueColor(13, 9);
    EXPECT_EQ(resultOf(image,
                       [](void *dib) {
                           tagWaterColorParam record{3, 2};
                           return EnhanceAndEffects(dib, 4710, reinterpret_cast<long>(&record));
                       }),
              resultOf(image, waterColor(3, 2)));
}

SampleRows rowsOf(const Pieces &image)
{
    return {image.rows.data(), strideFor(image.header.biWidth, image.header.biBitCount), image.header.biWidth,
            image.header.biHeight, static_cast<std::size_t>(image.header.biBitCount / 8)};
}

class SizedMedian : public WaterColor {};

TEST_F(SizedMedian, ByHand)
{
    // The second of four, and always a sample of the window.
    EXPECT_EQ(resultOf(levels({{10, 20, 30}}), waterColor(2, 0)), levels({{10, 10, 20}}).bytes());
    EXPECT_EQ(resultOf(levels({{30, 20, 10}}), waterColor(2, 0)), levels({{30, 20, 10}}).bytes());
    EXPECT_EQ(resultOf(levels({{25, 90, 20, 20}}), waterColor(2, 0)), levels({{25, 25, 20, 20}}).bytes());
}

TEST_F(SizedMedian, SizesOfNoMedian)
{
    const Pieces image = trueColor(5, 3);
    Bytes to(image.rows.size(), 99);
    for (const int n : {0, -1, 33, INT32_MIN, INT32_MAX}) {
        EXPECT_FALSE(applyMedianSized(to.data(), rowsOf(image), n));
        EXPECT_EQ(to, Bytes(image.rows.size(), 99));
    }
    EXPECT_TRUE(applyMedianSized(to.data(), rowsOf(image), 1));
    EXPECT_EQ(to, image.rows);
}

TEST_F(SizedMedian, EverySizeAsSorted)
{
    for (int n = 2; n <= 32; ++n)
        for (const Pieces &image :
             {gray(41, 5), coarse(gray(23, 37)), trueColor(19, 4), coarse(trueColor(140, 2)), gray(1, 3)}) {
            const Canvas source(image);
            Canvas expected = source.cleared();
            std::fill(expected.bytes.begin(), expected.bytes.end(), 99); // padding stays
            expected = sortedMedian(source, expected, n);
            for (const CpuLevel level : cpuLevels()) {
                limitCpuLevel(level);
                Bytes to(image.rows.size(), 99);
                ASSERT_TRUE(applyMedianSized(to.data(), rowsOf(image), n));
                ASSERT_EQ(std::vector<int>(to.begin(), to.end()), expected.bytes) << n;
                // Without memory for counts of the columns as well.
                memory_hooks::failAllocation(1);
                ASSERT_TRUE(applyMedianSized(to.data(), rowsOf(image), n));
                memory_hooks::failAllocation(0);
                ASSERT_EQ(std::vector<int>(to.begin(), to.end()), expected.bytes) << n;
            }
        }
}

} // namespace

} // namespace velmont::testing
