#include "platform/services.h"
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>
#include <velmont/environment.h>
#include <velmont/platform.h>

namespace velmont::testing {

namespace {

/// What a replaced service was called with: context and number.
using Calls = std::vector<std::pair<void *, int>>;
Calls cursorCalls;
Calls keyCalls;
short keyAnswer = 0;

void noteCursor(void *context, int cursor)
{
    cursorCalls.emplace_back(context, cursor);
}

short noteKey(void *context, int key)
{
    keyCalls.emplace_back(context, key);
    return keyAnswer;
}

class PlatformTest : public ::testing::Test {
protected:
    PlatformTest()
    {
        cursorCalls.clear();
        keyCalls.clear();
        keyAnswer = 0x1234;
    }
    ~PlatformTest() override { VelmontInstallPlatformServices(nullptr); }

    /// A record of `bytes` bytes, in memory of exactly that many so that reading on shows.
    static int installFirst(const VelmontPlatformServices &services, std::size_t bytes)
    {
        const auto *const begin = reinterpret_cast<const unsigned char *>(&services);
        std::vector<unsigned char> record(begin, begin + bytes);
        record.shrink_to_fit();
        return VelmontInstallPlatformServices(
            reinterpret_cast<const VelmontPlatformServices *>(record.data()));
    }
    VelmontPlatformServices ofSize(std::size_t bytes)
    {
        VelmontPlatformServices services{};
        services.structBytes = static_cast<unsigned>(bytes);
        services.context = &context_;
        services.setCursor = noteCursor;
        services.keyState = noteKey;
        return services;
    }
    static void useAll()
    {
        cursorCalls.clear();
        keyCalls.clear();
        showWaitCursor();
        keyState_ = escapeKeyState();
    }

