#include "io/bmp_info.h"
#include "io/codec.h"
#include "io/pixels.h"
#include <algorithm>
#include <bit>

namespace velmont::io {

namespace {

constexpr uint32_t kCoreHeader = 12;  // the first kind: 16-bit sizes, palette entries of three bytes
constexpr uint32_t kInfoHeader = 40;  // the common kind
constexpr uint32_t kMasksHeader = 52; // with colour masks inside
constexpr uint32_t kAlphaHeader = 56; // and an alpha mask
constexpr uint32_t kOs2Header = 64;   // the longest of OS/2, which may stop anywhere behind byte 16
constexpr uint32_t kOs2Shortest = 16;
constexpr uint32_t kV4Header = 108;
constexpr uint32_t kV5Header = 124;

/// biCompression.
enum : uint32_t { kPlain, kRle8, kRle4, kBitFields, kJpeg, kPng, kAlphaBitFields };

Error bmpError(const std::string &text)
{
    return formatError(Format::Bmp, text);
}

class BmpInfoReader {
public:
    explicit BmpInfoReader(const EncodedFile &file) : file_(file.bytes), maxPixels_(file.maxPixels) {}
    BmpInfo read();

private:
    uint32_t byte(std::size_t place) const
    {
        if (place >= file_.size())
            throw endsEarly(Format::Bmp);
        return file_[place];
    }
    uint32_t u16(std::size_t place) const { return byte(place) | byte(place + 1) << 8; }
    uint32_t u32(std::size_t place) const { return u16(place) | u16(place + 2) << 16; }
    /// A 32-bit field of the information header; 0 where the header is too short for it.
    uint32_t field(uint32_t place) const
    {
        return place + 4 <= headerBytes_ ? u32(kBmpFileHeaderBytes + place) : 0;
    }
    bool isOs2() const
    {
        return headerBytes_ >= kOs2Shortest && headerBytes_ <= kOs2Header && headerBytes_ != kInfoHeader &&
               headerBytes_ != kMasksHeader && headerBytes_ != kAlphaHeader;
    }

    void checkHeaderBytes() const;
    void readSize();
    void readResolution();
    void readDepth();
    void readCoding();
    void readMasks();
    void setMask(unsigned channel, uint32_t mask);
    void setPlainMasks();
    void readPalette();
    std::size_t declaredColors(std::size_t room) const;
    void findPixels();

