#include "io/codec.h"
#include "io/dib_target.h"
#include "io/pixels.h"
#include "io/tiff_notes.h"
#include "io/tiff_stream.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <utility>

namespace velmont::io {

namespace {

constexpr double kInchesPerMeter = 1 / 0.0254;
constexpr unsigned kMostBits = 16;
/// What libtiff may need at once besides pixels.
constexpr uint64_t kBesidesPixels = uint64_t{1} << 20;

/// How samples become pixels.
enum class Kind {
    Indexed, ///< bits as they are: palettes, and gray of less than 8 bits
    Gray,
    Color,
    Inks,
    Other, ///< what libtiff itself makes colours of
};

unsigned colorChannels(Kind kind)
{
    return kind == Kind::Inks ? 4 : kind == Kind::Color ? 3 : 1;
}

bool isPackedDepth(unsigned bits)
{
    return bits == 1 || bits == 2 || bits == 4;
}

/// Reads one channel of a row as 0 to 255. Samples lie close together, the highest bit first; those of 16 bits
/// are in the order of the processor.
class Samples {
public:
    Samples(unsigned bits, unsigned channels) : bits_(bits), channels_(channels) {}

    void read(const uint8_t *row, unsigned channel, std::span<uint8_t> levels) const
    {
        if (bits_ == 8)
            for (std::size_t x = 0; x < levels.size(); ++x)
                levels[x] = row[x * channels_ + channel];
        else if (bits_ == 16)
            for (std::size_t x = 0; x < levels.size(); ++x)
                levels[x] = reduced(row + 2 * (x * channels_ + channel));
        else
            for (std::size_t x = 0; x < levels.size(); ++x)
                levels[x] = widened(row, (x * channels_ + channel) * bits_);
    }

private:
    static uint8_t reduced(const uint8_t *place)
    {
        uint16_t sample;
        std::memcpy(&sample, place, sizeof sample);
        return static_cast<uint8_t>((sample * 255u + 32767) / 65535);
    }
    uint8_t widened(const uint8_t *row, std::size_t bit) const
    {
        unsigned sample = 0;
        for (unsigned i = 0; i < bits_; ++i, ++bit)
            sample = sample << 1 | (row[bit / 8] >> (7 - bit % 8) & 1u);
        const unsigned most = (1u << bits_) - 1;
        return static_cast<uint8_t>((sample * 255 + most / 2) / most);
    }

    unsigned bits_;
    unsigned channels_;
};

/// The colour whose part `alpha` of 255 is this level.
uint8_t withoutAlpha(unsigned level, unsigned alpha)
{
    return alpha == 0 ? uint8_t{0} : static_cast<uint8_t>(std::min(255u, (level * 255 + alpha / 2) / alpha));
}

/// Reads one file.
class TiffReader {
public:
    explicit TiffReader(const EncodedFile &file)
        : maxPixels_(file.maxPixels), shouldStop_(file.shouldStop), fileBytes_(file.bytes.size()),
          stream_(file.bytes, 4 * file.maxPixels + file.bytes.size() + kBesidesPixels), tiff_(stream_.open())
    {
        if (!tiff_)
            throw failure();
    }

    DecodedFile read();

private:
    template <typename Value = uint16_t>
    Value tag(uint32_t name, Value otherwise = 0) const
    {
        Value value = otherwise;
        TIFFGetFieldDefaulted(tiff_.get(), name, &value);
        return value;
    }
    /// The line for what libtiff complained about.
    Error failure() const
    {
        if (stream_.outOfMemory())
            return notEnoughMemory(width_, height_);
        const std::string &text = stream_.complaint();
        return text.empty() || stream_.endedEarly() ? endsEarly(Format::Tiff)
                                                    : formatError(Format::Tiff, text);
    }
    void check(bool succeeded) const
    {
        if (!succeeded)
            throw failure();
    }

    void readTags();
    Kind chooseKind();
    void findAlpha();
    unsigned dibBits() const;
    std::vector<DibColor> palette() const;
    int32_t pelsPerMeter(uint32_t name) const;
    DibShape shape() const;
    std::vector<uint8_t> bytesOf(uint32_t name) const;

