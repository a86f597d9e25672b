#pragma once

/// \file
/// What a fuzzer consists of: a function that takes bytes, and the inputs to start from.

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size);

/// Inputs that reach the parts worth fuzzing.
std::vector<std::vector<uint8_t>> fuzzSeeds();
