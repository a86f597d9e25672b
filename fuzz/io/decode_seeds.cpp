#include "fuzz/fuzz.h"
#include "tests/io/sample_files.h"

std::vector<std::vector<uint8_t>> fuzzSeeds()
{
    std::vector<std::vector<uint8_t>> seeds;
    for (velmont::io::samples::Sample &sample : velmont::io::samples::sampleFiles())
        seeds.push_back(std::move(sample.file));
    return seeds;
}
