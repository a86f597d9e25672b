#pragma once

/// \file
/// Kernels of the maximum and minimum filter.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// A window over one line of samples.
struct ExtremeWindow {
    int size; ///< 2 to 32; it starts size / 2 samples before its output
    bool isMax;
};

/// Columns that one call of ExtremeColumns takes at most, in bytes.
inline constexpr std::size_t kExtremeStrip = 512;

/// The windows of one row, for a row in another place.
using ExtremeRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t pixels, std::size_t channels,
                            ExtremeWindow window);
/// The windows down the columns, in place, for up to kExtremeStrip bytes of each row.
using ExtremeColumns = void (*)(uint8_t *rows, std::size_t stride, int height, std::size_t bytes,
                                ExtremeWindow window);

struct ExtremeKernels {
    ExtremeRow row;
    ExtremeColumns columns;
};
ExtremeKernels extremeKernels();

namespace kernels {

void extremeRowPlain(uint8_t *to, const uint8_t *from, std::size_t pixels, std::size_t channels,
                     ExtremeWindow window);
void extremeColumnsPlain(uint8_t *rows, std::size_t stride, int height, std::size_t bytes,
                         ExtremeWindow window);
#if defined(__x86_64__)
void extremeRowAvx2(uint8_t *to, const uint8_t *from, std::size_t pixels, std::size_t channels,
                    ExtremeWindow window);
void extremeColumnsAvx2(uint8_t *rows, std::size_t stride, int height, std::size_t bytes,
                        ExtremeWindow window);
#endif

} // namespace kernels

} // namespace velmont
