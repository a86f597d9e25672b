// The shape that the effects share, on effects of the test's own.

#include "core/effect_frame.h"
#include "tests/effects/watching_host.h"
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <stdexcept>
#include <utility>

namespace velmont::testing {

namespace {

/// Copies palette and rows.
void *duplicate(void *dib)
{
    EffectFrame frame(dib);
    if (!frame.serves({8, 24}) || !frame.begin())
        return nullptr;
    frame.copyPalette();
    for (const int y : frame.rows())
        std::memcpy(frame.result().row(y), frame.source().row(y), frame.source().stride());
    return frame.finish();
}

/// Writes nothing but what the frame itself does.
void *leaveBlank(void *dib)
{
    EffectFrame frame(dib);
    if (!frame.serves({8, 24}) || !frame.begin())
        return nullptr;
    for ([[maybe_unused]] const int y : frame.rows()) {
    }
    return frame.finish();
}

/// Follows a plan and writes nothing.
void *follow(void *dib, const ResultPlan &plan)
{
    EffectFrame frame(dib);
    if (!frame.serves({1, 4, 8, 24}) || !frame.begin(plan))
        return nullptr;
    return frame.finish();
}

class EffectFrameTest : public ::testing::Test {
protected:
    NothingLost check_;
    Restore restore_;
};

TEST_F(EffectFrameTest, OneRow)
{
    const Handle source = noiseImage(3, 1, 24, 0);
    RecordingHost host;
    EXPECT_NE(Handle(duplicate(source)), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "poll", "poll", "0%", "100%", "arrow"}));
}

TEST_F(EffectFrameTest, SixteenRows)
{
    const Handle source = noiseImage(3, 16, 24, 0);
    RecordingHost host;
    EXPECT_NE(Handle(duplicate(source)), nullptr);
    Events expected{"wait", "poll", "poll", "0%"};
    expected.insert(expected.end(), 15, "poll");
    expected.insert(expected.end(), {"100%", "arrow"});
    EXPECT_EQ(host.events, expected);
}

TEST_F(EffectFrameTest, SeventeenRows)
{
    const Handle source = noiseImage(3, 17, 24, 0);
    RecordingHost host;
    EXPECT_NE(Handle(duplicate(source)), nullptr);
    Events expected{"wait", "poll", "poll", "0%"};
    expected.insert(expected.end(), 15, "poll");
    expected.insert(expected.end(), {"poll", "94%", "100%", "arrow"});
    EXPECT_EQ(host.events, expected);
}

