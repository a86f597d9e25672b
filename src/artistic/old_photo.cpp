#include "core/locked_dib.h"
#include "core/owned_block.h"
#include "core/view_frame.h"
#include "platform/services.h"
#include <algorithm>
#include <cstring>
#include <utility>
#include <velmont/environment.h>
#include <velmont/filters.h>
#include <velmont/geometry.h>
#include <velmont/grain.h>
#include <velmont/memory.h>
#include <velmont/tone.h>

namespace velmont {

namespace {

/// What a step makes of an image takes its place, where the step made anything.
bool advance(OwnedBlock &image, void *made)
{
    if (made)
        image.reset(made);
    return made != nullptr;
}

void *blurred(void *image, int size)
{
    tagParamGaussianBlur param{size};
    return ProcessGaussianBlur(image, &param);
}

/// The image without a border of this width becomes white. An image that cannot be locked is given up.
void whitenInside(OwnedBlock &mask, int border)
{
    const LockedDib locked(mask.get());
    if (!locked)
        return mask.reset();
    const auto inside = [border](int size) {
        return std::pair(std::clamp<int64_t>(border, 0, size),
                         std::clamp<int64_t>(int64_t{size} - border, 0, size));
    };
    const auto [left, right] = inside(locked->width());
    const auto [first, end] = inside(locked->height());
    for (int64_t y = first; y < end && left < right; ++y)
        std::memset(locked->row(static_cast<int>(y)) + left, 255, static_cast<std::size_t>(right - left));
}

/// A gray image, dark where the border comes: torn at a seventh of the size. Null where a part of the work gave 0.
void *borderMask(const DibLayout &image, int border)
{
    OwnedBlock mask(CreateDib(image.width, image.height, 8, 0, 0));
    if (mask)
        whitenInside(mask, border);
    SPREADParam torn{2.5, 2.5};
    const bool isMade =
        mask &&
        advance(mask, ProcessResampleHighQuality(mask.get(), image.width / 7, image.height / 7, 0, 1)) &&
        advance(mask, ProcessSpread(mask.get(), &torn)) &&
        advance(mask, ProcessResampleHighQuality(mask.get(), image.width, image.height, 0, 1)) &&
        advance(mask, blurred(mask.get(), border));
    return isMade ? mask.release() : nullptr;
}

/// A gray image, white with dark blotches. Null where there is no memory for it.
void *grainMask(const DibLayout &image)
{
    OwnedBlock mask(CreateDib(image.width, image.height, 8, 0, 0x00FFFFFF));
    if (mask) {
        advance(mask, ProcessAddNoise(mask.get(), 7));
        advance(mask, blurred(mask.get(), 9));
    }
    return mask.release();
}

/// Each byte of a result by byte = blend(byte, level of the mask): a poll and a report at each row, of which only the
/// answer 1 ends the rows, and no abort: hosts rely on it. At other depths than 24 bits no pixel is touched.
template <typename Blend>
void blendRows(ViewFrame &frame, void *mask, Blend blend)
{
    const DibLayout &layout = frame.layout();
    const LockedDib levels(mask);
    const bool blends = layout.bitCount == 24 && levels && levels->bitCount() == 8 &&
                        levels->width() == layout.width && levels->height() == layout.height;
    showWaitCursor();
    for (int y = 0; y < layout.height && AbortImageProcessing() != 1; ++y) {
        ShowImageProcessing(static_cast<int>(int64_t{y} * 100 / layout.height));
        if (!blends)
            continue;
        uint8_t *pixel =
            frame.result().header + layout.pixelOffset + layout.stride * static_cast<std::size_t>(y);
        const uint8_t *const level = levels->row(y);
        for (int x = 0; x < layout.width; ++x, pixel += 3)
            for (int i = 0; i < 3; ++i)
                pixel[i] = static_cast<uint8_t>(blend(pixel[i], level[x]));
    }
    ShowImageProcessing(100);
    showArrowCursor();
}

/// The image on its way through the steps.
class Photograph {
public:
    explicit Photograph(void *source) : image_(source) {}

