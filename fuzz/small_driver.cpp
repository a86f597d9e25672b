// A driver without coverage for builds without libFuzzer: runs the seeds, every way of cutting them short,
// and a fixed number of repeatable mutations; or the files named on the command line, to repeat a crash.
//
//     NAME [--rounds N] [FILE...]

#include "fuzz/fuzz.h"
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string_view>

namespace {

using Input = std::vector<uint8_t>;

class Mutator {
public:
    explicit Mutator(uint32_t seed) : state_(seed) {}

    void mutate(Input &input)
    {
        for (uint32_t edits = 1 + next(4); edits > 0 && !input.empty(); --edits)
            edit(input);
    }

private:
    uint32_t next(uint32_t limit)
    {
        state_ = state_ * 1664525u + 1013904223u;
        return static_cast<uint32_t>(uint64_t{state_} * limit >> 32);
    }
    std::size_t place(const Input &input)
    {
        // Headers lie in front: half of the edits go there.
        const auto size = static_cast<uint32_t>(input.size());
        return next(next(2) == 0 && size > 64 ? 64 : size);
    }
    void edit(Input &input)
    {
        static constexpr uint8_t kTelling[] = {0x00, 0x01, 0x7F, 0x80, 0xFE, 0xFF};
        const std::size_t at = place(input);
        switch (next(5)) {
        case 0:
            input[at] = static_cast<uint8_t>(next(256));
            return;
        case 1:
            input[at] = kTelling[next(sizeof kTelling)];
            return;
        case 2:
            input[at] = static_cast<uint8_t>(input[at] ^ 1u << next(8));
            return;
        case 3:
            for (std::size_t i = at; i < at + 4 && i < input.size(); ++i)
                input[i] = kTelling[next(sizeof kTelling)];
            return;
        default:
            input.resize(at);
            return;
        }
    }

    uint32_t state_;
};

void run(const Input &input)
{
    // A copy of exactly this size, so that AddressSanitizer sees a read behind its end.
    const Input exact(input.begin(), input.end());
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

void runSeedsAndMutations(long rounds)
{
    const auto seeds = fuzzSeeds();
    for (const Input &seed : seeds) {
        run(seed);
        const std::size_t step = seed.size() / 200 + 1;
        for (std::size_t size = 0; size < seed.size(); size += step)
            run(Input(seed.begin(), seed.begin() + static_cast<std::ptrdiff_t>(size)));
    }
    Mutator mutator(1);
    for (long round = 0; round < rounds; ++round) {
        Input input = seeds[static_cast<std::size_t>(round) % seeds.size()];
        mutator.mutate(input);
        run(input);
    }
}

} // namespace

int main(int argc, char **argv)
{
    long rounds = 2000;
    bool ranFile = false;
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) == "--rounds" && i + 1 < argc) {
            rounds = std::strtol(argv[++i], nullptr, 10);
            continue;
        }
        std::ifstream file(argv[i], std::ios::binary);
        if (!file) {
            std::fprintf(stderr, "%s cannot be read\n", argv[i]);
            return 2;
        }
        run(Input(std::istreambuf_iterator<char>(file), {}));
        ranFile = true;
    }
    if (!ranFile)
        runSeedsAndMutations(rounds);
    return 0;
}
