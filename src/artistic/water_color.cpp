#include "artistic/mode_kernels.h"
#include "artistic/painting.h"
#include "artistic/sized_median.h"
#include "core/rounded_math.h"
#include "core/scratch_block.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <velmont/painting.h>

namespace velmont {

namespace {

constexpr int kFirstHighlight = 250;

/// The byte of a whole number that may lie outside of it; 0 for what fits no 32 bits.
uint8_t lowByteOf(double value)
{
    constexpr double kEnd = 2147483648.0;
    return value > -kEnd && value < kEnd ? static_cast<uint8_t>(static_cast<int32_t>(value)) : uint8_t{0};
}

std::array<uint8_t, 256> waterTones(int toneDepth)
{
    const auto exponent = static_cast<float>(1 + toneDepth * double{0.33333334F});
    std::array<uint8_t, 256> tones;
    for (std::size_t level = 0; level < tones.size(); ++level)
        tones[level] = lowByteOf(
            rounded::pow(static_cast<double>(level) * double{0.0039215689F}, double{exponent}) * 255.0);
    return tones;
}

/// Highlights stay white: a pixel with one of them is copied as it is.
void toneColors(uint8_t *to, const uint8_t *from, std::size_t bytes, const std::array<uint8_t, 256> &tones)
{
    for (std::size_t i = 0; i < bytes; i += 3) {
        const bool isHighlight = std::max({from[i], from[i + 1], from[i + 2]}) >= kFirstHighlight;
        for (std::size_t channel = i; channel < i + 3; ++channel)
            to[channel] = isHighlight ? from[channel] : tones[from[channel]];
    }
}

/// Deepens the middle tones. Padding becomes 0, or is copied where nothing else is done.
void applyWaterTone(uint8_t *to, const SampleRows &source, int toneDepth)
{
    if (toneDepth == 0) {
        std::memcpy(to, source.first, source.bytes());
        return;
    }
    const std::array<uint8_t, 256> tones = waterTones(toneDepth);
    const std::size_t bytes = source.rowBytes();
    for (int y = 0; y < source.height; ++y, to += source.stride) {
        const uint8_t *const from = source.row(y);
        if (source.channels == 3)
            toneColors(to, from, bytes, tones);
        else
            std::transform(from, from + bytes, to, [&](uint8_t level) { return tones[level]; });
        std::memset(to + bytes, 0, source.stride - bytes);
    }
}

void copyRows(uint8_t *to, const SampleRows &source, int64_t from, int64_t end)
{
    const auto first = static_cast<std::size_t>(std::clamp<int64_t>(from, 0, source.height));
    const auto last = static_cast<std::size_t>(std::clamp<int64_t>(end, 0, source.height));
    if (first < last)
        std::memcpy(to + first * source.stride, source.first + first * source.stride,
                    (last - first) * source.stride);
}

/// The bins of all pixels, in `room` for one byte each at 24 bits.
void fillBins(uint8_t *room, const SampleRows &source, const ModeKernels &kernels)
{
    const auto width = static_cast<std::size_t>(source.width);
    for (int y = 0; y < source.height; ++y)
        kernels.bins(room + width * static_cast<std::size_t>(y), source.row(y), width);
}

std::size_t binRoom(const SampleRows &source)
{
    return source.channels == 3
               ? static_cast<std::size_t>(source.width) * static_cast<std::size_t>(source.height)
               : 0;
}

/// Breaks the picture into patches of one colour. An abort ends it at once.
/// \param room binRoom(source) bytes
void applyModeFilter(EffectFrame &frame, uint8_t *to, const SampleRows &source, int radius, uint8_t *room)
{
    const int64_t r = radius, height = source.height;
    if (r == 1)
        return copyRows(to, source, 0, height);
    copyRows(to, source, 0, r);
    copyRows(to, source, height - r, height);
    if (r >= height - r)
        return;
    const ModeKernels kernels = modeKernels(r);
    const bool isColor = source.channels == 3;
    if (isColor && r >= 0)
        fillBins(room, source, kernels);
    ModeRow row{.to = to,
                .pixels = source.first,
                .bins = isColor ? room : source.first,
                .bytes = source.bytes(),
                .stride = source.stride,
                .binStride = isColor ? static_cast<std::size_t>(source.width) : source.stride,
                .width = source.width,
                .radius = r,
                .y = 0};
    // Hosts rely on progress that counts to the end of the rows, less the radius.
    const RowCadence cadence{.reportEvery = 1,
                             .percentOf = static_cast<int>(std::min<int64_t>(height - r, INT32_MAX)),
                             .firstRow = static_cast<int>(std::max<int64_t>(r, 0))};
    for (int y : frame.steps(static_cast<int>(std::min(height - r, height)), cadence)) {
        row.y = y;
        if (r < 0) // no window: nothing but the empty colour
            std::memset(to + source.stride * static_cast<std::size_t>(y), 0, source.rowBytes());
        else
            (isColor ? kernels.colors : kernels.levels)(row);
    }
}

/// One sample of a crisper pixel: sharpened along the row only, hosts rely on it.
uint8_t crispenPixel(const uint8_t *sample, std::ptrdiff_t channels)
{
    const int crisp = (4 * sample[0] - sample[-channels] - sample[channels]) >> 1;
    return static_cast<uint8_t>(std::clamp(crisp, 0, 255));
}

/// Crisps the edges of the patches at 24 bits; the border stays. Padding is left alone.
void crispenEdges(uint8_t *to, const SampleRows &source)
{
    constexpr std::size_t kPixel = 3;
    const std::size_t bytes = source.rowBytes();
    for (int y = 0; y < source.height; ++y, to += source.stride) {
        const uint8_t *const from = source.row(y);
        std::memcpy(to, from, bytes);
        if (y == 0 || y == source.height - 1)
            continue;
        for (std::size_t i = kPixel; i + kPixel < bytes; ++i)
            to[i] = crispenPixel(from + i, kPixel);
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessWaterColor(void *dib, tagWaterColorParam *param)
{
    if (!dib || !param)
        return nullptr;
    const tagWaterColorParam setting = *param;
    EffectFrame frame(dib, {.waitCursor = false});
    showWaitCursor(); // before the picture is looked at: hosts see it where it is refused
    const std::optional<Dib> source = withRowsBehindAllColors(frame, {8, 24});
    if (!source)
        return refuseAtWork();
    ResultPlan plan = planOnSamples(*source);
    plan.contents = Contents::ZeroFilled; // at 8 bits a size that is no median's leaves it black
    if (!frame.begin(plan))
        return nullptr;
    SampleRows rows = sampleRows(*source);
    ScratchBlock toned(uint64_t{rows.bytes()} + binRoom(rows)), patched(rows.bytes());
    if (!toned.bytes() || !patched.bytes())
        return abandonAtWork(frame);
    applyWaterTone(toned.bytes(), rows, setting.toneDepth);
    rows.first = toned.bytes();
    applyModeFilter(frame, patched.bytes(), rows, setting.patchSize, toned.bytes() + rows.bytes());
    rows.first = patched.bytes();
    if (!frame.isAborted()) {
        if (rows.channels == 3)
            crispenEdges(frame.result().row(0), rows);
        else
            applyMedianSized(frame.result().row(0), rows, setting.patchSize);
    }
    toned.release();
    patched.release();
    return frame.finish();
}
