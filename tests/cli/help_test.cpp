#include "cli_test.h"
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
    expectRefusal({"frobnicate"}, 2, "there is no command \"frobnicate\"");
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
