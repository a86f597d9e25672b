#pragma once

/// \file
/// What the codecs have in common and what each of them offers to picture.cpp. Inside io/ only.

#include "io/dib_source.h"
#include "io/picture.h"
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace velmont::io {

/// The most pixels that a file may declare.
inline constexpr uint64_t kMostPixels = uint64_t{1} << 30;

/// "PNG: " and the text.
Error formatError(Format format, const std::string &text);
/// The line for a file that stops before its image does.
Error endsEarly(Format format);
/// "300x200".
std::string sizeText(uint64_t width, uint64_t height);
/// The line for an allocation that failed.
Error notEnoughMemory(uint64_t width, uint64_t height);
/// \throws Error for a declared size that is empty or above kMostPixels. A size that passes fits two ints.
void checkSize(Format format, uint64_t width, uint64_t height);

/// The decoders take a file whose first bytes are those of their format.
Picture decodeBmp(std::span<const uint8_t> file);
Picture decodeJpeg(std::span<const uint8_t> file);
Picture decodePng(std::span<const uint8_t> file);

std::vector<uint8_t> encodeBmp(const DibSource &image);
std::vector<uint8_t> encodeJpeg(const DibSource &image, int quality);
std::vector<uint8_t> encodePng(const DibSource &image);

} // namespace velmont::io
