// Melting and splash, and the warps of cut-outs: an image and its alpha mask.

#include "core/generator.h"
#include "platform/memory.h"
#include "tests/effects/warp_testing.h"
#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <velmont/dib.h>
#include <velmont/effects.h>
#include <velmont/geometry.h>

namespace velmont::testing {

namespace {

Effect melting(int amount)
{
    return [=](void *dib) { return ProcessMelting(dib, amount); };
}
Effect splash(int amount)
{
    return [=](void *dib) { return ProcessSplash(dib, amount); };
}

/// A warp of a cut-out.
using Warp = std::function<int(void *dib, void *alpha, void **newDib, void **newAlpha)>;

Warp meltingPair(int amount)
{
    return [=](void *dib, void *alpha, void **newDib, void **newAlpha) {
        return ProcessMelting(dib, alpha, amount, newDib, newAlpha);
    };
}
Warp splashPair(int amount)
{
    return [=](void *dib, void *alpha, void **newDib, void **newAlpha) {
        return ProcessSplash(dib, alpha, amount, newDib, newAlpha);
    };
}
Warp wrinklePair(int strength, uint32_t color = 0x00C08040)
{
    return [=](void *dib, void *alpha, void **newDib, void **newAlpha) {
        tagParamWrinkle record{strength, color};
        return ProcessWrinkle(dib, alpha, &record, newDib, newAlpha);
    };
}

const std::array<Warp, 3> kWarps{meltingPair(60), splashPair(40), wrinklePair(70)};

/// An image and its mask.
struct Pair {
    Pieces image, alpha;
};

/// The bytes of both results.
struct PairBytes {
    Bytes image, alpha;
    bool operator==(const PairBytes &) const = default;
};

PairBytes bytesOfPair(const Pair &pair)
{
    return {pair.image.bytes(), pair.alpha.bytes()};
}

Pair pairOf(const Pieces &image, uint32_t seed = 7)
{
    return {image, gray(image.header.biWidth, image.header.biHeight, seed)};
}

PairBytes resultOf(const Pair &source, const Warp &warp)
{
    const Handle image = source.image.handle(), alpha = source.alpha.handle();
    void *newImage = nullptr, *newAlpha = nullptr;
    EXPECT_EQ(warp(image, alpha, &newImage, &newAlpha), 1);
    const Handle imageOwner(newImage), alphaOwner(newAlpha);
    EXPECT_EQ(bytesOf(image), source.image.bytes());
    EXPECT_EQ(bytesOf(alpha), source.alpha.bytes());
    for (void *const each : {static_cast<void *>(image), static_cast<void *>(alpha), newImage, newAlpha})
        EXPECT_EQ(memory_hooks::locksOn(each), 0);
    return newImage && newAlpha ? PairBytes{bytesOf(newImage), bytesOf(newAlpha)} : PairBytes{};
}

Warp seeded(uint32_t state, const Warp &warp)
{
    return [=](void *dib, void *alpha, void **newDib, void **newAlpha) {
        velmont::srand(state);
        return warp(dib, alpha, newDib, newAlpha);
    };
}
Effect seeded(uint32_t state, const Effect &effect)
{
    return [=](void *dib) {
        velmont::srand(state);
        return effect(dib);
    };
}

class Scattering : public ::testing::Test {
protected:
    template <typename Check>
    void forSmallImages(Check check)
    {
        for (const CpuLevel level : cpuLevels()) {
            limitCpuLevel(level);
            for (int width = 1; width <= 40; ++width)
                for (int height = 1; height <= 20; ++height)
                    for (const Pieces &image : {gray(width, height), trueColor(width, height)})
                        ASSERT_NO_FATAL_FAILURE(check(image)) << width << " x " << height;
        }
    }

