#include "geometry/ellipse_warp.h"
#include <algorithm>
#include <cstring>

namespace velmont {

namespace {

int32_t wrappedSquare(int32_t value)
{
    const auto bits = static_cast<uint32_t>(value);
    return static_cast<int32_t>(bits * bits);
}

/// The pixels of a run, each from its own place.
void copyPixels(uint8_t *to, const uint8_t *image, const uint32_t *places, int count, uint32_t pixelBytes)
{
    if (pixelBytes == 1)
        for (int i = 0; i < count; ++i)
            to[i] = image[places[i]];
    else
        for (int i = 0; i < count; ++i)
            std::memcpy(to + 3 * static_cast<std::ptrdiff_t>(i), image + places[i], 3);
}

} // namespace

EllipseIndex EllipseIndex::make(int width, int height)
{
    int32_t across = wrappedSquare(1 - width), downward = wrappedSquare(1 - height);
    auto sum = static_cast<int32_t>(static_cast<uint32_t>(across) + static_cast<uint32_t>(downward));
    int bits = 0;
    for (; sum != 0 && bits < 31; ++bits)
        sum >>= 1;
    const int shift = std::min(9, 31 - bits);
    across >>= 9 - shift;
    downward >>= 9 - shift;
    return {shift, std::max(across, 1), std::max(downward, 1)};
}

int32_t EllipseIndex::part(int32_t fromCentre, int shift, int32_t divisor)
{
    return static_cast<int32_t>(static_cast<uint32_t>(wrappedSquare(fromCentre)) << shift) / divisor;
}

int32_t EllipseIndex::ofColumn(int x, int width) const
{
    return part(fromCentre(x, width), shift, acrossDivisor);
}

int32_t EllipseIndex::ofRow(int y, int height) const
{
    return part(fromCentre(y, height), shift, downwardDivisor);
}

EllipseWarp::EllipseWarp(const Dib &source)
    : source_(source), index_(EllipseIndex::make(source.width(), source.height())),
      columns_(static_cast<uint64_t>(source.width()) * sizeof(int32_t))
{
    if (!*this)
        return;
    auto *const parts = reinterpret_cast<int32_t *>(columns_.bytes());
    for (int x = 0; x < source.width(); ++x)
        parts[x] = index_.ofColumn(x, source.width());
}

template <typename Table>
void EllipseWarp::warpRow(uint8_t *to, int y, const Table &table,
                          void (*findPlaces)(uint32_t *, const EllipseRow &, int, int, const Table &)) const
{
    constexpr int kRun = 512;
    uint32_t places[kRun];
    const EllipseRow row{.columnParts = reinterpret_cast<const int32_t *>(columns_.bytes()),
                         .rowPart = index_.ofRow(y, source_.height()),
                         .y = y,
                         .width = source_.width(),
                         .height = source_.height(),
                         .stride = static_cast<uint32_t>(source_.stride()),
                         .pixelBytes = source_.bitCount() == 24 ? 3u : 1u};
    for (int first = 0; first < row.width; first += kRun) {
        const int count = std::min(kRun, row.width - first);
        findPlaces(places, row, first, count, table);
        copyPixels(to + static_cast<std::size_t>(first) * row.pixelBytes, source_.row(0), places, count,
                   row.pixelBytes);
    }
}

void EllipseWarp::row(uint8_t *to, int y, const RadialWarp &table) const
{
    warpRow(to, y, table, kernels_.radial);
}

void EllipseWarp::row(uint8_t *to, int y, const AngularWarp &table) const
{
    warpRow(to, y, table, kernels_.angular);
}

} // namespace velmont
