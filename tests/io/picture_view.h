#pragma once

/// \file
/// Pictures as tests look at them and make them.

#include "io/picture.h"
#include "tests/io/sample_files.h"
#include <cstdint>
#include <functional>
#include <string>
#include <vector>
#include <velmont/dib.h>

namespace velmont::io::testing {

using samples::Bytes;

/// A grid of values, the top line first.
using Lines = std::vector<std::vector<unsigned>>;

/// A copy of a picture's block, looked at line by line from the top.
class PictureView {
public:
    /// Fails the test when the picture is not sound.
    explicit PictureView(const Picture &picture);

    const DibHeader &header() const { return header_; }
    const Bytes &block() const { return block_; }
    /// The palette as 0xRRGGBB.
    std::vector<unsigned> palette() const;
    Lines indices() const;
    /// 0xRRGGBB of each pixel, through the palette where there is one.
    Lines colors() const;
    Lines alpha() const;

private:
    Lines lines(const std::function<unsigned(std::size_t x, std::size_t row)> &value) const;
    unsigned indexAt(std::size_t x, std::size_t row) const;
    std::size_t pixelOffset() const { return 40 + 4 * std::size_t{header_.biClrUsed}; }
    std::size_t stride() const { return header_.biSizeImage / static_cast<uint32_t>(header_.biHeight); }

    Bytes block_;
    Bytes alpha_;
    DibHeader header_{};
};

/// Decodes a file that must be good.
PictureView viewOf(const Bytes &file);
/// The line that decoding ends with; "decoded" when it succeeds.
std::string errorOf(const Bytes &file);
/// The line that an action ends with; empty when it succeeds.
std::string errorOf(const std::function<void()> &action);

/// A picture whose block is these bytes behind a header of the given shape.
Picture makePicture(int width, int height, unsigned bits, const std::vector<unsigned> &palette,
                    const Bytes &rows);
/// A picture whose every byte, palette and alpha included, looks random; padding is 0.
Picture noisePicture(int width, int height, unsigned bits, unsigned colors, bool hasAlpha);
/// 256 colours 0xRRGGBB, black to white.
std::vector<unsigned> grayRamp();

} // namespace velmont::io::testing
