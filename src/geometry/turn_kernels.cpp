#include "geometry/turn_kernels.h"
#include "core/cpu.h"
#include "geometry/pixel_access.h"
#include <algorithm>
#include <array>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace velmont {

namespace {

using To = RowsOf<uint8_t>;
using From = RowsOf<const uint8_t>;

/// A part of the rows that starts at another pixel of 8 bits or more.
template <typename Byte>
RowsOf<Byte> partOf(const RowsOf<Byte> &rows, std::size_t byte, std::size_t y)
{
    return {rows.row(y) + byte, rows.step};
}

void transposeBytesPlain(const To &to, const From &from, std::size_t width, std::size_t height)
{
    for (std::size_t x = 0; x < width; ++x)
        for (std::size_t y = 0; y < height; ++y)
            to.row(x)[y] = from.row(y)[x];
}

#if defined(__SSE2__)

constexpr std::size_t kTile = 16;

/// Sixteen rows of sixteen bytes.
struct Tile {
    __m128i rows[kTile];

    static Tile load(const From &from, std::size_t byte)
    {
        Tile tile;
        for (std::size_t y = 0; y < kTile; ++y)
            tile.rows[y] = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from.row(y) + byte));
        return tile;
    }
    /// Each round brings rows together that are half as far apart as before.
    void transpose()
    {
        for (int round = 0; round < 4; ++round) {
            const Tile before = *this;
            for (std::size_t y = 0; y < kTile / 2; ++y) {
                rows[2 * y] = _mm_unpacklo_epi8(before.rows[y], before.rows[y + kTile / 2]);
                rows[2 * y + 1] = _mm_unpackhi_epi8(before.rows[y], before.rows[y + kTile / 2]);
            }
        }
    }
};

void transposeBytes(const To &to, const From &from, std::size_t width, std::size_t height)
{
    const std::size_t tiledWidth = width / kTile * kTile, tiledHeight = height / kTile * kTile;
    for (std::size_t y = 0; y < tiledHeight; y += kTile)
        for (std::size_t x = 0; x < tiledWidth; x += kTile) {
            Tile tile = Tile::load(partOf(from, 0, y), x);
            tile.transpose();
            for (std::size_t i = 0; i < kTile; ++i)
                _mm_storeu_si128(reinterpret_cast<__m128i *>(to.row(x + i) + y), tile.rows[i]);
        }
    transposeBytesPlain(partOf(to, 0, tiledWidth), partOf(from, tiledWidth, 0), width - tiledWidth, height);
    transposeBytesPlain(partOf(to, tiledHeight, 0), partOf(from, 0, tiledHeight), tiledWidth,
                        height - tiledHeight);
}

#else

constexpr Transposition transposeBytes = transposeBytesPlain;

#endif

/// Copies a pixel of 24 bits and one byte more, which the pixel behind it overwrites.
void copyPixelAndByte(uint8_t *to, const uint8_t *from)
{
    uint32_t bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    std::memcpy(to, &bytes, sizeof bytes);
}

void transposePixelsPlain(const To &to, const From &from, std::size_t width, std::size_t height)
{
    for (std::size_t x = 0; x < width; ++x) {
        uint8_t *const row = to.row(x);
        std::size_t y = 0;
        if (x + 1 < width) // there is a byte behind the pixel to read
            for (; y + 1 < height; ++y)
                copyPixelAndByte(row + 3 * y, from.row(y) + 3 * x);
        for (; y < height; ++y)
            std::memcpy(row + 3 * y, from.row(y) + 3 * x, 3);
    }
}

/// In parts of so many rows that the first cache holds both pictures' lines.
void transposePixels(const To &to, const From &from, std::size_t width, std::size_t height)
{
    constexpr std::size_t kRows = 64;
    for (std::size_t y = 0; y < height; y += kRows)
        transposePixelsPlain(partOf(to, 3 * y, 0), partOf(from, 0, y), width, std::min(kRows, height - y));
}

#if defined(__x86_64__)

