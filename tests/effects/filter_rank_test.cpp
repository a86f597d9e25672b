// Maximum, minimum and median.

#include "filters/extreme_kernels.h"
#include "filters/median_kernels.h"
#include "platform/memory.h"
#include "tests/effects/tone_testing.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <numeric>
#include <velmont/effects.h>
#include <velmont/environment.h>
#include <velmont/filters.h>

namespace velmont::testing {

namespace {

Effect maxMin(int size, int isMax)
{
    return [=](void *dib) {
        tagParamMaxMin record{size, isMax};
        return ProcessMaxMin(dib, &record);
    };
}

Effect median(int size)
{
    return [=](void *dib) {
        tagParamMedian record{size};
        return ProcessMedian(dib, &record);
    };
}

/// One channel of an image.
struct Plane {
    int width, height;
    std::vector<int> samples;

    int &at(int x, int y) { return samples[static_cast<std::size_t>(y * width + x)]; }
    int at(int x, int y) const { return samples[static_cast<std::size_t>(y * width + x)]; }
};

using PlaneFilter = std::function<Plane(const Plane &)>;

/// The image with each channel filtered by itself and zero padding.
Bytes filtered(const Pieces &source, const PlaneFilter &filter)
{
    const int channels = source.header.biBitCount / 8, width = source.header.biWidth,
              height = source.header.biHeight;
    const std::size_t stride = strideFor(width, source.header.biBitCount);
    Pieces image = source;
    std::fill(image.rows.begin(), image.rows.end(), uint8_t{0});
    for (int channel = 0; channel < channels; ++channel) {
        const auto place = [&](int x, int y) {
            return static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x * channels + channel);
        };
        Plane plane{width, height, std::vector<int>(static_cast<std::size_t>(width * height))};
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                plane.at(x, y) = source.rows[place(x, y)];
        const Plane result = filter(plane);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                image.rows[place(x, y)] = static_cast<uint8_t>(result.at(x, y));
    }
    return image.bytes();
}

/// The largest or smallest of the samples that output p of a line of n reads.
int extremeAt(const std::function<int(int)> &line, int n, int p, int size, bool isMax)
{
    int best = isMax ? 0 : 255;
    for (int i = std::max(p - size / 2, 0); i <= std::min(p - size / 2 + size - 1, n - 2); ++i)
        best = isMax ? std::max(best, line(i)) : std::min(best, line(i));
    return best;
}

PlaneFilter plainMaxMin(int size, bool isMax)
{
    return [=](const Plane &plane) {
        Plane rows = plane, columns = plane;
        for (int y = 0; y < plane.height; ++y)
            for (int x = 0; x < plane.width; ++x)
                rows.at(x, y) = extremeAt([&](int i) { return plane.at(i, y); }, plane.width, x, size, isMax);
        for (int y = 0; y < plane.height; ++y)
            for (int x = 0; x < plane.width; ++x)
                columns.at(x, y) =
                    extremeAt([&](int i) { return rows.at(x, i); }, plane.height, y, size, isMax);
        return columns;
    };
}

/// The walk of a candidate through each row, every window counted anew.
PlaneFilter plainMedian(int size)
{
    return [=](const Plane &plane) {
        const int rank = (size * size + 1) / 2;
        Plane result = plane;
        for (int y = 0; y < plane.height; ++y) {
            int candidate = -1;
            for (int x = 0; x < plane.width; ++x) {
                std::array<int, 256> counts{};
                for (int j = 0; j < size; ++j)
                    for (int i = 0; i < size; ++i)
                        ++counts[static_cast<std::size_t>(
                            plane.at(std::clamp(x + i - size / 2, 0, plane.width - 1),
                                     std::clamp(y + j - size / 2, 0, plane.height - 1)))];
                const auto atOrBelow = [&](int value) {
                    return std::accumulate(counts.begin(), counts.begin() + value + 1, 0);
                };
                if (atOrBelow(candidate) > rank) {
                    while (atOrBelow(candidate) > rank)
                        --candidate;
                    if (atOrBelow(candidate) < rank)
                        ++candidate;
                } else {
                    while (atOrBelow(candidate) < rank)
                        ++candidate;
                }
                result.at(x, y) = candidate;
            }
        }
        return result;
    };
}

/// Few levels, far apart and with runs: windows with many equal samples and candidates between them.
Pieces coarse(Pieces image)
{
    for (uint8_t &byte : image.rows)
        byte = static_cast<uint8_t>(byte / 64 * 80);
    return image;
}

/// The gray image with these rows, each of the same length.
Pieces levels(const std::vector<Bytes> &rows)
{
    const int width = static_cast<int>(rows[0].size()), height = static_cast<int>(rows.size());
    Pieces image{makeHeader(width, height, 8, 256), grayRamp(), {}};
    for (Bytes row : rows) {
        row.resize(strideFor(width, 8));
        image.rows.insert(image.rows.end(), row.begin(), row.end());
    }
    return image;
}

class RankFilters : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

class MaxMin : public RankFilters {};
class Median : public RankFilters {};

constexpr int kMostColumns = 40, kMostRows = 18;

/// On every level the effect gives the bytes of the plain filter.
void expectOnEveryLevel(const Pieces &image, const Effect &effect, const PlaneFilter &plain,
                        const std::string &what)
{
    const Bytes expected = filtered(image, plain);
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        ASSERT_EQ(resultOf(image, effect), expected) << image.header.biWidth << " x " << image.header.biHeight
                                                     << " x " << image.header.biBitCount << ", " << what;
    }
}

