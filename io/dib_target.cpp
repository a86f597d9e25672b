#include "io/dib_target.h"
#include "io/codec.h"
#include "io/pixels.h"
#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

namespace velmont::io {

namespace {

DibShape withWholePalette(DibShape shape)
{
    if (shape.bits == 1)
        shape.palette.resize(2);
    return shape;
}

std::size_t offsetOfPixels(const DibShape &shape)
{
    return sizeof(DibHeader) + sizeof(DibColor) * shape.palette.size();
}

DibHeader headerOf(const DibShape &shape)
{
    const uint64_t stride = strideOf(static_cast<uint64_t>(shape.width), shape.bits);
    const auto colors = static_cast<uint32_t>(shape.palette.size());
    DibHeader header{};
    header.biSize = sizeof header;
    header.biWidth = shape.width;
    header.biHeight = shape.height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<uint16_t>(shape.bits);
    header.biSizeImage = static_cast<uint32_t>(stride * static_cast<uint64_t>(shape.height));
    header.biXPelsPerMeter = shape.xPelsPerMeter;
    header.biYPelsPerMeter = shape.yPelsPerMeter;
    header.biClrUsed = colors;
    header.biClrImportant = colors;
    return header;
}

DibHandle allocate(const DibShape &shape)
{
    const auto width = static_cast<uint64_t>(shape.width);
    const auto height = static_cast<uint64_t>(shape.height);
    const uint64_t bytes = offsetOfPixels(shape) + strideOf(width, shape.bits) * height;
    if (bytes > UINT32_MAX)
        throw Error("a " + sizeText(width, height) + " image of " + std::to_string(shape.bits) +
                    " bits needs 4 GiB or more");
    DibHandle dib(KelMemAlloc(KEL_MEM_MOVEABLE | KEL_MEM_ZERO, static_cast<unsigned long>(bytes)));
    if (!dib)
        throw notEnoughMemory(width, height);
    return dib;
}

} // namespace

DibTarget::DibTarget(DibShape shape)
    : shape_(withWholePalette(std::move(shape))),
      stride_(static_cast<std::size_t>(strideOf(static_cast<uint64_t>(shape_.width), shape_.bits))),
      pixelOffset_(offsetOfPixels(shape_)), dib_(allocate(shape_)), lock_(dib_.get())
{
    if (!lock_.bytes())
        throw notEnoughMemory(static_cast<uint64_t>(width()), static_cast<uint64_t>(height()));
    const DibHeader header = headerOf(shape_);
    std::memcpy(lock_.bytes(), &header, sizeof header);
    if (!shape_.palette.empty())
        std::memcpy(lock_.bytes() + sizeof header, shape_.palette.data(),
                    sizeof(DibColor) * shape_.palette.size());
}

std::size_t DibTarget::colorsNeeded() const
{
    const std::size_t colors = shape_.palette.size();
    if (colors >= mostColors(bits()))
        return colors;
    unsigned highest = 0;
    for (int y = 0; y < height(); ++y)
        highest = std::max(highest, highestIndex(row(y), static_cast<std::size_t>(width()), bits()));
    return std::max<std::size_t>(colors, highest + 1);
}

DibHandle DibTarget::finish()
{
    for (int y = 0; y < height(); ++y)
        clearPadding(row(y), static_cast<std::size_t>(width()), bits());
    if (const std::size_t colors = colorsNeeded(); colors > shape_.palette.size()) {
        DibShape grown = shape_;
        grown.palette.resize(colors);
        DibTarget copy(std::move(grown));
        std::memcpy(copy.row(0), row(0), stride_ * static_cast<std::size_t>(height()));
        copy.lock_.unlock();
        lock_.unlock();
        dib_ = std::move(copy.dib_);
    }
    lock_.unlock();
    return std::move(dib_);
}

} // namespace velmont::io
