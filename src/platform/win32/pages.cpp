#include "platform/pages.h"
#include <windows.h>

namespace velmont {

// Huge pages want a privilege that hosts do not have; VirtualAlloc's own boundary of 64 KiB serves.
void *mapPages(std::size_t bytes)
{
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

void unmapPages(void *memory, std::size_t)
{
    VirtualFree(memory, 0, MEM_RELEASE);
}

} // namespace velmont
