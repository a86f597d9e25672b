#include "io/codec.h"
#include "io/dib_target.h"
#include "io/exif.h"
#include "io/pixels.h"
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>
#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

namespace velmont::io {

namespace {

constexpr int kUsualQuality = 90;
constexpr int kLossless = 100;
/// Gray with no more levels than this is a drawing.
constexpr std::ptrdiff_t kFewLevels = 16;
/// 0 to 9: how long the coder without loss looks for a smaller file. More takes twice as long for a few percent.
constexpr int kLosslessEffort = 4;
constexpr std::string_view kExifName("Exif\0\0", 6);

Error webpError(const std::string &text)
{
    return formatError(Format::Webp, text);
}

struct DemuxCloser {
    void operator()(WebPDemuxer *demuxer) const { WebPDemuxDelete(demuxer); }
};
struct MuxCloser {
    void operator()(WebPMux *mux) const { WebPMuxDelete(mux); }
};

/// Reads one file.
class WebpReader {
public:
    explicit WebpReader(const EncodedFile &file);
    DecodedFile read();

private:
    void checkCanvas();
    std::vector<uint8_t> chunk(const char *name) const;
    Metadata metadata() const;
    /// Where the frame's lowest row begins in the picture.
    std::size_t frameRow(const DibTarget &target, const WebPIterator &frame) const
    {
        return static_cast<std::size_t>(target.height() - frame.y_offset - frame.height);
    }
    void decodeFrame(const DibTarget &target, const WebPIterator &frame);
    void decode(WebPDecoderConfig &config, const WebPIterator &frame) const;

