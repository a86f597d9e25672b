// Compiled for AVX-512: only intrinsics and functions of this file, so that nothing shared is compiled for
// it.
#include "core/simd_avx512.h"
#include "geometry/format_kernels.h"

namespace velmont::kernels {

namespace {

/// Places for a selection of bytes out of three vectors. Two steps: the first takes from vectors 0 and 1
/// (places 0 to 127), the second replaces what vector 2 holds (places 64 to 127 of the pair of the first step
/// and vector 2).
struct Selection {
    __m512i first, second;

    /// `source(i)` is the place, 0 to 191, of byte i.
    template <typename Source>
    explicit Selection(Source source)
    {
        alignas(64) uint8_t one[64], two[64];
        for (int i = 0; i < 64; ++i) {
            const int place = source(i);
            one[i] = static_cast<uint8_t>(place < 128 ? place : 0);
            two[i] = static_cast<uint8_t>(place < 128 ? i : place - 128 + 64);
        }
        first = _mm512_load_si512(one);
        second = _mm512_load_si512(two);
    }
    __m512i from(__m512i a, __m512i b, __m512i c) const
    {
        return _mm512_permutex2var_epi8(_mm512_permutex2var_epi8(a, first, b), second, c);
    }
};

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
    const Selection blue([](int i) { return 3 * i; }), green([](int i) { return 3 * i + 1; }),
        red([](int i) { return 3 * i + 2; });
    std::size_t x = 0;
    for (; x + 64 <= pixels; x += 64) {
        const uint8_t *const run = from + 3 * x;
        const __m512i a = _mm512_loadu_si512(run), b = _mm512_loadu_si512(run + 64),
                      c = _mm512_loadu_si512(run + 128);
        const __m512i gray = _mm512_add_epi8(
            _mm512_add_epi8(blueShare.lookUp(blue.from(a, b, c)), greenShare.lookUp(green.from(a, b, c))),
            redShare.lookUp(red.from(a, b, c)));
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
    // Byte k of the pixels is channel k % 3 of pixel k / 3.
    const auto places = [](int run) {
        return [run](int i) { return (64 * run + i) % 3 * 64 + (64 * run + i) / 3; };
    };
    const Selection first(places(0)), second(places(1)), third(places(2));
    std::size_t x = 0;
    for (; x + 64 <= pixels; x += 64) {
        const __m512i index = _mm512_loadu_si512(from + x);
        const __m512i b = blue.lookUp(index), g = green.lookUp(index), r = red.lookUp(index);
        uint8_t *const run = to + 3 * x;
        _mm512_storeu_si512(run, first.from(b, g, r));
        _mm512_storeu_si512(run + 64, second.from(b, g, r));
        _mm512_storeu_si512(run + 128, third.from(b, g, r));
    }
    indexToBgrPlain(to + 3 * x, from + x, pixels - x, table);
}

} // namespace velmont::kernels
