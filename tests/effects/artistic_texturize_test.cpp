// Pictures on a rough surface.

#include "platform/memory.h"
#include "tests/effects/geometry_testing.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <velmont/effects.h>
#include <velmont/geometry.h>
#include <velmont/texture.h>

namespace velmont::testing {

namespace {

Pieces flatGray(int width, int height, uint8_t level)
{
    Pieces image = gray(width, height);
    std::fill(image.rows.begin(), image.rows.end(), level);
    return image;
}

/// A 24-bit or gray image in its pieces.
Pieces piecesOf(void *dib)
{
    const Bytes bytes = bytesOf(dib);
    const DibHeader header = headerOf(dib);
    const auto rows = bytes.begin() + (header.biBitCount == 24 ? 40 : 1064);
    return {header, Bytes(bytes.begin() + 40, rows), Bytes(rows, bytes.end())};
}

/// Runs an effect and frees what it leaves allocated beside its result: one block with the locks of none.
class Texturizer {
public:
    void *operator()(void *dib, tagTextureParam record)
    {
        const std::vector<void *> before = memory_hooks::liveBlocks();
        void *const result = ProcessTexturize(dib, &record);
        left = 0;
        for (void *const handle : memory_hooks::liveBlocks())
            if (handle != result && std::find(before.begin(), before.end(), handle) == before.end()) {
                ++left;
                EXPECT_EQ(memory_hooks::locksOn(handle), 0);
                KelMemFree(handle);
            }
        return result;
    }

