#include "core/byte_kernels.h"
#include "core/cpu.h"
#include <cstring>

namespace velmont {

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
    return kernels::tablePlain;
}

} // namespace velmont
