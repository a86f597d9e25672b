#pragma once

/// \file
/// What the gallery does to its pictures: the words of `velmont apply` for each of them, from the catalogue.

#include "catalogue/effect.h"
#include <span>
#include <string>
#include <vector>

namespace velmont::cli {

/// Width and height in pixels.
struct GallerySize {
    int width, height;
};

/// A picture that the gallery starts from, made of the scene.
struct GallerySource {
    std::string file;               ///< its name in the gallery
    std::string help;               ///< what it shows
    std::vector<std::string> words; ///< the chain that makes it, its input included
};

/// The name of the picture that all others are made of.
inline constexpr std::string_view kSceneFile = "scene.png";

/// The pictures that effects start from or need beside the scene, each made of those before it.
/// \param size of the scene
std::vector<GallerySource> gallerySources(GallerySize size);

/// The picture that an effect is shown on: the scene, or a mask for what works on masks only.
std::string_view galleryInput(const catalogue::Effect &effect);

/// The chain for an effect on its picture, with conversions that it needs and pictures beside the image.
/// \param fields "name=value" words; those not named stay at their defaults
std::vector<std::string> galleryChain(const catalogue::Effect &effect, std::span<const std::string> fields);

/// The words of a strong setting: those of the catalogue's entry if it has some. Else lengths become three times as
/// large, other numbers go to the greatest value, or where the default is negative to the least, choices to the last
/// that is not the default; colours and what is 0 by default stay. Empty when that changes nothing.
std::vector<std::string> extremeFields(const catalogue::Effect &effect);

} // namespace velmont::cli
