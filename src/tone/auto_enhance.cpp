#include "core/byte_kernels.h"
#include "core/locked_dib.h"
#include "core/rounded_math.h"
#include "platform/services.h"
#include "tone/enhance_kernels.h"
#include <cmath>
#include <cstring>
#include <utility>
#include <velmont/tone.h>

namespace velmont {

namespace {

/// The low 8 bits of a number rounded towards 0: hosts rely on what is above 255 wrapping.
uint8_t lowByte(double value)
{
    return std::fabs(value) < 0x1p62 ? static_cast<uint8_t>(static_cast<int64_t>(value)) : 0;
}

ToneTables tablesFor(int amount)
{
    const int64_t saturation = amount / 5;
    const int64_t high = 255 - saturation;
    const int64_t low = amount / 25;
    const double exponent =
        (1 - static_cast<double>(low) * 0.06) * static_cast<double>(1000 - int64_t{amount}) * 0.001;
    ToneTables tables;
    for (int i = 0; i < 256; ++i) {
        if (i <= low)
            tables.level[i] = 0;
        else if (i >= high)
            tables.level[i] = 255;
        else
            tables.level[i] = lowByte(rounded::pow(i / static_cast<double>(high), exponent) * 255 + 0.5);
        tables.loss[i] = static_cast<uint8_t>((50 + saturation * i) / 100);
    }
    return tables;
}

/// Tone and saturation of one row after the other, each into a place that the caller names.
class TonedRows {
public:
    TonedRows(const Dib &source, int amount)
        : source_(source), tables_(tablesFor(amount)), saturates_(source.bitCount() == 24 && amount / 5 != 0)
    {
    }
    std::size_t bytes() const
    {
        return static_cast<std::size_t>(source_.width()) * static_cast<std::size_t>(source_.bitCount()) / 8;
    }
    void write(uint8_t *to, int y) const
    {
        if (saturates_)
            saturate_(to, source_.row(y), static_cast<std::size_t>(source_.width()), tables_);
        else
            map_(to, source_.row(y), bytes(), tables_.level);
    }

private:
    const Dib &source_;
    ToneTables tables_;
    bool saturates_;
    SaturateRow saturate_ = saturateRow();
    TableRow map_ = tableRow();
};

void enhance(Dib &result, const TonedRows &toned)
{
    for (int y = 0; y < result.height(); ++y)
        toned.write(result.row(y), y);
}

/// The same with sharpening. `scratch` holds three toned rows in turn.
void enhanceAndSharpen(Dib &result, const TonedRows &toned, int strength, uint8_t *scratch)
{
    const SharpenTable table(strength);
    const SharpenRow sharpen = sharpenRow(table);
    const int last = result.height() - 1;
    const std::size_t bytes = toned.bytes();
    uint8_t *above = scratch, *current = scratch, *below = scratch + bytes, *spare = scratch + 2 * bytes;
    toned.write(current, 0);
    SharpenRows rows{above, current, below, bytes, result.bitCount() == 24 ? std::size_t{3} : std::size_t{1}};
    for (int y = 0; y < last; ++y) {
        toned.write(below, y + 1);
        rows.above = above; // the first row is its own row above
        rows.current = current;
        rows.below = below;
        sharpen(result.row(y), rows, table);
        uint8_t *const freed = above == current ? spare : above;
        above = current;
        current = below;
        below = freed;
    }
    rows.above = above;
    rows.current = current;
    sharpenLastRow(result.row(last), rows, table);
}

/// What is not a pixel: header and palette, the padding, and whatever the block holds behind its rows.
void copySurroundings(const Dib &result, const Dib &source, std::size_t pixelBytes)
{
    std::memcpy(result.block(), source.block(), source.layout().pixelOffset);
    const std::size_t padding = source.stride() - pixelBytes;
    for (int y = 0; y < source.height() && padding > 0; ++y)
        std::memcpy(result.row(y) + pixelBytes, source.row(y) + pixelBytes, padding);
    const std::size_t end = source.layout().totalBytes();
    std::memcpy(result.block() + end, source.block() + end, source.blockBytes() - end);
}

/// A block locked for writing; freed unless it is taken.
class NewBlock {
public:
    NewBlock(unsigned flags, std::size_t bytes)
        : handle_(allocateBlock(flags, bytes, Contents::Overwritten)), lock_(handle_)
    {
    }
    ~NewBlock()
    {
        lock_.unlock();
        if (handle_)
            KelMemFree(handle_);
    }
    NewBlock(const NewBlock &) = delete;
    NewBlock &operator=(const NewBlock &) = delete;

    uint8_t *bytes() const { return lock_.bytes(); }
    void *take()
    {
        lock_.unlock();
        return std::exchange(handle_, nullptr);
    }

private:
    void *handle_;
    BlockLock lock_;
};

} // namespace

} // namespace velmont

using namespace velmont;

// Not on the frame: a copy of the whole block, no progress, no abort, and the wait cursor last.
void *ProcessAutoEnhance(void *dib, int amount)
{
    constexpr unsigned kFlags = KEL_MEM_MOVEABLE | KEL_MEM_ZERO;
    const LockedDib source(dib);
    if (!source || (source->bitCount() != 8 && source->bitCount() != 24))
        return nullptr;
    NewBlock block(kFlags, source->blockBytes());
    if (!block.bytes())
        return nullptr;
    Dib result = *Dib::withLayout(block.bytes(), source->blockBytes(), source->layout());
    showWaitCursor();
    const TonedRows toned(*source, amount);
    copySurroundings(result, *source, toned.bytes());
    const int strength = amount / 5;
    bool isDone = true;
    if (strength != 0 && source->width() >= 3 && source->height() >= 3) {
        const NewBlock scratch(kFlags, 3 * toned.bytes());
        isDone = scratch.bytes() != nullptr;
        if (isDone)
            enhanceAndSharpen(result, toned, strength, scratch.bytes());
    } else {
        enhance(result, toned);
    }
    showArrowCursor();
    return isDone ? block.take() : nullptr;
}
