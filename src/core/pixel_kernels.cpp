#include "core/pixel_kernels.h"
#include "core/cpu.h"
#include <bit>
#include <cstring>

namespace velmont {

static_assert(std::endian::native == std::endian::little, "words are put together byte by byte");

namespace kernels {

void channelTablesPlain(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t pixels,
                        const ChannelTables &tables)
{
    for (std::size_t x = 0; x < pixels; ++x)
        for (std::size_t channel = 0; channel < 3; ++channel)
            to[3 * x + channel] = tables.of[channel][from[3 * x + channel]];
}

void channelTablesWords(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t pixels,
                        const ChannelTables &tables)
{
    constexpr std::size_t kPaysFrom = 1024, kBytes = 12; // four pixels in three words
    std::size_t x = 0;
    if (pixels >= kPaysFrom) {
        // For each byte of the words its channel's values, moved to its place.
        uint32_t placed[kBytes][256];
        for (std::size_t byte = 0; byte < kBytes; ++byte)
            for (std::size_t level = 0; level < 256; ++level)
                placed[byte][level] = uint32_t{tables.of[byte % 3][level]} << 8 * (byte % 4);
        for (; x + 4 <= pixels; x += 4)
            for (std::size_t first = 0; first < kBytes; first += 4) {
                uint32_t word;
                std::memcpy(&word, from + 3 * x + first, 4);
                const uint32_t mapped = placed[first][word & 255] | placed[first + 1][word >> 8 & 255] |
                                        placed[first + 2][word >> 16 & 255] | placed[first + 3][word >> 24];
                std::memcpy(to + 3 * x + first, &mapped, 4);
            }
    }
    channelTablesPlain(to + 3 * x, from + 3 * x, pixels - x, tables);
}

} // namespace kernels

#if defined(__x86_64__)
namespace {

bool isIdentity(const uint8_t *table)
{
    for (unsigned i = 0; i < 256; ++i)
        if (table[i] != i)
            return false;
    return true;
}

bool areSame(const ChannelTables &tables)
{
    return std::memcmp(tables.of[0], tables.of[1], 256) == 0 &&
           std::memcmp(tables.of[0], tables.of[2], 256) == 0;
}

ChannelRow channelTablesRowAvx512(const ChannelTables &tables)
{
    if (areSame(tables))
        return kernels::sameTablesAvx512;
    for (int channel = 0; channel < 3; ++channel)
        if (isIdentity(tables.of[(channel + 1) % 3]) && isIdentity(tables.of[(channel + 2) % 3]))
            return kernels::oneTableAvx512(channel);
    return kernels::channelTablesAvx512;
}

} // namespace
#endif

ChannelRow channelTablesRow([[maybe_unused]] const ChannelTables &tables)
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx512)
        return channelTablesRowAvx512(tables);
#endif
    return kernels::channelTablesWords;
}

} // namespace velmont