    NothingLost check_;
    Restore restore_;
};

int sumOf(const Bytes &pixel)
{
    int sum = 0;
    for (const uint8_t sample : pixel)
        sum += sample;
    return sum;
}

void swapPixels(Pieces &image, int x, int a, int b)
{
    const Bytes first = pixelOf(image, x, a), second = pixelOf(image, x, b);
    setPixel(image, x, a, second);
    setPixel(image, x, b, first);
}

Pieces melted(Pieces image, uint32_t state, int amount)
{
    const int width = image.header.biWidth, height = image.header.biHeight;
    Numbers numbers(state);
    for (int i = 0; i < width * height / 100 * amount; ++i) {
        const int x = numbers.next() % width;
        int y = numbers.next() % height;
        const int a = y > 1 ? sumOf(pixelOf(image, x, y)) : 0;
        while (y > 1 && a <= sumOf(pixelOf(image, x, y - 1))) {
            swapPixels(image, x, y, y - 1);
            --y;
        }
    }
    return image;
}

/// What 256 divides `value` into, rounded down.
int by256(int value)
{
    return value >= 0 ? value / 256 : -((-value + 255) / 256);
}

int rankOf(const Pair &pair, int x, int y)
{
    const Bytes pixel = pixelOf(pair.image, x, y);
    const int alpha = pixelOf(pair.alpha, x, y)[0];
    return pixel.size() == 1 ? by256(alpha * pixel[0] + 127)
                             : 255 - by256((600 - sumOf(pixel)) * alpha + 127);
}

Pair melted(Pair pair, uint32_t state, int amount)
{
    const int width = pair.image.header.biWidth, height = pair.image.header.biHeight;
    Numbers numbers(state);
    for (int i = 0; i < width * height / 100 * amount; ++i) {
        const int x = numbers.next() % width;
        int y = numbers.next() % height;
        if (y >= height - 2)
            continue;
        const int rising = rankOf(pair, x, y);
        while (y < height - 2 && rising >= rankOf(pair, x, y + 1)) {
            swapPixels(pair.image, x, y, y + 1);
            swapPixels(pair.alpha, x, y, y + 1);
            ++y;
        }
    }
    return pair;
}

/// Draws the places that the pixels of a splash come from, in stored order.
std::vector<Place> splashPlaces(int width, int height, int amount, Numbers &numbers)
{
    const int m = std::clamp(amount / 2, 1, 50) + 1;
    std::vector<Place> places;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int dx = m / 2 - numbers.next() % m;
            const int dy = m / 2 - numbers.next() % m;
            places.push_back({std::clamp(x + dx, 0, width - 1), std::clamp(y + dy, 0, height - 1)});
        }
    return places;
}

Pieces movedTo(const Pieces &image, const std::vector<Place> &places)
{
    return movedPixels(image, 0, [&](int x, int y) {
        return places[static_cast<std::size_t>(y * image.header.biWidth + x)];
    });
}

// Melting.

TEST_F(Scattering, MeltingRefusals)
{
    const Handle image = gray(5, 4).handle();
    for (const int bad : {INT32_MIN, -1, 0, 101, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(image, melting(bad)), Events{}) << bad;
    EXPECT_EQ(eventsOfRefusal(nullptr, melting(10)), Events{});
    for (const Pieces &other : {paletted(5, 4, 8, 256), paletted(5, 4, 8, 9), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        EXPECT_EQ(eventsOfRefusal(other.handle(), melting(10)), Events{});
    expectLiesRefused(melting(10));
}

/// A gray image of 10 x 10 with these levels in column 1.
Pieces withColumn(const Bytes &column)
{
    Pieces image = gray(10, 10);
    for (int y = 0; y < 10; ++y)
        setPixel(image, 1, y, {column[static_cast<std::size_t>(y)]});
    return image;
}

TEST_F(Scattering, MeltingByHand)
{
    // From state 1 the first numbers are 41 and 18467: one drop, at column 1 and row 7.
    EXPECT_EQ(resultOf(withColumn({90, 80, 50, 60, 70, 30, 40, 20, 5, 6}), seeded(1, melting(1))),
              withColumn({90, 20, 80, 50, 60, 70, 30, 40, 5, 6}).bytes());
    // It passes its equals and stays above the first that is darker.
    EXPECT_EQ(resultOf(withColumn({90, 80, 50, 19, 70, 20, 40, 20, 5, 6}), seeded(1, melting(1))),
              withColumn({90, 80, 50, 19, 20, 70, 20, 40, 5, 6}).bytes());
    EXPECT_EQ(resultOf(withColumn({90, 80, 50, 60, 70, 30, 19, 20, 5, 6}), seeded(1, melting(1))),
              withColumn({90, 80, 50, 60, 70, 30, 19, 20, 5, 6}).bytes());
}

TEST_F(Scattering, MeltingLeavesLowImages)
{
    for (const int height : {1, 2})
        for (const Pieces &image : {gray(400, height), trueColor(300, height)})
            EXPECT_EQ(resultOf(image, melting(100)), image.bytes());
    // Below a hundred pixels there is no drop.
    for (const Pieces &image : {gray(11, 9), trueColor(9, 11)})
        EXPECT_EQ(resultOf(image, melting(100)), image.bytes());
}

TEST_F(Scattering, MeltingOfOneColorIsNotSeen)
{
    for (Pieces image : {gray(20, 30), trueColor(20, 30)}) {
        std::fill(image.rows.begin(), image.rows.end(), uint8_t{99});
        EXPECT_EQ(resultOf(image, melting(100)), image.bytes());
    }
}

TEST_F(Scattering, MeltingAsThePlainLoop)
{
    uint32_t state = 0;
    forSmallImages([&](const Pieces &image) {
        state += 99;
        const int amount = static_cast<int>(state % 100) + 1;
        ASSERT_EQ(resultOf(image, seeded(state, melting(amount))), melted(image, state, amount).bytes())
            << amount;
    });
    for (const Pieces &image : {gray(61, 190), trueColor(43, 201)})
        for (const int amount : {1, 100})
            EXPECT_EQ(resultOf(image, seeded(5, melting(amount))), melted(image, 5, amount).bytes());
}

TEST_F(Scattering, MeltingGoesOnWithTheGenerator)
{
    const Pieces image = trueColor(40, 50);
    velmont::srand(3);
    const Bytes first = resultOf(image, melting(10));
    EXPECT_NE(resultOf(image, melting(10)), first);
    Numbers numbers(3);
    for (int i = 0; i < 2 * 2 * 200; ++i)
        numbers.next();
    EXPECT_EQ(velmont::rand(), numbers.next());
}

/// 2100 drops: a poll each, and reports where 0x4FF has no bit in common with the number.
Events dropEvents()
{
    Events events;
    for (int i = 0; i < 2100; ++i) {
        events.push_back("poll");
        for (const auto &[at, percent] :
             {std::pair{0, "0%"}, {256, "12%"}, {512, "24%"}, {768, "36%"}, {2048, "97%"}})
            if (i == at)
                events.push_back(percent);
    }
    return events;
}

TEST_F(Scattering, MeltingEvents)
{
    for (const Pieces &image : {gray(60, 50), trueColor(60, 50)})
        EXPECT_EQ(eventsOf(image, melting(70)), joined({{"wait", "poll"}, dropEvents(), {"100%", "arrow"}}));
    for (const Pieces &image : {gray(14, 15), trueColor(14, 15)}) {
        expectAborts(image, melting(13), 1);
        expectFailuresSurvived(image, melting(13));
        const Handle handle = image.handle();
        memory_hooks::failAllocation(1);
        EXPECT_EQ(eventsOfRefusal(handle, melting(13)), (Events{"wait", "arrow"}));
        memory_hooks::failAllocation(0);
    }
}

// Splash.

TEST_F(Scattering, SplashRefusals)
{
    EXPECT_EQ(eventsOfRefusal(nullptr, splash(10)), Events{});
    for (const Pieces &other : {paletted(5, 4, 8, 256), paletted(5, 4, 8, 9), paletted(5, 4, 4, 16),
                                paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
        EXPECT_EQ(eventsOfRefusal(other.handle(), splash(10)), Events{});
    expectLiesRefused(splash(10));
}

TEST_F(Scattering, SplashByHand)
{
    // A range of 2: even numbers lead one on, odd ones stay. From state 3 * 2 they are 58 and 6673, 30119 and 15745,
    // 5206 and 2589, 27040 and 14722, 11216 and 26492, 4966 and 28365: a column's and a row's for each pixel.
    const Pieces image = levels({{1, 2, 3}, {4, 5, 6}});
    for (const int amount : {INT32_MIN, -5, 0, 1, 2, 3})
        EXPECT_EQ(resultOf(image, splash(amount)), levels({{2, 2, 3}, {5, 6, 6}}).bytes()) << amount;
}

TEST_F(Scattering, SplashHoldsItsAmount)
{
    const Pieces image = trueColor(90, 70);
    const Bytes most = resultOf(image, splash(100));
    EXPECT_NE(resultOf(image, splash(99)), most);
    for (const int amount : {101, 1000, INT32_MAX})
        EXPECT_EQ(resultOf(image, splash(amount)), most);
}

TEST_F(Scattering, SplashRepeatsItself)
{
    const Pieces image = gray(90, 70);
    const Bytes first = resultOf(image, seeded(1, splash(30)));
    EXPECT_EQ(resultOf(image, splash(30)), first);
    EXPECT_EQ(resultOf(image, seeded(2, splash(30))), first);
}

TEST_F(Scattering, SplashAsThePlainLoop)
{
    int amount = 0;
    forSmallImages([&](const Pieces &image) {
        amount = amount % 103 + 1;
        const int width = image.header.biWidth, height = image.header.biHeight;
        Numbers numbers(static_cast<uint32_t>(width * height));
        const auto places = splashPlaces(width, height, amount, numbers);
        ASSERT_EQ(resultOf(image, splash(amount)), movedTo(image, places).bytes()) << amount;
        ASSERT_EQ(velmont::rand(), numbers.next()) << "the state left behind";
    });
    // Every range, over more than one run of pixels, meets most numbers below 2^15.
    for (const Pieces &image : {gray(531, 60), trueColor(270, 60)})
        for (int each = 1; each <= 101; each += 2) {
            Numbers numbers(static_cast<uint32_t>(image.header.biWidth * image.header.biHeight));
            const auto places = splashPlaces(image.header.biWidth, image.header.biHeight, each, numbers);
            ASSERT_EQ(resultOf(image, splash(each)), movedTo(image, places).bytes()) << each;
        }
}

TEST_F(Scattering, SplashEvents)
{
    for (const Pieces &image : {gray(9, 37), trueColor(9, 37)}) {
        EXPECT_EQ(eventsOf(image, splash(40)), joined({{"wait", "poll"}, rowEvents(37), {"100%", "arrow"}}));
        expectAborts(image, splash(40), 1);
        expectFailuresSurvived(image, splash(40));
    }
}

// Cut-outs.

TEST_F(Scattering, PairRefusals)
{
    const Pair pair = pairOf(trueColor(12, 11));
    const Handle image = pair.image.handle(), alpha = pair.alpha.handle();
    char sentinel = 0;
    const auto refuses = [&](const Warp &warp, void *dib, void *mask) {
        RecordingHost host;
        void *first = &sentinel, *second = &sentinel;
        EXPECT_EQ(warp(dib, mask, &first, &second), 0);
        EXPECT_EQ(first, &sentinel);
        EXPECT_EQ(second, &sentinel);
        EXPECT_EQ(host.events, Events{});
        EXPECT_EQ(memory_hooks::locksOn(dib), 0);
        EXPECT_EQ(memory_hooks::locksOn(mask), 0);
    };
    for (const int bad : {INT32_MIN, -1, 0, 101, INT32_MAX}) {
        refuses(meltingPair(bad), image, alpha);
        refuses(wrinklePair(bad), image, alpha);
    }
    refuses([](void *dib, void *mask, void **first,
               void **second) { return ProcessWrinkle(dib, mask, nullptr, first, second); },
            image, alpha);
    for (const Warp &warp : kWarps) {
        refuses(warp, nullptr, alpha);
        refuses(warp, image, nullptr);
        refuses(warp, nullptr, nullptr);
        for (const Pieces &other : {trueColor(12, 11), paletted(12, 11, 8, 256), paletted(12, 11, 8, 9),
                                    paletted(12, 11, 4, 16), paletted(12, 11, 1, 2)})
            refuses(warp, image, other.handle());
        for (const Pieces &other : {paletted(12, 11, 8, 256), paletted(12, 11, 4, 16), paletted(12, 11, 1, 2),
                                    paletted(12, 11, 16, 0), paletted(12, 11, 32, 0)})
            refuses(warp, other.handle(), alpha);
        // Masks of too few bytes, by their measures or against their own header.
        refuses(warp, image, gray(12, 10).handle());
        refuses(warp, image, gray(8, 11).handle());
        Bytes cut = pair.alpha.bytes();
        cut.pop_back();
        refuses(warp, image, blockOf(cut));
        refuses(warp, blockOf(Bytes(10)), alpha);

        RecordingHost host;
        void *slot = &sentinel;
        EXPECT_EQ(warp(image, alpha, nullptr, &slot), 0);
        EXPECT_EQ(warp(image, alpha, &slot, nullptr), 0);
        EXPECT_EQ(warp(image, alpha, nullptr, nullptr), 0);
        EXPECT_EQ(slot, &sentinel);
        EXPECT_EQ(host.events, Events{});
        // Headers that lie, for either.
        expectLiesRefused([&](void *dib) {
            refuses(warp, dib, alpha);
            return nullptr;
        });
        expectLiesRefused([&](void *dib) {
            refuses(warp, image, dib);
            return nullptr;
        });
    }
}

TEST_F(Scattering, PairTakesMasksOfOtherMeasures)
{
    // Six rows of 24 pixels for what the image takes as twelve rows of 12: its own stride counts.
    const Pair pair{trueColor(12, 12), gray(24, 6)};
    for (const Warp &warp : kWarps) {
        const PairBytes result = resultOf(pair, warp);
        EXPECT_EQ(result.alpha.size(), 1064u + 144);
        EXPECT_TRUE(
            std::equal(result.alpha.begin(), result.alpha.begin() + 1064, pair.alpha.bytes().begin()));
    }
    // Of a longer mask the rest is not carried over.
    for (const Warp &warp : kWarps)
        EXPECT_EQ(resultOf(Pair{trueColor(12, 12), gray(12, 13)}, warp).alpha.size(), 1064u + 144);
}

TEST_F(Scattering, PairMayBeOneImage)
{
    const Pieces image = gray(30, 20);
    const Handle handle = image.handle();
    for (const Warp &warp : {splashPair(40), meltingPair(50)}) {
        void *first = nullptr, *second = nullptr;
        EXPECT_EQ(warp(handle, handle, &first, &second), 1);
        EXPECT_EQ(bytesOf(first), bytesOf(second));
        KelMemFree(first);
        KelMemFree(second);
    }
}

TEST_F(Scattering, PairEvents)
{
    for (const Pieces &image : {gray(60, 50), trueColor(60, 50)}) {
        const Handle dib = image.handle(), alpha = gray(60, 50).handle();
        const auto eventsOf = [&](const Warp &warp) {
            void *first = nullptr, *second = nullptr;
            RecordingHost host;
            EXPECT_EQ(warp(dib, alpha, &first, &second), 1);
            KelMemFree(first);
            KelMemFree(second);
            return host.events;
        };
        EXPECT_EQ(eventsOf(meltingPair(70)), joined({{"wait", "poll"}, dropEvents(), {"100%", "arrow"}}));
        for (const Warp &warp : {splashPair(10), wrinklePair(10)})
            EXPECT_EQ(eventsOf(warp), joined({{"wait", "poll"}, rowEvents(50), {"100%", "arrow"}}));
    }
}

TEST_F(Scattering, PairAborts)
{
    for (const Pieces &image : {gray(12, 19), trueColor(12, 19)}) {
        const Pair pair = pairOf(image);
        const Handle dib = pair.image.handle(), alpha = pair.alpha.handle();
        char sentinel = 0;
        for (const Warp &warp : kWarps)
            for (int n = 1;; ++n) {
                const NothingLost check;
                RecordingHost host;
                host.abortFromPoll(n, n % 2 == 0 ? 1 : -3);
                void *first = &sentinel, *second = &sentinel;
                const int answer = warp(dib, alpha, &first, &second);
                EXPECT_EQ(memory_hooks::locksOn(dib) + memory_hooks::locksOn(alpha), 0);
                EXPECT_EQ(Events(host.events.end() - 2, host.events.end()), (Events{"100%", "arrow"}));
                if (host.polls() < n) {
                    EXPECT_EQ(answer, 1);
                    EXPECT_GT(n, 19);
                    KelMemFree(first);
                    KelMemFree(second);
                    break;
                }
                EXPECT_EQ(answer, 0);
                EXPECT_EQ(first, nullptr);
                EXPECT_EQ(second, nullptr);
                // The first poll's answer is dropped, so that the second ends the run.
                EXPECT_EQ(host.polls(), std::max(n, 2));
            }
        EXPECT_EQ(bytesOf(dib), pair.image.bytes());
        EXPECT_EQ(bytesOf(alpha), pair.alpha.bytes());
    }
}

TEST_F(Scattering, PairFailures)
{
    for (const Pieces &image : {gray(12, 19), trueColor(12, 19)}) {
        const Pair pair = pairOf(image);
        const Handle dib = pair.image.handle(), alpha = pair.alpha.handle();
        char sentinel = 0;
        for (const Warp &warp : kWarps)
            for (const auto order : {memory_hooks::failAllocation, memory_hooks::failLock}) {
                const bool isLock = order == memory_hooks::failLock;
                for (int n = 1; n <= (isLock ? 4 : 2); ++n) {
                    const NothingLost check;
                    RecordingHost host;
                    void *first = &sentinel, *second = &sentinel;
                    order(n);
                    EXPECT_EQ(warp(dib, alpha, &first, &second), 0);
                    order(0);
                    EXPECT_EQ(first, &sentinel);
                    EXPECT_EQ(second, &sentinel);
                    EXPECT_EQ(host.events, isLock && n <= 2 ? Events{} : (Events{"wait", "arrow"}));
                    EXPECT_EQ(memory_hooks::locksOn(dib) + memory_hooks::locksOn(alpha), 0);
                }
            }
    }
}

TEST_F(Scattering, PairOfWrinkleIsBlankWithoutMemoryForItsWalk)
{
    memory_hooks::setFillByte(0xCD);
    Pair pair = pairOf(trueColor(13, 12));
    const PairBytes result = resultOf(pair, [](void *dib, void *alpha, void **newDib, void **newAlpha) {
        memory_hooks::failAllocation(3);
        const int answer = wrinklePair(50)(dib, alpha, newDib, newAlpha);
        memory_hooks::failAllocation(0);
        return answer;
    });
    std::fill(pair.image.rows.begin(), pair.image.rows.end(), uint8_t{0});
    std::fill(pair.alpha.rows.begin(), pair.alpha.rows.end(), uint8_t{0});
    EXPECT_EQ(result, bytesOfPair(pair));
}

TEST_F(Scattering, MeltingOfPairsByHand)
{
    // From state 1: one drop, at column 1 and row 7. It rises to row 8, the last but one, and no farther.
    const auto opaque = [] {
        Pieces mask = gray(10, 10);
        std::fill(mask.rows.begin(), mask.rows.end(), uint8_t{255});
        return mask;
    };
    const Pair pair{withColumn({90, 80, 50, 60, 70, 30, 40, 20, 20, 6}), opaque()};
    EXPECT_EQ(resultOf(pair, seeded(1, meltingPair(1))), bytesOfPair(pair)) << "equals change places unseen";
    const Pair darker{withColumn({90, 80, 50, 60, 70, 30, 40, 20, 5, 6}), opaque()};
    EXPECT_EQ(resultOf(darker, seeded(1, meltingPair(1))),
              bytesOfPair(Pair{withColumn({90, 80, 50, 60, 70, 30, 40, 5, 20, 6}), opaque()}));
    // (200 * 24 + 127) / 256 is 19 and (30 * 166 + 127) / 256 is 19 too: they change places with their alphas.
    Pair mixed{withColumn({0, 0, 0, 0, 0, 0, 0, 200, 30, 0}), opaque()}, expected = mixed;
    setPixel(mixed.alpha, 1, 7, {24});
    setPixel(mixed.alpha, 1, 8, {166});
    setPixel(expected.alpha, 1, 7, {166});
    setPixel(expected.alpha, 1, 8, {24});
    setPixel(expected.image, 1, 7, {30});
    setPixel(expected.image, 1, 8, {200});
    EXPECT_EQ(resultOf(mixed, seeded(1, meltingPair(1))), bytesOfPair(expected));
    // With an alpha of 171 the other ranks (30 * 171 + 127) / 256 = 20 and is not passed.
    setPixel(mixed.alpha, 1, 8, {171});
    EXPECT_EQ(resultOf(mixed, seeded(1, meltingPair(1))), bytesOfPair(mixed));
    // In true colour an opaque white ranks 255 + 164 = 419, a transparent one 255 like all that is transparent, and an
    // opaque black 255 - 598 = -343.
    const auto colors = [](uint8_t lower, uint8_t lowerAlpha, uint8_t upper, uint8_t upperAlpha) {
        Pair two = pairOf(trueColor(10, 10));
        setPixel(two.image, 1, 7, Bytes(3, lower));
        setPixel(two.image, 1, 8, Bytes(3, upper));
        setPixel(two.alpha, 1, 7, {lowerAlpha});
        setPixel(two.alpha, 1, 8, {upperAlpha});
        return two;
    };
    const Warp warp = seeded(1, meltingPair(1));
    EXPECT_EQ(resultOf(colors(255, 255, 0, 0), warp), bytesOfPair(colors(0, 0, 255, 255)));
    EXPECT_EQ(resultOf(colors(0, 0, 255, 255), warp), bytesOfPair(colors(0, 0, 255, 255)));
    EXPECT_EQ(resultOf(colors(255, 0, 0, 255), warp), bytesOfPair(colors(0, 255, 255, 0)));
    EXPECT_EQ(resultOf(colors(0, 255, 255, 0), warp), bytesOfPair(colors(0, 255, 255, 0)));
    // Levels of 200 in each channel rank the same whatever their alpha: all change places.
    EXPECT_EQ(resultOf(colors(200, 9, 200, 255), warp), bytesOfPair(colors(200, 255, 200, 9)));
}

TEST_F(Scattering, MeltingOfPairsAsThePlainLoop)
{
    uint32_t state = 0;
    forSmallImages([&](const Pieces &image) {
        state += 99;
        const int amount = static_cast<int>(state % 100) + 1;
        const Pair pair = pairOf(image, state);
        ASSERT_EQ(resultOf(pair, seeded(state, meltingPair(amount))),
                  bytesOfPair(melted(pair, state, amount)))
            << amount;
    });
}

TEST_F(Scattering, SplashOfPairsAsThePlainLoop)
{
    uint32_t state = 0;
    forSmallImages([&](const Pieces &image) {
        state += 99;
        const int amount = static_cast<int>(state % 103), width = image.header.biWidth,
                  height = image.header.biHeight;
        const Pair pair = pairOf(image, state);
        Numbers numbers(state);
        const auto places = splashPlaces(width, height, amount, numbers);
        ASSERT_EQ(resultOf(pair, seeded(state, splashPair(amount))),
                  bytesOfPair(Pair{movedTo(pair.image, places), movedTo(pair.alpha, places)}))
            << amount;
        ASSERT_EQ(velmont::rand(), numbers.next()) << "nothing is seeded";
    });
}

TEST_F(Scattering, SplashOfPairsDiffersFromCallToCall)
{
    const Pair pair = pairOf(trueColor(30, 20));
    velmont::srand(1);
    const PairBytes first = resultOf(pair, splashPair(40));
    EXPECT_FALSE(resultOf(pair, splashPair(40)) == first);
}

TEST_F(Scattering, WrinkleOfPairsByHand)
{
    // From state 4 the numbers end in 051, 945 and 159, as for one image, and go on with 386 and 345 for the rows,
    // which stay.
    const Pair pair{levels({{1, 2, 3}, {4, 5, 6}}), levels({{10, 20, 30}, {40, 50, 60}})};
    EXPECT_EQ(resultOf(pair, seeded(4, wrinklePair(60))),
              bytesOfPair(Pair{levels({{4, 2, 6}, {64, 5, 64}}), levels({{40, 20, 60}, {0, 50, 0}})}));
}

TEST_F(Scattering, WrinkleOfPairsAsThePlainLoop)
{
    uint32_t state = 0;
    forSmallImages([&](const Pieces &image) {
        state += 99;
        const int strength = static_cast<int>(state % 100) + 1, width = image.header.biWidth,
                  height = image.header.biHeight;
        const Pair pair = pairOf(image, state);
        Numbers numbers(state);
        std::vector<int> columns, rows;
        for (auto *const walk : {&columns, &rows}) {
            int place = 0;
            for (int i = 0; i < (walk == &columns ? width : height); ++i) {
                const int drawn = numbers.next() % 1000;
                place += drawn < 5 * strength ? 1 : drawn > 1000 - 5 * strength ? -1 : 0;
                walk->push_back(place);
            }
        }
        const auto from = [&](int x, int y) -> std::optional<Place> {
            const Place place{x + rows[static_cast<std::size_t>(y)],
                              y + columns[static_cast<std::size_t>(x)]};
            if (place.x < 0 || place.x >= width || place.y < 0 || place.y >= height)
                return std::nullopt;
            return place;
        };
        ASSERT_EQ(
            resultOf(pair, seeded(state, wrinklePair(strength))),
            bytesOfPair(Pair{movedPixels(pair.image, 0x00C08040, from), movedPixels(pair.alpha, 0, from)}));
        ASSERT_EQ(velmont::rand(), numbers.next()) << "nothing is seeded";
    });
}

TEST_F(Scattering, ByCode)
{
    const Pieces image = trueColor(33, 29);
    const auto byCode = [](unsigned code, int32_t amount) -> Effect {
        return
            [=](void *dib) mutable { return EnhanceAndEffects(dib, code, reinterpret_cast<long>(&amount)); };
    };
    EXPECT_EQ(resultOf(image, byCode(35, 30)), resultOf(image, splash(30)));
    EXPECT_EQ(resultOf(image, seeded(8, byCode(39, 30))), resultOf(image, seeded(8, melting(30))));
    const Handle handle = image.handle();
    for (const unsigned code : {35u, 39u})
        EXPECT_EQ(EnhanceAndEffects(handle, code, 0), nullptr) << code;
}

} // namespace

} // namespace velmont::testing
