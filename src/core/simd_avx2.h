#pragma once

/// \file
/// Loads and stores for the sources compiled for AVX2 and above; no other source includes it.

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

namespace velmont::kernels {

// Internal linkage: a copy compiled for AVX2 must not be picked by the linker for anybody else.
namespace {

[[maybe_unused]] inline __m256i load(const uint8_t *from)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(from));
}

[[maybe_unused]] inline void store(uint8_t *to, __m256i value)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(to), value);
}

/// `to` on a multiple of 32.
[[maybe_unused]] inline void storePastCaches(uint8_t *to, __m256i value)
{
    _mm256_stream_si256(reinterpret_cast<__m256i *>(to), value);
}

/// Bytes up to the next multiple of 32, at most `limit`.
[[maybe_unused]] inline std::size_t bytesToAlignment(const uint8_t *to, std::size_t limit)
{
    const std::size_t bytes = (32 - reinterpret_cast<std::uintptr_t>(to) % 32) % 32;
    return bytes < limit ? bytes : limit;
}

} // namespace

} // namespace velmont::kernels
