// The hue, saturation and balance effects against plain loops.

#include "core/cpu.h"
#include "platform/memory.h"
#include "tests/support/images.h"
#include "tests/support/recording_host.h"
#include "tone/hls.h"
#include "tone/hue_kernels.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/environment.h>
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

// ---- hue, lightness and saturation

struct Triple {
    int a, b, c;
    bool operator==(const Triple &) const = default;
};

Triple toHls(int r, int g, int b)
{
    const int max = std::max({r, g, b}), min = std::min({r, g, b});
    const double l = (max + min) * 0.5;
    if (max == min)
        return {0, static_cast<int>(l), 0};
    const double range = max - min;
    const double s = l < 128 ? range * 255 / (max + min) : range * 255 / (511 - max - min);
    double h = r == max ? (g - b) / range : g == max ? (b - r) / range + 2 : (r - g) / range + 4;
    h = h * 42.5;
    if (h < 0)
        h = h + 255;
    if (h > 255)
        h = h - 255;
    return {static_cast<int>(h), static_cast<int>(l), static_cast<int>(s)};
}

int hlsValue(double m1, double m2, int h)
{
    const double k = 0.023529411764705882;
    if (h > 255)
        h -= 255;
    if (h < 0)
        h += 255;
    if (h < 42.5)
        return static_cast<int>(((m2 - m1) * h * k + m1) * 255);
    if (h < 127.5)
        return static_cast<int>(m2 * 255);
    if (h < 170)
        return static_cast<int>(((170 - h) * k * (m2 - m1) + m1) * 255);
    return static_cast<int>(m1 * 255);
}

Triple fromHls(int h, int l, int s)
{
    if (s == 0)
        return {l, l, l};
    const double m2 = l >= 128 ? (s + l - s * l * 0.00392156862745098) * 0.00392156862745098
                               : (s + 255) * l * 1.5378700499807768e-5;
    const double m1 = l * 0.00784313725490196 - m2;
    return {hlsValue(m1, m2, h + 85), hlsValue(m1, m2, h), hlsValue(m1, m2, h - 85)};
}

TEST(HlsTest, KnownColours)
{
    const auto hls = [](int r, int g, int b) {
        const Hls color = rgbToHls({r, g, b});
        return Triple{color.hue, color.lightness, color.saturation};
    };
    EXPECT_EQ(hls(255, 0, 0), (Triple{0, 127, 255}));
    EXPECT_EQ(hls(0, 255, 0), (Triple{85, 127, 255}));
    EXPECT_EQ(hls(0, 0, 255), (Triple{170, 127, 255}));
    EXPECT_EQ(hls(0, 0, 0), (Triple{0, 0, 0}));
    EXPECT_EQ(hls(255, 255, 255), (Triple{0, 255, 0}));
    EXPECT_EQ(hls(255, 0, 1), (Triple{254, 127, 255}));    // -1 / 255 of a sixth below the start
    EXPECT_EQ(hls(100, 100, 90), (Triple{42, 95, 13}));    // 42.5; 10 * 255 / 190
    EXPECT_EQ(hls(250, 250, 240), (Triple{42, 245, 121})); // 10 * 255 / 21
    // Exactly 119 on paper; 4 / 5 and 2 add up to a hair less.
    EXPECT_EQ(hls(0, 5, 4), (Triple{118, 2, 255}));
    EXPECT_EQ(lightnessOf({255, 0, 3}), 127);
    const Rgb gray = hlsToRgb({99, 140, 0});
    EXPECT_EQ((Triple{gray.red, gray.green, gray.blue}), (Triple{140, 140, 140}));
    const Rgb red = hlsToRgb({0, 127, 255});
    EXPECT_EQ((Triple{red.red, red.green, red.blue}), fromHls(0, 127, 255));
}

TEST(HlsTest, AgreesWithAPlainFormula)
{
    constexpr int kStep = 3;
    for (int r = 0; r < 256; r += kStep)
        for (int g = 0; g < 256; g += kStep)
            for (int b = 0; b < 256; b += kColorStep) {
                const Hls color = rgbToHls({r, g, b});
                ASSERT_EQ((Triple{color.hue, color.lightness, color.saturation}), toHls(r, g, b));
                const Rgb back = hlsToRgb({r, g, b});
                ASSERT_EQ((Triple{back.red, back.green, back.blue}), fromHls(r, g, b))
                    << r << ' ' << g << ' ' << b;
            }
}

