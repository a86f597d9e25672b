#pragma once

/// \file
/// `velmont apply` and its like: one image through a chain of effects into a file, or several into a folder.

#include "batch.h"
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace velmont::cli {

struct ApplyOptions {
    std::filesystem::path output;     ///< a file, or a folder
    bool force = false;               ///< replace an output that exists
    std::optional<int> quality;       ///< 1 to 100
    std::optional<io::Format> format; ///< of the output, whatever its ending says
    bool strip = false;               ///< write neither a colour profile nor notes of the camera
    bool dryRun = false;              ///< check everything, run and write nothing
    TellingOptions telling;
    SelectionOptions selection;
    RunOptions run;
    BatchOptions batch;
    std::function<void(const io::Picture &)> inspect; ///< sees each result before it is written; may be empty
    std::vector<Step> recipe; ///< the effects, where words are images only; empty where words bring them
};

/// Reads, runs and writes; every output appears whole or not at all.
/// \param words the chain, or with a recipe the images
/// \throws Failure
void runApply(std::span<const std::string> words, const ApplyOptions &options);

/// The same with steps that depend on the picture.
/// \param name what {effect} stands for in names of results
void runSteps(const std::vector<std::filesystem::path> &inputs, const std::string &name,
              const StepsFor &stepsFor, const ApplyOptions &options);

} // namespace velmont::cli
