// What files say besides their pixels: colour profiles, notes of the camera, XML packets.
#include "io/exif.h"
#include "tests/io/picture_view.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <string_view>

namespace velmont::io {

namespace {

using samples::ByteList;
using samples::exifNotes;
using samples::jpegFile;
using samples::JpegRecipe;
using samples::profileOf;
using testing::Bytes;
using testing::grayRamp;
using testing::Lines;
using testing::makePicture;
using testing::noisePicture;
using testing::PictureView;
using testing::viewOf;

Bytes bytesOf(std::string_view text)
{
    return ByteList().text(text).bytes();
}

Picture withMetadata(Picture picture, std::string_view profile)
{
    picture.metadata = {profileOf(profile), exifNotes({}), bytesOf("<x:xmpmeta>some \xC3\xA4</x:xmpmeta>")};
    return picture;
}

Picture colorPicture()
{
    return withMetadata(noisePicture(5, 3, 24, 0, false), "RGB ");
}

/// The picture that a format makes of another one.
Picture through(const Picture &picture, Format format, EncodeOptions options = {})
{
    return decode(encode(picture, format, options));
}

constexpr Format kKeeping[] = {Format::Jpeg, Format::Png, Format::Tiff, Format::Webp};

TEST(Metadata, TravelsThroughEveryFormatThatKeepsIt)
{
    const Picture picture = colorPicture();
    for (const Format format : kKeeping) {
        std::vector<std::string> notices;
        const Metadata kept = through(picture, format, {.notices = &notices}).metadata;
        EXPECT_EQ(kept.icc, picture.metadata.icc) << formatName(format);
        EXPECT_EQ(kept.xmp, picture.metadata.xmp) << formatName(format);
        EXPECT_TRUE(notices.empty()) << formatName(format) << ": " << notices.front();
        Bytes corrected = picture.metadata.exif;
        correctExif(corrected, 5, 3, {2835, 2835});
        EXPECT_NE(corrected, picture.metadata.exif);
        if (format != Format::Tiff) { // where they lie elsewhere; see below
            EXPECT_EQ(kept.exif, corrected) << formatName(format);
        }
    }
}

TEST(Metadata, WhatABmpFileDoesNotKeepIsSaid)
{
    const auto noticesOf = [](const Picture &picture, bool strip) {
        std::vector<std::string> notices;
        EXPECT_TRUE(through(picture, Format::Bmp, {.strip = strip, .notices = &notices}).metadata.empty());
        return notices;
    };
    const std::string profile = "the colour profile is not kept in a BMP file";
    const std::string notes = "the notes of the camera are not kept in a BMP file";
    Picture picture = colorPicture();
    EXPECT_EQ(noticesOf(picture, false), (std::vector<std::string>{profile, notes}));
    EXPECT_TRUE(noticesOf(picture, true).empty());
    picture.metadata.exif.clear();
    EXPECT_EQ(noticesOf(picture, false), (std::vector<std::string>{profile, notes}));
    picture.metadata.icc.clear();
    EXPECT_EQ(noticesOf(picture, false), std::vector<std::string>{notes});
    picture.metadata.xmp.clear();
    EXPECT_TRUE(noticesOf(picture, false).empty());
}

/// Writes directories by hand, in either byte order.
class HandWritten {
public:
    explicit HandWritten(bool isBig, uint32_t directory) : isBig_(isBig)
    {
        list_.text(isBig ? "MM" : "II").number16(42, isBig).number32(directory, isBig);
    }
    HandWritten &count(unsigned entries)
    {
        list_.number16(entries, isBig_);
        return *this;
    }
    /// An entry whose value is a number or lies elsewhere.
    HandWritten &entry(unsigned tag, unsigned type, uint32_t count, uint32_t value)
    {
        list_.number16(tag, isBig_).number16(type, isBig_);
        return number(count).number(value);
    }
    HandWritten &number(uint32_t value)
    {
        list_.number32(value, isBig_);
        return *this;
    }
    HandWritten &text(std::string_view text)
    {
        list_.text(text);
        return *this;
    }
    const Bytes &bytes() const { return list_.bytes(); }

private:
    bool isBig_;
    ByteList list_;
};

constexpr std::string_view kMaker("Velmont\0", 8);

/// Two texts, the sensitivity and the time of the exposure, the latitude's letter, and a note in the maker's own form.
Bytes fullNotes(bool isBig)
{
    HandWritten notes(isBig, 8);
    const unsigned high = isBig ? 16 : 0; // where a short number stands in its four bytes
    notes.count(5).entry(0x010F, 2, 8, 74).entry(0x0112, 3, 1, 6u << high);
    notes.entry(0x0131, 2, 2, isBig ? 0x41000000 : 0x41).entry(0x8769, 4, 1, 82).entry(0x8825, 4, 1, 140);
    notes.number(0).text(kMaker);
    notes.count(3).entry(0x829A, 5, 1, 124).entry(0x8827, 3, 1, 400u << high).entry(0x927C, 7, 8, 132);
    notes.number(0).number(1).number(60).text("its own!");
    notes.count(1).entry(1, 2, 2, isBig ? 0x4E000000 : 0x4E).number(0);
    return notes.bytes();
}

TEST(Metadata, NotesLieAmongTheTagsOfATiffFile)
{
    // As they come out: little-endian, each directory behind what its entries lead to, without the orientation, which
    // is the picture's own, and without what makers write in forms of their own.
    HandWritten expected(false, 72);
    expected.text(kMaker).number(1).number(60);
    expected.count(2).entry(0x829A, 5, 1, 16).entry(0x8827, 3, 1, 400).number(0);
    expected.count(1).entry(1, 2, 2, 0x4E).number(0);
    expected.count(4).entry(0x010F, 2, 8, 8).entry(0x0131, 2, 2, 0x41);
    expected.entry(0x8769, 4, 1, 24).entry(0x8825, 4, 1, 54).number(0);
    for (const bool isBig : {false, true}) {
        Picture picture = colorPicture();
        picture.metadata.exif = fullNotes(isBig);
        std::vector<std::string> notices;
        const Picture kept = through(picture, Format::Tiff, {.notices = &notices});
        EXPECT_EQ(kept.metadata.exif, expected.bytes());
        EXPECT_EQ(kept.metadata.xmp, picture.metadata.xmp);
        EXPECT_EQ(PictureView(kept).header().biXPelsPerMeter, 2835);
        EXPECT_EQ(notices, std::vector<std::string>{
                               "what the camera's maker noted in a form of its own (MakerNote) is not "
                               "kept in a TIFF file"});
        EXPECT_EQ(through(kept, Format::Tiff).metadata.exif, expected.bytes());
    }
}

TEST(Metadata, DamagedNotesAreNotFollowedOutOfATiffFile)
{
    for (const bool isBig : {false, true}) {
        const Bytes whole = fullNotes(isBig);
        for (std::size_t place = 8; place < whole.size(); ++place) {
            for (const uint8_t value : {0x00, 0x08, 0x7F, 0xFF}) {
                Picture picture = colorPicture();
                picture.metadata.exif = whole;
                picture.metadata.exif[place] = value;
                const Bytes file = encode(picture, Format::Tiff);
                EXPECT_EQ(PictureView(decode(file)).header().biWidth, 5) << place;
            }
        }
        for (std::size_t length = 0; length < whole.size(); ++length) {
            Picture picture = colorPicture();
            picture.metadata.exif.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
            EXPECT_EQ(PictureView(through(picture, Format::Tiff)).header().biHeight, 3) << length;
        }
    }
}

TEST(Metadata, IsStripped)
{
    for (const Format format : kKeeping) {
        const Picture stripped = through(colorPicture(), format, {.strip = true});
        EXPECT_TRUE(stripped.metadata.icc.empty() && stripped.metadata.xmp.empty()) << formatName(format);
        // The resolution of a WebP file is a note.
        EXPECT_TRUE(stripped.metadata.exif.empty() || format == Format::Webp) << formatName(format);
        EXPECT_EQ(PictureView(stripped).header().biXPelsPerMeter, 2835) << formatName(format);
    }
}

TEST(Metadata, AProfileForOtherColorsIsNotWritten)
{
    using Notices = std::vector<std::string>;
    const auto noticesOf = [](const Picture &picture, Format format) {
        Notices notices;
        const Picture again = through(picture, format, {.strip = false, .notices = &notices});
        EXPECT_EQ(again.metadata.icc.empty(), !notices.empty());
        return notices;
    };
    const auto gray = [](std::string_view profile) {
        Picture picture = withMetadata(makePicture(1, 1, 8, grayRamp(), {9, 0, 0, 0}), profile);
        picture.metadata.exif.clear();
        return picture;
    };
    const auto color = [](std::string_view profile) {
        Picture picture = withMetadata(noisePicture(5, 3, 24, 0, false), profile);
        picture.metadata.exif.clear();
        return picture;
    };
    const Notices notForGray = {"the colour profile is not kept: it is not one for gray"};
    const Notices notForColor = {"the colour profile is not kept: it is not one for RGB"};
    for (const Format format : {Format::Jpeg, Format::Png, Format::Tiff}) {
        EXPECT_EQ(noticesOf(gray("GRAY"), format), Notices{});
        EXPECT_EQ(noticesOf(gray("RGB "), format), notForGray);
        EXPECT_EQ(noticesOf(color("RGB "), format), Notices{});
        EXPECT_EQ(noticesOf(color("GRAY"), format), notForColor);
        EXPECT_EQ(noticesOf(color("CMYK"), format), notForColor);
    }
    EXPECT_EQ(noticesOf(gray("GRAY"), Format::Webp), notForColor);
    Picture tiny = color("RGB ");
    tiny.metadata.icc.resize(20);
    EXPECT_EQ(noticesOf(tiny, Format::Jpeg), notForColor);
}

TEST(Metadata, LargeProfilesTakeSeveralSegments)
{
    Picture picture = colorPicture();
    picture.metadata.icc.resize(200000, 77);
    EXPECT_EQ(through(picture, Format::Jpeg).metadata.icc, picture.metadata.icc);
}

TEST(Metadata, WhatDoesNotFitIntoJpegIsSaid)
{
    Picture picture = colorPicture();
    picture.metadata.exif.resize(65528);
    picture.metadata.xmp.resize(65505, 'x');
    std::vector<std::string> notices;
    const Metadata kept = through(picture, Format::Jpeg, {.notices = &notices}).metadata;
    EXPECT_EQ(notices,
              (std::vector<std::string>{"an EXIF block of 65528 bytes does not fit into a JPEG file",
                                        "an XMP packet of 65505 bytes does not fit into a JPEG file"}));
    EXPECT_TRUE(kept.exif.empty() && kept.xmp.empty());
    picture.metadata.exif.resize(65527);
    picture.metadata.xmp.resize(65504);
    EXPECT_EQ(through(picture, Format::Jpeg).metadata.exif.size(), 65527u);
    EXPECT_EQ(through(picture, Format::Jpeg).metadata.xmp.size(), 65504u);
}

/// A JPEG file of 16x8 pixels, black on its left and white on its right half, with notes.
Bytes jpegWith(const Bytes &exif, bool omitsJfif = false)
{
    JpegRecipe recipe{.width = 16, .height = 8, .omitsJfif = omitsJfif};
    recipe.segments = {{1, ByteList().text("Exif").byte(0).byte(0).append(exif).bytes()}};
    for (unsigned i = 0; i < 128; ++i)
        recipe.samples.push_back(i % 16 < 8 ? 0 : 255);
    return jpegFile(recipe);
}

TEST(Orientation, OfTheNotesIsAppliedAndReset)
{
    for (const bool isBig : {false, true}) {
        const Picture turned = decode(jpegWith(exifNotes({.isBig = isBig, .orientation = 6})));
        Lines expected(16, std::vector<unsigned>(8));
        for (std::size_t y = 8; y < 16; ++y)
            expected[y].assign(8, 255);
        EXPECT_EQ(PictureView(turned).indices(), expected);
        EXPECT_EQ(exifOrientation(turned.metadata.exif), 1u);
        EXPECT_EQ(turned.metadata.exif, exifNotes({.isBig = isBig}));
        // Written and read again it is not turned again.
        EXPECT_EQ(PictureView(through(turned, Format::Png)).indices(), expected);
    }
}

TEST(Orientation, OfNotesInOtherFormats)
{
    Picture picture = noisePicture(5, 3, 8, 256, true);
    const Lines before = PictureView(picture).colors();
    samples::PngRecipe png{.width = 2, .height = 1, .samples = {7, 9}};
    png.chunks = {{"eXIf", exifNotes({.orientation = 8})}};
    EXPECT_EQ(viewOf(pngFile(png)).indices(), (Lines{{9}, {7}}));
    ByteList chunks;
    chunks.append(samples::webpHeader(samples::kWebpExif, 2, 1));
    chunks.append(samples::webpImage(2, 1, {3, 2, 1, 255, 6, 5, 4, 255}, true));
    chunks.append(samples::webpChunk(
        "EXIF", ByteList().text("Exif").byte(0).byte(0).append(exifNotes({.orientation = 3})).bytes()));
    EXPECT_EQ(viewOf(samples::webpFile(chunks.bytes())).colors(), (Lines{{0x040506, 0x010203}}));
}

TEST(Orientation, OfAnXmlPacketIsReset)
{
    const auto reset = [](std::string_view text) {
        Bytes xmp = bytesOf(text);
        makeXmpUpright(xmp);
        return std::string(xmp.begin(), xmp.end());
    };
    EXPECT_EQ(reset("a tiff:Orientation=\"6\" b"), "a tiff:Orientation=\"1\" b");
    EXPECT_EQ(reset("tiff:Orientation = '8'"), "tiff:Orientation = '1'");
    EXPECT_EQ(reset("<tiff:Orientation>3</tiff:Orientation>"), "<tiff:Orientation>1</tiff:Orientation>");
    for (const char *text :
         {"", "tiff:Orientation", "tiff:Orientation=\"", "tiff:Orientation6", "tiff:Orientation=\"9\""})
        EXPECT_EQ(reset(text), text);
}

TEST(Notes, TheResolutionWhereTheFileHasNoOther)
{
    const Bytes exif = exifNotes({.dotsPerInch = 72});
    const auto header = [](const Bytes &file) { return viewOf(file).header(); };
    EXPECT_EQ(header(jpegWith(exif, true)).biXPelsPerMeter, 2835);
    EXPECT_EQ(header(jpegWith(exif, true)).biYPelsPerMeter, 5669);
    EXPECT_EQ(header(jpegWith(exif)).biXPelsPerMeter, 2835); // a JFIF marker without one
    const Bytes turned = jpegWith(exifNotes({.orientation = 5, .dotsPerInch = 72}));
    EXPECT_EQ(header(turned).biXPelsPerMeter, 5669);
    EXPECT_EQ(header(turned).biYPelsPerMeter, 2835);
    EXPECT_EQ(exifResolution(exif).x, 2835);
}

TEST(Notes, AreCorrectedInPlace)
{
    for (const bool isBig : {false, true}) {
        Bytes exif = exifNotes({.isBig = isBig, .dotsPerInch = 72});
        const std::size_t size = exif.size();
        correctExif(exif, 300, 70000, {11811, 5000});
        EXPECT_EQ(exif.size(), size);
        EXPECT_EQ(exifResolution(exif).x, 11811);
        EXPECT_EQ(exifResolution(exif).y, 5000);
        // The size stands in the last directory: a short number and a long one.
        const auto number16 = [&](std::size_t at) {
            return isBig ? exif[at] << 8 | exif[at + 1] : exif[at] | exif[at + 1] << 8;
        };
        EXPECT_EQ(number16(size - 20), 300);
        EXPECT_EQ(number16(size - 8 + (isBig ? 2 : 0)), 70000 & 0xFFFF);
    }
}

TEST(Notes, ThePreviewIsTakenOut)
{
    const Bytes plain = exifNotes({.orientation = 1});
    Bytes exif = exifNotes({.orientation = 3, .preview = Bytes(1000, 0xEE)});
    ASSERT_EQ(std::count(exif.begin(), exif.end(), 0xEE), 1000);
    makeExifUpright(exif);
    EXPECT_EQ(std::count(exif.begin(), exif.end(), 0xEE), 0);
    EXPECT_EQ(Bytes(exif.begin(), exif.begin() + static_cast<std::ptrdiff_t>(plain.size())), plain);
}

TEST(Notes, OfNothingButTheResolution)
{
    const Resolution made = exifResolution(exifOfResolution({2835, 2147483646}));
    EXPECT_EQ(made.x, 2835);
    EXPECT_EQ(made.y, 2147483646);
}

TEST(Notes, DamageDoesNoHarm)
{
    const Bytes good =
        exifNotes({.isBig = true, .orientation = 3, .dotsPerInch = 72, .preview = Bytes(20, 1)});
    const auto look = [](Bytes exif) {
        exifOrientation(exif);
        exifResolution(exif);
        correctExif(exif, 4000, 3000, {2835, 2835});
        const std::size_t size = exif.size();
        makeExifUpright(exif);
        EXPECT_LE(exif.size(), size);
    };
    for (std::size_t i = 0; i < good.size(); ++i) {
        look(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(i)));
        for (const unsigned value : {0u, 1u, 8u, 0x7Fu, 0xFFu}) {
            Bytes exif = good;
            exif[i] = static_cast<uint8_t>(value);
            look(exif);
            // A whole offset.
            std::fill_n(exif.begin() + static_cast<std::ptrdiff_t>(i),
                        std::min<std::size_t>(4, exif.size() - i), static_cast<uint8_t>(value));
            look(exif);
        }
    }
    EXPECT_EQ(exifOrientation(bytesOf("II*")), 1u);
    EXPECT_EQ(exifOrientation(exifNotes({.orientation = 9})), 1u);
}

TEST(Limits, TheCallersOwn)
{
    const Picture picture = noisePicture(10, 10, 24, 0, false);
    for (const Format format : {Format::Bmp, Format::Jpeg, Format::Png, Format::Tiff, Format::Webp}) {
        const Bytes file = encode(picture, format);
        EXPECT_EQ(testing::errorOf([&] { decode(file, {.maxPixels = 99}); }),
                  std::string(formatName(format)) +
                      ": an image of 10x10 is too large, at most 99 pixels are read (--max-pixels)");
        EXPECT_EQ(testing::errorOf([&] { decode(file, {.maxPixels = 100}); }), "");
    }
}

TEST(Notices, OfPngAndJpeg)
{
    samples::PngRecipe png{.depth = 16, .samples = {9}};
    EXPECT_EQ(decode(pngFile(png)).notices, std::vector<std::string>{"16 bits a sample are reduced to 8"});
    JpegRecipe jpeg{.components = 4, .samples = {1, 2, 3, 4}};
    EXPECT_EQ(decode(jpegFile(jpeg)).notices,
              std::vector<std::string>{"CMYK is converted to RGB without its colour profile"});
}

} // namespace

} // namespace velmont::io
