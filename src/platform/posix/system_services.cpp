#include "platform/posix/file_services.h"
#include "platform/services.h"
#include <unistd.h>

namespace velmont {

namespace {

/// The value by which a process means itself, as hosts know it from the system that has such a thing.
constexpr unsigned kThisProcess = 0xFFFFFFFF;

// A terminal process has neither a cursor shape nor a key state to ask.
void ignoreCursor(void *, int) {}

short noKeyState(void *, int)
{
    return 0;
}

unsigned thisProcess(void *)
{
    return kThisProcess;
}

unsigned thisThread(void *)
{
    return static_cast<unsigned>(gettid());
}

// Nor has it windows: there are none to enumerate, and none of those that a caller names is there.
void enumerateNone(void *, int (*)(HWND, void *), void *) {}

unsigned noThread(void *, HWND)
{
    return 0;
}

int notEnabled(void *, HWND)
{
    return 0;
}

int noClassName(void *, HWND, char *, int)
{
    return 0;
}

HWND noForeground(void *)
{
    return nullptr;
}

int notBroughtForward(void *, HWND)
{
    return 0;
}

int notDisabledBefore(void *, HWND, int)
{
    return 0;
}

HWND noOwner(void *, HWND)
{
    return nullptr;
}

int noChild(void *, HWND, HWND)
{
    return 0;
}

void keepSilent(void *) {}

VelmontPlatformServices makeServices()
{
    VelmontPlatformServices services{};
    services.structBytes = sizeof services;
    services.setCursor = ignoreCursor;
    services.keyState = noKeyState;
    services.findFirst = posix::findFirst;
    services.findNext = posix::findNext;
    services.findClose = posix::findClose;
    services.createDirectory = posix::createDirectory;
    services.fileAttributes = posix::fileAttributes;
    services.logPath = posix::logPath;
    services.processValue = thisProcess;
    services.threadId = thisThread;
    services.enumerateWindows = enumerateNone;
    services.windowThread = noThread;
    services.isWindowEnabled = notEnabled;
    services.windowClassName = noClassName;
    services.foregroundWindow = noForeground;
    services.setForegroundWindow = notBroughtForward;
    services.enableWindow = notDisabledBefore;
    services.windowOwner = noOwner;
    services.isChildWindow = noChild;
    services.beep = keepSilent;
    return services;
}

} // namespace

const VelmontPlatformServices &systemServices()
{
    static const VelmontPlatformServices services = makeServices();
    return services;
}

} // namespace velmont
