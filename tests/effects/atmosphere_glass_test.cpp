// Smoked glass: against a loop that follows every ray step by step, its draws, and what a refused density leaves.

#include "tests/effects/atmosphere_testing.h"
#include <cstdlib>

namespace velmont::testing {

namespace {

Effect glass(int density, uint32_t seed = 1)
{
    return effectOf<&ProcessSmokedGlass>(tagSmokedGlassParam{density}, seed);
}

/// The glass in floats and doubles, a number at a time.
class PlainGlass {
public:
    PlainGlass(const Pieces &image, uint32_t seed) : source_(samplesOf(image)), moved_(source_)
    {
        srand(seed);
        drops_.assign(800 * 10, 0.0f);
        for (int i = 0; i < 1200; ++i) {
            const int column = (rand() % 99) / 10, row = (rand() % 7200) / 10;
            float &drop = drops_[static_cast<std::size_t>(row * 10 + column)];
            drop = static_cast<float>(drop + 0.2);
            if (drop > 1.0)
                drop = 1.0f;
        }
        for (int y = 0; y < source_.height; ++y)
            for (int x = 0; x < source_.width; ++x)
                for (int k = 0; k < 4; ++k)
                    way(x, y, k);
    }

    Bytes result(const Pieces &image, int density) const
    {
        Samples dark = moved_;
        for (int &sample : dark.at)
            sample = static_cast<int>(sample - sample / (60.0 / density));
        return withSamples(image, dark);
    }

private:
    static constexpr int kDx[] = {0, 0, 1, -1}, kDy[] = {1, -1, 0, 0};

    bool inside(int x, int y) const { return x >= 0 && x < source_.width && y >= 0 && y < source_.height; }
    void mix(int x, int y, int channel, int with, float weight)
    {
        int &sample = moved_.of(x, y, channel);
        sample = static_cast<int>((with - sample) * double{weight} + sample);
    }
    void way(int x, int y, int k)
    {
        if (!inside(x + kDx[k], y + kDy[k]))
            return;
        int d = 0;
        for (int channel = 0; channel < source_.channels; ++channel) {
            const int e = source_.of(x, y, channel) - source_.of(x + kDx[k], y + kDy[k], channel);
            if (std::abs(e) > std::abs(d))
                d = e;
        }
        if (std::abs(d) <= 10)
            return;
        for (int i = 0; i < 10; ++i) {
            const int px = x + i * kDx[k], py = y + i * kDy[k];
            if (!inside(px, py))
                return;
            const float weight = drops_[static_cast<std::size_t>(step_ % 800 * 10 + i)];
            for (int channel = 0; channel < source_.channels; ++channel) {
                const int v = source_.of(x, y, channel);
                mix(px, py, channel, v, weight);
                for (int side = k < 2 ? 2 : 0, last = side + 1; side <= last; ++side) {
                    const int sx = px + kDx[side], sy = py + kDy[side];
                    if (d >= 0) {
                        if (inside(sx, sy) && rand() % 10 > 1)
                            mix(sx, sy, channel, v, weight);
                    } else if (rand() % 10 > 2 && inside(sx, sy)) {
                        mix(sx, sy, channel, v, weight);
                    }
                }
            }
            ++step_;
        }
    }

