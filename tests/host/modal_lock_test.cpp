#include "platform/memory.h"
#include "tests/host/fake_windows.h"
#include "tests/support/recording_host.h"
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <utility>
#include <velmont/host.h>
#include <velmont/memory.h>

namespace velmont::testing {

namespace {

using Events = std::vector<std::string>;

/// The record of a lock as it lies in its block.
struct Record {
    explicit Record(void *token)
    {
        const BlockLock lock(token);
        bytes = KelMemSize(token);
        std::memcpy(&active, lock.bytes(), sizeof active);
        std::memcpy(&count, lock.bytes() + 4, sizeof count);
        std::memcpy(&foreground, lock.bytes() + 8, sizeof foreground);
        windows.resize((bytes - 8 - sizeof foreground) / sizeof(HWND));
        if (!windows.empty())
            std::memcpy(windows.data(), lock.bytes() + 8 + sizeof foreground, windows.size() * sizeof(HWND));
    }
    int32_t active = 0, count = 0;
    HWND foreground = nullptr;
    std::vector<HWND> windows;
    std::size_t bytes = 0;
};

class ModalLock : public ::testing::Test {
protected:
    static FakeWindow ofClass(const char *name)
    {
        FakeWindow window;
        window.className = name;
        return window;
    }
    static FakeWindow ofThread(unsigned thread)
    {
        FakeWindow window;
        window.thread = thread;
        return window;
    }
    static FakeWindow disabled()
    {
        FakeWindow window;
        window.enabled = false;
        return window;
    }
    static FakeWindow ownedBy(int owner)
    {
        FakeWindow window;
        window.owner = owner;
        return window;
    }
    static FakeWindow childOf(int parent)
    {
        FakeWindow window;
        window.parent = parent;
        return window;
    }

