#include "io/leftovers.h"
#include "io/picture.h"
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velmont::io {

namespace {

constexpr int kNamesTried = 100;

std::string textOf(int error)
{
    return std::error_code(error, std::generic_category()).message();
}

Error failure(const std::filesystem::path &path, const std::string &text)
{
    return Error(path.string() + ": " + text);
}

Error nameTaken(const std::filesystem::path &path)
{
    return failure(path, "exists already");
}

/// What the names of a process's temporary files begin with.
std::string temporaryPrefix(pid_t process)
{
    return ".velmont-" + std::to_string(process) + "-";
}

/// What a name stands for, links not followed.
std::optional<struct stat> statusOf(const std::filesystem::path &path)
{
    struct stat status;
    if (::lstat(path.c_str(), &status) != 0)
        return std::nullopt;
    return status;
}

/// The file itself when the name is a link to one, so that the link stays.
std::filesystem::path behindLinks(const std::filesystem::path &path)
{
    std::error_code error;
    std::filesystem::path file = std::filesystem::canonical(path, error);
    return error ? path : file;
}

/// A file of a new name in the folder of its target; removed again unless it was published.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::filesystem::path &target) : target_(target)
    {
        std::random_device random;
        for (int i = 0; i < kNamesTried && descriptor_ < 0; ++i) {
            name_ = target;
            name_.replace_filename(temporaryPrefix(::getpid()) + std::to_string(random()) + ".tmp");
            descriptor_ = ::open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (descriptor_ < 0 && errno != EEXIST)
                break;
        }
        if (descriptor_ < 0)
            throw cannotCreate(errno);
    }
    ~TemporaryFile()
    {
        if (descriptor_ >= 0)
            ::close(descriptor_);
        if (!isPublished_)
            ::unlink(name_.c_str());
    }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    void setPermissions(mode_t mode)
    {
        if (::fchmod(descriptor_, mode & 0777) != 0)
            throw failure(target_, "cannot keep its permissions: " + textOf(errno));
    }
    void write(std::span<const uint8_t> bytes);
    /// Puts the file on the disk, so that the name never stands for less than all of it.
    void flush();
    /// Gives the file its target's name and takes that from any other file.
    void replaceTarget();
    /// Gives the file its target's name if no other file has it.
    void becomeTarget();

private:
    Error cannotCreate(int error) const
    {
        const std::string folder = target_.has_parent_path() ? target_.parent_path().string() : ".";
        if (error == ENOENT || error == ENOTDIR)
            return failure(target_, "there is no folder " + folder);
        return failure(target_, "cannot write into the folder " + folder + ": " + textOf(error));
    }
    Error cannotWrite(int error) const { return failure(target_, "cannot be written: " + textOf(error)); }

    std::filesystem::path target_;
    std::filesystem::path name_;
    int descriptor_ = -1;
    bool isPublished_ = false;
};

void TemporaryFile::write(std::span<const uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
        if (written >= 0)
            bytes = bytes.subspan(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            throw cannotWrite(errno);
    }
}

void TemporaryFile::flush()
{
    // Some file systems have nothing to flush to and say so.
    if (::fsync(descriptor_) != 0 && errno != EINVAL && errno != EROFS)
        throw cannotWrite(errno);
    if (::close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR)
        throw cannotWrite(errno);
}

void TemporaryFile::replaceTarget()
{
    if (std::rename(name_.c_str(), target_.c_str()) != 0)
        throw cannotWrite(errno);
    isPublished_ = true;
}

void TemporaryFile::becomeTarget()
{
#ifdef RENAME_NOREPLACE
    if (::renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, target_.c_str(), RENAME_NOREPLACE) == 0) {
        isPublished_ = true;
        return;
    }
    if (errno == EEXIST)
        throw nameTaken(target_);
#endif
    // Not every file system knows the rename above. The temporary name goes with the object.
    if (::link(name_.c_str(), target_.c_str()) != 0)
        throw errno == EEXIST ? nameTaken(target_) : cannotWrite(errno);
}

/// \throws Error where no file can be written under this name.
void checkTarget(const std::filesystem::path &path, const std::optional<struct stat> &status,
                 Existing existing)
{
    if (!path.has_filename() || path.filename() == "." || path.filename() == "..")
        throw failure(path, "is not the name of a file");
    if (!status)
        return;
    if (S_ISDIR(status->st_mode))
        throw failure(path, "is a folder");
    if (existing == Existing::Keep)
        throw nameTaken(path);
    if (!S_ISREG(status->st_mode) && !S_ISLNK(status->st_mode))
        throw failure(path, "is not a regular file");
}

} // namespace

void writeFile(const std::filesystem::path &path, std::span<const uint8_t> bytes, Existing existing)
{
    const std::filesystem::path target = existing == Existing::Replace ? behindLinks(path) : path;
    const auto status = statusOf(target);
    checkTarget(target, status, existing);
    TemporaryFile file(target);
    if (status && S_ISREG(status->st_mode))
        file.setPermissions(status->st_mode);
    file.write(bytes);
    file.flush();
    if (existing == Existing::Replace)
        file.replaceTarget();
    else
        file.becomeTarget();
}

void removeLeftovers(const std::filesystem::path &folder, pid_t process) noexcept
{
    const std::string prefix = temporaryPrefix(process);
    std::error_code error;
    std::filesystem::directory_iterator entry(folder.empty() ? "." : folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::filesystem::path name = entry->path().filename();
        if (name.native().starts_with(prefix) && name.extension() == ".tmp")
            ::unlink(entry->path().c_str());
    }
}

} // namespace velmont::io
