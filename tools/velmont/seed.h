#pragma once

/// \file
/// What random effects draw from. Some go on with the library's random numbers, some start them at the clock's second:
/// both are set before each effect, so that a result depends on the seed alone, never on the time, on the pictures before
/// it or on how many processes share the work.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velmont::cli {

/// Where no seed is typed.
inline constexpr uint32_t kDefaultSeed = 1;

/// "7": 0 to 4294967295.
/// \throws Failure with ExitCode::Usage that names the option
uint32_t parseSeed(std::string_view text);

/// The randomness of the effects of one picture: while it lives, the clock that they look at stands still.
class Randomness {
public:
    explicit Randomness(uint32_t seed);
    ~Randomness();
    Randomness(const Randomness &) = delete;
    Randomness &operator=(const Randomness &) = delete;

    /// Sets the random numbers and the clock to seed + index, so that a chain does not repeat its noise.
    /// \param index of the effect in its chain, from 0
    void start(std::size_t index);

private:
    uint32_t seed_;
};

} // namespace velmont::cli
