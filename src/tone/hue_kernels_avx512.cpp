// Compiled for AVX-512: only intrinsics and functions of this file, so that nothing shared is compiled for
// it.
#include "core/simd_avx512.h"
#include "tone/hue_runs.h"

namespace velmont::kernels {

namespace {

void takeApart(Run &run, const uint8_t *from)
{
    const Pixels pixels = loadPixels(from);
    for (int channel = 0; channel < 3; ++channel)
        _mm512_store_si512(run.channel[channel], pixels.channel[channel]);
}

void putTogether(uint8_t *to, const Run &run)
{
    Pixels pixels;
    for (int channel = 0; channel < 3; ++channel)
        pixels.channel[channel] = _mm512_load_si512(run.channel[channel]);
    storePixels(to, pixels);
}

} // namespace

void hueShiftAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const HueShift &shift)
{
    Run run;
    std::size_t x = 0;
    for (; x + kRun <= pixels; x += kRun) {
        takeApart(run, from + 3 * x);
        shiftRun(run, shift);
        putTogether(to + 3 * x, run);
    }
    hueShiftPlain(to + 3 * x, from + 3 * x, pixels - x, shift);
}

void sectorAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const SectorTables &tables)
{
    Run run;
    std::size_t x = 0;
    for (; x + kRun <= pixels; x += kRun) {
        takeApart(run, from + 3 * x);
        adjustRun(run, tables);
        putTogether(to + 3 * x, run);
    }
    sectorPlain(to + 3 * x, from + 3 * x, pixels - x, tables);
}

void lightnessAvx512(uint8_t *to, const uint8_t *from, const uint8_t *source, std::size_t pixels)
{
    Run run, light;
    std::size_t x = 0;
    for (; x + kRun <= pixels; x += kRun) {
        takeApart(run, from + 3 * x);
        takeApart(light, source + 3 * x);
        takeLightness(run, light);
        putTogether(to + 3 * x, run);
    }
    lightnessPlain(to + 3 * x, from + 3 * x, source + 3 * x, pixels - x);
}

} // namespace velmont::kernels