// ---- hue, lightness and saturation by sectors

tagHueSaturateParam sectorRecord(double hue, double lightness, double saturation)
{
    tagHueSaturateParam param{};
    param.hue[0] = hue;
    param.lightness[0] = lightness;
    param.saturation[0] = saturation;
    return param;
}

/// One pixel, through tables worked out anew for its levels.
Bytes adjusted(const uint8_t *p, const tagHueSaturateParam &param)
{
    const auto [h, l, s] = toHls(p[2], p[1], p[0]);
    const int sector = h < 43 ? 0 : h < 85 ? 1 : h < 128 ? 2 : h < 171 ? 3 : h < 213 ? 4 : 5;
    int x = static_cast<int>((param.hue[0] + param.hue[sector + 1]) * 0.7083333333333334) + h;
    if (x < 0)
        x += 255;
    if (x > 255)
        x -= 255;
    int n = static_cast<int>((param.lightness[0] + param.lightness[sector + 1]) * 1.27);
    n = std::min(std::max(n, -255), 255);
    const int light = n < 0 ? ((n + 255) * l) / 255 : (l + ((255 - l) * n) / 255) & 255;
    n = static_cast<int>((param.saturation[0] + param.saturation[sector + 1]) * 2.55);
    n = std::min(std::max(n, -255), 255);
    const int full = std::min(std::max(((n + 255) * s) / 255, 0), 255);
    const auto [r, g, b] = fromHls(x, light, full);
    return {static_cast<uint8_t>(b), static_cast<uint8_t>(g), static_cast<uint8_t>(r)};
}

/// Every pixel in order, three bytes at biBitCount / 8 times its column; bytes outside the block are 0.
Bytes walked(const Bytes &block, std::size_t start, const std::function<Bytes(const uint8_t *color)> &map)
{
    DibHeader header;
    std::memcpy(&header, block.data(), sizeof header);
    const std::size_t stride = strideFor(header.biWidth, header.biBitCount);
    Bytes result(start + stride * static_cast<std::size_t>(header.biHeight));
    std::copy_n(block.begin(), start, result.begin());
    for (int y = 0; y < header.biHeight; ++y)
        for (int x = 0; x < header.biWidth; ++x) {
            const std::size_t place = start + stride * static_cast<std::size_t>(y) +
                                      static_cast<std::size_t>(x) * (header.biBitCount / 8);
            uint8_t color[3];
            for (std::size_t i = 0; i < 3; ++i)
                color[i] = place + i < block.size() ? block[place + i] : 0;
            const Bytes mapped = map(color);
            for (std::size_t i = 0; i < 3; ++i)
                if (place + i < result.size())
                    result[place + i] = mapped[i];
        }
    return result;
}

Bytes hueSaturated(void *dib, tagHueSaturateParam param)
{
    const Handle result(ProcessHueSaturation(dib, &param));
    return result ? bytesOf(result) : Bytes{};
}

tagHueSaturateParam variedRecord(uint32_t seed)
{
    tagHueSaturateParam param;
    const Bytes bytes = noise(21, seed);
    for (std::size_t i = 0; i < 7; ++i) {
        param.hue[i] = bytes[i] * 360 / 255.0 - 180;
        param.lightness[i] = bytes[7 + i] * 120 / 255.0 - 60;
        param.saturation[i] = bytes[14 + i] * 200 / 255.0 - 100;
    }
    return param;
}

TEST(HueSaturationTest, ColoursAgreeWithAPlainLoop)
{
    onEveryCpuLevel([] {
        for (const int width : {1, 2, 3, 63, 64, 65, 200})
            for (uint32_t seed = 1; seed < 12; ++seed) {
                const NothingLost check;
                const Handle dib = noiseImage(width, 6, 24, 0, seed);
                const auto param = seed == 11 ? tagHueSaturateParam{} : variedRecord(seed);
                ASSERT_EQ(hueSaturated(dib, param),
                          walked(bytesOf(dib), 40, [&](const uint8_t *p) { return adjusted(p, param); }))
                    << width << " record " << seed;
            }
    });
}

