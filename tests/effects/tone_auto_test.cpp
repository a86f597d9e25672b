// Auto level, equalization and auto enhance against plain loops and tables worked out by hand.

#include "core/cpu.h"
#include "platform/memory.h"
#include "tests/support/images.h"
#include "tests/support/recording_host.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/tone.h>

namespace {

using namespace velmont;
using namespace velmont::testing;

using Events = std::vector<std::string>;

/// Runs a check on every level of the processor.
void onEveryCpuLevel(const std::function<void()> &check)
{
    for (const CpuLevel level : {CpuLevel::Baseline, CpuLevel::Avx2, CpuLevel::Avx512}) {
        limitCpuLevel(level);
        SCOPED_TRACE(static_cast<int>(level));
        check();
    }
}

Handle image24(int width, int height, const Bytes &rows)
{
    return blockOf(makeBlock(makeHeader(width, height, 24, 0), {}, rows));
}

/// A 24-bit image of one colour, its padding 0xEE.
Handle uniform24(int width, int height, uint8_t blue, uint8_t green, uint8_t red)
{
    Bytes rows(strideFor(width, 24) * static_cast<std::size_t>(height), 0xEE);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            uint8_t *const p = rows.data() + strideFor(width, 24) * static_cast<std::size_t>(y) + 3 * x;
            p[0] = blue;
            p[1] = green;
            p[2] = red;
        }
    return image24(width, height, rows);
}

Handle uniformGray(int width, int height, uint8_t level)
{
    const DibHeader header = makeHeader(width, height, 8, 256);
    return blockOf(makeBlock(header, grayRamp(), Bytes(header.biSizeImage, level)));
}

// ---- auto level

/// What becomes of a level between two ends under a gamma.
double throughLevels(double x, int low, int high, double gamma)
{
    x = x * 255 - low;
    if (high != low)
        x = x / (high - low);
    if (gamma != 0)
        x = x >= 0 ? std::pow(x, 1 / gamma) : -std::pow(-x, 1 / gamma);
    return (x * 255 + 0) * (1.0 / 255);
}

uint8_t roundedLevel(double x)
{
    const double y = x * 255 + 0.5;
    return y < 0 ? 0 : y >= 255 ? 255 : static_cast<uint8_t>(y);
}

double levelStart(int v)
{
    return static_cast<double>(static_cast<float>(v * (1.0 / 255)));
}

struct Ends {
    int low = 0, high = 255;
};

using Bins = std::array<double, 256>;

Ends endsOf(const Bins &bins, double total, Ends ends)
{
    if (total == 0)
        return {0, 0};
    double sum = 0;
    for (int i = 0; i < 255; ++i) {
        sum += bins[i];
        if (std::abs((sum + bins[i + 1]) / total - 0.006) > std::abs(sum / total - 0.006)) {
            ends.low = i + 1;
            break;
        }
    }
    sum = 0;
    for (int i = 255; i > 0; --i) {
        sum += bins[i];
        if (std::abs((sum + bins[i - 1]) / total - 0.006) > std::abs(sum / total - 0.006)) {
            ends.high = i - 1;
            break;
        }
    }
    return ends;
}

/// The upper end that blue keeps where its walk finds no place: the upper half of the gamma's bytes.
int upperHalfOf(double gamma)
{
    uint64_t bits;
    std::memcpy(&bits, &gamma, sizeof bits);
    return static_cast<int>(bits >> 32);
}

double gammaOfLevel(int m)
{
    return std::pow(10.0, ((m - 1) * 0.25 - 1) * 0.25);
}

Bytes autoLevelled(const Bytes &block, int m)
{
    DibHeader header;
    std::memcpy(&header, block.data(), sizeof header);
    const int channels = header.biBitCount / 8;
    const std::size_t start = 40 + 4 * header.biClrUsed;
    const std::size_t stride = strideFor(header.biWidth, header.biBitCount);
    std::array<Bins, 3> bins{};
    for (int y = 0; y < header.biHeight; ++y)
        for (int x = 0; x < header.biWidth; ++x)
            for (int c = 0; c < channels; ++c)
                bins[c][block[start + stride * y + channels * x + c]] += 1;
    const double total = static_cast<double>(header.biWidth) * header.biHeight;
    std::array<Ends, 3> ends;
    for (int c = 0; c < channels; ++c)
        ends[c] = endsOf(bins[c], total, {0, c == 0 && channels == 3 ? upperHalfOf(gammaOfLevel(m)) : 255});
    Bytes result(block.size());
    std::copy_n(block.begin(), start, result.begin());
    for (int y = 0; y < header.biHeight; ++y)
        for (int i = 0; i < channels * header.biWidth; ++i) {
            const Ends &e = ends[i % channels];
            double x = throughLevels(levelStart(block[start + stride * y + i]), e.low, e.high, 1.0);
            if (channels == 3)
                x = throughLevels(x, 0, 255, gammaOfLevel(m));
            result[start + stride * y + i] = roundedLevel(x);
        }
    return result;
}

