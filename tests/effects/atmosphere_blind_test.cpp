// The blind: slats by hand and against a plain loop, its polls and reports slat by slat, aborts in the midst.

#include "tests/effects/atmosphere_testing.h"
#include <cmath>
#include <limits>

namespace velmont::testing {

namespace {

Effect blind(int orientation, int direction, int slatWidth, double opacity, uint32_t color = 0x204080)
{
    return effectOf<&ProcessBlind>(tagBlindParam{orientation, direction, slatWidth, opacity, color});
}

/// The lines of all slats in the order in which they come.
struct Line {
    int place, inSlat, ofSlat;
};
std::vector<Line> linesOf(int n, int slatWidth, bool isForward)
{
    const int w = std::max(slatWidth, 2);
    std::vector<int> sizes(static_cast<std::size_t>(n / w), w);
    if (n % w != 0)
        sizes.push_back(n % w);
    std::vector<Line> lines;
    int from = isForward ? 0 : n;
    const int slats = static_cast<int>(sizes.size());
    for (int i = 0; i < slats; ++i) {
        const int slat = isForward ? i : slats - 1 - i, size = sizes[static_cast<std::size_t>(slat)];
        for (int k = 0; k < size; ++k)
            lines.push_back({isForward ? from + k : from - 1 - k, k, size});
        from += isForward ? size : -size;
    }
    return lines;
}

int lowByteOf(double value)
{
    if (!(std::fabs(value) < 9.2e18))
        return 0;
    return static_cast<int>(static_cast<long long>(value) & 255);
}

Bytes slatted(const Pieces &image, int orientation, int direction, int slatWidth, double opacity,
              uint32_t color)
{
    Samples samples = samplesOf(image);
    const int n = orientation == 0 ? samples.width : samples.height;
    const double step = opacity * 0.01 / std::max(slatWidth, 2);
    const int byte0 = color & 255, byte1 = color >> 8 & 255, byte2 = color >> 16 & 255;
    const int colors[] = {samples.channels == 3 ? byte2
                                                : static_cast<int>(byte2 * 0.1 + byte0 * 0.2 + byte1 * 0.7),
                          byte1, byte0};
    double a = 0;
    for (const Line &line : linesOf(n, slatWidth, direction != 0)) {
        a = line.inSlat == 0 ? 0 : a + step;
        for (int i = 0; i < (orientation == 0 ? samples.height : samples.width); ++i)
            for (int channel = 0; channel < samples.channels; ++channel) {
                int &sample = orientation == 0 ? samples.of(line.place, i, channel)
                                               : samples.of(i, line.place, channel);
                sample = lowByteOf(sample * (1 - a) + colors[channel] * a);
            }
    }
    return withSamples(image, samples);
}

Events slatEvents(const Pieces &image, int orientation, int slatWidth, bool isForward)
{
    Events events{"wait", "poll"};
    const int n = orientation == 0 ? image.header.biWidth : image.header.biHeight;
    for (const Line &line : linesOf(n, slatWidth, isForward)) {
        events.push_back("poll");
        if (line.inSlat % 16 == 0)
            events.push_back(std::to_string(line.inSlat * 1200 / image.header.biHeight) + "%");
    }
    return joined({events, {"100%", "arrow"}});
}

TEST(Blind, ByHand)
{
    // Four columns a slat, a quarter of half more colour each; two columns are left for the last slat.
    const Pieces row = levelRow({100, 100, 100, 100, 100, 100, 100, 100, 100, 100});
    EXPECT_EQ(levelsOf(row, blind(0, 1, 4, 50, 0)), (Bytes{100, 87, 75, 62, 100, 87, 75, 62, 100, 87, 0, 0}));
    // From the end: the slats are cut from the start all the same.
    EXPECT_EQ(levelsOf(row, blind(0, 0, 4, 50, 0)), (Bytes{62, 75, 87, 100, 62, 75, 87, 100, 87, 100, 0, 0}));
    const Pieces column = levelColumn({100, 100, 100, 100, 100});
    EXPECT_EQ(levelsOf(column, blind(1, 1, 2, 100, 0)),
              (Bytes{100, 0, 0, 0, 50, 0, 0, 0, 100, 0, 0, 0, 50, 0, 0, 0, 100, 0, 0, 0}));
    EXPECT_EQ(levelsOf(column, blind(7, 0, 2, 100, 0)),
              (Bytes{50, 0, 0, 0, 100, 0, 0, 0, 50, 0, 0, 0, 100, 0, 0, 0, 100, 0, 0, 0}));
}

TEST(Blind, Colors)
{
    const Pieces pixels = pixelRow({100, 100, 100, 100, 100, 100});
    EXPECT_EQ(resultOf(pixels, blind(0, 1, 2, 100, 0x0A64C8)),
              pixelRow({100, 100, 100, 55, 100, 150}).bytes());
    // 0.1 * 10 + 0.2 * 200 + 0.7 * 100 is 111, and half of the way there from 100 is 105.
    EXPECT_EQ(levelsOf(levelRow({100, 100, 100, 100}), blind(0, 1, 2, 100, 0x0A64C8)),
              (Bytes{100, 105, 100, 105}));
    EXPECT_EQ(levelsOf(levelRow({0, 0, 0, 0}), blind(0, 1, 2, 100, 0xFF0000FF)), (Bytes{0, 25, 0, 25})); // 51
}

TEST(Blind, NarrowSlatsHaveTwoLines)
{
    const Pieces image = trueColor(9, 5);
    const Bytes two = resultOf(image, blind(0, 1, 2, 60));
    for (const int slatWidth : {1, 0, -5, INT_MIN})
        EXPECT_EQ(resultOf(image, blind(0, 1, slatWidth, 60)), two);
}

TEST(Blind, WithoutOpacityACopy)
{
    for (const Pieces &image : {gray(70, 9), trueColor(9, 70)})
        for (const int orientation : {0, 1})
            for (const int direction : {0, 1})
                EXPECT_EQ(resultOf(image, blind(orientation, direction, 20, 0)),
                          withSamples(image, samplesOf(image)));
}

TEST(Blind, WideSlatsStopShort)
{
    // Ten columns of a slat of 1000: the last one has nine thousandths of the colour.
    const Bytes rows = levelsOf(flat(gray(10, 1), 0), blind(0, 1, 1000, 100, 0xFFFFFF));
    EXPECT_EQ(Bytes(rows.begin(), rows.begin() + 10), (Bytes{0, 0, 0, 0, 1, 1, 1, 1, 2, 2}));
    for (const int slatWidth : {INT_MAX, 1 << 30})
        EXPECT_EQ(resultOf(gray(10, 3), blind(1, 0, slatWidth, 100)),
                  slatted(gray(10, 3), 1, 0, slatWidth, 100, 0x204080));
}

TEST(Blind, EveryMeasureAsThePlainLoop)
{
    constexpr int kWidths[] = {2, 3, 5, 7, 16, 20, 39, 64, 1000};
    constexpr double kOpacities[] = {80, 100, 33.3, 0.5, 150, -40, 12345.6, -1e7};
    forMeasures([&](const Pieces &image, int number) {
        const auto pick = static_cast<std::size_t>(number / 2);
        const int orientation = number / 2 % 2, direction = number / 4 % 2, slatWidth = kWidths[pick % 9];
        const double opacity = kOpacities[pick % 8];
        const uint32_t color = static_cast<uint32_t>(number) * 2654435761u;
        ASSERT_EQ(resultOf(image, blind(orientation, direction, slatWidth, opacity, color)),
                  slatted(image, orientation, direction, slatWidth, opacity, color))
            << orientation << direction << ", " << slatWidth << ", " << opacity;
    });
    // Slats of more lines than are worked on together.
    for (const Pieces &image : {gray(200, 7), trueColor(7, 200), trueColor(150, 150)})
        for (const int orientation : {0, 1})
            for (const int direction : {0, 1})
                for (const int slatWidth : {63, 64, 65, 128, 130, 400})
                    EXPECT_EQ(resultOf(image, blind(orientation, direction, slatWidth, 90)),
                              slatted(image, orientation, direction, slatWidth, 90, 0x204080));
}

TEST(Blind, AbsurdOpacities)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const double opacity : {1e9, -1e9, 1e18, 1e25, 1e300, -1e300, kInfinity, -kInfinity,
                                 std::numeric_limits<double>::quiet_NaN()})
        for (const Pieces &image : {gray(11, 5), trueColor(5, 11)})
            for (const int orientation : {0, 1})
                EXPECT_EQ(resultOf(image, blind(orientation, 1, 4, opacity)),
                          slatted(image, orientation, 1, 4, opacity, 0x204080))
                    << opacity;
}

