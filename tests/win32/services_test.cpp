// The services as this system has them: cursors, keys, files, ids, windows.

#include "platform/services.h"
#include "tests/win32/test_windows.h"
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>
#include <velmont/environment.h>
#include <velmont/host.h>

namespace velmont::testing {

namespace {

/// A folder of its own, with a backslash at its end, removed with what is in it.
class Folder {
public:
    Folder()
    {
        char temporary[MAX_PATH];
        GetTempPathA(sizeof temporary, temporary);
        path_ = std::string(temporary).append("velmont-").append(std::to_string(GetCurrentProcessId()));
        CreateDirectoryA(path_.c_str(), nullptr);
        path_ += '\\';
    }
    ~Folder()
    {
        for (const std::string &file : files_)
            DeleteFileA(file.c_str());
        std::reverse(folders_.begin(), folders_.end());
        for (const std::string &folder : folders_)
            RemoveDirectoryA(folder.c_str());
        RemoveDirectoryA(path_.c_str());
    }
    std::string at(const char *name) const { return path_ + name; }
    void addFile(const char *name)
    {
        files_.push_back(at(name));
        std::fclose(std::fopen(files_.back().c_str(), "wb"));
    }
    void addFolder(const char *name)
    {
        folders_.push_back(at(name));
        EXPECT_TRUE(createDirectory(folders_.back().c_str()));
    }

private:
    std::string path_;
    std::vector<std::string> files_, folders_;
};

std::multiset<std::string> namesOf(const std::string &pattern)
{
    std::multiset<std::string> names;
    FileSearch search(pattern.c_str());
    for (bool there = search.started(); there; there = search.next())
        names.insert(search.name());
    return names;
}
using Names = std::multiset<std::string>;

int addWindow(HWND window, void *windows)
{
    static_cast<std::vector<HWND> *>(windows)->push_back(window);
    return 1;
}

int stopAtFirst(HWND, void *calls)
{
    ++*static_cast<int *>(calls);
    return 0;
}

void press(BYTE key, bool down)
{
    keybd_event(key, 0, down ? 0 : KEYEVENTF_KEYUP, 0);
}

/// The last line of a file with its line feed, as text.
std::string lastLine(const char *path)
{
    std::string line;
    if (std::FILE *const file = std::fopen(path, "r")) {
        for (char text[1024]; std::fgets(text, sizeof text, file);)
            line = text;
        std::fclose(file);
    }
    return line;
}

TEST(SystemLog, LinesGoToTheFixedFile)
{
    char format[] = "%d hairs  ";
    ASSERT_EQ(WriteDebug(format, 12), 1);
    char thread[32];
    std::snprintf(thread, sizeof thread, "%lx", GetCurrentThreadId());
    const std::string line = lastLine("c:\\aglog.TXT");
    EXPECT_EQ(line.rfind("<Tm:", 0), 0u) << line;
    const std::string end = std::string("\tPID:ffffffff\tTID:").append(thread).append(">\t12 hairs\n");
    ASSERT_GT(line.size(), end.size());
    EXPECT_EQ(line.substr(line.size() - end.size()), end);
    EXPECT_EQ(line.size(), 4 + 23 + end.size()) << "the year has lost its last digit";
}

TEST(SystemFiles, AFileThatMayNotBeWrittenIsReadAndNotTagged)
{
    Folder folder;
    folder.addFile("a.bmp");
    std::string path = folder.at("a.bmp");
    std::FILE *const file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::fwrite("BM....STAM....", 1, 14, file);
    std::fclose(file);
    // Whoever opens it now may read.
    const HANDLE holder =
        CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(holder, INVALID_HANDLE_VALUE);
    EXPECT_EQ(BmfhSetUserData(path.c_str(), 3, 4), -1);
    EXPECT_EQ(TagBrushFile(path.data(), 1, 2), 0);
    EXPECT_EQ(IsTaggedStampFile(path.data()), 1);
    CloseHandle(holder);
    EXPECT_EQ(TagBrushFile(path.data(), 1, 2), 1);
}

} // namespace

TEST(WindowsServices, CursorsAreTheSystems)
{
    showWaitCursor();
    EXPECT_EQ(GetCursor(), LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_WAIT)));
    showArrowCursor();
    EXPECT_EQ(GetCursor(), LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW)));
}

TEST(WindowsServices, EscapeAborts)
{
    escapeKeyState(); // forgets what was pressed before
    EXPECT_EQ(escapeKeyState(), 0);
    EXPECT_EQ(AbortImageProcessing(), 0);
    press(VK_ESCAPE, true);
    EXPECT_LT(escapeKeyState(), 0) << "down now";
    EXPECT_EQ(AbortImageProcessing(), 1);
    press(VK_ESCAPE, false);
    escapeKeyState();
    EXPECT_EQ(AbortImageProcessing(), 0);
}

