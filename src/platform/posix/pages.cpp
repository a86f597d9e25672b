#include "platform/pages.h"
#include <cstdint>
#include <sys/mman.h>

namespace velmont {

namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;

void unmapIfAny(std::uintptr_t begin, std::uintptr_t end)
{
    if (begin != end)
        munmap(reinterpret_cast<void *>(begin), end - begin);
}

} // namespace

void *mapPages(std::size_t bytes)
{
    if (bytes > SIZE_MAX - kHugePage)
        return nullptr;
    const std::size_t reserved = bytes + kHugePage;
    void *const mapping = mmap(nullptr, reserved, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED)
        return nullptr;
    // Keep the part that starts on a huge page, give back what lies before and behind it.
    const auto begin = reinterpret_cast<std::uintptr_t>(mapping);
    const std::uintptr_t aligned = (begin + kHugePage - 1) / kHugePage * kHugePage;
    unmapIfAny(begin, aligned);
    unmapIfAny(aligned + bytes, begin + reserved);
    void *const memory = reinterpret_cast<void *>(aligned);
    madvise(memory, bytes, MADV_HUGEPAGE); // a hint: small pages serve as well
    return memory;
}

void unmapPages(void *memory, std::size_t bytes)
{
    munmap(memory, bytes);
}

} // namespace velmont
