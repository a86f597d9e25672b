#include "io/picture.h"
#include "io/codec.h"
#include <algorithm>
#include <cerrno>
#include <fstream>
#include <new>
#include <system_error>

namespace velmont::io {

namespace {

/// As much of a file as tells its format, and the piece in which the rest is read.
constexpr std::size_t kPiece = std::size_t{1} << 16;
constexpr uint64_t kMostFileBytes = uint64_t{1} << 32;

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
    return std::nullopt;
}

Error unknownFormat(std::span<const uint8_t> file)
{
    return Error(file.empty() ? "the file is empty" : "not a PNG, JPEG or BMP file");
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

/// Appends the next piece of a stream. \return whether there may be more.
bool readPiece(std::ifstream &stream, std::vector<uint8_t> &bytes)
{
    const std::size_t before = bytes.size();
    if (before + kPiece > kMostFileBytes)
        throw Error("the file is larger than 4 GiB");
    bytes.resize(before + kPiece);
    errno = 0;
    stream.read(reinterpret_cast<char *>(bytes.data() + before), static_cast<std::streamsize>(kPiece));
    if (stream.bad())
        throw Error("cannot be read: " + systemText("the device failed"));
    bytes.resize(before + static_cast<std::size_t>(stream.gcount()));
    return stream.good();
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
    std::vector<uint8_t> bytes;
    bool more = readPiece(stream, bytes);
    if (!formatOfBytes(bytes))
        throw unknownFormat(bytes);
    if (const auto size = std::filesystem::file_size(path, ignored); !ignored && size < kMostFileBytes)
        bytes.reserve(static_cast<std::size_t>(size) + kPiece);
    while (more)
        more = readPiece(stream, bytes);
    return bytes;
}

} // namespace

std::optional<Format> formatOfName(const std::filesystem::path &name)
{
    std::string ending = name.extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    if (ending == ".bmp" || ending == ".dib")
        return Format::Bmp;
    if (ending == ".jpg" || ending == ".jpeg" || ending == ".jpe")
        return Format::Jpeg;
    if (ending == ".png")
        return Format::Png;
    return std::nullopt;
}

std::string_view formatName(Format format)
{
    switch (format) {
    case Format::Bmp:
        return "BMP";
    case Format::Jpeg:
        return "JPEG";
    case Format::Png:
        break;
    }
    return "PNG";
}

bool keepsAlpha(Format format)
{
    return format != Format::Jpeg;
}

Picture decode(std::span<const uint8_t> file)
{
    const auto format = formatOfBytes(file);
    if (!format)
        throw unknownFormat(file);
    return withinMemory([&] {
        switch (*format) {
        case Format::Bmp:
            return decodeBmp(file);
        case Format::Jpeg:
            return decodeJpeg(file);
        case Format::Png:
            break;
        }
        return decodePng(file);
    });
}

Picture readPicture(const std::filesystem::path &path)
{
    try {
        return decode(withinMemory([&] { return readBytes(path); }));
    } catch (const Error &error) {
        throw Error(path.string() + ": " + error.what());
    }
}

std::vector<uint8_t> encode(const Picture &picture, Format format, const EncodeOptions &options)
{
    const DibSource image(picture);
    return withinMemory([&] {
        switch (format) {
        case Format::Bmp:
            return encodeBmp(image);
        case Format::Jpeg:
            return encodeJpeg(image, options.jpegQuality);
        case Format::Png:
            break;
        }
        return encodePng(image);
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

void checkSize(Format format, uint64_t width, uint64_t height)
{
    if (width == 0 || height == 0)
        throw formatError(format, "the image has no pixels (" + sizeText(width, height) + ")");
    if (width > kMostPixels / height)
        throw formatError(format, "an image of " + sizeText(width, height) + " is too large, at most " +
                                      std::to_string(kMostPixels) + " pixels are read");
}

} // namespace velmont::io
