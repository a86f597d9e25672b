#include "cli_test.h"
#include "progress.h"

namespace velmont::test {

namespace {

using cli::progressLine;

TEST(ProgressLine, HasTitleBarAndPercentage)
{
    EXPECT_EQ(progressLine("blur", 0, 22), "blur [..........]   0%");
    EXPECT_EQ(progressLine("blur", 50, 22), "blur [#####.....]  50%");
    EXPECT_EQ(progressLine("blur", 99, 22), "blur [#########.]  99%");
    EXPECT_EQ(progressLine("blur", 100, 22), "blur [##########] 100%");
}

TEST(ProgressLine, KeepsPercentagesInBounds)
{
    EXPECT_EQ(progressLine("blur", -5, 22), progressLine("blur", 0, 22));
    EXPECT_EQ(progressLine("blur", 105, 22), progressLine("blur", 100, 22));
}

TEST(ProgressLine, FitsEveryWidth)
{
    for (std::size_t columns = 0; columns < 200; ++columns) {
        for (const std::string title : {"", "blur", "a-very-long-name-of-an-effect"}) {
            EXPECT_LE(progressLine(title, 100, columns).size(), columns);
            EXPECT_LE(progressLine(title, 0, columns).size(), columns);
        }
    }
    EXPECT_EQ(progressLine("blur", 50, 16), "blur  50%");
    EXPECT_EQ(progressLine("blur", 50, 8), "blu  50%");
    EXPECT_EQ(progressLine("blur", 50, 4), " 50%");
}

class ProgressBar : public CliTest {
protected:
    ProgressBar() { save(Kind::Colour, 600, 400, file("in.bmp")); }
    void SetUp() override
    {
        if (!hasTerminals())
            GTEST_SKIP() << "this system has no pseudo terminals";
    }
    Outcome onTerminal(std::vector<std::string> arguments) const
    {
        return Program(folder(), command(arguments), Terminal::Yes).finish();
    }
};

std::vector<std::string> splitAtReturns(const std::string &text)
{
    std::vector<std::string> parts(1);
    for (const char character : text) {
        if (character == '\r')
            parts.emplace_back();
        else
            parts.back() += character;
    }
    return parts;
}

TEST_F(ProgressBar, IsShownOnATerminalAndCleared)
{
    const Outcome outcome = onTerminal({"apply", "negative", "in.bmp", "-o", "out.bmp"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.err.find("\rnegative [####"), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("] 100%"), std::string::npos) << outcome.err;
    const auto parts = splitAtReturns(outcome.err);
    ASSERT_GE(parts.size(), 3u);
    EXPECT_EQ(parts.back(), "");
    EXPECT_EQ(parts[parts.size() - 2], std::string(kTerminalColumns - 1, ' '));
}

TEST_F(ProgressBar, FitsTheTerminalWithoutEscapeCodes)
{
    const Outcome outcome = onTerminal({"apply", "negative", "then", "negative", "in.bmp", "-o", "out.bmp"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.err.find("1/2 negative ["), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("2/2 negative ["), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find('\n'), std::string::npos);
    EXPECT_EQ(outcome.err.find('\x1b'), std::string::npos);
    for (const std::string &part : splitAtReturns(outcome.err))
        EXPECT_LT(part.size(), std::size_t{kTerminalColumns}) << part;
}

TEST_F(ProgressBar, IsSilencedByQuiet)
{
    const Outcome outcome = onTerminal({"apply", "negative", "in.bmp", "-o", "out.bmp", "--quiet"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "");
}

TEST_F(ProgressBar, IsNotShownInAFile)
{
    expectSilence({"apply", "negative", "in.bmp", "-o", "out.bmp"});
}

TEST_F(ProgressBar, MakesRoomForNotes)
{
    const Outcome outcome =
        onTerminal({"apply", "negative", "then", "to-1-bit", "in.bmp", "-o", "out.bmp", "--convert"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_NE(outcome.err.find("\rvelmont: to-1-bit: in.bmp after negative is 24-bit; converted first with "
                               "\"to-gray\"\r\n"),
              std::string::npos)
        << outcome.err;
}

} // namespace

} // namespace velmont::test
