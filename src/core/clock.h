#pragma once

/// \file
/// The clock that effects seed the generator from.

#include <cstdint>

namespace velmont {

/// Seconds since 1970 in 32 bits, or what the clock was stopped at.
uint32_t clockSeconds();
/// Stops the clock at this second, for tests of what depends on it.
void stopClock(uint32_t seconds);
/// Lets a stopped clock go on with the system's time.
void runClock();

} // namespace velmont
