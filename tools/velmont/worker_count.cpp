#include "worker_count.h"
#include "io/declared_size.h"
#include "text.h"
#include <algorithm>
#include <fstream>
#include <sched.h>
#include <sstream>
#include <string>
#include <vector>

namespace velmont::cli {

namespace {

namespace fs = std::filesystem;

constexpr uint64_t kBytesPerPixel = 3;
/// How often an image in full colour is held at a time, and a little for what heavy effects take besides.
constexpr uint64_t kCopies = 6;
/// Of a file whose size is not declared where it is looked for.
constexpr uint64_t kUnpackedTimes = 8;
/// What a process takes before it has seen an image.
constexpr uint64_t kProcessBytes = uint64_t{8} << 20;
constexpr uint64_t kMostPixels = uint64_t{1} << 30;

std::optional<uint64_t> smaller(std::optional<uint64_t> one, std::optional<uint64_t> other)
{
    if (!one || !other)
        return one ? one : other;
    return std::min(*one, *other);
}

/// The number in a file that holds one; "max" is none.
std::optional<uint64_t> numberIn(const fs::path &file)
{
    uint64_t number = 0;
    std::ifstream stream(file);
    return stream >> number ? std::optional(number) : std::nullopt;
}

/// The number behind a word at a line's beginning, which may end in a colon.
std::optional<uint64_t> numberBehind(const fs::path &file, const std::string &word)
{
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        uint64_t number = 0;
        std::string first;
        if (std::istringstream(line) >> first >> number && (first == word || first == word + ':'))
            return number;
    }
    return std::nullopt;
}

/// The folders of the control groups that this process is in, from its own up to the outermost.
/// \param controller as /proc/self/cgroup names it; empty for the one hierarchy of version 2
std::vector<fs::path> groupsOf(const fs::path &root, const std::string &controller)
{
    const fs::path mount = root / "sys/fs/cgroup" / controller;
    std::ifstream stream(root / "proc/self/cgroup");
    for (std::string line; std::getline(stream, line);) {
        const std::size_t mark = line.find(concat(":", controller, ":/"));
        if (mark == std::string::npos)
            continue;
        std::vector<fs::path> folders;
        fs::path inside = line.substr(mark + controller.size() + 3);
        for (; !inside.empty(); inside = inside.parent_path())
            folders.push_back(mount / inside);
        folders.push_back(mount);
        return folders;
    }
    return {};
}

/// What is left of a limit; the file cache gives way.
std::optional<uint64_t> roomIn(const fs::path &group, const char *limitFile, const char *usageFile)
{
    const auto limit = numberIn(group / limitFile), usage = numberIn(group / usageFile);
    if (!limit || !usage)
        return std::nullopt;
    const uint64_t used =
        *usage - std::min(*usage, numberBehind(group / "memory.stat", "inactive_file").value_or(0));
    return *limit - std::min(*limit, used);
}

std::optional<uint64_t> memoryOfGroups(const fs::path &root)
{
    std::optional<uint64_t> room;
    for (const fs::path &group : groupsOf(root, ""))
        room = smaller(room, roomIn(group, "memory.max", "memory.current"));
    for (const fs::path &group : groupsOf(root, "memory"))
        room = smaller(room, roomIn(group, "memory.limit_in_bytes", "memory.usage_in_bytes"));
    return room;
}

/// A share of time in "microseconds period", rounded up to whole cores.
std::optional<uint64_t> coresOfGroups(const fs::path &root)
{
    std::optional<uint64_t> cores;
    for (const fs::path &group : groupsOf(root, "")) {
        uint64_t share = 0, period = 0;
        if (std::ifstream stream(group / "cpu.max"); stream >> share >> period && period > 0)
            cores = smaller(cores, std::max<uint64_t>((share + period - 1) / period, 1));
    }
    return cores;
}

unsigned coresByAffinity()
{
    cpu_set_t cores;
    return sched_getaffinity(0, sizeof cores, &cores) == 0 ? static_cast<unsigned>(CPU_COUNT(&cores)) : 1;
}

} // namespace

unsigned usableCores(const fs::path &root)
{
    const uint64_t cores = std::min<uint64_t>(coresOfGroups(root).value_or(kMostWorkers), coresByAffinity());
    return static_cast<unsigned>(std::clamp<uint64_t>(cores, 1, kMostWorkers));
}

std::optional<uint64_t> availableMemory(const fs::path &root)
{
    constexpr uint64_t kibibyte = 1024;
    auto memory = numberBehind(root / "proc/meminfo", "MemAvailable");
    if (memory)
        *memory *= kibibyte;
    return smaller(memory, memoryOfGroups(root));
}

uint64_t estimatedMemory(const fs::path &input)
{
    std::error_code ignored;
    const auto length = fs::file_size(input, ignored);
    const uint64_t file = ignored ? 0 : std::min<uint64_t>(length, kMostPixels * kBytesPerPixel);
    const auto size = io::declaredSize(input);
    uint64_t pixels = file * kUnpackedTimes / kBytesPerPixel;
    if (size && size->width <= kMostPixels && size->height <= kMostPixels)
        pixels = std::min(size->width * size->height, kMostPixels);
    return kProcessBytes + file + pixels * kBytesPerPixel * kCopies;
}

unsigned workersFor(std::span<const fs::path> inputs)
{
    uint64_t largest = 1;
    for (const fs::path &input : inputs)
        largest = std::max(largest, estimatedMemory(input));
    uint64_t workers = std::min<uint64_t>(usableCores(), inputs.size());
    if (const auto memory = availableMemory())
        workers = std::min(workers, *memory / largest);
    return static_cast<unsigned>(std::max<uint64_t>(workers, 1));
}

} // namespace velmont::cli
