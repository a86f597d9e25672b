#include "core/clock.h"
#include <atomic>
#include <ctime>

namespace velmont {

namespace {

constexpr int64_t kRunning = -1;

/// The second that the clock shows while it is stopped.
std::atomic<int64_t> stoppedAt{kRunning};

} // namespace

uint32_t clockSeconds()
{
    const int64_t stopped = stoppedAt.load(std::memory_order_relaxed);
    return static_cast<uint32_t>(stopped != kRunning ? stopped : static_cast<int64_t>(std::time(nullptr)));
}

void stopClock(uint32_t seconds)
{
    stoppedAt.store(seconds, std::memory_order_relaxed);
}

void runClock()
{
    stoppedAt.store(kRunning, std::memory_order_relaxed);
}

} // namespace velmont
