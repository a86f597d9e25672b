#include "core/byte_kernels.h"
#include "core/effect_frame.h"
#include "tone/level_counts.h"
#include <velmont/tone.h>

namespace velmont {

namespace {

/// The samples that the curve is made from, every channel in the same bins.
class Samples {
public:
    explicit Samples(const Dib &source) : source_(source) {}

    void addRow(int y)
    {
        const auto width = static_cast<std::size_t>(source_.width());
        const uint8_t *const row = source_.row(y);
        if (source_.bitCount() != 4) {
            bytes_.add(row, width * static_cast<std::size_t>(source_.bitCount()) / 8);
            return;
        }
        bytes_.add(row, width / 2);
        if (width % 2 != 0)
            ++lastColumn_[row[width / 2] >> 4]; // the spare nibble beside it does not count
    }

    LevelCounts ofPixels() const { return bytes_.total(); }

    /// Three samples for each pixel: the channels of its colour. An index without a palette entry is black.
    LevelCounts ofColors() const
    {
        const LevelCounts indices = source_.bitCount() == 4 ? nibbles() : bytes_.total();
        LevelCounts levels{};
        for (std::size_t i = 0; i < indices.size(); ++i)
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const bool hasColor = i < source_.paletteEntries();
                levels[hasColor ? source_.palette()[kColorBytes * i + channel] : 0] += indices[i];
            }
        return levels;
    }

private:
    LevelCounts nibbles() const
    {
        const LevelCounts pairs = bytes_.total();
        LevelCounts counts = lastColumn_;
        for (std::size_t pair = 0; pair < pairs.size(); ++pair) {
            counts[pair >> 4] += pairs[pair];
            counts[pair & 15] += pairs[pair];
        }
        return counts;
    }

    const Dib &source_;
    ByteCounter bytes_;
    LevelCounts lastColumn_{};
};

/// Each level becomes the share of the samples strictly below it: 0 always stays 0.
void buildTable(uint8_t table[256], const LevelCounts &levels, double samples)
{
    const double scale = 255 / (samples + 1);
    uint64_t below = 0;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        table[i] = static_cast<uint8_t>(static_cast<double>(below) * scale + 0.5);
        below += levels[i];
    }
}

/// Here the dropped poll comes behind the header.
constexpr FrameSteps kSteps{.droppedPoll = false};

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessEqualization(void *dib)
{
    EffectFrame frame(dib, kSteps);
    if (!frame.serves({4, 8, 24}) || !frame.begin(Contents::Overwritten))
        return nullptr;
    AbortImageProcessing(); // its answer is dropped: hosts rely on the call

    const Dib &source = frame.source();
    const bool isGray = source.isGray();
    const bool hasColorPalette = source.bitCount() != 24 && !isGray;
    Samples samples(source);
    if (hasColorPalette)
        for (int y : frame.rows({.reportEvery = 0}))
            samples.addRow(y);
    else
        for (int y = 0; y < source.height(); ++y)
            samples.addRow(y);

    alignas(64) uint8_t table[256];
    const double pixels = static_cast<double>(source.width()) * source.height();
    buildTable(table, hasColorPalette ? samples.ofColors() : samples.ofPixels(),
               isGray ? pixels : pixels * 3);
    if (hasColorPalette)
        frame.mapPalette([&](uint8_t value) { return table[value]; });
    else
        frame.copyPalette();

    const std::size_t pixelBytes =
        static_cast<std::size_t>(source.width()) * static_cast<std::size_t>(source.bitCount()) / 8;
    const TableRow mapRow = tableRow();
    const ByteRow copy = copyRow(frame.stores());
    for (int y : frame.rows()) {
        if (hasColorPalette) {
            copy(frame.result().row(y), source.row(y), source.stride());
        } else {
            mapRow(frame.result().row(y), source.row(y), pixelBytes, table);
            frame.clearPadding(y);
        }
    }
    return frame.finish();
}