/// A picture with most of its levels in the middle, so that the ends are worth cutting.
Bytes soft(Bytes bytes)
{
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = i % 50 == 0 ? bytes[i] : static_cast<uint8_t>(60 + bytes[i] / 3);
    return bytes;
}

TEST(AutoLevelTest, MapsColoursAsAPlainLoopDoes)
{
    onEveryCpuLevel([] {
        for (const int width : {1, 2, 5, 64, 67, 200})
            for (const int m : {1, 3, 5, 9, -4}) {
                const NothingLost check;
                const DibHeader header = makeHeader(width, 9, 24, 0);
                const Handle dib = blockOf(makeBlock(header, {}, soft(noise(header.biSizeImage, 5))));
                tagParamAutoLevel param{m, 2, nullptr};
                const Handle result(ProcessAutoLevel(dib, &param));
                ASSERT_TRUE(result);
                EXPECT_EQ(bytesOf(result), autoLevelled(bytesOf(dib), m)) << width << " level " << m;
                EXPECT_EQ(param.gammaLevel, 0);
                EXPECT_EQ(param.defaultGammaLevel, 2);
                EXPECT_EQ(param.histogram, nullptr);
            }
    });
}

TEST(AutoLevelTest, MapsGrayWhateverTheLevel)
{
    onEveryCpuLevel([] {
        for (const int width : {1, 3, 64, 130}) {
            const DibHeader header = makeHeader(width, 9, 8, 256);
            const Handle dib = blockOf(makeBlock(header, grayRamp(), soft(noise(header.biSizeImage, 5))));
            const Bytes expected = autoLevelled(bytesOf(dib), 5);
            for (const int m : {1, 5, 9}) {
                tagParamAutoLevel param{0, m, nullptr};
                const Handle result(ProcessAutoLevel(dib, &param));
                ASSERT_TRUE(result);
                EXPECT_EQ(bytesOf(result), expected);
            }
        }
    });
}

TEST(AutoLevelTest, CarriesMoreThan256GrayEntriesAndReservedBytes)
{
    Bytes palette = grayRamp();
    palette[3] = 77; // reserved
    palette.insert(palette.end(), {9, 8, 7, 6});
    const Handle dib = blockOf(makeBlock(makeHeader(4, 1, 8, 257), palette, Bytes{0, 10, 20, 255}));
    tagParamAutoLevel param{5, 0, nullptr};
    const Handle result(ProcessAutoLevel(dib, &param));
    ASSERT_TRUE(result);
    EXPECT_EQ(bytesOf(result), autoLevelled(bytesOf(dib), 5));
}

TEST(AutoLevelTest, StretchesATwoLevelGrayByHand)
{
    // 100 and 200: the walks stop at the first bin that takes in pixels, so that 100 becomes 0 and 200 white.
    const DibHeader header = makeHeader(4, 1, 8, 256);
    const Handle dib = blockOf(makeBlock(header, grayRamp(), Bytes{100, 200, 100, 200}));
    tagParamAutoLevel param{5, 0, nullptr};
    const Handle result(ProcessAutoLevel(dib, &param));
    ASSERT_TRUE(result);
    const Bytes block = bytesOf(result);
    EXPECT_EQ(Bytes(block.begin() + 1064, block.end()), (Bytes{0, 255, 0, 255}));
}

TEST(AutoLevelTest, AUniformColourBecomesBlack)
{
    // Both ends meet the level; the level less the lower end is 0.
    for (const int level : {0, 1, 77, 254, 255}) {
        const auto value = static_cast<uint8_t>(level);
        const Handle dib = uniform24(3, 2, value, value, value);
        tagParamAutoLevel param{7, 0, nullptr};
        const Handle result(ProcessAutoLevel(dib, &param));
        ASSERT_TRUE(result);
        const Bytes block = bytesOf(result);
        EXPECT_EQ(Bytes(block.begin() + 40, block.end()), Bytes(24, 0)) << level;
        EXPECT_EQ(block, autoLevelled(bytesOf(dib), 7));
    }
}

/// Bins made by the host, in the record's layout.
struct HostHistogram {
    std::array<std::array<double, 256>, 4> bins{};
    double *channels[4];
    HistogramRecord record;
    HostHistogram()
    {
        for (int c = 0; c < 4; ++c)
            channels[c] = bins[c].data();
        record = {0, channels, 4};
    }
    unsigned char *pointer() { return reinterpret_cast<unsigned char *>(&record); }
};

/// The 256 levels of each channel through auto level.
std::array<Bytes, 3> tablesFor(unsigned char *histogram, int m)
{
    Bytes rows;
    for (int i = 0; i < 256; ++i)
        rows.insert(rows.end(), 3, static_cast<uint8_t>(i));
    const Handle dib = image24(256, 1, rows);
    tagParamAutoLevel param{m, 0, histogram};
    const Handle result(ProcessAutoLevel(dib, &param));
    const Bytes block = bytesOf(result);
    std::array<Bytes, 3> tables;
    for (std::size_t i = 40; i < block.size(); ++i)
        tables[(i - 40) % 3].push_back(block[i]);
    return tables;
}

