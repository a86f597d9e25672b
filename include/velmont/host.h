#pragma once

/// \file
/// Services for the host that have nothing to do with pixels: tags in bitmap files, paths and file search, a debug
/// log, a lock on the host's windows while a modal dialog runs.
///
/// Paths are null-terminated 8-bit strings: an optional drive, a directory, a file name, an extension, with backslash,
/// slash and line feed between components. On systems without drives they are read as velmont/platform.h says. A path
/// that comes to more than 259 bytes, its repeated separators counted once, is refused. A null pointer where none is allowed is refused like what cannot be found.
///
/// Files, ids and windows are those of the installed services (velmont/platform.h), but for the bitmap files and the
/// log, which the library opens itself.

#include <velmont/export.h>
#include <velmont/platform.h>

/// \name Tagged bitmap files
/// A bitmap file keeps two words in the reserved words of its header, at bytes 6 and 8, low byte first. Nothing else
/// of the file is looked at or changed: any file of 14 bytes or more serves.
/// @{

/// Writes the two words.
/// \param path a file that exists and may be written
/// \return 0; -1 when the file cannot be opened; -2 when its first 14 bytes cannot be read; -3 when they cannot be
/// written back, which can leave the file changed
VELMONT_API int BmfhSetUserData(char const *path, unsigned short word1, unsigned short word2);

/// Reads the two words.
/// \param word1 receives the word at byte 6, may be null
/// \param word2 receives the word at byte 8, may be null
/// \return 0; -1 when the file cannot be opened; -2 when its first 14 bytes cannot be read. On failure nothing is
/// written
VELMONT_API int BmfhGetUserData(char const *path, unsigned short *word1, unsigned short *word2);

/// Marks a bitmap file as a brush: the bytes from 6 on become `BR`, `first`, `second`.
/// \return 1, or 0 on any failure
VELMONT_API int TagBrushFile(char *path, unsigned char first, unsigned char second);

/// Whether a file is marked as a brush.
/// \param first,second receive the two bytes of the mark, each may be null; written only with the result 1
/// \return 1 or 0
VELMONT_API int IsTaggedBrushFile(char *path, unsigned char *first, unsigned char *second);

/// Marks a bitmap file as a stamp: the bytes from 6 on become `STAM`.
/// \return 1, or 0 on any failure
VELMONT_API int TagStampFile(char *path);

/// Whether a file is marked as a stamp.
/// \return 1 or 0
VELMONT_API int IsTaggedStampFile(char *path);

/// @}
/// \name Paths and file search
/// @{

/// Brings each component of a path to the name that the file system stores. With a drive, every component must exist.
/// Without one, the path is taken as that of a network: it starts with two backslashes, and the first two components,
/// server and share, are taken as they are.
/// \param shortPath the path
/// \param longPath receives the result, of at most 260 bytes with its null, without a backslash at its end; empty on
/// failure. It may not overlap `shortPath`
/// \return 0; -1 when a component cannot be found, `shortPath` or the result being too long too; -2 when nothing remains
/// to return or a pointer is null
VELMONT_API int ZnGetLongPathName(char *shortPath, char *longPath);

/// Makes the directories of a path, each component that is not there, the last one included, whatever its extension.
/// Without a drive the path starts at the root, and the first component is neither looked for nor made.
/// \return 0, also when a directory could not be made; -2, and nothing is made, when the path is null, empty or too
/// long
VELMONT_API int ZnCreateDirectory(char *path);

/// Walks a directory: calls `callback` for each entry that matches a pattern, pattern by pattern (directories count
/// too, and what matches two patterns comes twice), and then walks the subdirectories without a dot in their names.
/// Before each entry AbortImageProcessing is asked. What a path of 259 bytes cannot name is left out.
/// \param directory where to start, with or without a backslash at its end
/// \param recurse not 0: subdirectories too
/// \param patterns patternCount patterns like `*.bmp`; a null one finds nothing
/// \param patternCount number of patterns; less than 1 finds nothing
/// \param count grows by one before each call; it is not reset
/// \param callback receives the path of the entry, valid during the call, and userData; its result is ignored
/// \return 0; -1 when a pointer other than userData is null; -2 when the search for subdirectories of `directory`
/// cannot start, or `directory` is too long; -3 after an abort
VELMONT_API int IterateFileSearch(char *directory, int recurse, char **patterns, int patternCount, int *count,
                                  int (*callback)(char *, void *), void *userData);

/// Collects what IterateFileSearch finds.
/// \param count receives the number of entries found
/// \param files receives a null-terminated array of null-terminated strings, after an abort too. The array and each
/// string come from malloc of the C library that this library uses and are the caller's, who frees them there. Entries
/// for which there was no memory are not in it. Left alone with the result -1
/// \return as IterateFileSearch; -1 too when there is no memory for an empty array
VELMONT_API int SearchFiles(char *directory, int recurse, char **patterns, int patternCount, int *count,
                            char **&files);

/// @}
/// \name Debug log
/// Each call appends one line to the log file: `<Tm:`, the local time as asctime gives it without the last digit of
/// its year, a tab, `PID:` and the process in hexadecimal digits, a tab, `TID:` and the thread likewise, `>`, a tab, the
/// text without blanks at its end, a line feed if the text does not end in one. The line is cut to 511 bytes.
/// The file is c:\aglog.TXT on Windows, elsewhere velmont/aglog.TXT in the user's folder for the state of programs
/// ($XDG_STATE_HOME, else ~/.local/state), unless the installed services name another.
/// @{

/// \param format a format of printf, followed by its arguments
/// \return 1, or 0 when the log file cannot be opened or `format` is null
VELMONT_API int WriteDebug(char *format, ...);

/// \param format a text. `%%` gives one percent sign; as there are no arguments, any other conversion stays as it
/// stands
/// \return as WriteDebug
VELMONT_API int WriteLogFile(char *format);

/// @}
/// \name Windows and modal dialogs
/// To be called on the thread of the host's windows. Where there are no windows nothing is found to act on.
/// @{

/// Disables the top-level windows of the calling thread that are enabled, but for the host's frames, which are known
/// by their classes ("Template Window class", "Ambergate 2000", in any case of letters).
/// \return a token for UnlockForModal, which frees it; null with a beep when a lock is in force, and null when there is
/// no memory
VELMONT_API void *LockupForModal(void);

/// Enables the windows that LockupForModal disabled.
/// \param token what LockupForModal returned
/// \return 1, also for null when no lock is in force; 0 with a beep for any other token than that in force
VELMONT_API int UnlockForModal(void *token);

/// \return the last owner in the chain of owners, or `window` when it has none
VELMONT_API HWND GetTopLevelWnd(HWND window);

/// Brings the top-level owner of a window to the foreground, unless the window or one that it is a child of is there.
/// \return 1 when a window was brought forward, else 0
VELMONT_API int ActivateTopLevelWnd(HWND window);

/// Answers the message that asks whether a click activates a window: the top-level owner comes to the foreground, the
/// clicked window is not activated, the click is kept.
/// \param window the window clicked; the other parameters are not read
/// \return 3
VELMONT_API int ProhibitMouseActivate(HWND window, unsigned int hitTest, unsigned int message, long lParam);

/// @}
