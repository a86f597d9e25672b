#pragma once

/// \file
/// Kernels over runs of bytes that several effects share.
///
/// A kernel is a plain function over one row: no allocation, no callback, no state. The functions here choose
/// the version for this processor; call them once per effect, not once per row.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// How a kernel stores. Streaming stores go past the caches: faster where the result is larger than they are.
enum class Stores { Cached, Streaming };
/// The way that pays for a result of this size.
Stores storesFor(std::size_t resultBytes);

using ByteRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t bytes);
using TableRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t bytes, const uint8_t table[256]);

/// to[i] = ~from[i]
ByteRow complementRow(Stores stores);
/// to[i] = from[i]
ByteRow copyRow(Stores stores);
/// to[i] = table[from[i]]
TableRow tableRow();

/// The versions, for the choice above and for the tests that hold them against each other.
namespace kernels {

void complementPlain(uint8_t *to, const uint8_t *from, std::size_t bytes);
void copyPlain(uint8_t *to, const uint8_t *from, std::size_t bytes);
void tablePlain(uint8_t *to, const uint8_t *from, std::size_t bytes, const uint8_t table[256]);
/// For any processor, four bytes a store: pays on rows that are much longer than the table.
void tableWords(uint8_t *to, const uint8_t *from, std::size_t bytes, const uint8_t table[256]);
#if defined(__x86_64__)
void complementAvx2(uint8_t *to, const uint8_t *from, std::size_t bytes);
void complementStreamingAvx2(uint8_t *to, const uint8_t *from, std::size_t bytes);
void copyStreamingAvx2(uint8_t *to, const uint8_t *from, std::size_t bytes);
void tableAvx512(uint8_t *to, const uint8_t *from, std::size_t bytes, const uint8_t table[256]);
#endif

} // namespace kernels

} // namespace velmont