Bytes tableBetween(Ends ends, int m)
{
    Bytes table;
    for (int v = 0; v < 256; ++v)
        table.push_back(roundedLevel(
            throughLevels(throughLevels(levelStart(v), ends.low, ends.high, 1.0), 0, 255, gammaOfLevel(m))));
    return table;
}

TEST(AutoLevelTest, BlueKeepsTheGammasBytesWhereNoPlaceIsFound)
{
    HostHistogram host;
    host.bins[0][50] = 1000; // the total; every other channel is empty, so that no walk ends
    for (const int m : {1, 5, 9}) {
        const auto tables = tablesFor(host.pointer(), m);
        EXPECT_EQ(tables[0], tableBetween({0, upperHalfOf(gammaOfLevel(m))}, m)) << m;
        EXPECT_EQ(tables[1], tableBetween({0, 255}, m)) << m;
        EXPECT_EQ(tables[2], tableBetween({0, 255}, m)) << m;
    }
    EXPECT_EQ(upperHalfOf(1.0), 0x3FF00000);
    // With a gamma of 1 every blue is a billionth of the way: black.
    EXPECT_EQ(tablesFor(host.pointer(), 5)[0], Bytes(256, 0));
}

TEST(AutoLevelTest, AUniformWhiteBlueKeepsTheGammasBytes)
{
    const Handle dib = uniform24(4, 4, 255, 10, 20);
    tagParamAutoLevel param{9, 0, nullptr};
    const Handle result(ProcessAutoLevel(dib, &param));
    ASSERT_TRUE(result);
    EXPECT_EQ(bytesOf(result), autoLevelled(bytesOf(dib), 9));
}

TEST(AutoLevelTest, UsesTheHostsHistogramAndLeavesItAlone)
{
    const NothingLost check;
    HostHistogram host;
    host.bins[0][0] = 1000;
    for (int c = 1; c < 4; ++c) {
        host.bins[c][20 * c] = 500;
        host.bins[c][200 + 10 * c] = 500;
    }
    const HostHistogram before = host;
    RecordingHost recording;
    const auto tables = tablesFor(host.pointer(), 5);
    EXPECT_EQ(recording.events, (Events{"wait", "arrow"})); // nothing is counted
    EXPECT_EQ(tables[0], tableBetween({20, 210}, 5));
    EXPECT_EQ(tables[1], tableBetween({40, 220}, 5));
    EXPECT_EQ(tables[2], tableBetween({60, 230}, 5));
    EXPECT_EQ(host.bins, before.bins);
    EXPECT_EQ(host.record.channelCount, 4);
}

TEST(AutoLevelTest, EqualDistancesGoOn)
{
    // 0.006 lies halfway between 0.004 and 0.008: the walk from below passes the second bin.
    HostHistogram host;
    host.bins[0][0] = 500;
    host.bins[1][0] = 2;
    host.bins[1][1] = 2;
    host.bins[1][2] = 496;
    const double first = std::abs(2 / 500.0 - 0.006), second = std::abs(4 / 500.0 - 0.006);
    const auto tables = tablesFor(host.pointer(), 5);
    EXPECT_EQ(tables[0], tableBetween(endsOf(host.bins[1], 500, {0, upperHalfOf(1.0)}), 5));
    EXPECT_EQ(endsOf(host.bins[1], 500, {}).low, second > first ? 1 : 2);
}

TEST(AutoLevelTest, AnEmptyTotalMakesBothEndsZero)
{
    HostHistogram host;
    host.bins[1][10] = 5; // channel 0 is what counts
    const auto tables = tablesFor(host.pointer(), 5);
    for (const Bytes &table : tables)
        EXPECT_EQ(table, tableBetween({0, 0}, 5));
    EXPECT_EQ(tables[0][0], 0);
    EXPECT_EQ(tables[0][1], 255);
}

TEST(AutoLevelTest, MissingChannelsOfAHostCountAsEmpty)
{
    HostHistogram host;
    host.bins[0][50] = 1000;
    host.channels[1] = host.channels[2] = host.channels[3] = nullptr;
    EXPECT_EQ(tablesFor(host.pointer(), 5)[1], tableBetween({0, 255}, 5));
    host.record.channelCount = 1;
    EXPECT_EQ(tablesFor(host.pointer(), 5)[1], tableBetween({0, 255}, 5));
    host.record.channelCount = -7;
    EXPECT_EQ(tablesFor(host.pointer(), 5)[1], tableBetween({0, 0}, 5));
    host.record = {0, nullptr, 4};
    EXPECT_EQ(tablesFor(host.pointer(), 5)[2], tableBetween({0, 0}, 5));
}

TEST(AutoLevelTest, SurvivesAnyLevelAndAnyBins)
{
    HostHistogram host;
    for (const double value : {0.0, -1.0, 1e308, std::nan(""), static_cast<double>(INFINITY)}) {
        for (auto &bins : host.bins)
            bins.fill(value);
        for (const int m : {INT32_MIN, -5000, -1, 1, 5000, INT32_MAX})
            EXPECT_EQ(tablesFor(host.pointer(), m)[0].size(), 256u);
    }
}

