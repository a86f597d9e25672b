#include "cli_test.h"
#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace velmont::test {

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

/// Ends that come too early.
class BatchAbort : public CliTest {
protected:
    /// Four large pictures through so many effects that they take minutes.
    Names longRun(const Names &more = {}) const
    {
        save(Kind::Colour, 1500, 1000, file("a.bmp"));
        for (const std::string name : {"b.bmp", "c.bmp", "d.bmp"})
            fs::create_symlink("a.bmp", file(name));
        Names words{"apply", "negative"};
        for (int i = 0; i < 5000; ++i)
            words.insert(words.end(), {"then", "negative"});
        words.insert(words.end(), {"-q", "--jobs", "2", "-o", "out"});
        words.insert(words.end(), more.begin(), more.end());
        words.insert(words.end(), {"a.bmp", "b.bmp", "c.bmp", "d.bmp"});
        return command(words);
    }
    /// A small picture behind one that comes through a pipe; one worker waits for it.
    Names waitingRun() const
    {
        mkfifo(file("pipe.png").c_str(), 0600);
        save(Kind::Colour, 13, 7, file("small.png"));
        return command({"apply", "negative", "pipe.png", "small.png", "-q", "--jobs", "1", "-o", "out"});
    }
    /// Waits until a worker has the pipe open; it then waits for more as long as this lives.
    class OpenPipe {
    public:
        explicit OpenPipe(const fs::path &pipe)
        {
            waitUntil([&] { return (end_ = open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) >= 0; });
        }
        ~OpenPipe() { close(end_); }

    private:
        int end_ = -1;
    };

    static bool haveEnded(const std::vector<pid_t> &processes)
    {
        return waitUntil([&] { return std::ranges::none_of(processes, isAlive); });
    }
};

TEST_F(BatchAbort, StopsAllAndLeavesNothing)
{
    const Names words = longRun();
    const Names before = files();
    for (const int signal : {SIGINT, SIGTERM}) {
        for (const bool isForAll : {false, true}) {
            Program program(folder(), words);
            ASSERT_TRUE(program.waitForChildren(2));
            const auto workers = program.children();
            isForAll ? program.sendToGroup(signal) : program.send(signal);
            const Outcome outcome = program.finish();
            EXPECT_EQ(outcome.exitCode, 130);
            EXPECT_EQ(outcome.signal, 0);
            EXPECT_EQ(outcome.err, "velmont: aborted; 0 of 4 images written\n");
            EXPECT_TRUE(std::ranges::none_of(workers, isAlive));
            EXPECT_EQ(files(), before);
        }
    }
}

TEST_F(BatchAbort, KeepsWhatIsDone)
{
    Names words = longRun({"small.bmp"});
    save(Kind::Colour, 1, 1, file("small.bmp"));
    Program program(folder(), words);
    ASSERT_TRUE(waitUntil([&] { return fs::exists(file("out/small.bmp")); }));
    program.sendToGroup(SIGINT);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.exitCode, 130);
    EXPECT_EQ(outcome.err, "velmont: aborted; 1 of 5 images written\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(file("out")), {}), 1);
}

TEST_F(BatchAbort, WorkersDoNotOutliveTheProgram)
{
    const Names words = longRun();
    Program program(folder(), words);
    ASSERT_TRUE(program.waitForChildren(2));
    const auto workers = program.children();
    program.send(SIGKILL);
    EXPECT_EQ(program.finish().signal, SIGKILL);
    EXPECT_TRUE(haveEnded(workers));
    EXPECT_TRUE(fs::is_empty(file("out")));
}

TEST_F(BatchAbort, TheSecondInterruptEndsAtOnce)
{
    Program program(folder(), waitingRun());
    const OpenPipe pipe(file("pipe.png"));
    ASSERT_TRUE(program.waitForChildren(1));
    const auto workers = program.children();
    program.sendToGroup(SIGINT);
    ASSERT_TRUE(program.waitUntilNotCatching(SIGINT));
    program.sendToGroup(SIGINT);
    EXPECT_EQ(program.finish().signal, SIGINT);
    EXPECT_TRUE(haveEnded(workers));
}

TEST_F(BatchAbort, AKilledWorkerIsOneImageThatFailed)
{
    Program program(folder(), waitingRun());
    const OpenPipe pipe(file("pipe.png"));
    ASSERT_TRUE(program.waitForChildren(1));
    const pid_t worker = program.children().front();
    // What it would leave behind in the middle of writing; another program's is not touched.
    const std::string own = "out/.velmont-" + std::to_string(worker) + "-1.tmp",
                      other = "out/.velmont-1-1.tmp";
    writeText(own, "half");
    writeText(other, "half");
    kill(worker, SIGKILL);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.exitCode, 6);
    EXPECT_EQ(outcome.err,
              "velmont: pipe.png: its process was ended by signal 9 (Killed), perhaps for want of "
              "memory; fewer --jobs take less\nvelmont: 1 of 2 images written; 1 failed\n");
    EXPECT_TRUE(fs::exists(file("out/small.png")));
    EXPECT_FALSE(fs::exists(file(own)));
    EXPECT_TRUE(fs::exists(file(other)));
}

} // namespace

} // namespace velmont::test