TEST_F(EffectFrameTest, FortyRows)
{
    const Handle source = noiseImage(3, 40, 24, 0);
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

TEST_F(EffectFrameTest, ResultIsTheCopyAndTheSourceIsUntouched)
{
    for (const auto &source : {noiseImage(5, 4, 24, 0), noiseImage(5, 4, 8, 256), grayNoise(7, 3)}) {
        const Bytes before = bytesOf(source);
        const Handle result(duplicate(source));
        ASSERT_NE(result, nullptr);
        EXPECT_EQ(bytesOf(result), before);
        EXPECT_EQ(bytesOf(source), before);
        EXPECT_EQ(memory_hooks::locksOn(source), 0);
        EXPECT_EQ(memory_hooks::locksOn(result), 0);
    }
}

TEST_F(EffectFrameTest, BlocksAndLocksAtEachCallOfTheHost)
{
    const Handle source = noiseImage(3, 2, 24, 0);
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

TEST_F(EffectFrameTest, BlocksAndLocksOfAnAbort)
{
    const Handle source = noiseImage(3, 2, 24, 0);
    WatchingHost host(source, 3); // the poll of row 1
    EXPECT_EQ(duplicate(source), nullptr);
    EXPECT_EQ(host.sights, (std::vector<Sight>{{"wait", 1, 0, 1},
                                               {"poll", 1, 1, 2},
                                               {"poll", 1, 1, 2},
                                               {"0%", 1, 1, 2},
                                               {"poll", 1, 1, 2},
                                               {"100%", 0, 0, 0},
                                               {"arrow", 0, 0, 0}}));
}

TEST_F(EffectFrameTest, FirstPollStopsNothing)
{
    const Handle source = noiseImage(3, 2, 24, 0);
    WatchingHost host(source, 1);
    const Handle result(duplicate(source));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(bytesOf(result), bytesOf(source));
    EXPECT_EQ(host.events(), (Events{"wait", "poll", "poll", "0%", "poll", "100%", "arrow"}));
}

TEST_F(EffectFrameTest, AbortAtEachRow)
{
    constexpr int kHeight = 18;
    const Handle source = noiseImage(3, kHeight, 24, 0);
    const Bytes before = bytesOf(source);
    for (int row = 0; row < kHeight; ++row) {
        WatchingHost host(source, row + 2);
        EXPECT_EQ(duplicate(source), nullptr) << row;
        Events expected{"wait", "poll", "poll"};
        if (row > 0)
            expected.push_back("0%");
        expected.insert(expected.end(), static_cast<std::size_t>(row), "poll");
        if (row == 17)
            expected.insert(expected.end() - 1, "88%"); // behind the poll of row 16: 1600 / 18
        expected.insert(expected.end(), {"100%", "arrow"});
        EXPECT_EQ(host.events(), expected) << row;
    }
    EXPECT_EQ(bytesOf(source), before);
}

TEST_F(EffectFrameTest, FailedAllocation)
{
    const Handle source = noiseImage(3, 2, 24, 0);
    memory_hooks::failAllocation(1);
    WatchingHost host(source);
    EXPECT_EQ(duplicate(source), nullptr);
    // The source is unlocked last.
    EXPECT_EQ(host.sights, (std::vector<Sight>{{"wait", 1, 0, 1}, {"arrow", 1, 0, 1}}));
    EXPECT_EQ(memory_hooks::locksOn(source), 0);
}

TEST_F(EffectFrameTest, FailedLockOfTheResultCountsAsFailedAllocation)
{
    const Handle source = noiseImage(3, 2, 24, 0);
    memory_hooks::failLock(2);
    WatchingHost host(source);
    EXPECT_EQ(duplicate(source), nullptr);
    EXPECT_EQ(host.events(), (Events{"wait", "arrow"}));
    EXPECT_EQ(host.sights.back(), (Sight{"arrow", 1, 0, 1}));
    EXPECT_EQ(memory_hooks::locksOn(source), 0);
}

TEST_F(EffectFrameTest, FailedLockOfTheSourceIsARefusal)
{
    const Handle source = noiseImage(3, 2, 24, 0);
    memory_hooks::failLock(1);
    const long allocations = memory_hooks::counts().allocations;
    RecordingHost host;
    EXPECT_EQ(duplicate(source), nullptr);
    EXPECT_EQ(host.events, Events{});
    EXPECT_EQ(memory_hooks::counts().allocations, allocations);
}

TEST_F(EffectFrameTest, RefusalsTouchNothing)
{
    void *stale = nullptr;
    {
        const Handle freed = noiseImage(3, 2, 24, 0);
        stale = freed;
    }
    RecordingHost host;
    EXPECT_EQ(duplicate(nullptr), nullptr);
    EXPECT_EQ(duplicate(stale), nullptr);
    for (const int bits : {0, 1, 4, 16, 32}) {
        const Handle source = noiseImage(3, 2, bits, bits == 1 || bits == 4 ? 2 : 0);
        EXPECT_EQ(duplicate(source), nullptr) << bits;
        EXPECT_EQ(memory_hooks::locksOn(source), 0) << bits;
    }
    EXPECT_EQ(host.events, Events{});
}

TEST_F(EffectFrameTest, ServesExactlyTheDepthsNamed)
{
    for (const int bits : {1, 4, 8, 24}) {
        const Handle source = noiseImage(3, 2, bits, bits < 24 ? 2 : 0);
        const EffectFrame frame(source);
        for (const int asked : {0, 1, 2, 4, 8, 16, 24, 32})
            EXPECT_EQ(frame.serves({asked}), asked == bits) << bits << " asked " << asked;
        EXPECT_FALSE(frame.serves({}));
        EXPECT_TRUE(frame.serves({32, 16, bits}));
    }
}

TEST_F(EffectFrameTest, HeaderMustFitItsBlock)
{
    const DibHeader good = makeHeader(3, 2, 8, 4);
    const Bytes rest = noise(4 * 4 + 8, 1);
    const auto served = [&](auto change, std::size_t cutOff = 0) {
        DibHeader header = good;
        change(header);
        Bytes block = makeBlock(header, {}, rest);
        block.resize(block.size() - cutOff);
        const Handle source = blockOf(block);
        return EffectFrame(source).serves({0, 1, 4, 8, 16, 24, 32});
    };
    EXPECT_TRUE(served([](DibHeader &) {}));
    EXPECT_FALSE(served([](DibHeader &) {}, 1));
    EXPECT_FALSE(served([](DibHeader &) {}, rest.size() + 1));
    EXPECT_FALSE(served([](DibHeader &h) { h.biClrUsed = 5; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biClrUsed = 0x40000004; })) << "4 * biClrUsed wraps to 16";
    EXPECT_FALSE(served([](DibHeader &h) { h.biClrUsed = UINT32_MAX; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biHeight = 3; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biHeight = 0; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biHeight = -2; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biHeight = 0x40000000; })) << "4 * biHeight wraps to 0";
    EXPECT_FALSE(served([](DibHeader &h) { h.biWidth = 5; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biWidth = 0; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biWidth = -3; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biWidth = INT32_MAX; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biSize = 39; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biSize = 0; }));
    EXPECT_FALSE(served([](DibHeader &h) { h.biSize = 40 + 4 * 4 + 8 + 1; })) << "behind the block";
    EXPECT_TRUE(served([](DibHeader &h) { h.biSize = 40 + 4 * 4 + 8; }));
    EXPECT_TRUE(served([](DibHeader &h) { h.biWidth = 4; })) << "the padding's place";
    EXPECT_FALSE(served([](DibHeader &h) {
        h.biBitCount = 24; // three rows of 12 bytes are more than palette and rows of before
        h.biHeight = 3;
    }));
    EXPECT_TRUE(served([](DibHeader &h) {
        h.biBitCount = 24;
        h.biClrUsed = UINT32_MAX; // means nothing at 24 bits
        h.biHeight = 2;
    })) << "two rows of 12 bytes";
}

TEST_F(EffectFrameTest, BlockIsAskedForMoveableAndZero)
{
    const Handle source = noiseImage(5, 3, 8, 10);
    EXPECT_NE(Handle(leaveBlank(source)), nullptr);
    EXPECT_EQ(memory_hooks::counts().lastFlags, 66u);
    EXPECT_EQ(memory_hooks::counts().lastBytes, 40u + 4 * 10 + 8 * 3);
}

TEST_F(EffectFrameTest, HeaderIsCopiedAndTheRestIsZero)
{
    const Handle source = noiseImage(5, 3, 8, 10);
    Bytes expected = bytesOf(source);
    std::fill(expected.begin() + 40, expected.end(), uint8_t{0});
    const Handle result(leaveBlank(source));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(bytesOf(result), expected);
}

TEST_F(EffectFrameTest, LongHeadersAreCopiedOverWhatFollows)
{
    DibHeader header = makeHeader(5, 3, 24, 0);
    header.biSize = 56;
    const Handle source = blockOf(makeBlock(header, {}, noise(48, 9)));
    Bytes expected = bytesOf(source);
    std::fill(expected.begin() + 56, expected.end(), uint8_t{0});
    const Handle result(leaveBlank(source));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(bytesOf(result), expected);
}

TEST_F(EffectFrameTest, PlansMayCopyFortyBytesOnly)
{
    DibHeader header = makeHeader(5, 3, 24, 0);
    header.biSize = 56;
    const Handle source = blockOf(makeBlock(header, {}, noise(48, 9)));
    const ResultPlan plan{*DibLayout::make(5, 3, 24, 40), Contents::ZeroFilled, 0, 40};
    Bytes expected = bytesOf(source);
    std::fill(expected.begin() + 40, expected.end(), uint8_t{0});
    const Handle result(follow(source, plan));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(bytesOf(result), expected);
}

TEST_F(EffectFrameTest, HeaderLongerThanTheResultIsCutOff)
{
    DibHeader header = makeHeader(30, 30, 24, 0);
    header.biSize = 1000;
    const Handle source = blockOf(makeBlock(header, {}, noise(header.biSizeImage, 9)));
    const Handle result(follow(source, {*DibLayout::make(1, 1, 8, 40)}));
    ASSERT_NE(result, nullptr);
    Bytes expected = bytesOf(source);
    expected.resize(44);
    EXPECT_EQ(bytesOf(result), expected);
}

TEST_F(EffectFrameTest, BlockIsTheLayoutOrTheMinimum)
{
    const Handle source = noiseImage(5, 3, 24, 0);
    const DibLayout layout = *DibLayout::make(7, 2, 8, 40 + 12); // stride 8
    EXPECT_EQ(KelMemSize(Handle(follow(source, {layout}))), 52u + 16);
    EXPECT_EQ(KelMemSize(Handle(follow(source, {layout, Contents::ZeroFilled, 67}))), 68u);
    EXPECT_EQ(KelMemSize(Handle(follow(source, {layout, Contents::ZeroFilled, 69}))), 69u);
}

TEST_F(EffectFrameTest, OverwrittenContentsComeUndefined)
{
    const Handle source = noiseImage(5, 3, 24, 0);
    const Handle result(follow(source, {*DibLayout::make(5, 3, 24, 40), Contents::Overwritten}));
    Bytes expected = bytesOf(source);
    std::fill(expected.begin() + 40, expected.end(), uint8_t{0xCD}); // the pattern of the tests
    EXPECT_EQ(bytesOf(result), expected);
    EXPECT_EQ(memory_hooks::counts().lastFlags, 66u);
}

TEST_F(EffectFrameTest, RowsLieByThePlan)
{
    const Handle source = noiseImage(5, 3, 24, 0);
    EffectFrame frame(source);
    ASSERT_TRUE(frame.begin({*DibLayout::make(9, 2, 8, 48)}));
    EXPECT_EQ(frame.result().row(0) - frame.result().block(), 48);
    EXPECT_EQ(frame.result().row(1) - frame.result().row(0), 12);
    EXPECT_EQ(frame.result().bitCount(), 8);
    EXPECT_EQ(frame.source().row(0) - frame.source().block(), 40);
    EXPECT_EQ(frame.source().row(2) - frame.source().row(0), 32);
    EXPECT_NE(Handle(frame.finish()), nullptr);
}

/// Maps the palette and writes nothing else.
void *raisePalette(void *dib)
{
    EffectFrame frame(dib);
    if (!frame.serves({8}) || !frame.begin())
        return nullptr;
    frame.mapPalette([](uint8_t value) { return static_cast<uint8_t>(value + 3); });
    return frame.finish();
}

TEST_F(EffectFrameTest, MapPaletteKeepsReservedBytes)
{
    for (const uint32_t entries : {0u, 1u, 10u, 256u, 300u}) {
        const Handle source = noiseImage(5, 3, 8, entries);
        const Handle result(raisePalette(source));
        ASSERT_NE(result, nullptr);
        const Bytes from = bytesOf(source), to = bytesOf(result);
        ASSERT_EQ(to.size(), from.size());
        for (std::size_t i = 0; i < 4 * std::size_t{entries}; ++i)
            EXPECT_EQ(to[40 + i], i % 4 == 3 ? from[40 + i] : static_cast<uint8_t>(from[40 + i] + 3)) << i;
        EXPECT_EQ(Bytes(to.begin() + 40 + 4 * entries, to.end()), Bytes(24, 0));
    }
}

TEST_F(EffectFrameTest, PaletteIsCopiedAsFarAsTheResultHasOne)
{
    const Handle source = noiseImage(5, 3, 8, 200);
    EffectFrame frame(source);
    ASSERT_TRUE(frame.begin({*DibLayout::make(1, 1, 8, 40 + 4 * 2)}));
    frame.copyPalette();
    const Handle result(frame.finish());
    Bytes expected = bytesOf(source);
    expected.resize(40 + 8 + 4);
    std::fill(expected.begin() + 48, expected.end(), uint8_t{0});
    EXPECT_EQ(bytesOf(result), expected);
}

/// The events of an effect whose frame leaves out these steps, without and with an allocation that fails.
std::pair<Events, Events> eventsWithout(const FrameSteps &steps)
{
    const Handle source = noiseImage(3, 1, 24, 0);
    std::pair<Events, Events> events;
    for (Events *const each : {&events.first, &events.second}) {
        RecordingHost host;
        memory_hooks::failAllocation(each == &events.second ? 1 : 0);
        EffectFrame frame(source, steps);
        if (frame.begin()) {
            for ([[maybe_unused]] const int y : frame.rows()) {
            }
            EXPECT_NE(Handle(frame.finish()), nullptr);
        }
        *each = host.events;
    }
    return events;
}

TEST_F(EffectFrameTest, StepsThatAreLeftOut)
{
    using Pair = std::pair<Events, Events>;
    EXPECT_EQ(eventsWithout({}), (Pair{{"wait", "poll", "poll", "0%", "100%", "arrow"}, {"wait", "arrow"}}));
    EXPECT_EQ(eventsWithout({.waitCursor = false}),
              (Pair{{"poll", "poll", "0%", "100%", "arrow"}, {"arrow"}}));
    EXPECT_EQ(eventsWithout({.droppedPoll = false}),
              (Pair{{"wait", "poll", "0%", "100%", "arrow"}, {"wait", "arrow"}}));
    EXPECT_EQ(eventsWithout({.arrowCursor = false}),
              (Pair{{"wait", "poll", "poll", "0%", "100%"}, {"wait"}}));
}

TEST_F(EffectFrameTest, BeginInTwoHalves)
{
    const Handle source = noiseImage(3, 1, 24, 0);
    WatchingHost host(source);
    EffectFrame frame(source);
    ASSERT_TRUE(frame.allocate({frame.source().layout()}));
    EXPECT_EQ(host.events(), Events{"wait"});
    EXPECT_EQ(frame.result().header().biSize, 0u);
    frame.open();
    EXPECT_EQ(host.events(), (Events{"wait", "poll"}));
    EXPECT_EQ(frame.result().header().biSize, 40u);
    EXPECT_NE(Handle(frame.finish()), nullptr);
}

TEST_F(EffectFrameTest, FrameLeftBehindTheAllocationFreesItsBlock)
{
    const Handle source = noiseImage(3, 1, 24, 0);
    {
        EffectFrame frame(source);
        ASSERT_TRUE(frame.allocate({frame.source().layout()}));
    }
    EXPECT_EQ(memory_hooks::locksOn(source), 0);
}

TEST_F(EffectFrameTest, EffectsMayAbortThemselves)
{
    const Handle source = noiseImage(3, 4, 24, 0);
    RecordingHost host;
    EffectFrame frame(source);
    ASSERT_TRUE(frame.begin());
    EXPECT_FALSE(frame.isAborted());
    frame.abort();
    EXPECT_TRUE(frame.isAborted());
    for ([[maybe_unused]] const int y : frame.rows())
        ADD_FAILURE() << "a row after the abort";
    EXPECT_EQ(frame.finish(), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "poll", "100%", "arrow"}));
}

TEST_F(EffectFrameTest, RowsKeepTheCadenceAskedFor)
{
    const Handle source = noiseImage(3, 4, 24, 0);
    RecordingHost host;
    EffectFrame frame(source);
    ASSERT_TRUE(frame.begin());
    for ([[maybe_unused]] const int y : frame.rows({.pollEvery = 2, .reportEvery = 1})) {
    }
    EXPECT_NE(Handle(frame.finish()), nullptr);
    EXPECT_EQ(host.events,
              (Events{"wait", "poll", "poll", "0%", "25%", "poll", "50%", "75%", "100%", "arrow"}));
}

int throwAtPoll()
{
    throw std::runtime_error("a host's own");
}

TEST_F(EffectFrameTest, HostsThatThrowLoseNothing)
{
    const Handle source = noiseImage(5, 3, 24, 0);
    RecordingHost host;
    SetProcessEnvironment(throwAtPoll, nullptr);
    EXPECT_THROW(duplicate(source), std::runtime_error);
    EXPECT_EQ(memory_hooks::locksOn(source), 0);
}

} // namespace

} // namespace velmont::testing
