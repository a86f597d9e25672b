#include "artistic/noise_kernels.h"
#include "core/clock.h"
#include "core/view_samples.h"
#include <algorithm>
#include <velmont/grain.h>

namespace velmont {

namespace {

/// Numbers drawn for a pixel.
constexpr std::size_t kNumbers = 4;

/// Rows of samples or of indices, which the tables are for.
void addNoise(ViewFrame &frame, double amount)
{
    const ViewSamples samples(frame);
    const bool isColor = samples.layout().bitCount == 24;
    const NoiseKernels kernels = noiseKernels();
    const auto width = static_cast<std::size_t>(samples.width());
    for (int y = 0; y < samples.height(); ++y)
        for (std::size_t x = 0; x < width; x += kNoiseRun) {
            const std::size_t pixels = std::min(kNoiseRun, width - x);
            uint16_t numbers[kNumbers * kNoiseRun];
            drawNumbers(numbers, kNumbers * pixels);
            if (isColor) {
                kernels.brighten(samples.resultRow(y) + 3 * x, samples.sourceRow(y) + 3 * x, numbers, pixels,
                                 3, amount);
                continue;
            }
            uint8_t levels[kNoiseRun], noisy[kNoiseRun];
            for (std::size_t i = 0; i < pixels; ++i)
                levels[i] = samples.sourceLevel(samples.sourceRow(y)[x + i]);
            kernels.brighten(noisy, levels, numbers, pixels, 1, amount);
            for (std::size_t i = 0; i < pixels; ++i)
                samples.store(samples.resultRow(y) + x + i, noisy[i]);
        }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessNoisify(void *dib, tagNoisifyParam *param)
{
    if (!dib || !param)
        return nullptr;
    for (double *const value : {&param->amount, &param->reserved[0], &param->reserved[1]})
        *value = std::clamp(*value, 0.0, 1.0);
    ViewFrame frame(dib, kSilent);
    if (!frame.hasPixels() || !frame.beginWithCopy())
        return nullptr;
    velmont::srand(clockSeconds());
    const DibLayout &layout = frame.layout();
    if (ViewSamples(frame).stores())
        addNoise(frame, param->amount);
    else // the numbers are drawn all the same
        skipNumbers(kNumbers * uint64_t{static_cast<uint32_t>(layout.width)} *
                    static_cast<uint32_t>(layout.height));
    return frame.finish();
}