    NothingLost nothingLost_;
    FakeWindows fakes_;
};

} // namespace

TEST_F(ModalLock, TheWindowsOfTheThreadAreDisabledAndEnabledAgain)
{
    fakes_.windows = {{1, {}}, {2, ofThread(2)}, {3, disabled()}, {4, {}}, {5, ownedBy(4)}};
    void *const token = LockupForModal();
    ASSERT_NE(token, nullptr);
    EXPECT_EQ(fakes_.events, (Events{"disable 1", "disable 4", "disable 5"}));
    fakes_.events.clear();
    EXPECT_EQ(UnlockForModal(token), 1);
    EXPECT_EQ(fakes_.events, (Events{"enable 1", "enable 4", "enable 5"}));
    EXPECT_FALSE(fakes_.windows[3].enabled) << "the host's own affair";
}

TEST_F(ModalLock, TheRecordTellsWhatWasDisabled)
{
    fakes_.windows = {{1, {}}, {2, {}}};
    fakes_.foreground = 2;
    void *const token = LockupForModal();
    const Record record(token);
    EXPECT_EQ(record.active, 1);
    EXPECT_EQ(record.count, 2);
    EXPECT_EQ(record.foreground, windowNumber(2));
    EXPECT_EQ(record.windows, (std::vector<HWND>{windowNumber(1), windowNumber(2)}));
    EXPECT_EQ(record.bytes, 8 + 3 * sizeof(HWND));
    UnlockForModal(token);
    EXPECT_EQ(fakes_.foreground, 2);
}

TEST_F(ModalLock, AForegroundThatIsNotDisabledIsNotKept)
{
    fakes_.windows = {{1, {}}, {2, ofThread(2)}};
    fakes_.foreground = 2;
    void *const token = LockupForModal();
    EXPECT_EQ(Record(token).foreground, nullptr);
    UnlockForModal(token);
}

TEST_F(ModalLock, TheHostsFramesAreSparedInAnyCase)
{
    fakes_.windows = {{1, ofClass("Template Window class")},
                      {2, ofClass("Ambergate 2000")},
                      {3, ofClass("TEMPLATE WINDOW CLASS")},
                      {4, ofClass("ambergate 2000")},
                      {5, ofClass("Ambergate 20000")},
                      {6, ofClass("Ambergate 200")},
                      {7, ofClass("")},
                      {8, ofClass(std::string(1000, 'x').c_str())}};
    void *const token = LockupForModal();
    EXPECT_EQ(fakes_.events, (Events{"disable 5", "disable 6", "disable 7", "disable 8"}));
    UnlockForModal(token);
}

TEST_F(ModalLock, ThereIsOneLockAtATime)
{
    fakes_.windows = {{1, {}}};
    void *const token = LockupForModal();
    fakes_.events.clear();
    EXPECT_EQ(LockupForModal(), nullptr);
    EXPECT_EQ(fakes_.events, (Events{"beep"}));
    EXPECT_EQ(UnlockForModal(token), 1);
    EXPECT_EQ(fakes_.events, (Events{"beep", "enable 1"}));
}

TEST_F(ModalLock, AWrongTokenChangesNothing)
{
    fakes_.windows = {{1, {}}};
    int other = 0;
    EXPECT_EQ(UnlockForModal(&other), 0);
    EXPECT_EQ(fakes_.events, (Events{"beep"}));
    void *const token = LockupForModal();
    fakes_.events.clear();
    EXPECT_EQ(UnlockForModal(nullptr), 0);
    EXPECT_EQ(UnlockForModal(&other), 0);
    EXPECT_EQ(fakes_.events, (Events{"beep", "beep"}));
    EXPECT_EQ(UnlockForModal(token), 1);
    fakes_.events.clear();
    EXPECT_EQ(UnlockForModal(token), 0) << "it is out of force";
    EXPECT_EQ(fakes_.events, (Events{"beep"}));
}

TEST_F(ModalLock, NullIsTheTokenOfNoLock)
{
    EXPECT_EQ(UnlockForModal(nullptr), 1);
    EXPECT_EQ(fakes_.events, Events{});
}

TEST_F(ModalLock, WithoutAWindowThereIsATokenAllTheSame)
{
    fakes_.windows = {{1, ofThread(2)}};
    void *const token = LockupForModal();
    ASSERT_NE(token, nullptr);
    const Record record(token);
    EXPECT_EQ(record.active, 1);
    EXPECT_EQ(record.count, 0);
    EXPECT_EQ(record.bytes, 8 + sizeof(HWND));
    EXPECT_EQ(UnlockForModal(token), 1);
    EXPECT_EQ(KelMemSize(token), 0u);
    EXPECT_EQ(fakes_.events, Events{});
}

TEST_F(ModalLock, AWindowThatIsGoneIsEnabledInVain)
{
    fakes_.windows = {{1, {}}, {2, {}}};
    void *const token = LockupForModal();
    fakes_.windows.erase(1);
    EXPECT_EQ(UnlockForModal(token), 1);
    EXPECT_TRUE(fakes_.windows[2].enabled);
}

TEST_F(ModalLock, WithoutMemoryForTheRecordNothingIsLocked)
{
    fakes_.windows = {{1, {}}};
    memory_hooks::failAllocation(1);
    EXPECT_EQ(LockupForModal(), nullptr);
    EXPECT_EQ(fakes_.events, Events{});
    EXPECT_EQ(UnlockForModal(nullptr), 1) << "no lock is in force";
}

TEST_F(ModalLock, AWindowThatCannotBeRememberedIsNotDisabled)
{
    fakes_.windows = {{1, {}}, {2, {}}, {3, {}}};
    memory_hooks::failAllocation(3);
    void *const token = LockupForModal();
    EXPECT_EQ(fakes_.events, (Events{"disable 1", "disable 3"}));
    EXPECT_EQ(UnlockForModal(token), 1);
    EXPECT_EQ(fakes_.events, (Events{"disable 1", "disable 3", "enable 1", "enable 3"}));
}

TEST_F(ModalLock, ARecordThatTheHostChangedIsNotFollowed)
{
    fakes_.windows = {{1, {}}};
    for (const int32_t count : {INT32_MAX, INT32_MIN, -1, 2}) {
        void *const token = LockupForModal();
        {
            const BlockLock lock(token);
            std::memcpy(lock.bytes() + 4, &count, sizeof count);
        }
        fakes_.events.clear();
        EXPECT_EQ(UnlockForModal(token), 1);
        EXPECT_EQ(fakes_.events, Events{}) << count;
        fakes_.windows[1].enabled = true;
    }
    void *const freed = LockupForModal();
    KelMemFree(freed);
    EXPECT_EQ(UnlockForModal(freed), 1);
    void *const shrunk = LockupForModal();
    KelMemReAlloc(shrunk, 3, KEL_MEM_MOVEABLE);
    EXPECT_EQ(UnlockForModal(shrunk), 1);
}

TEST_F(ModalLock, AHostMayUnlockWhileItsWindowsAreEnabled)
{
    fakes_.windows = {{1, {}}, {2, {}}};
    void *const token = LockupForModal();
    bool isInside = false;
    fakes_.afterEnable = [&] {
        if (!std::exchange(isInside, true)) {
            EXPECT_EQ(UnlockForModal(token), 1);
        }
    };
    EXPECT_EQ(UnlockForModal(token), 1);
    EXPECT_TRUE(fakes_.windows[2].enabled);
    EXPECT_EQ(UnlockForModal(nullptr), 1);
}

TEST_F(ModalLock, AHostMayLockAnewWhileItsWindowsAreEnabled)
{
    fakes_.windows = {{1, {}}, {2, {}}};
    void *const token = LockupForModal();
    void *inner = nullptr;
    bool isInside = false;
    fakes_.afterEnable = [&] {
        if (std::exchange(isInside, true))
            return;
        EXPECT_EQ(UnlockForModal(token), 1);
        inner = LockupForModal();
    };
    EXPECT_EQ(UnlockForModal(token), 1);
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(UnlockForModal(inner), 1) << "the lock in force";
    EXPECT_TRUE(fakes_.windows[1].enabled);
    EXPECT_TRUE(fakes_.windows[2].enabled);
}

TEST_F(ModalLock, TheTopLevelWindowIsTheLastOwner)
{
    fakes_.windows = {{1, {}}, {2, ownedBy(1)}, {3, ownedBy(2)}};
    EXPECT_EQ(GetTopLevelWnd(windowNumber(3)), windowNumber(1));
    EXPECT_EQ(GetTopLevelWnd(windowNumber(2)), windowNumber(1));
    EXPECT_EQ(GetTopLevelWnd(windowNumber(1)), windowNumber(1));
    EXPECT_EQ(GetTopLevelWnd(windowNumber(9)), windowNumber(9));
    EXPECT_EQ(GetTopLevelWnd(nullptr), nullptr);
    fakes_.windows[1].owner = 3;
    EXPECT_NE(GetTopLevelWnd(windowNumber(1)), nullptr) << "a ring of owners has an end too";
}

TEST_F(ModalLock, TheTopLevelOwnerComesForward)
{
    fakes_.windows = {{1, {}}, {2, ownedBy(1)}, {3, {}}};
    fakes_.foreground = 3;
    EXPECT_EQ(ActivateTopLevelWnd(windowNumber(2)), 1);
    EXPECT_EQ(fakes_.events, (Events{"foreground 1"}));
    EXPECT_EQ(ActivateTopLevelWnd(windowNumber(2)), 1) << "the window counts, not its owner";
    EXPECT_EQ(ActivateTopLevelWnd(windowNumber(1)), 0);
    EXPECT_EQ(fakes_.events, (Events{"foreground 1", "foreground 1"}));
}

TEST_F(ModalLock, AWindowInTheForegroundStaysAsItIs)
{
    fakes_.windows = {{1, {}}, {2, childOf(1)}, {3, childOf(2)}, {4, ownedBy(1)}};
    for (const int window : {1, 2, 3}) {
        fakes_.foreground = 1;
        EXPECT_EQ(ActivateTopLevelWnd(windowNumber(window)), 0) << window;
    }
    fakes_.foreground = 4;
    EXPECT_EQ(ActivateTopLevelWnd(windowNumber(4)), 0);
    EXPECT_EQ(fakes_.events, Events{});
    fakes_.foreground = 0;
    EXPECT_EQ(ActivateTopLevelWnd(windowNumber(4)), 1) << "no window is in the foreground";
    fakes_.foreground = 0;
    EXPECT_EQ(ActivateTopLevelWnd(nullptr), 1);
    EXPECT_EQ(fakes_.events, (Events{"foreground 1", "foreground 0"}));
}

TEST_F(ModalLock, AClickIsKeptAndActivatesTheOwnerOnly)
{
    fakes_.windows = {{1, {}}, {2, ownedBy(1)}};
    EXPECT_EQ(ProhibitMouseActivate(windowNumber(2), 1, 0x201, 77), 3);
    EXPECT_EQ(fakes_.events, (Events{"foreground 1"}));
    EXPECT_EQ(ProhibitMouseActivate(windowNumber(1), 0, 0, -1), 3);
    EXPECT_EQ(fakes_.events, (Events{"foreground 1"}));
}

#if !defined(_WIN32)
TEST(ModalLockWithoutWindows, ThereIsNothingToActOn)
{
    const NothingLost nothingLost;
    void *const token = LockupForModal();
    ASSERT_NE(token, nullptr);
    EXPECT_EQ(Record(token).count, 0);
    EXPECT_EQ(LockupForModal(), nullptr);
    EXPECT_EQ(UnlockForModal(token), 1);
    EXPECT_EQ(GetTopLevelWnd(windowNumber(5)), windowNumber(5));
    EXPECT_EQ(ProhibitMouseActivate(windowNumber(5), 0, 0, 0), 3);
}
#endif

} // namespace velmont::testing
