#include <velmont/geometry.h>

#include "core/byte_kernels.h"
#include "core/effect_frame.h"
#include "core/locked_dib.h"
#include "geometry/format_kernels.h"
#include <algorithm>
#include <array>
#include <cstring>

namespace velmont {

namespace {

/// Hands out a row of at most 8 bits a pixel in runs of one index a byte: use(indices, first pixel, count).
template <typename Use>
void forIndexRuns(const Dib &source, int y, Use use)
{
    const auto width = static_cast<std::size_t>(source.width());
    if (source.bitCount() == 8) {
        use(source.row(y), std::size_t{0}, width);
        return;
    }
    constexpr std::size_t kRun = 4096; // whole bytes of the source at 1 and 4 bits
    uint8_t indices[kRun];
    for (std::size_t first = 0; first < width; first += kRun) {
        const std::size_t count = std::min(kRun, width - first);
        unpackRow(indices, source.row(y) + first * static_cast<std::size_t>(source.bitCount()) / 8, count,
                  source.bitCount());
        use(indices, first, count);
    }
}

/// A result of another depth: 40 bytes of header are carried over, the rows follow behind the palette.
std::optional<ResultPlan> planConversion(const Dib &source, int bitCount, std::size_t pixelOffset)
{
    const auto layout = DibLayout::make(source.width(), source.height(), bitCount, pixelOffset);
    if (!layout)
        return std::nullopt;
    return ResultPlan{*layout, Contents::Overwritten, 0, kHeaderBytes};
}

void describeResult(Dib &result, uint32_t colorsUsed, std::size_t imageBytes)
{
    DibHeader header = result.header();
    header.biBitCount = static_cast<uint16_t>(result.bitCount());
    header.biClrUsed = colorsUsed;
    header.biSizeImage = static_cast<uint32_t>(imageBytes);
    result.setHeader(header);
}

void clearPadding(uint8_t *row, std::size_t pixelBytes, std::size_t stride)
{
    std::memset(row + pixelBytes, 0, stride - pixelBytes);
}

uint32_t tableEntries(const Dib &source)
{
    return std::min<uint32_t>(source.paletteEntries(), 256);
}

/// The gray of every index; black where the palette has no entry.
std::array<uint8_t, 256> grayOfIndex(const Dib &source)
{
    std::array<uint8_t, 256> gray{};
    for (uint32_t i = 0; i < tableEntries(source); ++i) {
        const uint8_t *const color = source.palette() + kColorBytes * i;
        gray[i] = static_cast<uint8_t>(std::min(grayOf(color[0], color[1], color[2]), 255u));
    }
    return gray;
}

/// The colour of every index; black where the palette has no entry.
ColorTable colorOfIndex(const Dib &source)
{
    ColorTable table{};
    std::memcpy(table.entry, source.palette(), kColorBytes * tableEntries(source));
    return table;
}

} // namespace

} // namespace velmont

using namespace velmont;

void *ProcessConvertToGrayScale(void *dib)
{
    EffectFrame frame(dib);
    if (!frame.serves({1, 4, 8, 24}))
        return nullptr;
    const Dib &source = frame.source();
    const auto plan = planConversion(source, 8, kGrayPixelOffset);
    if (!plan || !frame.begin(*plan))
        return nullptr;
    Dib &result = frame.result();
    describeResult(result, 256, result.layout().pixelBytes());
    writeGrayRamp(result.palette());

    const auto width = static_cast<std::size_t>(source.width());
    const auto gray = source.bitCount() == 24 ? std::array<uint8_t, 256>{} : grayOfIndex(source);
    const PixelRow grayOfPixels = bgrToGrayRow();
    const TableRow grayOfIndices = tableRow();
    for (int y : frame.rows()) {
        uint8_t *const to = result.row(y);
        if (source.bitCount() == 24)
            grayOfPixels(to, source.row(y), width);
        else
            forIndexRuns(source, y, [&](const uint8_t *indices, std::size_t first, std::size_t count) {
                grayOfIndices(to + first, indices, count, gray.data());
            });
        clearPadding(to, width, result.stride());
    }
    return frame.finish();
}

void *ProcessConvertTo24BitColor(void *dib)
{
    EffectFrame frame(dib);
    if (!frame.serves({1, 4, 8}))
        return nullptr;
    const Dib &source = frame.source();
    const auto plan = planConversion(source, 24, kHeaderBytes);
    if (!plan || !frame.begin(*plan))
        return nullptr;
    Dib &result = frame.result();
    describeResult(result, 0, result.layout().pixelBytes());

    const ColorTable colors = colorOfIndex(source);
    const ColorRow colorOfIndices = indexToBgrRow(colors);
    for (int y : frame.rows()) {
        uint8_t *const to = result.row(y);
        forIndexRuns(source, y, [&](const uint8_t *indices, std::size_t first, std::size_t count) {
            colorOfIndices(to + 3 * first, indices, count, colors);
        });
        clearPadding(to, 3 * static_cast<std::size_t>(source.width()), result.stride());
    }
    return frame.finish();
}

// Not on the frame: neither cursor nor progress nor abort.
void *ProcessConvertFrom8To1(void *dib, int threshold)
{
    constexpr uint8_t kBlackAndWhite[] = {0, 0, 0, 0, 255, 255, 255, 255}; // white with its reserved byte
    const LockedDib source(dib);
    if (!source || source->bitCount() != 8)
        return nullptr;
    const auto layout =
        DibLayout::make(source->width(), source->height(), 1, kHeaderBytes + sizeof kBlackAndWhite);
    if (!layout)
        return nullptr;
    const std::size_t bytes = layout->totalBytes();
    void *const handle = allocateBlock(KEL_MEM_MOVEABLE | KEL_MEM_ZERO, bytes, Contents::Overwritten);
    if (!handle)
        return nullptr;
    const BlockLock lock(handle);
    if (!lock.bytes()) {
        KelMemFree(handle);
        return nullptr;
    }
    Dib result = *Dib::withLayout(lock.bytes(), bytes, *layout);
    std::memcpy(result.block(), source->block(), kHeaderBytes);
    describeResult(result, 2, bytes); // the whole block and not its rows: hosts rely on it
    std::memcpy(result.palette(), kBlackAndWhite, sizeof kBlackAndWhite);

    const auto width = static_cast<std::size_t>(source->width());
    const BitRow aboveThreshold = aboveThresholdRow(threshold);
    for (int y = 0; y < source->height(); ++y) {
        aboveThreshold(result.row(y), source->row(y), width, threshold);
        clearPadding(result.row(y), (width + 7) / 8, result.stride());
    }
    return handle;
}
