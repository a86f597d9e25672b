#include "core/locked_dib.h"
#include "core/overlap.h"
#include "filters/sample_frame.h"
#include "geometry/pixel_access.h"
#include "geometry/resized_frame.h"
#include <algorithm>
#include <cstring>
#include <velmont/geometry.h>

namespace velmont {

namespace {

/// Copies and fills runs of pixels of whole bytes.
class PixelRuns {
public:
    PixelRuns(std::size_t pixelBytes, PixelValue background) : bytes_(pixelBytes), background_(background) {}

    void copy(uint8_t *to, int64_t toColumn, const uint8_t *from, int64_t fromColumn, int64_t count) const
    {
        if (count > 0) // the columns of no pixels may lie anywhere
            std::memcpy(to + place(toColumn), from + place(fromColumn), place(count));
    }
    void fill(uint8_t *to, int64_t column, int64_t count) const
    {
        uint8_t *const first = to + place(column);
        const std::size_t all = place(count);
        for (std::size_t i = 0; i < bytes_ && i < all; ++i)
            first[i] = static_cast<uint8_t>(background_ >> 8 * i);
        for (std::size_t done = bytes_; done < all; done *= 2)
            std::memcpy(first + done, first, std::min(done, all - done));
    }

private:
    std::size_t place(int64_t column) const { return static_cast<std::size_t>(column) * bytes_; }

