#pragma once

/// \file
/// The library's random numbers. Effects depend on the exact stream, so it is never the C library's.

#include <array>
#include <cstddef>
#include <cstdint>

namespace velmont {

/// The next number of the calling thread's stream, 0 to 32767.
int rand();
/// Sets the calling thread's state; a thread starts at 1.
void srand(uint32_t seed);
/// The next `count` numbers, as so many calls of rand() give them.
void drawNumbers(uint16_t *to, std::size_t count);

/// From one state of the generator to another: state * factor + term.
struct GeneratorStep {
    uint32_t factor, term;

    constexpr uint32_t operator()(uint32_t from) const { return from * factor + term; }
};
inline constexpr GeneratorStep kGeneratorStep{214013, 2531011};

/// So many steps as one.
constexpr GeneratorStep generatorSteps(std::size_t count)
{
    GeneratorStep all{1, 0};
    for (std::size_t i = 0; i < count; ++i)
        all = {all.factor * kGeneratorStep.factor, kGeneratorStep(all.term)};
    return all;
}

/// The number that a state stands for.
constexpr uint32_t numberOfState(uint32_t state)
{
    return state >> 16 & 0x7FFF;
}

/// The calling thread's stream in one's own hands, for loops that draw one by one or look ahead. Nobody else may draw while it
/// lives.
class NumberStream {
public:
    NumberStream();
    ~NumberStream();
    NumberStream(const NumberStream &) = delete;
    NumberStream &operator=(const NumberStream &) = delete;

    static constexpr std::size_t kMostSkipped = 60;

    /// As rand() gives it.
    int next()
    {
        state_ = kGeneratorStep(state_);
        return static_cast<int>(numberOfState(state_));
    }
    /// What next() would give behind `count` numbers, below kMostSkipped, that are not drawn yet.
    int ahead(std::size_t count) const { return static_cast<int>(numberOfState(kSteps[count + 1](state_))); }
    /// Draws up to kMostSkipped numbers that nobody looks at.
    void skip(std::size_t count) { state_ = kSteps[count](state_); }

private:
    static constexpr std::array<GeneratorStep, kMostSkipped + 1> kSteps = [] {
        std::array<GeneratorStep, kMostSkipped + 1> steps{};
        for (std::size_t count = 0; count <= kMostSkipped; ++count)
            steps[count] = generatorSteps(count);
        return steps;
    }();

    uint32_t state_;
};

} // namespace velmont