TEST_F(MaxMin, RefusesSizesAndNulls)
{
    const Handle image = gray(5, 4).handle();
    for (const int size : {1, 33, 0, -1, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(eventsOfRefusal(image, maxMin(size, 1)), Events{}) << size;
        EXPECT_EQ(eventsOfRefusal(nullptr, maxMin(size, 1)), Events{}) << size;
    }
    EXPECT_EQ(eventsOfRefusal(nullptr, maxMin(3, 1)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessMaxMin(dib, nullptr); }), Events{});
    EXPECT_EQ(EnhanceAndEffects(image, 20, 0), nullptr);
    EXPECT_EQ(EnhanceAndEffects(image, 72, 0), nullptr);
    for (const Pieces &other : {paletted(5, 4, 8, 256), paletted(5, 4, 8, 9), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        EXPECT_EQ(eventsOfRefusal(other.handle(), maxMin(3, 1)), Events{});
    expectLiesRefused(maxMin(3, 1));
}

TEST_F(MaxMin, FlatImagesStay)
{
    for (Pieces image : {gray(19, 7), trueColor(19, 7)}) {
        std::fill(image.rows.begin(), image.rows.end(), uint8_t{77});
        const auto same = [](const Plane &plane) { return plane; };
        for (const int size : {2, 3, 7, 32})
            for (const int isMax : {0, 1, -5})
                EXPECT_EQ(resultOf(image, maxMin(size, isMax)), filtered(image, same));
    }
}

// The last column and the last row are never read.
TEST_F(MaxMin, ByHand)
{
    EXPECT_EQ(resultOf(levels({{1, 2, 3, 9}, {1, 2, 3, 9}}), maxMin(3, 1)),
              levels({{2, 3, 3, 3}, {2, 3, 3, 3}}).bytes());
    EXPECT_EQ(resultOf(levels({{1, 2, 9, 3}, {1, 2, 9, 3}}), maxMin(3, 1)),
              levels({{2, 9, 9, 9}, {2, 9, 9, 9}}).bytes());
    EXPECT_EQ(resultOf(levels({{5, 4, 9, 1}, {0, 0, 0, 0}}), maxMin(3, 0)),
              levels({{4, 4, 4, 9}, {4, 4, 4, 9}}).bytes());
    // An even window leans back: size 2 reads the sample before and the sample itself.
    EXPECT_EQ(resultOf(levels({{1, 5, 2, 3, 9}, {7, 1, 1, 1, 1}, {9, 9, 9, 9, 9}}), maxMin(2, 1)),
              levels({{1, 5, 5, 3, 3}, {7, 7, 5, 3, 3}, {7, 7, 1, 1, 1}}).bytes());
}

TEST_F(MaxMin, LinesOfOneSampleReadNothing)
{
    for (const auto &[width, height] : {std::pair{1, 1}, {1, 9}, {9, 1}})
        for (const Pieces &image : {gray(width, height), trueColor(width, height)}) {
            EXPECT_EQ(resultOf(image, maxMin(3, 1)), filtered(image, [](Plane plane) {
                          std::fill(plane.samples.begin(), plane.samples.end(), 0);
                          return plane;
                      }));
            EXPECT_EQ(resultOf(image, maxMin(3, 0)), filtered(image, [](Plane plane) {
                          std::fill(plane.samples.begin(), plane.samples.end(), 255);
                          return plane;
                      }));
        }
}

TEST_F(MaxMin, EveryMeasureAsThePlainLoop)
{
    int next = 2;
    for (int width = 1; width <= kMostColumns; ++width)
        for (int height = 1; height <= kMostRows; ++height)
            for (const Pieces &image : {gray(width, height), trueColor(width, height)})
                for (const int isMax : {0, 1}) {
                    next = next == 32 ? 2 : next + 1;
                    expectOnEveryLevel(image, maxMin(next, isMax), plainMaxMin(next, isMax != 0),
                                       std::to_string(next));
                }
}

TEST_F(MaxMin, LargeImagesAsThePlainLoop)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (const auto &[width, height] : {std::pair{1600, 3}, {173, 70}, {513, 35}})
            for (const Pieces &image : {gray(width, height), trueColor(width, height)})
                for (const int size : {5, 16, 31})
                    for (const int isMax : {0, 1})
                        ASSERT_EQ(resultOf(image, maxMin(size, isMax)),
                                  filtered(image, plainMaxMin(size, isMax != 0)));
    }
}