TEST(HueSaturationTest, KnownColours)
{
    const Handle dib = pixelRow({0, 0, 255, 20, 100, 60});
    // 2.55 times -100 is a hair above -255, so that a full saturation keeps 1 and lesser ones none: gray of the
    // lightness, (255 + 0) / 2 and (100 + 20) / 2, but for that.
    EXPECT_EQ(pixelsOf(Handle([&] {
                  auto param = sectorRecord(0, 0, -100);
                  return ProcessHueSaturation(dib, &param);
              }())),
              (Bytes{126, 126, 127, 60, 60, 60}));
    // 180 and 180 times 1.27 are held to 255: white.
    auto white = sectorRecord(0, 180, 0);
    std::fill(std::begin(white.lightness), std::end(white.lightness), 180);
    EXPECT_EQ(pixelsOf(Handle(ProcessHueSaturation(dib, &white))), Bytes(6, 255));
    // Only the reds become black; the green of the second pixel stays in its own sector.
    tagHueSaturateParam reds{};
    reds.lightness[0] = -30;
    reds.lightness[1] = -180;
    const Bytes pixels = pixelsOf(Handle(ProcessHueSaturation(dib, &reds)));
    EXPECT_EQ(Bytes(pixels.begin(), pixels.begin() + 3), (Bytes{0, 0, 0}));
    EXPECT_NE(Bytes(pixels.begin() + 3, pixels.end()), (Bytes{0, 0, 0}));
}

TEST(HueSaturationTest, OtherDepthsStayInsideTheBlock)
{
    const NothingLost check;
    for (uint32_t seed = 1; seed < 5; ++seed) {
        const auto param = variedRecord(seed);
        const auto map = [&](const uint8_t *p) { return adjusted(p, param); };
        for (const int width : {1, 3, 4, 9, 33}) {
            const Handle eight = noiseImage(width, 3, 8, 16, seed), four = noiseImage(width, 3, 4, 16, seed),
                         one = noiseImage(width, 3, 1, 2, seed), sixteen = noiseImage(width, 3, 16, 0, seed),
                         thirtyTwo = noiseImage(width, 3, 32, 0, seed);
            EXPECT_EQ(hueSaturated(eight, param), walked(bytesOf(eight), 40 + 64, map)) << width;
            EXPECT_EQ(hueSaturated(four, param), walked(bytesOf(four), 40 + 64, map)) << width;
            EXPECT_EQ(hueSaturated(one, param), walked(bytesOf(one), 40 + 8, map)) << width;
            EXPECT_EQ(hueSaturated(sixteen, param), walked(bytesOf(sixteen), 40, map)) << width;
            EXPECT_EQ(hueSaturated(thirtyTwo, param), walked(bytesOf(thirtyTwo), 40, map)) << width;
        }
    }
}

TEST(HueSaturationTest, RowsLieBehindBiSize)
{
    DibHeader header = makeHeader(4, 2, 24, 0);
    header.biSize = 48;
    const Handle dib = blockOf(makeBlock(header, noise(8, 3), noise(24, 4)));
    const auto param = variedRecord(7);
    Bytes expected = walked(bytesOf(dib), 48, [&](const uint8_t *p) { return adjusted(p, param); });
    std::fill(expected.begin() + 40, expected.begin() + 48, uint8_t{0}); // 40 bytes of header are copied
    EXPECT_EQ(hueSaturated(dib, param), expected);
}

TEST(HueSaturationTest, TellsTheHostNothing)
{
    RecordingHost host;
    host.abortFromPoll(1);
    EXPECT_FALSE(hueSaturated(noiseImage(9, 40, 24, 0), {}).empty());
    EXPECT_TRUE(hueSaturated(noiseImage(9, 40, 24, 0), sectorRecord(181, 0, 0)).empty());
    memory_hooks::failAllocation(2); // the first is the image
    EXPECT_TRUE(hueSaturated(noiseImage(9, 4, 24, 0), {}).empty());
    EXPECT_TRUE(host.events.empty());
}

