#include "core/locked_dib.h"
#include "core/owned_block.h"
#include <cstdlib>
#include <velmont/compositing.h>

namespace velmont {

namespace {

/// The stamp in gray, `width` by `height`; null where that fails.
void *resizedStamp(void *stamp, int width, int height, int resolution)
{
    void *const resized = ProcessResample(stamp, width, height, resolution);
    if (IsDibGray(resized))
        return resized;
    const OwnedBlock colored(resized);
    return ProcessConvertToGrayScale(resized);
}

/// Every byte v of the rows becomes v * strength / 100, of which the low 8 bits are kept.
bool scaleLevels(void *gray, int strength)
{
    const LockedDib dib(gray);
    if (!dib)
        return false;
    uint8_t table[256];
    for (int64_t level = 0; level < 256; ++level)
        table[level] = static_cast<uint8_t>(level * strength / 100);
    uint8_t *const bytes = dib->row(0);
    for (std::size_t i = 0; i < dib->layout().pixelBytes(); ++i)
        bytes[i] = table[bytes[i]];
    return true;
}

} // namespace

} // namespace velmont

using namespace velmont;

int ProcessLoadStamp(void *hDest, void *hStamp, tagRECT rect, unsigned long color, int polarity, int blend,
                     int strength)
{
    const LockedDib destination(hDest), stamp(hStamp);
    if (!destination || !stamp)
        return 0;
    const int64_t width = std::abs(int64_t{rect.right} - rect.left);
    const int64_t height = std::abs(int64_t{rect.bottom} - rect.top);
    if (width > INT32_MAX || height > INT32_MAX)
        return 0;
    const int resolution = destination->header().biXPelsPerMeter;
    OwnedBlock ink(CreateDib(static_cast<int>(width), static_cast<int>(height), destination->bitCount(),
                             resolution, color));
    OwnedBlock alpha(resizedStamp(hStamp, static_cast<int>(width), static_cast<int>(height), resolution));
    if (!ink || !alpha || !scaleLevels(alpha.get(), strength))
        return 0;
    // Both stay allocated, and the answer is 1 also where the copy refuses: hosts rely on it.
    ProcessCopyIn(hDest, alpha.release(), ink.release(), rect.left, rect.top, blend, polarity);
    return 1;
}
