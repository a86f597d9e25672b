// Compiled for AVX-512: only intrinsics and functions of this file, so that nothing shared is compiled for
// it.
#include "core/byte_kernels.h"
#include "core/pixel_kernels.h"
#include "core/simd_avx512.h"

namespace velmont::kernels {

namespace {

/// The bytes of vector `part` out of three that hold this channel of sixty-four pixels.
constexpr uint64_t bytesOfChannel(int channel, int part)
{
    uint64_t mask = 0;
    for (int i = 0; i < 64; ++i)
        mask |= uint64_t{(64 * part + i) % 3 == channel} << i;
    return mask;
}

/// Looks up the bytes of one channel and leaves the others.
template <int channel, int part>
__m512i withChannel(const Table &table, __m512i bytes, __m512i others)
{
    constexpr __mmask64 kMask = bytesOfChannel(channel, part);
    return _mm512_mask_mov_epi8(others, kMask, table.lookUp(bytes));
}

template <int channel>
void oneTable(uint8_t *to, const uint8_t *from, std::size_t pixels, const ChannelTables &tables)
{
    const Table table(tables.of[channel]);
    std::size_t x = 0;
    for (; x + 64 <= pixels; x += 64) {
        const uint8_t *const in = from + 3 * x;
        uint8_t *const out = to + 3 * x;
        const __m512i a = _mm512_loadu_si512(in), b = _mm512_loadu_si512(in + 64),
                      c = _mm512_loadu_si512(in + 128);
        _mm512_storeu_si512(out, withChannel<channel, 0>(table, a, a));
        _mm512_storeu_si512(out + 64, withChannel<channel, 1>(table, b, b));
        _mm512_storeu_si512(out + 128, withChannel<channel, 2>(table, c, c));
    }
    channelTablesPlain(to + 3 * x, from + 3 * x, pixels - x, tables);
}

template <int part>
void threeTables(uint8_t *to, const uint8_t *from, const Table &blue, const Table &green, const Table &red)
{
    const __m512i bytes = _mm512_loadu_si512(from + 64 * part);
    const __m512i mapped =
        withChannel<1, part>(green, bytes, withChannel<2, part>(red, bytes, blue.lookUp(bytes)));
    _mm512_storeu_si512(to + 64 * part, mapped);
}

} // namespace

void channelTablesAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const ChannelTables &tables)
{
    const Table blue(tables.of[0]), green(tables.of[1]), red(tables.of[2]);
    std::size_t x = 0;
    for (; x + 64 <= pixels; x += 64) {
        threeTables<0>(to + 3 * x, from + 3 * x, blue, green, red);
        threeTables<1>(to + 3 * x, from + 3 * x, blue, green, red);
        threeTables<2>(to + 3 * x, from + 3 * x, blue, green, red);
    }
    channelTablesPlain(to + 3 * x, from + 3 * x, pixels - x, tables);
}

void sameTablesAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const ChannelTables &tables)
{
    tableAvx512(to, from, 3 * pixels, tables.of[0]);
}

ChannelRow oneTableAvx512(int channel)
{
    return channel == 0 ? oneTable<0> : channel == 1 ? oneTable<1> : oneTable<2>;
}

} // namespace velmont::kernels