    int left = 0;
};

Effect texturize(const Pieces &texture, int tileMode, int strength, double scale = 1)
{
    return [=](void *dib) {
        const Handle handle = texture.handle();
        Texturizer run;
        void *const result = run(dib, {handle, tileMode, strength, scale});
        EXPECT_EQ(bytesOf(handle), texture.bytes());
        EXPECT_EQ(memory_hooks::locksOn(handle), 0);
        EXPECT_LE(run.left, 1);
        return result;
    };
}

/// The tile of a texture that needs no conversion: what the resampling gives, without its spare bytes.
Pieces tileOf(const Pieces &texture, double scale)
{
    const auto scaled = [scale](int side) { return std::max(static_cast<int>(side * scale), 1); };
    const Handle handle = texture.handle();
    const Handle tile(ProcessResampleHighQuality(handle, scaled(texture.header.biWidth),
                                                 scaled(texture.header.biHeight), 0, 0));
    Pieces pieces = blankOf(texture, headerOf(tile).biWidth, headerOf(tile).biHeight);
    const Bytes bytes = bytesOf(tile);
    const std::size_t start = 40 + texture.palette.size();
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(start), pieces.rows.size(), pieces.rows.begin());
    return pieces;
}

int heldToByte(int value)
{
    return value < 0 ? 0 : value > 255 ? 255 : value;
}

/// Each pixel by itself, with the tile's level that levelAt() tells.
Bytes pressed(const Pieces &source, int strength, const std::function<int(int x, int y)> &levelAt)
{
    return painted(
               source, source.header.biWidth, source.header.biHeight,
               [&](int x, int y) {
                   const int offset = (128 - levelAt(x, y)) * strength / 100;
                   const uint32_t pixel = pixelIn(source, x, y);
                   uint32_t result = 0;
                   for (int shift = 0; shift < source.header.biBitCount; shift += 8)
                       result |=
                           static_cast<uint32_t>(heldToByte(static_cast<int>(pixel >> shift & 0xFF) + offset))
                           << shift;
                   return result;
               })
        .bytes();
}

int levelIn(const Pieces &tile, int x, int y)
{
    const uint32_t pixel = pixelIn(tile, x, y);
    return tile.header.biBitCount == 8
               ? static_cast<int>(pixel)
               : static_cast<int>(((pixel & 0xFF) + (pixel >> 8 & 0xFF) + (pixel >> 16)) / 3);
}

/// The level of a tile under a pixel.
int levelUnder(const Pieces &tile, int tileMode, int x, int y, int height)
{
    const int tw = tile.header.biWidth, th = tile.header.biHeight;
    const int fromEnd = height - 1 - y;
    const int row = tileMode == 2 ? fromEnd % th : th - fromEnd % th - 1;
    const int at = tileMode == 1 ? (x + tw / 2) % tw : x % tw;
    return levelIn(tile, tileMode == 2 ? tw - at - 1 : at, row);
}

void expectPressed(const Pieces &source, const Pieces &texture, int tileMode, int strength, double scale)
{
    const Pieces tile = tileOf(texture, scale);
    const Bytes expected = pressed(source, strength, [&](int x, int y) {
        return levelUnder(tile, tileMode, x, y, source.header.biHeight);
    });
    ASSERT_EQ(resultOf(source, texturize(texture, tileMode, strength, scale)), expected)
        << source.header.biWidth << " x " << source.header.biHeight << " under " << tile.header.biWidth
        << " x " << tile.header.biHeight << ", mode " << tileMode << ", strength " << strength;
}

TEST(TexturizeTest, PressesEachPixelByItself)
{
    const NothingLost check;
    constexpr int kStrengths[] = {100, 37, 0, 1, -60, 250, -1000};
    for (int width = 1; width <= 40; ++width)
        for (int height = 1; height <= 18; ++height) {
            const int tileMode = (width + height) % 4 - 1, strength = kStrengths[(width + 2 * height) % 7];
            const int tw = 1 + (width * 7 + height) % 13, th = 1 + (width + height * 5) % 8;
            expectPressed(trueColor(width, height), trueColor(tw, th, 9), tileMode, strength, 1);
            expectPressed(gray(width, height), gray(tw, th, 9), tileMode, strength, 1);
        }
}

TEST(TexturizeTest, TakesAnyStrength)
{
    const Pieces black = levelRow({0, 100, 255});
    for (const int strength : {INT32_MIN, INT32_MAX}) {
        const bool isRaised = strength > 0;
        const uint8_t dark = isRaised ? 255 : 0, bright = isRaised ? 0 : 255;
        for (const uint8_t level : {uint8_t{0}, uint8_t{255}}) {
            const Bytes result = resultOf(black, texturize(flatGray(3, 1, level), 0, strength));
            const uint8_t all = level == 0 ? dark : bright;
            EXPECT_EQ(Bytes(result.begin() + 1064, result.end()), (Bytes{all, all, all, 0}));
        }
    }
}

TEST(TexturizeTest, ScalesTheTile)
{
    for (const double scale : {0.5, 0.3, 1.7, 3.0, 0.001, 0.0, -2.0})
        for (const int tileMode : {0, 1, 2}) {
            expectPressed(trueColor(23, 11), trueColor(9, 6, 4), tileMode, 80, scale);
            expectPressed(gray(23, 11), gray(9, 6, 4), tileMode, 80, scale);
        }
}

TEST(TexturizeTest, ATinyTileMovesAllPixelsAlike)
{
    const Pieces texture = flatGray(5, 4, 100);
    for (const double scale :
         {0.001, std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::infinity()}) {
        const Pieces source = gray(7, 3);
        EXPECT_EQ(resultOf(source, texturize(texture, 0, 50, scale)),
                  pressed(source, 50, [](int, int) { return 100; }));
    }
}

TEST(TexturizeTest, RefusesTilesThatCannotBe)
{
    const NothingLost check;
    const Handle handle = gray(7, 3).handle();
    const Pieces color = trueColor(5, 4);
    const Events conversion = eventsOf(color, [](void *dib) { return ProcessConvertToGrayScale(dib); });
    for (const double scale : {1e9, 1e300, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(eventsOfRefusal(handle, texturize(gray(5, 4), 0, 50, scale)), Events{});
        EXPECT_EQ(eventsOfRefusal(handle, texturize(color, 0, 50, scale)), conversion);
    }
    // Of one depth, which the resampling does not take.
    Bytes block = makeBlock(makeHeader(7, 3, 16, 1), noise(1024, 3), noise(24, 4));
    const Handle sixteen = blockOf(block);
    EXPECT_EQ(eventsOfRefusal(sixteen, texturize(paletted(5, 4, 16, 1), 0, 50)), Events{});
}

TEST(TexturizeTest, NothingMovesWithoutStrengthOrOnTheMiddleLevel)
{
    for (const int tileMode : {0, 1, 2}) {
        for (const Pieces &source : {gray(9, 5), flatGray(6, 4, 200)}) {
            Pieces expected = withLevels(source, [](uint8_t level) { return level; });
            EXPECT_EQ(resultOf(source, texturize(gray(4, 3, 8), tileMode, 0)), expected.bytes());
            for (const int strength : {100, -300, 1})
                EXPECT_EQ(resultOf(source, texturize(flatGray(4, 3, 128), tileMode, strength)),
                          expected.bytes());
        }
    }
}

// Rows from the end; levels 128 - 10 and so on add 10 and so on at a strength of 100.
TEST(TexturizeTest, TilesByHand)
{
    // A texture of one size is blurred a little, so flat columns and rows are of one level each as far as they reach:
    // the tile is looked up by its own pixels.
    const Pieces texture = grayRows({{118, 108, 98}, {88, 78, 68}});
    const Pieces tile = tileOf(texture, 1);
    const auto add = [&](int x, int y) { return static_cast<uint8_t>(128 - levelIn(tile, x, y)); };
    const Pieces source = grayRows({{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}});
    const auto rowsOf = [&](int tileMode) {
        const Bytes result = resultOf(source, texturize(texture, tileMode, 100));
        return Bytes(result.begin() + 1064, result.end());
    };
    // The last stored row has the tile's last one.
    EXPECT_EQ(rowsOf(0), (Bytes{add(0, 1), add(1, 1), add(2, 1), add(0, 1), //
                                add(0, 0), add(1, 0), add(2, 0), add(0, 0), //
                                add(0, 1), add(1, 1), add(2, 1), add(0, 1)}));
    // Each row starts at column 3 / 2.
    EXPECT_EQ(rowsOf(1), (Bytes{add(1, 1), add(2, 1), add(0, 1), add(1, 1), //
                                add(1, 0), add(2, 0), add(0, 0), add(1, 0), //
                                add(1, 1), add(2, 1), add(0, 1), add(1, 1)}));
    EXPECT_EQ(rowsOf(2), (Bytes{add(2, 0), add(1, 0), add(0, 0), add(2, 0), //
                                add(2, 1), add(1, 1), add(0, 1), add(2, 1), //
                                add(2, 0), add(1, 0), add(0, 0), add(2, 0)}));
    EXPECT_EQ(rowsOf(-7), rowsOf(0));
    EXPECT_EQ(rowsOf(3), rowsOf(0));
}

TEST(TexturizeTest, ConvertsTexturesOfTheOtherDepth)
{
    // A 24-bit texture becomes gray for a gray image, a gray or paletted one 24-bit for a 24-bit image.
    const Pieces grayImage = gray(13, 7), color = trueColor(13, 7);
    for (const int tileMode : {0, 1, 2}) {
        const Pieces colorTexture = trueColor(5, 4, 3);
        const Handle asGray(ProcessConvertToGrayScale(colorTexture.handle()));
        EXPECT_EQ(resultOf(grayImage, texturize(colorTexture, tileMode, 90)),
                  resultOf(grayImage, texturize(piecesOf(asGray), tileMode, 90)));
        for (const Pieces &texture : {gray(5, 4, 3), paletted(5, 4, 8, 256, 3), paletted(5, 4, 8, 20, 3)}) {
            const Handle asColor(ProcessConvertTo24BitColor(texture.handle()));
            EXPECT_EQ(resultOf(color, texturize(texture, tileMode, 90)),
                      resultOf(color, texturize(piecesOf(asColor), tileMode, 90)));
        }
    }
}

/// A 24-bit image that says it has colours.
Pieces counted(int width, int height)
{
    Pieces image = trueColor(width, height);
    image.header.biClrUsed = 7;
    return image;
}

/// The tile of a converted texture, in pieces of its own depth and without spare bytes.
Pieces convertedTile(const Handle &converted, int width, int height)
{
    Pieces tile = piecesOf(Handle(ProcessResampleHighQuality(converted, width, height, 0, 0)));
    tile.rows.resize(strideFor(width, tile.header.biBitCount) * static_cast<std::size_t>(height));
    return tile;
}

// One of the image's own depth is converted to the other one where biClrUsed differs, and read as what it is then.
TEST(TexturizeTest, ReadsWhatWasConvertedAwayAsItsOwnDepthSays)
{
    for (const auto &[width, height] : {std::array{40, 20}, {9, 7}, {30, 14}, {70, 3}})
        for (const int mode : {0, 1, 2}) {
            const auto expected = [&, m = mode](const Pieces &image, const Pieces &tile) {
                return pressed(image, 70, [&](int x, int y) { return levelUnder(tile, m, x, y, 30); });
            };
            // 8 bits become 24: a level is the mean of three bytes.
            const Pieces eight = paletted(width, height, 8, 20, 3), image = gray(50, 30);
            EXPECT_EQ(resultOf(image, texturize(eight, mode, 70)),
                      expected(image, convertedTile(Handle(ProcessConvertTo24BitColor(eight.handle())), width,
                                                    height)));
            // 24 bits become gray: a level is a byte.
            const Pieces texture = trueColor(width, height, 4);
            EXPECT_EQ(
                resultOf(counted(50, 30), texturize(texture, mode, 70)),
                expected(counted(50, 30),
                         convertedTile(Handle(ProcessConvertToGrayScale(texture.handle())), width, height)));
        }
}

TEST(TexturizeTest, ReadsWhatWasConvertedAwayByHand)
{
    // One colour of 30, 60 and 92, whose mean is 60: 128 - 60 are added.
    Pieces eight = paletted(5, 4, 8, 1);
    eight.palette = {30, 60, 92, 0};
    std::fill(eight.rows.begin(), eight.rows.end(), uint8_t{0});
    for (const int mode : {0, 1, 2})
        EXPECT_EQ(resultOf(levelRow({0, 100, 187, 188, 255}), texturize(eight, mode, 100)),
                  levelRow({68, 168, 255, 255, 255}).bytes());
    // Gray of 100 stays 100: 28 are added.
    Pieces even = trueColor(5, 4), row = pixelRow({0, 1, 2, 100, 200, 250});
    std::fill(even.rows.begin(), even.rows.end(), uint8_t{100});
    row.header.biClrUsed = 7;
    Pieces raised = pixelRow({28, 29, 30, 128, 228, 255});
    raised.header.biClrUsed = 7;
    for (const int mode : {0, 1, 2})
        EXPECT_EQ(resultOf(row, texturize(even, mode, 100)), raised.bytes());
}

TEST(TexturizeTest, PalettedImagesHaveTheirIndicesMoved)
{
    const Pieces source = paletted(11, 6, 8, 256), texture = paletted(4, 3, 8, 256, 5);
    const Pieces tile = tileOf(texture, 1);
    EXPECT_EQ(resultOf(source, texturize(texture, 0, 60)),
              pressed(source, 60, [&](int x, int y) { return levelUnder(tile, 0, x, y, 6); }));
}

/// A block of 11 x 6 pixels that reaches far enough for 256 colours and 8 bits, whatever it says.
Bytes reachingFarEnough(int bits)
{
    Bytes block = makeBlock(makeHeader(11, 6, bits, 16), noise(64, 3), noise(1064 + 72, 4));
    block.resize(1064 + 72);
    return block;
}

TEST(TexturizeTest, ImagesWithFewerColorsAreRefusedUnlessTheirBlockReachesFarEnough)
{
    const Pieces few = paletted(11, 6, 8, 16);
    const Handle refused = few.handle();
    EXPECT_EQ(eventsOfRefusal(refused, texturize(gray(4, 3), 0, 60)), Events{});
    // The rows of a longer block are looked for behind 256 colours all the same, and any depth counts as 8 bits.
    for (const int bits : {1, 4, 8, 16, 32}) {
        const Bytes block = reachingFarEnough(bits);
        const Handle longer = blockOf(block), texture = trueColor(4, 3, 8).handle();
        const Handle gray8(ProcessConvertToGrayScale(texture));
        const Bytes tile = bytesOf(Handle(ProcessResampleHighQuality(gray8, 4, 3, 0, 0)));
        Texturizer run;
        const Handle result(run(longer, {texture, 0, 100, 1}));
        ASSERT_TRUE(result) << bits;
        const Bytes bytes = bytesOf(result);
        ASSERT_EQ(bytes.size(), block.size());
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + 1064, block.begin()));
        const std::size_t stride = 4; // of the tile's depth
        for (std::size_t y = 0; y < 6; ++y)
            for (std::size_t x = 0; x < 12; ++x) {
                const std::size_t place = 1064 + stride * (3 - (5 - y) % 3 - 1) + x % 4;
                const int level = place < tile.size() ? tile[place] : 0;
                const int expected = x < 11 ? heldToByte(block[1064 + 12 * y + x] + 128 - level) : 0;
                EXPECT_EQ(bytes[1064 + 12 * y + x], expected) << bits << ": " << x << ", " << y;
            }
    }
}

