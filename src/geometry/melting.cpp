#include "core/generator.h"
#include "geometry/cut_out_frame.h"
#include <algorithm>
#include <velmont/geometry.h>

namespace velmont {

namespace {

bool isRefused(int amount)
{
    return amount < 1 || amount > 100;
}

/// Random pixels, `amount` of a hundred: use(x, y). Counts wrap in 32 bits.
template <typename Frame, typename Use>
void forDrops(Frame &frame, int amount, Use use)
{
    const int width = frame.source().width(), height = frame.source().height();
    const auto pixels = static_cast<int32_t>(static_cast<uint32_t>(width) * static_cast<uint32_t>(height));
    const int32_t drops = pixels / 100 * amount;
    for (int32_t i = 0; i < drops; ++i) {
        if (AbortImageProcessing() != 0)
            return frame.abort();
        if ((i & 0x4FF) == 0) // no power of two: hosts rely on reports at these
            ShowImageProcessing(static_cast<int32_t>(static_cast<uint32_t>(i) * 100) / drops);
        const int x = rand() % width;
        const int y = rand() % height;
        use(x, y);
    }
}

/// The pixels of an image that is worked on in place.
class Pixels {
public:
    explicit Pixels(const Dib &image) : image_(image), bytes_(samplesPerPixel(image)) {}

    uint8_t *at(int x, int y) const { return image_.row(y) + static_cast<std::size_t>(x) * bytes_; }
    /// The sum of the samples of a pixel.
    int sum(const uint8_t *pixel) const { return bytes_ == 3 ? pixel[0] + pixel[1] + pixel[2] : *pixel; }
    std::size_t stride() const { return image_.stride(); }
    int height() const { return image_.height(); }
    void swap(uint8_t *a, uint8_t *b) const { std::swap_ranges(a, a + bytes_, b); }
    bool isGray() const { return bytes_ == 1; }

private:
    const Dib &image_;
    std::size_t bytes_;
};

/// A pixel sinks below all that are not darker, towards row 1; hosts rely on row 0 staying as it is.
void sink(const Pixels &pixels, int x, int y)
{
    if (y <= 1)
        return;
    uint8_t *pixel = pixels.at(x, y);
    const int sinking = pixels.sum(pixel);
    for (; y > 1 && sinking <= pixels.sum(pixel - pixels.stride()); --y) {
        pixels.swap(pixel, pixel - pixels.stride());
        pixel -= pixels.stride();
    }
}

/// How a pixel of a cut-out ranks by its samples and its alpha.
int rankOf(const Pixels &pixels, const uint8_t *pixel, int alpha)
{
    if (pixels.isGray())
        return (pixels.sum(pixel) * alpha + 127) >> 8;
    // 600, below the sum of white, so that the brightest rank above 255: hosts rely on it.
    return 255 - (((600 - pixels.sum(pixel)) * alpha + 127) >> 8);
}

/// A pixel of a cut-out rises past all that do not rank above it, up to the last row but one.
void rise(const Pixels &pixels, const Pixels &mask, int x, int y)
{
    const int last = pixels.height() - 2;
    if (y >= last)
        return;
    uint8_t *pixel = pixels.at(x, y), *alpha = mask.at(x, y);
    const int rising = rankOf(pixels, pixel, *alpha);
    for (; y < last && rising >= rankOf(pixels, pixel + pixels.stride(), alpha[mask.stride()]); ++y) {
        pixels.swap(pixel, pixel + pixels.stride());
        mask.swap(alpha, alpha + mask.stride());
        pixel += pixels.stride();
        alpha += mask.stride();
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessMelting(void *dib, int amount)
{
    if (isRefused(amount))
        return nullptr;
    EffectFrame frame(dib);
    if (!servesSamples(frame))
        return nullptr;
    const DibLayout &layout = frame.source().layout();
    if (!frame.begin(
            {.layout = layout, .contents = Contents::Overwritten, .headerBytes = layout.totalBytes()}))
        return nullptr;
    const Pixels pixels(frame.result());
    forDrops(frame, amount, [&](int x, int y) { sink(pixels, x, y); });
    return frame.finish();
}

int ProcessMelting(void *dib, void *alpha, int amount, void **newDib, void **newAlpha)
{
    if (isRefused(amount))
        return 0;
    CutOutFrame frame(dib, alpha, newDib, newAlpha);
    if (!frame.serves() || !frame.begin(Carried::WholeBlocks))
        return 0;
    const Pixels pixels(frame.result()), mask(frame.resultAlpha());
    forDrops(frame, amount, [&](int x, int y) { rise(pixels, mask, x, y); });
    return frame.finish();
}
