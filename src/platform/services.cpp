#include "platform/services.h"
#include <algorithm>
#include <cstddef>
#include <cstring>

namespace velmont {

namespace {

VelmontPlatformServices &installed()
{
    static VelmontPlatformServices services = systemServices();
    return services;
}

void setCursor(int cursor)
{
    installed().setCursor(installed().context, cursor);
}

void endName(VelmontFoundFile &found)
{
    found.name[sizeof found.name - 1] = '\0';
}

/// A member that the host left out is the library's own.
template <typename Function>
void fillIn(Function *&member, Function *own)
{
    if (!member)
        member = own;
}

/// A search belongs to the service that started it: one operation left out brings the library's own three.
void fillInSearch(VelmontPlatformServices &services, const VelmontPlatformServices &own)
{
    if (services.findFirst && services.findNext && services.findClose)
        return;
    services.findFirst = own.findFirst;
    services.findNext = own.findNext;
    services.findClose = own.findClose;
}

void fillIn(VelmontPlatformServices &services, const VelmontPlatformServices &own)
{
    fillIn(services.setCursor, own.setCursor);
    fillIn(services.keyState, own.keyState);
    fillInSearch(services, own);
    fillIn(services.createDirectory, own.createDirectory);
    fillIn(services.fileAttributes, own.fileAttributes);
    fillIn(services.logPath, own.logPath);
    fillIn(services.processValue, own.processValue);
    fillIn(services.threadId, own.threadId);
    fillIn(services.enumerateWindows, own.enumerateWindows);
    fillIn(services.windowThread, own.windowThread);
    fillIn(services.isWindowEnabled, own.isWindowEnabled);
    fillIn(services.windowClassName, own.windowClassName);
    fillIn(services.foregroundWindow, own.foregroundWindow);
    fillIn(services.setForegroundWindow, own.setForegroundWindow);
    fillIn(services.enableWindow, own.enableWindow);
    fillIn(services.windowOwner, own.windowOwner);
    fillIn(services.isChildWindow, own.isChildWindow);
    fillIn(services.beep, own.beep);
}

} // namespace

void showWaitCursor()
{
    setCursor(VELMONT_CURSOR_WAIT);
}

void showArrowCursor()
{
    setCursor(VELMONT_CURSOR_ARROW);
}

short escapeKeyState()
{
    return installed().keyState(installed().context, VELMONT_KEY_ESCAPE);
}

FileSearch::FileSearch(const char *pattern) : search_(nullptr), found_{}
{
    search_ = installed().findFirst(installed().context, pattern, &found_);
    endName(found_);
}

FileSearch::~FileSearch()
{
    if (search_)
        installed().findClose(installed().context, search_);
}

bool FileSearch::next()
{
    VelmontFoundFile found{};
    if (!installed().findNext(installed().context, search_, &found))
        return false;
    endName(found);
    found_ = found;
    return true;
}

bool createDirectory(const char *path)
{
    return installed().createDirectory(installed().context, path) != 0;
}

bool isDirectory(const char *path)
{
    return (installed().fileAttributes(installed().context, path) & VELMONT_DIRECTORY_BIT) != 0;
}

bool logPath(char *path, std::size_t pathBytes)
{
    path[0] = '\0';
    const bool named = installed().logPath(installed().context, path, static_cast<unsigned>(pathBytes)) != 0;
    path[pathBytes - 1] = '\0';
    return named;
}

unsigned processValue()
{
    return installed().processValue(installed().context);
}

unsigned threadId()
{
    return installed().threadId(installed().context);
}

void enumerateWindows(int (*each)(HWND window, void *argument), void *argument)
{
    installed().enumerateWindows(installed().context, each, argument);
}

unsigned windowThread(HWND window)
{
    return installed().windowThread(installed().context, window);
}

bool isWindowEnabled(HWND window)
{
    return installed().isWindowEnabled(installed().context, window) != 0;
}

void windowClassName(HWND window, char *name, std::size_t nameBytes)
{
    name[0] = '\0';
    if (installed().windowClassName(installed().context, window, name, static_cast<int>(nameBytes)) <= 0)
        name[0] = '\0';
    name[nameBytes - 1] = '\0';
}

HWND foregroundWindow()
{
    return installed().foregroundWindow(installed().context);
}

void setForegroundWindow(HWND window)
{
    installed().setForegroundWindow(installed().context, window);
}

void enableWindow(HWND window, bool enable)
{
    installed().enableWindow(installed().context, window, enable ? 1 : 0);
}

HWND windowOwner(HWND window)
{
    return installed().windowOwner(installed().context, window);
}

bool isChildWindow(HWND parent, HWND window)
{
    return installed().isChildWindow(installed().context, parent, window) != 0;
}

void beep()
{
    installed().beep(installed().context);
}

} // namespace velmont

using namespace velmont;

int VelmontInstallPlatformServices(const VelmontPlatformServices *services)
{
    if (!services) {
        installed() = systemServices();
        return 1;
    }
    constexpr std::size_t kFirstMember = offsetof(VelmontPlatformServices, setCursor);
    if (services->structBytes < kFirstMember)
        return 0;
    // A host of an earlier version has a shorter record: what it lacks, half members included, stays null
    // here and is filled in below.
    const std::size_t known = std::min<std::size_t>(services->structBytes, sizeof(VelmontPlatformServices));
    const std::size_t members = (known - kFirstMember) / sizeof(services->setCursor);
    VelmontPlatformServices merged{};
    std::memcpy(&merged, services, kFirstMember + members * sizeof(services->setCursor));
    fillIn(merged, systemServices());
    installed() = merged;
    return 1;
}
