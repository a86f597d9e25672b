#include "tests/host/temporary_folder.h"
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <velmont/host.h>
#if !defined(_WIN32)
#include <unistd.h>
#endif

namespace velmont::testing {

namespace {

namespace fs = std::filesystem;

/// The tests of a superuser go on as an ordinary user, whom permissions hold, for as long as it lives.
class OrdinaryUser {
#if !defined(_WIN32)
public:
    OrdinaryUser() : before_(geteuid())
    {
        if (before_ == 0 && seteuid(kNobody) != 0)
            ADD_FAILURE() << "cannot become an ordinary user";
    }
    ~OrdinaryUser()
    {
        if (before_ == 0 && seteuid(before_) != 0)
            ADD_FAILURE() << "cannot become the superuser again";
    }

private:
    static constexpr uid_t kNobody = 65534;
    uid_t before_;
#endif
};

/// No bitmap at all: nothing but the reserved words matters.
const std::string kBytes = "abcdefghijklmnopqrstuvwxyz\r\n";

class TaggedFiles : public ::testing::Test {
protected:
    TaggedFiles() { folder_.write("a.bmp", kBytes); }

    std::string bytes() const { return folder_.read("a.bmp"); }
    /// The bytes of the file with others from 6 to 9.
    static std::string withTag(const std::string &tag)
    {
        std::string bytes = kBytes;
        return bytes.replace(6, 4, tag);
    }

