#pragma once

/// \file
/// Small pictures for the tests, made by rule, and what can be seen of a picture.

#include "io/picture.h"
#include <cstdint>
#include <filesystem>
#include <vector>

namespace velmont::test {

/// The kinds of images that effects know.
enum class Kind { OneBit, FourBit, Paletted, Gray, Colour };
inline constexpr Kind kKinds[] = {Kind::OneBit, Kind::FourBit, Kind::Paletted, Kind::Gray, Kind::Colour};

/// An image of a kind with many different pixels.
io::DibHandle makeDib(Kind kind, int width, int height);
io::Picture makePicture(Kind kind, int width, int height);
/// With an alpha channel of many values.
io::Picture makeTransparentPicture(int width, int height);

/// Writes a file in the format of its ending.
void save(const io::Picture &picture, const std::filesystem::path &path);
void save(Kind kind, int width, int height, const std::filesystem::path &path);

/// The colours of all pixels as 0xRRGGBB, row 0 first.
std::vector<uint32_t> coloursOf(void *dib);
std::vector<uint32_t> coloursOf(const std::filesystem::path &path);

} // namespace velmont::test
