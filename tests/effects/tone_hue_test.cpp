// The hue, saturation and balance effects against plain loops.

#include "core/cpu.h"
#include "platform/memory.h"
#include "tests/support/images.h"
#include "tests/support/recording_host.h"
#include "tone/hue_kernels.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/tone.h>

namespace {

using namespace velmont;
using namespace velmont::testing;

using Events = std::vector<std::string>;

#if defined(__SANITIZE_ADDRESS__)
constexpr int kColorStep = 5; // a sample of the colours
#else
constexpr int kColorStep = 1;
#endif

void onEveryCpuLevel(const std::function<void()> &check)
{
    for (const CpuLevel level : {CpuLevel::Baseline, CpuLevel::Avx2, CpuLevel::Avx512}) {
        limitCpuLevel(level);
        SCOPED_TRACE(static_cast<int>(level));
        check();
    }
}

Handle pixelRow(const Bytes &pixels)
{
    Bytes row = pixels;
    const int width = static_cast<int>(pixels.size() / 3);
    row.resize(strideFor(width, 24), 0xEE);
    return blockOf(makeBlock(makeHeader(width, 1, 24, 0), {}, row));
}

/// The pixels of a row without its padding.
Bytes pixelsOf(void *dib)
{
    const Bytes block = bytesOf(dib);
    const auto pixels = block.begin() + 40;
    return {pixels, pixels + 3 * headerOf(dib).biWidth};
}

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
    EXPECT_EQ(bytesOf(dib), before);
}

// ---- hue and saturation in integers

using Color = std::array<int, 3>; ///< blue, green, red

Color shifted(Color color, int hue, int saturation)
{
    std::array<int, 256> c{}, d{};
    for (int i = 0; i < 256; ++i) {
        c[i] = (128 * i * saturation + 50) / 100;
        d[i] = 60 * i;
    }
    const auto [b, g, r] = color;
    const int max = std::max({b, g, r}), min = std::min({b, g, r}), delta = max - min;
    if (delta == 0)
        return color;
    if (hue != 0) {
        int t;
        if (r == max)
            t = g >= b ? d[g - b] : -d[b - g];
        else if (g == max)
            t = b >= r ? 2 * d[delta] + d[b - r] : 2 * d[delta] - d[r - b];
        else
            t = (r >= g ? d[r - g] : -d[g - r]) - 2 * d[delta];
        t += delta * hue;
        if (t < 0)
            t += 6 * d[delta];
        const int q = t / d[delta];
        int e = t % d[delta];
        if (q % 2 == 0)
            e = d[delta] - e;
        const int mid = max - (e + 30) / 60;
        switch (q) {
        case 1:
            color = {min, max, mid};
            break;
        case 2:
            color = {mid, max, min};
            break;
        case 3:
            color = {max, mid, min};
            break;
        case 4:
            color = {max, min, mid};
            break;
        case 5:
            color = {mid, min, max};
            break;
        default:
            color = {min, mid, max};
            break;
        }
    }
    for (int &value : color) {
        int v = 128 * value - c[value] + c[max];
        if (v < 0)
            v = 0;
        value = std::min(v >> 7, 255);
    }
    return color;
}

Bytes shiftedPixels(const Bytes &pixels, int hue, int saturation)
{
    Bytes result;
    for (std::size_t i = 0; i < pixels.size(); i += 3)
        for (const int value : shifted({pixels[i], pixels[i + 1], pixels[i + 2]}, hue, saturation))
            result.push_back(static_cast<uint8_t>(value));
    return result;
}

Bytes hueShifted(void *dib, int hue, int saturation)
{
    tagParamHueSaturation param{hue, saturation};
    const Handle result(ProcessHueAndSaturation(dib, &param));
    return result ? bytesOf(result) : Bytes{};
}

