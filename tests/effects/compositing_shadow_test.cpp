// Shadows: on a canvas with their object, and alone.

#include "platform/memory.h"
#include "tests/effects/compositing_testing.h"
#include "tests/effects/filter_testing.h"
#include "tests/effects/geometry_testing.h"
#include <climits>
#include <gtest/gtest.h>
#include <velmont/compositing.h>
#include <velmont/filters.h>

namespace velmont::testing {

namespace {

/// Both results of a call, and its answer.
struct Pair {
    int answer;
    Handle first, second;
};

/// What both slots hold before each call.
void *const kGarbage = reinterpret_cast<void *>(0x1234);

Pair shadowing(void *image, void *alpha, tagParamShadow param)
{
    void *newImage = kGarbage, *newAlpha = kGarbage;
    const int answer = ProcessShadowing(image, alpha, newImage, newAlpha, &param);
    EXPECT_EQ(newImage != nullptr, answer != 0);
    EXPECT_EQ(newAlpha != nullptr, answer != 0);
    return {answer, Handle(newImage), Handle(newAlpha)};
}

Pair shadowOnly(void *alpha, tagParamShadow param)
{
    void *canvas = kGarbage, *shadow = kGarbage;
    const int answer = GetShadowDib(alpha, canvas, shadow, &param);
    EXPECT_EQ(canvas != nullptr, answer != 0);
    EXPECT_EQ(shadow != nullptr, answer != 0);
    return {answer, Handle(canvas), Handle(shadow)};
}

Pieces blurred(const Pieces &mask, bool isBell, int size)
{
    const Handle source = mask.handle();
    tagParamGaussianBlur bell{size};
    tagParamAverage box{size};
    const Handle result(isBell ? ProcessGaussianBlur(source, &bell) : ProcessAverage(source, &box));
    return piecesOf(result);
}

/// What lies where along one side, told apart from how the library tells it.
struct Side {
    int room, shadow, object;
};
Side sideFor(int64_t offset)
{
    if (offset > 1024)
        offset = 1024;
    if (offset < -1024)
        offset = -1024;
    return offset >= 0 ? Side{static_cast<int>(2 * offset), static_cast<int>(offset), 0}
                       : Side{static_cast<int>(-2 * offset), static_cast<int>(-offset),
                              static_cast<int>(-2 * offset)};
}

void expectShadowing(const Pieces &image, const Pieces &alpha, tagParamShadow param)
{
    const Handle dib = image.handle(), mask = alpha.handle();
    const Pair made = shadowing(dib, mask, param);
    ASSERT_NE(made.answer, 0);
    const Side x = sideFor(param.offsetX), y = sideFor(param.offsetY);
    const int width = image.header.biWidth + x.room, height = image.header.biHeight + y.room;
    const int resolution = image.header.biXPelsPerMeter;
    const Pieces black = canvas(8, width, height, resolution, 0);
    const Pieces placed = copiedIn(black, &alpha, x.shadow, y.shadow, false);
    const int size = param.blur < 2 ? 2 : param.blur > 32 ? 32 : param.blur;
    const Pieces shadow =
        composited(blurred(placed, true, size), &alpha, &alpha, x.object, y.object, true, false);
    const Pieces ground = canvas(image.header.biBitCount, width, height, resolution, param.color);
    const Pieces object = composited(ground, &alpha, &image, x.object, y.object, true, false);
    ASSERT_TRUE(bytesOf(made.first) == object.bytes()) << width << " x " << height;
    ASSERT_TRUE(bytesOf(made.second) == shadow.bytes()) << width << " x " << height;
    EXPECT_EQ(bytesOf(dib), image.bytes());
    EXPECT_EQ(bytesOf(mask), alpha.bytes());
    for (void *const handle : {static_cast<void *>(dib), static_cast<void *>(mask),
                               static_cast<void *>(made.first), static_cast<void *>(made.second)})
        EXPECT_EQ(memory_hooks::locksOn(handle), 0);
}

class Shadow : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(Shadow, ByHand)
{
    // One opaque pixel, window 2: the bell has the taps 2^20 * (e^-2, 1) / (1 + e^-2), 0.1192 and 0.8808, at the
    // sample before and at the pixel itself, so that 255 becomes 225 and, one later, 30 along the row; then
    // the same along the columns: 198 and 27 of 225, 26 and 4 of 30.
    const Pieces image = pixelRow({50, 60, 70}), alpha = levelRow({255});
    const Handle dib = image.handle(), mask = alpha.handle();
    const Pair made = shadowing(dib, mask, {1, 1, 0x00030201, 2});
    ASSERT_EQ(made.answer, 1);
    const Pieces newImage = piecesOf(made.first), newAlpha = piecesOf(made.second);
    ASSERT_EQ(newImage.header.biWidth, 3);
    ASSERT_EQ(newImage.header.biHeight, 3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x) {
            const uint8_t *const pixel = pixelOf(newImage, x, y);
            const bool isObject = x == 0 && y == 0;
            EXPECT_EQ(Bytes(pixel, pixel + 3), isObject ? Bytes({50, 60, 70}) : Bytes({3, 2, 1}));
        }
    const uint8_t expected[3][3] = {{255, 0, 0}, {0, 198, 27}, {0, 27, 4}};
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x)
            EXPECT_NEAR(*pixelOf(newAlpha, x, y), expected[y][x], 1) << x << ", " << y;
}

TEST_F(Shadow, TheObjectLiesWhereTheShadowFallsAwayFrom)
{
    const Pieces image = gray(5, 4), alpha = runMask(5, 4, 3);
    for (const int offsetX : {-3, 0, 2})
        for (const int offsetY : {-1, 0, 4})
            expectShadowing(image, alpha, {offsetX, offsetY, 0x123456, 5});
}

TEST_F(Shadow, WithoutOffsetTheCanvasHasTheImagesSize)
{
    const Handle dib = trueColor(9, 7).handle(), mask = gray(9, 7).handle();
    const Pair made = shadowing(dib, mask, {0, 0, 0, 4});
    EXPECT_EQ(headerOf(made.first).biWidth, 9);
    EXPECT_EQ(headerOf(made.second).biHeight, 7);
}

TEST_F(Shadow, EverySize)
{
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            const auto seed = static_cast<uint32_t>(100 * width + height);
            const int bits = seed % 2 ? 8 : 24;
            Pieces image = sampled(bits, width, height, seed);
            image.header.biXPelsPerMeter = width * 100;
            image.header.biYPelsPerMeter = 7;
            expectShadowing(image, runMask(width, height, seed),
                            {width % 11 - 5, height % 7 - 3, seed * 77u & 0xFFFFFF, height * 2 - 3});
        }
}

