#include "host/host_path.h"
#include "platform/services.h"
#include <velmont/host.h>

namespace velmont {

namespace {

constexpr int kNotFound = -1;
constexpr int kNothingLeft = -2;

bool appendComponent(HostPath &path, std::string_view component)
{
    return path.append('\\') && path.append(component);
}

/// Appends the components of a path as they stand.
bool appendAll(HostPath &path, PathTokens tokens)
{
    for (std::string_view token = tokens.next(); !token.empty(); token = tokens.next())
        if (!appendComponent(path, token))
            return false;
    return true;
}

/// Server and share of a network path, taken on trust. False when there is not even a server.
bool startNetworkPath(HostPath &path, PathTokens &tokens)
{
    const std::string_view server = tokens.next();
    if (server.empty() || !path.append("\\\\") || !path.append(server))
        return false;
    const std::string_view share = tokens.next();
    return share.empty() || appendComponent(path, share);
}

/// Appends a component by the name under which it is stored.
bool appendStored(HostPath &path, std::string_view component)
{
    const std::size_t prefix = path.length();
    if (!appendComponent(path, component))
        return false;
    const FileSearch search(path.c_str());
    if (!search.started())
        return false;
    path.cutTo(prefix);
    return appendComponent(path, search.name());
}

void makeIfMissing(const HostPath &path)
{
    if (!FileSearch(path.c_str()).started())
        createDirectory(path.c_str());
}

/// What a new directory chain starts with: the drive, or the first component below the root, which is neither looked
/// for nor made: hosts rely on it. False when there is nothing.
bool startDirectories(HostPath &path, std::string_view drive, PathTokens &tokens)
{
    if (!drive.empty())
        return path.append(drive);
    const std::string_view first = tokens.next();
    return !first.empty() && appendComponent(path, first);
}

} // namespace

} // namespace velmont

using namespace velmont;

int ZnGetLongPathName(char *shortPath, char *longPath)
{
    if (!longPath)
        return kNothingLeft;
    longPath[0] = '\0';
    if (!shortPath)
        return kNothingLeft;
    const PathParts parts = splitPath(shortPath);
    if (!parts.fit())
        return kNotFound;
    HostPath result;
    PathTokens tokens(parts.rest());
    if (PathTokens(tokens).next().empty() && parts.drive.empty())
        return kNothingLeft;
    if (!(parts.drive.empty() ? startNetworkPath(result, tokens) : result.append(parts.drive)))
        return kNotFound;
    for (std::string_view token = tokens.next(); !token.empty(); token = tokens.next())
        if (!appendStored(result, token))
            return kNotFound;
    result.view().copy(longPath, result.length());
    longPath[result.length()] = '\0';
    return 0;
}

int ZnCreateDirectory(char *path)
{
    const PathParts parts = splitPath(path);
    PathTokens tokens(parts.rest());
    HostPath whole;
    // All of it has to fit before the first directory is made.
    if (!parts.fit() || !whole.append(parts.drive) || !appendAll(whole, tokens))
        return kNothingLeft;
    HostPath result;
    if (!startDirectories(result, parts.drive, tokens))
        return kNothingLeft;
    for (std::string_view token = tokens.next(); !token.empty(); token = tokens.next()) {
        if (!appendComponent(result, token))
            return kNothingLeft;
        makeIfMissing(result);
    }
    return 0;
}
