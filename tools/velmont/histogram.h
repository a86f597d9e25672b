#pragma once

/// \file
/// `velmont histogram`: how often each level occurs in an image.

#include "io/picture.h"
#include <filesystem>
#include <string>

namespace velmont::cli {

struct HistogramOptions {
    bool json = false;    ///< every bin, for programs
    bool convert = false; ///< count the colours of an image with a palette, instead of refusing it
    io::DecodeOptions decode{};
};

/// A plot for a terminal, or JSON: one channel for a gray image; red, green, blue and the largest of the three for
/// a colour image.
/// \throws Failure with ExitCode::Input when the image cannot be read or has a palette that is not gray
std::string histogramText(const std::filesystem::path &input, const HistogramOptions &options);

} // namespace velmont::cli
