#include "tests/io/sample_files.h"
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
// Needs <cstdio> before it.
#include <jpeglib.h>
#include <webp/encode.h>

namespace velmont::io::samples {

ByteList &ByteList::byte(unsigned value)
{
    bytes_.push_back(static_cast<uint8_t>(value));
    return *this;
}

ByteList &ByteList::little16(uint32_t value)
{
    return byte(value & 0xFF).byte(value >> 8 & 0xFF);
}

ByteList &ByteList::little32(uint32_t value)
{
    return little16(value & 0xFFFF).little16(value >> 16);
}

ByteList &ByteList::big32(uint32_t value)
{
    return byte(value >> 24).byte(value >> 16 & 0xFF).byte(value >> 8 & 0xFF).byte(value & 0xFF);
}

ByteList &ByteList::text(std::string_view text)
{
    bytes_.insert(bytes_.end(), text.begin(), text.end());
    return *this;
}

ByteList &ByteList::number16(uint32_t value, bool isBig)
{
    return isBig ? byte(value >> 8 & 0xFF).byte(value & 0xFF) : little16(value);
}

ByteList &ByteList::number32(uint32_t value, bool isBig)
{
    return isBig ? big32(value) : little32(value);
}

ByteList &ByteList::append(const Bytes &bytes)
{
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
}

Bytes bmpFile(const BmpRecipe &recipe)
{
    ByteList header;
    header.little32(recipe.headerBytes);
    if (recipe.headerBytes == 12) {
        header.little16(static_cast<uint32_t>(recipe.width)).little16(static_cast<uint32_t>(recipe.height));
        header.little16(1).little16(recipe.bits);
    } else {
        header.little32(static_cast<uint32_t>(recipe.width)).little32(static_cast<uint32_t>(recipe.height));
        header.little16(1).little16(recipe.bits).little32(recipe.compression).little32(0);
        header.little32(recipe.resolution).little32(recipe.resolution);
        header.little32(recipe.colorsUsed).little32(0).append(recipe.masks);
    }
    Bytes information = header.bytes();
    if (recipe.headerBytes < 40)
        information.resize(recipe.headerBytes);
    information.resize(std::max<std::size_t>(information.size(), recipe.headerBytes));
    const std::size_t offset = 14 + information.size() + recipe.palette.size();
    ByteList file;
    file.byte('B').byte('M').little32(static_cast<uint32_t>(offset + recipe.pixels.size())).little32(0);
    file.little32(static_cast<uint32_t>(offset))
        .append(information)
        .append(recipe.palette)
        .append(recipe.pixels);
    return file.bytes();
}

namespace {

uint32_t crcOf(const Bytes &bytes)
{
    uint32_t crc = 0xFFFFFFFF;
    for (const uint8_t byte : bytes) {
        crc ^= byte;
        for (int i = 0; i < 8; ++i)
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
    }
    return ~crc;
}

uint32_t adlerOf(const Bytes &bytes)
{
    uint32_t a = 1, b = 0;
    for (const uint8_t byte : bytes) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    return b << 16 | a;
}

/// One stored block, which is enough for small images.
Bytes zlibStream(const Bytes &bytes)
{
    const auto length = static_cast<uint32_t>(bytes.size());
    ByteList stream;
    stream.byte(0x78).byte(0x01).byte(1).little16(length).little16(~length & 0xFFFF);
    return stream.append(bytes).big32(adlerOf(bytes)).bytes();
}

void appendChunk(ByteList &file, const PngChunk &chunk)
{
    Bytes named(chunk.first.begin(), chunk.first.end());
    named.insert(named.end(), chunk.second.begin(), chunk.second.end());
    file.big32(static_cast<uint32_t>(chunk.second.size())).append(named).big32(crcOf(named));
}

unsigned channelsOf(unsigned colorType)
{
    constexpr std::array<unsigned, 7> kChannels = {1, 0, 3, 1, 2, 0, 4};
    return kChannels[colorType];
}

/// A grid of pixels: one pass of an interlaced image, or all of a plain one.
struct Pass {
    uint32_t x, y, stepX, stepY;
};

void appendRow(ByteList &rows, const PngRecipe &recipe, uint32_t y, const Pass &pass)
{
    const unsigned channels = channelsOf(recipe.colorType);
    unsigned held = 0, heldBits = 0;
    rows.byte(0);
    for (uint32_t x = pass.x; x < recipe.width; x += pass.stepX) {
        for (unsigned i = 0; i < channels; ++i) {
            held =
                held << recipe.depth | recipe.samples.at((std::size_t{y} * recipe.width + x) * channels + i);
            for (heldBits += recipe.depth; heldBits >= 8; heldBits -= 8)
                rows.byte(held >> (heldBits - 8) & 0xFF);
        }
    }
    if (heldBits > 0)
        rows.byte(held << (8 - heldBits) & 0xFF);
}

Bytes pngRows(const PngRecipe &recipe)
{
    static constexpr std::array<Pass, 7> kInterlaced = {
        {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4}, {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}}};
    ByteList rows;
    const auto appendPass = [&](const Pass &pass) {
        for (uint32_t y = pass.y; y < recipe.height && pass.x < recipe.width; y += pass.stepY)
            appendRow(rows, recipe, y, pass);
    };
    if (recipe.isInterlaced)
        std::for_each(kInterlaced.begin(), kInterlaced.end(), appendPass);
    else if (!recipe.omitsPixels)
        appendPass({0, 0, 1, 1});
    return rows.bytes();
}

} // namespace

