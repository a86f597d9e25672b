#include "io/picture.h"
#include "io/codec.h"
#include "io/exif.h"
#include "io/turn.h"
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <new>
#include <system_error>
#include <utility>

namespace velmont::io {

namespace {

/// As much of a file as tells its format.
constexpr std::size_t kPiece = std::size_t{1} << 16;
constexpr uint64_t kMostFileBytes = uint64_t{1} << 32;

/// A coding may leave large areas to one colour. Images up to the first size are free to; larger ones are held
/// to the second rate.
constexpr uint64_t kFreePixels = uint64_t{1} << 24;
constexpr uint64_t kPixelsPerByte = 255 * 255 / 4;

/// Where a colour profile names the colours that it describes: "RGB ", "GRAY", "CMYK".
constexpr std::size_t kProfileSpace = 16;
constexpr std::size_t kProfileHeaderBytes = 128;

struct FormatEnding {
    std::string_view ending;
    Format format;
};
constexpr std::array kEndings = {FormatEnding{".png", Format::Png},   FormatEnding{".jpg", Format::Jpeg},
                                 FormatEnding{".jpeg", Format::Jpeg}, FormatEnding{".jpe", Format::Jpeg},
                                 FormatEnding{".bmp", Format::Bmp},   FormatEnding{".dib", Format::Bmp},
                                 FormatEnding{".tif", Format::Tiff},  FormatEnding{".tiff", Format::Tiff},
                                 FormatEnding{".webp", Format::Webp}};
constexpr std::array<std::string_view, 5> kWords = {"png", "jpeg", "bmp", "tiff", "webp"};

bool startsWith(std::span<const uint8_t> file, std::string_view signature)
{
    return file.size() >= signature.size() &&
           std::equal(signature.begin(), signature.end(), file.begin(),
                      [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; });
}

std::optional<Format> formatOfBytes(std::span<const uint8_t> file)
{
    if (startsWith(file, "\x89PNG\r\n\x1A\n"))
        return Format::Png;
    if (startsWith(file, "\xFF\xD8"))
        return Format::Jpeg;
    if (startsWith(file, "BM"))
        return Format::Bmp;
    if (startsWith(file, std::string_view("II*\0", 4)) || startsWith(file, std::string_view("MM\0*", 4)) ||
        startsWith(file, std::string_view("II+\0", 4)) || startsWith(file, std::string_view("MM\0+", 4)))
        return Format::Tiff;
    if (startsWith(file, "RIFF") && file.size() >= 12 && startsWith(file.subspan(8), "WEBP"))
        return Format::Webp;
    return std::nullopt;
}

Error unknownFormat(std::span<const uint8_t> file)
{
    return Error(file.empty() ? "the file is empty" : "not a PNG, JPEG, BMP, TIFF or WebP file");
}

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

std::optional<Format> formatOfEnding(const std::string &ending)
{
    const auto found = std::find_if(kEndings.begin(), kEndings.end(),
                                    [&](const FormatEnding &known) { return known.ending == ending; });
    return found == kEndings.end() ? std::nullopt : std::optional(found->format);
}

/// Calls a codec; memory that runs out in it becomes an Error.
template <typename Codec>
auto withinMemory(const Codec &codec)
{
    try {
        return codec();
    } catch (const std::bad_alloc &) {
        throw Error("not enough memory for the image");
    } catch (const std::length_error &) {
        throw Error("not enough memory for the image");
    }
}

std::string systemText(const char *otherwise)
{
    return errno != 0 ? std::error_code(errno, std::generic_category()).message() : otherwise;
}

/// Reads on until the bytes are full or the stream ends. \return how many there are then.
std::size_t fill(std::ifstream &stream, std::span<uint8_t> bytes, std::size_t used)
{
    errno = 0;
    stream.read(reinterpret_cast<char *>(bytes.data() + used),
                static_cast<std::streamsize>(bytes.size() - used));
    if (stream.bad())
        throw Error("cannot be read: " + systemText("the device failed"));
    return used + static_cast<std::size_t>(stream.gcount());
}

/// The whole file, or no more than its beginning when that is of no known format.
std::vector<uint8_t> readBytes(const std::filesystem::path &path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        throw Error("is a folder");
    errno = 0;
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
        throw Error("cannot be opened: " + systemText("unknown reason"));
    std::vector<uint8_t> bytes(kPiece);
    std::size_t used = fill(stream, bytes, 0);
    if (!formatOfBytes(std::span(bytes).first(used)))
        throw unknownFormat(std::span(bytes).first(used));
    // A byte more than the file has, so that its end is met at once. The size of a pipe is not known: then each
    // piece is as long as all before it.
    const uint64_t size = std::filesystem::file_size(path, ignored);
    uint64_t wanted = ignored || size < used ? 0 : size + 1;
    while (stream.good()) {
        wanted = std::max<uint64_t>(wanted, 2 * used);
        if (used >= kMostFileBytes || (!ignored && size > kMostFileBytes))
            throw Error("the file is larger than 4 GiB");
        bytes.resize(static_cast<std::size_t>(std::min(wanted, kMostFileBytes + 1)));
        used = fill(stream, bytes, used);
    }
    bytes.resize(used);
    return bytes;
}

/// Takes over what the notes say of the picture: how it lies, and its resolution where the file has no other.
/// Those of the notes are in the file's order, as those of the file are.
void applyNotes(Picture &picture, std::optional<unsigned> orientation)
{
    Metadata &metadata = picture.metadata;
    const Resolution noted = exifResolution(metadata.exif);
    if (noted.x > 0) {
        const DibLock lock(picture.dib.get());
        DibHeader header;
        std::memcpy(&header, lock.bytes(), sizeof header);
        if (header.biXPelsPerMeter == 0 || header.biYPelsPerMeter == 0) {
            header.biXPelsPerMeter = noted.x;
            header.biYPelsPerMeter = noted.y;
            std::memcpy(lock.bytes(), &header, sizeof header);
        }
    }
    turnUpright(picture, orientation.value_or(exifOrientation(metadata.exif)));
    makeExifUpright(metadata.exif);
    makeXmpUpright(metadata.xmp);
}

DecodedFile decodeAs(Format format, const EncodedFile &file)
{
    switch (format) {
    case Format::Bmp:
        return decodeBmp(file);
    case Format::Jpeg:
        return decodeJpeg(file);
    case Format::Tiff:
        return decodeTiff(file);
    case Format::Webp:
        return decodeWebp(file);
    case Format::Png:
        break;
    }
    return decodePng(file);
}

std::vector<uint8_t> encodeAs(Format format, EncodeJob &job)
{
    switch (format) {
    case Format::Bmp:
        return encodeBmp(job);
    case Format::Jpeg:
        return encodeJpeg(job);
    case Format::Tiff:
        return encodeTiff(job);
    case Format::Webp:
        return encodeWebp(job);
    case Format::Png:
        break;
    }
    return encodePng(job);
}

/// The metadata of a picture as the file is to say it.
Metadata metadataFor(const Picture &picture, const DibSource &image)
{
    Metadata metadata = picture.metadata;
    correctExif(metadata.exif, static_cast<uint32_t>(image.width()), static_cast<uint32_t>(image.height()),
                {static_cast<int32_t>(image.xPelsPerMeter()), static_cast<int32_t>(image.yPelsPerMeter())});
    return metadata;
}

} // namespace

std::optional<Format> formatOfName(const std::filesystem::path &name)
{
    return formatOfEnding(lowerCase(name.extension().string()));
}

std::optional<Format> formatOfWord(std::string_view word)
{
    return formatOfEnding(lowerCase(std::string(".").append(word)));
}

std::span<const std::string_view> formatEndings()
{
    static constexpr auto kNames = [] {
        std::array<std::string_view, kEndings.size()> names;
        std::transform(kEndings.begin(), kEndings.end(), names.begin(),
                       [](const FormatEnding &known) { return known.ending; });
        return names;
    }();
    return kNames;
}

std::span<const std::string_view> formatWords()
{
    return kWords;
}

std::string_view formatName(Format format)
{
    switch (format) {
    case Format::Bmp:
        return "BMP";
    case Format::Jpeg:
        return "JPEG";
    case Format::Tiff:
        return "TIFF";
    case Format::Webp:
        return "WebP";
    case Format::Png:
        break;
    }
    return "PNG";
}

bool keepsAlpha(Format format)
{
    return format != Format::Jpeg;
}

bool keepsMetadata(Format format)
{
    return format != Format::Bmp;
}

bool hasQuality(Format format)
{
    return format == Format::Jpeg || format == Format::Webp;
}

Picture decode(std::span<const uint8_t> file, const DecodeOptions &options)
{
    const auto format = formatOfBytes(file);
    if (!format)
        throw unknownFormat(file);
    return withinMemory([&] {
        DecodedFile decoded =
            decodeAs(*format, {file, std::min(options.maxPixels, kMostPixels), options.shouldStop});
        applyNotes(decoded.picture, decoded.orientation);
        return std::move(decoded.picture);
    });
}

Picture readPicture(const std::filesystem::path &path, const DecodeOptions &options)
{
    try {
        return decode(withinMemory([&] { return readBytes(path); }), options);
    } catch (const Error &error) {
        throw Error(path.string() + ": " + error.what());
    }
}

std::vector<uint8_t> encode(const Picture &picture, Format format, const EncodeOptions &options)
{
    const DibSource image(picture);
    if (options.quality && hasQuality(format) && (*options.quality < 1 || *options.quality > 100))
        throw formatError(format, "a quality of " + std::to_string(*options.quality) + " is not in 1 to 100");
    return withinMemory([&] {
        EncodeJob job{image};
        job.quality = options.quality;
        job.shouldStop = options.shouldStop;
        if (!options.strip)
            job.metadata = metadataFor(picture, image);
        std::vector<uint8_t> file = encodeAs(format, job);
        if (options.notices)
            options.notices->insert(options.notices->end(), job.notices.begin(), job.notices.end());
        return file;
    });
}

Error formatError(Format format, const std::string &text)
{
    return Error(std::string(formatName(format)) + ": " + text);
}

Error endsEarly(Format format)
{
    return formatError(format, "the file ends early");
}

std::string sizeText(uint64_t width, uint64_t height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

Error notEnoughMemory(uint64_t width, uint64_t height)
{
    return Error("not enough memory for a " + sizeText(width, height) + " image");
}

std::string reducedNotice(unsigned bits)
{
    return std::to_string(bits) + " bits a sample are reduced to 8";
}

std::string firstOnlyNotice(uint64_t count, std::string_view what)
{
    return std::to_string(count) + " " + std::string(what) + ": only the first is read";
}

void checkSize(Format format, uint64_t width, uint64_t height, uint64_t maxPixels)
{
    if (width == 0 || height == 0)
        throw formatError(format, "the image has no pixels (" + sizeText(width, height) + ")");
    if (width > maxPixels / height)
        throw formatError(format, "an image of " + sizeText(width, height) + " is too large, at most " +
                                      std::to_string(maxPixels) + " pixels are read (--max-pixels)");
}

void checkRate(Format format, uint64_t width, uint64_t height, uint64_t bytes)
{
    const uint64_t pixels = width * height;
    if (pixels > kFreePixels && pixels / kPixelsPerByte > bytes)
        throw formatError(format, std::to_string(bytes) + " bytes cannot hold " + sizeText(width, height) +
                                      " pixels");
}

void fitProfile(EncodeJob &job, bool isGray)
{
    std::vector<uint8_t> &icc = job.metadata.icc;
    if (icc.empty())
        return;
    const std::string_view fitting = isGray ? "GRAY" : "RGB ";
    if (icc.size() >= kProfileHeaderBytes &&
        startsWith(std::span(std::as_const(icc)).subspan(kProfileSpace), fitting))
        return;
    job.notices.push_back(std::string("the colour profile is not kept: it is not one for ") +
                          (isGray ? "gray" : "RGB"));
    icc.clear();
}

} // namespace velmont::io