TEST(HueAndSaturationTest, KnownColours)
{
    const Handle dib = pixelRow({0, 0, 255, 10, 200, 60, 77, 77, 77});
    tagParamHueSaturation param{120, 0};
    onEveryCpuLevel([&] {
        const Handle result(ProcessHueAndSaturation(dib, &param));
        // Red becomes green; (10, 200, 60) turned by a third is (200, 60, 10); gray stays.
        EXPECT_EQ(pixelsOf(result), (Bytes{0, 255, 0, 200, 60, 10, 77, 77, 77}));
    });
    param = {0, 100};
    EXPECT_EQ(pixelsOf(Handle(ProcessHueAndSaturation(dib, &param))),
              (Bytes{255, 255, 255, 200, 200, 200, 77, 77, 77}));
    param = {0, -100};
    EXPECT_EQ(pixelsOf(Handle(ProcessHueAndSaturation(dib, &param))),
              (Bytes{0, 0, 255, 0, 200, 0, 77, 77, 77}));
}

TEST(HueAndSaturationTest, EveryRecordAgreesWithAPlainLoop)
{
    Bytes pixels = noise(3 * 150, 8);
    const Bytes corners{0,   0,   255, 0,   255, 0,   255, 0,   0,   0,  255,
                        255, 255, 0,   255, 255, 255, 0,   254, 255, 255};
    pixels.insert(pixels.end(), corners.begin(), corners.end());
    const Handle dib = pixelRow(pixels);
    onEveryCpuLevel([&] {
        for (int hue = -180; hue <= 180; ++hue)
            for (const int saturation : {-100, -99, -37, -1, 0, 1, 50, 100}) {
                tagParamHueSaturation param{hue, saturation};
                const Handle result(ProcessHueAndSaturation(dib, &param));
                if (hue == 0 && saturation == 0)
                    EXPECT_FALSE(result);
                else
                    ASSERT_EQ(pixelsOf(result), shiftedPixels(pixels, hue, saturation))
                        << hue << ", " << saturation;
            }
    });
}

/// Every colour with this red, in rows of all greens for each blue.
Bytes colorsWithRed(int red)
{
    Bytes pixels;
    pixels.reserve(3 * 65536);
    for (int green = 0; green < 256; green += kColorStep)
        for (int blue = 0; blue < 256; ++blue)
            pixels.insert(pixels.end(), {static_cast<uint8_t>(blue), static_cast<uint8_t>(green),
                                         static_cast<uint8_t>(red)});
    return pixels;
}

TEST(HueAndSaturationTest, AllVersionsGiveTheSameForEveryColour)
{
    const HueShift turns[] = {HueShift(73, -31), HueShift(0, 60)};
    for (int red = 0; red < 256; red += kColorStep) {
        const Bytes from = colorsWithRed(red);
        Bytes plain(from.size()), fast(from.size());
        for (const HueShift &shift : turns) {
            kernels::hueShiftPlain(plain.data(), from.data(), from.size() / 3, shift);
            for (const CpuLevel level : {CpuLevel::Avx2, CpuLevel::Avx512}) {
                limitCpuLevel(level);
                hueShiftRow()(fast.data(), from.data(), from.size() / 3, shift);
                ASSERT_EQ(plain, fast) << red << " level " << static_cast<int>(level);
            }
        }
    }
}

TEST(HueAndSaturationTest, ClearsThePaddingOfColours)
{
    for (const int width : {1, 2, 3, 63, 64, 65, 129}) {
        const NothingLost check;
        const Handle dib = noiseImage(width, 3, 24, 0);
        const Bytes source = bytesOf(dib);
        Bytes expected(source.size());
        std::copy_n(source.begin(), 40, expected.begin());
        for (std::size_t y = 0; y < 3; ++y) {
            const auto row = source.begin() + 40 + static_cast<std::ptrdiff_t>(y * strideFor(width, 24));
            const Bytes pixels = shiftedPixels(Bytes(row, row + 3 * width), -50, 20);
            std::copy(pixels.begin(), pixels.end(),
                      expected.begin() + 40 + static_cast<std::ptrdiff_t>(y * strideFor(width, 24)));
        }
        onEveryCpuLevel([&] { EXPECT_EQ(hueShifted(dib, -50, 20), expected) << width; });
    }
}

