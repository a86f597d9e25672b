// The effects' shape with views on both images, on effects of the test's own.

#include "core/view_frame.h"
#include "platform/memory.h"
#include "tests/effects/watching_host.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <stdexcept>

namespace velmont::testing {

namespace {

/// Copies pixel by pixel.
void *duplicate(void *dib)
{
    ViewFrame frame(dib);
    if (!frame.serves({8, 24}) || !frame.begin())
        return nullptr;
    for (const int y : frame.rows())
        for (int x = 0; x < frame.source().GetWidth(); ++x)
            frame.result().SetPixel(x, y, frame.source().GetPixel(x, y));
    return frame.finish();
}

/// Writes nothing but what the frame itself does.
void *leaveBlank(void *dib)
{
    ViewFrame frame(dib);
    if (!frame.serves({1, 4, 8, 24}) || !frame.begin())
        return nullptr;
    for ([[maybe_unused]] const int y : frame.rows()) {
    }
    return frame.finish();
}

class ViewFrameTest : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(ViewFrameTest, OneRow)
{
    const Handle source = grayNoise(3, 1);
    RecordingHost host;
    EXPECT_NE(Handle(duplicate(source)), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "poll", "poll", "0%", "100%", "arrow"}));
}

TEST_F(ViewFrameTest, SixteenRows)
{
    const Handle source = grayNoise(3, 16);
    RecordingHost host;
    EXPECT_NE(Handle(duplicate(source)), nullptr);
    Events expected{"wait", "poll", "poll", "0%"};
    expected.insert(expected.end(), 15, "poll");
    expected.insert(expected.end(), {"100%", "arrow"});
    EXPECT_EQ(host.events, expected);
}

TEST_F(ViewFrameTest, SeventeenRows)
{
    const Handle source = grayNoise(3, 17);
    RecordingHost host;
    EXPECT_NE(Handle(duplicate(source)), nullptr);
    Events expected{"wait", "poll", "poll", "0%"};
    expected.insert(expected.end(), 15, "poll");
    expected.insert(expected.end(), {"poll", "94%", "100%", "arrow"});
    EXPECT_EQ(host.events, expected);
}

TEST_F(ViewFrameTest, FortyRows)
{
    const Handle source = grayNoise(3, 40);
    RecordingHost host;
    EXPECT_NE(Handle(duplicate(source)), nullptr);
    Events expected{"wait", "poll", "poll", "0%"};
    expected.insert(expected.end(), 15, "poll");
    expected.insert(expected.end(), {"poll", "40%"});
    expected.insert(expected.end(), 15, "poll");
    expected.insert(expected.end(), {"poll", "80%"});
    expected.insert(expected.end(), 7, "poll");
    expected.insert(expected.end(), {"100%", "arrow"});
    EXPECT_EQ(host.events, expected);
}

TEST_F(ViewFrameTest, ResultIsTheCopyAndTheSourceIsUntouched)
{
    // Widths without padding, which views do not reach.
    for (const auto &source : {noiseImage(8, 3, 24, 0), grayNoise(8, 3)}) {
        const Bytes before = bytesOf(source);
        const Handle result(duplicate(source));
        ASSERT_NE(result, nullptr);
        EXPECT_EQ(bytesOf(result), before);
        EXPECT_EQ(bytesOf(source), before);
        EXPECT_EQ(memory_hooks::locksOn(source), 0);
        EXPECT_EQ(memory_hooks::locksOn(result), 0);
    }
}

TEST_F(ViewFrameTest, PaddingOfTheResultIsZero)
{
    const Handle source = grayNoise(5, 2);
    const Handle result(duplicate(source));
    ASSERT_NE(result, nullptr);
    Bytes expected = bytesOf(source);
    for (const std::size_t padding : {1064 + 5, 1064 + 6, 1064 + 7, 1072 + 5, 1072 + 6, 1072 + 7})
        expected[padding] = 0;
    EXPECT_EQ(bytesOf(result), expected);
}

