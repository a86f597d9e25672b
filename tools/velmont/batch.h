#pragma once

/// \file
/// Many images through the same effects into a folder, by several processes.

#include "batch_plan.h"
#include "told_job.h"
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace velmont::cli {

struct BatchOptions {
    std::optional<std::string> name; ///< the pattern of the results' names
    std::optional<unsigned> workers; ///< processes; as workersFor() says when not given
};

/// A number of processes as it is typed: 1 to kMostWorkers.
/// \throws Failure with ExitCode::Usage that names the option
unsigned parseWorkers(const std::string &text);

/// The folder of results, made if it is missing. What was made here and is empty in the end is removed again.
class ResultFolder {
public:
    /// \throws Failure with ExitCode::Output
    explicit ResultFolder(std::filesystem::path folder);
    ~ResultFolder();
    ResultFolder(const ResultFolder &) = delete;
    ResultFolder &operator=(const ResultFolder &) = delete;

    /// Whether it was missing.
    bool isNew() const { return !made_.empty(); }

private:
    std::vector<std::filesystem::path> made_; ///< from the outermost on
};

/// The line that a terminal shows of a batch: "12/200 images [##......]   6% photo.jpg".
/// \param percent of all work
std::string batchLine(std::size_t done, std::size_t total, int percent, std::string_view name,
                      std::size_t columns);

/// Runs a task on all images of a plan. One that fails is told at once and leaves the others alone; the results are
/// the same for any number of workers, and so is the order in which JSON and dry runs tell of them, that of the plan.
/// \throws Failure with ExitCode::SomeFailed when one failed, ExitCode::Aborted after an interrupt
void runBatch(const BatchPlan &plan, const Task &task, const JobOptions &options,
              const TellingOptions &telling, const BatchOptions &batch);

} // namespace velmont::cli
