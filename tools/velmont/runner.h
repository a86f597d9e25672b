#pragma once

/// \file
/// Runs the steps of a chain on one picture in memory.

#include "chain.h"
#include "io/picture.h"
#include "operand_files.h"
#include "progress.h"
#include "seed.h"
#include "step_time.h"
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace velmont::cli {

struct RunOptions {
    bool convert = false; ///< bring the picture to a depth that an effect accepts, instead of refusing it
    bool quiet = false;   ///< neither notes nor progress
    uint32_t seed = kDefaultSeed; ///< of the random effects
    io::DecodeOptions decode{};   ///< of the picture, and of those beside it
};

/// A picture on its way through effects.
class Runner {
public:
    /// \param picture replaced step by step
    /// \param name of the picture in messages
    Runner(io::Picture &picture, std::string name, RunOptions options);

    /// Runs all steps, or throws Failure: for a depth that is refused (ExitCode::Input), an effect without a
    /// result (ExitCode::NoResult) and an interrupt (ExitCode::Aborted). Alpha goes where an effect moves its pixels;
    /// where it cannot follow it is dropped, and that is said.
    void run(const std::vector<Step> &steps);

    /// What the effects made besides and a file was named for.
    std::vector<NamedPicture> &made() { return made_; }

    /// How long each effect took.
    const std::vector<StepTime> &times() const { return times_; }

private:
    struct Run {
        void *result; ///< maybe the source itself
        std::vector<NamedPicture> made;
    };

    void runStep(const Step &step);
    void makeAcceptable(const catalogue::Effect &effect, unsigned depth);
    void call(const Step &step, const std::string &title);
    Run runOn(void *dib, const Step &step, const catalogue::Record &record, const std::string &title);
    void replaceDib(void *result);
    void carryAlpha(const Step &step, const std::string &title, std::pair<int, int> sizeBefore);
    std::vector<uint8_t> movedAlpha(const Step &step, const std::string &title,
                                    std::pair<int, int> sizeBefore);
    std::string subject() const;
    void note(const std::string &line) const;

    io::Picture &picture_;
    std::string name_;
    RunOptions options_;
    Progress progress_;
    Randomness randomness_;
    std::vector<NamedPicture> made_;
    std::vector<StepTime> times_;
    std::string lastEffect_;
    std::size_t index_ = 0; ///< of the step that runs
    std::string position_;  ///< "2/3 " in front of an effect's name, when there are several
};

} // namespace velmont::cli
