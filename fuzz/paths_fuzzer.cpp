// Paths, patterns and log texts of any bytes: the host's calls over files that only the input knows of, and the search
// of this system's own, which only looks. Nothing on the disk is changed.

#include "fuzz/fuzz.h"
#include "platform/posix/name_pattern.h"
#include "platform/services.h"
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <velmont/host.h>

namespace {

using namespace velmont;

/// The input as texts, one after the other, and then from the first one again.
class Texts {
public:
    Texts(const uint8_t *data, std::size_t size) : data_(reinterpret_cast<const char *>(data)), size_(size) {}

    std::string next()
    {
        if (at_ >= size_)
            at_ = 0;
        const std::string_view rest(data_ + at_, size_ - at_);
        const std::string_view text = rest.substr(0, rest.find('\0'));
        at_ += text.size() + 1;
        return std::string(text);
    }

private:
    const char *data_;
    std::size_t size_, at_ = 0;
};

/// Files that are there as the input says, fewer and fewer of them so that every walk ends.
struct Files {
    Texts texts;
    int left = 200;
    int open = 0;
};

Files &filesOf(void *context)
{
    return *static_cast<Files *>(context);
}

int findNext(void *context, void *, VelmontFoundFile *found)
{
    Files &files = filesOf(context);
    if (files.left <= 0)
        return 0;
    --files.left;
    const std::string name = files.texts.next();
    if (name.size() % 3 == 0)
        return 0;
    std::memset(found->name, 'x', sizeof found->name);
    std::memcpy(found->name, name.c_str(), std::min(name.size() + 1, sizeof found->name));
    return 1;
}

void *findFirst(void *context, const char *pattern, VelmontFoundFile *found)
{
    if (std::strlen(pattern) >= VELMONT_PATH_BYTES)
        std::abort(); // a path that is too long was acted on
    if (!findNext(context, nullptr, found))
        return nullptr;
    ++filesOf(context).open;
    return context;
}

void findClose(void *context, void *)
{
    --filesOf(context).open;
}

int createDirectory(void *, const char *path)
{
    if (std::strlen(path) >= VELMONT_PATH_BYTES)
        std::abort();
    return 0;
}

unsigned fileAttributes(void *, const char *path)
{
    return std::strlen(path) % 2 == 0 ? unsigned{VELMONT_DIRECTORY_BIT} : 0u;
}

int noLog(void *, char *path, unsigned pathBytes)
{
    std::strncpy(path, "/dev/null", pathBytes);
    return 1;
}

void install(Files &files)
{
    VelmontPlatformServices services{};
    services.structBytes = sizeof services;
    services.context = &files;
    services.findFirst = findFirst;
    services.findNext = findNext;
    services.findClose = findClose;
    services.createDirectory = createDirectory;
    services.fileAttributes = fileAttributes;
    services.logPath = noLog;
    VelmontInstallPlatformServices(&services);
}

void listFiles(std::string directory, std::string first, std::string second)
{
    char *patterns[] = {first.data(), second.data()};
    char **files = nullptr;
    int count = 0;
    SearchFiles(directory.data(), 1, patterns, 2, &count, files);
    int listed = 0;
    for (; files[listed]; ++listed)
        std::free(files[listed]);
    std::free(files);
    if (listed != count)
        std::abort();
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    Texts texts(data, size);
    const std::string path = texts.next(), name = texts.next(), pattern = texts.next();
    posix::matchesPattern(name, pattern);
    VelmontFoundFile found;
    const VelmontPlatformServices &own = systemServices();
    if (void *const search = own.findFirst(nullptr, path.c_str(), &found))
        own.findClose(nullptr, search);

    Files files{texts};
    install(files);
    std::string given = path;
    std::vector<char> longName(VELMONT_PATH_BYTES);
    ZnGetLongPathName(given.data(), longName.data());
    ZnCreateDirectory(given.data());
    listFiles(path, name, pattern);
    WriteLogFile(given.data());
    VelmontInstallPlatformServices(nullptr);
    if (files.open != 0)
        std::abort(); // a search was left open
    return 0;
}

std::vector<std::vector<uint8_t>> fuzzSeeds()
{
    using namespace std::string_view_literals;
    std::vector<std::vector<uint8_t>> seeds;
    for (const std::string_view text :
         {"c:\\Dir/name.ext\0n.bmp\0*.b?p\0sub\0..\0deep"sv, "\\\\server\\share\\a\nb\0name\0n*.\0"sv,
          "/tmp/*\0a.b.c\0*.*\0x%%y%s"sv}) {
        seeds.emplace_back(text.begin(), text.end());
        seeds.emplace_back(text.begin(), text.end());
        seeds.back().insert(seeds.back().begin() + 3, 250, 'l');
    }
    return seeds;
}
