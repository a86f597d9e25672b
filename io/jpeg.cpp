#include "io/codec.h"
#include "io/dib_target.h"
#include "io/pixels.h"
#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <type_traits>
#include <utility>
// Needs <cstdio> before it.
#include <jpeglib.h>

#include <jerror.h>

namespace velmont::io {

namespace {

/// More scans than any encoder makes; a small file could else keep the decoder busy for hours.
constexpr int kMostScans = 500;
/// From this quality on colour is kept at full resolution.
constexpr int kFullColorQuality = 90;
constexpr int kUsualQuality = 95;
constexpr double kMetersPerInch = 0.0254;

constexpr int kNotesMarker = JPEG_APP0 + 1;   // of the camera, or an XML packet
constexpr int kProfileMarker = JPEG_APP0 + 2; // in as many segments as it takes
constexpr std::size_t kMostSegmentBytes = 65533;
constexpr std::size_t kMostProfileBytes = std::size_t{255} * (kMostSegmentBytes - 14);
constexpr std::string_view kExifName("Exif\0\0", 6);
constexpr std::string_view kXmpName("http://ns.adobe.com/xap/1.0/\0", 29);

/// What libjpeg reports to. libjpeg leaves a failed call by longjmp, so nothing that its callbacks or a
/// guarded step hold may need a destructor; the text of the failure waits here until it is safe to throw.
struct JpegFailure {
    jpeg_error_mgr manager{}; ///< first, so that libjpeg's pointer to it is a pointer to this
    std::jmp_buf back{};
    char text[JMSG_LENGTH_MAX] = "";
    bool endedEarly = false;
    bool outOfMemory = false;
    StopCheck shouldStop = nullptr;
    bool stopped = false;

    Error error() const { return endedEarly ? endsEarly(Format::Jpeg) : formatError(Format::Jpeg, text); }
};

static_assert(std::is_standard_layout_v<JpegFailure>);

JpegFailure &failureOf(j_common_ptr jpeg)
{
    return *reinterpret_cast<JpegFailure *>(jpeg->err);
}

[[noreturn]] void failJpeg(j_common_ptr jpeg)
{
    JpegFailure &failure = failureOf(jpeg);
    failure.outOfMemory = failure.manager.msg_code == JERR_OUT_OF_MEMORY;
    failure.manager.format_message(jpeg, failure.text);
    std::longjmp(failure.back, 1);
}

/// libjpeg repairs what it warns about. What it had to invent pixels for is no whole image.
void judgeWarning(j_common_ptr jpeg, int level)
{
    if (level >= 0)
        return;
    switch (jpeg->err->msg_code) {
    case JWRN_JPEG_EOF:
    case JWRN_HIT_MARKER:
        failureOf(jpeg).endedEarly = true;
        failJpeg(jpeg);
    case JWRN_HUFF_BAD_CODE:
    case JWRN_ARITH_BAD_CODE:
    case JWRN_MUST_RESYNC:
        failJpeg(jpeg);
    default:
        break;
    }
}

void printNothing(j_common_ptr) {}

/// Called every few rows of each pass.
void watchProgress(j_common_ptr jpeg)
{
    if (JpegFailure &failure = failureOf(jpeg); failure.shouldStop && failure.shouldStop()) {
        failure.stopped = true;
        std::longjmp(failure.back, 1);
    }
    if (!jpeg->is_decompressor || reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number <= kMostScans)
        return;
    JpegFailure &failure = failureOf(jpeg);
    std::snprintf(failure.text, sizeof failure.text, "more than %d scans", kMostScans);
    std::longjmp(failure.back, 1);
}

void install(JpegFailure &failure)
{
    jpeg_std_error(&failure.manager);
    failure.manager.error_exit = failJpeg;
    failure.manager.emit_message = judgeWarning;
    failure.manager.output_message = printNothing;
}

/// The one place to which libjpeg jumps back. \return whether the step came to its end.
template <typename Step>
bool attempt(JpegFailure &failure, const Step &step)
{
    if (setjmp(failure.back))
        return false;
    step();
    return true;
}

/// Reads one file.
class JpegReader {
public:
    JpegReader() { install(failure_); }
    ~JpegReader() { jpeg_destroy_decompress(&jpeg_); }
    JpegReader(const JpegReader &) = delete;
    JpegReader &operator=(const JpegReader &) = delete;