    const EncodedFile &file_;
    std::unique_ptr<WebPDemuxer, DemuxCloser> demuxer_;
    uint32_t width_ = 0;
    uint32_t height_ = 0;
    std::vector<uint8_t> alpha_;
};

WebpReader::WebpReader(const EncodedFile &file) : file_(file)
{
    const WebPData data{file.bytes.data(), file.bytes.size()};
    WebPDemuxState state = WEBP_DEMUX_PARSE_ERROR;
    demuxer_.reset(WebPDemuxPartial(&data, &state));
    if (state == WEBP_DEMUX_PARSING_HEADER || state == WEBP_DEMUX_PARSED_HEADER)
        throw endsEarly(Format::Webp);
    if (!demuxer_ || state != WEBP_DEMUX_DONE)
        throw webpError("the file's parts do not fit together");
}

void WebpReader::checkCanvas()
{
    width_ = WebPDemuxGetI(demuxer_.get(), WEBP_FF_CANVAS_WIDTH);
    height_ = WebPDemuxGetI(demuxer_.get(), WEBP_FF_CANVAS_HEIGHT);
    checkSize(Format::Webp, width_, height_, file_.maxPixels);
    checkRate(Format::Webp, width_, height_, file_.bytes.size());
}

std::vector<uint8_t> WebpReader::chunk(const char *name) const
{
    std::vector<uint8_t> bytes;
    WebPChunkIterator found;
    if (WebPDemuxGetChunk(demuxer_.get(), name, 1, &found))
        bytes.assign(found.chunk.bytes, found.chunk.bytes + found.chunk.size);
    WebPDemuxReleaseChunkIterator(&found);
    return bytes;
}

Metadata WebpReader::metadata() const
{
    Metadata metadata{chunk("ICCP"), chunk("EXIF"), chunk("XMP ")};
    // Some writers put the name there that the notes have in JPEG.
    std::vector<uint8_t> &exif = metadata.exif;
    if (exif.size() >= kExifName.size() && std::equal(kExifName.begin(), kExifName.end(), exif.begin()))
        exif.erase(exif.begin(), exif.begin() + kExifName.size());
    return metadata;
}

void WebpReader::decode(WebPDecoderConfig &config, const WebPIterator &frame) const
{
    config.options.flip = 1;
    config.output.is_external_memory = 1;
    switch (WebPDecode(frame.fragment.bytes, frame.fragment.size, &config)) {
    case VP8_STATUS_OK:
        return;
    case VP8_STATUS_OUT_OF_MEMORY:
        throw notEnoughMemory(width_, height_);
    case VP8_STATUS_NOT_ENOUGH_DATA:
    case VP8_STATUS_SUSPENDED:
        throw endsEarly(Format::Webp);
    default:
        throw webpError("the image is damaged");
    }
}

void WebpReader::decodeFrame(const DibTarget &target, const WebPIterator &frame)
{
    WebPDecoderConfig config;
    if (!WebPInitDecoderConfig(&config))
        throw webpError("another version of libwebp is installed");
    const std::size_t columns = width_;
    const std::size_t firstRow = frameRow(target, frame);
    const auto left = static_cast<std::size_t>(frame.x_offset);
    const auto frameWidth = static_cast<std::size_t>(frame.width);
    const bool coversAll = frame.width == target.width() && frame.height == target.height();
    if (!frame.has_alpha && coversAll) {
        const auto stride = static_cast<std::size_t>(strideOf(columns, 24));
        config.output.colorspace = MODE_BGR;
        config.output.u.RGBA = {target.row(0), static_cast<int>(stride), stride * height_};
        return decode(config, frame);
    }
    // What the first frame does not cover is seen through.
    alpha_.resize(columns * height_);
    std::vector<uint8_t> pixels(4 * frameWidth * static_cast<std::size_t>(frame.height));
    config.output.colorspace = MODE_BGRA;
    config.output.u.RGBA = {pixels.data(), static_cast<int>(4 * frameWidth), pixels.size()};
    decode(config, frame);
    for (std::size_t y = 0; y < static_cast<std::size_t>(frame.height); ++y) {
        const uint8_t *const source = pixels.data() + 4 * frameWidth * y;
        uint8_t *const place = target.row(static_cast<int>(firstRow + y)) + 3 * left;
        uint8_t *const alpha = alpha_.data() + columns * (firstRow + y) + left;
        for (std::size_t x = 0; x < frameWidth; ++x) {
            std::memcpy(place + 3 * x, source + 4 * x, 3);
            alpha[x] = source[4 * x + 3];
        }
    }
}

DecodedFile WebpReader::read()
{
    checkCanvas();
    WebPIterator frame;
    const bool hasFrame = WebPDemuxGetFrame(demuxer_.get(), 1, &frame) != 0;
    const std::unique_ptr<WebPIterator, decltype(&WebPDemuxReleaseIterator)> owner(&frame,
                                                                                   &WebPDemuxReleaseIterator);
    if (!hasFrame)
        throw webpError("there is no image in it");
    if (frame.x_offset < 0 || frame.y_offset < 0 || frame.width < 1 || frame.height < 1 ||
        static_cast<uint64_t>(frame.x_offset) + static_cast<uint64_t>(frame.width) > width_ ||
        static_cast<uint64_t>(frame.y_offset) + static_cast<uint64_t>(frame.height) > height_)
        throw webpError("the first image lies outside of the canvas");
    DibShape shape;
    shape.width = static_cast<int>(width_);
    shape.height = static_cast<int>(height_);
    shape.bits = 24;
    DibTarget target(std::move(shape));
    decodeFrame(target, frame);
    Picture picture{target.finish(), std::move(alpha_), metadata()};
    if (const uint32_t frames = WebPDemuxGetI(demuxer_.get(), WEBP_FF_FRAME_COUNT); frames > 1)
        picture.notices.push_back(firstOnlyNotice(frames, "frames"));
    return {std::move(picture)};
}

/// Writes one file.
class WebpWriter {
public:
    explicit WebpWriter(EncodeJob &job) : job_(job), image_(job.image)
    {
        if (!WebPPictureInit(&picture_) || !WebPConfigInit(&config_))
            throw webpError("another version of libwebp is installed");
        WebPMemoryWriterInit(&output_);
    }
    ~WebpWriter()
    {
        WebPPictureFree(&picture_);
        WebPMemoryWriterClear(&output_);
    }
    WebpWriter(const WebpWriter &) = delete;
    WebpWriter &operator=(const WebpWriter &) = delete;

    std::vector<uint8_t> write();

private:
    bool isDrawing() const;
    void configure();
    void takePixels();
    [[noreturn]] void fail() const;
    void fitMetadata();
    std::vector<uint8_t> withMetadata(const WebPData &image) const;