    std::span<const uint8_t> file_;
    uint64_t maxPixels_;
    uint32_t headerBytes_ = 0;
    uint32_t compression_ = kPlain;
    std::size_t end_ = 0; ///< behind the headers read so far
    std::size_t pixelOffset_ = 0;
    BmpInfo info_;
};

void BmpInfoReader::checkHeaderBytes() const
{
    if (headerBytes_ != kCoreHeader && headerBytes_ != kInfoHeader && headerBytes_ != kMasksHeader &&
        headerBytes_ != kAlphaHeader && headerBytes_ != kV4Header && headerBytes_ != kV5Header && !isOs2())
        throw bmpError("a header of " + std::to_string(headerBytes_) +
                       " bytes is of no known kind (12, 16 to 64, 108, 124)");
}

void BmpInfoReader::readSize()
{
    constexpr std::size_t kAt = kBmpFileHeaderBytes + 4;
    if (headerBytes_ == kCoreHeader) {
        info_.width = u16(kAt);
        info_.height = u16(kAt + 2);
    } else {
        info_.width = u32(kAt);
        info_.height = u32(kAt + 4);
        if (!isOs2() && info_.width > INT32_MAX)
            throw bmpError("the width is negative");
        info_.isTopDown = !isOs2() && info_.height > INT32_MAX;
        if (info_.isTopDown)
            info_.height = 0 - info_.height;
    }
    checkSize(Format::Bmp, info_.width, info_.height, maxPixels_);
}

void BmpInfoReader::readResolution()
{
    if (headerBytes_ == kCoreHeader)
        return;
    info_.xPelsPerMeter = std::max(static_cast<int32_t>(field(24)), 0);
    info_.yPelsPerMeter = std::max(static_cast<int32_t>(field(28)), 0);
}

void BmpInfoReader::readDepth()
{
    const std::size_t place = kBmpFileHeaderBytes + (headerBytes_ == kCoreHeader ? 8 : 12);
    if (const uint32_t planes = u16(place); planes != 1)
        throw bmpError("the image has " + std::to_string(planes) + " planes instead of 1");
    info_.bits = u16(place + 2);
    constexpr std::array<unsigned, 7> kDepths = {1, 2, 4, 8, 16, 24, 32};
    if (std::find(kDepths.begin(), kDepths.end(), info_.bits) == kDepths.end())
        throw bmpError(std::to_string(info_.bits) + " bits a pixel are none of 1, 2, 4, 8, 16, 24 and 32");
}

void BmpInfoReader::readCoding()
{
    compression_ = headerBytes_ == kCoreHeader ? 0 : field(16);
    if (isOs2() && compression_ >= kBitFields)
        throw bmpError("compression " + std::to_string(compression_) + " of OS/2 is not supported");
    if (compression_ == kJpeg || compression_ == kPng)
        throw bmpError(std::string("an embedded ") + (compression_ == kJpeg ? "JPEG" : "PNG") +
                       " image is not supported");
    if (compression_ > kAlphaBitFields)
        throw bmpError("compression " + std::to_string(compression_) + " is not known");
    const bool isRle = compression_ == kRle4 || compression_ == kRle8;
    const bool hasMasks = compression_ == kBitFields || compression_ == kAlphaBitFields;
    if ((compression_ == kRle4 && info_.bits != 4) || (compression_ == kRle8 && info_.bits != 8) ||
        (hasMasks && info_.bits != 16 && info_.bits != 32))
        throw bmpError("compression " + std::to_string(compression_) + " does not go with " +
                       std::to_string(info_.bits) + " bits a pixel");
    if (isRle && info_.isTopDown)
        throw bmpError("a run-length coded image cannot be stored from the top down");
    if (isRle)
        info_.coding = compression_ == kRle4 ? BmpCoding::RunLength4 : BmpCoding::RunLength8;
}

void BmpInfoReader::setMask(unsigned channel, uint32_t mask)
{
    BmpChannel &target = info_.channels[channel];
    if (mask == 0)
        return;
    target.mask = mask;
    target.shift = static_cast<unsigned>(std::countr_zero(mask));
    target.maximum = mask >> target.shift;
    // A run of ones plus one is a power of two, or 0 when all 32 bits are set.
    const bool isRun = (target.maximum & (target.maximum + 1)) == 0;
    if (!isRun || (info_.bits == 16 && mask > UINT16_MAX))
        throw bmpError("a channel mask is not one run of the pixel's bits");
}

void BmpInfoReader::setPlainMasks()
{
    const bool isShort = info_.bits == 16;
    setMask(0, isShort ? 0x001F : 0x0000FF);
    setMask(1, isShort ? 0x03E0 : 0x00FF00);
    setMask(2, isShort ? 0x7C00 : 0xFF0000);
}

void BmpInfoReader::readMasks()
{
    end_ = kBmpFileHeaderBytes + headerBytes_;
    if (info_.bits != 16 && info_.bits != 32)
        return;
    // In a file without masks the fourth byte of a 32-bit pixel is reserved: it is no alpha.
    if (compression_ == kPlain)
        return setPlainMasks();
    const std::size_t place = kBmpFileHeaderBytes + kInfoHeader;
    const bool hasAlphaMask = compression_ == kAlphaBitFields || headerBytes_ >= kAlphaHeader;
    setMask(2, u32(place));
    setMask(1, u32(place + 4));
    setMask(0, u32(place + 8));
    setMask(3, hasAlphaMask ? u32(place + 12) : 0);
    end_ = std::max(end_, place + (hasAlphaMask ? 16 : 12));
    uint32_t seen = 0;
    for (const BmpChannel &channel : info_.channels) {
        if (seen & channel.mask)
            throw bmpError("channel masks overlap");
        seen |= channel.mask;
    }
    if (std::any_of(info_.channels.begin(), info_.channels.begin() + 3,
                    [](const BmpChannel &channel) { return channel.mask == 0; }))
        throw bmpError("a colour's channel mask is empty");
}

/// \param room entries that fit before the pixels
std::size_t BmpInfoReader::declaredColors(std::size_t room) const
{
    const std::size_t most = mostColors(info_.bits);
    const std::size_t declared = field(32);
    if (declared != 0)
        return std::min(declared, most);
    // The first kind of header cannot say how many there are; some files hold no more than they use.
    return headerBytes_ == kCoreHeader ? std::clamp<std::size_t>(room, 1, most) : most;
}

void BmpInfoReader::readPalette()
{
    if (mostColors(info_.bits) == 0)
        return;
    const std::size_t entryBytes = headerBytes_ == kCoreHeader ? 3 : 4;
    const std::size_t room = (pixelOffset_ - end_) / entryBytes;
    const std::size_t count = declaredColors(room);
    if (count > room)
        throw bmpError("the palette needs " + std::to_string(count) + " colours, there is room for " +
                       std::to_string(room) + " before the pixels");
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t place = end_ + entryBytes * i;
        info_.palette.push_back({static_cast<uint8_t>(byte(place)), static_cast<uint8_t>(byte(place + 1)),
                                 static_cast<uint8_t>(byte(place + 2)), 0});
    }
}

void BmpInfoReader::findPixels()
{
    if (pixelOffset_ > file_.size())
        throw endsEarly(Format::Bmp);
    info_.pixels = file_.subspan(pixelOffset_);
    const uint64_t needed = strideOf(info_.width, info_.bits) * info_.height;
    if (info_.coding == BmpCoding::Plain && info_.pixels.size() < needed)
        throw bmpError(std::to_string(info_.bits) + "-bit rows need " + std::to_string(needed) +
                       " bytes, the file has " + std::to_string(info_.pixels.size()));
}

BmpInfo BmpInfoReader::read()
{
    pixelOffset_ = u32(10);
    headerBytes_ = u32(kBmpFileHeaderBytes);
    checkHeaderBytes();
    readSize();
    readResolution();
    readDepth();
    readCoding();
    readMasks();
    if (pixelOffset_ < end_)
        throw bmpError("the pixels start at byte " + std::to_string(pixelOffset_) +
                       ", inside the headers of " + std::to_string(end_) + " bytes");
    readPalette();
    findPixels();
    return std::move(info_);
}

} // namespace

BmpInfo readBmpInfo(const EncodedFile &file)
{
    return BmpInfoReader(file).read();
}

} // namespace velmont::io
