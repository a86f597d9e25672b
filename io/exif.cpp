#include "io/exif.h"
#include "io/exif_notes.h"
#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace velmont::io {

namespace {

constexpr double kInchesPerMeter = 1 / 0.0254;

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