    DecodedFile read(const EncodedFile &file);

private:
    template <typename Step>
    void guarded(const Step &step)
    {
        if (attempt(failure_, step))
            return;
        if (failure_.stopped)
            throw Stopped();
        if (failure_.outOfMemory)
            throw notEnoughMemory(jpeg_.image_width, jpeg_.image_height);
        throw failure_.error();
    }
    void readHeader(const EncodedFile &file);
    void readMetadata(Metadata &metadata);
    /// Whether the entropy-coded data could be this short: at least one bit for each block of a component.
    bool couldFit(std::size_t fileBytes) const;
    void chooseColorSpace();
    DibShape shape() const;
    void readRows(const DibTarget &target);

    JpegFailure failure_;
    jpeg_progress_mgr progress_{};
    jpeg_decompress_struct jpeg_{};
    std::vector<uint8_t> inks_; ///< one row of cyan, magenta, yellow, black
};

void JpegReader::readHeader(const EncodedFile &file)
{
    jpeg_.err = &failure_.manager;
    failure_.shouldStop = file.shouldStop;
    progress_.progress_monitor = watchProgress;
    guarded([&] {
        jpeg_create_decompress(&jpeg_);
        jpeg_.progress = &progress_;
        jpeg_mem_src(&jpeg_, file.bytes.data(), static_cast<unsigned long>(file.bytes.size()));
        jpeg_save_markers(&jpeg_, kNotesMarker, UINT16_MAX);
        jpeg_save_markers(&jpeg_, kProfileMarker, UINT16_MAX);
        jpeg_read_header(&jpeg_, TRUE);
    });
    checkSize(Format::Jpeg, jpeg_.image_width, jpeg_.image_height, file.maxPixels);
    if (!couldFit(file.bytes.size()))
        throw endsEarly(Format::Jpeg);
}

bool JpegReader::couldFit(std::size_t fileBytes) const
{
    // Arithmetic coding has no such floor.
    if (jpeg_.arith_code)
        return true;
    const uint64_t unitWidth = 8u * static_cast<unsigned>(jpeg_.max_h_samp_factor);
    const uint64_t unitHeight = 8u * static_cast<unsigned>(jpeg_.max_v_samp_factor);
    const uint64_t units = (jpeg_.image_width + unitWidth - 1) / unitWidth *
                           ((jpeg_.image_height + unitHeight - 1) / unitHeight);
    return units / 8 <= fileBytes;
}

void JpegReader::readMetadata(Metadata &metadata)
{
    for (jpeg_saved_marker_ptr marker = jpeg_.marker_list; marker; marker = marker->next) {
        const std::string_view text(reinterpret_cast<const char *>(marker->data), marker->data_length);
        for (const auto &[name, notes] :
             {std::pair(kExifName, &metadata.exif), std::pair(kXmpName, &metadata.xmp)})
            if (marker->marker == kNotesMarker && notes->empty() && text.starts_with(name))
                notes->assign(text.begin() + static_cast<std::ptrdiff_t>(name.size()), text.end());
    }
    JOCTET *profile = nullptr;
    unsigned bytes = 0;
    guarded([&] { jpeg_read_icc_profile(&jpeg_, &profile, &bytes); });
    const std::unique_ptr<JOCTET, decltype(&std::free)> owner(profile, &std::free);
    if (profile)
        metadata.icc.assign(profile, profile + bytes);
}

void JpegReader::chooseColorSpace()
{
    switch (jpeg_.jpeg_color_space) {
    case JCS_GRAYSCALE:
        jpeg_.out_color_space = JCS_GRAYSCALE;
        break;
    case JCS_RGB:
    case JCS_YCbCr:
        jpeg_.out_color_space = JCS_EXT_BGR;
        break;
    case JCS_CMYK:
    case JCS_YCCK:
        jpeg_.out_color_space = JCS_CMYK;
        inks_.resize(4 * static_cast<std::size_t>(jpeg_.image_width));
        break;
    default:
        throw formatError(Format::Jpeg, std::to_string(jpeg_.num_components) +
                                            " components are no gray, RGB or CMYK image");
    }
}

int32_t pelsPerMeter(unsigned density, int unit)
{
    if (unit == 1)
        return static_cast<int32_t>(std::lround(density / kMetersPerInch));
    return unit == 2 ? static_cast<int32_t>(density * 100) : 0;
}

DibShape JpegReader::shape() const
{
    DibShape shape;
    shape.width = static_cast<int>(jpeg_.image_width);
    shape.height = static_cast<int>(jpeg_.image_height);
    shape.bits = 24;
    if (jpeg_.out_color_space == JCS_GRAYSCALE) {
        shape.bits = 8;
        for (unsigned i = 0; i < 256; ++i)
            shape.palette.push_back(grayOf(i, 8));
    }
    if (jpeg_.saw_JFIF_marker) {
        shape.xPelsPerMeter = pelsPerMeter(jpeg_.X_density, jpeg_.density_unit);
        shape.yPelsPerMeter = pelsPerMeter(jpeg_.Y_density, jpeg_.density_unit);
    }
    return shape;
}

void JpegReader::readRows(const DibTarget &target)
{
    // Files with an Adobe marker hold the light that is left, others the ink.
    const unsigned flip = jpeg_.saw_Adobe_marker ? 0 : 255;
    guarded([&] {
        while (jpeg_.output_scanline < jpeg_.output_height) {
            uint8_t *const line = target.line(static_cast<int>(jpeg_.output_scanline));
            JSAMPROW row = inks_.empty() ? line : inks_.data();
            jpeg_read_scanlines(&jpeg_, &row, 1);
            if (!inks_.empty())
                inksToColor(inks_.data(), jpeg_.image_width, flip, line);
        }
        jpeg_finish_decompress(&jpeg_);
    });
}

DecodedFile JpegReader::read(const EncodedFile &file)
{
    readHeader(file);
    chooseColorSpace();
    Picture picture;
    readMetadata(picture.metadata);
    if (!inks_.empty())
        picture.notices.emplace_back(kInksNotice);
    DibTarget target(shape());
    guarded([this] { jpeg_start_decompress(&jpeg_); });
    readRows(target);
    picture.dib = target.finish();
    return {std::move(picture)};
}

/// Writes one file.
class JpegWriter {
public:
    explicit JpegWriter(EncodeJob &job);
    ~JpegWriter() { jpeg_destroy_compress(&jpeg_); }
    JpegWriter(const JpegWriter &) = delete;
    JpegWriter &operator=(const JpegWriter &) = delete;

