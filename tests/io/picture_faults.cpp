#include "tests/io/picture_faults.h"
#include <cstring>
#include <velmont/dib.h>

namespace velmont::io::samples {

namespace {

std::string faultOfHeader(const DibHeader &header, std::size_t blockBytes)
{
    if (header.biSize != 40 || header.biPlanes != 1 || header.biCompression != 0)
        return "biSize, biPlanes or biCompression";
    if (header.biWidth < 1 || header.biHeight < 1)
        return "size";
    const unsigned bits = header.biBitCount;
    if (bits != 1 && bits != 4 && bits != 8 && bits != 24)
        return "depth";
    if (bits == 24 ? header.biClrUsed != 0 : header.biClrUsed < 1 || header.biClrUsed > 1u << bits)
        return "biClrUsed";
    if ((bits == 1 && header.biClrUsed != 2) || header.biClrImportant != header.biClrUsed)
        return "biClrUsed or biClrImportant";
    const uint64_t stride = (static_cast<uint64_t>(header.biWidth) * bits + 31) / 32 * 4;
    if (header.biSizeImage != stride * static_cast<uint64_t>(header.biHeight))
        return "biSizeImage";
    return blockBytes == 40 + 4 * uint64_t{header.biClrUsed} + header.biSizeImage ? "" : "block size";
}

/// Padding and indices, bit by bit.
std::string faultOfRow(const DibHeader &header, const uint8_t *row, std::size_t stride)
{
    const std::size_t bits = header.biBitCount;
    const std::size_t usedBits = static_cast<std::size_t>(header.biWidth) * bits;
    for (std::size_t i = usedBits; i < stride * 8; ++i)
        if (row[i / 8] & 0x80 >> i % 8)
            return "padding";
    if (bits == 24 || header.biClrUsed == 1u << bits)
        return "";
    for (std::size_t i = 0; i < usedBits; i += bits)
        if ((row[i / 8] >> (8 - bits - i % 8) & ((1u << bits) - 1)) >= header.biClrUsed)
            return "index behind the palette";
    return "";
}

std::string faultOfBlock(const uint8_t *block, std::size_t blockBytes, std::size_t alphaBytes)
{
    DibHeader header;
    if (blockBytes < sizeof header)
        return "block size";
    std::memcpy(&header, block, sizeof header);
    std::string fault = faultOfHeader(header, blockBytes);
    const std::size_t stride =
        fault.empty() ? header.biSizeImage / static_cast<uint32_t>(header.biHeight) : 0;
    for (uint32_t i = 0; fault.empty() && i < header.biClrUsed; ++i)
        fault = block[40 + 4 * i + 3] == 0 ? "" : "reserved byte of the palette";
    for (int y = 0; fault.empty() && y < header.biHeight; ++y)
        fault = faultOfRow(header, block + 40 + 4 * header.biClrUsed + stride * static_cast<std::size_t>(y),
                           stride);
    if (fault.empty() && alphaBytes != 0 &&
        alphaBytes != static_cast<uint64_t>(header.biWidth) * static_cast<uint64_t>(header.biHeight))
        return "alpha size";
    return fault;
}

} // namespace

std::string faultOf(const Picture &picture)
{
    const auto *const block = static_cast<const uint8_t *>(KelMemLock(picture.dib.get()));
    if (!block)
        return "no block";
    std::string fault = faultOfBlock(block, KelMemSize(picture.dib.get()), picture.alpha.size());
    KelMemUnlock(picture.dib.get());
    return fault;
}

} // namespace velmont::io::samples
