#include "io/declared_size.h"
#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <span>
#include <string_view>

namespace velmont::io {

namespace {

/// The first bytes of a file; what lies beyond its end is 0.
using Head = std::array<uint8_t, 32>;

bool has(const Head &head, std::size_t at, std::string_view text)
{
    return std::equal(text.begin(), text.end(), head.begin() + static_cast<std::ptrdiff_t>(at),
                      [](char character, uint8_t byte) { return static_cast<uint8_t>(character) == byte; });
}

uint64_t bigEndian(std::span<const uint8_t> bytes)
{
    uint64_t number = 0;
    for (const uint8_t byte : bytes)
        number = number << 8 | byte;
    return number;
}

uint64_t littleEndian(std::span<const uint8_t> bytes)
{
    uint64_t number = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        number = number << 8 | bytes[i];
    return number;
}

std::span<const uint8_t> part(const Head &head, std::size_t at, std::size_t count)
{
    return std::span(head).subspan(at, count);
}

DeclaredSize sizeOfPng(const Head &head)
{
    return {bigEndian(part(head, 16, 4)), bigEndian(part(head, 20, 4))};
}

/// A height below zero tells that the rows run downwards.
DeclaredSize sizeOfBmp(const Head &head)
{
    if (littleEndian(part(head, 14, 4)) == 12)
        return {littleEndian(part(head, 18, 2)), littleEndian(part(head, 20, 2))};
    const auto height = static_cast<int32_t>(littleEndian(part(head, 22, 4)));
    return {littleEndian(part(head, 18, 4)),
            static_cast<uint64_t>(height < 0 ? -int64_t{height} : int64_t{height})};
}

/// The three kinds of WebP begin with different chunks.
std::optional<DeclaredSize> sizeOfWebp(const Head &head)
{
    if (has(head, 12, "VP8X"))
        return DeclaredSize{littleEndian(part(head, 24, 3)) + 1, littleEndian(part(head, 27, 3)) + 1};
    if (has(head, 12, "VP8 "))
        return DeclaredSize{littleEndian(part(head, 26, 2)) & 0x3FFF,
                            littleEndian(part(head, 28, 2)) & 0x3FFF};
    if (!has(head, 12, "VP8L"))
        return std::nullopt;
    const uint64_t bits = littleEndian(part(head, 21, 4));
    return DeclaredSize{(bits & 0x3FFF) + 1, (bits >> 14 & 0x3FFF) + 1};
}

/// Of the markers that begin a frame, C4, C8 and CC are others.
bool beginsFrame(uint8_t marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

/// Jumps from segment to segment up to the frame.
std::optional<DeclaredSize> sizeOfJpeg(std::ifstream &stream)
{
    constexpr int mostSegments = 1000;
    std::array<uint8_t, 9> segment;
    stream.clear();
    stream.seekg(2);
    for (int i = 0; i < mostSegments; ++i) {
        const auto start = stream.tellg();
        if (!stream.read(reinterpret_cast<char *>(segment.data()), segment.size()) || segment[0] != 0xFF)
            return std::nullopt;
        if (beginsFrame(segment[1]))
            return DeclaredSize{bigEndian(std::span(segment).subspan(7, 2)),
                                bigEndian(std::span(segment).subspan(5, 2))};
        const auto length = static_cast<std::streamoff>(bigEndian(std::span(segment).subspan(2, 2)));
        stream.seekg(start + std::streamoff{2} + length);
    }
    return std::nullopt;
}

} // namespace

std::optional<DeclaredSize> declaredSize(const std::filesystem::path &path)
{
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored))
        return std::nullopt;
    std::ifstream stream(path, std::ios::binary);
    Head head{};
    stream.read(reinterpret_cast<char *>(head.data()), head.size());
    if (has(head, 0, "\x89PNG"))
        return sizeOfPng(head);
    if (has(head, 0, "BM"))
        return sizeOfBmp(head);
    if (has(head, 0, "RIFF") && has(head, 8, "WEBP"))
        return sizeOfWebp(head);
    if (has(head, 0, "\xFF\xD8"))
        return sizeOfJpeg(stream);
    return std::nullopt;
}

} // namespace velmont::io
