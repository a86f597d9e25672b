// The dispatcher: what codes reach and what they leave alone.

#include "tests/effects/watching_host.h"
#include <array>
#include <gtest/gtest.h>
#include <velmont/effects.h>
#include <velmont/tone.h>

namespace velmont::testing {

namespace {

constexpr unsigned kNegative = 6;
/// An address that nobody may follow.
constexpr long kNowhere = 8;

/// Codes that belong to no effect: the reserved one, the gaps, and neighbours of the ranges.
std::vector<unsigned> unknownCodes()
{
    std::vector<unsigned> codes{0,    69,   82,   95,   100,  1104, 1106, 1200,
                                1203, 3100, 3102, 3104, 3106, 4100, 4102};
    codes.insert(codes.end(), {4200, 4202, 4300, 4307, 4502, 4504, 4602, 4604, 4702, 4720, 65535, 65536 + 6,
                               0x7FFFFFFF, 0x80000000, 0x80000006, 0xFFFFFFFF, 0u - 6u});
    for (const unsigned gap : {10u, 26u, 42u, 58u, 74u})
        for (unsigned i = 0; i < 6; ++i)
            codes.push_back(gap + i);
    return codes;
}

TEST(DispatcherTest, NullImageGivesNullWhateverTheCode)
{
    RecordingHost host;
    for (unsigned code = 0; code <= 6000; ++code)
        ASSERT_EQ(EnhanceAndEffects(nullptr, code, kNowhere), nullptr) << code;
    for (const unsigned code : unknownCodes())
        EXPECT_EQ(EnhanceAndEffects(nullptr, code, kNowhere), nullptr) << code;
    EXPECT_EQ(host.events, Events{});
}

TEST(DispatcherTest, UnknownCodesTouchNothing)
{
    const NothingLost check;
    const Handle source = grayNoise(5, 4);
    const Bytes before = bytesOf(source);
    RecordingHost host;
    for (const unsigned code : unknownCodes())
        for (const long param : {0L, kNowhere})
            EXPECT_EQ(EnhanceAndEffects(source, code, param), nullptr) << code;
    EXPECT_EQ(host.events, Events{});
    EXPECT_EQ(bytesOf(source), before);
}

TEST(DispatcherTest, CodeSixIsTheNegativeByteForByte)
{
    const NothingLost check;
    for (const auto &source : {noiseImage(5, 18, 24, 0), grayNoise(5, 18), noiseImage(5, 18, 8, 40),
                               noiseImage(5, 18, 4, 16), noiseImage(5, 18, 1, 2)}) {
        RecordingHost host;
        const Handle direct(ProcessNegative(source));
        const Events events = host.events;
        host.events.clear();
        const Handle dispatched(EnhanceAndEffects(source, kNegative, 0));
        ASSERT_NE(dispatched, nullptr);
        EXPECT_EQ(bytesOf(dispatched), bytesOf(direct));
        EXPECT_NE(bytesOf(dispatched), bytesOf(source));
        EXPECT_EQ(host.events, events);
    }
}

TEST(DispatcherTest, EffectsWithoutParametersIgnoreTheParameter)
{
    const Handle source = grayNoise(5, 4);
    const Handle plain(EnhanceAndEffects(source, kNegative, 0));
    for (const long param : {1L, kNowhere, -1L})
        EXPECT_EQ(bytesOf(Handle(EnhanceAndEffects(source, kNegative, param))), bytesOf(plain));
}

TEST(DispatcherTest, RefusalsAndAbortsOfAnEffectComeBackAsNull)
{
    const NothingLost check;
    const Handle refused = noiseImage(5, 4, 16, 0);
    const Handle source = grayNoise(5, 4);
    RecordingHost host;
    EXPECT_EQ(EnhanceAndEffects(refused, kNegative, 0), nullptr);
    EXPECT_EQ(host.events, Events{});
    host.abortFromPoll(2);
    EXPECT_EQ(EnhanceAndEffects(source, kNegative, 0), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "poll", "poll", "100%", "arrow"}));
}

TEST(DispatcherTest, BadHandlesGiveNull)
{
    RecordingHost host;
    int local = 0;
    EXPECT_EQ(EnhanceAndEffects(&local, kNegative, 0), nullptr);
    EXPECT_EQ(EnhanceAndEffects(reinterpret_cast<void *>(kNowhere), kNegative, 0), nullptr);
    EXPECT_EQ(host.events, Events{});
}

} // namespace

} // namespace velmont::testing
