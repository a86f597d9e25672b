#pragma once

/// \file
/// `velmont apply`: one image through a chain of effects into a file.

#include "runner.h"
#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace velmont::cli {

struct ApplyOptions {
    std::filesystem::path output;
    bool force = false;             ///< replace an output that exists
    std::optional<int> jpegQuality; ///< 1 to 100
    RunOptions run;
};

/// Reads, runs and writes; the output appears whole or not at all.
/// \param words the chain
/// \throws Failure
void runApply(std::span<const std::string> words, const ApplyOptions &options);

} // namespace velmont::cli
