// Copying in, in its three forms.

#include "masks/composite_kernels.h"
#include "platform/memory.h"
#include "tests/effects/compositing_testing.h"
#include "tests/effects/geometry_testing.h"
#include <climits>
#include <gtest/gtest.h>
#include <velmont/compositing.h>

namespace velmont::testing {

namespace {

class CopyIn : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

constexpr int kBothDepths[] = {8, 24};

/// A call on a destination with a source of one's own.
Changed copy(const Pieces &destination, const Pieces &source, int x, int y, int wrap)
{
    const Handle from = source.handle();
    const Changed changed =
        changedBy(destination, [&](void *to) { return ProcessCopyIn(to, from, x, y, wrap); });
    EXPECT_EQ(bytesOf(from), source.bytes());
    EXPECT_EQ(memory_hooks::locksOn(from), 0);
    return changed;
}

TEST_F(CopyIn, ColumnsBeforeTheDestinationAreDropped)
{
    const Pieces destination = levelRow({1, 2, 3, 4, 5, 6, 7, 8});
    const Pieces source = levelRow({10, 11, 12, 13, 14, 15, 16});
    EXPECT_EQ(copy(destination, source, -5, 0, 0),
              (Changed{true, levelRow({15, 16, 3, 4, 5, 6, 7, 8}).bytes()}));
    EXPECT_EQ(copy(destination, source, 6, 0, 0),
              (Changed{true, levelRow({1, 2, 3, 4, 5, 6, 10, 11}).bytes()}));
}

TEST_F(CopyIn, WhatLeavesComesInAgain)
{
    const Pieces destination = levelRow({1, 2, 3, 4, 5, 6, 7, 8});
    const Pieces source = levelRow({10, 11, 12});
    EXPECT_EQ(copy(destination, source, 6, 0, 1),
              (Changed{true, levelRow({12, 2, 3, 4, 5, 6, 10, 11}).bytes()}));
    EXPECT_EQ(copy(destination, source, -1, -7, -3),
              (Changed{true, levelRow({11, 12, 3, 4, 5, 6, 7, 10}).bytes()}));
}

TEST_F(CopyIn, LaterPixelsOfALargeSourceStay)
{
    const Pieces destination = grayRows({{1, 2, 3}, {4, 5, 6}});
    const Pieces source = grayRows({{10, 11, 12, 13}, {20, 21, 22, 23}, {30, 31, 32, 33}});
    EXPECT_EQ(copy(destination, source, 0, 0, 1),
              (Changed{true, grayRows({{33, 31, 32}, {23, 21, 22}}).bytes()}));
}

TEST_F(CopyIn, FourArgumentsCutAtTheEdges)
{
    for (const int bits : kBothDepths) {
        const Pieces destination = sampled(bits, 9, 7, 1), source = sampled(bits, 6, 5, 2);
        const Handle from = source.handle();
        for (const auto &[x, y] : {std::pair{0, 0}, {-2, 3}, {5, -4}, {9, 0}}) {
            const Changed four =
                changedBy(destination, [&](void *to) { return ProcessCopyIn(to, from, x, y); });
            EXPECT_EQ(four, copy(destination, source, x, y, 0));
            EXPECT_EQ(four.bytes, copiedIn(destination, &source, x, y, false).bytes());
        }
    }
}

// Padding included: what is no pixel stays.
TEST_F(CopyIn, EverySize)
{
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (const int bits : kBothDepths) {
                const auto seed = static_cast<uint32_t>(width * 100 + height);
                const Pieces destination = sampled(bits, 1 + (width * 7) % 23, 1 + (height * 5) % 11, seed);
                const Pieces source = sampled(bits, width, height, seed + 1);
                const int x = width % 9 - 4, y = height % 7 - 3;
                for (const int wrap : {0, 1}) {
                    const Changed changed = copy(destination, source, x * (wrap ? 11 : 1), y, wrap);
                    const Pieces expected = copiedIn(destination, &source, x * (wrap ? 11 : 1), y, wrap != 0);
                    ASSERT_TRUE(changed.answer && changed.bytes == expected.bytes())
                        << width << " x " << height << ", " << bits << " bits, wrap " << wrap;
                }
            }
}

TEST_F(CopyIn, AnyPlaceIsTaken)
{
    constexpr int kFar[] = {INT_MIN, INT_MIN + 1, -1000000007, -8, 8, 1000000007, INT_MAX - 1, INT_MAX};
    for (const int bits : kBothDepths) {
        const Pieces destination = sampled(bits, 7, 5, 1), source = sampled(bits, 8, 8, 2);
        for (const int x : kFar)
            for (const int y : kFar) {
                EXPECT_EQ(copy(destination, source, x, y, 0), (Changed{true, destination.bytes()}));
                EXPECT_EQ(copy(destination, source, x, y, 1),
                          (Changed{true, copiedIn(destination, &source, x, y, true).bytes()}));
            }
    }
}

TEST_F(CopyIn, IndicesOfASourceAreLevels)
{
    const Pieces destination = gray(9, 7);
    for (const uint32_t colors : {0u, 9u, 256u, 300u}) {
        const Pieces source = paletted(6, 5, 8, colors, 3);
        EXPECT_EQ(copy(destination, source, 1, 1, 0),
                  (Changed{true, copiedIn(destination, &source, 1, 1, false).bytes()}));
    }
}

TEST_F(CopyIn, AnImageIntoItself)
{
    for (const int bits : kBothDepths) {
        const Pieces image = sampled(bits, 13, 7, 4);
        for (const auto &[x, y] : {std::pair{0, 0}, {1, 0}, {-1, 0}, {0, 1}, {3, -2}, {-5, 4}, {12, 6}})
            for (const int wrap : {0, 1})
                EXPECT_EQ(changedBy(image, [&](void *both) { return ProcessCopyIn(both, both, x, y, wrap); }),
                          (Changed{true, copiedIn(image, nullptr, x, y, wrap != 0).bytes()}))
                    << x << ", " << y << ", wrap " << wrap;
    }
    const Pieces row = levelRow({1, 2, 3, 4, 5});
    EXPECT_EQ(changedBy(row, [](void *both) { return ProcessCopyIn(both, both, 1, 0); }).bytes,
              levelRow({1, 1, 1, 1, 1}).bytes());
}

// Larger than the caches, where stores go past them.
TEST_F(CopyIn, LargeImages)
{
    const Pieces destination = trueColor(3001, 2801, 1), source = trueColor(3003, 2803, 2);
    EXPECT_TRUE(copy(destination, source, -2, 5, 1).bytes ==
                copiedIn(destination, &source, -2, 5, true).bytes());
}

TEST_F(CopyIn, RefusesWhatDoesNotFit)
{
    const std::vector<Pieces> all = everyDepth(6, 5);
    const Handle good = gray(6, 5).handle();
    for (const Pieces &destination : all)
        for (const Pieces &source : all) {
            const bool isServed =
                isSampled(destination) && destination.header.biBitCount == source.header.biBitCount;
            const Handle from = source.handle();
            for (const int form : {4, 5, 7}) {
                const Changed changed = changedBy(destination, [&](void *to) {
                    return form == 4   ? ProcessCopyIn(to, from, 0, 0)
                           : form == 5 ? ProcessCopyIn(to, from, 0, 0, 1)
                                       : ProcessCopyIn(to, good, from, 0, 0, 1, 1);
                });
                EXPECT_EQ(changed.answer, isServed);
                if (!isServed) {
                    EXPECT_EQ(changed.bytes, destination.bytes());
                }
            }
        }
    for (const int bits : {0, 2, 16, 32}) {
        const Pieces other = paletted(6, 5, bits, 0);
        const Handle from = other.handle();
        EXPECT_EQ(changedBy(other, [&](void *to) { return ProcessCopyIn(to, from, 0, 0); }),
                  (Changed{false, other.bytes()}));
    }
}

TEST_F(CopyIn, RefusesBadHandles)
{
    const Pieces image = trueColor(6, 5), mask = gray(6, 5);
    const Handle good = image.handle(), alpha = mask.handle();
    void *stale = nullptr;
    {
        const Handle freed = image.handle();
        stale = freed;
    }
    int local = 0;
    for (void *const bad : {static_cast<void *>(nullptr), stale, static_cast<void *>(&local)}) {
        EXPECT_FALSE(ProcessCopyIn(bad, good, 0, 0));
        EXPECT_FALSE(ProcessCopyIn(good, bad, 0, 0));
        EXPECT_FALSE(ProcessCopyIn(bad, good, 0, 0, 1));
        EXPECT_FALSE(ProcessCopyIn(good, bad, 0, 0, 1));
        EXPECT_FALSE(ProcessCopyIn(bad, alpha, good, 0, 0, 1, 1));
        EXPECT_FALSE(ProcessCopyIn(good, bad, good, 0, 0, 1, 1));
        EXPECT_FALSE(ProcessCopyIn(good, alpha, bad, 0, 0, 1, 1));
    }
    EXPECT_EQ(bytesOf(good), image.bytes());
    EXPECT_EQ(memory_hooks::locksOn(good), 0);
    EXPECT_EQ(memory_hooks::locksOn(alpha), 0);
}

TEST_F(CopyIn, RefusesHeadersThatLie)
{
    const Handle color = trueColor(5, 3).handle(), level = gray(5, 3).handle();
    const auto answer = [](bool done) { return done ? KelMemAlloc(0, 1) : nullptr; };
    for (void *const good : {static_cast<void *>(color), static_cast<void *>(level)}) {
        expectLiesRefused([&](void *bad) { return answer(ProcessCopyIn(bad, good, 0, 0)); });
        expectLiesRefused([&](void *bad) { return answer(ProcessCopyIn(good, bad, 0, 0, 1)); });
        expectLiesRefused([&](void *bad) { return answer(ProcessCopyIn(bad, level, good, 0, 0, 1, 1)); });
        expectLiesRefused([&](void *bad) { return answer(ProcessCopyIn(good, bad, good, 0, 0, 1, 1)); });
        expectLiesRefused([&](void *bad) { return answer(ProcessCopyIn(good, level, bad, 0, 0, 1, 1)); });
    }
}

TEST_F(CopyIn, AFailedLockIsARefusal)
{
    const Pieces image = trueColor(6, 5);
    const Handle from = trueColor(6, 5, 2).handle(), alpha = gray(6, 5).handle();
    for (int n = 1; n <= 3; ++n) {
        EXPECT_EQ(changedBy(image,
                            [&](void *to) {
                                memory_hooks::failLock(n);
                                return n < 3 ? ProcessCopyIn(to, from, 0, 0)
                                             : ProcessCopyIn(to, alpha, from, 0, 0, 1, 1);
                            }),
                  (Changed{false, image.bytes()}));
        memory_hooks::failLock(0);
    }
}

/// A call through a mask, with images of one's own.
Changed composite(const Pieces &destination, const Pieces &alpha, const Pieces &source, int x, int y,
                  int blend, int polarity)
{
    const Handle mask = alpha.handle(), from = source.handle();
    const Changed changed = changedBy(
        destination, [&](void *to) { return ProcessCopyIn(to, mask, from, x, y, blend, polarity); });
    EXPECT_EQ(bytesOf(mask), alpha.bytes());
    EXPECT_EQ(bytesOf(from), source.bytes());
    EXPECT_EQ(memory_hooks::locksOn(mask) + memory_hooks::locksOn(from), 0);
    return changed;
}

TEST_F(CopyIn, AlphaByHand)
{
    const Pieces destination = levelRow({100, 100, 100, 100, 100, 0, 255});
    const Pieces source = levelRow({200, 200, 200, 200, 0, 255, 0});
    const Pieces alpha = levelRow({0, 1, 128, 255, 254, 127, 128});
    // (200 + 100 * 254 + 127) / 255 = 100.9; (200 * 128 + 100 * 127 + 127) / 255 = 150.7; (100 + 127) / 255 = 0.9;
    // (255 * 127 + 127) / 255 = 127.5; (255 * 127 + 127) / 255 = 127.5.
    EXPECT_EQ(composite(destination, alpha, source, 0, 0, 1, 1),
              (Changed{true, levelRow({100, 100, 150, 200, 0, 127, 127}).bytes()}));
    // 255 - alpha: 255, 254, 127, 0, 1, 128, 127.
    EXPECT_EQ(composite(destination, alpha, source, 0, 0, 1, 0),
              (Changed{true, levelRow({200, 200, 150, 100, 100, 128, 128}).bytes()}));
    EXPECT_EQ(composite(destination, alpha, source, 0, 0, 0, 1),
              (Changed{true, levelRow({100, 200, 200, 200, 0, 255, 0}).bytes()}));
    EXPECT_EQ(composite(destination, alpha, source, 0, 0, 0, 0),
              (Changed{true, levelRow({200, 200, 200, 100, 0, 255, 0}).bytes()}));
}

TEST_F(CopyIn, EachChannelOfAPixelHasItsAlpha)
{
    const Pieces destination = pixelRow({10, 20, 30, 40, 50, 60, 70, 80, 90});
    const Pieces source = pixelRow({110, 120, 130, 140, 150, 160, 170, 180, 190});
    // (110 * 51 + 10 * 204 + 127) / 255 = 30.5, and so on.
    EXPECT_EQ(composite(destination, levelRow({51, 0, 255}), source, 0, 0, 1, 1),
              (Changed{true, pixelRow({30, 40, 50, 40, 50, 60, 170, 180, 190}).bytes()}));
}

TEST_F(CopyIn, OutsideTheMaskNothingIsTakenUnlessInverted)
{
    const Pieces destination = grayRows({{1, 2, 3, 4}, {5, 6, 7, 8}});
    const Pieces source = grayRows({{11, 12, 13, 14}, {15, 16, 17, 18}});
    const Pieces alpha = levelRow({255, 0});
    for (const int blend : {0, 1}) {
        EXPECT_EQ(composite(destination, alpha, source, 0, 0, blend, 1),
                  (Changed{true, grayRows({{11, 2, 3, 4}, {5, 6, 7, 8}}).bytes()}));
        EXPECT_EQ(composite(destination, alpha, source, 0, 0, blend, 0),
                  (Changed{true, grayRows({{1, 12, 13, 14}, {15, 16, 17, 18}}).bytes()}));
    }
    // The mask starts with the source, and not with what of it meets the destination.
    EXPECT_EQ(composite(destination, alpha, source, -1, 0, 1, 0),
              (Changed{true, grayRows({{12, 13, 14, 4}, {16, 17, 18, 8}}).bytes()}));
    EXPECT_EQ(composite(destination, alpha, source, 0, -1, 1, 0),
              (Changed{true, grayRows({{15, 16, 17, 18}, {5, 6, 7, 8}}).bytes()}));
}

// Every source, destination and alpha there is.
TEST_F(CopyIn, TheDivisionIsExact)
{
    std::vector<Bytes> across(256), along(256);
    for (std::size_t y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x) {
            across[y].push_back(static_cast<uint8_t>(x));
            along[y].push_back(static_cast<uint8_t>(y));
        }
    const Pieces source = grayRows(across), destination = grayRows(along);
    const Handle from = source.handle();
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (unsigned a = 0; a < 256; ++a) {
            Pieces alpha = source;
            std::fill(alpha.rows.begin(), alpha.rows.end(), static_cast<uint8_t>(a));
            const Handle mask = alpha.handle(), to = destination.handle();
            ASSERT_TRUE(ProcessCopyIn(to, mask, from, 0, 0, 1, 1));
            const Bytes result = bytesOf(to);
            unsigned wrong = 0;
            for (unsigned d = 0; d < 256; ++d)
                for (unsigned s = 0; s < 256; ++s)
                    wrong += result[1064 + 256 * d + s] != (s * a + d * (255 - a) + 127) / 255;
            ASSERT_EQ(wrong, 0u) << a;
        }
    }
}

TEST_F(CopyIn, EverySizeThroughAMask)
{
    const auto levels = cpuLevels();
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (const int bits : kBothDepths) {
                const auto seed = static_cast<uint32_t>(width * 100 + height);
                const Pieces destination = sampled(bits, 1 + (width * 7) % 37, 1 + (height * 5) % 11, seed);
                const Pieces source = sampled(bits, width, height, seed + 1);
                const Pieces alpha = seed % 2
                                         ? gray(1 + (width * 3) % 41, 1 + (height * 7) % 19, seed + 2)
                                         : runMask(1 + (width * 3) % 41, 1 + (height * 7) % 19, seed + 2);
                const int x = width % 9 - 4, y = height % 7 - 3;
                limitCpuLevel(levels[seed % levels.size()]);
                for (int mode = 0; mode < 4; ++mode) {
                    const Changed changed =
                        composite(destination, alpha, source, x, y, mode & 1 ? -4 : 0, mode & 2 ? 7 : 0);
                    const Pieces expected =
                        composited(destination, &alpha, &source, x, y, (mode & 1) != 0, (mode & 2) == 0);
                    ASSERT_TRUE(changed.answer && changed.bytes == expected.bytes())
                        << width << " x " << height << ", " << bits << " bits, mode " << mode;
                }
            }
}

// Rows of several vectors, masks of runs.
TEST_F(CopyIn, WideImagesAtEachLevel)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        for (const int bits : kBothDepths)
            for (int width = 90; width < 235; width += 12) {
                const auto seed = static_cast<uint32_t>(width);
                const Pieces destination = sampled(bits, width + 5, 3, seed);
                const Pieces source = sampled(bits, width, 3, seed + 1);
                const Pieces alpha = runMask(width - 1, 3, seed + 2);
                for (int mode = 0; mode < 4; ++mode)
                    ASSERT_EQ(composite(destination, alpha, source, width % 5, 0, mode & 1, mode & 2).bytes,
                              composited(destination, &alpha, &source, width % 5, 0, (mode & 1) != 0,
                                         (mode & 2) == 0)
                                  .bytes())
                        << width;
            }
    }
}

