#include "platform/posix/file_services.h"
#include "platform/posix/native_path.h"
#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace velmont::posix {

namespace {

constexpr const char *kLogName = "aglog.TXT";

/// Whether a folder is the user's alone to write in, and no link to somewhere else.
bool isOwn(const NativePath &folder)
{
    struct stat status;
    return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

/// Goes on to a folder, made for this user alone when it is not there.
bool enterFolder(NativePath &path, const char *name)
{
    return appendName(path, name) && (mkdir(path.c_str(), S_IRWXU) == 0 || errno == EEXIST);
}

/// The environment's value when it is an absolute path.
const char *folderFrom(const char *variable)
{
    const char *const value = secure_getenv(variable);
    return value && value[0] == '/' ? value : nullptr;
}

/// The user's folder for the state of programs.
bool enterStateFolder(NativePath &path)
{
    if (const char *const state = folderFrom("XDG_STATE_HOME"))
        return path.append(state) && (mkdir(state, S_IRWXU) == 0 || errno == EEXIST);
    const char *const home = folderFrom("HOME");
    return home && path.append(home) && enterFolder(path, ".local") && enterFolder(path, "state");
}

} // namespace

int logPath(void *, char *path, unsigned pathBytes)
{
    NativePath log;
    if (!enterStateFolder(log) || !enterFolder(log, "velmont") || !isOwn(log) || !appendName(log, kLogName) ||
        log.length() >= pathBytes)
        return 0;
    log.view().copy(path, log.length());
    path[log.length()] = '\0';
    return 1;
}

} // namespace velmont::posix
