#pragma once

/// \file
/// The structure that notes of a camera share with TIFF files: directories of entries in either byte order. Inside io/
/// only.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace velmont::io {

inline constexpr std::size_t kHeaderBytes = 8;
inline constexpr std::size_t kEntryBytes = 12;

enum NoteTag : unsigned {
    kOrientation = 0x0112,
    kXResolution = 0x011A,
    kYResolution = 0x011B,
    kResolutionUnit = 0x0128,
    kPreviewOffset = 0x0201,
    kPreviewBytes = 0x0202,
    kExifDirectory = 0x8769,
    kPlaceDirectory = 0x8825,
    kMakerNote = 0x927C,
    kPixelWidth = 0xA002,
    kPixelHeight = 0xA003,
    kInteroperability = 0xA005,
};

enum NoteType : unsigned { kShort = 3, kLong = 4, kRational = 5 };
enum NoteUnit : unsigned { kInch = 2, kCentimeter = 3 };

/// Reads numbers in the order of the notes.
template <typename Byte>
class Notes {
public:
    explicit Notes(std::span<Byte> bytes) : bytes_(bytes)
    {
        isLittle_ = bytes.size() >= 2 && bytes[0] == 'I' && bytes[1] == 'I';
        const bool isBig = bytes.size() >= 2 && bytes[0] == 'M' && bytes[1] == 'M';
        isSound_ = (isLittle_ || isBig) && bytes.size() >= kHeaderBytes && u16(2) == 42;
    }

    /// Whether so many bytes lie there.
    bool has(uint64_t at, uint64_t count) const
    {
        return isSound_ && at <= bytes_.size() && count <= bytes_.size() - at;
    }
    unsigned u16(std::size_t at) const
    {
        return isLittle_ ? bytes_[at] | unsigned{bytes_[at + 1]} << 8
                         : unsigned{bytes_[at]} << 8 | bytes_[at + 1];
    }
    uint32_t u32(std::size_t at) const
    {
        return isLittle_ ? u16(at) | uint32_t{u16(at + 2)} << 16 : uint32_t{u16(at)} << 16 | u16(at + 2);
    }
    void put16(std::size_t at, unsigned value)
    {
        bytes_[at + (isLittle_ ? 0 : 1)] = static_cast<uint8_t>(value);
        bytes_[at + (isLittle_ ? 1 : 0)] = static_cast<uint8_t>(value >> 8);
    }
    void put32(std::size_t at, uint32_t value)
    {
        put16(at + (isLittle_ ? 0 : 2), value & 0xFFFF);
        put16(at + (isLittle_ ? 2 : 0), value >> 16);
    }

    /// Where the first directory lies; 0 for none.
    uint32_t first() const { return has(0, kHeaderBytes) ? u32(4) : 0; }
    /// How many entries a directory has, of those that lie inside.
    std::size_t entries(uint32_t directory) const
    {
        if (directory < kHeaderBytes || !has(directory, 2))
            return 0;
        const std::size_t room = (bytes_.size() - directory - 2) / kEntryBytes;
        return std::min<std::size_t>(u16(directory), room);
    }
    /// The bytes of a place that has() them.
    std::span<const uint8_t> at(std::size_t place, std::size_t count) const
    {
        return bytes_.subspan(place, count);
    }
    bool isLittle() const { return isLittle_; }
    /// Where an entry of a directory lies.
    std::optional<std::size_t> entry(uint32_t directory, unsigned tag) const
    {
        const std::size_t count = entries(directory);
        for (std::size_t i = 0; i < count; ++i)
            if (const std::size_t at = directory + 2 + kEntryBytes * i; u16(at) == tag)
                return at;
        return std::nullopt;
    }
    /// Where the offset of the next directory lies.
    std::optional<std::size_t> nextLink(uint32_t directory) const
    {
        if (!has(directory, 2) || directory < kHeaderBytes)
            return std::nullopt;
        const std::size_t at = directory + 2 + kEntryBytes * std::size_t{u16(directory)};
        return has(at, 4) ? std::optional(at) : std::nullopt;
    }
    /// One whole number of an entry.
    std::optional<uint32_t> number(uint32_t directory, unsigned tag) const
    {
        const auto at = entry(directory, tag);
        if (!at || u32(*at + 4) != 1)
            return std::nullopt;
        const unsigned type = u16(*at + 2);
        if (type == kShort)
            return u16(*at + 8);
        return type == kLong ? std::optional(u32(*at + 8)) : std::nullopt;
    }
    void setNumber(uint32_t directory, unsigned tag, uint32_t value)
    {
        if (!number(directory, tag))
            return;
        const std::size_t at = *entry(directory, tag);
        if (u16(at + 2) == kLong)
            put32(at + 8, value);
        else if (value <= UINT16_MAX)
            put16(at + 8, value);
    }
    /// Where the two numbers of a fraction lie.
    std::optional<std::size_t> fraction(uint32_t directory, unsigned tag) const
    {
        const auto at = entry(directory, tag);
        if (!at || u16(*at + 2) != kRational || u32(*at + 4) != 1 || !has(u32(*at + 8), 8))
            return std::nullopt;
        return u32(*at + 8);
    }

private:
    std::span<Byte> bytes_;
    bool isLittle_ = false;
    bool isSound_ = false;
};

using View = Notes<const uint8_t>;
using Editor = Notes<uint8_t>;

} // namespace velmont::io
