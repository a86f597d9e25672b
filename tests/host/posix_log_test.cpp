#include "tests/host/temporary_folder.h"
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <velmont/host.h>

namespace velmont::testing {

namespace {

namespace fs = std::filesystem;

/// Sets a variable of the environment, or takes it away, for as long as it lives.
class Variable {
public:
    Variable(const char *name, const char *value) : name_(name)
    {
        if (const char *const before = std::getenv(name))
            before_ = before;
        set(value);
    }
    ~Variable() { set(before_ ? before_->c_str() : nullptr); }
    Variable(const Variable &) = delete;
    Variable &operator=(const Variable &) = delete;

    void set(const char *value)
    {
        if (value)
            setenv(name_, value, 1);
        else
            unsetenv(name_);
    }

private:
    const char *name_;
    std::optional<std::string> before_;
};

int write()
{
    char message[] = "a";
    return WriteLogFile(message);
}

mode_t modeOf(const fs::path &path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
}

class PosixLog : public ::testing::Test {
protected:
    TemporaryFolder folder_;
    Variable home_{"HOME", folder_.path().c_str()};
    Variable state_{"XDG_STATE_HOME", nullptr};
};

std::string nameOfFifo;

int nameFifo(void *, char *path, unsigned pathBytes)
{
    path[nameOfFifo.copy(path, pathBytes - 1)] = '\0';
    return 1;
}

} // namespace

TEST_F(PosixLog, LinesGoToTheUsersOwnFolder)
{
    EXPECT_EQ(write(), 1);
    EXPECT_EQ(write(), 1);
    const std::string log = folder_.read(".local/state/velmont/aglog.TXT");
    char ids[64];
    std::snprintf(ids, sizeof ids, "\tPID:ffffffff\tTID:%x>\ta\n", static_cast<unsigned>(gettid()));
    const std::size_t lineBytes = 27 + std::string(ids).size();
    ASSERT_EQ(log.size(), 2 * lineBytes);
    EXPECT_EQ(log.substr(0, 4), "<Tm:");
    EXPECT_EQ(log.substr(27, lineBytes - 27), ids);
    EXPECT_EQ(log.substr(lineBytes + 27), ids);
    for (const char *const made : {".local", ".local/state", ".local/state/velmont"})
        EXPECT_EQ(modeOf(folder_.path() / made), 0700u) << made;
}

TEST_F(PosixLog, TheEnvironmentMayNameTheFolder)
{
    const std::string state = (folder_.path() / "elsewhere").string();
    state_.set(state.c_str());
    EXPECT_EQ(write(), 1);
    EXPECT_FALSE(folder_.read("elsewhere/velmont/aglog.TXT").empty());
    EXPECT_EQ(modeOf(folder_.path() / "elsewhere"), 0700u);
    EXPECT_FALSE(fs::exists(folder_.path() / ".local"));
    state_.set("relative");
    EXPECT_EQ(write(), 1) << "which is no folder of the user's: the other one then";
    EXPECT_FALSE(folder_.read(".local/state/velmont/aglog.TXT").empty());
}

TEST_F(PosixLog, AFolderThatOthersCanWriteToIsRefused)
{
    state_.set(folder_.path().c_str());
    folder_.makeFolder("velmont");
    const fs::path log = folder_.path() / "velmont";
    fs::permissions(log, fs::perms::owner_all | fs::perms::group_write);
    EXPECT_EQ(write(), 0);
    fs::permissions(log, fs::perms::owner_all | fs::perms::others_write);
    EXPECT_EQ(write(), 0);
    EXPECT_TRUE(fs::is_empty(log));
    fs::permissions(log, fs::perms::owner_all | fs::perms::group_read);
    EXPECT_EQ(write(), 1);
}

TEST_F(PosixLog, ALinkInPlaceOfTheFolderIsRefused)
{
    state_.set(folder_.path().c_str());
    folder_.makeFolder("target");
    fs::create_directory_symlink(folder_.path() / "target", folder_.path() / "velmont");
    EXPECT_EQ(write(), 0);
    EXPECT_TRUE(fs::is_empty(folder_.path() / "target"));
}

TEST_F(PosixLog, WithoutAFolderThereIsNoLog)
{
    home_.set(nullptr);
    EXPECT_EQ(write(), 0);
    home_.set("relative");
    EXPECT_EQ(write(), 0);
    home_.set(("/" + std::string(100000, 'x')).c_str());
    EXPECT_EQ(write(), 0);
    folder_.write("file", "");
    home_.set((folder_.path() / "file").c_str());
    EXPECT_EQ(write(), 0);
}

TEST_F(PosixLog, WhatCannotBeSoughtInIsOpenedAndNotWritten)
{
    nameOfFifo = (folder_.path() / "fifo").string();
    ASSERT_EQ(mkfifo(nameOfFifo.c_str(), 0600), 0);
    const int reader = open(nameOfFifo.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    VelmontPlatformServices services{};
    services.structBytes = sizeof services;
    services.logPath = nameFifo;
    VelmontInstallPlatformServices(&services);
    EXPECT_EQ(write(), 1);
    char byte;
    EXPECT_LE(read(reader, &byte, 1), 0);
    close(reader);
    VelmontInstallPlatformServices(nullptr);
}

} // namespace velmont::testing