TEST(WindowsServices, SearchesFindWhatTheSystemFinds)
{
    Folder folder;
    folder.addFile("one.bmp");
    folder.addFile("Two.BMP");
    folder.addFile("plain");
    folder.addFolder("sub");
    folder.addFolder("dotted.dir");
    EXPECT_EQ(namesOf(folder.at("*.bmp")), (Names{"one.bmp", "Two.BMP"}));
    EXPECT_EQ(namesOf(folder.at("*.")), (Names{".", "..", "plain", "sub"}));
    EXPECT_EQ(namesOf(folder.at("*.*")),
              (Names{".", "..", "one.bmp", "Two.BMP", "plain", "sub", "dotted.dir"}));
    EXPECT_EQ(namesOf(folder.at("ONE.BMP")), (Names{"one.bmp"})) << "the name as it is stored";
    EXPECT_EQ(namesOf(folder.at("none*")), Names{});
    EXPECT_EQ(namesOf(folder.at("missing\\*.*")), Names{});
}

TEST(WindowsServices, DirectoriesAreMadeAndTold)
{
    Folder folder;
    folder.addFolder("made");
    folder.addFile("file");
    EXPECT_FALSE(createDirectory(folder.at("made").c_str())) << "it is there";
    EXPECT_FALSE(createDirectory(folder.at("missing\\made").c_str()));
    EXPECT_TRUE(isDirectory(folder.at("made").c_str()));
    EXPECT_FALSE(isDirectory(folder.at("file").c_str()));
    EXPECT_EQ(systemServices().fileAttributes(nullptr, folder.at("nobody").c_str()), 0xFFFFFFFFu);
}

TEST(WindowsServices, OpensFilesAndNoDirectories)
{
    Folder folder;
    folder.addFile("file");
    std::FILE *const file = openFile(folder.at("file").c_str(), "r+b");
    ASSERT_NE(file, nullptr);
    std::fclose(file);
    EXPECT_EQ(openFile(folder.at("").c_str(), "rb"), nullptr);
    EXPECT_EQ(openFile(folder.at("missing").c_str(), "rb"), nullptr);
}

TEST(WindowsServices, TheLogHasItsPlace)
{
    constexpr char kPath[] = "c:\\aglog.TXT";
    char path[64];
    ASSERT_TRUE(logPath(path, sizeof path));
    EXPECT_STREQ(path, kPath);
    ASSERT_TRUE(logPath(path, sizeof kPath));
    EXPECT_STREQ(path, kPath);
    EXPECT_FALSE(logPath(path, sizeof kPath - 1));
}

TEST(WindowsServices, IdsAreTheSystems)
{
    EXPECT_EQ(processValue(), 0xFFFFFFFFu);
    EXPECT_EQ(threadId(), GetCurrentThreadId());
}

TEST(WindowsServices, TopLevelWindowsOfAllThreadsAreEnumerated)
{
    const TestWindow mine("Velmont test");
    const TestWindow child("Velmont test child", mine.get(), WS_CHILD);
    withWindowOfAnotherThread("Velmont test other", [&](HWND other, DWORD otherThread) {
        std::vector<HWND> windows;
        enumerateWindows(addWindow, &windows);
        EXPECT_EQ(std::count(windows.begin(), windows.end(), mine.get()), 1);
        EXPECT_EQ(std::count(windows.begin(), windows.end(), other), 1);
        EXPECT_EQ(std::count(windows.begin(), windows.end(), child.get()), 0);
        EXPECT_EQ(windowThread(mine.get()), GetCurrentThreadId());
        EXPECT_EQ(windowThread(other), otherThread);
        EXPECT_NE(otherThread, GetCurrentThreadId());
    });
    int calls = 0;
    enumerateWindows(stopAtFirst, &calls);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(windowThread(nullptr), 0u);
}

TEST(WindowsServices, WindowsTellWhatTheyAre)
{
    const TestWindow owner("Velmont test"), owned("Velmont test", owner.get());
    const TestWindow child("Velmont test child", owner.get(), WS_CHILD);
    char name[64], shortName[8];
    windowClassName(owner.get(), name, sizeof name);
    EXPECT_STREQ(name, "Velmont test");
    windowClassName(owner.get(), shortName, sizeof shortName);
    EXPECT_STREQ(shortName, "Velmont");
    windowClassName(nullptr, name, sizeof name);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(windowOwner(owned.get()), owner.get());
    EXPECT_EQ(windowOwner(owner.get()), nullptr);
    EXPECT_TRUE(isChildWindow(owner.get(), child.get()));
    EXPECT_FALSE(isChildWindow(owner.get(), owned.get()));
    EXPECT_FALSE(isChildWindow(nullptr, owner.get()));
}

TEST(WindowsServices, WindowsAreDisabledAndEnabled)
{
    const TestWindow window("Velmont test");
    EXPECT_TRUE(isWindowEnabled(window.get()));
    enableWindow(window.get(), false);
    EXPECT_FALSE(isWindowEnabled(window.get()));
    EXPECT_FALSE(window.isEnabled());
    enableWindow(window.get(), true);
    EXPECT_TRUE(isWindowEnabled(window.get()));
}

TEST(WindowsServices, AWindowComesToTheForeground)
{
    const TestWindow first("Velmont test"), second("Velmont test");
    for (const HWND window : {first.get(), second.get()})
        ShowWindow(window, SW_SHOW);
    for (const HWND window : {first.get(), second.get(), first.get()}) {
        setForegroundWindow(window);
        EXPECT_EQ(foregroundWindow(), window);
    }
}

} // namespace velmont::testing
