#pragma once

/// \file
/// What the codecs have in common and what each of them offers to picture.cpp. Inside io/ only.

#include "io/dib_source.h"
#include "io/picture.h"
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velmont::io {

/// "PNG: " and the text.
Error formatError(Format format, const std::string &text);
/// The line for a file that stops before its image does.
Error endsEarly(Format format);
/// "300x200".
std::string sizeText(uint64_t width, uint64_t height);
/// The line for an allocation that failed.
Error notEnoughMemory(uint64_t width, uint64_t height);
/// "16 bits a sample are reduced to 8".
std::string reducedNotice(unsigned bits);
/// "3 pages: the first is read".
std::string firstOnlyNotice(uint64_t count, std::string_view what);
/// The line for inks that became light.
inline constexpr std::string_view kInksNotice = "CMYK is converted to RGB without its colour profile";

/// A file about to be read.
struct EncodedFile {
    std::span<const uint8_t> bytes;
    uint64_t maxPixels = kMostPixels;
    StopCheck shouldStop = nullptr;
};
/// \throws Stopped when asked to.
inline void stopIfAsked(StopCheck shouldStop)
{
    if (shouldStop && shouldStop())
        throw Stopped();
}
/// \throws Error for a declared size that is empty or above what may be read. A size that passes fits two ints.
void checkSize(Format format, uint64_t width, uint64_t height, uint64_t maxPixels);
/// Some codings say a large area of one colour in a few bytes. Images above a size that does no harm are held
/// to a rate, so that a few bytes cannot demand gigabytes.
/// \throws Error for fewer bytes than that.
void checkRate(Format format, uint64_t width, uint64_t height, uint64_t bytes);

/// What a decoder returns: the picture as it lies in the file.
struct DecodedFile {
    Picture picture;
    /// How it lies there, 1 to 8, where the format itself says so and not the notes.
    std::optional<unsigned> orientation{};
};

/// The decoders take a file whose first bytes are those of their format.
DecodedFile decodeBmp(const EncodedFile &file);
DecodedFile decodeJpeg(const EncodedFile &file);
DecodedFile decodePng(const EncodedFile &file);
DecodedFile decodeTiff(const EncodedFile &file);
DecodedFile decodeWebp(const EncodedFile &file);

/// A picture about to be written, and what became of it.
struct EncodeJob {
    const DibSource &image;
    Metadata metadata{}; ///< what is to be written
    std::optional<int> quality{};
    StopCheck shouldStop = nullptr;
    std::vector<std::string> notices{};
};
/// Takes the colour profile out, with a notice, when it does not describe such an image.
void fitProfile(EncodeJob &job, bool isGray);

std::vector<uint8_t> encodeBmp(EncodeJob &job);
std::vector<uint8_t> encodeJpeg(EncodeJob &job);
std::vector<uint8_t> encodePng(EncodeJob &job);
std::vector<uint8_t> encodeTiff(EncodeJob &job);
std::vector<uint8_t> encodeWebp(EncodeJob &job);

} // namespace velmont::io
