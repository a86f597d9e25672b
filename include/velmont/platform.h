#pragma once

/// \file
/// Services of the system that a host may replace: the cursor, the keyboard, files, the log, windows.
///
/// Without an installation the library uses the system's own where there is one and does nothing elsewhere.

#include <velmont/export.h>

/// A window as the system names it. The record itself belongs to the system; nobody looks inside.
struct HWND__;
typedef struct HWND__ *HWND;

/// Cursor and key numbers as the services receive them.
enum {
    VELMONT_CURSOR_ARROW = 32512,
    VELMONT_CURSOR_WAIT = 32514,
    VELMONT_KEY_ESCAPE = 27,
};

/// Sizes and bits of the file services.
enum {
    VELMONT_PATH_BYTES = 260,     ///< of the buffers for paths and names, the final null included
    VELMONT_DIRECTORY_BIT = 0x10, ///< in the attributes of a file: it is a directory
};

/// One entry that a file search found.
typedef struct VelmontFoundFile {
    char name
        [VELMONT_PATH_BYTES]; ///< its name as the file system stores it, without the directory, null-terminated
} VelmontFoundFile;

/// The operations. A null member keeps the library's own. Each receives `context` as it stands, the library's own
/// ignore it. They are called on the thread that called the library and must not throw.
///
/// Paths are 8-bit strings, null-terminated, of less than VELMONT_PATH_BYTES bytes, with an optional drive and
/// components separated by backslashes or slashes. The library's own services read them as the system does; where
/// the system has no drives, a drive prefix is dropped, backslash and slash both separate, leading separators mean
/// the root, and names match without regard to the case of the letters A to Z, the exact name first.
typedef struct VelmontPlatformServices {
    unsigned int
        structBytes; ///< sizeof(VelmontPlatformServices), so that hosts of earlier versions stay welcome
    void *context;   ///< handed to each call as it stands
    /// Shows a cursor: VELMONT_CURSOR_WAIT while an effect works, VELMONT_CURSOR_ARROW afterwards.
    void (*setCursor)(void *context, int cursor);
    /// The 16-bit state of a key; any set bit means down now or pressed since the last query.
    short (*keyState)(void *context, int key);

    /// Starts a file search. The last component of `pattern` may hold `*` (any characters) and `?` (one character);
    /// `*.` means the names without a dot, `.` and `..` among them, and `*.*` all names.
    /// Searching comes as a set: when one of findFirst, findNext and findClose is null, all three are the library's.
    /// \param found receives the first entry; its contents count only on success
    /// \return a search that is not null, to be closed with findClose; null when nothing is found
    void *(*findFirst)(void *context, const char *pattern, VelmontFoundFile *found);
    /// Goes on to the next entry.
    /// \return 1, or 0 when there is none; the search stays open
    int (*findNext)(void *context, void *search, VelmontFoundFile *found);
    /// Closes a search.
    void (*findClose)(void *context, void *search);
    /// Makes one directory; the one above it must exist.
    /// \return 1, or 0 when it was not made, because it exists already too
    int (*createDirectory)(void *context, const char *path);
    /// The attributes of a file or directory. Of the bits the library looks at VELMONT_DIRECTORY_BIT only. A link
    /// to a directory does not count as one for the library's own service where links are a thing of every day, so
    /// that a walk over a tree ends.
    /// \return the bits, or 0xFFFFFFFF when there is no such file
    unsigned int (*fileAttributes)(void *context, const char *path);

    /// Names the file that the log goes to, as a path that the C library opens as it stands. Whoever names it sees
    /// to it that its directory exists. Asked for each line.
    /// \param path receives the null-terminated path
    /// \param pathBytes the size of `path` in bytes
    /// \return 1; 0 when there is no such file or `path` is too small, and nothing is logged then
    int (*logPath)(void *context, char *path, unsigned int pathBytes);
    /// The value that stands for the process in a line of the log. The library's own is the value by which a
    /// process means itself, 0xFFFFFFFF.
    unsigned int (*processValue)(void *context);
    /// The number of the calling thread, in lines of the log and as windowThread gives it.
    unsigned int (*threadId)(void *context);

    /// Calls `each` with every top-level window, in the system's order, and `argument` as it stands, until `each`
    /// returns 0.
    void (*enumerateWindows)(void *context, int (*each)(HWND window, void *argument), void *argument);
    /// The number of the thread that made the window; 0 when there is no such window.
    unsigned int (*windowThread)(void *context, HWND window);
    /// Not 0 when the window takes mouse and keyboard input.
    int (*isWindowEnabled)(void *context, HWND window);
    /// The name of the window's class, cut to what `name` holds.
    /// \param name receives the null-terminated name
    /// \param nameBytes the size of `name` in bytes
    /// \return the length of the name in bytes, without the null; 0 on failure, when `name` need not be written
    int (*windowClassName)(void *context, HWND window, char *name, int nameBytes);
    /// The window that the user works with; null when there is none.
    HWND (*foregroundWindow)(void *context);
    /// Brings a window to the foreground and activates it.
    /// \return not 0 on success
    int (*setForegroundWindow)(void *context, HWND window);
    /// Lets a window take input (`enable` 1) or not (0).
    /// \return not 0 when the window was disabled before
    int (*enableWindow)(void *context, HWND window, int enable);
    /// The window's owner; null when it has none.
    HWND (*windowOwner)(void *context, HWND window);
    /// Not 0 when `window` is a child of `parent`, at any depth. `parent` may be null, which has no children.
    int (*isChildWindow)(void *context, HWND parent, HWND window);
    /// The sound that tells the user that something was refused.
    void (*beep)(void *context);
} VelmontPlatformServices;

#ifdef __cplusplus
extern "C" {
#endif

/// Installs services for the process. The record is copied; its context and functions must outlive their use.
/// Call it while no effect and no other call of the library runs.
/// \param services null brings the library's own back
/// \return 1; 0, and nothing changes, when structBytes is too small to hold structBytes and context
VELMONT_API int VelmontInstallPlatformServices(const VelmontPlatformServices *services);

#ifdef __cplusplus
}
#endif
