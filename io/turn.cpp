#include "io/turn.h"
#include "io/dib_lock.h"
#include "io/dib_target.h"
#include "io/pixels.h"
#include <algorithm>
#include <cstring>
#include <utility>

namespace velmont::io {

namespace {

/// A side of the squares in which pixels are moved: the rows of one stay in the cache while columns are read.
constexpr int kBlock = 64;

/// Where a pixel of the upright picture comes from.
struct Turn {
    bool isTransposed; ///< columns become lines
    bool mirrorsX;     ///< the source is read from its right to its left
    bool mirrorsY;     ///< and from its bottom to its top
};

constexpr Turn turnOf(unsigned orientation)
{
    constexpr Turn kTurns[] = {{false, false, false}, {false, true, false}, {false, true, true},
                               {false, false, true},  {true, false, false}, {true, false, true},
                               {true, true, true},    {true, true, false}};
    return kTurns[orientation - 1];
}

/// Lines of pixels from the top one on, with the bytes from one line to the next (less than 0 in a Dib).
template <typename Byte>
struct Lines {
    Byte *top;
    std::ptrdiff_t step;

    Byte *line(int y) const { return top + step * y; }
};

template <typename Byte>
Lines<Byte> bottomUp(Byte *bottom, std::size_t stride, int height)
{
    return {bottom + stride * static_cast<std::size_t>(height - 1), -static_cast<std::ptrdiff_t>(stride)};
}

/// The places of the source over which the upright picture runs.
struct Walk {
    Turn turn;
    int sourceWidth, sourceHeight;

    int width() const { return turn.isTransposed ? sourceHeight : sourceWidth; }
    int height() const { return turn.isTransposed ? sourceWidth : sourceHeight; }
    int sourceX(int x, int y) const
    {
        const int along = turn.isTransposed ? y : x;
        return turn.mirrorsX ? sourceWidth - 1 - along : along;
    }
    int sourceY(int x, int y) const
    {
        const int along = turn.isTransposed ? x : y;
        return turn.mirrorsY ? sourceHeight - 1 - along : along;
    }
};

/// Pixels of whole bytes.
template <std::size_t Bytes>
void moveBytes(const Walk &walk, const Lines<const uint8_t> &source, const Lines<uint8_t> &target)
{
    const auto placeOf = [&](int x, int y) {
        return source.line(walk.sourceY(x, y)) + static_cast<std::ptrdiff_t>(Bytes) * walk.sourceX(x, y);
    };
    const std::ptrdiff_t step = walk.width() > 1 ? placeOf(1, 0) - placeOf(0, 0) : 0;
    for (int top = 0; top < walk.height(); top += kBlock) {
        for (int left = 0; left < walk.width(); left += kBlock) {
            const int right = std::min(left + kBlock, walk.width());
            for (int y = top; y < std::min(top + kBlock, walk.height()); ++y) {
                const uint8_t *from = placeOf(left, y);
                uint8_t *to = target.line(y) + Bytes * static_cast<std::size_t>(left);
                for (int x = left; x < right; ++x, to += Bytes) {
                    std::memcpy(to, from, Bytes);
                    from += x + 1 < right ? step : 0;
                }
            }
        }
    }
}

/// Pixels of 1 or 4 bits, into zero bytes.
void moveBits(const Walk &walk, unsigned bits, const Lines<const uint8_t> &source,
              const Lines<uint8_t> &target)
{
    const int perByte = static_cast<int>(8 / bits);
    const unsigned mask = (1u << bits) - 1;
    const auto shiftOf = [&](int x) { return 8 - bits - bits * static_cast<unsigned>(x % perByte); };
    for (int y = 0; y < walk.height(); ++y) {
        uint8_t *const line = target.line(y);
        for (int x = 0; x < walk.width(); ++x) {
            const int sourceX = walk.sourceX(x, y);
            const unsigned index =
                source.line(walk.sourceY(x, y))[sourceX / perByte] >> shiftOf(sourceX) & mask;
            line[x / perByte] = static_cast<uint8_t>(line[x / perByte] | index << shiftOf(x));
        }
    }
}

DibShape shapeOf(const uint8_t *block, const DibHeader &header, const Turn &turn)
{
    DibShape shape;
    shape.width = header.biWidth;
    shape.height = header.biHeight;
    shape.bits = header.biBitCount;
    shape.xPelsPerMeter = header.biXPelsPerMeter;
    shape.yPelsPerMeter = header.biYPelsPerMeter;
    if (turn.isTransposed) {
        std::swap(shape.width, shape.height);
        std::swap(shape.xPelsPerMeter, shape.yPelsPerMeter);
    }
    shape.palette.resize(header.biClrUsed);
    if (!shape.palette.empty())
        std::memcpy(shape.palette.data(), block + sizeof header, sizeof(DibColor) * shape.palette.size());
    return shape;
}

DibHandle turned(const DibHandle &dib, const Turn &turn)
{
    const DibLock lock(dib.get());
    DibHeader header;
    std::memcpy(&header, lock.bytes(), sizeof header);
    DibTarget target(shapeOf(lock.bytes(), header, turn));
    const uint8_t *const rows = lock.bytes() + sizeof header + sizeof(DibColor) * header.biClrUsed;
    const unsigned bits = header.biBitCount;
    const auto stride = static_cast<std::size_t>(strideOf(static_cast<uint64_t>(header.biWidth), bits));
    const auto targetStride = static_cast<std::size_t>(strideOf(static_cast<uint64_t>(target.width()), bits));
    const Lines<const uint8_t> from = bottomUp(rows, stride, header.biHeight);
    const Lines<uint8_t> to = bottomUp(target.row(0), targetStride, target.height());
    const Walk walk{turn, header.biWidth, header.biHeight};
    if (bits < 8)
        moveBits(walk, bits, from, to);
    else if (bits == 8)
        moveBytes<1>(walk, from, to);
    else
        moveBytes<3>(walk, from, to);
    return target.finish();
}

std::vector<uint8_t> turnedAlpha(const std::vector<uint8_t> &alpha, const Walk &walk)
{
    std::vector<uint8_t> result(alpha.size());
    moveBytes<1>(walk, bottomUp(alpha.data(), static_cast<std::size_t>(walk.sourceWidth), walk.sourceHeight),
                 bottomUp(result.data(), static_cast<std::size_t>(walk.width()), walk.height()));
    return result;
}

} // namespace

void turnUpright(Picture &picture, unsigned orientation)
{
    if (orientation < 2 || orientation > 8)
        return;
    const Turn turn = turnOf(orientation);
    DibHandle upright = turned(picture.dib, turn);
    if (!picture.alpha.empty()) {
        const DibLock lock(picture.dib.get());
        DibHeader header;
        std::memcpy(&header, lock.bytes(), sizeof header);
        picture.alpha = turnedAlpha(picture.alpha, {turn, header.biWidth, header.biHeight});
    }
    picture.dib = std::move(upright);
}

} // namespace velmont::io