TEST_F(Shadow, MasksOfOtherSizes)
{
    for (const int bits : {8, 24})
        for (const auto &[width, height] : {std::pair{1, 1}, {20, 3}, {3, 20}, {40, 40}})
            for (const int offset : {-4, 4})
                expectShadowing(sampled(bits, 9, 8, 1), gray(width, height, 2), {offset, -offset, 0xFF, 3});
}

TEST_F(Shadow, FarOffsetsAreHeld)
{
    const Pieces image = gray(3, 2), alpha = gray(3, 2, 2);
    for (const int offset : {-1025, -2000, INT_MIN, 1023, 1024, 1025, 2000, INT_MAX}) {
        expectShadowing(image, alpha, {offset, 0, 0, 2});
        expectShadowing(image, alpha, {1, offset, 0x808080, 2});
    }
}

TEST_F(Shadow, TheBlurIsHeld)
{
    const Pieces image = trueColor(20, 18), alpha = runMask(20, 18, 5);
    for (const int blur : {INT_MIN, -20, 0, 1, 2, 3, 31, 32, 33, 50, INT_MAX})
        expectShadowing(image, alpha, {3, 3, 0, blur});
}

TEST_F(Shadow, TheHostSeesTheBlurAlone)
{
    const Handle dib = trueColor(20, 17).handle(), mask = gray(20, 17).handle();
    {
        RecordingHost host;
        EXPECT_NE(shadowing(dib, mask, {3, -2, 0, 4}).answer, 0);
        EXPECT_EQ(host.events, twoPassEvents(26, 21));
    }
    RecordingHost host;
    EXPECT_NE(shadowOnly(mask, {3, -2, 0, 4}).answer, 0);
    EXPECT_EQ(host.events, twoPassEvents(28, 25));
}

