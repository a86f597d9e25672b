#include "io/dib_source.h"
#include "io/codec.h"
#include "io/pixels.h"
#include <algorithm>
#include <cstring>

namespace velmont::io {

namespace {

bool isWritableDepth(unsigned bits)
{
    return bits == 1 || bits == 4 || bits == 8 || bits == 24;
}

} // namespace

DibSource::DibSource(const Picture &picture) : lock_(picture.dib.get())
{
    if (!lock_.bytes())
        throw Error("there is no image to write");
    readHeader(KelMemSize(picture.dib.get()));
    readPalette();
    if (picture.alpha.empty())
        return;
    const uint64_t pixels = static_cast<uint64_t>(width()) * static_cast<uint64_t>(height());
    if (picture.alpha.size() != pixels)
        throw Error("the alpha has " + std::to_string(picture.alpha.size()) + " values, the image has " +
                    std::to_string(pixels) + " pixels");
    alpha_ = picture.alpha.data();
}

void DibSource::readHeader(std::size_t blockBytes)
{
    const Error misfit("the image's header does not fit its block of " + std::to_string(blockBytes) +
                       " bytes");
    if (blockBytes < sizeof header_)
        throw misfit;
    std::memcpy(&header_, lock_.bytes(), sizeof header_);
    if (header_.biSize < sizeof header_ || header_.biSize > blockBytes || width() < 1 || height() < 1)
        throw misfit;
    const uint64_t offset = sizeof header_ + sizeof(DibColor) * uint64_t{bits() <= 8 ? header_.biClrUsed : 0};
    const uint64_t stride = strideOf(static_cast<uint64_t>(width()), bits());
    const uint64_t most = std::min<uint64_t>(blockBytes, UINT32_MAX);
    if (offset > most || stride > (most - offset) / static_cast<uint64_t>(height()))
        throw misfit;
    if (!isWritableDepth(bits()))
        throw Error("an image of " + std::to_string(bits()) +
                    " bits a pixel cannot be written, only of 1, 4, 8 and 24");
    stride_ = static_cast<std::size_t>(stride);
    rows_ = lock_.bytes() + offset;
}

void DibSource::readPalette()
{
    const unsigned most = mostColors(bits());
    if (most == 0)
        return;
    colors_ = std::min<uint32_t>(header_.biClrUsed, most);
    std::memcpy(palette_.data(), lock_.bytes() + sizeof header_, sizeof(DibColor) * colors_);
    if (colors_ < most)
        colors_ = std::max(colors_, bits() == 1 ? 2 : highestColor() + 1);
}

unsigned DibSource::highestColor() const
{
    unsigned highest = 0;
    for (int y = 0; y < height(); ++y)
        highest = std::max(highest, highestIndex(row(y), static_cast<std::size_t>(width()), bits()));
    return highest;
}

bool DibSource::isGrayRamp() const
{
    if (colors_ == 0 || colors_ != mostColors(bits()))
        return false;
    for (unsigned i = 0; i < colors_; ++i) {
        const DibColor gray = grayOf(i, bits());
        if (palette_[i].blue != gray.blue || palette_[i].green != gray.green || palette_[i].red != gray.red)
            return false;
    }
    return true;
}

bool DibSource::hasGrayPalette() const
{
    const auto isGray = [](const DibColor &color) {
        return color.blue == color.green && color.green == color.red;
    };
    return colors_ > 0 && std::all_of(palette_.begin(), palette_.begin() + colors_, isGray);
}

void DibSource::grayRow(int y, uint8_t *gray) const
{
    const auto columns = static_cast<std::size_t>(width());
    unpackIndices(row(y), columns, bits(), gray);
    std::transform(gray, gray + columns, gray, [this](uint8_t index) { return palette_[index].green; });
}

void DibSource::colorRow(int y, uint8_t *pixels, unsigned step) const
{
    const auto columns = static_cast<std::size_t>(width());
    const uint8_t *const source = row(y);
    if (bits() == 24) {
        for (std::size_t x = 0; x < columns; ++x)
            std::memcpy(pixels + step * x, source + 3 * x, 3);
    } else {
        // The indices are spread over the last third or quarter of the row, where each is read before its
        // place is written.
        uint8_t *const indices = pixels + (step - 1) * columns;
        unpackIndices(source, columns, bits(), indices);
        for (std::size_t x = 0; x < columns; ++x) {
            const DibColor color = palette_[indices[x]];
            std::memcpy(pixels + step * x, &color, 3);
        }
    }
    for (std::size_t x = 0; step == 4 && x < columns; ++x)
        pixels[4 * x + 3] = hasAlpha() ? alphaRow(y)[x] : 255;
}

} // namespace velmont::io
