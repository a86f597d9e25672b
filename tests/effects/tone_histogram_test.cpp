// The host's histogram: its layout, what it counts, what it refuses, what it leaves behind.

#include "tests/support/images.h"
#include "tests/support/recording_host.h"
#include "tone/level_counts.h"
#include <algorithm>
#include <array>
#include <cstddef>
#include <gtest/gtest.h>
#include <new>
#include <velmont/tone.h>

namespace {

int heapCallsUntilFailure = 0;

bool heapFails()
{
    return heapCallsUntilFailure > 0 && --heapCallsUntilFailure == 0;
}

} // namespace

// The heap under the record, with a failure to order.
void *operator new(std::size_t bytes, const std::nothrow_t &) noexcept
{
    return heapFails() ? nullptr : ::operator new(bytes);
}

void *operator new[](std::size_t bytes, const std::nothrow_t &) noexcept
{
    return heapFails() ? nullptr : ::operator new[](bytes);
}

namespace {

using namespace velmont;
using namespace velmont::testing;

using Events = std::vector<std::string>;

/// GetHistogram's answer, released at the end.
class Histogram {
public:
    explicit Histogram(void *dib) : record_(GetHistogram(dib)) {}
    ~Histogram()
    {
        if (record_)
            DelHistogram(record_);
    }
    Histogram(const Histogram &) = delete;
    Histogram &operator=(const Histogram &) = delete;
    explicit operator bool() const { return record_ != nullptr; }
    const HistogramRecord &operator*() const { return *reinterpret_cast<const HistogramRecord *>(record_); }
    const HistogramRecord *operator->() const { return &**this; }

private:
    unsigned char *record_;
};

TEST(HistogramRecordTest, HasTheLayoutThatHostsRead)
{
    EXPECT_EQ(offsetof(HistogramRecord, reserved), 0u);
    EXPECT_EQ(offsetof(HistogramRecord, channels), sizeof(void *));
    EXPECT_EQ(offsetof(HistogramRecord, channelCount), 2 * sizeof(void *));
}

TEST(GetHistogramTest, CountsLargestBlueGreenRed)
{
    for (const int width : {1, 2, 3, 4, 5, 37, 1023, 1024, 1025, 2500}) {
        const NothingLost check;
        const Handle dib = noiseImage(width, 7, 24, 0, static_cast<uint32_t>(width));
        const Histogram histogram(dib);
        ASSERT_TRUE(histogram);
        ASSERT_EQ(histogram->channelCount, 4);

        std::array<std::array<double, 256>, 4> expected{};
        const Bytes block = bytesOf(dib);
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < width; ++x) {
                const uint8_t *const p = block.data() + 40 + strideFor(width, 24) * y + 3 * x;
                expected[0][std::max({p[0], p[1], p[2]})] += 1.0;
                for (int c = 0; c < 3; ++c)
                    expected[c + 1][p[c]] += 1.0;
            }
        for (int c = 0; c < 4; ++c)
            EXPECT_TRUE(std::equal(expected[c].begin(), expected[c].end(), histogram->channels[c]))
                << width << " channel " << c;
    }
}

TEST(GetHistogramTest, CountsAPictureByHand)
{
    const DibHeader header = makeHeader(2, 2, 24, 0);
    const Bytes rows{1, 2, 3, 9, 2, 3, 0xEE, 0xEE, 1, 7, 255, 0, 0, 0, 0xEE, 0xEE};
    const Handle dib = blockOf(makeBlock(header, {}, rows));
    const Histogram histogram(dib);
    ASSERT_TRUE(histogram);
    const auto bins = [&](int channel) {
        std::vector<std::pair<int, double>> filled;
        for (int i = 0; i < 256; ++i)
            if (histogram->channels[channel][i] != 0)
                filled.emplace_back(i, histogram->channels[channel][i]);
        return filled;
    };
    using Bins = std::vector<std::pair<int, double>>;
    EXPECT_EQ(bins(0), (Bins{{0, 1}, {3, 1}, {9, 1}, {255, 1}}));
    EXPECT_EQ(bins(1), (Bins{{0, 1}, {1, 2}, {9, 1}}));
    EXPECT_EQ(bins(2), (Bins{{0, 1}, {2, 2}, {7, 1}}));
    EXPECT_EQ(bins(3), (Bins{{0, 1}, {3, 2}, {255, 1}}));
}

TEST(GetHistogramTest, CountsGrayInChannelZeroOnly)
{
    for (const int width : {1, 7, 8, 9, 63, 64, 65, 1000}) {
        const NothingLost check;
        const Handle dib = grayNoise(width, 5, 3);
        const Histogram histogram(dib);
        ASSERT_TRUE(histogram);
        ASSERT_EQ(histogram->channelCount, 2);
        std::array<double, 256> expected{};
        const Bytes block = bytesOf(dib);
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < width; ++x)
                expected[block[1064 + strideFor(width, 8) * y + x]] += 1.0;
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), histogram->channels[0])) << width;
        EXPECT_EQ(std::count(histogram->channels[1], histogram->channels[1] + 256, 0.0), 256);
    }
}