TEST_F(ViewFrameTest, BlocksAndLocksAtEachCallOfTheHost)
{
    const Handle source = grayNoise(3, 2);
    WatchingHost host(source);
    EXPECT_NE(Handle(duplicate(source)), nullptr);
    EXPECT_EQ(host.sights, (std::vector<Sight>{{"wait", 1, 0, 1},
                                               {"poll", 1, 1, 2},
                                               {"poll", 1, 1, 2},
                                               {"0%", 1, 1, 2},
                                               {"poll", 1, 1, 2},
                                               {"100%", 0, 1, 0},
                                               {"arrow", 0, 1, 0}}));
}

TEST_F(ViewFrameTest, AbortAtEachRow)
{
    constexpr int kHeight = 4;
    const Handle source = grayNoise(3, kHeight);
    const Bytes before = bytesOf(source);
    for (int row = 0; row < kHeight; ++row) {
        WatchingHost host(source, row + 2);
        EXPECT_EQ(duplicate(source), nullptr) << row;
        Events expected{"wait", "poll", "poll"};
        if (row > 0)
            expected.push_back("0%");
        expected.insert(expected.end(), static_cast<std::size_t>(row), "poll");
        expected.insert(expected.end(), {"100%", "arrow"});
        EXPECT_EQ(host.events(), expected) << row;
        const std::vector<Sight> lastTwo(host.sights.end() - 2, host.sights.end());
        EXPECT_EQ(lastTwo, (std::vector<Sight>{{"100%", 0, 0, 0}, {"arrow", 0, 0, 0}})) << row;
    }
    EXPECT_EQ(bytesOf(source), before);
}

TEST_F(ViewFrameTest, FirstPollStopsNothing)
{
    const Handle source = grayNoise(4, 2);
    WatchingHost host(source, 1);
    const Handle result(duplicate(source));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(bytesOf(result), bytesOf(source));
}

TEST_F(ViewFrameTest, FailedAllocation)
{
    const Handle source = grayNoise(3, 2);
    memory_hooks::failAllocation(1);
    WatchingHost host(source);
    EXPECT_EQ(duplicate(source), nullptr);
    // The source's view goes last.
    EXPECT_EQ(host.sights, (std::vector<Sight>{{"wait", 1, 0, 1}, {"arrow", 1, 0, 1}}));
    EXPECT_EQ(memory_hooks::locksOn(source), 0);
}

TEST_F(ViewFrameTest, FailedLockOfTheResultCountsAsFailedAllocation)
{
    const Handle source = grayNoise(3, 2);
    memory_hooks::failLock(2);
    WatchingHost host(source);
    EXPECT_EQ(duplicate(source), nullptr);
    EXPECT_EQ(host.sights, (std::vector<Sight>{{"wait", 1, 0, 1}, {"arrow", 1, 0, 1}}));
    EXPECT_EQ(memory_hooks::locksOn(source), 0);
}

TEST_F(ViewFrameTest, FailedLockOfTheSourceIsARefusal)
{
    const Handle source = grayNoise(3, 2);
    memory_hooks::failLock(1);
    const long allocations = memory_hooks::counts().allocations;
    RecordingHost host;
    EXPECT_EQ(duplicate(source), nullptr);
    EXPECT_EQ(host.events, Events{});
    EXPECT_EQ(memory_hooks::counts().allocations, allocations);
}

TEST_F(ViewFrameTest, RefusalsTouchNothing)
{
    RecordingHost host;
    EXPECT_EQ(duplicate(nullptr), nullptr);
    const Handle tooSmall(KelMemAlloc(KEL_MEM_ZERO, 39));
    EXPECT_EQ(duplicate(tooSmall), nullptr);
    EXPECT_EQ(memory_hooks::locksOn(tooSmall), 0);
    for (const int bits : {0, 1, 4, 16, 32}) {
        const Handle source = noiseImage(3, 2, bits, bits == 1 || bits == 4 ? 2 : 0);
        EXPECT_EQ(duplicate(source), nullptr) << bits;
        EXPECT_EQ(memory_hooks::locksOn(source), 0) << bits;
    }
    EXPECT_EQ(host.events, Events{});
}