TEST_F(MaxMin, Events)
{
    const Events expected = joined({{"wait", "poll"},
                                    {"poll", "0%"},
                                    Events(15, "poll"),
                                    {"poll", "47%"},
                                    {"poll", "50%"},
                                    Events(15, "poll"),
                                    {"poll", "71%"},
                                    Events(15, "poll"),
                                    {"poll", "92%"},
                                    Events(5, "poll"),
                                    {"100%", "arrow"}});
    EXPECT_EQ(eventsOf(gray(38, 17), maxMin(3, 1)), expected);
    EXPECT_EQ(eventsOf(trueColor(38, 17), maxMin(32, 0)), expected);
    EXPECT_EQ(eventsOf(gray(1, 1), maxMin(3, 1)),
              (Events{"wait", "poll", "poll", "0%", "poll", "50%", "100%", "arrow"}));
}

TEST_F(MaxMin, AbortsAndFailures)
{
    for (const Pieces &image : {gray(19, 18), trueColor(19, 18)}) {
        expectAborts(image, maxMin(4, 1), 1);
        expectFailuresSurvived(image, maxMin(4, 1));
    }
}

TEST_F(MaxMin, BothCodes)
{
    const Pieces image = trueColor(13, 9);
    for (const unsigned code : {20u, 72u})
        EXPECT_EQ(resultOf(image,
                           [=](void *dib) {
                               tagParamMaxMin record{5, 1};
                               return EnhanceAndEffects(dib, code, reinterpret_cast<long>(&record));
                           }),
                  resultOf(image, maxMin(5, 1)));
}

TEST_F(Median, RefusesSizesAndNulls)
{
    const Handle image = gray(5, 4).handle();
    for (const int size : {1, 33, 0, -1, INT32_MIN, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(image, median(size)), Events{}) << size;
    EXPECT_EQ(eventsOfRefusal(nullptr, median(3)), Events{});
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessMedian(dib, nullptr); }), Events{});
    EXPECT_EQ(EnhanceAndEffects(image, 21, 0), nullptr);
    for (const Pieces &other : {paletted(5, 4, 8, 256), paletted(5, 4, 8, 9), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        EXPECT_EQ(eventsOfRefusal(other.handle(), median(3)), Events{});
    expectLiesRefused(median(3));
}

TEST_F(Median, FlatImagesStayAndSpecksGo)
{
    for (Pieces image : {gray(19, 7), trueColor(19, 7)}) {
        std::fill(image.rows.begin(), image.rows.end(), uint8_t{77});
        const Bytes flat = filtered(image, [](const Plane &plane) { return plane; });
        for (const int size : {2, 3, 4, 7, 15, 16, 32})
            EXPECT_EQ(resultOf(image, median(size)), flat);
        const std::size_t speck = 3 * strideFor(19, image.header.biBitCount) + 8;
        image.rows[speck] = 255;
        EXPECT_EQ(resultOf(image, median(3)), flat);
        image.rows[speck] = 0;
        EXPECT_EQ(resultOf(image, median(3)), flat);
    }
}

TEST_F(Median, ByHand)
{
    // Size 2 takes the second of four: the sample before and the sample itself, twice in a single row.
    EXPECT_EQ(resultOf(levels({{10, 20, 30}}), median(2)), levels({{10, 10, 20}}).bytes());
    EXPECT_EQ(resultOf(levels({{30, 20, 10}}), median(2)), levels({{30, 29, 19}}).bytes());
    // At 25 two of four lie at or below the candidate of the pixel before, which rests there.
    EXPECT_EQ(resultOf(levels({{25, 90, 20, 20}}), median(2)), levels({{25, 25, 25, 20}}).bytes());
}

TEST_F(Median, EveryMeasureAsThePlainLoop)
{
    int next = 2;
    bool isCoarse = false;
    for (int width = 1; width <= kMostColumns; ++width)
        for (int height = 1; height <= kMostRows; ++height)
            for (const Pieces &image : {gray(width, height), trueColor(width, height)}) {
                next = next == 32 ? 2 : next + 1;
                isCoarse = next == 2 ? !isCoarse : isCoarse;
                expectOnEveryLevel(isCoarse ? coarse(image) : image, median(next), plainMedian(next),
                                   std::to_string(next));
            }
}

TEST_F(Median, EverySizeAsThePlainLoop)
{
    for (int size = 2; size <= 32; ++size)
        for (const Pieces &image :
             {gray(61, 5), trueColor(45, 4), coarse(gray(23, 35)), coarse(trueColor(9, 4))})
            expectOnEveryLevel(image, median(size), plainMedian(size), std::to_string(size));
}

// Large windows count columns in memory of their own, and do without it where there is none.
TEST_F(Median, WithoutMemoryForCounts)
{
    for (const int size : {3, 16, 32})
        for (const auto &[order, nth] :
             {std::pair{&memory_hooks::failAllocation, 2}, {&memory_hooks::failLock, 3}}) {
            const Effect withFailure = [size, order = order, nth = nth](void *dib) {
                order(nth);
                void *const result = median(size)(dib);
                order(0);
                return result;
            };
            expectOnEveryLevel(trueColor(19, 18), withFailure, plainMedian(size), std::to_string(size));
        }
}

/// Turns over each pixel of the picture that a filter works on.
uint8_t *pictureToChange;
std::size_t bytesToChange;
int changePicture()
{
    std::for_each_n(pictureToChange, bytesToChange, [](uint8_t &byte) { byte ^= 255; });
    return 0;
}

// A host that changes its picture when it is asked gets some picture and no harm.
TEST_F(Median, PictureChangedMeanwhile)
{
    const Pieces image = trueColor(40, 40);
    const Handle source = image.handle();
    pictureToChange = static_cast<uint8_t *>(KelMemLock(source)) + 40;
    bytesToChange = image.rows.size();
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (const int size : {3, 10, 11, 32}) {
            SetProcessEnvironment(changePicture, nullptr);
            const Handle result(median(size)(source));
            SetProcessEnvironment(nullptr, nullptr);
            EXPECT_NE(result, nullptr);
        }
    }
    KelMemUnlock(source);
}

