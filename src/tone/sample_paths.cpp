#include "tone/sample_paths.h"
#include "core/byte_kernels.h"
#include <algorithm>
#include <numeric>

namespace velmont {

SamplePath samplePath(const Dib &source)
{
    if (source.bitCount() == 24)
        return SamplePath::TrueColor;
    return source.isGray() ? SamplePath::Gray : SamplePath::Palette;
}

ChannelTables tablesFor(Channels channels, const SampleTable &table)
{
    ChannelTables tables;
    for (int byte = 0; byte < 3; ++byte) {
        const bool isChosen = channels == Channels::All || byte == 3 - static_cast<int>(channels);
        if (isChosen)
            std::copy(table.begin(), table.end(), tables.of[byte]);
        else
            std::iota(std::begin(tables.of[byte]), std::end(tables.of[byte]), uint8_t{0});
    }
    return tables;
}

void copyRows(EffectFrame &frame, RowCadence cadence)
{
    const ByteRow copy = copyRow(frame.stores());
    for (int y : frame.rows(cadence))
        copy(frame.result().row(y), frame.source().row(y), frame.source().stride());
}

void mapTrueColor(EffectFrame &frame, const ChannelTables &tables)
{
    const ChannelRow map = channelTablesRow(tables);
    mapPixels(frame,
              [&](uint8_t *to, const uint8_t *from, std::size_t pixels) { map(to, from, pixels, tables); });
}

void mapGray(EffectFrame &frame, const SampleTable &table)
{
    frame.copyPalette();
    const TableRow map = tableRow();
    mapPixels(frame, [&](uint8_t *to, const uint8_t *from, std::size_t pixels) {
        map(to, from, pixels, table.data());
    });
}

void mapPalette(EffectFrame &frame, const ChannelTables &tables, ReservedByte reserved)
{
    frame.mapPaletteColors([&](uint8_t *to, const uint8_t *from) {
        for (std::size_t channel = 0; channel < 3; ++channel)
            to[channel] = tables.of[channel][from[channel]];
        if (reserved == ReservedByte::Copied)
            to[3] = from[3];
    });
}

void mapSamples(EffectFrame &frame, const ChannelTables &tables, const SampleTable &gray)
{
    switch (samplePath(frame.source())) {
    case SamplePath::TrueColor:
        return mapTrueColor(frame, tables);
    case SamplePath::Gray:
        return mapGray(frame, gray);
    case SamplePath::Palette:
        mapPalette(frame, tables, ReservedByte::Copied);
        return copyRows(frame);
    }
}

} // namespace velmont