    std::size_t bytes_;
    PixelValue background_;
};

/// A row of the source from column `first` on, with background where it has none.
void cropRow(uint8_t *to, const uint8_t *from, int64_t first, int64_t count, int64_t width,
             const PixelRuns &runs)
{
    const Overlap overlap(first, count, width);
    runs.fill(to, 0, overlap.before);
    runs.copy(to, overlap.before, from, first + overlap.before, overlap.inside);
    const int64_t done = overlap.before + overlap.inside;
    runs.fill(to, done, count - done);
}

/// A row of the source from column `first` on, over and over.
void tileRow(uint8_t *to, const uint8_t *from, int64_t first, int64_t count, int64_t width,
             const PixelRuns &runs)
{
    const int64_t column = wrapped(first, width), ahead = std::min(count, width - column);
    runs.copy(to, 0, from, column, ahead);
    runs.copy(to, ahead, from, 0, std::min(count - ahead, column));
    for (int64_t done = width; done < count; done *= 2)
        runs.copy(to, done, to, 0, std::min(done, count - done));
}

constexpr FrameSteps kWithoutCursor{.waitCursor = false, .arrowCursor = false};
constexpr FrameSteps kUnseen{
    .waitCursor = false, .droppedPoll = false, .arrowCursor = false, .finalReport = false};

/// Where the rows of a bit mask start, whatever its palette.
constexpr std::size_t kMaskPixelOffset = 48;

/// A bit mask in a locked block; nothing for any other image and for one that its block is too small for.
std::optional<Dib> maskIn(const LockedDib &locked)
{
    if (!locked || locked->bitCount() != 1)
        return std::nullopt;
    const auto layout = DibLayout::make(locked->width(), locked->height(), 1, kMaskPixelOffset);
    return layout ? Dib::withLayout(locked->block(), locked->blockBytes(), *layout) : std::nullopt;
}

/// What of a row of the mask meets the image.
struct MaskedRun {
    const uint8_t *from; ///< the image's row
    int64_t fromColumn;  ///< that under column 0 of the mask; may lie outside
    const uint8_t *mask; ///< the mask's row
    int64_t begin, end;  ///< columns of the mask over the image
};

template <int bits>
void cutRow(uint8_t *to, const MaskedRun &run, int64_t count, const PixelRuns &runs)
{
    const auto isSet = [&](int64_t x) { return pixelAt<1>(run.mask, static_cast<std::size_t>(x)) != 0; };
    if constexpr (bits < 8) {
        PixelWriter<bits> writer(to);
        for (int64_t x = 0; x < count; ++x) {
            const bool isCut = x >= run.begin && x < run.end && isSet(x);
            writer.put(isCut ? pixelAt<bits>(run.from, static_cast<std::size_t>(run.fromColumn + x)) : 0);
        }
        writer.endRow();
    } else {
        // Runs of equal bits, whole bytes of them at once.
        const auto endOfRun = [&](int64_t x, bool value) {
            const uint8_t whole = value ? 0xFF : 0x00;
            while (x < run.end && isSet(x) == value)
                x += x % 8 == 0 && run.mask[x / 8] == whole ? 8 : 1;
            return std::min(x, run.end);
        };
        runs.fill(to, 0, run.begin);
        for (int64_t x = run.begin; x < run.end;) {
            const bool value = isSet(x);
            const int64_t end = endOfRun(x, value);
            if (value)
                runs.copy(to, x, run.from, run.fromColumn + x, end - x);
            else
                runs.fill(to, x, end - x);
            x = end;
        }
        runs.fill(to, run.end, count - run.end);
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessCrop(void *dib, tagRECT rect, unsigned long backgroundColor)
{
    return ProcessCrop(dib, rect, backgroundColor, 0);
}

void *ProcessCrop(void *dib, tagRECT rect, unsigned long backgroundColor, int wrap)
{
    const int64_t width = int64_t{rect.right} - rect.left, height = int64_t{rect.bottom} - rect.top;
    if (width < 1 || width > INT32_MAX || height < 1 || height > INT32_MAX)
        return nullptr;
    EffectFrame frame(dib, kWithoutCursor);
    if (!servesSamples(frame))
        return nullptr;
    const Dib &source = frame.source();
    const auto plan =
        planOfSize(source, static_cast<int>(width), static_cast<int>(height), Contents::Overwritten);
    if (!plan || !frame.allocate(*plan))
        return nullptr;
    openResized(frame);
    // At 8 bits the low byte itself, red, and no index of the palette: hosts rely on it.
    const PixelRuns runs(samplesPerPixel(source),
                         source.bitCount() == 24 ? pixelOfColor(backgroundColor) : redOf(backgroundColor));
    for (const int y : frame.steps(static_cast<int>(height))) {
        uint8_t *const to = frame.result().row(y);
        const int64_t row = int64_t{rect.top} + y;
        if (wrap != 0)
            tileRow(to, source.row(static_cast<int>(wrapped(row, source.height()))), rect.left, width,
                    source.width(), runs);
        else if (row >= 0 && row < source.height())
            cropRow(to, source.row(static_cast<int>(row)), rect.left, width, source.width(), runs);
        else
            runs.fill(to, 0, width);
        frame.clearPadding(y);
    }
    return frame.finish();
}

// Hosts see nothing of it: neither cursor nor progress nor abort.
void *ProcessCrop(void *dib, void *mask, int x, int y, unsigned long backgroundColor)
{
    const LockedDib lockedMask(mask);
    const auto bitMask = maskIn(lockedMask);
    EffectFrame frame(dib, kUnseen);
    if (!bitMask || !frame.serves({1, 4, 8, 24}))
        return nullptr;
    const Dib &source = frame.source();
    const auto plan = planOfSize(source, bitMask->width(), bitMask->height(), Contents::Overwritten);
    if (!plan || !frame.allocate(*plan))
        return nullptr;
    openResized(frame);
    // Below 24 bits the background is index 0 whatever the colour: hosts rely on it.
    const PixelRuns runs(samplesPerPixel(source),
                         source.bitCount() == 24 ? pixelOfColor(backgroundColor) : 0);
    const Overlap columns(x, bitMask->width(), source.width());
    withDepth(source.bitCount(), [&](auto bits) {
        for (int j = 0; j < bitMask->height(); ++j) {
            const int64_t row = int64_t{y} + j;
            const bool isInside = row >= 0 && row < source.height();
            const MaskedRun run{isInside ? source.row(static_cast<int>(row)) : nullptr, x, bitMask->row(j),
                                isInside ? columns.before : 0,
                                isInside ? columns.before + columns.inside : 0};
            cutRow<bits()>(frame.result().row(j), run, bitMask->width(), runs);
            frame.clearPadding(j);
        }
    });
    return frame.finish();
}