TEST_F(ViewFrameTest, HeaderMustFitItsBlock)
{
    const DibHeader good = makeHeader(3, 2, 8, 4);
    const Bytes rest = noise(4 * 4 + 8, 1);
    const auto served = [&](auto change, std::size_t cutOff = 0, std::size_t more = 0) {
        DibHeader header = good;
        change(header);
        Bytes block = makeBlock(header, {}, rest);
        block.resize(block.size() - cutOff + more);
        const Handle source = blockOf(block);
        return ViewFrame(source).serves({0, 1, 4, 8, 16, 24, 32});
    };
    EXPECT_TRUE(served([](DibHeader &) {}));
    EXPECT_FALSE(served([](DibHeader &) {}, 1));
    EXPECT_FALSE(served([](DibHeader &h) { h.biClrUsed = 5; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biClrUsed = 0x40000004; })) << "4 * biClrUsed wraps to 16";
    EXPECT_FALSE(served([](DibHeader &h) { h.biHeight = 3; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biHeight = 0; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biHeight = -2; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biHeight = 0x40000000; })) << "4 * biHeight wraps to 0";
    EXPECT_FALSE(served([](DibHeader &h) { h.biWidth = 0; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biWidth = 5; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biSize = 39; }));
    // The view places palette and rows behind biSize.
    EXPECT_FALSE(served([](DibHeader &h) { h.biSize = 44; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biSize = 44; }, 0, 3));
    EXPECT_TRUE(served([](DibHeader &h) { h.biSize = 44; }, 0, 4));
    EXPECT_FALSE(served([](DibHeader &h) { h.biSize = UINT32_MAX - 15; })) << "with 16 it wraps to 0";
    // At 1 bit without a count the palette takes 4 bytes, at 8 bits none.
    EXPECT_TRUE(served(
        [](DibHeader &h) {
            h.biClrUsed = 0;
            h.biBitCount = 1;
        },
        24 - 4 - 8));
    EXPECT_FALSE(served(
        [](DibHeader &h) {
            h.biClrUsed = 0;
            h.biBitCount = 1;
        },
        24 - 4 - 8 + 1));
    EXPECT_TRUE(served([](DibHeader &h) { h.biClrUsed = 0; }, 16));
    EXPECT_FALSE(served([](DibHeader &h) { h.biClrUsed = 0; }, 17));
}

TEST_F(ViewFrameTest, BlockIsAskedForMoveableAndZeroInTheViewsSize)
{
    DibHeader header = makeHeader(5, 3, 8, 10);
    header.biSize = 52;
    const Handle source = blockOf(makeBlock(header, {}, noise(12 + 40 + 24, 1)));
    EXPECT_NE(Handle(leaveBlank(source)), nullptr);
    EXPECT_EQ(memory_hooks::counts().lastFlags, 66u);
    EXPECT_EQ(memory_hooks::counts().lastBytes, 52u + 4 * 10 + 8 * 3);
}

TEST_F(ViewFrameTest, FortyBytesOfHeaderAndThePaletteBehindBiSizeAreCopied)
{
    DibHeader header = makeHeader(5, 3, 8, 10);
    header.biSize = 52;
    const Handle source = blockOf(makeBlock(header, {}, noise(12 + 40 + 24, 1)));
    Bytes expected = bytesOf(source);
    std::fill(expected.begin() + 40, expected.begin() + 52, uint8_t{0});
    std::fill(expected.begin() + 52 + 40, expected.end(), uint8_t{0});
    const Handle result(leaveBlank(source));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(bytesOf(result), expected);
}

TEST_F(ViewFrameTest, OneBitWithoutACountCarriesFourBytesOfPalette)
{
    const Handle source = blockOf(makeBlock(makeHeader(5, 1, 1, 0), {}, noise(8, 1)));
    Bytes expected = bytesOf(source);
    std::fill(expected.begin() + 44, expected.end(), uint8_t{0});
    const Handle result(leaveBlank(source));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(bytesOf(result), expected);
}

