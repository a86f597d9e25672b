#pragma once

/// \file
/// Time that has passed.

#include <chrono>

namespace velmont::cli {

/// Runs from its making.
class Stopwatch {
public:
    double seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start_ = Clock::now();
};

} // namespace velmont::cli
