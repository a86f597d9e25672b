#pragma once

/// \file
/// The notes of a camera (EXIF): a small TIFF structure of directories in either byte order. It comes from
/// strangers; whatever it claims, nothing outside of it is looked at, and what makes no sense is left alone.

#include <cstdint>
#include <span>
#include <vector>

namespace velmont::io {

/// Pixels a metre; 0 when unknown.
struct Resolution {
    int32_t x = 0;
    int32_t y = 0;
};

/// How the picture lies in the file, 1 (upright) to 8; 1 when the notes do not say.
unsigned exifOrientation(std::span<const uint8_t> exif);
/// The resolution in the notes, {0, 0} unless both directions have one.
Resolution exifResolution(std::span<const uint8_t> exif);

/// Says in place that the picture is upright, and takes the preview out: it would go on showing what an effect
/// has hidden.
void makeExifUpright(std::vector<uint8_t> &exif);
/// Corrects in place what the notes say of the picture's size and resolution, where they do. An unknown
/// resolution changes nothing.
void correctExif(std::span<uint8_t> exif, uint32_t width, uint32_t height, Resolution resolution);

/// Notes that say nothing but the resolution.
std::vector<uint8_t> exifOfResolution(Resolution resolution);

/// The orientation in an XML packet becomes 1, in place.
void makeXmpUpright(std::span<uint8_t> xmp);

} // namespace velmont::io
