#include "pictures.h"
#include <cstddef>
#include <cstring>
#include <velmont/dib.h>
#include <velmont/memory.h>

namespace velmont::test {

namespace {

struct Shape {
    uint16_t bits;
    uint32_t paletteEntries;
};

Shape shapeOf(Kind kind)
{
    switch (kind) {
    case Kind::OneBit:
        return {1, 2};
    case Kind::FourBit:
        return {4, 16};
    case Kind::Paletted:
    case Kind::Gray:
        return {8, 256};
    case Kind::Colour:
        break;
    }
    return {24, 0};
}

std::size_t strideOf(int width, int bits)
{
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(bits) + 31) / 32 * 4;
}

/// Black and white at 1 bit, the ramp for gray, else colours that all differ.
DibColor entry(Kind kind, uint32_t index)
{
    const auto level = static_cast<uint8_t>(kind == Kind::OneBit ? index * 255 : index);
    if (kind == Kind::OneBit || kind == Kind::Gray)
        return {level, level, level, 0};
    return {static_cast<uint8_t>(index * 7), static_cast<uint8_t>(255 - index),
            static_cast<uint8_t>(index * 16), 0};
}

void fillRow(uint8_t *row, std::size_t usedBits, std::size_t seed)
{
    for (std::size_t i = 0; i < usedBits / 8; ++i)
        row[i] = static_cast<uint8_t>(i * 37 + seed * 101 + (i * i + seed) % 29);
    if (const std::size_t rest = usedBits % 8)
        row[usedBits / 8] = static_cast<uint8_t>((seed * 91 + 85) & (0xFF00u >> rest));
}

uint32_t rgb(unsigned red, unsigned green, unsigned blue)
{
    return red << 16 | green << 8 | blue;
}

/// Reads pixels behind the palette.
class Reader {
public:
    explicit Reader(const uint8_t *block)
    {
        std::memcpy(&header_, block, sizeof header_);
        palette_ = block + sizeof header_;
        rows_ = palette_ + std::size_t{4} * header_.biClrUsed;
        stride_ = strideOf(header_.biWidth, header_.biBitCount);
    }

    int width() const { return header_.biWidth; }
    int height() const { return header_.biHeight; }

    uint32_t at(int x, int y) const
    {
        const uint8_t *const row = rows_ + static_cast<std::size_t>(y) * stride_;
        if (header_.biBitCount == 24)
            return rgb(row[x * 3 + 2], row[x * 3 + 1], row[x * 3]);
        const int perByte = 8 / header_.biBitCount;
        const int shift = 8 - header_.biBitCount * (x % perByte + 1);
        const int index = row[x / perByte] >> shift & ((1 << header_.biBitCount) - 1);
        return rgb(palette_[index * 4 + 2], palette_[index * 4 + 1], palette_[index * 4]);
    }

private:
    DibHeader header_;
    const uint8_t *palette_, *rows_;
    std::size_t stride_;
};

} // namespace

io::DibHandle makeDib(Kind kind, int width, int height)
{
    const Shape shape = shapeOf(kind);
    const std::size_t stride = strideOf(width, shape.bits);
    const std::size_t pixels = stride * static_cast<std::size_t>(height);
    const std::size_t palette = std::size_t{4} * shape.paletteEntries;
    io::DibHandle dib(KelMemAlloc(KEL_MEM_ZERO, sizeof(DibHeader) + palette + pixels));
    auto *const block = static_cast<uint8_t *>(KelMemLock(dib.get()));
    const DibHeader header{40,
                           width,
                           height,
                           1,
                           shape.bits,
                           0,
                           static_cast<uint32_t>(pixels),
                           2835,
                           2835,
                           shape.paletteEntries,
                           shape.paletteEntries};
    std::memcpy(block, &header, sizeof header);
    for (uint32_t i = 0; i < shape.paletteEntries; ++i) {
        const DibColor colour = entry(kind, i);
        std::memcpy(block + sizeof header + std::size_t{4} * i, &colour, sizeof colour);
    }
    for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y)
        fillRow(block + sizeof header + palette + y * stride, static_cast<std::size_t>(width) * shape.bits,
                y);
    KelMemUnlock(dib.get());
    return dib;
}

io::Picture makePicture(Kind kind, int width, int height)
{
    return {makeDib(kind, width, height), {}};
}

io::Picture makeTransparentPicture(int width, int height)
{
    io::Picture picture = makePicture(Kind::Colour, width, height);
    picture.alpha.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (std::size_t i = 0; i < picture.alpha.size(); ++i)
        picture.alpha[i] = static_cast<uint8_t>(i * 5);
    return picture;
}

void save(const io::Picture &picture, const std::filesystem::path &path)
{
    io::writeFile(path, io::encode(picture, io::formatOfName(path).value()), io::Existing::Replace);
}

void save(Kind kind, int width, int height, const std::filesystem::path &path)
{
    save(makePicture(kind, width, height), path);
}

std::vector<uint32_t> coloursOf(void *dib)
{
    std::vector<uint32_t> colours;
    const Reader reader(static_cast<const uint8_t *>(KelMemLock(dib)));
    for (int y = 0; y < reader.height(); ++y) {
        for (int x = 0; x < reader.width(); ++x)
            colours.push_back(reader.at(x, y));
    }
    KelMemUnlock(dib);
    return colours;
}

std::vector<uint32_t> coloursOf(const std::filesystem::path &path)
{
    return coloursOf(io::readPicture(path).dib.get());
}

} // namespace velmont::test
