#include "cli_test.h"
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmont::test {

namespace {

/// Runs that take far longer than a test unless they are stopped.
class Interrupt : public CliTest {
protected:
    std::vector<std::string> longRun() const
    {
        save(Kind::Colour, 3000, 2000, file("in.bmp"));
        std::vector<std::string> words{"apply", "negative"};
        for (int i = 0; i < 5000; ++i)
            words.insert(words.end(), {"then", "negative"});
        words.insert(words.end(), {"in.bmp", "-o", "out.bmp"});
        return command(words);
    }

    /// A run that waits for its input.
    std::vector<std::string> waitingRun() const
    {
        mkfifo(file("pipe").c_str(), 0600);
        return command({"apply", "negative", "pipe", "-o", "out.bmp"});
    }

    void expectAborted(const Outcome &outcome) const
    {
        EXPECT_EQ(outcome.exitCode, 130);
        EXPECT_EQ(outcome.signal, 0);
        EXPECT_NE(outcome.err.find("velmont: aborted"), std::string::npos) << outcome.err;
    }
};

using Names = std::vector<std::string>;

TEST_F(Interrupt, StopsALongRunAndWritesNothing)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        Program program(folder(), longRun());
        ASSERT_TRUE(program.waitUntilCatching(signal));
        program.send(signal);
        const Outcome outcome = program.finish();
        expectAborted(outcome);
        EXPECT_EQ(outcome.err, "velmont: aborted\n");
        EXPECT_EQ(files(), Names{"in.bmp"});
    }
}

TEST_F(Interrupt, StopsInTheMiddleOfAnEffect)
{
    if (!hasTerminals())
        GTEST_SKIP() << "this system has no pseudo terminals";
    Program program(folder(), longRun(), Terminal::Yes);
    ASSERT_TRUE(program.waitUntilShown("2/5001 negative"));
    program.send(SIGINT);
    const Outcome outcome = program.finish();
    expectAborted(outcome);
    EXPECT_TRUE(outcome.err.ends_with("\rvelmont: aborted\r\n")) << outcome.err;
    EXPECT_EQ(files(), Names{"in.bmp"});
}

TEST_F(Interrupt, KeepsTheOldOutput)
{
    std::vector<std::string> words = longRun();
    words.push_back("--force");
    writeText("out.bmp", "precious");
    Program program(folder(), words);
    ASSERT_TRUE(program.waitUntilCatching(SIGINT));
    program.send(SIGINT);
    expectAborted(program.finish());
    EXPECT_EQ(textOf("out.bmp"), "precious");
    EXPECT_EQ(files(), (Names{"in.bmp", "out.bmp"}));
}

TEST_F(Interrupt, IsRememberedWhileTheInputIsRead)
{
    save(Kind::Colour, 13, 7, file("in.png"));
    Program program(folder(), waitingRun());
    ASSERT_TRUE(program.waitUntilCatching(SIGINT));
    program.send(SIGINT);
    writeText("pipe", textOf("in.png"));
    expectAborted(program.finish());
    EXPECT_EQ(files(), (Names{"in.png", "pipe"}));
}

TEST_F(Interrupt, TheSecondOneEndsAtOnce)
{
    Program program(folder(), waitingRun());
    ASSERT_TRUE(program.waitUntilCatching(SIGINT));
    program.send(SIGINT);
    ASSERT_TRUE(program.waitUntilNotCatching(SIGINT));
    program.send(SIGINT);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.signal, SIGINT);
    EXPECT_EQ(files(), Names{"pipe"});
}

TEST_F(Interrupt, StaysIgnoredWhereItWasIgnored)
{
    save(Kind::Colour, 13, 7, file("in.png"));
    waitingRun();
    const std::string shell = "trap '' INT; exec \"$0\" apply negative pipe -o out.bmp";
    Program program(folder(), {"/bin/sh", "-c", shell, programPath()});
    ASSERT_TRUE(program.waitUntilCatching(SIGTERM));
    program.send(SIGINT);
    writeText("pipe", textOf("in.png"));
    EXPECT_EQ(program.finish().exitCode, 0);
}

} // namespace

} // namespace velmont::test
