#include "core/generator.h"

namespace velmont {

namespace {

thread_local uint32_t state = 1;

} // namespace

int rand()
{
    state = state * 214013u + 2531011u;
    return static_cast<int>(state >> 16 & 0x7FFF);
}

void srand(uint32_t seed)
{
    state = seed;
}

} // namespace velmont
