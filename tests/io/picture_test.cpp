// Formats by name and by content, and files read from disk.
#include "tests/io/picture_view.h"
#include "tests/io/temporary_folder.h"
#include <algorithm>
#include <cctype>
#include <fstream>
#include <gtest/gtest.h>

namespace velmont::io {

namespace {

using testing::Bytes;
using testing::errorOf;
using testing::TemporaryFolder;

TEST(Formats, ByTheEndingOfAName)
{
    EXPECT_EQ(formatOfName("a.bmp"), Format::Bmp);
    EXPECT_EQ(formatOfName("a.DIB"), Format::Bmp);
    EXPECT_EQ(formatOfName("folder.png/a.jpg"), Format::Jpeg);
    EXPECT_EQ(formatOfName("a.Jpeg"), Format::Jpeg);
    EXPECT_EQ(formatOfName("a.jpe"), Format::Jpeg);
    EXPECT_EQ(formatOfName("a.bmp.PNG"), Format::Png);
    EXPECT_EQ(formatOfName("a.tif"), Format::Tiff);
    EXPECT_EQ(formatOfName("a.TIFF"), Format::Tiff);
    EXPECT_EQ(formatOfName("a.webp"), Format::Webp);
    for (const char *name : {"", "a", "png", ".png", "a.png/b", "a.pngx", "a.", "a.gif"})
        EXPECT_EQ(formatOfName(name), std::nullopt) << name;
}

TEST(Formats, ByAWord)
{
    for (const std::string_view word : formatWords()) {
        ASSERT_TRUE(formatOfWord(word)) << word;
        std::string name(formatName(*formatOfWord(word)));
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        EXPECT_EQ(name, word);
    }
    EXPECT_EQ(formatWords().size(), 5u);
    EXPECT_EQ(formatOfWord("JPG"), Format::Jpeg);
    EXPECT_EQ(formatOfWord("tif"), Format::Tiff);
    for (const char *word : {"", ".png", "gif", "pn", "png "})
        EXPECT_EQ(formatOfWord(word), std::nullopt) << word;
}

TEST(Formats, EachEndingIsKnown)
{
    EXPECT_EQ(formatEndings().size(), 9u);
    for (const std::string_view ending : formatEndings())
        EXPECT_TRUE(formatOfName(std::string("a").append(ending))) << ending;
}

TEST(Formats, WhatEachKeeps)
{
    EXPECT_EQ(keepsAlpha(Format::Jpeg), false);
    EXPECT_EQ(keepsMetadata(Format::Bmp), false);
    for (const Format format : {Format::Png, Format::Tiff, Format::Webp})
        EXPECT_TRUE(keepsAlpha(format) && keepsMetadata(format)) << formatName(format);
    EXPECT_TRUE(keepsAlpha(Format::Bmp) && keepsMetadata(Format::Jpeg));
    for (const Format format : {Format::Bmp, Format::Png, Format::Tiff})
        EXPECT_FALSE(hasQuality(format));
    EXPECT_TRUE(hasQuality(Format::Jpeg) && hasQuality(Format::Webp));
}

TEST(Formats, Names)
{
    EXPECT_EQ(formatName(Format::Bmp), "BMP");
    EXPECT_EQ(formatName(Format::Jpeg), "JPEG");
    EXPECT_EQ(formatName(Format::Png), "PNG");
    EXPECT_EQ(formatName(Format::Tiff), "TIFF");
    EXPECT_EQ(formatName(Format::Webp), "WebP");
}

TEST(Formats, OtherContent)
{
    EXPECT_EQ(errorOf(Bytes{}), "the file is empty");
    EXPECT_EQ(errorOf(Bytes{'G', 'I', 'F', '8', '9', 'a'}), "not a PNG, JPEG, BMP, TIFF or WebP file");
    EXPECT_EQ(errorOf(Bytes{'B'}), "not a PNG, JPEG, BMP, TIFF or WebP file");
    EXPECT_EQ(errorOf(Bytes{0x89, 'P', 'N', 'G'}), "not a PNG, JPEG, BMP, TIFF or WebP file");
}

class ReadPicture : public ::testing::Test {
protected:
    std::string errorOfFile(const std::filesystem::path &path)
    {
        return errorOf([&] { readPicture(path); });
    }
    TemporaryFolder folder_;
};

TEST_F(ReadPicture, TheContentDecidesAndNotTheName)
{
    for (const samples::Sample &sample : samples::sampleFiles()) {
        const auto path = folder_.write("picture.txt", sample.file);
        EXPECT_EQ(testing::PictureView(readPicture(path)).block(), testing::viewOf(sample.file).block());
    }
}

TEST_F(ReadPicture, AFileOfSeveralPieces)
{
    const Picture picture = testing::noisePicture(300, 300, 24, 0, false);
    const auto path = folder_.write("large.bmp", encode(picture, Format::Bmp));
    EXPECT_EQ(testing::PictureView(readPicture(path)).block(), testing::PictureView(picture).block());
}

TEST_F(ReadPicture, ErrorsNameTheFile)
{
    const auto text = folder_.write("a.png", {'h', 'e', 'l', 'l', 'o'});
    EXPECT_EQ(errorOfFile(text), text.string() + ": not a PNG, JPEG, BMP, TIFF or WebP file");
    const auto cut = folder_.write("cut.bmp", {'B', 'M', 0, 0});
    EXPECT_EQ(errorOfFile(cut), cut.string() + ": BMP: the file ends early");
    const auto empty = folder_.write("empty.bmp", {});
    EXPECT_EQ(errorOfFile(empty), empty.string() + ": the file is empty");
}

TEST_F(ReadPicture, FilesThatCannotBeRead)
{
    const auto missing = folder_.path() / "missing.png";
    EXPECT_EQ(errorOfFile(missing), missing.string() + ": cannot be opened: No such file or directory");
    EXPECT_EQ(errorOfFile(folder_.path()), folder_.path().string() + ": is a folder");
}

TEST_F(ReadPicture, AnEndlessFileIsNotReadToItsEnd)
{
    if (!std::filesystem::exists("/dev/zero"))
        GTEST_SKIP() << "there is no endless file";
    EXPECT_EQ(errorOfFile("/dev/zero"), "/dev/zero: not a PNG, JPEG, BMP, TIFF or WebP file");
}

} // namespace

} // namespace velmont::io