    EncodeJob &job_;
    const DibSource &image_;
    WebPPicture picture_;
    WebPConfig config_;
    WebPMemoryWriter output_;
};

bool WebpWriter::isDrawing() const
{
    if (image_.bits() == 24)
        return false;
    if (image_.bits() < 8 || !image_.hasGrayPalette())
        return true;
    std::array<bool, 256> isUsed{};
    for (int y = 0; y < image_.height(); ++y)
        for (std::size_t x = 0; x < static_cast<std::size_t>(image_.width()); ++x)
            isUsed[image_.row(y)[x]] = true;
    return std::count(isUsed.begin(), isUsed.end(), true) <= kFewLevels;
}

void WebpWriter::configure()
{
    const int quality = job_.quality.value_or(kUsualQuality);
    if (quality == kLossless || isDrawing()) {
        WebPConfigLosslessPreset(&config_, kLosslessEffort);
        // Colours that cannot be seen are kept too.
        config_.exact = 1;
    } else {
        config_.quality = static_cast<float>(quality);
    }
}

void WebpWriter::fail() const
{
    switch (picture_.error_code) {
    case VP8_ENC_ERROR_USER_ABORT:
        throw Stopped();
    case VP8_ENC_ERROR_OUT_OF_MEMORY:
    case VP8_ENC_ERROR_BITSTREAM_OUT_OF_MEMORY:
    case VP8_ENC_ERROR_BAD_WRITE:
        throw notEnoughMemory(static_cast<uint64_t>(image_.width()), static_cast<uint64_t>(image_.height()));
    case VP8_ENC_ERROR_PARTITION0_OVERFLOW:
    case VP8_ENC_ERROR_PARTITION_OVERFLOW:
    case VP8_ENC_ERROR_FILE_TOO_BIG:
        throw webpError("the file would be too large; a lower quality makes it smaller");
    default:
        throw webpError("the image cannot be written (" + std::to_string(picture_.error_code) + ")");
    }
}

void WebpWriter::takePixels()
{
    const std::size_t step = image_.hasAlpha() ? 4 : 3;
    const std::size_t stride = step * static_cast<std::size_t>(image_.width());
    std::vector<uint8_t> pixels(stride * static_cast<std::size_t>(image_.height()));
    for (int line = 0; line < image_.height(); ++line)
        image_.colorRow(image_.rowOfLine(line), pixels.data() + stride * static_cast<std::size_t>(line),
                        static_cast<unsigned>(step));
    picture_.width = image_.width();
    picture_.height = image_.height();
    picture_.use_argb = config_.lossless;
    picture_.user_data = &job_;
    picture_.progress_hook = [](int, const WebPPicture *picture) {
        const StopCheck shouldStop = static_cast<const EncodeJob *>(picture->user_data)->shouldStop;
        return shouldStop && shouldStop() ? 0 : 1;
    };
    const auto import = image_.hasAlpha() ? WebPPictureImportBGRA : WebPPictureImportBGR;
    if (!import(&picture_, pixels.data(), static_cast<int>(stride)))
        fail();
}

void WebpWriter::fitMetadata()
{
    fitProfile(job_, false);
    std::vector<uint8_t> &exif = job_.metadata.exif;
    const Resolution resolution{static_cast<int32_t>(image_.xPelsPerMeter()),
                                static_cast<int32_t>(image_.yPelsPerMeter())};
    // The format has no other place for the resolution.
    if (exif.empty() && resolution.x > 0 && resolution.y > 0)
        exif = exifOfResolution(resolution);
}

std::vector<uint8_t> WebpWriter::withMetadata(const WebPData &image) const
{
    const Metadata &metadata = job_.metadata;
    if (metadata.empty())
        return std::vector<uint8_t>(image.bytes, image.bytes + image.size);
    const std::unique_ptr<WebPMux, MuxCloser> mux(WebPMuxCreate(&image, 0));
    if (!mux)
        throw std::bad_alloc();
    const auto set = [&](const char *name, const std::vector<uint8_t> &bytes) {
        const WebPData data{bytes.data(), bytes.size()};
        if (!bytes.empty() && WebPMuxSetChunk(mux.get(), name, &data, 0) != WEBP_MUX_OK)
            throw std::bad_alloc();
    };
    set("ICCP", metadata.icc);
    set("EXIF", metadata.exif);
    set("XMP ", metadata.xmp);
    WebPData assembled{};
    if (WebPMuxAssemble(mux.get(), &assembled) != WEBP_MUX_OK)
        throw std::bad_alloc();
    const std::unique_ptr<WebPData, decltype(&WebPDataClear)> owner(&assembled, &WebPDataClear);
    return std::vector<uint8_t>(assembled.bytes, assembled.bytes + assembled.size);
}

std::vector<uint8_t> WebpWriter::write()
{
    configure();
    takePixels();
    picture_.writer = WebPMemoryWrite;
    picture_.custom_ptr = &output_;
    if (!WebPEncode(&config_, &picture_))
        fail();
    fitMetadata();
    return withMetadata({output_.mem, output_.size});
}

} // namespace

DecodedFile decodeWebp(const EncodedFile &file)
{
    return WebpReader(file).read();
}

std::vector<uint8_t> encodeWebp(EncodeJob &job)
{
    const DibSource &image = job.image;
    if (std::max(image.width(), image.height()) > WEBP_MAX_DIMENSION)
        throw webpError(
            "an image of " +
            sizeText(static_cast<uint64_t>(image.width()), static_cast<uint64_t>(image.height())) +
            " is too large, at most " + std::to_string(WEBP_MAX_DIMENSION) +
            " pixels each way can be written");
    return WebpWriter(job).write();
}

} // namespace velmont::io
