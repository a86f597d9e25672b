#pragma once

/// \file
/// The gallery's page as text.

#include "catalogue/effect.h"
#include "gallery_settings.h"
#include <string>
#include <string_view>
#include <vector>

namespace velmont::cli {

/// A picture as the page shows it.
struct GalleryPicture {
    std::string file;                 ///< its name in the gallery
    std::vector<std::string> command; ///< the words that make it
    GallerySize size{};
    std::string digest; ///< of its pixels, as the effect left them
};

/// One effect with its pictures.
struct GalleryEntry {
    const catalogue::Effect *effect;
    std::string input;                    ///< the file that it is shown on
    std::string inputDigest;              ///< of that file's pixels
    std::vector<GalleryPicture> pictures; ///< by the defaults, and by a strong setting if there is one
};

/// A picture beside the scene.
struct GallerySourcePicture {
    std::string help;
    GalleryPicture picture;
};

/// All that the page shows.
struct GalleryContents {
    GalleryPicture scene;
    std::vector<GallerySourcePicture> sources;
    std::vector<GalleryEntry> entries; ///< in the order of the catalogue
};

/// A file of the gallery that is text.
struct GalleryText {
    std::string name, text;
};

/// The page, its style and its script. The page is well-formed XML behind its first line.
std::vector<GalleryText> galleryTexts(const GalleryContents &contents);

} // namespace velmont::cli
