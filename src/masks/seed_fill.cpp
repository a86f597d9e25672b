#include "core/owned_block.h"
#include "masks/bit_mask.h"
#include <velmont/masks.h>

namespace velmont {

namespace {

/// Whether a pixel of 1 or 8 bits is set.
bool MaskPixelIsSet(void *mask, int x, int y)
{
    const LockedDib dib(mask);
    if (!dib || (dib->bitCount() != 1 && dib->bitCount() != 8))
        return false;
    if (x < 0 || x >= dib->width() || y < 0 || y >= dib->height())
        return false;
    const std::size_t place = static_cast<std::size_t>(x) + static_cast<std::size_t>(y) * dib->stride();
    if (dib->bitCount() == 8)
        return dib->row(0)[place] != 0;
    // The place counts bits, as if a row had as many bits as it has bytes: hosts rely on it.
    return (dib->row(0)[place / 8] & 0x80 >> place % 8) != 0;
}

} // namespace

} // namespace velmont

using namespace velmont;

int ProcessSeedFill(void *dib, void *selection, int x, int y, int toleranceMode, int redLimit, int greenLimit,
                    int blueLimit, unsigned long color, void **filled, void **mask)
{
    OwnedBlock selected(CreateMagicMaskFromDib(dib, x, y, toleranceMode, redLimit, greenLimit, blueLimit));
    if (selection) {
        // Always by thresholds, with the limits that are tolerances for the image: hosts rely on it.
        OwnedBlock around(CreateMagicMaskFromDib(selection, x, y, 0, redLimit, greenLimit, blueLimit));
        const bool isInside = MaskPixelIsSet(selection, x, y);
        selected.reset(isInside ? ProcessMaskOperation(selected.get(), around.get(), 0, 0, 1)
                                : around.release());
    }
    OwnedBlock image(selected ? ProcessFillColor(dib, selected.get(), {0, 0}, color, 1) : nullptr);
    if (filled)
        *filled = image.release();
    void *const made =
        selected.release(); // without a place for it the mask stays allocated: hosts rely on it
    if (mask)
        *mask = made;
    return filled ? 1 : 0;
}
