#include "tests/host/scripted_files.h"
#include "tests/host/temporary_folder.h"
#include "tests/support/recording_host.h"
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <velmont/environment.h>
#include <velmont/host.h>

namespace velmont::testing {

namespace {

using Strings = std::vector<std::string>;

int abortFrom = 0, polls = 0;

/// Aborts at the poll of that number only.
int abortOnce()
{
    return ++polls == abortFrom ? 7 : 0;
}

/// Aborts from that poll on.
int abortForGood()
{
    return ++polls >= abortFrom ? 7 : 0;
}

int keepPath(char *path, void *userData)
{
    static_cast<Strings *>(userData)->push_back(path);
    return -3; // whatever it is
}

class FileSearchTest : public ::testing::Test {
protected:
    FileSearchTest() { abortAt(0, abortOnce); }
    ~FileSearchTest() override { SetProcessEnvironment(nullptr, nullptr); }

    static void abortAt(int poll, int (*how)())
    {
        abortFrom = poll;
        polls = 0;
        SetProcessEnvironment(how, nullptr);
    }
    int iterate(std::string directory, bool recurse, Strings patterns)
    {
        std::vector<char *> pointers;
        for (std::string &pattern : patterns)
            pointers.push_back(pattern.data());
        const int patternCount = static_cast<int>(pointers.size());
        pointers.push_back(nullptr); // so that there is an array without a pattern too
        return IterateFileSearch(directory.data(), recurse ? 1 : 0, pointers.data(), patternCount, &count,
                                 keepPath, &paths);
    }