/// In tiles, and what they leave at the right and below one by one.
void transposePixelsInTiles(const To &to, const From &from, std::size_t width, std::size_t height)
{
    using namespace kernels;
    const auto tiled = [](std::size_t side, std::size_t tile) {
        return side < kPixelsBehindAvx2 ? 0 : (side - kPixelsBehindAvx2) / tile * tile;
    };
    const std::size_t tiledWidth = tiled(width, kPixelColumnsAvx2),
                      tiledHeight = tiled(height, kPixelRowsAvx2);
    for (std::size_t y = 0; y < tiledHeight; y += kPixelRowsAvx2)
        transposePixelsAvx2(to.first + 3 * y, to.step, from.row(y), from.step,
                            tiledWidth / kPixelColumnsAvx2);
    transposePixelsPlain(partOf(to, 3 * tiledHeight, 0), partOf(from, 0, tiledHeight), tiledWidth,
                         height - tiledHeight);
    transposePixels(partOf(to, 0, tiledWidth), partOf(from, 3 * tiledWidth, 0), width - tiledWidth, height);
}

#endif

Transposition pixelTransposition()
{
#if defined(__x86_64__)
    if (cpuLevel() >= CpuLevel::Avx2)
        return transposePixelsInTiles;
#endif
    return transposePixels;
}

/// Pixel x of up to eight rows in a byte, the first row's highest, for each pixel of a byte.
uint64_t columnsOfBits(const From &from, std::size_t byte, std::size_t first, std::size_t count)
{
    uint64_t bits = 0;
    for (std::size_t y = 0; y < count; ++y)
        bits |= uint64_t{from.row(first + y)[byte]} << (56 - 8 * y);
    // Blocks of 1, 2 and 4 bits change places across the diagonal.
    const auto exchange = [&bits](int distance, uint64_t mask) {
        const uint64_t changed = (bits ^ bits >> distance) & mask;
        bits ^= changed ^ changed << distance;
    };
    exchange(7, 0x00AA00AA00AA00AA);
    exchange(14, 0x0000CCCC0000CCCC);
    exchange(28, 0x00000000F0F0F0F0);
    return bits;
}

void transposeBitsPlain(const To &to, const From &from, std::size_t width, std::size_t height)
{
    for (std::size_t y = 0; y < height; y += 8)
        for (std::size_t x = 0; x < width; x += 8) {
            const uint64_t columns = columnsOfBits(from, x / 8, y, std::min<std::size_t>(8, height - y));
            for (std::size_t i = 0; i < 8 && x + i < width; ++i)
                to.row(x + i)[y / 8] = static_cast<uint8_t>(columns >> (56 - 8 * i));
        }
}

void transposeNibblesPlain(const To &to, const From &from, std::size_t width, std::size_t height)
{
    for (std::size_t y = 0; y < height; y += 2)
        for (std::size_t x = 0; x < width; x += 2) {
            const unsigned upper = from.row(y)[x / 2], lower = y + 1 < height ? from.row(y + 1)[x / 2] : 0;
            to.row(x)[y / 2] = static_cast<uint8_t>((upper & 0xF0) | lower >> 4);
            if (x + 1 < width)
                to.row(x + 1)[y / 2] = static_cast<uint8_t>(upper << 4 | (lower & 0x0F));
        }
}

#if defined(__SSE2__)

/// Stores what a turned byte of sixteen rows holds: a row of the result for each of its bits, highest first.
void storeBits(const To &to, std::size_t byte, __m128i column)
{
    for (std::size_t bit = 0; bit < 8; ++bit) {
        const auto highest = static_cast<uint16_t>(_mm_movemask_epi8(column));
        std::memcpy(to.row(bit) + byte, &highest, sizeof highest);
        column = _mm_add_epi8(column, column);
    }
}

/// The same for its two nibbles: words have an upper row's byte low and the next row's high.
void storeNibbles(const To &to, std::size_t byte, __m128i column)
{
    const __m128i low = _mm_set1_epi16(0x0F), high = _mm_set1_epi16(0xF0);
    const __m128i first = _mm_or_si128(_mm_and_si128(column, high), _mm_srli_epi16(column, 12));
    const __m128i second = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(column, low), 4),
                                        _mm_and_si128(_mm_srli_epi16(column, 8), low));
    const __m128i both = _mm_packus_epi16(first, second);
    _mm_storel_epi64(reinterpret_cast<__m128i *>(to.row(0) + byte), both);
    _mm_storel_epi64(reinterpret_cast<__m128i *>(to.row(1) + byte), _mm_srli_si128(both, 8));
}