    bool isSeparate() const { return planes_ == PLANARCONFIG_SEPARATE; }
    std::size_t storedRowBytes() const
    {
        return static_cast<std::size_t>(rowBytes(uint64_t{width_} * (isSeparate() ? 1 : samples_), bits_));
    }
    void readPixels(const DibTarget &target);
    void readStrips(const DibTarget &target, unsigned plane);
    void readTiles(const DibTarget &target, unsigned plane);
    void takeRow(const DibTarget &target, unsigned plane, int line, const uint8_t *row);
    void takeIndices(const uint8_t *row, uint8_t *line);
    void takeChannel(unsigned channel, uint8_t *line, int row);
    void divideByAlpha(const DibTarget &target);
    void readConverted(const DibTarget &target);
    uint8_t *alphaRow(int row) { return alpha_.data() + std::size_t{width_} * static_cast<std::size_t>(row); }

    uint64_t maxPixels_;
    StopCheck shouldStop_;
    uint64_t fileBytes_;
    TiffStream stream_;
    TiffHandle tiff_;
    uint32_t width_ = 0;
    uint32_t height_ = 0;
    unsigned bits_ = 1;
    unsigned samples_ = 1;
    unsigned planes_ = PLANARCONFIG_CONTIG;
    unsigned photometric_ = PHOTOMETRIC_MINISBLACK;
    unsigned compression_ = COMPRESSION_NONE;
    Kind kind_ = Kind::Other;
    unsigned alphaChannel_ = 0; ///< behind the colours; 0 for none
    bool isPremultiplied_ = false;
    std::vector<uint8_t> levels_; ///< one channel of a row
    std::vector<uint8_t> alpha_;
    std::vector<std::string> notices_;
};

void TiffReader::readTags()
{
    width_ = tag<uint32_t>(TIFFTAG_IMAGEWIDTH);
    height_ = tag<uint32_t>(TIFFTAG_IMAGELENGTH);
    checkSize(Format::Tiff, width_, height_, maxPixels_);
    checkRate(Format::Tiff, width_, height_, fileBytes_);
    bits_ = tag(TIFFTAG_BITSPERSAMPLE);
    samples_ = tag(TIFFTAG_SAMPLESPERPIXEL);
    planes_ = tag(TIFFTAG_PLANARCONFIG);
    compression_ = tag(TIFFTAG_COMPRESSION);
    if (!TIFFIsCODECConfigured(static_cast<uint16_t>(compression_)))
        throw formatError(Format::Tiff, "compression " + std::to_string(compression_) + " is not supported");
    photometric_ =
        tag<uint16_t>(TIFFTAG_PHOTOMETRIC, samples_ >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    const unsigned format = tag(TIFFTAG_SAMPLEFORMAT);
    if (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID)
        throw formatError(Format::Tiff, "samples other than whole numbers from 0 on are not supported");
    if (bits_ < 1 || bits_ > kMostBits || samples_ < 1)
        throw formatError(Format::Tiff, std::to_string(samples_) + " samples of " + std::to_string(bits_) +
                                            " bits a pixel are not supported");
}

Kind TiffReader::chooseKind()
{
    switch (photometric_) {
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MINISWHITE:
        return samples_ == 1 && isPackedDepth(bits_) ? Kind::Indexed : Kind::Gray;
    case PHOTOMETRIC_PALETTE:
        return samples_ == 1 && (isPackedDepth(bits_) || bits_ == 8) ? Kind::Indexed : Kind::Other;
    case PHOTOMETRIC_RGB:
        return samples_ >= 3 ? Kind::Color : Kind::Other;
    case PHOTOMETRIC_SEPARATED:
        return samples_ >= 4 && tag(TIFFTAG_INKSET) == INKSET_CMYK ? Kind::Inks : Kind::Other;
    case PHOTOMETRIC_YCBCR:
        if (compression_ != COMPRESSION_JPEG || samples_ != 3 || bits_ != 8 || isSeparate())
            return Kind::Other;
        TIFFSetField(tiff_.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        return Kind::Color;
    default:
        return Kind::Other;
    }
}

void TiffReader::findAlpha()
{
    if (kind_ == Kind::Indexed || kind_ == Kind::Other)
        return;
    const unsigned colors = colorChannels(kind_);
    uint16_t count = 0;
    const uint16_t *types = nullptr;
    TIFFGetFieldDefaulted(tiff_.get(), TIFFTAG_EXTRASAMPLES, &count, &types);
    for (unsigned i = 0; types && i < count && colors + i < samples_ && alphaChannel_ == 0; ++i) {
        if (types[i] != EXTRASAMPLE_ASSOCALPHA && types[i] != EXTRASAMPLE_UNASSALPHA)
            continue;
        alphaChannel_ = colors + i;
        isPremultiplied_ = types[i] == EXTRASAMPLE_ASSOCALPHA;
    }
    if (samples_ > colors + (alphaChannel_ != 0 ? 1 : 0))
        notices_.emplace_back("channels besides colour and alpha are not kept");
}

unsigned TiffReader::dibBits() const
{
    if (kind_ == Kind::Indexed)
        return bits_ == 2 ? 4 : bits_;
    return kind_ == Kind::Gray ? 8 : 24;
}

std::vector<DibColor> TiffReader::palette() const
{
    std::vector<DibColor> colors;
    const unsigned count = mostColors(kind_ == Kind::Indexed ? bits_ : 8);
    uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
    if (photometric_ != PHOTOMETRIC_PALETTE) {
        for (unsigned i = 0; i < count; ++i)
            colors.push_back(grayOf(i, kind_ == Kind::Indexed ? bits_ : 8));
        return colors;
    }
    if (!TIFFGetField(tiff_.get(), TIFFTAG_COLORMAP, &red, &green, &blue))
        throw formatError(Format::Tiff, "the palette is missing");
    // Some writers put bytes where numbers of 16 bits belong.
    const auto isWide = [&](const uint16_t *levels) {
        return std::any_of(levels, levels + count, [](uint16_t level) { return level > 255; });
    };
    const unsigned shift = isWide(red) || isWide(green) || isWide(blue) ? 8 : 0;
    const auto level = [&](uint16_t value) { return static_cast<uint8_t>(value >> shift); };
    for (unsigned i = 0; i < count; ++i)
        colors.push_back({level(blue[i]), level(green[i]), level(red[i]), 0});
    // The format has no shorter palettes: what is black at the end was not meant. Where a pixel names it after
    // all, it is there again.
    const auto isBlack = [](const DibColor &color) { return (color.blue | color.green | color.red) == 0; };
    while (colors.size() > 1 && isBlack(colors.back()))
        colors.pop_back();
    return colors;
}

int32_t TiffReader::pelsPerMeter(uint32_t name) const
{
    const unsigned unit = tag(TIFFTAG_RESOLUTIONUNIT);
    if (unit != RESUNIT_INCH && unit != RESUNIT_CENTIMETER)
        return 0;
    const double value = double{tag<float>(name)} * (unit == RESUNIT_INCH ? kInchesPerMeter : 100);
    return value >= 0.5 && value < INT32_MAX ? static_cast<int32_t>(std::lround(value)) : 0;
}

DibShape TiffReader::shape() const
{
    DibShape shape;
    shape.width = static_cast<int>(width_);
    shape.height = static_cast<int>(height_);
    shape.bits = dibBits();
    if (shape.bits != 24)
        shape.palette = palette();
    shape.xPelsPerMeter = pelsPerMeter(TIFFTAG_XRESOLUTION);
    shape.yPelsPerMeter = pelsPerMeter(TIFFTAG_YRESOLUTION);
    return shape;
}

std::vector<uint8_t> TiffReader::bytesOf(uint32_t name) const
{
    uint32_t count = 0;
    const uint8_t *bytes = nullptr;
    if (!TIFFGetField(tiff_.get(), name, &count, &bytes) || !bytes)
        return {};
    return std::vector<uint8_t>(bytes, bytes + count);
}

void TiffReader::takeIndices(const uint8_t *row, uint8_t *line)
{
    uint8_t *const bytes = levels_.data();
    const auto count = storedRowBytes();
    const uint8_t flip = photometric_ == PHOTOMETRIC_MINISWHITE ? 0xFF : 0;
    std::transform(row, row + count, bytes,
                   [flip](uint8_t byte) { return static_cast<uint8_t>(byte ^ flip); });
    if (bits_ == 2)
        widenTwoBits(bytes, width_, line);
    else
        std::memcpy(line, bytes, count);
}

void TiffReader::takeChannel(unsigned channel, uint8_t *line, int row)
{
    if (alphaChannel_ != 0 && channel == alphaChannel_) {
        std::copy(levels_.begin(), levels_.end(), alphaRow(row));
    } else if (kind_ == Kind::Gray) {
        const uint8_t flip = photometric_ == PHOTOMETRIC_MINISWHITE ? 0xFF : 0;
        for (std::size_t x = 0; x < width_; ++x)
            line[x] = levels_[x] ^ flip;
    } else if (channel < 3) {
        const uint8_t flip = kind_ == Kind::Inks ? 0xFF : 0;
        for (std::size_t x = 0; x < width_; ++x)
            line[3 * x + 2 - channel] = levels_[x] ^ flip;
    } else {
        // Black comes last and takes its part of the light that the colours leave.
        for (std::size_t i = 0; i < 3 * std::size_t{width_}; ++i)
            line[i] = static_cast<uint8_t>((line[i] * (255u - levels_[i / 3]) + 127) / 255);
    }
}

void TiffReader::takeRow(const DibTarget &target, unsigned plane, int line, const uint8_t *row)
{
    uint8_t *const place = target.line(line);
    if (kind_ == Kind::Indexed)
        return takeIndices(row, place);
    if (kind_ == Kind::Color && bits_ == 8 && samples_ == 3 && !isSeparate()) {
        std::memcpy(place, row, 3 * std::size_t{width_});
        return swapRedAndBlue(place, width_, 3);
    }
    const Samples samples(bits_, isSeparate() ? 1 : samples_);
    const int dibRow = target.height() - 1 - line;
    const auto take = [&](unsigned channel) {
        samples.read(row, isSeparate() ? 0 : channel, levels_);
        takeChannel(channel, place, dibRow);
    };
    if (isSeparate())
        return take(plane);
    for (unsigned channel = 0; channel < colorChannels(kind_); ++channel)
        take(channel);
    if (alphaChannel_ != 0)
        take(alphaChannel_);
}

void TiffReader::readStrips(const DibTarget &target, unsigned plane)
{
    std::vector<uint8_t> row(static_cast<std::size_t>(TIFFScanlineSize64(tiff_.get())));
    if (row.size() < storedRowBytes())
        throw formatError(Format::Tiff, "the rows are shorter than the image is wide");
    for (int line = 0; line < target.height(); ++line) {
        stopIfAsked(shouldStop_);
        check(TIFFReadScanline(tiff_.get(), row.data(), static_cast<uint32_t>(line),
                               static_cast<uint16_t>(plane)) >= 0);
        takeRow(target, plane, line, row.data());
    }
}

void TiffReader::readTiles(const DibTarget &target, unsigned plane)
{
    const auto tileWidth = tag<uint32_t>(TIFFTAG_TILEWIDTH);
    const auto tileHeight = tag<uint32_t>(TIFFTAG_TILELENGTH);
    checkSize(Format::Tiff, tileWidth, tileHeight, maxPixels_);
    const auto tileRowBytes = static_cast<std::size_t>(TIFFTileRowSize64(tiff_.get()));
    const unsigned pixelBits = bits_ * (isSeparate() ? 1 : samples_);
    if (tileRowBytes == 0 || tileWidth % 8 != 0 || tileRowBytes < rowBytes(tileWidth, pixelBits))
        throw formatError(Format::Tiff, "tiles of " + sizeText(tileWidth, tileHeight) + " are not supported");
    std::vector<uint8_t> tile(static_cast<std::size_t>(TIFFTileSize64(tiff_.get())));
    if (tile.size() / tileRowBytes < tileHeight)
        throw formatError(Format::Tiff, "tiles of " + sizeText(tileWidth, tileHeight) + " are not supported");
    const std::size_t bandRowBytes = storedRowBytes();
    std::vector<uint8_t> band(bandRowBytes * std::min(tileHeight, height_));
    for (uint32_t top = 0; top < height_; top += std::min(tileHeight, height_ - top)) {
        const uint32_t rows = std::min(tileHeight, height_ - top);
        for (uint32_t left = 0; left < width_; left += std::min(tileWidth, width_ - left)) {
            stopIfAsked(shouldStop_);
            check(TIFFReadTile(tiff_.get(), tile.data(), left, top, 0, static_cast<uint16_t>(plane)) >= 0);
            const std::size_t offset = std::size_t{left} / 8 * pixelBits;
            const std::size_t count =
                std::min<std::size_t>(bandRowBytes - offset, rowBytes(tileWidth, pixelBits));
            for (std::size_t y = 0; y < rows; ++y)
                std::memcpy(band.data() + bandRowBytes * y + offset, tile.data() + tileRowBytes * y, count);
        }
        for (uint32_t y = 0; y < rows; ++y)
            takeRow(target, plane, static_cast<int>(top + y), band.data() + bandRowBytes * y);
    }
}

void TiffReader::divideByAlpha(const DibTarget &target)
{
    const std::size_t channels = target.bits() / 8;
    for (int row = 0; row < target.height(); ++row) {
        const uint8_t *const alpha = alphaRow(row);
        uint8_t *const pixels = target.row(row);
        for (std::size_t i = 0; i < channels * width_; ++i)
            pixels[i] = withoutAlpha(pixels[i], alpha[i / channels]);
    }
}

void TiffReader::readPixels(const DibTarget &target)
{
    levels_.resize(width_);
    if (alphaChannel_ != 0)
        alpha_.resize(std::size_t{width_} * height_);
    for (unsigned plane = 0; plane < (isSeparate() ? samples_ : 1); ++plane) {
        if (plane >= colorChannels(kind_) && plane != alphaChannel_)
            continue;
        if (TIFFIsTiled(tiff_.get()))
            readTiles(target, plane);
        else
            readStrips(target, plane);
    }
    if (isPremultiplied_)
        divideByAlpha(target);
}

void TiffReader::readConverted(const DibTarget &target)
{
    std::array<char, 1024> text{};
    TIFFRGBAImage image;
    if (!TIFFRGBAImageOK(tiff_.get(), text.data()) ||
        !TIFFRGBAImageBegin(&image, tiff_.get(), 1, text.data()))
        throw stream_.outOfMemory() ? failure() : formatError(Format::Tiff, text.data());
    const std::unique_ptr<TIFFRGBAImage, decltype(&TIFFRGBAImageEnd)> owner(&image, &TIFFRGBAImageEnd);
    // Lines come as they lie in the file.
    image.req_orientation = image.orientation;
    std::vector<uint32_t> pixels(std::size_t{width_} * height_);
    check(TIFFRGBAImageGet(&image, pixels.data(), width_, height_) != 0);
    if (image.alpha != 0)
        alpha_.resize(pixels.size());
    for (int line = 0; line < target.height(); ++line) {
        const uint32_t *const source = pixels.data() + std::size_t{width_} * static_cast<std::size_t>(line);
        uint8_t *const place = target.line(line);
        for (std::size_t x = 0; x < width_; ++x) {
            place[3 * x] = static_cast<uint8_t>(TIFFGetB(source[x]));
            place[3 * x + 1] = static_cast<uint8_t>(TIFFGetG(source[x]));
            place[3 * x + 2] = static_cast<uint8_t>(TIFFGetR(source[x]));
            if (!alpha_.empty())
                alphaRow(target.height() - 1 - line)[x] = static_cast<uint8_t>(TIFFGetA(source[x]));
        }
    }
    if (!alpha_.empty())
        divideByAlpha(target);
}

DecodedFile TiffReader::read()
{
    readTags();
    kind_ = chooseKind();
    findAlpha();
    DibTarget target(shape());
    stream_.forget();
    if (kind_ == Kind::Other)
        readConverted(target);
    else
        readPixels(target);
    if (stream_.endedEarly())
        throw endsEarly(Format::Tiff);
    DecodedFile decoded;
    Picture &picture = decoded.picture;
    picture.dib = target.finish();
    picture.alpha = std::move(alpha_);
    picture.metadata.icc = bytesOf(TIFFTAG_ICCPROFILE);
    picture.metadata.xmp = bytesOf(TIFFTAG_XMLPACKET);
    if (bits_ > 8)
        notices_.push_back(reducedNotice(bits_));
    if (photometric_ == PHOTOMETRIC_SEPARATED)
        notices_.emplace_back(kInksNotice);
    const unsigned orientation = tag(TIFFTAG_ORIENTATION);
    if (const uint64_t pages = TIFFNumberOfDirectories(tiff_.get()); pages > 1)
        notices_.push_back(firstOnlyNotice(pages, "pages"));
    picture.notices = std::move(notices_);
    decoded.orientation = orientation;
    return decoded;
}

} // namespace

DecodedFile decodeTiff(const EncodedFile &file)
{
    DecodedFile decoded = TiffReader(file).read();
    decoded.picture.metadata.exif = notesOfTiff(file.bytes);
    return decoded;
}

} // namespace velmont::io
