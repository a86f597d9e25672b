#pragma once

/// \file
/// Image files to `Dib` and back: PNG, JPEG and BMP.
///
/// A file becomes the `Dib` of its own depth: 1-bit, 4-bit (2-bit files are widened), 8-bit paletted, 8-bit
/// gray and 24-bit; 16 bits a channel are rounded to 8. Rows are turned so that row 0 of the `Dib` is the
/// bottom line. The resolution travels both ways. Alpha is set aside in the picture and put back on writing.
/// Colour profiles, gamma and the camera's notes are not read.

#include "io/dib_handle.h"
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace velmont::io {

/// One clear line that says what is wrong with a file or a picture.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class Format { Bmp, Jpeg, Png };

/// An image in memory.
struct Picture {
    DibHandle dib;
    /// Alpha beside the image, 255 opaque: width * height bytes without padding, in the row order of the
    /// `Dib`; empty when the file has none. With alpha all images but gray ones are written in full colour.
    std::vector<uint8_t> alpha;
};

/// The format that a file name's ending asks for (.bmp .dib, .jpg .jpeg .jpe, .png; any case), if it is one.
std::optional<Format> formatOfName(const std::filesystem::path &name);
/// "BMP", "JPEG", "PNG".
std::string_view formatName(Format format);

/// Decodes a file held in memory; its format is told by its first bytes.
/// \throws Error for anything but a whole image that is understood.
Picture decode(std::span<const uint8_t> file);
/// Reads and decodes a file.
/// \throws Error that names the file.
Picture readPicture(const std::filesystem::path &path);

struct EncodeOptions {
    int jpegQuality = 95; ///< 1 to 100
};

/// Whether a picture in this format keeps its alpha.
bool keepsAlpha(Format format);

/// Encodes a picture at its own depth (JPEG: gray or colour, whichever holds its palette).
/// \throws Error when the picture cannot be written in this format.
std::vector<uint8_t> encode(const Picture &picture, Format format, const EncodeOptions &options = {});

enum class Existing { Keep, Replace };

/// Writes a file whole or not at all: under a temporary name in the same folder, then renamed. A file that is
/// replaced leaves its permissions to the new one; a link stays, and the file behind it is replaced.
/// \throws Error that names the file; with Existing::Keep also when the name is taken, even if only since.
void writeFile(const std::filesystem::path &path, std::span<const uint8_t> bytes, Existing existing);

} // namespace velmont::io
