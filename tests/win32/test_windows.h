#pragma once

/// \file
/// Real windows for tests.

#include <functional>
#include <windows.h>

namespace velmont::testing {

/// A window that is there as long as the object lives. Its class is made when it is first asked for.
class TestWindow {
public:
    explicit TestWindow(const char *className, HWND owner = nullptr, DWORD style = WS_OVERLAPPEDWINDOW);
    ~TestWindow();
    TestWindow(const TestWindow &) = delete;
    TestWindow &operator=(const TestWindow &) = delete;

    HWND get() const { return window_; }
    bool isEnabled() const { return IsWindowEnabled(window_) != 0; }

private:
    HWND window_;
};

/// Runs `test` while another thread has a window of that class and serves its messages.
void withWindowOfAnotherThread(const char *className, const std::function<void(HWND, DWORD threadId)> &test);

} // namespace velmont::testing
