#include "core/locked_dib.h"
#include "core/owned_block.h"
#include <algorithm>
#include <cstdlib>
#include <optional>
#include <velmont/compositing.h>
#include <velmont/filters.h>

namespace velmont {

namespace {

constexpr int64_t kFarthest = 1024;
constexpr int kSmallestBlur = 2, kLargestBlur = 32;

int heldBlur(int64_t blur)
{
    return static_cast<int>(std::clamp<int64_t>(blur, kSmallestBlur, kLargestBlur));
}

/// The header of an image whose pixels are samples.
std::optional<DibHeader> sampledHeader(void *handle)
{
    const LockedDib dib(handle);
    if (!dib || (dib->bitCount() != 24 && !dib->isGray()))
        return std::nullopt;
    return dib->header();
}

std::optional<DibHeader> grayHeader(void *handle)
{
    const auto header = sampledHeader(handle);
    return header && header->biBitCount == 8 ? header : std::nullopt;
}

/// An image of one colour with room on each side of another one.
void *createCanvas(const DibHeader &inner, int64_t besideX, int64_t besideY, int bits, unsigned long color)
{
    const int64_t width = inner.biWidth + 2 * besideX, height = inner.biHeight + 2 * besideY;
    if (width > INT32_MAX || height > INT32_MAX)
        return nullptr;
    return CreateDib(static_cast<int>(width), static_cast<int>(height), bits, inner.biXPelsPerMeter, color);
}

constexpr unsigned long kBlack = 0;

/// Where shadow and object lie along one side of the canvas.
struct Placing {
    int shadow; ///< in the middle
    int object; ///< at the corner that the shadow falls away from

    explicit Placing(int64_t offset)
        : shadow(static_cast<int>(std::min(std::abs(offset), kFarthest))), object(offset < 0 ? 2 * shadow : 0)
    {
    }
};

} // namespace

} // namespace velmont

using namespace velmont;

int ProcessShadowing(void *hImage, void *hAlpha, void *&hNewImage, void *&hNewAlpha, tagParamShadow *param)
{
    hNewImage = hNewAlpha = nullptr;
    const auto image = sampledHeader(hImage);
    if (!param || !image || !grayHeader(hAlpha))
        return 0;
    const Placing x(param->offsetX), y(param->offsetY);
    OwnedBlock mask(createCanvas(*image, x.shadow, y.shadow, 8, kBlack));
    if (!mask)
        return 0;
    OwnedBlock canvas(createCanvas(*image, x.shadow, y.shadow, image->biBitCount, param->color));
    if (!canvas || !ProcessCopyIn(mask.get(), hAlpha, x.shadow, y.shadow))
        return 0;
    tagParamGaussianBlur blur{heldBlur(param->blur)};
    OwnedBlock shadow(ProcessGaussianBlur(mask.get(), &blur));
    mask.reset();
    if (!shadow || !ProcessCopyIn(shadow.get(), hAlpha, hAlpha, x.object, y.object, 1, 1) ||
        !ProcessCopyIn(canvas.get(), hAlpha, hImage, x.object, y.object, 1, 1))
        return 0;
    hNewImage = canvas.release();
    hNewAlpha = shadow.release();
    return 1;
}

int GetShadowDib(void *hAlpha, void *&hCanvas, void *&hShadow, tagParamShadow *param)
{
    hCanvas = hShadow = nullptr;
    const auto alpha = grayHeader(hAlpha);
    if (!param || !alpha)
        return 0;
    const int beside = heldBlur(std::abs(int64_t{param->blur}));
    OwnedBlock mask(createCanvas(*alpha, beside, beside, 8, kBlack));
    OwnedBlock canvas(createCanvas(*alpha, beside, beside, 24, param->color));
    ProcessCopyIn(mask.get(), hAlpha, hAlpha, beside, beside, 0, 1);
    // The box, not the bell, and with the sign of the blur: hosts rely on both. It also runs where there is no canvas.
    tagParamAverage blur{heldBlur(param->blur)};
    OwnedBlock shadow(ProcessAverage(mask.get(), &blur));
    mask.reset();
    if (!shadow || !canvas)
        return 0;
    hCanvas = canvas.release();
    hShadow = shadow.release();
    return 1;
}