void expectLevelsUnder(const Bytes &block, void *texture, const std::function<int(int x, int row)> &levelIn,
                       int tileWidth, int tileHeight)
{
    Texturizer run;
    const Handle source = blockOf(block);
    const Handle result(run(source, {texture, 0, 100, 1}));
    ASSERT_TRUE(result);
    const Bytes bytes = bytesOf(result);
    ASSERT_EQ(bytes.size(), block.size());
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 11; ++x) {
            const std::size_t place = 1064 + 12 * static_cast<std::size_t>(y) + static_cast<std::size_t>(x);
            const int level = levelIn(x % tileWidth, tileHeight - (5 - y) % tileHeight - 1);
            EXPECT_EQ(bytes[place], heldToByte(block[place] + 128 - level)) << x << ", " << y;
        }
}

TEST(TexturizeTest, ImagesOfOtherDepthsTakeTheMeansOfTexturesThatBecameColored)
{
    for (const int bits : {1, 4, 16, 32}) {
        const Handle texture = gray(4, 3, 8).handle();
        const Pieces tile = convertedTile(Handle(ProcessConvertTo24BitColor(texture)), 4, 3);
        ASSERT_EQ(tile.header.biBitCount, 24);
        expectLevelsUnder(
            reachingFarEnough(bits), texture, [&](int x, int row) { return levelIn(tile, x, row); }, 4, 3);
    }
}