TEST(HueSaturationTest, EveryValueIsHeldToItsRange)
{
    const Handle dib = noiseImage(5, 2, 24, 0);
    EXPECT_FALSE(hueSaturated(dib, sectorRecord(0, 150, 0)).empty());
    for (int slot = 0; slot < 7; ++slot)
        for (const auto &[group, limit] : {std::pair{&tagHueSaturateParam::hue, 180.0},
                                           {&tagHueSaturateParam::lightness, 180.0},
                                           {&tagHueSaturateParam::saturation, 100.0}})
            for (const double sign : {-1.0, 1.0}) {
                tagHueSaturateParam param{};
                (param.*group)[slot] = sign * limit;
                EXPECT_FALSE(hueSaturated(dib, param).empty()) << slot;
                (param.*group)[slot] = sign * (limit + 0.001);
                EXPECT_TRUE(hueSaturated(dib, param).empty()) << slot;
                (param.*group)[slot] = sign * std::nan("");
                EXPECT_TRUE(hueSaturated(dib, param).empty()) << slot;
            }
    EXPECT_TRUE(hueSaturated(dib, sectorRecord(0, 181, 0)).empty());
    EXPECT_EQ(ProcessHueSaturation(dib, nullptr), nullptr);
    EXPECT_TRUE(hueSaturated(nullptr, {}).empty());
}

TEST(HueSaturationTest, RefusesLyingHeaders)
{
    const NothingLost check;
    Bytes lying = bytesOf(noiseImage(8, 2, 24, 0));
    lying[8] = 3;
    Bytes noDepth = bytesOf(noiseImage(8, 2, 24, 0));
    noDepth[14] = 0;
    for (const Handle &dib : {blockOf(lying), blockOf(noDepth), blockOf(Bytes(39)), blockOf(Bytes(40))})
        EXPECT_TRUE(hueSaturated(dib, {}).empty());
}

TEST(HueSaturationTest, AFailingAllocationGivesZero)
{
    for (const int bits : {24, 8})
        expectFailuresToGiveZero(
            noiseImage(9, 4, bits, bits == 24 ? 0 : 16),
            [](void *dib) {
                tagHueSaturateParam param{};
                return ProcessHueSaturation(dib, &param);
            },
            1);
    const Handle dib = noiseImage(9, 4, 24, 0);
    for (int n = 1; n <= 3; ++n) {
        const NothingLost check;
        memory_hooks::failLock(n);
        EXPECT_TRUE(hueSaturated(dib, {}).empty()) << n;
        memory_hooks::failLock(0);
    }
}

TEST(HueSaturationTest, AllVersionsGiveTheSameForEveryColour)
{
    SectorTables tables;
    const Bytes levels = noise(sizeof tables, 77);
    std::memcpy(&tables, levels.data(), sizeof tables);
    for (int red = 0; red < 256; red += kColorStep) {
        const Bytes from = colorsWithRed(red);
        Bytes plain(from.size()), fast(from.size());
        kernels::sectorPlain(plain.data(), from.data(), from.size() / 3, tables);
        for (const CpuLevel level : {CpuLevel::Avx2, CpuLevel::Avx512}) {
            limitCpuLevel(level);
            sectorRow()(fast.data(), from.data(), from.size() / 3, tables);
            ASSERT_EQ(plain, fast) << red << " level " << static_cast<int>(level);
        }
    }
}

TEST(HueSaturationTest, AllVersionsGiveTheSameForEveryNewColour)
{
    // A pixel for each hue that there is, whose new hue is its place in the row.
    std::array<Bytes, 256> pixelOfHue;
    for (int i = 0; i < 256; ++i)
        for (const auto &[r, g, b] :
             {Triple{255, i, 0}, {i, 255, 0}, {0, 255, i}, {0, i, 255}, {i, 0, 255}, {255, 0, i}})
            pixelOfHue[rgbToHls({r, g, b}).hue] = {static_cast<uint8_t>(b), static_cast<uint8_t>(g),
                                                   static_cast<uint8_t>(r)};
    Bytes from;
    SectorTables low{}, high{};
    int hues = 0;
    for (int hue = 0; hue < 256; ++hue)
        if (!pixelOfHue[hue].empty()) {
            from.insert(from.end(), pixelOfHue[hue].begin(), pixelOfHue[hue].end());
            low.hue[hue] = static_cast<uint8_t>(hues++);
        }
    for (int hue = 0; hue < 256; ++hue)
        high.hue[hue] = static_cast<uint8_t>(low.hue[hue] + 256 - hues);
    ASSERT_GE(hues, 192);
    from.resize(3 * 256); // black for the rest, so that every pixel is done by the vectors
    Bytes plain(from.size()), fast(from.size());
    for (int lightness = 0; lightness < 256; lightness += kColorStep)
        for (int saturation = 0; saturation < 256; ++saturation) {
            SectorTables &tables = saturation % 8 == 0 ? high : low;
            std::memset(tables.lightness, lightness, sizeof tables.lightness);
            std::memset(tables.saturation, saturation, sizeof tables.saturation);
            kernels::sectorPlain(plain.data(), from.data(), 256, tables);
            for (const CpuLevel level : {CpuLevel::Avx2, CpuLevel::Avx512}) {
                limitCpuLevel(level);
                sectorRow()(fast.data(), from.data(), 256, tables);
                ASSERT_EQ(plain, fast)
                    << lightness << ", " << saturation << " level " << static_cast<int>(level);
            }
        }
}

