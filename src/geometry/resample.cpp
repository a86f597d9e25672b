#include "core/scratch_block.h"
#include "geometry/bilinear_kernels.h"
#include "geometry/pixel_access.h"
#include "geometry/resized_frame.h"
#include <algorithm>
#include <cstring>
#include <velmont/geometry.h>

namespace velmont {

namespace {

constexpr FrameSteps kNoCursors{.waitCursor = false, .arrowCursor = false};

bool isSampled(const Dib &source)
{
    return source.bitCount() == 24 || source.isGray();
}

/// A side of a picture and the part of it that a side of the result shows.
struct Side {
    int size; ///< of the source
    int start, length;
    int newSize;
    /// Whether positions beyond the source are held to its last pixel; else they are outside.
    bool isHeld;
};

/// Positions grow by the ratio from pixel to pixel: hosts rely on the sums, rounding included, where products would be
/// nearer.
template <typename Use>
void forPositions(const Side &side, Use use)
{
    const double ratio = static_cast<double>(side.length) / side.newSize;
    double position = side.start;
    for (int i = 0; i < side.newSize; ++i, position += ratio)
        use(static_cast<std::size_t>(i), position);
}

void nearestPlaces(int32_t *places, const Side &side)
{
    const int last = side.size - 1;
    forPositions(side, [&](std::size_t i, double position) {
        places[i] = position + 0.5 < side.size ? static_cast<int32_t>(position + 0.5) : last;
    });
}

/// Pixels of the result that show the source, from `first` to before `end`.
struct Shown {
    int first = 0, end = 0;
};

/// Left or upper neighbours and the weights of both.
Shown bilinearPlaces(int32_t *places, uint32_t *weights, const Side &side)
{
    Shown shown{side.newSize, 0};
    const int last = side.size - 1;
    forPositions(side, [&](std::size_t i, double position) {
        places[i] = last;
        weights[i] = pairOfWeights(8);
        const bool isInside = position > -1 && position < side.size;
        // Between -1 and 0 the place is cut to 0, with a weight of up to 16: hosts rely on that fringe.
        if (isInside && static_cast<int32_t>(position) < last) {
            places[i] = static_cast<int32_t>(position);
            weights[i] = pairOfWeights(static_cast<uint32_t>((places[i] + 1 - position) * 8 + 0.5));
        }
        if (isInside || side.isHeld) {
            shown.first = std::min(shown.first, static_cast<int>(i));
            shown.end = static_cast<int>(i) + 1;
        }
    });
    return shown;
}

/// The working memory of one call: tables for both sides, and a row of sums where pixels are blended.
class Tables {
public:
    Tables(const Side &columns, const Side &rows, std::size_t sums)
        : columns_(static_cast<std::size_t>(columns.newSize)), rows_(static_cast<std::size_t>(rows.newSize)),
          block_(bytesFor(columns, rows, sums))
    {
        if (block_.bytes())
            std::memset(this->sums(), 0, sums * sizeof(uint16_t));
    }
    explicit operator bool() const { return block_.bytes() != nullptr; }
    static uint64_t bytesFor(const Side &columns, const Side &rows, std::size_t sums)
    {
        return 2 * sizeof(uint32_t) * (uint64_t(columns.newSize) + uint64_t(rows.newSize)) +
               uint64_t{sums} * sizeof(uint16_t);
    }

