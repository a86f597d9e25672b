#include "core/byte_kernels.h"
#include "core/cpu.h"
#include <bit>
#include <cstring>

namespace velmont {

static_assert(std::endian::native == std::endian::little, "words are put together byte by byte");

namespace kernels {

void complementPlain(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = static_cast<uint8_t>(~from[i]);
}

void copyPlain(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t bytes)
{
    std::memcpy(to, from, bytes);
}

void tablePlain(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t bytes,
                const uint8_t *__restrict table)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = table[from[i]];
}

void tableWords(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t bytes,
                const uint8_t *__restrict table)
{
    constexpr std::size_t kPaysFrom = 2048;
    std::size_t i = 0;
    if (bytes >= kPaysFrom) {
        // The table's values moved to each place of a word.
        uint32_t placed[4][256];
        for (unsigned place = 0; place < 4; ++place)
            for (std::size_t level = 0; level < 256; ++level)
                placed[place][level] = uint32_t{table[level]} << 8 * place;
        for (; i + 4 <= bytes; i += 4) {
            uint32_t word;
            std::memcpy(&word, from + i, 4);
            const uint32_t mapped = placed[0][word & 255] | placed[1][word >> 8 & 255] |
                                    placed[2][word >> 16 & 255] | placed[3][word >> 24];
            std::memcpy(to + i, &mapped, 4);
        }
    }
    tablePlain(to + i, from + i, bytes - i, table);
}

} // namespace kernels

Stores storesFor(std::size_t resultBytes)
{
    // Smaller results and their sources lie in the last cache of common processors, where plain stores win.
    constexpr std::size_t kStreamingFrom = std::size_t{24} << 20;
    return resultBytes >= kStreamingFrom ? Stores::Streaming : Stores::Cached;
}

ByteRow complementRow([[maybe_unused]] Stores stores)
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return stores == Stores::Streaming ? kernels::complementStreamingAvx2 : kernels::complementAvx2;
#endif
    return kernels::complementPlain;
}

ByteRow copyRow([[maybe_unused]] Stores stores)
{
#if defined(__x86_64__)
    if (stores == Stores::Streaming && cpuLevel() >= CpuLevel::Avx2)
        return kernels::copyStreamingAvx2;
#endif
    return kernels::copyPlain;
}

TableRow tableRow()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return kernels::tableAvx512;
#endif
    return kernels::tableWords;
}

} // namespace velmont
