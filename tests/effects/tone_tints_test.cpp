// Sepia, warm, cool, antique and moonlight.

#include "core/view_frame.h"
#include "platform/memory.h"
#include "tests/effects/tone_testing.h"
#include "tone/tone_kernels.h"
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/environment.h>
#include <velmont/tone.h>

namespace velmont::testing {

namespace {

void *antique(void *dib)
{
    tagParamAntique record{};
    return ProcessAntique(dib, &record);
}

void *moonlight(void *dib)
{
    tagParamMoonlight record{};
    return ProcessMoonlight(dib, &record);
}

/// One of the four tints, as its formula has it.
struct Look {
    const char *name;
    Effect effect;
    double (*third)(int largest, int smallest);
    bool largestBlue;
};

double sepiaThird(int largest, int smallest)
{
    return largest * 0.23 + smallest * 0.77;
}
double warmThird(int largest, int smallest)
{
    return (largest - smallest) * 0.33 + smallest;
}
double coolThird(int largest, int smallest)
{
    return (largest - smallest) * 0.4 + smallest;
}
double antiqueThird(int largest, int smallest)
{
    const uint32_t pattern = 0x3F266666;
    float strength;
    std::memcpy(&strength, &pattern, sizeof strength);
    const double f = strength;
    return (1 - f) * smallest + largest * f;
}

std::vector<Look> looks()
{
    return {{"sepia", ProcessSepia, sepiaThird, false},
            {"warm", ProcessWarm, warmThird, false},
            {"cool", ProcessCool, coolThird, true},
            {"antique", antique, antiqueThird, true}};
}

/// The look on the three bytes of a pixel.
std::function<void(uint8_t *)> tinted(const Look &look)
{
    return [look](uint8_t *pixel) {
        Bytes channels(pixel, pixel + 3);
        std::sort(channels.begin(), channels.end());
        pixel[0] = look.largestBlue ? channels[2] : channels[0];
        pixel[1] = static_cast<uint8_t>(static_cast<int>(look.third(channels[2], channels[0])));
        pixel[2] = look.largestBlue ? channels[0] : channels[2];
    };
}

void moonlit(uint8_t *pixel)
{
    const int level = static_cast<int>(pixel[1] * 0.59) + static_cast<int>(pixel[0] * 0.11) +
                      static_cast<int>(pixel[2] * 0.3);
    pixel[0] = static_cast<uint8_t>(level * 240 / 255);
    pixel[1] = static_cast<uint8_t>(level * 207 / 255);
    pixel[2] = static_cast<uint8_t>(level * 168 / 255);
}

/// All five with what they do to a pixel.
std::vector<std::pair<Effect, std::function<void(uint8_t *)>>> everyTint()
{
    std::vector<std::pair<Effect, std::function<void(uint8_t *)>>> all;
    for (const Look &look : looks())
        all.emplace_back(look.effect, tinted(look));
    all.emplace_back(moonlight, moonlit);
    return all;
}

Bytes pixelOf(const Effect &effect, const Bytes &pixel)
{
    const Bytes result = resultOf(pixelRow(pixel), effect);
    return result.size() == 44 ? Bytes(result.begin() + 40, result.begin() + 43) : Bytes{};
}

class Tints : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(Tints, ByHand)
{
    const Bytes pixel{50, 100, 200}; // blue, green, red
    EXPECT_EQ(pixelOf(ProcessSepia, pixel), (Bytes{50, 84, 200}));
    EXPECT_EQ(pixelOf(ProcessWarm, pixel), (Bytes{50, 99, 200})); // 49.5 + 50
    EXPECT_EQ(pixelOf(ProcessCool, pixel), (Bytes{200, 110, 50}));
    EXPECT_EQ(pixelOf(antique, pixel), (Bytes{200, 147, 50}));   // 17.5 + 130
    EXPECT_EQ(pixelOf(moonlight, pixel), (Bytes{116, 100, 81})); // 59 + 5 + 60 = 124
    EXPECT_EQ(pixelOf(moonlight, {255, 255, 255}), (Bytes{239, 206, 167}));
    EXPECT_EQ(pixelOf(moonlight, {0, 0, 0}), (Bytes{0, 0, 0}));
}

// Gray stays gray but for a level that the binary fractions of the formula lose.
TEST_F(Tints, GrayPixels)
{
    for (const Look &look : looks())
        for (int v = 0; v < 256; ++v) {
            const auto level = static_cast<uint8_t>(v);
            const auto third = static_cast<uint8_t>(static_cast<int>(look.third(v, v)));
            ASSERT_EQ(pixelOf(look.effect, {level, level, level}), (Bytes{level, third, level})) << look.name;
            ASSERT_GE(third, v - 1);
        }
}

// Every pair of a largest and a smallest channel, in each place, on each level.
TEST_F(Tints, EveryPair)
{
    for (int place = 0; place < 6; ++place) {
        Bytes pixels;
        for (int largest = 0; largest < 256; ++largest)
            for (int smallest = 0; smallest <= largest; ++smallest) {
                uint8_t sorted[3] = {static_cast<uint8_t>(smallest),
                                     static_cast<uint8_t>((smallest + largest) / 2),
                                     static_cast<uint8_t>(largest)};
                for (int i = 0; i < place; ++i)
                    std::next_permutation(sorted, sorted + 3);
                pixels.insert(pixels.end(), sorted, sorted + 3);
            }
        const Pieces image = pixelRow(pixels);
        for (const Look &look : looks()) {
            const Bytes expected = withPixels(image, tinted(look)).bytes();
            for (const CpuLevel level : cpuLevels()) {
                limitCpuLevel(level);
                ASSERT_TRUE(resultOf(image, look.effect) == expected) << look.name << " " << place;
            }
        }
    }
}

// Each share of each channel and each level.
TEST_F(Tints, MoonlightOfEveryChannelValue)
{
    Bytes pixels;
    for (int channel = 0; channel < 3; ++channel)
        for (int i = 0; i < 256; ++i)
            for (const uint8_t others : {0, 100, 255}) {
                uint8_t pixel[3] = {others, others, others};
                pixel[channel] = static_cast<uint8_t>(i);
                pixels.insert(pixels.end(), pixel, pixel + 3);
            }
    const Pieces image = pixelRow(pixels);
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        EXPECT_EQ(resultOf(image, moonlight), withPixels(image, moonlit).bytes());
    }
}

TEST_F(Tints, EveryWidthAndLevel)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (const auto &[effect, map] : everyTint())
            for (int width = 1; width <= 67; ++width) {
                const Pieces image = trueColor(width, 3, static_cast<uint32_t>(width));
                ASSERT_EQ(resultOf(image, effect), withPixels(image, map).bytes()) << width;
            }
    }
}

