#include "tests/host/scripted_files.h"
#include "tests/host/temporary_folder.h"
#include <array>
#include <filesystem>
#include <gtest/gtest.h>
#include <velmont/host.h>

namespace velmont::testing {

namespace {

namespace fs = std::filesystem;

using Events = std::vector<std::string>;

/// The result and the long name, "0 c:\name"; the buffer is as large as promised, so that an overflow shows.
std::string longName(std::string path)
{
    std::vector<char> buffer(260, '#');
    const int result = ZnGetLongPathName(path.data(), buffer.data());
    return std::to_string(result).append(" ").append(buffer.data());
}

int create(std::string path)
{
    return ZnCreateDirectory(path.data());
}

std::string repeated(const std::string &text, int n)
{
    std::string all;
    for (int i = 0; i < n; ++i)
        all.append(text);
    return all;
}

} // namespace

TEST(LongPathName, EachComponentIsFoundByItsStoredName)
{
    ScriptedFiles files;
    files.found = {{"c:\\docume~1", {"Documents", "Documents 2"}},
                   {"c:\\Documents\\PIC.BMP", {"Picture.bmp"}}};
    EXPECT_EQ(longName("c:\\docume~1/PIC.BMP"), "0 c:\\Documents\\Picture.bmp");
    EXPECT_EQ(files.events, (Events{"find c:\\docume~1", "close", "find c:\\Documents\\PIC.BMP", "close"}));
}

TEST(LongPathName, DelimitersAreNoComponents)
{
    ScriptedFiles files;
    files.found = {{"c:\\a", {"A"}}, {"c:\\A\\b", {"B"}}};
    EXPECT_EQ(longName("c:\\\\a\nb/\\"), "0 c:\\A\\B");
    EXPECT_EQ(longName("c:a\\b"), "0 c:\\A\\B")
        << "a path from the drive's current folder starts at its root";
}

TEST(LongPathName, ABareDriveIsItself)
{
    const ScriptedFiles files;
    EXPECT_EQ(longName("c:\\"), "0 c:");
    EXPECT_EQ(longName("c:"), "0 c:");
    EXPECT_TRUE(files.events.empty());
}

TEST(LongPathName, ServerAndShareAreTakenOnTrust)
{
    ScriptedFiles files;
    files.found = {{"\\\\server\\share\\dir", {"Dir"}}};
    EXPECT_EQ(longName("\\\\server"), "0 \\\\server");
    EXPECT_EQ(longName("\\\\server\\share\\"), "0 \\\\server\\share");
    EXPECT_EQ(files.events, Events{});
    EXPECT_EQ(longName("//server/share/dir"), "0 \\\\server\\share\\Dir");
    EXPECT_EQ(longName("server\\share\\dir"), "0 \\\\server\\share\\Dir");
    EXPECT_EQ(longName("\\\\server\\share\\none"), "-1 ");
}

TEST(LongPathName, NothingIsLeftOfAnEmptyPath)
{
    const ScriptedFiles files;
    EXPECT_EQ(longName(""), "-2 ");
    EXPECT_EQ(longName("\\\\"), "-2 ");
    EXPECT_EQ(longName("\n/"), "-2 ");
    char buffer[260] = "old";
    EXPECT_EQ(ZnGetLongPathName(nullptr, buffer), -2);
    EXPECT_EQ(ZnGetLongPathName(buffer, nullptr), -2);
}

TEST(LongPathName, AMissingComponentEndsTheSearch)
{
    ScriptedFiles files;
    files.found = {{"c:\\a", {"A"}}};
    EXPECT_EQ(longName("c:\\a\\b\\c"), "-1 ");
    EXPECT_EQ(files.events, (Events{"find c:\\a", "close", "find c:\\A\\b"}));
}

TEST(LongPathName, WhatDoesNotFitIsNotFound)
{
    ScriptedFiles files;
    const std::string share = std::string(200, 'x');
    // Two backslashes, 1 + 1 + 200, and a component to fill up to 259.
    const std::string fits = "\\\\s\\" + share + "\\" + std::string(54, 'y');
    ASSERT_EQ(fits.size(), 259u);
    files.found = {{fits, {std::string(54, 'Y')}}};
    EXPECT_EQ(longName(fits), "0 \\\\s\\" + share + "\\" + std::string(54, 'Y'));
    EXPECT_EQ(longName(fits + "y"), "-1 ");
    // A stored name can be longer than what was asked for.
    files.found[fits] = {std::string(55, 'Y')};
    EXPECT_EQ(longName(fits), "-1 ");
    files.found[fits] = {std::string(300, 'Y')};
    EXPECT_EQ(longName(fits), "-1 ");
    // Each part of a path has its limit too, and so has a server.
    EXPECT_EQ(longName(std::string(255, 'n')), "0 \\\\" + std::string(255, 'n'));
    EXPECT_EQ(longName(std::string(256, 'n')), "-1 ");
    EXPECT_EQ(longName(std::string(250, 'n') + "." + std::string(100000, 'e')), "-1 ");
    EXPECT_EQ(longName(repeated("\\\\", 5000)), "-1 ");
    EXPECT_EQ(files.open, 0);
}

TEST(LongPathName, RealFoldersGiveTheirNames)
{
    const TemporaryFolder folder;
    folder.makeFolder("Sub.Dir");
    folder.write("Sub.Dir/Picture.BMP", "");
    EXPECT_EQ(longName(folder.hostPath("Sub.Dir/Picture.BMP")),
              "0 " + folder.hostPath("Sub.Dir\\Picture.BMP"));
    EXPECT_EQ(longName(folder.hostPath("sub.dIR\\pictURE.bmp\\")),
              "0 " + folder.hostPath("Sub.Dir\\Picture.BMP"));
    EXPECT_EQ(longName(folder.hostPath("Sub.Dir\\missing")), "-1 ");
    EXPECT_EQ(longName(folder.hostPath("missing\\Picture.BMP")), "-1 ");
}

TEST(CreateDirectory, MissingComponentsAreMadeOneByOne)
{
    ScriptedFiles files;
    files.found = {{"c:\\a", {"a"}}};
    EXPECT_EQ(create("c:\\a/b\nc.txt"), 0);
    EXPECT_EQ(files.events, (Events{"find c:\\a", "close", "find c:\\a\\b", "make c:\\a\\b",
                                    "find c:\\a\\b\\c.txt", "make c:\\a\\b\\c.txt"}));
}

TEST(CreateDirectory, WithoutADriveTheFirstComponentIsTakenFromTheRootOnTrust)
{
    ScriptedFiles files;
    EXPECT_EQ(create("\\\\server\\share"), 0);
    EXPECT_EQ(files.events, (Events{"find \\server\\share", "make \\server\\share"}));
    files.events.clear();
    EXPECT_EQ(create("a"), 0);
    EXPECT_EQ(files.events, Events{});
    EXPECT_EQ(create("a/b"), 0);
    EXPECT_EQ(files.events, (Events{"find \\a\\b", "make \\a\\b"}));
}

TEST(CreateDirectory, ADriveAloneIsNothingToMake)
{
    const ScriptedFiles files;
    EXPECT_EQ(create("c:"), 0);
    EXPECT_EQ(create("c:\\"), 0);
    EXPECT_EQ(files.events, Events{});
}

TEST(CreateDirectory, NothingIsMadeOfAnEmptyPath)
{
    const ScriptedFiles files;
    EXPECT_EQ(create(""), -2);
    EXPECT_EQ(create("\\/\n"), -2);
    EXPECT_EQ(ZnCreateDirectory(nullptr), -2);
    EXPECT_EQ(files.events, Events{});
}

TEST(CreateDirectory, NothingIsMadeOfAPathThatIsTooLong)
{
    ScriptedFiles files;
    const std::string fits = "c:" + repeated("\\x", 128) + "x";
    ASSERT_EQ(fits.size(), 259u);
    EXPECT_EQ(create("c:" + repeated("\\x", 129)), -2);
    EXPECT_EQ(create("c:\\" + std::string(256, 'x')), -2);
    EXPECT_EQ(create("c:\\a\\" + std::string(100000, 'x')), -2);
    EXPECT_EQ(create(repeated("\\", 100000)), -2);
    EXPECT_EQ(files.events, Events{});
    EXPECT_EQ(create(fits.substr(0, 2) + fits.substr(2, 254)), 0);
    EXPECT_EQ(files.count("make c:" + repeated("\\x", 127)), 1);
}

TEST(CreateDirectory, RealFoldersAreMade)
{
    const TemporaryFolder folder;
    folder.makeFolder("There");
    folder.write("There/File", "bytes");
    EXPECT_EQ(create(folder.hostPath("tHERE\\new\\last.bmp")), 0);
    EXPECT_TRUE(fs::is_directory(folder.path() / "There" / "new" / "last.bmp"));
    EXPECT_EQ(create(folder.hostPath("There\\new\\last.bmp")), 0) << "all there already";
    // What cannot be made is not reported, and what is there stays.
    EXPECT_EQ(create(folder.hostPath("There\\File\\below")), 0);
    EXPECT_EQ(folder.read("There/File"), "bytes");
    EXPECT_EQ(create(folder.hostPath("what?*")), 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
}

} // namespace velmont::testing
