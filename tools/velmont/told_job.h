#pragma once

/// \file
/// One image run, and its results told as the options ask.

#include "picture_job.h"

namespace velmont::cli {

/// What is told of a run.
struct TellingOptions {
    bool timing = false; ///< how long each step took, on standard error
    bool json = false;   ///< the results as JSON, on standard output
};

/// Refuses JSON where standard output carries the image.
/// \throws Failure with ExitCode::Usage
void checkTelling(const std::filesystem::path &output, const TellingOptions &options);

/// Runs a job and tells: times when asked for; JSON when asked for, of a failure too; else the plan of a dry run.
/// \throws Failure
void runToldJob(const PictureJob &job, const StepsFor &stepsFor, const JobOptions &options,
                const TellingOptions &telling);

} // namespace velmont::cli