TEST(GetHistogramTest, TakesAGrayRampWithMoreThan256Colours)
{
    const DibHeader header = makeHeader(4, 1, 8, 258);
    Bytes palette = grayRamp();
    palette.insert(palette.end(), {9, 9, 9, 9, 8, 8, 8, 8});
    const Handle dib = blockOf(makeBlock(header, palette, Bytes{5, 5, 6, 255}));
    const Histogram histogram(dib);
    ASSERT_TRUE(histogram);
    EXPECT_EQ(histogram->channelCount, 2);
    EXPECT_EQ(histogram->channels[0][5], 2);
    EXPECT_EQ(histogram->channels[0][6], 1);
    EXPECT_EQ(histogram->channels[0][255], 1);
}

TEST(GetHistogramTest, ShowsCursorsAndNothingElse)
{
    const Handle dib = grayNoise(20, 40);
    RecordingHost host;
    host.abortFromPoll(1);
    const Histogram histogram(dib);
    EXPECT_TRUE(histogram);
    EXPECT_EQ(host.events, (Events{"wait", "arrow"}));
}

TEST(GetHistogramTest, RefusesOtherKindsWithoutACursor)
{
    const NothingLost check;
    RecordingHost host;
    Bytes shifted = bytesOf(grayNoise(8, 2));
    ++shifted[40 + 4 * 17];
    Bytes lying = bytesOf(noiseImage(8, 2, 24, 0));
    lying[8] = 3; // a row more than there is
    Bytes noColors = bytesOf(grayNoise(8, 2));
    std::fill_n(noColors.begin() + 32, 4, uint8_t{0});
    const Handle refused[] = {noiseImage(8, 2, 8, 256), noiseImage(8, 2, 8, 20), noiseImage(8, 2, 4, 16),
                              noiseImage(8, 2, 1, 2),   noiseImage(8, 2, 16, 0), noiseImage(8, 2, 32, 0),
                              blockOf(shifted),         blockOf(lying),          blockOf(noColors),
                              blockOf(Bytes(39))};
    for (const Handle &dib : refused)
        EXPECT_EQ(GetHistogram(dib), nullptr);
    EXPECT_EQ(GetHistogram(nullptr), nullptr);
    EXPECT_TRUE(host.events.empty());
}

TEST(GetHistogramTest, AFailingHeapGivesNothingAndLosesNothing)
{
    const Handle dib = noiseImage(8, 2, 24, 0);
    // The record, the array of pointers and four arrays of bins.
    for (int n = 1; n <= 6; ++n) {
        const NothingLost check;
        RecordingHost host;
        heapCallsUntilFailure = n;
        EXPECT_EQ(GetHistogram(dib), nullptr) << n;
        EXPECT_EQ(heapCallsUntilFailure, 0);
        EXPECT_EQ(host.events, (Events{"wait", "arrow"}));

        tagParamAutoLevel param{5, 0, nullptr};
        host.events.clear();
        heapCallsUntilFailure = n;
        EXPECT_EQ(ProcessAutoLevel(dib, &param), nullptr) << n;
        EXPECT_EQ(heapCallsUntilFailure, 0);
        EXPECT_EQ(host.events, (Events{"wait", "wait", "arrow", "arrow"}));
    }
}

TEST(DelHistogramTest, LeavesTheArrayOfPointersBehind)
{
    const Handle dib = grayNoise(8, 2);
    unsigned char *const histogram = GetHistogram(dib);
    ASSERT_NE(histogram, nullptr);
    double **const channels = reinterpret_cast<HistogramRecord *>(histogram)->channels;
    DelHistogram(histogram);
    // Readable still; a checked build would stop here otherwise.
    EXPECT_NE(channels[0], nullptr);
    channels[0] = nullptr;
    delete[] channels;
}

TEST(DelHistogramTest, PassesOverNullChannelsAndANullRecord)
{
    const Handle dib = grayNoise(8, 2);
    unsigned char *const histogram = GetHistogram(dib);
    ASSERT_NE(histogram, nullptr);
    HistogramRecord *const record = reinterpret_cast<HistogramRecord *>(histogram);
    double **const channels = record->channels;
    record->channels = nullptr;
    DelHistogram(histogram);
    EXPECT_EQ(channels[1][0], 0.0);
    delete[] channels[0];
    delete[] channels[1];
    delete[] channels;
    DelHistogram(nullptr);
}

TEST(LevelCountersTest, AddUpOverManyRuns)
{
    const Bytes bytes = noise(3 * 5000, 9);
    ByteCounter counter;
    PixelCounter pixels;
    LevelCounts all{}, largest{}, green{};
    std::size_t place = 0;
    for (std::size_t count = 0; place + 3 * count <= bytes.size(); ++count) {
        counter.add(bytes.data() + place, 3 * count);
        pixels.add(bytes.data() + place, count);
        for (std::size_t i = 0; i < count; ++i) {
            const uint8_t *const p = bytes.data() + place + 3 * i;
            for (int c = 0; c < 3; ++c)
                ++all[p[c]];
            ++largest[std::max({p[0], p[1], p[2]})];
            ++green[p[1]];
        }
        place += 3 * count;
    }
    EXPECT_EQ(counter.total(), all);
    EXPECT_EQ(pixels.largest(), largest);
    EXPECT_EQ(pixels.channel(1), green);
}

} // namespace
