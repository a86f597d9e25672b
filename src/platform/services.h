#pragma once

/// \file
/// The operations of the system that the library needs, as installed by the host or as the system has them.

#include <cstddef>
#include <cstdio>
#include <velmont/platform.h>

namespace velmont {

/// The library's own services on this system; every member is set.
const VelmontPlatformServices &systemServices();

void showWaitCursor();
void showArrowCursor();
/// The 16-bit state of the Escape key.
short escapeKeyState();

/// A file search, open as long as the object lives. Names are null-terminated whatever the host's service wrote.
class FileSearch {
public:
    /// Searches for `pattern`; false when nothing is found.
    explicit FileSearch(const char *pattern);
    ~FileSearch();
    FileSearch(const FileSearch &) = delete;
    FileSearch &operator=(const FileSearch &) = delete;

    /// Whether something was found.
    bool started() const { return search_ != nullptr; }
    /// The name of the entry that the search stands on.
    const char *name() const { return found_.name; }
    /// Goes on to the next entry; false, and the search stays where it is, when there is none.
    bool next();

private:
    void *search_;
    VelmontFoundFile found_;
};

bool createDirectory(const char *path);
bool isDirectory(const char *path);
/// Opens a file that exists by a path as hosts write them, in a mode of the C library; null for a directory. It is
/// the system's own and no service: what it returns belongs to this library's runtime.
std::FILE *openFile(const char *path, const char *mode);

/// Writes the path of the log file; false when there is none.
bool logPath(char *path, std::size_t pathBytes);
unsigned processValue();
unsigned threadId();

void enumerateWindows(int (*each)(HWND window, void *argument), void *argument);
unsigned windowThread(HWND window);
bool isWindowEnabled(HWND window);
/// Writes the null-terminated name of the window's class, empty when the system does not tell it.
void windowClassName(HWND window, char *name, std::size_t nameBytes);
HWND foregroundWindow();
void setForegroundWindow(HWND window);
void enableWindow(HWND window, bool enable);
HWND windowOwner(HWND window);
bool isChildWindow(HWND parent, HWND window);
void beep();

} // namespace velmont
