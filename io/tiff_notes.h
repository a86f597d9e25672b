#pragma once

/// \file
/// The notes of a camera (EXIF) inside a TIFF file. There they are no block of their own: texts such as the maker and
/// the model stand among the tags of the image, and directories for the exposure and the place hang below it. Inside io/
/// only.

#include <cstdint>
#include <span>
#include <vector>

namespace velmont::io {

/// The notes of a TIFF file as a block; empty where it has none. Whatever the file claims, nothing outside of it is
/// looked at. What makers write in forms of their own (MakerNote) is left out: it does not survive another place.
std::vector<uint8_t> notesOfTiff(std::span<const uint8_t> file);

/// Writes notes into a TIFF file in memory, little-endian and not a BigTIFF: behind its end, with a new directory of the
/// image.
/// \return false when they hold a MakerNote, which is left out
bool addNotesToTiff(std::vector<uint8_t> &file, std::span<const uint8_t> exif);

} // namespace velmont::io