TEST_F(Tints, Kernels)
{
#if defined(__x86_64__)
    for (const CpuLevel level : cpuLevels()) {
        const TintRow kernel = level == CpuLevel::Avx512 ? kernels::tintAvx512
                               : level == CpuLevel::Avx2 ? kernels::tintAvx2
                                                         : kernels::tintPlain;
        for (const Tint tint : {Tint{0, false}, Tint{65535, true}, Tint{32768, false}})
            for (std::size_t pixels = 0; pixels <= 200; ++pixels) {
                const Bytes from = noise(1 + 3 * pixels, static_cast<uint32_t>(pixels));
                Bytes expected(3 * pixels + 64, 0xEE), got = expected;
                kernels::tintPlain(expected.data(), from.data() + 1, pixels, tint);
                kernel(got.data(), from.data() + 1, pixels, tint);
                ASSERT_EQ(got, expected) << pixels;
            }
    }
#endif
}

TEST_F(Tints, Events)
{
    for (const auto &[effect, map] : everyTint())
        for (const int height : {1, 16, 17, 40})
            EXPECT_EQ(eventsOf(trueColor(5, height), effect),
                      joined({{"wait", "poll"}, rowEvents(height), {"100%", "arrow"}}));
}

TEST_F(Tints, AbortsAndFailures)
{
    for (const auto &[effect, map] : everyTint()) {
        expectAborts(trueColor(5, 35), effect, 1);
        expectFailuresSurvived(trueColor(5, 35), effect);
        memory_hooks::failAllocation(2);
        EXPECT_EQ(eventsOfRefusal(trueColor(3, 3).handle(), effect), (Events{"wait", "arrow"}));
        memory_hooks::failAllocation(0);
    }
}

TEST_F(Tints, OtherKindsAreRefused)
{
    for (const auto &[effect, map] : everyTint()) {
        EXPECT_EQ(eventsOfRefusal(nullptr, effect), Events{});
        EXPECT_EQ(eventsOfRefusal(gray(3, 3).handle(), effect), Events{});
        for (const int bits : {1, 2, 4, 8, 16, 32})
            EXPECT_EQ(eventsOfRefusal(paletted(3, 3, bits, 2).handle(), effect), Events{});
        expectLiesRefused(effect);
    }
}

TEST_F(Tints, RecordsAreWrittenForAnyHandle)
{
    const Handle color = trueColor(3, 3).handle(), levels = gray(3, 3).handle();
    uint8_t noHandle = 0;
    for (void *const dib :
         {static_cast<void *>(color), static_cast<void *>(levels), static_cast<void *>(&noHandle)}) {
        tagParamAntique strength{0.1f};
        EXPECT_EQ(Handle(ProcessAntique(dib, &strength)) != nullptr, dib == color);
        uint32_t pattern;
        std::memcpy(&pattern, &strength, sizeof pattern);
        EXPECT_EQ(pattern, 0x3F266666u);
        tagParamMoonlight moon{1, 2, 3};
        EXPECT_EQ(Handle(ProcessMoonlight(dib, &moon)) != nullptr, dib == color);
        EXPECT_EQ(moon.red, 168);
        EXPECT_EQ(moon.green, 207);
        EXPECT_EQ(moon.blue, 240);
    }
    tagParamAntique strength{0.1f};
    EXPECT_EQ(ProcessAntique(nullptr, &strength), nullptr);
    EXPECT_EQ(strength.strength, 0.1f);
    tagParamMoonlight moon{1, 2, 3};
    EXPECT_EQ(ProcessMoonlight(nullptr, &moon), nullptr);
    EXPECT_EQ(moon.red, 1);
}