// Both name 16 colours, so that nothing is converted: rows are looked for behind 256 colours, as far as the block goes.
TEST(TexturizeTest, TexturesWithFewerColorsAreReadBehindAllOfThem)
{
    for (const auto &[width, height] : {std::array{40, 30}, {9, 6}, {30, 33}}) {
        const Handle texture = paletted(width, height, 8, 16, 8).handle();
        const Bytes tile = bytesOf(Handle(ProcessResampleHighQuality(texture, width, height, 0, 0)));
        const std::size_t stride = strideFor(width, 8);
        expectLevelsUnder(
            reachingFarEnough(8), texture,
            [&](int x, int row) {
                const std::size_t place =
                    1064 + stride * static_cast<std::size_t>(row) + static_cast<std::size_t>(x);
                return place < tile.size() ? int{tile[place]} : 0;
            },
            width, height);
    }
}

TEST(TexturizeTest, RefusesWhatItCannotDo)
{
    const NothingLost check;
    const Handle source = trueColor(5, 4).handle(), texture = trueColor(3, 3).handle();
    const auto refusal = [&](void *dib, void *with) {
        return eventsOfRefusal(dib, [with](void *image) {
            Texturizer run;
            return run(image, {with, 0, 50, 1});
        });
    };
    EXPECT_EQ(eventsOfRefusal(source, [](void *dib) { return ProcessTexturize(dib, nullptr); }), Events{});
    EXPECT_EQ(refusal(nullptr, texture), Events{});
    EXPECT_EQ(refusal(source, nullptr), Events{});
    int local = 0;
    EXPECT_EQ(refusal(source, &local), Events{});
    for (const auto &[bits, colors] : {std::array{1, 2}, {4, 16}, {16, 1}, {32, 1}}) {
        const Handle other = paletted(3, 3, bits, static_cast<uint32_t>(colors)).handle();
        EXPECT_EQ(refusal(source, other), Events{}) << bits;
        EXPECT_EQ(refusal(other, texture), Events{}) << bits;
    }
    Bytes block = trueColor(3, 3).bytes();
    block.pop_back();
    const Handle truncated = blockOf(block);
    EXPECT_EQ(refusal(source, truncated), Events{});
    EXPECT_EQ(refusal(truncated, texture), Events{});
    expectLiesRefused(texturize(gray(3, 2), 0, 50));
}