TEST(AutoLevelTest, WritesTheRecordOnlyWhenItRuns)
{
    const Handle dib = grayNoise(4, 4);
    tagParamAutoLevel param{0, 0, nullptr};
    RecordingHost host;
    EXPECT_EQ(ProcessAutoLevel(dib, &param), nullptr);
    EXPECT_EQ(ProcessAutoLevel(dib, nullptr), nullptr);
    param = {5, 0, nullptr};
    EXPECT_EQ(ProcessAutoLevel(nullptr, &param), nullptr);
    EXPECT_EQ(param.gammaLevel, 0); // counted, though there was no image
    EXPECT_EQ(ProcessAutoLevel(dib, &param), nullptr);
    EXPECT_TRUE(host.events.empty());
    param = {5, 8, nullptr};
    EXPECT_EQ(ProcessAutoLevel(noiseImage(4, 4, 1, 2), &param), nullptr);
    EXPECT_EQ(param.gammaLevel, 0);
    EXPECT_EQ(param.defaultGammaLevel, 8);
}

TEST(AutoLevelTest, ShowsCursorsOnly)
{
    const Handle dib = noiseImage(9, 40, 24, 0);
    RecordingHost host;
    host.abortFromPoll(1);
    tagParamAutoLevel param{5, 0, nullptr};
    const Handle result(ProcessAutoLevel(dib, &param));
    EXPECT_TRUE(result);
    EXPECT_EQ(host.events, (Events{"wait", "wait", "arrow", "arrow"}));
}

TEST(AutoLevelTest, RefusesOtherKindsWithoutACursor)
{
    const NothingLost check;
    Bytes lying = bytesOf(noiseImage(8, 2, 24, 0));
    lying[8] = 3;
    const Handle refused[] = {
        noiseImage(8, 2, 8, 256), noiseImage(8, 2, 8, 0),  noiseImage(8, 2, 4, 16), noiseImage(8, 2, 1, 2),
        noiseImage(8, 2, 16, 0),  noiseImage(8, 2, 32, 0), blockOf(lying)};
    RecordingHost host;
    for (const Handle &dib : refused) {
        tagParamAutoLevel param{5, 0, nullptr};
        EXPECT_EQ(ProcessAutoLevel(dib, &param), nullptr);
        EXPECT_EQ(memory_hooks::locksOn(dib), 0);
    }
    EXPECT_TRUE(host.events.empty());
}

/// Runs an effect with each allocation and each lock failing in turn, until none fails.
void expectFailuresToGiveZero(void *dib, const std::function<void *(void *)> &effect, int allocations)
{
    const Bytes before = bytesOf(dib);
    for (int n = 1; n <= allocations; ++n) {
        const NothingLost check;
        memory_hooks::failAllocation(n);
        EXPECT_EQ(effect(dib), nullptr) << "allocation " << n;
        memory_hooks::failAllocation(0);
    }
    memory_hooks::failAllocation(allocations + 1);
    const Handle result(effect(dib));
    EXPECT_TRUE(result) << "more allocations than " << allocations;
    memory_hooks::failAllocation(0);
    for (int n = 1;; ++n) {
        const NothingLost check;
        memory_hooks::failLock(n);
        const Handle kept(effect(dib));
        memory_hooks::failLock(0);
        if (kept)
            break;
        ASSERT_LT(n, 50);
    }
    EXPECT_EQ(bytesOf(dib), before);
    EXPECT_EQ(memory_hooks::locksOn(dib), 0);
}

TEST(AutoLevelTest, AFailingAllocationGivesZeroAndTheArrow)
{
    const Handle dib = noiseImage(9, 4, 24, 0);
    expectFailuresToGiveZero(
        dib,
        [](void *source) {
            tagParamAutoLevel param{5, 0, nullptr};
            return ProcessAutoLevel(source, &param);
        },
        1);
    RecordingHost host;
    memory_hooks::failAllocation(1);
    tagParamAutoLevel param{5, 0, nullptr};
    EXPECT_EQ(ProcessAutoLevel(dib, &param), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "arrow"}));
}

TEST(AutoLevelTest, IsReachedByItsCode)
{
    const Handle dib = noiseImage(9, 4, 24, 0);
    tagParamAutoLevel param{6, 0, nullptr};
    const Handle result(EnhanceAndEffects(dib, 4719, reinterpret_cast<long>(&param)));
    ASSERT_TRUE(result);
    EXPECT_EQ(bytesOf(result), autoLevelled(bytesOf(dib), 6));
    EXPECT_EQ(EnhanceAndEffects(dib, 4719, 0), nullptr);
}

// ---- equalization

/// The result of equalizing, from the samples in order.
std::array<uint8_t, 256> equalizingTable(const std::vector<uint8_t> &samples, double count)
{
    std::array<uint8_t, 256> table{};
    for (int i = 0; i < 256; ++i) {
        double below = 0;
        for (const uint8_t sample : samples)
            below += sample < i;
        table[i] = static_cast<uint8_t>(below * (255 / (count + 1)) + 0.5);
    }
    return table;
}

