#include "io/codec.h"
#include "io/dib_target.h"
#include "io/pixels.h"
#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>
#include <png.h>
#include <string_view>
#include <utility>

namespace velmont::io {

namespace {

/// Deflate makes at most this many bytes of one.
constexpr uint64_t kMostInflation = 1032;
/// What is read besides pixels: the resolution, the colour profile, the notes of the camera, and texts, of which
/// one is an XML packet.
constexpr png_byte kReadChunks[] = "pHYs\0iCCP\0eXIf\0iTXt";
constexpr int kReadChunkCount = 4;
/// Each may grow to 8 MB.
constexpr png_uint_32 kMostTexts = 20;
constexpr char kProfileName[] = "ICC Profile";
constexpr char kXmpName[] = "XML:com.adobe.xmp";

/// What libpng reports to. libpng leaves a failed call by longjmp, so nothing that its callbacks or a guarded
/// step hold may need a destructor; the text of the failure waits here until it is safe to throw.
struct PngFailure {
    char text[160] = "";
    bool endedEarly = false;
    bool outOfMemory = false;

    Error error() const
    {
        if (outOfMemory)
            return Error("not enough memory for the image");
        return endedEarly ? endsEarly(Format::Png) : formatError(Format::Png, text);
    }
};

[[noreturn]] void failPng(png_structp png, png_const_charp text)
{
    auto &failure = *static_cast<PngFailure *>(png_get_error_ptr(png));
    std::snprintf(failure.text, sizeof failure.text, "%s", text);
    png_longjmp(png, 1);
}

void ignoreWarning(png_structp, png_const_charp) {}

/// The one place to which libpng jumps back. \return whether the step came to its end.
template <typename Step>
bool attempt(png_structp png, const Step &step)
{
    if (setjmp(png_jmpbuf(png)))
        return false;
    step();
    return true;
}

/// Reads one file.
class PngReader {
public:
    explicit PngReader(const EncodedFile &file);
    ~PngReader() { png_destroy_read_struct(&png_, &info_, nullptr); }
    PngReader(const PngReader &) = delete;
    PngReader &operator=(const PngReader &) = delete;

    DecodedFile read();

private:
    template <typename Step>
    void guarded(const Step &step)
    {
        if (!attempt(png_, step))
            throw failure_.error();
    }
    static void readBytes(png_structp png, png_bytep bytes, std::size_t count);

    void readHeader();
    bool isIndexed() const { return colorType_ == PNG_COLOR_TYPE_PALETTE || (isGray() && depth_ < 8); }
    bool isGray() const { return (colorType_ & ~PNG_COLOR_MASK_ALPHA) == PNG_COLOR_TYPE_GRAY; }
    bool hasTransparency() const { return png_get_valid(png_, info_, PNG_INFO_tRNS) != 0; }
    DibShape shape() const;
    std::vector<DibColor> palette() const;
    void readResolution(DibShape &shape) const;
    /// Alpha by index, for images that have it so.
    void readIndexAlpha();
    void setTransforms();
    void readRows(const DibTarget &target);
    Metadata metadata();
    uint8_t *rowBuffer(const DibTarget &target, int line);
    void takeRow(const DibTarget &target, int line, const uint8_t *source);

