#include "core/pixel_kernels.h"
#include "core/cpu.h"
#include <cstring>

namespace velmont {

namespace kernels {

void channelTablesPlain(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t pixels,
                        const ChannelTables &tables)
{
    for (std::size_t x = 0; x < pixels; ++x)
        for (std::size_t channel = 0; channel < 3; ++channel)
            to[3 * x + channel] = tables.of[channel][from[3 * x + channel]];
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
    return kernels::channelTablesPlain;
}

} // namespace velmont
