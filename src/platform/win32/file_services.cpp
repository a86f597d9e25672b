#include "platform/win32/file_services.h"
#include "platform/services.h"
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <windows.h>

namespace velmont {

namespace win32 {

namespace {

constexpr char kLogPath[] = "c:\\aglog.TXT";

/// Whether the last component of a pattern is `*.`, which means the names without a dot. Not every edition of the
/// system keeps to that.
bool wantsNoDots(std::string_view pattern)
{
    const std::size_t last = pattern.find_last_of("\\/:");
    return pattern.substr(last == std::string_view::npos ? 0 : last + 1) == "*.";
}

class Search {
public:
    explicit Search(const char *pattern)
        : leavesOutDots_(wantsNoDots(pattern)), handle_(FindFirstFileA(pattern, &entry_)),
          stands_(handle_ != INVALID_HANDLE_VALUE)
    {
        passUnwanted();
    }
    ~Search()
    {
        if (handle_ != INVALID_HANDLE_VALUE)
            FindClose(handle_);
    }
    Search(const Search &) = delete;
    Search &operator=(const Search &) = delete;

    void next()
    {
        step();
        passUnwanted();
    }
    /// Copies the name of the entry that the search stands on; false, and nothing is copied, behind the last one.
    bool copyName(VelmontFoundFile &found) const
    {
        static_assert(sizeof found.name == sizeof entry_.cFileName);
        if (stands_)
            std::memcpy(found.name, entry_.cFileName, sizeof found.name);
        return stands_;
    }

private:
    bool isWanted() const
    {
        const std::string_view name = entry_.cFileName;
        return !leavesOutDots_ || name == "." || name == ".." || name.find('.') == std::string_view::npos;
    }
    void step() { stands_ = stands_ && FindNextFileA(handle_, &entry_); }
    void passUnwanted()
    {
        while (stands_ && !isWanted())
            step();
    }

    WIN32_FIND_DATAA entry_{};
    bool leavesOutDots_;
    HANDLE handle_;
    bool stands_; ///< on an entry
};

} // namespace

void *findFirst(void *, const char *pattern, VelmontFoundFile *found)
{
    auto search = std::unique_ptr<Search>(new (std::nothrow) Search(pattern));
    return search && search->copyName(*found) ? search.release() : nullptr;
}

int findNext(void *, void *search, VelmontFoundFile *found)
{
    auto *const opened = static_cast<Search *>(search);
    opened->next();
    return opened->copyName(*found) ? 1 : 0;
}

void findClose(void *, void *search)
{
    delete static_cast<Search *>(search);
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
