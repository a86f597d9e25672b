#include "platform/win32/window_services.h"
#include <windows.h>

namespace velmont::win32 {

namespace {

/// What the system's enumeration carries along.
struct Visit {
    int (*each)(HWND window, void *argument);
    void *argument;
};

BOOL CALLBACK visitWindow(HWND window, LPARAM parameter)
{
    const auto *const visit = reinterpret_cast<const Visit *>(parameter);
    return visit->each(window, visit->argument) != 0 ? TRUE : FALSE;
}

} // namespace

void enumerateWindows(void *, int (*each)(HWND window, void *argument), void *argument)
{
    Visit visit{each, argument};
    EnumWindows(visitWindow, reinterpret_cast<LPARAM>(&visit));
}

unsigned windowThread(void *, HWND window)
{
    return GetWindowThreadProcessId(window, nullptr);
}

int isWindowEnabled(void *, HWND window)
{
    return IsWindowEnabled(window);
}

int windowClassName(void *, HWND window, char *name, int nameBytes)
{
    return GetClassNameA(window, name, nameBytes);
}

HWND foregroundWindow(void *)
{
    return GetForegroundWindow();
}

int setForegroundWindow(void *, HWND window)
{
    return SetForegroundWindow(window);
}

int enableWindow(void *, HWND window, int enable)
{
    return EnableWindow(window, enable != 0 ? TRUE : FALSE);
}

HWND windowOwner(void *, HWND window)
{
    return GetWindow(window, GW_OWNER);
}

int isChildWindow(void *, HWND parent, HWND window)
{
    return IsChild(parent, window);
}

void beep(void *)
{
    MessageBeep(MB_OK);
}

} // namespace velmont::win32