TEST_F(CopyIn, AnyPlaceIsTakenThroughAMask)
{
    const Pieces destination = trueColor(7, 5, 1), source = trueColor(8, 8, 2), alpha = gray(8, 8, 3);
    for (const int far : {INT_MIN, -1000000007, -8, 7, 1000000007, INT_MAX})
        for (const int polarity : {0, 1}) {
            EXPECT_EQ(composite(destination, alpha, source, far, 0, 1, polarity),
                      (Changed{true, destination.bytes()}));
            EXPECT_EQ(composite(destination, alpha, source, 0, far, 1, polarity),
                      (Changed{true, destination.bytes()}));
        }
}

TEST_F(CopyIn, OneImageInSeveralRoles)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        const Pieces image = gray(77, 5, 1), other = runMask(77, 5, 2);
        const Handle handle = other.handle();
        for (const auto &[x, y] : {std::pair{0, 0}, {1, 0}, {-1, 0}, {0, 1}, {3, -1}, {-40, 2}})
            for (int mode = 0; mode < 4; ++mode) {
                const int blend = mode & 1, polarity = mode & 2;
                const bool blends = blend != 0, inverted = polarity == 0;
                const auto call = [&](auto run) { return changedBy(image, run).bytes; };
                EXPECT_EQ(call([&](void *d) { return ProcessCopyIn(d, handle, d, x, y, blend, polarity); }),
                          composited(image, &other, nullptr, x, y, blends, inverted).bytes());
                EXPECT_EQ(call([&](void *d) { return ProcessCopyIn(d, d, handle, x, y, blend, polarity); }),
                          composited(image, nullptr, &other, x, y, blends, inverted).bytes());
                EXPECT_EQ(call([&](void *d) { return ProcessCopyIn(d, d, d, x, y, blend, polarity); }),
                          composited(image, nullptr, nullptr, x, y, blends, inverted).bytes());
            }
    }
}

TEST_F(CopyIn, AMaskMustBeGray)
{
    const Pieces destination = trueColor(6, 5), source = trueColor(6, 5, 2);
    const Handle from = source.handle();
    for (const Pieces &alpha : everyDepth(6, 5)) {
        const Handle mask = alpha.handle();
        const Changed changed =
            changedBy(destination, [&](void *to) { return ProcessCopyIn(to, mask, from, 0, 0, 1, 1); });
        const bool isGray = alpha.header.biBitCount == 8 && isSampled(alpha);
        EXPECT_EQ(changed.answer, isGray);
        EXPECT_EQ(changed.bytes == destination.bytes(), !isGray);
    }
}

} // namespace

} // namespace velmont::testing