    Samples source_, moved_;
    std::vector<float> drops_;
    int step_ = 0;
};

Pieces smooth(Pieces image)
{
    for (std::size_t i = 0; i < image.rows.size(); ++i)
        image.rows[i] = static_cast<uint8_t>(image.rows[i] / 16 + (i / 11 % 3) * 40);
    return image;
}

TEST(SmokedGlass, WithoutTransitionsItDarkensAlone)
{
    // level - level / 60, rounded down.
    const Pieces row = levelRow({0, 10, 20, 30, 40, 50, 60, 70});
    EXPECT_EQ(levelsOf(row, glass(1)), (Bytes{0, 9, 19, 29, 39, 49, 59, 68}));
    EXPECT_EQ(levelsOf(row, glass(20)), (Bytes{0, 6, 13, 20, 26, 33, 40, 46}));
}

TEST(SmokedGlass, TenLevelsAreNoTransition)
{
    const Pieces ten = levelRow({100, 110, 120, 130});
    srand(3);
    EXPECT_EQ(levelsOf(ten, glass(1, 3)), (Bytes{98, 108, 118, 127}));
    EXPECT_EQ(drawsSince(3), 2400);
    const Pieces eleven = levelRow({100, 111, 111, 111});
    resultOf(eleven, glass(1, 3));
    EXPECT_GT(drawsSince(3), 2400);
}

TEST(SmokedGlass, CountsItsDraws)
{
    // One row of two gray pixels: toward light the ray has two steps of two numbers, though both sides lie outside;
    // toward dark it has two steps and no number.
    resultOf(levelRow({0, 100}), glass(8, 5));
    EXPECT_EQ(drawsSince(5), 2404);
    // Two rows of two columns, light above dark: of the pixels at the top each ray has two steps of one side, of those
    // below two steps of two.
    Pieces square = gray(2, 2);
    square.rows = {90, 90, 0, 0, 10, 10, 0, 0};
    resultOf(square, glass(8, 5));
    EXPECT_EQ(drawsSince(5), 2400 + 2 * 2 * 1 + 2 * 2 * 2);
    // Three channels have numbers of their own.
    resultOf(pixelRow({0, 0, 0, 0, 90, 0}), glass(8, 5));
    EXPECT_EQ(drawsSince(5), 2400 + 2 * 3 * 2);
}

TEST(SmokedGlass, EveryMeasureAsThePlainLoop)
{
    forMeasuresInTurn([&](const Pieces &noisy, int number) {
        const Pieces image = number % 3 ? smooth(noisy) : noisy;
        const int density = number % 20 + 1;
        const auto seed = static_cast<uint32_t>(number);
        const PlainGlass plain(image, seed);
        const int next = rand();
        ASSERT_EQ(resultOf(image, glass(density, seed)), plain.result(image, density))
            << image.header.biWidth << " x " << image.header.biHeight << ", " << number;
        ASSERT_EQ(rand(), next);
    });
}

TEST(SmokedGlass, EveryWeightOfADrop)
{
    // Long rows of noise use all lines of drops, up to the heaviest. From 1501 six drops fall on place 0 of line 498,
    // which weigh no more than five.
    const Pieces image = trueColor(100, 12);
    for (const uint32_t seed : {1u, 12345u, 1501u})
        EXPECT_EQ(resultOf(image, glass(8, seed)), PlainGlass(image, seed).result(image, 8));
}

TEST(SmokedGlass, RefusedDensitiesAnswerWithTheSource)
{
    for (const int density : {0, 21, -1, INT_MIN, INT_MAX})
        for (const Pieces &image : {gray(9, 7), trueColor(9, 7)}) {
            const NothingLost check;
            const Handle handle = image.handle();
            const std::vector<void *> before = memory_hooks::liveBlocks();
            {
                RecordingHost host;
                EXPECT_EQ(glass(density, 4)(handle), static_cast<void *>(handle));
                EXPECT_EQ(host.events, Events{"wait"});
            }
            EXPECT_EQ(drawsSince(4), 0);
            EXPECT_EQ(memory_hooks::locksOn(handle), 1);
            EXPECT_EQ(bytesOf(handle), image.bytes());
            KelMemUnlock(handle);
            int left = 0;
            for (void *const block : memory_hooks::liveBlocks())
                if (std::find(before.begin(), before.end(), block) == before.end()) {
                    EXPECT_EQ(KelMemSize(block), image.bytes().size());
                    KelMemFree(block);
                    ++left;
                }
            EXPECT_EQ(left, 1);
        }
    // Other refusals come first, and so does a result that cannot be had.
    const Restore restore;
    EXPECT_EQ(eventsOfRefusal(noiseImage(5, 3, 4, 16), glass(0)), Events{});
    const Handle image = trueColor(5, 4).handle();
    memory_hooks::failAllocation(1);
    EXPECT_EQ(eventsOfRefusal(image, glass(0)), (Events{"wait", "arrow"}));
}

TEST(SmokedGlass, RulesAndEvents)
{
    expectAtmosphereRules(glass(8), [](void *dib) { return ProcessSmokedGlass(dib, nullptr); });
    for (const Pieces &image : {gray(5, 35), trueColor(5, 35)}) {
        EXPECT_EQ(eventsOf(image, glass(8)), joined({{"wait", "poll"}, rowEvents(35), {"100%", "arrow"}}));
        expectAborts(image, glass(8), 1);
        expectFailuresSurvived(image, glass(8));
    }
    expectScratchIsLikeTheResult(glass(8));
}

TEST(SmokedGlass, AnAbortEndsTheDraws)
{
    const Handle image = gray(9, 7).handle();
    RecordingHost host;
    host.abortFromPoll(2); // the first row's
    EXPECT_EQ(glass(8, 6)(image), nullptr);
    EXPECT_EQ(drawsSince(6), 2400);
}

TEST(SmokedGlass, ByCode)
{
    const Pieces image = trueColor(37, 5);
    EXPECT_EQ(resultOf(image, effectOfCode(4713, tagSmokedGlassParam{9}, 3)), resultOf(image, glass(9, 3)));
}

} // namespace

} // namespace velmont::testing