    Strings paths;
    int count = 0;
};

/// The patterns of one call as pointers to characters.
struct OnePattern {
    explicit OnePattern(std::string text) : pattern(std::move(text)) {}
    std::string pattern;
    char *pointers[1] = {pattern.data()};
};

/// The list of a search, released at the end.
struct List {
    ~List()
    {
        for (char **name = files; name && *name; ++name)
            std::free(*name);
        std::free(files);
    }
    Strings names() const
    {
        Strings all;
        for (char **name = files; *name; ++name)
            all.emplace_back(*name);
        return all;
    }
    char **files = nullptr;
};

} // namespace

TEST_F(FileSearchTest, PatternByPatternEachEntryIsReported)
{
    ScriptedFiles files;
    files.found = {{"c:\\d\\*.bmp", {"a.bmp", "b.bmp"}}, {"c:\\d\\a*", {".", "a.bmp"}}};
    count = 5;
    EXPECT_EQ(iterate("c:\\d", false, {"*.bmp", "*.gif", "a*"}), 0);
    EXPECT_EQ(paths, (Strings{"c:\\d\\a.bmp", "c:\\d\\b.bmp", "c:\\d\\.", "c:\\d\\a.bmp"}));
    EXPECT_EQ(count, 9) << "counted on, not reset";
    EXPECT_EQ(files.events, (Strings{"find c:\\d\\*.bmp", "next", "next", "close", "find c:\\d\\*.gif",
                                     "find c:\\d\\a*", "next", "next", "close"}));
    EXPECT_EQ(polls, 6) << "one for each search that starts, one for each step";
}

TEST_F(FileSearchTest, ABackslashIsAddedUnlessThereIsOne)
{
    ScriptedFiles files;
    iterate("c:\\d\\", false, {"*"});
    iterate("c:/d/", false, {"*"});
    iterate("", false, {"*"});
    EXPECT_EQ(files.events, (Strings{"find c:\\d\\*", "find c:/d/\\*", "find \\*"}));
}

TEST_F(FileSearchTest, NoPatternsFindNothing)
{
    ScriptedFiles files;
    EXPECT_EQ(iterate("c:", false, {}), 0);
    EXPECT_EQ(files.events, Strings{});
    char *none[1] = {nullptr};
    std::string directory = "c:";
    EXPECT_EQ(IterateFileSearch(directory.data(), 0, none, 1, &count, keepPath, &paths), 0);
    EXPECT_EQ(IterateFileSearch(directory.data(), 0, none, -5, &count, keepPath, &paths), 0);
    EXPECT_EQ(files.events, Strings{});
    EXPECT_EQ(count, 0);
}

TEST_F(FileSearchTest, NullPointersAreRefused)
{
    const ScriptedFiles files;
    OnePattern all("*");
    std::string directory = "c:";
    EXPECT_EQ(IterateFileSearch(directory.data(), 1, nullptr, 1, &count, keepPath, &paths), -1);
    EXPECT_EQ(IterateFileSearch(directory.data(), 1, all.pointers, 1, &count, nullptr, &paths), -1);
    EXPECT_EQ(IterateFileSearch(nullptr, 1, all.pointers, 1, &count, keepPath, &paths), -1);
    EXPECT_EQ(IterateFileSearch(directory.data(), 1, all.pointers, 1, nullptr, keepPath, &paths), -1);
    EXPECT_EQ(files.events, Strings{});
}

TEST_F(FileSearchTest, SubdirectoriesFollowTheFilesOfTheirDirectory)
{
    ScriptedFiles files;
    files.found = {{"c:\\*.b", {"1.b"}},       {"c:\\*.", {".", "..", "s", "file", "t"}},
                   {"c:\\s\\*.b", {"2.b"}},    {"c:\\s\\*.", {".", "u"}},
                   {"c:\\s\\u\\*.b", {"3.b"}}, {"c:\\s\\u\\*.", {"."}},
                   {"c:\\t\\*.b", {"4.b"}}};
    files.directories = {"c:\\.", "c:\\..", "c:\\s", "c:\\t", "c:\\s\\.", "c:\\s\\u", "c:\\s\\u\\."};
    EXPECT_EQ(iterate("c:", true, {"*.b"}), 0) << "t cannot be searched for more, which counts as done";
    EXPECT_EQ(paths, (Strings{"c:\\1.b", "c:\\s\\2.b", "c:\\s\\u\\3.b", "c:\\t\\4.b"}));
    EXPECT_EQ(count, 4);
    EXPECT_EQ(files.count("attributes c:\\.."), 1) << "asked for each entry";
    EXPECT_EQ(files.count("attributes c:\\file"), 1);
    EXPECT_EQ(files.open, 0);
}

TEST_F(FileSearchTest, WithoutASearchForSubdirectoriesTheResultSaysSo)
{
    ScriptedFiles files;
    files.found = {{"c:\\*", {"a"}}};
    EXPECT_EQ(iterate("c:", true, {"*"}), -2);
    EXPECT_EQ(paths, (Strings{"c:\\a"}));
    abortAt(1, abortOnce);
    EXPECT_EQ(iterate("c:", true, {"*"}), -2) << "after an abort too";
    EXPECT_EQ(iterate("c:", false, {"*"}), 0);
}

TEST_F(FileSearchTest, AnAbortEndsOnePatternAndTheNextAsksAnew)
{
    ScriptedFiles files;
    files.found = {{"c:\\1", {"a", "b", "c"}}, {"c:\\2", {"d"}}};
    abortAt(1, abortOnce);
    EXPECT_EQ(iterate("c:", false, {"1", "2"}), -3);
    EXPECT_EQ(paths, (Strings{"c:\\d"}));
    EXPECT_EQ(files.events, (Strings{"find c:\\1", "close", "find c:\\2", "next", "close"}));
    EXPECT_EQ(polls, 3);

    paths.clear();
    abortAt(3, abortOnce);
    EXPECT_EQ(iterate("c:", false, {"1", "2"}), -3);
    EXPECT_EQ(paths, (Strings{"c:\\a", "c:\\b", "c:\\d"}));

    paths.clear();
    abortAt(4, abortOnce);
    EXPECT_EQ(iterate("c:", false, {"1", "2"}), -3) << "the poll behind the last entry counts too";
    EXPECT_EQ(paths, (Strings{"c:\\a", "c:\\b", "c:\\c", "c:\\d"}));

    paths.clear();
    count = 0;
    abortAt(2, abortForGood);
    EXPECT_EQ(iterate("c:", false, {"1", "2"}), -3);
    EXPECT_EQ(paths, (Strings{"c:\\a"}));
    EXPECT_EQ(count, 1);
    EXPECT_EQ(polls, 3);
    EXPECT_EQ(files.open, 0);
}

TEST_F(FileSearchTest, AnAbortAmongSubdirectoriesEndsTheWalk)
{
    ScriptedFiles files;
    files.found = {{"c:\\*", {"a"}},     {"c:\\*.", {"s", "t"}}, {"c:\\s\\*", {"b"}},
                   {"c:\\s\\*.", {"."}}, {"c:\\t\\*", {"c"}},    {"c:\\t\\*.", {"."}}};
    files.directories = {"c:\\s", "c:\\t"};
    // Polls: 1, 2 c:\*; 3 c:\*.; 4, 5 c:\s\*; 6, 7 c:\s\*.; 8 c:\*.; 9, 10, 11, 12 below t; 13 c:\*.
    abortAt(0, abortOnce);
    EXPECT_EQ(iterate("c:", true, {"*"}), 0);
    EXPECT_EQ(polls, 13);

    const Strings all{"c:\\a", "c:\\s\\b", "c:\\t\\c"};
    const int reported[13] = {0, 1, 1, 1, 2, 2, 2, 2, 2, 3, 3, 3, 3};
    for (int poll = 1; poll <= 13; ++poll) {
        paths.clear();
        abortAt(poll, abortForGood);
        EXPECT_EQ(iterate("c:", true, {"*"}), -3) << poll;
        EXPECT_EQ(paths, Strings(all.begin(), all.begin() + reported[poll - 1])) << poll;
        EXPECT_EQ(files.open, 0);
    }
}

TEST_F(FileSearchTest, TheResultOfASubdirectoryReplacesThatOfTheFiles)
{
    ScriptedFiles files;
    files.found = {{"c:\\*", {"a"}}, {"c:\\*.", {"s"}}};
    files.directories = {"c:\\s"};
    abortAt(1, abortOnce);
    EXPECT_EQ(iterate("c:", true, {"*"}), 0) << "s cannot be searched, which counts as done";
    files.directories.clear();
    abortAt(1, abortOnce);
    EXPECT_EQ(iterate("c:", true, {"*"}), -3);
}

TEST_F(FileSearchTest, AnAbortAmongTheFilesLetsTheSubdirectoriesBeWalked)
{
    ScriptedFiles files;
    files.found = {{"c:\\*", {"a"}},          {"c:\\*.", {".", "f", "s"}}, {"c:\\s\\*", {"b"}},
                   {"c:\\s\\*.", {".", "u"}}, {"c:\\s\\u\\*", {"e"}},      {"c:\\s\\u\\*.", {"."}}};
    files.directories = {"c:\\.", "c:\\s", "c:\\s\\.", "c:\\s\\u", "c:\\s\\u\\."};
    // Polls: 1 c:\*; 2, 3, 4 c:\*. up to s; 5 c:\s\*, aborted too in the second run.
    abortAt(1, abortOnce);
    EXPECT_EQ(iterate("c:", true, {"*"}), 0);
    EXPECT_EQ(paths, Strings({"c:\\s\\b", "c:\\s\\u\\e"}));
    paths.clear();
    abortAt(6, abortOnce); // c:\* has one poll more without an abort
    EXPECT_EQ(iterate("c:", true, {"*"}), 0);
    EXPECT_EQ(paths, Strings({"c:\\a", "c:\\s\\u\\e"}));
}

TEST_F(FileSearchTest, ACountAtItsEndWraps)
{
    ScriptedFiles files;
    files.found = {{"c:\\*", {"a"}}};
    count = 0x7FFFFFFF;
    EXPECT_EQ(iterate("c:", false, {"*"}), 0);
    EXPECT_EQ(count, -0x7FFFFFFF - 1);
}

TEST_F(FileSearchTest, WhatNoPathCanNameIsLeftOut)
{
    ScriptedFiles files;
    const std::string base = "c:\\" + std::string(200, 'd');
    const std::string fits(55, 'n');
    const std::string over = fits + "n";
    ASSERT_EQ((base + "\\" + fits).size(), 259u);
    files.found = {{base + "\\*", {over, fits, std::string(300, 'x')}}, {base + "\\*.", {over, fits}}};
    files.directories = {base + "\\" + fits, base + "\\" + over};
    EXPECT_EQ(iterate(base, true, {"*", std::string(60, '*')}), 0);
    EXPECT_EQ(paths, (Strings{base + "\\" + fits}));
    EXPECT_EQ(count, 1);
    EXPECT_EQ(files.count("attributes " + base + "\\" + fits), 1);
    EXPECT_EQ(files.open, 0);

    files.events.clear();
    EXPECT_EQ(iterate(std::string(259, 'd'), false, {"*"}), -2);
    EXPECT_EQ(iterate(std::string(100000, 'd'), true, {"*"}), -2);
    EXPECT_EQ(files.events, Strings{});
}

TEST_F(FileSearchTest, ADirectoryThatContainsItselfIsWalkedUntilNoPathCanNameIt)
{
    ScriptedFiles files;
    std::string path = "c:";
    for (int depth = 0; path.size() < 260; ++depth) {
        files.found[path + "\\*."] = {"d"};
        path.append("\\d");
        files.directories.insert(path);
    }
    EXPECT_EQ(iterate("c:", true, {}), 0);
    EXPECT_EQ(files.open, 0);
}

TEST_F(FileSearchTest, TheAbortSwitchIsObeyed)
{
    ScriptedFiles files;
    files.found = {{"c:\\*", {"a"}}};
    abortAt(1, abortForGood);
    EnableAbort(0);
    EXPECT_EQ(iterate("c:", false, {"*"}), 0);
    EnableAbort(1);
    EXPECT_EQ(polls, 0);
    EXPECT_EQ(paths.size(), 1u);
}

TEST_F(FileSearchTest, AListHoldsWhatWasFound)
{
    ScriptedFiles files;
    Strings names;
    for (int i = 0; i < 1000; ++i)
        names.push_back(std::to_string(i));
    files.found = {{"c:\\*", names}};
    OnePattern all("*");
    std::string directory = "c:";
    List list;
    count = 99;
    EXPECT_EQ(SearchFiles(directory.data(), 0, all.pointers, 1, &count, list.files), 0);
    EXPECT_EQ(count, 1000);
    ASSERT_EQ(list.names().size(), 1000u);
    EXPECT_EQ(list.names()[0], "c:\\0");
    EXPECT_EQ(list.names()[999], "c:\\999");
}

TEST_F(FileSearchTest, AListOfNothingIsOneNull)
{
    const ScriptedFiles files;
    OnePattern all("*");
    std::string directory = "c:";
    List list;
    count = 99;
    EXPECT_EQ(SearchFiles(directory.data(), 0, all.pointers, 1, &count, list.files), 0);
    ASSERT_NE(list.files, nullptr);
    EXPECT_EQ(list.files[0], nullptr);
    EXPECT_EQ(count, 0);

    List unsearched;
    EXPECT_EQ(SearchFiles(directory.data(), 1, all.pointers, 1, &count, unsearched.files), -2);
    ASSERT_NE(unsearched.files, nullptr);
    EXPECT_EQ(unsearched.files[0], nullptr);
}

TEST_F(FileSearchTest, AnAbortLeavesThePartOfTheListThatWasFound)
{
    ScriptedFiles files;
    files.found = {{"c:\\*", {"a", "b"}}};
    OnePattern all("*");
    std::string directory = "c:";
    List list;
    abortAt(2, abortOnce);
    EXPECT_EQ(SearchFiles(directory.data(), 0, all.pointers, 1, &count, list.files), -3);
    EXPECT_EQ(list.names(), (Strings{"c:\\a"}));
    EXPECT_EQ(count, 1);
}

TEST_F(FileSearchTest, ARefusedListIsLeftAlone)
{
    OnePattern all("*");
    std::string directory = "c:";
    char *old = nullptr;
    char **files = &old;
    count = 99;
    EXPECT_EQ(SearchFiles(directory.data(), 0, nullptr, 1, &count, files), -1);
    EXPECT_EQ(SearchFiles(nullptr, 0, all.pointers, 1, &count, files), -1);
    EXPECT_EQ(SearchFiles(directory.data(), 0, all.pointers, 1, nullptr, files), -1);
    EXPECT_EQ(files, &old);
    EXPECT_EQ(count, 0);
}

TEST_F(FileSearchTest, ARealTreeIsWalked)
{
    const TemporaryFolder folder;
    folder.makeFolder("sub/deep");
    folder.makeFolder("dotted.dir");
    folder.makeFolder("empty");
    folder.makeFolder("is.bmp");
    for (const char *const name :
         {"a.BMP", "b.bmp", "c.txt", "sub/d.bmp", "sub/deep/e.Bmp", "dotted.dir/f.bmp"})
        folder.write(name, "");
    EXPECT_EQ(iterate(folder.hostPath(), true, {"*.bmp", "c.*"}), 0);
    std::sort(paths.begin(), paths.end());
    EXPECT_EQ(paths, (Strings{folder.hostPath("a.BMP"), folder.hostPath("b.bmp"), folder.hostPath("c.txt"),
                              folder.hostPath("is.bmp"), folder.hostPath("sub\\d.bmp"),
                              folder.hostPath("sub\\deep\\e.Bmp")}))
        << "a directory that matches is reported; one with a dot is not walked";
    EXPECT_EQ(count, 6);
    EXPECT_EQ(iterate(folder.hostPath("empty"), true, {"*.bmp"}), 0);
    EXPECT_EQ(iterate(folder.hostPath("missing"), true, {"*.bmp"}), -2);
    EXPECT_EQ(iterate(folder.hostPath("missing"), false, {"*.bmp"}), 0);
    EXPECT_EQ(count, 6);
    // The paths found are paths for the other calls.
    folder.write("sub/d.bmp", std::string(14, ' '));
    EXPECT_EQ(TagStampFile(paths[4].data()), 1);
}

} // namespace velmont::testing
