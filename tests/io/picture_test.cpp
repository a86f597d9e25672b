// Formats by name and by content, and files read from disk.
#include "tests/io/picture_view.h"
#include "tests/io/temporary_folder.h"
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
    for (const char *name : {"", "a", "png", ".png", "a.png/b", "a.pngx", "a.", "a.gif"})
        EXPECT_EQ(formatOfName(name), std::nullopt) << name;
}

TEST(Formats, Names)
{
    EXPECT_EQ(formatName(Format::Bmp), "BMP");
    EXPECT_EQ(formatName(Format::Jpeg), "JPEG");
    EXPECT_EQ(formatName(Format::Png), "PNG");
}

TEST(Formats, OtherContent)
{
    EXPECT_EQ(errorOf(Bytes{}), "the file is empty");
    EXPECT_EQ(errorOf(Bytes{'G', 'I', 'F', '8', '9', 'a'}), "not a PNG, JPEG or BMP file");
    EXPECT_EQ(errorOf(Bytes{'B'}), "not a PNG, JPEG or BMP file");
    EXPECT_EQ(errorOf(Bytes{0x89, 'P', 'N', 'G'}), "not a PNG, JPEG or BMP file");
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
    EXPECT_EQ(errorOfFile(text), text.string() + ": not a PNG, JPEG or BMP file");
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
    EXPECT_EQ(errorOfFile("/dev/zero"), "/dev/zero: not a PNG, JPEG or BMP file");
}

} // namespace

} // namespace velmont::io
