// The pen strokes that cross.

#include "platform/memory.h"
#include "tests/effects/hatching_testing.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <velmont/effects.h>
#include <velmont/hatching.h>

namespace velmont::testing {

namespace {

Effect crosshatch(int size)
{
    return [size](void *dib) {
        tagCrosshatch record{size};
        return ProcessCrosshatch(dib, &record);
    };
}

/// The brush as a square of bytes.
std::vector<int> brushOf(int n, bool isMirrored)
{
    std::vector<int> brush(static_cast<std::size_t>(n * n), 0);
    const auto at = [&](int i, int j) -> int & {
        return brush[static_cast<std::size_t>(j * n + (isMirrored ? n - 1 - i : i))];
    };
    at(0, 0) = 255, at(1, 0) = 235;
    for (int r = 1; r <= n - 2; ++r)
        at(r - 1, r) = 51, at(r, r) = 255, at(r + 1, r) = 235;
    at(n - 2, n - 1) = 51, at(n - 1, n - 1) = 255;
    return brush;
}

/// Strokes drawn one cell after the other, in floating point.
class Hatcher {
public:
    Hatcher(const Pieces &source, int n, uint32_t state)
        : canvas(source), numbers(state), n_(n),
          covered_(static_cast<std::size_t>(canvas.width() * canvas.height()), false)
    {
    }

    /// All strokes; `forwards` and `backwards` say how many lines of each family are drawn, -1 for all.
    void drawAll(int forwards = -1, int backwards = -1)
    {
        const int width = canvas.width(), height = canvas.height();
        const int a = (width + n_) / 3, b = (height + n_) / 3;
        for (int p = -b; p <= a && forwards != 0; ++p, --forwards) {
            const int r = numbers.next() % n_;
            int x = 3 * p + r, y = r - 2 * n_;
            for (int q = -2 * n_; q <= b; ++q) {
                x += n_ - 2, y += n_ - 2;
                const int j = numbers.next() & 1;
                if (x + j < -n_)
                    continue;
                if (x + j >= width || y + j >= height)
                    break;
                stamp(x + j, y + j, false);
            }
        }
        for (int p = 0; p <= a + b && backwards != 0; ++p, --backwards) {
            const int r = numbers.next() % n_;
            int x = 3 * p - r, y = r - 2 * n_;
            for (int q = -2 * n_; q <= b; ++q) {
                x += 2 - n_, y += n_ - 2;
                const int j = numbers.next() & 1;
                if (x + j > width + n_)
                    continue;
                if (x + j < -n_ || y + j >= height)
                    break;
                stamp(x + j, y + j, true);
            }
        }
    }

    Canvas canvas;
    Numbers numbers;
    int stamps = 0;

private:
    void stamp(int sx, int sy, bool isSecond)
    {
        ++stamps;
        const std::vector<int> &brush = brushes_[isSecond];
        const int channels = canvas.isColor() ? 3 : 1;
        double total = 0;
        std::array<int, 3> sums{}, averages{}, edges{};
        const auto forCells = [&](auto use) {
            for (int j = 0; j < n_; ++j)
                for (int i = 0; i < n_; ++i)
                    if (canvas.has(sx + i, sy + j))
                        use(sx + i, sy + j, brush[static_cast<std::size_t>(j * n_ + i)]);
        };
        forCells([&](int x, int y, int m) {
            total += m;
            for (int c = 0; c < channels; ++c)
                sums[at(c)] =
                    static_cast<int>(channelOf(canvas.source(x, y), c) * (m * kShare) + sums[at(c)]);
        });
        for (int c = 0; c < channels; ++c) {
            averages[at(c)] = total > 0 ? static_cast<int>(sums[at(c)] * 255.0 / total) : 0;
            edges[at(c)] = jittered(averages[at(c)], numbers.next(), 50);
        }
        forCells([&](int x, int y, int m) {
            const std::size_t place = static_cast<std::size_t>(y * canvas.width() + x);
            if (m == 0) {
                if (isSecond && !covered_[place])
                    covered_[place] = true, canvas.paint(x, y, canvas.source(x, y));
                return;
            }
            covered_[place] = true;
            uint32_t color = 0;
            for (int c = 0; c < channels; ++c) {
                const double w = m * kShare;
                const double t = m == 51 ? edges[at(c)] * w * 5 : averages[at(c)] * w;
                const double most = std::max<double>(channelOf(canvas.result(x, y), c), std::min(t, 255.0));
                color |= static_cast<uint32_t>(most) << 8 * c;
            }
            canvas.paint(x, y, color);
        });
    }
    static std::size_t at(int channel) { return static_cast<std::size_t>(channel); }

