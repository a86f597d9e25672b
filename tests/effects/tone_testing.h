#pragma once

/// \file
/// What the tests of the tone effects share: images of each kind beside the bytes that they were made of.

#include "tests/effects/watching_host.h"
#include "tests/support/images.h"
#include "tests/support/recording_host.h"
#include <functional>
#include <string>
#include <vector>

namespace velmont::testing {

/// An image in the pieces that it was made of.
struct Pieces {
    DibHeader header;
    Bytes palette; ///< and anything else between header and rows
    Bytes rows;

    Handle handle() const { return blockOf(makeBlock(header, palette, rows)); }
    Bytes bytes() const { return makeBlock(header, palette, rows); }
};

/// Noise in rows and padding; palettes are noise too, reserved bytes included.
Pieces trueColor(int width, int height, uint32_t seed = 1);
Pieces gray(int width, int height, uint32_t seed = 1);
Pieces paletted(int width, int height, int bits, uint32_t colorsUsed, uint32_t seed = 1);
/// One row of 24 bits with these pixels, blue, green, red each.
Pieces pixelRow(const Bytes &pixels);
/// Gray, one row of these levels.
Pieces levelRow(const Bytes &levels);

/// The image with map(pixel) on the three bytes of each pixel and zero padding.
Pieces withPixels(const Pieces &source, const std::function<void(uint8_t *)> &map);
/// The gray image with map(level) on each pixel and zero padding.
Pieces withLevels(const Pieces &source, const std::function<uint8_t(uint8_t)> &map);
/// The image with map(entry) on the four bytes of each palette entry.
Pieces withEntries(const Pieces &source, const std::function<void(uint8_t *)> &map);

using Effect = std::function<void *(void *)>;

/// The bytes of an effect's result; none when it is null. Checks that the source keeps its bytes and locks.
Bytes resultOf(const Pieces &source, const Effect &effect);
/// The events of a run, which must give a result.
Events eventsOf(const Pieces &source, const Effect &effect);
/// The events of a run, which must give none.
Events eventsOfRefusal(void *dib, const Effect &effect);
/// The events of rows: a poll at every row and a report at every sixteenth, or both at every `every`th.
Events rowEvents(int height, int every = 1);
Events joined(const std::vector<Events> &parts);

/// Aborts at each poll in turn, the first `dropped` of which change nothing; checks that everything is given
/// back and that the end of an abort is `end`.
void expectAborts(const Pieces &source, const Effect &effect, int dropped,
                  const Events &end = {"100%", "arrow"});
/// Each allocation and each lock fails in turn until the effect gets through: no result, nothing lost.
void expectFailuresSurvived(const Pieces &source, const Effect &effect);
/// Blocks that are shorter than their header says, and headers that say what no block can be.
void expectLiesRefused(const Effect &effect);

} // namespace velmont::testing
