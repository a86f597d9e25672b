// Compiled for AVX-512: only intrinsics and functions of this file, so that nothing shared is compiled for
// it.
#include "core/simd_avx512.h"
#include "geometry/format_kernels.h"

namespace velmont::kernels {

namespace {

/// Lookups that the three channels' shares of gray, rounded each by itself, are read from.
struct ShareTables {
    alignas(64) uint8_t blue[256]{}, green[256]{}, red[256]{};

    constexpr ShareTables()
    {
        for (unsigned i = 0; i < 256; ++i) {
            blue[i] = grayShare(29, i);
            green[i] = grayShare(150, i);
            red[i] = grayShare(76, i);
        }
    }
};

} // namespace

void bgrToGrayAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels)
{
    static constexpr ShareTables
        shares; // made at compile time: no shared function is compiled for AVX-512 here
    const Table blueShare(shares.blue), greenShare(shares.green), redShare(shares.red);
    std::size_t x = 0;
    for (; x + 64 <= pixels; x += 64) {
        const auto [b, g, r] = loadPixels(from + 3 * x).channel;
        const __m512i gray =
            _mm512_add_epi8(_mm512_add_epi8(blueShare.lookUp(b), greenShare.lookUp(g)), redShare.lookUp(r));
        _mm512_storeu_si512(to + x, gray);
    }
    bgrToGrayPlain(to + x, from + 3 * x, pixels - x);
}

void indexToBgrAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const ColorTable &table)
{
    alignas(64) uint8_t channels[3][256];
    for (int i = 0; i < 256; ++i)
        for (int channel = 0; channel < 3; ++channel)
            channels[channel][i] = table.entry[i][channel];
    const Table blue(channels[0]), green(channels[1]), red(channels[2]);
    std::size_t x = 0;
    for (; x + 64 <= pixels; x += 64) {
        const __m512i index = _mm512_loadu_si512(from + x);
        storePixels(to + 3 * x, {{blue.lookUp(index), green.lookUp(index), red.lookUp(index)}});
    }
    indexToBgrPlain(to + 3 * x, from + x, pixels - x, table);
}

} // namespace velmont::kernels