Bytes equalized(const Bytes &block)
{
    DibHeader header;
    std::memcpy(&header, block.data(), sizeof header);
    const int bits = header.biBitCount;
    const std::size_t start = 40 + 4 * header.biClrUsed, stride = strideFor(header.biWidth, bits);
    bool gray = bits == 8 && header.biClrUsed == 256;
    for (int i = 0; gray && i < 256; ++i)
        gray = block[40 + 4 * i] == i && block[41 + 4 * i] == i && block[42 + 4 * i] == i;
    std::vector<uint8_t> samples;
    for (int y = 0; y < header.biHeight; ++y) {
        const uint8_t *const row = block.data() + start + stride * y;
        for (int x = 0; x < header.biWidth; ++x) {
            if (bits == 24) {
                samples.insert(samples.end(), row + 3 * x, row + 3 * x + 3);
            } else if (gray) {
                samples.push_back(row[x]);
            } else {
                const unsigned index = bits == 8 ? row[x] : x % 2 == 0 ? row[x / 2] >> 4 : row[x / 2] & 15;
                for (int c = 0; c < 3; ++c)
                    samples.push_back(index < header.biClrUsed ? block[40 + 4 * index + c] : 0);
            }
        }
    }
    const auto table = equalizingTable(samples, static_cast<double>(samples.size()));
    Bytes result(block.size());
    std::copy_n(block.begin(), start, result.begin());
    if (bits != 24 && !gray) {
        for (std::size_t i = 0; i < 4 * header.biClrUsed; ++i)
            result[40 + i] = i % 4 == 3 ? block[40 + i] : table[block[40 + i]];
        std::copy(block.begin() + start, block.end(), result.begin() + start);
        return result;
    }
    for (int y = 0; y < header.biHeight; ++y)
        for (int i = 0; i < header.biWidth * bits / 8; ++i)
            result[start + stride * y + i] = table[block[start + stride * y + i]];
    return result;
}

TEST(EqualizationTest, EveryPathAgreesWithAPlainLoop)
{
    onEveryCpuLevel([] {
        for (const int width : {1, 2, 3, 7, 64, 65, 129}) {
            const NothingLost check;
            const auto seed = static_cast<uint32_t>(width);
            const Handle sources[] = {
                noiseImage(width, 5, 24, 0, seed),  grayNoise(width, 5, seed),
                noiseImage(width, 5, 8, 256, seed), noiseImage(width, 5, 8, 40, seed),
                noiseImage(width, 5, 8, 0, seed),   noiseImage(width, 5, 8, 300, seed),
                noiseImage(width, 5, 4, 16, seed),  noiseImage(width, 5, 4, 5, seed),
            };
            for (const Handle &dib : sources) {
                const Handle result(ProcessEqualization(dib));
                ASSERT_TRUE(result);
                EXPECT_EQ(bytesOf(result), equalized(bytesOf(dib)))
                    << width << " bits " << headerOf(dib).biBitCount << " colours "
                    << headerOf(dib).biClrUsed;
            }
        }
    });
}

TEST(EqualizationTest, AGrayPictureByHand)
{
    // Levels 10, 10, 20, 30 of 4 pixels: none, two and three samples lie below; 255 / 5 = 51 for each.
    const DibHeader header = makeHeader(4, 1, 8, 256);
    const Handle dib = blockOf(makeBlock(header, grayRamp(), Bytes{10, 10, 20, 30}));
    const Handle result(ProcessEqualization(dib));
    const Bytes block = bytesOf(result);
    EXPECT_EQ(Bytes(block.begin() + 1064, block.end()), (Bytes{0, 0, 102, 153}));
}

TEST(EqualizationTest, AUniformGrayBecomesBlack)
{
    const Handle dib = uniformGray(5, 3, 100);
    const Handle result(ProcessEqualization(dib));
    const Bytes block = bytesOf(result);
    EXPECT_EQ(Bytes(block.begin() + 1064, block.end()), Bytes(24, 0));
}

TEST(EqualizationTest, TheSpareNibbleOfAnOddWidthDoesNotCount)
{
    // One pixel of index 1; the nibble beside it holds 0, whose black would lift everything above.
    const Bytes palette{0, 0, 0, 9, 50, 60, 70, 8};
    const Handle dib = blockOf(makeBlock(makeHeader(1, 1, 4, 2), palette, Bytes{0x10, 0, 0, 0}));
    const Handle result(ProcessEqualization(dib));
    const Bytes block = bytesOf(result);
    // 255 / (3 + 1) = 63.75 a sample: 50 has none below it, 60 one, 70 two.
    EXPECT_EQ(Bytes(block.begin() + 40, block.begin() + 48), (Bytes{0, 0, 0, 9, 0, 64, 128, 8}));
    EXPECT_EQ(Bytes(block.begin() + 48, block.end()), (Bytes{0x10, 0, 0, 0}));
}

