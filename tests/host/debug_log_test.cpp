#include "core/clock.h"
#include "tests/host/temporary_folder.h"
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <velmont/host.h>

namespace velmont::testing {

namespace {

/// 13 February 2009, 23:31:30 in Greenwich.
constexpr uint32_t kSecond = 1234567890;
/// The year has lost its last digit.
const std::string kStamp = "<Tm:Fri Feb 13 23:31:30 200\tPID:ffffffff\tTID:1a2b>\t";

/// What is left of the 511 bytes of a line.
constexpr std::size_t kRoom = 511 - 51;

int nameLog(void *context, char *path, unsigned pathBytes)
{
    const std::string &name = *static_cast<std::string *>(context);
    if (name.size() >= pathBytes)
        return 0;
    path[name.copy(path, pathBytes - 1)] = '\0';
    return 1;
}

unsigned thread(void *)
{
    return 0x1a2b;
}

void setTimeZone(const char *zone)
{
#if defined(_WIN32)
    _putenv_s("TZ", zone);
    _tzset();
#else
    setenv("TZ", zone, 1);
    tzset();
#endif
}

/// What a printf format gets as a host passes it.
char *text(const char *characters)
{
    static char buffer[2000];
    std::string(characters).copy(buffer, sizeof buffer - 1);
    buffer[std::min(std::string(characters).size(), sizeof buffer - 1)] = '\0';
    return buffer;
}

class DebugLog : public ::testing::Test {
protected:
    DebugLog()
    {
        install(logPath_);
        setTimeZone("UTC0");
        stopClock(kSecond);
    }
    ~DebugLog() override
    {
        runClock();
        VelmontInstallPlatformServices(nullptr);
    }
    void install(std::string &path)
    {
        VelmontPlatformServices services{};
        services.structBytes = sizeof services;
        services.context = &path;
        services.logPath = nameLog;
        services.threadId = thread;
        VelmontInstallPlatformServices(&services);
    }
    /// The file as text: its line feeds are the system's own.
    std::string log() const
    {
        std::ifstream file(folder_.path() / "log.txt");
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// The line that a message makes, without the stamp.
    std::string lineOf(const std::string &message)
    {
        std::filesystem::remove(folder_.path() / "log.txt");
        EXPECT_EQ(WriteDebug(text("%s"), message.c_str()), 1);
        const std::string line = log();
        EXPECT_EQ(line.substr(0, kStamp.size()), kStamp);
        return line.substr(std::min(line.size(), kStamp.size()));
    }

    TemporaryFolder folder_;
    std::string logPath_ = (folder_.path() / "log.txt").string();
};

} // namespace

TEST_F(DebugLog, ALineHasStampTextAndLineFeed)
{
    EXPECT_EQ(WriteDebug(text("%d of %s: %5.2f"), 3, "seven", 1.5), 1);
    EXPECT_EQ(log(), kStamp + "3 of seven:  1.50\n");
    EXPECT_EQ(kStamp.size(), 51u);
}

TEST_F(DebugLog, LinesAreAppended)
{
    folder_.write("log.txt", "old");
    WriteDebug(text("a"));
    WriteLogFile(text("b"));
    EXPECT_EQ(log(), "old" + kStamp + "a\n" + kStamp + "b\n");
}

TEST_F(DebugLog, TheTimeIsLocal)
{
    setTimeZone("XYZ-1");
    WriteDebug(text("a"));
    EXPECT_EQ(log(), "<Tm:Sat Feb 14 00:31:30 200\tPID:ffffffff\tTID:1a2b>\ta\n");
}

TEST_F(DebugLog, BlanksAtTheEndAreLost)
{
    EXPECT_EQ(lineOf("a b  "), "a b\n");
    EXPECT_EQ(lineOf("a\n"), "a\n");
    EXPECT_EQ(lineOf("a\n  "), "a\n");
    EXPECT_EQ(lineOf("a \n"), "a \n") << "those in front of the line feed stay";
    EXPECT_EQ(lineOf("a\n\n"), "a\n\n");
    EXPECT_EQ(lineOf("a\t "), "a\t\n");
    EXPECT_EQ(lineOf("  a"), "  a\n");
}

TEST_F(DebugLog, AnEmptyMessageLeavesTheStamp)
{
    EXPECT_EQ(lineOf(""), "\n");
    EXPECT_EQ(lineOf("   "), "\n") << "the tab of the stamp is no blank";
    EXPECT_EQ(lineOf("\n"), "\n");
}

TEST_F(DebugLog, ALongLineIsCut)
{
    const std::string fits(kRoom - 1, 'x');
    EXPECT_EQ(lineOf(fits), fits + "\n");
    EXPECT_EQ(lineOf(fits + "\n"), fits + "\n");
    EXPECT_EQ(lineOf(fits + "x"), fits + "\n");
    EXPECT_EQ(lineOf(fits + "xy"), fits + "\n");
    EXPECT_EQ(lineOf(std::string(100000, 'x')), fits + "\n");
    EXPECT_EQ(lineOf(fits + " "), fits + "\n");
    EXPECT_EQ(lineOf(fits.substr(1) + " y"), fits.substr(1) + "\n")
        << "blanks in front of the cut are at the end";
    EXPECT_EQ(lineOf(fits.substr(1) + "\nyz"), fits.substr(1) + "\n");
}

TEST_F(DebugLog, TheTextEndsAtANull)
{
    WriteDebug(text("a%cb"), 0);
    EXPECT_EQ(log(), kStamp + "a\n");
}

TEST_F(DebugLog, APlainMessageHasNoArguments)
{
    EXPECT_EQ(WriteLogFile(text("100%% of %s, %n and %d%")), 1);
    EXPECT_EQ(log(), kStamp + "100% of %s, %n and %d%\n");
    std::filesystem::remove(folder_.path() / "log.txt");
    EXPECT_EQ(WriteLogFile(text(std::string(1000, 'x').c_str())), 1);
    EXPECT_EQ(log(), kStamp + std::string(kRoom - 1, 'x') + "\n");
    std::filesystem::remove(folder_.path() / "log.txt");
    EXPECT_EQ(WriteLogFile(text("  \n ")), 1);
    EXPECT_EQ(log(), kStamp + "  \n");
}

TEST_F(DebugLog, WithoutAFileNothingIsLogged)
{
    std::string missing = (folder_.path() / "missing" / "log.txt").string();
    install(missing);
    EXPECT_EQ(WriteDebug(text("a")), 0);
    EXPECT_EQ(WriteLogFile(text("a")), 0);
    std::string tooLong(100000, 'x');
    install(tooLong);
    EXPECT_EQ(WriteDebug(text("a")), 0);
    std::string folder = folder_.path().string();
    install(folder);
    EXPECT_EQ(WriteDebug(text("a")), 0);
    install(logPath_);
    EXPECT_EQ(WriteDebug(nullptr), 0);
    EXPECT_EQ(WriteLogFile(nullptr), 0);
    EXPECT_FALSE(std::filesystem::exists(logPath_));
}

} // namespace velmont::testing
