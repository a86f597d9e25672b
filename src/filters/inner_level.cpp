#include "core/scratch_block.h"
#include "filters/box_kernels.h"
#include "filters/shade_kernels.h"
#include "filters/two_passes.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <velmont/filters.h>

namespace velmont {

namespace {

/// Width of the box that softens the picture.
constexpr int kBox = 7;

/// The bevel as shades by place.
class InnerBevel {
public:
    InnerBevel(int64_t width, int64_t height, const tagParamInnerLevel &param)
        : width_(width), height_(height)
    {
        const int64_t half = std::min(width, height) / 2;
        margin_ = std::min((width + height) / param.marginDivisor, half);
        bevel_ = std::min((width + height) / param.bevelDivisor, half - margin_);
        right_ = width - margin_;
        top_ = height - margin_;
        inner_ = margin_ + bevel_;
    }

    /// Shades one row, in runs between the places where the shade can change.
    void row(const ShadeKernels &kernels, uint8_t *to, const uint8_t *from, std::size_t channels,
             int64_t y) const
    {
        std::array<int64_t, 9> places{margin_, right_ + 1,      inner_ + 1,      right_ - bevel_,
                                      y + 1,   height_ - y - 1, height_ - y + 2, width_ - height_ + y,
                                      width_};
        for (int64_t &place : places)
            place = std::clamp<int64_t>(place, 0, width_);
        std::sort(places.begin(), places.end());
        int64_t x = 0;
        for (const int64_t next : places) {
            if (next == x)
                continue;
            const std::size_t first = static_cast<std::size_t>(x) * channels;
            kernels.run(to + first, from + first, static_cast<std::size_t>(next - x) * channels,
                        shadeAt(x, y));
            x = next;
        }
    }

private:
    int shadeAt(int64_t x, int64_t y) const
    {
        if (y < margin_ || y > top_ || x < margin_ || x > right_)
            return 0;
        if (inner_ < y && y < top_ - bevel_ && inner_ < x && x < right_ - bevel_)
            return 0;
        // A white mitre in this corner alone: hosts rely on it.
        if (y >= top_ - bevel_ && x >= height_ - y - 1 && x <= height_ - y + 1)
            return 255;
        if (y <= inner_ && x > y)
            return -128;
        if (y >= top_ - bevel_ && height_ - y < width_ - x)
            return 64;
        if (x > inner_)
            return x < right_ - bevel_ ? 0 : -128;
        return 64;
    }

    int64_t width_, height_;
    int64_t margin_, bevel_;
    int64_t right_, top_; ///< where the margins on the other sides begin
    int64_t inner_;       ///< margin and bevel together
};

/// The n-th of the three passes; hosts see progress at every row and column.
constexpr RowCadence thirdOf(int pass)
{
    return {.reportEvery = 1, .percentFrom = 33 * pass, .percentShares = 3};
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessInnerLevel(void *dib, tagParamInnerLevel *param)
{
    if (!param)
        return nullptr;
    for (int32_t *const divisor : {&param->marginDivisor, &param->bevelDivisor})
        if (*divisor == 0)
            *divisor = 1;
    EffectFrame frame(dib);
    if (!frame.hasSource())
        return nullptr;
    const Dib &source = frame.source();
    if (!frame.serves({8, 24})) {
        // The bit count instead of a handle, and a lock that stays: hosts rely on it.
        KelMemLock(dib);
        return reinterpret_cast<void *>(static_cast<std::uintptr_t>(source.bitCount()));
    }
    const ResultPlan plan = planWithColors(source);
    if (!frame.allocate(plan))
        return nullptr;
    Dib &result = frame.result();
    const std::size_t channels = samplesPerPixel(source), bytes = sampleBytes(source);
    const std::size_t widenedBytes = bytes + (kBox - 1) * channels;
    ScratchBlock bevelled(plan.layout.totalBytes());
    ScratchBlock scratch(
        std::max(widenedBytes, boxColumnsScratch(source.height(), kBox, stripBytes(source))));
    if (!bevelled.bytes() || !scratch.bytes())
        return frame.giveUp();
    frame.open(plan.headerBytes);
    if (source.bitCount() == 24)
        frame.leaveWaitCursor(); // hosts rely on the difference from 8 bits
    const auto bevelledRow = [&](int y) {
        return bevelled.bytes() + source.stride() * static_cast<std::size_t>(y);
    };

    const InnerBevel bevel(source.width(), source.height(), *param);
    const ShadeKernels shades = shadeKernels();
    for (int y : frame.rows(thirdOf(0)))
        bevel.row(shades, bevelledRow(y), source.row(y), channels, y);
    const BoxKernels box = boxKernels();
    const NarrowBoxRounding rounding(kBox);
    for (int y : frame.rows(thirdOf(1))) {
        widenRow(scratch.bytes(), bevelledRow(y), bytes, channels, kBox / 2, kBox - 1 - kBox / 2);
        box.row(result.row(y), scratch.bytes(), bytes, channels, kBox, rounding);
        frame.clearPadding(y);
    }
    inStrips(frame, thirdOf(2), stripBytes(source), [&](std::size_t first, std::size_t count) {
        boxColumns({result.row(0) + first, result.stride(), result.height(), count}, kBox, {},
                   scratch.bytes());
    });
    bevelled.release();
    scratch.release();
    return frame.finish();
}
