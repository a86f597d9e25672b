#include "tests/host/fake_windows.h"
#include <algorithm>
#include <cstdint>

namespace velmont::testing {

namespace {

int numberOf(HWND window)
{
    return static_cast<int>(reinterpret_cast<std::uintptr_t>(window));
}

FakeWindows &fakes(void *context)
{
    return *static_cast<FakeWindows *>(context);
}

FakeWindow *find(void *context, HWND window)
{
    const auto entry = fakes(context).windows.find(numberOf(window));
    return entry == fakes(context).windows.end() ? nullptr : &entry->second;
}

void note(void *context, const char *call, HWND window)
{
    fakes(context).events.push_back(std::string(call).append(" ").append(std::to_string(numberOf(window))));
}

unsigned threadId(void *)
{
    return 1;
}

void enumerate(void *context, int (*each)(HWND, void *), void *argument)
{
    for (const auto &entry : fakes(context).windows)
        if (!each(windowNumber(entry.first), argument))
            return;
}

unsigned windowThread(void *context, HWND window)
{
    const FakeWindow *const fake = find(context, window);
    return fake ? fake->thread : 0;
}

int isEnabled(void *context, HWND window)
{
    const FakeWindow *const fake = find(context, window);
    return fake && fake->enabled ? 1 : 0;
}

int className(void *context, HWND window, char *name, int nameBytes)
{
    const FakeWindow *const fake = find(context, window);
    if (!fake)
        return 0;
    const std::size_t length = fake->className.copy(name, static_cast<std::size_t>(nameBytes) - 1);
    name[length] = '\0';
    return static_cast<int>(length);
}

HWND foreground(void *context)
{
    return windowNumber(fakes(context).foreground);
}

int setForeground(void *context, HWND window)
{
    note(context, "foreground", window);
    fakes(context).foreground = numberOf(window);
    return 1;
}

int enable(void *context, HWND window, int on)
{
    note(context, on ? "enable" : "disable", window);
    FakeWindow *const fake = find(context, window);
    const bool wasDisabled = fake && !fake->enabled;
    if (fake)
        fake->enabled = on != 0;
    if (fakes(context).afterEnable)
        fakes(context).afterEnable();
    return wasDisabled ? 1 : 0;
}

HWND owner(void *context, HWND window)
{
    const FakeWindow *const fake = find(context, window);
    return windowNumber(fake ? fake->owner : 0);
}

int isChild(void *context, HWND parent, HWND window)
{
    for (const FakeWindow *fake = find(context, window); fake && fake->parent != 0;
         fake = find(context, windowNumber(fake->parent)))
        if (windowNumber(fake->parent) == parent)
            return 1;
    return 0;
}

void beep(void *context)
{
    fakes(context).events.push_back("beep");
}

} // namespace

HWND windowNumber(int number)
{
    return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(number));
}

FakeWindows::FakeWindows()
{
    VelmontPlatformServices services{};
    services.structBytes = sizeof services;
    services.context = this;
    services.threadId = threadId;
    services.enumerateWindows = enumerate;
    services.windowThread = windowThread;
    services.isWindowEnabled = isEnabled;
    services.windowClassName = className;
    services.foregroundWindow = testing::foreground;
    services.setForegroundWindow = setForeground;
    services.enableWindow = enable;
    services.windowOwner = owner;
    services.isChildWindow = isChild;
    services.beep = beep;
    VelmontInstallPlatformServices(&services);
}

FakeWindows::~FakeWindows()
{
    VelmontInstallPlatformServices(nullptr);
}

} // namespace velmont::testing
