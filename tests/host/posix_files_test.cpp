#include "platform/posix/name_pattern.h"
#include "platform/services.h"
#include "tests/host/temporary_folder.h"
#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>
#include <velmont/host.h>

namespace velmont::testing {

namespace {

namespace fs = std::filesystem;
using posix::matchesPattern;

using Names = std::vector<std::string>;

/// What a search finds, sorted.
Names namesOf(const std::string &pattern)
{
    Names names;
    FileSearch search(pattern.c_str());
    for (bool found = search.started(); found; found = search.next())
        names.emplace_back(search.name());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

TEST(NamePatterns, AStarIsAnyCharactersAndAQuestionMarkOne)
{
    EXPECT_TRUE(matchesPattern("abc", "*"));
    EXPECT_TRUE(matchesPattern("abc", "a*c"));
    EXPECT_TRUE(matchesPattern("abc", "*b*"));
    EXPECT_TRUE(matchesPattern("abc", "**c"));
    EXPECT_FALSE(matchesPattern("abc", "*b"));
    EXPECT_TRUE(matchesPattern("abc", "a?c"));
    EXPECT_FALSE(matchesPattern("abbc", "a?c"));
    EXPECT_FALSE(matchesPattern("abc", "?"));
    EXPECT_TRUE(matchesPattern("a.bmp", "*.bmp"));
    EXPECT_TRUE(matchesPattern("a.b.bmp", "*.bmp"));
    EXPECT_FALSE(matchesPattern("a.bmpx", "*.bmp"));
    EXPECT_FALSE(matchesPattern("bmp", "*.bmp"));
    EXPECT_TRUE(matchesPattern("", ""));
    EXPECT_FALSE(matchesPattern("a", ""));
}

TEST(NamePatterns, AQuestionMarkMayHaveNothingAtTheEndAndBeforeADot)
{
    EXPECT_TRUE(matchesPattern("ab", "ab??"));
    EXPECT_TRUE(matchesPattern("a.bmp", "a??.bmp"));
    EXPECT_FALSE(matchesPattern("a.b", "a?b"));
    EXPECT_FALSE(matchesPattern("ac", "a?c"));
}

TEST(NamePatterns, LettersMatchInAnyCase)
{
    EXPECT_TRUE(matchesPattern("Picture.BMP", "pICT*.bmp"));
    EXPECT_FALSE(matchesPattern("[", "{")) << "letters only";
    EXPECT_FALSE(matchesPattern("\xC4", "\xE4"));
}

TEST(NamePatterns, StarDotMeansNoDotAndStarDotStarAll)
{
    for (const char *const name : {"a", "abc", ".", ".."})
        EXPECT_TRUE(matchesPattern(name, "*.")) << name;
    for (const char *const name : {"a.b", ".a", "a.", "..."})
        EXPECT_FALSE(matchesPattern(name, "*.")) << name;
    for (const char *const name : {"a", "a.b", ".a", "a.b.c", ".", ".."})
        EXPECT_TRUE(matchesPattern(name, "*.*")) << name;
    EXPECT_TRUE(matchesPattern("name", "na*."));
    EXPECT_FALSE(matchesPattern("name.x", "na*."));
    EXPECT_FALSE(matchesPattern("..", "a*."));
    EXPECT_TRUE(matchesPattern("name", "name.*"));
    EXPECT_TRUE(matchesPattern("name", "name.?"));
    EXPECT_TRUE(matchesPattern("name.x", "name.*"));
    EXPECT_FALSE(matchesPattern("names", "name.*"));
}

TEST(NamePatterns, ManyStarsTakeNoTime)
{
    std::string pattern;
    for (int i = 0; i < 100000; ++i)
        pattern.append("a*");
    EXPECT_FALSE(matchesPattern(std::string(255, 'a'), pattern.append("b")));
    EXPECT_TRUE(matchesPattern(std::string(255, 'a'), std::string(1000, '*')));
    EXPECT_FALSE(matchesPattern(std::string(256, 'a'), "*")) << "no file has such a name";
}

TEST(PosixFiles, BackslashAndSlashSeparateAndADriveIsDropped)
{
    const TemporaryFolder folder;
    folder.makeFolder("a/b");
    folder.write("a/b/c", "");
    const std::string path = folder.path().string();
    for (const std::string &pattern : {path + "/a/b/c", "c:" + path + "\\a\\b/c", "Z:" + path + "//a\\\\b\\c",
                                       "\\\\" + path.substr(1) + "\\a/b\\c"})
        EXPECT_EQ(namesOf(pattern), (Names{"c"})) << pattern;
    EXPECT_EQ(namesOf("1:" + path + "\\a"), Names{}) << "a drive is a letter";
    EXPECT_EQ(namesOf(path + "\\a\\"), Names{});
    EXPECT_EQ(namesOf(""), Names{});
    EXPECT_EQ(namesOf("c:"), Names{});
}

TEST(PosixFiles, APathWithoutARootStartsAtTheCurrentFolder)
{
    const TemporaryFolder folder;
    folder.write("here", "");
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_EQ(namesOf("HERE"), (Names{"here"}));
    EXPECT_EQ(namesOf("c:h*"), (Names{"here"}));
    fs::current_path(before);
}

TEST(PosixFiles, TheExactNameComesFirst)
{
    const TemporaryFolder folder;
    for (const char *const name : {"name", "Name", "NAME"})
        folder.write(name, name);
    EXPECT_EQ(namesOf(folder.hostPath("name")), (Names{"name"}));
    EXPECT_EQ(namesOf(folder.hostPath("Name")), (Names{"Name"}));
    EXPECT_EQ(namesOf(folder.hostPath("nAmE")), (Names{"NAME"})) << "else the first in the order of bytes";
    EXPECT_EQ(namesOf(folder.hostPath("nam?")), (Names{"NAME", "Name", "name"}));
}

TEST(PosixFiles, NamesThatNoPathCanNameAreNotFound)
{
    const TemporaryFolder folder;
    folder.write("a\\b", "");
    folder.write("c", "");
    EXPECT_EQ(namesOf(folder.hostPath("*")), (Names{".", "..", "c"}));
}

TEST(PosixFiles, AnEmptyFolderHasItsTwoDots)
{
    const TemporaryFolder folder;
    EXPECT_EQ(namesOf(folder.hostPath("*.")), (Names{".", ".."}));
    EXPECT_EQ(namesOf(folder.hostPath("*.*")), (Names{".", ".."}));
    EXPECT_EQ(namesOf(folder.hostPath("*.bmp")), Names{});
}

TEST(PosixFiles, DirectoriesAreKnownByTheirBit)
{
    const TemporaryFolder folder;
    folder.makeFolder("Dir");
    folder.write("file", "");
    fs::create_directory_symlink(folder.path(), folder.path() / "loop");
    EXPECT_TRUE(isDirectory(folder.hostPath("dir").c_str()));
    EXPECT_TRUE(isDirectory(folder.hostPath("dir\\").c_str()));
    EXPECT_FALSE(isDirectory(folder.hostPath("file").c_str()));
    EXPECT_FALSE(isDirectory(folder.hostPath("loop").c_str())) << "so that a walk ends";
    const VelmontPlatformServices &own = systemServices();
    EXPECT_EQ(own.fileAttributes(nullptr, folder.hostPath("missing").c_str()), 0xFFFFFFFFu);
    EXPECT_EQ(own.fileAttributes(nullptr, ""), 0xFFFFFFFFu);
}

TEST(PosixFiles, OneDirectoryIsMadeAtATime)
{
    const TemporaryFolder folder;
    EXPECT_TRUE(createDirectory(folder.hostPath("New").c_str()));
    EXPECT_FALSE(createDirectory(folder.hostPath("New").c_str()));
    EXPECT_TRUE(createDirectory(folder.hostPath("new\\below").c_str()));
    EXPECT_TRUE(fs::is_directory(folder.path() / "New" / "below"));
    EXPECT_FALSE(createDirectory(folder.hostPath("none\\below").c_str()));
    EXPECT_FALSE(createDirectory(folder.hostPath("any*").c_str()));
    EXPECT_FALSE(createDirectory("c:\\"));
}

TEST(PosixFiles, FilesAreOpenedByPathsOfHosts)
{
    const TemporaryFolder folder;
    folder.makeFolder("Dir");
    folder.write("Dir/File.Bmp", std::string(14, 'z'));
    std::string path = folder.hostPath("dIR\\fILE.bMP");
    EXPECT_EQ(TagStampFile(path.data()), 1);
    EXPECT_EQ(folder.read("Dir/File.Bmp"), "zzzzzzSTAMzzzz");
}

TEST(PosixFiles, EndlessPathsAreRefused)
{
    std::string path = "c:";
    for (int i = 0; i < 100000; ++i)
        path.append("\\.");
    EXPECT_EQ(namesOf(path), Names{});
    EXPECT_FALSE(createDirectory(path.c_str()));
    EXPECT_EQ(openFile(path.c_str(), "rb"), nullptr);
    EXPECT_EQ(openFile(std::string(100000, 'x').c_str(), "rb"), nullptr);
}

} // namespace velmont::testing
