#pragma once

/// \file
/// Many images: which they are, what their results are called, and what speaks against it before any work is done.

#include "name_pattern.h"
#include "picture_job.h"
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velmont::cli {

/// What is to be done to images, whichever they are.
struct Task {
    StepsFor stepsFor;
    std::size_t steps = 1;                   ///< about how many there are, for the progress
    std::string name;                        ///< what {effect} stands for
    std::vector<std::filesystem::path> made; ///< files to be written besides each result; names are patterns
    std::vector<std::filesystem::path> read; ///< files that are read beside each image
};

/// One of many images.
struct PlannedPicture {
    PictureJob job;
    NameFields names;
    std::string problem; ///< why it cannot be worked on; empty when it can
};

struct BatchPlan {
    std::filesystem::path folder; ///< where the results go; it may have to be made
    std::vector<PlannedPicture> pictures;
};

/// Whether the results go into a folder: there are several inputs, or one is a folder itself, or the output is one
/// or is written with a slash behind it.
bool goesIntoFolder(const std::vector<std::filesystem::path> &inputs, const std::filesystem::path &output);

/// Finds the images and names their results. A folder stands for the pictures in it, told by their endings and sorted
/// by name; its own folders and hidden files are left out.
/// \param pattern of the results' names; "{stem}.{ext}" when it is not given
/// \throws Failure for names that cannot be: an output that is no folder, one name for two results, results in place
/// of images that another result or all need, files that exist already without `options.force`
BatchPlan planBatch(const std::vector<std::filesystem::path> &inputs, const std::filesystem::path &folder,
                    const std::optional<std::string> &pattern, const Task &task,
                    const OutputOptions &options);

/// The steps for an image, with its own names in place of the patterns of files that are made besides.
StepsFor stepsWithNames(const StepsFor &stepsFor, const NameFields &names);

} // namespace velmont::cli
