#pragma once

/// \file
/// `velmont apply` and its like: one image through a chain of effects into a file.

#include "runner.h"
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace velmont::cli {

struct ApplyOptions {
    std::filesystem::path output;
    bool force = false;             ///< replace an output that exists
    std::optional<int> jpegQuality; ///< 1 to 100
    std::filesystem::path mask; ///< the result counts where it selects, else the image; empty for everywhere
    RunOptions run;
    std::function<void(const io::Picture &)> inspect; ///< sees the result before it is written; may be empty
};

/// Reads, runs and writes; the output appears whole or not at all.
/// \param words the chain
/// \throws Failure
void runApply(std::span<const std::string> words, const ApplyOptions &options);

/// The steps for a picture, once it has been read.
using StepsFor = std::function<std::vector<Step>(void *dib)>;

/// The same with steps that depend on the picture.
void runSteps(const std::filesystem::path &input, const StepsFor &stepsFor, const ApplyOptions &options);

} // namespace velmont::cli
