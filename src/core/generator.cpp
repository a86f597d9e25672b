#include "core/generator.h"
#include <array>

namespace velmont {

namespace {

thread_local uint32_t state = 1;

/// From one state to another: state * factor + term.
struct Step {
    uint32_t factor, term;

    constexpr uint32_t operator()(uint32_t from) const { return from * factor + term; }
};
constexpr Step kStep{214013, 2531011};

/// So many steps as one.
constexpr Step stepsAtOnce(std::size_t count)
{
    Step all{1, 0};
    for (std::size_t i = 0; i < count; ++i)
        all = {all.factor * kStep.factor, kStep(all.term)};
    return all;
}

constexpr uint32_t numberOf(uint32_t of)
{
    return of >> 16 & 0x7FFF;
}

} // namespace

int rand()
{
    state = kStep(state);
    return static_cast<int>(numberOf(state));
}

void drawNumbers(uint16_t *to, std::size_t count)
{
    // Each lane takes every sixteenth number, so that no step waits for the one before.
    constexpr std::size_t kLanes = 16;
    constexpr Step kLaneStep = stepsAtOnce(kLanes);
    std::array<uint32_t, kLanes> lanes;
    uint32_t last = state;
    for (uint32_t next = state; uint32_t & lane : lanes)
        lane = next = kStep(next);
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

void srand(uint32_t seed)
{
    state = seed;
}

} // namespace velmont
