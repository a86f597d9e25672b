#include "tests/effects/tone_testing.h"
#include "platform/memory.h"
#include <algorithm>
#include <gtest/gtest.h>

namespace velmont::testing {

Pieces trueColor(int width, int height, uint32_t seed)
{
    const DibHeader header = makeHeader(width, height, 24, 0);
    return {header, {}, noise(header.biSizeImage, seed)};
}

Pieces gray(int width, int height, uint32_t seed)
{
    const DibHeader header = makeHeader(width, height, 8, 256);
    Bytes ramp = grayRamp();
    for (std::size_t i = 3; i < ramp.size(); i += 4)
        ramp[i] = static_cast<uint8_t>(i * 7);
    return {header, ramp, noise(header.biSizeImage, seed)};
}

Pieces paletted(int width, int height, int bits, uint32_t colorsUsed, uint32_t seed)
{
    const DibHeader header = makeHeader(width, height, bits, colorsUsed);
    return {header, noise(std::size_t{4} * colorsUsed, seed + 1000), noise(header.biSizeImage, seed)};
}

Pieces pixelRow(const Bytes &pixels)
{
    const DibHeader header = makeHeader(static_cast<int>(pixels.size() / 3), 1, 24, 0);
    Bytes row = pixels;
    row.resize(header.biSizeImage, 0);
    return {header, {}, row};
}

Pieces levelRow(const Bytes &levels)
{
    const DibHeader header = makeHeader(static_cast<int>(levels.size()), 1, 8, 256);
    Bytes row = levels;
    row.resize(header.biSizeImage, 0);
    return {header, grayRamp(), row};
}

namespace {

/// Hands each pixel's place in the rows to use(), and clears the padding of `image`.
void forPixels(Pieces &image, std::size_t pixelBytes, const std::function<void(uint8_t *)> &use)
{
    const std::size_t width = static_cast<std::size_t>(image.header.biWidth);
    const std::size_t stride = strideFor(image.header.biWidth, image.header.biBitCount);
    for (std::size_t start = 0; start < image.rows.size(); start += stride) {
        for (std::size_t x = 0; x < width; ++x)
            use(&image.rows[start + x * pixelBytes]);
        for (std::size_t i = width * pixelBytes; i < stride; ++i)
            image.rows[start + i] = 0;
    }
}

} // namespace

Pieces withPixels(const Pieces &source, const std::function<void(uint8_t *)> &map)
{
    Pieces image = source;
    forPixels(image, 3, map);
    return image;
}

Pieces withLevels(const Pieces &source, const std::function<uint8_t(uint8_t)> &map)
{
    Pieces image = source;
    forPixels(image, 1, [&](uint8_t *pixel) { *pixel = map(*pixel); });
    return image;
}

Pieces withEntries(const Pieces &source, const std::function<void(uint8_t *)> &map)
{
    Pieces image = source;
    for (std::size_t i = 0; i + 4 <= image.palette.size(); i += 4)
        map(&image.palette[i]);
    return image;
}

Bytes resultOf(const Pieces &source, const Effect &effect)
{
    const Handle handle = source.handle();
    const Handle result(effect(handle));
    EXPECT_EQ(bytesOf(handle), source.bytes()) << "the source";
    EXPECT_EQ(memory_hooks::locksOn(handle), 0);
    return result ? bytesOf(result) : Bytes{};
}

Events eventsOf(const Pieces &source, const Effect &effect)
{
    const Handle handle = source.handle();
    RecordingHost host;
    const Handle result(effect(handle));
    EXPECT_TRUE(result);
    EXPECT_EQ(memory_hooks::locksOn(result), 0);
    return host.events;
}

Events eventsOfRefusal(void *dib, const Effect &effect)
{
    RecordingHost host;
    EXPECT_EQ(effect(dib), nullptr);
    EXPECT_EQ(memory_hooks::locksOn(dib), 0);
    return host.events;
}

Events rowEvents(int height, int every)
{
    Events events;
    for (int y = 0; y < height; y += every) {
        events.push_back("poll");
        if (y % std::max(every, 16) == 0)
            events.push_back(std::to_string(y * 100 / height) + "%");
    }
    return events;
}

Events joined(const std::vector<Events> &parts)
{
    Events all;
    for (const Events &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

void expectAborts(const Pieces &source, const Effect &effect, int dropped, const Events &end)
{
    const Events whole = eventsOf(source, effect);
    const auto polls = static_cast<int>(std::count(whole.begin(), whole.end(), "poll"));
    ASSERT_GT(polls, dropped);
    const Handle handle = source.handle();
    for (int n = dropped + 1; n <= polls; ++n) {
        const NothingLost check;
        RecordingHost host;
        host.abortFromPoll(n, n % 2 == 0 ? 1 : -7);
        EXPECT_EQ(effect(handle), nullptr) << n;
        Events expected;
        for (int seen = 0; seen < n; expected.push_back(whole[expected.size()]))
            seen += whole[expected.size()] == "poll" ? 1 : 0;
        EXPECT_EQ(host.events, joined({expected, end})) << n;
        EXPECT_EQ(memory_hooks::locksOn(handle), 0) << n;
    }
    EXPECT_EQ(bytesOf(handle), source.bytes());
}

void expectFailuresSurvived(const Pieces &source, const Effect &effect)
{
    const Handle handle = source.handle();
    for (const auto order : {memory_hooks::failAllocation, memory_hooks::failLock}) {
        bool gotThrough = false;
        for (int n = 1; n < 100 && !gotThrough; ++n) {
            const NothingLost check;
            order(n);
            const Handle result(effect(handle));
            order(0);
            gotThrough = result;
            EXPECT_TRUE(n > 1 || !result);
            EXPECT_EQ(memory_hooks::locksOn(handle), 0) << n;
        }
        EXPECT_TRUE(gotThrough);
    }
    EXPECT_EQ(bytesOf(handle), source.bytes());
}

void expectLiesRefused(const Effect &effect)
{
    const NothingLost check;
    const auto refuses = [&](const Bytes &block) {
        const Handle handle = blockOf(block);
        EXPECT_EQ(effect(handle), nullptr);
        EXPECT_EQ(bytesOf(handle), block);
        EXPECT_EQ(memory_hooks::locksOn(handle), 0);
    };
    for (const Pieces &image : {trueColor(5, 3), gray(5, 3), paletted(5, 3, 8, 9), paletted(5, 3, 4, 16)}) {
        Bytes block = image.bytes();
        block.pop_back();
        refuses(block);
        block.resize(20);
        refuses(block);
        refuses({});
        const auto refusesWith = [&](auto change) {
            Pieces lie = image;
            change(lie.header);
            refuses(lie.bytes());
        };
        refusesWith([](DibHeader &h) { h.biSize = 39; });
        refusesWith([](DibHeader &h) { h.biSize = 0x7FFFFFFF; });
        refusesWith([](DibHeader &h) { h.biWidth = 0; });
        refusesWith([](DibHeader &h) { h.biWidth = -5; });
        refusesWith([](DibHeader &h) { h.biWidth = 0x7FFFFFFF; });
        refusesWith([](DibHeader &h) { h.biHeight = -3; });
        refusesWith([](DibHeader &h) { h.biHeight = 0x7FFFFFFF; });
        refusesWith([](DibHeader &h) { h.biHeight = 4; });
    }
    Pieces image = paletted(5, 3, 8, 9);
    image.header.biClrUsed = 0xFFFFFFFF;
    refuses(image.bytes());
    refuses(paletted(5, 3, 1, 2).bytes());
    for (const int bits : {0, 2, 16, 32})
        refuses(paletted(5, 3, bits, 4).bytes());
}

} // namespace velmont::testing