// ---- colour balance

double lowCurve(int i)
{
    return 1.075 - 1 / (i * 0.0625 + 1);
}
double midCurve(int i)
{
    return (1 - (i - 127) * (i - 127) * (1.0 / 16129)) * 0.667;
}

/// The three ranges one after the other, as the tables are defined.
int balancedLevel(int level, const std::array<double, 3> &adjustments)
{
    int x = level;
    const double a0 = adjustments[0], a1 = adjustments[1], a2 = adjustments[2];
    x += static_cast<int>((a0 > 0 ? midCurve(x) : lowCurve(255 - x)) * a0);
    x = std::clamp(x, 0, 255);
    x += static_cast<int>(midCurve(x) * a1);
    x = std::clamp(x, 0, 255);
    x += static_cast<int>((a2 > 0 ? lowCurve(x) : midCurve(x)) * a2);
    return std::clamp(x, 0, 255);
}

Bytes balanced(const uint8_t *p, const tagColorBalance &param)
{
    const double values[3] = {param.yellowBlue, param.magentaGreen, param.cyanRed};
    int c[3];
    for (int i = 0; i < 3; ++i) {
        std::array<double, 3> adjustments{};
        adjustments[param.range] = values[i];
        c[i] = balancedLevel(p[i], adjustments);
    }
    if (param.preserveLuminosity) {
        const Triple hls = toHls(c[2], c[1], c[0]);
        const int lightness =
            static_cast<int>((std::max({p[0], p[1], p[2]}) + std::min({p[0], p[1], p[2]})) * 0.5);
        const Triple rgb = fromHls(hls.a, lightness, hls.c);
        c[0] = rgb.c;
        c[1] = rgb.b;
        c[2] = rgb.a;
    }
    return {static_cast<uint8_t>(c[0]), static_cast<uint8_t>(c[1]), static_cast<uint8_t>(c[2])};
}

/// The result's bytes; checks that one lock more is left and takes it back.
Bytes balancedBytes(void *dib, tagColorBalance param)
{
    const int locks = memory_hooks::locksOn(dib);
    const Handle result(ProcessColorBalance(dib, &param));
    EXPECT_EQ(memory_hooks::locksOn(dib), locks + 1);
    KelMemUnlock(dib);
    return result ? bytesOf(result) : Bytes{};
}

TEST(ColorBalanceTest, EveryRangeAgreesWithAPlainLoop)
{
    onEveryCpuLevel([] {
        for (const int width : {1, 3, 63, 64, 65, 520, 1100})
            for (int range = 0; range < 3; ++range)
                for (const int preserve : {0, 1, -5})
                    for (const double share : {-100.0, -33.3, 0.0, 60.0, 100.0}) {
                        const NothingLost check;
                        const tagColorBalance param{range, preserve, share, -share / 2, 40};
                        const Handle dib = noiseImage(width, 3, 24, 0, static_cast<uint32_t>(width));
                        ASSERT_EQ(
                            balancedBytes(dib, param),
                            walked(bytesOf(dib), 40, [&](const uint8_t *p) { return balanced(p, param); }))
                            << width << " range " << range << " preserve " << preserve << " share " << share;
                    }
    });
}

TEST(ColorBalanceTest, KnownLevels)
{
    const Handle dib = pixelRow({0, 0, 0, 127, 127, 127, 255, 255, 255});
    // Midtones: 0.667 of 100 in the middle, nothing at 0, and at 255 a little less than nothing, rounded away.
    EXPECT_EQ(Bytes(balancedBytes(dib, {1, 0, 100, -100, 0})).size(), 40u + 12);
    const Bytes block = balancedBytes(dib, {1, 0, 100, -100, 0});
    EXPECT_EQ(Bytes(block.begin() + 40, block.begin() + 49), (Bytes{0, 0, 0, 127, 61, 193, 255, 255, 254}));
    // Shadows, below 0: 1.075 - 1 / 16.9375 of 100 at 0, which has nowhere to go, and 0.075 of it at 255.
    const Bytes dark = balancedBytes(dib, {0, 0, -100, 0, 0});
    EXPECT_EQ(Bytes(dark.begin() + 40, dark.begin() + 49), (Bytes{0, 0, 0, 127, 127, 31, 255, 255, 248}));
    // Highlights, above 0: 7.5 at 0.
    const Bytes light = balancedBytes(dib, {2, 0, 0, 0, 100});
    EXPECT_EQ(Bytes(light.begin() + 40, light.begin() + 49), (Bytes{7, 0, 0, 223, 127, 127, 255, 255, 255}));
}

