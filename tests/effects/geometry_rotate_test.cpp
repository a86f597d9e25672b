// Exact and free rotation.

#include "platform/memory.h"
#include "tests/effects/geometry_testing.h"
#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <velmont/geometry.h>

namespace velmont::testing {

namespace {

Effect exactly(int angle)
{
    return [=](void *dib) { return ProcessExactRotate(dib, angle); };
}

Effect turned(int angle, unsigned long background = 0)
{
    return [=](void *dib) { return ProcessRotate(dib, angle, background); };
}

bool operator==(const tagRECT &a, const tagRECT &b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

constexpr tagRECT kUntouched{-7, -8, -9, -10};

Bytes exactTwin(const Pieces &source, int angle)
{
    const int w = source.header.biWidth, h = source.header.biHeight;
    const int width = angle == 180 ? w : h, height = angle == 180 ? h : w;
    return painted(source, width, height,
                   [&](int c, int r) {
                       return angle == 90    ? pixelIn(source, height - 1 - r, c)
                              : angle == 180 ? pixelIn(source, w - 1 - c, h - 1 - r)
                                             : pixelIn(source, r, width - 1 - c);
                   })
        .bytes();
}

/// The nearest entry of the palette, the first of equals.
uint32_t nearestIndex(const Pieces &source, unsigned long color)
{
    const int wanted[] = {static_cast<int>(color >> 16 & 255), static_cast<int>(color >> 8 & 255),
                          static_cast<int>(color & 255)};
    int best = 1000;
    uint32_t index = UINT32_MAX;
    for (std::size_t i = 0; 4 * i < source.palette.size(); ++i) {
        int distance = 0;
        for (std::size_t channel = 0; channel < 3; ++channel)
            distance += std::abs(source.palette[4 * i + channel] - wanted[channel]);
        if (distance < best) {
            best = distance;
            index = static_cast<uint32_t>(i);
        }
    }
    return index & ((1u << source.header.biBitCount) - 1);
}

uint32_t backgroundOf(const Pieces &source, unsigned long color)
{
    if (source.header.biBitCount == 24)
        return static_cast<uint32_t>((color & 255) << 16 | (color & 0xFF00) | (color >> 16 & 255));
    if (isSampled(source))
        return static_cast<uint32_t>(0.11 * static_cast<double>(color >> 16 & 255) +
                                     0.59 * static_cast<double>(color >> 8 & 255) +
                                     0.3 * static_cast<double>(color & 255) + 0.5);
    return nearestIndex(source, color);
}

/// Free rotation, pixel by pixel, in numbers that wrap at 32 bits.
Bytes freeTwin(const Pieces &source, int angle, unsigned long color)
{
    const int a = angle % 360;
    if (a == 90 || a == 180 || a == 270)
        return exactTwin(source, a);
    const int w = source.header.biWidth, h = source.header.biHeight;
    const auto S = static_cast<int>(std::sin(a * 0.0174532925) * 65536 + 0.5);
    const auto C = static_cast<int>(std::cos(a * 0.0174532925) * 65536 + 0.5);
    const int width = (std::abs(C) * w + std::abs(S) * h + 32768) >> 16;
    const int height = (std::abs(S) * w + std::abs(C) * h + 32768) >> 16;
    const uint32_t background = backgroundOf(source, color);
    const bool isBlended = isSampled(source);
    const auto wrapped = [](int64_t value) { return static_cast<int32_t>(static_cast<uint32_t>(value)); };
    const int32_t maxX = wrapped((int64_t{w} << 17) - 1), maxY = wrapped((int64_t{h} << 17) - 1);
    return painted(
               source, width, height,
               [&](int c, int r) -> uint32_t {
                   const int32_t X = wrapped((int64_t{w} << 16) - int64_t{width} * C + int64_t{height} * S +
                                             65536 - int64_t{2} * r * S + int64_t{2} * c * C);
                   const int32_t Y = wrapped((int64_t{h} << 16) - int64_t{height} * C - int64_t{width} * S +
                                             65536 + int64_t{2} * r * C + int64_t{2} * c * S);
                   if (X < 0 || Y < 0 || X > maxX || Y > maxY)
                       return background;
                   const int ix = X >> 17, iy = Y >> 17;
                   const uint32_t pixel = pixelIn(source, ix, iy);
                   if (!isBlended || ix >= w - 1 || iy >= h - 1)
                       return pixel;
                   const auto fx = static_cast<uint32_t>(X >> 14 & 7),
                              fy = static_cast<uint32_t>(Y >> 14 & 7);
                   const uint32_t right = pixelIn(source, ix + 1, iy), below = pixelIn(source, ix, iy + 1),
                                  across = pixelIn(source, ix + 1, iy + 1);
                   uint32_t blended = 0;
                   for (int shift = 0; shift < source.header.biBitCount; shift += 8) {
                       const auto of = [shift](uint32_t all) { return all >> shift & 255; };
                       const uint32_t sum = (8 - fx) * (8 - fy) * of(pixel) + fx * (8 - fy) * of(right) +
                                            (8 - fx) * fy * of(below) + fx * fy * of(across) + 32;
                       blended |= (sum >> 6) << shift;
                   }
                   return blended;
               })
        .bytes();
}

class Rotation : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(Rotation, ExactRefusals)
{
    const Handle image = gray(5, 4).handle();
    tagRECT rect = kUntouched;
    for (const int bad : {0, 1, 89, 91, 360, 450, -90, -180, -270, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(eventsOfRefusal(image, exactly(bad)), Events{}) << bad;
        EXPECT_EQ(eventsOfRefusal(nullptr, exactly(bad)), Events{}) << bad;
        EXPECT_EQ(ProcessExactRotate(image, bad, &rect), nullptr);
    }
    for (const int angle : {90, 180, 270}) {
        EXPECT_EQ(eventsOfRefusal(nullptr, exactly(angle)), Events{});
        EXPECT_EQ(ProcessExactRotate(nullptr, angle, &rect), nullptr);
    }
    EXPECT_TRUE(rect == kUntouched);
}

TEST_F(Rotation, ExactByHand)
{
    const Pieces image = grayRows({{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(resultOf(image, exactly(90)), grayRows({{3, 6}, {2, 5}, {1, 4}}).bytes());
    EXPECT_EQ(resultOf(image, exactly(180)), grayRows({{6, 5, 4}, {3, 2, 1}}).bytes());
    EXPECT_EQ(resultOf(image, exactly(270)), grayRows({{4, 1}, {5, 2}, {6, 3}}).bytes());
    // Bits 10100000 11 turn into ten rows of a bit each, the last column first; padding is 0.
    Pieces bits = paletted(10, 1, 1, 2);
    bits.rows = {0xA0, 0xFF, 0xFF, 0xFF};
    const Bytes result = resultOf(bits, exactly(90));
    ASSERT_EQ(result.size(), 48u + 40u);
    const Bytes expected{0x80, 0x80, 0, 0, 0, 0, 0, 0x80, 0, 0x80};
    for (std::size_t y = 0; y < 10; ++y) {
        EXPECT_EQ(result[48 + 4 * y], expected[y]) << y;
        EXPECT_EQ(result[48 + 4 * y + 1] | result[48 + 4 * y + 2] | result[48 + 4 * y + 3], 0) << y;
    }
    // A nibble in the spare half of the last byte is dropped: 12 3- becomes 32 1-.
    Pieces nibbles = paletted(3, 1, 4, 16);
    nibbles.rows = {0x12, 0x3F, 0xFF, 0xFF};
    const Bytes mirrored = resultOf(nibbles, exactly(180));
    EXPECT_EQ(Bytes(mirrored.end() - 4, mirrored.end()), (Bytes{0x32, 0x10, 0, 0}));
}

TEST_F(Rotation, ExactEveryMeasureAsThePlainLoop)
{
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 20; ++height)
            for (const Pieces &image : everyDepth(width, height))
                for (const int angle : {90, 180, 270}) {
                    const Bytes expected = exactTwin(image, angle);
                    for (const CpuLevel level : cpuLevels()) {
                        limitCpuLevel(level);
                        ASSERT_EQ(resultOf(image, exactly(angle)), expected)
                            << width << " x " << height << ", " << angle << ", " << image.header.biBitCount;
                    }
                }
}

TEST_F(Rotation, ExactBeyondOneBand)
{
    for (const auto &[width, height] : {std::pair{64, 64},
                                        {65, 63},
                                        {128, 33},
                                        {150, 131},
                                        {191, 17},
                                        {9, 200},
                                        {512, 18},
                                        {530, 37},
                                        {1100, 18}})
        for (const Pieces &image : everyDepth(width, height))
            for (const int angle : {90, 180, 270})
                for (const CpuLevel level : cpuLevels()) {
                    limitCpuLevel(level);
                    ASSERT_EQ(resultOf(image, exactly(angle)), exactTwin(image, angle))
                        << width << " x " << height << ", " << angle << ", " << image.header.biBitCount;
                }
}

TEST_F(Rotation, ThereAndBack)
{
    for (const Pieces &image : everyDepth(37, 22)) {
        const Handle source = image.handle();
        const Handle there(ProcessExactRotate(source, 90));
        const Handle back(ProcessExactRotate(there, 270));
        EXPECT_EQ(bytesOf(back),
                  painted(image, 37, 22, [&](int x, int y) { return pixelIn(image, x, y); }).bytes());
    }
}

TEST_F(Rotation, ExactRectangle)
{
    const Handle image = trueColor(7, 3).handle();
    for (const int angle : {90, 180, 270}) {
        tagRECT rect = kUntouched;
        const Handle result(ProcessExactRotate(image, angle, &rect));
        EXPECT_TRUE(rect == (angle == 180 ? tagRECT{0, 0, 7, 3} : tagRECT{0, 0, 3, 7}));
        EXPECT_EQ(headerOf(result).biWidth, rect.right);
        EXPECT_EQ(headerOf(result).biHeight, rect.bottom);
        rect = kUntouched;
        memory_hooks::failAllocation(1);
        EXPECT_EQ(ProcessExactRotate(image, angle, &rect), nullptr);
        memory_hooks::failAllocation(0);
        EXPECT_TRUE(rect == (angle == 180 ? tagRECT{0, 0, 7, 3} : tagRECT{0, 0, 3, 7}))
            << "before the allocation";
    }
}

TEST_F(Rotation, OtherDepthsBecomeZeros)
{
    for (const int bits : {0, 2, 16, 32})
        for (const uint32_t colors : {0u, 3u})
            for (const int angle : {90, 180, 270}) {
                const Pieces image = paletted(19, 5, bits, colors);
                const int width = angle == 180 ? 19 : 5, height = angle == 180 ? 5 : 19;
                Pieces expected{image.header, image.palette, {}};
                expected.header.biWidth = width;
                expected.header.biHeight = height;
                expected.header.biSizeImage = static_cast<uint32_t>(4 * height);
                expected.rows.resize(static_cast<std::size_t>(4 * height));
                EXPECT_EQ(resultOf(image, exactly(angle)), expected.bytes()) << bits << ", " << angle;
                EXPECT_EQ(eventsOf(image, exactly(angle)), (Events{"poll", "100%"}));
            }
    // A palette that is not there cannot be copied.
    for (const uint32_t colors : {2u, 1000u, 0x40000000u, 0xFFFFFFFFu}) {
        Pieces lie = paletted(19, 5, 32, 0);
        lie.header.biClrUsed = colors;
        EXPECT_EQ(eventsOfRefusal(lie.handle(), exactly(90)), Events{}) << colors;
    }
}

TEST_F(Rotation, ExactEventsAbortsAndFailures)
{
    for (const Pieces &image : everyDepth(35, 53))
        for (const int angle : {90, 180, 270})
            EXPECT_EQ(eventsOf(image, exactly(angle)),
                      joined({{"poll"}, rowEvents(angle == 180 ? 53 : 35), {"100%"}}));
    for (const Pieces &image : everyDepth(19, 18))
        for (const int angle : {90, 180, 270}) {
            expectAborts(image, exactly(angle), 1, {"100%"});
            expectFailuresSurvived(image, exactly(angle));
        }
    const Handle image = gray(4, 4).handle();
    memory_hooks::failAllocation(1);
    EXPECT_EQ(eventsOfRefusal(image, exactly(90)), Events{});
    memory_hooks::failAllocation(0);
}

TEST_F(Rotation, FreeRefusals)
{
    tagRECT rect = kUntouched;
    EXPECT_EQ(eventsOfRefusal(nullptr, turned(17)), Events{});
    EXPECT_EQ(ProcessRotate(nullptr, 17, 0, &rect), nullptr);
    EXPECT_TRUE(rect == kUntouched);
    for (const int bits : {0, 2, 16, 32}) {
        const Handle other = paletted(5, 3, bits, 4).handle();
        EXPECT_EQ(eventsOfRefusal(other, turned(0)), Events{});
        EXPECT_EQ(ProcessRotate(other, 0, 0, &rect), nullptr);
        EXPECT_TRUE(rect == (tagRECT{0, 0, 5, 3})) << "before the depth is refused";
    }
    const auto refusesLies = [](const Effect &effect) {
        for (const Pieces &image : everyDepth(5, 3)) {
            Bytes block = image.bytes();
            block.pop_back();
            EXPECT_EQ(eventsOfRefusal(blockOf(block), effect), Events{});
        }
    };
    refusesLies(turned(17));
    refusesLies(exactly(90));
}

TEST_F(Rotation, FreeByHand)
{
    // No angle is none: (10 + 20 + 30 + 41) * 16 + 32 over 64, and copies in the last column and row.
    const Pieces image = grayRows({{10, 20}, {30, 41}});
    for (const int none : {0, 360, -360, 720})
        EXPECT_EQ(resultOf(image, turned(none)), grayRows({{25, 20}, {30, 41}}).bytes()) << none;
    // By -90 degrees the sine is -65535: the first column lies outside.
    EXPECT_EQ(resultOf(image, turned(-90, 0x777777)), grayRows({{0x77, 30}, {0x77, 41}}).bytes());
    EXPECT_NE(resultOf(image, turned(-90)), resultOf(image, turned(270)));
    for (const int exact : {90, 180, 270, 450, 540, 630, 3690})
        EXPECT_EQ(resultOf(image, turned(exact, 0x777777)), resultOf(image, exactly(exact % 360))) << exact;
}

TEST_F(Rotation, BackgroundInTheCorners)
{
    const auto corners = [](const Bytes &result, const Pieces &source) {
        DibHeader header;
        std::memcpy(&header, result.data(), sizeof header);
        Pieces image{header, {}, {}};
        image.rows.assign(result.begin() + 40 + static_cast<std::ptrdiff_t>(source.palette.size()),
                          result.end());
        const int right = header.biWidth - 1, top = header.biHeight - 1;
        return std::vector<uint32_t>{pixelIn(image, 0, 0), pixelIn(image, right, 0), pixelIn(image, 0, top),
                                     pixelIn(image, right, top)};
    };
    const auto four = [](uint32_t pixel) { return std::vector<uint32_t>(4, pixel); };
    // The bytes as they are, blue first.
    EXPECT_EQ(corners(resultOf(trueColor(30, 30), turned(45, 0x00112233)), trueColor(30, 30)),
              four(0x332211));
    // 0.11 * 17 + 0.59 * 34 + 0.3 * 51 + 0.5 is 37.73.
    EXPECT_EQ(corners(resultOf(gray(30, 30), turned(45, 0x00112233)), gray(30, 30)), four(37));
    Pieces bits = paletted(30, 30, 1, 2);
    bits.palette = {0, 0, 0, 0, 255, 255, 255, 0};
    EXPECT_EQ(corners(resultOf(bits, turned(45, 0xFFFFFF)), bits), four(1));
    EXPECT_EQ(corners(resultOf(bits, turned(45, 0x101010)), bits), four(0));
    // Without a palette the index is -1, of which a pixel holds the low bits.
    EXPECT_EQ(corners(resultOf(paletted(30, 30, 1, 0), turned(45)), paletted(30, 30, 1, 0)), four(1));
    EXPECT_EQ(corners(resultOf(paletted(30, 30, 4, 0), turned(45)), paletted(30, 30, 4, 0)), four(15));
    EXPECT_EQ(corners(resultOf(paletted(30, 30, 8, 0), turned(45)), paletted(30, 30, 8, 0)), four(255));
}

TEST_F(Rotation, FreeRectangle)
{
    const Handle image = trueColor(40, 20).handle();
    tagRECT rect = kUntouched;
    // Sine 32768, cosine 56756: (56756 * 40 + 32768 * 20 + 32768) >> 16 and (32768 * 40 + 56756 * 20 + 32768) >> 16.
    const Handle result(ProcessRotate(image, 30, 0, &rect));
    EXPECT_TRUE(rect == (tagRECT{0, 0, 45, 37}));
    EXPECT_EQ(headerOf(result).biWidth, 45);
    EXPECT_EQ(headerOf(result).biHeight, 37);
    EXPECT_EQ(headerOf(result).biSizeImage, 136u * 37u);
    memory_hooks::failAllocation(1);
    rect = kUntouched;
    EXPECT_EQ(ProcessRotate(image, 30, 0, &rect), nullptr);
    memory_hooks::failAllocation(0);
    EXPECT_TRUE(rect == (tagRECT{0, 0, 45, 37}));
    const Handle exact(ProcessRotate(image, 450, 0, &rect));
    EXPECT_TRUE(rect == (tagRECT{0, 0, 20, 40}));
}

constexpr int kAngles[] = {0,   1,    17,   30,   45,  60,   89,        91,       120, 133,
                           179, 181,  200,  239,  269, 271,  300,       359,      -1,  -45,
                           -90, -135, -180, -270, 361, -359, INT32_MIN, INT32_MAX};

TEST_F(Rotation, FreeEveryMeasureAsThePlainLoop)
{
    std::size_t next = 0;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 20; ++height)
            for (const Pieces &image : everyDepth(width, height)) {
                const int angle = kAngles[next++ % std::size(kAngles)];
                const Bytes expected = freeTwin(image, angle, 0x804020);
                for (const CpuLevel level : cpuLevels()) {
                    limitCpuLevel(level);
                    ASSERT_EQ(resultOf(image, turned(angle, 0x804020)), expected)
                        << width << " x " << height << ", " << angle << ", " << image.header.biBitCount;
                }
            }
}

TEST_F(Rotation, EveryAngle)
{
    for (const Pieces &image : everyDepth(33, 21))
        for (int angle = -361; angle <= 361; angle += isSampled(image) ? 1 : 7) {
            const Bytes expected = freeTwin(image, angle, 0x102030);
            for (const CpuLevel level : cpuLevels()) {
                limitCpuLevel(level);
                ASSERT_EQ(resultOf(image, turned(angle, 0x102030)), expected) << angle;
            }
        }
}

TEST_F(Rotation, PositionsWrap)
{
    // The last pixel at 16384 columns is the last that 31 bits reach; what lies beyond wraps to below 0.
    const Pieces wide = gray(16384, 2);
    for (const int angle : {0, 1}) {
        const Bytes expected = freeTwin(wide, angle, 0x404040);
        for (const CpuLevel level : cpuLevels()) {
            limitCpuLevel(level);
            ASSERT_TRUE(resultOf(wide, turned(angle, 0x404040)) == expected) << angle;
        }
    }
    // The limit itself wraps below 0 at 16385, so that everything is background.
    const Pieces wider = trueColor(16385, 2);
    EXPECT_TRUE(resultOf(wider, turned(0, 0x404040)) == freeTwin(wider, 0, 0x404040));
    const Pieces flat = painted(wider, 16385, 2, [](int, int) { return 0x404040u; });
    EXPECT_TRUE(resultOf(wider, turned(0, 0x404040)) == flat.bytes());
    // At 32768 columns the size wraps too.
    EXPECT_EQ(eventsOfRefusal(Handle(gray(32768, 1).handle()), turned(0)), Events{});
}

TEST_F(Rotation, FreeEventsAbortsAndFailures)
{
    for (const Pieces &image : everyDepth(40, 20)) {
        EXPECT_EQ(eventsOf(image, turned(30)), joined({{"poll"}, rowEvents(37), {"100%"}}));
        EXPECT_EQ(eventsOf(image, turned(0)), joined({{"poll"}, rowEvents(20), {"100%"}}));
    }
    for (const Pieces &image : everyDepth(9, 18)) {
        expectAborts(image, turned(200), 1, {"100%"});
        expectFailuresSurvived(image, turned(200));
    }
}

} // namespace

} // namespace velmont::testing
