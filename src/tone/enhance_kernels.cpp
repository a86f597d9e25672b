#include "tone/enhance_kernels.h"
#include "core/cpu.h"
#include <algorithm>

namespace velmont {

SharpenTable::SharpenTable(int32_t strength) : gain(strength)
{
    for (int difference = -kMiddle; difference < kMiddle; ++difference) {
        const uint32_t product = static_cast<uint32_t>(strength) * static_cast<uint32_t>(difference);
        added[difference + kMiddle] = static_cast<int32_t>(product) / 800;
    }
    added[2 * kMiddle] = 0;
}

namespace {

uint8_t sharpened(const SharpenTable &table, int sample, int neighbours)
{
    const int added = table.added[8 * sample - neighbours + SharpenTable::kMiddle];
    return static_cast<uint8_t>(std::clamp(added + sample, 0, 255));
}

/// The neighbours of a sample in its own row and the row above.
int neighboursAbove(const SharpenRows &rows, std::size_t i)
{
    const std::size_t left = i < rows.step ? i : i - rows.step;
    const std::size_t right = i + rows.step < rows.bytes ? i + rows.step : i;
    // The row above is kept one step behind, and its start too early: hosts rely on it.
    const bool isSecondColumn = i >= rows.step && i < 2 * rows.step;
    const int aboveLeft = isSecondColumn ? rows.current[left] : rows.above[left];
    return aboveLeft + rows.above[i] + rows.above[right] + rows.current[left] + rows.current[right];
}

} // namespace

namespace kernels {

void saturatePlain(uint8_t *to, const uint8_t *from, std::size_t pixels, const ToneTables &tables)
{
    for (std::size_t x = 0; x < pixels; ++x, to += 3, from += 3) {
        const int blue = tables.level[from[0]], green = tables.level[from[1]], red = tables.level[from[2]];
        const int largest = std::max({blue, green, red});
        to[0] = static_cast<uint8_t>(std::max(0, blue - tables.loss[largest - blue]));
        to[1] = static_cast<uint8_t>(std::max(0, green - tables.loss[largest - green]));
        to[2] = static_cast<uint8_t>(std::max(0, red - tables.loss[largest - red]));
    }
}

void sharpenRange(uint8_t *to, const SharpenRows &rows, const SharpenTable &table, std::size_t first,
                  std::size_t last)
{
    for (std::size_t i = first; i < last; ++i) {
        const std::size_t left = i < rows.step ? i : i - rows.step;
        const std::size_t right = i + rows.step < rows.bytes ? i + rows.step : i;
        const int below = rows.below[left] + rows.below[i] + rows.below[right];
        to[i] = sharpened(table, rows.current[i], neighboursAbove(rows, i) + below);
    }
}

void sharpenPlain(uint8_t *to, const SharpenRows &rows, const SharpenTable &table)
{
    sharpenRange(to, rows, table, 0, rows.bytes);
}

} // namespace kernels

void sharpenLastRow(uint8_t *to, const SharpenRows &rows, const SharpenTable &table)
{
    for (std::size_t i = 0; i < rows.bytes; ++i) {
        const std::size_t right = i + rows.step < rows.bytes ? i + rows.step : i;
        const int belowLeft = i < rows.step ? rows.current[i] : to[i - rows.step];
        const int below = belowLeft + rows.current[i] + rows.current[right];
        to[i] = sharpened(table, rows.current[i], neighboursAbove(rows, i) + below);
    }
}

SaturateRow saturateRow()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::saturateAvx512;
#endif
    return kernels::saturatePlain;
}

SharpenRow sharpenRow([[maybe_unused]] const SharpenTable &table)
{
#if defined(__x86_64__)
    if (table.gain >= 0 && table.gain <= 255 && cpuLevel() >= CpuLevel::Avx2)
        return kernels::sharpenAvx2;
#endif
    return kernels::sharpenPlain;
}

} // namespace velmont
