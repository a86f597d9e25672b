#pragma once

/// \file
/// Kernels of smart blur, over one row. See core/byte_kernels.h for the rules.

#include <array>
#include <cstddef>
#include <cstdint>

namespace velmont {

/// A picture's channels weighted for its gray: a tenth of blue, six of green and three of red, each rounded down by
/// itself, so that their sum and the sum of their differences fit a byte. Rows are `width` bytes.
struct SmartPlanes {
    std::array<uint8_t *, 3> weights; ///< blue, green, red
    uint8_t *gray;                    ///< their sum
    int width, height;

    std::size_t at(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    }
};

/// The pixels around one that its mean is taken over, cut to the picture.
struct SmartBox {
    int back = 0, forward = 0; ///< pixels before and behind, in rows and columns; at most 7 each
    int step = 1;              ///< samples of a row from one to the next; at least 1
    bool isPicky = false;      ///< samples count only where they resemble the pixel
    int limit = 0;             ///< largest sum of the differences of the weights that does; 0 to 102
    uint8_t choice = 0;        ///< for pixels with this mark alone
};

struct SmartKernels {
    /// A row of 24-bit pixels into row y of the planes.
    void (*split)(const SmartPlanes &planes, int y, const uint8_t *from);
    /// mean[x] becomes the mean of the grays in the box around pixel (x, y) where choices[x] is the box's mark and
    /// there is a sample.
    void (*means)(uint8_t *mean, const uint8_t *choices, const SmartPlanes &planes, int y,
                  const SmartBox &box);
    /// Each sample of a row of pixels moved by mean - gray, held to 0 to 255.
    void (*shift)(uint8_t *to, const uint8_t *from, const uint8_t *mean, const uint8_t *gray,
                  std::size_t pixels);
};
SmartKernels smartKernels();

/// to[x] = the strength of the edge at the inner pixels (x, y), below 2048: the slopes of the weighted planes, both
/// ways, with the middle counted twice.
void smartEdges(uint16_t *to, const SmartPlanes &planes, int y);

namespace kernels {

void smartSplitPlain(const SmartPlanes &planes, int y, const uint8_t *from);
void smartMeansPlain(uint8_t *mean, const uint8_t *choices, const SmartPlanes &planes, int y,
                     const SmartBox &box);
void smartShiftPlain(uint8_t *to, const uint8_t *from, const uint8_t *mean, const uint8_t *gray,
                     std::size_t pixels);
/// The pixels from x `first` up to `end`.
void smartMeansRange(uint8_t *mean, const uint8_t *choices, const SmartPlanes &planes, int y,
                     const SmartBox &box, int first, int end);
void smartSplitRange(const SmartPlanes &planes, int y, const uint8_t *from, int first, int end);
#if defined(__x86_64__)
void smartSplitAvx2(const SmartPlanes &planes, int y, const uint8_t *from);
void smartMeansAvx2(uint8_t *mean, const uint8_t *choices, const SmartPlanes &planes, int y,
                    const SmartBox &box);
void smartShiftAvx2(uint8_t *to, const uint8_t *from, const uint8_t *mean, const uint8_t *gray,
                    std::size_t pixels);
#endif

} // namespace kernels

} // namespace velmont