    void soften() { take(blurred(image_, 5)); }

    /// \return whether there was memory for a copy
    bool paintBorder(int width)
    {
        ViewFrame frame(image_, kSilent);
        if (!frame.hasPixels() || !frame.beginWithCopy())
            return false;
        const DibLayout layout = frame.layout();
        const bool hasRoom = layout.width > 40 && layout.height > 40;
        const OwnedBlock mask(hasRoom ? borderMask(layout, width) : nullptr);
        if (mask)
            // white comes in where the mask is dark
            blendRows(frame, mask.get(),
                      [](int byte, int level) { return byte * level / 255 - level + 255; });
        result_ = left_ = frame.finish();
        if (mask) {
            // The image before it is nobody's from now on, and a copy without border is: hosts rely on it.
            left_ = isOwned_ ? image_ : nullptr;
            image_ = result_;
            isOwned_ = true;
        }
        return true;
    }

    void tint()
    {
        tagHueSaturateParam faded{};
        faded.saturation[0] = -100;
        take(ProcessHueSaturation(image_, &faded));
        tagParamBrightnessContrast darker{0, -20, -40};
        take(ProcessBrightnessAndContrast(image_, &darker));
        tagColorBalance brown{0, 1, 30, 0, -30};
        take(ProcessColorBalance(image_, &brown));
    }

    /// \return the image with grain, the last one of all; null where there is no memory for it
    void *withGrain()
    {
        ViewFrame frame(image_, kSilent);
        if (!frame.hasPixels())
            return nullptr;
        OwnedBlock mask(grainMask(frame.layout()));
        if (!mask || !frame.beginWithCopy())
            return nullptr;
        blendRows(frame, mask.get(), [](int byte, int level) { return byte * level / 255; });
        // The mask stays, and so do the image and a lock on it: hosts rely on it.
        mask.release();
        void *const grainy = frame.finish();
        KelMemLock(image_);
        return grainy;
    }

    /// What the last step that gave an image made; null where there was none.
    void *result() const { return isOwned_ ? result_ : nullptr; }

    /// Frees all that the steps made.
    void discard()
    {
        if (isOwned_)
            KelMemFree(image_);
        if (left_)
            KelMemFree(left_);
    }

private:
    void take(void *made)
    {
        if (!made)
            return;
        if (isOwned_)
            KelMemFree(image_);
        image_ = result_ = made;
        isOwned_ = true;
    }

    void *image_;            ///< that the next step works on
    bool isOwned_ = false;   ///< whether a step made it
    void *result_ = nullptr; ///< of the last step, where it ended here
    void *left_ = nullptr;   ///< a block beside both that nobody will free
};

/// All steps that are wanted, from a source that was not refused.
void *agedBy(const tagOldPhotoParam &param, void *source)
{
    Photograph photograph(source);
    if (param.blur != 0)
        photograph.soften();
    if (param.vignette != 0 && !photograph.paintBorder(param.borderWidth)) {
        photograph.discard();
        return nullptr;
    }
    if (param.tone != 0)
        photograph.tint();
    if (param.grain == 0)
        return photograph.result();
    void *const grainy = photograph.withGrain();
    if (!grainy)
        photograph.discard();
    return grainy;
}

bool isServed(void *dib)
{
    const ViewFrame frame(dib, kSilent);
    return frame.hasPixels() && frame.layout().bitCount != 8;
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessOldPhoto(void *dib, tagOldPhotoParam *param)
{
    // The lock taken here is undone only where the image is refused: hosts rely on finding one lock more on it.
    if (!param || !KelMemLock(dib))
        return nullptr;
    if (!isServed(dib)) {
        KelMemUnlock(dib);
        return nullptr;
    }
    return agedBy(*param, dib);
}