Bytes pngFile(const PngRecipe &recipe)
{
    ByteList header;
    header.big32(recipe.width).big32(recipe.height).byte(recipe.depth).byte(recipe.colorType);
    header.byte(0).byte(0).byte(recipe.isInterlaced);
    ByteList file;
    file.append({0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'});
    appendChunk(file, {"IHDR", header.bytes()});
    for (const PngChunk &chunk : recipe.chunks)
        appendChunk(file, chunk);
    appendChunk(file, {"IDAT", zlibStream(pngRows(recipe))});
    appendChunk(file, {"IEND", {}});
    return file.bytes();
}

void repairPngChecksums(Bytes &file)
{
    constexpr std::size_t kSignature = 8, kLengthAndName = 8, kChecksum = 4;
    if (file.size() < kSignature || file[0] != 0x89 || file[1] != 'P')
        return;
    std::size_t chunk = kSignature;
    while (file.size() - chunk >= kLengthAndName + kChecksum) {
        const uint8_t *const start = file.data() + chunk;
        const std::size_t length = uint32_t{start[0]} << 24 | start[1] << 16 | start[2] << 8 | start[3];
        if (length > file.size() - chunk - kLengthAndName - kChecksum)
            return;
        const std::size_t end = chunk + kLengthAndName + length;
        const Bytes named(file.begin() + static_cast<std::ptrdiff_t>(chunk + 4),
                          file.begin() + static_cast<std::ptrdiff_t>(end));
        const Bytes checksum = ByteList().big32(crcOf(named)).bytes();
        std::copy(checksum.begin(), checksum.end(), file.begin() + static_cast<std::ptrdiff_t>(end));
        chunk = end + kChecksum;
    }
}

namespace {

void setJpegParameters(jpeg_compress_struct &jpeg, const JpegRecipe &recipe)
{
    jpeg.image_width = recipe.width;
    jpeg.image_height = recipe.height;
    jpeg.input_components = recipe.components;
    constexpr std::array<J_COLOR_SPACE, 5> kSpaces = {JCS_UNKNOWN, JCS_GRAYSCALE, JCS_UNKNOWN, JCS_RGB,
                                                      JCS_CMYK};
    jpeg.in_color_space = kSpaces.at(static_cast<std::size_t>(recipe.components));
    jpeg_set_defaults(&jpeg);
    if (recipe.asRgb)
        jpeg_set_colorspace(&jpeg, JCS_RGB);
    if (recipe.asYcck)
        jpeg_set_colorspace(&jpeg, JCS_YCCK);
    if (recipe.components == 4)
        jpeg.write_Adobe_marker = recipe.hasAdobe;
    jpeg_set_quality(&jpeg, 100, TRUE);
    for (int i = 0; i < jpeg.num_components; ++i) {
        jpeg.comp_info[i].h_samp_factor = 1;
        jpeg.comp_info[i].v_samp_factor = 1;
    }
    jpeg.density_unit = static_cast<UINT8>(recipe.densityUnit);
    jpeg.X_density = static_cast<UINT16>(recipe.density);
    jpeg.Y_density = static_cast<UINT16>(recipe.density);
    jpeg.restart_in_rows = static_cast<int>(recipe.restartRows);
    jpeg.arith_code = recipe.isArithmetic;
    if (recipe.omitsJfif)
        jpeg.write_JFIF_header = FALSE;
    if (recipe.isProgressive)
        jpeg_simple_progression(&jpeg);
}

} // namespace

Bytes jpegFile(const JpegRecipe &recipe)
{
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    unsigned char *memory = nullptr;
    unsigned long size = 0;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    jpeg_mem_dest(&jpeg, &memory, &size);
    setJpegParameters(jpeg, recipe);
    jpeg_start_compress(&jpeg, TRUE);
    for (const auto &[marker, content] : recipe.segments)
        jpeg_write_marker(&jpeg, JPEG_APP0 + marker, content.data(), static_cast<unsigned>(content.size()));
    Bytes samples = recipe.samples;
    const std::size_t rowBytes = std::size_t{recipe.width} * static_cast<std::size_t>(recipe.components);
    while (jpeg.next_scanline < jpeg.image_height) {
        JSAMPROW row = samples.data() + rowBytes * jpeg.next_scanline;
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    Bytes file(memory, memory + size);
    std::free(memory);
    return file;
}

namespace {

bool isFraction(unsigned tag)
{
    return tag == 282 || tag == 283;
}

bool isBytes(unsigned tag)
{
    return tag == 700 || tag == 34675;
}

/// A directory whose values lie right before it.
struct Directory {
    uint32_t offset;      ///< in the file
    std::size_t nextLink; ///< where the offset of the next one is, from the start of `bytes`
    Bytes bytes;
};

/// \param at where in the file the values will begin
Directory directory(const TiffTags &tags, uint32_t at, bool isBig)
{
    ByteList values, entries;
    entries.number16(static_cast<uint32_t>(tags.size()), isBig);
    for (const auto &[tag, numbers] : tags) {
        const bool isShort =
            !isFraction(tag) && !isBytes(tag) &&
            std::all_of(numbers.begin(), numbers.end(), [](uint32_t n) { return n <= 0xFFFF; });
        const auto put = [&, &numbers = numbers, tag = tag](ByteList &list) {
            for (const uint32_t number : numbers) {
                if (isBytes(tag))
                    list.byte(number);
                else if (isShort)
                    list.number16(number, isBig);
                else
                    list.number32(number, isBig);
            }
        };
        ByteList own;
        put(own);
        const auto count = static_cast<uint32_t>(isFraction(tag) ? numbers.size() / 2 : numbers.size());
        entries.number16(tag, isBig)
            .number16(isBytes(tag)      ? 7
                      : isFraction(tag) ? 5
                      : isShort         ? 3
                                        : 4,
                      isBig);
        entries.number32(count, isBig);
        Bytes place = own.bytes();
        if (place.size() > 4) {
            entries.number32(at + static_cast<uint32_t>(values.bytes().size()), isBig);
            values.append(place);
            if (place.size() % 2 != 0)
                values.byte(0);
        } else {
            place.resize(4);
            entries.append(place);
        }
    }
    Directory made{at + static_cast<uint32_t>(values.bytes().size()), 0, {}};
    made.nextLink = values.bytes().size() + entries.bytes().size();
    made.bytes = ByteList(values).append(entries.bytes()).number32(0, isBig).bytes();
    return made;
}

void patch32(Bytes &file, std::size_t at, uint32_t value, bool isBig)
{
    const Bytes number = ByteList().number32(value, isBig).bytes();
    std::copy(number.begin(), number.end(), file.begin() + static_cast<std::ptrdiff_t>(at));
}

Bytes tiffHeader(bool isBig)
{
    return ByteList().text(isBig ? "MM" : "II").number16(42, isBig).number32(0, isBig).bytes();
}

/// Adds a directory at the end. \return where its link to the next one lies.
std::size_t appendDirectory(Bytes &file, std::size_t link, const TiffTags &tags, bool isBig)
{
    const auto at = static_cast<uint32_t>(file.size());
    const Directory made = directory(tags, at, isBig);
    patch32(file, link, made.offset, isBig);
    file.insert(file.end(), made.bytes.begin(), made.bytes.end());
    return at + made.nextLink;
}

} // namespace

TiffTags tiffTags(unsigned width, unsigned height, std::vector<uint32_t> bits, unsigned photometric)
{
    const auto samples = static_cast<uint32_t>(bits.size());
    return {{256, {width}}, {257, {height}},      {258, std::move(bits)},
            {259, {1}},     {262, {photometric}}, {277, {samples}}};
}

Bytes tiffFile(const TiffRecipe &recipe)
{
    Bytes file = tiffHeader(recipe.isBig);
    std::vector<uint32_t> places, lengths;
    for (const Bytes &piece : recipe.pieces) {
        places.push_back(static_cast<uint32_t>(file.size()));
        lengths.push_back(static_cast<uint32_t>(piece.size()));
        file.insert(file.end(), piece.begin(), piece.end());
        file.resize((file.size() + 1) / 2 * 2);
    }
    TiffTags tags = recipe.tags;
    tags.emplace_back(recipe.isTiled ? 324 : 273, places);
    tags.emplace_back(recipe.isTiled ? 325 : 279, lengths);
    std::sort(tags.begin(), tags.end());
    std::size_t link = 4;
    for (unsigned i = 0; i < recipe.pages; ++i)
        link = appendDirectory(file, link, tags, recipe.isBig);
    return file;
}

Bytes exifNotes(const ExifRecipe &recipe)
{
    Bytes notes = tiffHeader(recipe.isBig);
    TiffTags tags = {{0x0112, {recipe.orientation}}};
    if (recipe.dotsPerInch != 0) {
        tags.push_back({282, {recipe.dotsPerInch, 1}});
        tags.push_back({283, {2 * recipe.dotsPerInch, 1}});
        tags.push_back({0x0128, {2}});
    }
    tags.push_back({0x8769, {0x12345678}}); // replaced below
    const std::size_t link = appendDirectory(notes, 4, tags, recipe.isBig);
    // The last entry's value lies right before the link: the directory with the size of the picture.
    appendDirectory(notes, link - 4, {{0xA002, {640}}, {0xA003, {100000}}}, recipe.isBig);
    if (!recipe.preview.empty()) {
        const auto bytes = static_cast<uint32_t>(recipe.preview.size());
        const std::size_t next =
            appendDirectory(notes, link, {{0x0201, {0x10000}}, {0x0202, {bytes}}}, recipe.isBig);
        patch32(notes, next - 16, static_cast<uint32_t>(notes.size()), recipe.isBig);
        notes.insert(notes.end(), recipe.preview.begin(), recipe.preview.end());
    }
    return notes;
}

Bytes webpChunk(std::string_view name, const Bytes &content)
{
    ByteList chunk;
    chunk.text(name).little32(static_cast<uint32_t>(content.size())).append(content);
    if (content.size() % 2 != 0)
        chunk.byte(0);
    return chunk.bytes();
}

Bytes webpFile(const Bytes &chunks)
{
    return ByteList()
        .text("RIFF")
        .little32(static_cast<uint32_t>(chunks.size() + 4))
        .text("WEBP")
        .append(chunks)
        .bytes();
}

Bytes webpImage(unsigned width, unsigned height, const Bytes &bgra, bool isLossless)
{
    uint8_t *file = nullptr;
    const auto columns = static_cast<int>(width), rows = static_cast<int>(height);
    const std::size_t size = isLossless
                                 ? WebPEncodeLosslessBGRA(bgra.data(), columns, rows, 4 * columns, &file)
                                 : WebPEncodeBGRA(bgra.data(), columns, rows, 4 * columns, 90, &file);
    Bytes chunks(file + 12, file + size);
    WebPFree(file);
    constexpr std::size_t kHeaderChunk = 18;
    if (std::equal(chunks.begin(), chunks.begin() + 4, "VP8X"))
        chunks.erase(chunks.begin(), chunks.begin() + kHeaderChunk);
    return chunks;
}

Bytes webpHeader(unsigned flags, unsigned width, unsigned height)
{
    ByteList header;
    header.byte(flags).byte(0).byte(0).byte(0);
    for (const unsigned side : {width - 1, height - 1})
        header.little16(side).byte(0);
    return webpChunk("VP8X", header.bytes());
}

Bytes webpAnimation(unsigned canvasWidth, unsigned canvasHeight, unsigned width, unsigned height,
                    const Bytes &bgra)
{
    ByteList frame;
    for (const unsigned number : {1u, 2u, width - 1, height - 1, 100u}) // offsets are halved
        frame.little16(number).byte(0);
    frame.byte(0).append(webpImage(width, height, bgra, true));
    const Bytes frames = webpChunk("ANMF", frame.bytes());
    return webpFile(ByteList()
                        .append(webpHeader(kWebpAnimation | kWebpAlpha, canvasWidth, canvasHeight))
                        .append(webpChunk("ANIM", Bytes(6)))
                        .append(frames)
                        .append(frames)
                        .bytes());
}

Bytes profileOf(std::string_view space)
{
    // The header, a list of one tag, and a text for it.
    Bytes profile(252);
    profile[3] = 252;
    profile[131] = 1;
    profile[139] = 144;
    profile[143] = 108;
    // Libraries take a profile that can be packed into a few bytes for a damaged one.
    for (std::size_t i = 152; i < 251; ++i)
        profile[i] = static_cast<uint8_t>(32 + i * i * 7 / 3 % 90);
    profile[8] = 2;
    const auto put = [&](std::size_t at, std::string_view text) {
        std::copy(text.begin(), text.end(), profile.begin() + static_cast<std::ptrdiff_t>(at));
    };
    put(12, space == "CMYK" ? "prtr" : "mntr");
    put(16, space);
    put(20, "XYZ ");
    put(36, "acsp");
    put(132, "cprt");
    put(144, "text");
    // The light of the connection space: D50.
    put(68, std::string_view("\0\0\xF6\xD6\0\1\0\0\0\0\xD3\x2D", 12));
    return profile;
}

namespace {

/// Values that differ from pixel to pixel.
std::vector<uint16_t> ramp(std::size_t count, unsigned below)
{
    std::vector<uint16_t> values(count);
    for (std::size_t i = 0; i < count; ++i)
        values[i] = static_cast<uint16_t>(i * 7 % below);
    return values;
}

Bytes byteRamp(std::size_t count)
{
    const std::vector<uint16_t> values = ramp(count, 256);
    return Bytes(values.begin(), values.end());
}

Bytes colors(unsigned count, unsigned bytesEach)
{
    Bytes palette;
    for (unsigned i = 0; i < count * bytesEach; ++i)
        palette.push_back(static_cast<uint8_t>(i % bytesEach == 3 ? 0 : i * 37 % 256));
    return palette;
}

Bytes masks(std::initializer_list<uint32_t> values)
{
    ByteList list;
    for (const uint32_t value : values)
        list.little32(value);
    return list.bytes();
}

void addPlainBmps(std::vector<Sample> &samples)
{
    for (const uint32_t bits : {1u, 2u, 4u, 8u, 16u, 24u, 32u}) {
        BmpRecipe recipe{.width = 5, .height = 3, .bits = bits};
        recipe.palette = bits <= 8 ? colors(1u << bits, 4) : Bytes{};
        recipe.pixels = byteRamp((5 * bits + 31) / 32 * 4 * 3);
        samples.push_back({"bmp-" + std::to_string(bits), bmpFile(recipe)});
        recipe.height = -3;
        samples.push_back({"bmp-top-down-" + std::to_string(bits), bmpFile(recipe)});
        if (bits == 16 || bits == 32)
            continue;
        recipe.height = 3;
        recipe.headerBytes = 12;
        recipe.palette = bits <= 8 ? colors(1u << bits, 3) : Bytes{};
        samples.push_back({"bmp-core-" + std::to_string(bits), bmpFile(recipe)});
    }
    for (const uint32_t headerBytes : {16u, 64u}) {
        BmpRecipe recipe{.width = 5, .height = 3, .bits = 4, .headerBytes = headerBytes};
        recipe.palette = colors(16, 4);
        recipe.pixels = byteRamp(12);
        samples.push_back({"bmp-os2-" + std::to_string(headerBytes), bmpFile(recipe)});
    }
    BmpRecipe few{.width = 3, .height = 2, .bits = 8, .colorsUsed = 3, .resolution = 2835};
    few.palette = colors(3, 4);
    few.pixels = {0, 1, 2, 0, 2, 1, 0, 0};
    samples.push_back({"bmp-few-colors", bmpFile(few)});
}

void addMaskedBmps(std::vector<Sample> &samples)
{
    BmpRecipe recipe{.width = 3, .height = 2, .bits = 16, .compression = 3};
    recipe.masks = masks({0xF800, 0x07E0, 0x001F});
    recipe.pixels = byteRamp(16);
    samples.push_back({"bmp-565", bmpFile(recipe)});
    recipe.bits = 32;
    recipe.pixels = byteRamp(24);
    recipe.masks = masks({0x3FF00000, 0x000FFC00, 0x000003FF});
    samples.push_back({"bmp-10-10-10", bmpFile(recipe)});
    recipe.headerBytes = 52;
    samples.push_back({"bmp-masks-header", bmpFile(recipe)});
    recipe.masks = masks({0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000});
    for (const uint32_t headerBytes : {56u, 108u, 124u}) {
        recipe.headerBytes = headerBytes;
        samples.push_back({"bmp-alpha-" + std::to_string(headerBytes), bmpFile(recipe)});
    }
    recipe.headerBytes = 40;
    recipe.compression = 6;
    samples.push_back({"bmp-alpha-masks", bmpFile(recipe)});
}

void addRunLengthBmps(std::vector<Sample> &samples)
{
    BmpRecipe recipe{.width = 6, .height = 3, .bits = 8, .compression = 1};
    recipe.palette = colors(256, 4);
    recipe.pixels = {4, 9, 2, 3, 0, 0, 0, 3, 5, 6, 7, 0, 0, 2, 1, 1, 1, 8, 0, 1};
    samples.push_back({"bmp-rle8", bmpFile(recipe)});
    recipe.width = 7;
    recipe.bits = 4;
    recipe.compression = 2;
    recipe.palette = colors(16, 4);
    recipe.pixels = {5, 0x12, 1, 0x30, 0, 0, 0, 5, 0x45, 0x67, 0x80, 0, 0, 2, 0, 1, 1, 0x9A, 0, 1};
    samples.push_back({"bmp-rle4", bmpFile(recipe)});
}

void addPngs(std::vector<Sample> &samples, bool isInterlaced)
{
    constexpr std::array<std::pair<unsigned, unsigned>, 15> kKinds = {{{0, 1},
                                                                       {0, 2},
                                                                       {0, 4},
                                                                       {0, 8},
                                                                       {0, 16},
                                                                       {2, 8},
                                                                       {2, 16},
                                                                       {3, 1},
                                                                       {3, 2},
                                                                       {3, 4},
                                                                       {3, 8},
                                                                       {4, 8},
                                                                       {4, 16},
                                                                       {6, 8},
                                                                       {6, 16}}};
    for (const auto &[type, depth] : kKinds) {
        PngRecipe recipe{
            .width = 5, .height = 9, .depth = depth, .colorType = type, .isInterlaced = isInterlaced};
        recipe.samples = ramp(std::size_t{45} * channelsOf(type), 1u << depth);
        if (type == 3)
            recipe.chunks.push_back({"PLTE", colors(1u << depth, 3)});
        const std::string name = "png-" + std::to_string(type) + "-" + std::to_string(depth);
        samples.push_back({name + (isInterlaced ? "-interlaced" : ""), pngFile(recipe)});
        if (type > 3)
            continue;
        recipe.chunks.push_back({"tRNS", type == 3 ? Bytes{0, 128} : Bytes(type == 0 ? 2 : 6)});
        samples.push_back({name + "-transparent" + (isInterlaced ? "-interlaced" : ""), pngFile(recipe)});
    }
}

void addJpegs(std::vector<Sample> &samples)
{
    for (const int components : {1, 3, 4}) {
        JpegRecipe recipe{
            .width = 11, .height = 9, .components = components, .densityUnit = 1, .density = 72};
        recipe.samples = byteRamp(std::size_t{99} * static_cast<std::size_t>(components));
        const std::string name = "jpeg-" + std::to_string(components);
        samples.push_back({name, jpegFile(recipe)});
        recipe.asRgb = components == 3;
        recipe.asYcck = components == 4;
        recipe.restartRows = 1;
        samples.push_back({name + "-other", jpegFile(recipe)});
        recipe.isProgressive = true;
        samples.push_back({name + "-progressive", jpegFile(recipe)});
        recipe.isArithmetic = true;
        samples.push_back({name + "-arithmetic", jpegFile(recipe)});
    }
}

void addTiffs(std::vector<Sample> &samples)
{
    const auto add = [&](const std::string &name, const TiffTags &tags, std::size_t bytes) {
        TiffRecipe recipe{.tags = tags, .pieces = {byteRamp(bytes)}};
        samples.push_back({"tiff-" + name, tiffFile(recipe)});
        recipe.isBig = true;
        samples.push_back({"tiff-big-" + name, tiffFile(recipe)});
    };
    for (const unsigned bits : {1u, 2u, 4u, 8u, 12u, 16u})
        add("gray-" + std::to_string(bits), tiffTags(5, 3, {bits}, bits % 3 == 1 ? 0 : 1),
            (5 * bits + 7) / 8 * 3);
    for (const unsigned bits : {1u, 4u, 8u}) {
        TiffTags tags = tiffTags(5, 3, {bits}, 3);
        tags.push_back({320, std::vector<uint32_t>(3u << bits, 0x4321)});
        add("palette-" + std::to_string(bits), tags, (5 * bits + 7) / 8 * 3);
    }
    add("rgb", tiffTags(5, 3, {8, 8, 8}, 2), 45);
    add("rgb-16", tiffTags(5, 3, {16, 16, 16}, 2), 90);
    add("inks", tiffTags(5, 3, {8, 8, 8, 8}, 5), 60);
    TiffTags alpha = tiffTags(5, 3, {8, 8, 8, 8}, 2);
    alpha.push_back({282, {72, 1}});
    alpha.push_back({283, {72, 1}});
    alpha.push_back({338, {1}});
    add("alpha", alpha, 60);
    TiffTags turned = tiffTags(5, 3, {8}, 1);
    turned.push_back({274, {6}});
    add("turned", turned, 15);
    TiffTags tiled = tiffTags(5, 3, {8, 8, 8}, 2);
    tiled.push_back({322, {16}});
    tiled.push_back({323, {16}});
    TiffRecipe tiles{.isTiled = true, .tags = tiled, .pieces = {byteRamp(768)}};
    samples.push_back({"tiff-tiles", tiffFile(tiles)});
    TiffTags planes = tiffTags(5, 3, {8, 8, 8}, 2);
    planes.push_back({284, {2}});
    TiffRecipe separate{.tags = planes, .pieces = {byteRamp(15), byteRamp(15), byteRamp(15)}};
    samples.push_back({"tiff-planes", tiffFile(separate)});
    TiffTags luminance = tiffTags(6, 4, {8, 8, 8}, 6);
    luminance.push_back({530, {1, 1}});
    samples.push_back({"tiff-luminance", tiffFile({.tags = luminance, .pieces = {byteRamp(72)}})});
}

void addWebps(std::vector<Sample> &samples)
{
    const Bytes pixels = byteRamp(4 * 7 * 5);
    Bytes opaque = pixels;
    for (std::size_t i = 3; i < opaque.size(); i += 4)
        opaque[i] = 255;
    samples.push_back({"webp", webpFile(webpImage(7, 5, opaque, false))});
    samples.push_back({"webp-lossless", webpFile(webpImage(7, 5, pixels, true))});
    ByteList chunks;
    chunks.append(webpHeader(kWebpAlpha | kWebpExif | kWebpProfile, 7, 5))
        .append(webpChunk("ICCP", profileOf("RGB ")));
    chunks.append(webpImage(7, 5, pixels, false));
    chunks.append(webpChunk("EXIF", exifNotes({.orientation = 6, .dotsPerInch = 72})));
    samples.push_back({"webp-notes", webpFile(chunks.bytes())});
    samples.push_back({"webp-animation", webpAnimation(11, 12, 7, 5, pixels)});
}

void addNotes(std::vector<Sample> &samples)
{
    JpegRecipe jpeg{.width = 5, .height = 3, .samples = byteRamp(15)};
    const Bytes notes =
        exifNotes({.isBig = true, .orientation = 8, .dotsPerInch = 300, .preview = Bytes(10, 1)});
    jpeg.segments = {
        {1, ByteList().text("Exif").byte(0).byte(0).append(notes).bytes()},
        {2, ByteList().text("ICC_PROFILE").byte(0).byte(1).byte(1).append(profileOf("GRAY")).bytes()}};
    samples.push_back({"jpeg-notes", jpegFile(jpeg)});
    PngRecipe png{.width = 3, .height = 2, .depth = 1, .samples = {0, 1, 1, 0, 0, 1}};
    png.chunks = {{"eXIf", exifNotes({.orientation = 5})}};
    samples.push_back({"png-notes", pngFile(png)});
}

} // namespace

std::vector<Sample> sampleFiles()
{
    std::vector<Sample> samples;
    addPlainBmps(samples);
    addMaskedBmps(samples);
    addRunLengthBmps(samples);
    addPngs(samples, false);
    addPngs(samples, true);
    addJpegs(samples);
    addTiffs(samples);
    addWebps(samples);
    addNotes(samples);
    return samples;
}

} // namespace velmont::io::samples