    std::vector<uint8_t> write();

private:
    static JpegWriter &writerOf(j_compress_ptr jpeg) { return *static_cast<JpegWriter *>(jpeg->client_data); }
    /// libjpeg's way to the file.
    static void enlargeFile(j_compress_ptr jpeg);
    static boolean takeFullBuffer(j_compress_ptr jpeg);
    static void takeRest(j_compress_ptr jpeg);

    template <typename Step>
    void guarded(const Step &step)
    {
        if (attempt(failure_, step))
            return;
        if (failure_.stopped)
            throw Stopped();
        if (failure_.outOfMemory)
            throw notEnoughMemory(static_cast<uint64_t>(image_.width()),
                                  static_cast<uint64_t>(image_.height()));
        throw failure_.error();
    }
    void setParameters();
    void setDensity();
    void fitMetadata();
    /// Notes behind their name.
    void writeNotes(std::string_view name, const std::vector<uint8_t> &notes);
    void writeMetadata();
    void writeRows();

    EncodeJob &job_;
    const DibSource &image_;
    int quality_;
    bool isGray_;
    JpegFailure failure_;
    jpeg_destination_mgr destination_{};
    jpeg_progress_mgr progress_{};
    jpeg_compress_struct jpeg_{};
    std::vector<uint8_t> buffer_; ///< one row
    std::vector<uint8_t> file_;
    std::size_t used_ = 0; ///< bytes of it that are written
};

JpegWriter::JpegWriter(EncodeJob &job)
    : job_(job), image_(job.image), quality_(job.quality.value_or(kUsualQuality)),
      isGray_(job.image.hasGrayPalette())
{
    install(failure_);
    destination_.init_destination = enlargeFile;
    destination_.empty_output_buffer = takeFullBuffer;
    destination_.term_destination = takeRest;
}

void JpegWriter::enlargeFile(j_compress_ptr jpeg)
{
    constexpr std::size_t kFirstBytes = std::size_t{1} << 16;
    JpegWriter &writer = writerOf(jpeg);
    bool isEnlarged = false;
    try {
        writer.file_.resize(std::max(kFirstBytes, 2 * writer.used_));
        isEnlarged = true;
    } catch (const std::exception &) {
        // Jumping out of a handler is not allowed: it is done below.
    }
    if (!isEnlarged)
        ERREXIT1(jpeg, JERR_OUT_OF_MEMORY, 0);
    writer.destination_.next_output_byte = writer.file_.data() + writer.used_;
    writer.destination_.free_in_buffer = writer.file_.size() - writer.used_;
}

boolean JpegWriter::takeFullBuffer(j_compress_ptr jpeg)
{
    // The whole buffer is full, whatever free_in_buffer says.
    writerOf(jpeg).used_ = writerOf(jpeg).file_.size();
    enlargeFile(jpeg);
    return TRUE;
}

void JpegWriter::takeRest(j_compress_ptr jpeg)
{
    JpegWriter &writer = writerOf(jpeg);
    writer.used_ = writer.file_.size() - writer.destination_.free_in_buffer;
}

void JpegWriter::setDensity()
{
    const auto perInch = [](uint32_t value) { return std::lround(value * kMetersPerInch); };
    const auto isWhole = [&](uint32_t value) {
        return pelsPerMeter(static_cast<unsigned>(perInch(value)), 1) == static_cast<int32_t>(value);
    };
    const uint32_t x = image_.xPelsPerMeter();
    const uint32_t y = image_.yPelsPerMeter();
    const bool inCentimeters = x % 100 == 0 && y % 100 == 0 && !(isWhole(x) && isWhole(y));
    const long xDensity = inCentimeters ? static_cast<long>(x / 100) : perInch(x);
    const long yDensity = inCentimeters ? static_cast<long>(y / 100) : perInch(y);
    if (std::min(xDensity, yDensity) < 1 || std::max(xDensity, yDensity) > UINT16_MAX)
        return;
    jpeg_.density_unit = inCentimeters ? 2 : 1;
    jpeg_.X_density = static_cast<UINT16>(xDensity);
    jpeg_.Y_density = static_cast<UINT16>(yDensity);
}

void JpegWriter::setParameters()
{
    jpeg_.image_width = static_cast<JDIMENSION>(image_.width());
    jpeg_.image_height = static_cast<JDIMENSION>(image_.height());
    jpeg_.input_components = isGray_ ? 1 : 3;
    jpeg_.in_color_space = isGray_ ? JCS_GRAYSCALE : JCS_EXT_BGR;
    jpeg_set_defaults(&jpeg_);
    jpeg_set_quality(&jpeg_, quality_, TRUE);
    jpeg_.optimize_coding = TRUE;
    const int sampling = isGray_ || quality_ >= kFullColorQuality ? 1 : 2;
    jpeg_.comp_info[0].h_samp_factor = sampling;
    jpeg_.comp_info[0].v_samp_factor = sampling;
    setDensity();
}

void JpegWriter::fitMetadata()
{
    Metadata &metadata = job_.metadata;
    fitProfile(job_, isGray_);
    const auto dropAbove = [this](std::size_t most, std::vector<uint8_t> &bytes, const char *what) {
        if (bytes.size() <= most)
            return;
        job_.notices.push_back(std::string(what) + " of " + std::to_string(bytes.size()) +
                               " bytes does not fit into a JPEG file");
        bytes.clear();
    };
    dropAbove(kMostSegmentBytes - kExifName.size(), metadata.exif, "an EXIF block");
    dropAbove(kMostSegmentBytes - kXmpName.size(), metadata.xmp, "an XMP packet");
    dropAbove(kMostProfileBytes, metadata.icc, "a colour profile");
}

void JpegWriter::writeNotes(std::string_view name, const std::vector<uint8_t> &notes)
{
    if (notes.empty())
        return;
    jpeg_write_m_header(&jpeg_, kNotesMarker, static_cast<unsigned>(name.size() + notes.size()));
    for (const char letter : name)
        jpeg_write_m_byte(&jpeg_, static_cast<uint8_t>(letter));
    for (const uint8_t byte : notes)
        jpeg_write_m_byte(&jpeg_, byte);
}

void JpegWriter::writeMetadata()
{
    const Metadata &metadata = job_.metadata;
    writeNotes(kExifName, metadata.exif);
    writeNotes(kXmpName, metadata.xmp);
    if (!metadata.icc.empty())
        jpeg_write_icc_profile(&jpeg_, metadata.icc.data(), static_cast<unsigned>(metadata.icc.size()));
}

void JpegWriter::writeRows()
{
    while (jpeg_.next_scanline < jpeg_.image_height) {
        const int y = image_.rowOfLine(static_cast<int>(jpeg_.next_scanline));
        // libjpeg takes rows that it may write to, and does not.
        JSAMPROW row = image_.bits() == 24 ? const_cast<JSAMPROW>(image_.row(y)) : buffer_.data();
        if (isGray_)
            image_.grayRow(y, row);
        else if (image_.bits() != 24)
            image_.colorRow(y, row, 3);
        jpeg_write_scanlines(&jpeg_, &row, 1);
    }
}

std::vector<uint8_t> JpegWriter::write()
{
    buffer_.resize((isGray_ ? 1 : 3) * static_cast<std::size_t>(image_.width()));
    jpeg_.err = &failure_.manager;
    jpeg_.client_data = this;
    failure_.shouldStop = job_.shouldStop;
    progress_.progress_monitor = watchProgress;
    fitMetadata();
    guarded([this] {
        jpeg_create_compress(&jpeg_);
        jpeg_.progress = &progress_;
        jpeg_.dest = &destination_;
        setParameters();
        jpeg_start_compress(&jpeg_, TRUE);
        writeMetadata();
        writeRows();
        jpeg_finish_compress(&jpeg_);
    });
    file_.resize(used_);
    return std::move(file_);
}

} // namespace

DecodedFile decodeJpeg(const EncodedFile &file)
{
    return JpegReader().read(file);
}

std::vector<uint8_t> encodeJpeg(EncodeJob &job)
{
    const DibSource &image = job.image;
    if (std::max(image.width(), image.height()) > JPEG_MAX_DIMENSION)
        throw formatError(Format::Jpeg, "an image of " +
                                            sizeText(static_cast<uint64_t>(image.width()),
                                                     static_cast<uint64_t>(image.height())) +
                                            " is too large, at most " + std::to_string(JPEG_MAX_DIMENSION) +
                                            " pixels each way can be written");
    return JpegWriter(job).write();
}

} // namespace velmont::io