TEST(Blind, Events)
{
    for (const Pieces &image : {gray(75, 35), trueColor(35, 75)})
        for (const int orientation : {0, 1})
            for (const int direction : {0, 1})
                for (const int slatWidth : {2, 20, 40, 100})
                    EXPECT_EQ(eventsOf(image, blind(orientation, direction, slatWidth, 50)),
                              slatEvents(image, orientation, slatWidth, direction != 0));
    const Events wide = eventsOf(gray(40, 3), blind(0, 1, 40, 50));
    EXPECT_EQ(wide, joined({{"wait", "poll", "poll", "0%"},
                            Events(15, "poll"),
                            {"poll", "6400%"},
                            Events(15, "poll"),
                            {"poll", "12800%"},
                            Events(7, "poll"),
                            {"100%", "arrow"}}));
}

TEST(Blind, AnAbortLeavesASlatAndTheNextPollsAgain)
{
    const Pieces image = trueColor(11, 5);
    const Handle handle = image.handle();
    RecordingHost host;
    host.abortFromPoll(4); // the third line; slats of four, four and three lines
    EXPECT_EQ(blind(0, 1, 4, 50)(handle), nullptr);
    EXPECT_EQ(host.events,
              (Events{"wait", "poll", "poll", "0%", "poll", "poll", "poll", "poll", "100%", "arrow"}));
    EXPECT_EQ(memory_hooks::locksOn(handle), 0);
}

