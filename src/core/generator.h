#pragma once

/// \file
/// The library's random numbers. Effects depend on the exact stream, so it is never the C library's.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace velmont {

/// The next number of the calling thread's stream, 0 to 32767.
int rand();
/// Sets the calling thread's state; a thread starts at 1.
void srand(uint32_t seed);
/// The next `count` numbers, as so many calls of rand() give them.
void drawNumbers(uint16_t *to, std::size_t count);
/// Goes on as after so many calls of rand(), without making the numbers.
void skipNumbers(uint64_t count);

/// From one state of the generator to a later one: state * factor + term.
struct GeneratorStep {
    uint32_t factor, term;

    constexpr uint32_t operator()(uint32_t from) const { return from * factor + term; }
    /// This step, then the other one.
    constexpr GeneratorStep then(const GeneratorStep &next) const
    {
        return {factor * next.factor, next(term)};
    }
};
inline constexpr GeneratorStep kGeneratorStep{214013, 2531011};

/// So many steps as one.
constexpr GeneratorStep stepsAtOnce(uint64_t count)
{
    GeneratorStep all{1, 0}, power = kGeneratorStep;
    for (; count != 0; count >>= 1) {
        if ((count & 1) != 0)
            all = all.then(power);
        power = power.then(power);
    }
    return all;
}

/// The number that a state stands for.
constexpr uint32_t numberOf(uint32_t state)
{
    return state >> 16 & 0x7FFF;
}

/// The calling thread's stream in the hands of one loop, which draws as many numbers as it happens to need or looks ahead;
/// the stream goes on behind them at the end of the scope. Nobody else may draw meanwhile.
class NumberStream {
public:
    NumberStream();
    ~NumberStream() { srand(state_); }
    NumberStream(const NumberStream &) = delete;
    NumberStream &operator=(const NumberStream &) = delete;

    static constexpr std::size_t kMostSkipped = 60;

    /// As rand() gives it.
    int next() { return static_cast<int>(numberOf(state_ = kGeneratorStep(state_))); }
    /// What next() would give behind `count` numbers, below kMostSkipped, that are not drawn yet.
    int ahead(std::size_t count) const { return static_cast<int>(numberOf(kSteps[count + 1](state_))); }
    /// Draws up to kMostSkipped numbers that nobody looks at.
    void skip(std::size_t count) { state_ = kSteps[count](state_); }

private:
    static constexpr std::array<GeneratorStep, kMostSkipped + 1> kSteps = [] {
        std::array<GeneratorStep, kMostSkipped + 1> steps{};
        for (std::size_t count = 0; count <= kMostSkipped; ++count)
            steps[count] = stepsAtOnce(count);
        return steps;
    }();

    uint32_t state_;
};

/// Brings numbers of the stream into 0 to range - 1 by their remainders, without dividing.
class NumberRange {
public:
    /// \param range 1 or more; numbers stay as they are from 32768 on
    explicit NumberRange(uint32_t range)
        : range_(range < kNumbers ? range : kNumbers), shift_(15 + std::bit_width(range_ - 1)),
          reciprocal_(((1u << shift_) + range_ - 1) / range_)
    {
    }
    uint32_t range() const { return range_; }
    uint32_t operator()(uint32_t number) const { return number - (number * reciprocal_ >> shift_) * range_; }

private:
    static constexpr uint32_t kNumbers = 1u << 15;

    uint32_t range_;
    int shift_;
    uint32_t reciprocal_; ///< 2^shift / range, rounded up: its quotients of numbers below 2^15 are exact
};

} // namespace velmont
