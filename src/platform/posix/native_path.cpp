#include "platform/posix/native_path.h"
#include "platform/letters.h"
#include <algorithm>
#include <dirent.h>
#include <sys/stat.h>

namespace velmont::posix {

namespace {

constexpr std::string_view kSeparators = "\\/";

bool isLetter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

std::string_view withoutDrive(std::string_view path)
{
    if (path.size() >= 2 && path[1] == ':' && isLetter(path[0]))
        path.remove_prefix(2);
    return path;
}

bool exists(const NativePath &path)
{
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

/// The first name in the order of bytes that differs from `name` in the case of letters at most.
bool findOtherCase(const NativePath &directory, std::string_view name, FixedText<NAME_MAX + 1> &stored)
{
    DIR *const entries = opendir(directory.c_str());
    if (!entries)
        return false;
    stored.clear();
    while (const dirent *const entry = readdir(entries)) {
        const std::string_view candidate = entry->d_name;
        if (!sameName(candidate, name) || (!stored.empty() && stored.view() <= candidate))
            continue;
        stored.clear();
        if (!stored.append(candidate))
            stored.clear();
    }
    closedir(entries);
    return !stored.empty();
}

} // namespace

SplitPath splitLast(std::string_view path)
{
    path = withoutDrive(path);
    const std::size_t separator = path.find_last_of(kSeparators);
    const std::size_t nameStart = separator == std::string_view::npos ? 0 : separator + 1;
    return {path.substr(0, nameStart), path.substr(nameStart)};
}

bool appendName(NativePath &path, std::string_view name)
{
    const std::size_t length = path.length();
    const bool separated = path.view().ends_with('/') || path.append('/');
    if (separated && path.append(name))
        return true;
    path.cutTo(length);
    return false;
}

bool appendStoredName(NativePath &path, std::string_view name)
{
    const std::size_t directoryLength = path.length();
    if (!appendName(path, name))
        return false;
    if (exists(path))
        return true;
    path.cutTo(directoryLength);
    FixedText<NAME_MAX + 1> stored;
    return findOtherCase(path, name, stored) && appendName(path, stored.view());
}

bool resolveDirectory(std::string_view directory, NativePath &native)
{
    directory = withoutDrive(directory);
    const bool fromRoot = directory.find_first_of(kSeparators) == 0;
    native.clear();
    if (!native.append(fromRoot ? '/' : '.'))
        return false;
    while (!directory.empty()) {
        const std::size_t end = std::min(directory.find_first_of(kSeparators), directory.size());
        if (end != 0 && !appendStoredName(native, directory.substr(0, end)))
            return false;
        directory.remove_prefix(std::min(end + 1, directory.size()));
    }
    return true;
}

bool resolve(std::string_view path, NativePath &native)
{
    return !path.empty() && resolveDirectory(path, native);
}

} // namespace velmont::posix
