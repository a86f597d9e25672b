#include "tests/io/picture_view.h"
#include "tests/io/picture_faults.h"
#include <cstring>
#include <gtest/gtest.h>
#include <random>

namespace velmont::io::testing {

PictureView::PictureView(const Picture &picture) : alpha_(picture.alpha)
{
    EXPECT_EQ(samples::faultOf(picture), "");
    block_.resize(KelMemSize(picture.dib.get()));
    std::memcpy(block_.data(), KelMemLock(picture.dib.get()), block_.size());
    KelMemUnlock(picture.dib.get());
    std::memcpy(&header_, block_.data(), sizeof header_);
}

std::vector<unsigned> PictureView::palette() const
{
    std::vector<unsigned> colors;
    for (std::size_t i = 40; i < pixelOffset(); i += 4)
        colors.push_back(block_[i] | unsigned{block_[i + 1]} << 8 | unsigned{block_[i + 2]} << 16);
    return colors;
}

Lines PictureView::lines(const std::function<unsigned(std::size_t, std::size_t)> &value) const
{
    Lines lines;
    for (int y = header_.biHeight - 1; y >= 0; --y) {
        lines.emplace_back();
        for (std::size_t x = 0; x < static_cast<std::size_t>(header_.biWidth); ++x)
            lines.back().push_back(value(x, static_cast<std::size_t>(y)));
    }
    return lines;
}

unsigned PictureView::indexAt(std::size_t x, std::size_t row) const
{
    const uint8_t *const bytes = block_.data() + pixelOffset() + stride() * row;
    switch (header_.biBitCount) {
    case 1:
        return bytes[x / 8] >> (7 - x % 8) & 1;
    case 4:
        return x % 2 == 0 ? bytes[x / 2] >> 4 : bytes[x / 2] & 15;
    default:
        return bytes[x];
    }
}

Lines PictureView::indices() const
{
    return lines([this](std::size_t x, std::size_t row) { return indexAt(x, row); });
}

Lines PictureView::colors() const
{
    const std::vector<unsigned> colors = palette();
    return lines([&](std::size_t x, std::size_t row) {
        if (header_.biBitCount != 24)
            return colors.at(indexAt(x, row));
        const uint8_t *const pixel = block_.data() + pixelOffset() + stride() * row + 3 * x;
        return pixel[0] | unsigned{pixel[1]} << 8 | unsigned{pixel[2]} << 16;
    });
}

Lines PictureView::alpha() const
{
    const auto width = static_cast<std::size_t>(header_.biWidth);
    return alpha_.empty() ? Lines{} : lines([&](std::size_t x, std::size_t row) -> unsigned {
        return alpha_.at(row * width + x);
    });
}

PictureView viewOf(const Bytes &file)
{
    return PictureView(decode(file));
}

std::string errorOf(const Bytes &file)
{
    try {
        decode(file);
    } catch (const Error &error) {
        return error.what();
    }
    return "decoded";
}

std::string errorOf(const std::function<void()> &action)
{
    try {
        action();
    } catch (const Error &error) {
        return error.what();
    }
    return "";
}

Picture makePicture(int width, int height, unsigned bits, const std::vector<unsigned> &palette,
                    const Bytes &rows)
{
    DibHeader header{};
    header.biSize = 40;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<uint16_t>(bits);
    header.biSizeImage = static_cast<uint32_t>(rows.size());
    header.biXPelsPerMeter = 2835;
    header.biYPelsPerMeter = 2835;
    header.biClrUsed = static_cast<uint32_t>(palette.size());
    header.biClrImportant = header.biClrUsed;
    Bytes block(sizeof header);
    std::memcpy(block.data(), &header, sizeof header);
    for (const unsigned color : palette)
        for (const unsigned byte : {color, color >> 8, color >> 16, 0u})
            block.push_back(static_cast<uint8_t>(byte));
    block.insert(block.end(), rows.begin(), rows.end());
    Picture picture{DibHandle(KelMemAlloc(KEL_MEM_MOVEABLE, block.size())), {}};
    std::memcpy(KelMemLock(picture.dib.get()), block.data(), block.size());
    KelMemUnlock(picture.dib.get());
    return picture;
}

Picture noisePicture(int width, int height, unsigned bits, unsigned colors, bool hasAlpha)
{
    std::mt19937 random(bits * 1000 + static_cast<unsigned>(width));
    std::vector<unsigned> palette(colors);
    for (unsigned &color : palette)
        color = random() & 0xFFFFFF;
    const std::size_t usedBits = static_cast<std::size_t>(width) * bits;
    const std::size_t stride = (usedBits + 31) / 32 * 4;
    Bytes rows(stride * static_cast<std::size_t>(height));
    for (std::size_t i = 0; i < rows.size() * 8; ++i)
        if (i % (stride * 8) < usedBits && random() % 2)
            rows[i / 8] |= static_cast<uint8_t>(0x80 >> i % 8);
    Picture picture = makePicture(width, height, bits, palette, rows);
    picture.alpha.resize(hasAlpha ? static_cast<std::size_t>(width) * static_cast<std::size_t>(height) : 0);
    for (uint8_t &value : picture.alpha)
        value = static_cast<uint8_t>(random());
    return picture;
}

std::vector<unsigned> grayRamp()
{
    std::vector<unsigned> ramp(256);
    for (unsigned i = 0; i < 256; ++i)
        ramp[i] = i * 0x010101;
    return ramp;
}

} // namespace velmont::io::testing
