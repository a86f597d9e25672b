#include "platform/services.h"
#include "platform/win32/file_services.h"
#include "platform/win32/window_services.h"
#include <cstdint>
#include <windows.h>

namespace velmont {

namespace {

void setSystemCursor(void *, int cursor)
{
    SetCursor(LoadCursorA(nullptr, MAKEINTRESOURCEA(cursor)));
}

short systemKeyState(void *, int key)
{
    return GetAsyncKeyState(key);
}

/// A value of the same sense for every process: it means the one that uses it.
unsigned thisProcess(void *)
{
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(GetCurrentProcess()));
}

unsigned thisThread(void *)
{
    return GetCurrentThreadId();
}

VelmontPlatformServices makeServices()
{
    VelmontPlatformServices services{};
    services.structBytes = sizeof services;
    services.setCursor = setSystemCursor;
    services.keyState = systemKeyState;
    services.findFirst = win32::findFirst;
    services.findNext = win32::findNext;
    services.findClose = win32::findClose;
    services.createDirectory = win32::createDirectory;
    services.fileAttributes = win32::fileAttributes;
    services.logPath = win32::logPath;
    services.processValue = thisProcess;
    services.threadId = thisThread;
    services.enumerateWindows = win32::enumerateWindows;
    services.windowThread = win32::windowThread;
    services.isWindowEnabled = win32::isWindowEnabled;
    services.windowClassName = win32::windowClassName;
    services.foregroundWindow = win32::foregroundWindow;
    services.setForegroundWindow = win32::setForegroundWindow;
    services.enableWindow = win32::enableWindow;
    services.windowOwner = win32::windowOwner;
    services.isChildWindow = win32::isChildWindow;
    services.beep = win32::beep;
    return services;
}

} // namespace

const VelmontPlatformServices &systemServices()
{
    static const VelmontPlatformServices services = makeServices();
    return services;
}

} // namespace velmont
