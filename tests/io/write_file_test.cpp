// Files are written whole or not at all.
#include "tests/io/picture_view.h"
#include "tests/io/temporary_folder.h"
#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace velmont::io {

namespace {

using testing::Bytes;
using testing::errorOf;

const Bytes kOld = {1, 2, 3};
const Bytes kNew = {4, 5, 6, 7};

class WriteFile : public ::testing::Test {
protected:
    std::filesystem::path pathOf(const std::string &name) const { return folder_.path() / name; }
    std::string errorWith(const std::filesystem::path &path, Existing existing,
                          const Bytes &bytes = kNew) const
    {
        return errorOf([&] { writeFile(path, bytes, existing); });
    }
    mode_t modeOf(const std::string &name) const
    {
        struct stat status {};
        EXPECT_EQ(::stat(pathOf(name).c_str(), &status), 0);
        return status.st_mode & 07777;
    }
    testing::TemporaryFolder folder_;
};

TEST_F(WriteFile, ANewFile)
{
    for (const Existing existing : {Existing::Keep, Existing::Replace}) {
        const std::string name = existing == Existing::Keep ? "kept" : "replaced";
        const mode_t before = ::umask(027);
        writeFile(pathOf(name), kNew, existing);
        ::umask(before);
        EXPECT_EQ(folder_.read(name), kNew);
        EXPECT_EQ(modeOf(name), 0640u);
    }
    EXPECT_EQ(folder_.count(), 2u);
}

TEST_F(WriteFile, AnEmptyFile)
{
    writeFile(pathOf("a"), {}, Existing::Keep);
    EXPECT_EQ(folder_.read("a"), Bytes{});
    EXPECT_EQ(folder_.count(), 1u);
}

TEST_F(WriteFile, KeepLeavesAnExistingFileAlone)
{
    folder_.write("a", kOld);
    EXPECT_EQ(errorWith(pathOf("a"), Existing::Keep), pathOf("a").string() + ": exists already");
    EXPECT_EQ(folder_.read("a"), kOld);
    EXPECT_EQ(folder_.count(), 1u);
}

TEST_F(WriteFile, ReplaceKeepsThePermissions)
{
    folder_.write("a", kOld);
    ASSERT_EQ(::chmod(pathOf("a").c_str(), 0604), 0);
    writeFile(pathOf("a"), kNew, Existing::Replace);
    EXPECT_EQ(folder_.read("a"), kNew);
    EXPECT_EQ(modeOf("a"), 0604u);
    EXPECT_EQ(folder_.count(), 1u);
}

TEST_F(WriteFile, ReplaceLeavesOtherNamesOfTheFileAlone)
{
    folder_.write("a", kOld);
    std::filesystem::create_hard_link(pathOf("a"), pathOf("b"));
    writeFile(pathOf("a"), kNew, Existing::Replace);
    EXPECT_EQ(folder_.read("b"), kOld);
}

TEST_F(WriteFile, ReplaceWritesBehindALink)
{
    folder_.write("a", kOld);
    std::filesystem::create_symlink("a", pathOf("link"));
    writeFile(pathOf("link"), kNew, Existing::Replace);
    EXPECT_TRUE(std::filesystem::is_symlink(pathOf("link")));
    EXPECT_EQ(folder_.read("a"), kNew);
    EXPECT_EQ(folder_.count(), 2u);
}

TEST_F(WriteFile, KeepTakesALinkToNothingForAName)
{
    std::filesystem::create_symlink("nothing", pathOf("link"));
    EXPECT_EQ(errorWith(pathOf("link"), Existing::Keep), pathOf("link").string() + ": exists already");
    EXPECT_EQ(folder_.count(), 1u);
}

TEST_F(WriteFile, OneOfManyWritersWins)
{
    std::atomic<int> winners = 0;
    std::vector<std::thread> writers;
    for (uint8_t i = 0; i < 8; ++i)
        writers.emplace_back(
            [&, i] { winners += errorWith(pathOf("a"), Existing::Keep, Bytes(1000, i)).empty(); });
    for (std::thread &writer : writers)
        writer.join();
    EXPECT_EQ(winners, 1);
    EXPECT_EQ(folder_.read("a").size(), 1000u);
    EXPECT_EQ(folder_.count(), 1u);
}

TEST_F(WriteFile, NamesThatAreNoFiles)
{
    for (const Existing existing : {Existing::Keep, Existing::Replace}) {
        EXPECT_EQ(errorWith(folder_.path(), existing), folder_.path().string() + ": is a folder");
        EXPECT_EQ(errorWith("", existing), ": is not the name of a file");
    }
    EXPECT_EQ(errorWith(pathOf("new/"), Existing::Keep),
              pathOf("new/").string() + ": is not the name of a file");
    EXPECT_EQ(folder_.count(), 0u);
}

TEST_F(WriteFile, AFolderThatIsMissing)
{
    const auto path = pathOf("missing") / "a";
    EXPECT_EQ(errorWith(path, Existing::Keep),
              path.string() + ": there is no folder " + pathOf("missing").string());
    folder_.write("file", kOld);
    const auto inFile = pathOf("file") / "a";
    EXPECT_EQ(errorWith(inFile, Existing::Replace),
              inFile.string() + ": there is no folder " + pathOf("file").string());
}

TEST_F(WriteFile, AFolderThatIsReadOnly)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "this user may write everywhere";
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0500), 0);
    EXPECT_EQ(errorWith(pathOf("a"), Existing::Keep), pathOf("a").string() +
                                                          ": cannot write into the folder " +
                                                          folder_.path().string() + ": Permission denied");
    ASSERT_EQ(::chmod(folder_.path().c_str(), 0700), 0);
}

TEST_F(WriteFile, OnlyRegularFilesAreReplaced)
{
    ASSERT_EQ(::mkfifo(pathOf("pipe").c_str(), 0600), 0);
    EXPECT_EQ(errorWith(pathOf("pipe"), Existing::Replace),
              pathOf("pipe").string() + ": is not a regular file");
    EXPECT_EQ(folder_.count(), 1u);
}

TEST_F(WriteFile, ANameThatIsTooLong)
{
    const auto path = pathOf(std::string(300, 'a'));
    for (const Existing existing : {Existing::Keep, Existing::Replace})
        EXPECT_EQ(errorWith(path, existing), path.string() + ": cannot be written: File name too long");
    EXPECT_EQ(folder_.count(), 0u);
}

/// Files cannot grow beyond a limit while this lives, as on a full disk.
class FileLimit {
public:
    explicit FileLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limited{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FileLimit(const FileLimit &) = delete;
    FileLimit &operator=(const FileLimit &) = delete;

private:
    rlimit before_{};
    void (*handler_)(int) = nullptr;
};

TEST_F(WriteFile, NothingIsLeftWhenTheDiskIsFull)
{
    folder_.write("a", kOld);
    std::string line;
    {
        const FileLimit limit(1000);
        line = errorWith(pathOf("a"), Existing::Replace, Bytes(5000, 1));
    }
    EXPECT_EQ(line, pathOf("a").string() + ": cannot be written: File too large");
    EXPECT_EQ(folder_.read("a"), kOld);
    EXPECT_EQ(folder_.count(), 1u);
}

} // namespace

} // namespace velmont::io