    int32_t *columns() const { return reinterpret_cast<int32_t *>(block_.bytes()); }
    int32_t *rows() const { return columns() + columns_; }
    uint32_t *columnWeights() const { return reinterpret_cast<uint32_t *>(rows() + rows_); }
    uint32_t *rowWeights() const { return columnWeights() + columns_; }
    uint16_t *sums() const { return reinterpret_cast<uint16_t *>(rowWeights() + rows_); }

private:
    std::size_t columns_, rows_;
    ScratchBlock block_;
};

void blendPixels(EffectFrame &frame, const Tables &tables, const Side &columnSide, const Side &rowSide)
{
    const Dib &source = frame.source();
    const BilinearKernels kernels = bilinearKernels(source.bitCount());
    const std::size_t channels = static_cast<std::size_t>(source.bitCount()) / 8;
    const std::size_t samples = channels * static_cast<std::size_t>(source.width());
    const Shown columns = bilinearPlaces(tables.columns(), tables.columnWeights(), columnSide);
    const Shown rows = bilinearPlaces(tables.rows(), tables.rowWeights(), rowSide);
    const auto first = static_cast<std::size_t>(columns.first);
    for (const int y : frame.steps(rowSide.newSize)) {
        if (y < rows.first || y >= rows.end || columns.first >= columns.end)
            continue;
        const int row = tables.rows()[y];
        const uint32_t weights = tables.rowWeights()[y];
        const bool needsNext = weights != pairOfWeights(8); // there is none behind the last row
        kernels.rows(tables.sums(), source.row(row), source.row(needsNext ? row + 1 : row), samples, weights);
        kernels.columns(frame.result().row(y) + first * channels, tables.sums(), tables.columns() + first,
                        tables.columnWeights() + first,
                        static_cast<std::size_t>(columns.end - columns.first));
        frame.clearPadding(y);
    }
}

template <int bits>
void copyNearest(EffectFrame &frame, const Tables &tables)
{
    const Dib &result = frame.result();
    for (const int y : frame.steps(result.height())) {
        uint8_t *const to = result.row(y);
        frame.clearPadding(y);
        if (y > 0 && tables.rows()[y] == tables.rows()[y - 1]) {
            std::memcpy(to, result.row(y - 1), (static_cast<std::size_t>(result.width()) * bits + 7) / 8);
            continue;
        }
        const uint8_t *const from = frame.source().row(tables.rows()[y]);
        PixelWriter<bits> writer(to);
        for (int x = 0; x < result.width(); ++x)
            writer.put(pixelAt<bits>(from, static_cast<std::size_t>(tables.columns()[x])));
        writer.endRow();
    }
}

/// Bits are not blended, and only set ones are written.
void copyBits(EffectFrame &frame, const Tables &tables, const Side &columnSide, const Side &rowSide)
{
    const Shown columns = bilinearPlaces(tables.columns(), tables.columnWeights(), columnSide);
    const Shown rows = bilinearPlaces(tables.rows(), tables.rowWeights(), rowSide);
    for (const int y : frame.steps(rowSide.newSize)) {
        if (y < rows.first || y >= rows.end)
            continue;
        const uint8_t *const from = frame.source().row(tables.rows()[y]);
        uint8_t *const to = frame.result().row(y);
        for (int x = columns.first; x < columns.end; ++x) {
            const PixelValue bit = pixelAt<1>(from, static_cast<std::size_t>(tables.columns()[x]));
            to[x / 8] = static_cast<uint8_t>(to[x / 8] | bit << (7 - x % 8));
        }
    }
}

/// The result's plan; hosts cannot hold blocks beyond 31 bits.
std::optional<ResultPlan> planResampled(const Dib &source, int newWidth, int newHeight, Contents contents)
{
    const auto plan = planOfSize(source, newWidth, newHeight, contents);
    return plan && plan->layout.totalBytes() <= INT32_MAX ? plan : std::nullopt;
}

/// Starts the work: result and tables. On failure there is neither.
bool begin(EffectFrame &frame, const ResultPlan &plan, std::optional<Tables> &tables, const Side &columns,
           const Side &rows)
{
    const std::size_t sums = isSampled(frame.source()) ? frame.source().stride() + kSumsBehind : 0;
    // Tables beyond 31 bits are refused like results: sizes of billions of bits end there.
    if (Tables::bytesFor(columns, rows, sums) > INT32_MAX || !frame.allocate(plan))
        return false;
    tables.emplace(columns, rows, sums);
    if (!*tables) {
        frame.giveUp();
        return false;
    }
    openResized(frame);
    return true;
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessResample(void *dib, int newWidth, int newHeight, int resolution)
{
    if (newWidth < 1 || newHeight < 1)
        return nullptr;
    EffectFrame frame(dib, kNoCursors);
    if (!frame.serves({1, 4, 8, 24}))
        return nullptr;
    const Dib &source = frame.source();
    const auto plan = planResampled(source, newWidth, newHeight, Contents::Overwritten);
    const Side columns{source.width(), 0, source.width(), newWidth, true};
    const Side rows{source.height(), 0, source.height(), newHeight, true};
    std::optional<Tables> tables;
    if (!plan || !begin(frame, *plan, tables, columns, rows))
        return nullptr;
    DibHeader header = frame.result().header();
    header.biXPelsPerMeter = header.biYPelsPerMeter = resolution;
    frame.result().setHeader(header);
    if (isSampled(source)) {
        blendPixels(frame, *tables, columns, rows);
    } else {
        nearestPlaces(tables->columns(), columns);
        nearestPlaces(tables->rows(), rows);
        withDepth(source.bitCount(), [&](auto bits) { copyNearest<bits>(frame, *tables); });
    }
    tables.reset();
    return frame.finish();
}

void *ProcessPartialResample(void *dib, int srcX, int srcY, int srcWidth, int srcHeight, int newWidth,
                             int newHeight)
{
    if (newWidth < 1 || newHeight < 1 || srcWidth < 1 || srcHeight < 1)
        return nullptr;
    EffectFrame frame(dib, kNoCursors);
    if (!frame.serves({1, 8, 24}))
        return nullptr;
    const Dib &source = frame.source();
    const auto plan = planResampled(source, newWidth, newHeight, Contents::ZeroFilled);
    if (!plan)
        return nullptr;
    if (source.bitCount() == 8 && !source.isGray()) {
        // Hosts rely on a blank picture here, where ProcessResample gives the nearest pixels.
        if (!frame.allocate(*plan))
            return nullptr;
        openResized(frame);
        return frame.finish();
    }
    const Side columns{source.width(), srcX, srcWidth, newWidth, false};
    const Side rows{source.height(), srcY, srcHeight, newHeight, false};
    std::optional<Tables> tables;
    if (!begin(frame, *plan, tables, columns, rows))
        return nullptr;
    if (source.bitCount() == 1)
        copyBits(frame, *tables, columns, rows);
    else
        blendPixels(frame, *tables, columns, rows);
    tables.reset();
    return frame.finish();
}
