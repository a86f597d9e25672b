#include "cli_test.h"
#include <algorithm>
#include <sstream>
#include <velmont/version.h>

namespace velmont::test {

namespace {

class Help : public CliTest {
protected:
    static void expectExitCodes(const Outcome &outcome)
    {
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "");
        for (const std::string code : {"0", "2", "3", "4", "5", "6", "130"})
            EXPECT_NE(outcome.out.find("\n  " + code + " "), std::string::npos) << code;
    }
};

TEST_F(Help, TellsCommandsAndExitCodes)
{
    for (const std::string option : {"--help", "-h"}) {
        const Outcome outcome = run({option});
        expectExitCodes(outcome);
        for (const std::string command : {"list", "info", "apply"})
            EXPECT_NE(outcome.out.find("\n  " + command + " "), std::string::npos) << command;
    }
}

TEST_F(Help, TellsOptionsOfApply)
{
    const Outcome outcome = run({"apply", "--help"});
    expectExitCodes(outcome);
    for (const std::string option : {"--output", "--force", "--convert", "--quality", "--quiet"})
        EXPECT_NE(outcome.out.find(option), std::string::npos) << option;
}

std::vector<std::string> linesBelow(const std::string &text, const std::string &heading)
{
    std::vector<std::string> lines;
    std::istringstream rest(text.substr(std::min(text.size(), text.find(heading) + heading.size())));
    for (std::string line; std::getline(rest, line) && !line.empty();)
        lines.push_back(line);
    return lines;
}

/// Every name stands in the same column, and so does every description.
void expectTable(const std::vector<std::string> &lines)
{
    constexpr std::size_t description = 26;
    for (const std::string &line : lines) {
        EXPECT_EQ(line.find_first_not_of(' '), 2u) << line;
        ASSERT_GT(line.size(), description) << line;
        EXPECT_EQ(line.substr(description - 2, 2), "  ") << line;
        EXPECT_NE(line[description], ' ') << line;
    }
}

TEST_F(Help, OfEveryCommandIsATable)
{
    const Outcome whole = run({"--help"});
    const auto commands = linesBelow(whole.out, "\nCommands:\n");
    EXPECT_GE(commands.size(), 14u);
    expectTable(commands);
    expectTable(linesBelow(whole.out, "\nOptions:\n"));
    for (const std::string &line : commands) {
        const std::string command = line.substr(2, line.find(' ', 2) - 2);
        const Outcome outcome = run({command, "-h"});
        expectExitCodes(outcome);
        EXPECT_NE(outcome.out.find("\nUsage: velmont " + command), std::string::npos) << outcome.out;
        const auto options = linesBelow(outcome.out, "\nOptions:\n");
        EXPECT_GE(options.size(), 1u) << command;
        expectTable(options);
    }
}

TEST_F(Help, FitsOneHundredAndTwentyColumns)
{
    for (const std::string command : {"", "apply", "gradient", "recipe"}) {
        std::vector<std::string> words{"--help"};
        if (!command.empty())
            words.insert(words.begin(), command);
        std::istringstream help(run(words).out);
        for (std::string line; std::getline(help, line);)
            EXPECT_LE(line.size(), 120u) << line;
    }
}

TEST_F(Help, TellsTheVersion)
{
    const Outcome outcome = run({"--version"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.out, "velmont " VELMONT_VERSION "\n");
}

TEST_F(Help, NoCommandIsAMistake)
{
    const Outcome outcome = run({});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err.rfind("velmont: usage: velmont list", 0), 0u) << outcome.err;
}

TEST_F(Help, SuggestsCommands)
{
    expectRefusal({"lsit"}, 2, "there is no command \"lsit\"; did you mean list?");
    expectRefusal({"aply", "negative", "in.png", "-o", "out.png"}, 2,
                  "there is no command \"aply\"; did you mean apply?");
    expectRefusal({"frobnicate"}, 2, "there is no command \"frobnicate\"; \"velmont --help\" shows all");
    expectRefusal({"help", "apply"}, 2, "there is no command \"help\"; \"velmont --help\" shows all");
}

TEST_F(Help, SuggestsOptions)
{
    expectRefusal({"--versoin"}, 2, "there is no option \"--versoin\"; did you mean --version?");
    expectRefusal({"list", "--jsno"}, 2, "there is no option \"--jsno\"; did you mean --json?");
    expectRefusal({"apply", "negative", "in.png", "-o", "out.png", "--forse"}, 2,
                  "there is no option \"--forse\"; did you mean --force?");
    expectRefusal({"apply", "negative", "in.png", "-o", "out.png", "-x"}, 2, "there is no option \"-x\"");
}

TEST_F(Help, RefusesSpareWords)
{
    expectRefusal({"list", "tone", "more"}, 2, "list: unexpected word \"more\"");
    expectRefusal({"list", "--", "negative"}, 2, "unexpected word \"negative\"");
}

} // namespace

} // namespace velmont::test
