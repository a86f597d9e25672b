#include "platform/letters.h"
#include "platform/memory.h"
#include "platform/services.h"
#include <array>
#include <cstdint>
#include <string_view>
#include <velmont/host.h>

namespace velmont {

namespace {

/// What a lock remembers: the head of a block; the handles of the windows that it disabled follow.
struct ModalLockRecord {
    int32_t active;  ///< 1
    int32_t count;   ///< number of windows
    HWND foreground; ///< the one of them that was in the foreground, null if none was
};

/// The block of the lock in force, null when there is none. It belongs to the thread of the host's windows.
void *modalLockToken = nullptr;

/// The classes of the host's frames, which are never locked.
constexpr std::array<std::string_view, 2> kSparedClasses{"Template Window class", "Ambergate 2000"};
constexpr std::size_t kClassNameBytes = 256;

/// More windows than a system has; a chain of owners is no longer.
constexpr int kLongestChain = 0x10000;

std::size_t bytesFor(std::size_t windows)
{
    return sizeof(ModalLockRecord) + windows * sizeof(HWND);
}

/// A locked record. It is looked at through the size of its block, which the host could have changed.
class LockedRecord {
public:
    explicit LockedRecord(void *token) : lock_(token), bytes_(KelMemSize(token)) {}

    ModalLockRecord *record() const
    {
        return bytes_ >= sizeof(ModalLockRecord) ? reinterpret_cast<ModalLockRecord *>(lock_.bytes())
                                                 : nullptr;
    }
    /// The windows that the block has room for.
    std::size_t room() const { return record() ? (bytes_ - sizeof(ModalLockRecord)) / sizeof(HWND) : 0; }
    /// How many windows the record says that it has; -1 when it is none or has no room for them.
    int32_t count() const
    {
        const int32_t count = record() ? record()->count : -1;
        return count >= 0 && static_cast<std::size_t>(count) <= room() ? count : -1;
    }
    /// The place of a window that there is room for.
    HWND *window(std::size_t index) const
    {
        return reinterpret_cast<HWND *>(lock_.bytes() + sizeof(ModalLockRecord)) + index;
    }

private:
    BlockLock lock_;
    std::size_t bytes_;
};

void *makeRecord()
{
    void *const token = KelMemAlloc(KEL_MEM_MOVEABLE | KEL_MEM_ZERO, sizeof(ModalLockRecord));
    if (ModalLockRecord *const record = LockedRecord(token).record())
        record->active = 1;
    return token;
}

int32_t countOf(void *token)
{
    return LockedRecord(token).count();
}

/// Puts a window at the end of the record; false, and `token` is as it was, when it cannot.
bool remember(HWND window, void *&token)
{
    const int32_t count = countOf(token);
    if (count < 0)
        return false;
    const auto index = static_cast<std::size_t>(count);
    void *const grown =
        KelMemReAlloc(token, static_cast<unsigned long>(bytesFor(index + 1)), KEL_MEM_MOVEABLE);
    if (!grown)
        return false;
    token = grown;
    const LockedRecord locked(token);
    if (locked.room() <= index)
        return false;
    ++locked.record()->count;
    *locked.window(index) = window;
    if (window == foregroundWindow())
        locked.record()->foreground = window;
    return true;
}

bool isSpared(HWND window)
{
    char name[kClassNameBytes];
    windowClassName(window, name, sizeof name);
    for (const std::string_view spared : kSparedClasses)
        if (sameName(name, spared))
            return true;
    return false;
}

/// Disables one window of this thread, if it is to be locked and can be remembered. Goes on in any case.
int disableWindowForModal(HWND window, void *tokenAddress)
{
    constexpr int kGoOn = 1;
    void *&token = *static_cast<void **>(tokenAddress);
    // One that the host disabled itself stays out, so that the unlock does not enable it.
    const bool locks =
        token && windowThread(window) == threadId() && isWindowEnabled(window) && !isSpared(window);
    if (locks && remember(window, token))
        enableWindow(window, false);
    return kGoOn;
}

/// The window of that number; false when there is none. The record is not locked afterwards: enabling a window runs
/// the host's code.
bool windowOf(void *token, std::size_t index, HWND &window)
{
    const LockedRecord locked(token);
    const int32_t count = locked.count();
    const bool there = count > 0 && index < static_cast<std::size_t>(count);
    if (there)
        window = *locked.window(index);
    return there;
}

} // namespace

} // namespace velmont

using namespace velmont;

void *LockupForModal(void)
{
    if (modalLockToken) {
        beep();
        return nullptr;
    }
    void *token = makeRecord();
    enumerateWindows(disableWindowForModal, &token);
    modalLockToken = token;
    return token;
}

int UnlockForModal(void *token)
{
    if (token != modalLockToken) {
        beep();
        return 0;
    }
    if (!token)
        return 1;
    HWND window;
    for (std::size_t i = 0; windowOf(token, i, window); ++i)
        enableWindow(window, true);
    KelMemFree(token);
    if (modalLockToken == token) // the host may have unlocked and locked again meanwhile
        modalLockToken = nullptr;
    return 1;
}

HWND GetTopLevelWnd(HWND window)
{
    HWND top = window;
    HWND owner = windowOwner(window);
    for (int i = 0; owner && i < kLongestChain; ++i) {
        top = owner;
        owner = windowOwner(top);
    }
    return top;
}

int ActivateTopLevelWnd(HWND window)
{
    const HWND top = GetTopLevelWnd(window);
    const HWND foreground = foregroundWindow();
    if ((foreground && foreground == window) || isChildWindow(foreground, window))
        return 0;
    setForegroundWindow(top);
    return 1;
}

int ProhibitMouseActivate(HWND window, unsigned int, unsigned int, long)
{
    constexpr int kKeepClickWithoutActivating = 3;
    ActivateTopLevelWnd(window);
    return kKeepClickWithoutActivating;
}