TEST_F(Shadow, AbortsGiveNothing)
{
    const Handle dib = trueColor(5, 4).handle(), mask = gray(5, 4).handle();
    const auto expectAborted = [](int polls, const std::function<int()> &run) {
        for (int n = 2; n <= polls; ++n) {
            const NothingLost check;
            RecordingHost host;
            host.abortFromPoll(n);
            EXPECT_EQ(run(), 0) << n;
            EXPECT_EQ(host.events.back(), "arrow");
        }
        RecordingHost host;
        host.abortFromPoll(polls + 1);
        EXPECT_EQ(run(), 1);
    };
    expectAborted(1 + 7 + 6, [&] { return shadowing(dib, mask, {1, 1, 0, 2}).answer; });
    expectAborted(1 + 9 + 8, [&] { return shadowOnly(mask, {0, 0, 0, 2}).answer; });
}

/// Each allocation and lock fails in turn. A block that CreateDib could not lock stays allocated.
void expectFailures(int allocations, const std::function<int()> &run)
{
    for (int n = 1; n <= allocations; ++n) {
        const NothingLost check;
        memory_hooks::failAllocation(n);
        EXPECT_EQ(run(), 0) << n;
        memory_hooks::failAllocation(0);
    }
    memory_hooks::failAllocation(allocations + 1);
    EXPECT_EQ(run(), 1);
    memory_hooks::failAllocation(0);
    bool gotThrough = false;
    for (int n = 1; n < 60 && !gotThrough; ++n) {
        const NothingLost check;
        const std::vector<void *> before = memory_hooks::liveBlocks();
        memory_hooks::failLock(n);
        const int answer = run();
        memory_hooks::failLock(0);
        EXPECT_TRUE(n > 1 || answer == 0);
        gotThrough = answer != 0 && n > 20;
        std::vector<void *> left = memory_hooks::liveBlocks();
        std::erase_if(left, [&](void *handle) {
            return std::find(before.begin(), before.end(), handle) != before.end();
        });
        EXPECT_LE(left.size(), answer == 0 ? 1u : 0u) << n;
        for (void *const handle : left)
            KelMemFree(handle);
    }
    EXPECT_TRUE(gotThrough);
}

TEST_F(Shadow, SurvivesFailures)
{
    for (const int bits : {8, 24}) {
        const Handle dib = sampled(bits, 9, 8, 1).handle(), mask = gray(9, 8).handle();
        // Two canvases, the blur's result and its working memory.
        expectFailures(4, [&] { return shadowing(dib, mask, {1, 2, 0, 3}).answer; });
        expectFailures(4, [&] { return shadowOnly(mask, {1, 2, 0, 3}).answer; });
        EXPECT_EQ(memory_hooks::locksOn(dib) + memory_hooks::locksOn(mask), 0);
    }
}

TEST_F(Shadow, WhereMemoryEnds)
{
    const Handle dib = trueColor(9, 8).handle(), mask = gray(9, 8).handle();
    const auto eventsWithout = [&](int allocation, auto run) {
        RecordingHost host;
        memory_hooks::failAllocation(allocation);
        EXPECT_EQ(run(), 0);
        memory_hooks::failAllocation(0);
        return host.events;
    };
    const auto both = [&] { return shadowing(dib, mask, {1, 2, 0, 3}).answer; };
    EXPECT_EQ(eventsWithout(1, both), Events{});
    EXPECT_EQ(eventsWithout(2, both), Events{});
    EXPECT_EQ(eventsWithout(3, both), (Events{"wait", "arrow"}));
    // The shadow alone is blurred even where there is no canvas.
    const auto alone = [&] { return shadowOnly(mask, {0, 0, 0, 3}).answer; };
    EXPECT_EQ(eventsWithout(1, alone), Events{});
    EXPECT_EQ(eventsWithout(2, alone), twoPassEvents(9 + 6, 8 + 6));
}

TEST_F(Shadow, Refusals)
{
    const Handle good = trueColor(6, 5).handle(), mask = gray(6, 5).handle();
    RecordingHost host;
    const tagParamShadow param{1, 1, 0, 3};
    EXPECT_EQ(shadowing(nullptr, mask, param).answer, 0);
    EXPECT_EQ(shadowing(good, nullptr, param).answer, 0);
    EXPECT_EQ(shadowOnly(nullptr, param).answer, 0);
    void *first = kGarbage, *second = kGarbage;
    EXPECT_EQ(ProcessShadowing(good, mask, first, second, nullptr), 0);
    EXPECT_TRUE(!first && !second);
    first = second = kGarbage;
    EXPECT_EQ(GetShadowDib(mask, first, second, nullptr), 0);
    EXPECT_TRUE(!first && !second);
    for (const Pieces &other : everyDepth(6, 5)) {
        const Handle handle = other.handle();
        const bool isGray = isSampled(other) && other.header.biBitCount == 8;
        if (!isSampled(other)) {
            EXPECT_EQ(shadowing(handle, mask, param).answer, 0);
        }
        if (!isGray) {
            EXPECT_EQ(shadowing(good, handle, param).answer, 0);
            EXPECT_EQ(shadowOnly(handle, param).answer, 0);
        }
    }
    EXPECT_EQ(host.events, Events{});
}

