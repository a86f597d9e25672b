#pragma once

/// \file
/// Image files put together byte by byte, for the tests and as seeds of the fuzzer. Only the JPEG files and the
/// images in WebP files come from a library.

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmont::io::samples {

using Bytes = std::vector<uint8_t>;

/// A list of bytes that grows by numbers in either order.
class ByteList {
public:
    ByteList &byte(unsigned value);
    ByteList &little16(uint32_t value);
    ByteList &little32(uint32_t value);
    ByteList &big32(uint32_t value);
    ByteList &text(std::string_view text);
    /// In either order.
    ByteList &number16(uint32_t value, bool isBig);
    ByteList &number32(uint32_t value, bool isBig);
    ByteList &append(const Bytes &bytes);
    const Bytes &bytes() const { return bytes_; }

private:
    Bytes bytes_;
};

/// What the information header of a BMP file says.
struct BmpRecipe {
    int32_t width = 1;
    int32_t height = 1;
    uint32_t bits = 24;
    uint32_t compression = 0;
    uint32_t colorsUsed = 0;
    uint32_t headerBytes = 40; ///< 12 for the kind with 16-bit sizes; fields behind byte 40 are 0
    uint32_t resolution = 0;
    Bytes masks{};   ///< behind byte 40: inside the header or after it, as the header's length will have it
    Bytes palette{}; ///< behind the header
    Bytes pixels{};
};
Bytes bmpFile(const BmpRecipe &recipe);

/// A chunk of a PNG file: its name and what is in it.
using PngChunk = std::pair<std::string, Bytes>;

/// A PNG file whose samples are given one by one, row after row, channels of a pixel together.
struct PngRecipe {
    uint32_t width = 1;
    uint32_t height = 1;
    unsigned depth = 8;
    unsigned colorType = 0; ///< 0 gray, 2 RGB, 3 palette, 4 gray and alpha, 6 RGB and alpha
    bool isInterlaced = false;
    bool omitsPixels = false;       ///< an empty stream in place of the samples
    std::vector<PngChunk> chunks{}; ///< between the header and the pixels
    std::vector<uint16_t> samples{};
};
Bytes pngFile(const PngRecipe &recipe);
/// Makes the checksums of a PNG file's chunks right, as far as its chunks are whole; leaves other files alone.
void repairPngChecksums(Bytes &file);

/// What a JPEG file is made of.
struct JpegRecipe {
    unsigned width = 1;
    unsigned height = 1;
    int components = 1;   ///< 1 gray, 2 of no known meaning, 3 RGB, 4 CMYK
    bool asRgb = false;   ///< 3 components: stored without conversion
    bool asYcck = false;  ///< 4 components: stored as luminance, chrominance and black
    bool hasAdobe = true; ///< 4 components: with an Adobe marker
    bool isProgressive = false;
    bool isArithmetic = false;
    unsigned restartRows = 0;
    unsigned densityUnit = 0; ///< 0 none, 1 inch, 2 centimetre
    unsigned density = 1;
    /// Segments in front of the image: the number of an application marker and what is in it.
    std::vector<std::pair<int, Bytes>> segments{};
    bool omitsJfif = false;
    Bytes samples{}; ///< row after row, as they are stored
};
Bytes jpegFile(const JpegRecipe &recipe);

/// A directory of a TIFF file or of a camera's notes: tags in rising order, each with its values. Those of the
/// resolutions are fractions of two numbers, those of the tags for bytes are bytes, all others whole numbers.
using TiffTags = std::vector<std::pair<unsigned, std::vector<uint32_t>>>;

/// A TIFF file without compression, unless a tag names one. The places and lengths of the pieces (strips or tiles)
/// are added.
struct TiffRecipe {
    bool isBig = false; ///< the order of bytes
    bool isTiled = false;
    unsigned pages = 1; ///< all the same
    TiffTags tags{};
    std::vector<Bytes> pieces{};
};
Bytes tiffFile(const TiffRecipe &recipe);
/// Size, bits of each sample, photometric kind, samples, in one strip.
TiffTags tiffTags(unsigned width, unsigned height, std::vector<uint32_t> bits, unsigned photometric);

/// Notes of a camera.
struct ExifRecipe {
    bool isBig = false;
    unsigned orientation = 1;
    unsigned dotsPerInch = 0; ///< 0 for no resolution; the vertical one is twice the other
    Bytes preview{};          ///< at the end
};
Bytes exifNotes(const ExifRecipe &recipe);

/// A chunk of a WebP file with its padding.
Bytes webpChunk(std::string_view name, const Bytes &content);
/// A WebP file from its chunks.
Bytes webpFile(const Bytes &chunks);
/// The chunks of an image; `bgra` has four bytes a pixel.
Bytes webpImage(unsigned width, unsigned height, const Bytes &bgra, bool isLossless);
/// The chunk that says which others there are.
Bytes webpHeader(unsigned flags, unsigned width, unsigned height);
enum WebpFlag : unsigned {
    kWebpAnimation = 2,
    kWebpXmp = 4,
    kWebpExif = 8,
    kWebpAlpha = 16,
    kWebpProfile = 32
};
/// An animation of two images of that size on a canvas, the first one at (2, 4).
Bytes webpAnimation(unsigned canvasWidth, unsigned canvasHeight, unsigned width, unsigned height,
                    const Bytes &bgra);

/// A colour profile that is little more than a header: of "RGB ", "GRAY" or "CMYK".
Bytes profileOf(std::string_view space);

struct Sample {
    std::string name;
    Bytes file;
};

/// One small file of every kind that is read.
std::vector<Sample> sampleFiles();

} // namespace velmont::io::samples
