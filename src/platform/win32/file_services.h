#pragma once

/// \file
/// Files as the system names and finds them.

#include <velmont/platform.h>

namespace velmont::win32 {

void *findFirst(void *, const char *pattern, VelmontFoundFile *found);
int findNext(void *, void *search, VelmontFoundFile *found);
void findClose(void *, void *search);
int createDirectory(void *, const char *path);
unsigned fileAttributes(void *, const char *path);
/// The log's path is fixed: hosts and their users look for it there.
int logPath(void *, char *path, unsigned pathBytes);

} // namespace velmont::win32
