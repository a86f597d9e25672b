#include "io/bmp_info.h"
#include "io/bmp_rle.h"
#include "io/codec.h"
#include "io/dib_target.h"
#include "io/pixels.h"
#include <cstring>
#include <utility>

namespace velmont::io {

namespace {

constexpr uint32_t kAlphaHeaderBytes = 108;
constexpr uint32_t kBitFields = 3;
constexpr uint32_t kSrgbColorSpace = 0x73524742; // "sRGB"

DibShape shapeOf(BmpInfo &info)
{
    DibShape shape;
    shape.width = static_cast<int>(info.width);
    shape.height = static_cast<int>(info.height);
    shape.bits = info.bits == 2 ? 4 : info.bits > 8 ? 24 : info.bits;
    shape.palette = std::move(info.palette);
    shape.xPelsPerMeter = info.xPelsPerMeter;
    shape.yPelsPerMeter = info.yPelsPerMeter;
    return shape;
}

/// A row of 16- or 32-bit pixels.
void readMaskedRow(const BmpInfo &info, const uint8_t *source, uint8_t *row, uint8_t *alpha)
{
    const std::size_t bytes = info.bits / 8;
    for (std::size_t x = 0; x < info.width; ++x) {
        const uint8_t *const place = source + bytes * x;
        uint32_t pixel = place[0] | uint32_t{place[1]} << 8;
        if (bytes == 4)
            pixel |= uint32_t{place[2]} << 16 | uint32_t{place[3]} << 24;
        for (std::size_t i = 0; i < 3; ++i)
            row[3 * x + i] = info.channels[i].of(pixel);
        if (alpha)
            alpha[x] = info.channels[3].of(pixel);
    }
}

void readRow(const BmpInfo &info, const uint8_t *source, uint8_t *row, uint8_t *alpha)
{
    if (info.bits == 16 || info.bits == 32)
        readMaskedRow(info, source, row, alpha);
    else if (info.bits == 2)
        widenTwoBits(source, info.width, row);
    else
        std::memcpy(row, source, static_cast<std::size_t>(rowBytes(info.width, info.bits)));
}

void readRows(const BmpInfo &info, Picture &picture, const DibTarget &target)
{
    const auto stride = static_cast<std::size_t>(strideOf(info.width, info.bits));
    if (info.hasAlpha())
        picture.alpha.resize(std::size_t{info.width} * info.height);
    for (int i = 0; i < target.height(); ++i) {
        const int y = info.isTopDown ? target.height() - 1 - i : i;
        uint8_t *const alpha =
            info.hasAlpha() ? picture.alpha.data() + std::size_t{info.width} * static_cast<std::size_t>(y)
                            : nullptr;
        readRow(info, info.pixels.data() + stride * static_cast<std::size_t>(i), target.row(y), alpha);
    }
}

/// A file of known size, written from front to back in little-endian order.
class BmpFile {
public:
    BmpFile(const DibSource &image, uint64_t headerBytes, uint64_t paletteBytes, unsigned bits)
        : image_(image), bits_(bits), imageBytes_(strideOf(static_cast<uint64_t>(image.width()), bits) *
                                                  static_cast<uint64_t>(image.height()))
    {
        const uint64_t offset = kBmpFileHeaderBytes + headerBytes + paletteBytes;
        if (offset + imageBytes_ > UINT32_MAX)
            throw formatError(Format::Bmp, "the file would have 4 GiB or more");
        bytes_.reserve(static_cast<std::size_t>(offset + imageBytes_));
        put16(0x4D42); // "BM"
        put32(offset + imageBytes_);
        put32(0);
        put32(offset);
    }

    void put16(uint64_t value)
    {
        bytes_.push_back(static_cast<uint8_t>(value));
        bytes_.push_back(static_cast<uint8_t>(value >> 8));
    }
    void put32(uint64_t value)
    {
        put16(value & 0xFFFF);
        put16(value >> 16);
    }
    /// The 40 bytes that all headers begin with.
    void putInfo(uint32_t headerBytes, uint32_t compression)
    {
        put32(headerBytes);
        put32(static_cast<uint32_t>(image_.width()));
        put32(static_cast<uint32_t>(image_.height()));
        put16(1);
        put16(bits_);
        put32(compression);
        put32(imageBytes_);
        put32(image_.xPelsPerMeter());
        put32(image_.yPelsPerMeter());
        const unsigned colors = bits_ <= 8 ? image_.colors() : 0;
        put32(colors);
        put32(colors);
    }
    void putBytes(const uint8_t *bytes, std::size_t count)
    {
        bytes_.insert(bytes_.end(), bytes, bytes + count);
    }
    std::vector<uint8_t> take() { return std::move(bytes_); }

private:
    const DibSource &image_;
    unsigned bits_;
    uint64_t imageBytes_;
    std::vector<uint8_t> bytes_;
};

/// The Dib behind a file header.
std::vector<uint8_t> encodeOpaque(const DibSource &image)
{
    BmpFile file(image, sizeof(DibHeader), sizeof(DibColor) * uint64_t{image.colors()}, image.bits());
    file.putInfo(sizeof(DibHeader), 0);
    for (unsigned i = 0; i < image.colors(); ++i) {
        const DibColor &color = image.palette()[i];
        const uint8_t entry[] = {color.blue, color.green, color.red, 0};
        file.putBytes(entry, sizeof entry);
    }
    file.putBytes(image.row(0), image.stride() * static_cast<std::size_t>(image.height()));
    return file.take();
}

/// 32 bits a pixel with an alpha mask.
std::vector<uint8_t> encodeWithAlpha(const DibSource &image)
{
    constexpr unsigned kEndpointsAndGamma = 12;
    BmpFile file(image, kAlphaHeaderBytes, 0, 32);
    file.putInfo(kAlphaHeaderBytes, kBitFields);
    for (const uint32_t mask : {0x00FF0000u, 0x0000FF00u, 0x000000FFu, 0xFF000000u})
        file.put32(mask);
    file.put32(kSrgbColorSpace);
    for (unsigned i = 0; i < kEndpointsAndGamma; ++i)
        file.put32(0);
    std::vector<uint8_t> row(4 * static_cast<std::size_t>(image.width()));
    for (int y = 0; y < image.height(); ++y) {
        image.colorRow(y, row.data(), 4);
        file.putBytes(row.data(), row.size());
    }
    return file.take();
}

/// Programs that read BMP files look for pixels in them and nothing else.
void noteLostMetadata(EncodeJob &job)
{
    if (!job.metadata.icc.empty())
        job.notices.emplace_back("the colour profile is not kept in a BMP file");
    if (!job.metadata.exif.empty() || !job.metadata.xmp.empty())
        job.notices.emplace_back("the notes of the camera are not kept in a BMP file");
}

} // namespace

DecodedFile decodeBmp(const EncodedFile &file)
{
    BmpInfo info = readBmpInfo(file);
    if (info.coding != BmpCoding::Plain)
        checkRate(Format::Bmp, info.width, info.height, info.pixels.size());
    Picture picture;
    DibTarget target(shapeOf(info));
    if (info.coding == BmpCoding::Plain)
        readRows(info, picture, target);
    else
        decodeBmpRuns(info.pixels, target);
    picture.dib = target.finish();
    return {std::move(picture)};
}

std::vector<uint8_t> encodeBmp(EncodeJob &job)
{
    noteLostMetadata(job);
    return job.image.hasAlpha() ? encodeWithAlpha(job.image) : encodeOpaque(job.image);
}

} // namespace velmont::io