TEST(ColorBalanceTest, NoAdjustmentIsACopyWithClearPadding)
{
    const Handle dib = noiseImage(5, 4, 24, 0);
    const Bytes expected = walked(bytesOf(dib), 40, [](const uint8_t *p) { return Bytes(p, p + 3); });
    for (int range = 0; range < 3; ++range)
        EXPECT_EQ(balancedBytes(dib, {range, 0, 0, 0, 0}), expected);
}

TEST(ColorBalanceTest, ABadRecordGivesTheImageItselfAndALock)
{
    RecordingHost host;
    const Handle dib = noiseImage(5, 4, 24, 0);
    const double nan = std::nan("");
    for (tagColorBalance param : {tagColorBalance{3, 0, 0, 0, 0},
                                  {-1, 0, 0, 0, 0},
                                  {0, 0, 100.5, 0, 0},
                                  {0, 0, 0, -101, 0},
                                  {0, 0, 0, 0, 101},
                                  {0, 0, nan, 0, 0}}) {
        const int locks = memory_hooks::locksOn(dib);
        EXPECT_EQ(ProcessColorBalance(dib, &param), static_cast<void *>(dib));
        EXPECT_EQ(memory_hooks::locksOn(dib), locks + 1);
    }
    EXPECT_TRUE(host.events.empty());
}

TEST(ColorBalanceTest, RefusalsLeaveNoLock)
{
    RecordingHost host;
    Bytes lying = bytesOf(noiseImage(8, 2, 24, 0));
    lying[8] = 3;
    Bytes noDepth = bytesOf(noiseImage(8, 2, 24, 0));
    noDepth[14] = 0;
    tagColorBalance param{1, 0, 10, 0, 0}, bad{7, 0, 10, 0, 0};
    for (const Handle &dib : {noiseImage(8, 2, 8, 256), grayNoise(8, 2), noiseImage(8, 2, 8, 0),
                              blockOf(lying), blockOf(noDepth), blockOf(Bytes(12))}) {
        EXPECT_EQ(ProcessColorBalance(dib, &param), nullptr);
        EXPECT_EQ(ProcessColorBalance(dib, &bad), nullptr);
        EXPECT_EQ(memory_hooks::locksOn(dib), 0);
    }
    const Handle good = noiseImage(8, 2, 24, 0);
    EXPECT_EQ(ProcessColorBalance(good, nullptr), nullptr);
    EXPECT_EQ(memory_hooks::locksOn(good), 0);
    EXPECT_EQ(ProcessColorBalance(nullptr, &param), nullptr);
    EXPECT_EQ(ProcessColorBalance(nullptr, nullptr), nullptr);
    EXPECT_TRUE(host.events.empty());
}

TEST(ColorBalanceTest, PollsAndReportsEachRowWithoutADroppedPoll)
{
    RecordingHost host;
    const Handle dib = noiseImage(5, 7, 24, 0);
    EXPECT_FALSE(balancedBytes(dib, {1, 0, 10, 0, 0}).empty());
    EXPECT_EQ(host.events, (Events{"wait", "poll", "0%", "poll", "14%", "poll", "28%", "poll", "42%", "poll",
                                   "57%", "poll", "71%", "poll", "85%", "100%", "arrow"}));
}

