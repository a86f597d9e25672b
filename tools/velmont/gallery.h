#pragma once

/// \file
/// `velmont gallery`: every effect of the catalogue on a picture, as a page with the files that it shows.

#include <filesystem>

namespace velmont::cli {

struct GalleryOptions {
    std::filesystem::path folder;  ///< to write into; made if it is not there
    std::filesystem::path picture; ///< to show the effects on; empty for the bundled scene
    bool force = false;            ///< write into a folder that has contents already
    bool quiet = false;            ///< no progress
};

/// Writes the gallery. Each picture is what `velmont apply` makes in the folder with the words that the page shows:
/// they go through the same code here. Each file appears whole or not at all, and the page last.
/// \throws Failure
void runGallery(const GalleryOptions &options);

} // namespace velmont::cli