/// The versions by ranks that this machine can run.
std::vector<MedianRow> byRanks(int size)
{
    std::vector<MedianRow> versions{kernels::medianByRanks(size, MedianKind::Walked)};
#if defined(__x86_64__)
    if (cpuLevels().back() >= CpuLevel::Avx2)
        versions.push_back(kernels::medianByRanksAvx2(size, MedianKind::Walked));
    if (cpuLevels().back() >= CpuLevel::Avx512)
        versions.push_back(kernels::medianByRanksAvx512(size, MedianKind::Walked));
#endif
    return versions;
}

// All versions against the walk on rows longer than a chunk, for all sizes that they take.
TEST_F(Median, KernelsAgree)
{
    const Bytes noisy = noise(32 * 2100, 5);
    Bytes few = noisy, extremes = noisy;
    for (uint8_t &byte : few)
        byte = static_cast<uint8_t>(byte / 50 * 60);
    for (uint8_t &byte : extremes)
        byte = byte < 128 ? 0 : 255;
    for (const Bytes &samples : {noisy, few, extremes})
        for (const auto &[pixels, channels] :
             {std::pair<std::size_t, std::size_t>{2100, 1}, {700, 3}, {511, 1}, {384, 1}, {128, 3}, {129, 3}})
            for (int size = kSmallestMedian; size <= kernels::kLargestByRanks; ++size) {
                MedianRows rows{{}, size, pixels, channels};
                for (std::size_t j = 0; j < 32; ++j)
                    rows.row[j] = samples.data() + 2100 * j;
                Bytes plain(pixels * channels + 1, 170), ranks = plain; // with a byte that is to stay
                kernels::medianPlain(plain.data(), rows);
                for (const MedianRow version : byRanks(size)) {
                    version(ranks.data(), rows);
                    ASSERT_EQ(ranks, plain) << size;
                }
            }
}

TEST_F(Median, Events)
{
    const Events expected = joined({{"wait", "poll"}, rowEvents(35), {"100%", "arrow"}});
    EXPECT_EQ(eventsOf(gray(5, 35), median(3)), expected);
    EXPECT_EQ(eventsOf(trueColor(5, 35), median(32)), expected);
}

TEST_F(Median, AbortsAndFailures)
{
    for (const Pieces &image : {gray(19, 18), trueColor(19, 18)})
        for (const int size : {3, 16}) {
            expectAborts(image, median(size), 1);
            expectFailuresSurvived(image, median(size));
        }
}

} // namespace

} // namespace velmont::testing
