// Each format both ways against another decoder: ImageMagick, a package of the tests.
#include "tests/io/picture_view.h"
#include "tests/io/temporary_folder.h"
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

namespace velmont::io {

namespace {

using testing::Bytes;
using testing::makePicture;
using testing::noisePicture;
using testing::PictureView;

constexpr int kWidth = 37;
constexpr int kHeight = 21;

/// A picture of soft colours, which survive a coding with loss.
Picture softPicture(unsigned bits, bool hasAlpha)
{
    const std::size_t stride = bits == 24 ? 112 : 40;
    Bytes rows(stride * kHeight);
    for (std::size_t y = 0; y < kHeight; ++y) {
        for (std::size_t x = 0; x < kWidth; ++x) {
            const auto put = [&](std::size_t at, std::size_t value) {
                rows[stride * y + at] = static_cast<uint8_t>(value);
            };
            if (bits == 8) {
                put(x, 3 * x + 5 * y);
                continue;
            }
            put(3 * x, 30 + 3 * x);
            put(3 * x + 1, 200 - 4 * y);
            put(3 * x + 2, 50 + 2 * x + 2 * y);
        }
    }
    Picture picture =
        makePicture(kWidth, kHeight, bits, bits == 8 ? testing::grayRamp() : std::vector<unsigned>{}, rows);
    for (std::size_t i = 0; hasAlpha && i < std::size_t{kWidth} * kHeight; ++i)
        picture.alpha.push_back(static_cast<uint8_t>(255 - i / 5));
    return picture;
}

/// Red, green, blue and alpha of each pixel.
Bytes rgbaOf(const Picture &picture)
{
    const PictureView view(picture);
    const testing::Lines colors = view.colors(), alpha = view.alpha();
    Bytes rgba;
    for (std::size_t y = 0; y < colors.size(); ++y)
        for (std::size_t x = 0; x < colors[y].size(); ++x)
            for (const unsigned value :
                 {colors[y][x] >> 16, colors[y][x] >> 8, colors[y][x], alpha.empty() ? 255u : alpha[y][x]})
                rgba.push_back(static_cast<uint8_t>(value));
    return rgba;
}

/// Expects pixels within `most` of each other. Those that cannot be seen may have any colour.
void expectNear(const Bytes &actual, const Bytes &expected, int most, const std::string &name)
{
    ASSERT_EQ(actual.size(), expected.size()) << name;
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (expected[i / 4 * 4 + 3] == 0 && i % 4 != 3)
            continue;
        ASSERT_LE(std::abs(actual[i] - expected[i]), most)
            << name << ": channel " << i % 4 << " of pixel " << i / 4 << ", " << int{actual[i]} << " and "
            << int{expected[i]};
    }
}

class ImageMagick : public ::testing::Test {
protected:
    /// Runs `convert` in the folder; the test fails where it does.
    void convert(const std::string &arguments)
    {
        const std::string command =
            "cd '" + folder_.path().string() + "' && { convert " + arguments + "; } 2>messages";
        const int status = std::system(command.c_str());
        const Bytes messages = folder_.read("messages");
        ASSERT_EQ(status, 0) << "ImageMagick (package imagemagick) is needed for this test. " << command
                             << "\n"
                             << std::string(messages.begin(), messages.end());
    }
    testing::TemporaryFolder folder_;
};

struct Kind {
    std::string name;
    Picture picture;
};

std::vector<Kind> kinds()
{
    std::vector<Kind> kinds;
    kinds.push_back({"24", softPicture(24, false)});
    kinds.push_back({"24-alpha", softPicture(24, true)});
    kinds.push_back({"gray", softPicture(8, false)});
    kinds.push_back({"gray-alpha", softPicture(8, true)});
    kinds.push_back({"8", noisePicture(kWidth, kHeight, 8, 256, false)});
    kinds.push_back({"4", noisePicture(kWidth, kHeight, 4, 16, false)});
    kinds.push_back({"1", noisePicture(kWidth, kHeight, 1, 2, false)});
    kinds.push_back({"ramp", makePicture(3, 1, 1, {0, 0xFFFFFF}, {0xA0, 0, 0, 0})});
    return kinds;
}

TEST_F(ImageMagick, ReadsWhatIsWritten)
{
    for (const std::string_view word : formatWords()) {
        const Format format = *formatOfWord(word);
        std::string arguments;
        for (Kind &kind : kinds()) {
            if (!keepsAlpha(format))
                kind.picture.alpha.clear();
            folder_.write(kind.name, encode(kind.picture, format));
            arguments.append(word).append(":").append(kind.name);
            arguments.append(" -depth 8 -write rgba:").append(kind.name).append(".rgba +delete ");
        }
        convert(arguments + "xc:black null:");
        for (Kind &kind : kinds()) {
            if (!keepsAlpha(format))
                kind.picture.alpha.clear();
            // Palettes of random colours are too hard for JPEG; there the other pictures count.
            const bool isNoise = kind.name == "8" || kind.name == "4" || kind.name == "1";
            const int most = format == Format::Jpeg               ? (isNoise ? 255 : 9)
                             : format == Format::Webp && !isNoise ? 14
                                                                  : 0;
            expectNear(folder_.read(kind.name + ".rgba"), rgbaOf(kind.picture), most,
                       std::string(word) + " " + kind.name);
        }
    }
}

TEST_F(ImageMagick, ReadsResolutionAndMetadata)
{
    Picture picture = softPicture(24, false);
    picture.metadata = {samples::profileOf("RGB "), samples::exifNotes({}),
                        samples::ByteList().text("<x:xmpmeta/>").bytes()};
    std::string arguments;
    for (const std::string_view word : formatWords()) {
        folder_.write(std::string(word), encode(picture, *formatOfWord(word)));
        arguments.append(word).append(":").append(word);
        arguments
            .append(
                " -units PixelsPerInch -format '%m %[fx:round(resolution.x)] %[profile:icc]\\n' -write info:")
            .append(word)
            .append(".txt +delete ");
    }
    convert(arguments + "xc:black null:");
    for (const char *word : {"png", "jpeg", "bmp", "tiff"}) {
        const Bytes text = folder_.read(std::string(word) + ".txt");
        EXPECT_NE(std::string(text.begin(), text.end()).find(" 72 "), std::string::npos)
            << word << ": " << std::string(text.begin(), text.end());
    }
}

struct Made {
    std::string options; ///< of convert
    std::string file;    ///< with its format in front where the ending does not say it
    unsigned bits;       ///< that the picture has here
    int most;            ///< difference
};

/// What convert is to make of "in.png", and how it looks.
const std::vector<Made> &made()
{
    static const std::vector<Made> list = {
        {"-alpha off -compress none", "none.tif", 24, 0},
        {"-alpha off -compress lzw", "lzw.tif", 24, 0},
        {"-alpha off -compress zip -endian MSB", "zip.tif", 24, 0},
        {"-alpha off -compress rle", "packbits.tif", 24, 0},
        {"-alpha off -compress jpeg -quality 95", "jpeg.tif", 24, 3},
        {"-alpha off -depth 16", "deep.tif", 24, 0},
        {"-alpha off -interlace plane", "planes.tif", 24, 0},
        {"-alpha off -define tiff:tile-geometry=16x16", "tiles.tif", 24, 0},
        {"-alpha off -colorspace CMYK", "inks.tif", 24, 1},
        {"-compress zip", "alpha.tif", 24, 0},
        {"-define tiff:alpha=associated", "associated.tif", 24, 3},
        {"-alpha off -colorspace Gray", "gray.tif", 8, 0},
        {"-alpha off -colorspace Gray -depth 4", "four.tif", 4, 0},
        {"-alpha off -colors 200 -type Palette", "palette.tif", 8, 1},
        {"-alpha off -monochrome -compress group4", "fax.tif", 1, 0},
        {"-alpha off -monochrome -compress fax", "fax3.tif", 1, 0},
        {"-alpha off -orient RightTop", "turned.tif", 24, 0},
        {"-interlace PNG", "interlaced.png", 24, 0},
        {"-depth 16 -define png:bit-depth=16", "deep.png", 24, 0},
        {"-alpha off -colors 13", "png8:palette.png", 8, 0},
        {"-alpha off -monochrome", "one.png", 1, 0},
        {"-alpha off -colorspace Gray", "gray.png", 8, 0},
        {"-alpha off -colorspace CMYK -quality 98 -sampling-factor 1x1", "inks.jpg", 24, 3},
        {"-alpha off -interlace JPEG -quality 98 -sampling-factor 2x2", "progressive.jpg", 24, 3},
        {"-alpha off -colorspace Gray", "gray.jpg", 8, 1},
        {"-define webp:lossless=true", "lossless.webp", 24, 0},
        {"-quality 95", "lossy.webp", 24, 3},
        {"-alpha off -type Palette", "bmp3:palette.bmp", 8, 0},
        {"-alpha off -compress rle -type Palette", "bmp3:runs.bmp", 8, 0},
        {"", "alpha.bmp", 24, 0},
    };
    return list;
}

std::string nameOf(const Made &made)
{
    return made.file.substr(made.file.find(':') + 1);
}

TEST_F(ImageMagick, WritesWhatIsRead)
{
    folder_.write("in.png", encode(softPicture(24, true), Format::Png));
    // Options hold from one file to the next: each is written by a program of its own.
    std::string write = "in.png null:", read;
    for (const Made &each : made()) {
        const std::string name = nameOf(each);
        write += " && convert in.png " + each.options + " " + each.file;
        read += name + " -auto-orient -colorspace sRGB -depth 8 -write rgba:" + name + ".rgba +delete ";
    }
    convert(write);
    convert(read + "xc:black null:");
    for (const Made &each : made()) {
        const Picture picture = readPicture(folder_.path() / nameOf(each));
        expectNear(rgbaOf(picture), folder_.read(nameOf(each) + ".rgba"), each.most, nameOf(each));
        EXPECT_EQ(PictureView(picture).header().biBitCount, each.bits) << nameOf(each);
    }
}

} // namespace

} // namespace velmont::io