TEST(ColorBalanceTest, OnlyAnAnswerOf1EndsTheRows)
{
    RecordingHost host;
    const Handle dib = noiseImage(5, 4, 24, 0);
    for (int n = 1; n <= 4; ++n) {
        const NothingLost check;
        host.events.clear();
        host.abortFromPoll(n, 1);
        EXPECT_TRUE(balancedBytes(dib, {1, 0, 10, 0, 0}).empty());
        EXPECT_EQ(host.polls(), n);
        EXPECT_EQ(Events(host.events.end() - 3, host.events.end()), (Events{"poll", "100%", "arrow"}));

        host.events.clear();
        host.abortFromPoll(n, 2);
        EXPECT_TRUE(balancedBytes(dib, {1, 0, 10, 0, 0}).empty());
        EXPECT_EQ(host.polls(), 4);
        EXPECT_EQ(host.progress(), (std::vector{0, 25, 50, 75, 100}));
    }
}

/// Answers 2 once, to the poll that is due.
int pollsUntilTwo = 0;
int twoOnce()
{
    return --pollsUntilTwo == 0 ? 2 : 0;
}

TEST(ColorBalanceTest, AnotherAnswerCountsOnTheLastPollOnly)
{
    const Handle dib = noiseImage(5, 4, 24, 0);
    for (int n = 1; n <= 4; ++n) {
        const NothingLost check;
        SetProcessEnvironment(twoOnce, nullptr);
        pollsUntilTwo = n;
        EXPECT_EQ(balancedBytes(dib, {1, 0, 10, 0, 0}).empty(), n == 4) << n;
        SetProcessEnvironment(nullptr, nullptr);
    }
}

TEST(ColorBalanceTest, OtherDepthsStayInsideTheBlock)
{
    const NothingLost check;
    for (const int preserve : {0, 1}) {
        const tagColorBalance param{1, preserve, 80, -30, 50};
        const auto map = [&](const uint8_t *p) { return balanced(p, param); };
        for (const int width : {1, 3, 4, 9, 33}) {
            const Handle four = noiseImage(width, 3, 4, 16), one = noiseImage(width, 3, 1, 2),
                         sixteen = noiseImage(width, 3, 16, 0), thirtyTwo = noiseImage(width, 3, 32, 0);
            EXPECT_EQ(balancedBytes(four, param), walked(bytesOf(four), 40 + 64, map)) << width;
            EXPECT_EQ(balancedBytes(one, param), walked(bytesOf(one), 40 + 8, map)) << width;
            EXPECT_EQ(balancedBytes(sixteen, param), walked(bytesOf(sixteen), 40, map)) << width;
            EXPECT_EQ(balancedBytes(thirtyTwo, param), walked(bytesOf(thirtyTwo), 40, map)) << width;
        }
    }
}

TEST(ColorBalanceTest, MissingMemoryLeavesNothing)
{
    const Handle dib = noiseImage(9, 4, 24, 0);
    RecordingHost host;
    tagColorBalance param{1, 1, 10, 0, 0};
    {
        const NothingLost check;
        memory_hooks::failAllocation(1);
        EXPECT_EQ(ProcessColorBalance(dib, &param), nullptr);
        for (int n = 1; n <= 4; ++n) {
            memory_hooks::failLock(n);
            EXPECT_EQ(ProcessColorBalance(dib, &param), nullptr) << n;
        }
        memory_hooks::failLock(0);
    }
    EXPECT_TRUE(host.events.empty());
    EXPECT_FALSE(balancedBytes(dib, param).empty());
}

TEST(ColorBalanceTest, AllVersionsKeepTheSameLightness)
{
    const Bytes sources = noise(3 * 65536, 5);
    for (int red = 0; red < 256; red += kColorStep) {
        const Bytes from = colorsWithRed(red);
        Bytes plain(from.size()), fast(from.size());
        kernels::lightnessPlain(plain.data(), from.data(), sources.data(), from.size() / 3);
        for (const CpuLevel level : {CpuLevel::Avx2, CpuLevel::Avx512}) {
            limitCpuLevel(level);
            lightnessRow()(fast.data(), from.data(), sources.data(), from.size() / 3);
            ASSERT_EQ(plain, fast) << red << " level " << static_cast<int>(level);
        }
    }
}

TEST(ColorBalanceTest, IsReachedByItsCode)
{
    const Handle dib = noiseImage(9, 4, 24, 0);
    tagColorBalance param{2, 1, 10, 20, 30};
    const Handle result(EnhanceAndEffects(dib, 1202, reinterpret_cast<long>(&param)));
    ASSERT_TRUE(result);
    KelMemUnlock(dib);
    EXPECT_EQ(bytesOf(result), balancedBytes(dib, param));
    EXPECT_EQ(EnhanceAndEffects(dib, 1202, 0), nullptr);
}

} // namespace
