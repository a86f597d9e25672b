#include "catalogue/in_place.h"
#include "catalogue/effect.h"
#include <cstring>

namespace velmont::catalogue {

void *copyOf(void *dib, unsigned depths)
{
    if ((depthOf(dib) & depths) == 0)
        return nullptr;
    const void *const from = KelMemLock(dib);
    if (!from)
        return nullptr;
    const unsigned long bytes = KelMemSize(dib);
    void *copy = KelMemAlloc(KEL_MEM_MOVEABLE, bytes);
    void *const to = KelMemLock(copy);
    if (to) {
        std::memcpy(to, from, bytes);
        KelMemUnlock(copy);
    } else if (copy) {
        KelMemFree(copy);
        copy = nullptr;
    }
    KelMemUnlock(dib);
    return copy;
}

} // namespace velmont::catalogue
