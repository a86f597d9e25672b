#pragma once

/// \file
/// The top-level windows of the desktop.

#include <velmont/platform.h>

namespace velmont::win32 {

void enumerateWindows(void *, int (*each)(HWND window, void *argument), void *argument);
unsigned windowThread(void *, HWND window);
int isWindowEnabled(void *, HWND window);
int windowClassName(void *, HWND window, char *name, int nameBytes);
HWND foregroundWindow(void *);
int setForegroundWindow(void *, HWND window);
int enableWindow(void *, HWND window, int enable);
HWND windowOwner(void *, HWND window);
int isChildWindow(void *, HWND parent, HWND window);
void beep(void *);

} // namespace velmont::win32
