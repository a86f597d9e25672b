#pragma once

/// \file
/// Files by paths in the grammar of hosts: a drive prefix is dropped, backslash and slash both separate, leading
/// separators mean the root, and names match without regard to the case of the letters A to Z, the exact one first.

#include <velmont/platform.h>

namespace velmont::posix {

void *findFirst(void *, const char *pattern, VelmontFoundFile *found);
int findNext(void *, void *search, VelmontFoundFile *found);
void findClose(void *, void *search);
int createDirectory(void *, const char *path);
unsigned fileAttributes(void *, const char *path);
/// The log lies in the user's own folder for the state of programs, made when it is not there; nobody else may
/// write there.
int logPath(void *, char *path, unsigned pathBytes);

} // namespace velmont::posix
