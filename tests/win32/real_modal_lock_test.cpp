// The modal lock on real top-level windows of two threads.

#include "platform/memory.h"
#include "tests/support/recording_host.h"
#include "tests/win32/test_windows.h"
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <vector>
#include <velmont/host.h>

namespace velmont::testing {

namespace {

/// What the block of a lock holds.
struct Record {
    int32_t active, count;
    HWND foreground;
    std::vector<HWND> windows;

    explicit Record(void *token)
    {
        BlockLock lock(token);
        const uint8_t *const bytes = lock.bytes();
        std::memcpy(&active, bytes, 4);
        std::memcpy(&count, bytes + 4, 4);
        std::memcpy(&foreground, bytes + 8, 4);
        windows.resize(static_cast<std::size_t>(count));
        EXPECT_EQ(KelMemSize(token), 12u + 4u * windows.size());
        std::memcpy(windows.data(), bytes + 12, 4u * windows.size());
    }
    bool has(HWND window) const { return std::count(windows.begin(), windows.end(), window) == 1; }
};

} // namespace

TEST(RealModalLock, LocksTheWindowsOfItsThreadAndNoOthers)
{
    const NothingLost nothingLost;
    const TestWindow plain("Velmont test"), owned("Velmont test", plain.get()), disabled("Velmont test");
    const TestWindow frame("Template Window class"), shouted("AMBERGATE 2000"), longer("Ambergate 20000");
    EnableWindow(disabled.get(), FALSE);
    ShowWindow(plain.get(), SW_SHOW);
    SetForegroundWindow(plain.get());
    withWindowOfAnotherThread("Velmont test", [&](HWND other, DWORD) {
        void *const token = LockupForModal();
        ASSERT_NE(token, nullptr);
        EXPECT_FALSE(plain.isEnabled());
        EXPECT_FALSE(owned.isEnabled());
        EXPECT_FALSE(longer.isEnabled());
        EXPECT_TRUE(frame.isEnabled());
        EXPECT_TRUE(shouted.isEnabled());
        EXPECT_TRUE(IsWindowEnabled(other));
        const Record record(token);
        EXPECT_EQ(record.active, 1);
        EXPECT_EQ(record.foreground, plain.get());
        EXPECT_TRUE(record.has(plain.get()) && record.has(owned.get()) && record.has(longer.get()));
        EXPECT_FALSE(record.has(disabled.get()) || record.has(frame.get()) || record.has(shouted.get()) ||
                     record.has(other));

        EXPECT_EQ(LockupForModal(), nullptr) << "one at a time";
        EXPECT_EQ(UnlockForModal(nullptr), 0);
        EXPECT_FALSE(plain.isEnabled());

        EXPECT_EQ(UnlockForModal(token), 1);
        EXPECT_TRUE(plain.isEnabled() && owned.isEnabled() && longer.isEnabled());
        EXPECT_FALSE(disabled.isEnabled()) << "the host's own doing";
        EXPECT_EQ(UnlockForModal(token), 0);
        EXPECT_EQ(UnlockForModal(nullptr), 1);
    });
}

TEST(RealModalLock, AWindowMayGoDuringTheLock)
{
    const NothingLost nothingLost;
    const TestWindow staying("Velmont test");
    auto going = std::make_unique<TestWindow>("Velmont test");
    void *const token = LockupForModal();
    going.reset();
    EXPECT_EQ(UnlockForModal(token), 1);
    EXPECT_TRUE(staying.isEnabled());
}

TEST(RealModalLock, AThreadWithoutWindowsLocksNone)
{
    const NothingLost nothingLost;
    const TestWindow mine("Velmont test");
    withWindowOfAnotherThread("Template Window class", [&](HWND, DWORD) {
        EnableWindow(mine.get(), FALSE);
        void *const token = LockupForModal();
        ASSERT_NE(token, nullptr);
        EXPECT_FALSE(Record(token).has(mine.get()));
        EXPECT_EQ(UnlockForModal(token), 1);
        EXPECT_FALSE(mine.isEnabled());
    });
}

TEST(RealTopLevelWindows, TheLastOwnerIsTheTop)
{
    const TestWindow top("Velmont test"), owned("Velmont test", top.get()), deep("Velmont test", owned.get());
    EXPECT_EQ(GetTopLevelWnd(top.get()), top.get());
    EXPECT_EQ(GetTopLevelWnd(owned.get()), top.get());
    EXPECT_EQ(GetTopLevelWnd(deep.get()), top.get());
}

TEST(RealTopLevelWindows, AnOwnerComesForward)
{
    const TestWindow first("Velmont test"), second("Velmont test");
    const TestWindow child("Velmont test", first.get(), WS_CHILD), owned("Velmont test", second.get());
    for (const HWND window : {first.get(), second.get(), owned.get()})
        ShowWindow(window, SW_SHOW);
    SetForegroundWindow(first.get());
    EXPECT_EQ(ActivateTopLevelWnd(first.get()), 0);
    EXPECT_EQ(ActivateTopLevelWnd(child.get()), 0);
    EXPECT_EQ(ActivateTopLevelWnd(owned.get()), 1);
    EXPECT_EQ(GetForegroundWindow(), second.get());
    EXPECT_EQ(ActivateTopLevelWnd(owned.get()), 1) << "the owner again, although it is there";
    EXPECT_EQ(ProhibitMouseActivate(first.get(), 1, WM_LBUTTONDOWN, 0), 3);
    EXPECT_EQ(GetForegroundWindow(), first.get());
    EXPECT_EQ(ProhibitMouseActivate(first.get(), 1, WM_LBUTTONDOWN, 0), 3);
}

} // namespace velmont::testing
