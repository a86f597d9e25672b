#include "tests/support/recording_host.h"
#include "platform/memory.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <velmont/environment.h>
#include <velmont/platform.h>

namespace velmont::testing {

namespace {

RecordingHost *current = nullptr;
int pollNumber = 0;
int abortFrom = 0;
int abortAnswer = 1;
short escapeState = 0;

int poll()
{
    current->events.push_back("poll");
    ++pollNumber;
    return abortFrom > 0 && pollNumber >= abortFrom ? abortAnswer : 0;
}

void showProgress(int percent)
{
    current->events.push_back(std::to_string(percent) + "%");
}

void noteCursor(void *, int cursor)
{
    current->events.push_back(cursor == VELMONT_CURSOR_WAIT    ? "wait"
                              : cursor == VELMONT_CURSOR_ARROW ? "arrow"
                                                               : "cursor " + std::to_string(cursor));
}

short noteKey(void *, int key)
{
    current->events.push_back("key " + std::to_string(key));
    return escapeState;
}

} // namespace

RecordingHost::RecordingHost()
{
    current = this;
    abortFromPoll(0);
    VelmontPlatformServices services{};
    services.structBytes = sizeof services;
    services.setCursor = noteCursor;
    services.keyState = noteKey;
    VelmontInstallPlatformServices(&services);
    SetProcessEnvironment(poll, showProgress);
}

RecordingHost::~RecordingHost()
{
    SetProcessEnvironment(nullptr, nullptr);
    EnableAbort(1);
    EnableProgressMeter(1);
    VelmontInstallPlatformServices(nullptr);
    current = nullptr;
}

void RecordingHost::abortFromPoll(int n, int answer)
{
    pollNumber = 0;
    abortFrom = n;
    abortAnswer = answer;
}

void RecordingHost::useEscapeKey(short state)
{
    escapeState = state;
    SetProcessEnvironment(nullptr, showProgress);
}

int RecordingHost::count(const std::string &event) const
{
    return static_cast<int>(std::count(events.begin(), events.end(), event));
}

std::vector<int> RecordingHost::progress() const
{
    std::vector<int> percents;
    for (const std::string &event : events)
        if (event.ends_with('%'))
            percents.push_back(std::stoi(event));
    return percents;
}

NothingLost::NothingLost() : blocks_(memory_hooks::counts().blocks), locks_(memory_hooks::counts().locks) {}

NothingLost::~NothingLost()
{
    EXPECT_EQ(memory_hooks::counts().blocks, blocks_) << "blocks alive";
    EXPECT_EQ(memory_hooks::counts().locks, locks_) << "locks held";
}

} // namespace velmont::testing
