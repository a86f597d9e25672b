#include "platform/posix/file_services.h"
#include "platform/posix/name_pattern.h"
#include "platform/posix/native_path.h"
#include "platform/services.h"
#include <climits>
#include <dirent.h>
#include <new>
#include <sys/stat.h>

namespace velmont {

namespace posix {

namespace {

constexpr unsigned kNoAttributes = 0xFFFFFFFF;
constexpr unsigned kOrdinaryFile = 0x80;

/// Names of files with a backslash could not be named in a path.
bool canBeNamed(std::string_view name)
{
    return name.find('\\') == std::string_view::npos && name.size() < VELMONT_PATH_BYTES;
}

bool isPattern(std::string_view name)
{
    return name.find_first_of("*?") != std::string_view::npos;
}

void setName(VelmontFoundFile &found, std::string_view name)
{
    name.copy(found.name, name.size());
    found.name[name.size()] = '\0';
}

class Search {
public:
    Search() = default;
    ~Search()
    {
        if (entries_)
            closedir(entries_);
    }
    Search(const Search &) = delete;
    Search &operator=(const Search &) = delete;

    /// Goes to the first entry of a directory that matches the pattern.
    bool start(const NativePath &directory, std::string_view pattern, VelmontFoundFile &found)
    {
        if (!pattern_.append(pattern))
            return false;
        entries_ = opendir(directory.c_str());
        return next(found);
    }
    /// Without a start there is nothing further.
    bool next(VelmontFoundFile &found)
    {
        while (entries_) {
            const dirent *const entry = readdir(entries_);
            if (!entry)
                return false;
            if (!canBeNamed(entry->d_name) || !matchesPattern(entry->d_name, pattern_.view()))
                continue;
            setName(found, entry->d_name);
            return true;
        }
        return false;
    }

private:
    DIR *entries_ = nullptr;
    FixedText<VELMONT_PATH_BYTES> pattern_;
};

/// Finds the one entry of that name.
bool findName(NativePath &directory, std::string_view name, VelmontFoundFile &found)
{
    if (!appendStoredName(directory, name))
        return false;
    const std::string_view stored = directory.view().substr(directory.view().rfind('/') + 1);
    if (!canBeNamed(stored))
        return false;
    setName(found, stored);
    return true;
}

} // namespace

void *findFirst(void *, const char *pattern, VelmontFoundFile *found)
{
    const SplitPath path = splitLast(pattern);
    NativePath directory;
    if (path.name.empty() || !resolveDirectory(path.directory, directory))
        return nullptr;
    Search *const search = new (std::nothrow) Search;
    if (!search)
        return nullptr;
    if (isPattern(path.name) ? search->start(directory, path.name, *found)
                             : findName(directory, path.name, *found))
        return search;
    delete search;
    return nullptr;
}

int findNext(void *, void *search, VelmontFoundFile *found)
{
    return static_cast<Search *>(search)->next(*found) ? 1 : 0;
}

void findClose(void *, void *search)
{
    delete static_cast<Search *>(search);
}

int createDirectory(void *, const char *path)
{
    const SplitPath parts = splitLast(path);
    NativePath native;
    if (parts.name.empty() || isPattern(parts.name) || !resolveDirectory(parts.directory, native) ||
        !appendName(native, parts.name))
        return 0;
    return mkdir(native.c_str(), S_IRWXU | S_IRWXG | S_IRWXO) == 0 ? 1 : 0;
}

unsigned fileAttributes(void *, const char *path)
{
    NativePath native;
    struct stat status;
    if (!resolve(path, native) || lstat(native.c_str(), &status) != 0)
        return kNoAttributes;
    return S_ISDIR(status.st_mode) ? unsigned{VELMONT_DIRECTORY_BIT} : kOrdinaryFile;
}

} // namespace posix

std::FILE *openFile(const char *path, const char *mode)
{
    posix::NativePath native;
    if (!posix::resolve(path, native))
        return nullptr;
    std::FILE *const file = std::fopen(native.c_str(), mode);
    struct stat status;
    if (file && fstat(fileno(file), &status) == 0 && !S_ISDIR(status.st_mode))
        return file;
    if (file)
        std::fclose(file);
    return nullptr;
}

} // namespace velmont
