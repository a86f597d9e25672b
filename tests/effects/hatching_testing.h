#pragma once

/// \file
/// What the tests of strokes and cells share: a picture worked on pixel by pixel, by the rules of the accessors, and
/// random numbers that are counted.

#include "core/generator.h"
#include "tests/effects/warp_testing.h"
#include <cstddef>
#include <gtest/gtest.h>
#include <optional>

namespace velmont::testing {

/// A source and a result of its shape, all pixels 0 at first, in colours 0x00BBGGRR.
class Canvas {
public:
    explicit Canvas(const Pieces &source)
        : source_(source), result_(source), isGray_(isGrayPalette(source.palette))
    {
        result_.rows.assign(source.rows.size(), 0);
    }

    int width() const { return source_.header.biWidth; }
    int height() const { return source_.header.biHeight; }
    bool isColor() const { return bits() == 24; }
    bool has(int x, int y) const { return x >= 0 && x < width() && y >= 0 && y < height(); }
    Bytes bytes() const { return result_.bytes(); }

    uint32_t source(int x, int y) const { return get(source_, x, y, isGray_); }
    /// What a result of 256 colours shows are its bytes: its view was made before the palette was there.
    uint32_t result(int x, int y) const { return get(result_, x, y, showsBytes()); }
    void paint(int x, int y, uint32_t color)
    {
        uint8_t *const to = &result_.rows[placeOf(x, y)];
        if (isColor() && source_.header.biClrUsed == 0) {
            to[0] = static_cast<uint8_t>(color >> 16);
            to[1] = static_cast<uint8_t>(color >> 8);
            to[2] = static_cast<uint8_t>(color);
        }
        if (bits() != 8)
            return;
        const auto red = static_cast<uint8_t>(color);
        if (showsBytes())
            *to = red;
        else if (const auto index = firstWithRed(red))
            *to = *index;
    }

private:
    int bits() const { return source_.header.biBitCount; }
    bool showsBytes() const { return source_.header.biClrUsed == 256; }
    std::size_t placeOf(int x, int y) const
    {
        return strideFor(width(), bits()) * static_cast<std::size_t>(y) +
               static_cast<std::size_t>(x * bits() / 8);
    }
    static bool isGrayPalette(const Bytes &palette)
    {
        bool isGray = palette.size() == 1024;
        for (std::size_t i = 4; isGray && i < 1024; i += 4)
            isGray = palette[i] == palette[i + 1] && palette[i + 1] == palette[i + 2];
        return isGray;
    }
    std::optional<uint8_t> firstWithRed(uint8_t red) const
    {
        for (std::size_t i = 0; i < source_.palette.size() / 4; ++i)
            if (source_.palette[4 * i + 2] == red)
                return static_cast<uint8_t>(i);
        return std::nullopt;
    }
    uint32_t get(const Pieces &image, int x, int y, bool isGray) const
    {
        const uint8_t *const from = &image.rows[placeOf(x, y)];
        if (isColor())
            return uint32_t{from[0]} << 16 | uint32_t{from[1]} << 8 | from[2];
        if (bits() != 8)
            return 0;
        if (isGray)
            return 0x010101u * *from;
        const std::size_t entry = std::size_t{4} * *from;
        // Behind the palette lie the rows.
        const auto byteAt = [&](std::size_t i) {
            return i < image.palette.size()                       ? image.palette[i]
                   : i - image.palette.size() < image.rows.size() ? image.rows[i - image.palette.size()]
                                                                  : uint8_t{0};
        };
        return uint32_t{byteAt(entry)} << 16 | uint32_t{byteAt(entry + 1)} << 8 | byteAt(entry + 2);
    }

    Pieces source_, result_;
    bool isGray_;
};

inline int channelOf(uint32_t color, int channel)
{
    return static_cast<int>(color >> 8 * channel & 0xFF);
}

/// A level jittered through a swing, by a factor of single precision, reckoned in double.
inline int jittered(int level, int number, int swing)
{
    const float factor = 3.0518509e-05f;
    const double product = static_cast<double>(number) * static_cast<double>(factor) * swing;
    const int cut = static_cast<int>(product + level - swing / 2);
    return cut < 0 ? 0 : cut > 255 ? 255 : cut;
}

/// 24 bits; gray; 256 colours; and colours so few that some reds are missing, with pixels that have one.
inline std::vector<Pieces> paintable(int width, int height, uint32_t seed = 1)
{
    Pieces few = paletted(width, height, 8, 40, seed);
    for (uint8_t &index : few.rows)
        index %= 40;
    return {trueColor(width, height, seed), gray(width, height, seed), paletted(width, height, 8, 256, seed),
            few};
}

/// A 24-bit image that says it has colours, in which nothing can be stored.
inline Pieces trueColorWithCount(int width, int height)
{
    Pieces image = trueColor(width, height);
    image.header.biClrUsed = 3;
    return image;
}

inline Pieces blank(Pieces image)
{
    image.rows.assign(image.rows.size(), 0);
    return image;
}

/// The number after those that a run from this state drew.
inline int nextAfter(const Pieces &source, const Effect &effect, uint32_t state)
{
    srand(state);
    resultOf(source, effect);
    return rand();
}

} // namespace velmont::testing
