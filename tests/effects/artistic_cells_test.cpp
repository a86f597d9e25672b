// Facets and dots around random places.

#include "platform/memory.h"
#include "tests/effects/hatching_testing.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <velmont/effects.h>
#include <velmont/hatching.h>

namespace velmont::testing {

namespace {

Effect crystallize(int size)
{
    return [size](void *dib) {
        tagCrystallize record{size};
        return ProcessCrystallize(dib, &record);
    };
}

Effect pointillize(int size)
{
    return [size](void *dib) {
        tagPointillize record{size};
        return ProcessPointillize(dib, &record);
    };
}

/// Facets and dots, each pixel by itself.
class CellModel {
public:
    /// With only the first rows of cells where these are not -1.
    static CellModel facets(const Pieces &source, int size, uint32_t state, int cellRows = -1)
    {
        CellModel model(source, size, size * 3 / 4, state);
        model.placeCells(std::max(size / 6, 1), 0, cellRows);
        model.paintPixels([&](int x, int y) { return model.facetAt(x, y); });
        return model;
    }
    static CellModel dots(const Pieces &source, int size, uint32_t state, int cellRows = -1)
    {
        const int pitch = size * 8 / 10;
        CellModel model(source, size, pitch < 4 ? pitch + 1 : pitch, state);
        model.placeCells(size, 100, cellRows);
        model.paintPixels([&](int x, int y) { return model.dotAt(x, y); });
        return model;
    }

    Canvas canvas;
    Numbers numbers;
    int columns, rows;

private:
    struct Cell {
        int x, y;
        uint32_t color;
    };

    CellModel(const Pieces &source, int size, int pitch, uint32_t state)
        : canvas(source), numbers(state), columns(canvas.width() / pitch + 1),
          rows(canvas.height() / pitch + 1), size_(size), pitch_(pitch)
    {
    }

    void placeCells(int window, int swing, int cellRows)
    {
        const int channels = canvas.isColor() ? 3 : 1;
        for (int j = 0; j < (cellRows < 0 ? rows : cellRows); ++j)
            for (int i = 0; i < columns; ++i) {
                const int x = numbers.next() % pitch_ + i * pitch_;
                const int y = numbers.next() % pitch_ + j * pitch_;
                uint32_t color = meanAround(x, y, window);
                if (swing > 0) {
                    uint32_t moved = 0;
                    for (int c = 0; c < channels; ++c)
                        moved |= static_cast<uint32_t>(jittered(channelOf(color, c), numbers.next(), swing))
                                 << 8 * c;
                    color = moved;
                }
                cells_.push_back({x, y, color});
            }
    }
    uint32_t meanAround(int x, int y, int window) const
    {
        std::array<int, 3> sums{};
        int count = 0;
        for (int v = std::max(y - window, 0); v <= y + window && v < canvas.height(); ++v)
            for (int u = std::max(x - window, 0); u <= x + window && u < canvas.width(); ++u) {
                ++count;
                for (int c = 0; c < 3; ++c)
                    sums[static_cast<std::size_t>(c)] += channelOf(canvas.source(u, v), c);
            }
        return meanOf(sums, std::max(count, 1));
    }
    static uint32_t meanOf(const std::array<int, 3> &sums, int count)
    {
        uint32_t color = 0;
        for (int c = 0; c < 3; ++c)
            color |= static_cast<uint32_t>(sums[static_cast<std::size_t>(c)] / count) << 8 * c;
        return color;
    }

    struct Found {
        int best;
        std::vector<uint32_t> colors;
    };
    Found nearest(int x, int y, bool heedsEdges) const
    {
        Found found{2 * size_, {}};
        for (int i = x / pitch_ - 1; i <= x / pitch_ + 1; ++i)
            for (int j = y / pitch_ - 1; j <= y / pitch_ + 1; ++j) {
                const int index = j * columns + i;
                if (i < 0 || i >= columns || j < 0 || j >= rows || index >= static_cast<int>(cells_.size()))
                    continue;
                const Cell &cell = cells_[static_cast<std::size_t>(index)];
                if (heedsEdges && (cell.x > canvas.width() || cell.y > canvas.height()))
                    continue;
                const int d = static_cast<int>(std::hypot(cell.x - x, cell.y - y) + 1e-9);
                if (d > found.best)
                    continue;
                if (d < found.best)
                    found = {d, {}};
                found.colors.push_back(cell.color);
            }
        return found;
    }
    static uint32_t mixed(const std::vector<uint32_t> &colors)
    {
        std::array<int, 3> sums{};
        for (const uint32_t color : colors)
            for (int c = 0; c < 3; ++c)
                sums[static_cast<std::size_t>(c)] += channelOf(color, c);
        return meanOf(sums, std::max(static_cast<int>(colors.size()), 1));
    }
    uint32_t facetAt(int x, int y) const { return mixed(nearest(x, y, true).colors); }
    uint32_t dotAt(int x, int y) const
    {
        const Found found = nearest(x, y, false);
        const int radius = size_ / 2;
        if (found.best > radius)
            return 0xFFFFFF;
        uint32_t color = mixed(found.colors);
        if (found.colors.size() == 1 && found.best == radius) {
            uint32_t rim = 0;
            for (int c = 0; c < 3; ++c)
                rim |= static_cast<uint32_t>((channelOf(color, c) + 255) / 2) << 8 * c;
            color = rim;
        }
        return color;
    }
    template <typename ColorAt>
    void paintPixels(ColorAt colorAt)
    {
        for (int y = 0; y < canvas.height(); ++y)
            for (int x = 0; x < canvas.width(); ++x)
                canvas.paint(x, y, colorAt(x, y));
    }

