#pragma once

/// \file
/// Image files to `Dib` and back: PNG, JPEG, BMP, TIFF and WebP.
///
/// A file becomes the `Dib` of its own depth: 1-bit, 4-bit (2-bit files are widened), 8-bit paletted, 8-bit
/// gray and 24-bit; more than 8 bits a channel are rounded to 8, inks are turned into light. WebP knows colour
/// only and is always read as 24 bits. Rows are turned so that row 0 of the `Dib` is the bottom line, and a
/// picture that the camera held another way is put upright. The resolution travels both ways. Alpha is set
/// aside in the picture and put back on writing, and so are the colour profile and the notes of the camera.

#include "io/dib_handle.h"
#include <cstdint>
#include <exception>
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

/// The end of a reading or writing that was asked to stop.
class Stopped : public std::exception {
public:
    const char *what() const noexcept override { return "stopped"; }
};
/// Asked every few rows whether to stop; must not throw.
using StopCheck = bool (*)();

enum class Format { Bmp, Jpeg, Png, Tiff, Webp };

/// What a file says besides its pixels, byte by byte as the file has it; empty where there is nothing.
struct Metadata {
    std::vector<uint8_t> icc{};  ///< a colour profile
    std::vector<uint8_t> exif{}; ///< notes of the camera, from their byte order mark ("II" or "MM") on
    std::vector<uint8_t> xmp{};  ///< notes as an XML packet

    bool empty() const { return icc.empty() && exif.empty() && xmp.empty(); }
};

/// An image in memory.
struct Picture {
    DibHandle dib;
    /// Alpha beside the image, 255 opaque: width * height bytes without padding, in the row order of the
    /// `Dib`; empty when the file has none. With alpha all images but gray ones are written in full colour.
    std::vector<uint8_t> alpha{};
    /// Carried from file to file. The notes describe the upright picture: the turn that a file asks for has been
    /// done and is taken out of them, and so is the small preview, which would show the picture unchanged.
    Metadata metadata{};
    /// What reading could not keep, a line each: "16 bits a sample are reduced to 8".
    std::vector<std::string> notices{};
};

/// The format that a file name's ending asks for (.png, .jpg .jpeg .jpe, .bmp .dib, .tif .tiff, .webp; any
/// case), if it is one.
std::optional<Format> formatOfName(const std::filesystem::path &name);
/// The format that a word names ("png", "jpeg", "jpg", "bmp", "tiff", "tif", "webp"; any case), if it is one.
std::optional<Format> formatOfWord(std::string_view word);
/// The endings that formatOfName knows, and the words that formatOfWord knows, one for each format.
std::span<const std::string_view> formatEndings();
std::span<const std::string_view> formatWords();
/// "BMP", "JPEG", "PNG", "TIFF", "WebP".
std::string_view formatName(Format format);

/// No file is read that declares more pixels, whatever DecodeOptions say.
inline constexpr uint64_t kMostPixels = uint64_t{1} << 30;

struct DecodeOptions {
    /// A file that declares more pixels is refused before memory is taken for them, so that a few bytes from a
    /// stranger cannot demand all of it. The default holds the largest WebP image; in 24 bits it takes 800 MB.
    uint64_t maxPixels = uint64_t{1} << 28;
    StopCheck shouldStop = nullptr; ///< ends in Stopped; WebP pixels are read in one go
};

/// Decodes a file held in memory; its format is told by its first bytes.
/// \throws Error for anything but a whole image that is understood.
Picture decode(std::span<const uint8_t> file, const DecodeOptions &options = {});
/// Reads and decodes a file.
/// \throws Error that names the file.
Picture readPicture(const std::filesystem::path &path, const DecodeOptions &options = {});

struct EncodeOptions {
    /// 1 to 100, for JPEG and WebP alone; 95 and 90 when it is not given. JPEG keeps colour at full resolution
    /// from 90 on. WebP loses nothing at 100 and where few colours tell that the picture is a drawing: at 1 and
    /// 4 bits, with a palette of colours, and with at most 16 levels of gray.
    std::optional<int> quality{};
    /// Writes neither the colour profile nor any notes. The resolution stays.
    bool strip = false;
    /// Where to append what writing could not keep, a line each.
    std::vector<std::string> *notices = nullptr;
    StopCheck shouldStop = nullptr; ///< ends in Stopped
};

/// Whether a picture in this format keeps its alpha.
bool keepsAlpha(Format format);
/// Whether a picture in this format keeps its metadata.
bool keepsMetadata(Format format);
/// Whether EncodeOptions::quality means something to this format.
bool hasQuality(Format format);

/// Encodes a picture at its own depth (JPEG: gray or colour, whichever holds its palette). A colour profile that
/// describes other colours than the file has (of inks, or of gray where the file has colour) is left out.
/// \throws Error when the picture cannot be written in this format.
std::vector<uint8_t> encode(const Picture &picture, Format format, const EncodeOptions &options = {});

enum class Existing { Keep, Replace };

/// Writes a file whole or not at all: under a temporary name in the same folder, then renamed. A file that is
/// replaced leaves its permissions to the new one; a link stays, and the file behind it is replaced.
/// \throws Error that names the file; with Existing::Keep also when the name is taken, even if only since.
void writeFile(const std::filesystem::path &path, std::span<const uint8_t> bytes, Existing existing);

} // namespace velmont::io
