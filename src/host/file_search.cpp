#include "host/host_path.h"
#include "platform/services.h"
#include <cstdlib>
#include <cstring>
#include <optional>
#include <velmont/environment.h>
#include <velmont/host.h>

namespace velmont {

namespace {

constexpr int kRefused = -1;
constexpr int kCannotSearch = -2;
constexpr int kAborted = -3;

/// What stays the same over a walk.
struct Walk {
    char **patterns;
    int patternCount;
    int *count;
    int (*callback)(char *, void *);
    void *userData;
};

int walkDirectory(std::string_view directory, bool recurse, const Walk &walk);

/// An entry of a directory as a path; nothing when it is too long to be one.
bool joinPath(HostPath &path, const HostPath &base, const char *name)
{
    return path.append(base.view()) && path.append(name);
}

/// Tells the host of an entry. What no path can name is left out whole.
void report(const HostPath &base, const char *name, const Walk &walk)
{
    HostPath path;
    if (!joinPath(path, base, name))
        return;
    // The host receives a copy of its own, and may write to it.
    char text[VELMONT_PATH_BYTES];
    std::memcpy(text, path.c_str(), path.length() + 1);
    *walk.count =
        static_cast<int>(static_cast<unsigned>(*walk.count) + 1); // the host's number may be the last one
    walk.callback(text, walk.userData);
}

/// Reports the entries that match a pattern; false after an abort.
bool reportMatches(const HostPath &base, const char *pattern, const Walk &walk)
{
    HostPath path;
    if (!pattern || !joinPath(path, base, pattern))
        return true;
    FileSearch search(path.c_str());
    if (!search.started())
        return true;
    bool aborted = AbortImageProcessing() != 0;
    for (bool found = true; found && !aborted; aborted = AbortImageProcessing() != 0) {
        report(base, search.name(), walk);
        found = search.next();
    }
    return !aborted;
}

/// Each pattern in turn; an abort ends one pattern only, and the next asks anew.
int reportFiles(const HostPath &base, const Walk &walk)
{
    int result = 0;
    for (int i = 0; i < walk.patternCount; ++i)
        if (!reportMatches(base, walk.patterns[i], walk))
            result = kAborted;
    return result;
}

/// Whether an entry of a directory is a directory below it.
bool leadsDown(const HostPath &path, const char *name)
{
    return isDirectory(path.c_str()) && std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0;
}

/// Walks one entry of a directory if it is a directory below it.
/// \return the result of that walk, where one that could not be searched counts as done; nothing for another entry.
std::optional<int> walkEntry(const HostPath &base, const char *name, const Walk &walk)
{
    HostPath path;
    if (!joinPath(path, base, name) || !leadsDown(path, name))
        return std::nullopt;
    const int below = walkDirectory(path.view(), true, walk);
    return below == kCannotSearch ? 0 : below;
}

/// Walks the subdirectories without a dot in their names. Their results replace the one so far, an abort's too; only an
/// abort below ends the walk.
int walkSubdirectories(const HostPath &base, const Walk &walk, int result)
{
    HostPath path;
    if (!joinPath(path, base, "*."))
        return kCannotSearch;
    FileSearch search(path.c_str());
    if (!search.started())
        return kCannotSearch;
    bool aborted = AbortImageProcessing() != 0;
    for (bool found = true; found && !aborted; aborted = AbortImageProcessing() != 0) {
        const std::optional<int> below = walkEntry(base, search.name(), walk);
        if (below == kAborted)
            return kAborted;
        result = below.value_or(result);
        found = search.next();
    }
    return aborted ? kAborted : result;
}

int walkDirectory(std::string_view directory, bool recurse, const Walk &walk)
{
    HostPath base;
    if (!base.append(directory) || (!directory.ends_with('\\') && !base.append('\\')))
        return kCannotSearch;
    const int result = reportFiles(base, walk);
    return recurse ? walkSubdirectories(base, walk, result) : result;
}

/// A null-terminated array of strings from malloc.
struct FileList {
    char **names;
    std::size_t count;
};

char *copyOf(const char *text)
{
    const std::size_t bytes = std::strlen(text) + 1;
    char *const copy = static_cast<char *>(std::malloc(bytes));
    if (copy)
        std::memcpy(copy, text, bytes);
    return copy;
}

/// Appends a name; without memory the name is lost and the search goes on.
int addFoundFile(char *name, void *listPointer)
{
    FileList &list = *static_cast<FileList *>(listPointer);
    void *const grown = std::realloc(list.names, (list.count + 2) * sizeof *list.names);
    if (!grown)
        return 0;
    list.names = static_cast<char **>(grown);
    list.names[list.count] = copyOf(name);
    if (!list.names[list.count])
        return 0;
    list.names[++list.count] = nullptr;
    return 1;
}

} // namespace

} // namespace velmont

using namespace velmont;

int IterateFileSearch(char *directory, int recurse, char **patterns, int patternCount, int *count,
                      int (*callback)(char *, void *), void *userData)
{
    if (!directory || !patterns || !count || !callback)
        return kRefused;
    return walkDirectory(directory, recurse != 0, {patterns, patternCount, count, callback, userData});
}

int SearchFiles(char *directory, int recurse, char **patterns, int patternCount, int *count, char **&files)
{
    if (!count)
        return kRefused;
    *count = 0;
    FileList list{static_cast<char **>(std::calloc(1, sizeof(char *))), 0};
    if (!list.names)
        return kRefused;
    const int result =
        IterateFileSearch(directory, recurse, patterns, patternCount, count, addFoundFile, &list);
    if (result == kRefused)
        std::free(list.names);
    else
        files = list.names;
    return result;
}
