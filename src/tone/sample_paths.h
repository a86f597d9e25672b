#pragma once

/// \file
/// The ways of an effect that changes each sample by itself: pixels of 24 bits, gray pixels, or the palette's
/// colours while the pixels stay.

#include "core/effect_frame.h"
#include "core/pixel_kernels.h"
#include <array>

namespace velmont {

using SampleTable = std::array<uint8_t, 256>;

enum class SamplePath { TrueColor, Gray, Palette };
/// The way of an image of 4, 8 or 24 bits.
SamplePath samplePath(const Dib &source);

/// The channels that an effect works on, as parameter records number them.
enum class Channels { All = 0, Red = 1, Green = 2, Blue = 3 };
constexpr bool isChannels(int32_t channel)
{
    return channel >= 0 && channel <= 3;
}
/// The table for these channels, the other channels as they are.
ChannelTables tablesFor(Channels channels, const SampleTable &table);

/// Each row's pixels by work(to, from, pixels), the padding cleared: for a result whose contents are to be
/// overwritten.
template <typename Work>
void mapPixels(EffectFrame &frame, Work work)
{
    const auto width = static_cast<std::size_t>(frame.source().width());
    for (int y : frame.rows()) {
        work(frame.result().row(y), frame.source().row(y), width);
        frame.clearPadding(y);
    }
}
/// The rows as they are, padding included.
void copyRows(EffectFrame &frame, RowCadence cadence = {});

/// The pixels of 24 bits through the tables of their channels.
void mapTrueColor(EffectFrame &frame, const ChannelTables &tables);
/// The palette as it is and gray pixels through a table.
void mapGray(EffectFrame &frame, const SampleTable &table);

/// What becomes of the reserved byte of a palette entry.
enum class ReservedByte { Copied, LeftZero };
/// The palette's colours through the tables of their channels; no rows.
void mapPalette(EffectFrame &frame, const ChannelTables &tables, ReservedByte reserved);

/// The source's way through the tables, from palette to rows: for effects without departures from it.
void mapSamples(EffectFrame &frame, const ChannelTables &tables, const SampleTable &gray);

} // namespace velmont