TEST(HueAndSaturationTest, PalettesAreShiftedAndPixelsCopied)
{
    const NothingLost check;
    const Handle sources[] = {noiseImage(9, 3, 8, 256), noiseImage(9, 3, 8, 30), noiseImage(9, 3, 8, 0),
                              noiseImage(9, 3, 8, 270), noiseImage(9, 3, 4, 16), noiseImage(9, 3, 4, 3)};
    for (const Handle &dib : sources) {
        Bytes expected = bytesOf(dib);
        for (std::size_t i = 0; i < headerOf(dib).biClrUsed; ++i) {
            uint8_t *const entry = expected.data() + 40 + 4 * i;
            const Color color = shifted({entry[0], entry[1], entry[2]}, 140, 35);
            std::copy(color.begin(), color.end(), entry);
        }
        EXPECT_EQ(hueShifted(dib, 140, 35), expected);
    }
    const Handle gray = grayNoise(9, 3);
    EXPECT_EQ(hueShifted(gray, 140, 35), bytesOf(gray));
}

TEST(HueAndSaturationTest, RowsLieBehindBiSizeAndTheColoursUsed)
{
    // 24 bits with two colours, and 8 bits with a header of 44 bytes.
    Bytes pixels{1, 2, 3, 0, 0, 255, 9, 8, 7, 5, 5, 5};
    const Bytes palette{1, 2, 3, 4, 200, 100, 50, 6};
    const DibHeader colors = makeHeader(4, 1, 24, 2);
    Bytes expected = makeBlock(colors, palette, shiftedPixels(pixels, 99, -5));
    EXPECT_EQ(hueShifted(blockOf(makeBlock(colors, palette, pixels)), 99, -5), expected);

    DibHeader header = makeHeader(4, 1, 8, 2);
    header.biSize = 44;
    Bytes behind{11, 12, 13, 14}; // the header's last four bytes
    behind.insert(behind.end(), palette.begin(), palette.end());
    Bytes shiftedBehind = behind;
    for (std::size_t i = 4; i < 12; i += 4) {
        const Color color = shifted({behind[i], behind[i + 1], behind[i + 2]}, 99, -5);
        std::copy(color.begin(), color.end(), shiftedBehind.begin() + static_cast<std::ptrdiff_t>(i));
    }
    const Bytes indices{0, 1, 1, 0};
    EXPECT_EQ(hueShifted(blockOf(makeBlock(header, behind, indices)), 99, -5),
              makeBlock(header, shiftedBehind, indices));
}

TEST(HueAndSaturationTest, CursorsComeInPairs)
{
    RecordingHost host;
    const Handle dib = noiseImage(5, 17, 24, 0);
    Events expected{"wait", "wait", "poll"};
    for (int y = 0; y < 17; ++y) {
        expected.push_back("poll");
        if (y % 16 == 0)
            expected.push_back(y == 0 ? "0%" : "94%");
    }
    expected.insert(expected.end(), {"arrow", "100%", "arrow"});
    EXPECT_FALSE(hueShifted(dib, 10, 0).empty());
    EXPECT_EQ(host.events, expected);

    host.events.clear();
    EXPECT_TRUE(hueShifted(dib, 0, 0).empty());
    EXPECT_EQ(host.events, (Events{"wait", "arrow"}));

    host.events.clear();
    EXPECT_TRUE(hueShifted(noiseImage(5, 2, 1, 2), 10, 0).empty());
    EXPECT_EQ(host.events, (Events{"wait", "arrow"}));

    host.events.clear();
    memory_hooks::failAllocation(1);
    EXPECT_TRUE(hueShifted(dib, 10, 0).empty());
    EXPECT_EQ(host.events, (Events{"wait", "wait", "arrow", "arrow"}));
}

