#include <velmont/tone.h>

#include "core/view_frame.h"
#include "tone/tone_kernels.h"
#include <cstring>

namespace velmont {

namespace {

/// The accessors of a view by which an effect reaches its pixels.
enum class Access {
    Pixels,  ///< GetPixel and SetPixel, which stores nothing where biClrUsed is not 0
    Pixels24 ///< GetPixel24 and SetPixel24, right behind 40 bytes of header whatever biSize says
};

bool storesPixels(const DibView &view, Access access)
{
    DibHeader header;
    std::memcpy(&header, view.header, sizeof header);
    return access == Access::Pixels24 || header.biClrUsed == 0;
}

/// The effects' frame around work(to, from, pixels) on each row.
template <typename Work>
void *colorRows(void *dib, Access access, const Work &work)
{
    ViewFrame frame(dib);
    if (!frame.serves({24}))
        return nullptr;
    const DibLayout layout = frame.layout();
    const std::size_t rowsAt = access == Access::Pixels24 ? kHeaderBytes : layout.pixelOffset;
    const bool stores = storesPixels(frame.source(), access);
    const bool writesAll = stores && rowsAt == layout.pixelOffset;
    if (!frame.begin(writesAll ? Contents::Overwritten : Contents::ZeroFilled))
        return nullptr;
    const auto width = static_cast<std::size_t>(layout.width);
    for (int y : frame.rows()) {
        if (!stores)
            continue;
        const std::size_t offset = rowsAt + layout.stride * static_cast<std::size_t>(y);
        uint8_t *const to = frame.result().header + offset;
        work(to, frame.source().header + offset, width);
        std::memset(to + 3 * width, 0, layout.stride - 3 * width);
    }
    return frame.finish();
}

void *tint(void *dib, Access access, const Tint &tint)
{
    return colorRows(dib, access, [&, row = tintRow()](uint8_t *to, const uint8_t *from, std::size_t pixels) {
        row(to, from, pixels, tint);
    });
}

// Each share gives, for every pair of a largest and a smallest channel, what the look's own formula gives in
// double precision, rounded down: the tests hold them against it.
constexpr Tint kSepia{15074, false};  // largest * 0.23 + smallest * 0.77
constexpr Tint kWarm{21627, false};   // (largest - smallest) * 0.33 + smallest
constexpr Tint kCool{26215, true};    // (largest - smallest) * 0.4 + smallest
constexpr Tint kAntique{42585, true}; // (1 - f) * smallest + largest * f, f being kAntiqueStrength
constexpr float kAntiqueStrength = 0.65f;

constexpr int32_t kMoonRed = 168, kMoonGreen = 207, kMoonBlue = 240;

LevelColors moonColors()
{
    LevelColors colors;
    for (int i = 0; i < 256; ++i) {
        colors.share[0][i] = static_cast<uint8_t>(i * 0.11);
        colors.share[1][i] = static_cast<uint8_t>(i * 0.59);
        colors.share[2][i] = static_cast<uint8_t>(i * 0.3);
        colors.setColor(i, i * kMoonBlue / 255, i * kMoonGreen / 255, i * kMoonRed / 255);
    }
    return colors;
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessSepia(void *dib)
{
    return tint(dib, Access::Pixels, kSepia);
}

void *ProcessWarm(void *dib)
{
    return tint(dib, Access::Pixels, kWarm);
}

void *ProcessCool(void *dib)
{
    return tint(dib, Access::Pixels, kCool);
}

void *ProcessAntique(void *dib, tagParamAntique *param)
{
    if (!dib || !param)
        return nullptr;
    param->strength = kAntiqueStrength; // whatever the depth: hosts see it
    return tint(dib, Access::Pixels24, kAntique);
}

void *ProcessMoonlight(void *dib, tagParamMoonlight *param)
{
    if (!dib || !param)
        return nullptr;
    *param = {kMoonRed, kMoonGreen, kMoonBlue}; // whatever the depth: hosts see it
    return colorRows(
        dib, Access::Pixels24,
        [colors = moonColors(), row = levelColorRow()](uint8_t *to, const uint8_t *from, std::size_t pixels) {
            row(to, from, pixels, colors);
        });
}