    int size_, pitch_;
    std::vector<Cell> cells_;
};

/// One of the two effects and its model.
struct Kind {
    Effect (*effect)(int size);
    CellModel (*model)(const Pieces &source, int size, uint32_t state, int cellRows);
};
constexpr Kind kKinds[] = {{crystallize, CellModel::facets}, {pointillize, CellModel::dots}};

void expectPainted(const Kind &kind, const Pieces &source, int size, uint32_t state)
{
    CellModel model = kind.model(source, size, state, -1);
    srand(state);
    ASSERT_EQ(resultOf(source, kind.effect(size)), model.canvas.bytes())
        << source.header.biWidth << " x " << source.header.biHeight << ", " << source.header.biBitCount
        << " bits, size " << size;
    ASSERT_EQ(rand(), model.numbers.next()) << "numbers drawn";
}

TEST(CellsTest, PaintAsEachPixelByItselfIsPainted)
{
    const NothingLost check;
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height)
            for (const Kind &kind : kKinds) {
                constexpr int kSizes[] = {2, 3, 4, 5, 7, 10, 16, 23};
                const int size = kSizes[(width + 3 * height) % 8];
                const auto state = static_cast<uint32_t>(width * 100 + height);
                expectPainted(kind, trueColor(width, height, state), size, state);
                expectPainted(kind, gray(width, height, state), size, state);
            }
}

TEST(CellsTest, PaintInEverySizeUpToThirtyAndInPalettes)
{
    for (int size = 2; size <= 30; ++size)
        for (const Pieces &source : paintable(29, 21))
            for (const Kind &kind : kKinds)
                expectPainted(kind, source, size, static_cast<uint32_t>(size));
}

// Beyond 512 pixels of pitch the distances are reckoned in another type.
TEST(CellsTest, PaintLargeCells)
{
    for (const int size : {600, 700, 1500, 30000, 100000000})
        for (const Pieces &source : {trueColor(61, 40), gray(13, 50)})
            for (const Kind &kind : kKinds)
                expectPainted(kind, source, size, 1234);
}

// Means of windows wider than one sum of bytes can take.
TEST(CellsTest, PaintWidePictures)
{
    Pieces bright = trueColor(12000, 2);
    std::fill(bright.rows.begin(), bright.rows.end(), uint8_t{255});
    for (const Kind &kind : kKinds) {
        expectPainted(kind, bright, 9000, 5);
        expectPainted(kind, gray(9000, 1), 5000, 6);
    }
}

TEST(CellsTest, LargestSizeIsOneCell)
{
    const Pieces source = gray(9, 6);
    for (const Kind &kind : kKinds) {
        srand(3);
        const Bytes result = resultOf(source, kind.effect(INT32_MAX));
        ASSERT_EQ(result.size(), source.bytes().size());
        // One cell, that of dots with its jitter.
        Numbers numbers(3);
        for (int i = 0; i < (kind.effect == crystallize ? 2 : 3); ++i)
            numbers.next();
        EXPECT_EQ(rand(), numbers.next());
    }
}

TEST(CellsTest, SmallestDotIsAPixel)
{
    // Pitch 1, radius 0: each pixel is the place of its cell and a rim, so it is half white.
    const Pieces source = gray(7, 5);
    expectPainted(kKinds[1], source, 1, 10);
    srand(10);
    const Bytes result = resultOf(source, pointillize(1));
    for (std::size_t y = 0; y < 5; ++y)
        for (std::size_t x = 0; x < 7; ++x)
            EXPECT_GE(result[1064 + 8 * y + x], 127);
}

// 2 x 1 pixels, pitch 1: two cells and one beyond, and another row of as many. Each random number mod 1 is 0, so the
// places are the pixels, and the facet around each has the mean of both: 10 and 21 give 15.
TEST(CellsTest, FacetsByHand)
{
    const Bytes result = resultOf(levelRow({10, 21}), crystallize(2));
    EXPECT_EQ(Bytes(result.begin() + 1064, result.end()), (Bytes{15, 15, 0, 0}));
}

// From this state the places of the other three cells lie beyond the far edges, and the one left is on the first pixel:
// 144.96 from the last one, which is cut to twice the size and just joins.
TEST(CellsTest, FacetsReachTwiceTheirSize)
{
    constexpr uint32_t kState = 49171;
    for (const Pieces &source : {trueColor(104, 103), gray(104, 103)})
        expectPainted(kKinds[0], source, 72, kState);
    Pieces flat = gray(104, 103);
    std::fill(flat.rows.begin(), flat.rows.end(), uint8_t{200});
    srand(kState);
    const Bytes result = resultOf(flat, crystallize(72));
    EXPECT_EQ(result.at(1064 + 104 * 102 + 103), 200);
}

TEST(CellsTest, UniformPicturesStayUniform)
{
    for (const int size : {2, 5, 16, 40})
        for (Pieces source : {trueColor(60, 50), gray(60, 50)}) {
            for (std::size_t i = 0; i < source.rows.size(); ++i)
                source.rows[i] = 173;
            EXPECT_EQ(resultOf(source, crystallize(size)), source.bytes()) << size;
        }
}

TEST(CellsTest, DotsLeaveWhiteGaps)
{
    Pieces black = gray(100, 100);
    std::fill(black.rows.begin(), black.rows.end(), uint8_t{0});
    const Bytes result = resultOf(black, pointillize(20));
    const auto white = std::count(result.begin() + 1064, result.end(), uint8_t{255});
    EXPECT_GT(white, 200);
    EXPECT_LT(white, 6000);
    // Dots themselves are moved by less than 50 levels, and their rims are halfway to white.
    for (auto level = result.begin() + 1064; level != result.end(); ++level)
        EXPECT_TRUE(*level == 255 || *level < 50 || (*level >= 127 && *level < 153)) << int{*level};
}

TEST(CellsTest, OtherDepthsStayBlankAndDrawAsManyNumbersAsGray)
{
    for (const Kind &kind : kKinds) {
        const int afterGray = nextAfter(gray(21, 10), kind.effect(6), 8);
        for (const Pieces &source :
             {paletted(21, 10, 1, 2), paletted(21, 10, 4, 16), paletted(21, 10, 16, 0)}) {
            srand(8);
            EXPECT_EQ(resultOf(source, kind.effect(6)), blank(source).bytes());
            EXPECT_EQ(rand(), afterGray);
        }
        const Pieces counted = trueColorWithCount(21, 10);
        const int afterColor = nextAfter(trueColor(21, 10), kind.effect(6), 8);
        srand(8);
        EXPECT_EQ(resultOf(counted, kind.effect(6)), blank(counted).bytes());
        EXPECT_EQ(rand(), afterColor);
    }
}

TEST(CellsTest, RefuseWhatTheyCannotPaint)
{
    const Handle handle = trueColor(5, 4).handle();
    EXPECT_EQ(eventsOfRefusal(handle, [](void *dib) { return ProcessCrystallize(dib, nullptr); }), Events{});
    EXPECT_EQ(eventsOfRefusal(handle, [](void *dib) { return ProcessPointillize(dib, nullptr); }), Events{});
    for (const int size : {INT32_MIN, -1, 0}) {
        EXPECT_EQ(eventsOfRefusal(handle, crystallize(size)), Events{}) << size;
        EXPECT_EQ(eventsOfRefusal(handle, pointillize(size)), Events{}) << size;
    }
    EXPECT_EQ(eventsOfRefusal(handle, crystallize(1)), Events{});
    for (const Kind &kind : kKinds)
        EXPECT_EQ(eventsOfRefusal(nullptr, kind.effect(5)), Events{});
}

TEST(CellsTest, FacetsReportNothingDoneAtEachRowOfCells)
{
    // Pitch 6: 40 / 6 + 1 = 7 rows of cells.
    Events expected{"wait", "poll"};
    for (int j = 0; j < 7; ++j)
        expected.insert(expected.end(), {"poll", "0%"});
    expected = joined({expected, rowEvents(40), {"100%", "arrow"}});
    for (const Pieces &source : {trueColor(5, 40), gray(50, 40), paletted(5, 40, 4, 16)})
        EXPECT_EQ(eventsOf(source, crystallize(8)), expected);
}

TEST(CellsTest, DotsReportATenthForTheCells)
{
    // Pitch 2: 50 / 2 + 1 = 26 rows of cells, each third one reported; then the pixels' rows share the rest.
    Events expected{"wait", "poll"};
    for (int j = 0; j < 26; ++j) {
        expected.push_back("poll");
        if (j % 3 == 0)
            expected.push_back(std::to_string(j * 10 / 26) + "%");
    }
    for (int y = 0; y < 50; ++y) {
        expected.push_back("poll");
        if (y % 16 == 0)
            expected.push_back(std::to_string(y * 90 / 50 + 10) + "%");
    }
    expected = joined({expected, {"100%", "arrow"}});
    for (const Pieces &source : {trueColor(5, 50), gray(40, 50), paletted(5, 50, 1, 2)})
        EXPECT_EQ(eventsOf(source, pointillize(2)), expected);
}

TEST(CellsTest, AnAbortAmongTheCellsEndsThemAlone)
{
    const NothingLost check;
    const Pieces source = trueColor(30, 24);
    const Handle handle = source.handle();
    for (const Kind &kind : kKinds) {
        const int cellRows = kind.model(source, 8, 4, -1).rows;
        for (int row = 0; row < cellRows; ++row) {
            WatchingHost host(handle, 2 + row); // the dropped poll is the first one
            srand(4);
            const Handle result(kind.effect(8)(handle));
            ASSERT_TRUE(result) << row;
            CellModel model = kind.model(source, 8, 4, row);
            EXPECT_EQ(bytesOf(result), model.canvas.bytes()) << row;
            EXPECT_EQ(rand(), model.numbers.next()) << row;
            const Events events = host.events();
            EXPECT_EQ(std::count(events.begin(), events.end(), "poll"), 2 + row + 24) << row;
        }
    }
}

TEST(CellsTest, AnAbortAmongTheRowsEndsTheEffect)
{
    const NothingLost check;
    const Handle handle = gray(30, 24).handle();
    for (const Kind &kind : kKinds) {
        const int cellRows = kind.model(gray(30, 24), 8, 4, -1).rows;
        for (const int row : {0, 1, 23}) {
            WatchingHost host(handle, 2 + cellRows + row);
            EXPECT_EQ(kind.effect(8)(handle), nullptr) << row;
            const Events events = host.events();
            EXPECT_EQ(Events(events.end() - 3, events.end()), (Events{"poll", "100%", "arrow"}));
        }
        // One that holds on from the cells is seen at the first row.
        RecordingHost host;
        host.abortFromPoll(3);
        EXPECT_EQ(kind.effect(8)(handle), nullptr);
        EXPECT_EQ(host.polls(), 4);
        EXPECT_EQ(memory_hooks::locksOn(handle), 0);
    }
}

TEST(CellsTest, SurviveFailures)
{
    for (const Kind &kind : kKinds) {
        for (const Pieces &source : {trueColor(9, 7), gray(9, 7)})
            expectFailuresSurvived(source, kind.effect(5));
        const Handle handle = trueColor(9, 7).handle();
        memory_hooks::failAllocation(1);
        EXPECT_EQ(eventsOfRefusal(handle, kind.effect(5)), (Events{"wait", "arrow"}));
        for (const int n : {2, 3, 4}) {
            memory_hooks::failAllocation(n);
            EXPECT_EQ(eventsOfRefusal(handle, kind.effect(5)), (Events{"wait", "poll", "arrow"})) << n;
        }
        memory_hooks::failAllocation(0);
    }
}

TEST(CellsTest, NothingIsAliveButThePicturesAtTheLastReport)
{
    const Handle handle = trueColor(20, 9).handle();
    for (const Kind &kind : kKinds) {
        WatchingHost host(handle);
        const Handle result(kind.effect(5)(handle));
        EXPECT_EQ(host.sights[host.sights.size() - 2], (Sight{"100%", 0, 1, 0}));
    }
}

TEST(CellsTest, RunByCode)
{
    const Handle handle = trueColor(20, 9).handle();
    for (const auto &[code, kind] : {std::pair{3101u, kKinds[0]}, {3103u, kKinds[1]}}) {
        int32_t size = 7;
        srand(6);
        const Handle byName(kind.effect(size)(handle));
        srand(6);
        const Handle byCode(EnhanceAndEffects(handle, code, reinterpret_cast<long>(&size)));
        EXPECT_EQ(bytesOf(byCode), bytesOf(byName)) << code;
    }
}

} // namespace

} // namespace velmont::testing
