#include "core/generator.h"
#include <array>

namespace velmont {

namespace {

thread_local uint32_t state = 1;

} // namespace

int rand()
{
    state = kGeneratorStep(state);
    return static_cast<int>(numberOf(state));
}

void drawNumbers(uint16_t *to, std::size_t count)
{
    // Each lane takes every sixteenth number, so that no step waits for the one before.
    constexpr std::size_t kLanes = 16;
    constexpr GeneratorStep kLaneStep = stepsAtOnce(kLanes);
    std::array<uint32_t, kLanes> lanes;
    uint32_t last = state;
    for (uint32_t next = state; uint32_t & lane : lanes)
        lane = next = kGeneratorStep(next);
    std::size_t drawn = 0;
    for (; drawn + kLanes <= count; drawn += kLanes) {
        last = lanes[kLanes - 1];
        for (std::size_t i = 0; i < kLanes; ++i) {
            to[drawn + i] = static_cast<uint16_t>(numberOf(lanes[i]));
            lanes[i] = kLaneStep(lanes[i]);
        }
    }
    for (std::size_t i = 0; drawn < count; ++drawn, ++i) {
        last = lanes[i];
        to[drawn] = static_cast<uint16_t>(numberOf(last));
    }
    state = last;
}

void skipNumbers(uint64_t count)
{
    state = stepsAtOnce(count)(state);
}

void srand(uint32_t seed)
{
    state = seed;
}

NumberStream::NumberStream() : state_(state) {}

} // namespace velmont