TEST_F(Tints, NullRecords)
{
    const Handle color = trueColor(3, 3).handle();
    EXPECT_EQ(eventsOfRefusal(color, [](void *dib) { return ProcessAntique(dib, nullptr); }), Events{});
    EXPECT_EQ(eventsOfRefusal(color, [](void *dib) { return ProcessMoonlight(dib, nullptr); }), Events{});
}

TEST_F(Tints, ColorsUsedKeepThreeOfThemFromStoring)
{
    Pieces image = trueColor(5, 3);
    image.header.biClrUsed = 1;
    Pieces black = image;
    std::fill(black.rows.begin(), black.rows.end(), uint8_t{0});
    for (void *(*const effect)(void *) : {ProcessSepia, ProcessWarm, ProcessCool}) {
        EXPECT_EQ(resultOf(image, effect), black.bytes());
        EXPECT_EQ(eventsOf(image, effect), joined({{"wait", "poll"}, rowEvents(3), {"100%", "arrow"}}));
    }
    EXPECT_EQ(resultOf(image, antique), withPixels(image, tinted(looks()[3])).bytes());
    EXPECT_EQ(resultOf(image, moonlight), withPixels(image, moonlit).bytes());
}

// Views place the rows behind biSize and carry over 40 bytes of header; two effects look right behind the 40.
TEST_F(Tints, LongHeaders)
{
    Pieces image = trueColor(5, 3);
    image.header.biSize = 44;
    image.palette = {1, 2, 3, 4};
    for (const auto &[effect, map] : {everyTint()[0], everyTint()[1], everyTint()[2]}) {
        Pieces expected = withPixels(image, map);
        expected.palette = {0, 0, 0, 0};
        EXPECT_EQ(resultOf(image, effect), expected.bytes());
    }
    for (const auto &[effect, map] : {everyTint()[3], everyTint()[4]}) {
        Pieces shifted = image;
        shifted.rows.insert(shifted.rows.begin(), {1, 2, 3, 4});
        shifted.rows.resize(48);
        shifted.palette = {};
        Pieces expected = withPixels(shifted, map);
        expected.rows.resize(52, 0);
        EXPECT_EQ(resultOf(image, effect), expected.bytes());
    }
}

/// Changes the header of the block under an effect's feet.
DibHeader *headerOfRunning = nullptr;
int changeHeader()
{
    headerOfRunning->biWidth = headerOfRunning->biHeight = 30000;
    return 0;
}

TEST_F(Tints, HeadersChangedMeanwhile)
{
    for (const auto &[effect, map] : everyTint()) {
        const Pieces image = trueColor(70, 3);
        const Handle handle = image.handle();
        headerOfRunning = static_cast<DibHeader *>(KelMemLock(handle));
        SetProcessEnvironment(changeHeader, nullptr);
        const Handle result(effect(handle));
        SetProcessEnvironment(nullptr, nullptr);
        KelMemUnlock(handle);
        EXPECT_EQ(bytesOf(result), withPixels(image, map).bytes());
    }
}

TEST_F(Tints, AskForOneBlockOfZeros)
{
    const Handle image = trueColor(5, 3).handle();
    for (const auto &[effect, map] : everyTint()) {
        const long allocations = memory_hooks::counts().allocations;
        EXPECT_NE(Handle(effect(image)), nullptr);
        EXPECT_EQ(memory_hooks::counts().allocations, allocations + 1);
        EXPECT_EQ(memory_hooks::counts().lastFlags, 66u);
        EXPECT_EQ(memory_hooks::counts().lastBytes, 40u + 48);
    }
}

TEST_F(Tints, ByCode)
{
    const Pieces image = trueColor(9, 3);
    const auto byCode = [](unsigned code) {
        return [code](void *dib) {
            int32_t record[3] = {};
            return EnhanceAndEffects(dib, code, reinterpret_cast<long>(record));
        };
    };
    EXPECT_EQ(resultOf(image, byCode(4301)), resultOf(image, moonlight));
    EXPECT_EQ(resultOf(image, byCode(4302)), resultOf(image, antique));
    EXPECT_EQ(resultOf(image, byCode(4303)), resultOf(image, ProcessWarm));
    EXPECT_EQ(resultOf(image, byCode(4304)), resultOf(image, ProcessCool));
    EXPECT_EQ(resultOf(image, byCode(4305)), resultOf(image, ProcessSepia));
    for (const unsigned code : {4301u, 4302u})
        EXPECT_EQ(EnhanceAndEffects(image.handle(), code, 0), nullptr);
}

} // namespace

} // namespace velmont::testing
