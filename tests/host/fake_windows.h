#pragma once

/// \file
/// A window system of a test's own.

#include <functional>
#include <map>
#include <string>
#include <vector>
#include <velmont/platform.h>

namespace velmont::testing {

/// The window of a number; no record lies behind it. 0 is null.
HWND windowNumber(int number);

struct FakeWindow {
    unsigned thread = 1; ///< the thread of the tests is 1
    bool enabled = true;
    std::string className = "Window";
    int owner = 0;
    int parent = 0;
};

/// Installs window services for as long as it lives and notes "enable N", "disable N", "foreground N", "beep" in the
/// order of the calls. The library's own services are back afterwards.
class FakeWindows {
public:
    FakeWindows();
    ~FakeWindows();
    FakeWindows(const FakeWindows &) = delete;
    FakeWindows &operator=(const FakeWindows &) = delete;

    /// By their numbers, in the order in which they are enumerated.
    std::map<int, FakeWindow> windows;
    int foreground = 0;
    std::vector<std::string> events;
    /// Called after a window was enabled or disabled.
    std::function<void()> afterEnable;
};

} // namespace velmont::testing