TEST_F(Shadow, RefusesHeadersThatLie)
{
    const Handle good = trueColor(5, 3).handle(), mask = gray(5, 3).handle();
    const tagParamShadow param{1, 1, 0, 3};
    const auto answer = [](const Pair &made) { return made.answer ? KelMemAlloc(0, 1) : nullptr; };
    expectLiesRefused([&](void *bad) { return answer(shadowing(bad, mask, param)); });
    expectLiesRefused([&](void *bad) { return answer(shadowing(good, bad, param)); });
    expectLiesRefused([&](void *bad) { return answer(shadowOnly(bad, param)); });
}

void expectShadowOnly(const Pieces &alpha, tagParamShadow param, int beside, int size)
{
    const Handle mask = alpha.handle();
    const Pair made = shadowOnly(mask, param);
    ASSERT_EQ(made.answer, 1);
    const int width = alpha.header.biWidth + 2 * beside, height = alpha.header.biHeight + 2 * beside;
    Pieces hard = canvas(8, width, height, alpha.header.biXPelsPerMeter, 0);
    for (int y = 0; y < alpha.header.biHeight; ++y)
        for (int x = 0; x < alpha.header.biWidth;
             ++x) // every alpha but 0 is copied as it is, which is 0 where it is
            *pixelOf(hard, x + beside, y + beside) = *pixelOf(alpha, x, y);
    ASSERT_TRUE(bytesOf(made.second) == blurred(hard, false, size).bytes()) << width << " x " << height;
    ASSERT_TRUE(bytesOf(made.first) ==
                canvas(24, width, height, alpha.header.biXPelsPerMeter, param.color).bytes());
    EXPECT_EQ(bytesOf(mask), alpha.bytes());
    EXPECT_EQ(memory_hooks::locksOn(mask), 0);
}

TEST_F(Shadow, AloneByHand)
{
    // One opaque pixel in a window of 2, which reaches one back: 255 becomes 128 and, one later, 128 along the row,
    // and 64 each along the columns.
    const Handle mask = levelRow({255}).handle();
    const Pair made = shadowOnly(mask, {INT_MAX, INT_MIN, 0x00030201, 2});
    ASSERT_EQ(made.answer, 1);
    const Pieces newCanvas = piecesOf(made.first), shadow = piecesOf(made.second);
    ASSERT_EQ(shadow.header.biWidth, 5);
    ASSERT_EQ(shadow.header.biHeight, 5);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 5; ++x) {
            const bool isShadow = (x == 2 || x == 3) && (y == 2 || y == 3);
            EXPECT_EQ(*pixelOf(shadow, x, y), isShadow ? 64 : 0) << x << ", " << y;
            const uint8_t *const pixel = pixelOf(newCanvas, x, y);
            EXPECT_EQ(Bytes(pixel, pixel + 3), Bytes({3, 2, 1}));
        }
}

TEST_F(Shadow, AloneEverySize)
{
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            const auto seed = static_cast<uint32_t>(100 * width + height);
            const int blur = 2 + (width + height) % 9;
            Pieces alpha = seed % 3 ? runMask(width, height, seed) : gray(width, height, seed);
            alpha.header.biXPelsPerMeter = -5;
            expectShadowOnly(alpha, {width, height, seed * 99u & 0xFFFFFF, blur}, blur, blur);
        }
}

// The room follows the size of the blur, the blur its sign.
TEST_F(Shadow, AloneTheBlurIsHeld)
{
    const Pieces alpha = gray(7, 5);
    struct Case {
        int blur, beside, size;
    };
    for (const auto &[blur, beside, size] : {Case{0, 2, 2},
                                             {1, 2, 2},
                                             {-1, 2, 2},
                                             {2, 2, 2},
                                             {-20, 20, 2},
                                             {20, 20, 20},
                                             {32, 32, 32},
                                             {50, 32, 32},
                                             {-50, 32, 2},
                                             {INT_MAX, 32, 32},
                                             {INT_MIN, 32, 2}})
        expectShadowOnly(alpha, {1, 2, 0x808080, blur}, beside, size);
}

} // namespace

} // namespace velmont::testing
