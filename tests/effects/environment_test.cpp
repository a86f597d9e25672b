// The four variables of the environment: what the setters answer and what the two questions do.

#include "tests/effects/watching_host.h"
#include <climits>
#include <gtest/gtest.h>
#include <thread>
#include <velmont/environment.h>
#include <velmont/platform.h>
#include <velmont/tone.h>

namespace velmont::testing {

namespace {

int abortAnswer = 0;
int abortCalls = 0;
std::vector<int> percents;
std::thread::id callbackThread;

int answerAbort()
{
    ++abortCalls;
    callbackThread = std::this_thread::get_id();
    return abortAnswer;
}

void notePercent(int percent)
{
    percents.push_back(percent);
}

class Environment : public ::testing::Test {
protected:
    Environment()
    {
        abortAnswer = 0;
        abortCalls = 0;
        percents.clear();
    }
    ~Environment() override
    {
        EnableAbort(1);
        EnableProgressMeter(1);
        SetProcessEnvironment(nullptr, nullptr);
    }
};

TEST_F(Environment, BothFlagsStartAtOne)
{
    EXPECT_EQ(EnableAbort(1), 1);
    SetProcessEnvironment(answerAbort, notePercent);
    ShowImageProcessing(3);
    AbortImageProcessing();
    EXPECT_EQ(percents, std::vector<int>{3});
    EXPECT_EQ(abortCalls, 1);
}

TEST_F(Environment, EnableAbortAnswersItsPreviousValueUnchanged)
{
    EXPECT_EQ(EnableAbort(7), 1);
    EXPECT_EQ(EnableAbort(0), 7);
    EXPECT_EQ(EnableAbort(INT_MIN), 0);
    EXPECT_EQ(EnableAbort(1), INT_MIN);
}

TEST_F(Environment, EnableProgressMeterAnswersTheAbortFlag)
{
    EnableAbort(42);
    EXPECT_EQ(EnableProgressMeter(0), 42);
    EXPECT_EQ(EnableProgressMeter(5), 42); // neither 0, its previous value, nor 5
    EnableAbort(0);
    EXPECT_EQ(EnableProgressMeter(1), 0);
    EXPECT_EQ(EnableAbort(1), 0) << "the meter's setter leaves the abort flag alone";
}

TEST_F(Environment, EnableAbortLeavesTheMeterAlone)
{
    SetProcessEnvironment(nullptr, notePercent);
    EnableProgressMeter(0);
    EnableAbort(1);
    ShowImageProcessing(1);
    EXPECT_TRUE(percents.empty());
    EnableProgressMeter(1);
    EnableAbort(0);
    ShowImageProcessing(2);
    EXPECT_EQ(percents, std::vector<int>{2});
}

TEST_F(Environment, ProgressPassesAnyNumberUnchanged)
{
    SetProcessEnvironment(nullptr, notePercent);
    const std::vector<int> numbers{0, 1, 94, 100, 101, -1, INT_MIN, INT_MAX};
    for (const int number : numbers)
        ShowImageProcessing(number);
    EXPECT_EQ(percents, numbers);
}

TEST_F(Environment, MeterIsOnForAnyFlagButZero)
{
    SetProcessEnvironment(nullptr, notePercent);
    for (const int flag : {1, 2, -1, INT_MIN, 0x100, 0x10000}) {
        EnableProgressMeter(flag);
        ShowImageProcessing(flag);
    }
    EnableProgressMeter(0);
    ShowImageProcessing(77);
    EXPECT_EQ(percents, (std::vector<int>{1, 2, -1, INT_MIN, 0x100, 0x10000}));
}

TEST_F(Environment, NoProgressCallbackIsFine)
{
    SetProcessEnvironment(answerAbort, nullptr);
    ShowImageProcessing(50);
    EXPECT_EQ(abortCalls, 0);
}

TEST_F(Environment, AbortPassesTheCallbacksAnswerUnchanged)
{
    SetProcessEnvironment(answerAbort, nullptr);
    for (const int answer : {0, 1, 2, -1, 256, INT_MIN, INT_MAX}) {
        abortAnswer = answer;
        EXPECT_EQ(AbortImageProcessing(), answer);
    }
    EXPECT_EQ(abortCalls, 7);
}

TEST_F(Environment, AbortAsksForAnyFlagButZero)
{
    SetProcessEnvironment(answerAbort, nullptr);
    abortAnswer = 9;
    for (const int flag : {1, 2, -1, INT_MIN, 0x10000}) {
        EnableAbort(flag);
        EXPECT_EQ(AbortImageProcessing(), 9) << flag;
    }
}

TEST_F(Environment, DisabledAbortAsksNobody)
{
    RecordingHost host;
    host.abortFromPoll(1);
    EnableAbort(0);
    EXPECT_EQ(AbortImageProcessing(), 0);
    host.useEscapeKey(-1);
    EXPECT_EQ(AbortImageProcessing(), 0);
    EXPECT_EQ(host.events, Events{});
}

TEST_F(Environment, EscapeCountsWhicheverBitIsSet)
{
    RecordingHost host;
    for (int bit = 0; bit < 16; ++bit) {
        host.useEscapeKey(static_cast<short>(1u << bit));
        EXPECT_EQ(AbortImageProcessing(), 1) << "bit " << bit;
    }
    host.useEscapeKey(-1);
    EXPECT_EQ(AbortImageProcessing(), 1);
    host.useEscapeKey(0);
    EXPECT_EQ(AbortImageProcessing(), 0);
    EXPECT_EQ(host.events, Events(18, "key 27"));
}

TEST_F(Environment, AbortCallbackTakesTheKeysPlace)
{
    RecordingHost host;
    host.useEscapeKey(-1);
    SetProcessEnvironment(answerAbort, nullptr);
    EXPECT_EQ(AbortImageProcessing(), 0);
    EXPECT_EQ(abortCalls, 1);
    EXPECT_EQ(host.events, Events{});
}

TEST_F(Environment, CallbacksAreReplacedTogether)
{
    SetProcessEnvironment(answerAbort, notePercent);
    SetProcessEnvironment(nullptr, notePercent);
    AbortImageProcessing();
    EXPECT_EQ(abortCalls, 0);
    SetProcessEnvironment(answerAbort, nullptr);
    ShowImageProcessing(1);
    EXPECT_TRUE(percents.empty());
}

TEST_F(Environment, EffectWithoutCallbacksRunsAndEscapeAbortsIt)
{
    const NothingLost check;
    const Handle source = grayNoise(5, 3);
    RecordingHost host;
    host.useEscapeKey(0);
    SetProcessEnvironment(nullptr, nullptr);
    EXPECT_NE(Handle(ProcessNegative(source)), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "key 27", "key 27", "key 27", "key 27", "arrow"}));