TEST_F(ViewFrameTest, ResultIsTestedForGrayWhileItsPaletteIsStillZero)
{
    // The header comes first and settles it, the palette's colours come too late: hosts rely on what follows
    // for images with 256 colours.
    const Handle source = noiseImage(4, 1, 8, 256);
    ViewFrame frame(source);
    ASSERT_TRUE(frame.begin());
    EXPECT_EQ(frame.source().isGray, 0);
    EXPECT_EQ(frame.result().isGray, 1);
    EXPECT_EQ(frame.result().rowBytes, 4u);
    EXPECT_EQ(frame.result().bitCount, 8u);
    EXPECT_EQ(frame.result().bits, frame.result().header + 40 + 1024);
    EXPECT_NE(Handle(frame.finish()), nullptr);

    const Handle fewer = noiseImage(4, 1, 8, 255);
    ViewFrame second(fewer);
    ASSERT_TRUE(second.begin());
    EXPECT_EQ(second.result().isGray, 0);
    EXPECT_NE(Handle(second.finish()), nullptr);
}

int throwAtPoll()
{
    throw std::runtime_error("a host's own");
}

TEST_F(ViewFrameTest, HostsThatThrowLoseNothing)
{
    const Handle source = grayNoise(5, 3);
    RecordingHost host;
    SetProcessEnvironment(throwAtPoll, nullptr);
    EXPECT_THROW(duplicate(source), std::runtime_error);
    EXPECT_EQ(memory_hooks::locksOn(source), 0);
}

/// A copy of the whole block.
void *keepAll(void *dib)
{
    ViewFrame frame(dib);
    if (!frame.hasPixels() || !frame.beginWithCopy())
        return nullptr;
    for ([[maybe_unused]] const int y : frame.rows()) {
    }
    return frame.finish();
}

TEST_F(ViewFrameTest, StartsWithACopy)
{
    for (const auto &source : {noiseImage(5, 3, 24, 0), noiseImage(5, 3, 8, 256), noiseImage(5, 3, 8, 9),
                               noiseImage(5, 3, 4, 16), noiseImage(5, 3, 1, 2), noiseImage(5, 3, 32, 0)}) {
        RecordingHost host;
        const Handle result(keepAll(source));
        ASSERT_NE(static_cast<void *>(result), nullptr);
        EXPECT_EQ(bytesOf(result), bytesOf(source));
        EXPECT_EQ(host.events, (Events{"wait", "poll", "poll", "0%", "poll", "poll", "100%", "arrow"}));
        host.events.clear();
        memory_hooks::failAllocation(1);
        EXPECT_EQ(keepAll(source), nullptr);
        EXPECT_EQ(host.events, (Events{"wait", "arrow"}));
        EXPECT_EQ(memory_hooks::locksOn(source), 0);
    }
}

TEST_F(ViewFrameTest, OnlyACopyKnowsItsPalette)
{
    // The view on the result looks at the palette as its header comes: it is still black then, or there already.
    const Handle source = noiseImage(5, 3, 8, 256);
    ViewFrame black(source), copied(source);
    ASSERT_TRUE(black.begin() && copied.beginWithCopy());
    EXPECT_EQ(black.source().isGray, 0);
    EXPECT_EQ(black.result().isGray, 1);
    EXPECT_EQ(copied.result().isGray, 0);
}

TEST_F(ViewFrameTest, GivesUpBetweenTheHalves)
{
    const Handle source = grayNoise(5, 3);
    RecordingHost host;
    {
        ViewFrame frame(source);
        ASSERT_TRUE(frame.serves({8}) && frame.allocate(Contents::ZeroFilled));
        EXPECT_EQ(frame.giveUp(), nullptr);
        EXPECT_EQ(memory_hooks::locksOn(source), 0);
    }
    EXPECT_EQ(host.events, (Events{"wait", "arrow"}));
}

} // namespace

} // namespace velmont::testing
