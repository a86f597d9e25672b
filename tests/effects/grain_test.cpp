// Grain, noise and the old photograph.

#include "core/clock.h"
#include "core/generator.h"
#include "platform/memory.h"
#include "tests/effects/warp_testing.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <velmont/effects.h>
#include <velmont/filters.h>
#include <velmont/geometry.h>
#include <velmont/grain.h>
#include <velmont/tone.h>

namespace velmont::testing {

namespace {

constexpr uint32_t kNow = 1234567890;

class Grain : public ::testing::Test {
protected:
    Grain() { stopClock(kNow); }
    ~Grain() override { runClock(); }

    NothingLost check_;
    Restore restore_;
};

Effect seeded(uint32_t state, const Effect &effect)
{
    return [=](void *dib) {
        velmont::srand(state);
        return effect(dib);
    };
}

Effect noisify(double amount)
{
    return [=](void *dib) {
        tagNoisifyParam record{amount, {0, 0}};
        return ProcessNoisify(dib, &record);
    };
}
Effect spread(double x, double y)
{
    return [=](void *dib) {
        SPREADParam record{x, y};
        return ProcessSpread(dib, &record);
    };
}
Effect filmGrain(int amount, uint32_t state = 1)
{
    return seeded(state, [=](void *dib) { return ProcessFilmGrain(dib, amount); });
}
Effect addNoise(int percent, uint32_t state = 1)
{
    return seeded(state, [=](void *dib) { return ProcessAddNoise(dib, percent); });
}

/// Whether the generator has drawn so many numbers since this state.
bool hasDrawn(uint32_t since, int count)
{
    Numbers numbers(since);
    for (int i = 0; i < count; ++i)
        numbers.next();
    return velmont::rand() == numbers.next();
}

/// Each pixel in stored order: change(samples).
Pieces changed(Pieces image, const std::function<void(Bytes &)> &change)
{
    for (int y = 0; y < image.header.biHeight; ++y)
        for (int x = 0; x < image.header.biWidth; ++x) {
            Bytes pixel = pixelOf(image, x, y);
            change(pixel);
            setPixel(image, x, y, pixel);
        }
    return image;
}

Pieces withoutPadding(const Pieces &image)
{
    return movedPixels(image, 0, [](int x, int y) { return Place{x, y}; });
}

/// Small images of both kinds, on each level of the processor.
void forSmallImages(const std::function<void(const Pieces &, uint32_t)> &check)
{
    for (const CpuLevel level : cpuLevels()) {
        limitCpuLevel(level);
        uint32_t seed = 0;
        for (int width = 1; width <= 40; ++width)
            for (int height = 1; height <= 18; ++height) {
                ++seed;
                ASSERT_NO_FATAL_FAILURE(check(gray(width, height, seed), seed)) << width << " x " << height;
                ASSERT_NO_FATAL_FAILURE(check(trueColor(width, height, seed), seed))
                    << width << " x " << height;
            }
    }
}

/// The first colour of 8 bits with this red.
std::optional<uint8_t> firstOfRed(const Pieces &image, int red)
{
    for (std::size_t i = 0; i < image.palette.size() / 4; ++i)
        if (image.palette[4 * i + 2] == red)
            return static_cast<uint8_t>(i);
    return std::nullopt;
}

/// An image of 8 bits whose indices all have colours, some of them with equal reds.
Pieces fewColors(int width, int height)
{
    Pieces image = paletted(width, height, 8, 90);
    for (std::size_t i = 0; i < 90; ++i)
        image.palette[4 * i + 2] = static_cast<uint8_t>(i % 60 * 4);
    for (uint8_t &index : image.rows)
        index = static_cast<uint8_t>(index % 90);
    return image;
}

/// Images on which GetPixel and SetPixel do nothing.
std::vector<Pieces> untouchable()
{
    Pieces colored = trueColor(11, 7);
    colored.header.biClrUsed = 2;
    return {paletted(11, 7, 1, 2),  paletted(11, 7, 4, 16), paletted(11, 7, 16, 0),
            paletted(11, 7, 32, 0), paletted(11, 7, 8, 0),  colored};
}

// Noisify.

double factorOf(Numbers &numbers, double amount)
{
    int sum = numbers.next();
    for (int i = 1; i < 4; ++i)
        sum += numbers.next();
    const double noise = sum * 5.28596089837e-5 - 3.46410161514;
    return (noise * amount * 127 + 256) * 0.00390625;
}

uint8_t times(int level, double factor)
{
    return static_cast<uint8_t>(std::min(std::max(level * factor, 0.0), 255.0));
}

TEST_F(Grain, NoisifyByHand)
{
    // From state 1: 41 + 18467 + 6334 + 26500 = 51342 comes to 2.71392 - 3.46410 = -0.75018, and the factor to
    // 1 - 0.75018 * 127 / 256 = 0.62784. Then 19169 + 15724 + 11478 + 29358 = 75729: 4.00301 - 3.46410 = 0.53891,
    // 1.26735.
    stopClock(1);
    EXPECT_EQ(resultOf(pixelRow({100, 200, 255, 100, 200, 255}), noisify(1)),
              pixelRow({62, 125, 160, 126, 253, 255}).bytes());
    EXPECT_EQ(resultOf(levelRow({100, 100}), noisify(1)), levelRow({62, 126}).bytes());
    // Half the amount: 0.81392 and 1.13367.
    EXPECT_EQ(resultOf(levelRow({100, 100}), noisify(0.5)), levelRow({81, 113}).bytes());
}

TEST_F(Grain, NoisifyAsThePlainLoop)
{
    forSmallImages([](const Pieces &image, uint32_t seed) {
        stopClock(seed);
        const double amount = seed % 11 / 10.0;
        Numbers numbers(seed);
        const Pieces expected = changed(image, [&](Bytes &pixel) {
            const double factor = factorOf(numbers, amount);
            for (uint8_t &sample : pixel)
                sample = times(sample, factor);
        });
        ASSERT_EQ(resultOf(image, noisify(amount)), expected.bytes()) << amount; // padding is copied
    });
    for (const Pieces &image : {trueColor(1100, 3), gray(1100, 3)}) {
        Numbers numbers(7);
        stopClock(7);
        EXPECT_EQ(resultOf(image, noisify(0.7)), changed(image, [&](Bytes &pixel) {
                                                     const double factor = factorOf(numbers, 0.7);
                                                     for (uint8_t &sample : pixel)
                                                         sample = times(sample, factor);
                                                 }).bytes());
    }
}

TEST_F(Grain, NoisifyOfPalettes)
{
    const Pieces image = fewColors(30, 11);
    Numbers numbers(kNow);
    const Pieces expected = changed(image, [&](Bytes &pixel) {
        const double factor = factorOf(numbers, 0.3);
        const auto index = firstOfRed(image, times(image.palette[4 * std::size_t{pixel[0]} + 2], factor));
        pixel[0] = index.value_or(pixel[0]);
    });
    EXPECT_EQ(resultOf(image, noisify(0.3)), expected.bytes());
    EXPECT_NE(expected.bytes(), image.bytes());
}

TEST_F(Grain, NoisifyWithoutAmountIsACopy)
{
    for (const Pieces &image : {trueColor(13, 9), gray(13, 9)})
        for (const double amount : {0.0, -1.0, -1e300, -std::numeric_limits<double>::infinity()})
            EXPECT_EQ(resultOf(image, noisify(amount)), image.bytes());
}

TEST_F(Grain, NoisifyHoldsItsRecord)
{
    const Handle image = gray(5, 4).handle(), other = paletted(5, 4, 4, 16).handle();
    int local = 0;
    for (void *const dib :
         {static_cast<void *>(image), static_cast<void *>(other), static_cast<void *>(&local)}) {
        for (const auto &[given, held] : {std::pair{std::array{-3.0, 7.0}, std::array{0.0, 1.0}},
                                          {{7, -3}, {1, 0}},
                                          {{0.5, 0.25}, {0.5, 0.25}}}) {
            tagNoisifyParam record{2, {given[0], given[1]}};
            Handle result(ProcessNoisify(dib, &record));
            EXPECT_EQ(record.amount, 1);
            EXPECT_EQ(record.reserved[0], held[0]);
            EXPECT_EQ(record.reserved[1], held[1]);
        }
    }
    tagNoisifyParam record{2, {3, 3}};
    EXPECT_EQ(ProcessNoisify(nullptr, &record), nullptr);
    EXPECT_EQ(record.amount, 2);
    EXPECT_EQ(ProcessNoisify(image, nullptr), nullptr);
    // What is not a number blackens.
    const Bytes black = resultOf(levelRow({1, 128, 255}), noisify(std::nan("")));
    EXPECT_EQ(black, levelRow({0, 0, 0}).bytes());
}

TEST_F(Grain, NoisifyLeavesOtherDepths)
{
    for (const Pieces &image : untouchable()) {
        EXPECT_EQ(resultOf(image, noisify(1)), image.bytes()) << image.header.biBitCount;
        EXPECT_TRUE(hasDrawn(kNow, 4 * 77));
    }
    resultOf(gray(11, 7), noisify(1));
    EXPECT_TRUE(hasDrawn(kNow, 4 * 77));
}

// Spread.

Pieces spreadOver(const Pieces &image, double spreadX, double spreadY, uint32_t seed)
{
    const int rx = static_cast<int>(spreadX) + 1, ry = static_cast<int>(spreadY) + 1;
    const int width = image.header.biWidth, height = image.header.biHeight;
    Pieces result = image;
    Numbers numbers(seed);
    // Of 8 bits a pixel becomes the first colour with its red.
    const bool isGray = image.palette.size() == 1024;
    const auto put = [&](int x, int y, Bytes pixel) {
        if (pixel.size() == 1 && !isGray)
            pixel[0] = firstOfRed(image, image.palette[4 * std::size_t{pixel[0]} + 2]).value_or(uint8_t{255});
        setPixel(result, x, y, pixel);
    };
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int a = numbers.next() % rx - rx / 2, b = numbers.next() % ry - ry / 2;
            const double c = numbers.next() % 6 - 3;
            const double x2 = x + std::floor(std::sin(c) * a), y2 = y + std::floor(std::cos(c) * b);
            if (x2 < 0 || x2 >= width || y2 < 0 || y2 >= height)
                continue;
            put(x, y, pixelOf(image, static_cast<int>(x2), static_cast<int>(y2)));
            put(static_cast<int>(x2), static_cast<int>(y2), pixelOf(image, x, y));
        }
    return result;
}

TEST_F(Grain, SpreadByHand)
{
    // A reach of 4 across and 0 up: five ways. From state 1: 41 % 5 - 2 = -1, 6334 % 6 - 3 = 1: floor(-sin 1) = -1
    // leads out of the picture. 26500 % 5 - 2 = -2, 15724 % 6 - 3 = 1: floor(-2 sin 1) = -2 does too. 11478 % 5 - 2 = 1,
    // 26962 % 6 - 3 = 1: floor(sin 1) = 0. 24464 % 5 - 2 = 2, 28145 % 6 - 3 = 2: floor(2 sin 2) = 1, out of it again
    // when the row ends there. With a fifth pixel the fourth and the fifth are exchanged; the fifth itself, with
    // 23281 % 5 - 2 = -1 and 9961 % 6 - 3 = -2, has floor(sin 2) = 0 and brings its own value back to its place.
    stopClock(1);
    EXPECT_EQ(resultOf(levelRow({1, 2, 3, 4}), spread(4, 0)), levelRow({1, 2, 3, 4}).bytes());
    EXPECT_EQ(resultOf(levelRow({1, 2, 3, 4, 5}), spread(4, 0)), levelRow({1, 2, 3, 5, 5}).bytes());
}

TEST_F(Grain, SpreadAsThePlainLoop)
{
    forSmallImages([](const Pieces &image, uint32_t seed) {
        stopClock(seed);
        const double x = seed % 13 * 0.7, y = seed % 7 * 1.9;
        ASSERT_EQ(resultOf(image, spread(x, y)), spreadOver(image, x, y, seed).bytes()) << x << ", " << y;
    });
    stopClock(3);
    for (const Pieces &image : {trueColor(600, 5), gray(600, 5), fewColors(600, 5)})
        for (const auto &[x, y] :
             {std::pair{2.5, 2.5}, {40000.0, 3.0}, {-3.5, -2.0}, {1e9, -1e9}, {0.99, 8.0}})
            EXPECT_EQ(resultOf(image, spread(x, y)), spreadOver(image, x, y, 3).bytes()) << x << ", " << y;
}

TEST_F(Grain, SpreadOfNoReachMovesNothing)
{
    for (const Pieces &image : {trueColor(13, 9), gray(13, 9)})
        for (const double reach : {0.0, 0.9, -0.9})
            EXPECT_EQ(resultOf(image, spread(reach, reach)), image.bytes());
    // Colours become the first ones of their reds all the same.
    const Pieces image = fewColors(13, 9);
    const Pieces expected = changed(image, [&](Bytes &pixel) {
        pixel[0] = firstOfRed(image, image.palette[4 * std::size_t{pixel[0]} + 2]).value_or(uint8_t{255});
    });
    EXPECT_EQ(resultOf(image, spread(0, 0)), expected.bytes());
    EXPECT_NE(expected.bytes(), image.bytes());
}

TEST_F(Grain, SpreadRefusals)
{
    const Handle image = gray(5, 4).handle();
    EXPECT_EQ(eventsOfRefusal(image, [](void *dib) { return ProcessSpread(dib, nullptr); }), Events{});
    EXPECT_EQ(eventsOfRefusal(nullptr, spread(1, 1)), Events{});
    for (const double bad : {-1.0, -1.9, 2147483647.0, -2147483648.0, 1e300, -1e300, std::nan(""),
                             std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(eventsOfRefusal(image, spread(bad, 1)), Events{}) << bad;
        EXPECT_EQ(eventsOfRefusal(image, spread(1, bad)), Events{}) << bad;
    }
    for (const double edge : {2147483646.0, -2147483647.0})
        EXPECT_FALSE(resultOf(gray(5, 4), spread(edge, edge)).empty());
}

TEST_F(Grain, SpreadLeavesOtherDepths)
{
    for (const Pieces &image : untouchable()) {
        EXPECT_EQ(resultOf(image, spread(5, 5)), image.bytes()) << image.header.biBitCount;
        EXPECT_TRUE(hasDrawn(kNow, 3 * 77));
    }
    resultOf(gray(11, 7), spread(5, 5));
    EXPECT_TRUE(hasDrawn(kNow, 3 * 77));
}

TEST_F(Grain, TimeSeedsAndNobodyIsTold)
{
    const Pieces image = trueColor(30, 40);
    for (const Effect &effect : {noisify(0.5), spread(5, 5)}) {
        EXPECT_EQ(eventsOf(image, effect), Events{});
        expectFailuresSurvived(image, effect);
        const Bytes now = resultOf(image, seeded(1, effect));
        EXPECT_EQ(resultOf(image, seeded(2, effect)), now);
        stopClock(kNow + 1);
        EXPECT_NE(resultOf(image, seeded(1, effect)), now);
        stopClock(kNow);
        const Handle handle = image.handle();
        memory_hooks::failAllocation(1);
        EXPECT_EQ(eventsOfRefusal(handle, effect), Events{});
    }
}

TEST(Clock, RunsUnlessItIsStopped)
{
    stopClock(5);
    EXPECT_EQ(clockSeconds(), 5u);
    stopClock(UINT32_MAX);
    EXPECT_EQ(clockSeconds(), UINT32_MAX);
    runClock();
    EXPECT_GT(clockSeconds(), 1700000000u);
}

// Film grain.

TEST_F(Grain, FilmGrainByHand)
{
    // From state 1, amount 100: 50 - 41, 50 - 67, 50 - 34, 50 - 0.
    EXPECT_EQ(resultOf(levelRow({100, 10, 100, 250}), filmGrain(100)), levelRow({109, 0, 116, 255}).bytes());
    EXPECT_EQ(resultOf(pixelRow({0, 100, 250, 0, 100, 250}), filmGrain(100)),
              pixelRow({9, 109, 255, 0, 83, 233}).bytes());
    // Amount 3: 1 - 41 % 3 = -1, 1 - 18467 % 3 = -1, 1 - 6334 % 3 = 0.
    EXPECT_EQ(resultOf(levelRow({7, 0, 9}), filmGrain(3)), levelRow({6, 0, 9}).bytes());
}

TEST_F(Grain, FilmGrainReachesBothEnds)
{
    const Pieces image = gray(4000, 1);
    Pieces flat = image;
    std::fill(flat.rows.begin(), flat.rows.end(), uint8_t{100});
    const Bytes result = resultOf(flat, filmGrain(100));
    const std::set<uint8_t> seen(result.begin() + 1064, result.end());
    EXPECT_EQ(*seen.begin(), 51);
    EXPECT_EQ(*seen.rbegin(), 150);
}

TEST_F(Grain, FilmGrainAsThePlainLoop)
{
    forSmallImages([](const Pieces &image, uint32_t seed) {
        const int amount = static_cast<int>(seed % 100) + 1;
        Numbers numbers(seed);
        const Pieces expected = changed(withoutPadding(image), [&](Bytes &pixel) {
            const int d = amount / 2 - numbers.next() % amount;
            for (uint8_t &sample : pixel)
                sample = static_cast<uint8_t>(std::clamp(sample + d, 0, 255));
        });
        ASSERT_EQ(resultOf(image, filmGrain(amount, seed)), expected.bytes()) << amount;
    });
    for (const Pieces &image : {trueColor(1300, 3), gray(1300, 3)})
        for (const int amount : {1, 2, 3, 7, 31, 64, 99, 100}) {
            Numbers numbers(5);
            const Pieces expected = changed(withoutPadding(image), [&](Bytes &pixel) {
                const int d = amount / 2 - numbers.next() % amount;
                for (uint8_t &sample : pixel)
                    sample = static_cast<uint8_t>(std::clamp(sample + d, 0, 255));
            });
            ASSERT_EQ(resultOf(image, filmGrain(amount, 5)), expected.bytes()) << amount;
        }
}

TEST_F(Grain, FilmGrainOfOneChangesNothing)
{
    for (const Pieces &image : {trueColor(13, 9), gray(13, 9)})
        EXPECT_EQ(resultOf(image, filmGrain(1)), withoutPadding(image).bytes());
    EXPECT_TRUE(hasDrawn(1, 13 * 9));
}

// Added noise.

TEST_F(Grain, AddNoiseByHand)
{
    // From state 1: 41 is not below 10, 67 and 34 are not, 0 is: 19169 % 256 = 225 takes the place. 24 is not below.
    EXPECT_EQ(resultOf(levelRow({1, 2, 3, 4, 5}), addNoise(10)), levelRow({1, 2, 3, 225, 5}).bytes());
    // 41 is below 42: 18467 % 256 = 35, 6334 % 256 = 190, 26500 % 256 = 132; then 69 is not.
    EXPECT_EQ(resultOf(pixelRow({1, 2, 3, 4, 5, 6}), addNoise(42)),
              pixelRow({35, 190, 132, 4, 5, 6}).bytes());
    EXPECT_EQ(resultOf(levelRow({1}), addNoise(41)), levelRow({1}).bytes());
}

TEST_F(Grain, AddNoiseAsThePlainLoop)
{
    forSmallImages([](const Pieces &image, uint32_t seed) {
        const int percent = static_cast<int>(seed * 7 % 100) + 1;
        Numbers numbers(seed);
        int drawn = 0;
        const auto next = [&] {
            ++drawn;
            return numbers.next();
        };
        const Pieces expected = changed(withoutPadding(image), [&](Bytes &pixel) {
            if (next() % 100 < percent)
                for (uint8_t &sample : pixel)
                    sample = static_cast<uint8_t>(next() % 256);
        });
        ASSERT_EQ(resultOf(image, addNoise(percent, seed)), expected.bytes()) << percent;
        ASSERT_TRUE(hasDrawn(seed, drawn));
    });
}

TEST_F(Grain, AddNoiseOfAHundredReplacesAll)
{
    const Pieces image = trueColor(30, 20);
    resultOf(image, addNoise(100));
    EXPECT_TRUE(hasDrawn(1, 4 * 600));
    resultOf(gray(30, 20), addNoise(100));
    EXPECT_TRUE(hasDrawn(1, 2 * 600));
}

TEST_F(Grain, SharedRulesOfFilmGrainAndAddNoise)
{
    for (const auto &effectOf : {filmGrain, addNoise}) {
        const Handle image = gray(5, 4).handle();
        for (const int bad : {INT32_MIN, -1, 0, 101, INT32_MAX}) {
            EXPECT_EQ(eventsOfRefusal(image, effectOf(bad, 1)), Events{}) << bad;
            EXPECT_EQ(eventsOfRefusal(nullptr, effectOf(bad, 1)), Events{}) << bad;
        }
        const Effect effect = effectOf(20, 1);
        EXPECT_EQ(eventsOfRefusal(nullptr, effect), Events{});
        for (const Pieces &other :
             {paletted(5, 4, 8, 256), paletted(5, 4, 8, 9), paletted(5, 4, 8, 0), paletted(5, 4, 4, 16),
              paletted(5, 4, 1, 2), paletted(5, 4, 16, 0), paletted(5, 4, 32, 0)})
            EXPECT_EQ(eventsOfRefusal(other.handle(), effect), Events{});
        expectLiesRefused(effect);
        for (const Pieces &each : {trueColor(5, 35), gray(5, 35)}) {
            EXPECT_EQ(eventsOf(each, effect), joined({{"wait", "poll"}, rowEvents(35), {"100%", "arrow"}}));
            expectAborts(each, effect, 1);
            expectFailuresSurvived(each, effect);
            const Handle handle = each.handle();
            memory_hooks::failAllocation(1);
            EXPECT_EQ(eventsOfRefusal(handle, effect), (Events{"wait", "arrow"}));
        }
    }
}

TEST_F(Grain, AnAbortStopsDrawing)
{
    const Handle handle = gray(10, 20).handle();
    for (const auto &[effect, numbers] : {std::pair{filmGrain(10), 30}, {addNoise(100), 60}}) {
        RecordingHost host;
        host.abortFromPoll(5); // one is dropped, three rows are done
        EXPECT_EQ(effect(handle), nullptr);
        EXPECT_TRUE(hasDrawn(1, numbers));
    }
}

TEST_F(Grain, CodesReachTheEffects)
{
    const Handle handle = trueColor(50, 45).handle();
    int32_t amount = 30;
    const auto byCode = [&](unsigned code) {
        velmont::srand(1);
        return bytesOf(Handle(EnhanceAndEffects(handle, code, reinterpret_cast<long>(&amount))));
    };
    EXPECT_EQ(byCode(34), bytesOf(Handle(filmGrain(30)(handle))));
    EXPECT_EQ(byCode(38), bytesOf(Handle(addNoise(30)(handle))));
    tagOldPhotoParam toned{0, 0, 1, 0, 0};
    const Handle direct(ProcessOldPhoto(handle, &toned));
    const Handle dispatched(EnhanceAndEffects(handle, 1201, reinterpret_cast<long>(&toned)));
    ASSERT_TRUE(direct && dispatched);
    EXPECT_EQ(bytesOf(dispatched), bytesOf(direct));
    EXPECT_EQ(memory_hooks::locksOn(handle), 2);
}

// The old photograph.

/// What a run of the effect gave and left, and what the host saw.
struct Photo {
    bool hasResult = false;
    Bytes bytes;
    std::vector<Bytes> left; ///< blocks that nobody holds
    std::vector<int> locks;  ///< on each of them
    int sourceLocks = 0;
    Events events;
};

Photo photoOf(const Pieces &image, tagOldPhotoParam param, int abortFromPoll = 0, int answer = 1,
              int failingAllocation = 0)
{
    const Handle source = image.handle();
    const auto before = memory_hooks::liveBlocks();
    RecordingHost host;
    if (abortFromPoll > 0)
        host.abortFromPoll(abortFromPoll, answer);
    velmont::srand(1);
    memory_hooks::failAllocation(failingAllocation);
    const Handle result(ProcessOldPhoto(source, &param));
    memory_hooks::failAllocation(0);
    Photo photo;
    photo.events = host.events;
    photo.hasResult = result;
    photo.bytes = result ? bytesOf(result) : Bytes{};
    EXPECT_EQ(memory_hooks::locksOn(result), 0);
    EXPECT_EQ(bytesOf(source), image.bytes());
    photo.sourceLocks = memory_hooks::locksOn(source);
    for (void *const handle : memory_hooks::liveBlocks())
        if (handle != result && std::find(before.begin(), before.end(), handle) == before.end()) {
            photo.locks.push_back(memory_hooks::locksOn(handle));
            photo.left.push_back(bytesOf(handle));
            KelMemFree(handle);
        }
    return photo;
}

bool isLeft(const Photo &photo, const Bytes &block, int locks)
{
    for (std::size_t i = 0; i < photo.left.size(); ++i)
        if (photo.left[i] == block && photo.locks[i] == locks)
            return true;
    return false;
}

Handle blurredBy(void *dib, int size)
{
    tagParamGaussianBlur record{size};
    return Handle(ProcessGaussianBlur(dib, &record));
}

/// c * m / 255, and white for what is missing where it is the border.
Bytes blended(const Bytes &image, void *mask, bool isBorder)
{
    Bytes result = image;
    const Bytes levels = bytesOf(mask);
    const DibHeader header = headerOf(mask);
    const auto width = static_cast<std::size_t>(header.biWidth),
               height = static_cast<std::size_t>(header.biHeight);
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t i = 0; i < 3 * width; ++i) {
            uint8_t &byte = result[40 + y * strideFor(header.biWidth, 24) + i];
            const int m = levels[1064 + y * strideFor(header.biWidth, 8) + i / 3];
            const int dark = byte * m / 255;
            byte = static_cast<uint8_t>(isBorder ? dark - m + 255 : dark);
        }
    return result;
}

Bytes withBorder(const Bytes &image, int width, int height, int border)
{
    Pieces mask = gray(width, height);
    mask.palette = grayRamp();
    std::fill(mask.rows.begin(), mask.rows.end(), uint8_t{0});
    for (int y = border; y <= height - border - 1; ++y)
        for (int x = border; x <= width - border - 1; ++x)
            setPixel(mask, x, y, {255});
    const Handle small(ProcessResampleHighQuality(mask.handle(), width / 7, height / 7, 0, 1));
    const Handle torn(spread(2.5, 2.5)(small));
    const Handle large(ProcessResampleHighQuality(torn, width, height, 0, 1));
    return blended(image, blurredBy(large, border), true);
}

Bytes toned(const Bytes &image)
{
    tagHueSaturateParam faded{};
    faded.saturation[0] = -100;
    tagParamBrightnessContrast darker{0, -20, -40};
    tagColorBalance brown{0, 1, 30, 0, -30};
    const Handle first(ProcessHueSaturation(blockOf(image), &faded));
    const Handle second(ProcessBrightnessAndContrast(first, &darker));
    return bytesOf(Handle(ProcessColorBalance(second, &brown)));
}

Handle grainOf(int width, int height)
{
    const Handle white(CreateDib(width, height, 8, 0, 0x00FFFFFF));
    return blurredBy(Handle(ProcessAddNoise(white, 7)), 9);
}

Events everyRow(int height)
{
    Events events{"wait"};
    for (int y = 0; y < height; ++y) {
        events.push_back("poll");
        events.push_back(std::to_string(y * 100 / height) + "%");
    }
    return joined({events, {"100%", "arrow"}});
}

TEST_F(Grain, OldPhotoOfNothingGivesNothing)
{
    const Photo photo = photoOf(trueColor(50, 50), {0, 0, 0, 0, 10});
    EXPECT_FALSE(photo.hasResult);
    EXPECT_EQ(photo.events, Events{});
    EXPECT_EQ(photo.sourceLocks, 1);
    EXPECT_TRUE(photo.left.empty());
}

TEST_F(Grain, OldPhotoRefusals)
{
    const Handle color = trueColor(9, 5).handle();
    EXPECT_EQ(eventsOfRefusal(color, [](void *dib) { return ProcessOldPhoto(dib, nullptr); }), Events{});
    const auto all = [](void *dib) {
        tagOldPhotoParam record{1, 1, 1, 1, 10};
        return ProcessOldPhoto(dib, &record);
    };
    EXPECT_EQ(eventsOfRefusal(nullptr, all), Events{});
    for (const Pieces &image : {gray(50, 50), paletted(50, 50, 8, 256), paletted(50, 50, 8, 7)}) {
        const Handle handle = image.handle();
        EXPECT_EQ(eventsOfRefusal(handle, all), Events{});
    }
}

TEST_F(Grain, OldPhotoBlur)
{
    const Pieces image = trueColor(45, 43);
    const Photo photo = photoOf(image, {1, 0, 0, 0, 0});
    EXPECT_EQ(photo.bytes, bytesOf(blurredBy(image.handle(), 5)));
    EXPECT_EQ(photo.sourceLocks, 1);
    EXPECT_TRUE(photo.left.empty());
}

TEST_F(Grain, OldPhotoTone)
{
    const Pieces image = trueColor(45, 43);
    const Photo photo = photoOf(image, {0, 0, -7, 0, 0});
    EXPECT_EQ(photo.bytes, toned(image.bytes()));
    EXPECT_EQ(photo.sourceLocks, 1);
    EXPECT_TRUE(photo.left.empty());
}

TEST_F(Grain, OldPhotoBorder)
{
    for (const auto &[width, height, border] :
         {std::array{41, 41, 2}, {60, 50, 10}, {90, 47, 32}, {45, 70, 23}}) {
        const Pieces image = trueColor(width, height);
        const Photo photo = photoOf(image, {0, 1, 0, 0, border});
        EXPECT_EQ(photo.bytes, withBorder(image.bytes(), width, height, border)) << border;
        EXPECT_EQ(photo.sourceLocks, 1);
        EXPECT_TRUE(photo.left.empty());
        const Events rows = everyRow(height);
        ASSERT_GT(photo.events.size(), rows.size());
        EXPECT_TRUE(std::equal(rows.rbegin(), rows.rend(), photo.events.rbegin()));
        // The image before it stays, without a lock.
        const Photo soft = photoOf(image, {1, 1, 0, 0, border});
        const Bytes blurred = bytesOf(blurredBy(image.handle(), 5));
        EXPECT_EQ(soft.bytes, withBorder(blurred, width, height, border)) << border;
        EXPECT_EQ(soft.left.size(), 1u);
        EXPECT_TRUE(isLeft(soft, blurred, 0));
    }
}

TEST_F(Grain, OldPhotoWithoutRoomForABorder)
{
    for (const auto &[width, height] : {std::pair{40, 60}, {60, 40}, {9, 5}}) {
        const Pieces image = trueColor(width, height);
        // Alone it gives nothing and leaves a copy behind.
        const Photo alone = photoOf(image, {0, 1, 0, 0, 10});
        EXPECT_FALSE(alone.hasResult);
        EXPECT_EQ(alone.events, Events{});
        ASSERT_EQ(alone.left.size(), 1u);
        EXPECT_TRUE(isLeft(alone, image.bytes(), 0));
        // After the blur the copy is the result, and what it was made of stays.
        const Bytes blurred = bytesOf(blurredBy(image.handle(), 5));
        const Photo soft = photoOf(image, {1, 1, 0, 0, 10});
        EXPECT_EQ(soft.bytes, blurred);
        ASSERT_EQ(soft.left.size(), 1u);
        EXPECT_TRUE(isLeft(soft, blurred, 0));
        // Toned it is the other way round.
        const Photo brown = photoOf(image, {1, 1, 1, 0, 10});
        EXPECT_EQ(brown.bytes, toned(blurred));
        ASSERT_EQ(brown.left.size(), 1u);
        EXPECT_TRUE(isLeft(brown, blurred, 0));
    }
}

TEST_F(Grain, OldPhotoBorderOfAWidthThatCannotBeBlurred)
{
    const Pieces image = trueColor(50, 44);
    const Bytes blurred = bytesOf(blurredBy(image.handle(), 5));
    for (const int border : {INT32_MIN, -5, 0, 1, 33, 1000, INT32_MAX}) {
        const Photo alone = photoOf(image, {0, 1, 0, 0, border});
        EXPECT_FALSE(alone.hasResult) << border;
        ASSERT_EQ(alone.left.size(), 1u);
        EXPECT_TRUE(isLeft(alone, image.bytes(), 0));
        const Photo soft = photoOf(image, {1, 1, 0, 0, border});
        EXPECT_EQ(soft.bytes, blurred) << border;
        EXPECT_EQ(soft.left.size(), 1u);
    }
}

TEST_F(Grain, OldPhotoGrain)
{
    const Pieces image = trueColor(45, 43);
    const Photo photo = photoOf(image, {0, 0, 0, 1, 0});
    velmont::srand(1);
    const Handle mask = grainOf(45, 43);
    EXPECT_EQ(photo.bytes, blended(image.bytes(), mask, false));
    EXPECT_EQ(photo.sourceLocks, 2);
    ASSERT_EQ(photo.left.size(), 1u);
    EXPECT_TRUE(isLeft(photo, bytesOf(mask), 0));
    const Events rows = everyRow(43);
    ASSERT_GT(photo.events.size(), rows.size());
    EXPECT_TRUE(std::equal(rows.rbegin(), rows.rend(), photo.events.rbegin()));
}

TEST_F(Grain, OldPhotoOfAllSteps)
{
    for (const auto &[width, height] : {std::pair{70, 55}, {40, 30}}) {
        const Pieces image = trueColor(width, height);
        const bool hasBorder = height > 40;
        const Photo photo = photoOf(image, {1, 1, 1, 1, 12});
        velmont::srand(1);
        const Bytes blurred = bytesOf(blurredBy(image.handle(), 5));
        const Bytes brown = toned(hasBorder ? withBorder(blurred, width, height, 12) : blurred);
        const Handle mask = grainOf(width, height); // goes on where the border's tearing ended
        EXPECT_EQ(photo.bytes, blended(brown, mask, false));
        EXPECT_EQ(photo.sourceLocks, 1);
        ASSERT_EQ(photo.left.size(), 3u);
        EXPECT_TRUE(isLeft(photo, blurred, 0));
        EXPECT_TRUE(isLeft(photo, brown, 1));
        EXPECT_TRUE(isLeft(photo, bytesOf(mask), 0));
    }
}

// 24 bits that claim to have a palette: border and grain are painted all the same.
TEST_F(Grain, OldPhotoOfTrueColorsWithACount)
{
    const Pieces plain = trueColor(60, 50);
    Pieces named = plain;
    named.header.biClrUsed = 3;
    for (const tagOldPhotoParam &param : {tagOldPhotoParam{0, 1, 0, 0, 10}, {0, 0, 0, 1, 10}}) {
        Bytes expected = photoOf(plain, param).bytes;
        EXPECT_NE(expected, plain.bytes());
        expected.at(offsetof(DibHeader, biClrUsed)) = 3;
        EXPECT_EQ(photoOf(named, param).bytes, expected);
    }
}

TEST_F(Grain, OldPhotoPassesAbortedStepsOver)
{
    const Pieces image = trueColor(45, 43);
    // Everything but the fading is aborted. The border's copy is left; no row of the grain is darkened.
    tagHueSaturateParam faded{};
    faded.saturation[0] = -100;
    const Bytes pale = bytesOf(Handle(ProcessHueSaturation(image.handle(), &faded)));
    const Photo photo = photoOf(image, {1, 1, 1, 1, 12}, 1);
    EXPECT_EQ(photo.bytes, pale);
    EXPECT_EQ(photo.left.size(), 3u);
    // The blur alone gives nothing then.
    EXPECT_FALSE(photoOf(image, {1, 0, 0, 0, 0}, 2).hasResult);
    // Only the answer 1 ends the rows of grain: other answers abort the two effects that make it, so that it is white.
    const Photo white = photoOf(image, {0, 0, 0, 1, 0}, 1, 2);
    EXPECT_EQ(white.bytes, image.bytes());
    const Events rows = everyRow(43);
    ASSERT_GT(white.events.size(), rows.size());
    EXPECT_TRUE(std::equal(rows.rbegin(), rows.rend(), white.events.rbegin()));
}

TEST_F(Grain, OldPhotoKeepsTheRowsBeforeAnAbort)
{
    const Pieces image = trueColor(12, 30);
    const Photo whole = photoOf(image, {0, 0, 0, 1, 0});
    const auto polls = static_cast<int>(std::count(whole.events.begin(), whole.events.end(), "poll"));
    const Photo part = photoOf(image, {0, 0, 0, 1, 0}, polls - 9); // ten rows are missing
    const auto border = static_cast<std::ptrdiff_t>(40 + 20 * strideFor(12, 24));
    EXPECT_TRUE(std::equal(whole.bytes.begin(), whole.bytes.begin() + border, part.bytes.begin()));
    const Bytes before = image.bytes();
    EXPECT_TRUE(std::equal(before.begin() + border, before.end(), part.bytes.begin() + border));
    const Events end{"poll", "100%", "arrow"};
    EXPECT_TRUE(std::equal(end.rbegin(), end.rend(), part.events.rbegin()));
}

TEST_F(Grain, OldPhotoWithoutMemory)
{
    const Pieces image = trueColor(45, 43);
    for (const tagOldPhotoParam &param : {tagOldPhotoParam{1, 1, 1, 1, 12}, tagOldPhotoParam{0, 1, 0, 0, 12},
                                          tagOldPhotoParam{0, 0, 0, 1, 12}})
        for (int n = 1; n <= 60; ++n) {
            const Photo photo = photoOf(image, param, 0, 0, n);
            if (!photo.hasResult) {
                EXPECT_LE(photo.left.size(), 1u) << n; // a copy for a border that could not be made
            }
            EXPECT_LE(photo.sourceLocks, 3) << n;
        }
    // For the copy itself and for the grain there is no way on, and nothing stays.
    const Handle source = image.handle();
    tagOldPhotoParam border{0, 1, 0, 0, 12}, grain{0, 0, 0, 1, 0};
    for (tagOldPhotoParam *const param : {&border, &grain}) {
        const NothingLost check;
        memory_hooks::failAllocation(1);
        EXPECT_EQ(ProcessOldPhoto(source, param), nullptr);
        memory_hooks::failAllocation(0);
        KelMemUnlock(source);
    }
}

TEST_F(Grain, OldPhotoOfOtherDepthsStaysInsideTheBlocks)
{
    for (const Pieces &image : {paletted(50, 45, 1, 2), paletted(50, 45, 4, 16), paletted(50, 45, 16, 0),
                                paletted(50, 45, 32, 0)}) {
        const Photo photo = photoOf(image, {1, 1, 1, 1, 12});
        EXPECT_TRUE(photo.hasResult);
        // Border and grain change no pixel there.
        EXPECT_EQ(photoOf(image, {0, 1, 0, 0, 12}).bytes, image.bytes()) << image.header.biBitCount;
        EXPECT_EQ(photoOf(image, {0, 0, 0, 1, 12}).bytes, image.bytes()) << image.header.biBitCount;
        EXPECT_FALSE(photoOf(image, {1, 0, 0, 0, 12}).hasResult);
    }
}

} // namespace

} // namespace velmont::testing
