#pragma once

/// \file
/// How long one effect took.

#include <cstdint>
#include <string>

namespace velmont::cli {

/// One effect of a run, conversions included.
struct StepTime {
    std::string effect;
    double seconds = 0;
    uint64_t pixels = 0; ///< of the picture that it began with
};

} // namespace velmont::cli
