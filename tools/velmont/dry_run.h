#pragma once

/// \file
/// What a run would do, found out without running effects.

#include "picture_job.h"

namespace velmont::cli {

/// The depth of an effect's result; 0 when that shows only in running it.
/// \param depth of the image, one that the effect accepts; 0 for unknown
unsigned resultDepth(const catalogue::Effect &effect, unsigned depth);

/// Checks what can be known about steps before they run: depths, pictures beside the image, the selection, the
/// folders of the outputs. Fills in the report's plan, and the files that would be made.
/// \param picture converted where a selection needs that
/// \throws Failure as the run itself would
void planSteps(io::Picture &picture, const std::vector<Step> &steps, const JobOptions &options,
               JobReport &report);

} // namespace velmont::cli
