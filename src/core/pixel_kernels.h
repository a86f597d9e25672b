#pragma once

/// \file
/// Kernels over 24-bit pixels that several effects share. See core/byte_kernels.h for the rules.

#include <cstddef>
#include <cstdint>

namespace velmont {

/// A table for each byte of a 24-bit pixel: blue, green, red.
struct ChannelTables {
    alignas(64) uint8_t of[3][256];
};
using ChannelRow = void (*)(uint8_t *to, const uint8_t *from, std::size_t pixels,
                            const ChannelTables &tables);

/// Each byte of a pixel through its own table, in the version that suits these tables.
ChannelRow channelTablesRow(const ChannelTables &tables);

namespace kernels {

void channelTablesPlain(uint8_t *to, const uint8_t *from, std::size_t pixels, const ChannelTables &tables);
/// For any processor, four bytes a store: pays on rows that are much longer than the tables.
void channelTablesWords(uint8_t *to, const uint8_t *from, std::size_t pixels, const ChannelTables &tables);
#if defined(__x86_64__)
void channelTablesAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const ChannelTables &tables);
/// For tables that are the same for all channels.
void sameTablesAvx512(uint8_t *to, const uint8_t *from, std::size_t pixels, const ChannelTables &tables);
/// For tables that leave two channels as they are: all but that of byte `channel`, from 0 to 2.
ChannelRow oneTableAvx512(int channel);
#endif

} // namespace kernels

} // namespace velmont