    int context_ = 0;
    static inline short keyState_ = 0;
    static constexpr std::size_t kFull = sizeof(VelmontPlatformServices);
    static constexpr std::size_t kSetCursor = offsetof(VelmontPlatformServices, setCursor);
    static constexpr std::size_t kKeyState = offsetof(VelmontPlatformServices, keyState);
    static constexpr std::size_t kFindFirst = offsetof(VelmontPlatformServices, findFirst);
};

} // namespace

TEST_F(PlatformTest, NumbersAreThoseOfTheSystemThatHostsKnow)
{
    EXPECT_EQ(VELMONT_CURSOR_ARROW, 32512);
    EXPECT_EQ(VELMONT_CURSOR_WAIT, 32514);
    EXPECT_EQ(VELMONT_KEY_ESCAPE, 27);
}

TEST_F(PlatformTest, TheLibrarysOwnServicesAreComplete)
{
    const VelmontPlatformServices &own = systemServices();
    ASSERT_NE(own.setCursor, nullptr);
    ASSERT_NE(own.keyState, nullptr);
    EXPECT_EQ(own.structBytes, kFull);
    // All members from the first on are pointers to functions.
    std::vector<const void *> members((kFull - kSetCursor) / sizeof(void *));
    std::memcpy(members.data(), reinterpret_cast<const unsigned char *>(&own) + kSetCursor,
                kFull - kSetCursor);
    EXPECT_EQ(members.size(), 20u);
    EXPECT_EQ(std::count(members.begin(), members.end(), nullptr), 0);
    useAll();
    showArrowCursor();
    EXPECT_TRUE(cursorCalls.empty());
    EXPECT_TRUE(keyCalls.empty());
}

TEST_F(PlatformTest, InstalledServicesAreCalledWithTheirContext)
{
    const VelmontPlatformServices services = ofSize(kFull);
    EXPECT_EQ(VelmontInstallPlatformServices(&services), 1);
    showWaitCursor();
    showArrowCursor();
    EXPECT_EQ(cursorCalls, (Calls{{&context_, 32514}, {&context_, 32512}}));
    EXPECT_EQ(escapeKeyState(), 0x1234);
    EXPECT_EQ(keyCalls, (Calls{{&context_, 27}}));
}

TEST_F(PlatformTest, TheAbortTestAsksTheInstalledKey)
{
    const VelmontPlatformServices services = ofSize(kFull);
    VelmontInstallPlatformServices(&services);
    EXPECT_EQ(AbortImageProcessing(), 1);
    keyAnswer = 0;
    EXPECT_EQ(AbortImageProcessing(), 0);
    EXPECT_EQ(keyCalls.size(), 2u);
}

TEST_F(PlatformTest, TheRecordIsCopied)
{
    VelmontPlatformServices services = ofSize(kFull);
    VelmontInstallPlatformServices(&services);
    services = {};
    useAll();
    EXPECT_EQ(cursorCalls.size(), 1u);
    EXPECT_EQ(keyState_, 0x1234);
}

TEST_F(PlatformTest, NullBringsTheLibrarysOwnBack)
{
    const VelmontPlatformServices services = ofSize(kFull);
    VelmontInstallPlatformServices(&services);
    EXPECT_EQ(VelmontInstallPlatformServices(nullptr), 1);
    useAll();
    EXPECT_TRUE(cursorCalls.empty());
    EXPECT_TRUE(keyCalls.empty());
}

TEST_F(PlatformTest, ANullMemberKeepsTheLibrarysOwn)
{
    VelmontPlatformServices services = ofSize(kFull);
    services.setCursor = nullptr;
    EXPECT_EQ(VelmontInstallPlatformServices(&services), 1);
    useAll();
    EXPECT_TRUE(cursorCalls.empty());
    EXPECT_EQ(keyState_, 0x1234);

    services = ofSize(kFull);
    services.keyState = nullptr;
    EXPECT_EQ(VelmontInstallPlatformServices(&services), 1);
    useAll();
    EXPECT_EQ(cursorCalls.size(), 1u);
    EXPECT_TRUE(keyCalls.empty()) << "the earlier installation's service is gone too";
    EXPECT_EQ(keyState_, 0);
}

TEST_F(PlatformTest, AShortRecordBringsTheMembersThatItHolds)
{
    EXPECT_EQ(installFirst(ofSize(kKeyState), kKeyState), 1);
    useAll();
    EXPECT_EQ(cursorCalls, (Calls{{&context_, 32514}}));
    EXPECT_TRUE(keyCalls.empty());

    EXPECT_EQ(installFirst(ofSize(kSetCursor), kSetCursor), 1);
    useAll();
    EXPECT_TRUE(cursorCalls.empty());
    EXPECT_TRUE(keyCalls.empty());
}

TEST_F(PlatformTest, TheRecordOfTheFirstVersionIsStillWelcome)
{
    EXPECT_EQ(installFirst(ofSize(kFindFirst), kFindFirst), 1);
    useAll();
    EXPECT_EQ(cursorCalls, (Calls{{&context_, 32514}}));
    EXPECT_EQ(keyState_, 0x1234);
    EXPECT_EQ(processValue(), 0xFFFFFFFFu) << "what it lacks is the library's own";
}

TEST_F(PlatformTest, HalfAMemberIsNoMember)
{
    for (std::size_t bytes = kSetCursor + 1; bytes < kFindFirst; ++bytes) {
        EXPECT_EQ(installFirst(ofSize(bytes), bytes), 1) << bytes;
        useAll();
        EXPECT_EQ(cursorCalls.size(), bytes >= kKeyState ? 1u : 0u) << bytes;
        EXPECT_TRUE(keyCalls.empty()) << bytes;
    }
}

TEST_F(PlatformTest, ATooShortRecordChangesNothing)
{
    const VelmontPlatformServices services = ofSize(kFull);
    VelmontInstallPlatformServices(&services);
    for (std::size_t bytes = 0; bytes < kSetCursor; ++bytes) {
        VelmontPlatformServices tooShort{};
        tooShort.structBytes = static_cast<unsigned>(bytes);
        EXPECT_EQ(installFirst(tooShort, std::max(bytes, sizeof tooShort.structBytes)), 0) << bytes;
    }
    useAll();
    EXPECT_EQ(cursorCalls, (Calls{{&context_, 32514}}));
    EXPECT_EQ(keyState_, 0x1234);
}

TEST_F(PlatformTest, ALaterHostsLongerRecordIsTaken)
{
    struct LaterServices {
        VelmontPlatformServices known;
        void (*unknown)(void *);
    };
    const LaterServices services{ofSize(sizeof(LaterServices)), nullptr};
    EXPECT_EQ(VelmontInstallPlatformServices(&services.known), 1);
    useAll();
    EXPECT_EQ(cursorCalls, (Calls{{&context_, 32514}}));
    EXPECT_EQ(keyCalls, (Calls{{&context_, 27}}));
}

} // namespace velmont::testing
