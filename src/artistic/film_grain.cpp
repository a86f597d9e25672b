// Film grain and plain noise: random values that go on from the generator's state.

#include "artistic/noise_kernels.h"
#include "filters/sample_frame.h"
#include <algorithm>
#include <cstring>
#include <velmont/environment.h>
#include <velmont/grain.h>

namespace velmont {

namespace {

bool isShare(int percent)
{
    return percent >= 1 && percent <= 100;
}

/// Row after row of the samples: row(to, from, pixels, channels).
template <typename Row>
void *onSampleRows(void *dib, Row row)
{
    EffectFrame frame(dib, {.droppedPoll = false});
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    if (!frame.begin(planOnSamples(source)))
        return nullptr;
    AbortImageProcessing(); // its answer is dropped: hosts rely on the call, once header and palette are there
    for (const int y : frame.rows()) {
        row(frame.result().row(y), source.row(y), static_cast<std::size_t>(source.width()),
            samplesPerPixel(source));
        frame.clearPadding(y);
    }
    return frame.finish();
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessFilmGrain(void *dib, int amount)
{
    if (!isShare(amount))
        return nullptr;
    const NumberRange range(static_cast<uint32_t>(amount));
    const NoiseKernels kernels = noiseKernels();
    return onSampleRows(dib, [&](uint8_t *to, const uint8_t *from, std::size_t pixels, std::size_t channels) {
        for (std::size_t x = 0; x < pixels; x += kNoiseRun) {
            const std::size_t count = std::min(kNoiseRun, pixels - x);
            uint16_t numbers[kNoiseRun];
            drawNumbers(numbers, count);
            kernels.grain(to + x * channels, from + x * channels, numbers, count, channels, range);
        }
    });
}

void *ProcessAddNoise(void *dib, int percent)
{
    if (!isShare(percent))
        return nullptr;
    return onSampleRows(dib, [&](uint8_t *to, const uint8_t *from, std::size_t pixels, std::size_t channels) {
        std::memcpy(to, from, pixels * channels);
        NumberStream stream;
        const std::size_t bytes = pixels * channels;
        for (std::size_t x = 0; x < bytes; x += channels)
            if (stream.next() % 100 < percent)
                for (std::size_t i = 0; i < channels; ++i)
                    to[x + i] = static_cast<uint8_t>(stream.next());
    });
}