TEST(HueAndSaturationTest, CopiedRowsSpeakWhereNoBitOf0x2FFIsSet)
{
    RecordingHost host;
    const Handle dib = noiseImage(100, 30, 8, 16); // 3000 bytes
    EXPECT_FALSE(hueShifted(dib, 10, 0).empty());
    Events expected{"wait", "wait", "poll"};
    for (int i = 0; i < 3000; ++i)
        if ((i & 0x2FF) == 0)
            expected.insert(expected.end(), {"poll", std::to_string(i * 100 / 3000) + "%"});
    EXPECT_EQ(expected.size(), 3u + 2 * 6); // 0, 256, 1024, 1280, 2048 and 2304
    expected.insert(expected.end(), {"arrow", "100%", "arrow"});
    EXPECT_EQ(host.events, expected);
}

TEST(HueAndSaturationTest, AnAbortAtEachPollEndsIt)
{
    RecordingHost host;
    const Handle sources[] = {noiseImage(5, 3, 24, 0), noiseImage(100, 30, 8, 16), noiseImage(600, 5, 4, 16)};
    for (const Handle &dib : sources) {
        const Bytes before = bytesOf(dib);
        host.events.clear();
        host.abortFromPoll(0);
        EXPECT_FALSE(hueShifted(dib, 10, 0).empty());
        const int polls = host.polls();
        for (int n = 1; n <= polls; ++n) {
            const NothingLost check;
            host.events.clear();
            host.abortFromPoll(n);
            EXPECT_TRUE(hueShifted(dib, 10, 0).empty());
            EXPECT_EQ(host.polls(), std::max(n, 2));
            const Events end(host.events.end() - 4, host.events.end());
            EXPECT_EQ(end, (Events{"poll", "arrow", "100%", "arrow"}));
        }
        EXPECT_EQ(bytesOf(dib), before);
        EXPECT_EQ(memory_hooks::locksOn(dib), 0);
    }
}

TEST(HueAndSaturationTest, RefusesARecordOutOfRangeWithoutACursor)
{
    RecordingHost host;
    const Handle dib = noiseImage(5, 3, 24, 0);
    for (const auto &[hue, saturation] : {std::pair{181, 0}, {-181, 0}, {0, 101}, {0, -101}, {INT32_MIN, 5}})
        EXPECT_TRUE(hueShifted(dib, hue, saturation).empty());
    EXPECT_TRUE(hueShifted(nullptr, 10, 0).empty());
    EXPECT_EQ(ProcessHueAndSaturation(dib, nullptr), nullptr);
    EXPECT_TRUE(host.events.empty());
}

TEST(HueAndSaturationTest, RefusesLyingHeadersAndOtherDepths)
{
    const NothingLost check;
    Bytes lying = bytesOf(noiseImage(8, 2, 24, 0));
    lying[8] = 3;
    Bytes longPalette = bytesOf(noiseImage(8, 2, 24, 0));
    longPalette[32] = 1; // a colour that pushes the rows out of the block
    Bytes shortHeader = bytesOf(noiseImage(8, 2, 24, 0));
    shortHeader[0] = 39;
    for (const Handle &dib : {noiseImage(8, 2, 1, 2), noiseImage(8, 2, 16, 0), noiseImage(8, 2, 32, 0),
                              blockOf(lying), blockOf(longPalette), blockOf(shortHeader)})
        EXPECT_TRUE(hueShifted(dib, 10, 0).empty());
}

TEST(HueAndSaturationTest, AFailingAllocationGivesZero)
{
    for (const int bits : {24, 8})
        expectFailuresToGiveZero(
            noiseImage(9, 4, bits, bits == 24 ? 0 : 16),
            [](void *dib) {
                tagParamHueSaturation param{10, 10};
                return ProcessHueAndSaturation(dib, &param);
            },
            1);
}

TEST(HueAndSaturationTest, IsReachedByItsCode)
{
    const Handle dib = noiseImage(9, 4, 24, 0);
    tagParamHueSaturation param{10, 10};
    const Handle result(EnhanceAndEffects(dib, 2, reinterpret_cast<long>(&param)));
    ASSERT_TRUE(result);
    EXPECT_EQ(bytesOf(result), hueShifted(dib, 10, 10));
}

} // namespace
