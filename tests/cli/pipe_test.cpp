#include "cli_test.h"
#include <csignal>

namespace velmont::test {

namespace {

class Pipe : public CliTest {
protected:
    Pipe() { save(Kind::Colour, 23, 17, file("in.png")); }

    /// Runs a line of a shell in the folder; $V is the program.
    Outcome shell(const std::string &line) const
    {
        return Program(folder(), {"/bin/bash", "-c", "set -o pipefail; V=" + programPath() + "; " + line})
            .finish();
    }

    void expectShell(const std::string &line, int exitCode, const std::string &said) const
    {
        const Outcome outcome = shell(line);
        EXPECT_EQ(outcome.exitCode, exitCode) << line;
        EXPECT_EQ(outcome.err, said) << line;
    }
};

TEST_F(Pipe, EveryFormatGoesThroughBothWays)
{
    expectSilence({"apply", "negative", "in.png", "-o", "negative.png"});
    for (const std::string_view word : io::formatWords()) {
        const std::string format(word);
        expectShell("$V apply negative in.png -o - --format " + format + " > out." + format, 0, "");
        expectShell("$V apply negative - -o back.png --force < out." + format, 0, "");
        if (format != "jpeg" && format != "webp") {
            EXPECT_EQ(coloursOf(file("back.png")), coloursOf(file("in.png"))) << format;
        }
        expectSilence({"apply", "negative", "in.png", "-o", "file." + format});
        EXPECT_EQ(textOf("out." + format), textOf("file." + format)) << format;
    }
}

TEST_F(Pipe, ChainsOfPrograms)
{
    expectShell(
        "cat in.png | $V apply negative - -o - --format bmp | $V apply to-gray - -o - --format tiff | "
        "$V crop - --size 5x5 -o out.png",
        0, "");
    EXPECT_EQ(coloursOf(file("out.png")).size(), 25u);
    EXPECT_EQ(shell("$V histogram - < in.png").out.substr(0, 22), "standard input: 23x17\n");
}

TEST_F(Pipe, NothingElseGoesToStandardOutput)
{
    expectShell("$V apply to-1-bit in.png -o - --format png --convert --timing 2> said | $V apply negative - "
                "-o out.png",
                0, "");
    EXPECT_NE(textOf("said").find("converted first"), std::string::npos);
    EXPECT_NE(textOf("said").find("total"), std::string::npos);
}

TEST_F(Pipe, FilesNamedADashHaveAFolder)
{
    std::filesystem::copy_file(file("in.png"), file("-"));
    expectSilence({"apply", "negative", "./-", "-o", "out.png"});
    expectSilence({"apply", "negative", "out.png", "-o", "./-", "--format", "png", "--force"});
    EXPECT_EQ(coloursOf(file("-")), coloursOf(file("in.png")));
}

TEST_F(Pipe, AFormatOverridesTheEnding)
{
    expectSilence({"apply", "negative", "in.png", "-o", "out.jpg", "--format", "BMP"});
    EXPECT_EQ(textOf("out.jpg").substr(0, 2), "BM");
    expectSilence({"apply", "negative", "in.png", "-o", "noending", "--format", "png"});
    EXPECT_EQ(textOf("noending").substr(1, 3), "PNG");
}

TEST_F(Pipe, RefusesWhatCannotBe)
{
    expectRefusal({"apply", "negative", "in.png", "-o", "-"}, 2,
                  "-o - needs --format FORMAT: png, jpeg, bmp, tiff, webp");
    expectRefusal({"apply", "negative", "in.png", "-o", "-", "--format", "pgn"}, 2,
                  "--format=pgn is not one of png, jpeg, bmp, tiff, webp; did you mean png?");
    expectRefusal({"apply", "negative", "in.png", "-o", "-", "--format", "png", "--json"}, 2,
                  "--json and -o - both want standard output; name a file with -o FILE");
    const std::string noPipe =
        "-: only the image itself can come through a pipe; name a file, or ./- for one of that "
        "name";
    expectRefusal({"apply", "fill-color", "mask=-", "in.png", "-o", "out.png"}, 2, noPipe);
    expectRefusal({"apply", "negative", "in.png", "--mask", "-", "-o", "out.png"}, 2, noPipe);
    expectRefusal({"apply", "negative", "-", "-o", "out.png"}, 3, "standard input: the file is empty");
    expectShell("$V apply negative - -o out.png <&-", 3,
                "velmont: standard input: cannot be read: Bad file descriptor\n");
    const Outcome text = shell("echo text | $V apply negative - -o out.png");
    EXPECT_EQ(text.exitCode, 3);
    EXPECT_TRUE(text.err.starts_with("velmont: standard input: ")) << text.err;
    EXPECT_EQ(files(), std::vector<std::string>{"in.png"});
}

TEST_F(Pipe, StandardOutputThatFails)
{
    expectShell("$V apply negative in.png -o - --format png > /dev/full", 4,
                "velmont: standard output: cannot be written: No space left on device\n");
    expectShell("$V apply negative in.png -o - --format png >&-", 4,
                "velmont: standard output: cannot be written: Bad file descriptor\n");
    save(Kind::Colour, 600, 600, file("large.bmp"));
    expectShell(
        "($V apply negative large.bmp -o - --format bmp; echo $? > code) | head -c 10 > head; cat code", 0,
        "velmont: standard output: cannot be written: Broken pipe\n");
    EXPECT_EQ(textOf("code"), "4\n");
}

TEST_F(Pipe, AnInterruptEndsTheWaitForInput)
{
    Program program(folder(), {"/bin/bash", "-c",
                               "exec " + programPath() + " apply negative - -o out.png < <(exec sleep 20)"});
    ASSERT_TRUE(program.waitUntilCatching(SIGTERM));
    program.send(SIGTERM);
    const Outcome outcome = program.finish();
    EXPECT_EQ(outcome.exitCode, 130);
    EXPECT_EQ(outcome.err, "velmont: aborted\n");
    EXPECT_EQ(files(), std::vector<std::string>{"in.png"});
}

TEST_F(Pipe, ATerminalIsNoPlaceForAPicture)
{
    if (!hasTerminals())
        GTEST_SKIP() << "no terminals";
    // Standard error is the terminal here; the shell makes it the other two as well.
    const Outcome out =
        Program(folder(), {"/bin/sh", "-c", programPath() + " apply negative in.png -o - --format png >&2"},
                Terminal::Yes)
            .finish();
    EXPECT_EQ(out.exitCode, 2);
    EXPECT_NE(out.err.find("standard output is a terminal"), std::string::npos) << out.err;
    const Outcome in =
        Program(folder(), {"/bin/sh", "-c", programPath() + " apply negative - -o out.png <&2"},
                Terminal::Yes)
            .finish();
    EXPECT_EQ(in.exitCode, 2);
    EXPECT_NE(in.err.find("standard input is a terminal"), std::string::npos) << in.err;
}

} // namespace

} // namespace velmont::test