    std::span<const uint8_t> rest_;
    uint64_t fileBytes_;
    uint64_t maxPixels_;
    StopCheck shouldStop_;
    PngFailure failure_;
    png_structp png_;
    png_infop info_;
    uint32_t width_ = 0;
    uint32_t height_ = 0;
    unsigned depth_ = 0;
    int colorType_ = 0;
    int passes_ = 1;
    bool hasAlphaChannel_ = false;
    std::optional<std::array<uint8_t, 256>> indexAlpha_;
    /// Rows that do not go straight into the Dib: one, or all of an interlaced image.
    std::vector<uint8_t> buffer_;
    std::size_t bufferedRowBytes_ = 0;
    std::vector<uint8_t> alpha_;
};

PngReader::PngReader(const EncodedFile &file)
    : rest_(file.bytes), fileBytes_(file.bytes.size()), maxPixels_(file.maxPixels),
      shouldStop_(file.shouldStop),
      png_(png_create_read_struct(PNG_LIBPNG_VER_STRING, &failure_, failPng, ignoreWarning)),
      info_(png_ ? png_create_info_struct(png_) : nullptr)
{
    if (info_)
        return;
    png_destroy_read_struct(&png_, nullptr, nullptr);
    throw std::bad_alloc();
}

void PngReader::readBytes(png_structp png, png_bytep bytes, std::size_t count)
{
    auto &reader = *static_cast<PngReader *>(png_get_io_ptr(png));
    if (count > reader.rest_.size()) {
        reader.failure_.endedEarly = true;
        png_error(png, "");
    }
    std::memcpy(bytes, reader.rest_.data(), count);
    reader.rest_ = reader.rest_.subspan(count);
}

void PngReader::readHeader()
{
    guarded([this] {
        // Chunks that say nothing about pixels are skipped unread, whatever is in them.
        png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
        png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_AS_DEFAULT, kReadChunks, kReadChunkCount);
        png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_chunk_cache_max(png_, kMostTexts);
        png_set_check_for_invalid_index(png_, 0);
        png_set_read_fn(png_, this, readBytes);
        png_read_info(png_, info_);
    });
    width_ = png_get_image_width(png_, info_);
    height_ = png_get_image_height(png_, info_);
    depth_ = png_get_bit_depth(png_, info_);
    colorType_ = png_get_color_type(png_, info_);
    checkSize(Format::Png, width_, height_, maxPixels_);
    const unsigned pixelBits = depth_ * png_get_channels(png_, info_);
    if (rowBytes(width_, pixelBits) * height_ / kMostInflation > fileBytes_)
        throw endsEarly(Format::Png);
}

std::vector<DibColor> PngReader::palette() const
{
    std::vector<DibColor> colors;
    if (isGray()) {
        for (unsigned i = 0; i < mostColors(std::min(depth_, 8u)); ++i)
            colors.push_back(grayOf(i, std::min(depth_, 8u)));
        return colors;
    }
    png_colorp entries = nullptr;
    int count = 0;
    png_get_PLTE(png_, info_, &entries, &count);
    for (int i = 0; i < std::min(count, static_cast<int>(mostColors(depth_))); ++i)
        colors.push_back({entries[i].blue, entries[i].green, entries[i].red, 0});
    return colors;
}

void PngReader::readResolution(DibShape &shape) const
{
    png_uint_32 x = 0, y = 0;
    int unit = PNG_RESOLUTION_UNKNOWN;
    if (!png_get_pHYs(png_, info_, &x, &y, &unit) || unit != PNG_RESOLUTION_METER)
        return;
    shape.xPelsPerMeter = static_cast<int32_t>(std::min<png_uint_32>(x, INT32_MAX));
    shape.yPelsPerMeter = static_cast<int32_t>(std::min<png_uint_32>(y, INT32_MAX));
}

DibShape PngReader::shape() const
{
    DibShape shape;
    shape.width = static_cast<int>(width_);
    shape.height = static_cast<int>(height_);
    shape.bits = isIndexed() ? (depth_ == 2 ? 4 : depth_) : isGray() ? 8 : 24;
    if (shape.bits != 24)
        shape.palette = palette();
    readResolution(shape);
    return shape;
}

void PngReader::readIndexAlpha()
{
    if (!isIndexed() || !hasTransparency())
        return;
    png_bytep alpha = nullptr;
    int count = 0;
    png_color_16p gray = nullptr;
    png_get_tRNS(png_, info_, &alpha, &count, &gray);
    indexAlpha_.emplace().fill(255);
    if (isGray() && gray)
        (*indexAlpha_)[gray->gray & (mostColors(depth_) - 1)] = 0;
    else if (alpha)
        std::copy_n(alpha, std::min(count, 256), indexAlpha_->begin());
}

void PngReader::setTransforms()
{
    guarded([this] {
        if (!isIndexed()) {
            if (hasTransparency())
                png_set_tRNS_to_alpha(png_);
            if (depth_ == 16)
                png_set_scale_16(png_);
            if (!isGray())
                png_set_bgr(png_);
        }
        passes_ = png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
    });
    hasAlphaChannel_ = (png_get_color_type(png_, info_) & PNG_COLOR_MASK_ALPHA) != 0;
}

uint8_t *PngReader::rowBuffer(const DibTarget &target, int line)
{
    if (bufferedRowBytes_ == 0)
        return target.line(line);
    return buffer_.data() + (passes_ > 1 ? bufferedRowBytes_ * static_cast<std::size_t>(line) : 0);
}

void PngReader::takeRow(const DibTarget &target, int line, const uint8_t *source)
{
    const auto columns = static_cast<std::size_t>(width_);
    const auto row = static_cast<std::size_t>(target.height() - 1 - line);
    uint8_t *const alpha = alpha_.data() + (alpha_.empty() ? 0 : columns * row);
    if (hasAlphaChannel_) {
        const std::size_t colors = target.bits() / 8;
        uint8_t *const pixels = target.line(line);
        for (std::size_t x = 0; x < columns; ++x) {
            std::memcpy(pixels + colors * x, source + (colors + 1) * x, colors);
            alpha[x] = source[(colors + 1) * x + colors];
        }
        return;
    }
    if (indexAlpha_) {
        unpackIndices(source, columns, depth_, alpha);
        std::transform(alpha, alpha + columns, alpha,
                       [this](uint8_t index) { return (*indexAlpha_)[index]; });
    }
    if (bufferedRowBytes_ != 0)
        widenTwoBits(source, columns, target.line(line));
}

void PngReader::readRows(const DibTarget &target)
{
    const std::size_t rows = passes_ > 1 ? height_ : 1;
    if (hasAlphaChannel_ || depth_ == 2) {
        bufferedRowBytes_ = png_get_rowbytes(png_, info_);
        buffer_.resize(bufferedRowBytes_ * rows);
    }
    if (hasAlphaChannel_ || indexAlpha_)
        alpha_.resize(static_cast<std::size_t>(width_) * height_);
    guarded([&] {
        for (int pass = 0; pass < passes_; ++pass) {
            for (int line = 0; line < target.height(); ++line) {
                stopIfAsked(shouldStop_);
                uint8_t *const row = rowBuffer(target, line);
                png_read_row(png_, row, nullptr);
                if (pass == passes_ - 1)
                    takeRow(target, line, row);
            }
        }
        png_read_end(png_, info_);
    });
}

Metadata PngReader::metadata()
{
    Metadata metadata;
    png_charp name = nullptr;
    int compression = 0;
    png_bytep bytes = nullptr;
    png_uint_32 count = 0;
    if (png_get_iCCP(png_, info_, &name, &compression, &bytes, &count))
        metadata.icc.assign(bytes, bytes + count);
    if (png_get_eXIf_1(png_, info_, &count, &bytes))
        metadata.exif.assign(bytes, bytes + count);
    png_textp texts = nullptr;
    int textCount = 0;
    png_get_text(png_, info_, &texts, &textCount);
    for (const png_text &text : std::span(texts, static_cast<std::size_t>(textCount)))
        if (metadata.xmp.empty() && std::string_view(text.key) == kXmpName)
            metadata.xmp.assign(text.text, text.text + text.itxt_length);
    return metadata;
}

DecodedFile PngReader::read()
{
    readHeader();
    DibTarget target(shape());
    readIndexAlpha();
    setTransforms();
    readRows(target);
    Picture picture{target.finish(), std::move(alpha_), metadata()};
    if (depth_ == 16)
        picture.notices.push_back(reducedNotice(depth_));
    return {std::move(picture)};
}

/// Writes one file.
class PngWriter {
public:
    explicit PngWriter(EncodeJob &job);
    ~PngWriter() { png_destroy_write_struct(&png_, &info_); }
    PngWriter(const PngWriter &) = delete;
    PngWriter &operator=(const PngWriter &) = delete;

