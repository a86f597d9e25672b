#pragma once

/// \file
/// Reading the image that a command works on.

#include "io/picture.h"
#include <filesystem>

namespace velmont::cli {

/// Reads an image from a file, or with "-" from standard input; its format is told by its contents.
/// An interrupt ends it.
/// \throws Failure
io::Picture readInput(const std::filesystem::path &input, io::DecodeOptions options = {});

/// How many pixels an image may have, as --max-pixels takes it.
/// \throws Failure with ExitCode::Usage
uint64_t parseMostPixels(std::string_view text);

} // namespace velmont::cli