/// Packed pixels in tiles; plain() takes what they leave at the right and below.
template <int bits>
void transposePacked(const To &to, const From &from, std::size_t width, std::size_t height,
                     Transposition plain)
{
    constexpr std::size_t kPixels = 8 / bits, kTileWidth = kTile * kPixels;
    const std::size_t tiledWidth = width / kTileWidth * kTileWidth, tiledHeight = height / kTile * kTile;
    for (std::size_t y = 0; y < tiledHeight; y += kTile)
        for (std::size_t x = 0; x < tiledWidth; x += kTileWidth) {
            Tile tile = Tile::load(partOf(from, 0, y), x / kPixels);
            if constexpr (bits == 1) { // masks have the first row's bit lowest, pixels highest
                std::reverse(tile.rows, tile.rows + 8);
                std::reverse(tile.rows + 8, tile.rows + 16);
            }
            tile.transpose();
            for (std::size_t i = 0; i < kTile; ++i) {
                const To rows = partOf(to, 0, x + i * kPixels);
                if constexpr (bits == 1)
                    storeBits(rows, y / kPixels, tile.rows[i]);
                else
                    storeNibbles(rows, y / kPixels, tile.rows[i]);
            }
        }
    plain(partOf(to, 0, tiledWidth), partOf(from, tiledWidth / kPixels, 0), width - tiledWidth, height);
    plain(partOf(to, tiledHeight / kPixels, 0), partOf(from, 0, tiledHeight), tiledWidth,
          height - tiledHeight);
}

void transposeBits(const To &to, const From &from, std::size_t width, std::size_t height)
{
    transposePacked<1>(to, from, width, height, transposeBitsPlain);
}

void transposeNibbles(const To &to, const From &from, std::size_t width, std::size_t height)
{
    transposePacked<4>(to, from, width, height, transposeNibblesPlain);
}

#else

constexpr Transposition transposeBits = transposeBitsPlain, transposeNibbles = transposeNibblesPlain;

#endif

void mirrorBytes(uint8_t *__restrict to, const uint8_t *__restrict from, std::size_t width)
{
    for (std::size_t x = 0; x < width; ++x)
        to[x] = from[width - 1 - x];
}

void mirrorPixels(uint8_t *to, const uint8_t *from, std::size_t width)
{
    std::memcpy(to, from + 3 * (width - 1), 3);
    for (std::size_t x = 1; x + 1 < width; ++x)
        copyPixelAndByte(to + 3 * x, from + 3 * (width - 1 - x));
    if (width > 1)
        std::memcpy(to + 3 * (width - 1), from, 3);
}

/// A byte with its pixels in the reverse order.
template <int bits>
constexpr std::array<uint8_t, 256> kMirroredBytes = [] {
    std::array<uint8_t, 256> mirrored{};
    constexpr unsigned kMask = (1u << bits) - 1;
    for (unsigned byte = 0; byte < 256; ++byte)
        for (int shift = 0; shift < 8; shift += bits)
            mirrored[byte] =
                static_cast<uint8_t>(mirrored[byte] | (byte >> shift & kMask) << (8 - bits - shift));
    return mirrored;
}();

/// The bytes in the reverse order, and then all moved to the left over the spare bits, which come first.
template <int bits>
void mirrorPacked(uint8_t *to, const uint8_t *from, std::size_t width)
{
    const std::size_t bytes = (width * bits + 7) / 8;
    const auto spareBits = static_cast<int>(8 * bytes - width * bits);
    unsigned next = kMirroredBytes<bits>[from[bytes - 1]];
    for (std::size_t i = 0; i < bytes; ++i) {
        const unsigned byte = next;
        next = i + 1 < bytes ? kMirroredBytes<bits>[from[bytes - 2 - i]] : 0;
        to[i] = static_cast<uint8_t>((byte << 8 | next) << spareBits >> 8);
    }
}

} // namespace

TurnKernels turnKernels(int bitCount)
{
    switch (bitCount) {
    case 1:
        return {transposeBits, mirrorPacked<1>};
    case 4:
        return {transposeNibbles, mirrorPacked<4>};
    case 8:
        return {transposeBytes, mirrorBytes};
    default:
        return {pixelTransposition(), mirrorPixels};
    }
}

} // namespace velmont
