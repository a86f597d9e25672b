#pragma once

/// \file
/// Kernels of auto enhance, over one row. See core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// Levels, and what a channel loses by its distance from the largest of its pixel.
struct ToneTables {
    alignas(64) uint8_t level[256];
    alignas(64) uint8_t loss[256];
};

/// 24-bit pixels: each byte through `level`, then each channel loses loss[largest - channel], down to 0.
using SaturateRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t pixels, const ToneTables &tables);
SaturateRow saturateRow();

/// Eight times a sample less its neighbours, from -2040 to 2040, to what sharpening adds to the sample. The
/// highest, a white sample in the black, adds nothing.
struct SharpenTable {
    static constexpr int kMiddle = 2040;
    int32_t gain;
    int32_t added[2 * kMiddle + 1];

    /// gain / 800 of the difference, towards 0, in 32 bits that wrap.
    explicit SharpenTable(int32_t strength);
};

/// Three neighbouring rows of `bytes` bytes, samples of one channel `step` bytes apart. Columns outside the row
/// are taken as the row's own end, except that the second column finds its own row's first sample above to the
/// left.
struct SharpenRows {
    const uint8_t *above, *current, *below;
    std::size_t bytes, step;
};
using SharpenRow = void (*)(uint8_t *to, const SharpenRows &rows, const SharpenTable &table);
SharpenRow sharpenRow(const SharpenTable &table);
/// The last row: it is its own row below, where the sample to the left is the new one already.
void sharpenLastRow(uint8_t *to, const SharpenRows &rows, const SharpenTable &table);

namespace kernels {

void saturatePlain(uint8_t *to, const uint8_t *from, std::size_t pixels, const ToneTables &tables);
void sharpenPlain(uint8_t *to, const SharpenRows &rows, const SharpenTable &table);
/// The samples from byte `first` up to byte `last` of the row.
void sharpenRange(uint8_t *to, const SharpenRows &rows, const SharpenTable &table, std::size_t first,
                  std::size_t last);
#if defined(__x86_64__)
/// For gains from 0 to 255.
void sharpenAvx2(uint8_t *to, const SharpenRows &rows, const SharpenTable &table);
void saturateAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const ToneTables &tables);
#endif

} // namespace kernels

} // namespace velmont
