#include "seed.h"
#include "core/clock.h"
#include "core/generator.h"
#include "exit_codes.h"
#include "field_value.h"
#include "text.h"
#include <limits>

namespace velmont::cli {

uint32_t parseSeed(std::string_view text)
{
    bool outOfRange = false;
    const auto seed = parseWhole(text, outOfRange);
    if (!seed || *seed < 0 || *seed > std::numeric_limits<uint32_t>::max())
        throw Failure(ExitCode::Usage,
                      concat("--seed=", text, outOfRange || seed ? " is out of range" : " is not understood",
                             ": a whole number from 0 to 4294967295"));
    return static_cast<uint32_t>(*seed);
}

Randomness::Randomness(uint32_t seed) : seed_(seed)
{
    start(0);
}

Randomness::~Randomness()
{
    runClock();
}

void Randomness::start(std::size_t index)
{
    const uint32_t state = seed_ + static_cast<uint32_t>(index);
    velmont::srand(state);
    stopClock(state);
}

} // namespace velmont::cli
