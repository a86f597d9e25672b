#include "tests/io/sample_files.h"
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
// Needs <cstdio> before it.
#include <jpeglib.h>

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
    return samples;
}

} // namespace velmont::io::samples