TEST(EqualizationTest, PollsTheCountingOfPalettesOnly)
{
    RecordingHost host;
    const Handle gray = grayNoise(5, 17);
    const Handle paletted = noiseImage(5, 17, 8, 20);
    const Handle four = noiseImage(5, 2, 4, 16);

    const auto withRows = [](Events events, int rows) {
        for (int y = 0; y < rows; ++y) {
            events.push_back("poll");
            if (y % 16 == 0)
                events.push_back(std::to_string(y * 100 / rows) + "%");
        }
        events.insert(events.end(), {"100%", "arrow"});
        return events;
    };
    Handle result(ProcessEqualization(gray));
    EXPECT_EQ(host.events, withRows({"wait", "poll"}, 17));

    host.events.clear();
    result = Handle(ProcessEqualization(paletted));
    Events counting{"wait", "poll"};
    counting.insert(counting.end(), 17, "poll");
    EXPECT_EQ(host.events, withRows(counting, 17));

    host.events.clear();
    result = Handle(ProcessEqualization(four));
    EXPECT_EQ(host.events, withRows({"wait", "poll", "poll", "poll"}, 2));
}

TEST(EqualizationTest, AnAbortAtEachPollEndsIt)
{
    RecordingHost host;
    for (const int bits : {24, 8, 4}) {
        const Handle dib = noiseImage(5, 3, bits, bits == 24 ? 0 : 16);
        const Bytes before = bytesOf(dib);
        const int polls = bits == 24 ? 4 : 7;
        for (int n = 1; n <= polls + 1; ++n) {
            const NothingLost check;
            host.events.clear();
            host.abortFromPoll(n);
            const Handle result(ProcessEqualization(dib));
            // From the first: its answer is dropped, the second ends the run.
            const int seen = std::min(std::max(n, 2), polls);
            EXPECT_EQ(result != nullptr, n == polls + 1) << bits << " poll " << n;
            EXPECT_EQ(host.polls(), seen) << bits << " poll " << n;
            EXPECT_EQ(host.events.back(), "arrow");
            EXPECT_EQ(host.events[host.events.size() - 2], "100%");
        }
        EXPECT_EQ(bytesOf(dib), before);
    }
}

TEST(EqualizationTest, AnAbortWhileCountingSkipsTheRows)
{
    RecordingHost host;
    host.abortFromPoll(3);
    const Handle dib = noiseImage(5, 4, 8, 16);
    EXPECT_EQ(ProcessEqualization(dib), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "poll", "poll", "poll", "100%", "arrow"}));
}

TEST(EqualizationTest, RefusesOtherDepthsAndLyingHeaders)
{
    const NothingLost check;
    RecordingHost host;
    Bytes lying = bytesOf(noiseImage(8, 2, 24, 0));
    lying[8] = 3;
    for (const Handle &dib : {noiseImage(8, 2, 1, 2), noiseImage(8, 2, 16, 0), blockOf(lying)})
        EXPECT_EQ(ProcessEqualization(dib), nullptr);
    EXPECT_EQ(ProcessEqualization(nullptr), nullptr);
    EXPECT_TRUE(host.events.empty());
}

TEST(EqualizationTest, AFailingAllocationGivesZero)
{
    for (const int bits : {24, 8, 4})
        expectFailuresToGiveZero(noiseImage(9, 4, bits, bits == 24 ? 0 : 16), ProcessEqualization, 1);
    const Handle dib = grayNoise(9, 4);
    RecordingHost host;
    memory_hooks::failAllocation(1);
    EXPECT_EQ(ProcessEqualization(dib), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "arrow"}));
}

TEST(EqualizationTest, IsReachedByItsCode)
{
    const Handle dib = noiseImage(9, 4, 24, 0);
    const Handle result(EnhanceAndEffects(dib, 5, 0));
    ASSERT_TRUE(result);
    EXPECT_EQ(bytesOf(result), equalized(bytesOf(dib)));
}

// ---- auto enhance