/// What the resampling lets the host see.
Events resamplingEvents(const Pieces &texture, int width, int height)
{
    const Handle handle = texture.handle();
    RecordingHost host;
    const Handle tile(ProcessResampleHighQuality(handle, width, height, 0, 1));
    return host.events;
}

TEST(TexturizeTest, EventsOfAllItsSteps)
{
    for (const auto &[source, texture] :
         {std::pair{trueColor(9, 35), trueColor(6, 4)}, {gray(9, 35), gray(6, 4)}}) {
        const Events own = joined({{"wait", "poll"}, rowEvents(35), {"100%", "arrow"}});
        EXPECT_EQ(eventsOf(source, texturize(texture, 0, 50, 0.5)),
                  joined({resamplingEvents(texture, 3, 2), own}));
    }
    const Pieces texture = trueColor(6, 4);
    const Events conversion = eventsOf(texture, [](void *dib) { return ProcessConvertToGrayScale(dib); });
    EXPECT_EQ(eventsOf(gray(9, 35), texturize(texture, 0, 50)), joined({conversion,
                                                                        resamplingEvents(gray(6, 4), 6, 4),
                                                                        {"wait", "poll"},
                                                                        rowEvents(35),
                                                                        {"100%", "arrow"}}));
}

int pollsIn(const Events &events)
{
    return static_cast<int>(std::count(events.begin(), events.end(), "poll"));
}

