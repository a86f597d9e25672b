#pragma once

/// \file
/// Memory straight from the system, for large blocks.

#include <cstddef>

namespace velmont {

/// Zero-filled memory on a huge-page boundary, backed by huge pages where the system has them: faulting in 4
/// KiB pages one by one costs more than most effects. Null when there is none.
void *mapPages(std::size_t bytes);
/// Gives back what mapPages(bytes) gave.
void unmapPages(void *memory, std::size_t bytes);

} // namespace velmont