/// The toned image, then each sample in order against its neighbours, as a walk in place does it.
Bytes enhanced(const Bytes &block, int amount)
{
    DibHeader header;
    std::memcpy(&header, block.data(), sizeof header);
    const int channels = header.biBitCount / 8;
    const std::size_t start = 40 + (channels == 1 ? 4 * header.biClrUsed : 0);
    const std::size_t stride = strideFor(header.biWidth, header.biBitCount);
    const int a = amount / 5, hi = 255 - a, lo = amount / 25, t = 1000 - amount;
    const double g = (1 - lo * 0.06) * t * 0.001;
    std::array<int, 256> tone{}, loss{};
    for (int i = 0; i < 256; ++i) {
        tone[i] = i <= lo   ? 0
                  : i >= hi ? 255
                            : static_cast<int>(std::pow(static_cast<double>(i) / hi, g) * 255 + 0.5) & 255;
        loss[i] = (50 + a * i) / 100 & 255;
    }
    Bytes result = block;
    const auto at = [&](int y, int x, int c) -> uint8_t & {
        return result[start + stride * y + channels * x + c];
    };
    for (int y = 0; y < header.biHeight; ++y)
        for (int x = 0; x < header.biWidth; ++x) {
            int m = 0;
            for (int c = 0; c < channels; ++c) {
                at(y, x, c) = static_cast<uint8_t>(tone[at(y, x, c)]);
                m = std::max<int>(m, at(y, x, c));
            }
            for (int c = 0; c < channels && channels == 3 && a != 0; ++c)
                at(y, x, c) = static_cast<uint8_t>(std::max(0, at(y, x, c) - loss[m - at(y, x, c)]));
        }
    if (a == 0 || header.biWidth < 3 || header.biHeight < 3)
        return result;
    const int width = header.biWidth;
    std::vector<int> rowBuffer;
    for (int i = 0; i < channels * width; ++i)
        rowBuffer.push_back(at(0, i / channels, i % channels));
    for (int y = 0; y < header.biHeight; ++y) {
        const int next = std::min(y + 1, header.biHeight - 1);
        std::array<int, 3> saved{};
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c) {
                const int l = x > 0 ? x - 1 : x, r = x + 1 < width ? x + 1 : x;
                const auto above = [&](int column) -> int & { return rowBuffer[channels * column + c]; };
                const int sample = at(y, x, c), left = x > 0 ? saved[c] : sample;
                const int sum = left + at(y, r, c) + above(l) + above(x) + above(r) + at(next, l, c) +
                                at(next, x, c) + at(next, r, c);
                const int k = 8 * sample + 2040 - sum;
                const int added = k == 4080 ? 0 : a * (k - 2040) / 800;
                at(y, x, c) = static_cast<uint8_t>(std::clamp(sample + added, 0, 255));
                above(l) = left;
                if (x == width - 1)
                    above(x) = sample;
                saved[c] = sample;
            }
    }
    return result;
}

TEST(AutoEnhanceTest, AgreesWithAWalkInPlace)
{
    onEveryCpuLevel([] {
        for (const int amount : {0, 3, 4, 5, 24, 25, 100, 250, 424, 425, 500, 700, 999, 1000, 1300, -100})
            for (const int width : {1, 2, 3, 4, 5, 6, 17, 18, 64, 66, 150})
                for (const int height : {2, 3, 5}) {
                    const NothingLost check;
                    const auto seed = static_cast<uint32_t>(width + height);
                    const Handle sources[] = {noiseImage(width, height, 24, 0, seed),
                                              noiseImage(width, height, 8, 30, seed),
                                              grayNoise(width, height, seed)};
                    for (const Handle &dib : sources) {
                        const Handle result(ProcessAutoEnhance(dib, amount));
                        ASSERT_TRUE(result);
                        ASSERT_EQ(bytesOf(result), enhanced(bytesOf(dib), amount))
                            << amount << ", " << width << " by " << height << " bits "
                            << headerOf(dib).biBitCount;
                    }
                }
    });
}

TEST(AutoEnhanceTest, SmoothPicturesTooAtEveryStrength)
{
    onEveryCpuLevel([] {
        const DibHeader header = makeHeader(61, 40, 24, 0);
        Bytes rows(header.biSizeImage);
        const Bytes grain = noise(rows.size(), 4);
        for (std::size_t i = 0; i < rows.size(); ++i)
            rows[i] = static_cast<uint8_t>(40 + i / 50 + grain[i] % 9);
        const Handle dib = image24(61, 40, rows);
        for (int amount = 0; amount <= 1000; amount += 5) {
            const Handle result(ProcessAutoEnhance(dib, amount));
            ASSERT_EQ(bytesOf(result), enhanced(bytesOf(dib), amount)) << amount;
        }
    });
}

TEST(AutoEnhanceTest, AmountZeroIsACopy)
{
    for (const int bits : {8, 24}) {
        const Handle dib = noiseImage(9, 5, bits, bits == 8 ? 20 : 0);
        const Handle result(ProcessAutoEnhance(dib, 0));
        EXPECT_NE(static_cast<void *>(result), static_cast<void *>(dib));
        EXPECT_EQ(bytesOf(result), bytesOf(dib));
    }
}

TEST(AutoLevelTest, TheSecondRunOfARecordTakesTheDefaultLevel)
{
    const Handle dib = noiseImage(40, 30, 24, 0);
    const auto run = [&](tagParamAutoLevel &param) {
        const Handle result(ProcessAutoLevel(dib, &param));
        return bytesOf(result);
    };
    tagParamAutoLevel twice{5, 9, nullptr}, dark{9, 9, nullptr};
    const Bytes first = run(twice), second = run(twice), ninth = run(dark);
    EXPECT_NE(first, ninth);
    EXPECT_EQ(second, ninth);
}