TEST(Blind, OnlyTheLastSlatsAbortCounts)
{
    const Restore restore;
    const NothingLost check;
    memory_hooks::setFillByte(0xCD);
    for (const Pieces &image : {trueColor(11, 9), gray(11, 9)})
        for (const int orientation : {0, 1})
            for (const int direction : {0, 1}) {
                const int n = orientation == 0 ? 11 : 9;
                const std::vector<Line> lines = linesOf(n, 4, direction != 0);
                const Samples whole = [&] {
                    Pieces pieces = image;
                    pieces.rows = rowsOf(image, resultOf(image, blind(orientation, direction, 4, 50)));
                    return samplesOf(pieces);
                }();
                for (std::size_t at = 0; at < lines.size(); ++at) {
                    const Handle handle = image.handle();
                    // Earlier slats poll for all their lines.
                    WatchingHost host(handle, static_cast<int>(at) + 2);
                    const Handle result(blind(orientation, direction, 4, 50)(handle));
                    const std::size_t end = at - static_cast<std::size_t>(lines[at].inSlat) +
                                            static_cast<std::size_t>(lines[at].ofSlat);
                    ASSERT_EQ(result == nullptr, end == lines.size()) << at;
                    if (!result)
                        continue;
                    Samples expected = whole;
                    for (std::size_t i = at; i < end; ++i)
                        for (int j = 0; j < 11; ++j)
                            for (int channel = 0; channel < expected.channels; ++channel)
                                (orientation == 0 ? expected.of(lines[i].place, j, channel)
                                                  : expected.of(j, lines[i].place, channel)) = 0;
                    EXPECT_EQ(bytesOf(result), withSamples(image, expected)) << at;
                }
            }
}

TEST(Blind, Rules)
{
    const Restore restore;
    expectAtmosphereRules(blind(0, 1, 4, 50), [](void *dib) { return ProcessBlind(dib, nullptr); });
    for (const Pieces &image : {gray(5, 35), trueColor(5, 35)})
        expectFailuresSurvived(image, blind(1, 1, 4, 50));
    // One slat ends as other effects do.
    expectAborts(gray(5, 35), blind(1, 1, 35, 50), 1);
    expectAborts(trueColor(5, 35), blind(0, 0, 5, 50), 1);
    const Handle image = gray(5, 4).handle();
    const long before = memory_hooks::counts().allocations;
    const Handle result(blind(0, 1, 4, 50)(image));
    EXPECT_EQ(memory_hooks::counts().allocations, before + 1);
    EXPECT_EQ(memory_hooks::counts().lastFlags, 0u);
    memory_hooks::failAllocation(1);
    EXPECT_EQ(eventsOfRefusal(image, blind(0, 1, 4, 50)), (Events{"wait", "arrow"}));
}

TEST(Blind, ByCode)
{
    const Pieces image = trueColor(37, 5);
    EXPECT_EQ(resultOf(image, effectOfCode(4705, tagBlindParam{1, 0, 3, 70, 0xC04020})),
              resultOf(image, blind(1, 0, 3, 70, 0xC04020)));
}

} // namespace

} // namespace velmont::testing