    static constexpr double kShare = 0.00392156862745098;
    int n_;
    const std::array<std::vector<int>, 2> brushes_{brushOf(n_, false), brushOf(n_, true)};
    std::vector<bool> covered_;
};

void expectDrawn(const Pieces &source, int size, uint32_t state)
{
    Hatcher hatcher(source, size, state);
    hatcher.drawAll();
    srand(state);
    ASSERT_EQ(resultOf(source, crosshatch(size)), hatcher.canvas.bytes())
        << source.header.biWidth << " x " << source.header.biHeight << ", " << source.header.biBitCount
        << " bits, size " << size;
    ASSERT_EQ(rand(), hatcher.numbers.next()) << "numbers drawn";
}

TEST(CrosshatchTest, DrawsStrokesAsOneCellAfterTheOtherDoes)
{
    const NothingLost check;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            constexpr int kSizes[] = {3, 2, 5, 4, 9, 17};
            const int size = kSizes[(width + 5 * height) % 6];
            const auto state = static_cast<uint32_t>(width * 100 + height);
            expectDrawn(trueColor(width, height, state), size, state);
            expectDrawn(gray(width, height, state), size, state);
        }
}

TEST(CrosshatchTest, DrawsInPalettesByTheirReds)
{
    for (const int size : {3, 4, 8, 30})
        for (const Pieces &source : paintable(23, 17))
            expectDrawn(source, size, 77);
}

TEST(CrosshatchTest, DrawsWhereTheBrushIsLargerThanTheImage)
{
    for (const int size : {20, 41, 200})
        for (const Pieces &source : {trueColor(7, 5), gray(1, 1), trueColor(1, 9), gray(12, 1)})
            expectDrawn(source, size, 5);
}

// Strokes advance by size - 2.
TEST(CrosshatchTest, SmallestSizeLeavesThePictureBlankAndDrawsItsNumbers)
{
    for (const Pieces &source : {trueColor(5, 4), gray(5, 4)}) {
        srand(1);
        EXPECT_EQ(resultOf(source, crosshatch(2)), blank(source).bytes());
        // A = 2, B = 2. Forwards p is -2 to 2, each q -4 to 2: x = 3p + r stays, and y is r - 4 + j, above the image.
        // What lies further left than the brush draws its j alone, what lies behind the width ends.
        Numbers numbers(1);
        const int channels = source.header.biBitCount == 24 ? 3 : 1;
        const auto stampNumbers = [&] {
            for (int i = 0; i < channels; ++i)
                numbers.next();
        };
        for (int p = -2; p <= 2; ++p) {
            const int r = numbers.next() % 2;
            for (int q = 0; q < 7; ++q) {
                const int x = 3 * p + r + (numbers.next() & 1);
                if (x >= 5)
                    break;
                if (x >= -2)
                    stampNumbers();
            }
        }
        for (int p = 0; p <= 4; ++p) {
            const int r = numbers.next() % 2;
            for (int q = 0; q < 7; ++q)
                if (3 * p - r + (numbers.next() & 1) <= 7)
                    stampNumbers();
        }
        EXPECT_EQ(rand(), numbers.next());
    }
}

TEST(CrosshatchTest, EveryStampDrawsItsJitterInsideOrNot)
{
    for (const Pieces &source : paintable(9, 30)) {
        Hatcher hatcher(source, 5, 3);
        hatcher.drawAll();
        ASSERT_GT(hatcher.stamps, 50);
        EXPECT_EQ(nextAfter(source, crosshatch(5), 3), hatcher.numbers.next());
    }
}

TEST(CrosshatchTest, WhiteStaysNearWhite)
{
    Pieces white = trueColor(40, 30);
    std::fill(white.rows.begin(), white.rows.end(), uint8_t{255});
    srand(9);
    const Bytes result = resultOf(white, crosshatch(7));
    ASSERT_EQ(result.size(), white.bytes().size());
    int darkest = 255;
    bool hasEdge = false, hasFull = false;
    for (std::size_t y = 0; y < 30; ++y)
        for (std::size_t i = 0; i < 3 * 40; ++i) {
            const int sample = result[40 + 120 * y + i];
            darkest = std::min(darkest, sample);
            hasFull |= sample == 255;
            hasEdge |= sample > 235 && sample < 255;
        }
    EXPECT_GE(darkest, 230);
    EXPECT_TRUE(hasEdge);
    EXPECT_TRUE(hasFull);
}

TEST(CrosshatchTest, OtherDepthsStayBlankAndDrawAsManyNumbersAsGray)
{
    const int afterGray = nextAfter(gray(21, 10), crosshatch(6), 8);
    for (const Pieces &source : {paletted(21, 10, 1, 2), paletted(21, 10, 4, 16), paletted(21, 10, 16, 0)}) {
        srand(8);
        EXPECT_EQ(resultOf(source, crosshatch(6)), blank(source).bytes());
        EXPECT_EQ(rand(), afterGray);
    }
    const Pieces counted = trueColorWithCount(21, 10);
    const int afterColor = nextAfter(trueColor(21, 10), crosshatch(6), 8);
    EXPECT_NE(afterColor, afterGray);
    srand(8);
    EXPECT_EQ(resultOf(counted, crosshatch(6)), blank(counted).bytes());
    EXPECT_EQ(rand(), afterColor);
}

TEST(CrosshatchTest, RefusesWhatItCannotDraw)
{
    const Pieces source = trueColor(5, 4);
    const Handle handle = source.handle();
    EXPECT_EQ(eventsOfRefusal(handle, [](void *dib) { return ProcessCrosshatch(dib, nullptr); }), Events{});
    for (const int size : {INT32_MIN, -1, 0, 1, 46341, INT32_MAX})
        EXPECT_EQ(eventsOfRefusal(handle, crosshatch(size)), Events{}) << size;
    EXPECT_EQ(eventsOfRefusal(nullptr, crosshatch(5)), Events{});
}

TEST(CrosshatchTest, TakesTheLargestBrush)
{
    for (const Pieces &source : {trueColor(5, 4), gray(3, 2)}) {
        const Bytes result = resultOf(source, crosshatch(46340));
        EXPECT_EQ(result.size(), source.bytes().size());
    }
}

/// A poll at each line of strokes and a report at each sixteenth, counted from the line at the first column.
Events lineEvents(int a, int b)
{
    Events events{"wait", "poll"};
    for (int p = -b; p <= a; ++p) {
        events.push_back("poll");
        if (p % 16 == 0)
            events.push_back(std::to_string((b + p) * 40 / (a + b)) + "%");
    }
    for (int p = 0; p <= a + b; ++p) {
        events.push_back("poll");
        if (p % 16 == 0)
            events.push_back(std::to_string(p * 50 / (a + b) + 40) + "%");
    }
    return joined({events, {"100%", "arrow"}});
}

TEST(CrosshatchTest, PollsAtEachLineOfStrokes)
{
    // Three lines of each family, the middle one of the first at the first column.
    EXPECT_EQ(eventsOf(trueColor(1, 1), crosshatch(2)),
              (Events{"wait", "poll", "poll", "poll", "20%", "poll", "poll", "40%", "poll", "poll", "100%",
                      "arrow"}));
    for (const auto &[width, height, size] : {std::array{5, 4, 5}, {200, 7, 3}, {7, 200, 12}, {97, 101, 2}}) {
        const Events expected = lineEvents((width + size) / 3, (height + size) / 3);
        EXPECT_EQ(eventsOf(trueColor(width, height), crosshatch(size)), expected);
        EXPECT_EQ(eventsOf(gray(width, height), crosshatch(size)), expected);
        EXPECT_EQ(eventsOf(paletted(width, height, 1, 2), crosshatch(size)), expected);
    }
}

TEST(CrosshatchTest, AnAbortOfTheFirstFamilyIsForgotten)
{
    const NothingLost check;
    const Pieces source = trueColor(30, 20);
    constexpr int kSize = 6, kA = 12, kB = 8;
    const Handle handle = source.handle();
    for (const int line : {0, 1, 7, kA + kB}) {
        // The dropped poll is the first one.
        WatchingHost host(handle, 2 + line);
        srand(4);
        const Handle result(crosshatch(kSize)(handle));
        ASSERT_TRUE(result) << line;
        Hatcher hatcher(source, kSize, 4);
        hatcher.drawAll(line, -1);
        EXPECT_EQ(bytesOf(result), hatcher.canvas.bytes()) << line;
        EXPECT_EQ(rand(), hatcher.numbers.next()) << line;
        const Events events = host.events();
        EXPECT_EQ(std::count(events.begin(), events.end(), "poll"), 2 + line + kA + kB + 1) << line;
    }
}

TEST(CrosshatchTest, AnAbortOfTheSecondFamilyEndsIt)
{
    const NothingLost check;
    const Pieces source = trueColor(30, 20);
    constexpr int kLines = 21;
    const Handle handle = source.handle();
    for (const int line : {0, 1, 20}) {
        WatchingHost host(handle, 2 + kLines + line);
        srand(4);
        EXPECT_EQ(crosshatch(6)(handle), nullptr) << line;
        Hatcher hatcher(source, 6, 4);
        hatcher.drawAll(-1, line);
        EXPECT_EQ(rand(), hatcher.numbers.next()) << line;
        const Events events = host.events();
        ASSERT_GE(events.size(), 3u);
        EXPECT_EQ(Events(events.end() - 3, events.end()), (Events{"poll", "100%", "arrow"}));
    }
    // One that holds on from the first family is seen at the second one's first line.
    RecordingHost host;
    host.abortFromPoll(5);
    EXPECT_EQ(crosshatch(6)(handle), nullptr);
    EXPECT_EQ(host.polls(), 6);
    EXPECT_EQ(memory_hooks::locksOn(handle), 0);
}

TEST(CrosshatchTest, SurvivesFailures)
{
    for (const Pieces &source : {trueColor(9, 7), gray(9, 7)})
        expectFailuresSurvived(source, crosshatch(5));
    const Handle handle = trueColor(9, 7).handle();
    memory_hooks::failAllocation(1);
    EXPECT_EQ(eventsOfRefusal(handle, crosshatch(5)), (Events{"wait", "arrow"}));
    memory_hooks::failAllocation(2);
    EXPECT_EQ(eventsOfRefusal(handle, crosshatch(5)), (Events{"wait", "poll", "arrow"}));
    memory_hooks::failAllocation(0);
}

TEST(CrosshatchTest, NothingIsAliveButThePicturesAtTheLastReport)
{
    const Handle handle = trueColor(20, 9).handle();
    WatchingHost host(handle);
    const Handle result(crosshatch(5)(handle));
    const Sight last = host.sights[host.sights.size() - 2];
    EXPECT_EQ(last, (Sight{"100%", 0, 1, 0}));
}

TEST(CrosshatchTest, RunsByCode)
{
    const Handle handle = trueColor(20, 9).handle();
    tagCrosshatch record{7};
    srand(6);
    const Handle byName(ProcessCrosshatch(handle, &record));
    srand(6);
    const Handle byCode(EnhanceAndEffects(handle, 1105, reinterpret_cast<long>(&record)));
    EXPECT_EQ(bytesOf(byCode), bytesOf(byName));
}

} // namespace

} // namespace velmont::testing