TEST(AutoEnhanceTest, TheTableOf100ByHand)
{
    // a = 20, lo = 4, hi = 235, t = 900, g = (1 - 0.24) * 0.9 = 0.684; one row is too few to be sharpened.
    Bytes levels;
    for (int i = 0; i < 256; ++i)
        levels.push_back(static_cast<uint8_t>(i));
    const Handle dib = blockOf(makeBlock(makeHeader(256, 1, 8, 256), grayRamp(), levels));
    const Handle result(ProcessAutoEnhance(dib, 100));
    const Bytes block = bytesOf(result);
    const uint8_t *const table = block.data() + 1064;
    EXPECT_EQ(table[0], 0);
    EXPECT_EQ(table[4], 0);
    EXPECT_EQ(table[5], 18);    // (5 / 235) ^ 0.684 = 0.0719
    EXPECT_EQ(table[100], 142); // (100 / 235) ^ 0.684 = 0.5575
    EXPECT_EQ(table[234], 254); // 0.99708
    EXPECT_EQ(table[235], 255);
    EXPECT_EQ(table[255], 255);
}

TEST(AutoEnhanceTest, TableValuesAbove255Wrap)
{
    // amount 500: lo = 20, hi = 155, the exponent is (1 - 1.2) * 0.5 = -0.1, so that 21 gives 311.4 + 0.5.
    const Handle dib = uniformGray(4, 1, 21);
    const Handle result(ProcessAutoEnhance(dib, 500));
    const Bytes block = bytesOf(result);
    EXPECT_EQ(block[1064], 311 - 256);
}

TEST(AutoEnhanceTest, WhiteInTheBlackStaysAsItIs)
{
    Bytes levels(64, 0);
    levels[3 * 8 + 3] = 255;
    levels[0] = 255; // at the corner its own copies are neighbours
    const Handle dib = blockOf(makeBlock(makeHeader(8, 8, 8, 256), grayRamp(), levels));
    onEveryCpuLevel([&] {
        const Handle result(ProcessAutoEnhance(dib, 1000));
        EXPECT_EQ(bytesOf(result), enhanced(bytesOf(dib), 1000));
        EXPECT_EQ(bytesOf(result)[1064 + 3 * 8 + 3], 255);
    });
}

TEST(AutoEnhanceTest, KeepsPaddingPaletteAndWhatLiesBehindTheRows)
{
    Bytes bytes = bytesOf(noiseImage(5, 4, 8, 30));
    const Bytes tail{1, 2, 3, 4, 5};
    bytes.insert(bytes.end(), tail.begin(), tail.end());
    const Handle dib = blockOf(bytes);
    const Handle result(ProcessAutoEnhance(dib, 300));
    EXPECT_EQ(bytesOf(result), enhanced(bytes, 300));
    EXPECT_EQ(KelMemSize(result), bytes.size());
}

TEST(AutoEnhanceTest, ShowsCursorsOnly)
{
    RecordingHost host;
    host.abortFromPoll(1);
    const Handle dib = noiseImage(9, 40, 24, 0);
    const Handle result(ProcessAutoEnhance(dib, 100));
    EXPECT_TRUE(result);
    EXPECT_EQ(host.events, (Events{"wait", "arrow"}));
}

TEST(AutoEnhanceTest, RefusesOtherDepthsAndLyingHeaders)
{
    const NothingLost check;
    RecordingHost host;
    Bytes lying = bytesOf(noiseImage(8, 2, 24, 0));
    lying[8] = 3;
    for (const Handle &dib : {noiseImage(8, 2, 1, 2), noiseImage(8, 2, 4, 16), noiseImage(8, 2, 16, 0),
                              noiseImage(8, 2, 32, 0), blockOf(lying)})
        EXPECT_EQ(ProcessAutoEnhance(dib, 100), nullptr);
    EXPECT_EQ(ProcessAutoEnhance(nullptr, 100), nullptr);
    EXPECT_TRUE(host.events.empty());
}

TEST(AutoEnhanceTest, AFailingAllocationGivesZero)
{
    const Handle dib = noiseImage(9, 4, 24, 0);
    expectFailuresToGiveZero(
        dib, [](void *source) { return ProcessAutoEnhance(source, 100); }, 2);
    RecordingHost host;
    memory_hooks::failAllocation(1);
    EXPECT_EQ(ProcessAutoEnhance(dib, 100), nullptr);
    EXPECT_TRUE(host.events.empty()); // the cursor comes after the copy
    memory_hooks::failAllocation(2);
    EXPECT_EQ(ProcessAutoEnhance(dib, 100), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "arrow"}));
}

TEST(AutoEnhanceTest, SurvivesAnyAmount)
{
    const Handle dib = noiseImage(20, 4, 24, 0);
    for (const int amount : {INT32_MIN, INT32_MIN + 1, -10000000, -1, 1275, 1276, 100000, INT32_MAX}) {
        const Handle result(ProcessAutoEnhance(dib, amount));
        EXPECT_TRUE(result) << amount;
    }
}

TEST(AutoEnhanceTest, IsReachedByItsCode)
{
    const Handle dib = noiseImage(9, 4, 24, 0);
    const int32_t amount = 200;
    const Handle result(EnhanceAndEffects(dib, 33, reinterpret_cast<long>(&amount)));
    ASSERT_TRUE(result);
    EXPECT_EQ(bytesOf(result), enhanced(bytesOf(dib), 200));
    EXPECT_EQ(EnhanceAndEffects(dib, 33, 0), nullptr);
}

} // namespace