/// What a step shows that is aborted from its n-th poll on.
Events abortedEvents(int n, const std::function<void *()> &step)
{
    RecordingHost host;
    host.abortFromPoll(n);
    EXPECT_EQ(step(), nullptr) << n;
    return host.events;
}

/// What the rows show that are aborted from their n-th poll on, of which the first one is dropped.
Events abortedRows(int n, int height)
{
    const Events whole = joined({{"wait", "poll"}, rowEvents(height)});
    Events events;
    for (int polls = 0; polls < std::max(n, 2);) {
        events.push_back(whole[events.size()]);
        polls += events.back() == "poll";
    }
    return joined({events, {"100%", "arrow"}});
}

// The conversion and the resampling end by themselves, with the arrow: nothing comes after it.
TEST(TexturizeTest, AbortsAnywhere)
{
    const Pieces source = gray(9, 20);
    const Handle handle = source.handle(), tile = gray(4, 3).handle();
    const Events resampling = resamplingEvents(gray(4, 3), 4, 3);
    for (const Pieces &texture : {gray(4, 3), trueColor(4, 3)}) {
        const Handle original = texture.handle();
        const auto convert = [&] { return ProcessConvertToGrayScale(original); };
        const auto resample = [&] { return ProcessResampleHighQuality(tile, 4, 3, 0, 1); };
        const Events conversion =
            texture.header.biBitCount == 24
                ? eventsOf(texture, [](void *dib) { return ProcessConvertToGrayScale(dib); })
                : Events{};
        const Effect effect = texturize(texture, 0, 50);
        const int converting = pollsIn(conversion), resampled = converting + pollsIn(resampling);
        const int polls = pollsIn(eventsOf(source, effect));
        ASSERT_EQ(polls, resampled + 21);
        for (int n = 1; n <= polls; ++n) {
            const NothingLost check;
            const Events expected = n <= converting ? abortedEvents(n, convert)
                                    : n <= resampled
                                        ? joined({conversion, abortedEvents(n - converting, resample)})
                                        : joined({conversion, resampling, abortedRows(n - resampled, 20)});
            EXPECT_EQ(abortedEvents(n, [&] { return effect(handle); }), expected) << n;
            EXPECT_EQ(memory_hooks::locksOn(handle), 0) << n;
        }
        EXPECT_EQ(bytesOf(handle), source.bytes());
    }
}

TEST(TexturizeTest, AnAbortedResamplingByHand)
{
    // Nine rows to widen: 50 percent for all of them.
    const Handle source = gray(15, 8).handle();
    EXPECT_EQ(
        abortedEvents(5, [&] { return texturize(gray(18, 9), 1, 50)(source); }),
        (Events{"wait", "poll", "0%", "poll", "5%", "poll", "11%", "poll", "16%", "poll", "100%", "arrow"}));
}

TEST(TexturizeTest, WithoutMemoryTheArrowComesBackOnce)
{
    const Handle source = gray(9, 7).handle();
    const Effect effect = texturize(gray(4, 3), 0, 50);
    const auto eventsWithout = [&](int allocation) {
        memory_hooks::failAllocation(allocation + 1); // the texture itself is one
        const Events events = eventsOfRefusal(source, effect);
        memory_hooks::failAllocation(0);
        return events;
    };
    // The block between the passes, the first pass and its table.
    for (const int n : {1, 2, 3})
        EXPECT_EQ(eventsWithout(n), (Events{"wait", "poll", "arrow"})) << n;
    // The tile and the table of the second pass.
    for (const int n : {4, 5}) {
        const Events events = eventsWithout(n);
        EXPECT_EQ(std::count(events.begin(), events.end(), "arrow"), 1) << n;
        EXPECT_EQ(events.back(), "arrow") << n;
    }
    // The result, and the row of tiles.
    for (const int n : {6, 7})
        EXPECT_EQ(eventsWithout(n), joined({resamplingEvents(gray(4, 3), 4, 3), {"wait", "arrow"}})) << n;
}