    host.events.clear();
    host.useEscapeKey(1);
    SetProcessEnvironment(nullptr, nullptr);
    EXPECT_EQ(ProcessNegative(source), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "key 27", "key 27", "arrow"}));
}

TEST_F(Environment, EffectWithAbortDisabledPollsNobody)
{
    const Handle source = grayNoise(5, 17);
    RecordingHost host;
    host.abortFromPoll(1);
    EnableAbort(0);
    EXPECT_NE(Handle(ProcessNegative(source)), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "0%", "94%", "100%", "arrow"}));
}

TEST_F(Environment, EffectWithTheMeterOffReportsNothing)
{
    const Handle source = grayNoise(5, 2);
    RecordingHost host;
    EnableProgressMeter(0);
    EXPECT_NE(Handle(ProcessNegative(source)), nullptr);
    EXPECT_EQ(host.events, (Events{"wait", "poll", "poll", "poll", "arrow"}));
}

TEST_F(Environment, EffectsChangeNeitherFlagsNorCallbacks)
{
    const Handle source = grayNoise(5, 2);
    SetProcessEnvironment(answerAbort, notePercent);
    EnableAbort(11);
    EXPECT_NE(Handle(ProcessNegative(source)), nullptr);
    abortAnswer = 1;
    EXPECT_EQ(Handle(ProcessNegative(source)), nullptr);
    percents.clear();
    ShowImageProcessing(8);
    EXPECT_EQ(percents, std::vector<int>{8});
    EXPECT_EQ(AbortImageProcessing(), 1);
    EXPECT_EQ(EnableAbort(1), 11);
}

TEST_F(Environment, CallbacksComeOnTheCallersThread)
{
    const Handle source = grayNoise(5, 2);
    SetProcessEnvironment(answerAbort, nullptr);
    EXPECT_NE(Handle(ProcessNegative(source)), nullptr);
    EXPECT_EQ(callbackThread, std::this_thread::get_id());
}

} // namespace

} // namespace velmont::testing
