#include "tests/win32/test_windows.h"
#include <future>
#include <thread>

namespace velmont::testing {

namespace {

void registerClass(const char *name)
{
    WNDCLASSA windowClass{};
    windowClass.lpfnWndProc = DefWindowProcA;
    windowClass.hInstance = GetModuleHandleA(nullptr);
    windowClass.lpszClassName = name;
    RegisterClassA(&windowClass); // fails where it is there, which serves as well
}

void serveMessages()
{
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0)
        DispatchMessageA(&message);
}

} // namespace

TestWindow::TestWindow(const char *className, HWND owner, DWORD style)
{
    registerClass(className);
    window_ = CreateWindowExA(0, className, "test", style, 20, 20, 200, 100, owner, nullptr,
                              GetModuleHandleA(nullptr), nullptr);
}

TestWindow::~TestWindow()
{
    DestroyWindow(window_);
}

void withWindowOfAnotherThread(const char *className, const std::function<void(HWND, DWORD threadId)> &test)
{
    std::promise<HWND> made;
    std::thread other([&] {
        const TestWindow window(className);
        made.set_value(window.get());
        serveMessages();
    });
    const HWND window = made.get_future().get();
    const DWORD threadId = GetWindowThreadProcessId(window, nullptr);
    test(window, threadId);
    PostThreadMessageA(threadId, WM_QUIT, 0, 0);
    other.join();
}

} // namespace velmont::testing
