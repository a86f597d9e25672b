#pragma once

/// \file
/// One image on its way from a file through effects into another.

#include "job_report.h"
#include "output_file.h"
#include "runner.h"
#include "selection.h"
#include <filesystem>
#include <functional>
#include <vector>

namespace velmont::cli {

/// What holds for every image of a run.
struct JobOptions {
    OutputOptions output;
    SelectionOptions selection;
    RunOptions run;
    bool dryRun = false; ///< check everything, run and write nothing
    std::function<void(const io::Picture &)> inspect =
        {}; ///< sees a result before it is written; may be empty
};

/// The steps for a picture, once it has been read. Before (null) they tell what is wrong with the words that ask for
/// them, and which files they need and make.
using StepsFor = std::function<std::vector<Step>(void *dib)>;

/// An image and where its result goes; "-" is standard input and standard output.
struct PictureJob {
    std::filesystem::path input, output;
};

/// Every file that steps write for an image, its result first.
std::vector<std::filesystem::path> outputsOf(const PictureJob &job, const std::vector<Step> &steps);

/// Reads, runs and writes; the output appears whole or not at all. A dry run reads and checks only.
/// \throws Failure
JobReport runJob(const PictureJob &job, const StepsFor &stepsFor, const JobOptions &options);

} // namespace velmont::cli
