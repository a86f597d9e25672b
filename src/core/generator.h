#pragma once

/// \file
/// The library's random numbers. Effects depend on the exact stream, so it is never the C library's.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// The next number of the calling thread's stream, 0 to 32767.
int rand();
/// Sets the calling thread's state; a thread starts at 1.
void srand(uint32_t seed);
/// The next `count` numbers, as so many calls of rand() give them.
void drawNumbers(uint16_t *to, std::size_t count);

} // namespace velmont