TEST(TexturizeTest, TheTileStaysAllocatedOnceItWasUsed)
{
    const NothingLost check;
    const Handle source = gray(9, 20).handle(), texture = gray(4, 3).handle();
    const tagTextureParam record{texture, 0, 50, 1};
    Texturizer run;
    const Handle result(run(source, record));
    EXPECT_TRUE(result);
    EXPECT_EQ(run.left, 1);
    // The resampling polls four times before its first column, the effect once and then at each row.
    const Events whole = resamplingEvents(gray(4, 3), 4, 3);
    const auto before = static_cast<int>(std::count(whole.begin(), whole.end(), "poll"));
    {
        WatchingHost host(source, before + 2);
        EXPECT_EQ(run(source, record), nullptr);
        EXPECT_EQ(run.left, 1) << "an abort among the rows";
    }
    {
        RecordingHost host;
        host.abortFromPoll(before);
        EXPECT_EQ(run(source, record), nullptr);
        EXPECT_EQ(run.left, 0) << "an abort of the resampling";
    }
}

TEST(TexturizeTest, SurvivesFailures)
{
    for (const Pieces &texture : {gray(4, 3), trueColor(4, 3)}) {
        const Handle source = gray(9, 7).handle(), handle = texture.handle();
        for (const auto order : {memory_hooks::failAllocation, memory_hooks::failLock}) {
            bool gotThrough = false;
            for (int n = 1; n < 100 && !gotThrough; ++n) {
                const NothingLost check;
                Texturizer run;
                RecordingHost host;
                order(n);
                const Handle result(run(source, {handle, 0, 50, 1}));
                order(0);
                gotThrough = result;
                EXPECT_EQ(run.left, result ? 1 : 0) << n;
                EXPECT_TRUE(host.events.empty() || host.events.back() == "arrow") << n;
                EXPECT_EQ(memory_hooks::locksOn(source), 0) << n;
                EXPECT_EQ(memory_hooks::locksOn(handle), 0) << n;
            }
            EXPECT_TRUE(gotThrough);
        }
    }
}

TEST(TexturizeTest, TheTextureIsFreeWhileTheRowsAreMade)
{
    const Handle source = gray(9, 20).handle(), texture = trueColor(4, 3).handle();
    WatchingHost host(texture);
    Texturizer run;
    const Handle result(run(source, {texture, 0, 50, 1}));
    ASSERT_TRUE(result);
    // The last report finds the result, the tile and the conversion, and no lock any more.
    EXPECT_EQ(host.sights[host.sights.size() - 2], (Sight{"100%", 0, 3, 0}));
    for (std::size_t i = host.sights.size() - 5; i < host.sights.size(); ++i)
        EXPECT_EQ(host.sights[i].sourceLocks, 0) << i;
}

TEST(TexturizeTest, OneImageMayBeBoth)
{
    const Pieces source = gray(12, 9);
    const Pieces tile = tileOf(source, 1);
    const Handle handle = source.handle();
    Texturizer run;
    const Handle result(run(handle, {handle, 2, 100, 1}));
    ASSERT_TRUE(result);
    EXPECT_EQ(bytesOf(result),
              pressed(source, 100, [&](int x, int y) { return levelUnder(tile, 2, x, y, 9); }));
}

TEST(TexturizeTest, RunsByCode)
{
    const Handle source = trueColor(12, 9).handle(), texture = gray(4, 3).handle();
    tagTextureParam record{texture, 1, 70, 1.5};
    Texturizer run;
    const Handle byName(run(source, record));
    const std::vector<void *> before = memory_hooks::liveBlocks();
    const Handle byCode(EnhanceAndEffects(source, 3105, reinterpret_cast<long>(&record)));
    EXPECT_EQ(bytesOf(byCode), bytesOf(byName));
    for (void *const handle : memory_hooks::liveBlocks())
        if (handle != static_cast<void *>(byCode) &&
            std::find(before.begin(), before.end(), handle) == before.end())
            KelMemFree(handle);
}

} // namespace

} // namespace velmont::testing
