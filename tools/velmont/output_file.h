#pragma once

/// \file
/// The files that the program writes: what can be refused early, and the writing.

#include "io/picture.h"
#include <filesystem>
#include <optional>
#include <span>

namespace velmont::cli {

struct OutputOptions {
    bool force = false;             ///< replace a file that exists
    std::optional<int> jpegQuality; ///< 1 to 100
    bool quiet = false;             ///< no notes
};

/// Refuses what can be known about files to be written before any work is done: an ending that names no format, a
/// file that exists, a folder that does not, a file named twice.
/// \throws Failure
void checkOutputs(std::span<const std::filesystem::path> outputs, bool force);

/// Writes a picture whole or not at all, in the format of the file's ending. What the format cannot keep is dropped,
/// and that is said.
/// \throws Failure
void writeOutput(io::Picture &picture, const std::filesystem::path &output, const OutputOptions &options);

} // namespace velmont::cli
