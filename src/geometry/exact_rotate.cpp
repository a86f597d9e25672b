#include "geometry/resized_frame.h"
#include "geometry/turn_kernels.h"
#include <algorithm>
#include <velmont/geometry.h>

namespace velmont {

namespace {

/// Rows of the result that are made together, so that whole cache lines of the source are used.
int bandRows(int bitCount)
{
    // Measured: pixels of 24 bits want long runs of the source, and take few lines of the result for them.
    return bitCount == 24 ? 512 : std::max(128, 512 / bitCount);
}

bool isOwnDepth(int bitCount)
{
    return bitCount == 1 || bitCount == 4 || bitCount == 8 || bitCount == 24;
}

/// The result's plan. Hosts rely on other depths than the effect's own being sized like 1 bit.
std::optional<ResultPlan> planTurned(const Dib &source, bool isQuarter)
{
    const int width = isQuarter ? source.height() : source.width();
    const int height = isQuarter ? source.width() : source.height();
    if (isOwnDepth(source.bitCount()))
        return planOfSize(source, width, height, Contents::Overwritten);
    // Above 8 bits the palette is none of the layout's, but it is copied all the same.
    const uint64_t rows = kHeaderBytes + uint64_t{source.header().biClrUsed} * kColorBytes;
    if (rows + source.layout().pixelBytes() > source.blockBytes())
        return std::nullopt;
    const auto layout = DibLayout::make(width, height, 1, rows);
    return layout ? std::optional(ResultPlan{*layout}) : std::nullopt;
}

void turnByHalf(EffectFrame &frame, MirroredRow mirror)
{
    const Dib &source = frame.source();
    for (const int y : frame.rows()) {
        mirror(frame.result().row(y), source.row(source.height() - 1 - y),
               static_cast<std::size_t>(source.width()));
        frame.clearPadding(y);
    }
}

/// The columns of the source from `first` to `last`, turned into rows of the result.
void turnColumns(EffectFrame &frame, int angle, Transposition transpose, int first, int last)
{
    const Dib &source = frame.source();
    const Dib &result = frame.result();
    const auto step = static_cast<std::ptrdiff_t>(source.stride());
    const auto resultStep = static_cast<std::ptrdiff_t>(result.stride());
    const std::size_t byte = static_cast<std::size_t>(first) * static_cast<unsigned>(source.bitCount()) / 8;
    const auto columns = static_cast<std::size_t>(last - first + 1);
    const auto rows = static_cast<std::size_t>(source.height());
    if (angle == 90)
        transpose({result.row(result.height() - 1 - first), -resultStep}, {source.row(0) + byte, step},
                  columns, rows);
    else
        transpose({result.row(first), resultStep}, {source.row(source.height() - 1) + byte, -step}, columns,
                  rows);
    for (int x = first; x <= last; ++x)
        frame.clearPadding(angle == 90 ? result.height() - 1 - x : x);
}

/// A band is made at its first row's poll; what an abort leaves unmade is never seen.
void turnByQuarter(EffectFrame &frame, int angle, Transposition transpose)
{
    const int columns = frame.source().width(), band = bandRows(frame.source().bitCount());
    int end = 0; // of the rows made
    for (const int y : frame.steps(columns)) {
        if (y < end)
            continue;
        // Bands start with multiples of their size in the source, which goes backward at 90 degrees.
        const int column = angle == 90 ? columns - 1 - y : y;
        const int first = column / band * band, last = std::min(first + band, columns) - 1;
        turnColumns(frame, angle, transpose, first, last);
        end = y + last - first + 1;
    }
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessExactRotate(void *dib, int angle, tagRECT *rect)
{
    if (angle != 90 && angle != 180 && angle != 270)
        return nullptr;
    EffectFrame frame(dib, {.waitCursor = false, .arrowCursor = false});
    if (!frame.hasSource())
        return nullptr;
    const Dib &source = frame.source();
    const auto plan = planTurned(source, angle != 180);
    if (!plan)
        return nullptr;
    if (rect)
        *rect = {0, 0, plan->layout.width, plan->layout.height};
    if (!frame.allocate(*plan))
        return nullptr;
    openResized(frame);
    if (!isOwnDepth(source.bitCount()))
        return frame.finish(); // pixels of zero: hosts rely on an answer
    const TurnKernels kernels = turnKernels(source.bitCount());
    if (angle == 180)
        turnByHalf(frame, kernels.mirror);
    else
        turnByQuarter(frame, angle, kernels.transpose);
    return frame.finish();
}

void *ProcessExactRotate(void *dib, int angle)
{
    return ProcessExactRotate(dib, angle, nullptr);
}