    std::vector<uint8_t> write();

private:
    template <typename Step>
    void guarded(const Step &step)
    {
        if (!attempt(png_, step))
            throw failure_.error();
    }
    static void writeBytes(png_structp png, png_bytep bytes, std::size_t count);
    static void flushNothing(png_structp) {}

    int chooseColorType() const;
    void writeHeader();
    void setMetadata();
    void writeRows();
    const uint8_t *rowOf(int y);

    EncodeJob &job_;
    const DibSource &image_;
    PngFailure failure_;
    png_structp png_;
    png_infop info_;
    int colorType_;
    std::array<png_color, 256> palette_{};
    std::vector<uint8_t> buffer_;
    std::vector<uint8_t> file_;
};

PngWriter::PngWriter(EncodeJob &job)
    : job_(job), image_(job.image),
      png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, &failure_, failPng, ignoreWarning)),
      info_(png_ ? png_create_info_struct(png_) : nullptr), colorType_(chooseColorType())
{
    if (info_)
        return;
    png_destroy_write_struct(&png_, nullptr);
    throw std::bad_alloc();
}

void PngWriter::writeBytes(png_structp png, png_bytep bytes, std::size_t count)
{
    auto &writer = *static_cast<PngWriter *>(png_get_io_ptr(png));
    try {
        writer.file_.insert(writer.file_.end(), bytes, bytes + count);
    } catch (const std::exception &) {
        writer.failure_.outOfMemory = true;
    }
    if (writer.failure_.outOfMemory)
        png_error(png, "");
}

