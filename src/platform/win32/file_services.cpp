#include "platform/win32/file_services.h"
#include "platform/services.h"
#include <cstring>
#include <windows.h>

namespace velmont {

namespace win32 {

namespace {

constexpr char kLogPath[] = "c:\\aglog.TXT";

void setName(VelmontFoundFile &found, const WIN32_FIND_DATAA &entry)
{
    static_assert(sizeof found.name == sizeof entry.cFileName);
    std::memcpy(found.name, entry.cFileName, sizeof found.name);
}

} // namespace

void *findFirst(void *, const char *pattern, VelmontFoundFile *found)
{
    WIN32_FIND_DATAA entry;
    const HANDLE search = FindFirstFileA(pattern, &entry);
    if (search == INVALID_HANDLE_VALUE)
        return nullptr;
    setName(*found, entry);
    return search;
}

int findNext(void *, void *search, VelmontFoundFile *found)
{
    WIN32_FIND_DATAA entry;
    if (!FindNextFileA(search, &entry))
        return 0;
    setName(*found, entry);
    return 1;
}

void findClose(void *, void *search)
{
    FindClose(search);
}

int createDirectory(void *, const char *path)
{
    return CreateDirectoryA(path, nullptr) ? 1 : 0;
}

unsigned fileAttributes(void *, const char *path)
{
    return GetFileAttributesA(path);
}

int logPath(void *, char *path, unsigned pathBytes)
{
    if (pathBytes < sizeof kLogPath)
        return 0;
    std::memcpy(path, kLogPath, sizeof kLogPath);
    return 1;
}

} // namespace win32

std::FILE *openFile(const char *path, const char *mode)
{
    return std::fopen(path, mode);
}

} // namespace velmont
