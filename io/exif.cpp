#include "io/exif.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string_view>

namespace velmont::io {

namespace {

constexpr std::size_t kHeaderBytes = 8;
constexpr std::size_t kEntryBytes = 12;
constexpr double kInchesPerMeter = 1 / 0.0254;

enum Tag : unsigned {
    kOrientation = 0x0112,
    kXResolution = 0x011A,
    kYResolution = 0x011B,
    kResolutionUnit = 0x0128,
    kPreviewOffset = 0x0201,
    kPreviewBytes = 0x0202,
    kExifDirectory = 0x8769,
    kPixelWidth = 0xA002,
    kPixelHeight = 0xA003,
};

enum Type : unsigned { kShort = 3, kLong = 4, kRational = 5 };
enum Unit : unsigned { kInch = 2, kCentimeter = 3 };

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
    std::size_t entries(uint32_t directory) const
    {
        if (directory < kHeaderBytes || !has(directory, 2))
            return 0;
        const std::size_t room = (bytes_.size() - directory - 2) / kEntryBytes;
        return std::min<std::size_t>(u16(directory), room);
    }

    std::span<Byte> bytes_;
    bool isLittle_ = false;
    bool isSound_ = false;
};

using View = Notes<const uint8_t>;
using Editor = Notes<uint8_t>;

int32_t pelsPerMeter(const View &notes, unsigned tag, double unitsPerMeter)
{
    const auto at = notes.fraction(notes.first(), tag);
    if (!at || notes.u32(*at + 4) == 0)
        return 0;
    const double value = unitsPerMeter * notes.u32(*at) / notes.u32(*at + 4);
    return value < INT32_MAX ? static_cast<int32_t>(std::lround(value)) : 0;
}

/// Notes name the resolution an inch unless they say otherwise.
double unitsPerMeter(unsigned unit)
{
    return unit == kCentimeter ? 100 : kInchesPerMeter;
}

void setFraction(Editor &notes, unsigned tag, double value)
{
    constexpr uint32_t kParts = 10000;
    const auto at = notes.fraction(notes.first(), tag);
    if (!at)
        return;
    const double nearest = std::round(value);
    const bool isWhole = std::abs(value - nearest) < 0.02 || value > UINT32_MAX / kParts;
    notes.put32(*at, static_cast<uint32_t>(isWhole ? nearest : std::round(value * kParts)));
    notes.put32(*at + 4, isWhole ? 1 : kParts);
}

void takePreviewOut(std::vector<uint8_t> &exif)
{
    Editor notes{std::span(exif)};
    const auto link = notes.nextLink(notes.first());
    if (!link)
        return;
    const uint32_t directory = notes.u32(*link);
    const auto offset = notes.number(directory, kPreviewOffset);
    const auto bytes = notes.number(directory, kPreviewBytes);
    notes.put32(*link, 0);
    if (!offset || !bytes || *offset < *link + 4 || !notes.has(*offset, *bytes))
        return;
    // It mostly lies at the end, where it is cut off.
    if (*offset + uint64_t{*bytes} == exif.size())
        exif.resize(*offset);
    else
        std::fill_n(exif.begin() + *offset, *bytes, uint8_t{0});
}

} // namespace

unsigned exifOrientation(std::span<const uint8_t> exif)
{
    const View notes(exif);
    const uint32_t value = notes.number(notes.first(), kOrientation).value_or(1);
    return value >= 1 && value <= 8 ? value : 1;
}

Resolution exifResolution(std::span<const uint8_t> exif)
{
    const View notes(exif);
    const double units = unitsPerMeter(notes.number(notes.first(), kResolutionUnit).value_or(kInch));
    const Resolution found = {pelsPerMeter(notes, kXResolution, units),
                              pelsPerMeter(notes, kYResolution, units)};
    return found.x > 0 && found.y > 0 ? found : Resolution{};
}

void makeExifUpright(std::vector<uint8_t> &exif)
{
    Editor notes{std::span(exif)};
    notes.setNumber(notes.first(), kOrientation, 1);
    takePreviewOut(exif);
}

void correctExif(std::span<uint8_t> exif, uint32_t width, uint32_t height, Resolution resolution)
{
    Editor notes(exif);
    const uint32_t first = notes.first();
    if (const auto directory = notes.number(first, kExifDirectory)) {
        notes.setNumber(*directory, kPixelWidth, width);
        notes.setNumber(*directory, kPixelHeight, height);
    }
    if (resolution.x <= 0 || resolution.y <= 0)
        return;
    const double units = unitsPerMeter(notes.number(first, kResolutionUnit).value_or(kInch));
    setFraction(notes, kXResolution, resolution.x / units);
    setFraction(notes, kYResolution, resolution.y / units);
}

std::vector<uint8_t> exifOfResolution(Resolution resolution)
{
    constexpr uint32_t kValues = 50; // behind header, three entries and the link
    const auto x = static_cast<uint32_t>(resolution.x), y = static_cast<uint32_t>(resolution.y);
    std::vector<uint8_t> exif(kValues + 16);
    exif[0] = exif[1] = 'I';
    exif[2] = 42;
    Editor notes{std::span(exif)};
    notes.put32(4, kHeaderBytes);
    notes.put16(kHeaderBytes, 3);
    const std::array<std::array<uint32_t, 3>, 3> entries = {{{kXResolution, kRational, kValues},
                                                             {kYResolution, kRational, kValues + 8},
                                                             {kResolutionUnit, kShort, kCentimeter}}};
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::size_t at = kHeaderBytes + 2 + kEntryBytes * i;
        notes.put16(at, entries[i][0]);
        notes.put16(at + 2, entries[i][1]);
        notes.put32(at + 4, 1);
        notes.put32(at + 8, entries[i][2]);
    }
    const std::array<uint32_t, 4> values = {x, 100, y, 100};
    for (std::size_t i = 0; i < values.size(); ++i)
        notes.put32(kValues + 4 * i, values[i]);
    return exif;
}

void makeXmpUpright(std::span<uint8_t> xmp)
{
    constexpr std::string_view kName = "tiff:Orientation";
    auto rest = xmp.begin();
    while (true) {
        rest = std::search(rest, xmp.end(), kName.begin(), kName.end());
        if (rest == xmp.end())
            return;
        rest += kName.size();
        // The value stands in an attribute or in an element: ="6" or >6<.
        const auto isBetween = [](uint8_t c) {
            return c == '=' || c == '"' || c == '\'' || c == '>' || c == ' ' || c == '\n' || c == '\r' ||
                   c == '\t';
        };
        const auto digit = std::find_if_not(rest, xmp.end(), isBetween);
        if (digit != rest && digit != xmp.end() && *digit >= '2' && *digit <= '8')
            *digit = '1';
    }
}

} // namespace velmont::io
