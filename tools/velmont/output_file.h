#pragma once

/// \file
/// The files that the program writes: what can be refused early, and the writing.

#include "io/picture.h"
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velmont::cli {

struct OutputOptions {
    bool force = false;               ///< replace a file that exists
    std::optional<int> quality;       ///< 1 to 100
    bool quiet = false;               ///< no notes
    std::optional<io::Format> format; ///< whatever the ending of the file says; needed for standard output
    bool strip = false;               ///< neither a colour profile nor notes of the camera
};

/// What holds for the pictures that are written besides a result: their endings tell their formats.
OutputOptions besides(const OutputOptions &options);

/// The format of this word, as --format takes it: "png", "jpeg" ...
/// \throws Failure with ExitCode::Usage that names those that there are
io::Format parseFormat(std::string_view word);

/// Refuses what can be known about files to be written before any work is done: an ending that names no format, a
/// file that exists, a folder that does not, a file named twice, standard output without a format or on a terminal.
/// \param outputs the result first, for which alone `options.format` holds and which may be "-"
/// \throws Failure
void checkOutputs(std::span<const std::filesystem::path> outputs, const OutputOptions &options);

/// Refuses a file whose folder cannot be written into, as the writing itself would.
/// \throws Failure
void checkWritable(const std::filesystem::path &output);

/// The format that an output is written in.
/// \throws Failure with ExitCode::Usage where nothing names one
io::Format outputFormat(const std::filesystem::path &output, const OutputOptions &options);

/// What an output is called in messages: "standard output" or the file's name.
std::string outputName(const std::filesystem::path &output);

/// Writes a picture whole or not at all, in the format that is asked for, else in that of the file's ending; "-" is
/// standard output. What the format cannot keep is dropped, and that is said.
/// \throws Failure
void writeOutput(io::Picture &picture, const std::filesystem::path &output, const OutputOptions &options);

} // namespace velmont::cli