int PngWriter::chooseColorType() const
{
    const bool isGray = image_.isGrayRamp();
    if (image_.hasAlpha())
        return isGray && image_.bits() == 8 ? PNG_COLOR_TYPE_GRAY_ALPHA : PNG_COLOR_TYPE_RGB_ALPHA;
    if (isGray)
        return PNG_COLOR_TYPE_GRAY;
    return image_.bits() == 24 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_PALETTE;
}

void PngWriter::setMetadata()
{
    Metadata &metadata = job_.metadata;
    if (!metadata.icc.empty())
        png_set_iCCP(png_, info_, kProfileName, PNG_COMPRESSION_TYPE_BASE, metadata.icc.data(),
                     static_cast<png_uint_32>(metadata.icc.size()));
    if (!metadata.exif.empty())
        png_set_eXIf_1(png_, info_, static_cast<png_uint_32>(metadata.exif.size()), metadata.exif.data());
    if (metadata.xmp.empty())
        return;
    png_text text{};
    text.compression = PNG_ITXT_COMPRESSION_NONE;
    text.key = const_cast<char *>(kXmpName);
    text.text = reinterpret_cast<char *>(metadata.xmp.data());
    text.itxt_length = metadata.xmp.size() - 1;
    png_set_text(png_, info_, &text, 1);
}

void PngWriter::writeHeader()
{
    fitProfile(job_, (colorType_ & PNG_COLOR_MASK_COLOR) == 0);
    // libpng takes texts with a 0 at their end.
    if (!job_.metadata.xmp.empty())
        job_.metadata.xmp.push_back(0);
    for (unsigned i = 0; i < image_.colors(); ++i) {
        const DibColor &color = image_.palette()[i];
        palette_[i] = {color.red, color.green, color.blue};
    }
    const bool isPacked = colorType_ == PNG_COLOR_TYPE_PALETTE || colorType_ == PNG_COLOR_TYPE_GRAY;
    const int depth = isPacked ? static_cast<int>(image_.bits()) : 8;
    guarded([&] {
        png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_write_fn(png_, this, writeBytes, flushNothing);
        png_set_IHDR(png_, info_, static_cast<png_uint_32>(image_.width()),
                     static_cast<png_uint_32>(image_.height()), depth, colorType_, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        if (colorType_ == PNG_COLOR_TYPE_PALETTE)
            png_set_PLTE(png_, info_, palette_.data(), static_cast<int>(image_.colors()));
        if (image_.xPelsPerMeter() > 0 && image_.yPelsPerMeter() > 0)
            png_set_pHYs(png_, info_, image_.xPelsPerMeter(), image_.yPelsPerMeter(), PNG_RESOLUTION_METER);
        // A profile that libpng finds fault with is left out instead of the whole file.
        png_set_benign_errors(png_, 1);
        setMetadata();
        png_write_info(png_, info_);
        if (colorType_ & PNG_COLOR_MASK_COLOR)
            png_set_bgr(png_);
    });
    if (!job_.metadata.icc.empty() && !png_get_valid(png_, info_, PNG_INFO_iCCP))
        job_.notices.emplace_back("the colour profile is damaged: it is not kept");
}

const uint8_t *PngWriter::rowOf(int y)
{
    if (buffer_.empty())
        return image_.row(y);
    if (colorType_ != PNG_COLOR_TYPE_GRAY_ALPHA) {
        image_.colorRow(y, buffer_.data(), 4);
        return buffer_.data();
    }
    for (std::size_t x = 0; x < static_cast<std::size_t>(image_.width()); ++x) {
        buffer_[2 * x] = image_.row(y)[x];
        buffer_[2 * x + 1] = image_.alphaRow(y)[x];
    }
    return buffer_.data();
}

void PngWriter::writeRows()
{
    if (image_.hasAlpha())
        buffer_.resize(4 * static_cast<std::size_t>(image_.width()));
    guarded([this] {
        for (int line = 0; line < image_.height(); ++line) {
            stopIfAsked(job_.shouldStop);
            png_write_row(png_, rowOf(image_.rowOfLine(line)));
        }
        png_write_end(png_, nullptr);
    });
}

std::vector<uint8_t> PngWriter::write()
{
    writeHeader();
    writeRows();
    return std::move(file_);
}

} // namespace

DecodedFile decodePng(const EncodedFile &file)
{
    return PngReader(file).read();
}

std::vector<uint8_t> encodePng(EncodeJob &job)
{
    return PngWriter(job).write();
}

} // namespace velmont::io
