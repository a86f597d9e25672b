// Compiled for AVX2: only intrinsics and functions of this file, so that nothing shared is compiled for it.
#include "core/byte_kernels.h"
#include "core/simd_avx2.h"

namespace velmont::kernels {

namespace {

struct Complement {
    static __m256i apply(__m256i v) { return _mm256_xor_si256(v, _mm256_set1_epi8(-1)); }
    static uint8_t apply(uint8_t v) { return static_cast<uint8_t>(~v); }
};

struct Copy {
    static __m256i apply(__m256i v) { return v; }
    static uint8_t apply(uint8_t v) { return v; }
};

template <typename Operation>
void applyToBytes(uint8_t *to, const uint8_t *from, std::size_t bytes)
{
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = Operation::apply(from[i]);
}

/// Whole vectors to aligned places past the caches, the ends byte by byte.
template <typename Operation>
void stream(uint8_t *to, const uint8_t *from, std::size_t bytes)
{
    const std::size_t head = bytesToAlignment(to, bytes);
    applyToBytes<Operation>(to, from, head);
    std::size_t i = head;
    for (; i + 64 <= bytes; i += 64) {
        const __m256i first = Operation::apply(load(from + i));
        const __m256i second = Operation::apply(load(from + i + 32));
        storePastCaches(to + i, first);
        storePastCaches(to + i + 32, second);
    }
    applyToBytes<Operation>(to + i, from + i, bytes - i);
    _mm_sfence();
}

} // namespace

void complementAvx2(uint8_t *to, const uint8_t *from, std::size_t bytes)
{
    std::size_t i = 0;
    for (; i + 32 <= bytes; i += 32)
        store(to + i, Complement::apply(load(from + i)));
    applyToBytes<Complement>(to + i, from + i, bytes - i);
}

void complementStreamingAvx2(uint8_t *to, const uint8_t *from, std::size_t bytes)
{
    stream<Complement>(to, from, bytes);
}

void copyStreamingAvx2(uint8_t *to, const uint8_t *from, std::size_t bytes)
{
    stream<Copy>(to, from, bytes);
}

} // namespace velmont::kernels
