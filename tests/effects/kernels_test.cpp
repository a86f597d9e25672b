// Every version of every kernel against a loop of the test's own: all lengths and places, not a byte read or
// written outside.

#include "core/byte_kernels.h"
#include "core/cpu.h"
#include "geometry/format_kernels.h"
#include "tests/effects/watching_host.h"
#include <algorithm>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#if defined(__unix__)
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace velmont::testing {

namespace {

constexpr std::size_t kLongest = 200;
constexpr std::size_t kPlaces = 64;
constexpr uint8_t kCanary = 0xEE;

/// One version of a kernel as a function over `count` units, with what it should do.
struct Kernel {
    std::string name;
    CpuLevel level;
    std::function<void(uint8_t *to, const uint8_t *from, std::size_t count)> run;
    std::function<void(uint8_t *to, const uint8_t *from, std::size_t count)> expected;
    std::function<std::size_t(std::size_t)> bytesFrom, bytesTo; ///< of so many units
};

void PrintTo(const Kernel &kernel, std::ostream *out)
{
    *out << kernel.name;
}

std::size_t same(std::size_t count)
{
    return count;
}
std::size_t three(std::size_t count)
{
    return 3 * count;
}
std::size_t bits(std::size_t count)
{
    return (count + 7) / 8;
}
std::size_t nibbles(std::size_t count)
{
    return (count + 1) / 2;
}

const Bytes &table()
{
    static const Bytes bytes = noise(256, 77);
    return bytes;
}

/// Colours with spare bytes that must not show.
const ColorTable &colors()
{
    static const ColorTable entries = [] {
        ColorTable made;
        std::memcpy(made.entry, noise(1024, 78).data(), 1024);
        return made;
    }();
    return entries;
}

const ColorTable &grays()
{
    static const ColorTable entries = [] {
        ColorTable made;
        for (unsigned i = 0; i < 256; ++i) {
            std::fill(made.entry[i], made.entry[i] + 3, static_cast<uint8_t>(i));
            made.entry[i][3] = 0x99;
        }
        return made;
    }();
    return entries;
}

Kernel complement(const char *name, CpuLevel level, ByteRow run)
{
    return {name,
            level,
            run,
            [](uint8_t *to, const uint8_t *from, std::size_t count) {
                for (std::size_t i = 0; i < count; ++i)
                    to[i] = static_cast<uint8_t>(255 - from[i]);
            },
            same,
            same};
}

Kernel copy(const char *name, CpuLevel level, ByteRow run)
{
    return {name,
            level,
            run,
            [](uint8_t *to, const uint8_t *from, std::size_t count) {
                for (std::size_t i = 0; i < count; ++i)
                    to[i] = from[i];
            },
            same,
            same};
}

Kernel lookUp(const char *name, CpuLevel level, TableRow run)
{
    return {
        name,
        level,
        [run](uint8_t *to, const uint8_t *from, std::size_t count) { run(to, from, count, table().data()); },
        [](uint8_t *to, const uint8_t *from, std::size_t count) {
            for (std::size_t i = 0; i < count; ++i)
                to[i] = table()[from[i]];
        },
        same,
        same};
}

Kernel gray(const char *name, CpuLevel level, PixelRow run)
{
    return {name,
            level,
            run,
            [](uint8_t *to, const uint8_t *from, std::size_t count) {
                for (std::size_t i = 0; i < count; ++i)
                    to[i] = static_cast<uint8_t>((29 * from[3 * i] + 127) / 255 +
                                                 (150 * from[3 * i + 1] + 127) / 255 +
                                                 (76 * from[3 * i + 2] + 127) / 255);
            },
            three,
            same};
}

Kernel color(const char *name, CpuLevel level, ColorRow run, const ColorTable &entries)
{
    return {name,
            level,
            [run, &entries](uint8_t *to, const uint8_t *from, std::size_t count) {
                run(to, from, count, entries);
            },
            [&entries](uint8_t *to, const uint8_t *from, std::size_t count) {
                for (std::size_t i = 0; i < 3 * count; ++i)
                    to[i] = entries.entry[from[i / 3]][i % 3];
            },
            same,
            three};
}

Kernel threshold(const char *name, CpuLevel level, BitRow run, int limit)
{
    return {
        name,
        level,
        [run, limit](uint8_t *to, const uint8_t *from, std::size_t count) { run(to, from, count, limit); },
        [limit](uint8_t *to, const uint8_t *from, std::size_t count) {
            std::fill(to, to + bits(count), uint8_t{0});
            for (std::size_t i = 0; i < count; ++i)
                if (from[i] > limit)
                    to[i / 8] |= static_cast<uint8_t>(128 >> (i % 8));
        },
        same,
        bits};
}

Kernel unpack(const char *name, int bitCount)
{
    return {name,
            CpuLevel::Baseline,
            [bitCount](uint8_t *to, const uint8_t *from, std::size_t count) {
                unpackRow(to, from, count, bitCount);
            },
            [bitCount](uint8_t *to, const uint8_t *from, std::size_t count) {
                for (std::size_t i = 0; i < count; ++i)
                    to[i] = static_cast<uint8_t>(bitCount == 1 ? bitAt(from, static_cast<int>(i))
                                                               : nibbleAt(from, static_cast<int>(i)));
            },
            bitCount == 1 ? bits : nibbles,
            same};
}

/// The version chosen where the processor has no more than this level.
template <typename Choose, typename... Arguments>
auto chosen(CpuLevel level, Choose choose, const Arguments &...arguments)
{
    limitCpuLevel(level);
    const auto function = choose(arguments...);
    limitCpuLevel(CpuLevel::Avx512);
    return function;
}

std::vector<Kernel> allKernels()
{
    using namespace kernels;
    constexpr CpuLevel kPlain = CpuLevel::Baseline;
    std::vector<Kernel> all{complement("complementPlain", kPlain, complementPlain),
                            copy("copyPlain", kPlain, copyPlain),
                            lookUp("tablePlain", kPlain, tablePlain),
                            gray("bgrToGrayPlain", kPlain, bgrToGrayPlain),
                            color("indexToBgrPlain", kPlain, indexToBgrPlain, colors()),
                            threshold("aboveThresholdPlain", kPlain, aboveThresholdPlain, 100),
                            unpack("unpackRow1", 1),
                            unpack("unpackRow4", 4)};
#if defined(__x86_64__)
    const Kernel vectors[]{complement("complementAvx2", CpuLevel::Avx2, complementAvx2),
                           complement("complementStreamingAvx2", CpuLevel::Avx2, complementStreamingAvx2),
                           copy("copyStreamingAvx2", CpuLevel::Avx2, copyStreamingAvx2),
                           lookUp("tableAvx512", CpuLevel::Avx512, tableAvx512),
                           gray("bgrToGrayAvx2", CpuLevel::Avx2, bgrToGrayAvx2),
                           gray("bgrToGrayAvx512", CpuLevel::Avx512, bgrToGrayAvx512),
                           color("grayToBgrAvx2", CpuLevel::Avx2, grayToBgrAvx2, grays()),
                           color("indexToBgrAvx512", CpuLevel::Avx512, indexToBgrAvx512, colors()),
                           threshold("aboveThresholdAvx2Low", CpuLevel::Avx2, aboveThresholdAvx2, 0),
                           threshold("aboveThresholdAvx2Middle", CpuLevel::Avx2, aboveThresholdAvx2, 127),
                           threshold("aboveThresholdAvx2Upper", CpuLevel::Avx2, aboveThresholdAvx2, 128),
                           threshold("aboveThresholdAvx2High", CpuLevel::Avx2, aboveThresholdAvx2, 254)};
    all.insert(all.end(), std::begin(vectors), std::end(vectors));
#endif
    return all;
}

class EachKernel : public ::testing::TestWithParam<Kernel> {
protected:
    void SetUp() override
    {
        if (GetParam().level > cpuLevel())
            GTEST_SKIP() << "not on this processor";
    }
};

TEST_P(EachKernel, LengthsAndPlaces)
{
    const Kernel &kernel = GetParam();
    const std::size_t fromBytes = kernel.bytesFrom(kLongest), toBytes = kernel.bytesTo(kLongest);
    const Bytes data = noise(fromBytes, 3);
    struct alignas(64) Buffer {
        uint8_t bytes[64 + 3 * kLongest + 128];
    };
    static Buffer from, to;
    Bytes expected(toBytes);
    for (std::size_t fromPlace = 0; fromPlace < kPlaces; ++fromPlace) {
        std::memcpy(from.bytes + fromPlace, data.data(), fromBytes);
        for (std::size_t count = 0; count <= kLongest; ++count) {
            const std::size_t written = kernel.bytesTo(count);
            kernel.expected(expected.data(), data.data(), count);
            for (std::size_t toPlace = 0; toPlace < kPlaces; ++toPlace) {
                const std::size_t end = toPlace + written + 64;
                std::memset(to.bytes, kCanary, end);
                kernel.run(to.bytes + toPlace, from.bytes + fromPlace, count);
                const auto isCanary = [](uint8_t byte) { return byte == kCanary; };
                ASSERT_EQ(std::memcmp(to.bytes + toPlace, expected.data(), written), 0)
                    << count << " from place " << fromPlace << " to place " << toPlace;
                ASSERT_TRUE(std::all_of(to.bytes, to.bytes + toPlace, isCanary))
                    << "before: " << count << " from place " << fromPlace << " to place " << toPlace;
                ASSERT_TRUE(std::all_of(to.bytes + toPlace + written, to.bytes + end, isCanary))
                    << "behind: " << count << " from place " << fromPlace << " to place " << toPlace;
            }
        }
    }
}

#if defined(__unix__)

/// Pages of which the first and the last may not be touched.
class GuardedPages {
public:
    GuardedPages()
        : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          memory_(
              static_cast<uint8_t *>(mmap(nullptr, 3 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        mprotect(memory_ + page_, page_, PROT_READ | PROT_WRITE);
    }
    ~GuardedPages() { munmap(memory_, 3 * page_); }
    GuardedPages(const GuardedPages &) = delete;
    GuardedPages &operator=(const GuardedPages &) = delete;

    uint8_t *first() const { return memory_ + page_; }
    /// So many bytes up to the end.
    uint8_t *last(std::size_t bytes) const { return memory_ + 2 * page_ - bytes; }

private:
    std::size_t page_;
    uint8_t *memory_;
};

// A byte touched outside ends the test with a signal.
TEST_P(EachKernel, TouchesNothingOutside)
{
    const Kernel &kernel = GetParam();
    const GuardedPages from, to;
    const Bytes data = noise(kernel.bytesFrom(kLongest), 4);
    Bytes expected(kernel.bytesTo(kLongest));
    for (std::size_t count = 0; count <= kLongest; ++count) {
        const std::size_t read = kernel.bytesFrom(count), written = kernel.bytesTo(count);
        kernel.expected(expected.data(), data.data(), count);
        std::memcpy(from.last(read), data.data(), read);
        kernel.run(to.last(written), from.last(read), count);
        ASSERT_EQ(std::memcmp(to.last(written), expected.data(), written), 0) << count;
        std::memcpy(from.first(), data.data(), read);
        kernel.run(to.first(), from.first(), count);
        ASSERT_EQ(std::memcmp(to.first(), expected.data(), written), 0) << count;
    }
}

#endif

TEST_P(EachKernel, ExtremeBytes)
{
    const Kernel &kernel = GetParam();
    for (const uint8_t value : {0, 1, 127, 128, 254, 255}) {
        const Bytes data(kernel.bytesFrom(kLongest), value);
        Bytes expected(kernel.bytesTo(kLongest)), got(kernel.bytesTo(kLongest));
        kernel.expected(expected.data(), data.data(), kLongest);
        kernel.run(got.data(), data.data(), kLongest);
        EXPECT_EQ(got, expected) << int{value};
    }
}

INSTANTIATE_TEST_SUITE_P(Kernels, EachKernel, ::testing::ValuesIn(allKernels()),
                         [](const auto &info) { return info.param.name; });

TEST(KernelChoice, FollowsTheLevel)
{
    const Restore restore;
    for (const CpuLevel level : {CpuLevel::Baseline, CpuLevel::Avx2, CpuLevel::Avx512}) {
        for (const Stores stores : {Stores::Cached, Stores::Streaming}) {
            const ByteRow complementing = chosen(level, complementRow, stores);
            const ByteRow copying = chosen(level, copyRow, stores);
            const Bytes from{0, 1, 200, 255};
            Bytes to(4);
            complementing(to.data(), from.data(), 4);
            EXPECT_EQ(to, (Bytes{255, 254, 55, 0}));
            copying(to.data(), from.data(), 4);
            EXPECT_EQ(to, from);
        }
    }
    EXPECT_TRUE(chosen(CpuLevel::Baseline, complementRow, Stores::Streaming) == kernels::complementPlain);
    EXPECT_TRUE(chosen(CpuLevel::Baseline, copyRow, Stores::Streaming) == kernels::copyPlain);
    EXPECT_TRUE(chosen(CpuLevel::Baseline, tableRow) == kernels::tableWords);
    EXPECT_TRUE(chosen(CpuLevel::Baseline, bgrToGrayRow) == kernels::bgrToGrayPlain);
    EXPECT_TRUE(chosen(CpuLevel::Baseline, indexToBgrRow, grays()) == kernels::indexToBgrPlain);
    EXPECT_TRUE(chosen(CpuLevel::Baseline, aboveThresholdRow, 100) == kernels::aboveThresholdPlain);
}

TEST(KernelChoice, NeverExceedsTheProcessor)
{
    const Restore restore;
    const CpuLevel best = cpuLevel();
    limitCpuLevel(CpuLevel::Avx512);
    EXPECT_EQ(cpuLevel(), best);
    limitCpuLevel(CpuLevel::Baseline);
    EXPECT_EQ(cpuLevel(), CpuLevel::Baseline);
}

TEST(KernelChoice, SpecialVersionsServeTheirCaseOnly)
{
    // A table one channel off the ramp must not be taken for the ramp, whatever the level.
    const Restore restore;
    const Bytes from = noise(100, 9);
    for (const CpuLevel level : cpuLevels())
        for (const int place : {0, 1, 2, 3 * 128 + 1, 3 * 255 + 2}) {
            ColorTable entries = grays();
            entries.entry[place / 3][place % 3] ^= 0x40;
            Bytes all(256), got(3 * 256);
            for (std::size_t i = 0; i < 256; ++i)
                all[i] = static_cast<uint8_t>(i);
            chosen(level, indexToBgrRow, entries)(got.data(), all.data(), 256, entries);
            for (std::size_t i = 0; i < 3 * 256; ++i)
                ASSERT_EQ(got[i], entries.entry[i / 3][i % 3]) << i << ", place " << place;
        }
    for (const CpuLevel level : cpuLevels())
        for (const int limit : {-1, 255, 256, -256}) {
            Bytes got(13);
            chosen(level, aboveThresholdRow, limit)(got.data(), from.data(), 96, limit);
            EXPECT_EQ(Bytes(got.begin(), got.begin() + 12), Bytes(12, limit < 0 ? 0xFF : 0)) << limit;
        }
}

TEST(KernelTables, GrayOfEveryColor)
{
    const Restore restore;
    uint8_t redShare[256], greenShare[256], blueShare[256];
    for (int i = 0; i < 256; ++i) {
        redShare[i] = static_cast<uint8_t>((76 * i + 127) / 255);
        greenShare[i] = static_cast<uint8_t>((150 * i + 127) / 255);
        blueShare[i] = static_cast<uint8_t>((29 * i + 127) / 255);
    }
    constexpr std::size_t kPixels = 65536;
    Bytes pixels(3 * kPixels), expected(kPixels), got(kPixels);
    for (std::size_t i = 0; i < kPixels; ++i) {
        pixels[3 * i] = static_cast<uint8_t>(i);
        pixels[3 * i + 1] = static_cast<uint8_t>(i >> 8);
    }
    std::vector<PixelRow> versions;
    for (const CpuLevel level : cpuLevels())
        versions.push_back(chosen(level, bgrToGrayRow));
    for (std::size_t red = 0; red < 256; ++red) {
        for (std::size_t i = 0; i < kPixels; ++i) {
            pixels[3 * i + 2] = static_cast<uint8_t>(red);
            const int sum = redShare[red] + greenShare[i >> 8] + blueShare[i & 255];
            expected[i] = static_cast<uint8_t>(sum);
        }
        for (const PixelRow version : versions) {
            version(got.data(), pixels.data(), kPixels);
            ASSERT_TRUE(got == expected) << "red " << red;
        }
    }
}

TEST(KernelTables, EveryByteAgainstEveryThreshold)
{
    const Restore restore;
    Bytes all(256), got(32);
    for (std::size_t i = 0; i < 256; ++i)
        all[i] = static_cast<uint8_t>(i);
    for (const CpuLevel level : cpuLevels())
        for (int limit = -1; limit <= 256; ++limit) {
            chosen(level, aboveThresholdRow, limit)(got.data(), all.data(), 256, limit);
            for (int value = 0; value < 256; ++value)
                ASSERT_EQ(bitAt(got.data(), value), value > limit) << value << " above " << limit;
        }
}

TEST(KernelTables, EveryByteOfATable)
{
    const Restore restore;
    Bytes all(256), got(256);
    for (std::size_t i = 0; i < 256; ++i)
        all[i] = static_cast<uint8_t>(i);
    for (const CpuLevel level : cpuLevels()) {
        chosen(level, tableRow)(got.data(), all.data(), 256, table().data());
        EXPECT_EQ(got, table());
    }
}

TEST(KernelTables, LargeResultsGoPastTheCaches)
{
    EXPECT_EQ(storesFor(0), Stores::Cached);
    EXPECT_EQ(storesFor(std::size_t{1} << 20), Stores::Cached);
    EXPECT_EQ(storesFor(std::size_t{1} << 30), Stores::Streaming);
}

} // namespace

} // namespace velmont::testing