    TemporaryFolder folder_;
    std::string path_ = folder_.hostPath("a.bmp");
};

} // namespace

TEST_F(TaggedFiles, TheWordsStandAtBytes6And8LowByteFirst)
{
    EXPECT_EQ(BmfhSetUserData(path_.c_str(), 0x3231, 0xFF00), 0);
    EXPECT_EQ(bytes(), withTag(std::string("12\0\xFF", 4)));
    unsigned short word1 = 0, word2 = 0;
    EXPECT_EQ(BmfhGetUserData(path_.c_str(), &word1, &word2), 0);
    EXPECT_EQ(word1, 0x3231);
    EXPECT_EQ(word2, 0xFF00);
}

TEST_F(TaggedFiles, TheWordsOfAFileNeverTaggedAreRead)
{
    unsigned short word1 = 0, word2 = 0;
    EXPECT_EQ(BmfhGetUserData(path_.c_str(), &word1, nullptr), 0);
    EXPECT_EQ(BmfhGetUserData(path_.c_str(), nullptr, &word2), 0);
    EXPECT_EQ(word1, 'g' | 'h' << 8);
    EXPECT_EQ(word2, 'i' | 'j' << 8);
}

TEST_F(TaggedFiles, ABrushCarriesItsTwoBytes)
{
    EXPECT_EQ(TagBrushFile(path_.data(), 0x07, 0xF1), 1);
    EXPECT_EQ(bytes(), withTag("BR\x07\xF1"));
    unsigned char first = 0, second = 0;
    EXPECT_EQ(IsTaggedBrushFile(path_.data(), &first, &second), 1);
    EXPECT_EQ(first, 0x07);
    EXPECT_EQ(second, 0xF1);
    EXPECT_EQ(IsTaggedBrushFile(path_.data(), nullptr, &second), 1);
    EXPECT_EQ(IsTaggedBrushFile(path_.data(), &first, nullptr), 1);
    EXPECT_EQ(IsTaggedStampFile(path_.data()), 0);
}

TEST_F(TaggedFiles, AStampIsNoBrush)
{
    EXPECT_EQ(TagStampFile(path_.data()), 1);
    EXPECT_EQ(bytes(), withTag("STAM"));
    EXPECT_EQ(IsTaggedStampFile(path_.data()), 1);
    unsigned char first = 0xAA, second = 0xBB;
    EXPECT_EQ(IsTaggedBrushFile(path_.data(), &first, &second), 0);
    EXPECT_EQ(first, 0xAA);
    EXPECT_EQ(second, 0xBB);
}

TEST_F(TaggedFiles, BothWordsMakeAStamp)
{
    BmfhSetUserData(path_.c_str(), 0x5453, 0x4D42);
    EXPECT_EQ(IsTaggedStampFile(path_.data()), 0);
    BmfhSetUserData(path_.c_str(), 0x5452, 0x4D41);
    EXPECT_EQ(IsTaggedStampFile(path_.data()), 0);
}

TEST_F(TaggedFiles, TagsAreRepeatedAndReplaced)
{
    TagBrushFile(path_.data(), 1, 2);
    TagBrushFile(path_.data(), 1, 2);
    EXPECT_EQ(bytes(), withTag("BR\x01\x02"));
    TagStampFile(path_.data());
    TagStampFile(path_.data());
    EXPECT_EQ(bytes(), withTag("STAM"));
    TagBrushFile(path_.data(), 3, 4);
    EXPECT_EQ(bytes(), withTag("BR\x03\x04"));
}

TEST_F(TaggedFiles, FourteenBytesAreEnoughAndThirteenAreNot)
{
    folder_.write("14", kBytes.substr(0, 14));
    std::string enough = folder_.hostPath("14");
    EXPECT_EQ(TagStampFile(enough.data()), 1);
    EXPECT_EQ(folder_.read("14"), "abcdefSTAMklmn");

    folder_.write("13", kBytes.substr(0, 13));
    for (const char *const name : {"13", "empty"}) {
        if (std::string(name) == "empty")
            folder_.write(name, "");
        std::string path = folder_.hostPath(name);
        const std::string before = folder_.read(name);
        unsigned short word1 = 1, word2 = 2;
        EXPECT_EQ(BmfhSetUserData(path.c_str(), 3, 4), -2);
        EXPECT_EQ(BmfhGetUserData(path.c_str(), &word1, &word2), -2);
        EXPECT_EQ(word1, 1);
        EXPECT_EQ(word2, 2);
        EXPECT_EQ(TagBrushFile(path.data(), 1, 2), 0);
        EXPECT_EQ(TagStampFile(path.data()), 0);
        EXPECT_EQ(IsTaggedBrushFile(path.data(), nullptr, nullptr), 0);
        EXPECT_EQ(IsTaggedStampFile(path.data()), 0);
        EXPECT_EQ(folder_.read(name), before);
    }
}

TEST_F(TaggedFiles, AMissingFileIsNotMade)
{
    std::string path = folder_.hostPath("missing.bmp");
    unsigned short word1 = 1, word2 = 2;
    EXPECT_EQ(BmfhSetUserData(path.c_str(), 3, 4), -1);
    EXPECT_EQ(BmfhGetUserData(path.c_str(), &word1, &word2), -1);
    EXPECT_EQ(word1, 1);
    EXPECT_EQ(word2, 2);
    EXPECT_EQ(TagBrushFile(path.data(), 1, 2), 0);
    EXPECT_EQ(TagStampFile(path.data()), 0);
    EXPECT_EQ(IsTaggedBrushFile(path.data(), nullptr, nullptr), 0);
    EXPECT_EQ(IsTaggedStampFile(path.data()), 0);
    EXPECT_FALSE(fs::exists(folder_.path() / "missing.bmp"));
}

TEST_F(TaggedFiles, NoPathAnEmptyOneAndAFolderCannotBeOpened)
{
    std::string folder = folder_.hostPath();
    std::string empty;
    for (char *const path : {static_cast<char *>(nullptr), empty.data(), folder.data()}) {
        EXPECT_EQ(BmfhSetUserData(path, 3, 4), -1);
        EXPECT_EQ(BmfhGetUserData(path, nullptr, nullptr), -1);
        EXPECT_EQ(TagBrushFile(path, 1, 2), 0);
        EXPECT_EQ(IsTaggedStampFile(path), 0);
    }
}

TEST_F(TaggedFiles, AReadOnlyFileIsReadAndNotTagged)
{
    TagStampFile(path_.data());
    fs::permissions(folder_.path() / "a.bmp",
                    fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    [[maybe_unused]] const OrdinaryUser user;
    if (std::FILE *const file = std::fopen((folder_.path() / "a.bmp").string().c_str(), "r+b")) {
        std::fclose(file);
        GTEST_SKIP() << "this user may write to read-only files";
    }
    EXPECT_EQ(BmfhSetUserData(path_.c_str(), 3, 4), -1);
    EXPECT_EQ(BmfhGetUserData(path_.c_str(), nullptr, nullptr), 0);
    EXPECT_EQ(TagBrushFile(path_.data(), 1, 2), 0);
    EXPECT_EQ(IsTaggedStampFile(path_.data()), 1);
    EXPECT_EQ(bytes(), withTag("STAM"));
}

#if defined(__linux__)
TEST(TaggedDevices, AFullDiskIsReported)
{
    // Reads as zeros without end and takes no byte.
    std::string path = "c:\\dev\\full";
    EXPECT_EQ(BmfhSetUserData(path.c_str(), 3, 4), -3);
    EXPECT_EQ(TagStampFile(path.data()), 0);
}
#endif

} // namespace velmont::testing
